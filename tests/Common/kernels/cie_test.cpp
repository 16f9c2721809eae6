#include "Common/kernels/cie.h"

#include <gtest/gtest.h>

#include "Common/kernels/kernels.h"
#include "tests/Common/kernels/few_pixels.h"

namespace zv::test {

namespace {

TEST(XyzFromHub, Black) { EXPECT_EQ((Bytes{0, 0, 0}), PixelThrough(ClrXyzFromHub, {0, 0, 0})); }

TEST(XyzFromHub, White) { EXPECT_EQ((Bytes{219, 242, 249}), PixelThrough(ClrXyzFromHub, {255, 255, 255})); }

TEST(XyzFromHub, BlueHasNoPartInX) {
    EXPECT_EQ((Bytes{0, 2, 208}), PixelThrough(ClrXyzFromHub, {0, 0, 255}));
    EXPECT_EQ(PixelThrough(ClrXyzFromHub, {90, 30, 0})[0], PixelThrough(ClrXyzFromHub, {90, 30, 255})[0]);
}

TEST(XyzFromHub, RedAndGreen) {
    // 161.33, 52.16, 32.38; 58.25, 188.02, 8.71.
    EXPECT_EQ((Bytes{161, 52, 32}), PixelThrough(ClrXyzFromHub, {255, 0, 0}));
    EXPECT_EQ((Bytes{58, 188, 8}), PixelThrough(ClrXyzFromHub, {0, 255, 0}));
}

TEST(XyzToHub, White) { EXPECT_EQ((Bytes{254, 254, 255}), PixelThrough(ClrXyzToHub, {219, 242, 249})); }

TEST(XyzToHub, Red) { EXPECT_EQ((Bytes{254, 0, 0}), PixelThrough(ClrXyzToHub, {161, 52, 32})); }

TEST(XyzToHub, ClampsOnBothSides) {
    EXPECT_EQ((Bytes{255, 0, 0}), PixelThrough(ClrXyzToHub, {255, 0, 0}));
    EXPECT_EQ((Bytes{0, 255, 5}), PixelThrough(ClrXyzToHub, {0, 255, 0}));
}

TEST(LabFromHub, Greys) {
    EXPECT_EQ((Bytes{0, 0, 0}), PixelThrough(ClrLabFromHub, {0, 0, 0}));
    EXPECT_EQ((Bytes{255, 0, 0}), PixelThrough(ClrLabFromHub, {255, 255, 255}));
    EXPECT_EQ((Bytes{135, 0, 0}), PixelThrough(ClrLabFromHub, {128, 128, 128}));
}

TEST(LabFromHub, PrimariesHaveSignedChroma) {
    EXPECT_EQ((Bytes{135, 80, 67}), PixelThrough(ClrLabFromHub, {255, 0, 0}));
    EXPECT_EQ((Bytes{221, 170, 83}), PixelThrough(ClrLabFromHub, {0, 255, 0}));
    EXPECT_EQ((Bytes{81, 79, 149}), PixelThrough(ClrLabFromHub, {0, 0, 255}));
    EXPECT_EQ(-86, SignExtend(170));
    EXPECT_EQ(-107, SignExtend(149));
}

TEST(LabToHub, White) { EXPECT_EQ((Bytes{255, 255, 255}), PixelThrough(ClrLabToHub, {255, 0, 0})); }

TEST(LabToHub, MidGreyLosesFourLevels) { EXPECT_EQ((Bytes{124, 124, 124}), PixelThrough(ClrLabToHub, {135, 0, 0})); }

TEST(LabToHub, Red) { EXPECT_EQ((Bytes{250, 0, 0}), PixelThrough(ClrLabToHub, {135, 80, 67})); }

TEST(LabToHub, Black) { EXPECT_EQ((Bytes{0, 0, 0}), PixelThrough(ClrLabToHub, {0, 0, 0})); }

TEST(PixelToLab, LightnessRunsTo100) {
    EXPECT_EQ((Pixel<3>{100, 0, 0}), ClrPixelToLab(255, 255, 255));
    EXPECT_EQ((Pixel<3>{53, 0, 0}), ClrPixelToLab(128, 128, 128));
    EXPECT_EQ((Pixel<3>{0, 0, 0}), ClrPixelToLab(0, 0, 0));
}

TEST(PixelToLab, GreyOfEveryLevelHasNoChroma) {
    for (int32_t grey = 0; grey < 256; ++grey) {
        const auto v = static_cast<uint8_t>(grey);
        const Pixel<3> lab = ClrPixelToLab(v, v, v);
        EXPECT_EQ(0, lab[1]) << grey;
        EXPECT_EQ(0, lab[2]) << grey;
    }
}

TEST(LabToPixel, TakesAnyInteger) {
    EXPECT_EQ((Rgb{255, 255, 255}), ClrLabToPixel(100, 0, 0));
    EXPECT_EQ((Rgb{255, 255, 255}), ClrLabToPixel(10000, 0, 0));
    EXPECT_EQ((Rgb{0, 0, 0}), ClrLabToPixel(-10000, 0, 0));
    EXPECT_EQ((Rgb{255, 255, 255}), ClrLabToPixel(INT32_MAX, 0, 0));
    EXPECT_EQ((Rgb{0, 0, 0}), ClrLabToPixel(INT32_MIN, 0, 0));
}

TEST(LabToHub, FirstByteTruncatesToL) {
    // 252 / 2.55 = 98.8 and 250 / 2.55 = 98.04 are one L; 249 / 2.55 = 97.6 is another.
    EXPECT_EQ(PixelThrough(ClrLabToHub, {252, 0, 0}), PixelThrough(ClrLabToHub, {250, 0, 0}));
    EXPECT_NE(PixelThrough(ClrLabToHub, {250, 0, 0}), PixelThrough(ClrLabToHub, {249, 0, 0}));
}

class CieOrder : public testing::TestWithParam<int32_t> {};

TEST_P(CieOrder, BlueFirstReadsAndWritesRedInByte2) {
    const ClrKernelPair& pair = *FindKernelPair(GetParam());
    const Bytes coloured = PixelThrough(pair.fromHub, {200, 100, 50}, 3, 1);
    EXPECT_EQ(coloured, PixelThrough(pair.fromHub, {50, 100, 200}, 3, 0));
    Bytes redFirst = PixelThrough(pair.toHub, coloured, 3, 1);
    std::swap(redFirst[0], redFirst[2]);
    EXPECT_EQ(redFirst, PixelThrough(pair.toHub, coloured, 3, 0));
}

INSTANTIATE_TEST_SUITE_P(Spaces, CieOrder, testing::Values(CLRSPACE_XYZ, CLRSPACE_LAB));

}  // namespace

}  // namespace zv::test
