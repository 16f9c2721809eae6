// Profile images: taken apart and put together again.
#include <gtest/gtest.h>

#include <algorithm>

#include "Common/IccProfile/profile.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/icc_profile_support.h"
#include "tests/support/recording_host.h"

namespace zv::test {
namespace {

using Start = IccProfileHolder::Start;

/// A field of the header: where it lies, in image and record alike, and how wide its numbers are.
struct HeaderField {
    const char* name;
    size_t offset;
    size_t width;
    size_t count;
};
constexpr HeaderField kHeaderFields[] = {
    {"size", 0, 4, 1},        {"cmmType", 4, 4, 1},          {"version", 8, 4, 1},       {"deviceClass", 12, 4, 1},
    {"colorSpace", 16, 4, 1}, {"connectionSpace", 20, 4, 1}, {"dateTime", 24, 2, 6},     {"signature", 36, 4, 1},
    {"platform", 40, 4, 1},   {"flags", 44, 4, 1},           {"manufacturer", 48, 4, 1}, {"model", 52, 4, 1},
    {"attributes", 56, 8, 1}, {"renderingIntent", 64, 4, 1}, {"illuminant", 68, 4, 3},   {"creator", 80, 4, 1},
    {"profileId", 84, 1, 16}, {"reserved", 100, 1, 28}};

/// The bytes of every number reversed.
Bytes HeaderReversed(Bytes header) {
    for (const HeaderField& field : kHeaderFields) {
        for (size_t i = 0; i < field.count; ++i) {
            const auto begin = header.begin() + static_cast<ptrdiff_t>(field.offset + i * field.width);
            std::reverse(begin, begin + static_cast<ptrdiff_t>(field.width));
        }
    }
    return header;
}

Bytes Front(const Bytes& bytes, size_t count) {
    return {bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(std::min(count, bytes.size()))};
}

int32_t Parse(ClrIccProfile* profile, const Bytes& image) {
    // What is read past the image is a fault.
    const GuardedBuffer room(image.size());
    std::copy(image.begin(), image.end(), room.begin());
    return Zv_FillICCProfileStructure(profile, room.Data(), image.size());
}

IccImageBuilder ThreeTags() {
    return IccImageBuilder()
        .Tag("cprt", TypedBody("text", CountingBytes(7)))
        .Tag("wtpt", TypedBody("XYZ ", CountingBytes(12)))
        .Tag("calt", TypedBody("ui08", CountingBytes(1)));
}

/// All bytes of the header set, so that each field is told from every other.
IccImageBuilder FullHeader() {
    IccImageBuilder builder = ThreeTags();
    builder.header = CountingBytes(128, 60);
    SetBig32(builder.header, 8, 0x04210907);
    return builder;
}

// --- Parsing --------------------------------------------------------------------------------------------------------

TEST(IccFillStructure, ReadsEveryFieldOfTheHeader) {
    const HostScope host;
    const Bytes image = FullHeader().Build();
    IccProfileHolder profile;
    ASSERT_EQ(CLR_SUCCESS, Parse(profile, image));
    Bytes expected = HeaderReversed(Front(image, 128));
    std::fill_n(expected.begin() + 60, 4, uint8_t{0});  // the upper half of the attributes is not read
    EXPECT_EQ(expected, IccHeaderBytesOf(profile));
    const ClrIccHeader& header = *profile->header;
    EXPECT_EQ(image.size(), Value(header.size));
    EXPECT_EQ(GetBig32(image, 4), Value(header.cmmType));
    EXPECT_EQ(0x04210907U, Value(header.version));
    EXPECT_EQ(GetBig32(image, 12), Value(header.deviceClass));
    EXPECT_EQ(GetBig32(image, 16), Value(header.colorSpace));
    EXPECT_EQ(GetBig32(image, 20), Value(header.connectionSpace));
    for (size_t i = 0; i < 6; ++i) EXPECT_EQ(GetBig16(image, 24 + 2 * i), Value(header.dateTime[i]));
    EXPECT_EQ(GetBig32(image, 36), Value(header.signature)) << "any signature will do";
    EXPECT_EQ(GetBig32(image, 40), Value(header.platform));
    EXPECT_EQ(GetBig32(image, 44), Value(header.flags));
    EXPECT_EQ(GetBig32(image, 48), Value(header.manufacturer));
    EXPECT_EQ(GetBig32(image, 52), Value(header.model));
    EXPECT_EQ(GetBig32(image, 60), Value(header.attributes));
    EXPECT_EQ(GetBig32(image, 64), Value(header.renderingIntent));
    for (size_t i = 0; i < 3; ++i) EXPECT_EQ(GetBig32(image, 68 + 4 * i), Value(header.illuminant[i]));
    EXPECT_EQ(GetBig32(image, 80), Value(header.creator));
    EXPECT_EQ(0, std::memcmp(&image[84], header.profileId, 16));
    EXPECT_EQ(0, std::memcmp(&image[100], header.reserved, 28));
}

TEST(IccFillStructure, ReadsTableAndDataAndKeepsTheWholeImage) {
    const HostScope host;
    const Bytes image = ThreeTags().Build();
    ASSERT_EQ(132U + 36 + 16 + 20 + 12, image.size());
    IccProfileHolder profile;
    ASSERT_EQ(CLR_SUCCESS, Parse(profile, image));
    EXPECT_EQ(image, IccImageBytesOf(profile));
    EXPECT_EQ(image.size(), Value(profile->profileSize));
    EXPECT_EQ(3, Value(profile->tagCount));
    EXPECT_EQ(48U, Value(profile->tagDataSize));
    EXPECT_EQ(Bytes(image.begin() + 168, image.end()), IccTagDataOf(profile));
    const std::vector<ClrIccTagEntry> table = IccTableOf(profile);
    ASSERT_EQ(3U, table.size());
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(GetBig32(image, 132 + 12 * i), Value(table[i].signature));
        EXPECT_EQ(GetBig32(image, 136 + 12 * i), Value(table[i].offset));
        EXPECT_EQ(GetBig32(image, 140 + 12 * i), Value(table[i].size));
    }
    EXPECT_EQ(TypedBody("text", CountingBytes(7)), IccBodyOf(profile, "cprt"));
    EXPECT_EQ(TypedBody("XYZ ", CountingBytes(12)), IccBodyOf(profile, "wtpt"));
    EXPECT_EQ(TypedBody("ui08", CountingBytes(1)), IccBodyOf(profile, "calt"));
    EXPECT_EQ(FourCc("XYZ "), Zv_GetICCTagTypeSig(profile, FourCc("wtpt")));
}

TEST(IccFillStructure, TakesBlocksOfTheRightAllocatorsAndNamesItsFile) {
    const HostScope host;
    IccProfileHolder profile(ThreeTags().Build());
    EXPECT_EQ(4U, host.Leaked());
    size_t found = 0;
    for (const LiveBlock& block : host->LiveBlocks()) {
        const bool image = block.address == Value(profile->profileData);
        if (!image && block.address != Value(profile->header) && block.address != Value(profile->tagTable) &&
            block.address != Value(profile->tagData)) {
            continue;
        }
        ++found;
        EXPECT_EQ(image, block.shared);
        EXPECT_EQ(u"Common\\IccProfile", block.file);
        EXPECT_LT(0, block.line);
    }
    EXPECT_EQ(4U, found);
    EXPECT_EQ(CLR_SUCCESS, Zv_GenerateICCPointer(profile));
    for (const HostCall& call : host->Calls()) {
        EXPECT_EQ(u"Common\\IccProfile", call.file) << call.operation;
        EXPECT_LT(0, call.line) << call.operation;
    }
}

TEST(IccFillStructure, RefusesNullAndNothing) {
    const HostScope host;
    const Bytes image = ThreeTags().Build();
    IccProfileHolder profile;
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_FillICCProfileStructure(profile, nullptr, image.size()));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_FillICCProfileStructure(nullptr, image.data(), image.size()));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_FillICCProfileStructure(profile, image.data(), 0));
    EXPECT_EQ(0, host->AllocationsSinceReset());
    EXPECT_EQ(0U, Value(profile->profileSize));
    EXPECT_EQ(nullptr, Value(profile->profileData));
    EXPECT_EQ(nullptr, Value(profile->header));
}

TEST(IccFillStructure, RefusesMemoryThatCannotBeRead) {
    const HostScope host;
    const Bytes image = ThreeTags().Build();
    GuardedBuffer room(image.size());
    std::copy(image.begin(), image.end(), room.begin());
    IccProfileHolder profile;
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_FillICCProfileStructure(profile, room.Data(), image.size() + 1));
    room.MakeUnreadable();
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_FillICCProfileStructure(profile, room.Data(), image.size()));
    EXPECT_EQ(nullptr, Value(profile->profileData));
}

TEST(IccFillStructure, TakesTheLow32BitsOfASize) {
    const HostScope host;
    const Bytes image = ThreeTags().Build();
    const GuardedBuffer room(image.size());
    std::copy(image.begin(), image.end(), room.begin());
    for (const uint64_t high : {1ULL << 32, 1ULL << 63, 0xFFFFFFFFULL << 32}) {
        IccProfileHolder profile;
        EXPECT_EQ(CLR_SUCCESS, Zv_FillICCProfileStructure(profile, room.Data(), high + image.size()));
        EXPECT_EQ(image.size(), Value(profile->profileSize));
        EXPECT_EQ(image, IccImageBytesOf(profile));
        EXPECT_EQ(3, Value(profile->tagCount));
        // Nothing is left of this one.
        IccProfileHolder none;
        EXPECT_EQ(ERR_BAD_PROFILE, Zv_FillICCProfileStructure(none, room.Data(), high));
        EXPECT_EQ(0U, Value(none->profileSize));
        EXPECT_EQ(0, Value(none->tagCount));
    }
}

TEST(IccFillStructure, RefusesVersionsBelow4AndKeepsWhatWasReadBefore) {
    const HostScope host;
    for (const uint32_t version : {0U, 1U, 0x02000000U, 0x02400000U, 0x03FFFFFFU}) {
        IccImageBuilder builder = FullHeader();
        SetBig32(builder.header, 8, version);
        const Bytes image = builder.Build();
        IccProfileHolder profile(Start::kHeader);
        const Bytes before = IccHeaderBytesOf(profile);
        EXPECT_EQ(ERR_BAD_PROFILE, Parse(profile, image));
        EXPECT_EQ(image, IccImageBytesOf(profile));
        EXPECT_EQ(image.size(), Value(profile->header->size));
        EXPECT_EQ(GetBig32(image, 4), Value(profile->header->cmmType));
        EXPECT_EQ(version, Value(profile->header->version));
        const Bytes after = IccHeaderBytesOf(profile);
        EXPECT_EQ(Bytes(before.begin() + 12, before.end()), Bytes(after.begin() + 12, after.end()));
        EXPECT_EQ(0, Value(profile->tagCount));
        EXPECT_EQ(nullptr, Value(profile->tagTable));
        EXPECT_EQ(nullptr, Value(profile->tagData));
        EXPECT_EQ(0U, Value(profile->tagDataSize));
    }
}

TEST(IccFillStructure, TakesAllVersionsFrom4OnByAnUnsignedBound) {
    const HostScope host;
    for (const uint32_t version :
         {0x04000000U, 0x04000001U, 0x04200000U, 0x04300000U, 0x05000000U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        IccImageBuilder builder = ThreeTags();
        SetBig32(builder.header, 8, version);
        IccProfileHolder profile;
        EXPECT_EQ(CLR_SUCCESS, Parse(profile, builder.Build())) << std::hex << version;
        EXPECT_EQ(version, Value(profile->header->version));
        EXPECT_EQ(3, Value(profile->tagCount));
    }
}

TEST(IccFillStructure, TakesAnyFileSignature) {
    const HostScope host;
    for (const uint32_t signature : {0U, FourCc("acsq"), FourCc("psca"), 0xFFFFFFFFU}) {
        IccImageBuilder builder = ThreeTags();
        SetBig32(builder.header, 36, signature);
        IccProfileHolder profile;
        EXPECT_EQ(CLR_SUCCESS, Parse(profile, builder.Build()));
        EXPECT_EQ(signature, Value(profile->header->signature));
    }
}

TEST(IccFillStructure, HeaderOfOneWithoutTagsIsReadWhateverItsSize) {
    const HostScope host;
    for (const uint32_t size : {0U, 1U, 131U, 132U, 133U, 0x80000000U, 0xFFFFFFFFU}) {
        IccImageBuilder builder;
        builder.sizeField = size;
        IccProfileHolder profile;
        EXPECT_EQ(CLR_SUCCESS, Parse(profile, builder.Build()));
        EXPECT_EQ(size, Value(profile->header->size));
        EXPECT_EQ(132U, Value(profile->profileSize));
        EXPECT_EQ(0, Value(profile->tagCount));
        EXPECT_EQ(nullptr, Value(profile->tagTable));
        EXPECT_EQ(nullptr, Value(profile->tagData));
        EXPECT_EQ(2U, host.Leaked()) << "header and image";
        EXPECT_EQ(size == 132 ? CLR_SUCCESS : ERR_BAD_PROFILE, Zv_GenerateICCPointer(profile)) << size;
    }
}

TEST(IccFillStructure, TagCountsBelow1EndWithSuccessAndLeaveTheTagsThatWereThere) {
    const HostScope host;
    for (const int32_t count : {0, -1, -2, INT32_MIN}) {
        IccProfileHolder profile(ThreeTags().Build());
        const ClrIccTagEntry* table = profile->tagTable;
        const uint8_t* data = profile->tagData;
        IccImageBuilder builder;
        builder.countField = static_cast<uint32_t>(count);
        uint8_t* oldImage = profile->profileData;
        EXPECT_EQ(CLR_SUCCESS, Parse(profile, builder.Build()));
        HostFreeShared(oldImage, __LINE__, ZV_WIDE("test"));  // dropped without release
        EXPECT_EQ(count, Value(profile->tagCount));
        EXPECT_EQ(table, Value(profile->tagTable));
        EXPECT_EQ(data, Value(profile->tagData));
        EXPECT_EQ(48U, Value(profile->tagDataSize));
        ClrIccTagRecord record;
        EXPECT_EQ(ERR_BAD_TAG, Zv_GetICCTagData(profile, &record, FourCc("cprt")));
        EXPECT_EQ(count == 0 ? ERR_INVALID_PARAMETER : ERR_BAD_TAG, Zv_DeleteICCTag(profile, FourCc("cprt"), nullptr));
        EXPECT_EQ(0U, Zv_GetICCTagTypeSig(profile, FourCc("cprt")));
        EXPECT_EQ(ERR_BAD_PROFILE, Zv_GenerateICCPointer(profile));
        profile->tagCount = 3;  // so that they are released
    }
}

TEST(IccFillStructure, NegativeTagCountsAreSafeToGoOnWith) {
    const HostScope host;
    for (const uint32_t size : {132U, 120U, 108U, 0U, 0x80000000U + 132U}) {
        for (const int32_t count : {-1, -2, -11, INT32_MIN, INT32_MIN + 1}) {
            IccImageBuilder builder;
            builder.countField = static_cast<uint32_t>(count);
            builder.sizeField = size;
            IccProfileHolder profile;
            ASSERT_EQ(CLR_SUCCESS, Parse(profile, builder.Build()));
            EXPECT_EQ(count, Value(profile->tagCount));
            uint8_t value = 1;
            ClrIccTagArray record = {0, {}, &value, 1};
            EXPECT_EQ(ERR_BAD_TAG, Zv_DeleteICCTag(profile, FourCc("cprt"), nullptr));
            EXPECT_EQ(ERR_BAD_PROFILE, Zv_GenerateICCPointer(profile));
            EXPECT_EQ(ERR_FAILURE, Zv_SetICCTagData(profile, &record, FourCc("calt"), FourCc("ui08")));
        }
    }
}

TEST(IccFillStructure, SecondParseUsesTheHeaderAgainAndDropsTheOtherBlocks) {
    HostScope host;
    IccProfileHolder profile(ThreeTags().Build());
    const ClrIccHeader* header = profile->header;
    const Bytes image = IccImageOf("desc", TypedBody("text", CountingBytes(5)));
    EXPECT_EQ(CLR_SUCCESS, Parse(profile, image));
    EXPECT_EQ(header, Value(profile->header));
    EXPECT_EQ(1, Value(profile->tagCount));
    EXPECT_EQ(TypedBody("text", CountingBytes(5)), IccBodyOf(profile, "desc"));
    EXPECT_EQ(image, IccImageBytesOf(profile));
    EXPECT_EQ(7U, host.Leaked());
    host.ExpectLeaked(3);  // table, data and image of the first
}

TEST(IccFillStructure, MakesAHeaderOfItsOwnWhenThereIsNone) {
    const HostScope host;
    host->FillBlocksWith(0xFF);
    IccProfileHolder profile;
    // Without the rest of the header nothing may be left as it was found.
    IccImageBuilder builder = ThreeTags();
    SetBig32(builder.header, 8, 0x02000000);
    EXPECT_EQ(ERR_BAD_PROFILE, Parse(profile, builder.Build()));
    const Bytes header = IccHeaderBytesOf(profile);
    EXPECT_EQ(Bytes(116), Bytes(header.begin() + 12, header.end()));
}

TEST(IccFillStructure, DataSizeComesFromTheSizeFieldOfTheImage) {
    const HostScope host;
    const Bytes whole = ThreeTags().Build();
    // The image may end before its buffer does; what is behind is kept as bytes only.
    for (const uint32_t less : {0U, 1U, 12U, 47U, 48U}) {
        IccImageBuilder builder = ThreeTags();
        builder.sizeField = static_cast<uint32_t>(whole.size()) - less;
        const Bytes image = builder.Build();
        IccProfileHolder profile;
        EXPECT_EQ(CLR_SUCCESS, Parse(profile, image)) << less;
        EXPECT_EQ(image.size(), Value(profile->profileSize));
        EXPECT_EQ(image, IccImageBytesOf(profile));
        EXPECT_EQ(48U - less, Value(profile->tagDataSize));
        EXPECT_EQ(Bytes(image.begin() + 168, image.end() - static_cast<ptrdiff_t>(less)), IccTagDataOf(profile));
        // Bodies that it cuts are no tags.
        EXPECT_EQ(less < 1 + 3 ? FourCc("ui08") : 0U, Zv_GetICCTagTypeSig(profile, FourCc("calt"))) << less;
        EXPECT_EQ(whole.size() - less, GenerateIccImage(profile).size());
    }
}

TEST(IccFillStructure, RefusesTablesAndDataThatReachBeyondTheImage) {
    const HostScope host;
    const auto size = static_cast<uint32_t>(ThreeTags().Build().size());
    const struct {
        std::optional<uint32_t> size, count;
    } cases[] = {
        {size + 1, {}},     {0xFFFFFFFF, {}},         {0x80000000, {}},      {167, {}}, {0, {}}, {132, {}}, {size, 8},
        {size, 0x7FFFFFFF}, {0xFFFFFFFF, 0x7FFFFFFF}, {167, 0x15555555 + 3},  // 12 times that and 132 is 160 in 32 bits
        {size, 0x15555556}};
    for (const auto& each : cases) {
        IccImageBuilder builder = ThreeTags();
        builder.sizeField = each.size;
        builder.countField = each.count;
        IccProfileHolder profile;
        host->Reset();
        EXPECT_EQ(ERR_BAD_PROFILE, Parse(profile, builder.Build()));
        EXPECT_EQ(0, Value(profile->tagCount));
        EXPECT_EQ(nullptr, Value(profile->tagTable));
        EXPECT_EQ(nullptr, Value(profile->tagData));
        EXPECT_EQ(0U, Value(profile->tagDataSize));
        EXPECT_EQ(FourCc("acsp"), Value(profile->header->signature)) << "the header is read";
        EXPECT_GE(size, host->LargestRequestSinceReset());
    }
}

TEST(IccFillStructure, RefusesTheEntryThatEndsTables) {
    const HostScope host;
    const auto parse = [](const std::string_view signature, uint32_t offset, uint32_t size) {
        IccImageBuilder builder = ThreeTags();
        builder.Entry(signature, offset, size).Tag("tech", TypedBody("sig ", CountingBytes(4)));
        IccProfileHolder profile;
        const int32_t result = Parse(profile, builder.Build());
        // Accepted tables have all their entries, and their tags can be read.
        EXPECT_EQ(result == CLR_SUCCESS ? FourCc("sig ") : 0U, Zv_GetICCTagTypeSig(profile, FourCc("tech")));
        EXPECT_EQ(result == CLR_SUCCESS ? 5U : 0U, IccTableOf(profile).size());
        return result;
    };
    for (const uint32_t offset : {0U, 200U, 0xFFFFFFFFU}) {
        EXPECT_EQ(ERR_BAD_PROFILE, parse("\xFF\xFF\xFF\xFF", offset, 0xFFFFFFFF));
        EXPECT_EQ(CLR_SUCCESS, parse("\xFF\xFF\xFF\xFF", offset, 0xFFFFFFFE));
        EXPECT_EQ(CLR_SUCCESS, parse("\xFF\xFF\xFF\xFE", offset, 0xFFFFFFFF));
    }
}

TEST(IccFillStructure, RefusedTablesLeaveTheTagsThatWereThere) {
    const HostScope host;
    IccProfileHolder profile(ThreeTags().Build());
    const ClrIccTagEntry* table = profile->tagTable;
    const Bytes data = IccTagDataOf(profile);
    IccImageBuilder builder = ThreeTags();
    builder.countField = 100;
    uint8_t* oldImage = profile->profileData;
    EXPECT_EQ(ERR_BAD_PROFILE, Parse(profile, builder.Build()));
    HostFreeShared(oldImage, __LINE__, ZV_WIDE("test"));
    EXPECT_EQ(3, Value(profile->tagCount));
    EXPECT_EQ(table, Value(profile->tagTable));
    EXPECT_EQ(data, IccTagDataOf(profile));
}

TEST(IccFillStructure, AcceptsATableThatFillsTheImage) {
    const HostScope host;
    const Bytes image = IccImageBuilder().Entry("cprt", 144, 0).Build();
    ASSERT_EQ(144U, image.size());
    IccProfileHolder profile;
    EXPECT_EQ(CLR_SUCCESS, Parse(profile, image));
    EXPECT_EQ(1, Value(profile->tagCount));
    EXPECT_EQ(0U, Value(profile->tagDataSize));
    EXPECT_EQ(image, GenerateIccImage(profile));
}

TEST(IccFillStructure, RefusesImagesThatEndWithinHeaderOrCount) {
    const HostScope host;
    const Bytes image = FullHeader().Build();
    for (size_t size = 1; size < 132; ++size) {
        IccProfileHolder profile;
        EXPECT_EQ(ERR_BAD_PROFILE, Parse(profile, Front(image, size))) << size;
        EXPECT_EQ(size, Value(profile->profileSize));
        EXPECT_EQ(Front(image, size), IccImageBytesOf(profile));
        ASSERT_NE(nullptr, Value(profile->header));
        EXPECT_EQ(size < 12 ? 0U : 0x04210907U, Value(profile->header->version));
    }
}

TEST(IccFillStructure, FailedAllocationsAreFailuresAndLoseNothing) {
    const Bytes image = ThreeTags().Build();
    for (const int64_t failing : {1, 2, 3, 4, 5}) {
        const HostScope host;
        IccProfileHolder profile;
        host->FailAllocation(failing);
        EXPECT_EQ(failing < 5 ? ERR_FAILURE : CLR_SUCCESS, Parse(profile, image)) << failing;
        EXPECT_EQ(image.size(), Value(profile->profileSize));
        host->FailAllocation(0);
        EXPECT_EQ(failing > 1, profile->profileData != nullptr);
        if (failing == 1) continue;
        EXPECT_EQ(failing > 2, profile->header != nullptr);
        if (failing == 2) continue;
        EXPECT_EQ(3, Value(profile->tagCount)) << "read before the table";
        EXPECT_EQ(failing > 3, profile->tagTable != nullptr);
        EXPECT_EQ(failing > 4, profile->tagData != nullptr);
        EXPECT_EQ(failing > 4 ? 48U : 0U, Value(profile->tagDataSize));
        EXPECT_EQ(failing > 4 ? FourCc("text") : 0U, Zv_GetICCTagTypeSig(profile, FourCc("cprt")));
        ClrIccTagRecord record;
        std::memset(&record, 0, sizeof record);
        EXPECT_EQ(failing > 4 ? CLR_SUCCESS : ERR_BAD_TAG, Zv_GetICCTagData(profile, &record, FourCc("cprt")));
        Zv_FreeICCTagType(&record, FourCc("text"));
        EXPECT_EQ(failing > 4 ? CLR_SUCCESS : ERR_BAD_PROFILE, Zv_GenerateICCPointer(profile));
    }
}

TEST(IccFillStructure, FailuresOnAFilledRecordDropWhatTheyReplace) {
    const Bytes image = IccImageOf("desc", TypedBody("text", CountingBytes(5)));
    for (const int64_t failing : {1, 2, 3}) {
        HostScope host;
        {
            IccProfileHolder profile(ThreeTags().Build());
            host->Reset();
            host->FailAllocation(failing);
            EXPECT_EQ(ERR_FAILURE, Parse(profile, image)) << failing;
            EXPECT_EQ(failing == 1, profile->profileData == nullptr);
            EXPECT_EQ(failing == 1 ? 3 : 1, Value(profile->tagCount));
            EXPECT_EQ(failing == 2, profile->tagTable == nullptr);
            EXPECT_EQ(failing == 3, profile->tagData == nullptr);
            EXPECT_EQ(0U, Zv_GetICCTagTypeSig(profile, FourCc("desc")));
            EXPECT_EQ(failing == 1 ? FourCc("text") : 0U, Zv_GetICCTagTypeSig(profile, FourCc("cprt")));
        }
        host.ExpectLeaked(static_cast<size_t>(failing));
    }
}

TEST(IccFillStructure, FailuresOnARecordThatWasDeletedEmptyDoNotReviveItsBlocks) {
    for (const int64_t failing : {1, 2, 3}) {
        const HostScope host;
        IccProfileHolder profile(Start::kHeader);
        AddIccTag(profile, "cprt", CountingBytes(20));
        ASSERT_EQ(CLR_SUCCESS, Zv_DeleteICCTag(profile, FourCc("cprt"), nullptr));
        host->FailAllocation(failing);
        EXPECT_EQ(ERR_FAILURE, Parse(profile, ThreeTags().Build())) << failing;
        EXPECT_EQ(0U, Zv_GetICCTagTypeSig(profile, FourCc("cprt")));
    }
    const HostScope host;
    IccProfileHolder profile(Start::kHeader);
    AddIccTag(profile, "cprt", CountingBytes(20));
    ASSERT_EQ(CLR_SUCCESS, Zv_DeleteICCTag(profile, FourCc("cprt"), nullptr));
    IccImageBuilder negative;
    negative.countField = 0xFFFFFFFF;
    EXPECT_EQ(CLR_SUCCESS, Parse(profile, negative.Build()));
}

// --- Generating -----------------------------------------------------------------------------------------------------

TEST(IccGeneratePointer, HeaderAloneMakes132Bytes) {
    const HostScope host;
    IccProfileHolder profile(Start::kHeader);
    const Bytes image = GenerateIccImage(profile);
    Bytes expected(132);
    SetBig32(expected, 0, 132);
    SetBig32(expected, 8, 0x04200000);
    SetBig32(expected, 36, 0x61637370);
    SetBig32(expected, 68, 0xF6D6);
    SetBig32(expected, 72, 0x10000);
    SetBig32(expected, 76, 0xD32D);
    EXPECT_EQ(expected, image);
}

TEST(IccGeneratePointer, WritesEveryFieldBigEndianAndReservedBytesAsZero) {
    const HostScope host;
    for (const uint8_t fill : {uint8_t{0}, uint8_t{0xFF}}) {
        host->FillBlocksWith(fill);
        IccProfileHolder profile(Start::kHeader);
        AddIccTag(profile, "cprt", CountingBytes(9));
        Bytes header = CountingBytes(128, 33);
        std::memcpy(profile->header, header.data(), header.size());
        profile->header->size = 156;
        header = IccHeaderBytesOf(profile);
        const Bytes image = GenerateIccImage(profile);
        Bytes expected = HeaderReversed(header);
        std::fill(expected.begin() + 100, expected.end(), uint8_t{0});
        PutBig32(expected, 1);
        PutBig32(expected, FourCc("cprt"));
        PutBig32(expected, 144);
        PutBig32(expected, 9);
        EXPECT_EQ(expected + CountingBytes(9) + Bytes(3), image);
        EXPECT_EQ(Value(profile->header->attributes), GetBig64(image, 56)) << "all eight bytes";
        EXPECT_EQ(Bytes(header.begin() + 100, header.end()), [&] {
            const Bytes after = IccHeaderBytesOf(profile);
            return Bytes(after.begin() + 100, after.end());
        }()) << "the record keeps its reserved bytes";
    }
}

TEST(IccHeaderToImage, WritesAHundredBytesAndLeavesTheRest) {
    const HostScope host;
    IccProfileHolder profile(Start::kHeader);
    const Bytes header = CountingBytes(128, 77);
    std::memcpy(profile->header, header.data(), header.size());
    const GuardedBuffer room(128);
    IccHeaderToImage(room.Data(), profile->header);
    EXPECT_EQ(Front(HeaderReversed(header), 100) + Bytes(28, 0xCD), Bytes(room.begin(), room.end()));
}

TEST(IccTagTableToImage, WritesEntriesAndCountBigEndian) {
    const ClrIccTagEntry entries[] = {{0x01020304, 0x05060708, 0x090A0B0C}, {0x11121314, 0x15161718, 0x191A1B1C}};
    const GuardedBuffer table(24), count(4);
    IccTagTableToImage(table.Data(), count.Data(), entries, 2);
    EXPECT_EQ(BigLongs({0x01020304, 0x05060708, 0x090A0B0C, 0x11121314, 0x15161718, 0x191A1B1C}),
              Bytes(table.begin(), table.end()));
    EXPECT_EQ(BigLongs({2}), Bytes(count.begin(), count.end()));
}

TEST(IccGeneratePointer, ParsedImageLosesHalfOfTheAttributesAndTheReservedBytes) {
    const HostScope host;
    IccImageBuilder builder = FullHeader();
    SetBig64(builder.header, 56, 0x1122334455667788);
    const Bytes image = builder.Build();
    IccProfileHolder profile(image);
    EXPECT_EQ(0x55667788U, Value(profile->header->attributes));
    Bytes expected = image;
    std::fill_n(expected.begin() + 56, 4, uint8_t{0});
    std::fill_n(expected.begin() + 100, 28, uint8_t{0});
    EXPECT_EQ(expected, GenerateIccImage(profile));
    // From then on nothing changes.
    IccProfileHolder again(expected);
    EXPECT_EQ(expected, GenerateIccImage(again));
}

TEST(IccGeneratePointer, OffsetsAreWrittenAsTheyStand) {
    const HostScope host;
    const Bytes image = IccImageBuilder()
                            .Tag("cprt", TypedBody("text", CountingBytes(4)))
                            .Share("desc", 0)
                            .Entry("wtpt", 0xFFFFFFF0, 0x80000000)
                            .Entry("calt", 0, 0)
                            .Build();
    IccProfileHolder profile(image);
    EXPECT_EQ(image, GenerateIccImage(profile));
    EXPECT_EQ(FourCc("text"), Zv_GetICCTagTypeSig(profile, FourCc("desc")));
}

TEST(IccGeneratePointer, ReleasesTheOldImageAndTakesASharedBlock) {
    const HostScope host;
    IccProfileHolder profile(ThreeTags().Build());
    host->Reset();
    EXPECT_EQ(CLR_SUCCESS, Zv_GenerateICCPointer(profile));
    EXPECT_EQ(4U, host.Leaked());
    std::vector<std::string> operations;
    for (const HostCall& call : host->Calls()) operations.push_back(call.operation);
    ASSERT_LE(2U, operations.size());
    EXPECT_EQ("HostFreeShared", operations[0]);
    EXPECT_EQ("HostAllocShared", operations[1]);
    EXPECT_EQ(3, host->AllocationsSinceReset()) << "image, header and table";
}

TEST(IccGeneratePointer, RefusesNullAndProfilesWithoutAHeader) {
    const HostScope host;
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_GenerateICCPointer(nullptr));
    IccProfileHolder profile;
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_GenerateICCPointer(profile));
    EXPECT_EQ(0U, Value(profile->profileSize));
}

TEST(IccGeneratePointer, RefusesAHeaderSizeThatIsNotThatOfTheTags) {
    const HostScope host;
    for (const int32_t wrong : {-200, -12, -1, 1, 12, 1000}) {
        IccProfileHolder profile(ThreeTags().Build());
        const Bytes image = IccImageBytesOf(profile);
        const uint8_t* block = profile->profileData;
        profile->header->size += static_cast<uint32_t>(wrong);
        profile->profileSize = image.size();
        EXPECT_EQ(ERR_BAD_PROFILE, Zv_GenerateICCPointer(profile));
        EXPECT_EQ(image.size(), Value(profile->profileSize)) << "what the tags take";
        EXPECT_EQ(block, Value(profile->profileData));
        EXPECT_EQ(image, IccImageBytesOf(profile));
    }
}

TEST(IccGeneratePointer, RefusalChangesTheSizeAndKeepsTheOldImage) {
    const HostScope host;
    IccProfileHolder profile(ThreeTags().Build());
    const Bytes image = IccImageBytesOf(profile);
    AddIccTag(profile, "desc", CountingBytes(16));
    profile->header->size += 1;
    EXPECT_EQ(ERR_BAD_PROFILE, Zv_GenerateICCPointer(profile));
    EXPECT_EQ(image.size() + 28, Value(profile->profileSize));
    // What the size now says beyond the old image is there, and zero.
    EXPECT_EQ(image + Bytes(28), IccImageBytesOf(profile));
    ASSERT_EQ(CLR_SUCCESS, Zv_DeleteICCTag(profile, FourCc("desc"), nullptr));
    ASSERT_EQ(CLR_SUCCESS, Zv_DeleteICCTag(profile, FourCc("wtpt"), nullptr));
    EXPECT_EQ(ERR_BAD_PROFILE, Zv_GenerateICCPointer(profile));
    EXPECT_EQ(image.size() - 12 - 20, Value(profile->profileSize));
    EXPECT_EQ(Front(image, image.size() - 32), IccImageBytesOf(profile));
    profile->header->size -= 1;
    EXPECT_EQ(CLR_SUCCESS, Zv_GenerateICCPointer(profile));
    EXPECT_EQ(image.size() - 32, Value(profile->profileSize));
}

TEST(IccGeneratePointer, RefusesAProfileWhoseLastTagWasDeleted) {
    const HostScope host;
    IccProfileHolder profile(Start::kHeader);
    AddIccTag(profile, "cprt", CountingBytes(20));
    ASSERT_EQ(CLR_SUCCESS, Zv_DeleteICCTag(profile, FourCc("cprt"), nullptr));
    EXPECT_EQ(164U, Value(profile->header->size));
    EXPECT_EQ(20U, Value(profile->tagDataSize));
    EXPECT_EQ(ERR_BAD_PROFILE, Zv_GenerateICCPointer(profile));
    EXPECT_EQ(152U, Value(profile->profileSize));
    EXPECT_EQ(nullptr, Value(profile->profileData));
    // Sizes that agree do not make data of what is gone.
    profile->header->size = 152;
    EXPECT_EQ(ERR_BAD_PROFILE, Zv_GenerateICCPointer(profile));
    EXPECT_EQ(nullptr, Value(profile->profileData));
}

TEST(IccGeneratePointer, FailedAllocationsAreFailures) {
    const Bytes image = ThreeTags().Build();
    for (const int64_t failing : {1, 2, 3, 4}) {
        const HostScope host;
        IccProfileHolder profile(image);
        host->FillBlocksWith(0xEE);
        host->FailAllocation(failing);
        EXPECT_EQ(failing < 4 ? ERR_FAILURE : CLR_SUCCESS, Zv_GenerateICCPointer(profile)) << failing;
        EXPECT_EQ(image.size(), Value(profile->profileSize));
        EXPECT_EQ(failing == 1 ? 3U : 4U, host.Leaked());
        if (failing == 1) {
            EXPECT_EQ(nullptr, Value(profile->profileData)) << "the old one is gone";
        } else {
            // Partly filled, and zero where it is not.
            Bytes expected = Front(image, failing == 2 ? 0 : failing == 3 ? 128 : image.size());
            expected.resize(image.size());
            EXPECT_EQ(expected, IccImageBytesOf(profile)) << failing;
        }
        host->FailAllocation(0);
        EXPECT_EQ(image, GenerateIccImage(profile));
    }
}

TEST(IccGeneratePointer, FailedGrowthOfARefusedImageKeepsItsSize) {
    const HostScope host;
    IccProfileHolder profile(ThreeTags().Build());
    const Bytes image = IccImageBytesOf(profile);
    AddIccTag(profile, "desc", CountingBytes(16));
    profile->header->size += 1;
    host->FailAllocation(1);
    EXPECT_EQ(ERR_FAILURE, Zv_GenerateICCPointer(profile));
    EXPECT_EQ(image, IccImageBytesOf(profile)) << "size and block agree";
}

// --- Types ----------------------------------------------------------------------------------------------------------

TEST(IccTagTypeSig, IsThatOfTheFirstTagOfTheSignature) {
    const HostScope host;
    const IccProfileHolder profile(IccImageBuilder()
                                       .Tag("cprt", TypedBody("text", CountingBytes(4)))
                                       .Tag("desc", TypedBody("zzzz"))
                                       .Tag("cprt", TypedBody("mluc", CountingBytes(8)))
                                       .Tag("calt", BigLongs({0x01FF02FE}))
                                       .Build());
    EXPECT_EQ(FourCc("text"), Zv_GetICCTagTypeSig(profile.Get(), FourCc("cprt")));
    EXPECT_EQ(FourCc("zzzz"), Zv_GetICCTagTypeSig(profile.Get(), FourCc("desc"))) << "any type";
    EXPECT_EQ(0x01FF02FEU, Zv_GetICCTagTypeSig(profile.Get(), FourCc("calt"))) << "four bytes are enough";
    EXPECT_EQ(0U, Zv_GetICCTagTypeSig(profile.Get(), FourCc("wtpt")));
    EXPECT_EQ(0U, Zv_GetICCTagTypeSig(profile.Get(), 0));
    EXPECT_EQ(0U, Zv_GetICCTagTypeSig(profile.Get(), 0xFFFFFFFF));
    EXPECT_EQ(0U, Zv_GetICCTagTypeSig(nullptr, FourCc("cprt")));
}

TEST(IccTagTypeSig, IsNoneForBodiesOutsideTheData) {
    const HostScope host;
    const uint32_t data = ZVICC_FIRST_TAG_OFFSET(7U);
    const IccProfileHolder profile(IccImageBuilder()
                                       .Tag("cprt", TypedBody("text", CountingBytes(4)))
                                       .Entry("bef0", data - 1, 4)
                                       .Entry("bef1", 0, 8)
                                       .Entry("sml0", data, 3)
                                       .Entry("aft0", data + 12, 4)
                                       .Entry("aft1", data + 8, 5)
                                       .Entry("big0", data + 4, 0xFFFFFFFC)
                                       .Build());
    ASSERT_EQ(12U, Value(profile->tagDataSize));
    EXPECT_EQ(FourCc("text"), Zv_GetICCTagTypeSig(profile.Get(), FourCc("cprt")));
    for (const char* tag : {"bef0", "bef1", "sml0", "aft0", "aft1", "big0"}) {
        EXPECT_EQ(0U, Zv_GetICCTagTypeSig(profile.Get(), FourCc(tag))) << tag;
        ClrIccTagRecord record;
        EXPECT_EQ(ERR_BAD_TAG, Zv_GetICCTagData(profile.Get(), &record, FourCc(tag))) << tag;
    }
}

}  // namespace
}  // namespace zv::test
