// Conversions by emulation tables: those of the library and those of files.
#include <gtest/gtest.h>
#include <tiffio.h>

#include <algorithm>
#include <filesystem>
#include <numeric>
#include <random>

#include "table_support.h"
#include "tests/support/colour_difference.h"
#include "zvclr.h"

namespace {

using zvtest::Bytes;
using zvtest::Folder;
using zvtest::meanByte;
using zvtest::Outcome;
using zvtest::readTiff;
using zvtest::runTool;
using zvtest::TiffPicture;

uint8_t byte(int value) { return static_cast<uint8_t>(value); }

class ConvertTables : public testing::Test {
protected:
    std::string path(const std::string& name) const { return folder_.path(name); }
    Bytes read(const std::string& name) const { return zvtest::readFile(path(name)); }

    static Outcome run(const std::vector<std::string>& arguments) {
        Outcome outcome = runTool(arguments);
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        return outcome;
    }

    // One raw row of pixels through the tool.
    Bytes converted(const std::string& from, const std::string& to, const Bytes& pixels,
                    std::vector<std::string> options) const {
        zvtest::writeFile(path("pixels.raw"), pixels);
        const size_t width = pixels.size() / (from == "cmyk" || from == "ycck" ? 4 : 3);
        const std::vector<std::string> head = {"convert", path("pixels.raw"), path("result.raw"),           "--from",
                                               from,      "--size",           std::to_string(width) + "x1", "--to",
                                               to};
        options.insert(options.begin(), head.begin(), head.end());
        EXPECT_EQ(run(options).err, "");
        return read("result.raw");
    }

    Bytes emulated(const std::string& from, const std::string& to, const Bytes& pixels) const {
        return converted(from, to, pixels, {"--method", "emulation"});
    }

    // A table that libtiff has written.
    std::string tableFile(int32_t side, int photometric, const Bytes& bytes) const {
        TiffPicture picture;
        picture.width = static_cast<uint32_t>(side);
        picture.height = static_cast<uint32_t>(side);
        picture.photometric = static_cast<uint16_t>(photometric);
        picture.pixels = bytes;
        zvtest::writeTiff(path("table.tif"), picture);
        return path("table.tif");
    }

    // Runs with a picture of the folder; exit code, these words, and no new file.
    void refused(int code, const std::string& in, const std::vector<std::string>& options,
                 const std::vector<std::string>& words) const {
        const std::vector<std::string> before = folder_.names();
        std::vector<std::string> all = {"convert", path(in), path("refused.raw")};
        all.insert(all.end(), options.begin(), options.end());
        const Outcome outcome = runTool(all);
        EXPECT_EQ(outcome.code, code) << outcome.err;
        for (const std::string& word : words) {
            EXPECT_NE(outcome.err.find(word), std::string::npos) << word << " in: " << outcome.err;
        }
        EXPECT_EQ(folder_.names(), before);
    }

    void writeInputs() const {
        zvtest::writeFile(path("a.ppm"), zvtest::ppm(4, 4, zvtest::pattern(4, 4)));
        run({"convert", path("a.ppm"), path("cmyk.tif"), "--to", "cmyk"});
        run({"convert", path("a.ppm"), path("lab.tif"), "--to", "lab"});
    }

    Folder folder_;
};

const Bytes kInks = {0, 0, 0, 0, 0, 0, 0, 240, 0, 0, 0, 255, 255, 255, 255, 255, 240, 0, 0, 0, 8, 0, 0, 0};

TEST_F(ConvertTables, InksGoByTheTableOfTheLibrary) {
    const Bytes expected = {255, 255, 255, 22, 22, 22, 138, 138, 138, 128, 128, 128, 0, 179, 235, 249, 252, 254};
    EXPECT_EQ(emulated("cmyk", "rgb", kInks), expected);
    Bytes reversed = expected;
    for (size_t i = 0; i < reversed.size(); i += 3) std::swap(reversed[i], reversed[i + 2]);
    EXPECT_EQ(emulated("cmyk", "bgr", kInks), reversed);
}

TEST_F(ConvertTables, LabHasSignedValuesOnBothSides) {
    EXPECT_EQ(emulated("rgb", "lab", {0, 0, 0, 0, 0, 8, 128, 128, 128, 255, 255, 255, 255, 0, 0}),
              (Bytes{0, 0, 0, 1, 0, byte(-3), 137, 0, 0, 252, 0, 0, 136, 80, 69}));
    EXPECT_EQ(emulated("bgr", "lab", {0, 0, 255}), (Bytes{136, 80, 69}));
    EXPECT_EQ(emulated("lab", "rgb", {128, 0, 0, 0, 127, 127, 255, 0, 0}),
              (Bytes{119, 119, 119, 118, 0, 61, 251, 251, 251}));
}

TEST_F(ConvertTables, SidesWithoutATableGoByFormulas) {
    const Bytes rgb = emulated("cmyk", "rgb", kInks);
    EXPECT_EQ(emulated("cmyk", "hsv", kInks), converted("rgb", "hsv", rgb, {}));
    EXPECT_EQ(emulated("cmyk", "ycck", kInks), converted("rgb", "ycck", rgb, {}));
    EXPECT_EQ(emulated("cmyk", "lab", kInks), emulated("rgb", "lab", rgb));
    const Bytes lab = {128, 0, 0, 100, 40, byte(-30)};
    EXPECT_EQ(emulated("lab", "yuv", lab), converted("rgb", "yuv", emulated("lab", "rgb", lab), {}));
    const Bytes yuv = {100, 128, 128, 150, 90, 140};
    EXPECT_EQ(emulated("yuv", "lab", yuv), emulated("rgb", "lab", converted("yuv", "rgb", yuv, {})));
}

TEST_F(ConvertTables, PicturesGoBothWays) {
    writeInputs();
    run({"convert", path("cmyk.tif"), path("proof.ppm"), "--to", "rgb", "--method", "emulation"});
    EXPECT_EQ(zvtest::pixelsOfPpm(read("proof.ppm")), emulated("cmyk", "rgb", readTiff(path("cmyk.tif")).pixels));
    run({"convert", path("a.ppm"), path("l.tif"), "--to", "lab", "--method", "emulation", "--compression", "none"});
    EXPECT_EQ(readTiff(path("l.tif")).pixels, emulated("rgb", "lab", zvtest::pattern(4, 4)));
    run({"convert", path("l.tif"), path("back.ppm"), "--to", "rgb", "--method", "emulation"});
    EXPECT_EQ(zvtest::pixelsOfPpm(read("back.ppm")), emulated("lab", "rgb", readTiff(path("l.tif")).pixels));
}

TEST_F(ConvertTables, InksGoByATableFromAFile) {
    const Bytes table = zvtest::patternTable(289);
    const std::string file = tableFile(289, PHOTOMETRIC_RGB, table);
    const auto node = [&table](size_t c, size_t m, size_t y, size_t k) {
        const auto at = table.begin() + static_cast<std::ptrdiff_t>((((c * 17 + m) * 17 + y) * 17 + k) * 3);
        return Bytes(at, at + 3);
    };
    const auto mean = [](const Bytes& low, const Bytes& high) {
        return Bytes{meanByte(low[0], high[0]), meanByte(low[1], high[1]), meanByte(low[2], high[2])};
    };
    const auto inks = [&](const Bytes& pixel, const std::string& to) {
        return converted("cmyk", to, pixel, {"--table", file});
    };
    EXPECT_EQ(inks({48, 96, 144, 240}, "rgb"), node(3, 6, 9, 15));
    EXPECT_EQ(inks({50, 97, 159, 10}, "rgb"), mean(node(3, 6, 9, 0), node(4, 7, 10, 1)));
    EXPECT_EQ(inks({255, 32, 1, 250}, "rgb"), mean(node(15, 2, 0, 15), node(0, 2, 1, 0)));
    const Bytes rgb = node(3, 6, 9, 15);
    EXPECT_EQ(inks({48, 96, 144, 240}, "bgr"), (Bytes{rgb[2], rgb[1], rgb[0]}));
    EXPECT_EQ(inks({48, 96, 144, 240}, "hsv"), converted("rgb", "hsv", rgb, {}));
    EXPECT_EQ(converted("cmyk", "rgb", {48, 96, 144, 240}, {"--method", "custom-emulation", "--table", file}), rgb);
}

TEST_F(ConvertTables, LabGoesByATableFromAFile) {
    const Bytes table = zvtest::patternTable(190);
    const auto node = [&table](size_t p, size_t q, size_t r) {
        const auto at = table.begin() + static_cast<std::ptrdiff_t>(((p * 33 + q) * 33 + r) * 3);
        return Bytes(at, at + 3);
    };
    std::string file = tableFile(190, PHOTOMETRIC_RGB, table);
    EXPECT_EQ(converted("lab", "rgb", {64, byte(-8), 16}, {"--table", file}), node(8, 15, 18));
    const Bytes low = node(8, 15, 18);
    const Bytes high = node(9, 16, 19);
    EXPECT_EQ(converted("lab", "rgb", {65, byte(-1), 17}, {"--table", file}),
              (Bytes{meanByte(low[0], high[0]), meanByte(low[1], high[1]), meanByte(low[2], high[2])}));
    file = tableFile(190, PHOTOMETRIC_CIELAB, table);
    EXPECT_EQ(converted("rgb", "lab", {64, 120, 144}, {"--table", file}), node(8, 15, 18));
    EXPECT_EQ(converted("bgr", "lab", {144, 120, 64}, {"--table", file}), node(8, 15, 18));
    EXPECT_EQ(converted("cmy", "lab", {255 - 64, 255 - 120, 255 - 144}, {"--table", file}), node(8, 15, 18));
}

TEST_F(ConvertTables, AProcessComesOutOfItsTable) {
    for (const char* patch : {"1", "4"}) {
        for (const char* method : {"icc", "builtin"}) {
            run({"table", "make", path("chart.tif"), "--patch", patch});
            run({"convert", path("chart.tif"), path("seen.png"), "--to", "rgb", "--method", method});
            run({"table", "read", path("seen.png"), path("table.tif")});
            Bytes nodes;
            for (int i = 0; i < 4096; ++i) {
                for (const int value : {i & 15, i >> 4 & 15, i >> 8 & 15, (i * 7 + i / 16) & 15}) {
                    nodes.push_back(byte(value * 16));
                }
            }
            EXPECT_EQ(converted("cmyk", "rgb", nodes, {"--table", path("table.tif")}),
                      converted("cmyk", "rgb", nodes, {"--method", method}))
                << method << " " << patch;
        }
    }
}

TEST_F(ConvertTables, AProcessOfLabComesOutOfItsTable) {
    Bytes nodes;
    for (int i = 0; i < 32 * 32 * 32; ++i) {
        for (const int value : {i & 31, i >> 5 & 31, i >> 10}) nodes.push_back(byte(value * 8));
    }
    const std::pair<const char*, const char*> pairs[] = {{"rgb", "lab"}, {"lab", "rgb"}};
    for (const auto& [from, to] : pairs) {
        for (const char* patch : {"1", "4"}) {
            run({"table", "make", path("chart.tif"), "--from", from, "--to", to, "--patch", patch});
            run({"convert", path("chart.tif"), path("seen.tif"), "--to", to});
            run({"table", "read", path("seen.tif"), path("table.tif"), "--from", from, "--to", to});
            EXPECT_EQ(converted(from, to, nodes, {"--table", path("table.tif")}), converted(from, to, nodes, {}))
                << from << " " << patch;
        }
    }
}

TEST_F(ConvertTables, TheChartByThePressProfileIsNearTheTableOfTheLibrary) {
    run({"table", "make", path("chart.tif")});
    run({"convert", path("chart.tif"), path("seen.png"), "--to", "rgb"});
    run({"table", "read", path("seen.png"), path("table.tif")});
    const Bytes inks = readTiff(path("chart.tif")).pixels;
    const Bytes own = converted("cmyk", "rgb", inks, {"--table", path("table.tif")});
    const Bytes built = emulated("cmyk", "rgb", inks);
    ASSERT_EQ(own.size(), size_t{289} * 289 * 3);
    ASSERT_EQ(built.size(), own.size());
    double sum = 0;
    for (size_t i = 0; i < own.size(); ++i) sum += std::abs(own[i] - built[i]);
    EXPECT_LT(sum / static_cast<double>(own.size()), 1.0);
    // Near zero a little light makes many bytes.
    EXPECT_LE(zvtest::largestDifference(own, built), 16);
}

// docs/emulation.md tells these numbers.
struct Spread {
    double mean;
    double highest;  ///< of 95 in a hundred
    double largest;
};

void expectSpread(const Spread& expected, std::vector<double> differences) {
    ASSERT_GE(differences.size(), 40000U);
    std::sort(differences.begin(), differences.end());
    const double sum = std::accumulate(differences.begin(), differences.end(), 0.0);
    const double tolerance = 0.01;
    EXPECT_NEAR(sum / static_cast<double>(differences.size()), expected.mean, tolerance);
    EXPECT_NEAR(differences[differences.size() * 95 / 100], expected.highest, tolerance);
    EXPECT_NEAR(differences.back(), expected.largest, tolerance);
}

Bytes randomBytes(size_t count, unsigned limit) {
    std::mt19937 random(1);
    Bytes bytes(count);
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<uint8_t>(random() % limit); });
    return bytes;
}

zvtest::Lab labOfRgb(const Bytes& rgb, size_t at) { return zvtest::SrgbToLab(rgb[at], rgb[at + 1], rgb[at + 2]); }

std::vector<double> differencesOfRgb(const Bytes& first, const Bytes& second) {
    std::vector<double> differences;
    for (size_t i = 0; i < first.size(); i += 3) {
        differences.push_back(zvtest::DeltaE2000(labOfRgb(first, i), labOfRgb(second, i)));
    }
    return differences;
}

TEST_F(ConvertTables, InksDifferFromTheProfilesAsTold) {
    const auto differences = [this](const Bytes& inks) {
        return differencesOfRgb(converted("cmyk", "rgb", inks, {"--method", "icc"}), emulated("cmyk", "rgb", inks));
    };
    expectSpread({5.13, 25.84, 52.72}, differences(randomBytes(160000, 256)));
    expectSpread({1.50, 2.89, 7.41}, differences(randomBytes(160000, 241)));
}

TEST_F(ConvertTables, LabDiffersFromTheFormulasAsTold) {
    const Bytes rgb = randomBytes(120000, 256);
    const Bytes lab = emulated("rgb", "lab", rgb);
    std::vector<double> differences;
    for (size_t i = 0; i < rgb.size(); i += 3) {
        const zvtest::Lab found = {lab[i] / 2.55, static_cast<double>(static_cast<int8_t>(lab[i + 1])),
                                   static_cast<double>(static_cast<int8_t>(lab[i + 2]))};
        differences.push_back(zvtest::DeltaE2000(labOfRgb(rgb, i), found));
    }
    expectSpread({0.81, 1.75, 4.93}, differences);
    const Bytes exact = converted("rgb", "lab", rgb, {"--method", "icc"});
    expectSpread({1.33, 2.63, 5.64}, differencesOfRgb(rgb, emulated("lab", "rgb", exact)));
}

TEST_F(ConvertTables, PairsWithoutATableAreRefused) {
    writeInputs();
    const std::string file = tableFile(289, PHOTOMETRIC_RGB, zvtest::patternTable(289));
    refused(2, "a.ppm", {"--to", "cmyk", "--method", "emulation"}, {"no table to cmyk", "--method icc"});
    refused(2, "a.ppm", {"--to", "cmyk", "--table", file}, {"no table to cmyk", "--method icc"});
    refused(2, "lab.tif", {"--to", "cmyk", "--method", "emulation"}, {"no table to cmyk"});
    refused(2, "cmyk.tif", {"--to", "cmyk", "--method", "emulation"}, {"no table to cmyk"});
    refused(2, "a.ppm", {"--to", "hsv", "--method", "emulation"}, {"rgb to hsv", "leave it out"});
    refused(2, "a.ppm", {"--to", "bgr", "--method", "emulation"}, {"rgb to bgr"});
    refused(2, "lab.tif", {"--to", "lab", "--method", "emulation"}, {"lab to lab"});
    refused(2, "a.ppm", {"--to", "cmy", "--table", file}, {"custom-emulation", "rgb to cmy"});
    refused(2, "cmyk.tif", {"--to", "lab", "--table", file}, {"two tables", "two runs"});
}

TEST_F(ConvertTables, OptionsThatHaveNoPartAreRefused) {
    writeInputs();
    const std::string file = tableFile(289, PHOTOMETRIC_RGB, zvtest::patternTable(289));
    const std::string profile = std::string(ZVCLR_PROFILES) + "/107.icm";
    refused(2, "cmyk.tif", {"--to", "rgb", "--method", "custom-emulation"}, {"--table is missing"});
    refused(2, "cmyk.tif", {"--to", "rgb", "--method", "emulation", "--table", file}, {"--table", "custom-emulation"});
    refused(2, "cmyk.tif", {"--to", "rgb", "--method", "icc", "--table", file}, {"--table", "--method icc"});
    refused(2, "cmyk.tif", {"--to", "rgb", "--input-profile", profile, "--table", file},
            {"--input-profile", "--table"});
    refused(2, "cmyk.tif", {"--to", "rgb", "--method", "emulation", "--input-profile", profile},
            {"--input-profile", "custom-icc"});
    refused(2, "cmyk.tif", {"--to", "rgb", "--method", "emulation", "--white", "D65"},
            {"--white", "--method emulation"});
    refused(2, "cmyk.tif", {"--to", "rgb", "--table", file, "--gcr", "500"}, {"--gcr", "--method custom-emulation"});
    refused(2, "lab.tif", {"--to", "rgb", "--method", "emulation", "--lab-params", "0,100,128,170,96,200"},
            {"--lab-params", "--method emulation"});
    refused(2, "cmyk.tif", {"--to", "rgb", "--table", "-"}, {"standard input"});
    refused(2, "cmyk.tif", {"--to", "rgb", "--table", std::string(260, 'a')}, {"260 bytes", "259"});
}

TEST_F(ConvertTables, LongNamesAndNamesInAnyScriptAreFound) {
    writeInputs();
    tableFile(289, PHOTOMETRIC_RGB, zvtest::patternTable(289));
    const Bytes expected = converted("cmyk", "rgb", kInks, {"--table", path("table.tif")});
    std::filesystem::copy_file(path("table.tif"), path("t\xc3\xa4"
                                                       "felchen \xe8\xa1\xa8.tif"));
    EXPECT_EQ(converted("cmyk", "rgb", kInks,
                        {"--table", path("t\xc3\xa4"
                                         "felchen \xe8\xa1\xa8.tif")}),
              expected);
    const std::string longest = path(std::string(259 - path("").size() - 4, 'x') + ".tif");
    ASSERT_EQ(longest.size(), 259U);
    std::filesystem::copy_file(path("table.tif"), longest);
    EXPECT_EQ(converted("cmyk", "rgb", kInks, {"--table", longest}), expected);
}

TEST_F(ConvertTables, FilesThatTheLibraryWouldMisreadAreRefused) {
    writeInputs();
    const Bytes pattern = zvtest::patternTable(289);
    TiffPicture good;
    good.width = 289;
    good.height = 289;
    good.pixels = pattern;
    const auto refusedAs = [this](const TiffPicture& picture, const std::string& word, const char* mode = "wl",
                                  const std::function<void(TIFF*)>& more = {}) {
        zvtest::writeTiff(path("bad.tif"), picture, mode, more);
        refused(1, "cmyk.tif", {"--to", "rgb", "--table", path("bad.tif")}, {word, "zvclr table read", "bad.tif"});
    };
    refusedAs(good, "big-endian", "wb");
    refusedAs(good, "BigTIFF", "w8");
    TiffPicture picture = good;
    picture.compression = COMPRESSION_LZW;
    refusedAs(picture, "compressed");
    picture = good;
    picture.strips = 2;
    refusedAs(picture, "2 strips");
    refusedAs(good, "separate planes", "wl",
              [](TIFF* tiff) { TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_SEPARATE); });
    picture = good;
    picture.bits = 16;
    picture.pixels.insert(picture.pixels.end(), pattern.begin(), pattern.end());
    refusedAs(picture, "16 bits");
    picture = good;
    picture.samples = 4;
    picture.photometric = PHOTOMETRIC_SEPARATED;
    picture.pixels.resize(size_t{289} * 289 * 4);
    refusedAs(picture, "4 samples");
    picture = good;
    picture.height = 288;
    picture.pixels.resize(size_t{288} * 289 * 3);
    refusedAs(picture, "83232 pixels");
}

TEST_F(ConvertTables, TilesAndDamageAreRefused) {
    writeInputs();
    const auto refusedAs = [this](const std::string& word) {
        refused(1, "cmyk.tif", {"--to", "rgb", "--table", path("bad.tif")}, {word, "bad.tif"});
    };
    TIFF* tiff = TIFFOpen(path("bad.tif").c_str(), "wl");
    ASSERT_NE(tiff, nullptr);
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, 304);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, 304);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 3);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_TILEWIDTH, 304);
    TIFFSetField(tiff, TIFFTAG_TILELENGTH, 304);
    Bytes tile(size_t{304} * 304 * 3, 9);
    EXPECT_GT(TIFFWriteTile(tiff, tile.data(), 0, 0, 0, 0), 0);
    TIFFClose(tiff);
    refusedAs("tiles");

    run({"table", "read", tableFile(289, PHOTOMETRIC_RGB, zvtest::patternTable(289)), path("good.tif")});
    const Bytes good = read("good.tif");
    zvtest::writeFile(path("bad.tif"), Bytes(good.begin(), good.end() - 1));
    refusedAs("cut off");
    zvtest::writeFile(path("bad.tif"), Bytes(good.begin(), good.begin() + 100));
    refusedAs("directory is cut off");
    zvtest::writeFile(path("bad.tif"), Bytes());
    refusedAs("no TIFF file");
    zvtest::writeFile(path("bad.tif"), std::string("P6\n289 289\n255\n"));
    refusedAs("no TIFF file");
    refused(1, "cmyk.tif", {"--to", "rgb", "--table", path("missing.tif")}, {"missing.tif", "No such file"});
    refused(1, "cmyk.tif", {"--to", "rgb", "--table", folder_.root()}, {"no regular file"});
}

TEST_F(ConvertTables, ValuesBehindAShortAreNotTakenAsSizes) {
    writeInputs();
    run({"table", "read", tableFile(289, PHOTOMETRIC_RGB, zvtest::patternTable(289)), path("good.tif")});
    Bytes file = read("good.tif");
    const auto number = [&file](size_t at, size_t bytes) {
        size_t value = 0;
        for (size_t i = bytes; i-- > 0;) value = value << 8 | file.at(at + i);
        return value;
    };
    // The field of the count of samples has two bytes to spare.
    const size_t directory = number(4, 4);
    size_t entry = directory + 2;
    while (number(entry, 2) != 277) entry += 12;
    ASSERT_EQ(number(entry + 8, 4), 3U);
    file[entry + 10] = 1;
    zvtest::writeFile(path("bad.tif"), file);
    refused(1, "cmyk.tif", {"--to", "rgb", "--table", path("bad.tif")}, {"tag 277"});
}

TEST_F(ConvertTables, ATableThatSaysSomethingElseIsNoted) {
    writeInputs();
    const std::string file = tableFile(190, PHOTOMETRIC_RGB, zvtest::patternTable(190));
    const std::vector<std::string> line = {"convert", path("a.ppm"), path("out.tif"), "--to", "lab", "--table", file};
    Outcome outcome = run(line);
    EXPECT_EQ(outcome.err, "zvclr: note: " + file +
                               ": it does not say that its pixels are lab, but they are taken for "
                               "it\n");
    std::vector<std::string> quiet = line;
    quiet.emplace_back("--quiet");
    EXPECT_EQ(run(quiet).err, "");
    outcome = run({"convert", path("lab.tif"), path("out.ppm"), "--to", "rgb", "--table", file});
    EXPECT_EQ(outcome.err, "");
}

}  // namespace
