// "mluc".
#include <algorithm>

#include "tests/Common/IccProfile/tag_fixture.h"

namespace zv::test {
namespace {

struct Entry {
    uint16_t language;
    uint16_t country;
    uint32_t length;
    uint32_t offset;
};

constexpr uint16_t kEn = 0x656E;
constexpr uint16_t kUs = 0x5553;
constexpr uint16_t kDe = 0x6465;

std::vector<ClrIccMlucEntry> HostEntries(const std::vector<Entry>& entries) {
    std::vector<ClrIccMlucEntry> records;
    for (const Entry& entry : entries) records.push_back({entry.language, entry.country, entry.length, entry.offset});
    return records;
}

Bytes ImageEntries(const std::vector<Entry>& entries) {
    Bytes bytes;
    for (const Entry& entry : entries) {
        bytes = bytes + BigWords({entry.language, entry.country}) + BigLongs({entry.length, entry.offset});
    }
    return bytes;
}

Bytes ImageHead(uint32_t count, uint32_t size) { return TypedBody("mluc", BigLongs({count, size})); }

ClrIccTagMultiLocalized MlucRecord(uint32_t count, uint32_t size, ClrIccMlucEntry* records, void* text) {
    auto record = DirtyRecord<ClrIccTagMultiLocalized>();
    record.recordCount = count;
    record.recordSize = size;
    record.records = records;
    record.text = text;
    return record;
}

/// A record with its arrays between guard pages.
struct Localized {
    Localized(const std::vector<Entry>& entries, const Bytes& text, uint32_t recordSize = 12) {
        record = MlucRecord(static_cast<uint32_t>(entries.size()), recordSize, arrays.Put(HostEntries(entries)),
                            arrays.PutBytes(text));
    }
    TagArrays arrays;
    ClrIccTagMultiLocalized record;
};

// --- Setting --------------------------------------------------------------------------------------------------------

TEST(MlucTag, OneTextIsStoredBigEndian) {
    const HostScope host;
    Localized host1({{kEn, kUs, 6, 28}}, {0x48, 0, 0x69, 0, 0xAC, 0x20});
    const Bytes body = {'m', 'l', 'u', 'c', 0, 0, 0, 0, 0, 0, 0,  1, 0,    0, 0,    12,   'e',
                        'n', 'U', 'S', 0,   0, 0, 6, 0, 0, 0, 28, 0, 0x48, 0, 0x69, 0x20, 0xAC};
    ExpectSet(&host1.record, "mluc", body, true);
}

TEST(MlucTag, TextsOfEveryLengthHaveTheSizeOfTheirBytes) {
    const HostScope host;
    for (uint32_t units = 0; units <= 9; ++units) {
        Bytes text;
        Bytes image;
        for (uint32_t i = 0; i < units; ++i) {
            text = text + Bytes{static_cast<uint8_t>(i), static_cast<uint8_t>(0xF0 + i)};
            image = image + Bytes{static_cast<uint8_t>(0xF0 + i), static_cast<uint8_t>(i)};
        }
        const std::vector<Entry> entries = {{kEn, kUs, 2 * units, 28}};
        Localized host1(entries, text);
        ExpectSet(&host1.record, "mluc", ImageHead(1, 12) + ImageEntries(entries) + image, true);
    }
}

TEST(MlucTag, TextsOfAllLanguagesAreStoredTogether) {
    const HostScope host;
    // Lengths and offsets are not checked against each other.
    const std::vector<Entry> entries = {{kEn, kUs, 4, 52}, {kDe, 0x4445, 2, 0xFFFFFFF0}, {0, 0xFFFF, 0, 7}};
    Localized host3(entries, {1, 2, 3, 4, 5, 6});
    ExpectSet(&host3.record, "mluc", ImageHead(3, 12) + ImageEntries(entries) + Bytes{2, 1, 4, 3, 6, 5}, true);
}

TEST(MlucTag, LastByteOfAnOddSumIsZero) {
    const HostScope host;
    const std::vector<Entry> entries = {{kEn, kUs, 2, 40}, {kDe, 0, 3, 42}};
    Localized host2(entries, {1, 2, 3, 4, 5});
    ExpectSet(&host2.record, "mluc", ImageHead(2, 12) + ImageEntries(entries) + Bytes{2, 1, 4, 3, 0}, true);
}

TEST(MlucTag, NoRecordsMakeSixteenBytes) {
    const HostScope host;
    for (const uint32_t size : {0U, 12U, 13U, 99U, 0x01020304U, 0xFFFFFFFFU}) {
        ClrIccTagMultiLocalized record = MlucRecord(0, size, nullptr, nullptr);
        ExpectSet(&record, "mluc", ImageHead(0, size), true);
    }
}

TEST(MlucTag, NoRecordsLeaveArraysAlone) {
    const HostScope host;
    GuardedBuffer unreadable(1);
    unreadable.MakeUnreadable();
    void* anywhere = unreadable.Data();
    ClrIccTagMultiLocalized record = MlucRecord(0, 12, static_cast<ClrIccMlucEntry*>(anywhere), anywhere);
    ExpectSet(&record, "mluc", ImageHead(0, 12), true);
    auto made = DirtyRecord<ClrIccTagMultiLocalized>();
    ASSERT_EQ(CLR_SUCCESS, Zv_CreateICCTagData(&made, &record, FourCc("mluc")));
    EXPECT_EQ(nullptr, Value(made.records));
    EXPECT_EQ(nullptr, Value(made.text));
    Zv_FreeICCTagType(&made, FourCc("mluc"));
}

TEST(MlucTag, RecordSizeCountsForTheBodyOnly) {
    const HostScope host;
    const std::vector<Entry> entries = {{kEn, kUs, 4, 40}, {kDe, 0, 2, 44}};
    const Bytes copied = ImageEntries(entries) + Bytes{2, 1, 4, 3, 6, 5};
    // Entries are stored in steps of 12 bytes all the same: bytes are added behind the texts.
    for (const uint32_t size : {13U, 14U, 15U, 16U, 64U}) {
        Localized host2(entries, {1, 2, 3, 4, 5, 6}, size);
        ExpectSet(&host2.record, "mluc", ImageHead(2, size) + copied + Bytes(2 * (size - 12), 0), true);
    }
}

TEST(MlucTag, SmallRecordSizesCutTheTextOff) {
    const HostScope host;
    const std::vector<Entry> entries = {{kEn, kUs, 4, 40}, {kDe, 0, 2, 44}};
    const Bytes all = ImageEntries(entries) + Bytes{2, 1, 4, 3, 6, 5};
    for (const uint32_t size : {11U, 10U, 9U, 6U, 3U, 1U}) {
        SCOPED_TRACE(size);
        Localized host2(entries, {1, 2, 3, 4, 5, 6}, size);
        IccProfileHolder profile(IccProfileHolder::Start::kHeader);
        ASSERT_EQ(CLR_SUCCESS, SetTag(profile, &host2.record, "targ", "mluc"));
        const size_t bodySize = 16 + 2 * size + 6;
        EXPECT_EQ(bodySize, IccTableOf(profile)[0].size);
        Bytes body = ImageHead(2, size) + all;
        body.resize(bodySize);
        EXPECT_EQ(body + Bytes(PaddingOf(body, true), 0), IccTagDataOf(profile)) << "padding is zero";
    }
}

TEST(MlucTag, RecordSizeZeroMakesSixteenBytes) {
    const HostScope host;
    Localized host1({{kEn, kUs, 4, 28}}, {1, 2, 3, 4}, 0);
    ExpectSet(&host1.record, "mluc", ImageHead(1, 0), true);
    ClrIccTagMultiLocalized both = MlucRecord(0, 0, nullptr, nullptr);
    ExpectSet(&both, "mluc", ImageHead(0, 0), true);
}

TEST(MlucTag, BodiesBeyondThirtyTwoBitsAreRefused) {
    const HostScope host;
    for (const uint32_t size : {0xFFFFFFFFU, 0xFFFFFFECU, 0x80000000U}) {
        const std::vector<Entry> entries = {{kEn, kUs, 4, 40}, {kDe, 0, 2, 44}};
        Localized host2(entries, {1, 2, 3, 4, 5, 6}, size);
        IccProfileHolder profile(IccProfileHolder::Start::kHeader);
        EXPECT_EQ(ERR_INVALID_PARAMETER, SetTag(profile, &host2.record, "targ", "mluc"));
        EXPECT_EQ(0, Value(profile->tagCount));
        EXPECT_LE(host->LargestRequestSinceReset(), 128U);
    }
}

TEST(MlucTag, NullArraysAreRefused) {
    const HostScope host;
    TagArrays arrays;
    ClrIccMlucEntry* records = arrays.Put(HostEntries({{kEn, kUs, 0, 28}}));
    uint16_t text = 0;
    ClrIccTagMultiLocalized record = MlucRecord(1, 12, nullptr, &text);
    ExpectRefused(&record, "mluc");
    record = MlucRecord(1, 12, records, nullptr);
    ExpectRefused(&record, "mluc");
    record = MlucRecord(1, 12, nullptr, nullptr);
    ExpectRefused(&record, "mluc");
    record = MlucRecord(1, 12, records, &text);
    ExpectSet(&record, "mluc", ImageHead(1, 12) + ImageEntries({{kEn, kUs, 0, 28}}), true);
}

TEST(MlucTag, ArraysThatCannotBeReadAreRefused) {
    const HostScope host;
    TagArrays arrays;
    ClrIccMlucEntry* records = arrays.Put(HostEntries({{kEn, kUs, 4, 40}, {kDe, 0, 4, 44}}));
    void* text = arrays.PutBytes(CountingBytes(7));
    for (const uint32_t count : {3U, 0x15555556U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        ClrIccTagMultiLocalized record = MlucRecord(count, 12, records, text);
        ExpectRefused(&record, "mluc");
    }
    ClrIccTagMultiLocalized record = MlucRecord(2, 12, records, text);
    ExpectRefused(&record, "mluc");
    for (const uint32_t length : {8U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFCU, 0xFFFFFFFFU}) {
        records[0].length = length;
        ExpectRefused(&record, "mluc");
        records[1].length = length;  // the sum passes 32 bits
        ExpectRefused(&record, "mluc");
        records[1].length = 4;
    }
    EXPECT_LE(host->LargestRequestSinceReset(), 128U);
}

TEST(MlucTag, ImageFormIsBigEndianThroughout) {
    const HostScope host;
    const std::vector<Entry> entries = {{kEn, kUs, 4, 40}, {kDe, 0x4445, 2, 44}};
    Localized host2(entries, {1, 2, 3, 4, 5, 6});
    auto made = DirtyRecord<ClrIccTagMultiLocalized>();
    ASSERT_EQ(CLR_SUCCESS, Zv_CreateICCTagData(&made, &host2.record, FourCc("mluc")));
    EXPECT_EQ(ImageHead(2, 12), BytesAt(&made, 16));
    EXPECT_EQ(ImageEntries(entries), BytesAt(made.records, 24));
    EXPECT_EQ((Bytes{2, 1, 4, 3, 6, 5}), BytesAt(made.text, 6));
    Zv_FreeICCTagType(&made, FourCc("mluc"));
    EXPECT_EQ(nullptr, Value(made.records));
    EXPECT_EQ(nullptr, Value(made.text));
    Zv_FreeICCTagType(&made, FourCc("mluc"));
}

TEST(MlucTag, IsNoTagUnderTheSignatureOfAnElement) {
    const HostScope host;
    Localized host1({{kEn, kUs, 4, 28}}, {1, 2, 3, 4});
    IccProfileHolder profile(IccProfileHolder::Start::kHeader);
    EXPECT_EQ(ERR_INVALID_PARAMETER, SetTag(profile, &host1.record, "pseq", "mluc"));
    EXPECT_EQ(0, Value(profile->tagCount));
    EXPECT_EQ(CLR_SUCCESS, SetTag(profile, &host1.record, "desc", "mluc"));
}

// --- Reading --------------------------------------------------------------------------------------------------------

void ExpectEntries(const std::vector<Entry>& expected, const ClrIccTagMultiLocalized& record) {
    ASSERT_EQ(expected.size(), Value(record.recordCount));
    ASSERT_NE(nullptr, Value(record.records));
    for (size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(expected[i].language, Value(record.records[i].language)) << i;
        EXPECT_EQ(expected[i].country, Value(record.records[i].country)) << i;
        EXPECT_EQ(expected[i].length, Value(record.records[i].length)) << i;
        EXPECT_EQ(expected[i].offset, Value(record.records[i].offset)) << i;
    }
}

TEST(MlucTag, ReadTextStaysBigEndian) {
    const HostScope host;
    const std::vector<Entry> entries = {{kEn, kUs, 4, 28}};
    ReadBody read(ImageHead(1, 12) + ImageEntries(entries) + Bytes{0, 'H', 0, 'i'});
    ASSERT_EQ(CLR_SUCCESS, read.Result());
    EXPECT_EQ(FourCc("mluc"), Value(read->typeSig));
    EXPECT_EQ(12U, Value(read->multiLocalized.recordSize));
    ExpectEntries(entries, read->multiLocalized);
    EXPECT_EQ((Bytes{0, 'H', 0, 'i'}), BytesAt(read->multiLocalized.text, 4));
}

TEST(MlucTag, ReadTextIsSetSwapped) {
    const HostScope host;
    const Bytes front = ImageHead(1, 12) + ImageEntries({{kEn, kUs, 4, 28}});
    ReadBody read(front + Bytes{0, 'H', 0, 'i'});
    ASSERT_EQ(CLR_SUCCESS, read.Result());
    EXPECT_EQ(front + (Bytes{'H', 0, 'i', 0}), SetBodyOf(read.Record(), "mluc"));
}

TEST(MlucTag, NoRecordsLeaveNullPointers) {
    const HostScope host;
    for (const uint32_t size : {0U, 12U, 0xFFFFFFFFU}) {
        ReadBody read(ImageHead(0, size) + CountingBytes(20));
        ASSERT_EQ(CLR_SUCCESS, read.Result());
        EXPECT_EQ(0U, Value(read->multiLocalized.recordCount));
        EXPECT_EQ(size, Value(read->multiLocalized.recordSize));
        EXPECT_EQ(nullptr, Value(read->multiLocalized.records));
        EXPECT_EQ(nullptr, Value(read->multiLocalized.text));
    }
}

TEST(MlucTag, AllLengthsAreReadFromTheTextOfTheLastEntryOn) {
    const HostScope host;
    const std::vector<Entry> entries = {{kEn, kUs, 4, 52}, {kDe, 0, 2, 56}, {0x6672, 0, 6, 58}};
    const Bytes texts = CountingBytes(12);
    const Bytes behind = CountingBytes(6, 0xE0);
    ReadBody read(ImageHead(3, 12) + ImageEntries(entries) + texts + behind);
    ASSERT_EQ(CLR_SUCCESS, read.Result());
    ExpectEntries(entries, read->multiLocalized);
    // Not from the first text: it is passed over, and as many bytes are taken from behind the last.
    const Bytes expected = Bytes(texts.begin() + 6, texts.end()) + behind;
    EXPECT_EQ(expected, BytesAt(read->multiLocalized.text, 12));
}

TEST(MlucTag, TextsThatRunPastTheBodyAreRefused) {
    const HostScope host;
    // The usual order of texts, with nothing behind them.
    ReadBody read(ImageHead(2, 12) + ImageEntries({{kEn, kUs, 4, 40}, {kDe, 0, 2, 44}}) + CountingBytes(6));
    EXPECT_EQ(ERR_INVALID_PARAMETER, read.Result());
    // The last entry's text first: all of them are there.
    ReadBody reversed(ImageHead(2, 12) + ImageEntries({{kEn, kUs, 4, 42}, {kDe, 0, 2, 40}}) + CountingBytes(6));
    EXPECT_EQ(CLR_SUCCESS, reversed.Result());
    EXPECT_EQ(CountingBytes(6), BytesAt(reversed->multiLocalized.text, 6));
}

TEST(MlucTag, EntriesAreReadInStepsOfTwelveBytes) {
    const HostScope host;
    const std::vector<Entry> entries = {{kEn, kUs, 2, 42}, {kDe, 0, 2, 40}};
    for (const uint32_t size : {0U, 1U, 13U, 24U, 0x0C000000U, 0xFFFFFFFFU}) {
        ReadBody read(ImageHead(2, size) + ImageEntries(entries) + CountingBytes(4));
        ASSERT_EQ(CLR_SUCCESS, read.Result());
        EXPECT_EQ(size, Value(read->multiLocalized.recordSize));
        ExpectEntries(entries, read->multiLocalized);
        EXPECT_EQ(CountingBytes(4), BytesAt(read->multiLocalized.text, 4));
    }
}

TEST(MlucTag, OffsetsMayPointAnywhereInTheBody) {
    const HostScope host;
    for (uint32_t offset = 0; offset <= 40; ++offset) {
        const Bytes body = ImageHead(1, 12) + ImageEntries({{kEn, kUs, 8, offset}}) + CountingBytes(12);
        ASSERT_EQ(40U, body.size());
        ReadBody read(body);
        if (offset > 32) {
            EXPECT_EQ(ERR_INVALID_PARAMETER, read.Result()) << offset;
            continue;
        }
        ASSERT_EQ(CLR_SUCCESS, read.Result()) << offset;
        EXPECT_EQ(BytesAt(body.data() + offset, 8), BytesAt(read->multiLocalized.text, 8));
    }
}

TEST(MlucTag, CountsAndLengthsPastTheBodyAreRefused) {
    const HostScope host;
    const Bytes text = CountingBytes(8);
    for (const uint32_t value : {9U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFE4U, 0xFFFFFFF8U, 0xFFFFFFFFU}) {
        ReadBody count(ImageHead(value, 12) + ImageEntries({{kEn, kUs, 8, 28}}) + text);
        EXPECT_EQ(ERR_INVALID_PARAMETER, count.Result());
        ReadBody length(ImageHead(1, 12) + ImageEntries({{kEn, kUs, value, 28}}) + text);
        EXPECT_EQ(ERR_INVALID_PARAMETER, length.Result());
        const uint32_t start = std::max(value, 29U);
        ReadBody offset(ImageHead(1, 12) + ImageEntries({{kEn, kUs, 8, start}}) + text);
        EXPECT_EQ(ERR_INVALID_PARAMETER, offset.Result());
        // A sum of lengths that comes out small in 32 bits.
        ReadBody sum(ImageHead(2, 12) + ImageEntries({{kEn, kUs, value, 40}, {kDe, 0, 0U - value, 40}}) + text);
        EXPECT_EQ(ERR_INVALID_PARAMETER, sum.Result());
    }
    EXPECT_LE(host->LargestRequestSinceReset(), 256U);
}

// --- Sizes ----------------------------------------------------------------------------------------------------------

TEST(IccMlucSize, CountsRecordsCountsAndTexts) {
    const HostScope host;
    EXPECT_EQ(0U, IccMlucSize(nullptr));
    TagArrays arrays;
    ClrIccMlucEntry* records = arrays.Put(HostEntries({{kEn, kUs, 10, 40}, {kDe, 0, 3, 50}}));
    ClrIccTagMultiLocalized record = MlucRecord(2, 12, records, nullptr);
    record.typeSig = FourCc("mluc");
    EXPECT_EQ(12U * 2 + 8 + 13, IccMlucSize(&record));
    record.recordSize = 100;
    EXPECT_EQ(100U * 2 + 8 + 13, IccMlucSize(&record));
    record.recordSize = 0;
    EXPECT_EQ(8U, IccMlucSize(&record));
    record = MlucRecord(0, 12, nullptr, nullptr);
    record.typeSig = FourCc("mluc");
    EXPECT_EQ(8U, IccMlucSize(&record));
}

TEST(IccMlucSize, EveryOtherSignatureMeansBigEndianNumbers) {
    const HostScope host;
    TagArrays arrays;
    void* records = arrays.PutBytes(ImageEntries({{kEn, kUs, 10, 40}, {kDe, 0, 3, 50}}));
    Bytes head = ImageHead(2, 12);
    for (const uint32_t first : {GetBig32(head, 0), 0U, 0xFFFFFFFFU, FourCc("text"), FourCc("MLUC")}) {
        SetBig32(head, 0, first);
        auto record = DirtyRecord<ClrIccTagMultiLocalized>();
        std::memcpy(&record, head.data(), 16);
        record.records = static_cast<ClrIccMlucEntry*>(records);
        EXPECT_EQ(12U * 2 + 8 + 13, IccMlucSize(&record));
        record.recordSize = 0;
        EXPECT_EQ(8U, IccMlucSize(&record));
    }
}

}  // namespace
}  // namespace zv::test
