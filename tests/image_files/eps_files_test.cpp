// Profiles in EPS files as programs write them.
#include <gtest/gtest.h>

#include <string>

#include "image_file_support.h"
#include "small_images.h"

namespace {

using namespace zvtest;

class EpsFiles : public testing::Test {
protected:
    Loaded LoadFrom(const Bytes& file) {
        WriteFile(folder_ / "a.eps", file);
        const Loaded loaded = Load(folder_ / "a.eps");
        EXPECT_EQ(ReadFile(folder_ / "a.eps"), file);
        return loaded;
    }
    Loaded LoadFrom(const std::string& text) { return LoadFrom(Text(text)); }

    const Folder folder_;
};

TEST_F(EpsFiles, LinesOfEachLength) {
    const Bytes profile = MadeUpProfile(1000);
    for (const char* lineEnd : {"\r\n", "\r"}) {
        for (const size_t bytesInLine : Sizes{1, 2, 16, 31, 32, 40, 127, 500, 1000}) {
            const Loaded loaded = LoadFrom(Eps(profile, lineEnd, bytesInLine));
            EXPECT_EQ(loaded.result, 1) << bytesInLine;
            EXPECT_EQ(loaded.profile, AllButTheStaged(profile)) << bytesInLine;
        }
    }
}

TEST_F(EpsFiles, BareLineFeedsAreForeign) {
    for (const size_t size : Sizes{1, 80, 1000, 3000}) {
        EXPECT_EQ(LoadFrom(Eps(MadeUpProfile(size), "\n")).result, ERR_PROFILE_TRUNCATED) << size;
        EXPECT_EQ(LoadFrom(EpsWithPreview(MadeUpProfile(size), "\n")).result, ERR_PROFILE_TRUNCATED) << size;
    }
}

TEST_F(EpsFiles, TheLastBytesStayStaged) {
    for (const size_t size : Sizes{79, 80, 81, 159, 160, 161, 240, 241}) {
        const Bytes profile = MadeUpProfile(size);
        const Loaded loaded = LoadFrom(Eps(profile, "\r\n"));
        EXPECT_EQ(loaded.result, size > 80 ? 1 : ERR_NO_PROFILE) << size;
        EXPECT_EQ(loaded.profile.size(), (size - 1) / 80 * 80);
        EXPECT_EQ(loaded.profile, AllButTheStaged(profile)) << size;
    }
}

TEST_F(EpsFiles, BehindABinaryPreview) {
    const Bytes profile = MadeUpProfile(5000);
    for (const char* lineEnd : {"\r\n", "\r"}) {
        const Loaded loaded = LoadFrom(EpsWithPreview(profile, lineEnd));
        EXPECT_EQ(loaded.result, 1);
        EXPECT_EQ(loaded.profile, AllButTheStaged(profile));
    }
}

TEST_F(EpsFiles, WithoutAProfile) {
    for (const char* lineEnd : {"\r\n", "\r", "\n"}) {
        EXPECT_EQ(LoadFrom(Eps({}, lineEnd)).result, ERR_NO_PROFILE);
        EXPECT_EQ(LoadFrom(EpsWithPreview({}, lineEnd)).result, ERR_NO_PROFILE);
    }
}

// The block, and its first line, at every place of the reading buffer.
TEST_F(EpsFiles, TheBlockAtEveryPlace) {
    const Bytes profile = MadeUpProfile(900);
    const Bytes eps = Eps(profile, "\r\n");
    for (size_t shift = 0; shift < 1100; shift += 3) {
        const Loaded loaded = LoadFrom(Text("%!PS\r\n" + std::string(shift, 'x') + "\r\n") + eps);
        ASSERT_EQ(loaded.result, 1) << shift;
        ASSERT_EQ(loaded.profile, AllButTheStaged(profile)) << shift;
    }
}

TEST_F(EpsFiles, PercentSignsEverywhere) {
    const Bytes eps = Eps(MadeUpProfile(300), "\r\n");
    for (const size_t count : Sizes{1, 17, 18, 1023, 1024, 1025, 5000}) {
        const Loaded loaded = LoadFrom(Text("%!PS\r\n" + std::string(count, '%') + "\r\n") + eps);
        EXPECT_EQ(loaded.profile, AllButTheStaged(MadeUpProfile(300))) << count;
    }
}

TEST_F(EpsFiles, ABlockThatEndsEarly) {
    const std::string eps(reinterpret_cast<const char*>(Eps(MadeUpProfile(300), "\r\n").data()),
                          Eps(MadeUpProfile(300), "\r\n").size());
    const size_t begin = eps.find("%%BeginICCProfile:");
    const size_t end = eps.find("%%EndICCProfile");
    ASSERT_NE(end, std::string::npos);
    // A begin line that ends the file counts only while more than its 18 bytes were in hand.
    for (size_t size = begin; size < begin + 18; ++size) {
        EXPECT_EQ(LoadFrom(eps.substr(0, size)).result, ERR_NO_PROFILE) << size;
    }
    EXPECT_EQ(LoadFrom(eps.substr(0, begin + 18)).result, ERR_PROFILE_UNUSABLE);
    for (size_t size = begin + 19; size < end + 15; ++size) {
        EXPECT_EQ(LoadFrom(eps.substr(0, size)).result, ERR_PROFILE_TRUNCATED) << size;
    }
    EXPECT_EQ(LoadFrom(eps.substr(0, end + 15)).result, 1);
}

TEST_F(EpsFiles, ForeignBytesInTheBlock) {
    const std::string head = "%!PS-Adobe-3.0 EPSF-3.0\r\n%%BeginICCProfile: x\r\n% ";
    const std::string digits(200, 'A');
    const std::string end = "\r\n%%EndICCProfile\r\n%%EOF\r\n";
    EXPECT_EQ(LoadFrom(head + digits + end).profile, Bytes(80, 0xAA));
    EXPECT_EQ(LoadFrom(head + digits + "\n% AA" + end).result, ERR_PROFILE_TRUNCATED);
    EXPECT_EQ(LoadFrom(head + digits + " AA" + end).result, ERR_PROFILE_TRUNCATED);
    EXPECT_EQ(LoadFrom(head + digits + "GG" + end).result, ERR_PROFILE_TRUNCATED);
    // A line without its two characters is passed over, one with a blank goes on.
    EXPECT_EQ(LoadFrom(head + digits + "\r\nBBBB" + end).profile, Bytes(80, 0xAA));
    EXPECT_EQ(LoadFrom(head + digits + "\r\n " + std::string(200, 'B') + end).profile,
              Bytes(100, 0xAA) + Bytes(60, 0xBB));
}

TEST_F(EpsFiles, AreNotSavedInto) {
    for (const Bytes& file : {Eps(MadeUpProfile(300), "\r\n"), EpsWithPreview({}, "\r\n")}) {
        WriteFile(folder_ / "b.eps", file);
        const FolderState before = StateOf(folder_.Root());
        EXPECT_EQ(Save(folder_ / "b.eps", MadeUpProfile(100)), ERR_FORMAT_NO_ICC);
        EXPECT_TRUE(StateOf(folder_.Root()) == before);
    }
}

}  // namespace
