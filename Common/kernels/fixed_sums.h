// Weighted sums of integers with kBits fractional bits, cut to integers, in 16-bit lanes. A weight is a whole number
// and a rest that 16 bits hold with a sign; of the rests' products all 32 bits are summed, so that nothing is lost.
// Numbers have a magnitude up to 255.
#pragma once

#include <cstdint>

#include "Common/kernels/byte_words.h"

namespace zv {
inline namespace ZV_ISA {

template <int32_t kBits>
struct FixedWeight {
    static_assert(kBits >= 10);  // what three products come to fits 16 bits again
    static constexpr int32_t kHalf = 1 << (kBits - 1);
    int16_t whole, rest;

    explicit constexpr FixedWeight(int32_t weight) noexcept
        : whole(weight == static_cast<int16_t>(weight) ? int16_t{0} : static_cast<int16_t>((weight + kHalf) >> kBits)),
          rest(static_cast<int16_t>(weight - whole * (1 << kBits))) {}
};

template <int32_t kBits>
Words Wholes(Words numbers, FixedWeight<kBits> weight) noexcept {
    return weight.whole == 0 ? Words{} : numbers * weight.whole;
}

/// The weights of a pair of words, as SumsOfTwo takes them.
constexpr int32_t WeightPair(int16_t first, int16_t second) noexcept {
    return static_cast<uint16_t>(first) | second * (1 << 16);
}

/// The products of each two words with their weights, added.
inline Ints SumsOfTwo(Words pairs, int32_t weights) noexcept {
#if ZV_ISA_LEVEL == 2
    return reinterpret_cast<Ints>(_mm512_madd_epi16(Register(pairs), _mm512_set1_epi32(weights)));
#elif ZV_ISA_LEVEL == 1
    return reinterpret_cast<Ints>(_mm256_madd_epi16(Register(pairs), _mm256_set1_epi32(weights)));
#elif ZV_X86
    return reinterpret_cast<Ints>(_mm_madd_epi16(Register(pairs), _mm_set1_epi32(weights)));
#else
    const auto lanes = reinterpret_cast<Ints>(pairs);
    return (lanes << 16 >> 16) * static_cast<int16_t>(weights) + (lanes >> 16) * (weights >> 16);
#endif
}

/// (a * first + b * second + c * third + constant) >> kBits.
template <int32_t kBits>
Words FixedSum(Words a, FixedWeight<kBits> first, Words b, FixedWeight<kBits> second, Words c, FixedWeight<kBits> third,
               FixedWeight<kBits> constant) noexcept {
    const WordPair ab = Turns(a, b), c1 = Turns(c, Words{} + 1);
    const auto sum = [&](Words of2, Words of1) {
        return (SumsOfTwo(of2, WeightPair(first.rest, second.rest)) +
                SumsOfTwo(of1, WeightPair(third.rest, constant.rest))) >>
               kBits;
    };
    return (Wholes(a, first) + Wholes(b, second)) + (Wholes(c, third) + constant.whole) +
           WordsOf(sum(ab.low, c1.low), sum(ab.high, c1.high));
}

/// The same of two; with FixedWeight::kHalf to the nearest integer, halves up.
template <int32_t kBits>
Words FixedSum(Words a, FixedWeight<kBits> first, Words b, FixedWeight<kBits> second, int32_t constant = 0) noexcept {
    const WordPair ab = Turns(a, b);
    const auto sum = [&](Words turns) {
        return (SumsOfTwo(turns, WeightPair(first.rest, second.rest)) + constant) >> kBits;
    };
    return (Wholes(a, first) + Wholes(b, second)) + WordsOf(sum(ab.low), sum(ab.high));
}

/// Of one, to the nearest integer: the uppermost of the bits that are cut tells whether it goes up.
inline Words RoundedProduct(Words a, FixedWeight<16> weight) noexcept {
    const UnsignedWords low = reinterpret_cast<UnsignedWords>(a) * static_cast<uint16_t>(weight.rest);
    return Wholes(a, weight) + MulHigh(a, weight.rest) + reinterpret_cast<Words>(low >> 15);
}

}  // namespace ZV_ISA
}  // namespace zv
