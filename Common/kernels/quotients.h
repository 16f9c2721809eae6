// Quotients of integers, cut to integers.
#pragma once

#include <bit>
#include <cstdint>

#include "Common/kernels/lanes.h"

namespace zv {
inline namespace ZV_ISA {

/// n / d, cut to an integer. For integers n below 2^24 it is the exact one: a quotient that is none lies at least 1 / d
/// below the next integer, which is more than the n / d * 2^-24 that rounding can add. Halves of integers are no
/// different.
inline Ints Quotient(Floats n, Floats d) noexcept { return Truncate(n / d); }

/// The same by a constant d, for integers n from 0 to kMost. A half more puts every quotient at least 0.5 / d away from
/// the integers around it, and the reciprocal and the product are off by 2^-24 of it each.
template <int32_t kDivisor, int32_t kMost>
Floats Quotient(Floats n) noexcept {
    static_assert(kMost < 1 << 22);  // 2 * kMost / d * 2^-24 < 0.5 / d, and a half more is exact
    return ToFloat(Truncate((n + 0.5F) * (1.0F / kDivisor)));
}

/// The upper 16 bits of each product.
inline UnsignedWords UpperProduct(UnsignedWords a, UnsignedWords b) noexcept {
#if ZV_ISA_LEVEL == 2
    return reinterpret_cast<UnsignedWords>(_mm512_mulhi_epu16(Register(a), Register(b)));
#elif ZV_ISA_LEVEL == 1
    return reinterpret_cast<UnsignedWords>(_mm256_mulhi_epu16(Register(a), Register(b)));
#elif ZV_X86
    return reinterpret_cast<UnsignedWords>(_mm_mulhi_epu16(Register(a), Register(b)));
#else
    UnsignedWords product;
    for (int32_t i = 0; i < kWords; ++i) product[i] = static_cast<uint16_t>((uint32_t{a[i]} * b[i]) >> 16);
    return product;
#endif
}

/// n / d, cut to an integer, in 16 bits, for integers n from 0 to kMost. The reciprocal is too great by a share of
/// 2^-kShift; n times that stays below the 1 / d that a quotient which is no integer has to the next.
template <uint32_t kDivisor, uint32_t kMost>
UnsignedWords Quotient(UnsignedWords n) noexcept {
    constexpr uint32_t kShift = 15 + std::bit_width(kDivisor);
    constexpr uint32_t kReciprocal = (1U << kShift) / kDivisor + 1;
    static_assert(kReciprocal < 1 << 16 && kMost < 1 << 16);
    static_assert(uint64_t{kMost} * (kReciprocal * kDivisor - (1U << kShift)) < 1U << kShift);
    return UpperProduct(n, UnsignedWords{} + uint16_t{kReciprocal}) >> (kShift - 16);
}

}  // namespace ZV_ISA
}  // namespace zv
