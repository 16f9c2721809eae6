// Profiles in the comments of Macintosh pictures.
#include <gtest/gtest.h>

#include "image_file_support.h"
#include "small_images.h"

namespace {

using namespace zvtest;

class PictureFiles : public testing::Test {
protected:
    Loaded LoadFrom(const Bytes& file) {
        WriteFile(folder_ / "a.pct", file);
        const Loaded loaded = Load(folder_ / "a.pct");
        EXPECT_EQ(ReadFile(folder_ / "a.pct"), file);
        return loaded;
    }

    const Folder folder_;
};

TEST_F(PictureFiles, WithAndWithoutTheFilesHead) {
    const Bytes profile = MadeUpProfile(70001);
    for (const bool withHead : {true, false}) {
        for (const size_t most : Sizes{1000, 32759, 32762, 32767, 32768, 65531}) {
            const Loaded loaded = LoadFrom(Picture(ChunksOf(profile, most), withHead));
            EXPECT_EQ(loaded.result, 1) << most;
            EXPECT_EQ(loaded.profile, profile) << most;
        }
    }
}

TEST_F(PictureFiles, WithoutAProfileTheyEndEarly) {
    EXPECT_EQ(LoadFrom(Picture({})).result, ERR_PROFILE_TRUNCATED);
    EXPECT_EQ(LoadFrom(Picture({}, false)).result, ERR_PROFILE_TRUNCATED);
}

TEST_F(PictureFiles, AnEndAloneIsNoProfile) { EXPECT_EQ(LoadFrom(Picture({{2, {}}})).result, ERR_NO_PROFILE); }

TEST_F(PictureFiles, AChunkWithoutDataIsAProfileOfNothing) {
    const Loaded loaded = LoadFrom(Picture({{0, {}}, {2, {}}}));
    EXPECT_EQ(loaded.result, 1);
    EXPECT_TRUE(loaded.profile.empty());
}

TEST_F(PictureFiles, WithoutAnEndTheyEndEarly) {
    const Bytes profile = MadeUpProfile(100);
    const Loaded loaded = LoadFrom(Picture({{0, profile}}));
    EXPECT_EQ(loaded.result, ERR_PROFILE_TRUNCATED);
    EXPECT_EQ(loaded.profile, profile);
}

TEST_F(PictureFiles, CommentsOfOtherTypesArePassedOver) {
    const Bytes profile = MadeUpProfile(100);
    const Loaded loaded =
        LoadFrom(Picture({{3, {1, 2, 3}}, {0, profile}, {0xFFFFFFFF, {}}, {1, profile}, {0x100, profile}, {2, {}}}));
    EXPECT_EQ(loaded.result, 1);
    // The data of the type 0x100 are looked through too, and hold what may be taken for chunks of themselves.
    ASSERT_GE(loaded.profile.size(), 200U);
    EXPECT_EQ(Bytes(loaded.profile.begin(), loaded.profile.begin() + 200), profile + profile);
}

TEST_F(PictureFiles, WhatFollowsTheEndIsNotRead) {
    const Bytes profile = MadeUpProfile(100);
    const Loaded loaded = LoadFrom(Picture({{0, profile}, {2, {}}, {0, profile}}));
    EXPECT_EQ(loaded.result, 1);
    EXPECT_EQ(loaded.profile, profile);
}

TEST_F(PictureFiles, LengthsBelowTheTypeAddNothing) {
    const Bytes profile = MadeUpProfile(100);
    for (uint8_t length = 0; length <= 4; ++length) {
        Bytes file = Picture({{0, {}}, {1, profile}, {2, {}}});
        // The chunk of the first comment stands behind everything that is drawn before.
        size_t at = 512;
        while (!(file[at] == 0xA1 && file[at + 1] == 0x00 && file[at + 2] == 0xE0)) ++at;
        ASSERT_EQ(file[at + 4], 4);
        file[at + 4] = length;
        const Loaded loaded = LoadFrom(file);
        EXPECT_EQ(loaded.result, 1) << int{length};
        EXPECT_EQ(loaded.profile, profile) << int{length};
    }
}

TEST_F(PictureFiles, AreNotSavedInto) {
    WriteFile(folder_ / "b.pct", Picture(ChunksOf(MadeUpProfile(100), 50)));
    const FolderState before = StateOf(folder_.Root());
    EXPECT_EQ(Save(folder_ / "b.pct", MadeUpProfile(100)), ERR_FORMAT_NO_ICC);
    EXPECT_TRUE(StateOf(folder_.Root()) == before);
}

}  // namespace
