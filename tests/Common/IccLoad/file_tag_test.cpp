// Profiles in a TIFF file's tag.
#include <gtest/gtest.h>

#include "tests/Common/IccLoad/load_fixture.h"

namespace zv::test {
namespace {

class IccLoadTag : public ::testing::Test {
protected:
    IccLoadTag() { script_.format = kTagFormat; }

    HostScope host_;
    ImageScript script_;
    LoadedProfile profile_;
};

TEST_F(IccLoadTag, IsAskedForItsSizeAndThenRead) {
    const std::string profile = SomeBytes(100000);
    script_.tag = profile;
    const int options = 0;
    EXPECT_EQ((LoadOutcome{CLR_SUCCESS, true, profile}), Load(script_, &profile_, &options));
    ASSERT_EQ("HostFileInfo HostFileOpen HostReadFileTag HostReadFileTag HostFileClose", script_.Operations());
    EXPECT_EQ(0, script_.Position()) << "the stream is not read";
    for (const size_t i : {2U, 3U}) {
        const ImageCall& call = script_.Calls()[i];
        EXPECT_EQ(kImageText, call.name);
        EXPECT_EQ(34675U, call.first);
        EXPECT_EQ(i - 2, call.second) << "no buffer, then one";
        EXPECT_EQ(&options, call.options);
    }
    EXPECT_EQ(profile.size(), script_.Calls()[3].third) << "what the buffer holds";
    ASSERT_EQ(1U, host_->AllocationsSinceReset());
    const LiveBlock block = host_->LiveBlocks().front();
    EXPECT_TRUE(block.shared);
    EXPECT_EQ(profile.size(), block.size);
    EXPECT_EQ(u"Common\\IccLoad", block.file);
}

TEST_F(IccLoadTag, OfNoBytesIsABlockOfNone) {
    script_.tag = "";
    EXPECT_EQ((LoadOutcome{CLR_SUCCESS, true, ""}), Load(script_));
}

TEST_F(IccLoadTag, ThatIsMissingIsWhatTheLibrarySays) {
    EXPECT_EQ((LoadOutcome{ERR_NO_PROFILE, false, ""}), Load(script_));
    for (const int32_t result : {int32_t{ERR_BAD_TAG}, int32_t{ERR_FILE_READ}, -4711, INT32_MIN, 0}) {
        const size_t calls = script_.Calls().size();
        script_.Answer("HostReadFileTag", result);
        EXPECT_EQ((LoadOutcome{result, false, ""}), Load(script_));
        EXPECT_EQ(calls + 4, script_.Calls().size()) << "no second reading";
    }
    EXPECT_EQ(0, host_->AllocationsSinceReset());
}

TEST_F(IccLoadTag, EveryResultAbove0IsASuccess) {
    script_.tag = "profile";
    for (const int32_t result : {1, 2, 7, INT32_MAX}) {
        script_.Answer("HostReadFileTag", result);
        EXPECT_EQ((LoadOutcome{CLR_SUCCESS, true, "profile"}), Load(script_)) << result;
    }
}

TEST(IccLoadTagFailures, TheSecondReadingsFailureComesBackBesideTheBlock) {
    const HostScope host;
    for (const int32_t result : {int32_t{ERR_FILE_READ}, int32_t{ERR_NO_PROFILE}, -4711, INT32_MIN, 0}) {
        ImageScript script;
        script.format = kTagFormat;
        script.tag = "profile";
        script.Answer("HostReadFileTag", result, 2);
        LoadedProfile profile;
        const LoadOutcome outcome = Load(script, &profile);
        EXPECT_EQ(result, outcome.result);
        EXPECT_TRUE(outcome.hasData);
        EXPECT_EQ(7U, profile.Size());
    }
}

TEST_F(IccLoadTag, WithoutMemoryTheSizeStays) {
    script_.tag = "profile";
    host_->FailAllocation(1);
    EXPECT_EQ((LoadOutcome{ERR_FAILURE, false, ""}), Load(script_, &profile_));
    EXPECT_EQ(7U, profile_.Size());
    EXPECT_EQ(1U, script_.CallsOf("HostReadFileTag").size());
}

TEST_F(IccLoadTag, OfASizeThatNobodyHasIsRefused) {
    script_.tag = "profile";
    for (const uint64_t count : {uint64_t{INT64_MAX} + 1, UINT64_MAX - 6, UINT64_MAX}) {
        script_.claimedCount = count;
        EXPECT_EQ((LoadOutcome{ERR_FAILURE, false, ""}), Load(script_)) << count;
    }
}

TEST_F(IccLoadTag, TheCountIsTakenFromTheFirstReading) {
    // Of bytes that the second does not bring, the block keeps what it held.
    script_.tag = "profile";
    script_.claimedCount = 10;
    host_->FillBlocksWith('.');
    EXPECT_EQ((LoadOutcome{CLR_SUCCESS, true, "profile..."}), Load(script_));
}

}  // namespace
}  // namespace zv::test
