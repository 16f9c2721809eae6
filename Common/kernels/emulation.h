// Emulation tables: a grid over the source space with a measured colour at each node. A pixel between nodes takes the
// mean of two of them, the low and the high corner of its cell.
#pragma once

#include "Common/converter.h"
#include "Common/kernels/arithmetic.h"

namespace zv {
inline namespace ZV_ISA {

/// The grid of a table from CMYK: C, M, Y, K, the last fastest; a node for each 16 values, the last for 255.
inline constexpr int32_t kCmykGridPoints = 17;
inline constexpr int32_t kCmykTableBytes = 17 * 17 * 17 * 17 * 3;
/// The grid of a table from or to Lab: L, a + 128, b + 128 or R, G, B; a node for each 8 values, the last for 255.
inline constexpr int32_t kLabGridPoints = 33;
inline constexpr int32_t kLabGridBytes = 33 * 33 * 33 * 3;
/// A raster of 190 x 190 pixels: the smallest square that holds the grid. What lies behind the grid is never read.
inline constexpr int32_t kLabTableBytes = 190 * 190 * 3;

/// The two nodes of a cell by their number; equal when the pixel lies on a node.
struct EmulationCell {
    int32_t low;
    int32_t high;
};

constexpr uint8_t EmulationMean(uint8_t low, uint8_t high) noexcept { return static_cast<uint8_t>((low + high) >> 1); }

constexpr Rgb EmulationMean(const EmulationTable* low, const EmulationTable* high) noexcept {
    return {EmulationMean(low[0], high[0]), EmulationMean(low[1], high[1]), EmulationMean(low[2], high[2])};
}

/// The cell of three bytes in the grid of 33 points.
constexpr EmulationCell LabGridCell(uint8_t first, uint8_t second, uint8_t third) noexcept {
    constexpr int32_t n = kLabGridPoints;
    return {((first >> 3) * n + (second >> 3)) * n + (third >> 3),
            (((first + 7) >> 3) * n + ((second + 7) >> 3)) * n + ((third + 7) >> 3)};
}

struct CmykEmulation {
    const EmulationTable* table;
    static constexpr int32_t kPixelBytes = 4;

    /// A value above 240 takes its high corner from the start of the axis: 17 nodes are counted in four bits. So the
    /// last node of an axis serves no pixel, and solid black comes out as a grey.
    constexpr Rgb ToRgb(Pixel<4> p) const noexcept {
        int32_t low = 0, high = 0;
        for (const uint8_t ink : p) {
            low = low * kCmykGridPoints + (ink >> 4);
            high = high * kCmykGridPoints + ((ink + 15) >> 4 & 15);
        }
        return EmulationMean(table + low * 3, table + high * 3);
    }
};

struct HubToLabEmulation {
    const EmulationTable* table;
    static constexpr int32_t kPixelBytes = 3;

    /// a and b are signed, and their means go toward zero.
    constexpr Pixel<3> FromRgb(Rgb p) const noexcept {
        const EmulationCell cell = LabGridCell(p.r, p.g, p.b);
        const EmulationTable* low = table + cell.low * 3;
        const EmulationTable* high = table + cell.high * 3;
        const auto mean = [](uint8_t l, uint8_t h) { return LowByte((SignExtend(l) + SignExtend(h)) / 2); };
        return {EmulationMean(low[0], high[0]), mean(low[1], high[1]), mean(low[2], high[2])};
    }
};

struct LabToHubEmulation {
    const EmulationTable* table;
    static constexpr int32_t kPixelBytes = 3;

    /// Where the pixel seems to lie on the high corner, that node stands alone. The test looks at node numbers of
    /// eight bits and at 255 for whatever is above: a or b of 127 can pass it inside a cell.
    constexpr Rgb ToRgb(Pixel<3> p) const noexcept {
        const auto a = static_cast<uint8_t>(p[1] ^ 0x80U), b = static_cast<uint8_t>(p[2] ^ 0x80U);
        const EmulationCell cell = LabGridCell(p[0], a, b);
        const EmulationTable* high = table + cell.high * 3;
        const auto limited = [](int32_t node) { return (node & 255) < 32 ? (node & 255) * 8 : 255; };
        if (p[0] == LowByte(cell.high / (kLabGridPoints * kLabGridPoints) * 8) &&
            a == limited(cell.high / kLabGridPoints) && b == limited(cell.high)) {
            return {high[0], high[1], high[2]};
        }
        return EmulationMean(table + cell.low * 3, high);
    }
};

}  // namespace ZV_ISA
}  // namespace zv
