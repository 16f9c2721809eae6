// "mft1" and "mft2".
#include <gtest/gtest.h>

#include <set>

#include "Common/IccProfile/tag_types.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/icc_profile_support.h"
#include "tests/support/recording_host.h"

namespace zv::test {
namespace {

Bytes BytesOf(const void* data, size_t size) {
    const auto* bytes = static_cast<const uint8_t*>(data);
    return {bytes, bytes + size};
}

struct Shape {
    uint8_t inputs;
    uint8_t outputs;
    uint8_t gridPoints;
    uint16_t inputEntries;
    uint16_t outputEntries;
};

void PrintTo(const Shape& shape, std::ostream* out) {
    *out << int{shape.inputs} << " to " << int{shape.outputs} << " by " << int{shape.gridPoints} << ", "
         << shape.inputEntries << " and " << shape.outputEntries << " entries";
}

const Shape kShapes[] = {
    {3, 2, 2, 5, 4},   {3, 3, 3, 256, 256}, {1, 1, 2, 256, 300}, {0, 3, 5, 2, 2},         {4, 1, 3, 2, 1},
    {2, 3, 0, 3, 2},   {0, 1, 0, 0, 0},     {3, 0, 2, 1, 7},     {15, 1, 2, 2, 2},        {255, 1, 1, 1, 1},
    {1, 3, 255, 0, 3}, {1, 255, 1, 1, 1},   {5, 2, 4, 0, 0},     {2, 1, 1, 65535, 65535},
};

uint64_t Nodes(const Shape& shape) {
    uint64_t nodes = 1;
    for (int i = 0; i < shape.inputs; ++i) nodes *= shape.gridPoints;
    return nodes;
}

/// What the two types differ in, written from their layout.
struct Mft2 {
    using Record = ClrIccTagLut16;
    using Entry = uint16_t;
    static constexpr const char* kType = "mft2";
    static void PutCount(Bytes& body, uint16_t count) { PutBig16(body, count); }
    static void PutValue(Bytes& body, uint16_t value) { PutBig16(body, value); }
};
struct Mft1 {
    using Record = ClrIccTagLut8;
    using Entry = uint8_t;
    static constexpr const char* kType = "mft1";
    static void PutCount(Bytes& body, uint16_t count) {
        body.push_back(static_cast<uint8_t>(count & 0xFF));
        body.push_back(static_cast<uint8_t>(count >> 8));
    }
    static void PutValue(Bytes& body, uint8_t value) { body.push_back(value); }
};

/// A record with tables of its own, and its body.
template <class Kind>
struct Lut {
    using Entry = typename Kind::Entry;

    explicit Lut(const Shape& wanted) : shape(wanted) {
        TestRandom random(wanted.inputs * 1000003U + wanted.outputs * 1009U + wanted.gridPoints);
        const auto fill = [&](std::vector<Entry>* table, uint64_t count) {
            table->resize(count);
            for (Entry& entry : *table) entry = static_cast<Entry>(random.Next() >> 7);
            // An empty table has an address too.
            table->reserve(1);
        };
        fill(&input, uint64_t{wanted.inputs} * wanted.inputEntries);
        fill(&clut, Nodes(wanted) * wanted.outputs);
        fill(&output, uint64_t{wanted.outputs} * wanted.outputEntries);
        std::memset(&record, 0xEE, sizeof record);
        record.inputChannels = wanted.inputs;
        record.outputChannels = wanted.outputs;
        record.gridPoints = wanted.gridPoints;
        record.lutPad = 0x5A;
        for (uint32_t i = 0; i < 9; ++i) record.matrix[i] = 0x01020304 * (i + 1);
        record.inputEntries = wanted.inputEntries;
        record.outputEntries = wanted.outputEntries;
        record.inputTables = input.data();
        record.clut = clut.data();
        record.outputTables = output.data();
    }

    Bytes Head() const {
        Bytes body = TypedBody(Kind::kType, {shape.inputs, shape.outputs, shape.gridPoints, 0x5A});
        for (uint32_t i = 0; i < 9; ++i) PutBig32(body, 0x01020304 * (i + 1));
        Kind::PutCount(body, shape.inputEntries);
        Kind::PutCount(body, shape.outputEntries);
        return body;
    }
    Bytes Body() const {
        Bytes body = Head();
        for (const auto* table : {&input, &clut, &output}) {
            for (const Entry entry : *table) Kind::PutValue(body, entry);
        }
        return body;
    }

    Shape shape;
    std::vector<Entry> input, clut, output;
    typename Kind::Record record;
};

ClrIccTagLut16& RecordOf(ClrIccTagRecord* record, const Mft2&) { return record->lut16; }
ClrIccTagLut8& RecordOf(ClrIccTagRecord* record, const Mft1&) { return record->lut8; }

template <class Kind>
class IccLut : public testing::Test {};
using Kinds = testing::Types<Mft1, Mft2>;
TYPED_TEST_SUITE(IccLut, Kinds);

TYPED_TEST(IccLut, RecordToBodyToRecord) {
    using Kind = TypeParam;
    using Entry = typename Kind::Entry;
    for (const Shape& shape : kShapes) {
        SCOPED_TRACE(testing::PrintToString(shape));
        const HostScope host;
        Lut<Kind> lut(shape);
        const Bytes before = BytesOf(&lut.record, sizeof lut.record);
        const Bytes body = lut.Body();
        ASSERT_EQ(52 + sizeof(Entry) * ((Nodes(shape) + shape.outputEntries) * shape.outputs +
                                        uint64_t{shape.inputEntries} * shape.inputs),
                  body.size());
        IccProfileHolder profile(IccProfileHolder::Start::kHeader);
        ASSERT_EQ(CLR_SUCCESS, Zv_SetICCTagData(profile, &lut.record, FourCc("A2B0"), FourCc(Kind::kType)));
        EXPECT_EQ(before, BytesOf(&lut.record, sizeof lut.record));
        ASSERT_EQ(body.size(), IccEntryOf(profile, "A2B0").size);
        const size_t padded = (body.size() + 3) / 4 * 4;
        EXPECT_EQ(padded, Value(profile->tagDataSize));
        EXPECT_TRUE(body + Bytes(padded - body.size()) == IccTagDataOf(profile));

        IccRecordHolder read;
        ASSERT_EQ(CLR_SUCCESS, read.Read(profile, "A2B0"));
        const auto& record = RecordOf(read.Get(), Kind());
        EXPECT_EQ(FourCc(Kind::kType), Value(record.typeSig));
        EXPECT_EQ(shape.inputs, record.inputChannels);
        EXPECT_EQ(shape.outputs, record.outputChannels);
        EXPECT_EQ(shape.gridPoints, record.gridPoints);
        EXPECT_EQ(0x5A, record.lutPad);
        EXPECT_EQ(BytesOf(lut.record.matrix, 36), BytesOf(record.matrix, 36));
        EXPECT_EQ(shape.inputEntries, Value(record.inputEntries));
        EXPECT_EQ(shape.outputEntries, Value(record.outputEntries));
        const std::pair<const void*, const std::vector<Entry>*> tables[] = {{Value(record.inputTables), &lut.input},
                                                                            {Value(record.clut), &lut.clut},
                                                                            {Value(record.outputTables), &lut.output}};
        std::set<const void*> blocks;
        for (const auto& [table, wanted] : tables) {
            ASSERT_NE(nullptr, table);
            EXPECT_TRUE(BytesOf(wanted->data(), sizeof(Entry) * wanted->size()) ==
                        BytesOf(table, sizeof(Entry) * wanted->size()));
            blocks.insert(table);
        }
        size_t live = 0;
        for (const LiveBlock& block : host->LiveBlocks()) live += blocks.count(block.address);
        EXPECT_EQ(3U, live) << "each table has a block of its own";
        read.Free();
        EXPECT_EQ(nullptr, Value(record.inputTables));
        EXPECT_EQ(nullptr, Value(record.clut));
        EXPECT_EQ(nullptr, Value(record.outputTables));
    }
}

TYPED_TEST(IccLut, BodyOneByteShorter) {
    using Kind = TypeParam;
    for (const Shape& shape : kShapes) {
        SCOPED_TRACE(testing::PrintToString(shape));
        const HostScope host;
        const Bytes body = Lut<Kind>(shape).Body();
        IccProfileHolder profile(
            IccImageBuilder().Tag("A2B0", {body.begin(), body.end() - 1}).Tag("A2B1", body + Bytes{1, 2, 3}).Build());
        IccRecordHolder read;
        EXPECT_EQ(ERR_INVALID_PARAMETER, read.Read(profile, "A2B0"));
        EXPECT_EQ(CLR_SUCCESS, read.Read(profile, "A2B1")) << "more is not looked at";
    }
}

TYPED_TEST(IccLut, ImageForm) {
    using Kind = TypeParam;
    const HostScope host;
    Lut<Kind> lut(Shape{2, 3, 2, 300, 3});
    IccRecordHolder image;
    ASSERT_EQ(CLR_SUCCESS, image.Make(&lut.record, Kind::kType));
    EXPECT_EQ(lut.Head(), BytesOf(image.Get(), 52));
    const auto& record = RecordOf(image.Get(), Kind());
    Bytes values;
    for (const auto entry : lut.clut) Kind::PutValue(values, entry);
    EXPECT_EQ(values, BytesOf(record.clut, values.size()));
}

TYPED_TEST(IccLut, TheMatrixGoesThroughAScratchBlock) {
    using Kind = TypeParam;
    const HostScope host;
    Lut<Kind> lut(Shape{1, 1, 2, 2, 2});
    IccRecordHolder image;
    ASSERT_EQ(CLR_SUCCESS, image.Make(&lut.record, Kind::kType));
    const std::vector<HostCall> calls = host->Calls();
    ASSERT_EQ(5U, calls.size());
    EXPECT_EQ("HostAlloc", calls[0].operation);
    EXPECT_EQ(36U, calls[0].size);
    EXPECT_EQ("HostFree", calls[4].operation);
    for (const HostCall& call : calls) {
        EXPECT_EQ(u"Common\\IccProfile", call.file);
        EXPECT_GT(call.line, 0);
    }
    EXPECT_EQ(3U, host.Leaked());
}

TYPED_TEST(IccLut, NullTables) {
    using Kind = TypeParam;
    for (const Shape& shape : {Shape{3, 2, 2, 5, 4}, Shape{0, 0, 0, 0, 0}}) {
        for (int table = 0; table < 3; ++table) {
            SCOPED_TRACE(table);
            const HostScope host;
            Lut<Kind> lut(shape);
            if (table == 0) lut.record.inputTables = nullptr;
            if (table == 1) lut.record.clut = nullptr;
            if (table == 2) lut.record.outputTables = nullptr;
            IccProfileHolder profile(IccProfileHolder::Start::kHeader);
            EXPECT_EQ(ERR_INVALID_PARAMETER,
                      Zv_SetICCTagData(profile, &lut.record, FourCc("A2B0"), FourCc(Kind::kType)));
            EXPECT_EQ(0, Value(profile->tagCount));
            IccRecordHolder image;
            EXPECT_EQ(ERR_INVALID_PARAMETER, image.Make(&lut.record, Kind::kType));
        }
    }
}

TYPED_TEST(IccLut, TablesThatCannotBeRead) {
    using Kind = TypeParam;
    using Entry = typename Kind::Entry;
    for (int table = 0; table < 3; ++table) {
        SCOPED_TRACE(table);
        const HostScope host;
        Lut<Kind> lut(Shape{3, 2, 2, 5, 4});
        const auto* wanted = table == 0 ? &lut.input : table == 1 ? &lut.clut : &lut.output;
        const size_t bytes = sizeof(Entry) * wanted->size();
        const GuardedBuffer shorter(bytes - 1);
        auto* entries = reinterpret_cast<Entry*>(shorter.Data());
        if (table == 0) lut.record.inputTables = entries;
        if (table == 1) lut.record.clut = entries;
        if (table == 2) lut.record.outputTables = entries;
        IccRecordHolder image;
        EXPECT_EQ(ERR_INVALID_PARAMETER, image.Make(&lut.record, Kind::kType));
    }
}

TYPED_TEST(IccLut, GridsThatNoBodyHolds) {
    using Kind = TypeParam;
    const HostScope host;
    for (const Shape& shape : {Shape{255, 255, 255, 1, 1}, Shape{8, 1, 255, 1, 1}, Shape{4, 255, 255, 1, 1},
                               Shape{16, 1, 4, 1, 1}, Shape{32, 1, 2, 1, 1}}) {
        SCOPED_TRACE(testing::PrintToString(shape));
        Lut<Kind> lut(Shape{1, 1, 1, 1, 1});
        lut.record.inputChannels = shape.inputs;
        lut.record.outputChannels = shape.outputs;
        lut.record.gridPoints = shape.gridPoints;
        Bytes few(4096);
        lut.record.inputTables = reinterpret_cast<typename Kind::Entry*>(few.data());
        lut.record.outputTables = lut.record.inputTables;
        IccRecordHolder record;
        EXPECT_EQ(ERR_INVALID_PARAMETER, record.Make(&lut.record, Kind::kType));
        Bytes body = lut.Body() + Bytes(1000);
        body[8] = shape.inputs;
        body[9] = shape.outputs;
        body[10] = shape.gridPoints;
        IccProfileHolder profile(IccImageOf("A2B0", body));
        EXPECT_EQ(ERR_INVALID_PARAMETER, record.Read(profile, "A2B0"));
    }
    EXPECT_LT(host->LargestRequestSinceReset(), 8192U);
}

/// All powers that a small body can hold, by a body of just that length.
TEST(IccLutGrid, IsAPowerOfTheGridPoints) {
    const HostScope host;
    constexpr uint64_t kMost = 20000;
    for (uint32_t inputs = 0; inputs <= 16; ++inputs) {
        for (uint32_t grid = 0; grid <= 255; ++grid) {
            const Shape shape = {static_cast<uint8_t>(inputs), 1, static_cast<uint8_t>(grid), 0, 0};
            uint64_t nodes = 1;
            for (uint32_t i = 0; i < inputs && nodes <= kMost; ++i) nodes *= grid;
            if (nodes > kMost || nodes == 0) continue;
            Bytes body = TypedBody("mft1", {shape.inputs, 1, shape.gridPoints, 0});
            body.resize(52 + nodes);
            ClrIccTagRecord record;
            const IccTagType& type = IccTagTypeOf(FourCc("mft1"));
            ASSERT_EQ(CLR_SUCCESS, IccReadTag(type, {body.data(), body.size()}, &record)) << inputs << " " << grid;
            type.release(&record);
            ASSERT_EQ(ERR_INVALID_PARAMETER, IccReadTag(type, {body.data(), body.size() - 1}, &record))
                << inputs << " " << grid;
        }
    }
}

TEST(IccLut8, CountsStandInTheOrderOfTheHost) {
    const HostScope host;
    Lut<Mft1> lut(Shape{1, 1, 2, 256, 2});
    IccProfileHolder profile(IccProfileHolder::Start::kHeader);
    ASSERT_EQ(CLR_SUCCESS, Zv_SetICCTagData(profile, &lut.record, FourCc("A2B0"), FourCc("mft1")));
    const Bytes body = IccBodyOf(profile, "A2B0");
    EXPECT_EQ((Bytes{0, 1, 2, 0}), Bytes(body.begin() + 48, body.begin() + 52));
}

TEST(IccLut16, CountsStandBigEndian) {
    const HostScope host;
    Lut<Mft2> lut(Shape{1, 1, 2, 256, 2});
    IccProfileHolder profile(IccProfileHolder::Start::kHeader);
    ASSERT_EQ(CLR_SUCCESS, Zv_SetICCTagData(profile, &lut.record, FourCc("A2B0"), FourCc("mft2")));
    const Bytes body = IccBodyOf(profile, "A2B0");
    EXPECT_EQ((Bytes{1, 0, 0, 2}), Bytes(body.begin() + 48, body.begin() + 52));
}

TEST(IccLut8, BodiesWithoutCounts) {
    const HostScope host;
    LutTag rising = SmoothLut(8, 3, 3, 5, 1);
    rising.inputTables = {};
    for (int channel = 0; channel < 3; ++channel) {
        for (uint16_t i = 0; i < 256; ++i) rising.inputTables.push_back(i);
    }
    LutTag full = rising;
    std::fill(full.inputTables.begin(), full.inputTables.end(), uint16_t{0xFF});
    LutTag zero = rising;
    std::fill(zero.inputTables.begin(), zero.inputTables.end(), uint16_t{0});
    IccProfileHolder profile(
        IccImageBuilder().Tag("A2B0", LutBody(rising)).Tag("A2B1", LutBody(full)).Tag("A2B2", LutBody(zero)).Build());
    IccRecordHolder read;
    EXPECT_EQ(ERR_INVALID_PARAMETER, read.Read(profile, "A2B0"));
    EXPECT_EQ(ERR_INVALID_PARAMETER, read.Read(profile, "A2B1"));
    // Zeros in the place of the counts happen to fit.
    ASSERT_EQ(CLR_SUCCESS, read.Read(profile, "A2B2"));
    EXPECT_EQ(0, Value(read->lut8.inputEntries));
}

TEST(IccLut16, ReadsAStandardBody) {
    const HostScope host;
    const LutTag lut = RandomLut(16, 3, 4, 3, 11, 17, 33);
    IccProfileHolder profile(IccImageOf("B2A0", LutBody(lut)));
    IccRecordHolder read;
    ASSERT_EQ(CLR_SUCCESS, read.Read(profile, "B2A0"));
    ASSERT_EQ(17, Value(read->lut16.inputEntries));
    ASSERT_EQ(33, Value(read->lut16.outputEntries));
    EXPECT_EQ(BytesOf(lut.inputTables.data(), 2 * 3 * 17), BytesOf(read->lut16.inputTables, 2 * 3 * 17));
    EXPECT_EQ(BytesOf(lut.grid.data(), 2 * lut.GridEntries()), BytesOf(read->lut16.clut, 2 * lut.GridEntries()));
    EXPECT_EQ(BytesOf(lut.outputTables.data(), 2 * 4 * 33), BytesOf(read->lut16.outputTables, 2 * 4 * 33));
}

}  // namespace
}  // namespace zv::test
