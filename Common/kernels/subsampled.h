// CLRSPACE_YUY2, CLRSPACE_UYVY, CLRSPACE_Y41P, CLRSPACE_YVU9: the arithmetic of a pixel in studio range, which shares
// no constant with CLRSPACE_YUV; and CLRSPACE_RGB444.
#pragma once

#include "Common/kernels/arithmetic.h"

namespace zv {
inline namespace ZV_ISA {

struct StudioYuv {
    /// Y, U, V before they are cut to bytes. Taking 0.5 off makes the chroma of black exactly 128.
    static constexpr Sums FromRgbSums(int32_t red, int32_t green, int32_t blue) noexcept {
        const double r = red - 0.5, g = green - 0.5, b = blue - 0.5;
        return {((g * 516.0 + b * 100.0) + r * 263.0) * 0.0009765625 + 16.0,
                ((b * 450.0 - g * 298.0) - r * 152.0) * 0.0009765625 + 128.0,
                (r * 450.0 - (g * 377.0 + b * 73.0)) * 0.0009765625 + 128.0};
    }
    /// The values stay inside a byte.
    static constexpr Pixel<3> FromRgb(Rgb p) noexcept { return BytesOf(FromRgbSums(p.r, p.g, p.b)); }

    /// Red, green, blue times 1024. The constants fold the offsets 16 and 128 and a rounding term of 512 together.
    static constexpr std::array<int32_t, 3> ToRgbSums(int32_t y, int32_t u, int32_t v) noexcept {
        return {1192 * y + 1634 * v - 227712, 1192 * y - 400 * u - 833 * v + 139264, 1192 * y + 2066 * u - 283008};
    }
    static constexpr Rgb ToRgb(Pixel<3> p) noexcept {
        const auto sums = ToRgbSums(p[0], p[1], p[2]);
        return {ByteOf(sums[0] / 1024), ByteOf(sums[1] / 1024), ByteOf(sums[2] / 1024)};
    }

    /// The parameterised kernel: samples without rounding term, chroma offset only where the range is not full.
    static constexpr Rgb FromSamples(int32_t y, int32_t u, int32_t v, bool fullRange) noexcept {
        if (!fullRange) {
            y -= 16;
            u -= 128;
            v -= 128;
        }
        return {ByteOf((1192 * y + 1634 * v) >> 10), ByteOf((1192 * y - 400 * u - 833 * v) >> 10),
                ByteOf((1192 * y + 2066 * u) >> 10)};
    }
};

struct Rgb444 {
    static constexpr int32_t kPixelBytes = 2;

    static constexpr Pixel<2> FromRgb(Rgb p) noexcept {
        return {static_cast<uint8_t>(p.r >> 4), static_cast<uint8_t>((p.g & 0xF0) | (p.b >> 4))};
    }
    /// Low nibbles are not replicated: white comes back as 240.
    static constexpr Rgb ToRgb(Pixel<2> p) noexcept {
        return {LowByte(p[0] << 4), static_cast<uint8_t>(p[1] & 0xF0), LowByte(p[1] << 4)};
    }
};

}  // namespace ZV_ISA
}  // namespace zv
