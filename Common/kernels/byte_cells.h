// What rows of Lab look up. A number between 0 and 1 becomes a byte by the thresholds between the bytes' powers: the
// place of its leading bits in a table tells the threshold that lies nearest; or by its power itself.
#pragma once

#include <cstdint>

namespace zv {

/// Cells are told apart by a single number's upper half: 128 to an octave, which is narrower than the distance
/// between thresholds everywhere. All thresholds lie from 2^-20 to 1.
inline constexpr int32_t kCellBits = 16;
inline constexpr int32_t kFirstCell = (127 - 21) << 7;
inline constexpr int32_t kLastCell = 127 << 7;

/// The power of their thresholds, as a percentage.
inline constexpr int32_t kLabGammaPercent = 45;

/// For processors that choose among many numbers in registers: 255 times the power itself.
struct LabPowers {
    float octaves[32];       ///< of 2^exponent, times 255, by the lowest five bits of the exponent as it is stored
    float mantissas[3][16];  ///< square polynomials of the mantissa, from the constant on, for each sixteenth
};

void FillLabPowers(LabPowers& powers) noexcept;

/// By how much of itself that power can be off. Polynomials that meet a function in the zeros of Chebyshev's miss it by
/// a sixth of its third derivative, here at most 0.384, times 2 (h / 4)^3 over a width of h: 4.9e-7. In units of 2^-24,
/// coefficients, products and sums add less than 6: 3.6e-7.
inline constexpr float kLabPowerError = 8.5e-7F;

struct LabByteCells {
    /// Low byte: how many thresholds lie below the nearest one. Above it: that one's distance in representations from
    /// the cell's start, cut to an octave.
    uint32_t entries[kLastCell - kFirstCell + 1];

    LabPowers powers;
};

/// Weighted sums of X, Y, Z from 0 to 1, and how far an estimate of each can lie from the truth.
struct LabLightSums {
    float weights[3][3];
    float relative[3];  ///< of X + Y + Z
    float absolute[3];
};

/// What 1 of X, Y, Z is in a record's estimates: the cube of a root of 20 bits needs no factor then.
inline constexpr float kRecordWhole = 0x1p60F;

/// Half the way between the two lowest thresholds, which lie closest together, less a cell: what no estimate may miss
/// the truth by, or the nearest threshold would not be the one to look at.
inline constexpr double kLeastHalfway = 5.0e-6;

/// What the rows of the plain route need of the definition, which has powers there.
struct alignas(64) LabTables {
    double linear[256];
    float xyz[3][256][4];  ///< what a byte adds to X, Y, Z
    LabByteCells cells;
};

}  // namespace zv
