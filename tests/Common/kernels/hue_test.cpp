#include "Common/kernels/hue.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "Common/kernels/kernels.h"
#include "tests/Common/kernels/few_pixels.h"

namespace zv::test {

namespace {

// --- HSV ------------------------------------------------------------------------------------------------------------

TEST(HsvFromHub, GreysHaveNoHue) {
    EXPECT_EQ((Bytes{0, 0, 0}), PixelThrough(ClrHsvFromHub, {0, 0, 0}));
    EXPECT_EQ((Bytes{0, 0, 255}), PixelThrough(ClrHsvFromHub, {255, 255, 255}));
    EXPECT_EQ((Bytes{0, 0, 128}), PixelThrough(ClrHsvFromHub, {128, 128, 128}));
}

TEST(HsvFromHub, Primaries) {
    EXPECT_EQ((Bytes{0, 255, 255}), PixelThrough(ClrHsvFromHub, {255, 0, 0}));
    EXPECT_EQ((Bytes{85, 255, 255}), PixelThrough(ClrHsvFromHub, {0, 255, 0}));
    EXPECT_EQ((Bytes{170, 255, 255}), PixelThrough(ClrHsvFromHub, {0, 0, 255}));
}

TEST(HsvFromHub, ATieFallsToTheEarlierChannel) {
    EXPECT_EQ((Bytes{42, 255, 255}), PixelThrough(ClrHsvFromHub, {255, 255, 0}));   // 60 degrees by red
    EXPECT_EQ((Bytes{127, 255, 255}), PixelThrough(ClrHsvFromHub, {0, 255, 255}));  // 180 by green
    EXPECT_EQ((Bytes{212, 255, 255}), PixelThrough(ClrHsvFromHub, {255, 0, 255}));  // -60 by red, and a turn
}

TEST(HsvFromHub, Brown) { EXPECT_EQ((Bytes{14, 191, 200}), PixelThrough(ClrHsvFromHub, {200, 100, 50})); }

TEST(HsvFromHub, QuotientsRoundHalvesAwayFromZero) {
    // S 1 * 255 / 2 = 127.5, and H 60 * 1 / 1.
    EXPECT_EQ((Bytes{42, 128, 2}), PixelThrough(ClrHsvFromHub, {2, 2, 1}));
    // H (0 - 1) * 60 / 8 = -7.5, which is -8: 352 degrees.
    EXPECT_EQ((Bytes{249, 255, 8}), PixelThrough(ClrHsvFromHub, {8, 0, 1}));
}

TEST(HsvToHub, YellowDoesNotComeBackWhole) {
    EXPECT_EQ((Bytes{255, 251, 0}), PixelThrough(ClrHsvToHub, {42, 255, 255}));
}

TEST(HsvToHub, Brown) { EXPECT_EQ((Bytes{200, 98, 51}), PixelThrough(ClrHsvToHub, {14, 191, 200})); }

TEST(HsvToHub, HueOf360DegreesCountsAsZero) {
    EXPECT_EQ((Bytes{255, 0, 0}), PixelThrough(ClrHsvToHub, {255, 255, 255}));
    EXPECT_EQ(PixelThrough(ClrHsvToHub, {0, 77, 199}), PixelThrough(ClrHsvToHub, {255, 77, 199}));
}

TEST(HsvToHub, WithoutSaturationTheHueIsIgnored) {
    for (int32_t hue = 0; hue < 256; ++hue) {
        EXPECT_EQ((Bytes{9, 9, 9}), PixelThrough(ClrHsvToHub, {static_cast<uint8_t>(hue), 0, 9}));
    }
}

void ExpectHue(int32_t r, int32_t g, int32_t b, int32_t degrees, int32_t saturation, int32_t value) {
    const HueRgb colour = ClrHueToRgb(degrees, saturation, value);
    EXPECT_EQ(r, colour.r) << degrees;
    EXPECT_EQ(g, colour.g) << degrees;
    EXPECT_EQ(b, colour.b) << degrees;
}

TEST(HueToRgb, EachSectorHasItsOwnArrangement) {
    // S 255, V 100: p 0; thirty degrees into a sector q and t are 100 - 25500 * 30 / 15300 = 50.
    ExpectHue(100, 50, 0, 30, 255, 100);
    ExpectHue(50, 100, 0, 90, 255, 100);
    ExpectHue(0, 100, 50, 150, 255, 100);
    ExpectHue(0, 50, 100, 210, 255, 100);
    ExpectHue(50, 0, 100, 270, 255, 100);
    ExpectHue(100, 0, 50, 330, 255, 100);
    ExpectHue(100, 0, 0, 360, 255, 100);
}

TEST(HueToRgb, BeyondTheCircleIsBlack) {
    ExpectHue(0, 0, 0, 361, 255, 100);
    ExpectHue(0, 0, 0, 420, 255, 100);
    ExpectHue(0, 0, 0, -60, 255, 100);
}

TEST(HueToRgb, DivisionsTruncate) {
    // sv 100 * 77 = 7700: p 77 - 30; at 20 degrees t 77 - 7700 * 40 / 15300 = 77 - 20.
    ExpectHue(77, 57, 47, 20, 100, 77);
    // q 77 - 7700 * 20 / 15300 = 77 - 10.
    ExpectHue(67, 77, 47, 80, 100, 77);
}

// --- HLS ------------------------------------------------------------------------------------------------------------

TEST(HlsFromHub, GreysHaveNoHue) {
    EXPECT_EQ((Bytes{0, 0, 0}), PixelThrough(ClrHlsFromHub, {0, 0, 0}));
    EXPECT_EQ((Bytes{0, 255, 0}), PixelThrough(ClrHlsFromHub, {255, 255, 255}));
    EXPECT_EQ((Bytes{0, 128, 0}), PixelThrough(ClrHlsFromHub, {128, 128, 128}));
}

TEST(HlsFromHub, PrimariesAndYellow) {
    EXPECT_EQ((Bytes{0, 128, 255}), PixelThrough(ClrHlsFromHub, {255, 0, 0}));
    EXPECT_EQ((Bytes{85, 128, 255}), PixelThrough(ClrHlsFromHub, {0, 255, 0}));
    EXPECT_EQ((Bytes{170, 128, 255}), PixelThrough(ClrHlsFromHub, {0, 0, 255}));
    EXPECT_EQ((Bytes{42, 128, 255}), PixelThrough(ClrHlsFromHub, {255, 255, 0}));
}

TEST(HlsFromHub, NegativeHuesWrapBy255) {
    // Magenta: bc - gc = 0 - 42.
    EXPECT_EQ((Bytes{213, 128, 255}), PixelThrough(ClrHlsFromHub, {255, 0, 255}));
}

TEST(HlsFromHub, DarkAndLightSaturationDifferInTheirSum) {
    // Sum 250, L 251 * 255 / 510 = 125, d 150: S (125 + 38250) / 250 = 153; H bc - gc = 42 - 28.
    EXPECT_EQ((Bytes{14, 125, 153}), PixelThrough(ClrHlsFromHub, {200, 100, 50}));
    // Sum 400, L 200, so 110: S (55 + 100 * 255) / 110 = 232; H 42 - 21.
    EXPECT_EQ((Bytes{21, 200, 232}), PixelThrough(ClrHlsFromHub, {250, 200, 150}));
}

TEST(HlsToHub, RedHasALittleOfTheOthers) { EXPECT_EQ((Bytes{255, 1, 1}), PixelThrough(ClrHlsToHub, {0, 128, 255})); }

TEST(HlsToHub, YellowOvershootsAndWraps) { EXPECT_EQ((Bytes{5, 255, 1}), PixelThrough(ClrHlsToHub, {42, 128, 255})); }

TEST(HlsToHub, Brown) { EXPECT_EQ((Bytes{200, 100, 50}), PixelThrough(ClrHlsToHub, {14, 125, 153})); }

TEST(HlsToHub, RampsChangeAt42And127And170) {
    // L 100, S 255: m2 (510 * 100 + 127) / 255 = 200, m1 0; green is value(H).
    const auto green = [](int32_t hue) {
        return int32_t{PixelThrough(ClrHlsToHub, {static_cast<uint8_t>(hue), 100, 255})[1]};
    };
    EXPECT_EQ(0, green(0));
    EXPECT_EQ((200 * 41 + 21) / 42, green(41));
    EXPECT_EQ(200, green(42));
    EXPECT_EQ(200, green(126));
    EXPECT_EQ((200 * 43 + 21) / 42, green(127));  // 205, above the plateau
    EXPECT_EQ(200, green(128));
    EXPECT_EQ((200 * 1 + 21) / 42, green(169));
    EXPECT_EQ(0, green(170));
    EXPECT_EQ(0, green(255));
}

TEST(HlsToHub, GreysNeedHueZero) {
    EXPECT_EQ((Bytes{128, 128, 128}), PixelThrough(ClrHlsToHub, {0, 128, 0}));
    EXPECT_EQ((Bytes{255, 255, 255}), PixelThrough(ClrHlsToHub, {0, 255, 0}));
}

TEST(HlsToHub, EveryGreyWithAHueIsAnError) {
    for (int32_t hue = 1; hue < 256; ++hue) {
        for (int32_t lightness = 0; lightness < 256; ++lightness) {
            const uint8_t pixel[3] = {static_cast<uint8_t>(hue), static_cast<uint8_t>(lightness), 0};
            uint8_t out[3] = {1, 2, 3};
            ASSERT_EQ(ERR_BAD_TAG, ClrHlsToHub(pixel, out, 1, 1, 0, 0, 1)) << hue << ", " << lightness;
            ASSERT_TRUE(out[0] == 1 && out[1] == 2 && out[2] == 3);
        }
    }
}

TEST(HlsToHub, StopsAtTheFirstErrorAndKeepsWhatStands) {
    for (const int32_t width : {1, 2, 63, 64, 65, 130}) {
        for (const int32_t height : {1, 2, 3}) {
            const auto pixels = static_cast<size_t>(width) * static_cast<size_t>(height);
            for (const size_t bad : {size_t{0}, pixels / 2, pixels - 1}) {
                Bytes source;
                for (size_t i = 0; i < pixels; ++i) source.insert(source.end(), {0, static_cast<uint8_t>(i), 0});
                source[bad * 3] = 10;
                Bytes out(pixels * 3, 0xCC);
                ASSERT_EQ(ERR_BAD_TAG, ClrHlsToHub(source.data(), out.data(), width, height, 0, 0, 1));
                for (size_t i = 0; i < pixels * 3; ++i) {
                    ASSERT_EQ(i < bad * 3 ? static_cast<uint8_t>(i / 3) : 0xCC, out[i]) << i << " of " << width;
                }
            }
        }
    }
}

TEST(ClrConvert, AnHlsErrorReachesTheCaller) {
    const uint8_t source[6] = {0, 128, 255, 10, 128, 0};
    uint8_t out[6] = {};
    EXPECT_EQ(-37, Zv_ClrConvertDirect(CLRSPACE_HLS, CLRSPACE_RGB, source, out, 2, 1, 0, 0));
    EXPECT_EQ(255, out[0]);
    ClrHandle* converter = nullptr;
    ASSERT_EQ(CLR_SUCCESS, Zv_ClrInit(&converter, CLRSPACE_HLS, CLRSPACE_BGR, nullptr));
    EXPECT_EQ(-37, Zv_ClrConvert(converter, source, out, 2, 1, 0, 0));
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(converter));
}

// --- HSI ------------------------------------------------------------------------------------------------------------

TEST(HsiFromHub, GreysHaveTheHue255) {
    EXPECT_EQ((Bytes{0, 255, 0}), PixelThrough(ClrHsiFromHub, {0, 0, 0}));
    EXPECT_EQ((Bytes{255, 255, 0}), PixelThrough(ClrHsiFromHub, {255, 255, 255}));
    EXPECT_EQ((Bytes{128, 255, 0}), PixelThrough(ClrHsiFromHub, {128, 128, 128}));
}

TEST(HsiFromHub, Primaries) {
    EXPECT_EQ((Bytes{85, 56, 255}), PixelThrough(ClrHsiFromHub, {255, 0, 0}));
    EXPECT_EQ((Bytes{85, 200, 255}), PixelThrough(ClrHsiFromHub, {0, 255, 0}));
    EXPECT_EQ((Bytes{85, 55, 255}), PixelThrough(ClrHsiFromHub, {0, 0, 255}));
}

TEST(HsiFromHub, SmallChromaHasNoAngle) {
    EXPECT_EQ((Bytes{0, 255, 0}), PixelThrough(ClrHsiFromHub, {1, 0, 0}));
    // 3, 1, 2: (2 * 0.5 + 3 - 2) / (-1 * 1 + 4) = 2 / 3, whose acos is 0.841: 255 - 107.
    EXPECT_EQ((Bytes{2, 148, 127}), PixelThrough(ClrHsiFromHub, {3, 1, 2}));
}

TEST(HsiFromHub, AnglesAboveByteRangeWrap) {
    // 0, 2, 1: (-2 * 0.5 + 0 - 1) / ((2 - 1) * (0 - 1) + 4) = -2 / 3, acos 2.3005: 293 is 37 in a byte.
    EXPECT_EQ(37, PixelThrough(ClrHsiFromHub, {0, 2, 1})[1]);
}

TEST(HsiToHub, GreyStaysGrey) { EXPECT_EQ((Bytes{128, 128, 128}), PixelThrough(ClrHsiToHub, {128, 255, 0})); }

TEST(HsiToHub, Red) { EXPECT_EQ((Bytes{154, 101, 0}), PixelThrough(ClrHsiToHub, {85, 56, 255})); }

TEST(HsiToHub, HueStepsThroughItsThreeBranches) {
    // The bytes 85 and 170 are the ends of the thirds: 85 / 255 * 3.1415926535 is the first bound or just off it.
    EXPECT_EQ(0, PixelThrough(ClrHsiToHub, {100, 0, 255})[2]);    // blue low
    EXPECT_EQ(0, PixelThrough(ClrHsiToHub, {100, 120, 255})[0]);  // red low
    EXPECT_EQ(0, PixelThrough(ClrHsiToHub, {100, 200, 255})[1]);  // green low
}

TEST(HsiToHub, BrightValuesClampAt255) {
    // H 0, S 255, I 200: peak (1 / 0.5 + 1) * 200 = 600, low 0, rest 600 - 600.
    const Bytes bright = PixelThrough(ClrHsiToHub, {200, 0, 255});
    EXPECT_EQ(255, bright[0]);
    EXPECT_EQ(0, bright[2]);
}

class HueOrder : public testing::TestWithParam<int32_t> {};

TEST_P(HueOrder, BlueFirstReadsAndWritesRedInByte2) {
    const ClrKernelPair& pair = *FindKernelPair(GetParam());
    const Bytes coloured = PixelThrough(pair.fromHub, {200, 100, 50}, 3, 1);
    EXPECT_EQ(coloured, PixelThrough(pair.fromHub, {50, 100, 200}, 3, 0));
    Bytes redFirst = PixelThrough(pair.toHub, coloured, 3, 1);
    std::swap(redFirst[0], redFirst[2]);
    EXPECT_EQ(redFirst, PixelThrough(pair.toHub, coloured, 3, 0));
}

INSTANTIATE_TEST_SUITE_P(Spaces, HueOrder, testing::Values(CLRSPACE_HSV, CLRSPACE_HLS, CLRSPACE_HSI));

}  // namespace

}  // namespace zv::test
