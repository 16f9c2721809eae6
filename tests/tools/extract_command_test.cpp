// zvclr extract: profiles out of image files of every kind.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>

#include "embedded_support.h"
#include "info_support.h"

namespace {

using zvtest::Bytes;
using zvtest::Folder;
using zvtest::Outcome;
using zvtest::Part;
using zvtest::runTool;

class Extract : public testing::Test {
protected:
    std::string path(const std::string& name) const { return folder_.path(name); }
    void write(const std::string& name, const Bytes& bytes) const { zvtest::writeFile(path(name), bytes); }
    void write(const std::string& name, const std::string& text) const { zvtest::writeFile(path(name), text); }

    Outcome extract(const std::string& name) const {
        std::remove(path("out.icc").c_str());
        return runTool({"extract", path(name), path("out.icc")});
    }

    // Expects exactly this profile, and these words on the error stream or nothing there.
    void gives(const std::string& name, const Bytes& profile, const std::vector<std::string>& words = {}) const {
        const Outcome outcome = extract(name);
        ASSERT_EQ(outcome.code, 0) << name << ": " << outcome.err;
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(zvtest::readFile(path("out.icc")), profile) << name;
        EXPECT_EQ(outcome.err.empty(), words.empty()) << outcome.err;
        for (const std::string& word : words) {
            EXPECT_NE(outcome.err.find(word), std::string::npos) << word << " in: " << outcome.err;
        }
    }

    // Expects exit code 1, these words in one line, and no file.
    void refused(const std::string& name, const std::vector<std::string>& words, int code = 1) const {
        const std::vector<std::string> before = folder_.names();
        const Outcome outcome = extract(name);
        EXPECT_EQ(outcome.code, code) << name << ": " << outcome.err;
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err.rfind("zvclr: error: ", 0), 0U) << outcome.err;
        EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
        for (const std::string& word : words) {
            EXPECT_NE(outcome.err.find(word), std::string::npos) << word << " in: " << outcome.err;
        }
        std::vector<std::string> expected = before;
        std::erase(expected, "out.icc");
        EXPECT_EQ(folder_.names(), expected);
    }

    Folder folder_;
};

Bytes slice(const Bytes& bytes, size_t from, size_t to) {
    return Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(from), bytes.begin() + static_cast<std::ptrdiff_t>(to));
}

TEST_F(Extract, JpegPartsAreJoinedByTheirNumbers) {
    const Bytes jpeg = zvtest::plainJpeg();
    const Bytes profile = zvtest::profileOfSize(5000);
    const Part one = {1, 3, slice(profile, 0, 2000)};
    const Part two = {2, 3, slice(profile, 2000, 2001)};
    const Part three = {3, 3, slice(profile, 2001, 5000)};
    write("a.jpg", zvtest::jpegWithParts(jpeg, {one, two, three}));
    gives("a.jpg", profile);
    write("a.jpg", zvtest::jpegWithParts(jpeg, {three, one, two}));
    gives("a.jpg", profile, {"zvclr: warning: ", "in the order 3, 1, 2"});
    write("a.jpg", zvtest::jpegWithParts(jpeg, {one, two, two, three}));
    gives("a.jpg", profile, {"zvclr: warning: ", "more than once", ": 2\n"});
    write("a.jpg", zvtest::jpegWithParts(jpeg, {{1, 1, profile}}));
    gives("a.jpg", profile);
}

TEST_F(Extract, JpegPartsThatAreMissingAreTold) {
    const Bytes jpeg = zvtest::plainJpeg();
    const Bytes profile = zvtest::profileOfSize(5000);
    Bytes parts = slice(profile, 0, 2000);
    zvtest::append(parts, slice(profile, 3000, 5000));
    write("a.jpg", zvtest::jpegWithParts(jpeg, {{1, 4, slice(profile, 0, 2000)}, {3, 4, slice(profile, 3000, 5000)}}));
    gives("a.jpg", parts,
          {"zvclr: warning: ", "has 4 parts, but these are missing: 2, 4", "it has 5000 bytes, but 4000 are there"});
    write("a.jpg", zvtest::jpegWithParts(jpeg, {{1, 1, slice(profile, 0, 2000)}, {2, 2, slice(profile, 2000, 5000)}}));
    gives("a.jpg", profile, {"do not agree on how many"});
    write("a.jpg", zvtest::jpegWithParts(jpeg, {{0, 0, slice(profile, 0, 2000)}, {1, 0, slice(profile, 2000, 5000)}}));
    gives("a.jpg", profile, {"says that it has 0 parts, but these stand there too: 0, 1"});
    std::vector<Part> many;
    for (int i = 0; i < 20; ++i) {
        many.push_back({255 - i, 255, slice(profile, 0, 200)});
    }
    write("a.jpg", zvtest::jpegWithParts(jpeg, many));
    const Outcome outcome = extract("a.jpg");
    EXPECT_EQ(outcome.code, 0);
    EXPECT_NE(outcome.err.find("255, 254, 253, 252, 251, 250, 249, 248, ..."), std::string::npos) << outcome.err;
    EXPECT_NE(outcome.err.find("missing: 1, 2, 3, 4, 5, 6, 7, 8, ...\n"), std::string::npos) << outcome.err;
    EXPECT_LE(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 3);
}

TEST_F(Extract, JpegMarkersOfOthersAreNoParts) {
    const Bytes jpeg = zvtest::plainJpeg();
    const Bytes profile = zvtest::profileOfSize(4000);
    Bytes file = zvtest::jpegWithParts(jpeg, {{1, 1, profile}});
    Bytes identifier;
    zvtest::appendText(identifier, std::string_view("ICC_PROFILE\0", 12));
    Bytes longer = identifier;
    longer.push_back(1);
    Bytes other = identifier;
    other[0] = 'J';
    other.resize(40);
    file = zvtest::jpegWithSegment(file, 0xE2, 2, {});
    file = zvtest::jpegWithSegment(file, 0xE2, 14, identifier);
    file = zvtest::jpegWithSegment(file, 0xE2, 15, longer);
    file = zvtest::jpegWithSegment(file, 0xE2, 42, other);
    file = zvtest::jpegWithSegment(file, 0xE3, 2 + 14, Bytes(14));
    write("a.jpg", file);
    gives("a.jpg", profile);
    // Fill bytes, markers that stand alone, and what is no marker at all are passed over by decoders too.
    Bytes odd = slice(file, 0, 2);
    zvtest::append(odd, {0xFF, 0xFF, 0xFF, 0x01, 'x', 'y', 0xFF, 0x00});
    zvtest::append(odd, slice(file, 2, file.size()));
    write("a.jpg", odd);
    gives("a.jpg", profile);
}

TEST_F(Extract, TiffFilesOfLibtiff) {
    const Bytes profile = zvtest::profileOfSize(4001);
    for (const zvtest::TiffVariant& variant : zvtest::tiffVariants()) {
        zvtest::writeTiff(path(variant.name), variant, profile);
        gives(variant.name, profile);
        zvtest::writeTiff(path(variant.name), variant);
        refused(variant.name, {"(TIFF) has no embedded ICC profile"});
    }
}

TEST_F(Extract, PngFilesOfOthers) {
    write("a.png", zvtest::plainPng());
    const Bytes profile = zvtest::profileOfSize(4004);
    write("p.icc", profile);
    zvtest::shell("exiftool -q -overwrite_original '-icc_profile<=" + path("p.icc") + "' " + path("a.png"));
    gives("a.png", profile);
}

TEST_F(Extract, PngProfilesThatReadersPassOverAreTold) {
    const Bytes png = zvtest::plainPng();
    std::vector<zvtest::Chunk> chunks = zvtest::chunksOf(png);
    Bytes broken;
    zvtest::appendText(broken, std::string_view("name\0\0no stream", 15));
    chunks.insert(chunks.begin() + 1, {"iCCP", broken});
    write("a.png", zvtest::pngOf(chunks));
    refused("a.png", {"the profile in ", "cannot be used: iCCP: "});
}

TEST_F(Extract, OfGifFilesTheLastCounts) {
    const Bytes first = zvtest::profileOfSize(4000);
    const Bytes second = zvtest::smallProfile("RGB ");
    Bytes gif = zvtest::gifWithProfile(zvtest::plainGif(), first);
    write("a.gif", gif);
    gives("a.gif", first);
    gif = zvtest::gifWithProfile(gif, second, "012");
    write("a.gif", gif);
    gives("a.gif", second);
    // Readers do without the trailer.
    gif.pop_back();
    write("a.gif", gif);
    gives("a.gif", second);
}

TEST_F(Extract, GifExtensionsOfOthersAreNoProfiles) {
    Bytes gif = zvtest::plainGif();
    gif.pop_back();
    zvtest::appendText(gif, std::string_view("\x21\xFF\x0BNETSCAPE2.0\x03\x01\0\0\0", 19));
    zvtest::appendText(gif, std::string_view("\x21\xFE\x05hello\0", 9));
    zvtest::appendText(gif, std::string_view("\x21\xFF\0", 3));
    zvtest::appendText(gif, std::string_view("\x21\xFF\x04JUNK\x01x\0", 10));
    gif.push_back(0x3B);
    write("a.gif", gif);
    refused("a.gif", {"(GIF) has no embedded ICC profile"});
    const Bytes profile = zvtest::smallProfile("RGB ");
    write("a.gif", zvtest::gifWithProfile(gif, profile));
    gives("a.gif", profile);
}

TEST_F(Extract, EpsProfilesAreWholeWithAllLineEnds) {
    // The library alone would lose up to 80 bytes of each.
    for (const size_t size : {size_t{3144}, size_t{3145}, size_t{3200}, size_t{3201}, size_t{3260}}) {
        const Bytes profile = zvtest::profileOfSize(size);
        for (const std::string lineEnd : {"\n", "\r", "\r\n"}) {
            write("a.eps", zvtest::epsWith(zvtest::epsBlock(profile, lineEnd), lineEnd));
            gives("a.eps", profile);
        }
    }
}

TEST_F(Extract, EpsFormsOfPrograms) {
    const Bytes profile = zvtest::profileOfSize(3300);
    const std::string block = zvtest::epsBlock(profile, "\r\n", 127);
    write("a.eps", zvtest::inBinaryFrame(zvtest::epsWith(block, "\r\n")));
    gives("a.eps", profile);
    std::string upper = zvtest::epsWith(zvtest::epsBlock(profile, "\n"), "\n");
    const size_t start = upper.find("% ");
    std::transform(upper.begin() + static_cast<std::ptrdiff_t>(start),
                   upper.begin() + static_cast<std::ptrdiff_t>(upper.find("%%EndICC")),
                   upper.begin() + static_cast<std::ptrdiff_t>(start),
                   [](char c) { return static_cast<char>(std::toupper(static_cast<unsigned char>(c))); });
    write("a.eps", "\x04" + upper);
    gives("a.eps", profile);
    write("a.eps", zvtest::epsWith(zvtest::epsBlock(profile, "\n", 2000), "\n"));
    gives("a.eps", profile);
    // A long line of binary data before it, and no bytes behind the end line.
    write("a.eps", "%!PS-Adobe-3.0 EPSF-3.0\n" + std::string(200000, 'x') + "\n" + zvtest::epsBlock(profile, "\n"));
    gives("a.eps", profile);
}

TEST_F(Extract, BrokenEpsProfilesAreRefused) {
    const Bytes profile = zvtest::profileOfSize(3144);
    const std::string good = zvtest::epsWith(zvtest::epsBlock(profile, "\n"), "\n");
    write("a.eps", good.substr(0, good.find("%%EndICCProfile") + 5));
    refused("a.eps", {"the profile in ", "is damaged: "});
    write("a.eps", good.substr(0, good.find("%%EndICCProfile")));
    refused("a.eps", {"the file ends before %%EndICCProfile"});
    std::string bad = good;
    bad[bad.find("% ") + 10] = 'g';
    write("a.eps", bad);
    refused("a.eps", {"line 5 holds what is no hexadecimal digit"});
    bad = good;
    bad.erase(bad.find("% ") + 10, 1);
    write("a.eps", bad);
    refused("a.eps", {"line 5 has an odd number of hexadecimal digits"});
    bad = good;
    bad.insert(bad.find("% "), "0 0 moveto\n");
    write("a.eps", bad);
    refused("a.eps", {"line 5 is no line of hexadecimal digits"});
    write("a.eps", "%!PS\n%%BeginICCProfile:\n% " + std::string(80000, '0') + "\n%%EndICCProfile\n");
    refused("a.eps", {"line 3 is no line"});
    write("a.eps", zvtest::epsWith("", "\n"));
    refused("a.eps", {"(EPS) has no embedded"});
    write("a.eps", zvtest::epsWith("%%BeginICCProfile:\n%%EndICCProfile\n", "\n"));
    refused("a.eps", {"(EPS) has no embedded"});
    Bytes frame = zvtest::inBinaryFrame(good);
    frame[7] = 0x7F;
    write("a.eps", frame);
    refused("a.eps", {"its PostScript does not lie inside it"});
}

TEST_F(Extract, MacintoshPictures) {
    const Bytes profile = zvtest::profileOfSize(4000);
    for (const size_t size : {size_t{100}, size_t{1501}, size_t{32000}}) {
        write("a.pct", zvtest::pictureWithProfile(profile, size));
        gives("a.pct", profile);
    }
    write("a.pct", zvtest::plainPicture());
    refused("a.pct", {"(Macintosh picture) has no embedded"});
    Bytes cut = zvtest::pictureWithProfile(profile, 1000);
    cut.resize(cut.size() - 20);
    write("a.pct", cut);
    refused("a.pct", {"the profile in ", "cannot be read", "ERR_PROFILE_TRUNCATED"});
}

TEST_F(Extract, WhatHasNoProfileIsRefused) {
    write("a.jpg", zvtest::plainJpeg());
    refused("a.jpg", {"(JPEG) has no embedded ICC profile"});
    write("a.png", zvtest::plainPng());
    refused("a.png", {"(PNG) has no embedded ICC profile"});
    write("a.ppm", zvtest::ppm(2, 2, zvtest::pattern(2, 2)));
    refused("a.ppm", {"is no image that profiles are read from", "JPEG, TIFF, PNG, GIF, EPS"});
    write("a.icc", zvtest::smallProfile("RGB "));
    refused("a.icc", {"is no image that profiles are read from"});
    write("empty", Bytes());
    refused("empty", {"is no image"});
    refused("missing.jpg", {"cannot open", "No such file"});
    refused(".", {"cannot read ", "Is a directory"});
    const Outcome device = runTool({"extract", "/dev/zero", path("out.icc")});
    EXPECT_EQ(device.code, 1);
    EXPECT_NE(device.err.find("/dev/zero is a pipe or device"), std::string::npos) << device.err;
}

TEST_F(Extract, PipesAreNotOpened) {
    ASSERT_EQ(::mkfifo(path("a.jpg").c_str(), 0600), 0);
    const Outcome outcome = runTool({"extract", path("a.jpg"), path("out.icc")});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.err.find("is a pipe or device"), std::string::npos) << outcome.err;
}

TEST_F(Extract, NamesThatTheLibraryDoesNotTakeAreTold) {
    const Bytes profile = zvtest::smallProfile("RGB ");
    for (const char* name : {"two words.jpg", "caf\xc3\xa9.jpg"}) {
        write(name, zvtest::jpegWithParts(zvtest::plainJpeg(), {{1, 1, profile}}));
        gives(name, profile);
    }
    write("caf\xe9.jpg", zvtest::jpegWithParts(zvtest::plainJpeg(), {{1, 1, profile}}));
    refused("caf\xe9.jpg", {"caf\xe9.jpg is no UTF-8, and the library takes no other names"});
}

TEST_F(Extract, WhatIsNoProfileIsWrittenWithAWarning) {
    const Bytes jpeg = zvtest::plainJpeg();
    const Bytes junk(300, 'x');
    write("a.jpg", zvtest::jpegWithParts(jpeg, {{1, 1, junk}}));
    gives("a.jpg", junk, {"zvclr: warning: ", "the 300 bytes of its profile are no ICC profile"});
}

TEST_F(Extract, PaddingBehindTheProfileIsLeftOut) {
    const Bytes profile = zvtest::profileOfSize(4000);
    Bytes padded = profile;
    padded.resize(4003);
    write("a.jpg", zvtest::jpegWithParts(zvtest::plainJpeg(), {{1, 1, padded}}));
    gives("a.jpg", profile, {"zvclr: note: ", "3 bytes behind the end of its profile are left out"});
    const Outcome quiet = runTool({"extract", path("a.jpg"), path("out.icc"), "--quiet"});
    EXPECT_EQ(quiet.err, "");
    zvtest::writeTiff(path("a.tif"), zvtest::tiffVariants()[0], padded);
    gives("a.tif", profile, {"3 bytes behind the end"});
}

TEST_F(Extract, ToTheStandardOutput) {
    const Bytes profile = zvtest::smallProfile("RGB ");
    write("a.jpg", zvtest::jpegWithParts(zvtest::plainJpeg(), {{1, 1, profile}}));
    const Outcome outcome = runTool({"extract", path("a.jpg"), "-"});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(Bytes(outcome.out.begin(), outcome.out.end()), profile);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(runTool({"extract", path("a.jpg"), "/dev/full"}).code, 1);
}

TEST_F(Extract, TheCommandLineIsChecked) {
    write("a.jpg", zvtest::jpegWithParts(zvtest::plainJpeg(), {{1, 1, zvtest::smallProfile("RGB ")}}));
    const Bytes before = zvtest::readFile(path("a.jpg"));
    EXPECT_EQ(runTool({"extract"}).code, 2);
    EXPECT_EQ(runTool({"extract", path("a.jpg")}).code, 2);
    EXPECT_EQ(runTool({"extract", "-", path("out.icc")}).code, 2);
    const Outcome same = runTool({"extract", path("a.jpg"), folder_.root() + "/./a.jpg"});
    EXPECT_EQ(same.code, 2);
    EXPECT_NE(same.err.find("is the image itself"), std::string::npos) << same.err;
    EXPECT_EQ(zvtest::readFile(path("a.jpg")), before);
    const Outcome help = runTool({"extract", "--help"});
    EXPECT_EQ(help.code, 0);
    for (const char* word : {"read by the tool itself, since the library drops", "APP2", "34675", "iCCP", "ICCRGBG1"}) {
        EXPECT_NE(help.out.find(word), std::string::npos) << word;
    }
}

TEST_F(Extract, TheLineAtTheEndIsForTerminals) {
    write("a.jpg", zvtest::jpegWithParts(zvtest::plainJpeg(), {{1, 1, zvtest::profileOfSize(3144)}}));
    const std::string line = std::string(ZVCLR_PROGRAM) + " extract " + path("a.jpg") + " " + path("out.icc");
    const std::string shown = zvtest::shell("script -qec '" + line + "' /dev/null");
    EXPECT_NE(shown.find(": 3144 bytes, \"zvclr sRGB"), std::string::npos) << shown;
    EXPECT_NE(shown.find("(JPEG, in 1 APP2 marker)"), std::string::npos) << shown;
    EXPECT_EQ(zvtest::shell("script -qec '" + line + " --quiet' /dev/null"), "");
    const std::string toTerminal = std::string(ZVCLR_PROGRAM) + " extract " + path("a.jpg") + " -; echo code $?";
    EXPECT_NE(zvtest::shell("script -qec '" + toTerminal + "' /dev/null").find("code 2"), std::string::npos);
}

}  // namespace
