#include "strip_converter.h"

#include <gtest/gtest.h>

#include "tool_support.h"

namespace {

using namespace zvtool;
using zvtest::Bytes;

// Pixels of a width that every space can hold.
Bytes convert(const Conversion& conversion, const Bytes& pixels, int32_t width, int32_t rows) {
    StripConverter converter(conversion);
    Bytes source(converter.sourceBytes(width, rows));
    std::copy(pixels.begin(), pixels.end(), source.begin());
    Bytes destination(converter.destinationBytes(width, rows), 0xee);
    converter.convert(source.data(), destination.data(), width, rows);
    destination.resize(static_cast<size_t>(zvimage::layoutOf(conversion.to).bytes(width, rows)));
    return destination;
}

Conversion between(int32_t from, int32_t to) {
    Conversion conversion;
    conversion.from = from;
    conversion.to = to;
    return conversion;
}

const ClrLabParams kCommonLab = {32, 0, 0, 100, 128, 170, 96, 200};

const Bytes kRed = {255, 0, 0};
const Bytes kRedBgr = {0, 0, 255};

TEST(StripConverter, EqualSpacesAreCopied) {
    EXPECT_TRUE(StripConverter(between(CLRSPACE_HSI, CLRSPACE_HSI)).copies());
    EXPECT_EQ(convert(between(CLRSPACE_HSI, CLRSPACE_HSI), {1, 2, 3}, 1, 1), (Bytes{1, 2, 3}));
}

TEST(StripConverter, HubsAreSwapped) {
    EXPECT_EQ(convert(between(CLRSPACE_RGB, CLRSPACE_BGR), {1, 2, 3}, 1, 1), (Bytes{3, 2, 1}));
    EXPECT_EQ(convert(between(CLRSPACE_BGR, CLRSPACE_RGB), {1, 2, 3}, 1, 1), (Bytes{3, 2, 1}));
}

TEST(StripConverter, RedIsRedInYcckFromBothHubs) {
    const Bytes expected = {76, 85, 255, 0};
    EXPECT_EQ(convert(between(CLRSPACE_RGB, CLRSPACE_YCCK), kRed, 1, 1), expected);
    EXPECT_EQ(convert(between(CLRSPACE_BGR, CLRSPACE_YCCK), kRedBgr, 1, 1), expected);
    EXPECT_EQ(convert(between(CLRSPACE_YCCK, CLRSPACE_RGB), expected, 1, 1), (Bytes{254, 0, 0}));
    EXPECT_EQ(convert(between(CLRSPACE_YCCK, CLRSPACE_BGR), expected, 1, 1), (Bytes{0, 0, 254}));
}

TEST(StripConverter, TwelveBitPixelsHaveTheirOrderOnBothHubs) {
    const Bytes packed = {0x0f, 0x50};
    EXPECT_EQ(convert(between(CLRSPACE_RGB, CLRSPACE_RGB444), {255, 80, 0}, 1, 1), packed);
    EXPECT_EQ(convert(between(CLRSPACE_BGR, CLRSPACE_RGB444), {0, 80, 255}, 1, 1), packed);
    EXPECT_EQ(convert(between(CLRSPACE_RGB444, CLRSPACE_RGB), packed, 1, 1), (Bytes{240, 80, 0}));
    EXPECT_EQ(convert(between(CLRSPACE_RGB444, CLRSPACE_BGR), packed, 1, 1), (Bytes{0, 80, 240}));
    // From a space that is no hub the library alone would leave the pixels as they were.
    EXPECT_EQ(convert(between(CLRSPACE_CMY, CLRSPACE_RGB444), {0, 175, 255}, 1, 1), packed);
}

TEST(StripConverter, BlackGenerationIsUsedWithoutAHubOnEitherSide) {
    Conversion conversion = between(CLRSPACE_CMY, CLRSPACE_CMYK);
    EXPECT_EQ(convert(conversion, {127, 127, 127}, 1, 1), (Bytes{127, 127, 127, 22}));
    conversion.gcrLevel = 1000;
    EXPECT_EQ(convert(conversion, {127, 127, 127}, 1, 1), (Bytes{0, 0, 0, 127}));
    conversion = between(CLRSPACE_CMYK, CLRSPACE_BGR);
    conversion.gcrLevel = 500;
    EXPECT_EQ(convert(conversion, {55, 155, 205, 27}, 1, 1), (Bytes{0, 50, 150}));
}

TEST(StripConverter, LabRecordsGiveRightColoursOnBothHubs) {
    Conversion conversion = between(CLRSPACE_RGB, CLRSPACE_LAB);
    conversion.destinationLab = kCommonLab;
    const Bytes red = {136, 248, 182};
    EXPECT_EQ(convert(conversion, kRed, 1, 1), red);
    conversion.from = CLRSPACE_BGR;
    EXPECT_EQ(convert(conversion, kRedBgr, 1, 1), red);
    conversion.from = CLRSPACE_CMY;
    EXPECT_EQ(convert(conversion, {0, 255, 255}, 1, 1), red);
    Conversion back = between(CLRSPACE_LAB, CLRSPACE_RGB);
    back.sourceLab = kCommonLab;
    EXPECT_EQ(convert(back, {255, 128, 96}, 1, 1), (Bytes{255, 255, 255}));
    EXPECT_LE(zvtest::largestDifference(convert(back, red, 1, 1), kRed), 12);
    back.to = CLRSPACE_BGR;
    EXPECT_LE(zvtest::largestDifference(convert(back, red, 1, 1), kRedBgr), 12);
}

TEST(StripConverter, OneLabEncodingBecomesTheOther) {
    Conversion conversion = between(CLRSPACE_LAB, CLRSPACE_LAB);
    conversion.sourceLab = kCommonLab;
    EXPECT_EQ(convert(conversion, {255, 128, 96}, 1, 1), (Bytes{255, 0, 0}));
    conversion.sourceLab.reset();
    conversion.destinationLab = kCommonLab;
    EXPECT_EQ(convert(conversion, {255, 0, 0}, 1, 1), (Bytes{255, 128, 96}));
}

struct YuvCase {
    const char* params;
    int32_t width;
    Bytes pixels;
};

TEST(StripConverter, YuvLayoutsGiveRightColoursInEveryOrder) {
    // Red, as luma 81 and chroma 90 and 240.
    const YuvCase cases[] = {
        {"positions=0:1:2", 1, {81, 90, 240}},
        {"positions=2:1:0", 1, {240, 90, 81}},
        {"uSampleX=2,vSampleX=2,macroPixelSize=2,positions=0:2:1:3", 2, {81, 90, 81, 240}},
        {"uSampleX=2,vSampleX=2,macroPixelSize=2,positions=1:3:0:2", 2, {90, 81, 240, 81}},
        {"order=YUV", 2, {81, 81, 90, 90, 240, 240}},
        {"order=YVU", 2, {81, 81, 240, 240, 90, 90}},
        {"order=UYV", 2, {90, 90, 81, 81, 240, 240}},
        {"order=UVY", 2, {90, 90, 240, 240, 81, 81}},
        {"order=VYU", 2, {240, 240, 81, 81, 90, 90}},
        {"order=VUY", 2, {240, 240, 90, 90, 81, 81}},
        {"uSampleX=2,vSampleX=2,order=VYU", 2, {240, 81, 81, 90}},
    };
    for (const YuvCase& c : cases) {
        for (const int32_t to : {CLRSPACE_RGB, CLRSPACE_BGR, CLRSPACE_YCCK, CLRSPACE_CMY}) {
            Conversion conversion = between(CLRSPACE_YUV, to);
            conversion.sourceYuv = parseYuvParams(c.params);
            const Bytes result = convert(conversion, c.pixels, c.width, 1);
            const Bytes pixel = to == CLRSPACE_RGB   ? Bytes{254, 0, 0}
                                : to == CLRSPACE_BGR ? Bytes{0, 0, 254}
                                : to == CLRSPACE_CMY ? Bytes{1, 255, 255}
                                                     : Bytes{76, 85, 255, 1};
            Bytes expected;
            for (int32_t i = 0; i < c.width; ++i) {
                expected.insert(expected.end(), pixel.begin(), pixel.end());
            }
            EXPECT_LE(zvtest::largestDifference(result, expected), 1) << c.params << " to " << to;
        }
    }
}

TEST(StripConverter, TheLastPixelOfPlanesIsConverted) {
    Conversion conversion = between(CLRSPACE_YUV, CLRSPACE_RGB);
    conversion.sourceYuv = parseYuvParams("uSampleX=2,uSampleY=2,vSampleX=2,vSampleY=2");
    Bytes pixels(4 * 4 + 4 + 4, 128);
    pixels[15] = 235;
    const Bytes rgb = convert(conversion, pixels, 4, 4);
    EXPECT_EQ(Bytes(rgb.end() - 3, rgb.end()), (Bytes{254, 254, 254}));
    EXPECT_EQ(Bytes(rgb.begin(), rgb.begin() + 3), (Bytes{130, 130, 130}));
    conversion.sourceYuv = parseYuvParams("order=VUY");
    EXPECT_EQ(convert(conversion, {128, 128, 235}, 1, 1), (Bytes{254, 254, 254}));
}

TEST(StripConverter, FullRangeTakesNoOffsetsOff) {
    Conversion conversion = between(CLRSPACE_YUV, CLRSPACE_BGR);
    conversion.sourceYuv = parseYuvParams("fullRange=1,positions=0:1:2");
    EXPECT_EQ(convert(conversion, {128, 128, 128}, 1, 1), (Bytes{255, 0, 255}));
    conversion.sourceYuv = parseYuvParams("fullRange=1,order=YUV");
    EXPECT_EQ(convert(conversion, {128, 128, 128}, 1, 1), (Bytes{255, 0, 255}));
}

TEST(StripConverter, EverySpaceComesBackCloseToWhatItWas) {
    // Grey and mild colours; the kernels truncate, and hue spaces lose more.
    Bytes rgb;
    for (int i = 0; i < 8 * 4; ++i) {
        const auto value = static_cast<uint8_t>(32 + i * 6);
        rgb.insert(rgb.end(), {value, value, value});
    }
    for (const zvimage::Space& space : zvimage::allSpaces()) {
        for (const int32_t hub : {CLRSPACE_RGB, CLRSPACE_BGR}) {
            const Bytes there = convert(between(hub, space.id), rgb, 8, 4);
            const Bytes back = convert(between(space.id, hub), there, 8, 4);
            EXPECT_LE(zvtest::largestDifference(back, rgb), space.id == CLRSPACE_RGB444 ? 15 : 10) << space.name;
            const Bytes through =
                convert(between(CLRSPACE_CMY, space.id), convert(between(hub, CLRSPACE_CMY), rgb, 8, 4), 8, 4);
            EXPECT_EQ(through, there) << space.name;
        }
    }
}

// A row for each source and a column for each target, both in the order of `zvclr spaces`.
const char* const kDefaults[] = {
    //                rgb yuv cmyk hsv hls yiq cmy lab xyz yuy2 yvu9 ycck bgr y41p uyvy ycbcr hsi rgb444
    /* rgb    */ "..i...ii..........",
    /* yuv    */ "..i...ii..........",
    /* cmyk   */ "ii.iiiiiiii.iiiiii",
    /* hsv    */ "..i...ii..........",
    /* hls    */ "..i...ii..........",
    /* yiq    */ "..i...ii..........",
    /* cmy    */ "iiiiii.iiii.iiiiii",
    /* lab    */ "iiiiiii.iii.iiiiii",
    /* xyz    */ "..i...ii..........",
    /* yuy2   */ "..i...ii..........",
    /* yvu9   */ "..i...ii..........",
    /* ycck   */ "iiiiiiiiiii.iiiiii",
    /* bgr    */ "..i...ii..........",
    /* y41p   */ "..i...ii..........",
    /* uyvy   */ "..i...ii..........",
    /* ycbcr  */ "..i...ii..........",
    /* hsi    */ "..i...ii..........",
    /* rgb444 */ "..i...ii..........",
};

TEST(StripConverter, ProfilesAreTheDefaultWhereTheyServe) {
    const auto& spaces = zvimage::allSpaces();
    ASSERT_EQ(spaces.size(), std::size(kDefaults));
    for (size_t from = 0; from < spaces.size(); ++from) {
        ASSERT_EQ(std::string(kDefaults[from]).size(), spaces.size());
        for (size_t to = 0; to < spaces.size(); ++to) {
            const bool icc = kDefaults[from][to] == 'i';
            EXPECT_EQ(iccServes(spaces[from].id, spaces[to].id), icc) << spaces[from].name << " to " << spaces[to].name;
            EXPECT_EQ(defaultMethod(spaces[from].id, spaces[to].id), icc ? Method::kIcc : Method::kBuiltin)
                << spaces[from].name << " to " << spaces[to].name;
        }
    }
}

TEST(StripConverter, ProfilesOfTheCallerServeTheirPairs) {
    const auto known = [](int32_t id) { return isHub(id) || isProfiled(id); };
    int served = 0;
    for (const zvimage::Space& from : zvimage::allSpaces()) {
        for (const zvimage::Space& to : zvimage::allSpaces()) {
            const bool hubs = isHub(from.id) || isHub(to.id);
            const bool serves = known(from.id) && known(to.id) && (hubs || from.id == to.id);
            EXPECT_EQ(customIccServes(from.id, to.id), serves) << from.name << " to " << to.name;
            served += serves ? 1 : 0;
        }
    }
    // Among the hubs 4, to and from three spaces 12, and these to themselves.
    EXPECT_EQ(served, 19);
}

Conversion byDefault(int32_t from, int32_t to) {
    Conversion conversion = between(from, to);
    conversion.method = defaultMethod(from, to);
    return conversion;
}

TEST(StripConverter, EverySideGoesByItsOwnMethodThroughRgb) {
    const Bytes pixels = zvtest::pattern(8, 4);
    int served = 0;
    for (const zvimage::Space& from : zvimage::allSpaces()) {
        const Bytes source = convert(between(CLRSPACE_RGB, from.id), pixels, 8, 4);
        const Bytes rgb = convert(byDefault(from.id, CLRSPACE_RGB), source, 8, 4);
        for (const zvimage::Space& to : zvimage::allSpaces()) {
            if (iccServes(from.id, to.id)) {
                EXPECT_EQ(convert(byDefault(from.id, to.id), source, 8, 4),
                          convert(byDefault(CLRSPACE_RGB, to.id), rgb, 8, 4))
                    << from.name << " to " << to.name;
                ++served;
            }
        }
    }
    EXPECT_EQ(served, 107);
}

TEST(StripConverter, UselessProfilesFailBeforeAnyPixel) {
    for (const int32_t to : {CLRSPACE_RGB, CLRSPACE_CMYK, CLRSPACE_CMY, CLRSPACE_LAB}) {
        Conversion conversion = between(CLRSPACE_RGB, to);
        conversion.method = Method::kCustomIcc;
        conversion.inputProfile = Bytes(200, 0);
        conversion.outputProfile = Bytes(200, 0);
        EXPECT_THROW(StripConverter{conversion}, LibraryError) << to;
    }
}

TEST(StripConverter, FailuresCarryTheirCode) {
    // An achromatic HLS pixel with a hue.
    try {
        convert(between(CLRSPACE_HLS, CLRSPACE_RGB), {85, 128, 0}, 1, 1);
        FAIL() << "accepted";
    } catch (const LibraryError& error) {
        EXPECT_EQ(error.code(), ERR_BAD_TAG);
        EXPECT_NE(std::string(error.what()).find("ERR_BAD_TAG"), std::string::npos);
    }
}

TEST(StripConverter, StripsAreAboutAMegabyteInRowsOfFour) {
    const Conversion plain = between(CLRSPACE_RGB, CLRSPACE_CMYK);
    EXPECT_EQ(stripRows(1000, 1, plain), 260);
    EXPECT_EQ(stripRows(1000000, 1, plain), 4);
    EXPECT_EQ(stripRows(1000, 16, plain) % 16, 0);
    Conversion planes = between(CLRSPACE_YUV, CLRSPACE_RGB);
    planes.sourceYuv = parseYuvParams("uSampleX=16,uSampleY=16,vSampleX=16,vSampleY=16");
    const int32_t rows = stripRows(20000, 16, planes);
    EXPECT_EQ(rows % 16, 0);
    EXPECT_LE(planes.sourceYuv->sourceBytes(20000, rows), int64_t{1} << 30);
    EXPECT_THROW(stripRows(1000000, 16, planes), zvimage::ContradictionError);
}

}  // namespace
