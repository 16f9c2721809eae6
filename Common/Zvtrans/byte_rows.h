// Runs of pixels with 8-bit channels on both sides: what such a run keeps ready, and its rows for each instruction set.
#pragma once

#include <cstdint>

#include "Common/kernels/isa.h"

namespace zv {

/// Where the byte values of one channel fall on their axis of a grid. The last node is reached from the one before it,
/// with the whole step as the fraction, so that every position has a neighbour.
struct CmmByteAxis {
    uint32_t byte;           ///< of the channel in a pixel
    uint32_t stride;         ///< to the neighbour, in numbers of the nodes
    uint32_t offsets[256];   ///< of the lower node
    float fractions[256];    ///< 0 to 1
    double definition[256];  ///< the fraction as the lookup has it: of a blend in units of 2^-16
};

/// A grid for rows. The nodes of it have four numbers each, in the order of the output pixel's bytes; the fourth of
/// three is 0. The last axis has a stride of 4. Along the first axis the grid lies in slices, each a place of its own.
struct CmmByteGrid {
    uint32_t inputs;              ///< 3 or 4
    uint32_t outputs;             ///< 3 or 4
    CmmByteAxis axes[4];          ///< in the order of the channels; the first has no offsets
    const float* slices[256][2];  ///< the lower and the upper one; aligned to 32 bytes
};

/// A matrix-shaper from device to device for rows: what each byte value adds to the sums of the output pixel's bytes.
struct CmmByteShaper {
    uint32_t bytes[3];         ///< of the channels in a pixel
    int32_t terms[3][256][4];  ///< the fourth is 0
};

/// Rows read 64 pixels before they write any of them.
struct CmmByteRowTable {
    void (*grid)(const CmmByteGrid& grid, const uint8_t* from, uint8_t* to, uint32_t pixels) noexcept;
    void (*shaper)(const CmmByteShaper& shaper, const uint8_t* from, uint8_t* to, uint32_t pixels) noexcept;
};

}  // namespace zv

ZV_ISA_TABLE(CmmByteRowTable, CmmByteRows)
