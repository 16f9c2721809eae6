// zvclr embed: profiles into image files, whose pixels stay as they are.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "embedded_support.h"
#include "info_support.h"

namespace {

using zvtest::Bytes;
using zvtest::Chunk;
using zvtest::Folder;
using zvtest::Outcome;
using zvtest::runTool;

constexpr size_t kLargestInJpeg = size_t{255} * 65519;

class Embed : public testing::Test {
protected:
    Embed() {
        write("rgb.icc", zvtest::profileOfSize(4000));
        write("cmyk.icc", zvtest::smallProfile("CMYK", "prtr"));
        write("grey.icc", zvtest::smallProfile("GRAY"));
        write("a.jpg", zvtest::plainJpeg());
        write("a.png", zvtest::plainPng());
        write("a.gif", zvtest::plainGif());
        zvtest::writeTiff(path("a.tif"), zvtest::tiffVariants()[0]);
    }

    std::string path(const std::string& name) const { return folder_.path(name); }
    Bytes read(const std::string& name) const { return zvtest::readFile(path(name)); }
    void write(const std::string& name, const Bytes& bytes) const { zvtest::writeFile(path(name), bytes); }
    std::string run(const std::string& line) const { return zvtest::shell("cd " + folder_.root() + "\n" + line); }

    Outcome embed(const std::string& profile, const std::string& image,
                  const std::vector<std::string>& options = {}) const {
        std::vector<std::string> all = {"embed", path(profile), path(image)};
        all.insert(all.end(), options.begin(), options.end());
        return runTool(all);
    }

    void works(const std::string& profile, const std::string& image,
               const std::vector<std::string>& options = {}) const {
        const Outcome outcome = embed(profile, image, options);
        EXPECT_EQ(outcome.code, 0) << image << ": " << outcome.err;
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err, "");
    }

    // Expects this exit code, these words in one line, and the folder as it was.
    void refused(int code, const std::string& profile, const std::string& image, const std::vector<std::string>& words,
                 const std::vector<std::string>& options = {}) const {
        const std::vector<std::string> names = folder_.names();
        const Bytes before = read(image);
        const Outcome outcome = embed(profile, image, options);
        EXPECT_EQ(outcome.code, code) << image << ": " << outcome.err;
        EXPECT_EQ(outcome.err.rfind("zvclr: error: ", 0), 0U) << outcome.err;
        EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
        for (const std::string& word : words) {
            EXPECT_NE(outcome.err.find(word), std::string::npos) << word << " in: " << outcome.err;
        }
        EXPECT_EQ(read(image), before) << image;
        EXPECT_EQ(folder_.names(), names);
    }

    Bytes extracted(const std::string& image) const {
        const Outcome outcome = runTool({"extract", path(image), path("extracted.icc"), "--quiet"});
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "") << image;
        return outcome.code == 0 ? read("extracted.icc") : Bytes();
    }

    // What other programs make of the pixels.
    std::string pixels(const std::string& image) const {
        const std::string extension = image.substr(image.rfind('.') + 1);
        if (extension == "tif") {
            const Bytes bytes = zvtest::tiffPixels(path(image));
            return std::string(bytes.begin(), bytes.end());
        }
        const char* program = extension == "jpg" ? "djpeg " : extension == "png" ? "pngtopnm " : "giftopnm ";
        return run(program + image);
    }

    Folder folder_;
};

TEST_F(Embed, GoesInAndComesOutWhole) {
    for (const char* image : {"a.jpg", "a.png", "a.gif", "a.tif"}) {
        const std::string before = pixels(image);
        works("rgb.icc", image);
        EXPECT_EQ(extracted(image), read("rgb.icc")) << image;
        EXPECT_EQ(pixels(image), before) << image;
    }
}

TEST_F(Embed, EveryFormOfTiff) {
    for (const zvtest::TiffVariant& variant : zvtest::tiffVariants()) {
        zvtest::writeTiff(path(variant.name), variant);
        const std::string before = pixels(variant.name);
        works("rgb.icc", variant.name);
        EXPECT_EQ(extracted(variant.name), read("rgb.icc")) << variant.name;
        EXPECT_EQ(pixels(variant.name), before) << variant.name;
        const std::string told = run(std::string("tiffinfo ") + variant.name);
        EXPECT_NE(told.find("ICC Profile: <present>, 4000 bytes"), std::string::npos) << told;
        EXPECT_NE(told.find("A description that stays"), std::string::npos) << told;
        EXPECT_EQ(run(std::string("exiftool -b -icc_profile ") + variant.name + " | cmp - rgb.icc && echo same"),
                  "same\n")
            << variant.name;
    }
}

TEST_F(Embed, OtherProgramsReadWhatIsThere) {
    for (const char* image : {"a.jpg", "a.png", "a.tif"}) {
        const std::string name = image;
        const std::string before = run("exiftool -s -s -s -validate -warning " + name);
        works("rgb.icc", image);
        EXPECT_EQ(run("exiftool -b -icc_profile " + name + " | cmp - rgb.icc && echo same"), "same\n") << image;
        EXPECT_EQ(run("exiftool -s -s -s -icc_profile:ProfileDescription " + name),
                  "zvclr sRGB, a matrix and tone curve profile\n")
            << image;
        EXPECT_EQ(run("exiftool -s -s -s -validate -warning " + name), before) << image;
    }
    run("djpeg -icc from-djpeg.icc a.jpg > /dev/null");
    EXPECT_EQ(read("from-djpeg.icc"), read("rgb.icc"));
    for (const char* image : {"a.jpg", "a.png"}) {
        run(std::string("exiv2 -eC- ") + image + " > from-exiv2.icc");
        EXPECT_EQ(read("from-exiv2.icc"), read("rgb.icc")) << image;
    }
}

TEST_F(Embed, ReplacesWhatWasThere) {
    write("second.icc", zvtest::smallProfile("RGB "));
    for (const char* image : {"a.jpg", "a.png", "a.tif"}) {
        works("rgb.icc", image);
        works("second.icc", image);
        EXPECT_EQ(extracted(image), read("second.icc")) << image;
        EXPECT_EQ(run(std::string("exiftool -b -icc_profile ") + image + " | cmp - second.icc && echo same"), "same\n");
        EXPECT_EQ(run(std::string("exiftool -a -s -icc_profile:ProfileConnectionSpace ") + image + " | wc -l"), "1\n")
            << image;
    }
}

TEST_F(Embed, AddsOneMoreToAGif) {
    works("rgb.icc", "a.gif");
    write("second.icc", zvtest::smallProfile("RGB "));
    const Bytes before = read("a.gif");
    const Outcome outcome = embed("second.icc", "a.gif");
    EXPECT_EQ(outcome.code, 0);
    EXPECT_NE(outcome.err.find("zvclr: note: "), std::string::npos);
    EXPECT_NE(outcome.err.find("it has 1 profile already"), std::string::npos) << outcome.err;
    EXPECT_EQ(extracted("a.gif"), read("second.icc"));
    EXPECT_EQ(read("a.gif"), zvtest::gifWithProfile(before, read("second.icc")));
}

TEST_F(Embed, SizesAtTheLimitsOfJpegParts) {
    const std::string before = pixels("a.jpg");
    for (const size_t size :
         {65518U, 65519U, 65520U, 65525U, 65532U, 65533U, 131038U, 131039U, 131051U, 131052U, 200000U}) {
        write("p.icc", zvtest::profileOfSize(size));
        const size_t rest = size % 65519;
        const size_t padding = size > 65519 && rest >= 1 && rest <= 13 ? 14 - rest : 0;
        const Outcome outcome = embed("p.icc", "a.jpg");
        ASSERT_EQ(outcome.code, 0) << size << outcome.err;
        EXPECT_EQ(outcome.err.empty(), padding == 0) << size << outcome.err;
        if (padding != 0) {
            EXPECT_NE(outcome.err.find(std::to_string(padding) + " zero byte"), std::string::npos) << outcome.err;
        }
        EXPECT_EQ(extracted("a.jpg"), read("p.icc")) << size;
        EXPECT_EQ(pixels("a.jpg"), before) << size;
        run("djpeg -icc from-djpeg.icc a.jpg > /dev/null");
        Bytes padded = read("p.icc");
        padded.resize(padded.size() + padding);
        EXPECT_EQ(read("from-djpeg.icc"), padded) << size;
        EXPECT_EQ(run("exiftool -b -icc_profile a.jpg | cmp -n " + std::to_string(size) + " - p.icc && echo same"),
                  "same\n")
            << size;
    }
}

TEST_F(Embed, TheMostThatAJpegHolds) {
    write("p.icc", zvtest::profileOfSize(kLargestInJpeg));
    write("q.icc", zvtest::profileOfSize(kLargestInJpeg + 1));
    refused(2, "q.icc", "a.jpg", {"has 16707346 bytes, and a JPEG file holds profiles of 16707345 at most"});
    works("p.icc", "a.jpg");
    EXPECT_EQ(run("$ZVCLR extract a.jpg - | cmp - p.icc && echo same"), "same\n");
    works("q.icc", "a.tif");
    EXPECT_EQ(run("$ZVCLR extract a.tif - | cmp - q.icc && echo same"), "same\n");
}

TEST_F(Embed, OfAPngOnlyChunksOfColourChange) {
    Bytes gamma;
    zvtest::put32(gamma, 45455);
    std::vector<Chunk> chunks = zvtest::chunksOf(read("a.png"));
    ASSERT_EQ(chunks[0].type, "IHDR");
    chunks.insert(chunks.begin() + 1, {"sRGB", {0}});
    chunks.insert(chunks.begin() + 2, {"gAMA", gamma});
    chunks.insert(chunks.end() - 1, {"prVt", {1, 2, 3}});
    Bytes png = zvtest::pngOf(chunks);
    zvtest::appendText(png, "behind the end");
    write("b.png", png);
    const std::string before = pixels("a.png");
    works("rgb.icc", "b.png");
    works("rgb.icc", "b.png");
    EXPECT_EQ(pixels("b.png"), before);
    const Bytes after = read("b.png");
    const std::string tail(after.end() - 14, after.end());
    EXPECT_EQ(tail, "behind the end");
    std::vector<Chunk> found = zvtest::chunksOf(Bytes(after.begin(), after.end() - 14));
    ASSERT_EQ(found.size(), chunks.size());
    EXPECT_EQ(found[1].type, "iCCP");
    chunks.erase(chunks.begin() + 1);
    found.erase(found.begin() + 1);
    for (size_t i = 0; i < chunks.size(); ++i) {
        EXPECT_EQ(found[i].type, chunks[i].type);
        EXPECT_EQ(found[i].data, chunks[i].data) << chunks[i].type;
    }
}

TEST_F(Embed, PngChunksThatGoBeforeAProfileAreTold) {
    std::vector<Chunk> chunks = zvtest::chunksOf(read("a.png"));
    chunks.insert(chunks.begin() + 1, {"cICP", {9, 16, 0, 1}});
    write("a.png", zvtest::pngOf(chunks));
    const Outcome outcome = embed("rgb.icc", "a.png");
    EXPECT_EQ(outcome.code, 0);
    EXPECT_NE(outcome.err.find("it has a cICP chunk too"), std::string::npos) << outcome.err;
}

TEST_F(Embed, ProfilesForOtherPixelsAreRefused) {
    for (const char* image : {"a.jpg", "a.png", "a.gif", "a.tif"}) {
        refused(2, "cmyk.icc", image, {"is a profile for CMYK", "has RGB pixels", "--force"});
        refused(2, "grey.icc", image, {"is a profile for GRAY", "has RGB pixels"});
    }
    write("grey.jpg", zvtest::greyJpeg());
    refused(2, "rgb.icc", "grey.jpg", {"is a profile for RGB", "has GRAY pixels"});
    works("grey.icc", "grey.jpg");
    run("pngtopnm a.png | ppmtopgm | pnmtopng > grey.png");
    refused(2, "rgb.icc", "grey.png", {"has GRAY pixels"});
    works("grey.icc", "grey.png");
    EXPECT_EQ(extracted("grey.png"), read("grey.icc"));
    run("djpeg a.jpg > a.ppm; $ZVCLR convert a.ppm c.jpg --to cmyk; $ZVCLR convert a.ppm c.tif --to cmyk; "
        "$ZVCLR convert a.ppm l.tif --to lab");
    refused(2, "rgb.icc", "c.jpg", {"has CMYK pixels"});
    refused(2, "rgb.icc", "c.tif", {"has CMYK pixels"});
    refused(2, "rgb.icc", "l.tif", {"has Lab pixels"});
    works("cmyk.icc", "c.jpg");
    works("cmyk.icc", "c.tif");
}

TEST_F(Embed, ByForceTheyGoIn) {
    works("cmyk.icc", "a.jpg", {"--force"});
    EXPECT_EQ(extracted("a.jpg"), read("cmyk.icc"));
    works("cmyk.icc", "a.gif", {"--force"});
    EXPECT_EQ(extracted("a.gif"), read("cmyk.icc"));
}

TEST_F(Embed, LinksAndOthersThatDescribeNoImageAreRefused) {
    for (const char* kind : {"link", "abst", "nmcl"}) {
        write("p.icc", zvtest::smallProfile("RGB ", kind));
        refused(2, "p.icc", "a.jpg", {std::string("is of the class \"") + kind + "\"", "--force"});
    }
    works("p.icc", "a.jpg", {"--force"});
}

TEST_F(Embed, WhatIsNoProfileIsRefused) {
    write("p.icc", Bytes(500, 'x'));
    refused(1, "p.icc", "a.jpg", {"p.icc is no ICC profile"});
    refused(1, "p.icc", "a.jpg", {"p.icc is no ICC profile"}, {"--force"});
    Bytes cut = zvtest::profileOfSize(4000);
    cut.pop_back();
    write("p.icc", cut);
    refused(1, "p.icc", "a.png", {"is cut off", "4000 bytes, but 3999"});
    refused(1, "missing.icc", "a.gif", {"cannot open"});
    refused(1, "a.png", "a.jpg", {"is no ICC profile"});
}

TEST_F(Embed, PngReadersPassOverOddSizes) {
    Bytes profile = zvtest::profileOfSize(4001);
    profile[8] = 4;
    write("p.icc", profile);
    refused(2, "p.icc", "a.png", {"has 4001 bytes", "no multiple of 4"});
    works("p.icc", "a.jpg");
    profile = zvtest::profileOfSize(4001);
    write("p.icc", profile);
    works("p.icc", "a.png");
    EXPECT_EQ(extracted("a.png"), profile);
}

TEST_F(Embed, OnlyTheProfileItselfGoesIn) {
    Bytes longer = zvtest::profileOfSize(4000);
    longer.resize(4100);
    write("p.icc", longer);
    for (const char* image : {"a.jpg", "a.png", "a.gif", "a.tif"}) {
        const Outcome outcome = embed("p.icc", image);
        EXPECT_EQ(outcome.code, 0);
        EXPECT_NE(outcome.err.find("100 bytes behind the end of the profile are left out"), std::string::npos);
        EXPECT_EQ(extracted(image), read("rgb.icc")) << image;
    }
}

TEST_F(Embed, OtherImagesAreRefused) {
    write("a.eps", Bytes{'%', '!', 'P', 'S', '\n'});
    refused(2, "rgb.icc", "a.eps", {"is an EPS file, but profiles go into JPEG, TIFF, PNG and GIF files only"});
    write("a.ppm", zvtest::ppm(2, 2, zvtest::pattern(2, 2)));
    refused(1, "rgb.icc", "a.ppm", {"is no image of a known kind"});
    write("a.pct", zvtest::plainPicture());
    refused(1, "rgb.icc", "a.pct", {"profiles go into"});
    write("empty", Bytes());
    refused(1, "rgb.icc", "empty", {"profiles go into"});
    EXPECT_EQ(runTool({"embed", path("rgb.icc"), path("missing.jpg")}).code, 1);
    const Outcome folder = runTool({"embed", path("rgb.icc"), folder_.root()});
    EXPECT_EQ(folder.code, 1);
    EXPECT_NE(folder.err.find("Is a directory"), std::string::npos) << folder.err;
    ASSERT_EQ(::mkfifo(path("pipe.jpg").c_str(), 0600), 0);
    const Outcome pipe = runTool({"embed", path("rgb.icc"), path("pipe.jpg")});
    EXPECT_EQ(pipe.code, 1);
    EXPECT_NE(pipe.err.find("is a pipe or device"), std::string::npos) << pipe.err;
    EXPECT_EQ(runTool({"embed", path("rgb.icc"), "-"}).code, 2);
    EXPECT_EQ(runTool({"embed", path("rgb.icc")}).code, 2);
}

TEST_F(Embed, GifFilesThatTheLibraryWouldHarmAreRefused) {
    Bytes gif = read("a.gif");
    gif.pop_back();
    write("b.gif", gif);
    refused(1, "rgb.icc", "b.gif", {"does not end with its trailer"});
    gif = read("a.gif");
    gif.push_back(0);
    write("b.gif", gif);
    refused(1, "rgb.icc", "b.gif", {"does not end with its trailer"});
}

TEST_F(Embed, TheFileAsItWasIsKeptOnRequest) {
    for (const char* image : {"a.jpg", "a.png", "a.gif", "a.tif"}) {
        const Bytes before = read(image);
        const std::string backup = std::string("old-") + image;
        works("rgb.icc", image, {"--backup", path(backup)});
        EXPECT_EQ(read(backup), before) << image;
        EXPECT_EQ(extracted(image), read("rgb.icc")) << image;
        works("rgb.icc", backup);
        refused(2, "rgb.icc", image, {"--backup ", "is the image itself"},
                {"--backup", folder_.root() + "/./" + image});
        EXPECT_EQ(embed("rgb.icc", image, {"--backup", path("missing/old")}).code, 1) << image;
        EXPECT_EQ(extracted(image), read("rgb.icc")) << image;
    }
    refused(2, "rgb.icc", "a.jpg", {"the name of --backup has 264 bytes, and the most are 263"},
            {"--backup", std::string(264, 'x')});
}

TEST_F(Embed, NothingButFilesServeAsBackups) {
    std::filesystem::create_directory(path("folder"));
    std::filesystem::create_hard_link(path("rgb.icc"), path("same.icc"));
    for (const char* image : {"a.jpg", "a.png", "a.gif", "a.tif"}) {
        refused(2, "rgb.icc", image, {"--backup takes no standard output"}, {"--backup", "-"});
        refused(2, "rgb.icc", image, {"same.icc is the profile"}, {"--backup", path("same.icc")});
        refused(1, "rgb.icc", image, {"cannot write ", "folder: Is a directory"}, {"--backup", path("folder")});
        refused(1, "rgb.icc", image, {"cannot write /dev/null: "}, {"--backup", "/dev/null"});
        refused(1, "rgb.icc", image, {"cannot write ", "missing/old: No such file"}, {"--backup", path("missing/old")});
    }
    EXPECT_EQ(read("rgb.icc"), zvtest::profileOfSize(4000));
}

TEST_F(Embed, BackupsHaveTheRightsOfTheImage) {
    for (const std::string image : {"a.jpg", "a.png", "a.gif", "a.tif"}) {
        ASSERT_EQ(::chmod(path(image).c_str(), 0600), 0);
        works("rgb.icc", image, {"--backup", path("old-" + image)});
        struct stat status = {};
        ASSERT_EQ(::stat(path("old-" + image).c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777, 0600U) << image;
    }
}

TEST_F(Embed, NamesThatTheLibraryDoesNotTakeAreTold) {
    write("caf\xe9.jpg", read("a.jpg"));
    refused(1, "rgb.icc", "caf\xe9.jpg", {"caf\xe9.jpg is no UTF-8"});
    refused(1, "rgb.icc", "a.jpg", {"old\xe9 is no UTF-8"}, {"--backup", path("old\xe9")});
    write("caf\xc3\xa9 2.jpg", read("a.jpg"));
    works("rgb.icc", "caf\xc3\xa9 2.jpg", {"--backup", path("vieux caf\xc3\xa9")});
    EXPECT_EQ(read("vieux caf\xc3\xa9"), read("a.jpg"));
}

TEST_F(Embed, RightsAndLinksStay) {
    for (const std::string image : {"a.jpg", "a.png", "a.gif", "a.tif"}) {
        ASSERT_EQ(::chmod(path(image).c_str(), 0640), 0);
        std::filesystem::create_symlink(image, path("link-" + image));
        works("rgb.icc", "link-" + image);
        EXPECT_TRUE(std::filesystem::is_symlink(path("link-" + image))) << image;
        EXPECT_EQ(extracted(image), read("rgb.icc")) << image;
        struct stat status = {};
        ASSERT_EQ(::stat(path(image).c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777, 0640U) << image;
    }
}

TEST_F(Embed, AFullDiskLeavesTheOldFileWhole) {
    write("p.icc", zvtest::profileOfSize(300000));
    for (const std::string image : {"a.jpg", "a.png", "a.gif", "a.tif"}) {
        const Bytes before = read(image);
        const std::vector<std::string> names = folder_.names();
        const Outcome outcome = zvtest::runProgram({"/bin/bash", "-c",
                                                    "trap '' XFSZ; ulimit -f 4; " + std::string(ZVCLR_PROGRAM) +
                                                        " embed " + path("p.icc") + " " + path(image)});
        EXPECT_EQ(outcome.code, 1) << image << outcome.err;
        EXPECT_EQ(outcome.err.rfind("zvclr: error: ", 0), 0U) << outcome.err;
        EXPECT_EQ(read(image), before) << image;
        EXPECT_EQ(folder_.names(), names);
    }
}

TEST_F(Embed, FromTheStandardInput) {
    const Outcome outcome = runTool({"embed", "-", path("a.jpg")}, path("rgb.icc"));
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(extracted("a.jpg"), read("rgb.icc"));
}

TEST_F(Embed, HelpTellsWhereProfilesGo) {
    const Outcome help = runTool({"embed", "--help"});
    EXPECT_EQ(help.code, 0);
    for (const char* word :
         {"APP2", "34675", "iCCP", "One more is added each time", "16,707,345", "--backup", "--force"}) {
        EXPECT_NE(help.out.find(word), std::string::npos) << word;
    }
    const std::string line = std::string(ZVCLR_PROGRAM) + " embed " + path("rgb.icc") + " " + path("a.jpg");
    const std::string shown = zvtest::shell("script -qec '" + line + "' /dev/null");
    EXPECT_NE(shown.find("a.jpg: JPEG, with a profile of 4000 bytes, \"zvclr sRGB"), std::string::npos) << shown;
    EXPECT_EQ(zvtest::shell("script -qec '" + line + " --quiet' /dev/null"), "");
}

}  // namespace
