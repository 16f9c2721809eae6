// How tags enter a profile: offsets, padding, sizes, and what is left when memory ends.
#include <gtest/gtest.h>

#include <algorithm>

#include "Common/IccProfile/profile.h"
#include "tests/support/icc_profile_support.h"
#include "tests/support/recording_host.h"

namespace zv::test {
namespace {

using Start = IccProfileHolder::Start;

uint8_t* Insert(ClrIccProfile* profile, std::string_view signature, uint32_t size, uint32_t padding) {
    // The offset that comes in is not looked at.
    const ClrIccTagEntry entry = {FourCc(signature), 0xDEADBEEF, size};
    return IccInsertTag(profile, &entry, padding);
}

void ExpectEntry(const ClrIccProfile* profile, size_t index, std::string_view signature, uint32_t offset,
                 uint32_t size) {
    const std::vector<ClrIccTagEntry> table = IccTableOf(profile);
    ASSERT_LT(index, table.size());
    EXPECT_EQ(FourCc(signature), Value(table[index].signature)) << index;
    EXPECT_EQ(offset, Value(table[index].offset)) << index;
    EXPECT_EQ(size, Value(table[index].size)) << index;
}

void ExpectSizes(const ClrIccProfile* profile, int32_t tagCount, uint64_t tagDataSize, uint32_t headerSize) {
    EXPECT_EQ(tagCount, Value(profile->tagCount));
    EXPECT_EQ(tagDataSize, Value(profile->tagDataSize));
    EXPECT_EQ(headerSize, Value(profile->header->size));
}

TEST(IccPaddingRule, IsOneToFourWhereFourStandsForNone) {
    EXPECT_EQ(4U, IccPadding(0));
    EXPECT_EQ(3U, IccPadding(1));
    EXPECT_EQ(2U, IccPadding(2));
    EXPECT_EQ(1U, IccPadding(3));
    EXPECT_EQ(4U, IccPadding(4));
    for (uint64_t size = 0; size < 1000; ++size) {
        EXPECT_EQ(0U, (size + IccPadding(size)) % 4);
        EXPECT_LE(1U, IccPadding(size));
        EXPECT_GE(4U, IccPadding(size));
    }
    EXPECT_EQ(1U, IccPadding(0xFFFFFFFF));
}

TEST(IccInsertTag, FirstTagFollowsATableOfOneEntry) {
    const HostScope host;
    IccProfileHolder profile(Start::kHeader);
    const uint8_t* place = Insert(profile, "cprt", 20, 4);
    EXPECT_EQ(Value(profile->tagData), place);
    ExpectSizes(profile, 1, 20, 164);
    ExpectEntry(profile, 0, "cprt", 144, 20);
}

TEST(IccInsertTag, SecondTagMovesTheFirstByOneEntryAndTakesPadding) {
    const HostScope host;
    IccProfileHolder profile(Start::kHeader);
    Insert(profile, "cprt", 20, 4);
    const uint8_t* place = Insert(profile, "desc", 14, 2);
    EXPECT_EQ(Value(profile->tagData) + 20, place);
    ExpectSizes(profile, 2, 36, 192);
    ExpectEntry(profile, 0, "cprt", 156, 20);
    ExpectEntry(profile, 1, "desc", 176, 14);
}

TEST(IccInsertTag, KeepsOrderContentsAndPlacesOfManyTags) {
    const HostScope host;
    IccProfileHolder profile(Start::kHeader);
    Bytes data;
    std::vector<std::pair<uint32_t, uint32_t>> places;  // in the data, and size
    for (uint32_t i = 0; i < 60; ++i) {
        const uint32_t size = (i * 7) % 23;
        const Bytes body = CountingBytes(size, static_cast<uint8_t>(i + 1));
        places.emplace_back(static_cast<uint32_t>(data.size()), size);
        // One signature comes again and again: nothing is looked for, nothing is shared.
        AddIccTag(profile, i % 3 == 0 ? "cprt" : "desc", body);
        data = data + body;
        while (data.size() % 4 != 0) data.push_back(0);
        ExpectSizes(profile, static_cast<int32_t>(i + 1), data.size(),
                    static_cast<uint32_t>(132 + 12 * (i + 1) + data.size()));
        for (uint32_t k = 0; k <= i; ++k) {
            ExpectEntry(profile, k, k % 3 == 0 ? "cprt" : "desc", 132 + 12 * (i + 1) + places[k].first,
                        places[k].second);
        }
        ASSERT_EQ(data, IccTagDataOf(profile));
    }
}

TEST(IccInsertTag, PaddingIsAsTheCallerSaysAndZero) {
    const HostScope host;
    for (const uint32_t padding : {1U, 2U, 3U, 4U}) {
        for (const uint8_t fill : {uint8_t{0x11}, uint8_t{0xEE}}) {
            host->FillBlocksWith(fill);
            IccProfileHolder profile(Start::kHeader);
            AddIccTag(profile, "cprt", CountingBytes(8));
            uint8_t* place = Insert(profile, "desc", 5, padding);
            ASSERT_NE(nullptr, place);
            const uint32_t added = padding == 4 ? 0 : padding;
            ExpectSizes(profile, 2, 13 + added, 156 + 13 + added);
            std::fill_n(place, 5, uint8_t{0x77});
            EXPECT_EQ(CountingBytes(8) + Bytes(5, 0x77) + Bytes(added), IccTagDataOf(profile)) << padding;
        }
    }
}

TEST(IccInsertTag, TakesAnEmptyBody) {
    const HostScope host;
    IccProfileHolder profile(Start::kHeader);
    EXPECT_NE(nullptr, Insert(profile, "cprt", 0, 4));
    ExpectSizes(profile, 1, 0, 144);
    ExpectEntry(profile, 0, "cprt", 144, 0);
    AddIccTag(profile, "desc", CountingBytes(3));
    ExpectEntry(profile, 0, "cprt", 156, 0);
    ExpectEntry(profile, 1, "desc", 156, 3);
    EXPECT_EQ(160U, GenerateIccImage(profile).size());
}

TEST(IccInsertTag, FirstTagForgetsWhatThePointersHeld) {
    const HostScope host;
    IccProfileHolder profile(Start::kHeader);
    profile->tagTable = reinterpret_cast<ClrIccTagEntry*>(8);  // to follow it would be a fault
    profile->tagData = reinterpret_cast<uint8_t*>(8);
    AddIccTag(profile, "cprt", CountingBytes(20));
    ExpectEntry(profile, 0, "cprt", 144, 20);
    EXPECT_EQ(CountingBytes(20), IccTagDataOf(profile));
}

TEST(IccInsertTag, AfterTheLastTagWasDeletedBeginsBehindTheOldSize) {
    const HostScope host;
    IccProfileHolder profile(Start::kHeader);
    AddIccTag(profile, "cprt", CountingBytes(14));
    ASSERT_EQ(CLR_SUCCESS, Zv_DeleteICCTag(profile, FourCc("cprt"), nullptr));
    ExpectSizes(profile, 0, 16, 160);
    EXPECT_EQ(1U, host.Leaked()) << "the header alone";
    AddIccTag(profile, "desc", CountingBytes(8, 50));
    ExpectSizes(profile, 1, 24, 180);
    ExpectEntry(profile, 0, "desc", 160, 8);
    EXPECT_EQ(Bytes(16) + CountingBytes(8, 50), IccTagDataOf(profile)) << "no bytes of old blocks";
    EXPECT_EQ(CountingBytes(8, 50), IccBodyOf(profile, "desc"));
    // 12 too many: the entry of the deleted tag.
    EXPECT_EQ(ERR_BAD_PROFILE, Zv_GenerateICCPointer(profile));
}

TEST(IccInsertTag, BlocksAreOfThePrivateAllocatorAndCarryTheFile) {
    const HostScope host;
    IccProfileHolder profile(Start::kHeader);
    AddIccTag(profile, "cprt", CountingBytes(14));
    AddIccTag(profile, "desc", CountingBytes(14));
    size_t found = 0;
    for (const LiveBlock& block : host->LiveBlocks()) {
        if (block.address == Value(profile->tagTable) || block.address == Value(profile->tagData)) {
            EXPECT_FALSE(block.shared);
            EXPECT_EQ(u"Common\\IccProfile", block.file);
            EXPECT_LT(0, block.line);
            ++found;
        }
    }
    EXPECT_EQ(2U, found);
    for (const HostCall& call : host->Calls()) EXPECT_EQ(u"Common\\IccProfile", call.file) << call.operation;
}

// --- Failures -------------------------------------------------------------------------------------------------------

TEST(IccInsertTag, FailedTableOfTheFirstTagLeavesTheCountRaised) {
    const HostScope host;
    IccProfileHolder profile(Start::kHeader);
    host->FailAllocation(1);
    EXPECT_EQ(nullptr, Insert(profile, "cprt", 20, 4));
    ExpectSizes(profile, 1, 0, 132);
    EXPECT_EQ(nullptr, Value(profile->tagTable));
    EXPECT_EQ(0U, Zv_GetICCTagTypeSig(profile, FourCc("cprt")));
    EXPECT_EQ(ERR_BAD_PROFILE, Zv_GenerateICCPointer(profile));
}

TEST(IccInsertTag, FailedTableOfALaterTagLeavesCountRaisedAndOlderEntries) {
    const HostScope host;
    IccProfileHolder profile(Start::kHeader);
    AddIccTag(profile, "cprt", TypedBody("text", CountingBytes(12)));
    host->FailAllocation(1);
    EXPECT_EQ(nullptr, Insert(profile, "desc", 20, 4));
    ExpectSizes(profile, 2, 20, 164);
    ExpectEntry(profile, 0, "cprt", 144, 20);
    EXPECT_EQ(TypedBody("text", CountingBytes(12)), IccTagDataOf(profile));
    EXPECT_EQ(ERR_BAD_PROFILE, Zv_GenerateICCPointer(profile));
    // Nothing lies behind the table's end.
    ClrIccTagRecord record;
    EXPECT_EQ(ERR_BAD_TAG, Zv_GetICCTagData(profile, &record, FourCc("desc")));
}

TEST(IccInsertTag, FailedDataOfTheFirstTagLeavesItsEntry) {
    const HostScope host;
    IccProfileHolder profile(Start::kHeader);
    host->FailAllocation(2);
    EXPECT_EQ(nullptr, Insert(profile, "cprt", 20, 4));
    ExpectSizes(profile, 1, 0, 132);
    ExpectEntry(profile, 0, "cprt", 144, 20);
    EXPECT_EQ(nullptr, Value(profile->tagData));
    ClrIccTagRecord record;
    EXPECT_EQ(ERR_BAD_TAG, Zv_GetICCTagData(profile, &record, FourCc("cprt"))) << "an entry without a body";
    EXPECT_EQ(0U, Zv_GetICCTagTypeSig(profile, FourCc("cprt")));
    EXPECT_EQ(ERR_BAD_PROFILE, Zv_GenerateICCPointer(profile));
}

TEST(IccInsertTag, FailedDataOfALaterTagLeavesItsEntryAndTheOldData) {
    const HostScope host;
    IccProfileHolder profile(Start::kHeader);
    const Bytes body = TypedBody("text", CountingBytes(12));
    AddIccTag(profile, "cprt", body);
    host->FailAllocation(2);
    EXPECT_EQ(nullptr, Insert(profile, "desc", 20, 4));
    ExpectSizes(profile, 2, 20, 164);
    ExpectEntry(profile, 0, "cprt", 156, 20);
    ExpectEntry(profile, 1, "desc", 176, 20);
    EXPECT_EQ(body, IccTagDataOf(profile));
    EXPECT_EQ(body, IccBodyOf(profile, "cprt")) << "offsets have moved with the count";
    EXPECT_EQ(FourCc("text"), Zv_GetICCTagTypeSig(profile, FourCc("cprt")));
    EXPECT_EQ(0U, Zv_GetICCTagTypeSig(profile, FourCc("desc")));
    EXPECT_EQ(ERR_BAD_PROFILE, Zv_GenerateICCPointer(profile));
}

TEST(IccInsertTag, SettersAnswerFailureForBothAndRecordsCanBeReleased) {
    for (const int64_t failing : {1, 2, 3}) {
        const HostScope host;
        IccProfileHolder profile(Start::kHeader);
        AddIccTag(profile, "cprt", CountingBytes(20));
        uint8_t values[6] = {1, 2, 3, 4, 5, 6};
        ClrIccTagArray record = {0, {}, values, 6};
        host->FailAllocation(failing);
        EXPECT_EQ(ERR_FAILURE, Zv_SetICCTagData(profile, &record, FourCc("calt"), FourCc("ui08")));
        // The first is the maker's, before anything has changed.
        EXPECT_EQ(failing == 1 ? 1 : 2, Value(profile->tagCount)) << failing;
        EXPECT_EQ(static_cast<size_t>(failing == 3 ? 2 : 1), IccTableOf(profile).size()) << failing;
        EXPECT_EQ(20U, Value(profile->tagDataSize));
        EXPECT_EQ(164U, Value(profile->header->size));
        EXPECT_EQ(3U, host.Leaked()) << "header, table and data";
    }
}

TEST(IccInsertTag, TableOfAnImageEndsWhereItDidAfterFailures) {
    const HostScope host;
    // Whoever walked past the end would find tags there.
    for (const uint8_t fill : {uint8_t{0}, uint8_t{0x63}}) {
        host->FillBlocksWith(fill);
        IccProfileHolder profile(IccImageOf("cprt", TypedBody("text", CountingBytes(4))));
        for (int32_t i = 0; i < 5; ++i) {
            host->FailAllocation(1);
            EXPECT_EQ(nullptr, Insert(profile, "desc", 20, 4));
            EXPECT_EQ(2 + i, Value(profile->tagCount));
            EXPECT_EQ(1, IccTableLength(profile));
            for (const uint32_t tag : {0U, 0x63636363U, FourCc("desc")}) {
                EXPECT_EQ(kIccNoTag, IccFindTag(profile, tag));
                EXPECT_EQ(ERR_BAD_TAG, Zv_DeleteICCTag(profile, tag, nullptr));
            }
            // Even a header that counts entries which are not there makes no image of them.
            profile->header->size += 12;
            EXPECT_EQ(ERR_BAD_PROFILE, Zv_GenerateICCPointer(profile));
        }
    }
}

TEST(IccInsertTag, TableEndsWhereItDidAfterADeletionAndFailures) {
    const HostScope host;
    for (const char* tag : {"cprt", "desc", "calt"}) {
        IccProfileHolder profile(Start::kHeader);
        for (const char* each : {"cprt", "desc", "calt"}) AddIccTag(profile, each, CountingBytes(8));
        ASSERT_EQ(CLR_SUCCESS, Zv_DeleteICCTag(profile, FourCc(tag), nullptr));
        for (int i = 0; i < 3; ++i) {
            host->FailAllocation(1);
            EXPECT_EQ(nullptr, Insert(profile, "wtpt", 20, 4));
            EXPECT_EQ(2, IccTableLength(profile)) << tag;
        }
        // One goes, one is left, whatever the count says.
        const char* other = std::string_view(tag) == "cprt" ? "desc" : "cprt";
        Zv_DeleteICCTag(profile, FourCc(other), nullptr);
        EXPECT_GE(2, IccTableLength(profile)) << tag;
    }
}

TEST(IccInsertTag, CountsALargestBodyAndItsPaddingIn64Bits) {
    const HostScope host;
    IccProfileHolder profile(Start::kHeader);
    AddIccTag(profile, "cprt", CountingBytes(20));
    host->FailAllocationsAbove(1 << 20);
    EXPECT_EQ(nullptr, Insert(profile, "desc", 0xFFFFFFFF, 1));
    EXPECT_EQ(20 + (size_t{1} << 32), host->LargestRequestSinceReset());
    ExpectSizes(profile, 2, 20, 164);
    ExpectEntry(profile, 1, "desc", 176, 0xFFFFFFFF);
    EXPECT_EQ(0U, Zv_GetICCTagTypeSig(profile, FourCc("desc")));
}

TEST(IccInsertTag, WorksOnWhereTheTableStoodBehindItsCount) {
    const HostScope host;
    IccProfileHolder profile(Start::kHeader);
    AddIccTag(profile, "cprt", CountingBytes(20));
    for (int i = 0; i < 3; ++i) {
        host->FailAllocation(1);
        EXPECT_EQ(nullptr, Insert(profile, "desc", 20, 4));
    }
    EXPECT_EQ(4, Value(profile->tagCount));
    host->FailAllocation(0);
    AddIccTag(profile, "calt", CountingBytes(8));
    ExpectSizes(profile, 5, 28, 184);
    // 132 + 5 * 12 + 20, and what never came to be has no signature.
    const std::vector<ClrIccTagEntry> table = IccTableOf(profile);
    ASSERT_EQ(5U, table.size());
    EXPECT_EQ(FourCc("cprt"), Value(table[0].signature));
    for (const size_t i : {1U, 2U, 3U}) {
        EXPECT_EQ(0U, Value(table[i].signature)) << i;
        EXPECT_EQ(0U, Value(table[i].size)) << i;
    }
    ExpectEntry(profile, 4, "calt", 212, 8);
    EXPECT_EQ(CountingBytes(8), IccBodyOf(profile, "calt"));
    EXPECT_EQ(ERR_BAD_PROFILE, Zv_GenerateICCPointer(profile));
}

TEST(IccInsertTag, AnswersNullForCountsThatCannotBe) {
    const HostScope host;
    IccProfileHolder profile(Start::kHeader);
    for (const int32_t count : {INT32_MIN, -1000, -2, -1, INT32_MAX}) {
        profile->tagCount = count;
        EXPECT_EQ(nullptr, Insert(profile, "cprt", 20, 4)) << count;
        EXPECT_EQ(nullptr, Value(profile->tagTable));
        EXPECT_EQ(nullptr, Value(profile->tagData));
        if (count == INT32_MAX) {
            EXPECT_EQ(INT32_MAX, Value(profile->tagCount));
        }
    }
    profile->tagCount = 0;
    AddIccTag(profile, "cprt", CountingBytes(20));
    EXPECT_EQ(CountingBytes(20), IccBodyOf(profile, "cprt"));
}

}  // namespace
}  // namespace zv::test
