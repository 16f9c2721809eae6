// Runs the example programs and the script behind the sample picture as a user would.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "image/image.h"
#include "program_runs.h"
#include "zvclr.h"
#include "zvspaces.h"

namespace {

namespace fs = std::filesystem;
using zvtest::Outcome;

struct Picture {
    int32_t width = 0;
    int32_t height = 0;
    std::vector<uint8_t> rgb;

    std::array<uint8_t, 3> at(int32_t x, int32_t y) const {
        const size_t index = (static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)) * 3;
        return {rgb[index], rgb[index + 1], rgb[index + 2]};
    }
};

struct Row {
    double speedTo, speedBack, mean;
    int maximum;
};

// What the contact sheet shows beside the formulas of every space.
const char* const kProfileRoutes[] = {"icc-cmyk", "icc-cmy", "icc-lab"};
constexpr size_t kRoutes = size_t{ZVCLR_SPACE_COUNT} + std::size(kProfileRoutes);

const std::string kSample = std::string(PROJECT_FOLDER) + "/examples/sample.png";

Picture load(const std::string& path) {
    const auto reader = zvimage::openImage(path, {});
    const zvimage::ImageInfo& info = reader->info();
    EXPECT_EQ(info.space, CLRSPACE_RGB) << path;
    Picture picture{info.width, info.height, std::vector<uint8_t>(info.bytesPerRow * static_cast<size_t>(info.height))};
    reader->readRows(picture.rgb.data(), info.height);
    reader->finish();
    return picture;
}

/// A picture of noise, as a PPM file.
void writeNoise(const fs::path& path, int width, int height) {
    std::mt19937 random(20);
    std::string bytes = "P6\n" + std::to_string(width) + " " + std::to_string(height) + "\n255\n";
    for (int i = 0; i < width * height * 3; ++i) bytes += static_cast<char>(random() & 255);
    std::ofstream(path, std::ios::binary) << bytes;
}

std::map<std::string, Row> tableOf(const std::string& text) {
    std::map<std::string, Row> table;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string name, rest;
        Row row{};
        if (words >> name >> row.speedTo >> row.speedBack >> row.mean >> row.maximum && !(words >> rest))
            table[name] = row;
    }
    return table;
}

class Examples : public zvtest::ProgramRuns {
protected:
    Outcome contactSheet(const std::string& input, const std::string& output) const {
        return run(std::string(CONTACT_SHEET_PROGRAM) + " '" + input + "' '" + output + "'");
    }
};

TEST_F(Examples, MinimalProgramPrintsTheInks) {
    const Outcome result = run(MINIMAL_PROGRAM);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out,
              "R 255  G   0  B   0  ->  C   0  M 255  Y 255  K   0\n"
              "R 200  G 100  B  50  ->  C  55  M 155  Y 205  K   9\n"
              "R 128  G 128  B 128  ->  C 127  M 127  Y 127  K  22\n");
}

TEST_F(Examples, ReadmeProgramPrintsWhatItsCommentSays) {
    const Outcome result = run(README_PROGRAM);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "brown: C 55  M 155  Y 205  K 9\n");
}

TEST_F(Examples, SampleScriptReproducesThePixelsOfTheSamplePicture) {
    const std::string again = path("again.png");
    const Outcome result =
        run(std::string(PYTHON_PROGRAM) + " '" + PROJECT_FOLDER + "/scripts/make_sample.py' '" + again + "'");
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const Picture committed = load(kSample), drawn = load(again);
    EXPECT_EQ(drawn.width, committed.width);
    EXPECT_EQ(drawn.height, committed.height);
    EXPECT_TRUE(drawn.rgb == committed.rgb);
}

TEST_F(Examples, SamplePictureFitsEverySpaceAndStaysSmall) {
    const Picture picture = load(kSample);
    EXPECT_EQ(picture.width % 8, 0);
    EXPECT_EQ(picture.height % 8, 0);
    EXPECT_LT(fs::file_size(kSample), 1000000U);
}

TEST_F(Examples, ContactSheetMeasuresEverySpace) {
    const Outcome result = contactSheet(kSample, path("sheet.png"));
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.err, "");
    const std::map<std::string, Row> table = tableOf(result.out);
    EXPECT_EQ(table.size(), kRoutes);
#define EXPECT_ROW(id, name, bits, widthMultiple, heightMultiple, bytes, description)                                  \
    ASSERT_EQ(table.count(name), 1U) << name;                                                                          \
    EXPECT_GT(table.at(name).speedTo, 0.0) << name;                                                                    \
    EXPECT_GT(table.at(name).speedBack, 0.0) << name;                                                                  \
    EXPECT_LE(table.at(name).mean, table.at(name).maximum) << name;
    ZVCLR_SPACES(EXPECT_ROW)
#undef EXPECT_ROW
    for (const char* exact : {"rgb", "bgr", "cmy"}) EXPECT_EQ(table.at(exact).maximum, 0) << exact;
    // Four bits are cut off and not put back.
    EXPECT_EQ(table.at("rgb444").maximum, 15);
}

TEST_F(Examples, ContactSheetMeasuresTheProfilesToo) {
    const Outcome result = contactSheet(kSample, path("sheet.png"));
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const std::map<std::string, Row> table = tableOf(result.out);
    for (const char* route : kProfileRoutes) {
        ASSERT_EQ(table.count(route), 1U) << route;
        const Row& row = table.at(route);
        EXPECT_GT(row.speedTo, 0.0) << route;
        EXPECT_GT(row.speedBack, 0.0) << route;
        // Other pixels than those of the formulas, and close to the picture all the same.
        EXPECT_GT(row.maximum, 0) << route;
        EXPECT_LT(row.mean, 6.0) << route;
    }
    // A press prints fewer colours than a screen shows.
    EXPECT_GT(table.at("icc-cmyk").maximum, 2 * table.at("icc-cmy").maximum);
}

TEST_F(Examples, ContactSheetShowsTheRoundTripsBesideTheOriginal) {
    ASSERT_EQ(contactSheet(kSample, path("sheet.png")).exitCode, 0);
    const Picture sheet = load(path("sheet.png"));
    constexpr int32_t thumbnailWidth = 240, thumbnailHeight = 160, columnStep = 256;
    ASSERT_EQ(sheet.width, 5 * columnStep + 16);
    ASSERT_EQ((sheet.height - 16) % 5, 0);
    const int32_t lineStep = (sheet.height - 16) / 5;

    // Cell 0 is the original, the spaces follow in the order of their ids: 1 is rgb, 13 is bgr, 18 is rgb444;
    // the profiles come after them: 19 is icc-cmyk.
    int differing = 0, pressSum = 0;
    for (int32_t y = 0; y < thumbnailHeight; ++y) {
        for (int32_t x = 0; x < thumbnailWidth; ++x) {
            const auto original = sheet.at(16 + x, 16 + y);
            EXPECT_EQ(sheet.at(16 + columnStep + x, 16 + y), original);
            EXPECT_EQ(sheet.at(16 + 3 * columnStep + x, 16 + 2 * lineStep + y), original);
            if (sheet.at(16 + 3 * columnStep + x, 16 + 3 * lineStep + y) != original) ++differing;
            const auto press = sheet.at(16 + 4 * columnStep + x, 16 + 3 * lineStep + y);
            for (size_t c = 0; c < 3; ++c) pressSum += std::abs(press[c] - original[c]);
        }
    }
    EXPECT_GT(pressSum, 0);
    EXPECT_LT(pressSum, 6 * 3 * thumbnailWidth * thumbnailHeight);
    EXPECT_GT(differing, thumbnailWidth * thumbnailHeight / 2);
}

TEST_F(Examples, ThumbnailIsTheMeanOfTheRoundTrippedPixels) {
    ASSERT_EQ(contactSheet(kSample, path("sheet.png")).exitCode, 0);
    const Picture sheet = load(path("sheet.png")), sample = load(kSample);
    for (int32_t y = 0; y < 160; y += 7) {
        for (int32_t x = 0; x < 240; x += 7) {
            for (size_t channel = 0; channel < 3; ++channel) {
                int sum = 0;
                for (int32_t i = 0; i < 16; ++i) sum += sample.at(4 * x + i % 4, 4 * y + i / 4)[channel];
                ASSERT_EQ(sheet.at(16 + x, 16 + y)[channel], (sum + 8) / 16) << x << " " << y;
            }
        }
    }
}

TEST_F(Examples, ContactSheetCropsOddSizes) {
    writeNoise(path("odd.ppm"), 101, 67);
    const Outcome result = contactSheet(path("odd.ppm"), path("sheet.png"));
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(tableOf(result.out).size(), kRoutes);
    // The thumbnail is the cropped picture itself, in the middle of its cell.
    const Picture sheet = load(path("sheet.png")), noise = load(path("odd.ppm"));
    for (int32_t y = 0; y < 64; ++y) {
        for (int32_t x = 0; x < 96; ++x) ASSERT_EQ(sheet.at(16 + 72 + x, 16 + y), noise.at(x, y));
    }
}

TEST_F(Examples, ContactSheetWorksByStripsAsOnTheWhole) {
    // More than one strip, and a last strip that ends inside the rows that are cropped.
    writeNoise(path("large.ppm"), 1607, 1303);
    const Outcome result = contactSheet(path("large.ppm"), path("sheet.png"));
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const std::map<std::string, Row> table = tableOf(result.out);
    ASSERT_EQ(table.size(), kRoutes);

    const Picture noise = load(path("large.ppm"));
    constexpr int32_t width = 1600, height = 1300;
    std::vector<uint8_t> rgb, yuv(size_t{width} * height * 9 / 8), back(size_t{width} * height * 3);
    for (int32_t y = 0; y < height; ++y) {
        const auto row = noise.rgb.begin() + static_cast<ptrdiff_t>(y) * noise.width * 3;
        rgb.insert(rgb.end(), row, row + width * 3);
    }
    ASSERT_EQ(Zv_ClrConvertDirect(CLRSPACE_RGB, CLRSPACE_YVU9, rgb.data(), yuv.data(), width, height, 0, 0), 1);
    ASSERT_EQ(Zv_ClrConvertDirect(CLRSPACE_YVU9, CLRSPACE_RGB, yuv.data(), back.data(), width, height, 0, 0), 1);
    double sum = 0.0;
    int maximum = 0;
    for (size_t i = 0; i < rgb.size(); ++i) {
        const int difference = std::abs(rgb[i] - back[i]);
        sum += difference;
        maximum = std::max(maximum, difference);
    }
    EXPECT_NEAR(table.at("yvu9").mean, sum / static_cast<double>(rgb.size()), 0.0006);
    EXPECT_EQ(table.at("yvu9").maximum, maximum);
}

TEST_F(Examples, ContactSheetTakesAPictureOfInks) {
    // One CMYK pixel colour, 0 255 255 0, in 8 x 8: pure red to the library's built-in method.
    const std::vector<uint8_t> inks = [] {
        std::vector<uint8_t> pixels;
        for (int i = 0; i < 64; ++i) pixels.insert(pixels.end(), {0, 255, 255, 0});
        return pixels;
    }();
    const auto writer = zvimage::createImage(path("inks.tif"), 8, 8, CLRSPACE_CMYK, {});
    writer->writeRows(inks.data(), 8);
    writer->finish();
    ASSERT_EQ(contactSheet(path("inks.tif"), path("sheet.png")).exitCode, 0);
    const Picture sheet = load(path("sheet.png"));
    EXPECT_EQ(sheet.at(16 + 116, 16), (std::array<uint8_t, 3>{255, 0, 0}));
}

TEST_F(Examples, ContactSheetRefusesAPictureThatIsTooSmall) {
    writeNoise(path("small.ppm"), 7, 4);
    const Outcome result = contactSheet(path("small.ppm"), path("sheet.png"));
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_NE(result.err.find("7 x 4"), std::string::npos) << result.err;
    EXPECT_FALSE(fs::exists(path("sheet.png")));
}

TEST_F(Examples, ContactSheetRefusesWhatItCannotReadOrWrite) {
    std::ofstream(path("text.png")) << "no picture at all";
    writeNoise(path("good.ppm"), 16, 16);
    fs::copy_file(kSample, path("cut.png"));
    fs::resize_file(path("cut.png"), fs::file_size(kSample) / 2);

    EXPECT_EQ(contactSheet(path("missing.png"), path("sheet.png")).exitCode, 1);
    EXPECT_EQ(contactSheet(path("text.png"), path("sheet.png")).exitCode, 1);
    EXPECT_EQ(contactSheet(path("cut.png"), path("sheet.png")).exitCode, 1);
    EXPECT_FALSE(fs::exists(path("sheet.png")));
    EXPECT_EQ(contactSheet(path("good.ppm"), path("nowhere/sheet.png")).exitCode, 1);
    EXPECT_EQ(run(CONTACT_SHEET_PROGRAM).exitCode, 2);
}

TEST_F(Examples, DemoRefusesAMissingPictureWithOneLine) {
    const Outcome result = run(std::string("'") + PROJECT_FOLDER + "/scripts/demo' '" + path("missing.png") + "'");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "Demo failed: there is no readable file " + path("missing.png") + ".\n");
}

}  // namespace
