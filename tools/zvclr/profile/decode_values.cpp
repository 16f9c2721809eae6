// Types that hold numbers, signatures and dates.
#include <fmt/format.h>

#include <algorithm>
#include <cstring>

#include "decode.h"
#include "names.h"

namespace zvinfo {

namespace {

/// The words of an array, which begins on any byte.
template <class T>
std::vector<T> valuesOf(const ClrIccTagArray& array) {
    std::vector<T> values(array.count);
    if (!values.empty()) {
        std::memcpy(values.data(), array.values, values.size() * sizeof(T));
    }
    return values;
}

std::optional<Nodes> xyzArray(const TagContext& context) {
    ClrIccTagArray array = context.record.get().array;
    Nodes nodes;
    array.count *= 3;
    const auto words = valuesOf<uint32_t>(array);
    const uint64_t count = words.size() / 3;
    const uint64_t shown = shownEntries(context.style, count, 3);
    for (size_t i = 0; i < shown; ++i) {
        nodes.push_back(xyzNode(count == 1 ? "value" : fmt::format("value {}", i + 1), words[3 * i], words[3 * i + 1],
                                words[3 * i + 2]));
    }
    addLeftOut(nodes, context.style, count, shown);
    return nodes;
}

template <class T>
std::optional<Nodes> integerArray(const TagContext& context) {
    return Nodes{series(context.style, "values", valuesOf<T>(context.record.get().array), true)};
}

std::optional<Nodes> integers64(const TagContext& context) {
    Cursor cursor(context.body, 8);
    Nodes nodes;
    const uint64_t count = cursor.left() / 8;
    const uint64_t shown = shownEntries(context.style, count);
    Node& values = nodes.emplace_back(list("values"));
    // Not as a series, whose numbers are of double precision.
    for (uint64_t i = 0; i < shown; ++i) {
        values.add(text(std::to_string(i + 1), std::to_string(cursor.u64())));
    }
    addLeftOut(nodes, context.style, count, shown);
    return nodes;
}

/// The nine numbers of "chad" and the like by rows.
Nodes matrixRows(const std::vector<double>& values) {
    Nodes nodes;
    for (size_t row = 0; row < 3; ++row) {
        nodes.push_back(series({true}, fmt::format("row {}", row + 1), std::span(values).subspan(3 * row, 3), false));
    }
    return nodes;
}

std::optional<Nodes> fixedArray(const TagContext& context) {
    const bool isSigned = context.tag.type == sig("sf32");
    std::vector<double> values;
    for (const uint32_t word : valuesOf<uint32_t>(context.record.get().array)) {
        values.push_back(isSigned ? s15Fixed16(word) : u16Fixed16(word));
    }
    if (context.tag.signature == sig("chad") && values.size() == 9) {
        return matrixRows(values);
    }
    return Nodes{series(context.style, "values", values, false)};
}

std::optional<Nodes> signatureValue(const TagContext& context) {
    const ClrIccTagSignature record = context.record.get().signature;
    return Nodes{signature("signature", record.value, signatureTagName(context.tag.signature, record.value))};
}

std::optional<Nodes> dateTime(const TagContext& context) {
    const ClrIccTagDateTime record = context.record.get().dateTime;
    uint16_t parts[6];
    std::memcpy(parts, &record.dateTime, sizeof parts);
    return Nodes{text("date and time", dateTimeText(parts))};
}

std::optional<Nodes> measurement(const TagContext& context) {
    const ClrIccTagMeasurement record = context.record.get().measurement;
    return Nodes{integer("observer", record.observer, std::string(observerName(record.observer))),
                 xyzNode("backing", record.backing[0], record.backing[1], record.backing[2]),
                 integer("geometry", record.geometry, std::string(geometryName(record.geometry))),
                 number("flare", 100 * u16Fixed16(record.flare), "%"),
                 integer("illuminant", record.illuminantType, std::string(illuminantName(record.illuminantType)))};
}

std::optional<Nodes> viewing(const TagContext& context) {
    const ClrIccTagViewingConditions record = context.record.get().viewingConditions;
    return Nodes{xyzNode("illuminant XYZ", record.illuminantXyz[0], record.illuminantXyz[1], record.illuminantXyz[2]),
                 xyzNode("surround XYZ", record.surroundXyz[0], record.surroundXyz[1], record.surroundXyz[2]),
                 integer("illuminant", record.illuminantType, std::string(illuminantName(record.illuminantType)))};
}

std::optional<Nodes> chromaticity(const TagContext& context) {
    const ClrIccTagChromaticity record = context.record.get().chromaticity;
    Nodes nodes = {integer("phosphor type", record.phosphorType, std::string(phosphorName(record.phosphorType)))};
    const uint64_t shown = shownEntries(context.style, record.channels);
    for (size_t i = 0; i < shown; ++i) {
        uint32_t pair[2];
        std::memcpy(pair, reinterpret_cast<const uint8_t*>(record.coordinates) + i * sizeof pair, sizeof pair);
        const double xy[] = {u16Fixed16(pair[0]), u16Fixed16(pair[1])};
        nodes.push_back(series({true}, fmt::format("channel {} xy", i + 1), std::span(xy), false));
    }
    addLeftOut(nodes, context.style, record.channels, shown);
    return nodes;
}

std::optional<Nodes> codePoints(const TagContext& context) {
    Cursor cursor(context.body, 8);
    Nodes nodes;
    for (const char* label : {"colour primaries", "transfer characteristics", "matrix coefficients", "full range"}) {
        nodes.push_back(integer(label, cursor.u8()));
    }
    return cursor.failed() ? std::nullopt : std::optional(nodes);
}

constexpr char kUpperHalves[] = "the library's record has lost the upper halves of its numbers";

}  // namespace

std::vector<TypeDecoder> valueDecoders() {
    return {{"XYZ ", xyzArray, nullptr, ""},
            {"ui08", integerArray<uint8_t>, nullptr, ""},
            {"ui16", integerArray<uint16_t>, nullptr, ""},
            {"ui32", integerArray<uint32_t>, nullptr, ""},
            {"ui64", nullptr, integers64, kUpperHalves},
            {"sf32", fixedArray, nullptr, ""},
            {"uf32", fixedArray, nullptr, ""},
            {"sig ", signatureValue, nullptr, ""},
            {"dtim", dateTime, nullptr, ""},
            {"meas", measurement, nullptr, ""},
            {"view", viewing, nullptr, ""},
            {"chrm", chromaticity, nullptr, ""},
            {"cicp", nullptr, codePoints, kNoRecord}};
}

}  // namespace zvinfo
