// Types that hold lists of colours, profiles or responses.
#include <fmt/format.h>

#include <algorithm>
#include <cstring>

#include "decode.h"
#include "localized.h"
#include "names.h"

namespace zvinfo {

namespace {

Span bytesOf(const void* start, size_t count) { return {static_cast<const uint8_t*>(start), count}; }

std::vector<uint16_t> wordsOf(const void* start, size_t count) {
    std::vector<uint16_t> words(count);
    if (count != 0) {
        std::memcpy(words.data(), start, count * sizeof words[0]);
    }
    return words;
}

std::optional<Nodes> colorantOrder(const TagContext& context) {
    const ClrIccTagColorantOrder record = context.record.get().colorantOrder;
    return Nodes{integer("count", record.count),
                 series(context.style, "order", bytesOf(record.order, record.count), true)};
}

/// In the encoding of older versions, which named colours keep.
Node labNode(const std::vector<uint16_t>& words) {
    const double values[] = {words[0] / 652.8, words[1] / 256.0 - 128, words[2] / 256.0 - 128};
    return series({true}, "Lab", std::span(values), false);
}

std::optional<Nodes> colorantTable(const TagContext& context) {
    const ClrIccTagColorantTable record = context.record.get().colorantTable;
    Nodes nodes = {integer("count", record.count)};
    const uint64_t shown = shownEntries(context.style, record.count, 3);
    Node& colorants = nodes.emplace_back(list("colorants"));
    for (uint64_t i = 0; i < shown; ++i) {
        const ClrIccColorantEntry entry = record.entries[i];
        Node& colorant = colorants.add(object(std::to_string(i + 1)));
        colorant.add(text("name", fromLatin1(bytesOf(entry.name, sizeof entry.name))));
        colorant.add(series({true}, "PCS", wordsOf(&entry.pcs, 3), true));
    }
    addLeftOut(nodes, context.style, record.count, shown);
    return nodes;
}

std::optional<Nodes> namedColors(const TagContext& context) {
    const ClrIccTagNamedColor2 record = context.record.get().namedColor2;
    Nodes nodes = {leaf("vendor flags", fmt::format("0x{:08X}", record.vendorFlags)),
                   integer("count", record.colorCount), integer("device coordinates", record.deviceCoords),
                   text("prefix", fromLatin1(bytesOf(record.prefix, sizeof record.prefix))),
                   text("suffix", fromLatin1(bytesOf(record.suffix, sizeof record.suffix)))};
    const uint64_t shown = shownEntries(context.style, record.colorCount, 5);
    Node& colors = nodes.emplace_back(list("colours"));
    for (uint64_t i = 0; i < shown; ++i) {
        const ClrIccNamedColorEntry entry = record.colors[i];
        const std::vector<uint16_t> pcs = wordsOf(&entry.pcs, 3);
        Node& color = colors.add(object(std::to_string(i + 1)));
        color.add(text("name", fromLatin1(bytesOf(entry.name, sizeof entry.name))));
        color.add(series({true}, "PCS", pcs, true));
        if (context.profile.header().connectionSpace == sig("Lab ")) {
            color.add(labNode(pcs));
        }
        if (record.deviceCoords != 0) {
            color.add(series(context.style, "device", wordsOf(entry.device, record.deviceCoords), true));
        }
    }
    addLeftOut(nodes, context.style, record.colorCount, shown);
    return nodes;
}

struct Step {
    uint32_t manufacturer = 0;
    uint32_t model = 0;
    uint64_t attributes = 0;
    uint32_t technology = 0;
    LocalizedTexts makerText;
    LocalizedTexts modelText;
};

constexpr uint64_t kNodesOfStep = 9;

Nodes stepNodes(const Style& style, const std::vector<Step>& steps, uint64_t count) {
    Nodes nodes = {integer("count", count)};
    Node& profiles = nodes.emplace_back(list("profiles"));
    for (const Step& step : steps) {
        Node& one = profiles.add(object(std::to_string(profiles.children.size() + 1)));
        one.add(signature("manufacturer", step.manufacturer));
        one.add(signature("model", step.model));
        one.add(leaf("attributes", fmt::format("0x{:016X}", step.attributes)));
        one.add(signature("technology", step.technology, technologyName(step.technology)));
        one.add(localizedNode("manufacturer text", step.makerText, style));
        one.add(localizedNode("model text", step.modelText, style));
    }
    addLeftOut(nodes, style, count, steps.size());
    return nodes;
}

/// Texts that the record holds wholly; nothing where it may have counted something else as empty.
std::optional<LocalizedTexts> wholeText(const ClrIccTagMultiLocalized& record) {
    return record.typeSig == sig("mluc") ? localizedOf(record) : std::nullopt;
}

std::optional<Nodes> sequenceRecord(const TagContext& context) {
    const ClrIccTagProfileSequence record = context.record.get().profileSequence;
    std::vector<Step> steps;
    const uint64_t shown = shownEntries(context.style, record.count, kNodesOfStep);
    for (uint64_t i = 0; i < shown; ++i) {
        const ClrIccProfileSeqEntry entry = record.entries[i];
        const auto maker = wholeText(entry.manufacturerText);
        const auto model = wholeText(entry.modelText);
        if (!maker || !model || maker->shown.empty() || model->shown.empty()) {
            return std::nullopt;
        }
        Step& step = steps.emplace_back();
        step.manufacturer = entry.manufacturer;
        step.model = entry.model;
        std::memcpy(&step.attributes, entry.attributes, sizeof step.attributes);
        step.technology = entry.technology;
        step.makerText = *maker;
        step.modelText = *model;
    }
    return stepNodes(context.style, steps, record.count);
}

/// A text of a sequence, of the type that version 2 or 4 has, and the cursor behind it.
bool readText(Cursor& cursor, const TagContext& context, TextBudget& budget, LocalizedTexts& texts) {
    const Span body = context.body;
    const size_t start = cursor.position();
    const uint32_t type = cursor.u32();
    if (cursor.failed()) {
        return false;
    }
    if (type == sig("desc")) {
        cursor.skip(4);
        texts = {{{"ascii", fromLatin1(cursor.take(cursor.u32())), {}}}, 1, 0};
        cursor.skip(4);
        cursor.skip(2 * uint64_t{cursor.u32()});
        cursor.skip(70);
        return !cursor.failed();
    }
    const auto found = type == sig("mluc") ? localizedIn(body.subspan(start), context.style, budget) : std::nullopt;
    if (found) {
        texts = *found;
        const size_t next = start + (found->end + 3) / 4 * 4;
        cursor.seek(std::min(next, body.size()));
    }
    return found.has_value();
}

std::optional<Nodes> sequenceBody(const TagContext& context) {
    Cursor cursor(context.body, 8);
    const uint32_t count = cursor.u32();
    std::vector<Step> steps;
    TextBudget budget(context.body);
    const uint64_t shown = shownEntries(context.style, count, kNodesOfStep);
    for (uint64_t i = 0; i < shown; ++i) {
        Step& step = steps.emplace_back();
        step.manufacturer = cursor.u32();
        step.model = cursor.u32();
        step.attributes = cursor.u64();
        step.technology = cursor.u32();
        if (!readText(cursor, context, budget, step.makerText) || !readText(cursor, context, budget, step.modelText)) {
            return std::nullopt;
        }
    }
    return cursor.failed() ? std::nullopt : std::optional(stepNodes(context.style, steps, count));
}

template <class T>
T loadAt(const void* start, size_t index) {
    T value;
    std::memcpy(&value, static_cast<const uint8_t*>(start) + index * sizeof value, sizeof value);
    return value;
}

Node responseNode(const TagContext& context, const ClrIccResponseCurve& curve, uint16_t channel, uint16_t types) {
    Node node = object(fmt::format("channel {}", channel + 1));
    const auto word = [&curve, channel](size_t i) { return loadAt<uint32_t>(curve.patches, size_t{3} * channel + i); };
    node.add(integer("stated count", loadAt<uint32_t>(curve.counts, channel)));
    node.add(xyzNode("patch", word(0), word(1), word(2)));
    std::vector<double> devices;
    std::vector<double> measures;
    const auto* responses = loadAt<const ClrIccResponse*>(curve.responses, channel);
    for (uint16_t i = 0; i < types; ++i) {
        devices.push_back(responses[i].device);
        measures.push_back(s15Fixed16(responses[i].measure));
    }
    node.add(series(context.style, "device", devices, true));
    node.add(series(context.style, "measure", measures, false));
    return node;
}

/// Whether the lists are as long as the record takes them to be.
bool countsAgree(const ClrIccTagResponseCurveSet& record) {
    for (uint16_t i = 0; i < record.types; ++i) {
        const ClrIccResponseCurve curve = record.curves[i];
        for (uint16_t channel = 0; channel < record.channels; ++channel) {
            if (loadAt<uint32_t>(curve.counts, channel) != record.types) {
                return false;
            }
        }
    }
    return true;
}

constexpr uint64_t kNodesOfChannel = 7;

/// A unit by the standard, where each channel has as many responses as its count says.
bool addUnit(Node& unit, Cursor& cursor, uint16_t channels, const Style& style) {
    const uint32_t measurement = cursor.u32();
    unit.add(signature("measurement", measurement, measurementUnitName(measurement)));
    Cursor counts(cursor.take(4 * size_t{channels}));
    Cursor patches(cursor.take(12 * size_t{channels}));
    const uint64_t shown = shownEntries(style, channels, kNodesOfChannel);
    for (uint64_t channel = 0; channel < shown; ++channel) {
        const uint32_t count = counts.u32();
        if (cursor.failed() || count > cursor.left() / 8) {
            return false;
        }
        Node& node = unit.add(object(fmt::format("channel {}", channel + 1)));
        const uint32_t x = patches.u32();
        const uint32_t y = patches.u32();
        node.add(xyzNode("patch", x, y, patches.u32()));
        SeriesBuilder devices(style, count, true);
        SeriesBuilder measures(style, count, false);
        for (uint32_t i = 0; i < count; ++i) {
            devices.add(cursor.u16());
            cursor.skip(2);
            measures.add(cursor.fixed16());
        }
        node.add(devices.finish("device"));
        node.add(measures.finish("measure"));
    }
    addLeftOut(unit.children, style, channels, shown);
    return !cursor.failed();
}

std::optional<Nodes> responsesBody(const TagContext& context) {
    Cursor cursor(context.body, 8);
    const uint16_t channels = cursor.u16();
    const uint16_t units = cursor.u16();
    Nodes nodes = {integer("channels", channels), integer("units", units)};
    const uint64_t shown = shownEntries(context.style, units, 2);
    uint64_t taken = 0;
    for (uint64_t i = 0; i < shown; ++i) {
        // Any number of units may begin at the same byte.
        if (taken > context.body.size()) {
            nodes.push_back(integer("not shown", units - i, "the units before them share their bytes"));
            return nodes;
        }
        Node& unit = nodes.emplace_back(object(fmt::format("unit {}", i + 1)));
        const uint32_t offset = cursor.u32();
        Cursor reader(context.body, offset);
        if (cursor.failed() || !addUnit(unit, reader, channels, context.style)) {
            return std::nullopt;
        }
        taken += reader.position() - offset;
    }
    addLeftOut(nodes, context.style, units, shown);
    return nodes;
}

std::optional<Nodes> responses(const TagContext& context) {
    const ClrIccTagResponseCurveSet record = context.record.get().responseCurveSet;
    const uint64_t nodesLeft = context.style.nodesLeft;
    if (!countsAgree(record) && responsesBody(context)) {
        return std::nullopt;
    }
    context.style.nodesLeft = nodesLeft;
    Nodes nodes = {integer("channels", record.channels), integer("units", record.types)};
    const uint64_t shown = shownEntries(context.style, record.types, 2);
    for (uint16_t i = 0; i < shown; ++i) {
        const ClrIccResponseCurve curve = record.curves[i];
        Node& unit = nodes.emplace_back(object(fmt::format("unit {}", i + 1)));
        unit.add(signature("measurement", curve.measurement, measurementUnitName(curve.measurement)));
        const uint64_t channels = shownEntries(context.style, record.channels, kNodesOfChannel);
        for (uint16_t channel = 0; channel < channels; ++channel) {
            unit.add(responseNode(context, curve, channel, record.types));
        }
        addLeftOut(unit.children, context.style, record.channels, channels);
    }
    addLeftOut(nodes, context.style, record.types, shown);
    return nodes;
}

/// Two curves of percentages or values, and a description.
std::optional<Nodes> inkGeneration(const TagContext& context) {
    Cursor cursor(context.body, 8);
    Nodes nodes;
    for (const char* label : {"under colour removal", "black generation"}) {
        const uint32_t count = cursor.u32();
        if (count > cursor.left() / 2) {
            return std::nullopt;
        }
        SeriesBuilder builder(context.style, count, true);
        for (uint32_t i = 0; i < count; ++i) {
            builder.add(cursor.u16());
        }
        nodes.push_back(builder.finish(label));
    }
    nodes.push_back(text("description", fromLatin1(cursor.take(cursor.left()))));
    return cursor.failed() ? std::nullopt : std::optional(nodes);
}

std::optional<Nodes> screening(const TagContext& context) {
    constexpr const char* kShapes[] = {"unknown", "printer default", "round", "diamond", "ellipse",
                                       "line",    "square",          "cross"};
    Cursor cursor(context.body, 8);
    Nodes nodes = {leaf("flags", fmt::format("0x{:08X}", cursor.u32()))};
    const uint32_t count = cursor.u32();
    nodes.push_back(integer("channels", count));
    if (count > cursor.left() / 12) {
        return std::nullopt;
    }
    const uint64_t shown = shownEntries(context.style, count, 4);
    for (uint64_t i = 0; i < shown; ++i) {
        Node& channel = nodes.emplace_back(object(fmt::format("channel {}", i + 1)));
        channel.add(number("frequency", cursor.fixed16()));
        channel.add(number("angle", cursor.fixed16(), "degrees"));
        const uint32_t shape = cursor.u32();
        channel.add(integer("spot shape", shape, shape < std::size(kShapes) ? kShapes[shape] : ""));
    }
    addLeftOut(nodes, context.style, count, shown);
    return cursor.failed() ? std::nullopt : std::optional(nodes);
}

constexpr char kOtherCounts[] = "the library's record has as many responses for a channel as there are units";
constexpr char kOtherTexts[] = "the library's record has texts of one language and of version 4 only";

}  // namespace

std::vector<TypeDecoder> listDecoders() {
    return {{"clro", colorantOrder, nullptr, ""},
            {"clrt", colorantTable, nullptr, ""},
            {"ncl2", namedColors, nullptr, ""},
            {"pseq", sequenceRecord, sequenceBody, kOtherTexts},
            {"rcs2", responses, responsesBody, kOtherCounts},
            {"bfd ", nullptr, inkGeneration, kNoRecord},
            {"scrn", nullptr, screening, kNoRecord}};
}

}  // namespace zvinfo
