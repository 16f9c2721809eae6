// zvclr convert with the profile of its input, and with one put into its output.
#include <gtest/gtest.h>

#include <algorithm>

#include "embedded_support.h"
#include "info_support.h"

namespace {

using zvtest::Bytes;
using zvtest::Folder;
using zvtest::Outcome;
using zvtest::runTool;

std::string own(const char* id) { return std::string(ZVCLR_PROFILES) + "/" + id + ".icm"; }

const std::string kRgb = own("105");
const std::string kLab = own("106");
const std::string kCmyk = own("107");

class ConvertEmbedded : public testing::Test {
protected:
    ConvertEmbedded() {
        zvtest::writeFile(path("a.ppm"), zvtest::ppm(8, 6, zvtest::pattern(8, 6)));
        zvtest::writeFile(path("other.icc"), withOtherColorants(zvtest::readFile(kRgb)));
        zvtest::shell("cd " + folder_.root() +
                      "; for f in png jpg tif; do $ZVCLR convert a.ppm plain.$f --to rgb; cp plain.$f rgb.$f; "
                      "$ZVCLR embed other.icc rgb.$f; done; $ZVCLR convert a.ppm plain-cmyk.tif --to cmyk; "
                      "$ZVCLR convert a.ppm cmyk.jpg --to cmyk --embed");
        before_ = folder_.names();
    }

    // With red and blue in each other's place it is another profile than the library's, which shows in the pixels.
    static Bytes withOtherColorants(Bytes profile) {
        for (size_t i = 132; i < 132 + 12 * size_t{zvtest::get32(profile, 128)}; i += 12) {
            const uint32_t tag = zvtest::get32(profile, i);
            if (tag == zvtest::icc("rXYZ") || tag == zvtest::icc("bXYZ")) {
                profile[i] = static_cast<uint8_t>(tag == zvtest::icc("rXYZ") ? 'b' : 'r');
            }
        }
        return profile;
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

    void refused(const std::string& in, const std::string& out, const std::vector<std::string>& options,
                 const std::vector<std::string>& words) const {
        const Outcome outcome = convert(in, out, options);
        EXPECT_EQ(outcome.code, 2) << outcome.err;
        EXPECT_EQ(outcome.err.rfind("zvclr: error: ", 0), 0U) << outcome.err;
        EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
        for (const std::string& word : words) {
            EXPECT_NE(outcome.err.find(word), std::string::npos) << word << " in: " << outcome.err;
        }
        EXPECT_EQ(folder_.names(), before_);
    }

    // The profile in an image, and none in it for the empty one.
    void holds(const std::string& image, const Bytes& profile) const {
        const Outcome outcome = runTool({"extract", path(image), path("extracted.icc")});
        EXPECT_EQ(outcome.code, profile.empty() ? 1 : 0) << image << ": " << outcome.err;
        if (!profile.empty() && outcome.code == 0) {
            EXPECT_EQ(outcome.err, "");
            EXPECT_EQ(read("extracted.icc"), profile) << image;
        }
    }

    Folder folder_;
    std::vector<std::string> before_;
};

TEST_F(ConvertEmbedded, TheInputsProfileDoesWhatItsFileDoes) {
    for (const char* extension : {"png", "jpg", "tif"}) {
        const std::string image = std::string("rgb.") + extension;
        works(image, "file.raw", {"--to", "cmyk", "--input-profile", path("other.icc"), "--output-profile", kCmyk});
        works(image, "embedded.raw", {"--to", "cmyk", "--input-profile", "embedded", "--output-profile", kCmyk});
        works(image, "own.raw", {"--to", "cmyk", "--input-profile", kRgb, "--output-profile", kCmyk});
        EXPECT_EQ(read("embedded.raw"), read("file.raw")) << image;
        EXPECT_NE(read("embedded.raw"), read("own.raw")) << image;
        zvtest::shell("cd " + folder_.root() + "; cat " + image +
                      " | $ZVCLR convert - piped.raw --to cmyk --input-profile embedded --output-profile " + kCmyk);
        EXPECT_EQ(read("piped.raw"), read("file.raw")) << image;
    }
    works("cmyk.jpg", "embedded.ppm", {"--to", "rgb", "--input-profile", "embedded", "--output-profile", kRgb});
    works("cmyk.jpg", "file.ppm", {"--to", "rgb", "--input-profile", kCmyk, "--output-profile", kRgb});
    EXPECT_EQ(read("embedded.ppm"), read("file.ppm"));
}

TEST_F(ConvertEmbedded, ProfilesInManyPartsAreJoined) {
    Bytes large = read("other.icc");
    const size_t size = large.size();
    large.resize(150000);
    zvtest::set32(large, 0, 150000);
    const Bytes first(large.begin(), large.begin() + static_cast<std::ptrdiff_t>(size));
    const Bytes second(large.begin() + static_cast<std::ptrdiff_t>(size), large.begin() + 60000);
    const Bytes third(large.begin() + 60000, large.begin() + 120000);
    const Bytes fourth(large.begin() + 120000, large.end());
    const Bytes plain = read("plain.jpg");
    works("rgb.jpg", "one.raw", {"--to", "cmyk", "--input-profile", "embedded", "--output-profile", kCmyk});
    zvtest::writeFile(path("parts.jpg"),
                      zvtest::jpegWithParts(plain, {{2, 4, second}, {1, 4, first}, {4, 4, fourth}, {3, 4, third}}));
    works("parts.jpg", "parts.raw", {"--to", "cmyk", "--input-profile", "embedded", "--output-profile", kCmyk});
    EXPECT_EQ(read("parts.raw"), read("one.raw"));
}

TEST_F(ConvertEmbedded, ImagesWithoutAUsableProfileAreRefused) {
    const std::vector<std::string> options = {"--to", "cmyk", "--input-profile", "embedded", "--output-profile", kCmyk};
    refused("plain.png", "b.tif", options, {"plain.png (PNG, 8 bit rgb) has no embedded profile", "--input-profile"});
    refused("plain.jpg", "b.tif", options, {"has no embedded profile"});
    refused("plain.tif", "b.tif", options, {"has no embedded profile"});
    refused("a.ppm", "b.tif", options, {"has no embedded profile"});
    zvtest::writeFile(path("plain.jpg"), zvtest::jpegWithParts(zvtest::plainJpeg(), {{1, 2, read("other.icc")}}));
    refused("plain.jpg", "b.tif", options, {"has no embedded profile that can be used: its parts are missing"});
    std::vector<zvtest::Chunk> chunks = zvtest::chunksOf(read("plain.png"));
    chunks.insert(chunks.begin() + 1, {"iCCP", Bytes{'x', 0, 0, 1, 2, 3}});
    zvtest::writeFile(path("plain.png"), zvtest::pngOf(chunks));
    refused("plain.png", "b.tif", options, {"has no embedded profile that can be used: iCCP: "});
}

TEST_F(ConvertEmbedded, ProfilesOfOtherPixelsAreRefused) {
    const std::vector<std::string> options = {"--to", "cmyk", "--input-profile", "embedded", "--output-profile", kCmyk};
    zvtest::writeFile(path("plain.jpg"),
                      zvtest::jpegWithParts(zvtest::greyJpeg(), {{1, 1, zvtest::smallProfile("GRAY")}}));
    refused("plain.jpg", "b.tif", options, {"the profile in ", "is a profile for GRAY, but the picture holds rgb"});
    zvtest::writeFile(path("plain.jpg"), zvtest::jpegWithParts(zvtest::plainJpeg(), {{1, 1, Bytes(200, 'x')}}));
    const Outcome outcome = convert("plain.jpg", "b.tif", options);
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.err.find("is no ICC profile"), std::string::npos) << outcome.err;
}

TEST_F(ConvertEmbedded, AFileOfThatNameIsGivenWithItsFolder) {
    zvtest::writeFile(path("embedded"), read("other.icc"));
    zvtest::shell("cd " + folder_.root() +
                  "; $ZVCLR convert plain.png file.raw --to cmyk --input-profile ./embedded "
                  "--output-profile " +
                  kCmyk);
    works("rgb.png", "inside.raw", {"--to", "cmyk", "--input-profile", "embedded", "--output-profile", kCmyk});
    EXPECT_EQ(read("file.raw"), read("inside.raw"));
    EXPECT_EQ(
        convert("rgb.png", "b.tif", {"--to", "cmyk", "--input-profile", kRgb, "--output-profile", "embedded"}).code, 1)
        << "an output has none yet";
}

TEST_F(ConvertEmbedded, NothingGoesInWithoutRequest) {
    works("rgb.png", "b.png", {"--to", "rgb"});
    holds("b.png", {});
    works("rgb.png", "b.tif", {"--to", "cmyk", "--input-profile", "embedded", "--output-profile", kCmyk});
    holds("b.tif", {});
}

TEST_F(ConvertEmbedded, WithProfilesOfTheCallerTheOutputs) {
    for (const char* output : {"b.tif", "b.jpg"}) {
        works("rgb.png", output, {"--to", "cmyk", "--input-profile", "embedded", "--output-profile", kCmyk, "--embed"});
        holds(output, zvtest::readFile(kCmyk));
    }
    works("cmyk.jpg", "b.png",
          {"--to", "rgb", "--input-profile", "embedded", "--output-profile", path("other.icc"), "--embed"});
    holds("b.png", read("other.icc"));
    works("rgb.png", "c.png", {"--to", "rgb", "--input-profile", "embedded", "--output-profile", kRgb, "--embed"});
    holds("c.png", zvtest::readFile(kRgb));
    Bytes longer = zvtest::readFile(kRgb);
    longer.resize(longer.size() + 100);
    zvtest::writeFile(path("longer.icc"), longer);
    works("rgb.png", "c.png",
          {"--to", "rgb", "--input-profile", "embedded", "--output-profile", path("longer.icc"), "--embed"});
    holds("c.png", zvtest::readFile(kRgb));
}

TEST_F(ConvertEmbedded, WithProfilesOfTheLibraryItsOwn) {
    for (const char* output : {"b.tif", "b.jpg"}) {
        works("a.ppm", output, {"--to", "cmyk", "--embed"});
        holds(output, zvtest::readFile(kCmyk));
    }
    works("a.ppm", "b.tif", {"--to", "cmyk", "--white", "D65", "--embed"});
    holds("b.tif", zvtest::readFile(kCmyk));
    works("a.ppm", "b.tif", {"--to", "lab", "--embed"});
    holds("b.tif", zvtest::readFile(kLab));
    for (const char* output : {"b.png", "b.tif", "b.jpg"}) {
        works("plain-cmyk.tif", output, {"--to", "rgb", "--embed"});
        holds(output, zvtest::readFile(kRgb));
    }
}

TEST_F(ConvertEmbedded, WithFormulasToRgbTheLibrarys) {
    works("plain-cmyk.tif", "b.png", {"--to", "rgb", "--method", "builtin", "--embed"});
    holds("b.png", zvtest::readFile(kRgb));
    works("a.ppm", "a.hsv", {"--to", "hsv"});
    works("a.hsv", "b.tif", {"--from", "hsv", "--size", "8x6", "--to", "rgb", "--embed"});
    holds("b.tif", zvtest::readFile(kRgb));
}

TEST_F(ConvertEmbedded, WherePixelsAreCopiedThatOfTheInput) {
    for (const char* input : {"rgb.png", "rgb.jpg", "rgb.tif"}) {
        for (const char* output : {"b.png", "b.jpg", "b.tif"}) {
            works(input, output, {"--to", "rgb", "--embed"});
            holds(output, read("other.icc"));
        }
    }
    works("cmyk.jpg", "b.tif", {"--to", "cmyk", "--embed"});
    holds("b.tif", zvtest::readFile(kCmyk));
    works("cmyk.jpg", "ycck.jpg", {"--to", "ycck"});
    zvtest::shell("$ZVCLR embed " + kCmyk + " " + path("ycck.jpg"));
    works("ycck.jpg", "b.jpg", {"--from", "ycck", "--to", "ycck", "--embed"});
    holds("b.jpg", zvtest::readFile(kCmyk));
    zvtest::shell("cd " + folder_.root() +
                  "; cat rgb.tif | $ZVCLR convert - - --to rgb --embed --output-format png > c.png");
    holds("c.png", read("other.icc"));
}

TEST_F(ConvertEmbedded, WhereNoProfileDescribesThePixelsItIsSaid) {
    refused("plain.png", "b.png", {"--to", "rgb", "--embed"},
            {"no profile describes the rgb pixels of ", "copied from ", "has no embedded profile; leave --embed out"});
    refused("a.ppm", "b.tif", {"--to", "cmyk", "--method", "builtin", "--embed"}, {"formulas make them"});
    refused("a.ppm", "b.tif", {"--to", "lab", "--method", "builtin", "--embed"}, {"formulas make them"});
    refused("a.ppm", "b.jpg", {"--to", "ycck", "--embed"}, {"no profile describes the ycck pixels"});
    refused("plain-cmyk.tif", "b.png", {"--to", "rgb", "--method", "emulation", "--embed"},
            {"an emulation table makes them"});
    refused("a.ppm", "b.ppm", {"--to", "rgb", "--embed"}, {"PNG, JPEG and TIFF output, but pnm holds no profile"});
    refused("a.ppm", "b.raw", {"--to", "cmyk", "--embed"}, {"raw holds no profile"});
    zvtest::writeFile(path("plain.jpg"),
                      zvtest::jpegWithParts(zvtest::greyJpeg(), {{1, 1, zvtest::smallProfile("GRAY")}}));
    refused("plain.jpg", "b.png", {"--to", "rgb", "--embed"},
            {"copied from ", "plain.jpg, whose profile is for GRAY; leave --embed out"});
    zvtest::writeFile(path("plain.jpg"), zvtest::jpegWithParts(zvtest::plainJpeg(), {{1, 1, Bytes(200, 'x')}}));
    refused("plain.jpg", "b.png", {"--to", "rgb", "--embed"}, {"whose profile is no ICC profile", "leave --embed out"});
}

TEST_F(ConvertEmbedded, ProfilesThatAFileCannotHoldAreRefused) {
    Bytes large = zvtest::readFile(kCmyk);
    const size_t size = size_t{255} * 65519 + 1;
    large.resize(size);
    zvtest::set32(large, 0, static_cast<uint32_t>(size));
    zvtest::writeFile(path("plain.tif"), large);
    refused("rgb.png", "b.jpg",
            {"--to", "cmyk", "--input-profile", "embedded", "--output-profile", path("plain.tif"), "--embed"},
            {"has 16707346 bytes, and a JPEG file holds profiles of 16707345 at most"});
    Bytes odd = zvtest::readFile(kRgb);
    odd[8] = 4;
    odd.push_back(0);
    zvtest::set32(odd, 0, static_cast<uint32_t>(odd.size()));
    zvtest::writeFile(path("plain.tif"), odd);
    const Outcome outcome =
        convert("rgb.png", "b.png",
                {"--to", "rgb", "--input-profile", "embedded", "--output-profile", path("plain.tif"), "--embed"});
    EXPECT_EQ(outcome.code, 1) << outcome.err;
    EXPECT_NE(outcome.err.find("cannot write "), std::string::npos) << outcome.err;
    EXPECT_EQ(folder_.names(), before_);
}

TEST_F(ConvertEmbedded, OtherProgramsReadIt) {
    works("a.ppm", "b.jpg", {"--to", "cmyk", "--embed"});
    works("plain-cmyk.tif", "b.png", {"--to", "rgb", "--embed"});
    works("a.ppm", "b.tif", {"--to", "lab", "--embed"});
    const auto same = [this](const std::string& image, const std::string& profile) {
        return zvtest::shell("cd " + folder_.root() + "; exiftool -b -icc_profile " + image + " | cmp - " + profile +
                             " && echo same");
    };
    EXPECT_EQ(same("b.jpg", kCmyk), "same\n");
    EXPECT_EQ(same("b.png", kRgb), "same\n");
    EXPECT_EQ(same("b.tif", kLab), "same\n");
}

}  // namespace
