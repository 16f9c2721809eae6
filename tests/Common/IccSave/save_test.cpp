// Saving as a whole: arguments, formats, and the tag route.
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <set>
#include <utility>
#include <vector>

#include "Common/embedded_profile.h"
#include "tests/Common/IccSave/save_fixture.h"
#include "tests/support/guarded_buffer.h"

namespace zv::test {
namespace {

class IccSave : public ::testing::Test {
protected:
    HostScope host_;
    ImageScript script_;
    SavedProfile profile_{"profile"};
    SAVEFILEOPTION options_ = {};

    int32_t Save(const SAVEFILEOPTION* options = nullptr) {
        return Zv_SaveICCProfile(kSavedName, profile_.Get(), options);
    }
};

// --- Arguments ------------------------------------------------------------------------------------------------------

TEST_F(IccSave, NullArgumentsReachNoFile) {
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_SaveICCProfile(nullptr, profile_.Get(), nullptr));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_SaveICCProfile(kSavedName, nullptr, nullptr));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_SaveICCProfile(nullptr, nullptr, &options_));
    profile_->structSize = 0;
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_SaveICCProfile(nullptr, profile_.Get(), nullptr)) << "before the size";
    EXPECT_EQ("", script_.Operations());
}

TEST_F(IccSave, RecordsOfAnotherSizeReachNoFile) {
    for (const uint32_t size : {0U, 1U, 55U, 57U, 112U, 0x38000000U, UINT32_MAX}) {
        profile_->structSize = size;
        EXPECT_EQ(ERR_STRUCT_SIZE, Save()) << size;
    }
    EXPECT_EQ("", script_.Operations());
}

TEST_F(IccSave, TheFileIsAskedForWithoutOptions) {
    script_.format = 1001;
    EXPECT_EQ(ERR_FORMAT_NO_ICC, Save(&options_));
    ASSERT_EQ("HostFileInfo", script_.Operations());
    const ImageCall info = script_.Calls()[0];
    EXPECT_EQ(kSavedText, info.name);
    EXPECT_EQ(2280U, info.first) << "the size that is given";
    EXPECT_EQ(2280U, info.second) << "the size in the record";
    EXPECT_EQ(nullptr, info.options);
}

TEST_F(IccSave, WhatTheFileLibrarySaysOfTheFileComesBackAtOnce) {
    for (const int32_t format : {kSavedMarkerFormat, kSavedTagFormat, kSavedGifFormat, 16}) {
        for (const int32_t result : {int32_t{ERR_FILE_OPEN}, int32_t{ERR_FILE_READ}, 0, 2, -9999}) {
            script_.format = format;
            script_.Answer("HostFileInfo", result);
            EXPECT_EQ(result, Save());
        }
    }
    EXPECT_EQ(20U, script_.Calls().size());
}

TEST_F(IccSave, AMissingImageIsNoticedBeforeAnythingIsMade) {
    for (const int32_t format : {kSavedMarkerFormat, kSavedTagFormat, kSavedGifFormat}) {
        script_.format = format;
        SavedProfile none("");
        none->profileSize = 1;
        none->profileData = nullptr;
        EXPECT_EQ(ERR_NO_PROFILE, Zv_SaveICCProfile(kSavedName, none.Get(), nullptr)) << format;
    }
    EXPECT_EQ("HostFileInfo HostFileInfo HostFileInfo", script_.Operations());
    EXPECT_EQ(0, host_->AllocationsSinceReset());
}

TEST_F(IccSave, AnImageThatCannotBeReadIsNoticedBeforeAnythingIsMade) {
    const GuardedBuffer guarded(100);
    for (const int32_t format : {kSavedMarkerFormat, kSavedTagFormat, kSavedGifFormat}) {
        script_.format = format;
        profile_->profileData = guarded.Data();
        profile_->profileSize = 101;
        EXPECT_EQ(ERR_INVALID_PARAMETER, Save()) << format;
        profile_->profileSize = UINT64_MAX;
        EXPECT_EQ(ERR_INVALID_PARAMETER, Save()) << format;
    }
    EXPECT_EQ(6U, script_.Calls().size());
    EXPECT_EQ(0, host_->AllocationsSinceReset());
}

TEST_F(IccSave, TheFormatComesBeforeTheImage) {
    profile_->profileData = nullptr;
    for (const int32_t format : {0, 16, 56, 1001}) {
        script_.format = format;
        EXPECT_EQ(ERR_FORMAT_NO_ICC, Save()) << format;
    }
}

// --- Formats --------------------------------------------------------------------------------------------------------

std::set<int32_t> MarkerFormats() { return {10, 21, 23, 98, 101, 171, 172, 173}; }
std::set<int32_t> TagFormats() {
    return {3,   17,  22,  24,  85,  86,  87,  88,  93,  94,  95,  96,  97,  138, 139, 140, 141,
            155, 166, 167, 174, 175, 176, 177, 269, 270, 271, 272, 273, 274, 275, 276, 315};
}

void ExpectRoute(int32_t format) {
    ImageScript script;
    script.format = format;
    const SavedProfile profile("profile");
    const int32_t result = Zv_SaveICCProfile(ZV_WIDE("no folder of that name/image"), profile.Get(), nullptr);
    if (MarkerFormats().count(format) != 0) {
        EXPECT_EQ(CLR_SUCCESS, result) << format;
        EXPECT_EQ(1U, script.CallsOf("HostRewriteFile").size()) << format;
        EXPECT_TRUE(script.CallsOf("HostRewriteFileTags").empty()) << format;
    } else if (TagFormats().count(format) != 0) {
        EXPECT_EQ(CLR_SUCCESS, result) << format;
        EXPECT_EQ("HostFileInfo HostSetFileTag HostRewriteFileTags HostSetFileTag", script.Operations()) << format;
    } else {
        // The file that the GIF route would open is not there.
        EXPECT_EQ(format == 2 ? ERR_FILE_OPEN : ERR_FORMAT_NO_ICC, result) << format;
        EXPECT_EQ("HostFileInfo", script.Operations()) << format;
    }
}

TEST(IccSaveFormats, EveryNumberHasItsRoute) {
    const HostScope host;
    for (int32_t format = -1; format <= 400; ++format) ExpectRoute(format);
    for (const int32_t format : {INT32_MIN, -10, 65536 + 10, 256 + 10 + 256, 1001, INT32_MAX}) ExpectRoute(format);
}

// --- The tag route --------------------------------------------------------------------------------------------------

class IccSaveTag : public IccSave {
protected:
    IccSaveTag() { script_.format = kSavedTagFormat; }
};

TEST_F(IccSaveTag, CallsAndTheirArguments) {
    for (const SAVEFILEOPTION* options : {static_cast<const SAVEFILEOPTION*>(nullptr), &std::as_const(options_)}) {
        const size_t before = script_.Calls().size();
        EXPECT_EQ(CLR_SUCCESS, Save(options));
        const std::vector<ImageCall> calls(script_.Calls().begin() + static_cast<ptrdiff_t>(before),
                                           script_.Calls().end());
        ASSERT_EQ(4U, calls.size());
        const ImageCall& set = calls[1];
        EXPECT_EQ("HostSetFileTag", set.operation);
        EXPECT_EQ(34675U, set.first);
        EXPECT_EQ(7U, set.second);
        EXPECT_EQ(7U, set.third) << "the size";
        EXPECT_EQ(profile_.Data(), set.pointer);
        const ImageCall& rewrite = calls[2];
        EXPECT_EQ("HostRewriteFileTags", rewrite.operation);
        EXPECT_EQ(kSavedText, rewrite.name);
        EXPECT_EQ(options, rewrite.options);
        const ImageCall& clear = calls[3];
        EXPECT_EQ("HostSetFileTag", clear.operation);
        EXPECT_EQ(0U, clear.first);
        EXPECT_EQ(0U, clear.second);
        EXPECT_EQ(0U, clear.third);
        EXPECT_EQ(nullptr, clear.pointer);
        EXPECT_EQ(0U, script_.CurrentTag());
    }
    EXPECT_EQ(0, host_->AllocationsSinceReset());
}

TEST_F(IccSaveTag, ATagThatCannotBeSetEndsIt) {
    for (const int32_t result : {int32_t{ERR_NO_MEMORY}, -4711, 0, 2}) {
        const size_t before = script_.Calls().size();
        script_.Answer("HostSetFileTag", result);
        EXPECT_EQ(result, Save());
        EXPECT_EQ(before + 2, script_.Calls().size()) << "neither rewritten nor cleared";
    }
    EXPECT_TRUE(script_.CallsOf("HostRewriteFileTags").empty());
}

TEST_F(IccSaveTag, ARewriteThatFailsIsTheResultAndTheTagIsClearedAllTheSame) {
    for (const int32_t result : {int32_t{ERR_FILE_WRITE}, -4711, 0, 2}) {
        script_.Answer("HostRewriteFileTags", result);
        const size_t before = script_.Calls().size();
        EXPECT_EQ(result, Save());
        EXPECT_EQ(before + 4, script_.Calls().size());
        EXPECT_EQ(0U, script_.CurrentTag());
    }
}

TEST_F(IccSaveTag, TheClearingsResultIsNotLookedAt) {
    script_.Answer("HostSetFileTag", ERR_FAILURE, 2);
    EXPECT_EQ(CLR_SUCCESS, Save());
}

TEST_F(IccSaveTag, AnImageOfNoBytesGoesItsWay) {
    profile_->profileSize = 0;
    EXPECT_EQ(CLR_SUCCESS, Save());
    EXPECT_EQ(34675U, script_.Calls()[1].first);
    EXPECT_EQ(0U, script_.Calls()[1].third);
}

TEST_F(IccSaveTag, LargeImagesAreHandedOnAsTheyAre) {
    const SavedProfile large(ProfileBytes(1 << 20));
    EXPECT_EQ(CLR_SUCCESS, Zv_SaveICCProfile(kSavedName, large.Get(), nullptr));
    EXPECT_EQ(ProfileBytes(1 << 20), script_.Calls()[1].data);
}

}  // namespace
}  // namespace zv::test
