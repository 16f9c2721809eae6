// Runs of pixels with 8-bit channels on both sides: what such a run keeps ready, and its rows for each instruction set.
#pragma once

#include <cstdint>

#include "Common/kernels/isa.h"

namespace zv {

/// Where the values of one byte of a pixel fall on their axis of a grid. The last node is reached from the one before
/// it, with the whole step as the fraction, so that every position has a neighbour.
struct CmmByteAxis {
    uint32_t stride;         ///< to the neighbour, in numbers of the nodes
    uint32_t offsets[256];   ///< of the lower node
    float fractions[256];    ///< 0 to 1
    double definition[256];  ///< the fraction as the lookup has it: of a blend in units of 2^-16
};

/// The numbers of a node hold its words in steps of 2^-8, which a float still tells apart at the end of the scale. What
/// is interpolated between them is the highest number that the definition might have before it drops the fraction; the
/// lowest lies a window below. With both in one byte, the byte is the definition's.
template <uint32_t kInputs>
struct CmmNodeScale {
    static constexpr int32_t kWord = 256;
    /// How far an interpolated float may be off. A fraction is off by 2^-24 of itself; the first axis subtracts whole
    /// words without loss, and its product, the fraction in it and its sum cost a step at most each. Every other axis
    /// rounds the difference too. The fractions of a blend are exact. One more goes to the definition's own roundings.
    static constexpr int32_t kMargin = 3 + 4 + 4 + (kInputs == 4 ? 3 : 0) + 1;
    /// Three channels are rounded. The two lookups of four are, before their blend, and may lie half a word off.
    static constexpr int32_t kRounding = kWord / 2 + kMargin;
    static constexpr int32_t kWindow = 2 * kMargin + (kInputs == 4 ? kWord : 0);
};

/// A grid for rows. The nodes of it have four numbers each, in the order of the output pixel's bytes; the fourth of
/// three is that of the word 0. The last axis has a stride of 4. Along the first axis the grid lies in slices, each a
/// place of its own.
struct CmmByteGrid {
    uint32_t inputs;           ///< 3 or 4
    uint32_t outputs;          ///< 3 or 4
    bool reversed;             ///< the last byte is the first channel
    CmmByteAxis axes[4];       ///< in the order of the bytes; the first has no offsets
    const float* slices[256];  ///< the lower one, which the upper one follows
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
