// The program on raw pixels of every space and layout.
#include <gtest/gtest.h>

#include "image/image.h"
#include "tool_support.h"
#include "zvclr.h"

namespace {

using zvtest::Bytes;
using zvtest::Folder;
using zvtest::largestDifference;

class ConvertRaw : public testing::Test {
protected:
    std::string path(const std::string& name) const { return folder_.path(name); }
    Bytes read(const std::string& name) const { return zvtest::readFile(path(name)); }

    void convert(const std::string& in, const std::string& out, const std::vector<std::string>& options) const {
        std::vector<std::string> all = {"convert", path(in), path(out)};
        all.insert(all.end(), options.begin(), options.end());
        const zvtest::Outcome outcome = zvtest::runTool(all);
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "");
    }

    // Blocks of 8 x 8 equal pixels, so that no chroma is lost in groups.
    Bytes blocks(int32_t width, int32_t height) const {
        const Bytes small = zvtest::pattern(width / 8, height / 8);
        Bytes pixels;
        for (int32_t y = 0; y < height; ++y) {
            for (int32_t x = 0; x < width; ++x) {
                const size_t at = static_cast<size_t>((y / 8) * (width / 8) + x / 8) * 3;
                pixels.insert(pixels.end(), small.begin() + static_cast<std::ptrdiff_t>(at),
                              small.begin() + static_cast<std::ptrdiff_t>(at + 3));
            }
        }
        return pixels;
    }

    Folder folder_;
};

TEST_F(ConvertRaw, EverySpaceGoesThereAndBack) {
    // Larger than a strip, so that planes and groups cross strips.
    const int32_t width = 1048;
    const int32_t height = 520;
    const Bytes pixels = blocks(width, height);
    zvtest::writeFile(path("a.rgb"), pixels);
    const std::string size = "1048x520";
    for (const zvimage::Space& space : zvimage::allSpaces()) {
        const std::string file = std::string("there.") + space.name;
        convert("a.rgb", file, {"--from", "rgb", "--to", space.name, "--size", size, "--method", "builtin"});
        EXPECT_EQ(read(file).size(), static_cast<size_t>(int64_t{space.bits} * width * height / 8)) << space.name;
        // Strips give what one call gives for the whole image.
        const bool copy = space.id == CLRSPACE_RGB;
        Bytes whole(read(file).size());
        Bytes expected(pixels.size());
        ASSERT_TRUE(copy || Zv_ClrConvertDirect(CLRSPACE_RGB, space.id, pixels.data(), whole.data(), width, height, 0,
                                                0) == CLR_SUCCESS);
        EXPECT_TRUE(read(file) == (copy ? pixels : whole)) << space.name;
        convert(file, "back.rgb", {"--from", space.name, "--to", "rgb", "--size", size, "--method", "builtin"});
        ASSERT_TRUE(copy || Zv_ClrConvertDirect(space.id, CLRSPACE_RGB, whole.data(), expected.data(), width, height, 0,
                                                0) == CLR_SUCCESS);
        EXPECT_TRUE(read("back.rgb") == (copy ? pixels : expected)) << space.name;
        // The mean error tells swapped channels and misplaced planes. HSI is no inverse for strong colours.
        double sum = 0;
        const Bytes back = read("back.rgb");
        for (size_t i = 0; i < back.size(); ++i) {
            sum += std::abs(back[i] - pixels[i]);
        }
        EXPECT_LT(sum / static_cast<double>(back.size()), space.id == CLRSPACE_HSI ? 60.0 : 12.0) << space.name;
    }
}

TEST_F(ConvertRaw, PlanesFromAPipeAreThoseOfTheFile) {
    zvtest::writeFile(path("a.rgb"), blocks(64, 32));
    zvtest::shell("cd " + folder_.root() + R"(
        $ZVCLR convert a.rgb a.yvu9 --from rgb --to yvu9 --size 64x32
        cat a.yvu9 | $ZVCLR convert - - --from yvu9 --to rgb --size 64x32 --input-format raw --output-format raw > pipe.rgb
        $ZVCLR convert a.yvu9 file.rgb --from yvu9 --to rgb --size 64x32)");
    EXPECT_EQ(read("pipe.rgb"), read("file.rgb"));
    EXPECT_EQ(read("pipe.rgb").size(), size_t{64 * 32 * 3});
}

TEST_F(ConvertRaw, YuvParamsDescribeTheVideoFormatsOfTheLibrary) {
    const Bytes pixels = blocks(1048, 520);
    zvtest::writeFile(path("a.rgb"), pixels);
    struct Case {
        const char* space;
        const char* params;
    };
    for (const Case& c : {Case{"yvu9", "uSampleX=4,uSampleY=4,vSampleX=4,vSampleY=4,planar=1,order=YVU"},
                          Case{"yuy2", "uSampleX=2,vSampleX=2,macroPixelSize=2,positions=0:2:1:3,planar=0"},
                          Case{"uyvy", "uSampleX=2,vSampleX=2,macroPixelSize=2,positions=1:3:0:2"},
                          Case{"y41p", "uSampleX=4,vSampleX=4,macroPixelSize=8,positions=1:3:5:7:8:9:10:11:0:4:2:6"}}) {
        const std::string file = std::string("a.") + c.space;
        convert("a.rgb", file, {"--from", "rgb", "--to", c.space, "--size", "1048x520"});
        convert(file, "plain.rgb", {"--from", c.space, "--to", "rgb", "--size", "1048x520"});
        convert(file, "params.rgb", {"--from", "yuv", "--to", "rgb", "--size", "1048x520", "--yuv-params", c.params});
        // The record's route has no rounding term.
        EXPECT_LE(largestDifference(read("params.rgb"), read("plain.rgb")), 1) << c.space;
        zvtest::shell(
            "cd " + folder_.root() + "; cat " + file +
            " | $ZVCLR convert - - --input-format raw --output-format raw --from yuv --to rgb --size 1048x520 "
            "--yuv-params " +
            c.params + " > pipe.rgb");
        EXPECT_EQ(read("pipe.rgb"), read("params.rgb")) << c.space;
    }
}

TEST_F(ConvertRaw, YuvParamsReachFilesOfOtherSpaces) {
    // 4:2:0 in red: luma 81, chroma 90 and 240.
    Bytes planes(16 * 16, 81);
    planes.insert(planes.end(), 64, 90);
    planes.insert(planes.end(), 64, 240);
    zvtest::writeFile(path("red.yuv"), planes);
    const std::vector<std::string> options = {
        "--from", "yuv",          "--size",
        "16x16",  "--yuv-params", "uSampleX=2,uSampleY=2,vSampleX=2,vSampleY=2,planar=1,order=YUV",
        "--to"};
    const auto to = [&](const std::string& space) {
        std::vector<std::string> all = options;
        all.push_back(space);
        return all;
    };
    convert("red.yuv", "red.png", to("rgb"));
    const Bytes png = zvtest::pixelsOfPpm([&] {
        zvtest::shell("cd " + folder_.root() + "; pngtopnm red.png > red.ppm");
        return read("red.ppm");
    }());
    std::vector<std::string> inks = to("cmyk");
    inks.insert(inks.end(), {"--method", "builtin"});
    convert("red.yuv", "red.tif", inks);
    convert("red.tif", "red.cmyk", {"--to", "cmyk"});
    convert("red.yuv", "red.ycck", to("ycck"));
    const Bytes cmyk = read("red.cmyk");
    const Bytes ycck = read("red.ycck");
    for (size_t i = 0; i < 256; ++i) {
        ASSERT_EQ(Bytes(png.begin() + static_cast<std::ptrdiff_t>(3 * i),
                        png.begin() + static_cast<std::ptrdiff_t>(3 * i + 3)),
                  (Bytes{254, 0, 0}));
        ASSERT_EQ(cmyk[4 * i], 1);
        ASSERT_EQ(cmyk[4 * i + 1], 255);
        ASSERT_NEAR(ycck[4 * i + 2], 255, 2);
    }
}

TEST_F(ConvertRaw, LabParamsGoThereAndBack) {
    const Bytes pixels = zvtest::pattern(64, 48);
    zvtest::writeFile(path("a.ppm"), zvtest::ppm(64, 48, pixels));
    const std::string common = "0,100,128,170,96,200";
    convert("a.ppm", "a.lab", {"--to", "lab", "--lab-params", common, "--method", "builtin"});
    const Bytes lab = read("a.lab");
    // The first pixel is black.
    EXPECT_EQ(Bytes(lab.begin(), lab.begin() + 3), (Bytes{0, 128, 96}));
    convert("a.lab", "back.ppm",
            {"--from", "lab", "--to", "rgb", "--size", "64x48", "--lab-params", common, "--method", "builtin"});
    const Bytes back = zvtest::pixelsOfPpm(read("back.ppm"));
    double sum = 0;
    for (size_t i = 0; i < back.size(); ++i) {
        sum += std::abs(back[i] - pixels[i]);
    }
    EXPECT_LT(sum / static_cast<double>(back.size()), 6.0);
    // Into a TIFF file, whose encoding is the plain one.
    convert("a.lab", "a.tif", {"--from", "lab", "--to", "lab", "--size", "64x48", "--lab-params", common});
    convert("a.tif", "plain.lab", {"--to", "lab"});
    const Bytes plain = read("plain.lab");
    EXPECT_EQ(Bytes(plain.begin(), plain.begin() + 3), (Bytes{0, 0, 0}));
    EXPECT_NE(plain, lab);
}

TEST_F(ConvertRaw, DamagedHlsPixelsFailWithTheCode) {
    zvtest::writeFile(path("a.hls"), Bytes{85, 128, 0});
    const zvtest::Outcome outcome =
        zvtest::runTool({"convert", path("a.hls"), path("a.png"), "--from", "hls", "--to", "rgb", "--size", "1x1"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.err.find("ERR_BAD_TAG"), std::string::npos) << outcome.err;
    EXPECT_NE(outcome.err.find("HLS"), std::string::npos) << outcome.err;
    EXPECT_FALSE(zvtest::exists(path("a.png")));
}

}  // namespace
