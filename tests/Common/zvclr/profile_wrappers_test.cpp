// The operations on profiles for narrow file names: each hands on the wide name and everything else as it is.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>

#include "host/ansi.h"
#include "tests/support/icc_profile_support.h"
#include "tests/support/profile_file.h"
#include "tests/support/recording_host.h"
#include "tests/support/recording_images.h"

namespace zv::test {
namespace {

using Start = IccProfileHolder::Start;

constexpr int32_t kTag = 3;

class ProfileWrappers : public ::testing::Test {
protected:
    HostScope host_;
    IccProfileHolder profile_;

    /// The four operations on a name.
    std::vector<std::function<int32_t(const char*)>> All() {
        return {[&](const char* name) { return Zv_LoadICCProfileA(name, profile_, nullptr); },
                [&](const char* name) { return Zv_SaveICCProfileA(name, profile_, nullptr); },
                [&](const char* name) { return Zv_FillICCProfileFromICCFileA(name, profile_); },
                [&](const char* name) { return Zv_GenerateICCFileA(profile_, name); }};
    }
};

std::string NarrowOf(const ZvChar* name) {
    char narrow[2048] = {};
    EXPECT_TRUE(ZvAnsiFromWide(name, narrow, sizeof narrow));
    return narrow;
}

std::u16string Text(const ZvChar* name) {
    std::u16string text;
    for (; *name != 0; ++name) text.push_back(static_cast<char16_t>(*name));
    return text;
}

// --- Names ----------------------------------------------------------------------------------------------------------

TEST_F(ProfileWrappers, NullNames) {
    const ImageScript script;
    for (const auto& operation : All()) EXPECT_EQ(ERR_INVALID_PARAMETER, operation(nullptr));
    EXPECT_EQ("", script.Operations());
    EXPECT_TRUE(host_->Calls().empty());
}

TEST_F(ProfileWrappers, WithoutMemoryForAName) {
    const ImageScript script;
    for (const auto& operation : All()) {
        host_->Reset();
        host_->FailAllocation(1);
        EXPECT_EQ(ERR_FAILURE, operation("a name"));
        EXPECT_EQ(0, host_->FileAccessesSinceReset());
    }
    EXPECT_EQ("", script.Operations());
}

#ifndef _WIN32
TEST_F(ProfileWrappers, WhatIsNoUtf8IsNoName) {
    const ImageScript script;
    for (const char* name : {"\x80", "a\xFF", "\xC3", "\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "name\xE2\x82"}) {
        for (const auto& operation : All()) {
            host_->Reset();
            EXPECT_EQ(ERR_FAILURE, operation(name)) << name;
            EXPECT_EQ(0, host_->FileAccessesSinceReset());
        }
    }
    EXPECT_EQ("", script.Operations());
}

TEST_F(ProfileWrappers, NamesAreUtf8) {
    ImageScript script;
    script.format = kTag;
    script.tag = "profile";
    EXPECT_EQ(CLR_SUCCESS, Zv_LoadICCProfileA("\xC3\xA9t\xC3\xA9/\xE2\x82\xAC\xF0\x9F\x8E\xA8", profile_, nullptr));
    EXPECT_EQ(CLR_SUCCESS, Zv_SaveICCProfileA("\xC3\xA9t\xC3\xA9/\xE2\x82\xAC\xF0\x9F\x8E\xA8", profile_, nullptr));
    size_t named = 0;
    for (const ImageCall& call : script.Calls()) {
        if (call.name.empty()) continue;
        ++named;
        EXPECT_EQ(u"\u00E9t\u00E9/\u20AC\U0001F3A8", call.name) << call.operation;
    }
    EXPECT_EQ(6U, named);
}
#endif

TEST_F(ProfileWrappers, LongNamesAreNotCut) {
    ImageScript script;
    script.Answer("HostFileInfo", ERR_FILE_OPEN);
    const std::string name(10000, 'n');
    EXPECT_EQ(ERR_FILE_OPEN, Zv_LoadICCProfileA(name.c_str(), profile_, nullptr));
    EXPECT_EQ(ERR_FILE_OPEN, Zv_SaveICCProfileA(name.c_str(), profile_, nullptr));
    EXPECT_EQ(std::u16string(10000, u'n'), script.Calls()[0].name);
    EXPECT_EQ(std::u16string(10000, u'n'), script.Calls()[1].name);
}

TEST_F(ProfileWrappers, EmptyNamesReachTheWideOperation) {
    ImageScript script;
    script.Answer("HostFileInfo", -4711);
    EXPECT_EQ(-4711, Zv_LoadICCProfileA("", profile_, nullptr));
    EXPECT_EQ(-4711, Zv_SaveICCProfileA("", profile_, nullptr));
}

// --- Records --------------------------------------------------------------------------------------------------------

TEST_F(ProfileWrappers, NullProfilesAreTheWideOperationsToRefuse) {
    const ImageScript script;
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_LoadICCProfileA("name", nullptr, nullptr));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_SaveICCProfileA("name", nullptr, nullptr));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_FillICCProfileFromICCFileA("name", nullptr));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_GenerateICCFileA(nullptr, "name"));
    EXPECT_EQ("", script.Operations());
}

TEST_F(ProfileWrappers, RecordsOfAnotherSizeToo) {
    const ImageScript script;
    profile_->structSize = 55;
    EXPECT_EQ(ERR_STRUCT_SIZE, Zv_LoadICCProfileA("name", profile_, nullptr));
    EXPECT_EQ(ERR_STRUCT_SIZE, Zv_SaveICCProfileA("name", profile_, nullptr));
    profile_->structSize = 56;
    EXPECT_EQ("", script.Operations());
}

// --- Loading and saving ---------------------------------------------------------------------------------------------

TEST_F(ProfileWrappers, LoadOptionsArePassedOnUntouched) {
    ImageScript script;
    script.format = kTag;
    script.tag = "profile";
    const int options = 0;
    EXPECT_EQ(CLR_SUCCESS, Zv_LoadICCProfileA("an image", profile_, &options));
    EXPECT_EQ(7U, Value(profile_->profileSize));
    for (const ImageCall& call : script.Calls()) {
        const bool takesOptions = call.operation == "HostFileInfo" || call.operation == "HostReadFileTag";
        EXPECT_EQ(takesOptions ? &options : nullptr, call.options) << call.operation;
        if (call.operation != "HostFileClose") {
            EXPECT_EQ(u"an image", call.name) << call.operation;
        }
    }
    EXPECT_EQ(5U, script.Calls().size());
}

TEST_F(ProfileWrappers, ResultsComeBackAsTheyAre) {
    for (const int32_t result : {int32_t{ERR_FILE_READ}, -4711, 0, 2, 8}) {
        ImageScript script;
        script.Answer("HostFileInfo", result);
        EXPECT_EQ(result, Zv_LoadICCProfileA("name", profile_, nullptr));
        EXPECT_EQ(result, Zv_SaveICCProfileA("name", profile_, nullptr));
    }
}

class ProfileWrapperSaves : public ProfileWrappers {
protected:
    ProfileWrapperSaves() {
        script_.format = kTag;
        options_.size = sizeof options_;
    }

    int32_t Save(const SAVEFILEOPTIONA* options) { return Zv_SaveICCProfileA("an image", profile_, options); }

    ImageScript script_;
    SAVEFILEOPTIONA options_ = {};
};

TEST_F(ProfileWrapperSaves, WithoutOptions) {
    EXPECT_EQ(CLR_SUCCESS, Save(nullptr));
    ASSERT_EQ(1U, script_.CallsOf("HostRewriteFileTags").size());
    EXPECT_EQ(nullptr, script_.CallsOf("HostRewriteFileTags")[0].options);
    EXPECT_EQ(u"an image", script_.CallsOf("HostRewriteFileTags")[0].name);
}

TEST_F(ProfileWrapperSaves, OptionsBecomeWide) {
    const std::string narrow = NarrowOf(ZV_WIDE("backup.tif"));
    std::copy(narrow.begin(), narrow.end(), options_.backupName);
    EXPECT_EQ(CLR_SUCCESS, Save(&options_));
    ASSERT_EQ(1U, script_.CallsOf("HostRewriteFileTags").size());
    const ImageCall call = script_.CallsOf("HostRewriteFileTags")[0];
    ASSERT_NE(nullptr, call.options);
    EXPECT_NE(static_cast<const void*>(&options_), call.options);
    ASSERT_TRUE(call.saveOptions.has_value());
    EXPECT_EQ(sizeof(SAVEFILEOPTION), call.saveOptions->size);
    EXPECT_EQ(u"backup.tif", Text(call.saveOptions->backupName));
}

TEST_F(ProfileWrapperSaves, OptionsOfAJpegToo) {
    script_.format = 10;
    options_.backupName[0] = 'b';
    EXPECT_EQ(CLR_SUCCESS, Save(&options_));
    const ImageCall call = script_.CallsOf("HostRewriteFile").at(0);
    ASSERT_TRUE(call.saveOptions.has_value());
    EXPECT_EQ(u"b", Text(call.saveOptions->backupName));
}

#ifndef _WIN32
TEST_F(ProfileWrapperSaves, OptionsThatCannotBeConvertedEndIt) {
    for (const char bad : {'\x80', '\xFF', '\xC3'}) {
        options_.backupName[0] = bad;
        EXPECT_EQ(ERR_FAILURE, Save(&options_));
    }
    EXPECT_EQ("", script_.Operations());
    // The file's name and the record come to their turns in that order.
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_SaveICCProfileA(nullptr, profile_, &options_));
    EXPECT_EQ(ERR_FAILURE, Zv_SaveICCProfileA("an image", nullptr, &options_));
}

TEST_F(ProfileWrapperSaves, BackupNamesAreUtf8) {
    const std::string name = "\xE2\x82\xAC.tif";
    std::copy(name.begin(), name.end(), options_.backupName);
    EXPECT_EQ(CLR_SUCCESS, Save(&options_));
    EXPECT_EQ(u"\u20AC.tif", Text(script_.CallsOf("HostRewriteFileTags").at(0).saveOptions->backupName));
}
#endif

// --- Profile files --------------------------------------------------------------------------------------------------

Bytes ContentOf(const ZvChar* name) {
    std::ifstream stream(std::filesystem::path(name), std::ios::binary);
    EXPECT_TRUE(stream.good());
    return {std::istreambuf_iterator<char>(stream), {}};
}

TEST_F(ProfileWrappers, FilesAreReadAsTheWideOperationReadsThem) {
    const Bytes image = IccImageOf("cprt", TypedBody("text", CountingBytes(7)));
    const ProfileFile file(image);
    const std::string name = NarrowOf(file.Name());
    IccProfileHolder wide;
    ASSERT_EQ(CLR_SUCCESS, Zv_FillICCProfileFromICCFile(file.Name(), wide));
    EXPECT_EQ(CLR_SUCCESS, Zv_FillICCProfileFromICCFileA(name.c_str(), profile_));
    EXPECT_EQ(image, IccImageBytesOf(profile_));
    EXPECT_EQ(IccHeaderBytesOf(wide), IccHeaderBytesOf(profile_));
    EXPECT_EQ(IccTagDataOf(wide), IccTagDataOf(profile_));
    ASSERT_TRUE(host_->LastFileRequest().has_value());
    EXPECT_EQ(Text(file.Name()), host_->LastFileRequest()->name);
}

TEST_F(ProfileWrappers, FilesAreWrittenAsTheWideOperationWritesThem) {
    const IccProfileHolder full(IccImageOf("cprt", TypedBody("text", CountingBytes(7))));
    const ProfileFile wide({}), narrow({});
    ASSERT_EQ(CLR_SUCCESS, Zv_GenerateICCFile(full.Get(), wide.Name()));
    EXPECT_EQ(CLR_SUCCESS, Zv_GenerateICCFileA(full.Get(), NarrowOf(narrow.Name()).c_str()));
    EXPECT_EQ(ContentOf(wide.Name()), ContentOf(narrow.Name()));
    EXPECT_LT(128U, ContentOf(narrow.Name()).size());
    EXPECT_EQ(Text(narrow.Name()), host_->LastFileRequest()->name);
}

TEST_F(ProfileWrappers, MissingFilesAreTheWideOperationsToRefuse) {
    const int32_t result = Zv_FillICCProfileFromICCFile(ZV_WIDE("no folder/no file"), profile_);
    EXPECT_GT(0, result);
    EXPECT_EQ(result, Zv_FillICCProfileFromICCFileA("no folder/no file", profile_));
    const IccProfileHolder full(IccImageOf("cprt", TypedBody("text", CountingBytes(7))));
    const int32_t written = Zv_GenerateICCFile(full.Get(), ZV_WIDE("no folder/no file"));
    EXPECT_GT(0, written);
    EXPECT_EQ(written, Zv_GenerateICCFileA(full.Get(), "no folder/no file"));
}

}  // namespace
}  // namespace zv::test
