#include "Common/kernels/arithmetic.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "Common/kernels/lab_records.h"
#include "Common/region.h"
#include "tests/support/test_pictures.h"

namespace zv::test {

namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// Random integers with the extremes among them.
std::vector<int32_t> Integers(size_t count, uint32_t seed) {
    std::vector<int32_t> values = {0,
                                   1,
                                   -1,
                                   2,
                                   -2,
                                   255,
                                   256,
                                   32767,
                                   32768,
                                   -32768,
                                   -32769,
                                   65535,
                                   65536,
                                   -65536,
                                   INT32_MAX,
                                   INT32_MAX - 1,
                                   65537,
                                   32769,
                                   -65535,
                                   INT32_MIN,
                                   INT32_MIN + 1,
                                   0x7FFF8000,
                                   -0x7FFF8000};
    const std::vector<uint8_t> bytes = RandomBytes(count * 4, seed);
    for (size_t i = 0; i < count; ++i) {
        uint32_t value = 0;
        for (size_t k = 0; k < 4; ++k) value = value << 8 | bytes[i * 4 + k];
        // Of every size.
        values.push_back(static_cast<int32_t>(value) >> (i % 31));
    }
    return values;
}

TEST(TruncateToInt, GoesTowardZero) {
    EXPECT_EQ(1, TruncateToInt(1.999));
    EXPECT_EQ(-1, TruncateToInt(-1.999));
    EXPECT_EQ(0, TruncateToInt(-0.999));
    EXPECT_EQ(INT32_MAX, TruncateToInt(2147483647.9));
    EXPECT_EQ(INT32_MIN, TruncateToInt(-2147483648.9));
}

TEST(TruncateToInt, OutsideAndNotANumberHaveALowByteOfZero) {
    for (const double value : {2147483648.0, -2147483649.0, 1e300, -1e300, kInfinity, -kInfinity, kNan}) {
        EXPECT_EQ(INT32_MIN, TruncateToInt(value)) << value;
        EXPECT_EQ(0, LowByte(TruncateToInt(value))) << value;
    }
}

TEST(LowByte, WrapsOnBothSides) {
    EXPECT_EQ(255, LowByte(255));
    EXPECT_EQ(0, LowByte(256));
    EXPECT_EQ(255, LowByte(-1));
    EXPECT_EQ(213, LowByte(-43));
    EXPECT_EQ(0, LowByte(INT32_MIN));
    EXPECT_EQ(255, LowByte(INT32_MAX));
}

TEST(ByteOf, ClampsAndTruncates) {
    EXPECT_EQ(0, ByteOf(-0.5));
    EXPECT_EQ(0, ByteOf(-1e300));
    EXPECT_EQ(254, ByteOf(254.999));
    EXPECT_EQ(255, ByteOf(255.001));
    EXPECT_EQ(255, ByteOf(kInfinity));
    EXPECT_EQ(0, ByteOf(INT32_MIN));
    EXPECT_EQ(255, ByteOf(INT32_MAX));
    EXPECT_EQ(77, ByteOf(77));
}

TEST(SignExtend, ReadsTwosComplement) {
    EXPECT_EQ(0, SignExtend(0));
    EXPECT_EQ(127, SignExtend(127));
    EXPECT_EQ(-128, SignExtend(128));
    EXPECT_EQ(-1, SignExtend(255));
}

TEST(WrappingArithmetic, NeverSaturates) {
    EXPECT_EQ(INT32_MIN, WrapAdd(INT32_MAX, 1));
    EXPECT_EQ(INT32_MAX, WrapSub(INT32_MIN, 1));
    EXPECT_EQ(-2, WrapMul(INT32_MAX, 2));
    EXPECT_EQ(0, WrapMul(1 << 16, 1 << 16));
}

/// The form in partial products: nothing wider than 32 bits.
int32_t FixMulInParts(int32_t a, int32_t b) {
    const auto ah = static_cast<uint32_t>(a >> 16), bh = static_cast<uint32_t>(b >> 16);
    const uint32_t al = static_cast<uint32_t>(a) & 0xFFFF, bl = static_cast<uint32_t>(b) & 0xFFFF;
    // al * bl + 32768 fits: 65535 * 65535 + 32768 is below 2^32.
    return static_cast<int32_t>(((ah * bh) << 16) + ah * bl + al * bh + ((al * bl + 32768) >> 16));
}

TEST(FixMul, EqualsItsPartialProducts) {
    const std::vector<int32_t> values = Integers(1500, 3);
    for (const int32_t a : values) {
        for (const int32_t b : values) ASSERT_EQ(FixMulInParts(a, b), ClrFixMul(a, b)) << a << " * " << b;
    }
}

TEST(FixMul, RoundsAndWraps) {
    EXPECT_EQ(65536, ClrFixMul(65536, 65536));
    EXPECT_EQ(1, ClrFixMul(1, 32768));
    EXPECT_EQ(0, ClrFixMul(1, 32767));
    EXPECT_EQ(0, ClrFixMul(-1, 32768));  // a half goes up, below zero too
    EXPECT_EQ(-1, ClrFixMul(-1, 32769));
    // 2^31 * 2^31 >> 16 is 2^46, of which 32 bits are zero.
    EXPECT_EQ(0, ClrFixMul(INT32_MIN, INT32_MIN));
    EXPECT_EQ(INT32_MIN, ClrFixMul(INT32_MIN, 65536));
}

TEST(Round16, RoundsHalvesAwayFromZero) {
    EXPECT_EQ(0, ClrRound16(0.0));
    EXPECT_EQ(65536, ClrRound16(1.0));
    EXPECT_EQ(1, ClrRound16(0.5 / 65536.0));
    EXPECT_EQ(-1, ClrRound16(-0.5 / 65536.0));
    EXPECT_EQ(0, ClrRound16(0.49 / 65536.0));
    EXPECT_EQ(0, ClrRound16(-0.49 / 65536.0));
    EXPECT_EQ(-65537, ClrRound16(-65536.5 / 65536.0));
}

TEST(Round16, OutsideAndNotANumberAreTheLowestInteger) {
    EXPECT_EQ(INT32_MIN, ClrRound16(-32768.0));
    for (const double value : {32768.0, 1e9, -1e9, kInfinity, -kInfinity, kNan}) {
        EXPECT_EQ(INT32_MIN, ClrRound16(value)) << value;
    }
}

TEST(MulDiv, RoundsHalvesAwayFromZero) {
    EXPECT_EQ(128, ClrMulDiv(1, 255, 2));
    EXPECT_EQ(-128, ClrMulDiv(-1, 255, 2));
    EXPECT_EQ(-128, ClrMulDiv(1, 255, -2));
    EXPECT_EQ(128, ClrMulDiv(-1, 255, -2));
    EXPECT_EQ(33, ClrMulDiv(1, 100, 3));
    EXPECT_EQ(67, ClrMulDiv(2, 100, 3));
    EXPECT_EQ(-67, ClrMulDiv(-2, 100, 3));
    EXPECT_EQ(0, ClrMulDiv(0, 7, 3));
}

TEST(MulDiv, LowestIntegerCountsAsOverflow) { EXPECT_EQ(-1, ClrMulDiv(32768, 65536, -1)); }

TEST(MulDiv, HasA64BitProduct) {
    EXPECT_EQ(INT32_MAX, ClrMulDiv(INT32_MAX, INT32_MAX, INT32_MAX));
    EXPECT_EQ(1 << 30, ClrMulDiv(1 << 30, 1 << 30, 1 << 30));
}

TEST(MulDiv, WithoutAResultIsMinusOne) {
    EXPECT_EQ(-1, ClrMulDiv(5, 7, 0));
    EXPECT_EQ(-1, ClrMulDiv(INT32_MAX, 2, 1));
    EXPECT_EQ(-1, ClrMulDiv(INT32_MIN, INT32_MIN, 1));
}

TEST(MulDiv, RoundsAsTheNearestRealNumberDoes) {
    for (int32_t a = -300; a <= 300; a += 7) {
        for (int32_t b = -255; b <= 255; b += 5) {
            for (int32_t c = -255; c <= 255; c += 4) {
                // c is never 0; the quotient of such numbers is exact enough to round.
                ASSERT_EQ(static_cast<int32_t>(std::round(static_cast<double>(a) * b / c)), ClrMulDiv(a, b, c))
                    << a << " * " << b << " / " << c;
            }
        }
    }
}

#ifdef _WIN32
TEST(MulDiv, IsThePlatformsOwn) {
    const std::vector<int32_t> values = Integers(120, 9);
    for (const int32_t a : values) {
        for (const int32_t b : values) {
            for (const int32_t c : values) {
                // The lowest integer has no counterpart to negate, on which systems differ.
                if (a == INT32_MIN || b == INT32_MIN || c == INT32_MIN) continue;
                ASSERT_EQ(MulDiv(a, b, c), ClrMulDiv(a, b, c)) << a << " * " << b << " / " << c;
            }
        }
    }
}
#endif

TEST(RegionSize, RemembersWhatDoesNotFitInto32Bits) {
    EXPECT_TRUE((RegionSize(46340) * 46340).Fits());
    EXPECT_FALSE((RegionSize(65536) * 65536).Fits());
    EXPECT_FALSE((RegionSize(INT32_MAX) + 1).Fits());
    EXPECT_TRUE((RegionSize(INT32_MAX) + 0).Fits());
    EXPECT_FALSE((RegionSize(INT64_MAX / 2) * 3).Fits());
    EXPECT_FALSE((RegionSize::None() + RegionSize::None()).Fits());
    // A wrapped product that comes back into range is not taken for a size.
    EXPECT_FALSE((RegionSize(1 << 16) * (1 << 16) * 3).Fits());
}

}  // namespace

}  // namespace zv::test
