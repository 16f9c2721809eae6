// The parameterised Lab route: the encoding is defined by six integers, the arithmetic is fixed point with tables that
// are built once for a converter.
#pragma once

#include <cstddef>

#include "Common/kernels/arithmetic.h"
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
};

/// (a * b + 32768) >> 16 on the exact product, kept to 32 bits.
constexpr int32_t ClrFixMul(int32_t a, int32_t b) noexcept {
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>((int64_t{a} * b + 32768) >> 16)));
}

/// To 16.16, halves away from zero.
constexpr int32_t ClrRound16(double v) noexcept { return TruncateToInt(v * 65536.0 + (v < 0 ? -0.5 : 0.5)); }

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

void ClrBuildLabDecode(ClrLabDecodeRecord* record, int32_t gammaPercent) noexcept;
/// Leaves the tables and scales as they are when the encoding cannot hold grey on both sides.
void ClrBuildLabEncode(ClrLabEncodeRecord* record, int32_t gammaPercent) noexcept;

Pixel<3> LabFromRgb(const ClrLabEncodeRecord& record, Rgb pixel) noexcept;
Rgb LabToRgb(const ClrLabDecodeRecord& record, Pixel<3> pixel) noexcept;

}  // namespace zv
