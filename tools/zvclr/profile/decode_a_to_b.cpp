// "mAB " and "mBA ".
#include <fmt/format.h>

#include <cstring>

#include "curves.h"
#include "decode.h"
#include "names.h"

namespace zvinfo {

namespace {

constexpr size_t kCurveHead = 12;
constexpr size_t kGridAxes = 16;
constexpr size_t kGridHead = 20;

/// Curves as the library's record holds them: heads of 12 bytes and values, rounded up to 4 bytes, in the host's order.
class CurveRun {
public:
    explicit CurveRun(const void* run) : at_(static_cast<const uint8_t*>(run)) {}

    Curve next() {
        uint32_t type = 0;
        std::memcpy(&type, at_, sizeof type);
        return type == sig("para") ? parametric() : table();
    }

private:
    Curve parametric() {
        ClrIccTagParametricCurve record = {};
        std::memcpy(&record, at_, kCurveHead);
        std::vector<uint32_t> words(static_cast<size_t>(Zv_GetParametricCurveNumberOfParameters(record.functionType)));
        std::memcpy(words.data(), at_ + kCurveHead, words.size() * sizeof words[0]);
        record.parameters = words.data();
        at_ += kCurveHead + words.size() * sizeof words[0];
        return curveOf(record);
    }

    Curve table() {
        ClrIccTagCurve record = {};
        std::memcpy(&record, at_, kCurveHead);
        std::vector<uint16_t> entries(record.entryCount);
        if (!entries.empty()) {
            std::memcpy(entries.data(), at_ + kCurveHead, entries.size() * sizeof entries[0]);
        }
        record.entries = entries.data();
        at_ += (kCurveHead + entries.size() * sizeof entries[0] + 3) / 4 * 4;
        return curveOf(record);
    }

    const uint8_t* at_;
};

void addCurves(Nodes& nodes, const Style& style, const char* label, const void* run, uint32_t count) {
    if (run == nullptr) {
        return;
    }
    Node& curves = nodes.emplace_back(list(label));
    CurveRun reader(run);
    constexpr uint64_t kNodesOfCurve = 12;
    const uint64_t shown = shownEntries(style, count, kNodesOfCurve);
    for (uint64_t i = 0; i < shown; ++i) {
        Node& curve = curves.add(object(fmt::format("channel {}", i + 1)));
        curve.children = curveNodes(reader.next(), style);
    }
    addLeftOut(curves.children, style, count, shown);
}

void addGrid(Nodes& nodes, const Style& style, const ClrIccTagLutAToB& record) {
    if (record.clut == nullptr) {
        return;
    }
    const auto* block = static_cast<const uint8_t*>(record.clut);
    const uint8_t precision = block[kGridAxes];
    const size_t axes = record.inputChannels;
    uint64_t count = record.outputChannels;
    for (size_t i = 0; i < axes; ++i) {
        count *= block[i];
    }
    Node& grid = nodes.emplace_back(object("grid"));
    grid.add(series(style, "points", Span(block, axes), true));
    grid.add(integer("bytes of a value", precision));
    SeriesBuilder builder(style, count, true);
    for (uint64_t i = 0; i < count; ++i) {
        uint16_t word = 0;
        std::memcpy(&word, block + kGridHead + i * precision, precision);
        builder.add(precision == 1 ? block[kGridHead + i] : word);
    }
    grid.add(builder.finish("values"));
}

void addMatrix(Nodes& nodes, const ClrIccTagLutAToB& record) {
    if (record.offsetMatrix == 0) {
        return;
    }
    std::vector<double> values;
    for (size_t i = 0; i < 12; ++i) {
        values.push_back(s15Fixed16(record.matrix[i]));
    }
    Node& matrix = nodes.emplace_back(object("matrix"));
    const Style whole = {true};
    for (size_t row = 0; row < 3; ++row) {
        matrix.add(series(whole, fmt::format("row {}", row + 1), std::span(values).subspan(3 * row, 3), false));
    }
    matrix.add(series(whole, "offsets", std::span(values).subspan(9), false));
}

/// Elements in the order in which a colour passes them.
std::optional<Nodes> lutAToB(const TagContext& context) {
    const ClrIccTagLutAToB record = context.record.get().lutAToB;
    const bool fromDevice = context.tag.type == sig("mAB ");
    const uint32_t device = fromDevice ? record.inputChannels : record.outputChannels;
    const uint32_t connection = fromDevice ? record.outputChannels : record.inputChannels;
    Nodes nodes = {integer("input channels", record.inputChannels), integer("output channels", record.outputChannels)};
    if (fromDevice) {
        addCurves(nodes, context.style, "A curves", record.curvesA, device);
        addGrid(nodes, context.style, record);
        addCurves(nodes, context.style, "M curves", record.curvesM, connection);
        addMatrix(nodes, record);
        addCurves(nodes, context.style, "B curves", record.curvesB, connection);
    } else {
        addCurves(nodes, context.style, "B curves", record.curvesB, connection);
        addMatrix(nodes, record);
        addCurves(nodes, context.style, "M curves", record.curvesM, connection);
        addGrid(nodes, context.style, record);
        addCurves(nodes, context.style, "A curves", record.curvesA, device);
    }
    return nodes;
}

}  // namespace

std::vector<TypeDecoder> lutAToBDecoders() { return {{"mAB ", lutAToB, nullptr, ""}, {"mBA ", lutAToB, nullptr, ""}}; }

}  // namespace zvinfo
