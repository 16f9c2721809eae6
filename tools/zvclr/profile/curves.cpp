#include "curves.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "decode.h"
#include "names.h"

namespace zvinfo {

namespace {

constexpr const char* kFormulas[] = {
    "Y = X^g",
    "Y = (a X + b)^g for X >= -b/a, else 0",
    "Y = (a X + b)^g + c for X >= -b/a, else c",
    "Y = (a X + b)^g for X >= d, else c X",
    "Y = (a X + b)^g + e for X >= d, else c X + f",
};

double power(double base, double exponent) { return std::pow(std::max(base, 0.0), exponent); }

double formulaAt(const Curve& curve, double x) {
    const auto p = [&curve](size_t i) { return i < curve.parameters.size() ? curve.parameters[i] : 0.0; };
    const double curved = power(p(1) * x + p(2), p(0));
    switch (curve.function) {
        case 0:
            return power(x, p(0));
        case 1:
            return p(1) * x + p(2) >= 0 ? curved : 0;
        case 2:
            return p(1) * x + p(2) >= 0 ? curved + p(3) : p(3);
        case 3:
            return x >= p(4) ? curved : p(3) * x;
        default:
            return x >= p(4) ? curved + p(5) : p(3) * x + p(6);
    }
}

double tableAt(const std::vector<uint16_t>& table, double x) {
    const double place = std::clamp(x, 0.0, 1.0) * static_cast<double>(table.size() - 1);
    const auto low = std::min(static_cast<size_t>(place), table.size() - 2);
    const double part = place - static_cast<double>(low);
    return (table[low] * (1 - part) + table[low + 1] * part) / 65535.0;
}

/// A plain gamma that goes through the same middle; nothing for curves that have none.
std::optional<double> middleGamma(const Curve& curve) {
    const double middle = curve.at(0.5);
    const bool fits = std::isfinite(middle) && middle > 0 && middle < 1;
    return fits ? std::optional(std::log(middle) / std::log(0.5)) : std::nullopt;
}

void addFormula(std::vector<Node>& nodes, const Curve& curve) {
    nodes.push_back(integer("function type", curve.function, kFormulas[curve.function]));
    constexpr const char* kLetters[] = {"g", "a", "b", "c", "d", "e", "f"};
    for (size_t i = 0; i < curve.parameters.size(); ++i) {
        nodes.push_back(number(kLetters[i], curve.parameters[i]));
    }
}

void addTable(std::vector<Node>& nodes, const Curve& curve, const Style& style) {
    nodes.push_back(integer("count", curve.table.size()));
    nodes.push_back(series(style, "entries", curve.table, true));
    nodes.push_back(leaf("rises throughout", std::is_sorted(curve.table.begin(), curve.table.end())));
}

std::optional<Nodes> curveRecord(const TagContext& context) {
    return curveNodes(curveOf(ClrIccTagCurve(context.record.get().curve)), context.style);
}

std::optional<Nodes> parametricRecord(const TagContext& context) {
    return curveNodes(curveOf(ClrIccTagParametricCurve(context.record.get().parametricCurve)), context.style);
}

std::optional<Nodes> videoFormula(Cursor cursor) {
    Nodes nodes;
    for (const char* colour : {"red", "green", "blue"}) {
        Node& channel = nodes.emplace_back(object(colour));
        for (const char* label : {"gamma", "lowest", "highest"}) {
            channel.add(number(label, cursor.fixed16()));
        }
    }
    return cursor.failed() ? std::nullopt : std::optional(nodes);
}

std::optional<Nodes> videoTable(Cursor cursor, const Style& style) {
    const uint16_t channels = cursor.u16();
    const uint16_t count = cursor.u16();
    const uint16_t bytes = cursor.u16();
    if (cursor.failed() || count == 0 || (bytes != 1 && bytes != 2) ||
        uint64_t{channels} * count * bytes > cursor.left()) {
        return std::nullopt;
    }
    Nodes nodes = {integer("channels", channels), integer("count", count), integer("bytes of an entry", bytes)};
    Node& tables = nodes.emplace_back(list("tables"));
    const uint64_t shown = shownEntries(style, channels);
    for (uint64_t i = 0; i < shown; ++i) {
        SeriesBuilder builder(style, count, true);
        for (uint16_t k = 0; k < count; ++k) {
            builder.add(bytes == 1 ? cursor.u8() : cursor.u16());
        }
        tables.add(builder.finish(fmt::format("channel {}", i + 1)));
    }
    addLeftOut(nodes, style, channels, shown);
    return nodes;
}

/// Calibration curves that a system loads into its video card.
std::optional<Nodes> videoCard(const TagContext& context) {
    Cursor cursor(context.body, 8);
    switch (cursor.u32()) {
        case 0:
            return videoTable(cursor, context.style);
        case 1:
            return videoFormula(cursor);
        default:
            return std::nullopt;
    }
}

}  // namespace

double Curve::at(double x) const {
    switch (kind) {
        case Kind::kGamma:
            return power(x, gamma);
        case Kind::kTable:
            return tableAt(table, x);
        case Kind::kFormula:
            return formulaAt(*this, x);
        default:
            return x;
    }
}

Curve curveOf(const ClrIccTagCurve& record) {
    Curve curve;
    std::vector<uint16_t> entries(record.entryCount);
    if (!entries.empty()) {
        std::memcpy(entries.data(), record.entries, entries.size() * sizeof entries[0]);
    }
    if (entries.size() == 1) {
        curve.kind = Curve::Kind::kGamma;
        curve.gamma = Zv_U8Fixed8NumberToDouble(entries[0]);
    } else if (!entries.empty()) {
        curve.kind = Curve::Kind::kTable;
        curve.table = std::move(entries);
    }
    return curve;
}

Curve curveOf(const ClrIccTagParametricCurve& record) {
    Curve curve;
    curve.kind = Curve::Kind::kFormula;
    curve.function = record.functionType;
    const int32_t count = Zv_GetParametricCurveNumberOfParameters(record.functionType);
    for (int32_t i = 0; i < count; ++i) {
        uint32_t word = 0;
        std::memcpy(&word, reinterpret_cast<const uint8_t*>(record.parameters) + sizeof word * static_cast<size_t>(i),
                    sizeof word);
        curve.parameters.push_back(s15Fixed16(word));
    }
    return curve;
}

std::optional<Curve> curveOfTag(const Profile& profile, uint32_t signature) {
    const int32_t index = profile.find(signature);
    if (index < 0) {
        return std::nullopt;
    }
    const uint32_t type = profile.tags()[static_cast<size_t>(index)].type;
    const TagRecord record(profile, index);
    if (!record.filled() || (type != sig("curv") && type != sig("para"))) {
        return std::nullopt;
    }
    return type == sig("curv") ? curveOf(ClrIccTagCurve(record.get().curve))
                               : curveOf(ClrIccTagParametricCurve(record.get().parametricCurve));
}

std::vector<Node> curveNodes(const Curve& curve, const Style& style) {
    constexpr const char* kKinds[] = {"identity", "gamma", "table", "formula"};
    Nodes nodes = {text("curve", kKinds[static_cast<int>(curve.kind)])};
    if (curve.kind == Curve::Kind::kGamma) {
        nodes.push_back(number("gamma", curve.gamma));
    } else if (curve.kind == Curve::Kind::kFormula) {
        addFormula(nodes, curve);
    } else if (curve.kind == Curve::Kind::kTable) {
        addTable(nodes, curve, style);
    }
    const std::optional<double> middle = middleGamma(curve);
    if (middle && (curve.kind == Curve::Kind::kTable || curve.kind == Curve::Kind::kFormula)) {
        nodes.push_back(number("gamma at the middle", *middle));
    }
    return nodes;
}

std::vector<TypeDecoder> curveDecoders() {
    return {{"curv", curveRecord, nullptr, ""},
            {"para", parametricRecord, nullptr, ""},
            {"vcgt", nullptr, videoCard, kNoRecord}};
}

}  // namespace zvinfo
