// Weighted sums of a pixel's bytes, cut to integers in 16-bit lanes, where the definition has them in double.
//
// The weights come from the definition itself, which is taken apart at compile time. A coarse sum finds the integer or
// the one above it. A fine sum, in so many units to 1 that every weight is a whole number of them or nearly so, tells
// which: it is right in its low 16 bits, and what it leaves beside the integer needs no more. Only where it leaves
// nothing does the definition itself decide, whose own roundings are far below a unit.
#pragma once

#include <array>
#include <cstdint>

#include "Common/kernels/linear_sums.h"
#include "Common/kernels/planes.h"

namespace zv::inline ZV_ISA {

struct WordSum {
    struct Found {
        Words whole;  ///< toward minus infinity
        Words close;  ///< -1 where the definition must decide
    };

    int32_t coarseBits;  ///< of the coarse sum's fraction; 0 for what was not proved
    std::array<int16_t, 3> coarse;
    int16_t coarseConstant;
    std::array<uint16_t, 3> fine;
    uint16_t fineConstant;
    uint16_t units;
    int16_t
        nothing;  ///< what the fine sum leaves of an integer: so far above the lowest number that less does not wrap

    /// Of numbers, and of the same shifted up as far as they go.
    Found operator()(const std::array<Words, 3>& numbers, const std::array<Words, 3>& shifted) const noexcept {
        Words sum = Words{} + coarseConstant;
        UnsignedWords rest = UnsignedWords{} + fineConstant;
        for (size_t i = 0; i < 3; ++i) {
            if (coarse[i] != 0) sum += MulHigh(shifted[i], coarse[i]);
            if (fine[i] != 0) rest += reinterpret_cast<UnsignedWords>(numbers[i]) * fine[i];
        }
        const Words whole = sum >> coarseBits;
        const auto left = reinterpret_cast<Words>(rest - reinterpret_cast<UnsignedWords>(whole) * units);
        return {whole + (left < nothing), left == nothing};
    }
};

/// How far numbers of a magnitude up to `most` are shifted up.
constexpr int32_t ShiftOf(int32_t most) noexcept {
    int32_t shift = 0;
    while (most << (shift + 1) <= INT16_MAX) ++shift;
    return shift;
}

/// The sum `definition(a, b, c)[channel]` of numbers of a magnitude up to `most`, whose constant and weights are what
/// it gives for zeros and ones.
///
/// Coarse: each of three products is cut, which takes less than a unit of its fraction; a weight is off by half of
/// 2^-16 of the shifted number. The constant makes up for both, for its own half unit and for one unit of the fine sum,
/// so that the sum is never too low; what it may be too high by counts below 0 in the fine sum. Fine: `off` is what
/// rounding weights and constant to units can move the sum by. Being less than a unit, it cannot pass a sum that leaves
/// a unit over an integer, or lacks one.
template <class Definition>
constexpr WordSum WordSumOf(const Definition& definition, size_t channel, int32_t most, int32_t units) noexcept {
    const double constant = definition(0, 0, 0)[channel];
    const double weights[3] = {definition(1, 0, 0)[channel] - constant, definition(0, 1, 0)[channel] - constant,
                               definition(0, 0, 1)[channel] - constant};
    double greatest = 0, magnitude = Magnitude(constant);
    for (const double weight : weights) {
        greatest = greatest < Magnitude(weight) ? Magnitude(weight) : greatest;
        magnitude += Magnitude(weight) * most;
    }
    const auto nearest = [](double value) { return static_cast<int32_t>(value < 0 ? value - 0.5 : value + 0.5); };

    WordSum sum{};
    const int32_t shift = ShiftOf(most);
    while (greatest * (2 << (16 - shift + sum.coarseBits)) < INT16_MAX &&
           (magnitude + 1) * (2 << sum.coarseBits) < INT16_MAX) {
        ++sum.coarseBits;
    }
    const double fraction = 1 << sum.coarseBits;
    const double cut = 3, rounded = 3 * 0.5 * (most << shift) / (1 << 16);
    const double tooLow = cut + rounded + 0.5 + fraction / units;
    const double tooHigh = (tooLow + rounded + 0.5) / fraction;
    sum.coarseConstant = static_cast<int16_t>(nearest(constant * fraction + tooLow));

    const int32_t unitsBelow = static_cast<int32_t>(tooHigh * units) + 2;
    sum.nothing = static_cast<int16_t>(INT16_MIN + unitsBelow);
    double off = Magnitude(constant * units - nearest(constant * units));
    for (size_t i = 0; i < 3; ++i) {
        sum.coarse[i] = static_cast<int16_t>(nearest(weights[i] * (1 << (16 - shift + sum.coarseBits))));
        sum.fine[i] = static_cast<uint16_t>(nearest(weights[i] * units));
        off += most * Magnitude(weights[i] * units - nearest(weights[i] * units));
    }
    sum.fineConstant = static_cast<uint16_t>(nearest(constant * units) + sum.nothing);
    sum.units = static_cast<uint16_t>(units);
    return off < 0.999 && units + unitsBelow < 65536 ? sum : WordSum{};
}

/// `units` serves each of the three sums.
template <class Definition>
constexpr std::array<WordSum, 3> WordSumsOf(const Definition& definition, int32_t most,
                                            const std::array<int32_t, 3>& units) noexcept {
    return {WordSumOf(definition, 0, most, units[0]), WordSumOf(definition, 1, most, units[1]),
            WordSumOf(definition, 2, most, units[2])};
}
constexpr bool AreProved(const std::array<WordSum, 3>& sums) noexcept {
    for (const WordSum& sum : sums) {
        if (sum.units == 0) return false;
    }
    return true;
}

}  // namespace zv::inline ZV_ISA
