// "pseq".
#include <algorithm>
#include <random>

#include "tests/Common/IccProfile/tag_fixture.h"

namespace zv::test {
namespace {

// The records of texts that the maker takes stand one behind the other: entry i has the i-th as manufacturer's text and
// the next one as model's text.
constexpr size_t kEntrySize = 84;
constexpr size_t kTextsOffset = 20;
constexpr size_t kTextStep = 32;

Bytes Resized(Bytes bytes, size_t size) {
    bytes.resize(size, 0);
    return bytes;
}

/// A "mluc" element in image form.
struct Element {
    std::vector<uint32_t> lengths;  ///< of its entries
    Bytes text = {};
    uint32_t recordSize = 12;

    uint32_t Count() const { return static_cast<uint32_t>(lengths.size()); }
    Bytes Head() const { return TypedBody("mluc", BigLongs({Count(), recordSize})); }
    Bytes Entries() const {
        Bytes bytes;
        for (const uint32_t length : lengths) bytes = bytes + BigLongs({0x656E5553, length, 28});
        return bytes;
    }
    size_t TextSize() const {
        size_t sum = 0;
        for (const uint32_t length : lengths) sum += length;
        return sum;
    }
    /// Behind the 8 bytes of the head.
    size_t Size() const { return recordSize == 0 ? 8 : size_t{recordSize} * Count() + 8 + TextSize(); }
    size_t Step() const { return 8 + Size() + 4 - (8 + Size()) % 4; }
    /// As it is written: of a text of n bytes the first 2n - 16 are taken.
    Bytes Written() const {
        const size_t taken = TextSize() > 8 ? 2 * (TextSize() - 8) : 0;
        return Head() + Entries() + Resized(Resized(text, taken), TextSize());
    }
    /// As a standard profile has it, with padding.
    Bytes Plain() const {
        const Bytes bytes = Head() + Entries() + text;
        return Resized(bytes, (bytes.size() + 3) / 4 * 4);
    }
};

Element EmptyElement() { return {{}, {}, 12}; }
Element TextElement(uint32_t length, uint8_t first = 1) { return {{length}, CountingBytes(length, first), 12}; }

ClrIccTagMultiLocalized RecordOf(const Element& element, TagArrays* arrays) {
    ClrIccTagMultiLocalized record;
    const Bytes head = element.Head();
    std::memcpy(&record, head.data(), 16);
    // Of no use to an element without entries.
    record.records = reinterpret_cast<ClrIccMlucEntry*>(uintptr_t{0x10});
    record.text = reinterpret_cast<void*>(uintptr_t{0x10});
    if (element.Count() != 0) {
        void* entries = arrays->PutBytes(element.Entries());
        record.records = static_cast<ClrIccMlucEntry*>(entries);
        record.text = arrays->PutBytes(element.text);
    }
    return record;
}

const Bytes kAttributes = {0x81, 2, 3, 4, 5, 6, 7, 8};

ClrIccTagProfileSequence SequenceRecord(uint32_t count, void* entries) {
    auto record = DirtyRecord<ClrIccTagProfileSequence>();
    record.count = count;
    record.entries = static_cast<ClrIccProfileSeqEntry*>(entries);
    return record;
}

/// A sequence of n entries for n + 1 elements.
struct Sequence {
    explicit Sequence(const std::vector<Element>& elements, TagArrays::Place place = TagArrays::Place::kAtTheEnd)
        : arrays(place) {
        const size_t count = elements.size() - 1;
        Bytes memory(kEntrySize * count, 0xEE);
        const uint32_t numbers[] = {0x41424344, 0x01020304};
        const uint32_t technology = 0xFEDCBA98;
        std::memcpy(memory.data(), numbers, 8);
        std::copy(kAttributes.begin(), kAttributes.end(), memory.begin() + 8);
        std::memcpy(memory.data() + 16, &technology, 4);
        for (size_t i = 0; i < elements.size(); ++i) {
            const ClrIccTagMultiLocalized text = RecordOf(elements[i], &arrays);
            std::memcpy(memory.data() + kTextsOffset + kTextStep * i, &text, sizeof text);
        }
        record = SequenceRecord(static_cast<uint32_t>(count), arrays.PutBytes(memory));
    }

    TagArrays arrays;
    ClrIccTagProfileSequence record;
};

/// The first entry before its texts, big-endian but for the attributes.
Bytes Description() { return BigLongs({0x41424344, 0x01020304}) + kAttributes + BigLongs({0xFEDCBA98}); }

void Overwrite(Bytes* bytes, size_t place, const Bytes& with) {
    if (bytes->size() < place + with.size()) bytes->resize(place + with.size(), 0);
    std::copy(with.begin(), with.end(), bytes->begin() + static_cast<std::ptrdiff_t>(place));
}

size_t RoundUp4(size_t size) { return (size + 3) / 4 * 4; }

/// All entries one after the other, and as much of that as has the size of the last one.
Bytes WrittenBody(const std::vector<Element>& elements) {
    const size_t count = elements.size() - 1;
    Bytes body = TypedBody("pseq", BigLongs({static_cast<uint32_t>(count)}));
    size_t place = 12;
    for (size_t i = 0; i < count; ++i) {
        Overwrite(&body, place, Description());
        place += 20;
        for (const Element* element : {&elements[i], &elements[i + 1]}) {
            Overwrite(&body, place, element->Written());
            place += element->Step();
        }
    }
    const size_t size = RoundUp4(elements[count - 1].Size()) + RoundUp4(elements[count].Size()) + 36 + 4 + 8;
    return Resized(body, size);
}

// --- Setting --------------------------------------------------------------------------------------------------------

TEST(ProfileSequenceTag, OneEntryByBytes) {
    const HostScope host;
    Sequence sequence({{{10}, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10}}, EmptyElement()});
    const Bytes body = {
        'p',  's', 'e', 'q', 0, 0, 0, 0,  0,    0,    0,    1,                  // head and count
        'A',  'B', 'C', 'D', 1, 2, 3, 4,                                        // manufacturer and model
        0x81, 2,   3,   4,   5, 6, 7, 8,  0xFE, 0xDC, 0xBA, 0x98,               // attributes as they stand, technology
        'm',  'l', 'u', 'c', 0, 0, 0, 0,  0,    0,    0,    1,    0, 0, 0, 12,  // manufacturer's text
        'e',  'n', 'U', 'S', 0, 0, 0, 10, 0,    0,    0,    28,                 //
        1,    2,   3,   4,   0, 0, 0, 0,  0,    0,    0,    0,                  // 2 * 10 - 16 bytes of ten, and padding
        'm',  'l', 'u', 'c', 0, 0, 0, 0,  0,    0,    0,    0,    0, 0, 0, 12,  // model's text
    };
    ASSERT_EQ(12U + 20 + 40 + 16, body.size());
    ExpectSet(&sequence.record, "pseq", body, true);
}

TEST(ProfileSequenceTag, ElementsOfWholeWordsStandFourBytesFurtherOn) {
    const HostScope host;
    // 44 bytes are followed by 4 more, and the body has no room for these: the last bytes of the second are left out.
    Sequence sequence({TextElement(16), TextElement(16, 0x80)});
    IccProfileHolder profile(IccProfileHolder::Start::kHeader);
    ASSERT_EQ(CLR_SUCCESS, SetTag(profile, &sequence.record, "targ", "pseq"));
    const Bytes body = IccBodyOf(profile, "targ");
    ASSERT_EQ(12U + 20 + 44 + 44, body.size());
    const Bytes first = TextElement(16).Plain();
    const Bytes second = TextElement(16, 0x80).Plain();
    EXPECT_EQ(first, BytesAt(body.data() + 32, 44));
    EXPECT_EQ(Bytes(4, 0), BytesAt(body.data() + 76, 4));
    EXPECT_EQ(BytesAt(second.data(), 40), BytesAt(body.data() + 80, 40));
    ExpectSet(&sequence.record, "pseq", WrittenBody({TextElement(16), TextElement(16, 0x80)}), true);
}

TEST(ProfileSequenceTag, OfShortTextsTwiceTheLengthLessSixteenBytesAreTaken) {
    const HostScope host;
    for (uint32_t first = 0; first <= 16; ++first) {
        for (uint32_t second = 0; second <= 16; ++second) {
            SCOPED_TRACE(testing::Message() << first << " " << second);
            const std::vector<Element> elements = {TextElement(first), TextElement(second, 0x80)};
            Sequence sequence(elements);
            ExpectSet(&sequence.record, "pseq", WrittenBody(elements), true);
        }
    }
}

TEST(ProfileSequenceTag, LongerTextsAreRefused) {
    const HostScope host;
    for (const uint32_t length : {17U, 18U, 20U, 100U, 5000U}) {
        Sequence first({TextElement(length), EmptyElement()});
        ExpectRefused(&first.record, "pseq");
        Sequence second({EmptyElement(), TextElement(length)});
        ExpectRefused(&second.record, "pseq");
    }
}

TEST(ProfileSequenceTag, LengthsOfAllEntriesOfAnElementCountTogether) {
    const HostScope host;
    const std::vector<Element> elements = {{{4, 6, 2}, CountingBytes(12), 12}, {{8, 8}, CountingBytes(16, 0x40), 12}};
    Sequence sequence(elements);
    ExpectSet(&sequence.record, "pseq", WrittenBody(elements), true);
    Sequence tooLong({EmptyElement(), {{8, 9}, CountingBytes(17), 12}});
    ExpectRefused(&tooLong.record, "pseq");
}

TEST(ProfileSequenceTag, NoEntriesMakeTwelveBytes) {
    const HostScope host;
    uint8_t unused = 0;
    ClrIccTagProfileSequence record = SequenceRecord(0, &unused);
    ExpectSet(&record, "pseq", TypedBody("pseq", {0, 0, 0, 0}), true);
}

TEST(ProfileSequenceTag, TwoEntriesWriteTheFirstOnesDescriptionTwice) {
    const HostScope host;
    // A last element with large records makes the body long enough for both.
    const std::vector<Element> elements = {EmptyElement(), EmptyElement(), {{16}, CountingBytes(16), 200}};
    Sequence sequence(elements);
    const Bytes body = WrittenBody(elements);
    ASSERT_EQ(12U + 8 + 224 + 36, body.size());
    ExpectSet(&sequence.record, "pseq", body, true);
    const Bytes stored = SetBodyOf(&sequence.record, "pseq");
    EXPECT_EQ(Description(), BytesAt(stored.data() + 12, 20));
    EXPECT_EQ(Description(), BytesAt(stored.data() + 72, 20));
    // The second entry of the caller begins with what is read as its second element.
    EXPECT_EQ(0, std::memcmp("mluc", &sequence.record.entries[1], 4));
    EXPECT_EQ(elements[2].Written(), BytesAt(stored.data() + 112, 44));
}

TEST(ProfileSequenceTag, SecondDescriptionJustFits) {
    const HostScope host;
    const std::vector<Element> elements = {EmptyElement(), EmptyElement(), TextElement(16)};
    Sequence sequence(elements);
    const Bytes stored = SetBodyOf(&sequence.record, "pseq");
    ASSERT_EQ(92U, stored.size());
    EXPECT_EQ(Description(), BytesAt(stored.data() + 72, 20));
    EXPECT_EQ(WrittenBody(elements), stored);
}

TEST(ProfileSequenceTag, OnlyTheLastEntryCountsForTheSize) {
    const HostScope host;
    for (size_t count = 1; count <= 40; ++count) {
        // Sixty-four bytes for one entry and for forty; what does not fit is left out.
        const std::vector<Element> elements(count + 1, EmptyElement());
        Sequence sequence(elements);
        const Bytes body = WrittenBody(elements);
        ASSERT_EQ(64U, body.size());
        ExpectSet(&sequence.record, "pseq", body, true);
    }
    const std::vector<Element> elements = {TextElement(16), TextElement(12), TextElement(8), EmptyElement(),
                                           EmptyElement()};
    Sequence sequence(elements);
    ASSERT_EQ(64U, WrittenBody(elements).size());
    ExpectSet(&sequence.record, "pseq", WrittenBody(elements), true);
}

TEST(ProfileSequenceTag, WhatDoesNotFitLeavesTagsBehindAlone) {
    const HostScope host;
    Sequence sequence(std::vector<Element>(6, TextElement(16)));
    IccProfileHolder profile(IccProfileHolder::Start::kHeader);
    ASSERT_EQ(CLR_SUCCESS, SetTag(profile, &sequence.record, "targ", "pseq"));
    AddIccTag(profile, "wtpt", TypedBody("XYZ ", CountingBytes(12)));
    ASSERT_EQ(CLR_SUCCESS, SetTag(profile, &sequence.record, "pseq", "pseq"));
    EXPECT_EQ(TypedBody("XYZ ", CountingBytes(12)), IccBodyOf(profile, "wtpt"));
    EXPECT_EQ(IccBodyOf(profile, "targ"), IccBodyOf(profile, "pseq"));
}

TEST(ProfileSequenceTag, RandomSequencesMatchASecondWriting) {
    const HostScope host;
    std::mt19937 random(11);
    const auto below = [&](uint32_t bound) { return static_cast<uint32_t>(random() % bound); };
    for (int round = 0; round < 600; ++round) {
        std::vector<Element> elements;
        for (uint32_t i = 0, count = 2 + below(5); i < count; ++i) {
            Element element = EmptyElement();
            uint32_t left = below(17);
            for (uint32_t n = below(4); n > 0; --n) {
                const uint32_t length = n == 1 ? left : below(left + 1);
                element.lengths.push_back(length);
                left -= length;
            }
            element.text = CountingBytes(element.TextSize(), static_cast<uint8_t>(random()));
            const uint32_t sizes[] = {12, 12, 13, 15, 64, 300};
            element.recordSize = sizes[below(6)];
            elements.push_back(element);
        }
        Sequence sequence(elements);
        SCOPED_TRACE(round);
        ExpectSet(&sequence.record, "pseq", WrittenBody(elements), true);
    }
}

TEST(ProfileSequenceTag, SmallRecordSizesCutTheTextOff) {
    const HostScope host;
    for (const uint32_t size : {11U, 10U, 9U, 6U, 3U, 1U}) {
        SCOPED_TRACE(size);
        Element last = {{16}, CountingBytes(16), size};
        Sequence sequence({EmptyElement(), last});
        IccProfileHolder profile(IccProfileHolder::Start::kHeader);
        ASSERT_EQ(CLR_SUCCESS, SetTag(profile, &sequence.record, "targ", "pseq"));
        const Bytes body = WrittenBody({EmptyElement(), last});
        EXPECT_EQ(body, IccBodyOf(profile, "targ"));
        EXPECT_EQ(body + Bytes(PaddingOf(body, true), 0), IccTagDataOf(profile));
    }
}

TEST(ProfileSequenceTag, ImageFormHasBigEndianNumbersAndAttributesAsTheyAre) {
    const HostScope host;
    Sequence sequence({TextElement(16), EmptyElement()});
    auto made = DirtyRecord<ClrIccTagProfileSequence>();
    ASSERT_EQ(CLR_SUCCESS, Zv_CreateICCTagData(&made, &sequence.record, FourCc("pseq")));
    EXPECT_EQ(TypedBody("pseq", {0, 0, 0, 1}), BytesAt(&made, 12));
    EXPECT_EQ(Description(), BytesAt(made.entries, 20));
    const ClrIccTagMultiLocalized& text = made.entries[0].manufacturerText;
    EXPECT_EQ(TextElement(16).Head(), BytesAt(&text, 16));
    EXPECT_EQ(TextElement(16).Entries(), BytesAt(text.records, 12));
    EXPECT_EQ(CountingBytes(16), BytesAt(text.text, 16));
    EXPECT_EQ(EmptyElement().Head(), BytesAt(&made.entries[0].modelText, 16));
    EXPECT_EQ(nullptr, Value(made.entries[0].modelText.records));
    EXPECT_EQ(nullptr, Value(made.entries[0].modelText.text));
    Zv_FreeICCTagType(&made, FourCc("pseq"));
    EXPECT_EQ(nullptr, Value(made.entries));
    Zv_FreeICCTagType(&made, FourCc("pseq"));
}

// --- Refusals -------------------------------------------------------------------------------------------------------

TEST(ProfileSequenceTag, NullAndUnreadableEntriesAreRefused) {
    const HostScope host;
    for (const uint32_t count : {0U, 1U, 0xFFFFFFFFU}) {
        ClrIccTagProfileSequence record = SequenceRecord(count, nullptr);
        ExpectRefused(&record, "pseq");
    }
    Sequence sequence({EmptyElement(), EmptyElement()});
    for (const uint32_t count : {2U, 0x030C30C4U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        sequence.record.count = count;
        ExpectRefused(&sequence.record, "pseq");
    }
    sequence.record.count = 1;
    sequence.record.entries = static_cast<ClrIccProfileSeqEntry*>(
        static_cast<void*>(reinterpret_cast<uint8_t*>(Value(sequence.record.entries)) + 1));
    ExpectRefused(&sequence.record, "pseq");
    EXPECT_LE(host->LargestRequestSinceReset(), 128U);
}

TEST(ProfileSequenceTag, ArraysOfElementsThatAreNotThereAreRefused) {
    const HostScope host;
    for (size_t element = 0; element <= 1; ++element) {
        for (size_t array = 0; array <= 1; ++array) {
            for (const bool isNull : {false, true}) {
                Sequence sequence({TextElement(16), TextElement(16)});
                ClrIccProfileSeqEntry* entry = sequence.record.entries;
                ClrIccTagMultiLocalized* text = element == 0 ? &entry->manufacturerText : &entry->modelText;
                const auto move = [&](void* pointer) -> void* {
                    return isNull ? nullptr : static_cast<uint8_t*>(pointer) + 1;
                };
                if (array == 0) {
                    text->records = static_cast<ClrIccMlucEntry*>(move(text->records));
                } else {
                    text->text = move(text->text);
                }
                ExpectRefused(&sequence.record, "pseq");
            }
        }
    }
}

TEST(ProfileSequenceTag, CountsAndLengthsThatPassTheirArraysAreRefused) {
    const HostScope host;
    for (const uint32_t value : {2U, 0x15555556U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        Sequence sequence({TextElement(16), EmptyElement()});
        ClrIccTagMultiLocalized* text = &sequence.record.entries->manufacturerText;
        text->recordCount = IccSwap(value);
        ExpectRefused(&sequence.record, "pseq");
        text->recordCount = IccSwap(1U);
        Value(text->records)->length = IccSwap(std::max(value, 17U));
        ExpectRefused(&sequence.record, "pseq");
    }
}

TEST(ProfileSequenceTag, TextsInHostFormAreRefused) {
    const HostScope host;
    Sequence sequence({TextElement(16), EmptyElement()});
    ClrIccTagMultiLocalized* text = &sequence.record.entries->manufacturerText;
    text->typeSig = FourCc("mluc");
    ExpectRefused(&sequence.record, "pseq");
    text->recordCount = 1;
    text->recordSize = 12;
    ExpectRefused(&sequence.record, "pseq");
}

TEST(IccCopyMluc, CopiesHeadEntriesAndPartOfTheText) {
    const HostScope host;
    TagArrays arrays;
    Element element = {{8, 6}, CountingBytes(14), 77};
    ClrIccTagMultiLocalized source = RecordOf(element, &arrays);
    source.typeReserved[1] = 0x5A;
    auto copy = DirtyRecord<ClrIccTagMultiLocalized>();
    ASSERT_EQ(CLR_SUCCESS, IccCopyMluc(&copy, &source));
    EXPECT_EQ(BytesAt(&source, 16), BytesAt(&copy, 16));
    EXPECT_NE(Value(source.records), Value(copy.records));
    EXPECT_EQ(element.Entries(), BytesAt(copy.records, 24));
    EXPECT_EQ(Resized(CountingBytes(12), 14), BytesAt(copy.text, 14));
    Zv_FreeICCTagType(&copy, FourCc("mluc"));
}

TEST(IccCopyMluc, NoEntriesGiveNullPointers) {
    const HostScope host;
    TagArrays arrays;
    for (const uint32_t size : {0U, 12U, 0xFFFFFFFFU}) {
        for (const uint32_t signature : {FourCc("mluc"), IccSwap(FourCc("mluc")), 0U, 0xEEEEEEEEU}) {
            ClrIccTagMultiLocalized source = RecordOf({{}, {}, size}, &arrays);
            source.typeSig = signature;
            auto copy = DirtyRecord<ClrIccTagMultiLocalized>();
            ASSERT_EQ(CLR_SUCCESS, IccCopyMluc(&copy, &source));
            EXPECT_EQ(BytesAt(&source, 16), BytesAt(&copy, 16));
            EXPECT_EQ(nullptr, Value(copy.records));
            EXPECT_EQ(nullptr, Value(copy.text));
        }
    }
}

TEST(IccCopyMluc, RecordSizeZeroTakesNoText) {
    const HostScope host;
    TagArrays arrays;
    const Element element = {{16}, CountingBytes(16), 0};
    const ClrIccTagMultiLocalized source = RecordOf(element, &arrays);
    auto copy = DirtyRecord<ClrIccTagMultiLocalized>();
    ASSERT_EQ(CLR_SUCCESS, IccCopyMluc(&copy, &source));
    EXPECT_EQ(element.Entries(), BytesAt(copy.records, 12));
    EXPECT_EQ(Bytes(16, 0), BytesAt(copy.text, 16));
    Zv_FreeICCTagType(&copy, FourCc("mluc"));
}

// --- Reading --------------------------------------------------------------------------------------------------------

/// An entry of a standard profile.
Bytes PlainEntry(uint8_t first, const Element& manufacturer, const Element& model) {
    return CountingBytes(20, first) + manufacturer.Plain() + model.Plain();
}

void ExpectDescription(uint8_t first, const ClrIccProfileSeqEntry& entry) {
    Bytes bytes = CountingBytes(20, first);
    EXPECT_EQ(GetBig32(bytes, 0), Value(entry.manufacturer));
    EXPECT_EQ(GetBig32(bytes, 4), Value(entry.model));
    EXPECT_EQ(GetBig32(bytes, 16), Value(entry.technology));
    std::reverse(bytes.begin() + 8, bytes.begin() + 16);
    EXPECT_EQ(BytesAt(bytes.data() + 8, 8), BytesAt(entry.attributes, 8));
}

void ExpectText(const Element& element, const ClrIccTagMultiLocalized& record) {
    EXPECT_EQ(FourCc("mluc"), Value(record.typeSig));
    ASSERT_EQ(element.Count(), Value(record.recordCount));
    EXPECT_EQ(element.recordSize, Value(record.recordSize));
    if (element.Count() == 0) {
        EXPECT_EQ(nullptr, Value(record.records));
        EXPECT_EQ(nullptr, Value(record.text));
        return;
    }
    EXPECT_EQ(0x656E, Value(record.records[0].language));
    EXPECT_EQ(0x5553, Value(record.records[0].country));
    EXPECT_EQ(element.lengths[0], Value(record.records[0].length));
    EXPECT_EQ(28U, Value(record.records[0].offset));
    EXPECT_EQ(element.text, BytesAt(record.text, element.text.size()));
}

TEST(ProfileSequenceTag, EntriesAreReadOneBehindTheOther) {
    const HostScope host;
    // Every length, so that padding of 0 to 3 bytes lies between elements.
    for (uint32_t count = 0; count <= 6; ++count) {
        Bytes body = TypedBody("pseq", BigLongs({count}));
        for (uint32_t i = 0; i < count; ++i) {
            const auto first = static_cast<uint8_t>(0x11 * i + 1);
            body = body + PlainEntry(first, TextElement(i + 3), i % 2 == 0 ? EmptyElement() : TextElement(40 + i, 9));
        }
        ReadBody read(body);
        ASSERT_EQ(CLR_SUCCESS, read.Result());
        EXPECT_EQ(FourCc("pseq"), Value(read->typeSig));
        ASSERT_EQ(count, Value(read->profileSequence.count));
        for (uint32_t i = 0; i < count; ++i) {
            const ClrIccProfileSeqEntry& entry = read->profileSequence.entries[i];
            ExpectDescription(static_cast<uint8_t>(0x11 * i + 1), entry);
            ExpectText(TextElement(i + 3), entry.manufacturerText);
            ExpectText(i % 2 == 0 ? EmptyElement() : TextElement(40 + i, 9), entry.modelText);
        }
        Zv_FreeICCTagType(read.Record(), FourCc("pseq"));
        EXPECT_EQ(nullptr, Value(read->profileSequence.entries));
    }
}

TEST(ProfileSequenceTag, RecordSizesOfElementsMoveWhatFollows) {
    const HostScope host;
    // Twenty bytes for a record that has twelve: the next element begins eight bytes later than its text ends.
    const Element wide = {{4}, {1, 2, 3, 4}, 20};
    ReadBody read(TypedBody("pseq", BigLongs({1})) + CountingBytes(20) + wide.Plain() + Bytes(8, 0xEE) +
                  TextElement(6).Plain());
    ASSERT_EQ(CLR_SUCCESS, read.Result());
    ExpectText(wide, read->profileSequence.entries[0].manufacturerText);
    ExpectText(TextElement(6), read->profileSequence.entries[0].modelText);
    // With 0 an element takes 16 bytes, whatever it has: the next one begins at its first record.
    const Element none = {{4}, {1, 2, 3, 4}, 0};
    ReadBody overlapping(TypedBody("pseq", BigLongs({1})) + CountingBytes(20) + none.Plain() + EmptyElement().Plain());
    ASSERT_EQ(CLR_SUCCESS, overlapping.Result());
    EXPECT_EQ(0U, Value(overlapping->profileSequence.entries[0].manufacturerText.recordSize));
    EXPECT_EQ(0x656E5553U, Value(overlapping->profileSequence.entries[0].modelText.typeSig));
}

TEST(ProfileSequenceTag, TextsOfSeveralLanguagesRunOnPastTheirElement) {
    const HostScope host;
    const Bytes element =
        TypedBody("mluc", BigLongs({2, 12, 0x656E5553, 4, 40, 0x64654445, 2, 44})) + Bytes{1, 2, 3, 4, 5, 6, 0, 0};
    ReadBody read(TypedBody("pseq", BigLongs({1})) + CountingBytes(20) + element + TextElement(6).Plain());
    ASSERT_EQ(CLR_SUCCESS, read.Result());
    const ClrIccProfileSeqEntry& entry = read->profileSequence.entries[0];
    ASSERT_EQ(2U, Value(entry.manufacturerText.recordCount));
    EXPECT_EQ(4U, Value(entry.manufacturerText.records[0].length));
    EXPECT_EQ(44U, Value(entry.manufacturerText.records[1].offset));
    // From the last text on, over the padding into the next element: the tag has these bytes.
    EXPECT_EQ((Bytes{5, 6, 0, 0, 'm', 'l'}), BytesAt(entry.manufacturerText.text, 6));
    ExpectText(TextElement(6), entry.modelText);
}

TEST(ProfileSequenceTag, ElementsThatShareTheirBytesTakeLittleMemory) {
    const HostScope host;
    // A step of 16 bytes makes the head of each element the record of the one before it: a text of nearly all bytes.
    constexpr uint32_t kEntries = 400;
    const size_t size = 12 + kEntries * (20 + 2 * 16);
    Bytes body = TypedBody("pseq", BigLongs({kEntries}));
    for (uint32_t i = 0; i < kEntries; ++i) {
        const auto length = static_cast<uint32_t>(size - 12 - i * 52 - 100);
        const Bytes head = Letters("mluc") + BigLongs({length, 1, 0});
        body = body + Bytes(20, 0) + head + head;
    }
    body.resize(size);
    const size_t before = LiveBytes();
    ReadBody read(body);
    EXPECT_LE(LiveBytes() - before, 4 * size);
}

TEST(ProfileSequenceTag, ElementsThatCannotBeReadCountAsEmpty) {
    const HostScope host;
    Element broken = TextElement(8);
    broken.text.resize(4);  // the text ends before its length
    ReadBody last(TypedBody("pseq", BigLongs({1})) + PlainEntry(1, TextElement(5), broken));
    ASSERT_EQ(CLR_SUCCESS, last.Result());
    ExpectText(TextElement(5), last->profileSequence.entries[0].manufacturerText);
    EXPECT_EQ(0U, Value(last->profileSequence.entries[0].modelText.recordCount));
    EXPECT_EQ(nullptr, Value(last->profileSequence.entries[0].modelText.records));
    EXPECT_EQ(nullptr, Value(last->profileSequence.entries[0].modelText.text));

    // A text that points far behind the body does not keep the next element from being read.
    Bytes body = TypedBody("pseq", BigLongs({1})) + PlainEntry(1, TextElement(8), TextElement(12));
    SetBig32(body, 12 + 20 + 16 + 8, 0x7FFFFFFF);
    ReadBody first(body);
    ASSERT_EQ(CLR_SUCCESS, first.Result());
    EXPECT_EQ(0U, Value(first->profileSequence.entries[0].manufacturerText.recordCount));
    ExpectText(TextElement(12), first->profileSequence.entries[0].modelText);
}

TEST(ProfileSequenceTag, ElementsOfAnotherTypeAreReadAsTheyAre) {
    const HostScope host;
    for (const std::string_view type : {"text", "desc", "culm", "pseq"}) {
        for (const uint32_t length : {0U, 4U, 16U}) {
            Bytes body = TypedBody("pseq", BigLongs({1})) + PlainEntry(1, TextElement(length), TextElement(12));
            SetBig32(body, 32, FourCc(type));
            ReadBody read(body);
            ASSERT_EQ(CLR_SUCCESS, read.Result()) << type;
            const ClrIccProfileSeqEntry& entry = read->profileSequence.entries[0];
            ExpectDescription(1, entry);
            EXPECT_EQ(FourCc(type), Value(entry.manufacturerText.typeSig));
            EXPECT_EQ(1U, Value(entry.manufacturerText.recordCount));
            EXPECT_EQ(12U, Value(entry.manufacturerText.recordSize));
            ExpectText(TextElement(12), entry.modelText);
        }
    }
}

TEST(ProfileSequenceTag, CountsPastTheBodyAreRefused) {
    const HostScope host;
    const Bytes entry = PlainEntry(1, TextElement(20), TextElement(30));
    for (const uint32_t count : {4U, 0x04EC4EC5U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        ReadBody read(TypedBody("pseq", BigLongs({count})) + entry);
        EXPECT_EQ(ERR_INVALID_PARAMETER, read.Result()) << count;
    }
    // Two fit by their least size, and the second is not there.
    ReadBody two(TypedBody("pseq", BigLongs({2})) + entry);
    EXPECT_EQ(ERR_INVALID_PARAMETER, two.Result());
    EXPECT_LE(host->LargestRequestSinceReset(), 256U);
}

TEST(ProfileSequenceTag, ReadRecordsAreInHostFormAndCanBeSetWithoutTextsOnly) {
    const HostScope host;
    ReadBody withText(TypedBody("pseq", BigLongs({1})) + PlainEntry(1, TextElement(16), EmptyElement()));
    ASSERT_EQ(CLR_SUCCESS, withText.Result());
    ExpectRefused(withText.Record(), "pseq");

    ReadBody empty(TypedBody("pseq", BigLongs({1})) + PlainEntry(1, EmptyElement(), EmptyElement()));
    ASSERT_EQ(CLR_SUCCESS, empty.Result());
    Bytes description = CountingBytes(20);
    std::reverse(description.begin() + 8, description.begin() + 16);
    // The heads of the elements are stored as the host has them.
    const Bytes element = {'c', 'u', 'l', 'm', 0, 0, 0, 0, 0, 0, 0, 0, 12, 0, 0, 0};
    const Bytes body =
        TypedBody("pseq", BigLongs({1})) + description + element + Bytes(4, 0) + BytesAt(element.data(), 12);
    ExpectSet(empty.Record(), "pseq", body, true);
}

}  // namespace
}  // namespace zv::test
