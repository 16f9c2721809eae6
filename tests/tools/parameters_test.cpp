#include "parameters.h"

#include <gtest/gtest.h>

namespace {

using zvimage::ContradictionError;
using namespace zvtool;

TEST(Parameters, SizesAreWidthAndHeight) {
    EXPECT_EQ(parseSize("640x480"), std::make_pair(640, 480));
    for (const char* text : {"", "640", "640x", "x480", "640x480x2", "0x1", "1x0", "-1x5", "6 x 4", "640X480",
                             "1000001x1", "99999999999x1", "0x10x1", "6.5x1"}) {
        EXPECT_THROW(parseSize(text), ContradictionError) << text;
    }
}

TEST(Parameters, SpacesAndFormatsAreFoundByName) {
    EXPECT_EQ(parseSpace("--to", "rgb444"), CLRSPACE_RGB444);
    EXPECT_THROW(parseSpace("--to", "RGB"), ContradictionError);
    EXPECT_EQ(parseFormat("--input-format", "jpg"), zvimage::Format::kJpeg);
    EXPECT_THROW(parseFormat("--input-format", "gif"), ContradictionError);
    EXPECT_EQ(parseCompression("none"), zvimage::TiffCompression::kNone);
    EXPECT_THROW(parseCompression("zip"), ContradictionError);
}

TEST(Parameters, LabParamsAreSixNumbersInOrder) {
    const ClrLabParams params = parseLabParams("0,100,128,170,96,200");
    EXPECT_EQ(params.size, 32);
    EXPECT_EQ(params.lOffset, 0);
    EXPECT_EQ(params.lRange, 100);
    EXPECT_EQ(params.aOffset, 128);
    EXPECT_EQ(params.aRange, 170);
    EXPECT_EQ(params.bOffset, 96);
    EXPECT_EQ(params.bRange, 200);
    for (const char* text : {"", "0,100,128,170,96", "0,100,128,170,96,200,1", "0,0,128,170,96,200",
                             "0,100,128,-170,96,200", "0,100,,170,96,200", "0,100,a,170,96,200"}) {
        EXPECT_THROW(parseLabParams(text), ContradictionError) << text;
    }
}

TEST(Parameters, WhitesAreNamesOrChromaticities) {
    for (const auto& [name, code] : {std::pair("D50", 50U), std::pair("D55", 55U), std::pair("D65", 65U),
                                     std::pair("D75", 75U), std::pair("D93", 93U)}) {
        EXPECT_EQ(parseWhite(name).whiteCode, code);
    }
    const ClrWhitePoint white = parseWhite("0.3127,0.3290");
    EXPECT_EQ(white.whiteCode, 0U);
    // The fields of the packed record lie at odd places, which references cannot name.
    const double x = white.x;
    const double y = white.y;
    EXPECT_EQ(x, 0.3127);
    EXPECT_EQ(y, 0.3290);
    for (const char* text :
         {"", "d50", "D60", "65", "0.3127", "0.3127,", "0.3127,0.3290,0.3", "0,0.5", "0.5,0", "-0.3,0.3", "0.6,0.4",
          "1,1", "0.3127;0.3290", "nan,0.3", "0.3,inf", "3e-1,0.3", "0.3127, 0.3290"}) {
        EXPECT_THROW(parseWhite(text), ContradictionError) << text;
    }
}

TEST(Parameters, PlanesTellTheirPlaces) {
    const YuvLayout layout =
        parseYuvParams("uSampleX=2,uSampleY=2,vSampleX=4,vSampleY=1,planar=1,order=VYU,fullRange=1");
    EXPECT_TRUE(layout.planar);
    EXPECT_TRUE(layout.fullRange);
    EXPECT_EQ(layout.positions, std::vector<int32_t>{4});
    const zvimage::RawLayout raw = layout.rawLayout();
    ASSERT_EQ(raw.planes.size(), 3U);
    EXPECT_EQ(raw.planes[0].bytes(8, 4), 8);
    EXPECT_EQ(raw.planes[1].bytes(8, 4), 32);
    EXPECT_EQ(raw.planes[2].bytes(8, 4), 8);
    EXPECT_EQ(raw.widthMultiple(), 4);
    EXPECT_EQ(raw.heightMultiple(), 2);
}

TEST(Parameters, SourceOfPlanesIsAsLargeAsTheLibraryAsks) {
    // (2 x 2 x 8 + 16) / 2 x 2 bits for a pixel.
    const YuvLayout planes = parseYuvParams("uSampleX=2,uSampleY=2,vSampleX=2,vSampleY=2");
    EXPECT_EQ(planes.sourceBytes(4, 4), 48 * 16 / 8);
    const YuvLayout packed = parseYuvParams("uSampleX=2,vSampleX=2,macroPixelSize=2,positions=0:2:1:3");
    EXPECT_EQ(packed.sourceBytes(4, 4), 3 * 16);
}

TEST(Parameters, PackedPixelsTellTheirPositions) {
    const YuvLayout layout = parseYuvParams("uSampleX=2,vSampleX=2,macroPixelSize=2,positions=0:2:1:3,planar=0");
    EXPECT_FALSE(layout.planar);
    const ClrYuvParams record = layout.record();
    EXPECT_EQ(record.size, 44);
    EXPECT_EQ(record.macroPixelSize, 2);
    EXPECT_EQ(record.planar, 0);
    EXPECT_EQ(record.positions, layout.positions.data());
    EXPECT_EQ(layout.rawLayout().bytes(6, 2), 24);
    EXPECT_EQ(layout.rawLayout().widthMultiple(), 2);
}

TEST(Parameters, ImpossibleYuvLayoutsAreRefused) {
    for (const char* text : {
             "",
             "uSampleX",
             "uSampleX=0",
             "uSampleX=17",
             "colour=1",
             "planar=2",
             "uSampleX=2,vSampleX=3",
             "uSampleY=2,vSampleY=3",
             "order=YUY",
             "order=yuv",
             "order=YUV,planar=0",
             "order=YUV,positions=0:1:2",
             "positions=0:1:2,planar=1",
             "macroPixelSize=2,planar=1",
             "planar=0",
             "positions=0:1",
             "positions=0:1:3",
             "positions=0:1:-1",
             "positions=0:1:",
             "positions=0:1:2,uSampleY=2,vSampleY=2",
             "positions=0:1:2:3,macroPixelSize=3,uSampleX=2,vSampleX=2",
         }) {
        EXPECT_THROW(parseYuvParams(text), ContradictionError) << text;
    }
}

}  // namespace
