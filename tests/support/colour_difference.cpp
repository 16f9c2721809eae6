#include "tests/support/colour_difference.h"

#include <cmath>
#include <numbers>

namespace zvtest {
namespace {

constexpr double kDegree = std::numbers::pi / 180.0;
// CIE: the cube root gives way to a line below (6/29)^3, of slope (29/6)^2 / 3.
constexpr double kRootEnd = 216.0 / 24389.0;
constexpr double kLineSlope = 841.0 / 108.0;

double Root(double t) { return t > kRootEnd ? std::cbrt(t) : kLineSlope * t + 16.0 / 116.0; }

double Cube(double root) { return root > 6.0 / 29.0 ? root * root * root : (root - 16.0 / 116.0) / kLineSlope; }

double HueAngle(double a, double b) {
    if (a == 0 && b == 0) return 0;
    const double degrees = std::atan2(b, a) / kDegree;
    return degrees < 0 ? degrees + 360.0 : degrees;
}

}  // namespace

double DeltaE2000(const Lab& first, const Lab& second) {
    const double pow25 = 6103515625.0;  // 25^7
    const double meanC = (Chroma(first) + Chroma(second)) / 2;
    const double meanC7 = std::pow(meanC, 7);
    const double stretch = 1 + 0.5 * (1 - std::sqrt(meanC7 / (meanC7 + pow25)));
    const double a1 = first.a * stretch;
    const double a2 = second.a * stretch;
    const double c1 = std::hypot(a1, first.b);
    const double c2 = std::hypot(a2, second.b);
    const double h1 = HueAngle(a1, first.b);
    const double h2 = HueAngle(a2, second.b);

    double dh = 0;
    double meanH = h1 + h2;
    if (c1 * c2 != 0) {
        dh = h2 - h1;
        if (dh > 180) dh -= 360;
        if (dh < -180) dh += 360;
        if (std::abs(h1 - h2) > 180) meanH += meanH < 360 ? 360 : -360;
        meanH /= 2;
    }
    const double dL = second.l - first.l;
    const double dC = c2 - c1;
    const double dH = 2 * std::sqrt(c1 * c2) * std::sin(dh / 2 * kDegree);

    const double midL = (first.l + second.l) / 2 - 50;
    const double midC = (c1 + c2) / 2;
    const double t = 1 - 0.17 * std::cos((meanH - 30) * kDegree) + 0.24 * std::cos(2 * meanH * kDegree) +
                     0.32 * std::cos((3 * meanH + 6) * kDegree) - 0.20 * std::cos((4 * meanH - 63) * kDegree);
    const double turn = (meanH - 275) / 25;
    const double midC7 = std::pow(midC, 7);
    const double rotation =
        -2 * std::sqrt(midC7 / (midC7 + pow25)) * std::sin(2 * 30 * std::exp(-turn * turn) * kDegree);
    const double l = dL / (1 + 0.015 * midL * midL / std::sqrt(20 + midL * midL));
    const double c = dC / (1 + 0.045 * midC);
    const double h = dH / (1 + 0.015 * midC * t);
    return std::sqrt(l * l + c * c + h * h + rotation * c * h);
}

double DeltaE76(const Lab& first, const Lab& second) {
    return std::hypot(first.l - second.l, first.a - second.a, first.b - second.b);
}

double Chroma(const Lab& lab) { return std::hypot(lab.a, lab.b); }

double HueDegrees(const Lab& lab) { return HueAngle(lab.a, lab.b); }

double HueDifferenceDegrees(const Lab& first, const Lab& second) {
    const double difference = std::abs(HueDegrees(first) - HueDegrees(second));
    return difference > 180 ? 360 - difference : difference;
}

Lab XyzToLab(const Xyz& xyz, const Xyz& white) {
    const double fx = Root(xyz.x / white.x);
    const double fy = Root(xyz.y / white.y);
    const double fz = Root(xyz.z / white.z);
    return {116 * fy - 16, 500 * (fx - fy), 200 * (fy - fz)};
}

Xyz LabToXyz(const Lab& lab, const Xyz& white) {
    const double fy = (lab.l + 16) / 116;
    return {Cube(fy + lab.a / 500) * white.x, Cube(fy) * white.y, Cube(fy - lab.b / 200) * white.z};
}

double SrgbToLinear(double component) {
    return component <= 0.04045 ? component / 12.92 : std::pow((component + 0.055) / 1.055, 2.4);
}

double LinearToSrgb(double linear) {
    return linear <= 0.0031308 ? linear * 12.92 : 1.055 * std::pow(linear, 1 / 2.4) - 0.055;
}

Xyz SrgbToXyzD50(uint8_t red, uint8_t green, uint8_t blue) {
    const double r = SrgbToLinear(red / 255.0);
    const double g = SrgbToLinear(green / 255.0);
    const double b = SrgbToLinear(blue / 255.0);
    return {0.4361 * r + 0.3851 * g + 0.1431 * b, 0.2225 * r + 0.7169 * g + 0.0606 * b,
            0.0139 * r + 0.0971 * g + 0.7141 * b};
}

Lab SrgbToLab(uint8_t red, uint8_t green, uint8_t blue) { return XyzToLab(SrgbToXyzD50(red, green, blue)); }

Lab LabFromWords(double l, double a, double b) { return {l / 652.8, a / 256 - 128, b / 256 - 128}; }

}  // namespace zvtest
