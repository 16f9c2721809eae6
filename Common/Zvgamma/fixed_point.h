// The engine's numbers: 16-bit words of full scale 0xFFFF and signed 16.16. The placement of each rounding, truncation
// and clamp is part of the library's contract; what C++ leaves undefined is settled here.
#pragma once

#include <cfloat>
#include <cstdint>

#include "Common/kernels/isa.h"

namespace zv {
inline namespace ZV_ISA {

static_assert(FLT_EVAL_METHOD == 0, "double steps must not be computed wider than they are");

inline constexpr uint16_t kFullScale = 0xFFFF;
inline constexpr double kFixedOne = 65536.0;
inline constexpr double kFixedUnit = 1.0 / 65536.0;

/// Toward zero. Outside the integer's range the nearest end is taken, and 0 for what is not a number.
constexpr int32_t TruncateClamped(double value) noexcept {
    if (value > -2147483649.0 && value < 2147483648.0) return static_cast<int32_t>(value);
    return value != value ? 0 : value > 0.0 ? INT32_MAX : INT32_MIN;
}

constexpr uint16_t LowWord(int32_t value) noexcept {
    return static_cast<uint16_t>(static_cast<uint32_t>(value) & 0xFFFFU);
}

constexpr uint16_t ClampToWord(int32_t value) noexcept {
    return value < 0 ? uint16_t{0} : value > kFullScale ? kFullScale : static_cast<uint16_t>(value);
}

/// Sums of 16.16 numbers wrap.
constexpr int32_t WrappedSum(int32_t a, int32_t b) noexcept {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

/// A double as 16.16. The half is added before truncation toward zero, for negative numbers too.
constexpr int32_t FixedOf(double value) noexcept { return TruncateClamped(value * kFixedOne + 0.5); }

/// Full scale becomes exactly 1.0.
constexpr int32_t FixedOfWord(uint16_t word) noexcept { return TruncateClamped(word * kFixedOne / 65535.0 + 0.5); }

/// The inverse of FixedOfWord, before any clamp.
constexpr int32_t WordScaleOfFixed(int32_t fixed) noexcept {
    return TruncateClamped(fixed * 65535.0 * kFixedUnit + 0.5);
}

/// The high byte of ClampToWord(WordScaleOfFixed(fixed)), in integers: the doubles round nothing, and what they take
/// off between the half and 1.5 is 1. Past that everything is clamped.
constexpr uint8_t HighByteOfFixed(int32_t fixed) noexcept {
    const int32_t byte = (fixed > 0x8000 ? fixed - 1 : fixed) >> 8;
    return static_cast<uint8_t>(byte < 0 ? 0 : byte > 255 ? 255 : byte);
}

/// The product of two 16.16 numbers that are given as 16.16 and as a double.
constexpr int32_t FixedProduct(int32_t factor, double value) noexcept {
    return TruncateClamped(factor * kFixedUnit * value * kFixedOne + 0.5);
}

/// A row-major 16.16 matrix times three 16.16 numbers; each term is truncated by itself.
constexpr void FixedMatrixTimes(const int32_t (&matrix)[9], int32_t (&channels)[3]) noexcept {
    const double a = channels[0] * kFixedUnit, b = channels[1] * kFixedUnit, c = channels[2] * kFixedUnit;
    for (int row = 0; row < 3; ++row) {
        const int32_t* m = matrix + 3 * row;
        channels[row] = WrappedSum(WrappedSum(FixedProduct(m[0], a), FixedProduct(m[1], b)), FixedProduct(m[2], c));
    }
}

/// Whether an element of a 16.16 matrix differs from the identity's.
constexpr bool DiffersFromIdentity(const int32_t (&matrix)[9], double tolerance) noexcept {
    for (int i = 0; i < 9; ++i) {
        const double difference = matrix[i] * kFixedUnit - (i % 4 == 0 ? 1.0 : 0.0);
        if (difference > tolerance || difference < -tolerance) return true;
    }
    return false;
}

/// Where a word falls among the entries of a table: index in the upper half, 16-bit fraction in the lower one.
struct FixedPosition {
    uint32_t index;
    uint32_t fraction;
};

/// The product is one of 32 bits; unsigned, so that tables of more than 32,768 entries have positions too.
constexpr FixedPosition PositionIn(uint16_t domain, uint16_t word) noexcept {
    const uint32_t s = uint32_t{word} * domain;
    const auto p = static_cast<uint32_t>(s * kFixedOne / 65535.0 + 0.5);
    return {p >> 16, p & 0xFFFFU};
}

}  // namespace ZV_ISA
}  // namespace zv
