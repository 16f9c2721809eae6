// The profiles of the library on files of each format, checked with programs of others.
#include <gtest/gtest.h>
#include <tiffio.h>

#include <memory>

#include "image/image.h"
#include "tool_support.h"
#include "zvclr.h"

namespace {

using zvtest::Bytes;
using zvtest::Folder;
using zvtest::largestDifference;
using zvtest::Outcome;
using zvtest::runTool;

constexpr int32_t kWidth = 64;
constexpr int32_t kHeight = 48;

struct Named {
    int32_t id;
    const char* name;
};

const Named kProfiled[] = {{CLRSPACE_CMYK, "cmyk"}, {CLRSPACE_CMY, "cmy"}, {CLRSPACE_LAB, "lab"}};

// What one converter of the library makes of these pixels.
Bytes byLibrary(int32_t from, int32_t to, const Bytes& pixels, const ClrWhitePoint* white = nullptr) {
    ClrWhitePoint copy = white != nullptr ? *white : ClrWhitePoint{};
    ClrParams params = {};
    params.size = sizeof params;
    params.methods = CLRMETHOD_ICC;
    params.activeMethod = CLRMETHOD_ICC;
    params.whitePoint = white != nullptr ? &copy : nullptr;
    ClrHandle* converter = nullptr;
    EXPECT_EQ(Zv_ClrInit(&converter, from, to, &params), CLR_SUCCESS);
    const size_t count = pixels.size() / static_cast<size_t>(zvimage::spaceOf(from).bits / 8);
    Bytes result(count * static_cast<size_t>(zvimage::spaceOf(to).bits / 8));
    EXPECT_EQ(Zv_ClrConvert(converter, pixels.data(), result.data(), static_cast<int32_t>(count), 1, 0, 0),
              CLR_SUCCESS);
    Zv_ClrFree(converter);
    return result;
}

// Lab with a and b from an offset of 128 to signed, and back.
Bytes turned(Bytes lab) {
    for (size_t i = 0; i < lab.size(); ++i) {
        lab[i] = static_cast<uint8_t>(i % 3 == 0 ? lab[i] : lab[i] ^ 0x80);
    }
    return lab;
}

double meanDifference(const Bytes& first, const Bytes& second) {
    EXPECT_EQ(first.size(), second.size());
    double sum = 0;
    for (size_t i = 0; i < std::min(first.size(), second.size()); ++i) {
        sum += std::abs(first[i] - second[i]);
    }
    return sum / static_cast<double>(first.size());
}

// Colours that a press can print.
Bytes muted(Bytes pixels) {
    for (uint8_t& value : pixels) {
        value = static_cast<uint8_t>(80 + value * 2 / 5);
    }
    return pixels;
}

class ConvertIcc : public testing::Test {
protected:
    ConvertIcc() : pixels_(zvtest::pattern(kWidth, kHeight)) {
        zvtest::writeFile(path("a.ppm"), zvtest::ppm(kWidth, kHeight, pixels_));
        zvtest::writeFile(path("muted.ppm"), zvtest::ppm(kWidth, kHeight, muted(pixels_)));
    }

    std::string path(const std::string& name) const { return folder_.path(name); }
    Bytes read(const std::string& name) const { return zvtest::readFile(path(name)); }
    std::string run(const std::string& line) const { return zvtest::shell("cd " + folder_.root() + "\n" + line); }

    Bytes ppmFrom(const std::string& line) const {
        run(line + " > outside.ppm 2>/dev/null");
        return zvtest::pixelsOfPpm(read("outside.ppm"));
    }

    void convert(const std::string& in, const std::string& out, const std::vector<std::string>& options) const {
        std::vector<std::string> all = {"convert", path(in), path(out)};
        all.insert(all.end(), options.begin(), options.end());
        const Outcome outcome = runTool(all);
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "");
    }

    Folder folder_;
    Bytes pixels_;
};

TEST_F(ConvertIcc, IsTheDefaultForWhatProfilesServe) {
    for (const Named& space : kProfiled) {
        convert("a.ppm", "default.raw", {"--to", space.name});
        convert("a.ppm", "named.raw", {"--to", space.name, "--method", "icc"});
        const Bytes expected = byLibrary(CLRSPACE_RGB, space.id, pixels_);
        EXPECT_EQ(read("default.raw"), space.id == CLRSPACE_LAB ? turned(expected) : expected) << space.name;
        EXPECT_EQ(read("named.raw"), read("default.raw")) << space.name;
        for (const Named& hub : {Named{CLRSPACE_RGB, "rgb"}, Named{CLRSPACE_BGR, "bgr"}}) {
            convert("default.raw", "back.raw", {"--from", space.name, "--size", "64x48", "--to", hub.name});
            EXPECT_EQ(read("back.raw"), byLibrary(space.id, hub.id, expected)) << space.name << " " << hub.name;
        }
    }
}

TEST_F(ConvertIcc, BothHubsGiveTheSamePixels) {
    convert("a.ppm", "a.bgr", {"--to", "bgr"});
    convert("a.bgr", "from-bgr.raw", {"--from", "bgr", "--size", "64x48", "--to", "cmyk"});
    convert("a.ppm", "from-rgb.raw", {"--to", "cmyk"});
    EXPECT_EQ(read("from-bgr.raw"), read("from-rgb.raw"));
}

TEST_F(ConvertIcc, OtherPairsGoByFormulas) {
    for (const Named& space : {Named{CLRSPACE_HSV, "hsv"}, Named{CLRSPACE_XYZ, "xyz"}, Named{CLRSPACE_YCCK, "ycck"}}) {
        convert("a.ppm", "a.raw", {"--to", space.name});
        Bytes expected(read("a.raw").size());
        ASSERT_EQ(Zv_ClrConvertDirect(CLRSPACE_RGB, space.id, pixels_.data(), expected.data(), kWidth, kHeight, 0, 0),
                  CLR_SUCCESS);
        EXPECT_EQ(read("a.raw"), expected) << space.name;
    }
}

TEST_F(ConvertIcc, FormulasAreThereWhenTheyAreNamed) {
    convert("a.ppm", "a.cmyk", {"--to", "cmyk"});
    convert("a.ppm", "a.yuv", {"--to", "yuv"});
    convert("a.ppm", "a.ycck", {"--to", "ycck"});
    struct Case {
        Named from;
        Named to;
    };
    for (const Case& c :
         {Case{{CLRSPACE_CMYK, "cmyk"}, {CLRSPACE_LAB, "lab"}}, Case{{CLRSPACE_YUV, "yuv"}, {CLRSPACE_CMYK, "cmyk"}},
          Case{{CLRSPACE_CMYK, "cmyk"}, {CLRSPACE_HSV, "hsv"}}, Case{{CLRSPACE_YCCK, "ycck"}, {CLRSPACE_RGB, "rgb"}}}) {
        const std::string in = std::string("a.") + c.from.name;
        convert(in, "formulas.raw",
                {"--from", c.from.name, "--to", c.to.name, "--size", "64x48", "--method", "builtin"});
        convert(in, "default.raw", {"--from", c.from.name, "--to", c.to.name, "--size", "64x48"});
        Bytes expected(read("formulas.raw").size());
        ASSERT_EQ(Zv_ClrConvertDirect(c.from.id, c.to.id, read(in).data(), expected.data(), kWidth, kHeight, 0, 0),
                  CLR_SUCCESS);
        EXPECT_EQ(read("formulas.raw"), expected) << c.from.name << " to " << c.to.name;
        EXPECT_NE(read("default.raw"), expected) << c.from.name << " to " << c.to.name;
    }
}

TEST_F(ConvertIcc, PairsWithoutAHubGoThroughRgb) {
    for (const Named& from : kProfiled) {
        const Bytes source = byLibrary(CLRSPACE_RGB, from.id, pixels_);
        zvtest::writeFile(path("source.raw"), from.id == CLRSPACE_LAB ? turned(source) : source);
        for (const Named& to : kProfiled) {
            if (from.id == to.id) {
                continue;
            }
            convert("source.raw", "a.raw", {"--from", from.name, "--to", to.name, "--size", "64x48"});
            const Bytes expected = byLibrary(CLRSPACE_RGB, to.id, byLibrary(from.id, CLRSPACE_RGB, source));
            EXPECT_EQ(read("a.raw"), to.id == CLRSPACE_LAB ? turned(expected) : expected)
                << from.name << " to " << to.name;
        }
    }
}

TEST_F(ConvertIcc, PrintedColoursComeBack) {
    for (const Named& space : kProfiled) {
        const char* file = space.id == CLRSPACE_CMY ? "there.raw" : "there.tif";
        convert("muted.ppm", file, {"--to", space.name});
        const std::vector<std::string> options =
            space.id == CLRSPACE_CMY ? std::vector<std::string>{"--from", "cmy", "--size", "64x48", "--to", "rgb"}
                                     : std::vector<std::string>{"--to", "rgb"};
        convert(file, "back.ppm", options);
        EXPECT_LT(meanDifference(zvtest::pixelsOfPpm(read("back.ppm")), muted(pixels_)), 3.0) << space.name;
    }
}

TEST_F(ConvertIcc, CmykTiffHoldsInkForOthers) {
    convert("a.ppm", "c.tif", {"--to", "cmyk"});
    const std::string info = run("tiffinfo c.tif");
    EXPECT_NE(info.find("Photometric Interpretation: separated"), std::string::npos) << info;
    EXPECT_NE(info.find("Samples/Pixel: 4"), std::string::npos) << info;
    EXPECT_EQ(run("exiftool -s3 -InkSet c.tif"), "CMYK\n");
    run("convert c.tif -depth 8 cmyk:c.raw");
    EXPECT_EQ(read("c.raw"), byLibrary(CLRSPACE_RGB, CLRSPACE_CMYK, pixels_));
    run("ppmmake white 8 8 > white.ppm");
    convert("white.ppm", "white.raw", {"--to", "cmyk"});
    EXPECT_EQ(read("white.raw"), Bytes(8 * 8 * 4, 0));
}

TEST_F(ConvertIcc, CmykJpegHoldsInvertedInkForOthers) {
    convert("muted.ppm", "c.jpg", {"--to", "cmyk", "--quality", "100"});
    EXPECT_NE(run("exiftool -ColorTransform -ColorComponents c.jpg").find("RGB or CMYK"), std::string::npos);
    EXPECT_EQ(run("identify -format '%[colorspace]' c.jpg"), "CMYK");
    const Bytes inks = byLibrary(CLRSPACE_RGB, CLRSPACE_CMYK, muted(pixels_));
    run("convert c.jpg -depth 8 cmyk:c.raw");
    EXPECT_LE(largestDifference(read("c.raw"), inks), 5);
    // djpeg shows the inks by multiplication, for which they must be inverted in the file.
    Bytes shown;
    for (size_t i = 0; i < inks.size(); i += 4) {
        for (size_t c = 0; c < 3; ++c) {
            shown.push_back(static_cast<uint8_t>((255 - inks[i + c]) * (255 - inks[i + 3]) / 255));
        }
    }
    EXPECT_LE(largestDifference(ppmFrom("djpeg c.jpg"), shown), 6);
    convert("c.jpg", "back.ppm", {"--to", "rgb"});
    EXPECT_LT(meanDifference(zvtest::pixelsOfPpm(read("back.ppm")), muted(pixels_)), 3.0);
}

struct CloseTiff {
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};

TEST_F(ConvertIcc, LabTiffTellsItsEncodingTruly) {
    convert("a.ppm", "l.tif", {"--to", "lab"});
    EXPECT_NE(run("tiffinfo l.tif").find("CIE L*a*b*"), std::string::npos);
    EXPECT_EQ(run("exiftool -s3 -PhotometricInterpretation l.tif"), "CIELab\n");
    const std::unique_ptr<TIFF, CloseTiff> tiff(TIFFOpen(path("l.tif").c_str(), "r"));
    ASSERT_NE(tiff, nullptr);
    Bytes row(kWidth * 3);
    // The first pixel is black and the last white; between them a and b have signs.
    ASSERT_EQ(TIFFReadScanline(tiff.get(), row.data(), 0), 1);
    EXPECT_LE(row[0], 3);
    for (const size_t i : {1U, 2U}) EXPECT_LE(std::abs(static_cast<int8_t>(row[i])), 3);
    for (uint32_t y = 1; y < kHeight; ++y) ASSERT_EQ(TIFFReadScanline(tiff.get(), row.data(), y), 1);
    EXPECT_GE(row[row.size() - 3], 252);
    for (const size_t i : {1U, 2U}) EXPECT_LE(std::abs(static_cast<int8_t>(row[row.size() - i])), 2);
    // The colours that another program sees in the file, as far as its formulas go.
    EXPECT_LT(meanDifference(ppmFrom("tiff2rgba -c none l.tif rgba.tif; tifftopnm rgba.tif"), pixels_), 16.0);
}

TEST_F(ConvertIcc, LabTiffOfBothEncodingsIsRead) {
    const Bytes lab = byLibrary(CLRSPACE_RGB, CLRSPACE_LAB, muted(pixels_));
    for (const int photometric : {PHOTOMETRIC_CIELAB, PHOTOMETRIC_ICCLAB}) {
        {
            const std::unique_ptr<TIFF, CloseTiff> tiff(TIFFOpen(path("l.tif").c_str(), "w"));
            ASSERT_NE(tiff, nullptr);
            TIFFSetField(tiff.get(), TIFFTAG_IMAGEWIDTH, kWidth);
            TIFFSetField(tiff.get(), TIFFTAG_IMAGELENGTH, kHeight);
            TIFFSetField(tiff.get(), TIFFTAG_BITSPERSAMPLE, 8);
            TIFFSetField(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, 3);
            TIFFSetField(tiff.get(), TIFFTAG_PHOTOMETRIC, photometric);
            TIFFSetField(tiff.get(), TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
            Bytes stored = photometric == PHOTOMETRIC_CIELAB ? turned(lab) : lab;
            for (uint32_t y = 0; y < kHeight; ++y) {
                ASSERT_EQ(TIFFWriteScanline(tiff.get(), stored.data() + size_t{y} * kWidth * 3, y), 1);
            }
        }
        convert("l.tif", "back.ppm", {"--to", "rgb"});
        EXPECT_EQ(zvtest::pixelsOfPpm(read("back.ppm")), byLibrary(CLRSPACE_LAB, CLRSPACE_RGB, lab)) << photometric;
    }
}

TEST_F(ConvertIcc, InksBecomeLabInOneRun) {
    convert("muted.ppm", "c.tif", {"--to", "cmyk"});
    convert("c.tif", "l.tif", {"--to", "lab"});
    convert("c.tif", "named.tif", {"--to", "lab", "--method", "icc"});
    EXPECT_EQ(read("l.tif"), read("named.tif"));
    convert("c.tif", "formulas.tif", {"--to", "lab", "--method", "builtin"});
    EXPECT_NE(read("l.tif"), read("formulas.tif"));
    convert("l.tif", "back.ppm", {"--to", "rgb"});
    EXPECT_LT(meanDifference(zvtest::pixelsOfPpm(read("back.ppm")), muted(pixels_)), 3.0);
}

TEST_F(ConvertIcc, WhitePointsReachTheLibrary) {
    const Bytes plain = byLibrary(CLRSPACE_RGB, CLRSPACE_CMYK, pixels_);
    for (const auto& [name, code] : {std::pair("D50", 50U), std::pair("D55", 55U), std::pair("D65", 65U),
                                     std::pair("D75", 75U), std::pair("D93", 93U)}) {
        convert("a.ppm", "a.raw", {"--to", "cmyk", "--white", name});
        const ClrWhitePoint white = {code, 0, 0};
        EXPECT_EQ(read("a.raw"), byLibrary(CLRSPACE_RGB, CLRSPACE_CMYK, pixels_, &white)) << name;
        EXPECT_EQ(read("a.raw") == plain, code == 50U) << name;
    }
    convert("a.ppm", "a.raw", {"--to", "lab", "--white", "0.31,0.33"});
    const ClrWhitePoint white = {0, 0.31, 0.33};
    EXPECT_EQ(read("a.raw"), turned(byLibrary(CLRSPACE_RGB, CLRSPACE_LAB, pixels_, &white)));
    EXPECT_NE(read("a.raw"), turned(byLibrary(CLRSPACE_RGB, CLRSPACE_LAB, pixels_)));
}

TEST_F(ConvertIcc, StripsGiveWhatOneCallGives) {
    const Bytes large = zvtest::pattern(1000, 900);
    zvtest::writeFile(path("large.ppm"), zvtest::ppm(1000, 900, large));
    for (const Named& space : kProfiled) {
        convert("large.ppm", "large.raw", {"--to", space.name});
        const Bytes expected = byLibrary(CLRSPACE_RGB, space.id, large);
        EXPECT_TRUE(read("large.raw") == (space.id == CLRSPACE_LAB ? turned(expected) : expected)) << space.name;
        convert("large.raw", "back.raw", {"--from", space.name, "--size", "1000x900", "--to", "rgb"});
        EXPECT_TRUE(read("back.raw") == byLibrary(space.id, CLRSPACE_RGB, expected)) << space.name;
    }
}

TEST_F(ConvertIcc, PipesCarryInk) {
    run("cat muted.ppm | $ZVCLR convert - - --to cmyk --output-format tiff | cat > piped.tif; "
        "$ZVCLR convert muted.ppm file.tif --to cmyk; cat piped.tif | $ZVCLR convert - back.ppm --to rgb");
    EXPECT_EQ(read("piped.tif"), read("file.tif"));
    EXPECT_LT(meanDifference(zvtest::pixelsOfPpm(read("back.ppm")), muted(pixels_)), 3.0);
}

TEST_F(ConvertIcc, CutFilesKeepTheOldOutput) {
    convert("a.ppm", "c.tif", {"--to", "cmyk"});
    convert("a.ppm", "l.tif", {"--to", "lab"});
    convert("a.ppm", "c.jpg", {"--to", "cmyk"});
    zvtest::writeFile(path("out.png"), Bytes{'o', 'l', 'd'});
    for (const char* name : {"c.tif", "l.tif", "c.jpg"}) {
        const Bytes whole = read(name);
        for (const size_t percent : {1U, 50U, 97U}) {
            zvtest::writeFile(
                path("cut"),
                Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(whole.size() * percent / 100)));
            const std::vector<std::string> before = folder_.names();
            const Outcome outcome = runTool({"convert", path("cut"), path("out.png"), "--to", "rgb"});
            EXPECT_EQ(outcome.code, 1) << name << " " << percent << " " << outcome.err;
            EXPECT_EQ(read("out.png"), (Bytes{'o', 'l', 'd'}));
            EXPECT_EQ(folder_.names(), before);
        }
    }
}

// Pairs of which the profiles serve one side and the formulas the other, and pixels of ycck.

// More than a strip, in a size that every space can hold.
constexpr int32_t kLargeWidth = 1040;
constexpr int32_t kLargeHeight = 520;
const std::string kLargeSize = "1040x520";

const char* const kProfiledNames[] = {"cmyk", "cmy", "lab"};
const char* const kOthers[] = {"yuv",  "hsv",  "hls",  "yiq",   "xyz", "yuy2",
                               "yvu9", "y41p", "uyvy", "ycbcr", "hsi", "rgb444"};

class ConvertSides : public testing::Test {
protected:
    ConvertSides() {
        zvtest::writeFile(path("a.ppm"),
                          zvtest::ppm(kLargeWidth, kLargeHeight, zvtest::pattern(kLargeWidth, kLargeHeight)));
    }

    std::string path(const std::string& name) const { return folder_.path(name); }
    Bytes read(const std::string& name) const { return zvtest::readFile(path(name)); }

    void convert(const std::string& in, const std::string& out, const std::vector<std::string>& options) const {
        std::vector<std::string> all = {"convert", path(in), path(out)};
        all.insert(all.end(), options.begin(), options.end());
        const Outcome outcome = runTool(all);
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "");
    }

    // Raw pixels of one space to those of another.
    void pixels(const std::string& in, const std::string& from, const std::string& out, const std::string& to,
                const std::vector<std::string>& more = {}) const {
        std::vector<std::string> options = {
            "--from", from, "--to", to, "--size", kLargeSize, "--input-format", "raw", "--output-format", "raw"};
        options.insert(options.end(), more.begin(), more.end());
        convert(in, out, options);
    }

    // Expects exit code 2, these words, and no output.
    void refused(const std::string& in, const std::vector<std::string>& options,
                 const std::vector<std::string>& words) const {
        std::vector<std::string> all = {"convert", path(in), path("refused.raw")};
        all.insert(all.end(), options.begin(), options.end());
        const Outcome outcome = runTool(all);
        EXPECT_EQ(outcome.code, 2) << outcome.err;
        for (const std::string& word : words) {
            EXPECT_NE(outcome.err.find(word), std::string::npos) << word << " in: " << outcome.err;
        }
        EXPECT_FALSE(zvtest::exists(path("refused.raw")));
    }

    Folder folder_;
};

TEST_F(ConvertSides, OtherSourcesReachInkAndLabThroughRgb) {
    for (const char* from : kOthers) {
        convert("a.ppm", "source", {"--to", from, "--output-format", "raw"});
        pixels("source", from, "rgb", "rgb", {"--method", "builtin"});
        for (const char* to : kProfiledNames) {
            pixels("source", from, "default", to);
            pixels("source", from, "named", to, {"--method", "icc"});
            pixels("rgb", "rgb", "expected", to, {"--method", "icc"});
            EXPECT_TRUE(read("default") == read("expected")) << from << " to " << to;
            EXPECT_TRUE(read("named") == read("expected")) << from << " to " << to;
        }
    }
}

TEST_F(ConvertSides, InkAndLabReachOtherTargetsThroughRgb) {
    for (const char* from : kProfiledNames) {
        convert("a.ppm", "source", {"--to", from, "--output-format", "raw"});
        pixels("source", from, "rgb", "rgb", {"--method", "icc"});
        for (const char* to : kOthers) {
            pixels("source", from, "default", to);
            pixels("rgb", "rgb", "expected", to, {"--method", "builtin"});
            EXPECT_TRUE(read("default") == read("expected")) << from << " to " << to;
        }
    }
}

TEST_F(ConvertSides, YuvLayoutsReachInkAndLab) {
    convert("a.ppm", "a.yvu9", {"--to", "yvu9"});
    convert("a.ppm", "a.yuy2", {"--to", "yuy2"});
    struct Case {
        const char* file;
        const char* params;
    };
    for (const Case& c : {Case{"a.yvu9", "uSampleX=4,uSampleY=4,vSampleX=4,vSampleY=4,planar=1,order=YVU"},
                          Case{"a.yuy2", "uSampleX=2,vSampleX=2,macroPixelSize=2,positions=0:2:1:3"}}) {
        pixels(c.file, "yuv", "rgb", "rgb", {"--yuv-params", c.params, "--method", "builtin"});
        for (const char* to : kProfiledNames) {
            pixels(c.file, "yuv", "default", to, {"--yuv-params", c.params});
            pixels("rgb", "rgb", "expected", to, {"--method", "icc"});
            EXPECT_TRUE(read("default") == read("expected")) << c.file << " to " << to;
        }
    }
}

TEST_F(ConvertSides, YcckJpegIsSeenByProfiles) {
    convert("a.ppm", "y.jpg", {"--to", "ycck"});
    convert("y.jpg", "y.ycck", {"--from", "ycck", "--to", "ycck"});
    convert("y.jpg", "y.png", {"--from", "ycck", "--to", "rgb"});
    zvtest::shell("cd " + folder_.root() + "; pngtopnm y.png > y.ppm");
    const Bytes expected = byLibrary(CLRSPACE_YCCK, CLRSPACE_RGB, read("y.ycck"));
    EXPECT_TRUE(zvtest::pixelsOfPpm(read("y.ppm")) == expected);
    convert("y.jpg", "y.bgr", {"--from", "ycck", "--to", "bgr"});
    EXPECT_TRUE(read("y.bgr") == byLibrary(CLRSPACE_YCCK, CLRSPACE_BGR, read("y.ycck")));
    // Without --from the reader turns the file into inks, with roundings of its own.
    convert("y.jpg", "inks.png", {"--to", "rgb"});
    zvtest::shell("cd " + folder_.root() + "; pngtopnm inks.png > inks.ppm");
    EXPECT_LE(zvtest::largestDifference(zvtest::pixelsOfPpm(read("inks.ppm")), expected), 6);
    convert("y.jpg", "formulas.png", {"--from", "ycck", "--to", "rgb", "--method", "builtin"});
    EXPECT_NE(read("formulas.png"), read("y.png"));
}

TEST_F(ConvertSides, YcckReachesOtherTargetsThroughRgb) {
    convert("a.ppm", "a.ycck", {"--to", "ycck"});
    zvtest::writeFile(path("rgb"), byLibrary(CLRSPACE_YCCK, CLRSPACE_RGB, read("a.ycck")));
    for (const char* to : {"hsv", "yvu9", "rgb444"}) {
        pixels("a.ycck", "ycck", "default", to);
        pixels("rgb", "rgb", "expected", to, {"--method", "builtin"});
        EXPECT_TRUE(read("default") == read("expected")) << to;
    }
    for (const char* to : kProfiledNames) {
        pixels("a.ycck", "ycck", "default", to);
        pixels("rgb", "rgb", "expected", to, {"--method", "icc"});
        EXPECT_TRUE(read("default") == read("expected")) << to;
    }
}

TEST_F(ConvertSides, YcckIsMadeByFormulas) {
    for (const char* from : {"cmyk", "lab", "hsv"}) {
        convert("a.ppm", "source", {"--to", from, "--output-format", "raw"});
        pixels("source", from, "default", "ycck");
        pixels("source", from, "rgb", "rgb", {"--method", "builtin"});
        pixels("rgb", "rgb", "expected", "ycck");
        EXPECT_TRUE(read("default") == read("expected")) << from;
        refused("source",
                {"--from", from, "--to", "ycck", "--size", kLargeSize, "--method", "icc", "--input-format", "raw"},
                {std::string("not ") + from + " to ycck", "--method builtin"});
    }
}

TEST_F(ConvertSides, WhitePointsWorkOnTheSideOfProfiles) {
    convert("a.ppm", "a.yuv", {"--to", "yuv"});
    pixels("a.yuv", "yuv", "white", "cmyk", {"--white", "D65"});
    pixels("a.yuv", "yuv", "plain", "cmyk");
    pixels("a.yuv", "yuv", "rgb", "rgb");
    pixels("rgb", "rgb", "expected", "cmyk", {"--white", "D65"});
    EXPECT_TRUE(read("white") == read("expected"));
    EXPECT_TRUE(read("white") != read("plain"));
    refused("plain", {"--from", "cmyk", "--to", "hsv", "--size", kLargeSize, "--white", "D65", "--input-format", "raw"},
            {"--white", "nothing to do", "cmyk to hsv"});
}

TEST_F(ConvertSides, ParametersOfFormulasNeedTheirMethod) {
    convert("a.ppm", "a.yuv", {"--to", "yuv"});
    convert("a.ppm", "a.cmyk", {"--to", "cmyk"});
    convert("a.ppm", "a.lab", {"--to", "lab"});
    const std::string common = "0,100,128,170,96,200";
    struct Case {
        const char* from;
        const char* to;
        std::vector<std::string> options;
    };
    for (const Case& c : {Case{"yuv", "cmyk", {"--gcr", "500"}}, Case{"cmyk", "hsv", {"--gcr", "500"}},
                          Case{"yuv", "lab", {"--lab-params", common}}, Case{"lab", "hsv", {"--lab-params", common}}}) {
        const std::string in = std::string("a.") + c.from;
        std::vector<std::string> options = {"--from", c.from, "--to", c.to, "--size", kLargeSize};
        options.insert(options.end(), c.options.begin(), c.options.end());
        refused(in, options,
                {c.options[0] + " goes with --method builtin only",
                 std::string(c.from) + " to " + c.to + " goes by --method icc", "add --method builtin"});
        options.insert(options.end(), {"--method", "builtin"});
        convert(in, std::string("done.") + c.to, options);
    }
}

}  // namespace
