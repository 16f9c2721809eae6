// Profiles and white points of the command line: what they do, and what is refused.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "tool_support.h"

namespace {

using zvtest::Bytes;
using zvtest::Folder;
using zvtest::Outcome;
using zvtest::runTool;

std::string own(const char* id) { return std::string(ZVCLR_PROFILES) + "/" + id + ".icm"; }

const std::string kRgb = own("105");
const std::string kLab = own("106");
const std::string kCmyk = own("107");
const std::string kCmy = own("110");

// The profile with a signature replaced by another of the same length, everywhere in header and tag table.
Bytes replaced(Bytes profile, const std::string& from, const std::string& to) {
    for (size_t i = 0; i + 4 <= std::min<size_t>(profile.size(), 512); i += 4) {
        if (std::memcmp(profile.data() + i, from.data(), 4) == 0) {
            std::memcpy(profile.data() + i, to.data(), 4);
        }
    }
    return profile;
}

// The RGB profile with red and blue in each other's place.
Bytes swappedRgb() {
    return replaced(replaced(replaced(zvtest::readFile(kRgb), "rXYZ", "tXYZ"), "bXYZ", "rXYZ"), "tXYZ", "bXYZ");
}

class ConvertProfiles : public testing::Test {
protected:
    ConvertProfiles() {
        zvtest::writeFile(path("a.ppm"), zvtest::ppm(8, 6, zvtest::pattern(8, 6)));
        zvtest::writeFile(path("swapped.icc"), swappedRgb());
        zvtest::shell("cd " + folder_.root() +
                      "; $ZVCLR convert a.ppm c.tif --to cmyk; $ZVCLR convert a.ppm l.tif --to lab");
        before_ = folder_.names();
    }

    std::string path(const std::string& name) const { return folder_.path(name); }
    Bytes read(const std::string& name) const { return zvtest::readFile(path(name)); }

    Outcome convert(const std::string& in, const std::string& out, const std::vector<std::string>& options) const {
        std::vector<std::string> all = {"convert", path(in), path(out)};
        all.insert(all.end(), options.begin(), options.end());
        return runTool(all);
    }

    void works(const std::string& in, const std::string& out, const std::vector<std::string>& options) const {
        const Outcome outcome = convert(in, out, options);
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "");
    }

    // Expects this exit code, these words in one line, and no new file.
    void refused(int code, const std::string& in, const std::vector<std::string>& options,
                 const std::vector<std::string>& words) const {
        const Outcome outcome = convert(in, "b.tif", options);
        EXPECT_EQ(outcome.code, code) << outcome.err;
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err.rfind("zvclr: error: ", 0), 0U) << outcome.err;
        EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
        for (const std::string& word : words) {
            EXPECT_NE(outcome.err.find(word), std::string::npos) << word << " in: " << outcome.err;
        }
        EXPECT_EQ(folder_.names(), before_);
    }

    Folder folder_;
    std::vector<std::string> before_;
};

TEST_F(ConvertProfiles, TheLibrarysProfilesAsFilesGiveTheSame) {
    struct Case {
        const char* space;
        const std::string& profile;
    };
    for (const Case& c : {Case{"cmyk", kCmyk}, Case{"cmy", kCmy}, Case{"lab", kLab}}) {
        works("a.ppm", "own.raw", {"--to", c.space, "--method", "icc"});
        works("a.ppm", "file.raw", {"--to", c.space, "--input-profile", kRgb, "--output-profile", c.profile});
        EXPECT_EQ(read("file.raw"), read("own.raw")) << c.space;
        const std::vector<std::string> raw = {"--from", c.space, "--size", "8x6", "--to", "rgb"};
        works("own.raw", "own.rgb", raw);
        std::vector<std::string> custom = raw;
        custom.insert(custom.end(), {"--method", "custom-icc", "--input-profile", c.profile, "--output-profile", kRgb});
        works("own.raw", "file.rgb", custom);
        EXPECT_EQ(read("file.rgb"), read("own.rgb")) << c.space;
    }
}

TEST_F(ConvertProfiles, EachSideHasItsOwn) {
    const Bytes plain = zvtest::pattern(8, 6);
    Bytes swapped = plain;
    for (size_t i = 0; i < swapped.size(); i += 3) {
        std::swap(swapped[i], swapped[i + 2]);
    }
    works("a.ppm", "b.ppm", {"--to", "rgb", "--input-profile", kRgb, "--output-profile", path("swapped.icc")});
    EXPECT_LE(zvtest::largestDifference(zvtest::pixelsOfPpm(read("b.ppm")), swapped), 2);
    works("a.ppm", "b.ppm", {"--to", "rgb", "--input-profile", path("swapped.icc"), "--output-profile", kRgb});
    EXPECT_LE(zvtest::largestDifference(zvtest::pixelsOfPpm(read("b.ppm")), swapped), 2);
    works("a.ppm", "b.ppm", {"--to", "rgb", "--input-profile", kRgb, "--output-profile", kRgb});
    EXPECT_LE(zvtest::largestDifference(zvtest::pixelsOfPpm(read("b.ppm")), plain), 2);
    works("a.ppm", "c.raw", {"--to", "cmyk", "--input-profile", path("swapped.icc"), "--output-profile", kCmyk});
    works("a.ppm", "d.raw", {"--to", "cmyk", "--input-profile", kRgb, "--output-profile", kCmyk});
    EXPECT_NE(read("c.raw"), read("d.raw"));
}

TEST_F(ConvertProfiles, EqualSpacesAreConvertedToo) {
    works("c.tif", "again.tif", {"--to", "cmyk", "--input-profile", kCmyk, "--output-profile", kCmyk});
    works("c.tif", "first.ppm", {"--to", "rgb"});
    works("again.tif", "second.ppm", {"--to", "rgb"});
    EXPECT_LE(zvtest::largestDifference(read("first.ppm"), read("second.ppm")), 24);
    works("l.tif", "again-lab.tif", {"--to", "lab", "--input-profile", kLab, "--output-profile", kLab});
    works("l.tif", "first.ppm", {"--to", "rgb"});
    works("again-lab.tif", "second.ppm", {"--to", "rgb"});
    EXPECT_LE(zvtest::largestDifference(read("first.ppm"), read("second.ppm")), 16);
}

TEST_F(ConvertProfiles, NamesOfEveryKindAreOpened) {
    const std::string longName = std::string(200, 'n') + ".icc";
    for (const std::string& name : {std::string("Druckprofil für Gestrichenes.icc"), longName}) {
        zvtest::writeFile(path(name), zvtest::readFile(kCmyk));
        works("a.ppm", "b.raw", {"--to", "cmyk", "--input-profile", kRgb, "--output-profile", path(name)});
        works("a.ppm", "c.raw", {"--to", "cmyk"});
        EXPECT_EQ(read("b.raw"), read("c.raw"));
    }
}

TEST_F(ConvertProfiles, MissingSidesAreTold) {
    refused(2, "a.ppm", {"--to", "cmyk", "--input-profile", kRgb}, {"--output-profile is missing", "--method icc"});
    refused(2, "a.ppm", {"--to", "cmyk", "--output-profile", kCmyk}, {"--input-profile is missing", "--method icc"});
    refused(2, "a.ppm", {"--to", "cmyk", "--method", "custom-icc"}, {"--input-profile is missing"});
    refused(1, "a.ppm", {"--to", "cmyk", "--input-profile", path("none.icc"), "--output-profile", kCmyk},
            {path("none.icc"), "No such file"});
    refused(1, "a.ppm", {"--to", "cmyk", "--input-profile", kRgb, "--output-profile", path("none.icc")},
            {path("none.icc"), "No such file"});
    refused(1, "a.ppm", {"--to", "cmyk", "--input-profile", folder_.root(), "--output-profile", kCmyk},
            {folder_.root()});
    refused(2, "a.ppm", {"--to", "cmyk", "--input-profile", "-", "--output-profile", kCmyk},
            {"--input-profile", "standard input"});
}

TEST_F(ConvertProfiles, ProfilesOfOtherSpacesAreRefused) {
    refused(2, "a.ppm", {"--to", "cmyk", "--input-profile", kCmyk, "--output-profile", kCmyk},
            {"profile for CMYK", "picture holds rgb", "--input-profile a profile for RGB"});
    refused(2, "a.ppm", {"--to", "cmyk", "--input-profile", kRgb, "--output-profile", kRgb},
            {"profile for RGB", "output is to be cmyk", "--output-profile a profile for CMYK", "--to"});
    refused(2, "c.tif", {"--to", "rgb", "--input-profile", kLab, "--output-profile", kRgb},
            {"profile for Lab", "picture holds cmyk"});
    refused(2, "l.tif", {"--to", "rgb", "--input-profile", kCmy, "--output-profile", kRgb},
            {"profile for CMY", "picture holds lab", "a profile for Lab"});
    for (const auto& [kind, words] : {std::pair("link", "a device link"), std::pair("abst", "an abstract profile"),
                                      std::pair("nmcl", "a named-colour profile")}) {
        zvtest::writeFile(path("swapped.icc"), replaced(zvtest::readFile(kRgb), "mntr", kind));
        refused(2, "a.ppm", {"--to", "cmyk", "--input-profile", path("swapped.icc"), "--output-profile", kCmyk},
                {words, "--input-profile"});
    }
}

TEST_F(ConvertProfiles, OtherFilesAreNoProfiles) {
    refused(1, "a.ppm", {"--to", "cmyk", "--input-profile", path("a.ppm"), "--output-profile", kCmyk},
            {path("a.ppm"), "no ICC profile", "--input-profile"});
    refused(1, "a.ppm", {"--to", "cmyk", "--input-profile", "/dev/null", "--output-profile", kCmyk},
            {"/dev/null", "no ICC profile"});
    refused(1, "a.ppm", {"--to", "cmyk", "--input-profile", "/dev/zero", "--output-profile", kCmyk},
            {"/dev/zero", "larger than 64 MB"});
    // A profile without anything that converts.
    zvtest::writeFile(path("swapped.icc"), replaced(replaced(zvtest::readFile(kCmyk), "B2A0", "none"), "A2B0", "none"));
    refused(1, "a.ppm", {"--to", "cmyk", "--input-profile", kRgb, "--output-profile", path("swapped.icc")},
            {"swapped.icc", "cannot be used from rgb to cmyk"});
}

TEST_F(ConvertProfiles, CutAndDamagedProfilesLeaveNothing) {
    const Bytes whole = zvtest::readFile(kRgb);
    for (const size_t bytes : {0U, 64U, 131U, 132U, 200U, 1000U, 3000U}) {
        zvtest::writeFile(path("swapped.icc"),
                          Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(bytes)));
        refused(1, "a.ppm", {"--to", "cmyk", "--input-profile", path("swapped.icc"), "--output-profile", kCmyk},
                {"swapped.icc", bytes < 132 ? "no ICC profile" : "is cut off"});
    }
    // Each byte of header and tag table set to its complement: converted or refused, never more.
    int tried = 0;
    for (size_t at = 0; at < 300; at += 3) {
        Bytes damaged = whole;
        damaged[at] = static_cast<uint8_t>(~damaged[at]);
        zvtest::writeFile(path("swapped.icc"), damaged);
        const Outcome outcome = convert(
            "a.ppm", "b.tif", {"--to", "rgb", "--input-profile", path("swapped.icc"), "--output-profile", kRgb});
        EXPECT_TRUE(outcome.code >= 0 && outcome.code <= 2) << at << " " << outcome.code << outcome.err;
        EXPECT_EQ(zvtest::exists(path("b.tif")), outcome.code == 0) << at;
        zvtest::shell("rm -f " + path("b.tif"));
        EXPECT_EQ(folder_.names(), before_);
        ++tried;
    }
    EXPECT_EQ(tried, 100);
}

TEST_F(ConvertProfiles, MethodsAreForTheirSpaces) {
    zvtest::shell("cd " + folder_.root() + "; $ZVCLR convert a.ppm a.hsv --to hsv");
    before_ = folder_.names();
    refused(2, "a.ppm", {"--to", "rgb", "--method", "icc"}, {"not rgb to rgb", "--method builtin"});
    const std::vector<std::string> raw = {"--output-format", "raw"};
    const auto with = [&raw](std::vector<std::string> options) {
        options.insert(options.end(), raw.begin(), raw.end());
        return options;
    };
    refused(2, "a.ppm", with({"--to", "hsv", "--method", "icc"}), {"not rgb to hsv", "--method builtin"});
    refused(2, "a.ppm", with({"--to", "ycck", "--method", "icc"}), {"not rgb to ycck", "--method builtin"});
    refused(2, "c.tif", {"--to", "cmyk", "--method", "icc"}, {"not cmyk to cmyk"});
    refused(2, "c.tif", with({"--to", "ycck", "--method", "icc"}), {"not cmyk to ycck", "--method builtin"});
    refused(2, "a.hsv", with({"--from", "hsv", "--size", "8x6", "--to", "xyz", "--method", "icc"}), {"not hsv to xyz"});
    refused(2, "a.hsv", {"--from", "hsv", "--size", "8x6", "--to", "cmyk", "--method", "custom-icc"},
            {"not hsv to cmyk", "through rgb in two runs"});
    refused(2, "a.ppm", with({"--to", "xyz", "--input-profile", kRgb, "--output-profile", kCmyk}),
            {"--method custom-icc", "not rgb to xyz"});
    refused(2, "c.tif", {"--to", "lab", "--input-profile", kCmyk, "--output-profile", kLab},
            {"not cmyk to lab", "through rgb in two runs"});
    const Outcome unknown = convert("a.ppm", "b.tif", {"--to", "cmyk", "--method", "platform"});
    EXPECT_EQ(unknown.code, 2);
    EXPECT_NE(unknown.err.find("platform not in {builtin,icc,custom-icc,emulation,custom-emulation}"),
              std::string::npos)
        << unknown.err;
    for (const char* method : {"icc", "builtin"}) {
        refused(2, "a.ppm", {"--to", "cmyk", "--method", method, "--input-profile", kRgb, "--output-profile", kCmyk},
                {"--input-profile goes with --method custom-icc only", std::string("--method ") + method});
        refused(2, "a.ppm", {"--to", "cmyk", "--method", method, "--output-profile", kCmyk},
                {"--output-profile goes with --method custom-icc only"});
    }
}

TEST_F(ConvertProfiles, ParametersOfFormulasAreNotForProfiles) {
    refused(2, "a.ppm", {"--to", "cmyk", "--gcr", "500"}, {"--gcr", "rgb to cmyk goes by --method icc", "builtin"});
    refused(2, "c.tif", {"--to", "rgb", "--method", "icc", "--gcr", "500"}, {"--gcr", "cmyk to rgb"});
    refused(2, "a.ppm", {"--to", "cmyk", "--input-profile", kRgb, "--output-profile", kCmyk, "--gcr", "500"},
            {"--gcr", "--method custom-icc", "--method builtin"});
    refused(2, "a.ppm", {"--to", "lab", "--output-format", "raw", "--lab-params", "0,100,128,170,96,200"},
            {"--lab-params", "rgb to lab goes by --method icc", "--method builtin"});
    works("a.ppm", "b.raw", {"--to", "cmyk", "--method", "builtin", "--gcr", "500"});
}

TEST_F(ConvertProfiles, WhitePointsAreForProfilesThatFeelThem) {
    refused(2, "a.ppm", {"--to", "cmyk", "--white", "D60"}, {"--white", "D60", "D65", "0.3127,0.3290"});
    refused(2, "a.ppm", {"--to", "cmyk", "--white", "0.6,0.5"}, {"--white", "below 1"});
    refused(2, "a.ppm", {"--to", "cmyk", "--method", "builtin", "--white", "D65"}, {"--white", "--method builtin"});
    refused(2, "a.ppm", {"--to", "rgb", "--white", "D65"}, {"--white", "rgb to rgb goes by --method builtin"});
    refused(2, "c.tif", {"--to", "rgb", "--white", "D65"}, {"--white", "nothing to do", "cmyk to rgb"});
    refused(2, "a.ppm", {"--to", "rgb", "--input-profile", kRgb, "--output-profile", kRgb, "--white", "0.3127,0.3290"},
            {"--white", "rgb to rgb", "D65"});
    works("a.ppm", "plain.raw", {"--to", "cmyk", "--input-profile", kRgb, "--output-profile", kCmyk});
    works("a.ppm", "white.raw", {"--to", "cmyk", "--input-profile", kRgb, "--output-profile", kCmyk, "--white", "D65"});
    works("a.ppm", "icc.raw", {"--to", "cmyk", "--white", "D65"});
    EXPECT_NE(read("white.raw"), read("plain.raw"));
    EXPECT_EQ(read("white.raw"), read("icc.raw"));
}

}  // namespace
