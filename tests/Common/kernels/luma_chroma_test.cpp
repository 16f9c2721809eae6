#include "Common/kernels/luma_chroma.h"

#include <gtest/gtest.h>

#include "Common/kernels/kernels.h"
#include "tests/Common/kernels/few_pixels.h"

namespace zv::test {

namespace {

TEST(YuvFromHub, BlackHasChromaInTheMiddle) { EXPECT_EQ((Bytes{0, 128, 128}), PixelThrough(ClrYuvFromHub, {0, 0, 0})); }

TEST(YuvFromHub, WhiteReaches255) { EXPECT_EQ((Bytes{255, 128, 128}), PixelThrough(ClrYuvFromHub, {255, 255, 255})); }

TEST(YuvFromHub, MidGreyTruncatesLumaTo127) {
    EXPECT_EQ((Bytes{127, 128, 128}), PixelThrough(ClrYuvFromHub, {128, 128, 128}));
}

TEST(YuvFromHub, RedClampsVAtTheTop) { EXPECT_EQ((Bytes{76, 85, 255}), PixelThrough(ClrYuvFromHub, {255, 0, 0})); }

TEST(YuvFromHub, Green) { EXPECT_EQ((Bytes{149, 44, 6}), PixelThrough(ClrYuvFromHub, {0, 255, 0})); }

TEST(YuvFromHub, BlueClampsUAtTheTop) { EXPECT_EQ((Bytes{29, 255, 104}), PixelThrough(ClrYuvFromHub, {0, 0, 255})); }

TEST(YuvFromHub, LumaTruncatesAndChromaRounds) {
    // Y 1 * 0.587 = 0.587; U (112 - 0.288) / 223 * 255 + 0.5 = 128.24...; V (138 - 0.517) / 275 * 255 + 0.5 = 127.98...
    EXPECT_EQ((Bytes{0, 128, 127}), PixelThrough(ClrYuvFromHub, {0, 1, 0}));
    // Y 0.299 * 3 + 0.114 = 1.011; V (138 + 1.851 - 0.1) / 275 * 255 + 0.5 = 130.08...
    EXPECT_EQ(1, PixelThrough(ClrYuvFromHub, {3, 0, 1})[0]);
    EXPECT_EQ(130, PixelThrough(ClrYuvFromHub, {3, 0, 1})[2]);
}

TEST(YuvToHub, Black) { EXPECT_EQ((Bytes{0, 0, 0}), PixelThrough(ClrYuvToHub, {0, 128, 128})); }

TEST(YuvToHub, WhiteLosesBlue) { EXPECT_EQ((Bytes{255, 255, 252}), PixelThrough(ClrYuvToHub, {255, 128, 128})); }

TEST(YuvToHub, DecodedChromaSpansItsRange) {
    EXPECT_EQ(-112, Yuv::DecodeU(0));
    EXPECT_EQ(-1, Yuv::DecodeU(128));
    EXPECT_EQ(111, Yuv::DecodeU(255));
    EXPECT_EQ(-138, Yuv::DecodeV(0));
    EXPECT_EQ(0, Yuv::DecodeV(128));
    EXPECT_EQ(137, Yuv::DecodeV(255));
}

TEST(YuvToHub, CrossTermsTakePart) {
    // U' 111: R 50 + (-29 * 111 >> 15) = 49, G 50 + (-12943 * 111 >> 15) = 6, B 50 + 226 clamped.
    EXPECT_EQ((Bytes{49, 6, 255}), PixelThrough(ClrYuvToHub, {50, 255, 128}));
    // V' 137: R 50 + 155, G 50 + (-18940 * 137 >> 15) = -30 clamped, B 50 + (-33 * 137 >> 15) = 49; U' is -1, which
    // takes three more off B: (-66883 - 4521) >> 15.
    EXPECT_EQ((Bytes{205, 0, 47}), PixelThrough(ClrYuvToHub, {50, 128, 255}));
}

TEST(YuvToHub, TheShiftRoundsTowardMinusInfinity) {
    // U' is -1 and V' 0: G takes 12943 >> 15 = 0, B takes -66883 >> 15 = -3, R takes 29 >> 15 = 0.
    EXPECT_EQ((Bytes{100, 100, 97}), PixelThrough(ClrYuvToHub, {100, 128, 128}));
}

TEST(YiqFromHub, WhiteReachesOnly247) {
    EXPECT_EQ((Bytes{247, 128, 128}), PixelThrough(ClrYiqFromHub, {255, 255, 255}));
}

TEST(YiqFromHub, Black) { EXPECT_EQ((Bytes{0, 128, 128}), PixelThrough(ClrYiqFromHub, {0, 0, 0})); }

TEST(YiqFromHub, Red) { EXPECT_EQ((Bytes{74, 255, 180}), PixelThrough(ClrYiqFromHub, {255, 0, 0})); }

TEST(YiqFromHub, LumaRounds) {
    // 0.587 * 255 / 263 + 0.5 = 1.069...
    EXPECT_EQ(1, PixelThrough(ClrYiqFromHub, {0, 1, 0})[0]);
}

TEST(YiqToHub, NearWhiteIsGrey254) { EXPECT_EQ((Bytes{254, 254, 254}), PixelThrough(ClrYiqToHub, {247, 128, 128})); }

TEST(YiqToHub, DecodedValuesTruncateTowardZero) {
    EXPECT_EQ(0, Yiq::DecodeY(0));
    EXPECT_EQ(263, Yiq::DecodeY(255));
    EXPECT_EQ(-152, Yiq::DecodeI(0));
    EXPECT_EQ(0, Yiq::DecodeI(128));   // 0.094
    EXPECT_EQ(-1, Yiq::DecodeI(127));  // -1.094
    EXPECT_EQ(151, Yiq::DecodeI(255));
    EXPECT_EQ(-134, Yiq::DecodeQ(0));
    EXPECT_EQ(-1, Yiq::DecodeQ(127));  // -1.023
    EXPECT_EQ(133, Yiq::DecodeQ(255));
}

TEST(YiqToHub, ResultsClampAndTruncate) {
    // Y' 0, I' 151, Q' 133: 226.949, -127.123, 59.511.
    EXPECT_EQ((Bytes{226, 0, 59}), PixelThrough(ClrYiqToHub, {0, 255, 255}));
    // Y' 257: 483.949, 129.877, 316.511.
    EXPECT_EQ((Bytes{255, 129, 255}), PixelThrough(ClrYiqToHub, {250, 255, 255}));
}

TEST(YcbcrFromHub, WhiteHasNoChroma) { EXPECT_EQ((Bytes{255, 0, 0}), PixelThrough(ClrYcbcrFromHub, {255, 255, 255})); }

TEST(YcbcrFromHub, Black) { EXPECT_EQ((Bytes{0, 0, 0}), PixelThrough(ClrYcbcrFromHub, {0, 0, 0})); }

TEST(YcbcrFromHub, RedClampsCrAt127) {
    EXPECT_EQ((Bytes{76, Signed(-43), 127}), PixelThrough(ClrYcbcrFromHub, {255, 0, 0}));
}

TEST(YcbcrFromHub, BlueClampsCbAt127) {
    EXPECT_EQ((Bytes{29, 127, Signed(-20)}), PixelThrough(ClrYcbcrFromHub, {0, 0, 255}));
}

TEST(YcbcrFromHub, ChromaTruncatesTowardZero) {
    // Cb -0.33126, Cr -0.41869.
    EXPECT_EQ((Bytes{0, 0, 0}), PixelThrough(ClrYcbcrFromHub, {0, 1, 0}));
    // Cb -1.32504, Cr -1.67476.
    EXPECT_EQ((Bytes{2, Signed(-1), Signed(-1)}), PixelThrough(ClrYcbcrFromHub, {0, 4, 0}));
}

TEST(YcbcrToHub, RedLosesOneLevel) {
    EXPECT_EQ((Bytes{254, 0, 0}), PixelThrough(ClrYcbcrToHub, {76, Signed(-43), 127}));
}

TEST(YcbcrToHub, ChromaHasNoOffset) {
    EXPECT_EQ((Bytes{100, 100, 100}), PixelThrough(ClrYcbcrToHub, {100, 0, 0}));
    // Cb -128: B 100 - 226.8 clamped, G 100 + 44.04; Cr -128: R clamped, G + 91.40.
    EXPECT_EQ((Bytes{0, 235, 0}), PixelThrough(ClrYcbcrToHub, {100, Signed(-128), Signed(-128)}));
}

class LumaChromaOrder : public testing::TestWithParam<int32_t> {};

TEST_P(LumaChromaOrder, BlueFirstReadsAndWritesRedInByte2) {
    const ClrKernelPair& pair = *FindKernelPair(GetParam());
    const Bytes coloured = PixelThrough(pair.fromHub, {200, 100, 50}, 3, 1);
    EXPECT_EQ(coloured, PixelThrough(pair.fromHub, {50, 100, 200}, 3, 0));
    const Bytes redFirst = PixelThrough(pair.toHub, coloured, 3, 1);
    const Bytes blueFirst = PixelThrough(pair.toHub, coloured, 3, 0);
    EXPECT_EQ((Bytes{redFirst[2], redFirst[1], redFirst[0]}), blueFirst);
    EXPECT_NE(redFirst, blueFirst);
}

TEST_P(LumaChromaOrder, AnyOrderButZeroIsRedFirst) {
    const ClrKernelPair& pair = *FindKernelPair(GetParam());
    for (const int32_t order : {-1, 2, 12, 1 << 30}) {
        EXPECT_EQ(PixelThrough(pair.fromHub, {200, 100, 50}, 3, 1),
                  PixelThrough(pair.fromHub, {200, 100, 50}, 3, order));
        EXPECT_EQ(PixelThrough(pair.toHub, {200, 100, 50}, 3, 1), PixelThrough(pair.toHub, {200, 100, 50}, 3, order));
    }
}

INSTANTIATE_TEST_SUITE_P(Spaces, LumaChromaOrder, testing::Values(CLRSPACE_YUV, CLRSPACE_YIQ, CLRSPACE_YCBCR));

TEST(YuvRoundTrip, WhiteLosesBlue) {
    const Bytes white = {255, 255, 255};
    EXPECT_EQ((Bytes{255, 255, 252}), PixelThrough(ClrYuvToHub, PixelThrough(ClrYuvFromHub, white)));
}

}  // namespace

}  // namespace zv::test
