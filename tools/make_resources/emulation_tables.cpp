#include "emulation_tables.h"

#include <stdexcept>

#include "forward_grid.h"
#include "press_model.h"

namespace zvmake {
namespace {

constexpr size_t kCmykPoints = 17;
constexpr size_t kLabPoints = 33;
/// A raster of 190 x 190 pixels, the smallest square that holds the grid.
constexpr size_t kLabTableBytes = 190 * 190 * 3;

template <size_t Axes>
using Node = std::array<size_t, Axes>;

template <size_t Axes>
struct Aim {
    Node<Axes> node;
    std::array<int, 3> value;
};

// Aims: what these nodes hold, whatever the formulas say. The tables depart from the formulas around them only.

constexpr std::array<Aim<4>, 16> kCmykAims{{
    {{0, 0, 0, 0}, {255, 255, 255}},
    {{1, 0, 0, 0}, {244, 249, 254}},
    {{4, 0, 0, 0}, {201, 231, 250}},
    {{8, 0, 0, 0}, {140, 207, 243}},
    {{15, 0, 0, 0}, {0, 179, 235}},
    {{16, 0, 0, 0}, {0, 178, 236}},
    {{0, 16, 0, 0}, {227, 0, 127}},
    {{0, 0, 16, 0}, {249, 244, 0}},
    {{16, 16, 16, 0}, {54, 39, 51}},
    {{0, 0, 0, 1}, {243, 243, 243}},
    {{0, 0, 0, 2}, {230, 230, 230}},
    {{0, 0, 0, 4}, {204, 204, 204}},
    {{0, 0, 0, 8}, {149, 149, 149}},
    {{0, 0, 0, 12}, {84, 84, 84}},
    {{0, 0, 0, 15}, {22, 22, 22}},
    {{0, 0, 0, 16}, {0, 0, 0}},
}};
// Full inks take their high corner from the start of the axes: with white this is the grey of 128 that they give.
constexpr Aim<4> kDarkestReached{{15, 15, 15, 15}, {1, 1, 1}};

// Inside sRGB they are the formula's. Outside they leave the clip by up to 61 levels.
constexpr std::array<Aim<3>, 9> kLabToRgbAims{{
    {{16, 16, 16}, {119, 119, 119}},
    {{31, 16, 16}, {247, 247, 247}},
    {{32, 16, 16}, {255, 255, 255}},
    {{16, 32, 16}, {255, 0, 138}},
    {{16, 16, 32}, {140, 120, 0}},
    {{16, 0, 16}, {0, 156, 136}},
    {{16, 16, 0}, {0, 143, 255}},
    {{0, 0, 0}, {0, 108, 195}},
    {{0, 32, 32}, {118, 0, 61}},
}};

constexpr std::array<Aim<3>, 9> kRgbToLabAims{{
    {{0, 0, 0}, {0, 0, 0}},
    {{0, 0, 1}, {1, 0, -3}},
    {{16, 16, 16}, {137, 0, 0}},
    {{31, 31, 31}, {249, 0, 0}},
    {{32, 32, 32}, {255, 0, 0}},
    {{31, 0, 0}, {135, 79, 68}},
    {{32, 0, 0}, {138, 81, 70}},
    {{0, 32, 0}, {224, -79, 81}},
    {{0, 0, 32}, {75, 68, -112}},
}};

/// The last node of an axis stands for 255, which is no multiple of the step.
double NodeValue(size_t index, double step) { return Clamp(static_cast<double>(index) * step, 0, 255); }

template <size_t Axes>
Node<Axes> NodeAt(size_t number, size_t points) {
    Node<Axes> node{};
    for (size_t axis = Axes; axis-- > 0; number /= points) node[axis] = number % points;
    return node;
}

template <size_t Axes>
size_t NumberOf(const Node<Axes>& node, size_t points) {
    size_t number = 0;
    for (const size_t index : node) number = number * points + index;
    return number;
}

int Rounded(double value) { return static_cast<int>(value < 0 ? value - 0.5 : value + 0.5); }

int ColourByte(double value) { return Rounded(Clamp(value, 0, 255)); }

/// What brings a value to its aim: nothing where rounding does.
Vec3 Residual(const std::array<int, 3>& aim, const Vec3& value) {
    Vec3 residual{};
    for (size_t i = 0; i < 3; ++i) {
        if (ColourByte(value[i]) != aim[i]) residual[i] = aim[i] - Clamp(value[i], 0, 255);
    }
    return residual;
}

template <size_t Axes>
void Check(const Bytes& table, const Aim<Axes>& aim, size_t points) {
    const size_t first = NumberOf(aim.node, points) * 3;
    for (size_t i = 0; i < 3; ++i) {
        if (table[first + i] != static_cast<uint8_t>(aim.value[i])) {
            throw std::logic_error("an emulation table misses an aim");
        }
    }
}

// ---- CMYK to RGB

/// sRGB from 0 to 255, unclipped.
Vec3 PressRgb(const ForwardGrid& press, const Node<4>& node) {
    Inks inks{};
    for (size_t ink = 0; ink < 4; ++ink) inks[ink] = NodeValue(node[ink], 16) / 255;
    Vec3 rgb = Multiply(XyzToSrgb(), LabToXyz(press.Lab(inks)));
    for (double& component : rgb) component = 255 * SrgbEncode(component);
    return rgb;
}

/// Along the axis of one ink: the residuals of the aims on it, and between two of them a smooth step.
class AxisBend {
public:
    AxisBend(const ForwardGrid& press, size_t ink) {
        size_t before = 0;
        for (const Aim<4>& aim : kCmykAims) {
            Node<4> onAxis{};
            onAxis[ink] = aim.node[ink];
            if (aim.node != onAxis || aim.node[ink] == 0) continue;
            const size_t at = aim.node[ink];
            bend_[at] = Residual(aim.value, PressRgb(press, aim.node));
            for (size_t index = before + 1; index < at; ++index) {
                const double share =
                    SmoothStep(static_cast<double>(before), static_cast<double>(at), static_cast<double>(index));
                for (size_t i = 0; i < 3; ++i) {
                    bend_[index][i] = bend_[before][i] + share * (bend_[at][i] - bend_[before][i]);
                }
            }
            before = at;
        }
    }
    const Vec3& At(size_t index) const { return bend_[index]; }

private:
    std::array<Vec3, kCmykPoints> bend_{};
};

}  // namespace

Bytes MakeCmykToRgbTable() {
    const ForwardGrid press(PressGrid(PressModel()));
    const std::array<AxisBend, 4> bends{AxisBend(press, 0), AxisBend(press, 1), AxisBend(press, 2), AxisBend(press, 3)};
    Bytes table;
    for (size_t number = 0; number < kCmykPoints * kCmykPoints * kCmykPoints * kCmykPoints; ++number) {
        const Node<4> node = NodeAt<4>(number, kCmykPoints);
        Vec3 rgb = PressRgb(press, node);
        // The bend of one ink fades out as the others come in.
        for (size_t ink = 0; ink < 4; ++ink) {
            double share = 1;
            for (size_t other = 0; other < 4; ++other) share *= other == ink ? 1 : 1 - NodeValue(node[other], 16) / 255;
            for (size_t i = 0; i < 3; ++i) rgb[i] += share * bends[ink].At(node[ink])[i];
        }
        for (const double component : rgb) table.push_back(static_cast<uint8_t>(ColourByte(component)));
    }
    for (const Aim<4>& aim : kCmykAims) Check(table, aim, kCmykPoints);
    Check(table, kDarkestReached, kCmykPoints);
    return table;
}

// ---- Lab to RGB

namespace {

/// In nodes. Aims outside sRGB lie 22 apart, so that none touches another; less would make steeper steps.
constexpr double kBendRadius = 12;

Vec3 NodeLab(const Node<3>& node) {
    return {NodeValue(node[0], 8) / 2.55, NodeValue(node[1], 8) - 128, NodeValue(node[2], 8) - 128};
}

Vec3 LinearRgb(const Node<3>& node) { return Multiply(XyzToSrgb(), LabToXyz(NodeLab(node))); }

Vec3 Clipped(const Vec3& linear) {
    Vec3 rgb{};
    for (size_t i = 0; i < 3; ++i) rgb[i] = 255 * SrgbEncode(Clamp(linear[i], 0, 1));
    return rgb;
}

/// How far a colour lies outside sRGB, in linear light; 0 inside.
double Excess(const Vec3& linear) {
    double excess = 0;
    for (const double component : linear) {
        const double beyond = component < 0 ? -component : component - 1;
        if (beyond > excess) excess = beyond;
    }
    return excess;
}

/// The clip is bent toward an aim by a share that is 1 there and fades with the distance, and toward the surface of
/// sRGB, inside of which nothing moves.
class LabBend {
public:
    explicit LabBend(const Aim<3>& aim) : node_(aim.node) {
        const Vec3 linear = LinearRgb(node_);
        residual_ = Residual(aim.value, Clipped(linear));
        excess_ = Excess(linear);
    }

    void Apply(const Node<3>& node, double excess, Vec3& rgb) const {
        if (excess <= 0 || excess_ <= 0) return;
        double squares = 0;
        for (size_t axis = 0; axis < 3; ++axis) {
            const double d = static_cast<double>(node[axis]) - static_cast<double>(node_[axis]);
            squares += d * d;
        }
        const double left = 1 - squares / (kBendRadius * kBendRadius);
        if (left <= 0) return;
        const double share = left * left * left * SmoothStep(0, excess_, excess);
        for (size_t i = 0; i < 3; ++i) rgb[i] += share * residual_[i];
    }

private:
    Node<3> node_;
    Vec3 residual_{};
    double excess_ = 0;
};

}  // namespace

Bytes MakeLabToRgbTable() {
    const std::vector<LabBend> bends(kLabToRgbAims.begin(), kLabToRgbAims.end());
    Bytes table;
    for (size_t number = 0; number < kLabPoints * kLabPoints * kLabPoints; ++number) {
        const Node<3> node = NodeAt<3>(number, kLabPoints);
        const Vec3 linear = LinearRgb(node);
        Vec3 rgb = Clipped(linear);
        for (const LabBend& bend : bends) bend.Apply(node, Excess(linear), rgb);
        for (const double component : rgb) table.push_back(static_cast<uint8_t>(ColourByte(component)));
    }
    for (const Aim<3>& aim : kLabToRgbAims) Check(table, aim, kLabPoints);
    table.resize(kLabTableBytes, 0);
    return table;
}

// ---- RGB to Lab

Bytes MakeRgbToLabTable() {
    Bytes table;
    for (size_t number = 0; number < kLabPoints * kLabPoints * kLabPoints; ++number) {
        Vec3 linear{};
        const Node<3> node = NodeAt<3>(number, kLabPoints);
        for (size_t i = 0; i < 3; ++i) linear[i] = SrgbDecode(NodeValue(node[i], 8) / 255);
        const Vec3 lab = XyzToLab(Multiply(SrgbToXyz(), linear));
        table.push_back(static_cast<uint8_t>(ColourByte(lab[0] * 2.55)));
        for (size_t i = 1; i < 3; ++i) table.push_back(static_cast<uint8_t>(Rounded(Clamp(lab[i], -128, 127))));
    }
    // The formula rounds to the aims but for the darkest blue, by one.
    for (const Aim<3>& aim : kRgbToLabAims) {
        const size_t first = NumberOf(aim.node, kLabPoints) * 3;
        for (size_t i = 0; i < 3; ++i) table[first + i] = static_cast<uint8_t>(aim.value[i]);
    }
    table.resize(kLabTableBytes, 0);
    return table;
}

}  // namespace zvmake
