#include "press_model.h"

#include <cmath>

namespace zvmake {
namespace {

// Aim values for offset on coated paper (ISO 12647-2:2004 with amendment 1, paper types 1 and 2, white backing), as the
// trade quotes them in whole units of Lab.
constexpr Vec3 kPaper{95, 0, -2};
constexpr Vec3 kBlack{16, 0, 0};
constexpr std::array<Vec3, 8> kPublished{{
    kPaper,
    {55, -37, -50},  // C
    {48, 74, -3},    // M
    {24, 17, -46},   // C + M
    {89, -5, 93},    // Y
    {50, -68, 25},   // C + Y
    {47, 68, 48},    // M + Y
    {23, 0, 0},      // C + M + Y
}};

// What the solids and the three-ink grey shall be in linear sRGB: a perceptual rendering, somewhat lighter and cleaner
// than the print itself. Components below zero lie outside sRGB.
constexpr Vec3 kCyanAim{-0.11, 0.4441, 0.8354};
constexpr Vec3 kMagentaAim{0.7652, -0.0206, 0.2122};
constexpr Vec3 kYellowAim{0.9432, 0.9008, -0.0520};
constexpr Vec3 kThreeInksAim{0.0373, 0.0206, 0.0335};

constexpr size_t kCyan = 1;
constexpr size_t kMagenta = 2;
constexpr size_t kYellow = 4;

struct Knot {
    double tone;  // byte
    double area;
};

// Murray-Davies areas on paper. Chromatic inks gain 16 % at half tone, black 20 %: the norm's wide curves, a point
// more.
constexpr std::array<Knot, 7> kChromaticGain{
    {{0, 0}, {16, 0.093}, {64, 0.368}, {128, 0.667}, {192, 0.877}, {240, 0.985}, {255, 1}}};
constexpr std::array<Knot, 8> kBlackGain{
    {{0, 0}, {16, 0.104}, {32, 0.209}, {64, 0.396}, {128, 0.699}, {192, 0.911}, {238, 0.990}, {255, 1}}};

// Monotone cubic through the knots: slopes are harmonic means, so that the curve never turns.
template <size_t N>
double ThroughKnots(const std::array<Knot, N>& knots, double tone) {
    const auto rise = [&knots](size_t i) {
        return (knots[i + 1].area - knots[i].area) / (knots[i + 1].tone - knots[i].tone);
    };
    const auto slope = [&](size_t i) {
        if (i == 0) return rise(0);
        if (i == N - 1) return rise(N - 2);
        const double before = rise(i - 1), after = rise(i);
        return 2 * before * after / (before + after);
    };
    size_t i = 0;
    while (i + 2 < N && tone > knots[i + 1].tone) ++i;
    const double width = knots[i + 1].tone - knots[i].tone;
    const double t = (tone - knots[i].tone) / width;
    const double t2 = t * t, t3 = t2 * t;
    return knots[i].area * (2 * t3 - 3 * t2 + 1) + slope(i) * width * (t3 - 2 * t2 + t) +
           knots[i + 1].area * (3 * t2 - 2 * t3) + slope(i + 1) * width * (t3 - t2);
}

// Relative to the paper, with the solid black at zero, in linear sRGB.
Vec3 Relative(const Vec3& lab) {
    const Vec3 paper = LabToXyz(kPaper), black = LabToXyz(kBlack), colour = LabToXyz(lab);
    Vec3 xyz{};
    for (size_t i = 0; i < 3; ++i) xyz[i] = (colour[i] - black[i]) / (paper[i] - black[i]) * kWhiteD50[i];
    return Multiply(XyzToSrgb(), xyz);
}

// By how much an aim departs from the published solid; components outside sRGB stay.
Vec3 Departure(size_t ink, const Vec3& aim) {
    const Vec3 published = Relative(kPublished[ink]);
    Vec3 ratio{1, 1, 1};
    for (size_t i = 0; i < 3; ++i) {
        if (published[i] > 0 && aim[i] > 0) ratio[i] = aim[i] / published[i];
    }
    return ratio;
}

}  // namespace

PressModel::PressModel() {
    std::array<Vec3, 8> linear{};
    linear[0] = {1, 1, 1};
    linear[kCyan] = kCyanAim;
    linear[kMagenta] = kMagentaAim;
    linear[kYellow] = kYellowAim;
    linear[kCyan + kMagenta + kYellow] = kThreeInksAim;
    const Vec3 cyan = Departure(kCyan, kCyanAim);
    const Vec3 magenta = Departure(kMagenta, kMagentaAim);
    const Vec3 yellow = Departure(kYellow, kYellowAim);
    const auto overprint = [&linear](size_t which, const Vec3& first, const Vec3& second) {
        const Vec3 published = Relative(kPublished[which]);
        // The geometric mean: each ink of an overprint lends half of its own departure.
        for (size_t i = 0; i < 3; ++i) linear[which][i] = published[i] * std::sqrt(first[i] * second[i]);
    };
    overprint(kCyan + kMagenta, cyan, magenta);
    overprint(kCyan + kYellow, cyan, yellow);
    overprint(kMagenta + kYellow, magenta, yellow);
    for (size_t i = 0; i < 8; ++i) primaries_[i] = Multiply(SrgbToXyz(), linear[i]);
    primaries_[0] = kWhiteD50;
}

double PressModel::EffectiveArea(size_t ink, double tone) const {
    return ink == 3 ? ThroughKnots(kBlackGain, tone * 255) : ThroughKnots(kChromaticGain, tone * 255);
}

// Neugebauer's sum over the eight chromatic primaries with Demichel's areas. Every primary with black lies at or below
// the black point, so that black only scales the sum.
Vec3 PressModel::Lab(const Inks& inks) const {
    Inks area{};
    for (size_t ink = 0; ink < 4; ++ink) area[ink] = EffectiveArea(ink, inks[ink]);
    Vec3 xyz{};
    for (size_t primary = 0; primary < 8; ++primary) {
        double share = 1 - area[3];
        for (size_t ink = 0; ink < 3; ++ink) share *= (primary >> ink & 1) != 0 ? area[ink] : 1 - area[ink];
        for (size_t i = 0; i < 3; ++i) xyz[i] += share * primaries_[primary][i];
    }
    return XyzToLab(xyz);
}

std::vector<uint16_t> PressGrid(const PressModel& model) {
    constexpr double last = kPressGridPoints - 1;
    std::vector<uint16_t> grid;
    grid.reserve(kPressGridPoints * kPressGridPoints * kPressGridPoints * kPressGridPoints * 3);
    for (size_t node = 0; node < kPressGridPoints * kPressGridPoints * kPressGridPoints * kPressGridPoints; ++node) {
        const Inks inks{static_cast<double>(node >> 12) / last, static_cast<double>(node >> 8 & 15) / last,
                        static_cast<double>(node >> 4 & 15) / last, static_cast<double>(node & 15) / last};
        for (const uint16_t word : LabToWords(model.Lab(inks))) grid.push_back(word);
    }
    return grid;
}

}  // namespace zvmake
