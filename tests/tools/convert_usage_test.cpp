// Wrong usage, contradictions, and what the program says.
#include <gtest/gtest.h>

#include <sstream>

#include "image/image.h"
#include "tool_support.h"
#include "zvclr.h"

namespace {

using zvtest::Bytes;
using zvtest::Folder;
using zvtest::Outcome;
using zvtest::runTool;

class ConvertUsage : public testing::Test {
protected:
    ConvertUsage() {
        zvtest::writeFile(path("a.ppm"), zvtest::ppm(6, 6, zvtest::pattern(6, 6)));
        zvtest::writeFile(path("a.raw"), zvtest::pattern(6, 6));
        zvtest::shell("cd " + folder_.root() + R"(
            $ZVCLR convert a.ppm a.png --to rgb
            $ZVCLR convert a.ppm a.tif --to lab --method builtin
            $ZVCLR convert a.ppm c.jpg --to cmyk --method builtin)");
        before_ = folder_.names();
    }

    std::string path(const std::string& name) const { return folder_.path(name); }

    // Runs with names in the folder and expects exit code 2, these words, and no new file.
    void refused(const std::string& in, const std::string& out, const std::vector<std::string>& options,
                 const std::vector<std::string>& words) const {
        std::vector<std::string> all = {"convert", in == "-" ? in : path(in), out == "-" ? out : path(out)};
        all.insert(all.end(), options.begin(), options.end());
        const Outcome outcome = runTool(all, path("a.raw"));
        EXPECT_EQ(outcome.code, 2) << outcome.err;
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err.rfind("zvclr: error: ", 0), 0U) << outcome.err;
        for (const std::string& word : words) {
            EXPECT_NE(outcome.err.find(word), std::string::npos) << word << " in: " << outcome.err;
        }
        EXPECT_EQ(folder_.names(), before_);
    }

    Folder folder_;
    std::vector<std::string> before_;
};

TEST_F(ConvertUsage, WhatAFileHoldsCannotBeDenied) {
    refused("a.png", "b.tif", {"--from", "cmyk", "--to", "rgb"}, {"8 bit rgb", "rgb and not cmyk", "--from"});
    refused("c.jpg", "b.tif", {"--from", "rgb", "--to", "rgb"}, {"cmyk and not rgb"});
    refused("c.jpg", "b.tif", {"--from", "ycck", "--to", "rgb"}, {"cmyk and not ycck"});
    refused("a.tif", "b.png", {"--from", "xyz", "--to", "rgb"}, {"lab and not xyz"});
    refused("a.png", "b.png", {"--to", "rgb", "--input-format", "jpeg"}, {"is a png file", "--input-format"});
    refused("a.png", "b.png", {"--to", "rgb", "--size", "6x6"}, {"png file", "--size"});
}

TEST_F(ConvertUsage, WhatAFormatCannotHoldIsNotWritten) {
    refused("a.png", "b.png", {"--to", "hsv"}, {"holds rgb and not hsv", "--output-format raw"});
    refused("a.png", "b.png", {"--to", "bgr"}, {"holds rgb and not bgr"});
    refused("a.png", "b.jpg", {"--to", "lab"}, {"holds rgb, cmyk, ycck and not lab"});
    refused("a.png", "b.tif", {"--to", "ycck"}, {"holds rgb, cmyk, lab and not ycck"});
    refused("a.png", "b.ppm", {"--to", "cmyk"}, {"holds rgb and not cmyk"});
    refused("a.png", "b.y41p", {"--to", "y41p"}, {"multiple of 8", "6 x 6"});
    refused("a.png", "b.yvu9", {"--to", "yvu9"}, {"multiple of 4", "6 x 6"});
    refused("a.png", "b.gif", {"--to", "rgb"}, {"no known extension", "--output-format"});
    refused("a.png", "-", {"--to", "rgb"}, {"--output-format"});
}

TEST_F(ConvertUsage, RawPixelsNeedSpaceSizeAndLength) {
    refused("a.raw", "b.png", {"--to", "rgb", "--size", "6x6"}, {"colour space", "--from"});
    refused("a.raw", "b.png", {"--to", "rgb", "--from", "rgb"}, {"size", "--size"});
    refused("a.raw", "b.png", {"--to", "rgb", "--from", "rgb", "--size", "6x7"}, {"108 bytes", "126 bytes", "--size"});
    refused("a.raw", "b.png", {"--to", "rgb", "--from", "rgb", "--size", "6x5"}, {"108 bytes", "90 bytes"});
    refused("a.raw", "b.png", {"--to", "rgb", "--from", "cmyk", "--size", "6x6"}, {"cmyk", "144 bytes"});
    refused("a.raw", "b.png", {"--to", "rgb", "--from", "y41p", "--size", "6x6"}, {"multiple of 8"});
    refused("a.raw", "b.png", {"--to", "rgb", "--from", "rgb", "--size", "6by6"}, {"6by6", "640x480"});
}

TEST_F(ConvertUsage, RawPipesOfAnotherLengthAreRefusedAtTheirEnd) {
    for (const char* size : {"6x7", "6x5"}) {
        for (const char* space : {"rgb", "cmyk", "yuv"}) {
            const Outcome outcome =
                zvtest::runProgram({"/bin/bash", "-c",
                                    "cat " + path("a.raw") + " | " + ZVCLR_PROGRAM + " convert - " + path("b.png") +
                                        " --input-format raw --to rgb --size " + size + " --from " + space});
            EXPECT_EQ(outcome.code, 2) << outcome.err;
            EXPECT_NE(outcome.err.find("standard input has"), std::string::npos) << outcome.err;
            EXPECT_EQ(folder_.names(), before_);
        }
    }
}

TEST_F(ConvertUsage, ParametersGoWithTheirSpacesAndFormatsOnly) {
    refused("a.png", "b.lab", {"--to", "lab", "--gcr", "500"}, {"--gcr", "cmyk only", "rgb is converted to lab"});
    refused("c.jpg", "b.tif", {"--to", "cmyk", "--gcr", "500"}, {"--gcr", "copied"});
    refused("a.png", "b.cmyk", {"--to", "cmyk", "--gcr", "1001"}, {"--gcr"});
    refused("a.png", "b.xyz", {"--to", "xyz", "--lab-params", "0,100,128,170,96,200"}, {"--lab-params", "lab only"});
    refused("a.png", "b.tif", {"--to", "lab", "--method", "builtin", "--lab-params", "0,100,128,170,96,200"},
            {"TIFF", "raw"});
    refused("a.png", "b.lab", {"--to", "lab", "--lab-params", "0,100,128"}, {"3 numbers", "six"});
    refused("a.raw", "b.lab", {"--from", "lab", "--to", "lab", "--size", "6x6", "--lab-params", "0,100,128,170,96,200"},
            {"copied"});
    refused("a.png", "b.png", {"--to", "rgb", "--yuv-params", "planar=1"}, {"--from yuv"});
    refused("a.png", "b.png", {"--to", "rgb", "--from", "yuv", "--yuv-params", "planar=1"}, {"raw pixels only"});
    refused("a.raw", "b.png",
            {"--to", "rgb", "--from", "yuv", "--size", "6x6", "--yuv-params", "uSampleX=4,vSampleX=4"},
            {"multiple of 4", "6 x 6"});
    refused("a.png", "b.png", {"--to", "rgb", "--quality", "50"}, {"--quality", "JPEG"});
    refused("a.png", "b.jpg", {"--to", "rgb", "--quality", "101"}, {"--quality"});
    refused("a.png", "b.png", {"--to", "rgb", "--compression", "lzw"}, {"--compression", "TIFF"});
    refused("a.png", "b.tif", {"--to", "rgb", "--compression", "zip"}, {"--compression", "zip"});
    refused("a.png", "b.png", {"--to", "rgb", "--method", "icc"}, {"--method", "builtin"});
    refused("a.png", "b.png", {"--to", "purple"}, {"--to", "purple", "rgb444"});
    refused("a.png", "b.png", {"--to", "rgb", "--output-format", "gif"}, {"gif", "jpeg"});
}

TEST_F(ConvertUsage, TheMethodCanBeNamed) {
    EXPECT_EQ(runTool({"convert", path("a.png"), path("b.ppm"), "--to", "rgb", "--method", "builtin"}).code, 0);
    EXPECT_EQ(zvtest::readFile(path("b.ppm")), zvtest::readFile(path("a.ppm")));
}

TEST_F(ConvertUsage, CommandLinesWithoutSenseAreRefused) {
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{},
                                               {"paint"},
                                               {"convert"},
                                               {"convert", "a.png"},
                                               {"convert", "a.png", "b.png"},
                                               {"convert", "a.png", "b.png", "c.png", "--to", "rgb"},
                                               {"convert", "a.png", "b.png", "--to", "rgb", "--colour"},
                                               {"spaces", "rgb"}}) {
        const Outcome outcome = runTool(arguments);
        EXPECT_EQ(outcome.code, 2);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err.rfind("zvclr: error: ", 0), 0U) << outcome.err;
    }
}

TEST_F(ConvertUsage, FilesThatCannotBeOpenedFail) {
    Outcome outcome = runTool({"convert", path("missing.png"), path("b.png"), "--to", "rgb"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.err.find("No such file"), std::string::npos);
    outcome = runTool({"convert", path("a.png"), path("missing/b.png"), "--to", "rgb"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.err.find("No such file"), std::string::npos);
    outcome = runTool({"convert", path("a.png"), folder_.root(), "--output-format", "png", "--to", "rgb"});
    EXPECT_EQ(outcome.code, 1);
    outcome = runTool({"convert", folder_.root(), path("b.png"), "--to", "rgb"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(folder_.names(), before_);
}

TEST_F(ConvertUsage, AFullDiskFails) {
    for (const char* format : {"png", "jpeg", "pnm", "raw", "tiff"}) {
        const Outcome outcome =
            runTool({"convert", path("a.png"), "/dev/full", "--to", "rgb", "--output-format", format});
        EXPECT_EQ(outcome.code, 1) << format;
        EXPECT_NE(outcome.err.find("No space left"), std::string::npos) << format << outcome.err;
    }
}

TEST_F(ConvertUsage, SpacesAreATableOfAllSpaces) {
    const Outcome outcome = runTool({"spaces"});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.err, "");
    std::istringstream lines(outcome.out);
    std::string line;
    std::getline(lines, line);
    EXPECT_NE(line.find("description"), std::string::npos);
    for (const zvimage::Space& space : zvimage::allSpaces()) {
        ASSERT_TRUE(std::getline(lines, line)) << space.name;
        std::istringstream words(line);
        std::string name;
        int32_t id = -1;
        int32_t bits = 0;
        int32_t widthMultiple = 0;
        std::string by;
        int32_t heightMultiple = 0;
        words >> name >> id >> bits >> widthMultiple >> by >> heightMultiple;
        EXPECT_EQ(name, space.name);
        EXPECT_EQ(id, space.id);
        EXPECT_EQ(bits, space.bits);
        EXPECT_EQ(widthMultiple, space.widthMultiple);
        EXPECT_EQ(heightMultiple, space.heightMultiple);
        EXPECT_NE(line.find(space.bytes), std::string::npos);
        EXPECT_NE(line.find(space.description), std::string::npos);
    }
    EXPECT_FALSE(std::getline(lines, line));
}

TEST_F(ConvertUsage, HelpAndVersionAreAnswers) {
    Outcome outcome = runTool({"--version"});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.out, std::string("zvclr ") + ZVCLR_VERSION_STRING + "\n");
    outcome = runTool({"--help"});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_NE(outcome.out.find("convert"), std::string::npos);
    EXPECT_NE(outcome.out.find("spaces"), std::string::npos);
    EXPECT_NE(outcome.out.find("table"), std::string::npos);
    outcome = runTool({"convert", "--help"});
    EXPECT_EQ(outcome.code, 0);
    for (const char* option : {"--from", "--to", "--size", "--gcr", "--lab-params", "--yuv-params", "--quality",
                               "--compression", "--input-format", "--output-format", "--method", "--input-profile",
                               "--output-profile", "--white", "--table", "--quiet"}) {
        EXPECT_NE(outcome.out.find(option), std::string::npos) << option;
    }
    for (const char* method :
         {"\n  icc ", "\n  custom-icc ", "\n  emulation ", "\n  custom-emulation\n", "\n  builtin "}) {
        EXPECT_NE(outcome.out.find(method), std::string::npos) << method;
    }
}

TEST_F(ConvertUsage, ProgressIsForTerminalsOnly) {
    // script(1) gives the program a terminal.
    const std::string line =
        std::string(ZVCLR_PROGRAM) + " convert " + path("a.png") + " " + path("b.tif") + " --to rgb";
    const std::string shown = zvtest::shell("script -qec '" + line + "' /dev/null");
    EXPECT_NE(shown.find("row 6 of 6"), std::string::npos) << shown;
    EXPECT_NE(shown.find("wrote " + path("b.tif") + ": tiff, rgb, 6 x 6 pixels"), std::string::npos) << shown;
    EXPECT_EQ(zvtest::shell("script -qec '" + line + " --quiet' /dev/null"), "");
    const std::string toTerminal =
        std::string(ZVCLR_PROGRAM) + " convert " + path("a.png") + " - --to rgb --output-format png; echo code $?";
    EXPECT_NE(zvtest::shell("script -qec '" + toTerminal + "' /dev/null").find("code 2"), std::string::npos);
    const Outcome outcome = runTool({"convert", path("a.png"), path("b.tif"), "--to", "rgb"});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.err, "");
}

}  // namespace
