// Baking a whole transform into a grid.
#include <cmath>

#include "Common/Zvgamma/fixed_point.h"
#include "Common/Zvtrans/transform.h"

namespace zv {

namespace {

constexpr uint32_t kMostGridPoints = 33;

constexpr uint32_t kWordFormat3 = 2 | 3 << 3;
constexpr uint32_t kWordFormat4 = 2 | 4 << 3;

uint32_t PointsOf(uint32_t inputChannels) noexcept { return inputChannels == 4 ? 16 : kMostGridPoints; }

/// Where the nodes of an axis are sampled. With three channels this is not quite where lookups expect them: the step
/// between nodes is no whole number.
uint16_t NodeWord(uint32_t node, uint32_t inputChannels) noexcept {
    const double position = inputChannels == 4 ? node * 65535.0 / 15.0 : node * 65535.0 * 0.03125;
    return static_cast<uint16_t>(std::floor(position));
}

constexpr CmmSpaceEndpoints kEndpoints[] = {
    {Signature("RGB "), 3, {0xFFFF, 0xFFFF, 0xFFFF, 0}, {0, 0, 0, 0}},
    // The zero chroma of black is not neutral; the words stand as they are.
    {Signature("Lab "), 3, {0xFF00, 0x8000, 0x8000, 0}, {0, 0, 0, 0}},
    {Signature("CMYK"), 4, {0, 0, 0, 0}, {0, 0, 0, 0xFFFF}},
};

constexpr uint16_t kNoWhite[4] = {};

/// Sends the nodes of the two innermost axes through the transform at a time: they lie side by side in the grid, and
/// every run probes the transform. The counts say one pixel, as if each node were sent alone.
void SampleNodes(CmmTransform* transform, CmmLut& grid) noexcept {
    const uint32_t channels = grid.inputChannels, points = grid.gridPoints;
    uint16_t axis[kMostGridPoints];
    for (uint32_t i = 0; i < points; ++i) axis[i] = NodeWord(i, channels);

    const auto entries = static_cast<size_t>(CmmGridEntries(grid.gridPoints, grid.inputChannels, grid.outputChannels));
    transform->inputCount = transform->outputCount = 1;
    const uint32_t planeNodes = points * points;
    const size_t planeEntries = size_t{planeNodes} * grid.outputChannels;
    uint16_t plane[kMostGridPoints * kMostGridPoints * 4];
    uint32_t node[4] = {};  // the last two coordinates are the plane's own
    for (size_t at = 0; at < entries; at += planeEntries) {
        uint16_t* word = plane;
        for (uint32_t i = 0; i < planeNodes; ++i) {
            node[channels - 2] = i / points;
            node[channels - 1] = i % points;
            for (uint32_t c = 0; c < channels; ++c) *word++ = axis[node[c]];
        }
        transform->run(transform, plane, grid.clut + at, planeNodes);
        for (uint32_t c = channels - 2; c-- > 0;) {
            if (++node[c] < points) break;
            node[c] = 0;
        }
    }
}

}  // namespace

const CmmSpaceEndpoints* CmmFindEndpoints(uint32_t colorSpace) noexcept {
    for (const CmmSpaceEndpoints& entry : kEndpoints) {
        if (entry.colorSpace == colorSpace) return &entry;
    }
    return nullptr;
}

const uint16_t* CmmSpaceWhite(uint32_t colorSpace) noexcept {
    const CmmSpaceEndpoints* found = CmmFindEndpoints(colorSpace);
    return found == nullptr ? kNoWhite : found->white;
}

int32_t CmmBuildGrid(CmmTransform* transform) noexcept {
    const uint32_t inputs = FormatChannels(transform->inputFormat);
    const uint32_t outputs = FormatChannels(transform->outputFormat);
    if (inputs < 3 || inputs > 4 || outputs < 3 || outputs > 4) return 0;
    CmmLut* grid = CmmLutAlloc();
    if (grid == nullptr) return 0;
    if (CmmLutAllocGrid(grid, PointsOf(inputs), inputs, outputs) == 0) {
        CmmLutFree(grid);
        return 0;
    }
    // Nodes are words on both sides.
    transform->unpack = CmmSelectUnpack(inputs == 4 ? kWordFormat4 : kWordFormat3);
    transform->pack = CmmSelectPack(outputs == 4 ? kWordFormat4 : kWordFormat3);
    SampleNodes(transform, *grid);
    transform->gridLut = grid;
    return 1;
}

void CmmPatchGridNode(CmmLut* lut, const uint16_t* inputWords, const uint16_t* outputWords, uint32_t outputChannels,
                      uint32_t inputChannels) noexcept {
    size_t offset = 0;
    for (uint32_t i = 0; i < inputChannels; ++i) {
        const auto node =
            static_cast<size_t>(std::floor(inputWords[i] * static_cast<double>(lut->clutParams.domain) / 65535.0));
        offset += node * lut->clutParams.strides[inputChannels - 1 - i];
    }
    // A reversed format takes any profile, whose space may have other channels than the grid.
    const auto entries = static_cast<size_t>(CmmGridEntries(lut->gridPoints, lut->inputChannels, lut->outputChannels));
    for (uint32_t o = 0; o < outputChannels && offset + o < entries; ++o) lut->clut[offset + o] = outputWords[o];
    ++lut->patches;
}

void CmmPatchGridEndpoints(CmmTransform* transform) noexcept {
    if (transform->gridLut == nullptr || transform->inputProfile == nullptr || transform->outputProfile == nullptr)
        return;
    const CmmSpaceEndpoints* in = CmmFindEndpoints(transform->inputProfile->colorSpace);
    const CmmSpaceEndpoints* out = CmmFindEndpoints(transform->outputProfile->colorSpace);
    if (in == nullptr || out == nullptr) return;
    CmmPatchGridNode(transform->gridLut, in->white, out->white, out->channels, in->channels);
    CmmPatchGridNode(transform->gridLut, in->black, out->black, out->channels, in->channels);
}

}  // namespace zv
