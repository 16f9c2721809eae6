// Matrix-shapers: a 3 x 3 matrix and three curves, evaluated in fixed point.
#pragma once

#include <cstdint>

#include "Common/Zvgamma/tone_curve.h"
#include "Common/Zvlut/lut.h"

namespace zv {

enum MatShaperFlags : uint32_t {
    MATSHAPER_HAS_MATRIX = 1,
    MATSHAPER_HAS_SHAPER = 2,
    MATSHAPER_INPUT = 4,   ///< device to XYZ
    MATSHAPER_OUTPUT = 8,  ///< XYZ to device; with MATSHAPER_INPUT, device to device
};

struct MatShaper {
    uint32_t flags;               ///< MatShaperFlags
    int32_t matrix[9];            ///< 16.16, row-major
    CmmInterpParams curveParams;  ///< of each curve
    uint16_t* curves[3];          ///< owned; one entry longer than curveParams says
};

MatShaper* MatShaperAlloc() noexcept;
/// Fills the record and returns it. Null, with the record released, for curves that are missing or of different
/// lengths, and without memory. Kind: MATSHAPER_INPUT, MATSHAPER_OUTPUT or both.
MatShaper* MatShaperBuild(const double (&matrix)[9], ToneCurve* const (&curves)[3], uint32_t kind,
                          MatShaper* record) noexcept;
/// The same without a matrix.
MatShaper* MatShaperBuildGray(ToneCurve* const (&curves)[3], uint32_t kind, MatShaper* record) noexcept;
void MatShaperFree(MatShaper* record) noexcept;

/// Three words in, three out; 1, or 0 when the record cannot be read.
int32_t MatShaperEval(const MatShaper* record, const uint16_t* in, uint16_t* out) noexcept;
/// The same for a record that is known to be good: runs of pixels call this.
void MatShaperEvalUnchecked(const MatShaper& record, const uint16_t* in, uint16_t* out) noexcept;
/// What a word in that channel adds to each of the three sums of a shaper from device to device.
void MatShaperTerms(const MatShaper& record, int channel, uint16_t word, int32_t (&terms)[3]) noexcept;

}  // namespace zv
