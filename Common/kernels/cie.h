// CLRSPACE_XYZ and CLRSPACE_LAB, plain route: the arithmetic of a pixel.
#pragma once

#include <cmath>

#include "Common/kernels/arithmetic.h"

namespace zv {
inline namespace ZV_ISA {

struct Xyz {
    static constexpr int32_t kPixelBytes = 3;

    /// X, Y, Z before they are cut to bytes. Blue has no part in X.
    static constexpr Sums FromRgbSums(double r, double g, double b) noexcept {
        return {(g * 0.228457 + r * 0.63267) + b * 0.0, (g * 0.737352 + r * 0.204556) + b * 0.00951424,
                (r * 0.126995 + g * 0.0341908) + b * 0.815696};
    }
    static constexpr Pixel<3> FromRgb(Rgb p) noexcept {
        const Sums sums = FromRgbSums(p.r, p.g, p.b);
        return {LowByte(static_cast<int32_t>(sums[0])), LowByte(static_cast<int32_t>(sums[1])),
                LowByte(static_cast<int32_t>(sums[2]))};
    }

    static constexpr Sums ToRgbSums(double x, double y, double z) noexcept {
        return {(x * 1.75526 - y * 0.544134) + z * 0.00634681, (y * 1.50688 - x * 0.483679) - z * 0.0175762,
                (y * 0.0215528 - x * 0.253) + z * 1.2257};
    }
    static constexpr Rgb ToRgb(Pixel<3> p) noexcept {
        const Sums sums = ToRgbSums(p[0], p[1], p[2]);
        return {ByteOf(static_cast<int32_t>(sums[0])), ByteOf(static_cast<int32_t>(sums[1])),
                ByteOf(static_cast<int32_t>(sums[2]))};
    }
};

namespace lab {

/// Linear light of an sRGB-like byte.
inline double Linear(uint8_t value) noexcept { return std::pow(value / 255.0, 2.2222222222222223); }

/// X, Y, Z of linear light, by a white of their own.
constexpr Sums XyzOfLinear(double r, double g, double b) noexcept {
    const double zPart = g * 0.11919300258159637 + r * 0.01933399960398674;
    const double y = ((g * 0.7151600122451782 + r * 0.21267099678516388) + b * 0.0721689984202385) * 100.0 / 100.0;
    const double x =
        ((g * 0.3575800061225891 + r * 0.4124529957771301) + b * 0.18042300641536713) * 100.0 / 95.0166015625;
    const double z = (zPart + b * 0.9502270221710205) * 100.0 / 108.76499938964844;
    return {x, y, z};
}

// Above kLinearTo the cube root, below it a line.
inline constexpr double kLinearTo = 0.008856;
inline constexpr double kSlope = 7.7867;
inline constexpr double kOffset = 0.13793103448275862;

constexpr Sums SumsOfRoots(double fx, double fy, double fz) noexcept {
    return {fy * 116.0 - 16.0, (fx - fy) * 500.0, (fy - fz) * 200.0};
}

/// L, a, b of linear light, each cut to a byte without a clamp: what lies outside wraps.
inline Pixel<3> FromLinear(double r, double g, double b) noexcept {
    const auto f = [](double t) { return t > kLinearTo ? std::pow(t, 0.3333333333333333) : t * kSlope + kOffset; };
    const Sums xyz = XyzOfLinear(r, g, b);
    const Sums sums = SumsOfRoots(f(xyz[0]), f(xyz[1]), f(xyz[2]));
    return {LowByte(static_cast<int32_t>(sums[0])), LowByte(static_cast<int32_t>(sums[1])),
            LowByte(static_cast<int32_t>(sums[2]))};
}

// The way back has a bound of its own between line and cube.
inline constexpr double kInverseLinearTo = 0.20689;

/// Linear light of X, Y, Z from 0 to 1. Not the white of the other direction.
constexpr Sums LinearOfXyz(double fromX, double y, double fromZ) noexcept {
    const double x = fromX * 0.95;
    const double z = fromZ * 1.088;
    return {(x * 3.240478992462158 - y * 1.5371500253677368) - z * 0.49853500723838806,
            (y * 1.875991940498352 - x * 0.9692559838294983) + z * 0.04155600070953369,
            (x * 0.05564799904823303 - y * 0.20404300093650818) + z * 1.0573110580444336};
}

/// A byte's power of linear light.
inline constexpr double kEncodingPower = 0.45;

}  // namespace lab

/// One pixel: unsigned bytes in; L* 0 to 100, a* and b* as bytes out.
inline Pixel<3> ClrPixelToLab(uint8_t r, uint8_t g, uint8_t b) noexcept {
    return lab::FromLinear(lab::Linear(r), lab::Linear(g), lab::Linear(b));
}

/// One pixel: signed L*, a*, b* in.
inline Rgb ClrLabToPixel(int32_t l, int32_t a, int32_t b) noexcept {
    const auto inverse = [](double t) {
        return Clamp(t > lab::kInverseLinearTo ? std::pow(t, 3.0) : (t - lab::kOffset) / lab::kSlope, 0.0, 1.0);
    };
    const auto encode = [](double v) {
        return ByteOf(static_cast<int32_t>(std::pow(Clamp(v, 0.0, 1.0), lab::kEncodingPower) * 255.0 + 0.5));
    };
    const double fy = (l + 16.0) / 116.0;
    const double fx = a / 500.0 + fy;
    const double fz = fy - b / 200.0;
    const Sums linear = lab::LinearOfXyz(inverse(fx), inverse(fy), inverse(fz));
    return {encode(linear[0]), encode(linear[1]), encode(linear[2])};
}

struct Lab {
    static constexpr int32_t kPixelBytes = 3;

    /// The first byte from 0..100 to 0..255.
    static constexpr Pixel<3> Stored(Pixel<3> lab) noexcept { return {LowByte((lab[0] * 255) / 100), lab[1], lab[2]}; }

    static Pixel<3> FromRgb(Rgb p) noexcept { return Stored(ClrPixelToLab(p.r, p.g, p.b)); }
    /// 0 to 100.
    static constexpr int32_t Lightness(uint8_t stored) noexcept { return static_cast<int32_t>(stored / 2.55); }
    static Rgb ToRgb(Pixel<3> p) noexcept { return ClrLabToPixel(Lightness(p[0]), SignExtend(p[1]), SignExtend(p[2])); }
};

}  // namespace ZV_ISA
}  // namespace zv
