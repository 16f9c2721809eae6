// The program on files of each format, checked with programs of others.
#include <gtest/gtest.h>

#include "tool_support.h"

namespace {

using zvtest::Bytes;
using zvtest::Folder;
using zvtest::largestDifference;
using zvtest::runTool;
using zvtest::shell;

class ConvertFiles : public testing::Test {
protected:
    ConvertFiles() : pixels_(zvtest::pattern(64, 48)) {
        zvtest::writeFile(path("a.ppm"), zvtest::ppm(64, 48, pixels_));
    }

    std::string path(const std::string& name) const { return folder_.path(name); }

    // Runs in the folder of the test.
    std::string run(const std::string& line) const { return shell("cd " + folder_.root() + "\n" + line); }

    // The pixels that a command of others writes as a P5 or P6 file.
    Bytes ppmFrom(const std::string& line) const {
        run(line + " > outside.ppm 2>/dev/null");
        return zvtest::pixelsOfPpm(zvtest::readFile(path("outside.ppm")));
    }

    Bytes read(const std::string& name) const { return zvtest::readFile(path(name)); }

    void convert(const std::vector<std::string>& arguments) const {
        std::vector<std::string> all = {"convert"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        const zvtest::Outcome outcome = runTool(all);
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "");
        EXPECT_EQ(outcome.out, "");
    }

    // The complement of the pattern and a fourth channel without ink.
    Bytes inks() const {
        Bytes inks;
        for (size_t i = 0; i < pixels_.size(); i += 3) {
            for (size_t c = 0; c < 3; ++c) {
                inks.push_back(static_cast<uint8_t>(255 - pixels_[i + c]));
            }
            inks.push_back(0);
        }
        return inks;
    }

    Folder folder_;
    Bytes pixels_;
};

TEST_F(ConvertFiles, PngIsReadByOthersAndBack) {
    convert({path("a.ppm"), path("a.png"), "--to", "rgb"});
    EXPECT_EQ(ppmFrom("pngtopnm a.png"), pixels_);
    EXPECT_EQ(run("identify -format '%m %w %h %z' a.png"), "PNG 64 48 8");
    convert({path("a.png"), path("b.ppm"), "--to", "rgb"});
    EXPECT_EQ(read("b.ppm"), read("a.ppm"));
}

TEST_F(ConvertFiles, PngOfEveryKindIsRead) {
    run(R"(
        pnmtopng -interlace a.ppm > interlaced.png
        pamdepth 65535 a.ppm | pnmtopng > deep.png
        ppmtopgm a.ppm > grey.pgm
        pnmtopng grey.pgm > grey.png
        pamdepth 3 grey.pgm | pnmtopng > shallow.png
        pnmquant 16 a.ppm > few.ppm
        pnmtopng few.ppm > palette.png)");
    EXPECT_NE(run("file palette.png").find("colormap"), std::string::npos);
    for (const char* name : {"interlaced", "deep"}) {
        convert({path(std::string(name) + ".png"), path("out.ppm"), "--to", "rgb"});
        EXPECT_EQ(zvtest::pixelsOfPpm(read("out.ppm")), pixels_) << name;
    }
    for (const char* name : {"grey", "shallow", "palette"}) {
        const std::string file = std::string(name) + ".png";
        convert({path(file), path("out.ppm"), "--to", "rgb"});
        EXPECT_EQ(zvtest::pixelsOfPpm(read("out.ppm")), ppmFrom("pngtopnm " + file + " | pamdepth 255")) << name;
    }
}

TEST_F(ConvertFiles, TransparencyIsLaidOnWhiteWithANote) {
    run("pamgradient black black white white 64 48 | pamtopnm > mask.pgm; pnmtopng -alpha mask.pgm a.ppm > alpha.png");
    zvtest::Outcome outcome = runTool({"convert", path("alpha.png"), path("b.ppm"), "--to", "rgb"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_NE(outcome.err.find("laid on white"), std::string::npos);
    EXPECT_LE(
        largestDifference(zvtest::pixelsOfPpm(read("b.ppm")), ppmFrom("pngtopnm -mix -background white alpha.png")), 1);
    outcome = runTool({"convert", path("alpha.png"), path("b.ppm"), "--to", "rgb", "--quiet"});
    EXPECT_EQ(outcome.err, "");
}

TEST_F(ConvertFiles, TiffOfEachCompressionIsReadByOthers) {
    for (const char* compression : {"none", "lzw", "deflate"}) {
        convert({path("a.ppm"), path("a.tif"), "--to", "rgb", "--compression", compression});
        EXPECT_EQ(ppmFrom("tifftopnm a.tif"), pixels_) << compression;
    }
    EXPECT_NE(run("tiffinfo a.tif").find("AdobeDeflate"), std::string::npos);
    convert({path("a.ppm"), path("a.tif"), "--to", "rgb"});
    EXPECT_NE(run("tiffinfo a.tif").find("Compression Scheme: LZW"), std::string::npos);
}

TEST_F(ConvertFiles, CmykTiffHoldsInk) {
    convert({path("a.ppm"), path("c.tif"), "--to", "cmyk", "--gcr", "0", "--method", "builtin"});
    const std::string info = run("tiffinfo c.tif");
    EXPECT_NE(info.find("Photometric Interpretation: separated"), std::string::npos);
    EXPECT_NE(info.find("Samples/Pixel: 4"), std::string::npos);
    run("convert c.tif -depth 8 cmyk:c.raw");
    EXPECT_EQ(read("c.raw"), inks());
    convert({path("c.tif"), path("back.ppm"), "--to", "rgb", "--method", "builtin"});
    EXPECT_EQ(read("back.ppm"), read("a.ppm"));
}

TEST_F(ConvertFiles, BlackGenerationReachesTheFile) {
    convert({path("a.ppm"), path("default.cmyk"), "--to", "cmyk", "--method", "builtin"});
    convert({path("a.ppm"), path("same.cmyk"), "--to", "cmyk", "--gcr", "175", "--method", "builtin"});
    convert({path("a.ppm"), path("full.cmyk"), "--to", "cmyk", "--gcr", "1000", "--method", "builtin"});
    EXPECT_EQ(read("default.cmyk"), read("same.cmyk"));
    // The first pixel is black.
    const Bytes full = read("full.cmyk");
    EXPECT_EQ(Bytes(full.begin(), full.begin() + 4), (Bytes{0, 0, 0, 255}));
    EXPECT_EQ(read("default.cmyk")[3], 44);
}

TEST_F(ConvertFiles, LabTiffIsTakenForCieLabByOthers) {
    convert({path("a.ppm"), path("l.tif"), "--to", "lab", "--method", "builtin"});
    EXPECT_NE(run("tiffinfo l.tif").find("CIE L*a*b*"), std::string::npos);
    EXPECT_NE(run("exiftool -PhotometricInterpretation l.tif").find("CIELab"), std::string::npos);
    convert({path("l.tif"), path("l.raw"), "--to", "lab"});
    convert({path("a.ppm"), path("direct.lab"), "--to", "lab", "--method", "builtin"});
    EXPECT_EQ(read("l.raw"), read("direct.lab"));
    convert({path("l.tif"), path("back.ppm"), "--to", "rgb", "--method", "builtin"});
    EXPECT_LE(largestDifference(zvtest::pixelsOfPpm(read("back.ppm")), pixels_), 40);
}

TEST_F(ConvertFiles, JpegIsReadByOthersAndBack) {
    convert({path("a.ppm"), path("a.jpg"), "--to", "rgb"});
    EXPECT_LE(largestDifference(ppmFrom("djpeg a.jpg"), pixels_), 16);
    convert({path("a.jpg"), path("b.ppm"), "--to", "rgb"});
    EXPECT_EQ(zvtest::pixelsOfPpm(read("b.ppm")), ppmFrom("djpeg a.jpg"));
    convert({path("a.ppm"), path("small.jpg"), "--to", "rgb", "--quality", "20"});
    EXPECT_LT(read("small.jpg").size(), read("a.jpg").size());
    EXPECT_EQ(run("identify -format '%Q' small.jpg"), "20");
    EXPECT_EQ(run("identify -format '%Q' a.jpg"), "92");
}

TEST_F(ConvertFiles, JpegOfEveryKindIsRead) {
    for (const char* options :
         {"-progressive", "-grayscale", "-restart 1", "-sample 1x1", "-optimize", "-arithmetic"}) {
        run(std::string("cjpeg ") + options + " a.ppm > b.jpg");
        convert({path("b.jpg"), path("b.ppm"), "--to", "rgb"});
        EXPECT_EQ(zvtest::pixelsOfPpm(read("b.ppm")), ppmFrom("djpeg b.jpg")) << options;
    }
}

TEST_F(ConvertFiles, CmykJpegHoldsInvertedInkWithAdobesMarker) {
    convert({path("a.ppm"), path("c.jpg"), "--to", "cmyk", "--gcr", "0", "--quality", "100", "--method", "builtin"});
    EXPECT_NE(run("exiftool -ColorTransform c.jpg").find("RGB or CMYK"), std::string::npos);
    EXPECT_EQ(run("identify -format '%[colorspace]' c.jpg"), "CMYK");
    EXPECT_LE(largestDifference(ppmFrom("djpeg c.jpg"), pixels_), 3);
    run("convert c.jpg -depth 8 cmyk:c.raw");
    EXPECT_LE(largestDifference(read("c.raw"), inks()), 3);
    convert({path("c.jpg"), path("back.ppm"), "--to", "rgb", "--method", "builtin"});
    EXPECT_LE(largestDifference(zvtest::pixelsOfPpm(read("back.ppm")), pixels_), 3);
}

TEST_F(ConvertFiles, YcckJpegShowsTheSameColoursElsewhere) {
    convert({path("a.ppm"), path("y.jpg"), "--to", "ycck", "--quality", "100"});
    const std::string info = run("exiftool -ColorTransform -YCbCrSubSampling -ColorComponents y.jpg");
    EXPECT_NE(info.find("YCCK"), std::string::npos) << info;
    EXPECT_NE(info.find("4"), std::string::npos) << info;
    EXPECT_EQ(run("identify -format '%[jpeg:sampling-factor]' y.jpg"), "1x1,1x1,1x1,1x1");
    // The library takes full black out of the inks; with it put back the inks are the complement again.
    run("convert y.jpg -depth 8 cmyk:y.raw");
    const Bytes raw = read("y.raw");
    ASSERT_EQ(raw.size(), pixels_.size() / 3 * 4);
    int largest = 0;
    for (size_t i = 0; i < pixels_.size(); ++i) {
        const size_t pixel = i / 3;
        largest = std::max(largest, std::abs(raw[4 * pixel + i % 3] + raw[4 * pixel + 3] - (255 - pixels_[i])));
    }
    EXPECT_LE(largest, 5);
    // As cmyk and as ycck the file is read back.
    convert({path("y.jpg"), path("y.cmyk"), "--to", "cmyk"});
    EXPECT_LE(largestDifference(read("y.cmyk"), raw), 1);
    convert({path("y.jpg"), path("y.ycck"), "--to", "ycck", "--from", "ycck"});
    convert({path("a.ppm"), path("direct.ycck"), "--to", "ycck"});
    EXPECT_LE(largestDifference(read("y.ycck"), read("direct.ycck")), 4);
}

TEST_F(ConvertFiles, NetpbmTextAndDeepFilesAreRead) {
    run(R"(
        pnmtoplainpnm a.ppm > plain.ppm
        pamdepth 65535 a.ppm > deep.ppm
        ppmtopgm a.ppm > grey.pgm
        pnmtoplainpnm grey.pgm > plain.pgm)");
    for (const char* name : {"plain.ppm", "deep.ppm"}) {
        convert({path(name), path("b.ppm"), "--to", "rgb"});
        EXPECT_EQ(read("b.ppm"), read("a.ppm")) << name;
    }
    convert({path("grey.pgm"), path("g.ppm"), "--to", "rgb"});
    convert({path("plain.pgm"), path("p.ppm"), "--to", "rgb"});
    EXPECT_EQ(read("g.ppm"), read("p.ppm"));
    EXPECT_EQ(zvtest::pixelsOfPpm(read("g.ppm")), ppmFrom("cat grey.pgm"));
}

TEST_F(ConvertFiles, PipesCarryEveryFormat) {
    for (const char* format : {"png", "tiff", "pnm"}) {
        run(std::string("cat a.ppm | $ZVCLR convert - - --to rgb --output-format ") + format +
            " | cat | $ZVCLR convert - - --to rgb --output-format pnm | cat > b.ppm");
        EXPECT_EQ(read("b.ppm"), read("a.ppm")) << format;
    }
    run("cat a.ppm | $ZVCLR convert - - --to rgb --output-format jpeg | cat > piped.jpg; "
        "$ZVCLR convert a.ppm file.jpg --to rgb");
    EXPECT_EQ(read("piped.jpg"), read("file.jpg"));
    run("$ZVCLR convert - b.png --to rgb < a.ppm; $ZVCLR convert b.png - --to rgb --output-format pnm > c.ppm");
    EXPECT_EQ(read("c.ppm"), read("a.ppm"));
    // What is read from a file that has been read in part starts there.
    run("(head -c 0; $ZVCLR convert - c.tif --to rgb) < a.ppm; (dd bs=8 count=1 status=none > /dev/null; $ZVCLR "
        "convert "
        "- d.raw --to bgr --from rgb --input-format raw --size 64x48) < <(printf 12345678; tail -c 9216 a.ppm)");
    EXPECT_EQ(read("d.raw")[0], pixels_[2]);
}

TEST_F(ConvertFiles, AFileMayReplaceItself) {
    convert({path("a.ppm"), path("a.ppm"), "--to", "rgb"});
    EXPECT_EQ(zvtest::pixelsOfPpm(read("a.ppm")), pixels_);
    EXPECT_EQ(folder_.names(), std::vector<std::string>{"a.ppm"});
}

TEST_F(ConvertFiles, LinksAndRightsStayAsTheyWere) {
    run("touch real.png; chmod 640 real.png; ln -s real.png link.png; umask 022; $ZVCLR convert a.ppm link.png --to "
        "rgb; "
        "$ZVCLR convert a.ppm new.png --to rgb");
    EXPECT_EQ(run("stat -c '%F %a' link.png real.png new.png"),
              "symbolic link 777\nregular file 640\nregular file 644\n");
    EXPECT_EQ(ppmFrom("pngtopnm real.png"), pixels_);
}

}  // namespace
