// Lookup tables: matrix, input curves, grid and output curves, each of them optional.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zv {

/// Channels on a side of a table. Arrays of a pixel's words have this length throughout the engine.
inline constexpr uint32_t kMostChannels = 16;

struct CmmInterpParams {
    uint32_t samples;     ///< entries of a curve, grid points of an axis
    uint32_t inputs;      ///< 1 for a curve
    uint32_t outputs;     ///< 1 for a curve
    uint16_t domain;      ///< samples - 1
    uint32_t strides[4];  ///< grids: entries between neighbours; the last channel moves by the first of these
};

enum CmmLutFlags : uint32_t {
    LUT_HAS_MATRIX = 1,
    LUT_HAS_INPUT_CURVES = 2,
    LUT_HAS_OUTPUT_CURVES = 8,
    LUT_HAS_CLUT = 16,
};

/// Owns its tables.
struct CmmLut {
    uint32_t flags;     ///< CmmLutFlags
    int32_t matrix[9];  ///< 16.16, row-major
    uint32_t inputChannels;
    uint32_t outputChannels;
    uint32_t inputEntries;   ///< of each input curve
    uint32_t outputEntries;  ///< of each output curve
    uint32_t gridPoints;     ///< of each axis
    uint16_t* inputCurves[kMostChannels];
    uint16_t* outputCurves[kMostChannels];
    uint16_t* clut;
    CmmInterpParams inputParams;
    CmmInterpParams outputParams;
    CmmInterpParams clutParams;
    uint32_t patches;  ///< how often nodes were exchanged: what was made of the grid before is no longer true
};

/// All zero, or null.
CmmLut* CmmLutAlloc() noexcept;
/// Null and what cannot be read do nothing.
void CmmLutFree(CmmLut* lut) noexcept;
/// A zeroed grid; 1, or 0 without memory or for sizes that no grid has.
int32_t CmmLutAllocGrid(CmmLut* lut, uint32_t gridPoints, uint32_t inputChannels, uint32_t outputChannels) noexcept;

/// Entries of a grid, or -1 for more than the library serves.
int64_t CmmGridEntries(uint32_t gridPoints, uint32_t inputChannels, uint32_t outputChannels) noexcept;
CmmInterpParams CmmCurveParams(uint32_t entries) noexcept;
CmmInterpParams CmmGridParams(uint32_t gridPoints, uint32_t inputChannels, uint32_t outputChannels) noexcept;

/// `in` holds inputChannels words, and at least three for a table with a matrix; `out` has room for outputChannels. A
/// record that cannot be read leaves `out` alone.
void CmmLutEval(const CmmLut* lut, const uint16_t* in, uint16_t* out) noexcept;
/// The same for a record that is known to be good: runs of pixels call this.
void CmmLutEvalUnchecked(const CmmLut& lut, const uint16_t* in, uint16_t* out) noexcept;
/// Three words in. Nodes that a grid of fewer axes does not have read as 0.
void CmmLutTrilinear(const uint16_t* in, uint16_t* out, const uint16_t* table, const CmmInterpParams* params) noexcept;
/// Four words in: two trilinear lookups, blended along the first channel.
void CmmLutEval4D(const CmmLut* lut, const uint16_t* in, uint16_t* out) noexcept;

}  // namespace zv
