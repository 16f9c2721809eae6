// Reading, adding and removing tags: what all types have in common.
#include <gtest/gtest.h>

#include <algorithm>

#include "Common/IccProfile/tag_types.h"
#include "tests/Common/IccProfile/editing_fixture.h"
#include "tests/support/icc_profile_support.h"
#include "tests/support/icc_settable_record.h"
#include "tests/support/icc_tag_bodies.h"
#include "tests/support/recording_host.h"

namespace zv::test {
namespace {

// --- Warnings -------------------------------------------------------------------------------------------------------

struct Warning {
    const char* tag;
    const char* type;
    int32_t result;
};
const Warning kWarnings[] = {
    {"wtpt", "ui08", CLR_SUCCESS},
    {"abcd", "ui08", ERR_UNKNOWN_TAG},
    {"wtpt", "zzzz", ERR_UNKNOWN_TAG_TYPE},
    {"abcd", "zzzz", ERR_UNKNOWN_TAG_AND_TYPE},
};

TEST(IccTagWarnings, SetGetAndDelete) {
    for (const Warning& row : kWarnings) {
        SCOPED_TRACE(row.tag + std::string(row.type));
        const HostScope host;
        Bytes values = {1, 2, 3, 4, 5};
        ClrIccTagArray record = {FourCc("curv"), {1, 2, 3, 4}, values.data(), 5};
        const Bytes before = BytesOf(&record, sizeof record);
        IccProfileHolder profile(kHeader);
        ASSERT_EQ(row.result, Zv_SetICCTagData(profile, &record, FourCc(row.tag), FourCc(row.type)));
        EXPECT_EQ(before, BytesOf(&record, sizeof record));
        ASSERT_EQ(1, Value(profile->tagCount));
        EXPECT_EQ(TypedBody(row.type, values), IccBodyOf(profile, row.tag));

        ClrIccTagArray read;
        ASSERT_EQ(row.result, Zv_GetICCTagData(profile, &read, FourCc(row.tag)));
        EXPECT_EQ(FourCc(row.type), Value(read.typeSig));
        ASSERT_EQ(5U, Value(read.count));
        EXPECT_EQ(values, BytesOf(read.values, 5));
        Zv_FreeICCTagType(&read, FourCc(row.type));

        FillProfileId(profile);
        const Bytes state = StateOf(profile.Get());
        const int32_t deleted = Zv_DeleteICCTag(profile, FourCc(row.tag), &read);
        EXPECT_EQ(row.result, deleted);
        EXPECT_EQ(values, BytesOf(read.values, 5)) << "filled in either case";
        Zv_FreeICCTagType(&read, FourCc(row.type));
        if (row.result == CLR_SUCCESS) {
            EXPECT_EQ(0, Value(profile->tagCount));
            EXPECT_TRUE(ProfileIdIsClear(profile.Get()));
            continue;
        }
        EXPECT_EQ(state, StateOf(profile.Get())) << "nothing is deleted";
        EXPECT_EQ(CLR_SUCCESS, Zv_DeleteICCTag(profile, FourCc(row.tag), nullptr));
        EXPECT_EQ(0, Value(profile->tagCount));
        EXPECT_TRUE(ProfileIdIsClear(profile.Get()));
    }
}

TEST(IccTagWarnings, Create) {
    const HostScope host;
    Bytes values = {1, 2, 3, 4, 5};
    ClrIccTagArray record = {FourCc("curv"), {1, 2, 3, 4}, values.data(), 5};
    IccRecordHolder image;
    EXPECT_EQ(CLR_SUCCESS, image.Make(&record, "ui08"));
    EXPECT_EQ(TypedBody("ui08"), BytesOf(image.Get(), 8));
    EXPECT_EQ(ERR_UNKNOWN_TAG_TYPE, image.Make(&record, "zzzz"));
    EXPECT_EQ(TypedBody("zzzz"), BytesOf(image.Get(), 8));
    EXPECT_EQ(values, BytesOf(image->array.values, 5));
}

TEST(IccTagWarnings, OfEveryType) {
    for (const IccSampleBody& sample : IccSampleBodies()) {
        const uint32_t type = GetBig32(sample.body, 0);
        const bool known = IccFindTagType(type) != nullptr;
        for (const auto& [tag, tagKnown] : {std::pair<const char*, bool>{"A2B0", true}, {"A2b0", false}}) {
            SCOPED_TRACE(sample.name + tag);
            const HostScope host;
            IccProfileHolder profile(IccImageOf(tag, sample.body));
            const int32_t wanted = tagKnown ? (known ? CLR_SUCCESS : ERR_UNKNOWN_TAG_TYPE)
                                            : (known ? ERR_UNKNOWN_TAG : ERR_UNKNOWN_TAG_AND_TYPE);
            IccRecordHolder read;
            ASSERT_EQ(wanted, read.Read(profile, tag));
            if (sample.survives) {
                IccSettableRecord settable(*read.Get(), type);
                IccProfileHolder second(kHeader);
                EXPECT_EQ(wanted, Zv_SetICCTagData(second, settable.Get(), FourCc(tag), type));
                EXPECT_EQ(sample.body, IccBodyOf(second, tag));
            }
        }
    }
}

TEST(IccTagWarnings, FailuresComeWithoutThem) {
    const HostScope host;
    const Bytes bad = TypedBody("para", BigWords({5, 0}) + Bytes(28));
    IccProfileHolder profile(IccImageBuilder().Tag("abcd", bad).Tag("efgh", TypedBody("curv", {})).Build());
    IccRecordHolder read;
    EXPECT_EQ(ERR_BAD_TAG, read.Read(profile, "abcd"));
    EXPECT_EQ(ERR_INVALID_PARAMETER, read.Read(profile, "efgh"));
    const Bytes state = StateOf(profile.Get());
    EXPECT_EQ(ERR_BAD_TAG, Zv_DeleteICCTag(profile, FourCc("abcd"), read.Get()));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_DeleteICCTag(profile, FourCc("efgh"), read.Get()));
    EXPECT_EQ(state, StateOf(profile.Get()));
    ClrIccTagMeasurement record = {};
    record.observer = 3;
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_SetICCTagData(profile, &record, FourCc("abcd"), FourCc("meas")));
    EXPECT_EQ(ERR_INVALID_PARAMETER, read.Make(&record, "meas"));
    EXPECT_EQ(state, StateOf(profile.Get()));
    EXPECT_EQ(CLR_SUCCESS, Zv_DeleteICCTag(profile, FourCc("abcd"), nullptr)) << "what cannot be read can go";
}

TEST(IccGetTagData, NullArguments) {
    const HostScope host;
    IccProfileHolder profile(IccImageOf("wtpt", XyzBody(kD50)));
    ClrIccTagRecord record;
    std::memset(&record, 0xEE, sizeof record);
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_GetICCTagData(nullptr, &record, FourCc("wtpt")));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_GetICCTagData(profile, nullptr, FourCc("wtpt")));
    EXPECT_EQ(Bytes(sizeof record, 0xEE), BytesOf(&record, sizeof record));
}

TEST(IccGetTagData, NoSuchTag) {
    const HostScope host;
    ClrIccTagRecord record;
    std::memset(&record, 0xEE, sizeof record);
    IccProfileHolder none(kHeader);
    EXPECT_EQ(ERR_BAD_TAG, Zv_GetICCTagData(none, &record, FourCc("wtpt")));
    IccProfileHolder empty;
    EXPECT_EQ(ERR_BAD_TAG, Zv_GetICCTagData(empty, &record, FourCc("wtpt")));
    empty->tagCount = -1;
    EXPECT_EQ(ERR_BAD_TAG, Zv_GetICCTagData(empty, &record, FourCc("wtpt")));
    empty->tagCount = 0;
    IccProfileHolder one(IccImageOf("wtpt", XyzBody(kD50)));
    EXPECT_EQ(ERR_BAD_TAG, Zv_GetICCTagData(one, &record, FourCc("bkpt")));
    EXPECT_EQ(Bytes(sizeof record, 0xEE), BytesOf(&record, sizeof record)) << "the record is not touched";
}

TEST(IccGetTagData, TheFirstOfSeveral) {
    const HostScope host;
    IccProfileHolder profile(kHeader);
    AddUnknown(profile, "abcd", 10, 1);
    const Bytes first = AddUnknown(profile, "wtpt", 12, 50);
    AddUnknown(profile, "wtpt", 14, 100, "yyyy");
    IccRecordHolder read;
    ASSERT_EQ(ERR_UNKNOWN_TAG_TYPE, read.Read(profile, "wtpt"));
    ASSERT_EQ(4U, Value(read->array.count));
    EXPECT_EQ(50, static_cast<uint8_t*>(Value(read->array.values))[0]);
    EXPECT_EQ(3, Value(profile->tagCount));
    ASSERT_EQ(CLR_SUCCESS, Zv_DeleteICCTag(profile, FourCc("wtpt"), nullptr));
    EXPECT_EQ(FourCc("yyyy"), Zv_GetICCTagTypeSig(profile, FourCc("wtpt")));
}

TEST(IccGetTagData, BodiesOutsideTheData) {
    const HostScope host;
    const std::pair<uint32_t, uint32_t> kPlaces[] = {{0, 20},  {155, 20},         {156, 21},         {176, 1},
                                                     {177, 0}, {0xFFFFFFFF, 1},   {156, 0xFFFFFFFF}, {0x80000000, 4},
                                                     {176, 0}, {0xFFFFFFF0, 0x20}};
    for (const auto& [offset, size] : kPlaces) {
        SCOPED_TRACE(offset);
        IccProfileHolder profile(IccImageBuilder().Tag("wtpt", XyzBody(kD50)).Entry("bkpt", offset, size).Build());
        ASSERT_EQ(176U, Value(profile->header->size));
        IccRecordHolder read;
        EXPECT_EQ(ERR_BAD_TAG, read.Read(profile, "bkpt"));
        EXPECT_EQ(0U, Zv_GetICCTagTypeSig(profile, FourCc("bkpt")));
        EXPECT_EQ(CLR_SUCCESS, read.Read(profile, "wtpt"));
    }
}

TEST(IccSetTagData, NullArguments) {
    const HostScope host;
    IccProfileHolder profile(kHeader);
    IccProfileHolder headless;
    ClrIccTagSignature record = {0, {}, 0x41};
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_SetICCTagData(nullptr, &record, FourCc("tech"), FourCc("sig ")));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_SetICCTagData(profile, nullptr, FourCc("tech"), FourCc("sig ")));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_SetICCTagData(headless, &record, FourCc("tech"), FourCc("sig ")));
    EXPECT_EQ(0, Value(profile->tagCount));
    EXPECT_EQ(0, Value(headless->tagCount));
    for (const uint32_t type : {FourCc("curv"), FourCc("zzzz"), FourCc("dtim"), FourCc("chrm"), FourCc("mAB ")}) {
        EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_SetICCTagData(profile, nullptr, FourCc("tech"), type));
        EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_CreateICCTagData(nullptr, &record, type));
        EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_CreateICCTagData(&record, nullptr, type));
    }
}

TEST(IccSetTagData, AddsAlways) {
    const HostScope host;
    IccProfileHolder profile(kHeader);
    FillProfileId(profile);
    ClrIccTagSignature record = {0, {}, FourCc("fscn")};
    for (int32_t i = 1; i <= 5; ++i) {
        ASSERT_EQ(CLR_SUCCESS, Zv_SetICCTagData(profile, &record, FourCc("tech"), FourCc("sig ")));
        EXPECT_EQ(i, Value(profile->tagCount));
        EXPECT_EQ(12U * static_cast<uint32_t>(i), Value(profile->tagDataSize)) << "bodies are never shared";
        EXPECT_EQ(132U + 24U * static_cast<uint32_t>(i), Value(profile->header->size));
    }
    EXPECT_EQ(Bytes(16, 0x77), BytesOf(profile->header->profileId, 16)) << "the identifier stays";
    Bytes data;
    for (int i = 0; i < 5; ++i) data = data + TypedBody("sig ", BigLongs({FourCc("fscn")}));
    EXPECT_EQ(data, IccTagDataOf(profile));
    EXPECT_EQ(CLR_SUCCESS, Zv_GenerateICCPointer(profile));
}

// What a record says of its type does not matter: the argument selects.
TEST(IccSetTagData, TheArgumentSelectsTheType) {
    const HostScope host;
    uint32_t values[] = {0x01020304, 0x05060708};
    for (const char* said : {"curv", "text", "zzzz", "ui08", "mAB "}) {
        ClrIccTagArray record = {FourCc(said), {9, 9, 9, 9}, values, 2};
        IccProfileHolder profile(kHeader);
        ASSERT_EQ(CLR_SUCCESS, Zv_SetICCTagData(profile, &record, FourCc("wtpt"), FourCc("ui32")));
        EXPECT_EQ(TypedBody("ui32", BigLongs({0x01020304, 0x05060708})), IccBodyOf(profile, "wtpt"));
        ASSERT_EQ(CLR_SUCCESS, Zv_SetICCTagData(profile, &record, FourCc("bkpt"), FourCc("ui16")));
        EXPECT_EQ(TypedBody("ui16", BigWords({0x0304, 0x0102})), IccBodyOf(profile, "bkpt"));
    }
}

TEST(IccSetTagData, PaddingByType) {
    const struct {
        const char* type;
        size_t elementSize;
        bool padded;
    } kTypes[] = {{"ui08", 1, true},  {"ui16", 2, true},  {"zzzz", 1, true},  {"ui32", 4, false},
                  {"sf32", 4, false}, {"uf32", 4, false}, {"ui64", 8, false}, {"XYZ ", 12, false}};
    for (const auto& type : kTypes) {
        for (uint32_t count = 0; count <= 9; ++count) {
            const HostScope host;
            Bytes values = CountingBytes(12 * 9);
            ClrIccTagArray record = {0, {}, values.data(), count};
            IccProfileHolder profile(kHeader);
            Zv_SetICCTagData(profile, &record, FourCc("wtpt"), FourCc(type.type));
            const size_t size = 8 + type.elementSize * count;
            EXPECT_EQ(size, IccEntryOf(profile, "wtpt").size);
            const size_t padded = type.padded ? (size + 3) / 4 * 4 : size;
            EXPECT_EQ(padded, Value(profile->tagDataSize)) << type.type << " " << count;
            EXPECT_EQ(144 + padded, Value(profile->header->size));
            const Bytes data = IccTagDataOf(profile);
            EXPECT_EQ(Bytes(padded - size), Bytes(data.begin() + static_cast<ptrdiff_t>(size), data.end()));
        }
    }
}

// --- Chromaticities -------------------------------------------------------------------------------------------------

TEST(IccCreateTagData, ChromaticitiesAreExpectedWithoutAHead) {
    const HostScope host;
    uint32_t coordinates[] = {1, 2, 3, 4};
    ClrIccTagChromaticity headed = {FourCc("chrm"), {}, 2, 0, coordinates};
    IccRecordHolder image;
    EXPECT_EQ(ERR_INVALID_PARAMETER, image.Make(&headed, "chrm"));
    uint8_t headless[14];
    std::memcpy(headless, reinterpret_cast<const uint8_t*>(&headed) + 8, sizeof headless);
    const Bytes before = BytesOf(headless, sizeof headless);
    ASSERT_EQ(CLR_SUCCESS, image.Make(headless, "chrm"));
    EXPECT_EQ(before, BytesOf(headless, sizeof headless));
    EXPECT_EQ(TypedBody("chrm", BigWords({2, 0})), BytesOf(image.Get(), 12));
    EXPECT_EQ(BigLongs({1, 2, 3, 4}), BytesOf(image->chromaticity.coordinates, 16));

    IccProfileHolder profile(kHeader);
    ASSERT_EQ(CLR_SUCCESS, Zv_SetICCTagData(profile, &headed, FourCc("chrm"), FourCc("chrm")));
    EXPECT_EQ(TypedBody("chrm", BigWords({2, 0}) + BigLongs({1, 2, 3, 4})), IccBodyOf(profile, "chrm"));
}

// --- Deletion -------------------------------------------------------------------------------------------------------

TEST(IccDeleteTag, FirstOfTwoWithoutPadding) {
    const HostScope host;
    IccProfileHolder profile(kHeader);
    AddUnknown(profile, "wtpt", 20, 1);
    const Bytes second = AddUnknown(profile, "bkpt", 20, 100);
    FillProfileId(profile);
    ASSERT_EQ(196U, Value(profile->header->size));
    ASSERT_EQ(CLR_SUCCESS, Zv_DeleteICCTag(profile, FourCc("wtpt"), nullptr));
    EXPECT_EQ(1, Value(profile->tagCount));
    EXPECT_EQ(144U, IccEntryOf(profile, "bkpt").offset);
    EXPECT_EQ(20U, IccEntryOf(profile, "bkpt").size);
    EXPECT_EQ(20U, Value(profile->tagDataSize));
    EXPECT_EQ(164U, Value(profile->header->size));
    EXPECT_EQ(second, IccTagDataOf(profile));
    EXPECT_TRUE(ProfileIdIsClear(profile.Get()));
    EXPECT_EQ(164U, GenerateIccImage(profile).size());
}

TEST(IccDeleteTag, FirstOfTwoWithPadding) {
    const HostScope host;
    IccProfileHolder profile(kHeader);
    AddUnknown(profile, "wtpt", 14, 1);
    const Bytes second = AddUnknown(profile, "bkpt", 20, 100);
    FillProfileId(profile);
    ASSERT_EQ(36U, Value(profile->tagDataSize));
    ASSERT_EQ(CLR_SUCCESS, Zv_DeleteICCTag(profile, FourCc("wtpt"), nullptr));
    EXPECT_EQ(146U, IccEntryOf(profile, "bkpt").offset);
    EXPECT_EQ(22U, Value(profile->tagDataSize));
    EXPECT_EQ(166U, Value(profile->header->size));
    EXPECT_EQ(Bytes(2) + second, IccTagDataOf(profile));
    EXPECT_TRUE(ProfileIdIsClear(profile.Get()));
    const Bytes image = GenerateIccImage(profile);
    ASSERT_EQ(166U, image.size());
    EXPECT_EQ(Bytes(2) + second, Bytes(image.begin() + 144, image.end()));
    // The next one goes behind, wherever that is.
    const Bytes third = AddUnknown(profile, "abcd", 10, 7);
    EXPECT_EQ(132U + 24 + 22, IccEntryOf(profile, "abcd").offset);
    EXPECT_EQ(second, IccBodyOf(profile, "bkpt"));
    EXPECT_EQ(third, IccBodyOf(profile, "abcd"));
}

TEST(IccDeleteTag, AnyOfFour) {
    const char* const kTags[] = {"wtpt", "abcd", "bkpt", "lumi"};
    const size_t kSizes[] = {13, 8, 20, 30};
    for (size_t deleted = 0; deleted < 4; ++deleted) {
        SCOPED_TRACE(deleted);
        const HostScope host;
        IccProfileHolder profile(kHeader);
        Bytes bodies[4];
        Bytes data;
        uint32_t places[4];
        for (size_t i = 0; i < 4; ++i) {
            bodies[i] = AddUnknown(profile, kTags[i], kSizes[i], static_cast<uint8_t>(60 * i + 1));
            places[i] = static_cast<uint32_t>(data.size());
            data = data + bodies[i];
            data.resize((data.size() + 3) / 4 * 4);
        }
        ASSERT_EQ(data, IccTagDataOf(profile));
        const uint32_t before = profile->header->size;
        ASSERT_EQ(CLR_SUCCESS, Zv_DeleteICCTag(profile, FourCc(kTags[deleted]), nullptr));
        data.erase(data.begin() + places[deleted],
                   data.begin() + places[deleted] + static_cast<ptrdiff_t>(kSizes[deleted]));
        EXPECT_EQ(data, IccTagDataOf(profile));
        EXPECT_EQ(before - 12 - kSizes[deleted], Value(profile->header->size));
        const std::vector<ClrIccTagEntry> table = IccTableOf(profile);
        ASSERT_EQ(3U, table.size());
        for (size_t i = 0, at = 0; i < 4; ++i) {
            if (i == deleted) continue;
            EXPECT_EQ(FourCc(kTags[i]), Value(table[at].signature)) << "in the order that they had";
            const uint32_t moved = i > deleted ? static_cast<uint32_t>(kSizes[deleted]) : 0;
            EXPECT_EQ(132U + 36 + places[i] - moved, Value(table[at].offset));
            EXPECT_EQ(bodies[i], IccBodyOf(profile, kTags[i]));
            ++at;
        }
        EXPECT_EQ(before - 12 - kSizes[deleted], GenerateIccImage(profile).size());
    }
}

TEST(IccDeleteTag, TheLastBodyTakesNoScratchBlock) {
    for (const bool padded : {false, true}) {
        const HostScope host;
        IccProfileHolder profile(kHeader);
        AddUnknown(profile, "wtpt", 20, 1);
        AddUnknown(profile, "bkpt", padded ? 18 : 20, 100);
        host->Reset();
        ASSERT_EQ(CLR_SUCCESS, Zv_DeleteICCTag(profile, FourCc("bkpt"), nullptr));
        int scratch = 0;
        for (const HostCall& call : host->Calls()) scratch += call.operation == "HostAlloc" ? 1 : 0;
        EXPECT_EQ(padded ? 1 : 0, scratch);
        EXPECT_EQ(padded ? 22U : 20U, Value(profile->tagDataSize));
        for (const HostCall& call : host->Calls()) EXPECT_EQ(u"Common\\IccProfile", call.file);
    }
}

TEST(IccDeleteTag, TheOnlyOne) {
    for (const bool withRecord : {false, true}) {
        const HostScope host;
        IccProfileHolder profile(kHeader);
        ClrIccTagSignature record = {0, {}, FourCc("fscn")};
        ASSERT_EQ(CLR_SUCCESS, Zv_SetICCTagData(profile, &record, FourCc("tech"), FourCc("sig ")));
        FillProfileId(profile);
        ClrIccTagSignature read = {};
        const size_t before = host.Leaked();
        ASSERT_EQ(CLR_SUCCESS, Zv_DeleteICCTag(profile, FourCc("tech"), withRecord ? &read : nullptr));
        if (withRecord) {
            EXPECT_EQ(FourCc("fscn"), Value(read.value));
        }
        EXPECT_EQ(before - 2, host.Leaked()) << "table and data are released";
        EXPECT_EQ(0, Value(profile->tagCount));
        EXPECT_EQ(12U, Value(profile->tagDataSize));
        EXPECT_EQ(156U, Value(profile->header->size));
        EXPECT_EQ(132 + 12 + Value(profile->tagDataSize), Value(profile->header->size));
        EXPECT_TRUE(ProfileIdIsClear(profile.Get()));
        EXPECT_EQ(ERR_BAD_PROFILE, Zv_GenerateICCPointer(profile));
        EXPECT_EQ(ERR_BAD_TAG, Zv_GetICCTagData(profile, &read, FourCc("tech")));
        EXPECT_EQ(0U, Zv_GetICCTagTypeSig(profile, FourCc("tech")));
        EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_DeleteICCTag(profile, FourCc("tech"), nullptr));
        // The next one starts behind what is gone.
        ASSERT_EQ(CLR_SUCCESS, Zv_SetICCTagData(profile, &record, FourCc("tech"), FourCc("sig ")));
        EXPECT_EQ(156U, IccEntryOf(profile, "tech").offset);
        EXPECT_EQ(24U, Value(profile->tagDataSize));
        EXPECT_EQ(180U, Value(profile->header->size));
        EXPECT_EQ(Bytes(12) + TypedBody("sig ", BigLongs({FourCc("fscn")})), IccTagDataOf(profile));
    }
}

TEST(IccDeleteTag, WithARecord) {
    for (const IccSampleBody& sample : IccSampleBodies()) {
        SCOPED_TRACE(sample.name);
        const HostScope host;
        const uint32_t type = GetBig32(sample.body, 0);
        const bool known = IccFindTagType(type) != nullptr;
        IccProfileHolder profile(IccImageBuilder().Tag("A2B0", sample.body).Tag("wtpt", XyzBody(kD50)).Build());
        IccRecordHolder read;
        ASSERT_EQ(known ? CLR_SUCCESS : ERR_UNKNOWN_TAG_TYPE, read.Read(profile, "A2B0"));
        ClrIccTagRecord given;
        std::memset(&given, 0xEE, sizeof given);
        EXPECT_EQ(known ? CLR_SUCCESS : ERR_UNKNOWN_TAG_TYPE, Zv_DeleteICCTag(profile, FourCc("A2B0"), &given));
        EXPECT_EQ(known ? 1 : 2, Value(profile->tagCount));
        EXPECT_EQ(XyzBody(kD50), IccBodyOf(profile, "wtpt"));
        EXPECT_EQ(type, given.typeSig);
        if (IccSurvivesSetting(given, type)) {
            IccSettableRecord settable(given, type);
            IccProfileHolder second(kHeader);
            Zv_SetICCTagData(second, settable.Get(), FourCc("A2B0"), type);
            EXPECT_EQ(sample.body, IccBodyOf(second, "A2B0"));
        }
        Zv_FreeICCTagType(&given, type);
    }
}

TEST(IccDeleteTag, Refusals) {
    const HostScope host;
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_DeleteICCTag(nullptr, FourCc("wtpt"), nullptr));
    IccProfileHolder none(kHeader);
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_DeleteICCTag(none, FourCc("wtpt"), nullptr));
    none->tagCount = -1;
    EXPECT_EQ(ERR_BAD_TAG, Zv_DeleteICCTag(none, FourCc("wtpt"), nullptr));
    none->tagCount = INT32_MIN;
    EXPECT_EQ(ERR_BAD_TAG, Zv_DeleteICCTag(none, FourCc("wtpt"), nullptr));
    none->tagCount = 0;
    IccProfileHolder empty;
    empty->tagCount = 1;
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_DeleteICCTag(empty, FourCc("wtpt"), nullptr));
    empty->tagCount = 0;

    IccProfileHolder profile(
        IccImageBuilder().Tag("wtpt", XyzBody(kD50)).Entry("bkpt", 157, 20).Entry("lumi", 100, 8).Build());
    FillProfileId(profile);
    const Bytes state = StateOf(profile.Get());
    for (const char* tag : {"abcd", "bkpt", "lumi"}) {
        EXPECT_EQ(ERR_BAD_TAG, Zv_DeleteICCTag(profile, FourCc(tag), nullptr)) << tag;
    }
    EXPECT_EQ(state, StateOf(profile.Get()));
}

TEST(IccDeleteTag, SharedBodies) {
    const HostScope host;
    const Bytes front = TypedBody("zzzz", CountingBytes(12, 1));
    const Bytes shared = TypedBody("yyyy", CountingBytes(8, 100));
    const Bytes behind = TypedBody("xxxx", CountingBytes(4, 200));
    IccProfileHolder profile(
        IccImageBuilder().Tag("cprt", front).Tag("A2B0", shared).Share("A2B1", 1).Tag("wtpt", behind).Build());
    ASSERT_EQ(IccEntryOf(profile, "A2B0").offset, IccEntryOf(profile, "A2B1").offset);
    const uint32_t offset = IccEntryOf(profile, "A2B1").offset;
    ASSERT_EQ(CLR_SUCCESS, Zv_DeleteICCTag(profile, FourCc("A2B0"), nullptr));
    EXPECT_EQ(offset - 12 - 16, IccEntryOf(profile, "A2B1").offset) << "it goes into the bytes before";
    EXPECT_EQ(front + behind, IccTagDataOf(profile));
    EXPECT_EQ(front, IccBodyOf(profile, "cprt"));
    EXPECT_EQ(behind, IccBodyOf(profile, "wtpt"));
    EXPECT_EQ(Bytes(front.begin() + 4, front.end()), IccBodyOf(profile, "A2B1"));
    EXPECT_EQ(132U + 36 + 32, GenerateIccImage(profile).size());
}

TEST(IccDeleteTag, SharedFirstBodiesLeadOutOfTheData) {
    const HostScope host;
    const Bytes shared = TypedBody("zzzz", CountingBytes(12, 1));
    IccProfileHolder profile(IccImageBuilder().Tag("A2B0", shared).Share("A2B1", 0).Tag("wtpt", XyzBody(kD50)).Build());
    ASSERT_EQ(CLR_SUCCESS, Zv_DeleteICCTag(profile, FourCc("A2B0"), nullptr));
    EXPECT_EQ(132U + 36 - 12 - 20, IccEntryOf(profile, "A2B1").offset);
    IccRecordHolder read;
    EXPECT_EQ(ERR_BAD_TAG, read.Read(profile, "A2B1"));
    EXPECT_EQ(0U, Zv_GetICCTagTypeSig(profile, FourCc("A2B1")));
    EXPECT_EQ(CLR_SUCCESS, read.Read(profile, "wtpt"));
    EXPECT_EQ(XyzBody(kD50), IccBodyOf(profile, "wtpt"));
}

TEST(IccDeleteTag, ReplacesByDeletingAndSetting) {
    const HostScope host;
    IccProfileHolder profile(kHeader);
    ClrIccTagSignature record = {0, {}, FourCc("aaaa")};
    for (const char* tag : {"tech", "targ", "wtpt"}) {
        ASSERT_EQ(CLR_SUCCESS, Zv_SetICCTagData(profile, &record, FourCc(tag), FourCc("sig ")));
    }
    ASSERT_EQ(CLR_SUCCESS, Zv_DeleteICCTag(profile, FourCc("tech"), nullptr));
    record.value = FourCc("bbbb");
    ASSERT_EQ(CLR_SUCCESS, Zv_SetICCTagData(profile, &record, FourCc("tech"), FourCc("sig ")));
    IccRecordHolder read;
    ASSERT_EQ(CLR_SUCCESS, read.Read(profile, "tech"));
    EXPECT_EQ(FourCc("bbbb"), Value(read->signature.value));
    EXPECT_EQ(FourCc("tech"), Value(IccTableOf(profile).back().signature)) << "at the end";
    EXPECT_EQ(132U + 3 * 24, GenerateIccImage(profile).size());
}

}  // namespace
}  // namespace zv::test
