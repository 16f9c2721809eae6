// CLRSPACE_HSV, CLRSPACE_HLS, CLRSPACE_HSI: the arithmetic of a pixel. Grey pixels, whose hue is undefined, are treated
// differently by each of the three.
#pragma once

#include <algorithm>
#include <cmath>

#include "Common/kernels/arithmetic.h"

namespace zv {
inline namespace ZV_ISA {

struct HueRgb {
    int32_t r, g, b;
};

/// Hue in degrees, saturation and value 0 to 255. A sector outside 0 to 5 is black.
constexpr HueRgb ClrHueToRgb(int32_t hue, int32_t saturation, int32_t value) noexcept {
    if (hue == 360) hue = 0;
    const int32_t sector = hue / 60;
    const int32_t base = sector * 60;
    const int32_t sv = saturation * value;
    const int32_t p = value - sv / 255;
    const int32_t q = value - (sv * (hue - base)) / 15300;
    const int32_t t = value - (sv * (base - hue + 60)) / 15300;
    switch (sector) {
        case 0:
            return {value, t, p};
        case 1:
            return {q, value, p};
        case 2:
            return {p, value, t};
        case 3:
            return {p, q, value};
        case 4:
            return {t, p, value};
        case 5:
            return {value, p, q};
        default:
            return {0, 0, 0};
    }
}

struct Hsv {
    static constexpr int32_t kPixelBytes = 3;

    static constexpr Pixel<3> FromRgb(Rgb pixel) noexcept {
        const int32_t r = pixel.r, g = pixel.g, b = pixel.b;
        const int32_t mx = std::max({r, g, b});
        if (mx == 0) return {0, 0, 0};
        const int32_t d = mx - std::min({r, g, b});
        const int32_t s = ClrMulDiv(d, 255, mx);
        int32_t h = 0;
        if (s != 0) {
            // A tie falls to the earlier test.
            if (r == mx) {
                h = ClrMulDiv(g - b, 60, d);
            } else if (g == mx) {
                h = ClrMulDiv(b - r, 60, d) + 120;
            } else {
                h = ClrMulDiv(r - g, 60, d) + 240;
            }
            if (h < 0) h += 360;
        }
        return {LowByte((h * 255) / 360), LowByte(s), LowByte(mx)};
    }

    static constexpr Rgb ToRgb(Pixel<3> p) noexcept {
        if (p[1] == 0) return {p[2], p[2], p[2]};
        const HueRgb c = ClrHueToRgb((p[0] * 360) / 255, p[1], p[2]);
        return {LowByte(c.r), LowByte(c.g), LowByte(c.b)};
    }
};

struct Hls {
    static constexpr int32_t kPixelBytes = 3;

    static constexpr Pixel<3> FromRgb(Rgb pixel) noexcept {
        const int32_t r = pixel.r, g = pixel.g, b = pixel.b;
        const int32_t mn = std::min({r, g, b});
        const int32_t mx = std::max({r, g, b});
        int32_t sum = mx + mn;
        const int32_t l = ((sum + 1) * 255) / 510;
        const int32_t d = mx - mn;
        if (d == 0) return {0, LowByte(l), 0};
        if (l > 127) sum = 510 - mn - mx;
        const int32_t s = ((sum >> 1) + d * 255) / sum;
        const int32_t half = d / 2;
        const int32_t rc = ((mx - r) * 42 + half) / d;
        const int32_t gc = ((mx - g) * 42 + half) / d;
        const int32_t bc = ((mx - b) * 42 + half) / d;
        int32_t h = 0;
        if (mx == r) {
            h = bc - gc;
        } else if (mx == g) {
            h = rc - bc + 85;
        } else {
            h = gc - rc + 170;
        }
        if (h < 0) h += 255;
        if (h > 255) h -= 255;
        return {LowByte(h), LowByte(l), LowByte(s)};
    }

    /// A hue on a pixel without saturation is the one data error of the kernels.
    static constexpr bool IsError(Pixel<3> p) noexcept { return p[2] == 0 && p[0] != 0; }

    /// Not for pixels with an error.
    static constexpr Rgb ToRgb(Pixel<3> p) noexcept {
        const int32_t h = p[0], l = p[1], s = p[2];
        if (s == 0) {
            const uint8_t grey = LowByte((l * 255) / 255);
            return {grey, grey, grey};
        }
        const int32_t m2 = l < 128 ? ((s + 255) * l + 127) / 255 : l + s - (l * s + 127) / 255;
        const int32_t m1 = 2 * l - m2;
        const int32_t up = h + 85 > 255 ? h + 85 - 255 : h + 85;
        const int32_t down = h - 85 < 0 ? h - 85 + 255 : h - 85;
        return {Scaled(Value(m1, m2, up)), Scaled(Value(m1, m2, h)), Scaled(Value(m1, m2, down))};
    }

private:
    /// The falling ramp starts at 127, where 170 - h is 43 and not 42: there the value overshoots m2 and may pass 255,
    /// of which the low eight bits are stored.
    static constexpr int32_t Value(int32_t m1, int32_t m2, int32_t h) noexcept {
        if (h < 42) return m1 + ((m2 - m1) * h + 21) / 42;
        if (h < 127) return m2;
        if (h < 170) return m1 + ((m2 - m1) * (170 - h) + 21) / 42;
        return m1;
    }
    static constexpr uint8_t Scaled(int32_t x) noexcept { return LowByte((x * 255 + 127) / 255); }
};

struct Hsi {
    static constexpr int32_t kPixelBytes = 3;

    static Pixel<3> FromRgb(Rgb pixel) noexcept {
        const float r = pixel.r, g = pixel.g, b = pixel.b;
        const uint8_t i = LowByte(static_cast<int32_t>(((g + r) + b) / 3.0F));
        const float rg = r - g;
        const double n = (double{rg} * 0.5 + double{r}) - double{b};  // the second difference is not halved
        const double d = double{(g - b) * (r - b) + rg * rg};         // and there is no square root
        const double a = std::acos(n / d);
        const uint8_t raw = LowByte(TruncateToInt(a * 255.0 * 0.5));
        const float low = std::min({r, g, b});
        const uint8_t s =
            i == 0 ? uint8_t{0} : LowByte(TruncateToInt((1.0 - double{low / static_cast<float>(i)}) * 255.0));
        return {i, b < g ? raw : LowByte(255 - raw), s};
    }

    /// The hue by the two differences that alone decide it, from -255 to 255 each. All that the library's acos is
    /// needed for.
    struct HueTable {
        static constexpr int32_t kSpan = 511;
        uint8_t hues[kSpan * kSpan];

        /// Where red is that much more than green and than blue.
        static constexpr int32_t Place(int32_t overGreen, int32_t overBlue) noexcept {
            return (overGreen + 255) * kSpan + (overBlue + 255);
        }
        void Fill() noexcept {
            for (int32_t overGreen = -255; overGreen <= 255; ++overGreen) {
                for (int32_t overBlue = -255; overBlue <= 255; ++overBlue) {
                    const int32_t r = std::max({0, overGreen, overBlue});
                    const int32_t g = r - overGreen, b = r - overBlue;
                    if (g > 255 || b > 255) continue;  // no pixel
                    hues[Place(overGreen, overBlue)] = FromRgb({LowByte(r), LowByte(g), LowByte(b)})[1];
                }
            }
        }
    };

    /// The two cosines of a hue: all that the library's cos is needed for.
    struct Angle {
        double h;
        double cosine;   ///< cos(h)
        double shifted;  ///< cos(c - h) with the c of the third of the half circle that h lies in
    };

    using AngleTable = std::array<Angle, 256>;

    static Angle AngleOf(uint8_t hue) noexcept {
        const double h = RadiansOf(hue);
        constexpr double kPeaks[] = {kThird, kHalfCircle, kFiveSixths};
        const double c = kPeaks[ThirdOf(h)];
        return {h, std::cos(h), std::cos(c - h)};
    }

    /// The third of the half circle that a hue lies in, from 0.
    static constexpr int32_t ThirdOf(uint8_t hue) noexcept { return ThirdOf(RadiansOf(hue)); }

    static Rgb ToRgb(Pixel<3> p) noexcept { return ToRgb(p, AngleOf(p[1])); }

    static constexpr Rgb ToRgb(Pixel<3> p, const Angle& angle) noexcept {
        const double i = p[0];
        const double s = p[2] / 255.0;
        const int32_t low = Short(TruncateToInt((1.0 - s) * i));
        const int32_t peak = Short(TruncateToInt((angle.cosine * s / angle.shifted + 1.0) * i));
        const int32_t rest = TruncateToInt(3.0 * i - (low + peak));
        const int32_t third = ThirdOf(angle.h);
        if (third == 0) return {Limit(peak), Limit(rest), Limit(low)};
        if (third == 1) return {Limit(low), Limit(peak), Limit(rest)};
        return {Limit(rest), Limit(low), Limit(peak)};
    }

private:
    // Kept at this precision: they are not pi and its parts.
    static constexpr double kHalfCircle = 3.1415926535;
    static constexpr double kThird = 1.0471975511666667;
    static constexpr double kTwoThirds = 2.0943951023333334;
    static constexpr double kFiveSixths = 2.6179938779166667;

    static constexpr double RadiansOf(uint8_t hue) noexcept { return (hue / 255.0) * kHalfCircle; }
    static constexpr int32_t ThirdOf(double h) noexcept { return h <= kThird ? 0 : h <= kTwoThirds ? 1 : 2; }

    /// Sixteen bits.
    static constexpr int32_t Short(int32_t value) noexcept { return static_cast<int16_t>(value); }
    static constexpr uint8_t Limit(int32_t value) noexcept {
        return value >= 255 ? uint8_t{255} : value < 1 ? uint8_t{0} : static_cast<uint8_t>(value);
    }
};

}  // namespace ZV_ISA
}  // namespace zv
