// zvclr table: charts, and the tables that pictures of them make.
#include <gtest/gtest.h>
#include <tiffio.h>

#include "table_support.h"
#include "zvclr.h"

namespace {

using zvtest::Bytes;
using zvtest::Folder;
using zvtest::Outcome;
using zvtest::readTiff;
using zvtest::runTool;
using zvtest::TiffPicture;

class TableCommand : public testing::Test {
protected:
    std::string path(const std::string& name) const { return folder_.path(name); }

    static void run(const std::vector<std::string>& arguments) {
        const Outcome outcome = runTool(arguments);
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        EXPECT_EQ(outcome.out + outcome.err, "");
    }

    TiffPicture chart(const std::vector<std::string>& options) const {
        std::vector<std::string> all = {"table", "make", path("chart.tif")};
        all.insert(all.end(), options.begin(), options.end());
        run(all);
        return readTiff(path("chart.tif"));
    }

    void refused(const std::vector<std::string>& arguments, const std::vector<std::string>& words) const {
        const std::vector<std::string> before = folder_.names();
        const Outcome outcome = runTool(arguments);
        EXPECT_EQ(outcome.code, 2) << outcome.err;
        EXPECT_EQ(outcome.err.rfind("zvclr: error: ", 0), 0U) << outcome.err;
        for (const std::string& word : words) {
            EXPECT_NE(outcome.err.find(word), std::string::npos) << word << " in: " << outcome.err;
        }
        EXPECT_EQ(folder_.names(), before);
    }

    Folder folder_;
};

Bytes pixelAt(const TiffPicture& picture, uint32_t x, uint32_t y) {
    const auto at = picture.pixels.begin() + std::ptrdiff_t{picture.samples} * (std::ptrdiff_t{y} * picture.width + x);
    return Bytes(at, at + picture.samples);
}

Bytes nodeAt(const TiffPicture& picture, uint32_t node) {
    return pixelAt(picture, node % picture.width, node / picture.width);
}

// The picture with each pixel `scale` times in both directions, and rubbish on the outer quarter of each patch.
TiffPicture magnified(const TiffPicture& picture, uint32_t width, uint32_t height) {
    TiffPicture large = picture;
    large.width = width;
    large.height = height;
    large.pixels.clear();
    const auto place = [](uint32_t pixel, uint32_t pixels, uint32_t patches, bool& edge) {
        const double at = (pixel + 0.5) * patches / pixels;
        const double inside = at - static_cast<uint32_t>(at);
        edge = edge || inside < 0.25 || inside > 0.75;
        return static_cast<uint32_t>(at);
    };
    for (uint32_t y = 0; y < height; ++y) {
        for (uint32_t x = 0; x < width; ++x) {
            bool edge = false;
            const uint32_t column = place(x, width, picture.width, edge);
            const uint32_t line = place(y, height, picture.height, edge);
            const Bytes pixel = pixelAt(picture, column, line);
            for (const uint8_t value : pixel) {
                large.pixels.push_back(edge ? static_cast<uint8_t>(255 - value) : value);
            }
        }
    }
    return large;
}

TiffPicture patternPicture(uint32_t side, uint16_t photometric) {
    TiffPicture picture;
    picture.width = side;
    picture.height = side;
    picture.photometric = photometric;
    picture.pixels = zvtest::patternTable(static_cast<int32_t>(side));
    return picture;
}

// The nodes of a table of three axes; behind them the file is free.
Bytes cubeNodes(const Bytes& pixels) { return Bytes(pixels.begin(), pixels.begin() + 33 * 33 * 33 * 3); }

TEST_F(TableCommand, TheChartOfInksHasTheirNodesInOrder) {
    const TiffPicture picture = chart({});
    EXPECT_EQ(picture.width, 289U);
    EXPECT_EQ(picture.height, 289U);
    EXPECT_EQ(picture.samples, 4);
    EXPECT_EQ(picture.bits, 8);
    EXPECT_EQ(picture.photometric, PHOTOMETRIC_SEPARATED);
    EXPECT_EQ(picture.compression, COMPRESSION_NONE);
    EXPECT_EQ(picture.strips, 1U);
    uint32_t node = 0;
    for (int c = 0; c <= 256; c += 16) {
        for (int m = 0; m <= 256; m += 16) {
            for (int y = 0; y <= 256; y += 16) {
                for (int k = 0; k <= 256; k += 16, ++node) {
                    const Bytes expected = {
                        static_cast<uint8_t>(std::min(c, 255)), static_cast<uint8_t>(std::min(m, 255)),
                        static_cast<uint8_t>(std::min(y, 255)), static_cast<uint8_t>(std::min(k, 255))};
                    ASSERT_EQ(nodeAt(picture, node), expected) << node;
                }
            }
        }
    }
    EXPECT_EQ(node, 289U * 289U);
    EXPECT_EQ(readTiff(path("chart.tif")).pixels, chart({"--from", "cmyk", "--to", "rgb"}).pixels);
}

TEST_F(TableCommand, TheChartOfRgbEndsWithWhite) {
    const TiffPicture picture = chart({"--from", "rgb", "--to", "lab"});
    EXPECT_EQ(picture.width, 190U);
    EXPECT_EQ(picture.height, 190U);
    EXPECT_EQ(picture.samples, 3);
    EXPECT_EQ(picture.photometric, PHOTOMETRIC_RGB);
    EXPECT_EQ(picture.strips, 1U);
    EXPECT_EQ(nodeAt(picture, 0), (Bytes{0, 0, 0}));
    EXPECT_EQ(nodeAt(picture, 1), (Bytes{0, 0, 8}));
    EXPECT_EQ(nodeAt(picture, 32), (Bytes{0, 0, 255}));
    EXPECT_EQ(nodeAt(picture, 33), (Bytes{0, 8, 0}));
    EXPECT_EQ(nodeAt(picture, 33 * 33), (Bytes{8, 0, 0}));
    EXPECT_EQ(nodeAt(picture, 35935), (Bytes{255, 255, 248}));
    for (uint32_t node = 35936; node < 36100; ++node) {
        ASSERT_EQ(nodeAt(picture, node), (Bytes{255, 255, 255})) << node;
    }
}

TEST_F(TableCommand, TheChartOfLabHasSignedValues) {
    const TiffPicture picture = chart({"--from", "lab", "--to", "rgb"});
    EXPECT_EQ(picture.width, 190U);
    EXPECT_EQ(picture.photometric, PHOTOMETRIC_CIELAB);
    EXPECT_EQ(nodeAt(picture, 0), (Bytes{0, 0x80, 0x80}));
    EXPECT_EQ(nodeAt(picture, 1), (Bytes{0, 0x80, 0x88}));
    EXPECT_EQ(nodeAt(picture, 32), (Bytes{0, 0x80, 0x7f}));
    EXPECT_EQ(nodeAt(picture, (16 * 33 + 16) * 33 + 16), (Bytes{128, 0, 0}));
    EXPECT_EQ(nodeAt(picture, (32 * 33 + 15) * 33 + 17), (Bytes{255, 0xf8, 8}));
    EXPECT_EQ(nodeAt(picture, 35936), (Bytes{255, 127, 127}));
    EXPECT_EQ(nodeAt(picture, 35937), (Bytes{255, 0, 0}));
    EXPECT_EQ(nodeAt(picture, 36099), (Bytes{255, 0, 0}));
}

TEST_F(TableCommand, PatchesAreDrawnAsLargeAsTold) {
    const TiffPicture small = chart({"--from", "rgb", "--to", "lab"});
    const TiffPicture large = chart({"--from", "rgb", "--to", "lab", "--patch", "5"});
    ASSERT_EQ(large.width, 950U);
    ASSERT_EQ(large.height, 950U);
    EXPECT_EQ(small.strips, 1U) << "the layout of a table";
    for (uint32_t y = 0; y < large.height; y += 3) {
        for (uint32_t x = 0; x < large.width; x += 3) {
            ASSERT_EQ(pixelAt(large, x, y), pixelAt(small, x / 5, y / 5)) << x << " " << y;
        }
    }
    EXPECT_EQ(chart({"--from", "lab", "--to", "rgb", "--patch", "32"}).width, 6080U);
}

TEST_F(TableCommand, TheChartGoesIntoAPipe) {
    chart({"--from", "lab", "--to", "rgb"});
    zvtest::shell("cd " + folder_.root() + "\n$ZVCLR table make - --from lab --to rgb | cat > piped.tif");
    EXPECT_EQ(zvtest::readFile(path("piped.tif")), zvtest::readFile(path("chart.tif")));
}

TEST_F(TableCommand, APictureOfTheChartsSizeIsTheTable) {
    const TiffPicture pattern = patternPicture(289, PHOTOMETRIC_RGB);
    zvtest::writeFile(path("in.ppm"), zvtest::ppm(289, 289, pattern.pixels));
    run({"table", "read", path("in.ppm"), path("table.tif")});
    const TiffPicture table = readTiff(path("table.tif"));
    EXPECT_EQ(table.width, 289U);
    EXPECT_EQ(table.height, 289U);
    EXPECT_EQ(table.samples, 3);
    EXPECT_EQ(table.bits, 8);
    EXPECT_EQ(table.photometric, PHOTOMETRIC_RGB);
    EXPECT_EQ(table.compression, COMPRESSION_NONE);
    EXPECT_EQ(table.strips, 1U);
    EXPECT_EQ(table.pixels, pattern.pixels);
}

TEST_F(TableCommand, PixelsBehindTheLastNodeAreWhite) {
    const TiffPicture pattern = patternPicture(190, PHOTOMETRIC_CIELAB);
    zvtest::writeTiff(path("in.tif"), pattern);
    run({"table", "read", path("in.tif"), path("table.tif"), "--from", "rgb", "--to", "lab"});
    const TiffPicture table = readTiff(path("table.tif"));
    EXPECT_EQ(table.photometric, PHOTOMETRIC_CIELAB);
    EXPECT_EQ(cubeNodes(table.pixels), cubeNodes(pattern.pixels));
    for (uint32_t node = 35937; node < 36100; ++node) {
        ASSERT_EQ(nodeAt(table, node), (Bytes{255, 0, 0}));
    }
}

TEST_F(TableCommand, TheMiddlesOfPatchesCountAlone) {
    const TiffPicture pattern = patternPicture(190, PHOTOMETRIC_RGB);
    // Whole and broken scales, and sides that differ within two per cent.
    const std::pair<uint32_t, uint32_t> sizes[] = {{760, 760}, {570, 581}, {673, 665}, {1000, 1020}};
    for (const auto& [width, height] : sizes) {
        const TiffPicture scan = magnified(pattern, width, height);
        zvtest::writeFile(path("in.ppm"),
                          zvtest::ppm(static_cast<int32_t>(width), static_cast<int32_t>(height), scan.pixels));
        run({"table", "read", path("in.ppm"), path("table.tif"), "--from", "lab", "--to", "rgb"});
        EXPECT_EQ(cubeNodes(readTiff(path("table.tif")).pixels), cubeNodes(pattern.pixels)) << width << "x" << height;
    }
}

TEST_F(TableCommand, PatchesAreAveraged) {
    // Two by two pixels: 10, 20, 40 and 91 in each channel, whose mean is 40.25, and values of Lab about zero.
    Bytes rgb;
    Bytes lab;
    const uint8_t values[2][2] = {{10, 20}, {40, 91}};
    const int signedValues[2][2] = {{-3, -1}, {4, -8}};
    for (size_t y = 0; y < 380; ++y) {
        for (size_t x = 0; x < 380; ++x) {
            rgb.insert(rgb.end(), 3, values[y % 2][x % 2]);
            lab.push_back(values[y % 2][x % 2]);
            lab.insert(lab.end(), 2, static_cast<uint8_t>(signedValues[y % 2][x % 2]));
        }
    }
    zvtest::writeFile(path("in.ppm"), zvtest::ppm(380, 380, rgb));
    run({"table", "read", path("in.ppm"), path("table.tif"), "--from", "lab", "--to", "rgb"});
    EXPECT_EQ(cubeNodes(readTiff(path("table.tif")).pixels), Bytes(33 * 33 * 33 * 3, 40));

    zvtest::writeFile(path("in.raw"), lab);
    run({"table", "read", path("in.raw"), path("table.tif"), "--from", "rgb", "--to", "lab", "--size", "380x380"});
    const TiffPicture table = readTiff(path("table.tif"));
    EXPECT_EQ(nodeAt(table, 0), (Bytes{40, 0xfe, 0xfe}));
    EXPECT_EQ(nodeAt(table, 35936), (Bytes{40, 0xfe, 0xfe}));
}

TEST_F(TableCommand, AScanInRgbIsTurnedIntoLab) {
    const Bytes pixels = zvtest::pattern(190, 190);
    zvtest::writeFile(path("in.ppm"), zvtest::ppm(190, 190, pixels));
    run({"table", "read", path("in.ppm"), path("table.tif"), "--from", "rgb", "--to", "lab"});
    run({"convert", path("in.ppm"), path("lab.raw"), "--to", "lab"});
    const TiffPicture table = readTiff(path("table.tif"));
    EXPECT_EQ(table.photometric, PHOTOMETRIC_CIELAB);
    EXPECT_EQ(cubeNodes(table.pixels), cubeNodes(zvtest::readFile(path("lab.raw"))));
}

TEST_F(TableCommand, TheTableGoesThroughPipes) {
    zvtest::writeFile(path("in.ppm"), zvtest::ppm(190, 190, zvtest::patternTable(190)));
    run({"table", "read", path("in.ppm"), path("table.tif"), "--from", "lab"});
    zvtest::shell("cd " + folder_.root() + "\ncat in.ppm | $ZVCLR table read - - --from lab | cat > piped.tif");
    EXPECT_EQ(zvtest::readFile(path("piped.tif")), zvtest::readFile(path("table.tif")));
}

TEST_F(TableCommand, PicturesThatAreNoChartAreRefused) {
    const auto picture = [this](int32_t width, int32_t height) {
        zvtest::writeFile(path("in.ppm"), zvtest::ppm(width, height, zvtest::pattern(width, height)));
    };
    const auto read = [this](const std::vector<std::string>& words) {
        refused({"table", "read", path("in.ppm"), path("table.tif")}, words);
    };
    picture(288, 289);
    read({"288 x 289", "289 x 289 patches", "larger"});
    picture(867, 900);
    read({"867 x 900", "square", "crop"});
    picture(300, 300);
    read({"300 x 300", "no multiple", "3 pixels", "crop"});
    picture(578, 580);
    read({"578 x 580", "no multiple"});

    picture(289, 289);
    run({"convert", path("in.ppm"), path("in.tif"), "--to", "cmyk"});
    refused({"table", "read", path("in.tif"), path("table.tif")}, {"holds cmyk", "rgb or lab"});
    refused({"table", "read", path("in.ppm"), path("table.tif"), "--size", "289x289"}, {"--size"});
    zvtest::writeFile(path("in.raw"), zvtest::patternTable(289));
    refused({"table", "read", path("in.raw"), path("table.tif")}, {"--size"});
    refused({"table", "read", path("in.raw"), path("table.tif"), "--size", "289x290"}, {"bytes"});
}

TEST_F(TableCommand, PairsWithoutTablesAreRefused) {
    refused({"table", "make", path("chart.tif"), "--from", "rgb", "--to", "cmyk"},
            {"rgb to cmyk", "cmyk to rgb, from rgb to lab and from lab to rgb"});
    refused({"table", "make", path("chart.tif"), "--to", "lab"}, {"cmyk to lab"});
    refused({"table", "make", path("chart.tif"), "--to", "bgr"}, {"serves bgr too", "rgb"});
    refused({"table", "make", path("chart.tif"), "--from", "purple"}, {"--from", "purple"});
    refused({"table", "make", path("chart.tif"), "--patch", "33"}, {"--patch"});
    refused({"table", "make", path("chart.tif"), "--patch", "0"}, {"--patch"});
    refused({"table", "make"}, {"OUT"});
    refused({"table"}, {"subcommand"});
}

TEST_F(TableCommand, FilesThatCannotBeWrittenFail) {
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
             {"table", "make", "/dev/full"}, {"table", "make", path("missing/chart.tif")}}) {
        const Outcome outcome = runTool(arguments);
        EXPECT_EQ(outcome.code, 1) << outcome.err;
        EXPECT_NE(outcome.err.find("cannot write"), std::string::npos) << outcome.err;
    }
    zvtest::writeFile(path("in.ppm"), "P6\n289 289\n255\n");
    const Outcome outcome = runTool({"table", "read", path("in.ppm"), path("table.tif")});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.err.find("ends too early"), std::string::npos) << outcome.err;
    EXPECT_FALSE(zvtest::exists(path("table.tif")));
}

TEST_F(TableCommand, HelpTellsTheWay) {
    const Outcome outcome = runTool({"table", "--help"});
    EXPECT_EQ(outcome.code, 0);
    for (const char* word : {"make", "read", "scan", "--table"}) {
        EXPECT_NE(outcome.out.find(word), std::string::npos) << word;
    }
    EXPECT_NE(runTool({"table", "make", "--help"}).out.find("--patch"), std::string::npos);
    EXPECT_NE(runTool({"table", "read", "--help"}).out.find("--input-format"), std::string::npos);
}

}  // namespace
