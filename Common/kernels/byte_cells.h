// A number between 0 and 1 to a byte by the thresholds between the bytes' powers: the place of its leading bits in a
// table tells the threshold that lies nearest.
#pragma once

#include <cstdint>

namespace zv {

struct ClrLabDecodeRecord;

/// Cells are told apart by a single number's upper half: 128 to an octave, which is narrower than the distance
/// between thresholds everywhere. All thresholds lie from 2^-20 to 1.
inline constexpr int32_t kCellBits = 16;
inline constexpr int32_t kFirstCell = (127 - 21) << 7;
inline constexpr int32_t kLastCell = 127 << 7;

/// The power of their thresholds, as a percentage.
inline constexpr int32_t kLabGammaPercent = 45;

struct LabByteCells {
    /// Low byte: how many thresholds lie below the nearest one. Above it: that one's distance in representations from
    /// the cell's start, cut to an octave.
    uint32_t entries[kLastCell - kFirstCell + 1];
};

/// Weighted sums of X, Y, Z from 0 to 1, and how far an estimate of each can lie from the truth.
struct LabLightSums {
    float weights[3][3];
    float relative[3];  ///< of X + Y + Z
    float absolute[3];
};

/// Half the way between the two lowest thresholds, which lie closest together, less a cell: what no estimate may miss
/// the truth by, or the nearest threshold would not be the one to look at.
inline constexpr double kLeastHalfway = 5.0e-6;

/// What rows from an encoding of its own need.
struct LabDecodeContext {
    const ClrLabDecodeRecord& record;
    const LabByteCells& cells;
};

/// What the rows of the plain route need of the definition, which has powers there.
struct alignas(64) LabTables {
    double linear[256];
    float xyz[3][256][4];  ///< what a byte adds to X, Y, Z
    LabByteCells cells;
};

}  // namespace zv
