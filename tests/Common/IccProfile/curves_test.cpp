// "curv" and "para", and what writes them into buffers.
#include <gtest/gtest.h>

#include <climits>

#include "Common/IccProfile/tag_types.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/icc_profile_support.h"
#include "tests/support/recording_host.h"

namespace zv::test {
namespace {

constexpr int32_t kParameters[] = {1, 3, 4, 5, 7};

ClrIccTagCurve CurveRecord(Words& entries) {
    ClrIccTagCurve record;
    std::memset(&record, 0xEE, sizeof record);
    record.entryCount = static_cast<uint32_t>(entries.size());
    record.entries = entries.data();
    return record;
}

using Longs = std::vector<uint32_t>;

ClrIccTagParametricCurve ParametricRecord(uint16_t functionType, Longs& parameters) {
    ClrIccTagParametricCurve record;
    std::memset(&record, 0xEE, sizeof record);
    record.functionType = functionType;
    record.parameters = parameters.data();
    return record;
}

/// Parameters whose bytes are all different.
Longs SomeParameters(int32_t count) {
    Longs parameters;
    for (int32_t i = 0; i < count; ++i) parameters.push_back(0x01020304 + 0x10101010 * static_cast<uint32_t>(i));
    return parameters;
}

Bytes ParametricBytes(uint16_t functionType, const Longs& parameters) {
    return TypedBody("para", BigWords({functionType, 0}) + BigLongs(parameters));
}

Bytes BytesOf(const void* data, size_t size) {
    const auto* bytes = static_cast<const uint8_t*>(data);
    return {bytes, bytes + size};
}

// --- "curv" ---------------------------------------------------------------------------------------------------------

TEST(IccCurve, RecordToBodyToRecord) {
    for (const size_t count : {0U, 1U, 2U, 3U, 4U, 5U, 255U, 256U, 257U, 300U, 4096U, 70001U}) {
        SCOPED_TRACE(count);
        const HostScope host;
        TestRandom random(count);
        Words entries = RandomTable(count, random);
        ClrIccTagCurve record = CurveRecord(entries);
        const Bytes before = BytesOf(&record, sizeof record);
        IccProfileHolder profile(IccProfileHolder::Start::kHeader);
        ASSERT_EQ(CLR_SUCCESS, Zv_SetICCTagData(profile, &record, FourCc("rTRC"), FourCc("curv")));
        EXPECT_EQ(before, BytesOf(&record, sizeof record));
        const size_t size = 12 + 2 * count;
        const size_t padded = (size + 3) / 4 * 4;
        EXPECT_EQ(size, IccEntryOf(profile, "rTRC").size);
        EXPECT_EQ(144U, IccEntryOf(profile, "rTRC").offset);
        EXPECT_EQ(padded, Value(profile->tagDataSize));
        EXPECT_EQ(144 + padded, Value(profile->header->size));
        const Bytes body = CurveBody(entries);
        ASSERT_EQ(body, IccBodyOf(profile, "rTRC"));
        EXPECT_EQ(body + Bytes(padded - size), IccTagDataOf(profile));

        IccRecordHolder read;
        ASSERT_EQ(CLR_SUCCESS, read.Read(profile, "rTRC"));
        EXPECT_EQ(FourCc("curv"), Value(read->curve.typeSig));
        ASSERT_EQ(count, Value(read->curve.entryCount));
        EXPECT_EQ(BytesOf(entries.data(), 2 * count), BytesOf(read->curve.entries, 2 * count));
    }
}

TEST(IccCurve, ReadingReversesTheReservedBytes) {
    const HostScope host;
    Bytes body = CurveBody({1, 2});
    for (size_t i = 0; i < 4; ++i) body[4 + i] = static_cast<uint8_t>(i + 1);
    IccProfileHolder profile(IccImageOf("rTRC", body));
    IccRecordHolder read;
    ASSERT_EQ(CLR_SUCCESS, read.Read(profile, "rTRC"));
    EXPECT_EQ((Bytes{4, 3, 2, 1}), BytesOf(read->curve.typeReserved, 4));
    IccProfileHolder second(IccProfileHolder::Start::kHeader);
    ASSERT_EQ(CLR_SUCCESS, Zv_SetICCTagData(second, read.Get(), FourCc("rTRC"), FourCc("curv")));
    EXPECT_EQ(CurveBody({1, 2}), IccBodyOf(second, "rTRC"));
}

TEST(IccCurve, ReadsNoMoreThanItsCount) {
    const HostScope host;
    IccProfileHolder profile(IccImageOf("rTRC", CurveBody({7, 8}) + Bytes{1, 2, 3, 4, 5, 6}));
    IccRecordHolder read;
    ASSERT_EQ(CLR_SUCCESS, read.Read(profile, "rTRC"));
    ASSERT_EQ(2U, Value(read->curve.entryCount));
    EXPECT_EQ(7, read->curve.entries[0]);
    EXPECT_EQ(8, read->curve.entries[1]);
}

TEST(IccCurve, CountPastTheBody) {
    for (const uint32_t count : {3U, 4U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        SCOPED_TRACE(count);
        const HostScope host;
        Bytes body = CurveBody({1, 2});
        SetBig32(body, 8, count);
        IccProfileHolder profile(IccImageBuilder().Tag("rTRC", body).Tag("gTRC", CurveBody({3, 4, 5, 6})).Build());
        IccRecordHolder read;
        EXPECT_EQ(ERR_INVALID_PARAMETER, read.Read(profile, "rTRC"));
    }
}

TEST(IccCurve, EntriesThatCannotBeRead) {
    const HostScope host;
    GuardedBuffer entries(6);
    ClrIccTagCurve record = {0, {}, 4, reinterpret_cast<uint16_t*>(entries.Data())};
    IccProfileHolder profile(IccProfileHolder::Start::kHeader);
    IccRecordHolder image;
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_SetICCTagData(profile, &record, FourCc("rTRC"), FourCc("curv")));
    EXPECT_EQ(ERR_INVALID_PARAMETER, image.Make(&record, "curv"));
    record.entries = nullptr;
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_SetICCTagData(profile, &record, FourCc("rTRC"), FourCc("curv")));
    EXPECT_EQ(0, Value(profile->tagCount));
    record.entryCount = 0;
    EXPECT_EQ(CLR_SUCCESS, Zv_SetICCTagData(profile, &record, FourCc("rTRC"), FourCc("curv")));
    record = {0, {}, 3, reinterpret_cast<uint16_t*>(entries.Data())};
    EXPECT_EQ(CLR_SUCCESS, Zv_SetICCTagData(profile, &record, FourCc("gTRC"), FourCc("curv")));
    EXPECT_EQ(CurveBody({0xCDCD, 0xCDCD, 0xCDCD}), IccBodyOf(profile, "gTRC"));
}

TEST(IccCurve, RecordAndEntriesAtOddAddresses) {
    const HostScope host;
    alignas(8) uint8_t room[64] = {};
    uint8_t* entries = room + 33;
    const uint16_t words[] = {0x1122, 0x3344, 0x5566};
    std::memcpy(entries, words, sizeof words);
    ClrIccTagCurve record = {0, {}, 3, nullptr};
    std::memcpy(&record.entries, &entries, sizeof entries);
    std::memcpy(room + 1, &record, sizeof record);
    IccProfileHolder profile(IccProfileHolder::Start::kHeader);
    ASSERT_EQ(CLR_SUCCESS, Zv_SetICCTagData(profile, room + 1, FourCc("rTRC"), FourCc("curv")));
    EXPECT_EQ(CurveBody({0x1122, 0x3344, 0x5566}), IccBodyOf(profile, "rTRC"));
    ASSERT_EQ(CLR_SUCCESS, Zv_GetICCTagData(profile, room + 3, FourCc("rTRC")));
    std::memcpy(&record, room + 3, sizeof record);
    EXPECT_EQ(BytesOf(words, sizeof words), BytesOf(record.entries, sizeof words));
    Zv_FreeICCTagType(room + 3, FourCc("curv"));
}

TEST(IccCurve, ImageForm) {
    const HostScope host;
    Words entries = {0x1122, 0x3344, 0x5566};
    ClrIccTagCurve record = CurveRecord(entries);
    IccRecordHolder image;
    ASSERT_EQ(CLR_SUCCESS, image.Make(&record, "curv"));
    EXPECT_EQ(TypedBody("curv", BigLongs({3})), BytesOf(image.Get(), 12));
    EXPECT_EQ(BigWords(entries), BytesOf(image->curve.entries, 6));
    image.Free();
    EXPECT_EQ(nullptr, Value(image->curve.entries));
    entries.clear();
    record = CurveRecord(entries);
    ASSERT_EQ(CLR_SUCCESS, image.Make(&record, "curv"));
    EXPECT_NE(nullptr, Value(image->curve.entries)) << "an empty curve has a block too";
}

// --- "para" ---------------------------------------------------------------------------------------------------------

TEST(IccParametric, NumberOfParameters) {
    for (int32_t type = -70000; type <= 70000; ++type) {
        const int32_t expected = type >= 0 && type <= 4 ? kParameters[type] : 0;
        ASSERT_EQ(expected, Zv_GetParametricCurveNumberOfParameters(type)) << type;
    }
    EXPECT_EQ(0, Zv_GetParametricCurveNumberOfParameters(INT32_MIN));
    EXPECT_EQ(0, Zv_GetParametricCurveNumberOfParameters(INT32_MAX));
}

TEST(IccParametric, SizeTakesTheTypeInTheOrderOfTheHost) {
    EXPECT_EQ(0U, IccParametricSize(nullptr));
    const uint32_t kSizes[] = {8, 16, 20, 24, 32};
    ClrIccTagParametricCurve record = {};
    for (uint32_t type = 0; type <= 0xFFFF; ++type) {
        record.functionType = static_cast<uint16_t>(type);
        ASSERT_EQ(type <= 4 ? kSizes[type] : 4, IccParametricSize(&record)) << type;
    }
    for (uint16_t type = 0; type <= 4; ++type) {
        EXPECT_EQ(type == 0 ? 8U : 4U, IccParametricSize(ParametricBytes(type, {}).data())) << type;
    }
}

TEST(IccParametric, BodyToRecord) {
    for (uint16_t type = 0; type <= 4; ++type) {
        SCOPED_TRACE(type);
        const HostScope host;
        const Longs parameters = SomeParameters(kParameters[type]);
        Bytes body = ParametricBytes(type, parameters);
        for (size_t i = 0; i < 4; ++i) body[4 + i] = static_cast<uint8_t>(i + 1);
        body[10] = 0x77;
        body[11] = 0x88;
        IccProfileHolder profile(IccImageOf("gTRC", body));
        IccRecordHolder read;
        ASSERT_EQ(CLR_SUCCESS, read.Read(profile, "gTRC"));
        EXPECT_EQ(FourCc("para"), Value(read->parametricCurve.typeSig));
        EXPECT_EQ((Bytes{4, 3, 2, 1}), BytesOf(read->parametricCurve.typeReserved, 4));
        EXPECT_EQ(type, Value(read->parametricCurve.functionType));
        EXPECT_EQ((Bytes{0x88, 0x77}), BytesOf(read->parametricCurve.paramReserved, 2));
        EXPECT_EQ(BytesOf(parameters.data(), 4 * parameters.size()),
                  BytesOf(read->parametricCurve.parameters, 4 * parameters.size()));
        body.pop_back();
        IccProfileHolder shorter(IccImageOf("gTRC", body));
        EXPECT_EQ(ERR_INVALID_PARAMETER, read.Read(shorter, "gTRC"));
    }
}

TEST(IccParametric, OtherFunctionTypes) {
    for (const uint16_t type : Words{5, 6, 255, 256, 0x7FFF, 0xFFFF}) {
        SCOPED_TRACE(type);
        const HostScope host;
        Longs parameters = SomeParameters(7);
        IccProfileHolder profile(IccImageOf("gTRC", ParametricBytes(type, parameters)));
        IccRecordHolder read;
        EXPECT_EQ(ERR_BAD_TAG, read.Read(profile, "gTRC"));
        EXPECT_EQ(nullptr, Value(read->parametricCurve.parameters));
        ClrIccTagParametricCurve record = ParametricRecord(type, parameters);
        EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_SetICCTagData(profile, &record, FourCc("rTRC"), FourCc("para")));
        EXPECT_EQ(ERR_INVALID_PARAMETER, read.Make(&record, "para"));
        EXPECT_EQ(1, Value(profile->tagCount));
    }
}

TEST(IccParametric, ParametersThatCannotBeRead) {
    for (uint16_t type = 0; type <= 4; ++type) {
        SCOPED_TRACE(type);
        const HostScope host;
        const auto bytes = 4 * static_cast<size_t>(kParameters[type]);
        GuardedBuffer shorter(bytes - 1);
        GuardedBuffer whole(bytes);
        ClrIccTagParametricCurve record = {0, {}, type, {}, reinterpret_cast<uint32_t*>(shorter.Data())};
        IccRecordHolder image;
        EXPECT_EQ(ERR_INVALID_PARAMETER, image.Make(&record, "para"));
        record.parameters = nullptr;
        EXPECT_EQ(ERR_INVALID_PARAMETER, image.Make(&record, "para"));
        record.parameters = reinterpret_cast<uint32_t*>(whole.Data());
        EXPECT_EQ(CLR_SUCCESS, image.Make(&record, "para"));
    }
}

TEST(IccParametric, ImageForm) {
    for (uint16_t type = 0; type <= 4; ++type) {
        SCOPED_TRACE(type);
        const HostScope host;
        Longs parameters = SomeParameters(kParameters[type]);
        ClrIccTagParametricCurve record = ParametricRecord(type, parameters);
        IccRecordHolder image;
        ASSERT_EQ(CLR_SUCCESS, image.Make(&record, "para"));
        EXPECT_EQ(ParametricBytes(type, {}), BytesOf(image.Get(), 12));
        EXPECT_EQ(BigLongs(parameters), BytesOf(image->parametricCurve.parameters, 4 * parameters.size()));
    }
}

TEST(IccParametric, TypeZeroIsWrittenWithItsParameter) {
    const HostScope host;
    Longs parameters = {0x00023333};
    ClrIccTagParametricCurve record = ParametricRecord(0, parameters);
    IccProfileHolder profile(IccProfileHolder::Start::kHeader);
    ASSERT_EQ(CLR_SUCCESS, Zv_SetICCTagData(profile, &record, FourCc("gTRC"), FourCc("para")));
    EXPECT_EQ(16U, IccEntryOf(profile, "gTRC").size);
    EXPECT_EQ(16U, Value(profile->tagDataSize));
    EXPECT_EQ((Bytes{'p', 'a', 'r', 'a', 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 0x33, 0x33}), IccBodyOf(profile, "gTRC"));
}

TEST(IccParametric, OtherTypesAreWrittenWithoutRoomForTheirParameters) {
    for (uint16_t type = 1; type <= 4; ++type) {
        SCOPED_TRACE(type);
        const HostScope host;
        Longs parameters = SomeParameters(kParameters[type]);
        ClrIccTagParametricCurve record = ParametricRecord(type, parameters);
        IccProfileHolder profile(IccProfileHolder::Start::kHeader);
        ASSERT_EQ(CLR_SUCCESS, Zv_SetICCTagData(profile, &record, FourCc("gTRC"), FourCc("para")));
        EXPECT_EQ(12U, IccEntryOf(profile, "gTRC").size);
        EXPECT_EQ(12U, Value(profile->tagDataSize));
        EXPECT_EQ(132U + 12 + 12, Value(profile->header->size));
        EXPECT_EQ(ParametricBytes(type, {}), IccTagDataOf(profile));
        Words entries = {1, 2};
        ClrIccTagCurve curve = CurveRecord(entries);
        ASSERT_EQ(CLR_SUCCESS, Zv_SetICCTagData(profile, &curve, FourCc("rTRC"), FourCc("curv")));
        EXPECT_EQ(CurveBody(entries), IccBodyOf(profile, "rTRC"));
        EXPECT_EQ(ParametricBytes(type, {}), IccBodyOf(profile, "gTRC"));
        IccRecordHolder read;
        EXPECT_EQ(ERR_INVALID_PARAMETER, read.Read(profile, "gTRC"));
        EXPECT_EQ(type, Value(read->parametricCurve.functionType));
    }
}

// --- Into buffers ---------------------------------------------------------------------------------------------------

TEST(IccConvertCurve, HostFormAndImageForm) {
    const HostScope host;
    for (const size_t count : {0U, 1U, 3U, 300U}) {
        SCOPED_TRACE(count);
        TestRandom random(count);
        Words entries = RandomTable(count, random);
        ClrIccTagCurve record = CurveRecord(entries);
        record.typeSig = FourCc("curv");
        const GuardedBuffer buffer(12 + 2 * count);
        ASSERT_EQ(CLR_SUCCESS, Zv_ConvertCurveTypeToBuffer(buffer.Data(), &record));
        EXPECT_EQ(BytesOf(&record, 12) + BytesOf(entries.data(), 2 * count), BytesOf(buffer.Data(), buffer.Size()));

        IccRecordHolder image;
        ASSERT_EQ(CLR_SUCCESS, image.Make(&record, "curv"));
        ASSERT_EQ(CLR_SUCCESS, Zv_ConvertCurveTypeToBuffer(buffer.Data(), &image->curve));
        EXPECT_EQ(CurveBody(entries), BytesOf(buffer.Data(), buffer.Size()));
    }
}

TEST(IccConvertCurve, CountOfAnyOtherTypeIsTakenForBigEndian) {
    Words entries = {1, 2, 3};
    for (const uint32_t type : {0U, FourCc("para"), FourCc("vruc"), 0xFFFFFFFFU}) {
        ClrIccTagCurve record = CurveRecord(entries);
        record.typeSig = type;
        record.entryCount = 0x02000000;
        const GuardedBuffer buffer(16);
        ASSERT_EQ(CLR_SUCCESS, Zv_ConvertCurveTypeToBuffer(buffer.Data(), &record));
        EXPECT_EQ(BytesOf(&record, 12) + BytesOf(entries.data(), 4), BytesOf(buffer.Data(), 16));
    }
}

TEST(IccConvertCurve, Refusals) {
    uint8_t buffer[12] = {};
    const Bytes before = BytesOf(buffer, 12);
    ClrIccTagCurve record = {FourCc("curv"), {}, 1, nullptr};
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ConvertCurveTypeToBuffer(nullptr, &record));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ConvertCurveTypeToBuffer(buffer, nullptr));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ConvertCurveTypeToBuffer(buffer, &record));
    EXPECT_EQ(before, BytesOf(buffer, 12));
    record.entryCount = 0;
    EXPECT_EQ(CLR_SUCCESS, Zv_ConvertCurveTypeToBuffer(buffer, &record));
    EXPECT_EQ(BytesOf(&record, 12), BytesOf(buffer, 12));
}

TEST(IccConvertParametric, TypeIsTakenInTheOrderOfTheHost) {
    const HostScope host;
    for (uint16_t type = 0; type <= 6; ++type) {
        SCOPED_TRACE(type);
        const int32_t count = type <= 4 ? kParameters[type] : 0;
        Longs parameters = SomeParameters(7);
        ClrIccTagParametricCurve record = ParametricRecord(type, parameters);
        const auto bytes = 4 * static_cast<size_t>(count);
        const GuardedBuffer buffer(12 + bytes);
        ASSERT_EQ(CLR_SUCCESS, Zv_ConvertParametricCurveTypeToBuffer(buffer.Data(), &record));
        EXPECT_EQ(BytesOf(&record, 12) + BytesOf(parameters.data(), bytes), BytesOf(buffer.Data(), buffer.Size()));
        if (type > 4) continue;

        IccRecordHolder image;
        ASSERT_EQ(CLR_SUCCESS, image.Make(&record, "para"));
        const GuardedBuffer written(type == 0 ? 16 : 12);
        ASSERT_EQ(CLR_SUCCESS, Zv_ConvertParametricCurveTypeToBuffer(written.Data(), &image->parametricCurve));
        const Longs kept(parameters.begin(), parameters.begin() + (type == 0 ? 1 : 0));
        EXPECT_EQ(ParametricBytes(type, kept), BytesOf(written.Data(), written.Size()));
    }
}

TEST(IccConvertParametric, Refusals) {
    uint8_t buffer[12] = {};
    ClrIccTagParametricCurve record = {FourCc("para"), {}, 0, {}, nullptr};
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ConvertParametricCurveTypeToBuffer(nullptr, &record));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ConvertParametricCurveTypeToBuffer(buffer, nullptr));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ConvertParametricCurveTypeToBuffer(buffer, &record));
    EXPECT_EQ(Bytes(12), BytesOf(buffer, 12));
    record.functionType = 0x0100;
    EXPECT_EQ(CLR_SUCCESS, Zv_ConvertParametricCurveTypeToBuffer(buffer, &record));
    EXPECT_EQ(BytesOf(&record, 12), BytesOf(buffer, 12));
}

}  // namespace
}  // namespace zv::test
