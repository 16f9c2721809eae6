// CLRSPACE_YUV, CLRSPACE_YIQ, CLRSPACE_YCBCR: the arithmetic of a pixel. The coefficients and the scale denominators
// (275, 223, 303, 267, 263), which map a signed range onto a byte, are this library's own. A round trip is not the
// identity.
#pragma once

#include "Common/kernels/arithmetic.h"

namespace zv {

struct Yuv {
    static constexpr int32_t kPixelBytes = 3;

    static constexpr Pixel<3> FromRgb(Rgb p) noexcept {
        const double r = p.r, g = p.g, b = p.b;
        const double y = (g * 0.587 + r * 0.299) + b * 0.114;
        const double u = (((b * 0.434 - (g * 0.288 + r * 0.146)) + 112.0) / 223.0) * 255.0 + 0.5;
        const double v = ((((r * 0.617 - g * 0.517) - b * 0.1) + 138.0) / 275.0) * 255.0 + 0.5;
        return {ByteOf(y), ByteOf(u), ByteOf(v)};
    }

    /// -112 to 111.
    static constexpr int32_t DecodeU(uint8_t u) noexcept { return -112 - static_cast<int32_t>((u / 255.0) * -223.0); }
    /// -138 to 137.
    static constexpr int32_t DecodeV(uint8_t v) noexcept { return -138 - static_cast<int32_t>((v / 255.0) * -275.0); }

    /// 15 fractional bits. The small cross terms belong to the inverse matrix.
    static constexpr Rgb Decode(int32_t y, int32_t u, int32_t v) noexcept {
        return {ByteOf(y + ((37221 * v - 29 * u) >> 15)), ByteOf(y + ((-12943 * u - 18940 * v) >> 15)),
                ByteOf(y + ((66883 * u - 33 * v) >> 15))};
    }

    static constexpr Rgb ToRgb(Pixel<3> p) noexcept { return Decode(p[0], DecodeU(p[1]), DecodeV(p[2])); }
};

struct Yiq {
    static constexpr int32_t kPixelBytes = 3;

    /// The denominator 263 lets white reach only 247.
    static constexpr Pixel<3> FromRgb(Rgb p) noexcept {
        const double r = p.r, g = p.g, b = p.b;
        const double y = (((g * 0.587 + r * 0.299) + b * 0.114) / 263.0) * 255.0 + 0.5;
        const double i = ((((r * 0.596 - g * 0.274) - b * 0.322) + 152.0) / 303.0) * 255.0 + 0.5;
        const double q = ((((r * 0.212 - g * 0.523) + b * 0.311) + 134.0) / 267.0) * 255.0 + 0.5;
        return {ByteOf(y), ByteOf(i), ByteOf(q)};
    }

    static constexpr int32_t DecodeY(uint8_t y) noexcept { return static_cast<int32_t>((y / 255.0) * 263.0); }
    static constexpr int32_t DecodeI(uint8_t i) noexcept { return static_cast<int32_t>((i / 255.0) * 303.0 - 152.0); }
    static constexpr int32_t DecodeQ(uint8_t q) noexcept { return static_cast<int32_t>((q / 255.0) * 267.0 - 134.0); }

    static constexpr Rgb Decode(int32_t yy, int32_t ii, int32_t qq) noexcept {
        const double y = yy, i = ii, q = qq;
        return {ByteOf((i * 0.956 + y) + q * 0.621), ByteOf((y - i * 0.272) - q * 0.647),
                ByteOf((y - i * 1.105) + q * 1.702)};
    }

    static constexpr Rgb ToRgb(Pixel<3> p) noexcept { return Decode(DecodeY(p[0]), DecodeI(p[1]), DecodeQ(p[2])); }
};

struct Ycbcr {
    static constexpr int32_t kPixelBytes = 3;

    static constexpr Pixel<3> FromRgb(Rgb p) noexcept {
        const double r = p.r, g = p.g, b = p.b;
        const double y = (g * 0.587 + r * 0.299) + b * 0.114;
        const double cb = (r * -0.16874 - g * 0.33126) + b * 0.5;
        const double cr = (r * 0.5 - g * 0.41869) - b * 0.08131;
        return {ByteOf(y), SignedByteOf(cb), SignedByteOf(cr)};
    }

    static constexpr Rgb ToRgb(Pixel<3> p) noexcept {
        const double y = p[0], cb = SignExtend(p[1]), cr = SignExtend(p[2]);
        return {ByteOf(cr * 1.402 + y), ByteOf((y - cb * 0.3441363) - cr * 0.71413636), ByteOf(cb * 1.772 + y)};
    }

private:
    static constexpr uint8_t SignedByteOf(double value) noexcept {
        return LowByte(static_cast<int32_t>(Clamp(value, -128.0, 127.0)));
    }
};

}  // namespace zv
