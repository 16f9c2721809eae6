// Number conversions that every kernel shares. The placement of each rounding, truncation and clamp is part of the
// library's contract; what C++ leaves undefined is settled here.
#pragma once

#include <array>
#include <cfloat>
#include <cstddef>
#include <cstdint>

#include "Common/kernels/isa.h"

namespace zv {
inline namespace ZV_ISA {

static_assert(FLT_EVAL_METHOD == 0, "single and double steps must not be computed wider than they are");

/// A hub pixel.
struct Rgb {
    uint8_t r, g, b;
    friend constexpr bool operator==(const Rgb&, const Rgb&) = default;
};

/// The bytes of a pixel in another space.
template <size_t kBytes>
using Pixel = std::array<uint8_t, kBytes>;

/// Toward zero. What is not a number or lies outside becomes the lowest integer, whose low byte is 0.
constexpr int32_t TruncateToInt(double value) noexcept {
    return value > -2147483649.0 && value < 2147483648.0 ? static_cast<int32_t>(value) : INT32_MIN;
}

/// The low eight bits.
constexpr uint8_t LowByte(int32_t value) noexcept { return static_cast<uint8_t>(static_cast<uint32_t>(value) & 0xFFU); }

constexpr double Clamp(double value, double low, double high) noexcept {
    return value < low ? low : value > high ? high : value;
}

constexpr int32_t Clamp(int32_t value, int32_t low, int32_t high) noexcept {
    return value < low ? low : value > high ? high : value;
}

/// Clamped to 0..255, then truncated.
constexpr uint8_t ByteOf(double value) noexcept {
    return static_cast<uint8_t>(static_cast<int32_t>(Clamp(value, 0.0, 255.0)));
}

constexpr uint8_t ByteOf(int32_t value) noexcept { return static_cast<uint8_t>(Clamp(value, 0, 255)); }

/// Three channels before they are cut to bytes.
using Sums = std::array<double, 3>;

constexpr Pixel<3> BytesOf(const Sums& sums) noexcept { return {ByteOf(sums[0]), ByteOf(sums[1]), ByteOf(sums[2])}; }
constexpr Rgb RgbOf(const Sums& sums) noexcept { return {ByteOf(sums[0]), ByteOf(sums[1]), ByteOf(sums[2])}; }

constexpr int32_t SignExtend(uint8_t value) noexcept { return static_cast<int8_t>(value); }

// 32-bit arithmetic that wraps.
constexpr int32_t WrapAdd(int32_t a, int32_t b) noexcept {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}
constexpr int32_t WrapSub(int32_t a, int32_t b) noexcept {
    return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}
constexpr int32_t WrapMul(int32_t a, int32_t b) noexcept {
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

/// The platform's MulDiv: a * b / c, rounded to nearest, halves away from zero; -1 when it has no 32-bit result.
constexpr int32_t ClrMulDiv(int32_t a, int32_t b, int32_t c) noexcept {
    if (c == 0) return -1;
    const int64_t product = int64_t{a} * b;
    const int64_t divisor = c < 0 ? -int64_t{c} : int64_t{c};
    const int64_t magnitude = ((product < 0 ? -product : product) + divisor / 2) / divisor;
    const int64_t result = (product < 0) != (c < 0) ? -magnitude : magnitude;
    return result > INT32_MAX || result < -INT32_MAX ? -1 : static_cast<int32_t>(result);
}

}  // namespace ZV_ISA
}  // namespace zv
