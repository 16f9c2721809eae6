#include "tests/support/colour_difference.h"

#include <gtest/gtest.h>

namespace {

using zvtest::Lab;

struct Pair {
    Lab first, second;
    double difference;
};

// The test pairs of Sharma, Wu and Dalal, "The CIEDE2000 color-difference formula" (2005), table 1.
constexpr Pair kPublishedPairs[] = {
    {{50, 2.6772, -79.7751}, {50, 0, -82.7485}, 2.0425},
    {{50, 3.1571, -77.2803}, {50, 0, -82.7485}, 2.8615},
    {{50, 2.8361, -74.0200}, {50, 0, -82.7485}, 3.4412},
    {{50, -1.3802, -84.2814}, {50, 0, -82.7485}, 1.0000},
    {{50, -1.1848, -84.8006}, {50, 0, -82.7485}, 1.0000},
    {{50, -0.9009, -85.5211}, {50, 0, -82.7485}, 1.0000},
    {{50, 0, 0}, {50, -1, 2}, 2.3669},
    {{50, -1, 2}, {50, 0, 0}, 2.3669},
    {{50, 2.4900, -0.0010}, {50, -2.4900, 0.0009}, 7.1792},
    {{50, 2.4900, -0.0010}, {50, -2.4900, 0.0010}, 7.1792},
    {{50, 2.4900, -0.0010}, {50, -2.4900, 0.0011}, 7.2195},
    {{50, 2.4900, -0.0010}, {50, -2.4900, 0.0012}, 7.2195},
    {{50, -0.0010, 2.4900}, {50, 0.0009, -2.4900}, 4.8045},
    {{50, -0.0010, 2.4900}, {50, 0.0010, -2.4900}, 4.8045},
    {{50, -0.0010, 2.4900}, {50, 0.0011, -2.4900}, 4.7461},
    {{50, 2.5, 0}, {50, 0, -2.5}, 4.3065},
    {{50, 2.5, 0}, {73, 25, -18}, 27.1492},
    {{50, 2.5, 0}, {61, -5, 29}, 22.8977},
    {{50, 2.5, 0}, {56, -27, -3}, 31.9030},
    {{50, 2.5, 0}, {58, 24, 15}, 19.4535},
    {{50, 2.5, 0}, {50, 3.1736, 0.5854}, 1.0000},
    {{50, 2.5, 0}, {50, 3.2972, 0}, 1.0000},
    {{50, 2.5, 0}, {50, 1.8634, 0.5757}, 1.0000},
    {{50, 2.5, 0}, {50, 3.2592, 0.3350}, 1.0000},
    {{60.2574, -34.0099, 36.2677}, {60.4626, -34.1751, 39.4387}, 1.2644},
    {{63.0109, -31.0961, -5.8663}, {62.8187, -29.7946, -4.0864}, 1.2630},
    {{61.2901, 3.7196, -5.3901}, {61.4292, 2.2480, -4.9620}, 1.8731},
    {{35.0831, -44.1164, 3.7933}, {35.0232, -40.0716, 1.5901}, 1.8645},
    {{22.7233, 20.0904, -46.6940}, {23.0331, 14.9730, -42.5619}, 2.0373},
    {{36.4612, 47.8580, 18.3852}, {36.2715, 50.5065, 21.2231}, 1.4146},
    {{90.8027, -2.0831, 1.4410}, {91.1528, -1.6435, 0.0447}, 1.4441},
    {{90.9257, -0.5406, -0.9208}, {88.6381, -0.8985, -0.7239}, 1.5381},
    {{6.7747, -0.2908, -2.4247}, {5.8714, -0.0985, -2.2286}, 0.6377},
    {{2.0776, 0.0795, -1.1350}, {0.9033, -0.0636, -0.5514}, 0.9082},
};

TEST(ColourDifference, PublishedPairsComeOutToTheFourthPlaceBothWays) {
    for (const Pair& pair : kPublishedPairs) {
        EXPECT_NEAR(DeltaE2000(pair.first, pair.second), pair.difference, 0.00005)
            << pair.second.l << " " << pair.second.a << " " << pair.second.b;
        EXPECT_NEAR(DeltaE2000(pair.second, pair.first), pair.difference, 0.00005);
    }
}

TEST(ColourDifference, EqualColoursDoNotDiffer) {
    EXPECT_EQ(zvtest::DeltaE2000({50, 20, -30}, {50, 20, -30}), 0);
    EXPECT_EQ(zvtest::DeltaE76({50, 20, -30}, {50, 20, -30}), 0);
}

TEST(ColourDifference, HueDifferencesGoTheShortWayRound) {
    EXPECT_NEAR(zvtest::HueDifferenceDegrees({50, 10, 1}, {50, 10, -1}), 11.4212, 0.0001);
    EXPECT_NEAR(zvtest::HueDegrees({50, 0, -5}), 270, 1e-9);
    EXPECT_EQ(zvtest::HueDegrees({50, 0, 0}), 0);
}

TEST(CieFormulas, LabAndXyzInvertEachOtherOnBothSidesOfTheLine) {
    for (int step = 0; step <= 40; ++step) {
        for (const double a : {-40.0, -20.0, 0.0, 20.0, 40.0}) {
            const Lab lab{step * 2.5, a, a / 2};
            const Lab back = zvtest::XyzToLab(zvtest::LabToXyz(lab));
            EXPECT_LT(zvtest::DeltaE76(lab, back), 1e-9) << lab.l << " " << a;
        }
    }
}

TEST(CieFormulas, WhiteIsHundredAndGreysAreNeutral) {
    EXPECT_NEAR(zvtest::SrgbToLab(255, 255, 255).l, 100, 0.001);
    for (int value = 0; value < 256; ++value) {
        const auto byte = static_cast<uint8_t>(value);
        // The adapted primaries have four places; their sum misses the white by less than this.
        EXPECT_LT(zvtest::Chroma(zvtest::SrgbToLab(byte, byte, byte)), 0.025);
        EXPECT_NEAR(zvtest::LinearToSrgb(zvtest::SrgbToLinear(value / 255.0)), value / 255.0, 1e-7);
    }
}

TEST(CieFormulas, PrimariesOfSrgbLieWhereTheyAreKnownToLie) {
    // Lab under D50 of the sRGB primaries after Bradford adaptation, as colour handbooks list them.
    EXPECT_LT(zvtest::DeltaE76(zvtest::SrgbToLab(255, 0, 0), {54.29, 80.81, 69.89}), 0.1);
    EXPECT_LT(zvtest::DeltaE76(zvtest::SrgbToLab(0, 255, 0), {87.82, -79.27, 80.99}), 0.1);
    EXPECT_LT(zvtest::DeltaE76(zvtest::SrgbToLab(0, 0, 255), {29.57, 68.30, -112.03}), 0.1);
}

TEST(CieFormulas, LabWordsAreTheLegacyEncoding) {
    const Lab white = zvtest::LabFromWords(0xFF00, 0x8000, 0x8000);
    EXPECT_NEAR(white.l, 100, 1e-12);
    EXPECT_EQ(white.a, 0);
    EXPECT_EQ(zvtest::LabFromWords(0, 0, 0x8100).b, 1);
}

}  // namespace
