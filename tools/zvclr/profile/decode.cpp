#include "decode.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "names.h"
#include "zverror.h"

namespace zvinfo {

namespace {

constexpr size_t kHeadSize = 8;
constexpr size_t kShownBytes = 48;
constexpr uint64_t kShownEntries = 16;

std::vector<TypeDecoder> allDecoders() {
    std::vector<TypeDecoder> all;
    for (const auto& room :
         {valueDecoders(), textDecoders(), listDecoders(), curveDecoders(), lutDecoders(), lutAToBDecoders()}) {
        all.insert(all.end(), room.begin(), room.end());
    }
    return all;
}

const TypeDecoder* findDecoder(uint32_t type) {
    static const std::vector<TypeDecoder> decoders = allDecoders();
    const auto found = std::find_if(decoders.begin(), decoders.end(),
                                    [type](const TypeDecoder& row) { return sigOf(row.type) == type; });
    return found != decoders.end() ? &*found : nullptr;
}

std::string refusal(int32_t result) { return fmt::format("the library refuses it with {}", ZvErrorName(result)); }

/// True when there are nodes.
bool decode(Decoder decoder, const TagContext& context, Content& content) {
    const uint64_t nodesLeft = context.style.nodesLeft;
    std::optional<Nodes> nodes = decoder != nullptr ? decoder(context) : std::nullopt;
    if (nodes) {
        content.nodes = std::move(*nodes);
    } else {
        context.style.nodesLeft = nodesLeft;
    }
    return nodes.has_value();
}

void appendUtf8(std::string& text, uint32_t code) {
    if (code < 0x80) {
        text += static_cast<char>(code);
        return;
    }
    const int more = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
    constexpr uint32_t kLeads[] = {0, 0xC0, 0xE0, 0xF0};
    text += static_cast<char>(kLeads[more] | code >> (6 * more));
    for (int i = more - 1; i >= 0; --i) {
        text += static_cast<char>(0x80 | (code >> (6 * i) & 0x3F));
    }
}

}  // namespace

Content decodeTag(const Profile& profile, int32_t index, const Style& style) {
    const Tag& tag = profile.tags()[static_cast<size_t>(index)];
    const TagRecord record(profile, index);
    const TagContext context = {profile, tag, record, profile.body(tag), style};
    Content content;
    content.result = record.result();
    content.refused = !record.filled();
    content.refusal = content.refused ? refusal(record.result()) : "";
    if (!tag.inside || tag.size < kHeadSize) {
        content.remark = tag.inside ? fmt::format("a body of {} bytes has no room for a type", tag.size)
                                    : "the body lies outside the profile's data";
        return content;
    }
    const TypeDecoder* decoder = findDecoder(tag.type);
    if (decoder != nullptr && record.filled() && decode(decoder->fromRecord, context, content)) {
        content.how = Content::How::kLibrary;
    } else if (decoder != nullptr && decode(decoder->fromBody, context, content)) {
        content.how = Content::How::kBody;
        content.remark =
            "read from its bytes, since " + (record.filled() ? std::string(decoder->remark) : content.refusal);
    } else {
        content.how = Content::How::kBytes;
        content.broken = decoder != nullptr;
        content.remark = content.refused  ? content.refusal
                         : content.broken ? "its fields do not fit it, or not each other"
                                          : "of a type that is not decoded";
        content.nodes = {bytesNode(style, "bytes", context.body.subspan(kHeadSize))};
    }
    return content;
}

Node bytesNode(const Style& style, const std::string& label, Span bytes) {
    const Span shown = style.all ? bytes : bytes.first(std::min(bytes.size(), kShownBytes));
    std::string hex;
    std::string ascii;
    for (const uint8_t byte : shown) {
        hex += fmt::format("{}{:02x}", hex.empty() ? "" : " ", byte);
        ascii += byte >= ' ' && byte <= '~' ? static_cast<char>(byte) : '.';
    }
    Node node = object(label);
    node.add(integer("count", bytes.size()));
    if (!shown.empty()) {
        const std::string rest = shown.size() < bytes.size() ? fmt::format("the first {}", shown.size()) : "";
        node.add(leaf("hex", hex, rest));
        node.add(leaf("ascii", ascii, rest));
    }
    return node;
}

Node xyzNode(const std::string& label, uint32_t x, uint32_t y, uint32_t z) {
    const double values[] = {s15Fixed16(x), s15Fixed16(y), s15Fixed16(z)};
    const double sum = values[0] + values[1] + values[2];
    Node node = object(label);
    const Style whole = {true};
    node.add(series(whole, "XYZ", std::span(values), false));
    if (sum > 0) {
        const double xy[] = {values[0] / sum, values[1] / sum};
        node.add(series(whole, "xy", std::span(xy), false));
    }
    return node;
}

std::string dateTimeText(const uint16_t* parts) {
    return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02}", parts[0], parts[1], parts[2], parts[3], parts[4],
                       parts[5]);
}

std::string fromLatin1(Span bytes) {
    std::string text;
    for (const uint8_t byte :
         bytes.first(static_cast<size_t>(std::find(bytes.begin(), bytes.end(), 0) - bytes.begin()))) {
        appendUtf8(text, byte);
    }
    return text;
}

std::string fromUtf16(Span bytes) {
    std::string text;
    Cursor cursor(bytes);
    constexpr uint32_t kReplacement = 0xFFFD;
    while (cursor.left() >= 2) {
        uint32_t code = cursor.u16();
        if (code == 0) {
            break;
        }
        if (code >= 0xD800 && code < 0xDC00 && cursor.left() >= 2) {
            const uint32_t low = Cursor(bytes, cursor.position()).u16();
            const bool pair = low >= 0xDC00 && low < 0xE000;
            code = pair ? 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00) : kReplacement;
            cursor.skip(pair ? 2 : 0);
        } else if (code >= 0xD800 && code < 0xE000) {
            code = kReplacement;
        }
        appendUtf8(text, code);
    }
    return text;
}

uint64_t shownEntries(const Style& style, uint64_t count, uint64_t nodesOfEach) {
    const uint64_t wanted = style.all ? count : std::min(count, kShownEntries);
    const uint64_t shown = std::min(wanted, style.nodesLeft / nodesOfEach);
    style.nodesLeft -= shown * nodesOfEach;
    return shown;
}

void addLeftOut(Nodes& nodes, const Style& style, uint64_t count, uint64_t shown) {
    if (shown < count) {
        const bool full = style.all || shown < kShownEntries;
        nodes.push_back(
            integer("not shown", count - shown, full ? "more than a report has room for" : "--all shows them"));
    }
}

TextBudget::TextBudget(Span body) : left_(std::max(2 * body.size(), size_t{65536})) {}

TextBudget::Text TextBudget::utf16(Span bytes) {
    const auto more = [bytes](size_t at) { return at + 2 <= bytes.size() && (bytes[at] | bytes[at + 1]) != 0; };
    size_t size = 0;
    while (more(size) && size + 2 <= left_) {
        size += 2;
    }
    const bool cut = more(size);
    const bool halfPair = cut && size != 0 && (bytes[size - 2] & 0xFC) == 0xD8;
    size -= halfPair ? 2 : 0;
    left_ -= size;
    return {fromUtf16(bytes.first(size)),
            cut ? fmt::format("{} characters not shown", (bytes.size() - size) / 2) : std::string()};
}

}  // namespace zvinfo
