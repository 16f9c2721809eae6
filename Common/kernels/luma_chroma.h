// CLRSPACE_YUV, CLRSPACE_YIQ, CLRSPACE_YCBCR: the arithmetic of a pixel. The coefficients and the scale denominators
// (275, 223, 303, 267, 263), which map a signed range onto a byte, are this library's own. A round trip is not the
// identity.
#pragma once

#include "Common/kernels/arithmetic.h"

namespace zv {
inline namespace ZV_ISA {

struct Yuv {
    static constexpr int32_t kPixelBytes = 3;

    /// Y, U, V before they are cut to bytes.
    template <class Number>
    static constexpr std::array<Number, 3> FromRgbSums(Number r, Number g, Number b) noexcept {
        return {(g * 0.587 + r * 0.299) + b * 0.114,
                (((b * 0.434 - (g * 0.288 + r * 0.146)) + 112.0) / 223.0) * 255.0 + 0.5,
                ((((r * 0.617 - g * 0.517) - b * 0.1) + 138.0) / 275.0) * 255.0 + 0.5};
    }
    static constexpr Pixel<3> FromRgb(Rgb p) noexcept { return BytesOf(FromRgbSums<double>(p.r, p.g, p.b)); }

    /// -112 to 111.
    static constexpr int32_t DecodeU(uint8_t u) noexcept { return -112 - static_cast<int32_t>((u / 255.0) * -223.0); }
    /// -138 to 137.
    static constexpr int32_t DecodeV(uint8_t v) noexcept { return -138 - static_cast<int32_t>((v / 255.0) * -275.0); }

    static constexpr int32_t kFractionBits = 15;
    /// What chroma adds to red, green and blue. The small cross terms belong to the inverse matrix.
    static constexpr std::array<int32_t, 3> Chroma(int32_t u, int32_t v) noexcept {
        return {37221 * v - 29 * u, -12943 * u - 18940 * v, 66883 * u - 33 * v};
    }
    static constexpr Rgb Decode(int32_t y, int32_t u, int32_t v) noexcept {
        const auto chroma = Chroma(u, v);
        return {ByteOf(y + (chroma[0] >> kFractionBits)), ByteOf(y + (chroma[1] >> kFractionBits)),
                ByteOf(y + (chroma[2] >> kFractionBits))};
    }

    static constexpr Rgb ToRgb(Pixel<3> p) noexcept { return Decode(p[0], DecodeU(p[1]), DecodeV(p[2])); }
};

struct Yiq {
    static constexpr int32_t kPixelBytes = 3;

    /// Y, I, Q before they are cut to bytes. The denominator 263 lets white reach only 247.
    template <class Number>
    static constexpr std::array<Number, 3> FromRgbSums(Number r, Number g, Number b) noexcept {
        return {(((g * 0.587 + r * 0.299) + b * 0.114) / 263.0) * 255.0 + 0.5,
                ((((r * 0.596 - g * 0.274) - b * 0.322) + 152.0) / 303.0) * 255.0 + 0.5,
                ((((r * 0.212 - g * 0.523) + b * 0.311) + 134.0) / 267.0) * 255.0 + 0.5};
    }
    static constexpr Pixel<3> FromRgb(Rgb p) noexcept { return BytesOf(FromRgbSums<double>(p.r, p.g, p.b)); }

    static constexpr int32_t DecodeY(uint8_t y) noexcept { return static_cast<int32_t>((y / 255.0) * 263.0); }
    static constexpr int32_t DecodeI(uint8_t i) noexcept { return static_cast<int32_t>((i / 255.0) * 303.0 - 152.0); }
    static constexpr int32_t DecodeQ(uint8_t q) noexcept { return static_cast<int32_t>((q / 255.0) * 267.0 - 134.0); }

    template <class Number>
    static constexpr std::array<Number, 3> DecodeSums(Number y, Number i, Number q) noexcept {
        return {(i * 0.956 + y) + q * 0.621, (y - i * 0.272) - q * 0.647, (y - i * 1.105) + q * 1.702};
    }
    static constexpr Rgb Decode(int32_t y, int32_t i, int32_t q) noexcept { return RgbOf(DecodeSums<double>(y, i, q)); }

    static constexpr Rgb ToRgb(Pixel<3> p) noexcept { return Decode(DecodeY(p[0]), DecodeI(p[1]), DecodeQ(p[2])); }
};

struct Ycbcr {
    static constexpr int32_t kPixelBytes = 3;

    /// Y, Cb, Cr before they are cut to bytes.
    template <class Number>
    static constexpr std::array<Number, 3> FromRgbSums(Number r, Number g, Number b) noexcept {
        return {(g * 0.587 + r * 0.299) + b * 0.114, (r * -0.16874 - g * 0.33126) + b * 0.5,
                (r * 0.5 - g * 0.41869) - b * 0.08131};
    }
    static constexpr Pixel<3> FromRgb(Rgb p) noexcept {
        const Sums sums = FromRgbSums<double>(p.r, p.g, p.b);
        return {ByteOf(sums[0]), SignedByteOf(sums[1]), SignedByteOf(sums[2])};
    }

    template <class Number>
    static constexpr std::array<Number, 3> ToRgbSums(Number y, Number cb, Number cr) noexcept {
        return {cr * 1.402 + y, (y - cb * 0.3441363) - cr * 0.71413636, cb * 1.772 + y};
    }
    static constexpr Rgb ToRgb(Pixel<3> p) noexcept {
        return RgbOf(ToRgbSums<double>(p[0], SignExtend(p[1]), SignExtend(p[2])));
    }

private:
    static constexpr uint8_t SignedByteOf(double value) noexcept {
        return LowByte(static_cast<int32_t>(Clamp(value, -128.0, 127.0)));
    }
};

}  // namespace ZV_ISA
}  // namespace zv
