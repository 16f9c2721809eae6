// zvclr info of images: the profile that is in them, and where.
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "embedded_support.h"
#include "info_support.h"

namespace {

using nlohmann::json;
using zvtest::Bytes;
using zvtest::Folder;
using zvtest::Outcome;
using zvtest::runTool;

class InfoImages : public testing::Test {
protected:
    InfoImages() : profile_(zvtest::profileOfSize(3144)) { zvtest::writeFile(path("p.icc"), profile_); }

    std::string path(const std::string& name) const { return folder_.path(name); }

    // The report has these lines first; the rest is that of the profile alone.
    void shows(const std::string& name, const std::string& first) const {
        const Outcome outcome = runTool({"info", path(name)});
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "");
        const size_t header = outcome.out.find("\nHeader\n");
        ASSERT_NE(header, std::string::npos) << outcome.out;
        EXPECT_EQ(outcome.out.substr(0, header), first);
        const std::string alone = runTool({"info", path("p.icc")}).out;
        EXPECT_EQ(outcome.out.substr(header), alone.substr(alone.find("\nHeader\n")));
    }

    Folder folder_;
    Bytes profile_;
};

TEST_F(InfoImages, TheFirstLinesTellWhereTheProfileIs) {
    zvtest::writeFile(path("a.jpg"), zvtest::jpegWithParts(zvtest::plainJpeg(), {{1, 1, profile_}}));
    shows("a.jpg", "a.jpg: JPEG with an ICC profile, 3144 bytes\nEmbedded: in 1 APP2 marker\n");
    zvtest::writeTiff(path("a.tif"), zvtest::tiffVariants()[3], profile_);
    shows("a.tif", "a.tif: TIFF with an ICC profile, 3144 bytes\nEmbedded: in tag 34675 of the first directory\n");
    zvtest::writeFile(path("a.png"), zvtest::plainPng());
    ASSERT_EQ(runTool({"embed", path("p.icc"), path("a.png")}).code, 0);
    shows("a.png", "a.png: PNG with an ICC profile, 3144 bytes\nEmbedded: in the iCCP chunk\n");
    const Bytes gif = zvtest::gifWithProfile(zvtest::plainGif(), profile_);
    zvtest::writeFile(path("a.gif"), gif);
    shows("a.gif", "a.gif: GIF with an ICC profile, 3144 bytes\nEmbedded: in an ICCRGBG1 extension\n");
    zvtest::writeFile(path("a.gif"), zvtest::gifWithProfile(gif, profile_));
    shows("a.gif", "a.gif: GIF with an ICC profile, 3144 bytes\nEmbedded: in the last of 2 ICCRGBG1 extensions\n");
    zvtest::writeFile(path("a.eps"), zvtest::epsWith(zvtest::epsBlock(profile_, "\r"), "\r"));
    shows("a.eps",
          "a.eps: EPS with an ICC profile, 3144 bytes\nEmbedded: between %%BeginICCProfile and %%EndICCProfile\n");
    zvtest::writeFile(path("a.pct"), zvtest::pictureWithProfile(profile_, 1000));
    shows("a.pct", "a.pct: Macintosh picture with an ICC profile, 3144 bytes\nEmbedded: in comments\n");
}

TEST_F(InfoImages, WarningsStandThereToo) {
    const Bytes first(profile_.begin(), profile_.begin() + 1000);
    Bytes second(profile_.begin() + 1000, profile_.end());
    second.resize(second.size() + 2);
    zvtest::writeFile(path("a.jpg"), zvtest::jpegWithParts(zvtest::plainJpeg(), {{2, 2, second}, {1, 2, first}}));
    shows("a.jpg",
          "a.jpg: JPEG with an ICC profile, 3144 bytes\nEmbedded: in 2 APP2 markers\n"
          "  [the parts of its profile stand in the order 2, 1, and are taken in that of their numbers]\n"
          "  [2 bytes behind the end of its profile are left out]\n");
}

TEST_F(InfoImages, ForProgramsAndAsAPicture) {
    const Bytes first(profile_.begin(), profile_.begin() + 1000);
    const Bytes second(profile_.begin() + 1000, profile_.end());
    zvtest::writeFile(path("a.jpg"), zvtest::jpegWithParts(zvtest::plainJpeg(), {{2, 2, second}, {1, 2, first}}));
    json report = json::parse(runTool({"info", path("a.jpg"), "--json"}).out);
    EXPECT_EQ(report["file"], "a.jpg");
    EXPECT_EQ(report["image"]["format"], "jpeg");
    EXPECT_EQ(report["image"]["embedded"], "in 2 APP2 markers");
    EXPECT_EQ(report["image"]["parts"], 2);
    ASSERT_EQ(report["image"]["remarks"].size(), 1U);
    json alone = json::parse(runTool({"info", path("p.icc"), "--json"}).out);
    EXPECT_FALSE(alone.contains("image"));
    report.erase("image");
    report.erase("file");
    alone.erase("file");
    EXPECT_EQ(report, alone);
    const Outcome svg = runTool({"info", path("a.jpg"), "--svg"});
    EXPECT_EQ(svg.code, 0);
    EXPECT_NE(svg.out.find(">a.jpg<"), std::string::npos);
}

TEST_F(InfoImages, WithoutAProfileTheyAreRefused) {
    const auto refused = [this](const std::string& name, const std::string& words) {
        const Outcome outcome = runTool({"info", path(name)});
        EXPECT_EQ(outcome.code, 1);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err.rfind("zvclr: error: ", 0), 0U) << outcome.err;
        EXPECT_EQ(outcome.err.find('\n'), outcome.err.size() - 1) << outcome.err;
        EXPECT_NE(outcome.err.find(words), std::string::npos) << words << " in: " << outcome.err;
    };
    zvtest::writeFile(path("a.jpg"), zvtest::plainJpeg());
    refused("a.jpg", "a.jpg (JPEG) has no embedded ICC profile");
    zvtest::writeFile(path("a.gif"), zvtest::plainGif());
    refused("a.gif", "a.gif (GIF) has no embedded ICC profile");
    zvtest::writeFile(path("a.pct"), zvtest::plainPicture());
    refused("a.pct", "a.pct (Macintosh picture) has no embedded ICC profile");
    Bytes cut = profile_;
    cut.pop_back();
    zvtest::writeFile(path("a.jpg"), zvtest::jpegWithParts(zvtest::plainJpeg(), {{1, 1, cut}}));
    refused("a.jpg", "is cut off: it says that it has 3144 bytes, but 3143 are there");
    zvtest::writeFile(path("a.jpg"), zvtest::jpegWithParts(zvtest::plainJpeg(), {{1, 1, Bytes(200)}}));
    refused("a.jpg", "the profile in " + path("a.jpg") + " is no ICC profile");
    zvtest::writeFile(path("a.ppm"), zvtest::ppm(9, 9, zvtest::pattern(9, 9)));
    refused("a.ppm", "\"acsp\" does not stand at byte 36");
}

TEST_F(InfoImages, StrictLooksAtTheProfile) {
    Bytes bad = profile_;
    zvtest::set32(bad, 68, 0x10000);
    zvtest::writeFile(path("a.jpg"), zvtest::jpegWithParts(zvtest::plainJpeg(), {{1, 1, bad}}));
    const Outcome outcome = runTool({"info", path("a.jpg"), "--strict"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.err.find("a.jpg has "), std::string::npos) << outcome.err;
}

TEST_F(InfoImages, ProfilesInPipesAreReadOnce) {
    zvtest::writeFile(path("p.icc"), profile_);
    // A pipe that is opened a second time has lost its bytes or its writer.
    const std::string line = "cd " + folder_.root() +
                             "; mkfifo pipe; for i in 1 2 3 4 5 6 7 8; do cat p.icc > pipe & " +
                             "timeout 20 $ZVCLR info pipe | head -n 1 || exit 1; wait $! || exit 1; done; timeout 20 "
                             "$ZVCLR info <(cat p.icc) > text";
    const std::string shown = zvtest::shell("bash -c '" + line + "'");
    EXPECT_EQ(std::count(shown.begin(), shown.end(), '\n'), 8) << shown;
    EXPECT_EQ(shown.rfind("pipe: ICC profile, 3144 bytes", 0), 0U) << shown;
    EXPECT_FALSE(zvtest::readFile(path("text")).empty());
}

TEST_F(InfoImages, OnTheStandardInputTheyAreRefused) {
    zvtest::writeFile(path("a.jpg"), zvtest::jpegWithParts(zvtest::plainJpeg(), {{1, 1, profile_}}));
    const Outcome outcome = runTool({"info", "-"}, path("a.jpg"));
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.err.find("standard input holds an image (JPEG), and images are read from files only"),
              std::string::npos)
        << outcome.err;
}

}  // namespace
