// Profile files: what is read of them, what is kept whole, and what is written.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/support/icc_profile_support.h"
#include "tests/support/profile_file.h"
#include "tests/support/recording_host.h"

namespace zv::test {
namespace {

using Start = IccProfileHolder::Start;
using Wide = std::basic_string<ZvChar>;

Bytes Front(const Bytes& bytes, size_t count) {
    return {bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(std::min(count, bytes.size()))};
}

Bytes ImageOfVersion(uint32_t version) {
    IccImageBuilder builder;
    builder.header = CountingBytes(128, 60);
    SetBig32(builder.header, 8, version);
    return builder.Tag("cprt", TypedBody("text", CountingBytes(7))).Tag("calt", TypedBody("ui08")).Build();
}

Bytes ContentOf(const ZvChar* name) {
    std::ifstream stream(std::filesystem::path(name), std::ios::binary);
    EXPECT_TRUE(stream.good());
    return {std::istreambuf_iterator<char>(stream), {}};
}

class IccFiles : public ::testing::Test {
protected:
    HostScope host_;

    /// The bytes of the record itself.
    static Bytes RecordOf(const ClrIccProfile* profile) {
        const auto* bytes = reinterpret_cast<const uint8_t*>(profile);
        return {bytes, bytes + sizeof *profile};
    }

    size_t Closings() const {
        const std::vector<HostCall> calls = host_->Calls();
        return static_cast<size_t>(std::count_if(
            calls.begin(), calls.end(), [](const HostCall& call) { return call.operation == "HostCloseFile"; }));
    }

    /// Reads the file into a fresh record, which must stay untouched.
    void ExpectUnchanged(int32_t result, const Bytes& file) {
        const ProfileFile named(file);
        IccProfileHolder profile;
        const Bytes before = RecordOf(profile.Get());
        host_->Reset();
        EXPECT_EQ(result, Zv_FillICCProfileFromICCFile(named.Name(), profile)) << file.size();
        EXPECT_EQ(before, RecordOf(profile.Get()));
        EXPECT_EQ(0U, host_.Leaked());
        EXPECT_EQ(1U, Closings());
        // A file of a few bytes does not make the reader take what it says.
        EXPECT_GE(file.size() + 1, host_->LargestRequestSinceReset());
    }
};

// --- Reading --------------------------------------------------------------------------------------------------------

TEST_F(IccFiles, OfVersions40And42AreTakenApart) {
    for (const uint32_t version : {0x04000000U, 0x04200000U}) {
        const Bytes image = ImageOfVersion(version);
        const ProfileFile file(image);
        IccProfileHolder fromFile, fromMemory(image);
        ASSERT_EQ(CLR_SUCCESS, Zv_FillICCProfileFromICCFile(file.Name(), fromFile));
        EXPECT_EQ(image, IccImageBytesOf(fromFile));
        EXPECT_EQ(IccHeaderBytesOf(fromMemory), IccHeaderBytesOf(fromFile));
        EXPECT_EQ(version, Value(fromFile->header->version));
        EXPECT_EQ(2, Value(fromFile->tagCount));
        EXPECT_EQ(IccTagDataOf(fromMemory), IccTagDataOf(fromFile));
        EXPECT_EQ(TypedBody("text", CountingBytes(7)), IccBodyOf(fromFile, "cprt"));
        EXPECT_EQ(8U, host_.Leaked()) << "nothing but the four blocks of each record";
    }
}

TEST_F(IccFiles, OfOtherVersionsAreKeptWhole) {
    for (const uint32_t version : {0U, 0x02000000U, 0x02400000U, 0x03FFFFFFU, 0x04000001U, 0x04100000U, 0x04200001U,
                                   0x041FFFFFU, 0x04300000U, 0x04400000U, 0x05000000U, 0xFFFFFFFFU}) {
        const Bytes image = ImageOfVersion(version);
        const ProfileFile file(image);
        IccProfileHolder profile;
        EXPECT_EQ(CLR_SUCCESS, Zv_FillICCProfileFromICCFile(file.Name(), profile)) << std::hex << version;
        EXPECT_EQ(image.size(), Value(profile->profileSize));
        EXPECT_EQ(image, IccImageBytesOf(profile));
        EXPECT_EQ(nullptr, Value(profile->header));
        EXPECT_EQ(0, Value(profile->tagCount));
        EXPECT_EQ(nullptr, Value(profile->tagTable));
        EXPECT_EQ(nullptr, Value(profile->tagData));
        EXPECT_EQ(0U, Value(profile->tagDataSize));
        ClrIccTagRecord record;
        EXPECT_EQ(ERR_BAD_TAG, Zv_GetICCTagData(profile, &record, FourCc("cprt")));
        EXPECT_EQ(0U, Zv_GetICCTagTypeSig(profile, FourCc("cprt")));
        ASSERT_EQ(1U, host_.Leaked());
        const std::vector<LiveBlock> blocks = host_->LiveBlocks();
        const auto block = std::find_if(blocks.begin(), blocks.end(), [&](const LiveBlock& each) {
            return each.address == static_cast<void*>(Value(profile->profileData));
        });
        ASSERT_NE(blocks.end(), block);
        EXPECT_TRUE(block->shared);
        EXPECT_EQ(u"Common\\IccProfile", block->file);
    }
}

TEST_F(IccFiles, TestForTwoVersionsWhereMemoryTestsForABound) {
    for (const uint32_t version : {0x02400000U, 0x04300000U}) {
        const Bytes image = ImageOfVersion(version);
        IccProfileHolder fromMemory;
        EXPECT_EQ(version < 0x04000000 ? ERR_BAD_PROFILE : CLR_SUCCESS,
                  Zv_FillICCProfileStructure(fromMemory, image.data(), image.size()));
        EXPECT_EQ(version < 0x04000000 ? 0 : 2, Value(fromMemory->tagCount));
    }
}

TEST_F(IccFiles, KeptImagesLeaveHeaderAndTagsOfTheRecordAndDropItsImage) {
    IccProfileHolder profile(ImageOfVersion(0x04200000));
    const Bytes header = IccHeaderBytesOf(profile);
    const Bytes data = IccTagDataOf(profile);
    const Bytes image = ImageOfVersion(0x02400000);
    const ProfileFile file(image);
    EXPECT_EQ(CLR_SUCCESS, Zv_FillICCProfileFromICCFile(file.Name(), profile));
    EXPECT_EQ(image, IccImageBytesOf(profile));
    EXPECT_EQ(header, IccHeaderBytesOf(profile));
    EXPECT_EQ(2, Value(profile->tagCount));
    EXPECT_EQ(data, IccTagDataOf(profile));
    EXPECT_EQ(5U, host_.Leaked());
    host_.ExpectLeaked(1);
}

TEST_F(IccFiles, WithoutTagsGiveAHeaderAndAnEmptyTable) {
    IccImageBuilder builder;
    const ProfileFile file(builder.Build());
    IccProfileHolder profile;
    EXPECT_EQ(CLR_SUCCESS, Zv_FillICCProfileFromICCFile(file.Name(), profile));
    EXPECT_EQ(FourCc("mntr"), Value(profile->header->deviceClass));
    EXPECT_EQ(0, Value(profile->tagCount));
    EXPECT_EQ(builder.Build(), GenerateIccImage(profile));
}

TEST_F(IccFiles, AreReadUpToTheSizeThatTheyState) {
    for (const uint32_t version : {0x04200000U, 0x02400000U}) {
        const Bytes image = ImageOfVersion(version);
        const ProfileFile file(image + CountingBytes(5000));
        IccProfileHolder profile;
        host_->Reset();
        EXPECT_EQ(CLR_SUCCESS, Zv_FillICCProfileFromICCFile(file.Name(), profile));
        EXPECT_EQ(image.size(), Value(profile->profileSize));
        EXPECT_EQ(image, IccImageBytesOf(profile));
        EXPECT_EQ(image.size(), host_->LargestRequestSinceReset());
    }
}

TEST_F(IccFiles, ShorterThanTheyStateAreNotRead) {
    for (const uint32_t version : {0x04200000U, 0x02400000U}) {
        const Bytes image = ImageOfVersion(version);
        for (size_t size = 0; size < image.size(); size += size < 16 ? 1 : 29) {
            ExpectUnchanged(ERR_FILE_READ, Front(image, size));
        }
        for (const uint32_t stated : {static_cast<uint32_t>(image.size()) + 1, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
            Bytes more = image;
            SetBig32(more, 0, stated);
            ExpectUnchanged(ERR_FILE_READ, more);
        }
    }
}

TEST_F(IccFiles, OfSize0AreBadProfiles) {
    Bytes image = ImageOfVersion(0x04200000);
    SetBig32(image, 0, 0);
    ExpectUnchanged(ERR_BAD_PROFILE, image);
    ExpectUnchanged(ERR_BAD_PROFILE, Bytes(4));
    ExpectUnchanged(ERR_FILE_READ, Bytes(3));
}

TEST_F(IccFiles, StatingLessThanAHeaderAreBadProfilesOrKept) {
    for (const uint32_t stated : {1U, 4U, 11U, 12U, 127U, 131U}) {
        Bytes image = ImageOfVersion(0x04200000);
        SetBig32(image, 0, stated);
        IccProfileHolder parsed;
        {
            const ProfileFile file(image);
            EXPECT_EQ(ERR_BAD_PROFILE, Zv_FillICCProfileFromICCFile(file.Name(), parsed)) << stated;
        }
        EXPECT_EQ(Front(image, stated), IccImageBytesOf(parsed));
        SetBig32(image, 8, 0x02400000);
        IccProfileHolder kept;
        const ProfileFile file(image);
        EXPECT_EQ(CLR_SUCCESS, Zv_FillICCProfileFromICCFile(file.Name(), kept)) << stated;
        EXPECT_EQ(Front(image, stated), IccImageBytesOf(kept));
    }
}

TEST_F(IccFiles, ResultOfTheParseIsTheResult) {
    IccImageBuilder builder;
    builder.Tag("cprt", TypedBody("text"));
    builder.countField = 1000;
    const Bytes image = builder.Build();
    const ProfileFile file(image);
    IccProfileHolder profile;
    EXPECT_EQ(ERR_BAD_PROFILE, Zv_FillICCProfileFromICCFile(file.Name(), profile));
    EXPECT_EQ(image, IccImageBytesOf(profile));
    EXPECT_EQ(1U, Closings());
}

TEST_F(IccFiles, ThatAreNotThereCannotBeOpened) {
    Wide gone;
    {
        const ProfileFile file(Bytes(1));
        gone = file.Name();
    }
    IccProfileHolder profile;
    const Bytes before = RecordOf(profile.Get());
    EXPECT_EQ(ERR_FILE_OPEN, Zv_FillICCProfileFromICCFile(gone.c_str(), profile));
    const Wide folder = std::filesystem::temp_directory_path().string<ZvChar>();
    EXPECT_EQ(ERR_FILE_OPEN, Zv_FillICCProfileFromICCFile(folder.c_str(), profile));
    const ZvChar empty[] = {0};
    EXPECT_EQ(ERR_FILE_OPEN, Zv_FillICCProfileFromICCFile(empty, profile));
    EXPECT_EQ(before, RecordOf(profile.Get()));
    EXPECT_EQ(0U, Closings());
    EXPECT_EQ(0, host_->AllocationsSinceReset());
}

TEST_F(IccFiles, NeedANameAndARecord) {
    const ProfileFile file(ImageOfVersion(0x04200000));
    IccProfileHolder profile(Start::kHeader);
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_FillICCProfileFromICCFile(nullptr, profile));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_FillICCProfileFromICCFile(file.Name(), nullptr));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_GenerateICCFile(nullptr, file.Name()));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_GenerateICCFile(profile, nullptr));
    EXPECT_EQ(0, host_->FileAccessesSinceReset());
}

TEST_F(IccFiles, AreOpenedForReadingAndClosedOnce) {
    for (const uint32_t version : {0x04200000U, 0x02400000U}) {
        const ProfileFile file(ImageOfVersion(version));
        IccProfileHolder profile;
        host_->Reset();
        ASSERT_EQ(CLR_SUCCESS, Zv_FillICCProfileFromICCFile(file.Name(), profile));
        const auto request = host_->LastFileRequest();
        ASSERT_TRUE(request.has_value());
        const Wide name = file.Name();
        EXPECT_EQ(std::u16string(name.begin(), name.end()), request->name);
        EXPECT_EQ(0x80000000U, request->access) << "reading";
        EXPECT_EQ(1U, request->share) << "reading";
        EXPECT_EQ(3U, request->disposition) << "an existing file";
        EXPECT_EQ(nullptr, request->security);
        EXPECT_EQ(nullptr, request->templateFile);
        EXPECT_EQ(1, host_->FileAccessesSinceReset());
        EXPECT_EQ(1U, Closings());
        for (const HostCall& call : host_->Calls()) {
            if (call.operation == "HostCreateFile") continue;  // without a place in this host
            EXPECT_EQ(u"Common\\IccProfile", call.file) << call.operation;
            EXPECT_LT(0, call.line) << call.operation;
        }
    }
}

TEST_F(IccFiles, OfParsedVersionsReportEveryFailedAllocation) {
    const ProfileFile file(ImageOfVersion(0x04200000));
    for (const int64_t failing : {1, 2, 3, 4, 5, 6}) {
        IccProfileHolder profile;
        host_->Reset();
        host_->FailAllocation(failing);
        EXPECT_EQ(failing < 6 ? ERR_FAILURE : CLR_SUCCESS, Zv_FillICCProfileFromICCFile(file.Name(), profile))
            << failing;
        EXPECT_EQ(1U, Closings()) << failing;
        EXPECT_EQ(static_cast<size_t>(failing < 3 ? 0 : failing - 2), host_.Leaked()) << "the record's blocks";
    }
}

TEST_F(IccFiles, OfKeptVersionsLeaveFileAndBlockOpenWithoutMemory) {
    const Bytes image = ImageOfVersion(0x02400000);
    const ProfileFile file(image);
    IccProfileHolder profile;
    const Bytes before = RecordOf(profile.Get());
    host_->FailAllocation(1);
    EXPECT_EQ(ERR_FAILURE, Zv_FillICCProfileFromICCFile(file.Name(), profile));
    EXPECT_EQ(0U, host_.Leaked());
    EXPECT_EQ(1U, Closings());
#ifndef _WIN32
    // A file that stays open could not be deleted there.
    host_->Reset();
    host_->FailAllocation(2);
    EXPECT_EQ(ERR_FAILURE, Zv_FillICCProfileFromICCFile(file.Name(), profile));
    EXPECT_EQ(0U, Closings());
    EXPECT_EQ(1U, host_.Leaked());
    host_.ExpectLeaked(1);
#endif
    EXPECT_EQ(before, RecordOf(profile.Get()));
}

TEST_F(IccFiles, ThatCannotBeReadAreReported) {
#ifdef __linux__
    // Opens, and has nothing mapped at its front.
    const ZvChar* unreadable = ZV_WIDE("/proc/self/mem");
    IccProfileHolder profile;
    const Bytes before = RecordOf(profile.Get());
    EXPECT_EQ(ERR_FILE_READ, Zv_FillICCProfileFromICCFile(unreadable, profile));
    EXPECT_EQ(before, RecordOf(profile.Get()));
    EXPECT_EQ(1U, Closings());
    EXPECT_EQ(0, host_->AllocationsSinceReset());
#endif
    host_->FailFileAccess(1);
    const ProfileFile file(ImageOfVersion(0x04200000));
    IccProfileHolder none;
    EXPECT_EQ(ERR_FILE_OPEN, Zv_FillICCProfileFromICCFile(file.Name(), none));
    EXPECT_EQ(nullptr, Value(none->profileData));
}

// --- Writing --------------------------------------------------------------------------------------------------------

TEST_F(IccFiles, AreTheImageThatWasGenerated) {
    const ProfileFile file(CountingBytes(5000));
    IccProfileHolder profile(Start::kHeader);
    AddIccTag(profile, "cprt", TypedBody("text", CountingBytes(7)));
    const Bytes image = GenerateIccImage(profile);
    AddIccTag(profile, "calt", TypedBody("ui08"));  // the image is that of before
    host_->Reset();
    EXPECT_EQ(CLR_SUCCESS, Zv_GenerateICCFile(profile, file.Name()));
    EXPECT_EQ(image, ContentOf(file.Name())) << "and nothing of the longer file";
    EXPECT_EQ(0, host_->AllocationsSinceReset());
    EXPECT_EQ(1U, Closings());
    const auto request = host_->LastFileRequest();
    ASSERT_TRUE(request.has_value());
    EXPECT_EQ(0x40000000U, request->access) << "writing";
    EXPECT_EQ(3U, request->share) << "reading and writing";
    EXPECT_EQ(2U, request->disposition) << "replaced";
    EXPECT_EQ(nullptr, request->security);
    IccProfileHolder again;
    EXPECT_EQ(CLR_SUCCESS, Zv_FillICCProfileFromICCFile(file.Name(), again));
    EXPECT_EQ(image, IccImageBytesOf(again));
}

TEST_F(IccFiles, AreMadeWhereThereWereNone) {
    const ProfileFile file(Bytes(1));
    ASSERT_TRUE(std::filesystem::remove(std::filesystem::path(file.Name())));
    IccProfileHolder profile(Start::kHeader);
    const Bytes image = GenerateIccImage(profile);
    EXPECT_EQ(CLR_SUCCESS, Zv_GenerateICCFile(profile, file.Name()));
    EXPECT_EQ(image, ContentOf(file.Name()));
}

TEST_F(IccFiles, WriteKeptImagesAsTheyCame) {
    const Bytes image = ImageOfVersion(0x02400000);
    const ProfileFile source(image), copy(Bytes(1));
    IccProfileHolder profile;
    ASSERT_EQ(CLR_SUCCESS, Zv_FillICCProfileFromICCFile(source.Name(), profile));
    EXPECT_EQ(CLR_SUCCESS, Zv_GenerateICCFile(profile, copy.Name()));
    EXPECT_EQ(image, ContentOf(copy.Name()));
}

TEST_F(IccFiles, WriteOnlyBytesThatAreThereAfterARefusal) {
    const ProfileFile file(Bytes(1));
    IccProfileHolder profile(ImageOfVersion(0x04200000));
    const Bytes image = IccImageBytesOf(profile);
    AddIccTag(profile, "desc", CountingBytes(100));
    profile->header->size = 0;
    EXPECT_EQ(ERR_BAD_PROFILE, Zv_GenerateICCPointer(profile));
    EXPECT_EQ(CLR_SUCCESS, Zv_GenerateICCFile(profile, file.Name()));
    EXPECT_EQ(image + Bytes(112), ContentOf(file.Name()));
}

TEST_F(IccFiles, AreReplacedEvenWithoutAnImage) {
    const ProfileFile file(CountingBytes(10));
    IccProfileHolder profile(Start::kHeader);
    EXPECT_EQ(CLR_SUCCESS, Zv_GenerateICCFile(profile, file.Name())) << "nothing is written";
    EXPECT_EQ(Bytes(), ContentOf(file.Name()));
    profile->profileSize = 132;
    EXPECT_EQ(ERR_FILE_WRITE, Zv_GenerateICCFile(profile, file.Name()));
    EXPECT_EQ(Bytes(), ContentOf(file.Name()));
    EXPECT_EQ(2U, Closings());
}

TEST_F(IccFiles, AreNotWrittenOfAnImageThatFailed) {
    const ProfileFile file(CountingBytes(10));
    IccProfileHolder profile(ImageOfVersion(0x04200000));
    host_->FailAllocation(1);
    EXPECT_EQ(ERR_FAILURE, Zv_GenerateICCPointer(profile));
    EXPECT_EQ(ERR_FILE_WRITE, Zv_GenerateICCFile(profile, file.Name()));
    EXPECT_EQ(1U, Closings());
}

TEST_F(IccFiles, ThatCannotBeMadeAreReported) {
    IccProfileHolder profile(Start::kHeader);
    GenerateIccImage(profile);
    const Wide nowhere =
        (std::filesystem::temp_directory_path() / "zv-no-such-folder" / "profile.icm").string<ZvChar>();
    EXPECT_EQ(ERR_FILE_OPEN, Zv_GenerateICCFile(profile, nowhere.c_str()));
    const Wide folder = std::filesystem::temp_directory_path().string<ZvChar>();
    EXPECT_EQ(ERR_FILE_OPEN, Zv_GenerateICCFile(profile, folder.c_str()));
    EXPECT_EQ(0U, Closings());
}

TEST_F(IccFiles, OfAFullDiskAreReported) {
#ifndef _WIN32
    if (std::filesystem::exists("/dev/full")) {
        IccProfileHolder profile(Start::kHeader);
        GenerateIccImage(profile);
        EXPECT_EQ(ERR_FILE_WRITE, Zv_GenerateICCFile(profile, u"/dev/full"));
        EXPECT_EQ(1U, Closings());
    }
#endif
    // More than one call can write.
    const ProfileFile file(Bytes(1));
    IccProfileHolder profile(Start::kHeader);
    GenerateIccImage(profile);
    profile->profileSize = 1ULL << 32;
    EXPECT_EQ(ERR_FILE_WRITE, Zv_GenerateICCFile(profile, file.Name()));
    profile->profileSize = 132;
}

}  // namespace
}  // namespace zv::test
