// Tag types that are a list: numbers, points, bytes of unknown types, colorants.
#include <algorithm>
#include <random>

#include "tests/Common/IccProfile/tag_fixture.h"

namespace zv::test {
namespace {

struct ListType {
    const char* name;
    size_t wordSize;  ///< bytes that are reversed together
    size_t elementSize;
    bool padded;
};

const ListType kListTypes[] = {
    {"ui08", 1, 1, true},  {"ui16", 2, 2, true},   {"ui32", 4, 4, false}, {"sf32", 4, 4, false}, {"uf32", 4, 4, false},
    {"ui64", 8, 8, false}, {"XYZ ", 4, 12, false}, {"zzzz", 1, 1, true},  {"desc", 1, 1, true},  {"Text", 1, 1, true},
};

/// Every word with its bytes in the other order.
Bytes Reversed(Bytes bytes, size_t wordSize) {
    for (size_t at = 0; at + wordSize <= bytes.size(); at += wordSize) {
        const auto from = bytes.begin() + static_cast<std::ptrdiff_t>(at);
        std::reverse(from, from + static_cast<std::ptrdiff_t>(wordSize));
    }
    return bytes;
}

ClrIccTagArray ArrayRecord(void* values, uint32_t count) {
    auto record = DirtyRecord<ClrIccTagArray>();
    record.values = values;
    record.count = count;
    return record;
}

TEST(ArrayTag, IsStoredWithoutACount) {
    const HostScope host;
    for (const ListType& type : kListTypes) {
        SCOPED_TRACE(type.name);
        for (uint32_t count = 0; count <= 6; ++count) {
            TagArrays arrays;
            const Bytes image = CountingBytes(count * type.elementSize, 0xF0);
            ClrIccTagArray record = ArrayRecord(arrays.PutBytes(Reversed(image, type.wordSize)), count);
            ExpectSet(&record, type.name, TypedBody(type.name, image), type.padded);
        }
    }
}

TEST(ArrayTag, EmptyOnesNeedNoArray) {
    const HostScope host;
    for (const ListType& type : kListTypes) {
        ClrIccTagArray record = ArrayRecord(nullptr, 0);
        ExpectSet(&record, type.name, TypedBody(type.name), type.padded);
    }
}

TEST(ArrayTag, ImageFormHasBigEndianValuesAndAHostCount) {
    const HostScope host;
    for (const ListType& type : kListTypes) {
        SCOPED_TRACE(type.name);
        TagArrays arrays;
        const Bytes image = CountingBytes(5 * type.elementSize);
        ClrIccTagArray record = ArrayRecord(arrays.PutBytes(Reversed(image, type.wordSize)), 5);
        auto made = DirtyRecord<ClrIccTagArray>();
        ASSERT_EQ(SuccessOf(type.name), Zv_CreateICCTagData(&made, &record, FourCc(type.name)));
        EXPECT_EQ(TypedBody(type.name), BytesAt(&made, 8));
        EXPECT_EQ(5U, Value(made.count));
        EXPECT_EQ(image, BytesAt(made.values, image.size()));
        Zv_FreeICCTagType(&made, FourCc(type.name));
        EXPECT_EQ(nullptr, Value(made.values));
        Zv_FreeICCTagType(&made, FourCc(type.name));
    }
}

/// What a reader gives for stored elements.
Bytes ReadBytesOf(const ListType& type, const Bytes& image) {
    Bytes bytes = Reversed(image, type.wordSize);
    if (type.wordSize != 8) return bytes;
    for (size_t i = 0; i < bytes.size(); ++i) {
        if (i % 8 >= 4) bytes[i] = 0;  // the upper halves are lost
    }
    return bytes;
}

TEST(ArrayTag, CountComesFromTheSizeRoundedDown) {
    const HostScope host;
    for (const ListType& type : kListTypes) {
        SCOPED_TRACE(type.name);
        for (size_t rest = 0; rest <= 3 * type.elementSize + 1; ++rest) {
            const Bytes image = CountingBytes(rest, 0x81);
            ReadBody read(TypedBody(type.name, image));
            ASSERT_EQ(SuccessOf(type.name), read.Result());
            EXPECT_EQ(FourCc(type.name), Value(read->typeSig));
            const size_t count = rest / type.elementSize;
            ASSERT_EQ(count, Value(read->array.count));
            ASSERT_NE(nullptr, Value(read->array.values));
            const Bytes whole(image.begin(), image.begin() + static_cast<std::ptrdiff_t>(count * type.elementSize));
            EXPECT_EQ(ReadBytesOf(type, whole), BytesAt(read->array.values, whole.size()));
        }
    }
}

TEST(ArrayTag, SurvivesReadingAndSettingButForReservedBytesAndUpperHalves) {
    const HostScope host;
    std::mt19937 random(4);
    for (const ListType& type : kListTypes) {
        SCOPED_TRACE(type.name);
        Bytes image(7 * type.elementSize);
        for (uint8_t& byte : image) byte = static_cast<uint8_t>(random());
        Bytes body = TypedBody(type.name, image);
        body[5] = 9;
        ReadBody read(body);
        ASSERT_EQ(SuccessOf(type.name), read.Result());
        EXPECT_EQ((Bytes{0, 0, 9, 0}), BytesAt(read->array.typeReserved, 4));
        body[5] = 0;
        if (type.wordSize == 8) {
            for (size_t i = 0; i < image.size(); ++i) {
                if (i % 8 < 4) body[8 + i] = 0;
            }
        }
        ExpectSet(read.Record(), type.name, body, type.padded);
    }
}

TEST(ArrayTag, SixtyFourBitElementsReadBackAsTheirLowerHalves) {
    const HostScope host;
    TagArrays arrays;
    ClrIccTagArray record = ArrayRecord(arrays.Put<uint64_t>({0x1122334455667788, 0xFFFFFFFF00000000, 1}), 3);
    const Bytes body = TypedBody("ui64", {0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0xFF, 0xFF, 0xFF, 0xFF,
                                          0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    1});
    ExpectSet(&record, "ui64", body, false);
    ReadBody read(body);
    ASSERT_EQ(CLR_SUCCESS, read.Result());
    ASSERT_EQ(3U, Value(read->array.count));
    const uint64_t expected[] = {0x55667788, 0, 1};
    EXPECT_EQ(0, std::memcmp(expected, read->array.values, sizeof expected));
}

TEST(ArrayTag, UnknownTypesKeepTheirSignature) {
    const HostScope host;
    for (const uint32_t type : {0U, 1U, 0xFFFFFFFFU, FourCc("mABx"), FourCc("MLUC"), FourCc("ui8 ")}) {
        ASSERT_EQ(nullptr, IccFindTagType(type));
        TagArrays arrays;
        ClrIccTagArray record = ArrayRecord(arrays.PutBytes({1, 2, 3}), 3);
        IccProfileHolder profile(IccProfileHolder::Start::kHeader);
        ASSERT_EQ(ERR_UNKNOWN_TAG_TYPE, Zv_SetICCTagData(profile, &record, FourCc("targ"), type));
        EXPECT_EQ(11U, IccTableOf(profile)[0].size);
        const Bytes stored = BigLongs({type, 0, 0x01020300});
        EXPECT_EQ(stored, IccTagDataOf(profile));
    }
}

TEST(ArrayTag, ArraysThatCannotBeReadAreRefusedBeforeAnyAllocation) {
    const HostScope host;
    for (const ListType& type : kListTypes) {
        SCOPED_TRACE(type.name);
        TagArrays arrays;
        void* values = arrays.PutBytes(CountingBytes(3 * type.elementSize));
        for (const uint32_t count : {4U, 0x55555556U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
            ClrIccTagArray record = ArrayRecord(values, count);
            ExpectRefused(&record, type.name);
            record.values = nullptr;
            ExpectRefused(&record, type.name);
        }
        ClrIccTagArray record = ArrayRecord(nullptr, 1);
        ExpectRefused(&record, type.name);
        record.values = static_cast<uint8_t*>(values) + 1;
        record.count = 3;
        ExpectRefused(&record, type.name);
    }
    EXPECT_LE(host->LargestRequestSinceReset(), 128U);
}

// --- clro -----------------------------------------------------------------------------------------------------------

ClrIccTagColorantOrder OrderRecord(uint8_t* order, uint32_t count) {
    auto record = DirtyRecord<ClrIccTagColorantOrder>();
    record.count = count;
    record.order = order;
    return record;
}

TEST(ColorantOrderTag, IsStoredWithItsCount) {
    const HostScope host;
    for (uint32_t count = 0; count <= 9; ++count) {
        TagArrays arrays;
        const Bytes order = CountingBytes(count, 0xFD);
        ClrIccTagColorantOrder record = OrderRecord(arrays.Put(order), count);
        ExpectSet(&record, "clro", TypedBody("clro", BigLongs({count}) + order), true);
    }
}

TEST(ColorantOrderTag, ImageFormHasABigEndianCount) {
    const HostScope host;
    TagArrays arrays;
    ClrIccTagColorantOrder record = OrderRecord(arrays.Put<uint8_t>({2, 0, 1}), 3);
    auto made = DirtyRecord<ClrIccTagColorantOrder>();
    ASSERT_EQ(CLR_SUCCESS, Zv_CreateICCTagData(&made, &record, FourCc("clro")));
    EXPECT_EQ(TypedBody("clro", {0, 0, 0, 3}), BytesAt(&made, 12));
    EXPECT_EQ((Bytes{2, 0, 1}), BytesAt(made.order, 3));
    Zv_FreeICCTagType(&made, FourCc("clro"));
    EXPECT_EQ(nullptr, Value(made.order));
    Zv_FreeICCTagType(&made, FourCc("clro"));
}

TEST(ColorantOrderTag, IsRead) {
    const HostScope host;
    for (uint32_t count = 0; count <= 5; ++count) {
        // What lies behind the counted bytes is not looked at.
        ReadBody read(TypedBody("clro", BigLongs({count}) + CountingBytes(5, 0x80)));
        ASSERT_EQ(CLR_SUCCESS, read.Result());
        EXPECT_EQ(count, Value(read->colorantOrder.count));
        EXPECT_EQ(CountingBytes(count, 0x80), BytesAt(read->colorantOrder.order, count));
    }
}

TEST(ColorantOrderTag, CountsPastTheBodyAreRefused) {
    const HostScope host;
    for (const uint32_t count : {6U, 0x05000000U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFF4U, 0xFFFFFFFFU}) {
        ReadBody read(TypedBody("clro", BigLongs({count}) + CountingBytes(5)));
        EXPECT_EQ(ERR_INVALID_PARAMETER, read.Result()) << count;
        EXPECT_EQ(nullptr, Value(read->colorantOrder.order));
    }
    EXPECT_LE(host->LargestRequestSinceReset(), 256U);
}

// --- clrt -----------------------------------------------------------------------------------------------------------

Bytes ColorantImage(uint32_t count) {
    Bytes image;
    for (uint32_t i = 0; i < count; ++i) {
        image = image + CountingBytes(32, static_cast<uint8_t>(i + 1)) +
                BigWords({static_cast<uint16_t>(0x0102 + i), 0xFF00, 0x8001});
    }
    return image;
}

std::vector<ClrIccColorantEntry> Colorants(uint32_t count) {
    std::vector<ClrIccColorantEntry> entries(count);
    for (uint32_t i = 0; i < count; ++i) {
        const Bytes name = CountingBytes(32, static_cast<uint8_t>(i + 1));
        std::memcpy(entries[i].name, name.data(), 32);
        entries[i].pcs[0] = static_cast<uint16_t>(0x0102 + i);
        entries[i].pcs[1] = 0xFF00;
        entries[i].pcs[2] = 0x8001;
    }
    return entries;
}

ClrIccTagColorantTable TableRecord(ClrIccColorantEntry* entries, uint32_t count) {
    auto record = DirtyRecord<ClrIccTagColorantTable>();
    record.count = count;
    record.entries = entries;
    return record;
}

TEST(ColorantTableTag, ValuesAreSwappedAndNamesAreNot) {
    const HostScope host;
    for (uint32_t count = 0; count <= 5; ++count) {
        TagArrays arrays;
        ClrIccTagColorantTable record = TableRecord(arrays.Put(Colorants(count)), count);
        const Bytes body = TypedBody("clrt", BigLongs({count}) + ColorantImage(count));
        ASSERT_EQ(12 + 38 * count, body.size());
        ExpectSet(&record, "clrt", body, true);
    }
}

TEST(ColorantTableTag, ImageFormHasABigEndianCountAndTheEntriesOfTheBody) {
    const HostScope host;
    TagArrays arrays;
    ClrIccTagColorantTable record = TableRecord(arrays.Put(Colorants(2)), 2);
    auto made = DirtyRecord<ClrIccTagColorantTable>();
    ASSERT_EQ(CLR_SUCCESS, Zv_CreateICCTagData(&made, &record, FourCc("clrt")));
    EXPECT_EQ(TypedBody("clrt", {0, 0, 0, 2}), BytesAt(&made, 12));
    EXPECT_EQ(ColorantImage(2), BytesAt(made.entries, 76));
    Zv_FreeICCTagType(&made, FourCc("clrt"));
    EXPECT_EQ(nullptr, Value(made.entries));
    Zv_FreeICCTagType(&made, FourCc("clrt"));
}

TEST(ColorantTableTag, IsRead) {
    const HostScope host;
    for (uint32_t count = 0; count <= 3; ++count) {
        ReadBody read(TypedBody("clrt", BigLongs({count}) + ColorantImage(3)));
        ASSERT_EQ(CLR_SUCCESS, read.Result());
        ASSERT_EQ(count, Value(read->colorantTable.count));
        const std::vector<ClrIccColorantEntry> expected = Colorants(count);
        EXPECT_EQ(BytesAt(expected.data(), 38 * count), BytesAt(read->colorantTable.entries, 38 * count));
    }
}

TEST(ColorantTableTag, CountsPastTheBodyAreRefused) {
    const HostScope host;
    // 0x6BCA1AF entries have just below 2^32 bytes, and one more has just above.
    for (const uint32_t count : {4U, 0x6BCA1AFU, 0x6BCA1B0U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        ReadBody read(TypedBody("clrt", BigLongs({count}) + ColorantImage(3)));
        EXPECT_EQ(ERR_INVALID_PARAMETER, read.Result()) << count;
        EXPECT_EQ(nullptr, Value(read->colorantTable.entries));
    }
    EXPECT_LE(host->LargestRequestSinceReset(), 256U);
}

TEST(ColorantTags, ArraysThatCannotBeReadAreRefused) {
    const HostScope host;
    TagArrays arrays;
    uint8_t* order = arrays.Put(CountingBytes(4));
    ClrIccColorantEntry* entries = arrays.Put(Colorants(4));
    for (const uint32_t count : {5U, 0x80000000U, 0xFFFFFFFFU}) {
        ClrIccTagColorantOrder orderRecord = OrderRecord(order, count);
        ExpectRefused(&orderRecord, "clro");
        orderRecord.order = nullptr;
        ExpectRefused(&orderRecord, "clro");
        ClrIccTagColorantTable tableRecord = TableRecord(entries, count);
        ExpectRefused(&tableRecord, "clrt");
        tableRecord.entries = nullptr;
        ExpectRefused(&tableRecord, "clrt");
    }
}

}  // namespace
}  // namespace zv::test
