#include "Common/kernels/print.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "Common/kernels/kernels.h"
#include "tests/Common/kernels/few_pixels.h"
#include "tests/support/instruction_sets.h"
#include "tests/support/recording_host.h"

namespace zv::test {

namespace {

Bytes CmykOf(const Bytes& rgb, int32_t level, int32_t rgbFirst = 1) {
    return RowThrough([&](const uint8_t* s, uint8_t* d,
                          int32_t width) { return ClrCmykFromHub(s, d, width, 1, 0, 0, level, rgbFirst); },
                      rgb, 1, 4);
}

Bytes RgbOf(const Bytes& cmyk, int32_t level, int32_t rgbFirst = 1) {
    return RowThrough([&](const uint8_t* s, uint8_t* d,
                          int32_t width) { return ClrCmykToHub(s, d, width, 1, 0, 0, level, rgbFirst); },
                      cmyk, 1, 3);
}

// --- CMY ------------------------------------------------------------------------------------------------------------

TEST(CmyFromHub, IsTheComplementInBothOrders) {
    EXPECT_EQ((Bytes{55, 155, 205}), PixelThrough(ClrCmyFromHub, {200, 100, 50}));
    EXPECT_EQ((Bytes{55, 155, 205}), PixelThrough(ClrCmyFromHub, {50, 100, 200}, 3, 0));
}

TEST(CmyToHub, IsTheComplementInBothOrders) {
    EXPECT_EQ((Bytes{200, 100, 50}), PixelThrough(ClrCmyToHub, {55, 155, 205}));
    EXPECT_EQ((Bytes{50, 100, 200}), PixelThrough(ClrCmyToHub, {55, 155, 205}, 3, 0));
}

// --- CMYK -----------------------------------------------------------------------------------------------------------

TEST(CmykFromHub, DefaultLevelTakesLittleBlack) {
    EXPECT_EQ((Bytes{255, 255, 255, 44}), CmykOf({0, 0, 0}, 175));
    EXPECT_EQ((Bytes{0, 0, 0, 0}), CmykOf({255, 255, 255}, 175));
    EXPECT_EQ((Bytes{127, 127, 127, 22}), CmykOf({128, 128, 128}, 175));
    EXPECT_EQ((Bytes{0, 255, 255, 0}), CmykOf({255, 0, 0}, 175));
    EXPECT_EQ((Bytes{55, 155, 205, 9}), CmykOf({200, 100, 50}, 175));
}

TEST(CmykFromHub, FullLevelMovesGreyToBlack) {
    EXPECT_EQ((Bytes{0, 0, 0, 255}), CmykOf({0, 0, 0}, 1000));
    EXPECT_EQ((Bytes{0, 0, 0, 127}), CmykOf({128, 128, 128}, 1000));
    EXPECT_EQ((Bytes{46, 146, 196, 55}), CmykOf({200, 100, 50}, 1000));
}

TEST(CmykFromHub, HalfLevel) {
    EXPECT_EQ((Bytes{248, 248, 248, 127}), CmykOf({0, 0, 0}, 500));
    EXPECT_EQ((Bytes{124, 124, 124, 63}), CmykOf({128, 128, 128}, 500));
}

TEST(CmykFromHub, BeyondFullLevelWrapsInEightBits) {
    // t is 255 * 32 = 8160, of which 224 is left; K is 510, of which 254 is left.
    EXPECT_EQ((Bytes{31, 31, 31, 254}), CmykOf({0, 0, 0}, 2000));
    // t is truncate(-255 * 0.03125) = -7, K is truncate(-127.5) = -127.
    EXPECT_EQ((Bytes{6, 6, 6, 129}), CmykOf({0, 0, 0}, -500));
}

TEST(CmykFromHub, LevelsFarOutsideDoNotFault) {
    for (const int32_t level : {INT32_MAX, INT32_MIN}) {
        EXPECT_EQ((Bytes{0, 0, 0, 0}), CmykOf({255, 255, 255}, level));
        EXPECT_EQ(4U, CmykOf({0, 10, 20}, level).size());
        EXPECT_EQ((Bytes{255, 255, 255}), RgbOf({0, 0, 0, 0}, level));
    }
}

TEST(CmykFromHub, BlueFirstReadsRedInByte2) { EXPECT_EQ(CmykOf({200, 100, 50}, 175), CmykOf({50, 100, 200}, 175, 0)); }

TEST(CmykToHub, DefaultLevelIsThePlainComplementWhateverBlackHolds) {
    for (int32_t black = 0; black < 256; ++black) {
        const auto k = static_cast<uint8_t>(black);
        EXPECT_EQ((Bytes{0, 0, 0}), RgbOf({255, 255, 255, k}, 175));
        EXPECT_EQ((Bytes{255, 255, 255}), RgbOf({0, 0, 0, k}, 175));
        EXPECT_EQ((Bytes{128, 128, 128}), RgbOf({127, 127, 127, k}, 175));
        EXPECT_EQ((Bytes{255, 0, 0}), RgbOf({0, 255, 255, k}, 175));
        EXPECT_EQ((Bytes{200, 100, 50}), RgbOf({55, 155, 205, k}, 175));
    }
}

TEST(CmykToHub, BlackIsIgnoredBelowLevel250Only) {
    // At 250 the scale is 1: 256 * 255 >> 8 = 255 is taken off, up to 255 - max.
    EXPECT_EQ((Bytes{255, 255, 255}), RgbOf({0, 0, 0, 255}, 249));
    EXPECT_EQ((Bytes{0, 0, 0}), RgbOf({0, 0, 0, 255}, 250));
    EXPECT_EQ((Bytes{155, 155, 155}), RgbOf({0, 0, 0, 100}, 250));
    // At 500 it is 16: 10 * 16.
    EXPECT_EQ((Bytes{95, 95, 95}), RgbOf({0, 0, 0, 10}, 500));
    // At 1000 it is 256: nothing between no black and all of it.
    EXPECT_EQ((Bytes{255, 255, 255}), RgbOf({0, 0, 0, 0}, 1000));
    EXPECT_EQ((Bytes{0, 0, 0}), RgbOf({0, 0, 0, 1}, 1000));
}

TEST(CmykToHub, FullLevelReachesTheLimit) {
    EXPECT_EQ((Bytes{0, 0, 0}), RgbOf({0, 0, 0, 127}, 1000));
    EXPECT_EQ((Bytes{150, 50, 0}), RgbOf({46, 146, 196, 55}, 1000));
}

TEST(CmykToHub, HalfLevel) {
    EXPECT_EQ((Bytes{0, 0, 0}), RgbOf({124, 124, 124, 63}, 500));
    EXPECT_EQ((Bytes{150, 50, 0}), RgbOf({55, 155, 205, 27}, 500));
}

TEST(CmykToHub, ScaleIsASigned16BitValueAndItsProductIsComparedUnsigned) {
    // 3.365^4 * 256 = 32822 is -32714 in sixteen bits: the product is huge as an unsigned value, and limited.
    EXPECT_EQ((Bytes{0, 0, 0}), RgbOf({0, 0, 0, 1}, 3365));
    // 4000: 65536 is 0 in sixteen bits.
    EXPECT_EQ((Bytes{255, 255, 255}), RgbOf({0, 0, 0, 255}, 4000));
}

TEST(CmykToHub, BlueFirstWritesRedToByte2) { EXPECT_EQ((Bytes{50, 100, 200}), RgbOf({55, 155, 205, 0}, 175, 0)); }

TEST(GcrSquares, AreTheTruncatedSquaresOf256Steps) {
    for (int32_t i = 0; i < 256; ++i) {
        EXPECT_EQ(static_cast<int32_t>(std::pow(i / 255.0, 2.0) * 256.0), ClrGcrSquares[static_cast<size_t>(i)]) << i;
    }
    EXPECT_EQ(0, ClrGcrSquares[0]);
    EXPECT_EQ(1, ClrGcrSquares[16]);
    EXPECT_EQ(64, ClrGcrSquares[128]);
    EXPECT_EQ(253, ClrGcrSquares[254]);
    EXPECT_EQ(256, ClrGcrSquares[255]);
}

// --- YCCK tables ----------------------------------------------------------------------------------------------------

TEST(YcckTables, MembersStandInTheirOrder) {
    EXPECT_EQ(0U, offsetof(ClrYcckTables, rangeLimit));
    EXPECT_EQ(8U, offsetof(ClrYcckTables, rangeBytes));
    const size_t offsets[] = {
        offsetof(ClrYcckTables, rToY),  offsetof(ClrYcckTables, gToY),  offsetof(ClrYcckTables, bToY),
        offsetof(ClrYcckTables, rToCb), offsetof(ClrYcckTables, gToCb), offsetof(ClrYcckTables, bToCb),
        offsetof(ClrYcckTables, gToCr), offsetof(ClrYcckTables, bToCr), offsetof(ClrYcckTables, crToR),
        offsetof(ClrYcckTables, cbToB), offsetof(ClrYcckTables, crToG), offsetof(ClrYcckTables, cbToG)};
    for (size_t i = 0; i < std::size(offsets); ++i) EXPECT_EQ(8 + 1408 + i * 1024, offsets[i]) << i;
    EXPECT_EQ(8 + 1408 + 12 * 1024U, sizeof(ClrYcckTables));
}

TEST(YcckTables, RangeLimitClampsNegativeIndicesToZero) {
    const ClrYcckTables& t = ClrGlobalYcckTables;
    ASSERT_EQ(t.rangeBytes + 256, t.rangeLimit);
    for (int32_t i = -256; i < 0; ++i) EXPECT_EQ(0, t.rangeLimit[i]) << i;
    for (int32_t i = 0; i < 256; ++i) EXPECT_EQ(i, t.rangeLimit[i]) << i;
    for (int32_t i = 256; i < 640; ++i) EXPECT_EQ(255, t.rangeLimit[i]) << i;
    for (int32_t i = 640; i < 1024; ++i) EXPECT_EQ(0, t.rangeLimit[i]) << i;
    for (int32_t i = 1024; i < 1152; ++i) EXPECT_EQ(i - 1024, t.rangeLimit[i]) << i;
}

/// A weight at 16 fractional bits.
int32_t Fixed(double weight) { return static_cast<int32_t>(std::floor(weight * 65536.0 + 0.5)); }

TEST(YcckTables, EncodingHoldsTheJfifWeights) {
    const ClrYcckTables& t = ClrGlobalYcckTables;
    for (int32_t i = 0; i < 256; ++i) {
        EXPECT_EQ(Fixed(0.29900) * i, t.rToY[i]);
        EXPECT_EQ(Fixed(0.58700) * i, t.gToY[i]);
        EXPECT_EQ(Fixed(0.11400) * i + 32768, t.bToY[i]);
        EXPECT_EQ(-Fixed(0.16874) * i, t.rToCb[i]);
        EXPECT_EQ(-Fixed(0.33126) * i, t.gToCb[i]);
        // Offset 128 and a rounding term one short of a half, so that 255 stays the top.
        EXPECT_EQ(Fixed(0.50000) * i + (128 << 16) + 32767, t.bToCb[i]);
        EXPECT_EQ(-Fixed(0.41869) * i, t.gToCr[i]);
        EXPECT_EQ(-Fixed(0.08131) * i, t.bToCr[i]);
    }
    EXPECT_EQ(19595, t.rToY[1]);
    EXPECT_EQ(38470, t.gToY[1]);
    EXPECT_EQ(7471 + 32768, t.bToY[1]);
    EXPECT_EQ(-11059, t.rToCb[1]);
    EXPECT_EQ(-21709, t.gToCb[1]);
    EXPECT_EQ(8421375, t.bToCb[0]);
    EXPECT_EQ(-27439, t.gToCr[1]);
    EXPECT_EQ(-5329, t.bToCr[1]);
}

void ExpectDecodingTables(const ClrYcckTables& t) {
    for (int32_t i = 0; i < 256; ++i) {
        EXPECT_EQ(static_cast<int32_t>(std::floor((91881.0 * (i - 128) + 32768.0) / 65536.0)), t.crToR[i]) << i;
        EXPECT_EQ(static_cast<int32_t>(std::floor((116130.0 * (i - 128) + 32768.0) / 65536.0)), t.cbToB[i]) << i;
        EXPECT_EQ(-46802 * (i - 128), t.crToG[i]) << i;
        EXPECT_EQ(-22554 * (i - 128) + 32768, t.cbToG[i]) << i;
    }
}

TEST(YcckTables, DecodingHoldsTheJfifWeights) {
    EXPECT_EQ(91881, Fixed(1.40200));
    EXPECT_EQ(116130, Fixed(1.77200));
    EXPECT_EQ(46802, Fixed(0.71414));
    EXPECT_EQ(22554, Fixed(0.34414));
    ExpectDecodingTables(ClrGlobalYcckTables);
    EXPECT_EQ(-179, ClrGlobalYcckTables.crToR[0]);
    EXPECT_EQ(178, ClrGlobalYcckTables.crToR[255]);
    EXPECT_EQ(-227, ClrGlobalYcckTables.cbToB[0]);
    EXPECT_EQ(225, ClrGlobalYcckTables.cbToB[255]);
}

TEST(YcckTables, AConverterHasDecodingTablesForAYcckSourceOnly) {
    const HostScope host;
    ClrHandle* converter = nullptr;
    ASSERT_EQ(CLR_SUCCESS, Zv_ClrInit(&converter, CLRSPACE_YCCK, CLRSPACE_RGB, nullptr));
    ASSERT_NE(nullptr, converter->ycckTables);
    EXPECT_EQ(converter->ycckTables->rangeBytes + 256, converter->ycckTables->rangeLimit);
    EXPECT_TRUE(std::equal(std::begin(ClrGlobalYcckTables.rangeBytes), std::end(ClrGlobalYcckTables.rangeBytes),
                           converter->ycckTables->rangeBytes));
    ExpectDecodingTables(*converter->ycckTables);
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(converter));

    ASSERT_EQ(CLR_SUCCESS, Zv_ClrInit(&converter, CLRSPACE_RGB, CLRSPACE_YCCK, nullptr));
    EXPECT_EQ(nullptr, converter->ycckTables);
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(converter));
}

// --- YCCK -----------------------------------------------------------------------------------------------------------

Bytes YcckOf(const Bytes& hub) {
    return RowThrough(
        [](const uint8_t* s, uint8_t* d, int32_t width) { return ClrYcckFromHub(nullptr, s, d, width, 1, 0, 0); }, hub,
        1, 4);
}

Bytes RgbOfYcck(const Bytes& ycck, int32_t rgbFirst = 1) {
    return RowThrough([&](const uint8_t* s, uint8_t* d,
                          int32_t width) { return ClrYcckToHub(nullptr, s, d, width, 1, 0, 0, rgbFirst); },
                      ycck, 1, 3);
}

TEST(YcckFromHub, WithoutConverter) {
    EXPECT_EQ((Bytes{255, 128, 128, 0}), YcckOf({255, 255, 255}));
    EXPECT_EQ((Bytes{255, 128, 128, 255}), YcckOf({0, 0, 0}));
    EXPECT_EQ((Bytes{255, 128, 128, 127}), YcckOf({128, 128, 128}));
    EXPECT_EQ((Bytes{76, 85, 255, 0}), YcckOf({255, 0, 0}));
    EXPECT_EQ((Bytes{179, 86, 182, 55}), YcckOf({200, 100, 50}));
}

TEST(YcckFromHub, TakesByte0ForRedOnEitherHub) {
    const uint8_t red[3] = {255, 0, 0};
    for (const int32_t hub : {CLRSPACE_RGB, CLRSPACE_BGR}) {
        Bytes ycck(4);
        ASSERT_EQ(CLR_SUCCESS, Zv_ClrConvertDirect(hub, CLRSPACE_YCCK, red, ycck.data(), 1, 1, 0, 0));
        EXPECT_EQ((Bytes{76, 85, 255, 0}), ycck);
    }
}

TEST(YcckToHub, WithoutConverter) {
    EXPECT_EQ((Bytes{128, 128, 128}), RgbOfYcck({255, 128, 128, 127}));
    EXPECT_EQ((Bytes{254, 0, 0}), RgbOfYcck({76, 85, 255, 0}));
    EXPECT_EQ((Bytes{200, 122, 82}), RgbOfYcck({179, 86, 182, 55}));
    EXPECT_EQ((Bytes{82, 122, 200}), RgbOfYcck({179, 86, 182, 55}, 0));
}

TEST(YcckToHub, ChannelsMultiplyByBlackAndWrap) {
    // C, M, Y of 0, 128, 128 are 255 - (0, 0, 0): 255 each, and with K 200: 55 - 255 + (255 * 200 + 127) / 255 = 0.
    EXPECT_EQ((Bytes{0, 0, 0}), RgbOfYcck({0, 128, 128, 200}));
}

TEST(YcckKernels, NullsAreRefused) {
    uint8_t bytes[4] = {};
    EXPECT_EQ(ERR_INVALID_PARAMETER, ClrYcckFromHub(nullptr, nullptr, bytes, 1, 1, 0, 0));
    EXPECT_EQ(ERR_INVALID_PARAMETER, ClrYcckFromHub(nullptr, bytes, nullptr, 1, 1, 0, 0));
    EXPECT_EQ(ERR_INVALID_PARAMETER, ClrYcckToHub(nullptr, nullptr, bytes, 1, 1, 0, 0, 1));
    EXPECT_EQ(ERR_INVALID_PARAMETER, ClrYcckToHub(nullptr, bytes, nullptr, 1, 1, 0, 0, 1));
    const ClrYcckTables* tables = &ClrGlobalYcckTables;
    EXPECT_EQ(ERR_INVALID_PARAMETER, ClrCmykToYcck(nullptr, bytes, bytes, 1, 1, 0));
    EXPECT_EQ(ERR_INVALID_PARAMETER, ClrCmykToYcck(tables, nullptr, bytes, 1, 1, 0));
    EXPECT_EQ(ERR_INVALID_PARAMETER, ClrCmykToYcck(tables, bytes, nullptr, 1, 1, 0));
    EXPECT_EQ(ERR_INVALID_PARAMETER, ClrYcckToCmyk(nullptr, bytes, bytes, 1, 1, 0));
    EXPECT_EQ(ERR_INVALID_PARAMETER, ClrYcckToCmyk(tables, nullptr, bytes, 1, 1, 0));
    EXPECT_EQ(ERR_INVALID_PARAMETER, ClrYcckToCmyk(tables, bytes, nullptr, 1, 1, 0));
}

Bytes NoisePixels(size_t bytes) {
    Bytes noise(bytes);
    uint32_t state = 7;
    for (uint8_t& byte : noise) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<uint8_t>(state >> 24);
    }
    return noise;
}

TEST(YcckKernels, ReadTheWholeImageBeforeTheyWriteOverIt) {
    constexpr int32_t kWidth = 37, kHeight = 9, kPixels = kWidth * kHeight;
    const Bytes source = NoisePixels(size_t{kPixels} * 4);
    Bytes apart(source.size()), apartBack(size_t{kPixels} * 3);
    ASSERT_EQ(CLR_SUCCESS, ClrYcckFromHub(nullptr, source.data(), apart.data(), kWidth, kHeight, 0, 0));
    ASSERT_EQ(CLR_SUCCESS, ClrYcckToHub(nullptr, source.data(), apartBack.data(), kWidth, kHeight, 0, 0, 1));
    for (const ClrIsa isa : InstructionSets()) {
        const UseIsa use(isa);
        for (const size_t shift : {size_t{0}, size_t{1}, size_t{130}}) {
            Bytes room(source.size() + 2 * shift);
            std::copy_n(source.begin(), kPixels * 3, room.begin() + static_cast<ptrdiff_t>(shift));
            ASSERT_EQ(CLR_SUCCESS, ClrYcckFromHub(nullptr, &room[shift], room.data(), kWidth, kHeight, 0, 0));
            EXPECT_EQ(apart, Bytes(room.begin(), room.begin() + kPixels * 4)) << testing::PrintToString(isa) << shift;
            std::copy(source.begin(), source.end(), room.begin());
            ASSERT_EQ(CLR_SUCCESS, ClrYcckToHub(nullptr, room.data(), &room[shift], kWidth, kHeight, 0, 0, 1));
            const auto back = room.begin() + static_cast<ptrdiff_t>(shift);
            EXPECT_EQ(apartBack, Bytes(back, back + kPixels * 3)) << testing::PrintToString(isa) << shift;
        }
    }
}

/// A converter's tables are data, and whoever changes an entry gets what they say.
TEST(YcckKernels, FollowTablesThatAreNotTheUsualOnes) {
    constexpr int32_t kPixels = 1000;
    const Bytes in = NoisePixels(size_t{kPixels} * 4);
    for (int change = 0; change < 6; ++change) {
        ClrYcckTables tables{};
        ClrFillYcckRange(tables);
        ClrFillYcckDecoding(tables);
        if (change != 0) ClrFillYcckEncoding(tables);
        if (change == 2) tables.crToR[200] ^= 5;
        if (change == 3) tables.rangeBytes[300] ^= 7;
        if (change == 4) tables.bToCr[255] += 70000;
        if (change == 5) tables.cbToG[0] += 65536 * 4;
        ClrHandle converter{};
        converter.activeMethod = CLRMETHOD_BUILTIN;
        converter.ycckTables = &tables;
        Bytes toYcck, toCmyk, hubToYcck, ycckToHub;
        for (size_t i = 0; i < in.size(); i += 4) {
            const Pixel<4> four = {in[i], in[i + 1], in[i + 2], in[i + 3]};
            const Pixel<3> three = {in[i / 4 * 3], in[i / 4 * 3 + 1], in[i / 4 * 3 + 2]};
            for (const uint8_t byte : Ycck::FromCmyk(tables, four)) toYcck.push_back(byte);
            for (const uint8_t byte : Ycck::ToCmyk(tables, four)) toCmyk.push_back(byte);
            for (const uint8_t byte : Ycck::FromCmyk(tables, Ycck::CmykFromHub(three))) hubToYcck.push_back(byte);
            const Rgb rgb = Ycck::RgbFromCmyk(Ycck::ToCmyk(tables, four));
            for (const uint8_t byte : {rgb.r, rgb.g, rgb.b}) ycckToHub.push_back(byte);
        }
        for (const ClrIsa isa : InstructionSets()) {
            const UseIsa use(isa);
            Bytes four(in.size()), three(size_t{kPixels} * 3);
            ASSERT_EQ(CLR_SUCCESS, ClrCmykToYcck(&tables, in.data(), four.data(), kPixels, 1, 0));
            EXPECT_EQ(toYcck, four) << change;
            ASSERT_EQ(CLR_SUCCESS, ClrYcckToCmyk(&tables, in.data(), four.data(), kPixels, 1, 0));
            EXPECT_EQ(toCmyk, four) << change;
            ASSERT_EQ(CLR_SUCCESS, ClrYcckFromHub(&converter, in.data(), four.data(), kPixels, 1, 0, 0));
            EXPECT_EQ(hubToYcck, four) << change;
            ASSERT_EQ(0, ClrYcckToHub(&converter, in.data(), three.data(), kPixels, 1, 0, 0, 1));
            EXPECT_EQ(ycckToHub, three) << change;
        }
    }
}

TEST(YcckKernels, BlackPassesUnchanged) {
    for (int32_t k = 0; k < 256; ++k) {
        const uint8_t pixel[4] = {10, 200, 90, static_cast<uint8_t>(k)};
        uint8_t out[4] = {};
        ASSERT_EQ(CLR_SUCCESS, ClrCmykToYcck(&ClrGlobalYcckTables, pixel, out, 1, 1, 0));
        EXPECT_EQ(k, out[3]);
        ASSERT_EQ(CLR_SUCCESS, ClrYcckToCmyk(&ClrGlobalYcckTables, pixel, out, 1, 1, 0));
        EXPECT_EQ(k, out[3]);
    }
}

TEST(ClrConvert, ToYcckThroughABuiltinConverterWritesNothing) {
    const HostScope host;
    ClrHandle* converter = nullptr;
    ASSERT_EQ(CLR_SUCCESS, Zv_ClrInit(&converter, CLRSPACE_RGB, CLRSPACE_YCCK, nullptr));
    const uint8_t red[6] = {255, 0, 0, 1, 2, 3};
    Bytes ycck(8, 0xCC);
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvert(converter, red, ycck.data(), 2, 1, 0, 0));
    EXPECT_EQ(Bytes(8, 0xCC), ycck);
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(converter));
}

TEST(ClrConvert, FromYcckThroughABuiltinConverterWritesTheImageAndReturns0) {
    const HostScope host;
    const uint8_t ycck[8] = {76, 85, 255, 0, 179, 86, 182, 55};
    for (const int32_t hub : {CLRSPACE_RGB, CLRSPACE_BGR}) {
        ClrHandle* converter = nullptr;
        ASSERT_EQ(CLR_SUCCESS, Zv_ClrInit(&converter, CLRSPACE_YCCK, hub, nullptr));
        Bytes out(6, 0xCC);
        EXPECT_EQ(0, Zv_ClrConvert(converter, ycck, out.data(), 2, 1, 0, 0));
        const Bytes rgb = {254, 0, 0, 200, 122, 82}, bgr = {0, 0, 254, 82, 122, 200};
        EXPECT_EQ(hub == CLRSPACE_RGB ? rgb : bgr, out);
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(converter));
    }
}

TEST(ClrConvert, CmykTakesTheLevelOfItsRecordBothWays) {
    const HostScope host;
    ClrCmykParams cmyk = {12, 1000, 0};
    ClrParams params{};
    params.size = sizeof params;
    params.methods = params.activeMethod = CLRMETHOD_BUILTIN;
    params.cmykParams = &cmyk;
    ClrHandle* converter = nullptr;
    const uint8_t rgb[3] = {200, 100, 50};
    Bytes inks(4);
    ASSERT_EQ(CLR_SUCCESS, Zv_ClrInit(&converter, CLRSPACE_RGB, CLRSPACE_CMYK, &params));
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvert(converter, rgb, inks.data(), 1, 1, 0, 0));
    EXPECT_EQ((Bytes{46, 146, 196, 55}), inks);
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(converter));

    Bytes back(3);
    ASSERT_EQ(CLR_SUCCESS, Zv_ClrInit(&converter, CLRSPACE_CMYK, CLRSPACE_BGR, &params));
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvert(converter, inks.data(), back.data(), 1, 1, 0, 0));
    EXPECT_EQ((Bytes{0, 50, 150}), back);
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(converter));
    // Without a converter the level is 175.
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvertDirect(CLRSPACE_RGB, CLRSPACE_CMYK, rgb, inks.data(), 1, 1, 0, 0));
    EXPECT_EQ((Bytes{55, 155, 205, 9}), inks);
}

}  // namespace

}  // namespace zv::test
