// Types that hold text.
#include <fmt/format.h>

#include <algorithm>

#include "decode.h"
#include "localized.h"
#include "names.h"

namespace zvinfo {

namespace {

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
    return country != 0 ? fmt::format("{}-{}", letters(language), letters(country)) : letters(language);
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
    const bool hasUnicode = !cursor.failed();
    const Span unicode = cursor.take(2 * units);
    if (hasUnicode && cursor.failed()) {
        nodes.push_back(text("remark", "the Unicode part points past its end"));
    }
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

std::optional<Nodes> localizedRecord(const TagContext& context) {
    const auto texts = localizedOf(context.record.get().multiLocalized);
    if (!texts) {
        return std::nullopt;
    }
    return Nodes{localizedNode("texts", *texts, context.style)};
}

std::optional<Nodes> localizedBody(const TagContext& context) {
    TextBudget budget(context.body);
    const auto texts = localizedIn(context.body, context.style, budget);
    if (!texts) {
        return std::nullopt;
    }
    return Nodes{localizedNode("texts", *texts, context.style)};
}

Node textNode(const std::string& label, const TextBudget::Text& text) { return leaf(label, text.words, text.note); }

std::optional<Nodes> dictionary(const TagContext& context) {
    Cursor cursor(context.body, 8);
    const uint32_t count = cursor.u32();
    const uint32_t length = cursor.u32();
    if (cursor.failed() || (length != 16 && length != 24 && length != 32)) {
        return std::nullopt;
    }
    Nodes nodes;
    Node& pairs = nodes.emplace_back(list("entries"));
    TextBudget budget(context.body);
    constexpr uint64_t kNodesOfPair = 3;
    const uint64_t shown = shownEntries(context.style, std::min<uint64_t>(count, cursor.left() / length), kNodesOfPair);
    for (uint32_t i = 0; i < count; ++i) {
        Cursor record(cursor.take(length));
        const uint32_t nameOffset = record.u32();
        const uint32_t nameSize = record.u32();
        const uint32_t valueOffset = record.u32();
        const uint32_t valueSize = record.u32();
        const Span name = part(context.body, nameOffset, nameSize);
        const Span value = part(context.body, valueOffset, valueOffset != 0 ? valueSize : 0);
        if (record.failed() || name.size() != nameSize || (valueOffset != 0 && value.size() != valueSize)) {
            return std::nullopt;
        }
        if (i < shown) {
            Node& pair = pairs.add(object(std::to_string(i + 1)));
            pair.add(textNode("name", budget.utf16(name)));
            if (valueOffset != 0) {
                pair.add(textNode("value", budget.utf16(value)));
            }
        }
    }
    addLeftOut(nodes, context.style, count, shown);
    return nodes;
}

constexpr char kOneLanguage[] = "the library's record has the text of one language";

}  // namespace

std::optional<LocalizedTexts> localizedOf(const ClrIccTagMultiLocalized& record) {
    if (record.recordCount > 1 || (record.recordCount == 1 && record.records == nullptr)) {
        return std::nullopt;
    }
    LocalizedTexts texts;
    texts.count = record.recordCount;
    for (uint32_t i = 0; i < record.recordCount; ++i) {
        const ClrIccMlucEntry entry = record.records[i];
        const Span bytes(static_cast<const uint8_t*>(record.text), entry.length);
        texts.shown.push_back({languageOf(entry.language, entry.country), fromUtf16(bytes), {}});
    }
    return texts;
}

std::optional<LocalizedTexts> localizedIn(Span body, const Style& style, TextBudget& budget) {
    Cursor cursor(body, 8);
    const uint32_t count = cursor.u32();
    const uint32_t size = cursor.u32();
    if (cursor.failed() || (count != 0 && (size < 12 || count > cursor.left() / size))) {
        return std::nullopt;
    }
    LocalizedTexts texts;
    texts.count = count;
    texts.end = cursor.position();
    const uint64_t shown = shownEntries(style, count);
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
        texts.end = std::max({texts.end, cursor.position(), size_t{offset} + length});
        if (i < shown) {
            const TextBudget::Text text = budget.utf16(bytes);
            texts.shown.push_back({languageOf(language, country), text.words, text.note});
        }
    }
    return texts;
}

Node localizedNode(const std::string& label, const LocalizedTexts& texts, const Style& style) {
    Node node = list(label);
    for (const Localized& one : texts.shown) {
        node.add(leaf(one.language, one.text, one.note));
    }
    addLeftOut(node.children, style, texts.count, texts.shown.size());
    return node;
}

std::vector<TypeDecoder> textDecoders() {
    return {{"text", plainText, nullptr, ""},
            {"data", data, nullptr, ""},
            {"desc", nullptr, description, kNoRecord},
            {"mluc", localizedRecord, localizedBody, kOneLanguage},
            {"dict", nullptr, dictionary, kNoRecord}};
}

}  // namespace zvinfo
