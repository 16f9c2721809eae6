// The parameterised Lab route: the encoding is defined by six integers, the arithmetic is fixed point with tables that
// are built once for a converter.
#pragma once

#include <array>
#include <cstddef>

#include "Common/kernels/arithmetic.h"
#include "Common/kernels/byte_cells.h"
#include "zvclr.h"

namespace zv {

/// Lab to hub.
struct ClrLabDecodeRecord {
    float lBase;    ///< holds an integer, 16.16
    double lScale;  ///< the three scales hold integers
    double aScale;
    double bScale;
    double whiteX, whiteY, whiteZ;
    double matrix[9];  ///< XYZ to linear RGB, row by row
    int32_t lOffset, lRange, aOffset, aRange, bOffset, bRange;
    int32_t fixedMatrix[9];        ///< matrix with the white ratios folded in, 16.16
    int32_t gammaThresholds[255];  ///< ascending, 28 fractional bits

    /// For rows of many pixels at a time, which work in a range that ordinary encodings keep to.
    struct Lanes {
        bool usable;
        int32_t lScale, lFrom, lBelow, lAbove;  ///< fy of byte l: l * lScale + (l < lFrom ? lBelow : lAbove)
        int32_t aScale, aConstant;              ///< what a adds to it
        int32_t bScale, bConstant;              ///< what b takes from it
        LabLightSums sums;
    } lanes;
};

inline constexpr int32_t kLabSumBits = 21;
/// Sums of white lie a little above 1.
inline constexpr int32_t kLabSums = 65536 + 1024;
/// Roots from 9039 to 65536 fit 16 bits with a sign around it.
inline constexpr int32_t kLabRootMiddle = 40000;

/// By a sum of 16 fractional bits its root less kLabRootMiddle. The same for all records, and too big for each.
struct LabRoots {
    int16_t of[kLabSums];
};

/// Hub to Lab.
struct ClrLabEncodeRecord {
    int32_t rgbToXyz[9][256];  ///< 16.16: R, G, B to X, then to Y, then to Z
    uint16_t cubeRoot[4096];   ///< the CIE f function on a grid of 1/4096, 16 fractional bits
    int32_t lScale, aScale, bScale;
    int32_t aMin, aMax, bMin, bMax;  ///< what of fx - fy and fy - fz the encoding can hold
    int32_t lBias;
    double whiteX, whiteY, whiteZ;
    double matrix[9];  ///< linear RGB to XYZ, row by row
    int32_t lOffset, lRange, aOffset, aRange, bOffset, bRange;

    /// The definition's byte, before it is cut, of a 16-bit number n: (n * high + ((n * low + round) >> 16) + constant)
    /// >> 16. Factors of 16 bits stand in the lower half, for the lower word of a pair, and in the upper.
    struct ByteScale {
        int32_t low[2], high[2];
        int32_t round, constant;
    };

    /// For rows of many pixels at a time.
    struct Lanes {
        bool usable;
        ByteScale bytes[3];              ///< of fy less kLabRootMiddle, fx - fy, fy - fz
        int16_t aMin, aMax, bMin, bMax;  ///< within what subtractions that saturate can tell
        uint64_t xyz[3][256];            ///< what a byte of R, G or B adds to X, Y, Z: kLabSumBits for each
    } lanes;
};

/// What rows from an encoding of its own need.
struct LabDecodeContext {
    const ClrLabDecodeRecord& record;
    const LabByteCells& cells;
};

/// What rows to an encoding of its own need.
struct LabEncodeContext {
    const ClrLabEncodeRecord& record;
    const LabRoots& roots;
};

/// What the records start with.
struct LabSetup {
    double white[3];
    double matrix[9];
};
extern const LabSetup kLabDecodeSetup;
extern const LabSetup kLabEncodeSetup;
/// What a decoding record starts with that comes into being by a change of a live converter: white and colours of D50,
/// and an encoding of its own.
extern const LabSetup kLabChangeSetup;
inline constexpr ClrLabParams kLabChangeEncoding = {32, 0, 0, 100, 128, 170, 96, 200};

/// Fills what every encoding record has as its cubeRoot.
void ClrBuildLabRoots(uint16_t (&cubeRoot)[4096]) noexcept;
void ClrBuildLabDecode(ClrLabDecodeRecord* record, int32_t gammaPercent) noexcept;
/// Leaves the tables and scales as they are when the encoding cannot hold grey on both sides.
void ClrBuildLabEncode(ClrLabEncodeRecord* record, int32_t gammaPercent) noexcept;

}  // namespace zv

namespace zv {
inline namespace ZV_ISA {

/// (a * b + 32768) >> 16 on the exact product, kept to 32 bits.
constexpr int32_t ClrFixMul(int32_t a, int32_t b) noexcept {
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>((int64_t{a} * b + 32768) >> 16)));
}

/// To 16.16, halves away from zero.
constexpr int32_t ClrRound16(double v) noexcept { return TruncateToInt(v * 65536.0 + (v < 0 ? -0.5 : 0.5)); }

/// Gives a record its white, matrix and encoding, for the builders below.
template <class Record>
void SetLabRecord(Record& record, const LabSetup& setup, const ClrLabParams& encoding) noexcept {
    record.whiteX = setup.white[0];
    record.whiteY = setup.white[1];
    record.whiteZ = setup.white[2];
    for (size_t i = 0; i < 9; ++i) record.matrix[i] = setup.matrix[i];
    record.lOffset = encoding.lOffset;
    record.lRange = encoding.lRange;
    record.aOffset = encoding.aOffset;
    record.aRange = encoding.aRange;
    record.bOffset = encoding.bOffset;
    record.bRange = encoding.bRange;
}

/// The CIE f function of a sum, between the entries of its table.
inline int32_t LabRootOf(const uint16_t (&cubeRoot)[4096], int32_t v) noexcept {
    if (v >= 65536) return 65536;
    if (v < 0) v = 0;
    const auto i = static_cast<size_t>(v >> 4);
    const int32_t lo = cubeRoot[i];
    const int32_t hi = cubeRoot[i < 4095 ? i + 1 : i];
    return lo + (((hi - lo) * (v & 15) + 8) >> 4);
}

inline Pixel<3> LabFromRgb(const ClrLabEncodeRecord& record, Rgb pixel) noexcept {
    const auto sum = [&](size_t first) {
        return WrapAdd(WrapAdd(record.rgbToXyz[first][pixel.r], record.rgbToXyz[first + 1][pixel.g]),
                       record.rgbToXyz[first + 2][pixel.b]);
    };
    // What share of a difference the encoding can hold. A difference too small to divide by is held whole.
    const auto share = [](int32_t value, int32_t low, int32_t high) {
        if (value >= low && value <= high) return 65536;
        const int32_t limit = value < low ? low : high;
        const int32_t divisor = value >> 2;
        if (divisor == 0) return 65536;
        return static_cast<int32_t>(int64_t{WrapMul(limit, 16384)} / divisor);
    };
    // The two halves of a product of 16 fractional bits, rounded and offset.
    const auto encode = [](int32_t value, int32_t scale, int32_t bias, int32_t offset) {
        return ByteOf(WrapAdd(WrapAdd(WrapAdd(ClrFixMul(value, scale), bias), 32768) >> 16, offset));
    };

    const int32_t fx = LabRootOf(record.cubeRoot, sum(0)), fy = LabRootOf(record.cubeRoot, sum(3)),
                  fz = LabRootOf(record.cubeRoot, sum(6));
    int32_t a = fx - fy;
    int32_t b = fy - fz;
    const int32_t sA = share(a, record.aMin, record.aMax);
    const int32_t sB = share(b, record.bMin, record.bMax);
    if (sA != 65536 || sB != 65536) {
        const auto least = [](int32_t one, int32_t other) { return one < other ? one : other; };
        // One channel's overrun pulls the other along, twice as strongly in one direction as in the other.
        a = ClrFixMul(a, least(sA, WrapSub(WrapMul(sB, 2), 65536)));
        b = ClrFixMul(b, least(sB, WrapAdd(sA, 65536) >> 1));
    }
    return {encode(fy, record.lScale, record.lBias, 0), encode(a, record.aScale, 0, record.aOffset),
            encode(b, record.bScale, 0, record.bOffset)};
}

/// The cube root of Y, 28 fractional bits.
inline int32_t LabLightness(const ClrLabDecodeRecord& record, uint8_t l) noexcept {
    const float base = static_cast<float>(l * 65536) - record.lBase;
    return ClrFixMul(TruncateToInt(double{base}), static_cast<int32_t>(record.lScale));
}

inline constexpr int32_t kLabCubeFrom = 55536611;  ///< the greatest root that the line still serves
inline constexpr int32_t kLabLineFrom = 37025548;
inline constexpr int32_t kLabLineSlope = 538650;

/// Linear light before it is made bytes, 28 fractional bits; R, G, B.
inline std::array<int32_t, 3> LabLight(const ClrLabDecodeRecord& record, Pixel<3> pixel) noexcept {
    // 268435456 is 1.0.
    const auto inverse = [](int32_t f) {
        int32_t value = 0;
        if (f > kLabCubeFrom) {
            const int32_t t = WrapAdd(f, 128) >> 8;
            value = ClrFixMul(ClrFixMul(t, t), t);
        } else {
            value = ClrFixMul(WrapSub(f, kLabLineFrom) >> 6, kLabLineSlope);
        }
        return Clamp(value, 0, 268435456);
    };
    const auto row = [&](size_t first, int32_t x, int32_t y, int32_t z) {
        const int32_t* m = record.fixedMatrix + first;
        return WrapAdd(WrapAdd(ClrFixMul(m[0], x), ClrFixMul(m[1], y)), ClrFixMul(m[2], z));
    };

    const int32_t fy = LabLightness(record, pixel[0]);
    const int32_t fx = WrapAdd(fy, WrapMul(WrapSub(pixel[1], record.aOffset), static_cast<int32_t>(record.aScale)));
    const int32_t fz = WrapSub(fy, WrapMul(WrapSub(pixel[2], record.bOffset), static_cast<int32_t>(record.bScale)));
    const int32_t x = inverse(fx), y = inverse(fy), z = inverse(fz);
    return {row(0, x, y, z), row(3, x, y, z), row(6, x, y, z)};
}

inline Rgb LabToRgb(const ClrLabDecodeRecord& record, Pixel<3> pixel) noexcept {
    const auto byte = [&](int32_t value) {
        const int32_t* thresholds = record.gammaThresholds;
        int32_t at = value < thresholds[127] ? 63 : 191;
        for (int32_t step = 32; step > 0; step >>= 1) at += value < thresholds[at] ? -step : step;
        return LowByte(value < thresholds[at] ? at : at + 1);
    };
    const std::array<int32_t, 3> light = LabLight(record, pixel);
    return {byte(light[0]), byte(light[1]), byte(light[2])};
}

}  // namespace ZV_ISA
}  // namespace zv
