// Weighted sums of a pixel's bytes, cut to integers in 16-bit lanes, where the definition has them in double.
//
// The weights come from the definition itself, which is taken apart at compile time. A coarse sum finds the integer or
// the one above it. A fine sum, in so many units to 1 that every weight is a whole number of them or nearly so, tells
// which: it is right in its low 16 bits, and what it leaves beside the integer needs no more. Only where it leaves
// nothing, or less than its own error, does the definition itself decide, whose own roundings are far below a unit.
#pragma once

#include <array>
#include <cstdint>

#include "Common/kernels/arithmetic.h"
#include "Common/kernels/byte_words.h"

namespace zv {
inline namespace ZV_ISA {

constexpr double Magnitude(double value) noexcept { return value < 0 ? -value : value; }

struct WordSum {
    struct Found {
        Words whole;  ///< toward minus infinity
        Words close;  ///< -1 where the definition must decide
    };

    int32_t coarseBits;  ///< of the coarse sum's fraction
    std::array<int16_t, 3> coarse;
    int16_t coarseConstant;
    std::array<uint16_t, 3> fine;
    uint16_t fineConstant;
    uint16_t units;  ///< 0 for what was not proved
    /// What the fine sum leaves of an integer: so far above the lowest number that less does not wrap.
    int16_t nothing;
    int16_t window;  ///< units on either side of it that tell nothing either
    bool addsFirst;  ///< the first number's weight is 1: it is added at the end

    /// Of numbers, and of the same shifted up as far as they go.
    Found operator()(const std::array<Words, 3>& numbers, const std::array<Words, 3>& shifted) const noexcept {
        Words sum = Words{} + coarseConstant;
        UnsignedWords rest = UnsignedWords{} + fineConstant;
        for (size_t i = 0; i < 3; ++i) {
            if (coarse[i] != 0) sum += MulHigh(shifted[i], coarse[i]);
            if (fine[i] != 0) rest += reinterpret_cast<UnsignedWords>(numbers[i]) * fine[i];
        }
        const Words whole = sum >> coarseBits;
        const UnsignedWords left = rest - reinterpret_cast<UnsignedWords>(whole) * units;
        const Words found = whole + (reinterpret_cast<Words>(left) < nothing);
        return {addsFirst ? found + numbers[0] : found, IsClose(left)};
    }

    Words IsClose(UnsignedWords left) const noexcept {
        if (window == 0) return reinterpret_cast<Words>(left) == nothing;
        const auto toLowest = static_cast<uint16_t>(INT16_MIN - (nothing - window));
        return reinterpret_cast<Words>(left + toLowest) <= static_cast<int16_t>(INT16_MIN + 2 * window);
    }

    /// Whether any number counts whose product may be rounded.
    Words AnyWeighted(const std::array<Words, 3>& numbers) const noexcept {
        Words any = {};
        for (size_t i = 0; i < 3; ++i) {
            if (fine[i] != 0) any |= numbers[i];
        }
        return any != 0;
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
/// Coarse: each product is cut, which takes less than a unit of its fraction; a weight is off by half of 2^-16 of the
/// shifted number. The constant makes up for both, for its own half unit and for the window of the fine sum, so that
/// the sum is never too low; what it may be too high by counts below 0 in the fine sum. Fine: `off` is what rounding
/// weights and constant to units can move the sum by. It cannot pass a sum that leaves more than as many units beside
/// an integer. A weight that the definition's own roundings keep from 0 or 1 is taken for it; `off` counts the rest.
template <class Definition>
constexpr WordSum WordSumOf(const Definition& definition, size_t channel, int32_t most, int32_t units) noexcept {
    const double constant = definition(0, 0, 0)[channel];
    double weights[3] = {definition(1, 0, 0)[channel] - constant, definition(0, 1, 0)[channel] - constant,
                         definition(0, 0, 1)[channel] - constant};
    WordSum sum{};
    constexpr double kRounded = 1e-12;
    sum.addsFirst = Magnitude(weights[0] - 1) < kRounded;
    if (sum.addsFirst) weights[0] = 0;
    double greatest = 0, magnitude = Magnitude(constant), off = 3 * kRounded * most * units;
    int32_t products = 0;
    for (double& weight : weights) {
        if (Magnitude(weight) < kRounded) {
            weight = 0;
            continue;
        }
        ++products;
        greatest = greatest < Magnitude(weight) ? Magnitude(weight) : greatest;
        magnitude += Magnitude(weight) * most;
    }
    const auto nearest = [](double value) { return static_cast<int32_t>(value < 0 ? value - 0.5 : value + 0.5); };

    off += Magnitude(constant * units - nearest(constant * units));
    for (const double weight : weights) off += most * Magnitude(weight * units - nearest(weight * units));
    sum.window = static_cast<int16_t>(off + 0.001);

    const int32_t shift = ShiftOf(most);
    while (greatest * (2 << (16 - shift + sum.coarseBits)) < INT16_MAX &&
           (magnitude + 1) * (2 << sum.coarseBits) < INT16_MAX) {
        ++sum.coarseBits;
    }
    const double fraction = 1 << sum.coarseBits;
    const double cut = products, rounded = products * 0.5 * (most << shift) / (1 << 16);
    const double tooLow = cut + rounded + 0.5 + (sum.window + 1) * fraction / units;
    const double tooHigh = (tooLow + rounded + 0.5) / fraction;
    sum.coarseConstant = static_cast<int16_t>(nearest(constant * fraction + tooLow));

    const int32_t unitsBelow = static_cast<int32_t>(tooHigh * units) + sum.window + 2;
    sum.nothing = static_cast<int16_t>(INT16_MIN + unitsBelow);
    for (size_t i = 0; i < 3; ++i) {
        sum.coarse[i] = static_cast<int16_t>(nearest(weights[i] * (1 << (16 - shift + sum.coarseBits))));
        sum.fine[i] = static_cast<uint16_t>(nearest(weights[i] * units));
    }
    sum.fineConstant = static_cast<uint16_t>(nearest(constant * units) + sum.nothing);
    sum.units = static_cast<uint16_t>(units);
    return tooHigh < 1 && sum.window < 32 && units + unitsBelow + sum.window < 65536 ? sum : WordSum{};
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

// What is done again goes back into vectors by registers: a vector loaded over several fresh stores would wait for all
// that was stored before.

inline constexpr auto kLaneNumbers = [] {
    std::array<uint8_t, kShuffled> numbers{};
    for (size_t i = 0; i < kShuffled; ++i) numbers[i] = static_cast<uint8_t>(i);
    return numbers;
}();

/// Does the pixels of a run again that are marked, by again(pixel). Neighbours are often the same.
template <class Again>
void DoAgain(uint64_t marked, const Bytes (&in)[3], Bytes (&out)[3], const Again& again) noexcept {
    uint8_t from[3][kShuffled];
    for (size_t c = 0; c < 3; ++c) StoreLanes(from[c], in[c]);
    const auto numbers = LoadLanes<Bytes>(kLaneNumbers.data());
    Pixel<3> last, done;
    bool isFirst = true;
    for (; marked != 0; marked &= marked - 1) {
        const auto i = static_cast<size_t>(__builtin_ctzll(marked));
        const Pixel<3> pixel = {from[0][i], from[1][i], from[2][i]};
        if (isFirst || pixel != last) {
            isFirst = false;
            last = pixel;
            done = again(pixel);
        }
        const auto here = numbers == static_cast<uint8_t>(i);
        for (size_t c = 0; c < 3; ++c) out[c] = Select(here, Bytes{} + done[c], out[c]);
    }
}

/// A run through the three sums of a codec, clamped to bytes: Codec::kSums of the numbers that a pixel's bytes stand
/// for, of a magnitude up to kMost, and Codec::Again(pixel), the definition.
template <class Codec>
void SumRun(const Bytes (&in)[3], const std::array<WordPair, 3>& numbers, Bytes (&out)[3]) noexcept {
    static constexpr int32_t kShift = ShiftOf(Codec::kMost);
    const auto half = [](const std::array<Words, 3>& side, Words(&whole)[3]) {
        const std::array<Words, 3> shifted = {side[0] << kShift, side[1] << kShift, side[2] << kShift};
        Words close = {};
        const auto channel = [&]<size_t kChannel>() {
            static constexpr WordSum kSum = Codec::kSums[kChannel];
            const WordSum::Found found = kSum(side, shifted);
            whole[kChannel] = found.whole;
            // Where every weighted number is 0 the definition rounds nothing.
            close |= found.close & kSum.AnyWeighted(side);
        };
        channel.template operator()<0>();
        channel.template operator()<1>();
        channel.template operator()<2>();
        return close;
    };
    Words low[3], high[3];
    const Words closeLow = half({numbers[0].low, numbers[1].low, numbers[2].low}, low);
    const Words closeHigh = half({numbers[0].high, numbers[1].high, numbers[2].high}, high);
    for (size_t c = 0; c < 3; ++c) out[c] = BytesOf(low[c], high[c]);
    if (!AnyIsSet(closeLow | closeHigh)) return;
    DoAgain(UpperBits(BytesOf(closeLow & 255, closeHigh & 255)), in, out, Codec::Again);
}

}  // namespace ZV_ISA
}  // namespace zv
