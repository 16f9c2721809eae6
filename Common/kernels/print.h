// CLRSPACE_CMY, CLRSPACE_CMYK, CLRSPACE_YCCK: the arithmetic of a pixel and the tables behind it.
#pragma once

#include <algorithm>

#include "Common/kernels/arithmetic.h"

namespace zv {

/// Fixed-point tables between CMY and luma-chroma: the JFIF weights at 16 fractional bits.
struct ClrYcckTables {
    const uint8_t* rangeLimit;  ///< the identity run of rangeBytes: negative indices are legal
    uint8_t rangeBytes[1408];
    int32_t rToY[256];
    int32_t gToY[256];
    int32_t bToY[256];
    int32_t rToCb[256];
    int32_t gToCb[256];
    int32_t bToCb[256];  ///< also R to Cr
    int32_t gToCr[256];
    int32_t bToCr[256];
    int32_t crToR[256];
    int32_t cbToB[256];
    int32_t crToG[256];
    int32_t cbToG[256];
};

/// One for the process, whole. A constant of the program, so that it stands before anything runs.
extern const ClrYcckTables& ClrGlobalYcckTables;

}  // namespace zv

namespace zv {
inline namespace ZV_ISA {

struct Cmy {
    static constexpr int32_t kPixelBytes = 3;

    static constexpr Pixel<3> FromRgb(Rgb p) noexcept {
        return {LowByte(255 - p.r), LowByte(255 - p.g), LowByte(255 - p.b)};
    }
    static constexpr Rgb ToRgb(Pixel<3> p) noexcept {
        return {LowByte(255 - p[0]), LowByte(255 - p[1]), LowByte(255 - p[2])};
    }
};

/// pow(x, 2.0): the correctly rounded value, which a product is.
constexpr double Square(double x) noexcept { return x * x; }

/// pow(x, n) to the last place, from exact products. The C libraries' powers differ there, and 0.25 to the fourth must
/// be exactly 1/256. (Dekker, A floating-point technique for extending the available precision, 1971.)
constexpr double IntegerPower(double x, int32_t n) noexcept {
    const auto split = [](double v) {
        const double scaled = v * 134217729.0;  // 2^27 + 1
        return scaled - (scaled - v);
    };
    const double xHigh = split(x), xLow = x - xHigh;
    double power = x, error = 0.0;
    for (int32_t i = 1; i < n; ++i) {
        const double high = split(power), low = power - high;
        const double product = power * x;
        error = error * x + (((high * xHigh - product) + high * xLow + low * xHigh) + low * xLow);
        power = product + error;
        error -= power - product;
    }
    return power;
}

/// Squares of the 256 steps from 0 to 1 in 1/256. A constant of the program, so that it stands before anything runs.
inline constexpr std::array<uint16_t, 256> ClrGcrSquares = [] {
    std::array<uint16_t, 256> table{};
    for (int32_t i = 0; i < 256; ++i) {
        table[static_cast<size_t>(i)] = static_cast<uint16_t>(Square(i / 255.0) * 256.0);
    }
    return table;
}();

/// Grey component replacement at one level, in thousandths. The two directions are not inverse to each other.
class Cmyk {
public:
    static constexpr int32_t kPixelBytes = 4;

    explicit Cmyk(int32_t gcrLevel) noexcept
        : level_(gcrLevel / 1000.0),
          inkPower_(IntegerPower(level_, 5)),
          blackScale_(static_cast<int16_t>(TruncateToInt(IntegerPower(level_, 4) * 256.0))) {}

    Pixel<4> FromRgb(Rgb p) const noexcept {
        const int32_t c = 255 - p.r, m = 255 - p.g, y = 255 - p.b;
        const int32_t n = std::min({c, m, y});
        const int32_t x = std::max({c, m, y});
        const double a = Square((n - x + 255) / 255.0);
        return Inks(c, m, y, n, a, n / 255.0);
    }

    /// The last steps of FromRgb: `a` is the weight of greyness, `ratio` is n / 255.
    Pixel<4> Inks(int32_t c, int32_t m, int32_t y, int32_t n, double a, double ratio) const noexcept {
        const int32_t t = LowByte(TruncateToInt(a * (ratio * inkPower_) * 255.0));
        return {LowByte(c - t), LowByte(m - t), LowByte(y - t), LowByte(TruncateToInt(n * level_))};
    }

    Rgb ToRgb(Pixel<4> p) const noexcept {
        const int32_t c = p[0], m = p[1], y = p[2], k = p[3];
        const int32_t n = std::min({c, m, y});
        const int32_t x = std::max({c, m, y});
        // No shift after the second product: the limit does the work.
        int32_t d = ((ClrGcrSquares[static_cast<size_t>(n - x + 255)] * k) >> 8) * blackScale_;
        if (static_cast<uint32_t>(d) > static_cast<uint32_t>(255 - x)) d = 255 - x;
        const int32_t b = 255 - d;
        return {LowByte(b - c), LowByte(b - m), LowByte(b - y)};
    }

    // What FromRgb and ToRgb make of the level.
    double Level() const noexcept { return level_; }
    double InkPower() const noexcept { return inkPower_; }
    int32_t BlackScale() const noexcept { return blackScale_; }

private:
    double level_;
    double inkPower_;
    int16_t blackScale_;
};

/// What ClrYcckTables hold products of.
struct YcckWeights {
    static constexpr int32_t kFractionBits = 16;
    static constexpr int32_t kHalf = 1 << (kFractionBits - 1);
    static constexpr int32_t kRToY = 19595, kGToY = 38470, kBToY = 7471;
    static constexpr int32_t kRToCb = -11059, kGToCb = -21709, kBToCb = 32768;
    static constexpr int32_t kRToCr = kBToCb, kGToCr = -27439, kBToCr = -5329;
    static constexpr int32_t kChroma =
        (128 << kFractionBits) + kHalf - 1;  ///< one short of a half, so that 255 is the top
    static constexpr int32_t kCrToR = 91881, kCbToB = 116130;
    static constexpr int32_t kCrToG = -46802, kCbToG = -22554;
};

/// 256 zeros, the identity, 384 times 255, 384 zeros, the identity 0 to 127.
constexpr void ClrFillYcckRange(ClrYcckTables& tables) noexcept {
    for (int32_t i = 0; i < 1408; ++i) {
        uint8_t value = 0;
        if (i >= 256 && i < 512) value = LowByte(i - 256);
        if (i >= 512 && i < 896) value = 255;
        if (i >= 1280) value = LowByte(i - 1280);
        tables.rangeBytes[i] = value;
    }
    tables.rangeLimit = tables.rangeBytes + 256;
}

constexpr void ClrFillYcckDecoding(ClrYcckTables& tables) noexcept {
    using Weights = YcckWeights;
    for (int32_t i = 0; i < 256; ++i) {
        tables.crToR[i] = (Weights::kCrToR * (i - 128) + Weights::kHalf) >> Weights::kFractionBits;
        tables.cbToB[i] = (Weights::kCbToB * (i - 128) + Weights::kHalf) >> Weights::kFractionBits;
        tables.crToG[i] = Weights::kCrToG * (i - 128);
        tables.cbToG[i] = Weights::kCbToG * (i - 128) + Weights::kHalf;
    }
}

constexpr void ClrFillYcckEncoding(ClrYcckTables& tables) noexcept {
    using Weights = YcckWeights;
    for (int32_t i = 0; i < 256; ++i) {
        tables.rToY[i] = Weights::kRToY * i;
        tables.gToY[i] = Weights::kGToY * i;
        tables.bToY[i] = Weights::kBToY * i + Weights::kHalf;
        tables.rToCb[i] = Weights::kRToCb * i;
        tables.gToCb[i] = Weights::kGToCb * i;
        tables.bToCb[i] = Weights::kBToCb * i + Weights::kChroma;
        tables.gToCr[i] = Weights::kGToCr * i;
        tables.bToCr[i] = Weights::kBToCr * i;
    }
}

struct Ycck {
    static constexpr int32_t kPixelBytes = 4;

    static Pixel<4> FromCmyk(const ClrYcckTables& t, Pixel<4> s) noexcept {
        const int32_t r = 255 - s[0], g = 255 - s[1], b = 255 - s[2];
        return {LowByte((t.rToY[r] + t.gToY[g] + t.bToY[b]) >> 16),
                LowByte((t.rToCb[r] + t.gToCb[g] + t.bToCb[b]) >> 16),
                LowByte((t.bToCb[r] + t.gToCr[g] + t.bToCr[b]) >> 16), s[3]};
    }

    static Pixel<4> ToCmyk(const ClrYcckTables& t, Pixel<4> s) noexcept {
        const int32_t y = s[0];
        const uint8_t cb = s[1], cr = s[2];
        return {t.rangeLimit[255 - (y + t.crToR[cr])], t.rangeLimit[255 - (y + ((t.cbToG[cb] + t.crToG[cr]) >> 16))],
                t.rangeLimit[255 - (y + t.cbToB[cb])], s[3]};
    }

    /// Plain under-colour removal of a packed hub pixel, in the order of its bytes.
    static constexpr Pixel<4> CmykFromHub(Pixel<3> s) noexcept {
        const int32_t c = 255 - s[0], m = 255 - s[1], y = 255 - s[2];
        const int32_t k = std::min({c, m, y});
        return {LowByte(c - k), LowByte(m - k), LowByte(y - k), LowByte(k)};
    }

    /// The way back multiplies by black where the way out subtracts it.
    static constexpr Rgb RgbFromCmyk(Pixel<4> s) noexcept {
        const int32_t k = s[3];
        const int32_t q = 255 - k;
        const auto channel = [=](int32_t v) { return LowByte(q - v + (v * k + 127) / 255); };
        return {channel(s[0]), channel(s[1]), channel(s[2])};
    }
};

}  // namespace ZV_ISA
}  // namespace zv
