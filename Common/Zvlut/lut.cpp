#include "Common/Zvlut/lut.h"

#include <algorithm>
#include <cmath>

#include "Common/Zvgamma/fixed_point.h"
#include "Common/Zvgamma/tone_curve.h"
#include "host/host.h"

namespace zv {

namespace {

constexpr ZvChar kSource[] = ZV_WIDE("Common\\Zvlut");

/// A limit of our own: twice as many bytes, where the largest grid of a real profile has some ten million.
constexpr int64_t kMostGridEntries = INT32_MAX;

/// Where a word falls on an axis of a grid.
struct GridPosition {
    uint32_t low;
    uint32_t high;
    double fraction;
};

GridPosition PositionOnAxis(uint16_t value, uint16_t domain) noexcept {
    const double position = value * static_cast<double>(domain) / 65535.0;
    const double low = std::floor(position);
    const auto node = static_cast<uint32_t>(low);
    // An axis of one node has no neighbour; its fraction is 0.
    const uint32_t high = value < kFullScale && node < domain ? node + 1 : node;
    return {node, high, position - low};
}

constexpr double Lerp(double fraction, double a, double b) noexcept { return (b - a) * fraction + a; }

/// The first channel is interpolated first and the third last; only the end is rounded.
template <class Node>
void Interpolate(const uint16_t* in, uint16_t* out, uint16_t domain, uint32_t outputs, const Node& node) noexcept {
    const GridPosition x = PositionOnAxis(in[0], domain);
    const GridPosition y = PositionOnAxis(in[1], domain);
    const GridPosition z = PositionOnAxis(in[2], domain);
    const uint64_t n = uint64_t{domain} + 1;
    const auto address = [n, outputs](uint32_t i, uint32_t j, uint32_t k) { return ((i * n + j) * n + k) * outputs; };
    const uint64_t corners[2][2][2] = {
        {{address(x.low, y.low, z.low), address(x.low, y.low, z.high)},
         {address(x.low, y.high, z.low), address(x.low, y.high, z.high)}},
        {{address(x.high, y.low, z.low), address(x.high, y.low, z.high)},
         {address(x.high, y.high, z.low), address(x.high, y.high, z.high)}},
    };
    for (uint32_t o = 0; o < outputs; ++o) {
        const double c00 = Lerp(x.fraction, node(corners[0][0][0] + o), node(corners[1][0][0] + o));
        const double c10 = Lerp(x.fraction, node(corners[0][1][0] + o), node(corners[1][1][0] + o));
        const double c01 = Lerp(x.fraction, node(corners[0][0][1] + o), node(corners[1][0][1] + o));
        const double c11 = Lerp(x.fraction, node(corners[0][1][1] + o), node(corners[1][1][1] + o));
        const double c0 = Lerp(y.fraction, c00, c10);
        const double c1 = Lerp(y.fraction, c01, c11);
        // Between words, so that the floor is a truncation.
        out[o] = static_cast<uint16_t>(static_cast<int32_t>(Lerp(z.fraction, c0, c1) + 0.5));
    }
}

void Interpolate(const uint16_t* in, uint16_t* out, const uint16_t* table, const CmmInterpParams& params) noexcept {
    if (params.inputs >= 3) {
        Interpolate(in, out, params.domain, params.outputs,
                    [table](uint64_t at) { return static_cast<double>(table[at]); });
        return;
    }
    const int64_t entries = CmmGridEntries(uint32_t{params.domain} + 1, params.inputs, params.outputs);
    const uint64_t held = entries < 0 ? 0 : static_cast<uint64_t>(entries);
    Interpolate(in, out, params.domain, params.outputs,
                [table, held](uint64_t at) { return at < held ? static_cast<double>(table[at]) : 0.0; });
}

/// The lookups take the sizes of a slice, which has three inputs. Writing that into the table and back would be a race
/// between threads that evaluate it.
void Eval4D(const CmmLut& lut, const uint16_t* in, uint16_t* out) noexcept {
    const CmmInterpParams& grid = lut.clutParams;
    const auto [slice, fraction] = PositionIn(grid.domain, in[0]);
    const uint32_t next = in[0] == kFullScale || slice >= grid.domain ? slice : slice + 1;

    CmmInterpParams inner = grid;
    inner.inputs = 3;
    uint16_t first[kMostChannels];
    uint16_t second[kMostChannels];
    Interpolate(in + 1, first, lut.clut + size_t{slice} * grid.strides[3], inner);
    Interpolate(in + 1, second, lut.clut + size_t{next} * grid.strides[3], inner);
    for (uint32_t o = 0; o < grid.outputs; ++o) {
        // The blend is truncated where the lookups are rounded.
        const int32_t difference = int32_t{second[o]} - int32_t{first[o]};
        out[o] = LowWord(TruncateClamped(difference * static_cast<double>(fraction) * kFixedUnit + first[o]));
    }
}

/// Exactly three words go through, whatever the channels: more are left out, and fewer are taken from behind.
void ThroughMatrix(const CmmLut& lut, const uint16_t* in, uint16_t (&work)[kMostChannels]) noexcept {
    int32_t channels[3] = {FixedOfWord(in[0]), FixedOfWord(in[1]), FixedOfWord(in[2])};
    FixedMatrixTimes(lut.matrix, channels);
    for (int i = 0; i < 3; ++i) work[i] = ClampToWord(WordScaleOfFixed(channels[i]));
}

}  // namespace

CmmLut* CmmLutAlloc() noexcept { return static_cast<CmmLut*>(HostAllocZeroed(sizeof(CmmLut), 1, __LINE__, kSource)); }

void CmmLutFree(CmmLut* lut) noexcept {
    if (lut == nullptr || IsBadReadPtr(lut, sizeof *lut)) return;
    if (lut->clut != nullptr) HostFree(lut->clut, __LINE__, kSource);
    for (uint16_t* curve : lut->outputCurves) {
        if (curve != nullptr) HostFree(curve, __LINE__, kSource);
    }
    for (uint16_t* curve : lut->inputCurves) {
        if (curve != nullptr) HostFree(curve, __LINE__, kSource);
    }
    HostFree(lut, __LINE__, kSource);
}

int64_t CmmGridEntries(uint32_t gridPoints, uint32_t inputChannels, uint32_t outputChannels) noexcept {
    int64_t entries = outputChannels;
    for (uint32_t i = 0; i < inputChannels && entries <= kMostGridEntries; ++i) entries *= gridPoints;
    return entries > kMostGridEntries ? -1 : entries;
}

CmmInterpParams CmmCurveParams(uint32_t entries) noexcept {
    return {entries, 1, 1, static_cast<uint16_t>((entries - 1) & 0xFFFFU), {}};
}

CmmInterpParams CmmGridParams(uint32_t gridPoints, uint32_t inputChannels, uint32_t outputChannels) noexcept {
    CmmInterpParams params = {gridPoints, inputChannels, outputChannels, static_cast<uint16_t>(gridPoints - 1), {}};
    params.strides[0] = outputChannels;
    for (int i = 1; i < 4; ++i) params.strides[i] = params.strides[i - 1] * (uint32_t{params.domain} + 1);
    return params;
}

int32_t CmmLutAllocGrid(CmmLut* lut, uint32_t gridPoints, uint32_t inputChannels, uint32_t outputChannels) noexcept {
    if (gridPoints < 1 || gridPoints > 0x10000 || outputChannels > kMostChannels) return 0;
    lut->flags |= LUT_HAS_CLUT;
    lut->gridPoints = gridPoints;
    lut->inputChannels = inputChannels;
    lut->outputChannels = outputChannels;
    const int64_t entries = CmmGridEntries(gridPoints, inputChannels, outputChannels);
    if (entries < 1) return 0;
    lut->clut = static_cast<uint16_t*>(HostAllocZeroed(sizeof(uint16_t), entries, __LINE__, kSource));
    if (lut->clut == nullptr) return 0;
    lut->clutParams = CmmGridParams(gridPoints, inputChannels, outputChannels);
    return 1;
}

void CmmLutEval(const CmmLut* lut, const uint16_t* in, uint16_t* out) noexcept {
    if (lut == nullptr || IsBadReadPtr(lut, sizeof *lut)) return;
    CmmLutEvalUnchecked(*lut, in, out);
}

void CmmLutEvalUnchecked(const CmmLut& lut, const uint16_t* in, uint16_t* out) noexcept {
    const uint32_t inputs = std::min(lut.inputChannels, kMostChannels);
    const uint32_t outputs = std::min(lut.outputChannels, kMostChannels);
    uint16_t work[kMostChannels] = {};
    if ((lut.flags & LUT_HAS_MATRIX) != 0) {
        ThroughMatrix(lut, in, work);
    } else {
        std::copy_n(in, inputs, work);
    }
    if ((lut.flags & LUT_HAS_INPUT_CURVES) != 0) {
        for (uint32_t i = 0; i < inputs; ++i) {
            work[i] = ToneCurveEval(lut.inputCurves[i], lut.inputParams.domain, work[i]);
        }
    }
    uint16_t result[kMostChannels] = {};
    if ((lut.flags & LUT_HAS_CLUT) == 0) {
        std::copy_n(work, inputs, result);
    } else if (lut.inputChannels == 4) {
        Eval4D(lut, work, result);
    } else {
        Interpolate(work, result, lut.clut, lut.clutParams);
    }
    if ((lut.flags & LUT_HAS_OUTPUT_CURVES) == 0) {
        std::copy_n(result, outputs, out);
        return;
    }
    for (uint32_t o = 0; o < outputs; ++o) {
        out[o] = ToneCurveEval(lut.outputCurves[o], lut.outputParams.domain, result[o]);
    }
}

void CmmLutTrilinear(const uint16_t* in, uint16_t* out, const uint16_t* table, const CmmInterpParams* params) noexcept {
    Interpolate(in, out, table, *params);
}

void CmmLutEval4D(const CmmLut* lut, const uint16_t* in, uint16_t* out) noexcept { Eval4D(*lut, in, out); }

}  // namespace zv
