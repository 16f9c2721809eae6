// A lookup in a grid, value by value: what it is defined as, for single pixels and for rows.
#pragma once

#include <cstdint>

#include "Common/Zvgamma/fixed_point.h"

namespace zv {
inline namespace ZV_ISA {

/// Where a word falls on an axis of a grid.
struct GridPosition {
    uint32_t low;
    uint32_t high;
    double fraction;
};

constexpr GridPosition PositionOnAxis(uint16_t value, uint16_t domain) noexcept {
    const double position = value * static_cast<double>(domain) / 65535.0;
    const auto node = static_cast<uint32_t>(position);
    // An axis of one node has no neighbour; its fraction is 0.
    const uint32_t high = value < kFullScale && node < domain ? node + 1 : node;
    return {node, high, position - node};
}

/// A value is a number, or the numbers of several outputs side by side.
template <class Value>
constexpr Value Lerp(double fraction, Value a, Value b) noexcept {
    return (b - a) * fraction + a;
}

/// Between eight corners, corner(i, j, k) along the first, second and third channel. The first is interpolated first
/// and the third last; nothing is rounded to a word yet.
template <class Corner>
constexpr auto Trilinear(double x, double y, double z, const Corner& corner) noexcept {
    const auto c00 = Lerp(x, corner(0, 0, 0), corner(1, 0, 0));
    const auto c10 = Lerp(x, corner(0, 1, 0), corner(1, 1, 0));
    const auto c01 = Lerp(x, corner(0, 0, 1), corner(1, 0, 1));
    const auto c11 = Lerp(x, corner(0, 1, 1), corner(1, 1, 1));
    return Lerp(z, Lerp(y, c00, c10), Lerp(y, c01, c11));
}

/// What lies between words; the floor is a truncation.
constexpr uint16_t RoundedWord(double value) noexcept {
    return static_cast<uint16_t>(static_cast<int32_t>(value + 0.5));
}

/// Between the lookups of two slices, by a 16-bit fraction: truncated where the lookups are rounded.
constexpr uint16_t BlendedWord(double fraction, uint16_t first, uint16_t second) noexcept {
    const int32_t difference = int32_t{second} - int32_t{first};
    return LowWord(TruncateClamped(difference * fraction * kFixedUnit + first));
}

}  // namespace ZV_ISA
}  // namespace zv
