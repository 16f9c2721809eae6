// "text" and "data".
#include "tests/Common/IccProfile/tag_fixture.h"

namespace zv::test {
namespace {

ClrIccTagText TextRecord(void* text) {
    auto record = DirtyRecord<ClrIccTagText>();
    record.text = static_cast<char*>(text);
    return record;
}

/// 16-bit units that are not zero; their bytes may be.
Bytes Units(size_t count) {
    Bytes units;
    for (size_t i = 0; i < count; ++i) {
        const bool lowIsZero = i % 3 == 1;
        units.push_back(lowIsZero ? 0 : static_cast<uint8_t>(1 + i % 255));
        units.push_back(lowIsZero ? static_cast<uint8_t>(1 + i % 255) : static_cast<uint8_t>(i % 2));
    }
    return units;
}

/// The first bytes of a text, as many as it has units and one more.
Bytes StoredText(const Bytes& unitsWithEnd) {
    const size_t units = unitsWithEnd.size() / 2 - 1;
    return TypedBody("text",
                     Bytes(unitsWithEnd.begin(), unitsWithEnd.begin() + static_cast<std::ptrdiff_t>(units + 1)));
}

// --- text -----------------------------------------------------------------------------------------------------------

TEST(TextTag, UnitsAreCountedAndBytesAreStored) {
    const HostScope host;
    for (size_t count = 0; count <= 20; ++count) {
        TagArrays arrays;
        const Bytes text = Units(count) + Bytes{0, 0};
        ClrIccTagText record = TextRecord(arrays.PutBytes(text));
        const Bytes body = StoredText(text);
        ASSERT_EQ(9 + count, body.size());
        ExpectSet(&record, "text", body, true);
    }
}

TEST(TextTag, AsciiNeedsAsManyBytesBehindItsEnd) {
    const HostScope host;
    TagArrays arrays;
    ClrIccTagText record = TextRecord(arrays.PutBytes({'a', 'b', 'c', 0, 'x', 'x', 0, 0}));
    ExpectSet(&record, "text", {'t', 'e', 'x', 't', 0, 0, 0, 0, 'a', 'b', 'c', 0}, true);
}

TEST(TextTag, WideTextLosesItsSecondHalf) {
    const HostScope host;
    TagArrays arrays;
    ClrIccTagText record = TextRecord(arrays.Put<uint16_t>({'h', 'e', 'l', 'l', 'o', 0}));
    ExpectSet(&record, "text", {'t', 'e', 'x', 't', 0, 0, 0, 0, 'h', 0, 'e', 0, 'l', 0}, true);
}

TEST(TextTag, EmptyTextIsOneByte) {
    const HostScope host;
    TagArrays arrays;
    ClrIccTagText record = TextRecord(arrays.PutBytes({0, 0}));
    ExpectSet(&record, "text", {'t', 'e', 'x', 't', 0, 0, 0, 0, 0}, true);
}

TEST(TextTag, OneZeroByteEndsNothing) {
    const HostScope host;
    TagArrays arrays;
    // A zero at an odd place with a zero behind it is not a unit.
    ClrIccTagText record = TextRecord(arrays.PutBytes({'a', 0, 0, 'b', 'c', 'd', 0, 0}));
    ExpectSet(&record, "text", TypedBody("text", {'a', 0, 0, 'b'}), true);
}

TEST(TextTag, TextsAcrossPagesAreCounted) {
    const HostScope host;
    const size_t page = GuardedBuffer::PageSize();
    for (const size_t units : {255UL, 256UL, 257UL, 511UL, 512UL, 513UL, 2047UL, 2048UL, 2049UL, 5000UL}) {
        for (size_t before = 0; before <= 3; ++before) {
            // The text begins some bytes before the end of the first page, even and odd.
            GuardedBuffer memory(4 * page, GuardedBuffer::Side::kFront, 0x77);
            uint8_t* begin = memory.Data() + page - before - (units % 2 == 0 ? 0 : 500);
            const Bytes text = Units(units) + Bytes{0, 0};
            std::memcpy(begin, text.data(), text.size());
            ClrIccTagText record = TextRecord(begin);
            EXPECT_EQ(StoredText(text), SetBodyOf(&record, "text")) << units << " " << before;
        }
    }
}

TEST(TextTag, TextsWithoutAnEndAreRefused) {
    const HostScope host;
    for (const size_t size : {1UL, 2UL, 3UL, 511UL, 512UL, 513UL, 1024UL, 4095UL, 4096UL, 4097UL, 10000UL}) {
        GuardedBuffer memory(size, GuardedBuffer::Side::kBack, 'x');
        ClrIccTagText record = TextRecord(memory.Data());
        ExpectRefused(&record, "text");
        memory.Data()[size - 1] = 0;  // half an end
        ExpectRefused(&record, "text");
        if (size >= 3 && size % 2 == 1) {
            memory.Data()[size - 2] = 0;  // two zeros that are not one unit
            ExpectRefused(&record, "text");
        }
    }
}

TEST(TextTag, NullAndUnreadableTextsAreRefused) {
    const HostScope host;
    ClrIccTagText record = TextRecord(nullptr);
    ExpectRefused(&record, "text");
    GuardedBuffer memory(2, GuardedBuffer::Side::kBack, 0);
    record = TextRecord(memory.Data() + 1);
    ExpectRefused(&record, "text");
    memory.MakeUnreadable();
    record = TextRecord(memory.Data());
    ExpectRefused(&record, "text");
}

TEST(TextTag, ImageFormHoldsTheText) {
    const HostScope host;
    TagArrays arrays;
    const Bytes text = {'a', 'b', 'c', 0, 'x', 'x', 0, 0};
    ClrIccTagText record = TextRecord(arrays.PutBytes(text));
    auto made = DirtyRecord<ClrIccTagText>();
    ASSERT_EQ(CLR_SUCCESS, Zv_CreateICCTagData(&made, &record, FourCc("text")));
    EXPECT_EQ(TypedBody("text"), BytesAt(&made, 8));
    EXPECT_EQ((Bytes{'a', 'b', 'c', 0}), BytesAt(made.text, 4));
    Zv_FreeICCTagType(&made, FourCc("text"));
    EXPECT_EQ(nullptr, Value(made.text));
    Zv_FreeICCTagType(&made, FourCc("text"));
}

TEST(TextTag, ReadsAllBytesOfTheBody) {
    const HostScope host;
    for (size_t size = 0; size <= 17; ++size) {
        const Bytes text = CountingBytes(size, 0xF8);
        ReadBody read(TypedBody("text", text));
        ASSERT_EQ(CLR_SUCCESS, read.Result());
        EXPECT_EQ(FourCc("text"), Value(read->typeSig));
        ASSERT_NE(nullptr, Value(read->text.text));
        // Followed by the end that the maker looks for.
        EXPECT_EQ(text + Bytes(2, 0), BytesAt(read->text.text, size + 2));
    }
}

TEST(TextTag, ReadTextsCanBeSet) {
    const HostScope host;
    ReadBody even(TypedBody("text", Letters("abc", 4)));
    // "ab", then "c" and the zero behind it, then the end: two units, three bytes.
    EXPECT_EQ(TypedBody("text", Letters("abc")), SetBodyOf(even.Record(), "text"));
    ReadBody odd(TypedBody("text", Letters("abcd", 5)));
    EXPECT_EQ(TypedBody("text", Letters("abc")), SetBodyOf(odd.Record(), "text"));
    ReadBody empty(TypedBody("text"));
    EXPECT_EQ(TypedBody("text", {0}), SetBodyOf(empty.Record(), "text"));
}

// --- data -----------------------------------------------------------------------------------------------------------

ClrIccTagData DataRecord(uint32_t flag, void* bytes, uint32_t count) {
    auto record = DirtyRecord<ClrIccTagData>();
    record.dataFlag = flag;
    record.bytes = static_cast<uint8_t*>(bytes);
    record.byteCount = count;
    return record;
}

TEST(DataTag, BinaryIsStoredAsItIs) {
    const HostScope host;
    for (uint32_t count = 0; count <= 9; ++count) {
        TagArrays arrays;
        const Bytes bytes = CountingBytes(count, 0xFC);
        ClrIccTagData record = DataRecord(1, arrays.PutBytes(bytes), count);
        ExpectSet(&record, "data", TypedBody("data", BigLongs({1}) + bytes), true);
    }
}

TEST(DataTag, AsciiTakesTwoBytesMore) {
    const HostScope host;
    for (uint32_t count = 0; count <= 13; ++count) {
        TagArrays arrays;
        const Bytes bytes = CountingBytes(count, 'A');
        ClrIccTagData record = DataRecord(0, arrays.PutBytes(bytes), count);
        ExpectSet(&record, "data", TypedBody("data", BigLongs({0}) + bytes + Bytes{0, 0}), true);
    }
}

TEST(DataTag, TenAsciiBytesAreABodyOfTwentyFourWithoutPadding) {
    const HostScope host;
    TagArrays arrays;
    ClrIccTagData record = DataRecord(0, arrays.PutBytes(Letters("0123456789")), 10);
    IccProfileHolder profile(IccProfileHolder::Start::kHeader);
    ASSERT_EQ(CLR_SUCCESS, SetTag(profile, &record, "targ", "data"));
    EXPECT_EQ(24U, IccTableOf(profile)[0].size);
    EXPECT_EQ(24U, Value(profile->tagDataSize));
    EXPECT_EQ(168U, Value(profile->header->size));
}

TEST(DataTag, EmptyOnesNeedNoBytes) {
    const HostScope host;
    ClrIccTagData record = DataRecord(1, nullptr, 0);
    ExpectSet(&record, "data", TypedBody("data", BigLongs({1})), true);
    record = DataRecord(0, nullptr, 0);
    ExpectSet(&record, "data", TypedBody("data", BigLongs({0}) + Bytes{0, 0}), true);
}

TEST(DataTag, OtherFlagsAreRefused) {
    const HostScope host;
    TagArrays arrays;
    void* bytes = arrays.PutBytes(CountingBytes(4));
    for (const uint32_t flag : {2U, 3U, 0x100U, 0x10000U, 0x01000000U, 0x80000000U, 0xFFFFFFFFU}) {
        ClrIccTagData record = DataRecord(flag, bytes, 4);
        ExpectRefused(&record, "data");
    }
}

TEST(DataTag, BytesThatCannotBeReadAreRefused) {
    const HostScope host;
    TagArrays arrays;
    void* bytes = arrays.PutBytes(CountingBytes(4));
    for (const uint32_t flag : {0U, 1U}) {
        for (const uint32_t count : {5U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFF0U, 0xFFFFFFFEU, 0xFFFFFFFFU}) {
            ClrIccTagData record = DataRecord(flag, bytes, count);
            ExpectRefused(&record, "data");
        }
        ClrIccTagData record = DataRecord(flag, nullptr, 1);
        ExpectRefused(&record, "data");
    }
    EXPECT_LE(host->LargestRequestSinceReset(), 128U);
}

TEST(DataTag, ImageFormCountsTheAddedByte) {
    const HostScope host;
    TagArrays arrays;
    void* bytes = arrays.PutBytes(Letters("hello"));
    for (const uint32_t flag : {0U, 1U}) {
        ClrIccTagData record = DataRecord(flag, bytes, 5);
        auto made = DirtyRecord<ClrIccTagData>();
        ASSERT_EQ(CLR_SUCCESS, Zv_CreateICCTagData(&made, &record, FourCc("data")));
        EXPECT_EQ(TypedBody("data", BigLongs({flag})), BytesAt(&made, 12));
        EXPECT_EQ(flag == 0 ? 6U : 5U, Value(made.byteCount));
        EXPECT_EQ(Letters("hello", flag == 0 ? 6 : 5), BytesAt(made.bytes, made.byteCount));
        Zv_FreeICCTagType(&made, FourCc("data"));
        EXPECT_EQ(nullptr, Value(made.bytes));
        Zv_FreeICCTagType(&made, FourCc("data"));
    }
}

TEST(DataTag, ReadsWhatFollowsTheFlag) {
    const HostScope host;
    for (const uint32_t flag : {0U, 1U, 2U, 0x01000000U, 0xFFFFFFFFU}) {
        for (uint32_t size = 0; size <= 6; ++size) {
            const Bytes bytes = CountingBytes(size, 0xFD);
            ReadBody read(TypedBody("data", BigLongs({flag}) + bytes));
            ASSERT_EQ(CLR_SUCCESS, read.Result());
            EXPECT_EQ(flag, Value(read->data.dataFlag));
            EXPECT_EQ(size, Value(read->data.byteCount));
            EXPECT_EQ(bytes, BytesAt(read->data.bytes, size));
            EXPECT_TRUE(flag != 0 || read->data.bytes[size] == 0);
            if (flag > 1) ExpectRefused(read.Record(), "data");
        }
    }
}

TEST(DataTag, AsciiGrowsByTwoBytesInEveryRound) {
    const HostScope host;
    Bytes body = TypedBody("data", BigLongs({0}) + Letters("abc"));
    for (size_t round = 1; round <= 6; ++round) {
        ReadBody read(body);
        ASSERT_EQ(CLR_SUCCESS, read.Result());
        body = SetBodyOf(read.Record(), "data");
        EXPECT_EQ(TypedBody("data", BigLongs({0}) + Letters("abc", 3 + 2 * round)), body);
    }
}

TEST(DataTag, BinarySurvivesARound) {
    const HostScope host;
    const Bytes body = TypedBody("data", BigLongs({1}) + CountingBytes(21));
    ReadBody read(body);
    ASSERT_EQ(CLR_SUCCESS, read.Result());
    ExpectSet(read.Record(), "data", body, true);
}

}  // namespace
}  // namespace zv::test
