// Types that hold text.
#include <fmt/format.h>

#include <algorithm>

#include "decode.h"
#include "localized.h"
#include "names.h"

namespace zvinfo {

namespace {

// Each of them may point to the same bytes: what a hostile body costs stays bounded.
constexpr uint32_t kMostLanguages = 1024;
constexpr size_t kMostTextBytes = 65536;
constexpr uint32_t kMostPairs = 4096;

std::string letters(uint16_t code) {
    std::string result;
    for (const int shift : {8, 0}) {
        const auto letter = static_cast<char>(code >> shift & 0xFF);
        result +=
            letter >= ' ' && letter <= '~' ? std::string(1, letter) : fmt::format("\\x{:02x}", code >> shift & 0xFF);
    }
    return result;
}

std::string languageOf(uint16_t language, uint16_t country) {
    return letters(language) + (country != 0 ? "-" + letters(country) : "");
}

/// The part of a body that an offset and a length tell.
Span part(Span body, uint64_t offset, uint64_t length) {
    Cursor cursor(body);
    cursor.seek(offset);
    return cursor.take(length);
}

std::optional<Nodes> plainText(const TagContext& context) {
    const ClrIccTagText record = context.record.get().text;
    const Span bytes(reinterpret_cast<const uint8_t*>(record.text), context.tag.size - 8);
    return Nodes{text("text", fromLatin1(bytes))};
}

std::optional<Nodes> data(const TagContext& context) {
    const ClrIccTagData record = context.record.get().data;
    const Span bytes(record.bytes, record.byteCount);
    const bool ascii = record.dataFlag == 0;
    Nodes nodes = {integer("flag", record.dataFlag, ascii ? "ASCII" : record.dataFlag == 1 ? "binary" : "unknown")};
    nodes.push_back(ascii ? text("text", fromLatin1(bytes)) : bytesNode(context.style, "bytes", bytes));
    return nodes;
}

/// Text of version 2: ASCII, then perhaps Unicode, then perhaps a script of old Macintoshes.
std::optional<Nodes> description(const TagContext& context) {
    Cursor cursor(context.body, 8);
    const Span ascii = cursor.take(cursor.u32());
    if (cursor.failed()) {
        return std::nullopt;
    }
    Nodes nodes = {text("text", fromLatin1(ascii))};
    const uint32_t language = cursor.u32();
    const uint64_t units = cursor.u32();
    const Span unicode = cursor.take(2 * units);
    if (!cursor.failed() && units != 0) {
        nodes.push_back(leaf("unicode", fromUtf16(unicode), language != 0 ? signatureText(language) : ""));
    }
    const uint16_t script = cursor.u16();
    const uint8_t count = cursor.u8();
    const Span macintosh = cursor.take(std::min<size_t>(count, 67));
    if (!cursor.failed() && count != 0) {
        nodes.push_back(leaf("script", fromLatin1(macintosh), fmt::format("script code {}", script)));
    }
    return nodes;
}

Nodes localizedNodes(const std::vector<Localized>& texts) {
    Node languages = list("texts");
    for (const Localized& one : texts) {
        languages.add(text(one.language, one.text));
    }
    return {languages};
}

std::optional<Nodes> localizedRecord(const TagContext& context) {
    const auto texts = localizedOf(context.record.get().multiLocalized);
    if (!texts) {
        return std::nullopt;
    }
    return localizedNodes(*texts);
}

std::optional<Nodes> localizedBody(const TagContext& context) {
    const auto texts = localizedIn(context.body);
    if (!texts) {
        return std::nullopt;
    }
    return localizedNodes(*texts);
}

std::string utf16At(Span body, uint32_t offset, uint32_t size, bool& inside) {
    const Span bytes = part(body, offset, size);
    inside = inside && bytes.size() == size;
    return fromUtf16(bytes.first(std::min(bytes.size(), kMostTextBytes)));
}

std::optional<Nodes> dictionary(const TagContext& context) {
    Cursor cursor(context.body, 8);
    const uint32_t count = cursor.u32();
    const uint32_t length = cursor.u32();
    if (cursor.failed() || count > kMostPairs || (length != 16 && length != 24 && length != 32)) {
        return std::nullopt;
    }
    Nodes nodes;
    Node& pairs = nodes.emplace_back(list("entries"));
    bool inside = true;
    for (uint32_t i = 0; i < count && inside; ++i) {
        Cursor record(cursor.take(length));
        const uint32_t nameOffset = record.u32();
        const uint32_t nameSize = record.u32();
        const uint32_t valueOffset = record.u32();
        const uint32_t valueSize = record.u32();
        inside = !record.failed();
        Node& pair = pairs.add(object(std::to_string(i + 1)));
        pair.add(text("name", utf16At(context.body, nameOffset, nameSize, inside)));
        if (valueOffset != 0) {
            pair.add(text("value", utf16At(context.body, valueOffset, valueSize, inside)));
        }
    }
    return inside ? std::optional(nodes) : std::nullopt;
}

constexpr char kNoRecord[] = "the library has no record for this type";
constexpr char kOneLanguage[] = "the library's record has the text of one language";

}  // namespace

std::optional<std::vector<Localized>> localizedOf(const ClrIccTagMultiLocalized& record) {
    if (record.recordCount > 1 || (record.recordCount == 1 && record.records == nullptr)) {
        return std::nullopt;
    }
    std::vector<Localized> texts;
    for (uint32_t i = 0; i < record.recordCount; ++i) {
        const ClrIccMlucEntry entry = record.records[i];
        const Span bytes(static_cast<const uint8_t*>(record.text), entry.length);
        texts.push_back({languageOf(entry.language, entry.country), fromUtf16(bytes)});
    }
    return texts;
}

std::optional<std::vector<Localized>> localizedIn(Span body, size_t* end) {
    Cursor cursor(body, 8);
    const uint32_t count = cursor.u32();
    const uint32_t size = cursor.u32();
    if (cursor.failed() || count > kMostLanguages || (count != 0 && size < 12)) {
        return std::nullopt;
    }
    std::vector<Localized> texts;
    size_t last = 16;
    for (uint32_t i = 0; i < count; ++i) {
        Cursor record(cursor.take(size));
        const uint16_t language = record.u16();
        const uint16_t country = record.u16();
        const uint32_t length = record.u32();
        const uint32_t offset = record.u32();
        const Span bytes = part(body, offset, length);
        if (record.failed() || bytes.size() != length) {
            return std::nullopt;
        }
        last = std::max({last, cursor.position(), size_t{offset} + length});
        texts.push_back(
            {languageOf(language, country), fromUtf16(bytes.first(std::min(bytes.size(), kMostTextBytes)))});
    }
    if (end != nullptr) {
        *end = last;
    }
    return texts;
}

std::vector<TypeDecoder> textDecoders() {
    return {{"text", plainText, nullptr, ""},
            {"data", data, nullptr, ""},
            {"desc", nullptr, description, kNoRecord},
            {"mluc", localizedRecord, localizedBody, kOneLanguage},
            {"dict", nullptr, dictionary, kNoRecord}};
}

}  // namespace zvinfo
