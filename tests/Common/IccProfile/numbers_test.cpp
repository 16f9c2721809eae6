// Doubles and fixed-point words.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/support/icc_profile_support.h"

namespace zv::test {
namespace {

/// The word by its digits: all of them at once where the fraction has fewer than `digits`, and else the front ones and
/// the last, rounded, which stays below 16 by losing what is above.
uint64_t WordOf(int64_t integer, double fraction, int digits) {
    const auto shifted = [&](int places) { return static_cast<uint64_t>(integer) << 4 * places; };
    if (!(fraction > 0)) return shifted(digits);
    for (int places = 1; places < digits; ++places) {
        const double all = std::ldexp(fraction, 4 * places);
        if (all == std::floor(all)) return shifted(places) + static_cast<uint64_t>(all);
    }
    const double front = std::floor(std::ldexp(fraction, 4 * (digits - 1)));
    const double last = std::ldexp(fraction, 4 * digits) - front * 16;
    const auto digit = static_cast<uint64_t>(std::floor(last + 0.5));
    return shifted(digits) + static_cast<uint64_t>(front) * 16 + digit % 16;
}

/// For values below 2^31 in magnitude.
uint32_t Word32(double value) {
    const double integer = std::trunc(value);
    return static_cast<uint32_t>(WordOf(static_cast<int64_t>(integer), value - integer, 4));
}

uint16_t Word16(double value) {
    const auto low = static_cast<int64_t>(std::trunc(value)) & 0xFFFF;
    const int64_t integer = low < 0x8000 ? low : low - 0x10000;
    const double fraction = value - static_cast<double>(integer);
    // A fraction of 1 and more has digits above 15 in its first place: their low four bits stay.
    if (fraction >= 1) {
        const double first = std::floor(fraction * 16);
        const double rest = fraction * 16 - first;
        const uint64_t front = static_cast<uint64_t>(integer) << 4 | (static_cast<uint64_t>(first) & 15);
        if (rest == 0) return static_cast<uint16_t>(front);
        return static_cast<uint16_t>(front << 4 | (static_cast<uint64_t>(std::floor(rest * 16 + 0.5)) & 15));
    }
    return static_cast<uint16_t>(WordOf(integer, fraction, 2));
}

/// Compares both converters.
void Check(double value) {
    ASSERT_EQ(Word32(value), Zv_DoubleTo2bFixed2bNumber(value)) << std::hexfloat << value;
    ASSERT_EQ(Word16(value), Zv_DoubleToU8Fixed8Number(value)) << std::hexfloat << value;
}

double RandomDouble(TestRandom& random, double limit) {
    const double unit = (random.Next() + random.Next() / 4294967296.0) / 4294967296.0;
    return (unit * 2 - 1) * limit;
}

// --- To words -------------------------------------------------------------------------------------------------------

TEST(IccDoubleTo2bFixed2b, ExamplesWhoseFractionRunsOutEarlyAreNotMovedUp) {
    EXPECT_EQ(0x8U, Zv_DoubleTo2bFixed2bNumber(0.5));
    EXPECT_EQ(0x4U, Zv_DoubleTo2bFixed2bNumber(0.25));
    EXPECT_EQ(0xAU, Zv_DoubleTo2bFixed2bNumber(0.625));
    EXPECT_EQ(0x18U, Zv_DoubleTo2bFixed2bNumber(1.5));
    EXPECT_EQ(0x14U, Zv_DoubleTo2bFixed2bNumber(1.25));
    EXPECT_EQ(0x2CU, Zv_DoubleTo2bFixed2bNumber(2.75));
    // Two and three digits.
    EXPECT_EQ(0x08U, Zv_DoubleTo2bFixed2bNumber(0.03125));
    EXPECT_EQ(0x188U, Zv_DoubleTo2bFixed2bNumber(1.53125));
    EXPECT_EQ(0x1001U, Zv_DoubleTo2bFixed2bNumber(1 + 1 / 4096.0));
    EXPECT_EQ(0x10001U, Zv_DoubleTo2bFixed2bNumber(1 + 1 / 65536.0));
}

TEST(IccDoubleTo2bFixed2b, ExamplesOfFourDigitsAndOfNone) {
    EXPECT_EQ(0x199AU, Zv_DoubleTo2bFixed2bNumber(0.1));
    EXPECT_EQ(0xF6D6U, Zv_DoubleTo2bFixed2bNumber(0.9642));
    EXPECT_EQ(0xD32DU, Zv_DoubleTo2bFixed2bNumber(0.8249));
    EXPECT_EQ(0x10000U, Zv_DoubleTo2bFixed2bNumber(1.0));
    EXPECT_EQ(0x20000U, Zv_DoubleTo2bFixed2bNumber(2.0));
    EXPECT_EQ(0U, Zv_DoubleTo2bFixed2bNumber(0.0));
    EXPECT_EQ(0U, Zv_DoubleTo2bFixed2bNumber(-0.0));
}

TEST(IccDoubleTo2bFixed2b, NegativeNumbersLoseTheirFraction) {
    EXPECT_EQ(0xFFFF0000U, Zv_DoubleTo2bFixed2bNumber(-1.5));
    EXPECT_EQ(0xFFFF0000U, Zv_DoubleTo2bFixed2bNumber(-1.0));
    EXPECT_EQ(0U, Zv_DoubleTo2bFixed2bNumber(-0.999));
    EXPECT_EQ(0x80000000U, Zv_DoubleTo2bFixed2bNumber(-32768.25));
    EXPECT_EQ(0x7FFF0000U, Zv_DoubleTo2bFixed2bNumber(-32769));
}

TEST(IccDoubleTo2bFixed2b, LastDigitRoundsUpTo16WithoutACarry) {
    // 0.0FFFF... : the fourth digit is 15 and more than a half.
    EXPECT_EQ(0x0FF0U, Zv_DoubleTo2bFixed2bNumber(0x0.0FFFFp0));
    EXPECT_EQ(0xFFF0U, Zv_DoubleTo2bFixed2bNumber(0x0.FFFFFp0));
    EXPECT_EQ(0x123F0U, Zv_DoubleTo2bFixed2bNumber(0x1.23FFFp0));
    EXPECT_EQ(0x123FFU, Zv_DoubleTo2bFixed2bNumber(0x1.23FF7p0));
    EXPECT_EQ(0x12341U, Zv_DoubleTo2bFixed2bNumber(0x1.23408p0)) << "a half goes up";
}

TEST(IccDoubleToU8Fixed8, Examples) {
    EXPECT_EQ(0x100, Zv_DoubleToU8Fixed8Number(1.0));
    EXPECT_EQ(0x233, Zv_DoubleToU8Fixed8Number(2.2));
    EXPECT_EQ(0x1CD, Zv_DoubleToU8Fixed8Number(1.8));
    EXPECT_EQ(0x8, Zv_DoubleToU8Fixed8Number(0.5));
    EXPECT_EQ(0x18, Zv_DoubleToU8Fixed8Number(1.5));
    EXPECT_EQ(0x28, Zv_DoubleToU8Fixed8Number(2.5));
    EXPECT_EQ(0xFFF0, Zv_DoubleToU8Fixed8Number(255.9999));
    EXPECT_EQ(0xFF00, Zv_DoubleToU8Fixed8Number(-1.5));
    EXPECT_EQ(0xFF00, Zv_DoubleToU8Fixed8Number(255));
    EXPECT_EQ(0, Zv_DoubleToU8Fixed8Number(256));
    EXPECT_EQ(0, Zv_DoubleToU8Fixed8Number(-0.75));
    EXPECT_EQ(0, Zv_DoubleToU8Fixed8Number(0));
}

TEST(IccDoubleToU8Fixed8, IntegerPartHas16Bits) {
    // 32767 is an integer; 32768 is -32768 and a fraction of 65536.
    EXPECT_EQ(0xFF00, Zv_DoubleToU8Fixed8Number(32767));
    EXPECT_EQ(0x0000, Zv_DoubleToU8Fixed8Number(32768));
    EXPECT_EQ(0xC400, Zv_DoubleToU8Fixed8Number(40000)) << "one digit, 0, ends it";
    EXPECT_EQ(0xC404, Zv_DoubleToU8Fixed8Number(40000.25));
    EXPECT_EQ(0x4044, Zv_DoubleToU8Fixed8Number(40000.265625));
    EXPECT_EQ(0x2400, Zv_DoubleToU8Fixed8Number(1e6));
    EXPECT_EQ(0xC000, Zv_DoubleToU8Fixed8Number(-40000.5));
    EXPECT_EQ(0xFF00, Zv_DoubleToU8Fixed8Number(-32769));
}

TEST(IccDoubleToFixed, AgreeWithTheirDigitsOnAllMultiplesOfASmallestPart) {
    // Every fraction of 16 bits, and thus every length of it, behind several integers; and halves of the smallest part.
    for (const double integer : {0.0, 1.0, 2.0, 15.0, 16.0, 127.0, 255.0, 256.0, 32767.0, 32768.0, 65535.0, 70000.0}) {
        for (int part = 0; part < 131072; ++part) Check(integer + part / 131072.0);
    }
    for (int part = 0; part < 131072; part += 7) {
        Check(-part / 131072.0);
        Check(-20.0 - part / 131072.0);
    }
}

TEST(IccDoubleToFixed, AgreeWithTheirDigitsOnRandomNumbers) {
    TestRandom random(41);
    for (int i = 0; i < 100000; ++i) {
        for (const double limit : {1.0, 3.0, 260.0, 40000.0, 100000.0}) Check(RandomDouble(random, limit));
    }
    // Of any exponent below the limits of both.
    for (int i = 0; i < 100000; ++i)
        Check(std::ldexp(RandomDouble(random, 1), static_cast<int>(random.Below(90)) - 64));
}

TEST(IccDoubleToFixed, AgreeWithTheirDigitsNextToEveryStep) {
    for (int part = 1; part < 65536; ++part) {
        for (const double step : {part / 65536.0, part / 65536.0 + 1 / 131072.0}) {
            Check(std::nextafter(step, 0));
            Check(std::nextafter(step, 1));
        }
    }
    for (const double integer : {1.0, 2.0, 128.0, 255.0, 256.0, 32767.0, 32768.0, 65536.0, 16777216.0}) {
        for (const double value : {integer, -integer}) {
            Check(std::nextafter(value, 0));
            Check(std::nextafter(value, value * 2));
        }
    }
    for (const double tiny : {std::numeric_limits<double>::denorm_min(), std::numeric_limits<double>::min(), 1e-30}) {
        Check(tiny);
        Check(-tiny);
    }
}

TEST(IccDoubleTo2bFixed2b, AgreesWithItsDigitsUpToTheEndsOf32Bits) {
    TestRandom random(42);
    for (int i = 0; i < 200000; ++i) {
        const double value = RandomDouble(random, 2147483647.0);
        ASSERT_EQ(Word32(value), Zv_DoubleTo2bFixed2bNumber(value)) << std::hexfloat << value;
    }
    EXPECT_EQ(0xFFFF0000U, Zv_DoubleTo2bFixed2bNumber(2147483647.0));
    EXPECT_EQ(0xFFFFFFF8U, Zv_DoubleTo2bFixed2bNumber(2147483647.5));
    EXPECT_EQ(0U, Zv_DoubleTo2bFixed2bNumber(-2147483648.0));
}

TEST(IccDoubleToU8Fixed8, AgreesWithItsDigitsUpToTheEndsOf32Bits) {
    TestRandom random(43);
    for (int exponent = 16; exponent < 31; ++exponent) {
        const double front = std::ldexp(1.0, exponent);
        for (const double value : {front, front + 0.5, front + 0.03125, front * 2 - 1, -front, -front - 0.5}) {
            EXPECT_EQ(Word16(value), Zv_DoubleToU8Fixed8Number(value)) << value;
        }
    }
    for (int i = 0; i < 200000; ++i) {
        const double value = RandomDouble(random, 2147483647.0);
        ASSERT_EQ(Word16(value), Zv_DoubleToU8Fixed8Number(value)) << std::hexfloat << value;
    }
}

TEST(IccDoubleToFixed, NumbersThatDoNotFitBecomeTheNearestInteger) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    for (const double large : {2147483648.0, 2147483648.5, 4294967296.5, 1e12, 1e300, kInfinity}) {
        EXPECT_EQ(0xFFFF0000U, Zv_DoubleTo2bFixed2bNumber(large)) << large;
        EXPECT_EQ(0U, Zv_DoubleTo2bFixed2bNumber(-large)) << large;
        EXPECT_EQ(0xFF00, Zv_DoubleToU8Fixed8Number(large)) << large;
        EXPECT_EQ(0, Zv_DoubleToU8Fixed8Number(-large)) << large;
    }
    for (const double none : {std::numeric_limits<double>::quiet_NaN(), -std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_EQ(0U, Zv_DoubleTo2bFixed2bNumber(none));
        EXPECT_EQ(0, Zv_DoubleToU8Fixed8Number(none));
    }
}

// --- From words -----------------------------------------------------------------------------------------------------

TEST(IccU8Fixed8ToDouble, EveryWordIsItself256thPart) {
    for (uint32_t word = 0; word < 65536; ++word) {
        ASSERT_EQ(static_cast<double>(static_cast<long double>(word) / 256),
                  Zv_U8Fixed8NumberToDouble(static_cast<uint16_t>(word)));
    }
    EXPECT_EQ(1.0, Zv_U8Fixed8NumberToDouble(0x100));
    EXPECT_EQ(255.99609375, Zv_U8Fixed8NumberToDouble(0xFFFF)) << "unsigned";
    EXPECT_EQ(0.03125, Zv_U8Fixed8NumberToDouble(0x8));
}

TEST(Icc2bFixed2bToDouble, WordsAreTheir65536thPart) {
    const auto check = [](uint32_t word) {
        ASSERT_EQ(static_cast<double>(static_cast<long double>(word) / 65536), Zv_2bFixed2bNumberToDouble(word))
            << std::hex << word;
    };
    for (uint32_t low = 0; low < 65536; ++low) {
        check(low);
        check(0x10000 + low);
        check(0x7FFF0000 + low);
        check(0x80000000 + low);
        check(0xFFFF0000 + low);
        check(low << 16);
    }
    TestRandom random(44);
    for (int i = 0; i < 500000; ++i) check(random.Next());
    EXPECT_EQ(65535.0, Zv_2bFixed2bNumberToDouble(0xFFFF0000)) << "unsigned";
    EXPECT_EQ(1.5, Zv_2bFixed2bNumberToDouble(0x18000));
}

TEST(IccNumbers, ShortFormsDoNotReadBack) {
    EXPECT_NEAR(0.000122, Zv_2bFixed2bNumberToDouble(Zv_DoubleTo2bFixed2bNumber(0.5)), 1e-6);
    EXPECT_EQ(0.03125, Zv_U8Fixed8NumberToDouble(Zv_DoubleToU8Fixed8Number(0.5)));
    EXPECT_NEAR(0.1, Zv_2bFixed2bNumberToDouble(Zv_DoubleTo2bFixed2bNumber(0.1)), 1 / 131072.0);
}

}  // namespace
}  // namespace zv::test
