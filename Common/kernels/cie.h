// CLRSPACE_XYZ and CLRSPACE_LAB, plain route: the arithmetic of a pixel.
#pragma once

#include <cmath>

#include "Common/kernels/arithmetic.h"

namespace zv::inline ZV_ISA {

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

/// L, a, b of linear light, each cut to a byte without a clamp: what lies outside wraps.
inline Pixel<3> FromLinear(double r, double g, double b) noexcept {
    const auto f = [](double t) {
        return t > 0.008856 ? std::pow(t, 0.3333333333333333) : t * 7.7867 + 0.13793103448275862;
    };
    const double zPart = g * 0.11919300258159637 + r * 0.01933399960398674;
    const double y = ((g * 0.7151600122451782 + r * 0.21267099678516388) + b * 0.0721689984202385) * 100.0 / 100.0;
    const double x =
        ((g * 0.3575800061225891 + r * 0.4124529957771301) + b * 0.18042300641536713) * 100.0 / 95.0166015625;
    const double z = (zPart + b * 0.9502270221710205) * 100.0 / 108.76499938964844;
    const double fx = f(x), fy = f(y), fz = f(z);
    return {LowByte(static_cast<int32_t>(fy * 116.0 - 16.0)), LowByte(static_cast<int32_t>((fx - fy) * 500.0)),
            LowByte(static_cast<int32_t>((fy - fz) * 200.0))};
}

}  // namespace lab

/// One pixel: unsigned bytes in; L* 0 to 100, a* and b* as bytes out.
inline Pixel<3> ClrPixelToLab(uint8_t r, uint8_t g, uint8_t b) noexcept {
    return lab::FromLinear(lab::Linear(r), lab::Linear(g), lab::Linear(b));
}

/// One pixel: signed L*, a*, b* in.
inline Rgb ClrLabToPixel(int32_t l, int32_t a, int32_t b) noexcept {
    const auto inverse = [](double t) {
        return Clamp(t > 0.20689 ? std::pow(t, 3.0) : (t - 0.13793103448275862) / 7.7867, 0.0, 1.0);
    };
    const auto encode = [](double v) {
        return ByteOf(static_cast<int32_t>(std::pow(Clamp(v, 0.0, 1.0), 0.45) * 255.0 + 0.5));
    };
    const double fy = (l + 16.0) / 116.0;
    const double fx = a / 500.0 + fy;
    const double fz = fy - b / 200.0;
    // Not the white of the other direction.
    const double x = inverse(fx) * 0.95;
    const double y = inverse(fy);
    const double z = inverse(fz) * 1.088;
    return {encode((x * 3.240478992462158 - y * 1.5371500253677368) - z * 0.49853500723838806),
            encode((y * 1.875991940498352 - x * 0.9692559838294983) + z * 0.04155600070953369),
            encode((x * 0.05564799904823303 - y * 0.20404300093650818) + z * 1.0573110580444336)};
}

struct Lab {
    static constexpr int32_t kPixelBytes = 3;

    /// The first byte from 0..100 to 0..255.
    static constexpr Pixel<3> Stored(Pixel<3> lab) noexcept { return {LowByte((lab[0] * 255) / 100), lab[1], lab[2]}; }

    static Pixel<3> FromRgb(Rgb p) noexcept { return Stored(ClrPixelToLab(p.r, p.g, p.b)); }
    static Rgb ToRgb(Pixel<3> p) noexcept {
        return ClrLabToPixel(static_cast<int32_t>(p[0] / 2.55), SignExtend(p[1]), SignExtend(p[2]));
    }
};

}  // namespace zv::inline ZV_ISA
