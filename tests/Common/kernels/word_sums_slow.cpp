// Sums of 16-bit lanes: for every three numbers, what they claim to know is what the definition gives, and what they
// leave open is little beside the colours whose sum is an integer.
#include "Common/kernels/word_sums.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "Common/kernels/cie.h"
#include "Common/kernels/luma_chroma.h"

namespace zv::test {

namespace {

/// What a look at every input found.
struct Look {
    double lowestCoarse = 1e9;  ///< of the coarse sum less the true one
    double mostUnitsOff = 0;    ///< by which the fine sum and the true one differ
    int64_t wrong = 0;          ///< integers that are not the definition's, though not called close
    int64_t integers = 0;       ///< sums that are integers but for the definition's roundings
    int64_t close = 0;          ///< others that are called close
    int64_t all = 0;
};

int32_t NearestWithSameLowBits(uint16_t low, double to) {
    const auto near = static_cast<int32_t>(std::lround(to));
    return near + static_cast<int16_t>(static_cast<uint16_t>(low - static_cast<uint16_t>(near)));
}

struct Range {
    int32_t least, most;
};

/// The numbers that a sum is asked for.
struct Inputs {
    Range ranges[3];
    int32_t most;        ///< their greatest magnitude
    bool lessFirst;      ///< the others' ranges are less the first number
    bool trustedAtZero;  ///< what is close is taken as it is where every weighted number is 0
};

/// Every triple of the inputs through a sum, in its own lanes and in the wide arithmetic that they stand for.
template <class Definition>
Look LookAtAll(const Definition& definition, size_t channel, const WordSum& sum, const Inputs& inputs) {
    Look look;
    const int32_t shift = ShiftOf(inputs.most);
    for (int32_t a = inputs.ranges[0].least; a <= inputs.ranges[0].most; ++a) {
        const int32_t less = inputs.lessFirst ? a : 0;
        const Range bs = {inputs.ranges[1].least - less, inputs.ranges[1].most - less};
        const Range cs = {inputs.ranges[2].least - less, inputs.ranges[2].most - less};
        for (int32_t b = bs.least; b <= bs.most; ++b) {
            for (int32_t c = cs.least; c <= cs.most; c += kWords) {
                std::array<Words, 3> numbers = {Words{} + static_cast<int16_t>(a), Words{} + static_cast<int16_t>(b),
                                                Words{} + static_cast<int16_t>(c)};
                for (int32_t i = 0; i < kWords; ++i) numbers[2][i] = static_cast<int16_t>(std::min(c + i, cs.most));
                const WordSum::Found found =
                    sum(numbers, {numbers[0] << shift, numbers[1] << shift, numbers[2] << shift});
                const Words any = sum.AnyWeighted(numbers);
                for (int32_t i = 0; i < kWords && c + i <= cs.most; ++i) {
                    const double truth = definition(a, b, c + i)[channel];
                    const double part = sum.addsFirst ? truth - a : truth;
                    const int32_t triple[3] = {a, b, c + i};
                    int32_t coarse = sum.coarseConstant;
                    auto fine = static_cast<uint16_t>(sum.fineConstant - static_cast<uint16_t>(sum.nothing));
                    for (size_t k = 0; k < 3; ++k) {
                        coarse += (triple[k] * (1 << shift) * sum.coarse[k]) >> 16;
                        fine = static_cast<uint16_t>(fine + static_cast<uint16_t>(triple[k]) * sum.fine[k]);
                    }
                    const double units = part * sum.units;
                    look.lowestCoarse = std::min(look.lowestCoarse, coarse - std::ldexp(part, sum.coarseBits));
                    look.mostUnitsOff =
                        std::max(look.mostUnitsOff, std::fabs(NearestWithSameLowBits(fine, units) - units));
                    ++look.all;
                    const bool isInteger = std::fabs(truth - std::nearbyint(truth)) < 1e-10;
                    if (isInteger) ++look.integers;
                    if (found.close[i] == 0 || (inputs.trustedAtZero && any[i] == 0)) {
                        if (found.whole[i] != static_cast<int32_t>(std::floor(truth))) ++look.wrong;
                    } else if (!isInteger) {
                        ++look.close;
                    }
                }
            }
        }
    }
    return look;
}

/// Of sums that are no integers, those are left open that fall into the window: with few different sums, a few times
/// its part of all units.
template <class Definition>
void ExpectSumsHold(const Definition& definition, const std::array<WordSum, 3>& sums, const Inputs& inputs) {
    for (size_t channel = 0; channel < 3; ++channel) {
        const WordSum& sum = sums[channel];
        const Look look = LookAtAll(definition, channel, sum, inputs);
        SCOPED_TRACE(testing::Message() << "channel " << channel << ": " << look.integers << " integers, " << look.close
                                        << " close of " << look.all);
        EXPECT_GT(look.lowestCoarse, 0);
        EXPECT_LT(look.mostUnitsOff, sum.window + 1);
        EXPECT_EQ(look.wrong, 0);
        EXPECT_LE(static_cast<double>(look.close) / static_cast<double>(look.all),
                  4 * (2.0 * sum.window + 1) / sum.units);
    }
}

constexpr Range kByte = {0, 255}, kSigned = {-128, 127};

/// Of green, and of what red and blue differ from it by. Greys lie on an edge and are not trusted.
template <class Space>
void ExpectEncodingHolds(const std::array<int32_t, 3>& units) {
    const auto definition = [](double g, double red, double blue) {
        return Space::template FromRgbSums<double>(g + red, g, g + blue);
    };
    const auto sums = WordSumsOf(definition, 255, units);
    ASSERT_TRUE(AreProved(sums));
    for (size_t channel = 0; channel < 3; ++channel) {
        SCOPED_TRACE(channel);
        EXPECT_EQ(sums[channel].window, 0);
    }
    ExpectSumsHold(definition, sums, {{kByte, kByte, kByte}, 255, true, false});
}

TEST(WordSums, EncodingOfLumaAndChroma) {
    ExpectEncodingHolds<Yuv>({58000, 44600, 55000});
    ExpectEncodingHolds<Yiq>({52600, 50500, 53400});
    ExpectEncodingHolds<Ycbcr>({58000, 50000, 56672});
}

TEST(WordSums, DecodingOfLumaAndChroma) {
    const auto yiq = [](double y, double i, double q) { return Yiq::DecodeSums<double>(y, i, q); };
    ExpectSumsHold(yiq, WordSumsOf(yiq, 263, {45000, 45000, 45000}),
                   {{{0, 263}, {-152, 151}, {-134, 133}}, 263, false, true});
    const auto ycbcr = [](double y, double cb, double cr) { return Ycbcr::ToRgbSums<double>(y, cb, cr); };
    ExpectSumsHold(ycbcr, WordSumsOf(ycbcr, 255, {50000, 44000, 50000}), {{kByte, kSigned, kSigned}, 255, false, true});
}

TEST(WordSums, Xyz) {
    const auto fromRgb = [](double r, double g, double b) { return Xyz::FromRgbSums(r, g, b); };
    ExpectSumsHold(fromRgb, WordSumsOf(fromRgb, 255, {50701, 57598, 57530}), {{kByte, kByte, kByte}, 255, false, true});
    const auto toRgb = [](double x, double y, double z) { return Xyz::ToRgbSums(x, y, z); };
    ExpectSumsHold(toRgb, WordSumsOf(toRgb, 255, {40966, 39826, 25751}), {{kByte, kByte, kByte}, 255, false, true});
}

TEST(WordSums, WhatIsNotCloseEnoughIsNotProved) {
    const auto definition = [](double r, double g, double b) { return Xyz::FromRgbSums(r, g, b); };
    EXPECT_FALSE(AreProved(WordSumsOf(definition, 255, {32000, 32000, 32000})));
    EXPECT_FALSE(AreProved(WordSumsOf(definition, 255, {65500, 65500, 65500})));
}

// In blue chroma the only sums that are integers are those of r = g with an even distance to blue, and the definition
// gives them without a rounding.
TEST(WordSums, BlueChromaOfYcbcrIsAnIntegerForNoOtherColours) {
    int64_t integers = 0;
    for (int32_t r = 0; r < 256; ++r) {
        for (int32_t g = 0; g < 256; ++g) {
            for (int32_t b = 0; b < 256; ++b) {
                const double sum = Ycbcr::FromRgbSums<double>(r, g, b)[1];
                if (std::fabs(sum - std::nearbyint(sum)) > 1e-10) continue;
                ++integers;
                ASSERT_EQ(r, g);
                ASSERT_EQ(sum * 2, b - r);
            }
        }
    }
    EXPECT_EQ(integers, 32768);
}

}  // namespace

}  // namespace zv::test
