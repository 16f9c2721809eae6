#include "Common/kernels/subsampled.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "Common/kernels/kernels.h"
#include "tests/Common/kernels/few_pixels.h"

namespace zv::test {

namespace {

Bytes Row(ClrKernel kernel, const Bytes& source, int32_t width, size_t bytes, int32_t rgbFirst = 1) {
    return RowThrough([&](const uint8_t* s, uint8_t* d, int32_t w) { return kernel(s, d, w, 1, 0, 0, rgbFirst); },
                      source, width, bytes);
}

Bytes Repeated(const Bytes& pixel, size_t count) {
    Bytes row;
    for (size_t i = 0; i < count; ++i) row.insert(row.end(), pixel.begin(), pixel.end());
    return row;
}

// --- Pixels ---------------------------------------------------------------------------------------------------------

TEST(StudioYuv, EncodesWorkedColours) {
    EXPECT_EQ((Pixel<3>{15, 128, 128}), StudioYuv::FromRgb({0, 0, 0}));
    EXPECT_EQ((Pixel<3>{234, 128, 128}), StudioYuv::FromRgb({255, 255, 255}));
    EXPECT_EQ((Pixel<3>{125, 128, 128}), StudioYuv::FromRgb({128, 128, 128}));
    EXPECT_EQ((Pixel<3>{81, 90, 240}), StudioYuv::FromRgb({255, 0, 0}));
    EXPECT_EQ((Pixel<3>{144, 53, 34}), StudioYuv::FromRgb({0, 255, 0}));
    EXPECT_EQ((Pixel<3>{40, 240, 109}), StudioYuv::FromRgb({0, 0, 255}));
}

TEST(StudioYuv, DecodesWorkedColours) {
    EXPECT_EQ((Rgb{0, 0, 0}), StudioYuv::ToRgb({15, 128, 128}));
    EXPECT_EQ((Rgb{254, 254, 254}), StudioYuv::ToRgb({234, 128, 128}));
    EXPECT_EQ((Rgb{254, 0, 0}), StudioYuv::ToRgb({81, 90, 240}));
    EXPECT_EQ((Rgb{127, 127, 127}), StudioYuv::ToRgb({125, 128, 128}));
}

TEST(StudioYuv, FoldedConstantsHoldOffsetsAndRounding) {
    // The rounding term shows at luma 16 + n: 1192 * n + 512 over 1024.
    for (int32_t n = 0; n <= 200; ++n) {
        const auto level = static_cast<uint8_t>((1192 * n + 512) / 1024);
        EXPECT_EQ((Rgb{level, level, level}), StudioYuv::ToRgb({static_cast<uint8_t>(16 + n), 128, 128})) << n;
    }
    EXPECT_EQ(283008, 1192 * 16 + 2066 * 128 - 512);
    EXPECT_EQ(139264, -1192 * 16 + 400 * 128 + 833 * 128 + 512);
    EXPECT_EQ(227712, 1192 * 16 + 1634 * 128 - 512);
}

TEST(StudioYuv, EncodedValuesStayInsideAByteWithoutAClamp) {
    int32_t lowest[3] = {255, 255, 255}, highest[3] = {0, 0, 0};
    for (int32_t corner = 0; corner < 8; ++corner) {
        const auto level = [&](int32_t bit) { return static_cast<uint8_t>((corner >> bit & 1) * 255); };
        const Pixel<3> yuv = StudioYuv::FromRgb({level(0), level(1), level(2)});
        for (size_t i = 0; i < 3; ++i) {
            lowest[i] = std::min(lowest[i], int32_t{yuv[i]});
            highest[i] = std::max(highest[i], int32_t{yuv[i]});
        }
    }
    EXPECT_EQ(15, lowest[0]);
    EXPECT_EQ(234, highest[0]);
    EXPECT_EQ(15, lowest[1]);  // yellow: (254.5 * -298 - 0.5 * 450 - 254.5 * 152) / 1024 + 128 = 15.9
    EXPECT_EQ(240, highest[1]);
    EXPECT_EQ(15, lowest[2]);
    EXPECT_EQ(240, highest[2]);
}

// --- Packed groups --------------------------------------------------------------------------------------------------

const Bytes kRedAndBlue = {255, 0, 0, 0, 0, 255};

TEST(Yuy2FromHub, RedAndBlueShareTheirMeanChroma) {
    EXPECT_EQ((Bytes{81, 165, 40, 174}), Row(ClrYuy2FromHub, kRedAndBlue, 2, 4));
}

TEST(UyvyFromHub, RedAndBlueShareTheirMeanChroma) {
    EXPECT_EQ((Bytes{165, 81, 174, 40}), Row(ClrUyvyFromHub, kRedAndBlue, 2, 4));
}

TEST(Yuy2FromHub, BlueFirstSwapsTheColours) {
    EXPECT_EQ((Bytes{40, 165, 81, 174}), Row(ClrYuy2FromHub, kRedAndBlue, 2, 4, 0));
}

TEST(Yuy2ToHub, DecodesByItsByteMap) {
    EXPECT_EQ((Bytes{0, 0, 0, 254, 254, 254}), Row(ClrYuy2ToHub, {15, 128, 234, 128}, 2, 6));
    // Both pixels take the group's chroma.
    EXPECT_EQ((Bytes{254, 0, 0, 254, 0, 0}), Row(ClrYuy2ToHub, {81, 90, 81, 240}, 2, 6));
    EXPECT_EQ((Bytes{0, 0, 254, 0, 0, 254}), Row(ClrYuy2ToHub, {81, 90, 81, 240}, 2, 6, 0));
}

TEST(UyvyToHub, DecodesByItsByteMap) {
    EXPECT_EQ((Bytes{254, 0, 0, 254, 0, 0}), Row(ClrUyvyToHub, {90, 81, 240, 81}, 2, 6));
    EXPECT_EQ((Bytes{0, 0, 0, 254, 254, 254}), Row(ClrUyvyToHub, {128, 15, 128, 234}, 2, 6));
}

TEST(Y41pFromHub, EachHalfHasItsOwnChroma) {
    // Four reds, then blue, green, black, white: U (240 + 53 + 128 + 128) >> 2 = 137, V (109 + 34 + 128 + 128) >> 2
    // = 99.
    Bytes row = Repeated({255, 0, 0}, 4);
    for (const Bytes& pixel : {Bytes{0, 0, 255}, Bytes{0, 255, 0}, Bytes{0, 0, 0}, Bytes{255, 255, 255}}) {
        row.insert(row.end(), pixel.begin(), pixel.end());
    }
    EXPECT_EQ((Bytes{90, 81, 240, 81, 137, 81, 99, 81, 40, 144, 15, 234}), Row(ClrY41pFromHub, row, 8, 12));
}

TEST(Y41pToHub, EachHalfHasItsOwnChroma) {
    const Bytes group = {90, 81, 240, 81, 128, 81, 128, 81, 15, 234, 125, 15};
    Bytes wanted = Repeated({254, 0, 0}, 4);
    for (const uint8_t level : {uint8_t{0}, uint8_t{254}, uint8_t{127}, uint8_t{0}}) {
        wanted.insert(wanted.end(), 3, level);
    }
    EXPECT_EQ(wanted, Row(ClrY41pToHub, group, 8, 24));
}

TEST(SubsampledWidths, TheMultipleGoesBeforeThePointers) {
    for (const ClrKernel kernel : {ClrYuy2FromHub, ClrYuy2ToHub, ClrUyvyFromHub, ClrUyvyToHub}) {
        for (const int32_t width : {1, 3, 131, -1, INT32_MAX}) {
            EXPECT_EQ(ERR_WIDTH_MULTIPLE, kernel(nullptr, nullptr, width, 1, 0, 0, 1)) << width;
        }
        EXPECT_EQ(ERR_INVALID_PARAMETER, kernel(nullptr, nullptr, 2, 1, 0, 0, 1));
    }
    for (const ClrKernel kernel : {ClrY41pFromHub, ClrY41pToHub}) {
        for (const int32_t width : {1, 2, 4, 12, 15, -4, INT32_MAX}) {
            EXPECT_EQ(ERR_WIDTH_MULTIPLE, kernel(nullptr, nullptr, width, 1, 0, 0, 1)) << width;
        }
        EXPECT_EQ(ERR_INVALID_PARAMETER, kernel(nullptr, nullptr, 8, 1, 0, 0, 1));
    }
}

TEST(ClrConvert, SubsampledWidthsReachTheCaller) {
    Bytes source(200), destination(200, 0xCC);
    ClrHandle* converter = nullptr;
    ASSERT_EQ(CLR_SUCCESS, Zv_ClrInit(&converter, CLRSPACE_RGB, CLRSPACE_Y41P, nullptr));
    EXPECT_EQ(ERR_WIDTH_MULTIPLE, Zv_ClrConvert(converter, source.data(), destination.data(), 12, 1, 0, 0));
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(converter));
    ASSERT_EQ(CLR_SUCCESS, Zv_ClrInit(&converter, CLRSPACE_YUY2, CLRSPACE_BGR, nullptr));
    EXPECT_EQ(ERR_WIDTH_MULTIPLE, Zv_ClrConvert(converter, source.data(), destination.data(), 3, 1, 0, 0));
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(converter));
    ASSERT_EQ(CLR_SUCCESS, Zv_ClrInit(&converter, CLRSPACE_YVU9, CLRSPACE_BGR, nullptr));
    EXPECT_EQ(ERR_YVU9_SIZE, Zv_ClrConvert(converter, source.data(), destination.data(), 8, 6, 0, 0));
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(converter));
    EXPECT_EQ(Bytes(200, 0xCC), destination);
}

// --- Planes ---------------------------------------------------------------------------------------------------------

int32_t Yvu9(const Bytes& source, Bytes* destination, int32_t width, int32_t height, int32_t extra) {
    return ClrYvu9FromHub(source.data(), destination->data(), width, height, extra, 1);
}

TEST(Yvu9Sizes, WidthAndHeightGoBeforeThePointers) {
    for (const auto& [width, height] : {std::pair{8, 6}, {6, 8}, {2, 4}, {4, 3}, {-3, 4}, {4, -1}}) {
        EXPECT_EQ(ERR_YVU9_SIZE, ClrYvu9FromHub(nullptr, nullptr, width, height, 0, 1));
        EXPECT_EQ(ERR_YVU9_SIZE, ClrYvu9ToHub(nullptr, nullptr, width, height, 0, 1));
    }
    EXPECT_EQ(ERR_INVALID_PARAMETER, ClrYvu9FromHub(nullptr, nullptr, 8, 8, 0, 1));
    EXPECT_EQ(ERR_INVALID_PARAMETER, ClrYvu9ToHub(nullptr, nullptr, 8, 8, 0, 1));
}

TEST(Yvu9FromHub, PlanesStandInTheOrderYVU) {
    const Bytes reds = Repeated({255, 0, 0}, 16);
    Bytes out(18);
    ASSERT_EQ(CLR_SUCCESS, Yvu9(reds, &out, 4, 4, 0));
    Bytes wanted(16, 81);
    wanted.insert(wanted.end(), {240, 90});
    EXPECT_EQ(wanted, out);
}

TEST(Yvu9FromHub, LaterRowsCountForMore) {
    // Rows of black (U and V 128), the last one of blue: U (128 + 4 * 240) / 5 = 217, V (128 + 4 * 109) / 5 = 112.
    Bytes last = Repeated({0, 0, 0}, 12);
    const Bytes blue = Repeated({0, 0, 255}, 4);
    last.insert(last.end(), blue.begin(), blue.end());
    Bytes out(18);
    ASSERT_EQ(CLR_SUCCESS, Yvu9(last, &out, 4, 4, 0));
    EXPECT_EQ(112, out[16]);
    EXPECT_EQ(217, out[17]);
    // The first one of blue: U 240, (240 + 512) / 5 = 150, 132, 128; V 109, 124, 127, 127.
    Bytes first = blue;
    first.resize(48, 0);
    ASSERT_EQ(CLR_SUCCESS, Yvu9(first, &out, 4, 4, 0));
    EXPECT_EQ(127, out[16]);
    EXPECT_EQ(128, out[17]);
}

/// A colour whose chroma byte U is as wanted.
Bytes ColourWithU(uint8_t u) {
    for (int32_t b = 0; b < 256; ++b) {
        for (int32_t r = 0; r < 256; r += 5) {
            const Rgb pixel{static_cast<uint8_t>(r), 0, static_cast<uint8_t>(b)};
            if (StudioYuv::FromRgb(pixel)[1] == u) return {pixel.r, pixel.g, pixel.b};
        }
    }
    return {};
}

TEST(Yvu9FromHub, ChromaOf128ThreeTimesAnd200EndsAs185) {
    const Bytes strong = ColourWithU(200);
    ASSERT_EQ(3U, strong.size());
    Bytes block = Repeated({0, 0, 0}, 12);
    const Bytes row = Repeated(strong, 4);
    block.insert(block.end(), row.begin(), row.end());
    Bytes out(18);
    ASSERT_EQ(CLR_SUCCESS, Yvu9(block, &out, 4, 4, 0));
    EXPECT_EQ(185, out[17]);
}

TEST(Yvu9FromHub, AConstantColourKeepsItsChroma) {
    for (const Bytes& colour : {Bytes{255, 0, 0}, Bytes{0, 255, 0}, Bytes{0, 0, 255}, Bytes{12, 200, 77}}) {
        Bytes out(18);
        ASSERT_EQ(CLR_SUCCESS, Yvu9(Repeated(colour, 16), &out, 4, 4, 0));
        const Pixel<3> yuv = StudioYuv::FromRgb({colour[0], colour[1], colour[2]});
        EXPECT_EQ(yuv[2], out[16]);
        EXPECT_EQ(yuv[1], out[17]);
    }
}

TEST(Yvu9FromHub, PaddingDisplacesAllBandsButTheFirst) {
    // 4 x 8 with 3 bytes after each row: the second band starts at byte 48, not at byte 60. Byte 48 is the second pixel
    // of row 3: 45 + 3.
    const int32_t extra = 3;
    Bytes source(8 * (12 + 3));
    for (size_t i = 0; i < source.size(); ++i) source[i] = static_cast<uint8_t>(i * 2);
    Bytes out(4 * 8 + 2 + 2);
    ASSERT_EQ(CLR_SUCCESS, Yvu9(source, &out, 4, 8, extra));
    for (size_t row = 0; row < 8; ++row) {
        const size_t start = row / 4 * 48 + row % 4 * 15;
        for (size_t x = 0; x < 4; ++x) {
            const uint8_t* p = source.data() + start + x * 3;
            EXPECT_EQ(StudioYuv::FromRgb({p[0], p[1], p[2]})[0], out[row * 4 + x]) << row << ", " << x;
        }
    }
}

TEST(Yvu9ToHub, BlocksTakeTheirChromaInRowOrder) {
    // 8 x 8, all luma 125; V then U: block (1, 0) is red chroma, the others grey.
    Bytes source(64, 125);
    source.insert(source.end(), {128, 240, 128, 128});
    source.insert(source.end(), {128, 90, 128, 128});
    Bytes out(8 * 8 * 3);
    ASSERT_EQ(CLR_SUCCESS, ClrYvu9ToHub(source.data(), out.data(), 8, 8, 0, 1));
    const Rgb red = StudioYuv::ToRgb({125, 90, 240});
    ASSERT_GT(red.r, 200);
    for (size_t y = 0; y < 8; ++y) {
        for (size_t x = 0; x < 8; ++x) {
            const uint8_t* p = out.data() + (y * 8 + x) * 3;
            const Rgb wanted = x >= 4 && y < 4 ? red : Rgb{127, 127, 127};
            EXPECT_EQ(wanted, (Rgb{p[0], p[1], p[2]})) << x << ", " << y;
        }
    }
}

TEST(Yvu9ToHub, RowsSkipThePaddingOfTheDestination) {
    Bytes source(16, 234);
    source.insert(source.end(), {128, 128});
    Bytes out(4 * 17, 0xCC);
    ASSERT_EQ(CLR_SUCCESS, ClrYvu9ToHub(source.data(), out.data(), 4, 4, 5, 0));
    for (size_t i = 0; i < out.size(); ++i) EXPECT_EQ(i % 17 < 12 ? 254 : 0xCC, out[i]) << i;
}

// --- Four bits ------------------------------------------------------------------------------------------------------

TEST(Rgb444FromHub, White) { EXPECT_EQ((Bytes{15, 255}), PixelThrough(ClrRgb444FromHub, {255, 255, 255}, 2)); }

TEST(Rgb444FromHub, RedStandsInTheLowNibbleOfByte0) {
    EXPECT_EQ((Bytes{0x0A, 0xBC}), PixelThrough(ClrRgb444FromHub, {0xA1, 0xB2, 0xC3}, 2));
    EXPECT_EQ((Bytes{0x0A, 0xBC}), PixelThrough(ClrRgb444FromHub, {0xC3, 0xB2, 0xA1}, 2, 0));
}

TEST(Rgb444ToHub, WhiteComesBackAs240) { EXPECT_EQ((Bytes{240, 240, 240}), PixelThrough(ClrRgb444ToHub, {15, 255})); }

TEST(Rgb444ToHub, TheHighNibbleOfByte0IsLost) {
    EXPECT_EQ((Bytes{0xA0, 0xB0, 0xC0}), PixelThrough(ClrRgb444ToHub, {0xFA, 0xBC}));
    EXPECT_EQ((Bytes{0xC0, 0xB0, 0xA0}), PixelThrough(ClrRgb444ToHub, {0xFA, 0xBC}, 3, 0));
}

TEST(Rgb444Region, Is12BitsAPixelAndPadding) {
    EXPECT_EQ(15, Rgb444Region(10, 1, 0).Bytes());
    EXPECT_EQ(1, Rgb444Region(1, 1, 0).Bytes());
    EXPECT_EQ(4, Rgb444Region(3, 1, 0).Bytes());
    EXPECT_EQ(15 + 12, Rgb444Region(5, 2, 6).Bytes());
    EXPECT_FALSE(Rgb444Region(65536, 65536, 0).Fits());
}

TEST(ClrConvert, Rgb444IsWrittenByTheHubAndReadBlueFirst) {
    const uint8_t packed[2] = {0x0A, 0xBC};
    for (const int32_t hub : {CLRSPACE_RGB, CLRSPACE_BGR}) {
        const bool rgb = hub == CLRSPACE_RGB;
        ClrHandle* converter = nullptr;
        Bytes out(3);
        ASSERT_EQ(CLR_SUCCESS, Zv_ClrInit(&converter, CLRSPACE_RGB444, hub, nullptr));
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvert(converter, packed, out.data(), 1, 1, 0, 0));
        EXPECT_EQ((Bytes{0xC0, 0xB0, 0xA0}), out);
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(converter));
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvertDirect(CLRSPACE_RGB444, hub, packed, out.data(), 1, 1, 0, 0));
        EXPECT_EQ((rgb ? Bytes{0xA0, 0xB0, 0xC0} : Bytes{0xC0, 0xB0, 0xA0}), out);

        const uint8_t pixel[3] = {0xA1, 0xB2, 0xC3};
        const Bytes wanted = rgb ? Bytes{0x0A, 0xBC} : Bytes{0x0C, 0xBA};
        Bytes back(2);
        ASSERT_EQ(CLR_SUCCESS, Zv_ClrInit(&converter, hub, CLRSPACE_RGB444, nullptr));
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvert(converter, pixel, back.data(), 1, 1, 0, 0));
        EXPECT_EQ(wanted, back);
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(converter));
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvertDirect(hub, CLRSPACE_RGB444, pixel, back.data(), 1, 1, 0, 0));
        EXPECT_EQ(wanted, back);
    }
}

}  // namespace

}  // namespace zv::test
