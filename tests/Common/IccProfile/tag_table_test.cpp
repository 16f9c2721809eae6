// The tables of tag types and of tags that are known.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <set>

#include "Common/IccProfile/tag_types.h"
#include "tests/support/icc_profile_support.h"
#include "tests/support/icc_tag_bodies.h"
#include "tests/support/recording_host.h"

namespace zv::test {
namespace {

struct Row {
    const char* signature;
    bool countsBySize;
    size_t recordSize;
};

const Row kRows[] = {
    {"chrm", false, 22}, {"clro", false, 20},  {"clrt", false, 20},  {"curv", false, 20}, {"data", true, 24},
    {"dtim", false, 20}, {"mAB ", false, 120}, {"mBA ", false, 120}, {"meas", false, 36}, {"mft1", false, 76},
    {"mft2", false, 76}, {"mluc", false, 32},  {"ncl2", false, 92},  {"para", false, 20}, {"pseq", false, 20},
    {"rcs2", false, 28}, {"sf32", true, 20},   {"sig ", false, 12},  {"text", true, 16},  {"uf32", true, 20},
    {"ui08", true, 20},  {"ui16", true, 20},   {"ui32", true, 20},   {"ui64", true, 20},  {"view", false, 36},
    {"XYZ ", true, 20},
};

const char* const kTags[] = {"A2B0", "A2B1", "A2B2", "B2A0", "B2A1", "B2A2", "bTRC", "bXYZ", "bkpt", "calt",
                             "chad", "chrm", "clot", "clro", "clrt", "cprt", "desc", "dmdd", "dmnd", "gTRC",
                             "gXYZ", "gamt", "kTRC", "lumi", "meas", "ncl2", "pre0", "pre1", "pre2", "pseq",
                             "rTRC", "rXYZ", "resp", "targ", "tech", "view", "vued", "wtpt"};

TEST(IccTagTypes, AreTwentySix) {
    const auto types = IccTagTypes();
    ASSERT_EQ(26U, std::size(kRows));
    ASSERT_EQ(26U, types.size());
    for (size_t i = 0; i < types.size(); ++i) {
        SCOPED_TRACE(kRows[i].signature);
        EXPECT_EQ(FourCc(kRows[i].signature), types[i].signature);
        EXPECT_EQ(kRows[i].countsBySize, types[i].countsBySize);
        EXPECT_EQ(kRows[i].recordSize, types[i].recordSize);
        EXPECT_EQ(&types[i], IccFindTagType(types[i].signature));
        EXPECT_EQ(&types[i], &IccTagTypeOf(types[i].signature));
    }
}

TEST(IccTagTypes, EveryOtherSignatureIsOneMore) {
    std::set<uint32_t> known;
    for (const Row& row : kRows) known.insert(FourCc(row.signature));
    ASSERT_EQ(26U, known.size());
    const IccTagType& unknown = IccTagTypeOf(FourCc("zzzz"));
    EXPECT_EQ(20U, unknown.recordSize);
    EXPECT_TRUE(unknown.countsBySize);
    std::vector<uint32_t> others = {
        0, 1, 0xFFFFFFFF, FourCc("desc"), FourCc("XYZ\0"), FourCc("xyz "), FourCc("mAB"), FourCc("CURV")};
    for (const uint32_t signature : known) {
        for (int bit = 0; bit < 32; ++bit) others.push_back(signature ^ 1U << bit);
        others.push_back(__builtin_bswap32(signature));
    }
    for (const uint32_t signature : others) {
        if (known.count(signature) != 0) continue;
        EXPECT_EQ(nullptr, IccFindTagType(signature)) << signature;
        EXPECT_EQ(&unknown, &IccTagTypeOf(signature)) << signature;
    }
}

TEST(IccIsKnownTag, ThirtyEightAndTheirNeighbours) {
    std::set<uint32_t> known;
    for (const char* tag : kTags) known.insert(FourCc(tag));
    ASSERT_EQ(38U, known.size());
    for (const uint32_t tag : known) {
        EXPECT_EQ(0, IccIsKnownTag(tag)) << tag;
        for (int bit = 0; bit < 32; ++bit) {
            const uint32_t neighbour = tag ^ 1U << bit;
            EXPECT_EQ(known.count(neighbour) != 0, IccIsKnownTag(neighbour) == 0) << tag << " " << bit;
        }
        for (const uint32_t neighbour : {tag - 1, tag + 1, __builtin_bswap32(tag)}) {
            EXPECT_EQ(known.count(neighbour) != 0, IccIsKnownTag(neighbour) == 0) << neighbour;
        }
    }
    for (const char* tag : {"abcd", "rcs2", "curv", "mluc", "XYZ ", "A2B3", "B2A3", "pre3", "D2B0", "B2D0", "cicp",
                            "DESC", "WTPT", "scrn", "ucrb", "bfd "}) {
        EXPECT_NE(0, IccIsKnownTag(FourCc(tag))) << tag;
    }
    EXPECT_NE(0, IccIsKnownTag(0));
    EXPECT_NE(0, IccIsKnownTag(0xFFFFFFFF));
}

// The signature in the body alone selects how it is read, and each type has its own reader.
TEST(IccTagTypes, TheBodySelectsTheReader) {
    for (const IccSampleBody& sample : IccSampleBodies()) {
        SCOPED_TRACE(sample.name);
        const HostScope host;
        const uint32_t type = GetBig32(sample.body, 0);
        const bool known = IccFindTagType(type) != nullptr;
        IccProfileHolder profile(IccImageBuilder().Tag("wtpt", sample.body).Tag("abcd", sample.body).Build());
        EXPECT_EQ(type, Zv_GetICCTagTypeSig(profile, FourCc("wtpt")));
        ClrIccTagRecord direct;
        const auto& row = IccTagTypeOf(type);
        IccRecordHolder read;
        EXPECT_EQ(known ? CLR_SUCCESS : ERR_UNKNOWN_TAG_TYPE, read.Read(profile, "wtpt"));
        EXPECT_EQ(type, read->typeSig);
        EXPECT_EQ(known ? ERR_UNKNOWN_TAG : ERR_UNKNOWN_TAG_AND_TYPE, read.Read(profile, "abcd"));
        ASSERT_EQ(CLR_SUCCESS, IccReadTag(row, {sample.body.data(), sample.body.size()}, &direct));
        // The same fields before the first pointer.
        const size_t head = std::min<size_t>(row.recordSize, 8);
        EXPECT_EQ(0, std::memcmp(&direct, read.Get(), head));
        row.release(&direct);
    }
}

TEST(IccTagTypes, SamplesHaveEveryType) {
    std::set<uint32_t> types;
    for (const IccSampleBody& sample : IccSampleBodies()) types.insert(GetBig32(sample.body, 0));
    for (const Row& row : kRows) EXPECT_EQ(1U, types.count(FourCc(row.signature))) << row.signature;
    EXPECT_EQ(27U, types.size());
}

/// Which fields of a record hold blocks of its own.
struct Pointers {
    const char* type;
    std::vector<size_t> offsets;
};
const Pointers kPointers[] = {
    {"chrm", {14}},
    {"clro", {12}},
    {"clrt", {12}},
    {"curv", {12}},
    {"data", {12}},
    {"dtim", {}},
    {"mAB ", {32, 40, 48, 56, 64}},
    {"mBA ", {32, 40, 48, 56, 64}},
    {"meas", {}},
    {"mft1", {52, 60, 68}},
    {"mft2", {52, 60, 68}},
    {"mluc", {16, 24}},
    {"ncl2", {84}},
    {"para", {12}},
    {"pseq", {12}},
    {"rcs2", {12, 20}},
    {"sf32", {8}},
    {"sig ", {}},
    {"text", {8}},
    {"uf32", {8}},
    {"ui08", {8}},
    {"ui16", {8}},
    {"ui32", {8}},
    {"ui64", {8}},
    {"view", {}},
    {"XYZ ", {8}},
    {"zzzz", {8}},
};

TEST(IccTagTypes, ReleasingClearsThePointers) {
    ASSERT_EQ(27U, std::size(kPointers));
    for (const Pointers& row : kPointers) {
        SCOPED_TRACE(row.type);
        int samples = 0;
        for (const IccSampleBody& sample : IccSampleBodies()) {
            if (GetBig32(sample.body, 0) != FourCc(row.type)) continue;
            ++samples;
            const HostScope host;
            IccProfileHolder profile(IccImageOf("wtpt", sample.body));
            const size_t before = host.Leaked();
            ClrIccTagRecord record;
            std::memset(&record, 0xEE, sizeof record);
            const int32_t result = Zv_GetICCTagData(profile, &record, FourCc("wtpt"));
            EXPECT_TRUE(result == CLR_SUCCESS || result == ERR_UNKNOWN_TAG_TYPE) << result;
            if (row.offsets.empty()) {
                EXPECT_EQ(before, host.Leaked());
            }
            uint8_t bytes[sizeof record];
            std::memcpy(bytes, &record, sizeof record);
            Zv_FreeICCTagType(&record, FourCc(row.type));
            EXPECT_EQ(before, host.Leaked());
            for (const size_t offset : row.offsets) std::memset(bytes + offset, 0, sizeof(void*));
            EXPECT_EQ(0, std::memcmp(bytes, &record, sizeof record)) << "nothing else is touched";
            Zv_FreeICCTagType(&record, FourCc(row.type));
            EXPECT_EQ(before, host.Leaked());
        }
        EXPECT_GT(samples, 0);
    }
}

TEST(IccTagTypes, ReadersKeepToTheirRecord) {
    for (const IccSampleBody& sample : IccSampleBodies()) {
        SCOPED_TRACE(sample.name);
        const HostScope host;
        const size_t size = IccTagTypeOf(GetBig32(sample.body, 0)).recordSize;
        IccProfileHolder profile(IccImageOf("wtpt", sample.body));
        uint8_t room[sizeof(ClrIccTagRecord) + 16];
        std::memset(room, 0xEE, sizeof room);
        const int32_t result = Zv_GetICCTagData(profile, room, FourCc("wtpt"));
        EXPECT_TRUE(result == CLR_SUCCESS || result == ERR_UNKNOWN_TAG_TYPE) << result;
        for (size_t i = size; i < sizeof room; ++i) ASSERT_EQ(0xEE, room[i]) << i;
        Zv_FreeICCTagType(room, GetBig32(sample.body, 0));
    }
}

// Compilers differ in what else they clear: released as any type, the record must free nothing.
TEST(IccTagTypes, AnEmptyInitialiserClearsRoomForAnyRecord) {
    alignas(ClrIccTagRecord) uint8_t room[sizeof(ClrIccTagRecord)];
    std::memset(room, 0xEE, sizeof room);
    auto* record = new (room) ClrIccTagRecord{};
    for (const uint8_t byte : room) EXPECT_EQ(0, byte);
    const HostScope host;
    for (const Row& row : kRows) Zv_FreeICCTagType(record, FourCc(row.signature));
    EXPECT_TRUE(host->Calls().empty());
}

TEST(IccFreeTagType, NullRecord) {
    const HostScope host;
    for (const Row& row : kRows) Zv_FreeICCTagType(nullptr, FourCc(row.signature));
    Zv_FreeICCTagType(nullptr, 0);
    EXPECT_TRUE(host->Calls().empty());
}

}  // namespace
}  // namespace zv::test
