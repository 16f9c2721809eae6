// Runs the example that copies a profile between image files, on files of other programs.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "image_profiles.h"
#include "tests/support/image_samples.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using namespace zv::test;
using zvtest::Outcome;

class EmbedExample : public zvtest::ImageProfiles {
protected:
    void SetUp() override {
        ImageProfiles::SetUp();
        std::string picture = "P6\n31 17\n255\n";
        for (int i = 0; i < 31 * 17 * 3; ++i) picture += static_cast<char>(i * 89);
        write("picture.ppm", picture);
        expectDone("'" + std::string(MAKE_PROFILE_PROGRAM) + "' '" + path("made.icc") + "'");
        profile_ = bytesOf("made.icc");
    }
    void expectDone(const std::string& command) const {
        const Outcome result = run(command);
        EXPECT_EQ(result.exitCode, 0) << command << "\n" << result.err;
    }
    /// Files of other programs, with our profile or without one.
    void makeJpeg(const std::string& name) const {
        expectDone("cjpeg -quality 90 -progressive -outfile '" + path(name) + "' '" + path("picture.ppm") + "'");
    }
    void makeTiff(const std::string& name) const {
        // The program seeks in its output.
        expectDone("pnmtotiff -lzw -output='" + path(name) + "' '" + path("picture.ppm") + "'");
    }
    void makeGif(const std::string& name) const {
        expectDone("pnmquant 256 '" + path("picture.ppm") + "' | ppmtogif | cat > '" + path(name) + "' && test -s '" +
                   path(name) + "'");
    }
    void putProfile(const std::string& name) const {
        expectDone("exiftool -q -overwrite_original '-ICC_Profile<=" + path("made.icc") + "' '" + path(name) + "'");
    }
    std::string profileByOthers(const std::string& name) const {
        return run("exiftool -b -ICC_Profile '" + path(name) + "'").out;
    }
    std::string pixels(const std::string& reader, const std::string& name) const {
        const Outcome result = run(reader + " '" + path(name) + "'");
        EXPECT_EQ(result.exitCode, 0) << result.err;
        EXPECT_FALSE(result.out.empty());
        return result.out;
    }
    Outcome embed(const std::vector<std::string>& names) const {
        std::string command = EMBED_PROFILE_PROGRAM;
        for (const std::string& name : names) command += " '" + path(name) + "'";
        return run(command);
    }
    std::string message(const std::string& to, size_t size, const std::string& from) const {
        return path(to) + ": RGB  profile of " + std::to_string(size) + " bytes from " + path(from) + "\n";
    }
    void expectRefused(const std::string& from, const std::string& to, const std::string& code) const {
        const Outcome result = embed({from, to});
        EXPECT_EQ(result.exitCode, 1) << code;
        EXPECT_EQ(result.out, "");
        const bool isFrom = result.err.rfind(path(from) + ": " + code, 0) == 0;
        EXPECT_TRUE(isFrom || result.err.rfind(path(to) + ": " + code, 0) == 0) << result.err;
    }

    std::string profile_;
};

TEST_F(EmbedExample, CopiesFromAJpegToATiff) {
    makeJpeg("from.jpg");
    putProfile("from.jpg");
    makeTiff("to.tif");
    const std::string before = pixels("tifftopnm", "to.tif"), old = bytesOf("to.tif");
    const Outcome result = embed({"from.jpg", "to.tif", "backup.tif"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, message("to.tif", profile_.size(), "from.jpg"));
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(profileByOthers("to.tif"), profile_);
    EXPECT_EQ(pixels("tifftopnm", "to.tif"), before);
    EXPECT_EQ(bytesOf("backup.tif"), old);
}

TEST_F(EmbedExample, CopiesFromATiffToAJpeg) {
    makeTiff("from.tif");
    putProfile("from.tif");
    makeJpeg("to.jpg");
    const std::string before = pixels("djpeg", "to.jpg");
    const Outcome result = embed({"from.tif", "to.jpg"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, message("to.jpg", profile_.size(), "from.tif"));
    EXPECT_EQ(profileByOthers("to.jpg"), profile_);
    EXPECT_EQ(pixels("djpeg", "to.jpg"), before);
}

TEST_F(EmbedExample, CopiesIntoAGif) {
    makeJpeg("from.jpg");
    putProfile("from.jpg");
    makeGif("to.gif");
    const std::string before = pixels("giftopnm", "to.gif");
    const Outcome result = embed({"from.jpg", "to.gif"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(pixels("giftopnm", "to.gif"), before);
    EXPECT_NE(bytesOf("to.gif").find("\x21\xFF\x0BICCRGBG1\0\1\2\xFF"s + profile_.substr(0, 255)), std::string::npos);
}

TEST_F(EmbedExample, MakesRefusedSizesLonger) {
    for (const size_t size : {size_t{65520}, size_t{65532}, size_t{131039}}) {
        std::string profile = profile_;
        profile.resize(size);
        for (size_t i = 0; i < 4; ++i) profile[i] = static_cast<char>(size >> 8 * (3 - i));
        write("from.tif", SampleTiff(false, false, {}));
        ASSERT_EQ(save("from.tif", profile), CLR_SUCCESS);
        makeJpeg("to.jpg");
        const Outcome result = embed({"from.tif", "to.jpg"});
        ASSERT_EQ(result.exitCode, 0) << result.err;
        const std::string saved = profileByOthers("to.jpg");
        EXPECT_GT(saved.size(), size);
        EXPECT_LE(saved.size(), size + 13);
        EXPECT_TRUE(saved.substr(0, size) == profile) << size;
    }
}

TEST_F(EmbedExample, TellsWhyNothingWasDone) {
    makeJpeg("plain.jpg");
    makeTiff("plain.tif");
    makeJpeg("from.jpg");
    putProfile("from.jpg");
    const std::string jpeg = bytesOf("plain.jpg");
    expectRefused("plain.jpg", "plain.tif", "ERR_NO_PROFILE");
    expectRefused("none.jpg", "plain.tif", "ERR_FILE_OPEN");
    expectRefused("from.jpg", "none.tif", "ERR_FILE_OPEN");
    expectRefused("picture.ppm", "plain.jpg", "ERR_FORMAT_NO_ICC");
    expectRefused("from.jpg", "picture.ppm", "ERR_FORMAT_NO_ICC");
    EXPECT_EQ(bytesOf("plain.jpg"), jpeg);

    // An EPS file's profile comes without its end, and this JPEG's is another thing.
    write("from.eps", SampleEps(1000, "\r\n"));
    write("odd.jpg", SampleJpeg(ProfilePart(1, 1, "profile")));
    for (const char* from : {"from.eps", "odd.jpg"}) {
        const Outcome result = embed({from, "plain.jpg"});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_NE(result.err.find("no whole profile\n"), std::string::npos) << result.err;
        EXPECT_EQ(bytesOf("plain.jpg"), jpeg);
    }
    EXPECT_EQ(embed({"from.jpg"}).exitCode, 2);
    EXPECT_EQ(embed({"from.jpg", "plain.jpg", std::string(300, 'b')}).exitCode, 1);
    EXPECT_EQ(bytesOf("plain.jpg"), jpeg);
}

}  // namespace
