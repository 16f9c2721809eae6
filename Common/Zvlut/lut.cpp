#include "Common/Zvlut/lut.h"

#include <algorithm>

#include "Common/Zvgamma/fixed_point.h"
#include "Common/Zvgamma/tone_curve.h"
#include "Common/Zvlut/grid_step.h"
#include "host/host.h"

namespace zv {

namespace {

constexpr ZvChar kSource[] = ZV_WIDE("Common\\Zvlut");

/// A limit of our own: twice as many bytes, where the largest grid of a real profile has some ten million.
constexpr int64_t kMostGridEntries = INT32_MAX;

/// The eight nodes around three words in a grid: where they are, and how far the words lie between them.
struct Cell {
    double x, y, z;
    uint64_t corners[2][2][2];

    Cell(const uint16_t* in, uint16_t domain, uint32_t outputs) noexcept {
        const GridPosition first = PositionOnAxis(in[0], domain);
        const GridPosition second = PositionOnAxis(in[1], domain);
        const GridPosition third = PositionOnAxis(in[2], domain);
        x = first.fraction;
        y = second.fraction;
        z = third.fraction;
        const uint64_t n = uint64_t{domain} + 1;
        const uint64_t i[2] = {first.low * n * n * outputs, first.high * n * n * outputs};
        const uint64_t j[2] = {second.low * n * outputs, second.high * n * outputs};
        const uint64_t k[2] = {uint64_t{third.low} * outputs, uint64_t{third.high} * outputs};
        for (int corner = 0; corner < 8; ++corner) {
            const int a = corner >> 2, b = corner >> 1 & 1, c = corner & 1;
            corners[a][b][c] = i[a] + j[b] + k[c];
        }
    }

    /// One output from node(at).
    template <class Node>
    uint16_t At(uint32_t output, const Node& node) const noexcept {
        return RoundedWord(Trilinear(x, y, z, [&](int i, int j, int k) { return node(corners[i][j][k] + output); }));
    }
};

void Interpolate(const uint16_t* in, uint16_t* out, const uint16_t* table, const CmmInterpParams& params) noexcept {
    const Cell cell(in, params.domain, params.outputs);
    if (params.inputs >= 3) {
        for (uint32_t o = 0; o < params.outputs; ++o) {
            out[o] = cell.At(o, [table](uint64_t at) { return static_cast<double>(table[at]); });
        }
        return;
    }
    const int64_t entries = CmmGridEntries(uint32_t{params.domain} + 1, params.inputs, params.outputs);
    const uint64_t held = entries < 0 ? 0 : static_cast<uint64_t>(entries);
    for (uint32_t o = 0; o < params.outputs; ++o) {
        out[o] = cell.At(o, [table, held](uint64_t at) { return at < held ? static_cast<double>(table[at]) : 0.0; });
    }
}

/// Two lookups of three words each, in two slices.
void Eval4D(const CmmLut& lut, const uint16_t* in, uint16_t* out) noexcept {
    const CmmInterpParams& grid = lut.clutParams;
    const auto [slice, fraction] = PositionIn(grid.domain, in[0]);
    const uint32_t next = in[0] == kFullScale || slice >= grid.domain ? slice : slice + 1;
    const uint16_t* const tables[2] = {lut.clut + size_t{slice} * grid.strides[3],
                                       lut.clut + size_t{next} * grid.strides[3]};
    const Cell cell(in + 1, grid.domain, grid.outputs);
    for (uint32_t o = 0; o < grid.outputs; ++o) {
        uint16_t words[2];
        for (int i = 0; i < 2; ++i) {
            words[i] = cell.At(o, [table = tables[i]](uint64_t at) { return static_cast<double>(table[at]); });
        }
        out[o] = BlendedWord(static_cast<double>(fraction), words[0], words[1]);
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
