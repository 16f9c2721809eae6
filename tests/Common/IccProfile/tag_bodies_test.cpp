// What holds for every type of text, numbers and measurements: short and broken bodies, memory that runs out, records
// at odd addresses, releasing.
#include <algorithm>
#include <functional>
#include <random>

#include "tests/Common/IccProfile/tag_fixture.h"

namespace zv::test {
namespace {

/// A number of a record that tells how much there is of something.
struct Field {
    size_t offset;
    size_t size;
};

struct Sample {
    std::string name;
    std::string type;
    std::function<void(ClrIccTagRecord*, TagArrays*)> fill;
    std::vector<Field> counts = {};
    /// The shortest body that is read; 0 if all of it is needed.
    size_t needs = 0;
    /// A body to be read, where the stored one is no good example.
    Bytes body = {};
    /// What is read can be set, and gives the same body.
    bool survives = true;
};

constexpr Field kArrayCount = {16, 4};

Sample ArraySample(const std::string& type, size_t elementSize) {
    const auto fill = [elementSize](ClrIccTagRecord* record, TagArrays* arrays) {
        record->array.values = arrays->PutBytes(CountingBytes(5 * elementSize, 0x71));
        record->array.count = 5;
    };
    return {type, type, fill, {kArrayCount}, 8};
}

ClrIccTagMultiLocalized ImageText(TagArrays* arrays, size_t length) {
    ClrIccTagMultiLocalized text;
    const Bytes head = TypedBody("mluc", BigLongs({1, 12}));
    std::memcpy(&text, head.data(), head.size());
    void* records = arrays->PutBytes(BigLongs({0x656E5553, static_cast<uint32_t>(length), 28}));
    text.records = static_cast<ClrIccMlucEntry*>(records);
    text.text = arrays->PutBytes(CountingBytes(length));
    return text;
}

void FillSequence(ClrIccTagRecord* record, TagArrays* arrays) {
    std::vector<ClrIccProfileSeqEntry> entries(1);
    entries[0].manufacturer = 0x01020304;
    entries[0].technology = 7;
    entries[0].manufacturerText = ImageText(arrays, 16);
    entries[0].modelText = ImageText(arrays, 12);
    record->profileSequence.count = 1;
    record->profileSequence.entries = arrays->Put(entries);
}

Bytes SequenceBody() {
    Bytes body = TypedBody("pseq", BigLongs({2}));
    for (const uint32_t length : {4U, 6U}) {
        body = body + CountingBytes(20) + TypedBody("mluc", BigLongs({1, 12, 0x656E5553, length, 28})) +
               CountingBytes((length + 3) / 4 * 4) + TypedBody("mluc", BigLongs({0, 12}));
    }
    return body;
}

void FillResponses(ClrIccTagRecord* record, TagArrays* arrays) {
    std::vector<ClrIccResponseCurve> curves;
    for (uint32_t type = 0; type < 2; ++type) {
        std::vector<ClrIccResponse*> lists;
        for (uint16_t channel = 0; channel < 3; ++channel) {
            lists.push_back(arrays->Put<ClrIccResponse>({{channel, 1, type}, {2, 3, 0x04050607}}));
        }
        ClrIccResponseCurve curve;
        curve.measurement = 0x53746141;
        curve.counts = arrays->Put<uint32_t>({2, 2, 2});
        curve.patches = arrays->Put(std::vector<uint32_t>(9, 0x0A0B0C0D));
        curve.responses = arrays->Put(lists);
        curves.push_back(curve);
    }
    record->responseCurveSet.channels = 3;
    record->responseCurveSet.types = 2;
    record->responseCurveSet.curves = arrays->Put(curves);
}

void FillNamedColors(ClrIccTagRecord* record, TagArrays* arrays) {
    std::vector<ClrIccNamedColorEntry> colors(3);
    for (ClrIccNamedColorEntry& color : colors) {
        std::memset(color.name, 'n', 32);
        for (uint16_t& value : color.pcs) value = 0x0303;  // the same in both orders
        color.device = arrays->Put<uint16_t>({0x0102, 0x0304, 0x0506, 0x0708});
    }
    record->namedColor2.vendorFlags = 0x12340000;
    record->namedColor2.colorCount = 3;
    record->namedColor2.deviceCoords = 4;
    record->namedColor2.colors = arrays->Put(colors);
}

void FillMluc(ClrIccTagRecord* record, TagArrays* arrays) {
    // The last text comes first, so that all of them lie behind its offset.
    record->multiLocalized.recordCount = 2;
    record->multiLocalized.recordSize = 12;
    record->multiLocalized.records = arrays->Put<ClrIccMlucEntry>({{1, 2, 4, 42}, {3, 4, 2, 40}});
    record->multiLocalized.text = arrays->PutBytes({1, 1, 2, 2, 3, 3});
}

std::vector<Sample> MakeSamples() {
    std::vector<Sample> samples;
    const auto add = [&](const char* name, const char* type, auto fill, const std::vector<Field>& counts,
                         size_t needs) -> Sample& {
        samples.push_back({name, type, fill, counts, needs});
        return samples.back();
    };
    using Record = ClrIccTagRecord;
    add(
        "chrm", "chrm",
        [](Record* record, TagArrays* arrays) {
            record->chromaticity.channels = 3;
            record->chromaticity.phosphorType = 0;
            record->chromaticity.coordinates = arrays->Put<uint32_t>({1, 2, 3, 4, 0x05060708, 6});
        },
        {{8, 2}, {10, 4}}, 0);
    add(
        "clro", "clro",
        [](Record* record, TagArrays* arrays) {
            record->colorantOrder.count = 5;
            record->colorantOrder.order = arrays->Put<uint8_t>({4, 0, 2, 1, 3});
        },
        {{8, 4}}, 0);
    add(
        "clrt", "clrt",
        [](Record* record, TagArrays* arrays) {
            std::vector<ClrIccColorantEntry> entries(3);
            for (ClrIccColorantEntry& entry : entries) {
                std::memset(entry.name, 'c', 32);
                for (uint16_t& value : entry.pcs) value = 0x0102;
            }
            record->colorantTable.count = 3;
            record->colorantTable.entries = arrays->Put(entries);
        },
        {{8, 4}}, 0);
    const auto data = [](uint32_t flag) {
        return [flag](Record* record, TagArrays* arrays) {
            record->data.dataFlag = flag;
            record->data.bytes = arrays->Put<uint8_t>({9, 8, 7, 6, 5});
            record->data.byteCount = 5;
        };
    };
    add("binary data", "data", data(1), {{8, 4}, {20, 4}}, 12);
    add("ASCII data", "data", data(0), {{8, 4}, {20, 4}}, 12).survives = false;
    const auto fixed = [](size_t size) { return [size](Record* record, TagArrays*) { std::memset(record, 0, size); }; };
    add("dtim", "dtim", fixed(20), {}, 0);
    add("meas", "meas", fixed(36), {{8, 4}, {24, 4}, {28, 4}, {32, 4}}, 0);
    add("view", "view", fixed(36), {{32, 4}}, 0);
    add(
        "sig ", "sig ", [](Record* record, TagArrays*) { record->signature.value = 0x41424344; }, {}, 0);
    add("mluc", "mluc", FillMluc, {{8, 4}}, 0);
    add("ncl2", "ncl2", FillNamedColors, {{12, 4}, {16, 4}}, 0);
    Sample& sequence = add("pseq", "pseq", FillSequence, {{8, 4}}, 0);
    sequence.survives = false;
    sequence.body = SequenceBody();
    add("rcs2", "rcs2", FillResponses, {{8, 2}, {10, 2}}, 0);
    add(
        "text", "text",
        [](Record* record, TagArrays* arrays) {
            const auto* text = arrays->Put<uint8_t>({'a', 'b', 'c', 0, 'x', 'x', 0, 0});
            record->text.text = const_cast<char*>(reinterpret_cast<const char*>(text));
        },
        {}, 8)
        .survives = false;
    for (const char* type : {"sf32", "uf32", "ui32"}) samples.push_back(ArraySample(type, 4));
    samples.push_back(ArraySample("ui16", 2));
    samples.push_back(ArraySample("ui64", 8));
    samples.back().survives = false;
    samples.push_back(ArraySample("XYZ ", 12));
    samples.push_back(ArraySample("ui08", 1));
    samples.push_back(ArraySample("zzzz", 1));
    return samples;
}

const std::vector<Sample>& Samples() {
    static const auto* samples = new std::vector<Sample>(MakeSamples());
    return *samples;
}

/// The caller's record of a sample, which may lie anywhere.
class HostRecord {
public:
    explicit HostRecord(const Sample& sample, TagArrays arrays = TagArrays())
        : arrays_(std::move(arrays)), odd_(sizeof(ClrIccTagRecord) + 1, 0xEE) {
        std::memset(&record_, 0xEE, sizeof record_);
        sample.fill(&record_, &arrays_);
        std::memcpy(odd_.data() + 1, &record_, sizeof record_);
    }

    ClrIccTagRecord* Get() { return &record_; }
    void* AtOddAddress() { return odd_.data() + 1; }
    size_t Arrays() const { return arrays_.Count(); }

private:
    TagArrays arrays_;
    ClrIccTagRecord record_;
    Bytes odd_;
};

Bytes StoredBody(const Sample& sample) {
    HostRecord record(sample);
    return SetBodyOf(record.Get(), sample.type);
}

Bytes BodyToRead(const Sample& sample) { return sample.body.empty() ? StoredBody(sample) : sample.body; }

const IccTagType& TypeOf(const Sample& sample) { return IccTagTypeOf(FourCc(sample.type)); }

/// A body between guard pages, read into a record that has no byte too many.
class GuardedRead {
public:
    GuardedRead(const IccTagType& type, const Bytes& body)
        : type_(type), body_(body.size()), record_(type.recordSize, GuardedBuffer::Side::kBack, 0xEE) {
        std::copy(body.begin(), body.end(), body_.begin());
        result_ = IccReadTag(type, IccBytes(body_.Data(), body.size()), record_.Data());
    }
    ~GuardedRead() {
        type_.release(record_.Data());
        type_.release(record_.Data());
    }
    GuardedRead(const GuardedRead&) = delete;
    GuardedRead& operator=(const GuardedRead&) = delete;

    int32_t Result() const { return result_; }
    uint8_t* Record() { return record_.Data(); }

private:
    const IccTagType& type_;
    GuardedBuffer body_;
    GuardedBuffer record_;
    int32_t result_ = 0;
};

constexpr size_t kMostBytes = size_t{1} << 20;

/// Reads a body of any bytes and sets what came out. Memory stays within a small multiple of the body.
void ReadAnything(const IccTagType& type, const Bytes& body) {
    RecordingHost& host = RecordingHost::Get();
    const size_t liveBefore = LiveBytes();
    host.Reset();
    GuardedRead read(type, body);
    EXPECT_TRUE(read.Result() == CLR_SUCCESS || read.Result() == ERR_INVALID_PARAMETER) << read.Result();
    EXPECT_LE(host.LargestRequestSinceReset(), 2 * body.size() + 16);
    EXPECT_LE(LiveBytes() - liveBefore, 3 * body.size() + 64);
    if (read.Result() != CLR_SUCCESS) return;
    // Record sizes of "mluc" are not bounded by what is there, so that there may not be enough memory for them.
    host.FailAllocationsAbove(kMostBytes);
    IccProfileHolder profile(IccProfileHolder::Start::kHeader);
    const uint32_t signature = GetBig32(body, 0);
    const int32_t result = Zv_SetICCTagData(profile, read.Record(), FourCc("targ"), signature);
    const bool tooLarge = host.LargestRequestSinceReset() > kMostBytes;
    EXPECT_TRUE(result == CLR_SUCCESS || result == ERR_UNKNOWN_TAG_TYPE || result == ERR_INVALID_PARAMETER ||
                (result == ERR_FAILURE && tooLarge))
        << result;
    host.FailAllocationsAbove(0);
}

// --- Forms ----------------------------------------------------------------------------------------------------------

TEST(TagBodies, SamplesCoverEveryTypeButCurvesAndTables) {
    for (const IccTagType& type : IccTagTypes()) {
        const auto isOfType = [&](const Sample& sample) { return FourCc(sample.type) == type.signature; };
        const auto count = std::count_if(Samples().begin(), Samples().end(), isOfType);
        const auto isOther = [&](std::string_view other) { return FourCc(other) == type.signature; };
        const std::string_view others[] = {"curv", "para", "mft1", "mft2", "mAB ", "mBA "};
        EXPECT_NE(count == 0, std::none_of(std::begin(others), std::end(others), isOther));
    }
}

TEST(TagBodies, ReservedBytesAreReadReversedAndNotSet) {
    const HostScope host;
    for (const Sample& sample : Samples()) {
        SCOPED_TRACE(sample.name);
        const Bytes plain = BodyToRead(sample);
        Bytes body = plain;
        for (size_t i = 0; i < 4; ++i) body[4 + i] = static_cast<uint8_t>(i + 1);
        ReadBody read(body);
        ASSERT_EQ(SuccessOf(sample.type), read.Result());
        EXPECT_EQ(FourCc(sample.type), Value(read->typeSig));
        EXPECT_EQ((Bytes{4, 3, 2, 1}), BytesAt(read->array.typeReserved, 4));
        if (sample.survives) {
            EXPECT_EQ(plain, SetBodyOf(read.Record(), sample.type));
        }
    }
}

TEST(TagBodies, BothFormsAreReleasedOnce) {
    const HostScope host;
    const auto frees = [&] {
        const auto calls = host->Calls();
        return std::count_if(calls.begin(), calls.end(), [](const HostCall& c) { return c.operation == "HostFree"; });
    };
    for (const Sample& sample : Samples()) {
        SCOPED_TRACE(sample.name);
        const uint32_t type = FourCc(sample.type);
        const Bytes body = BodyToRead(sample);
        HostRecord record(sample);
        const size_t live = host->LiveCount();
        for (const bool imageForm : {false, true}) {
            GuardedBuffer filled(TypeOf(sample).recordSize, GuardedBuffer::Side::kBack, 0xEE);
            if (imageForm && sample.type == "chrm") continue;  // is made from a record without a head
            if (imageForm) {
                ASSERT_EQ(SuccessOf(sample.type), Zv_CreateICCTagData(filled.Data(), record.Get(), type));
                EXPECT_EQ(BytesAt(body.data(), 4), BytesAt(filled.Data(), 4));
                EXPECT_EQ(Bytes(4, 0), BytesAt(filled.Data() + 4, 4));
            } else {
                ASSERT_EQ(CLR_SUCCESS, IccReadTag(TypeOf(sample), IccBytes(body.data(), body.size()), filled.Data()));
            }
            EXPECT_EQ(record.Arrays() != 0, host->LiveCount() > live);
            Zv_FreeICCTagType(filled.Data(), type);
            EXPECT_EQ(live, host->LiveCount());
            const auto once = frees();
            Zv_FreeICCTagType(filled.Data(), type);
            EXPECT_EQ(once, frees());
        }
    }
}

TEST(TagBodies, NullRecordsAreRefused) {
    const HostScope host;
    for (const Sample& sample : Samples()) {
        const uint32_t type = FourCc(sample.type);
        HostRecord record(sample);
        ClrIccTagRecord image;
        EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_CreateICCTagData(&image, nullptr, type));
        EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_CreateICCTagData(nullptr, record.Get(), type));
        IccProfileHolder profile(IccProfileHolder::Start::kHeader);
        EXPECT_EQ(ERR_INVALID_PARAMETER, SetTag(profile, nullptr, "targ", sample.type));
        EXPECT_EQ(ERR_INVALID_PARAMETER, SetTag(nullptr, record.Get(), "targ", sample.type));
        EXPECT_EQ(0, Value(profile->tagCount));
        Zv_FreeICCTagType(nullptr, type);
    }
}

TEST(TagBodies, RecordsAndArraysMayLieAtOddAddresses) {
    const HostScope host;
    for (const Sample& sample : Samples()) {
        SCOPED_TRACE(sample.name);
        const uint32_t type = FourCc(sample.type);
        const Bytes stored = StoredBody(sample);
        HostRecord record(sample, TagArrays(TagArrays::Place::kOdd));
        EXPECT_EQ(stored, SetBodyOf(record.AtOddAddress(), sample.type));

        Bytes room(TypeOf(sample).recordSize + 1, 0xEE);
        void* odd = room.data() + 1;
        if (sample.type != "chrm") {
            ASSERT_EQ(SuccessOf(sample.type), Zv_CreateICCTagData(odd, record.AtOddAddress(), type));
            Zv_FreeICCTagType(odd, type);
        }
        // A body at an odd address too.
        Bytes body(1);
        body = body + BodyToRead(sample);
        ASSERT_EQ(CLR_SUCCESS, IccReadTag(TypeOf(sample), IccBytes(body.data() + 1, body.size() - 1), odd));
        if (sample.survives) {
            EXPECT_EQ(stored, SetBodyOf(odd, sample.type));
        }
        Zv_FreeICCTagType(odd, type);
    }
}

// --- Records that are refused ---------------------------------------------------------------------------------------

TEST(TagBodies, ArraysThatEndAByteTooEarlyOrAreNullAreRefused) {
    const HostScope host;
    for (const Sample& sample : Samples()) {
        SCOPED_TRACE(sample.name);
        const size_t count = HostRecord(sample).Arrays();
        for (size_t i = 0; i < count; ++i) {
            TagArrays spoiled;
            spoiled.Spoil(i);
            HostRecord shortRecord(sample, std::move(spoiled));
            ExpectRefused(shortRecord.Get(), sample.type);
            TagArrays omitted;
            omitted.Omit(i);
            HostRecord nullRecord(sample, std::move(omitted));
            ExpectRefused(nullRecord.Get(), sample.type);
        }
    }
}

TEST(TagBodies, CountsOfRecordsAreCheckedAgainstTheirArrays) {
    const HostScope host;
    for (const Sample& sample : Samples()) {
        SCOPED_TRACE(sample.name);
        const size_t size = StoredBody(sample).size();
        for (const Field& field : sample.counts) {
            HostRecord record(sample);
            uint8_t* at = reinterpret_cast<uint8_t*>(record.Get()) + field.offset;
            uint32_t n = 0;
            std::memcpy(&n, at, field.size);
            const uint32_t top = field.size == 2 ? 0x8000U : 0x80000000U;
            for (const uint32_t value : {0U, 1U, n - 1, n + 1, top, top - 1, 2 * top - 1}) {
                std::memcpy(at, &value, field.size);
                const uint32_t kept = field.size == 2 ? value & 0xFFFF : value;
                host->Reset();
                IccProfileHolder profile(IccProfileHolder::Start::kHeader);
                const int32_t result = SetTag(profile, record.Get(), "targ", sample.type);
                EXPECT_TRUE(result == SuccessOf(sample.type) || result == ERR_INVALID_PARAMETER) << result;
                // Each array ends where memory does. (Selectors are no counts, and have their own lists.)
                const bool isCount = n != 0 && sample.type != "meas" && !(sample.type == "data" && field.offset == 8);
                if (isCount && kept > n) {
                    EXPECT_EQ(ERR_INVALID_PARAMETER, result) << kept;
                }
                EXPECT_EQ(result == SuccessOf(sample.type) ? 1 : 0, Value(profile->tagCount));
                EXPECT_LE(host->LargestRequestSinceReset(), 2 * size + 128);
            }
        }
    }
}

// --- Bodies that are refused ----------------------------------------------------------------------------------------

TEST(TagBodies, ShortBodiesAreRefusedAtEveryLength) {
    const HostScope host;
    for (const Sample& sample : Samples()) {
        const Bytes whole = BodyToRead(sample);
        const size_t needs = sample.needs == 0 ? whole.size() : sample.needs;
        for (size_t size = 0; size <= whole.size(); ++size) {
            SCOPED_TRACE(testing::Message() << sample.name << ", " << size << " of " << whole.size());
            const Bytes body(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
            host->Reset();
            GuardedRead read(TypeOf(sample), body);
            EXPECT_LE(host->LargestRequestSinceReset(), 2 * size + 16);
            if (sample.type == "pseq") {
                // Elements that are cut off count as empty, but there has to be room for empty ones: 52 bytes an entry.
                const int32_t expected = size < 12 + 2 * 52 ? ERR_INVALID_PARAMETER : CLR_SUCCESS;
                EXPECT_EQ(expected, read.Result());
            } else {
                EXPECT_EQ(size < needs ? ERR_INVALID_PARAMETER : CLR_SUCCESS, read.Result());
            }
        }
    }
}

TEST(TagBodies, TagsWithoutAHeadAreRefused) {
    const HostScope host;
    for (const Sample& sample : Samples()) {
        const Bytes whole = BodyToRead(sample);
        for (size_t size = 0; size < 8; ++size) {
            IccProfileHolder profile(IccProfileHolder::Start::kHeader);
            AddIccTag(profile, "targ", Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
            ClrIccTagRecord record;
            std::memset(&record, 0, sizeof record);
            EXPECT_EQ(size < 4 ? ERR_BAD_TAG : ERR_INVALID_PARAMETER,
                      Zv_GetICCTagData(profile, &record, FourCc("targ")));
            Zv_FreeICCTagType(&record, FourCc(sample.type));
        }
    }
}

TEST(TagBodies, AnyNumberInABodyIsSafe) {
    const HostScope host;
    for (const Sample& sample : Samples()) {
        const Bytes whole = BodyToRead(sample);
        for (size_t offset = 4; offset + 4 <= std::min<size_t>(whole.size(), 160); offset += 2) {
            SCOPED_TRACE(testing::Message() << sample.name << " at " << offset);
            const uint32_t n = GetBig32(whole, offset);
            for (const uint32_t value : {0U, 1U, n - 1, n + 1, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
                Bytes body = whole;
                SetBig32(body, offset, value);
                ReadAnything(TypeOf(sample), body);
            }
        }
    }
}

TEST(TagBodies, AnyByteInABodyIsSafe) {
    const HostScope host;
    for (const Sample& sample : Samples()) {
        const Bytes whole = BodyToRead(sample);
        for (size_t offset = 4; offset < std::min<size_t>(whole.size(), 160); ++offset) {
            SCOPED_TRACE(testing::Message() << sample.name << " at " << offset);
            for (const uint8_t value : {uint8_t{0}, uint8_t{0xFF}, static_cast<uint8_t>(whole[offset] ^ 0x80)}) {
                Bytes body = whole;
                body[offset] = value;
                ReadAnything(TypeOf(sample), body);
            }
        }
    }
}

TEST(TagBodies, RandomBodiesAreSafe) {
    const HostScope host;
    std::mt19937 random(5);
    for (const Sample& sample : Samples()) {
        for (int round = 0; round < 300; ++round) {
            Bytes body = TypedBody(sample.type, Bytes(random() % 200));
            // Small numbers, so that counts have a chance to fit.
            for (size_t i = 8; i < body.size(); ++i) {
                body[i] = random() % 4 == 0 ? static_cast<uint8_t>(random() % 40) : uint8_t{0};
            }
            SCOPED_TRACE(testing::Message() << sample.name << ", round " << round);
            ReadAnything(TypeOf(sample), body);
        }
    }
}

// --- Memory that runs out -------------------------------------------------------------------------------------------

int64_t AllocationsOf(const std::function<void()>& work) {
    const int64_t before = RecordingHost::Get().AllocationsSinceReset();
    work();
    return RecordingHost::Get().AllocationsSinceReset() - before;
}

/// Elements of a sequence that cannot be kept count as empty; its own list of entries has to be there.
bool IsNoticed(const Sample& sample, int64_t n) { return n == 1 || sample.type != "pseq"; }

TEST(TagBodies, EveryFailedAllocationFailsTheRead) {
    const HostScope host;
    for (const Sample& sample : Samples()) {
        const uint32_t type = FourCc(sample.type);
        IccProfileHolder profile(IccProfileHolder::Start::kHeader);
        AddIccTag(profile, "targ", BodyToRead(sample));
        ClrIccTagRecord record;
        const auto get = [&] { return Zv_GetICCTagData(profile, &record, FourCc("targ")); };
        const size_t live = host->LiveCount();
        const int64_t total = AllocationsOf([&] { EXPECT_EQ(SuccessOf(sample.type), get()); });
        EXPECT_EQ(static_cast<size_t>(total), host->LiveCount() - live);
        Zv_FreeICCTagType(&record, type);
        for (int64_t n = 1; n <= total; ++n) {
            SCOPED_TRACE(testing::Message() << sample.name << ", allocation " << n);
            std::memset(&record, 0xEE, sizeof record);
            host->FailAllocation(n);
            EXPECT_EQ(IsNoticed(sample, n) ? ERR_FAILURE : CLR_SUCCESS, get());
            host->FailAllocation(0);
            Zv_FreeICCTagType(&record, type);
            EXPECT_EQ(live, host->LiveCount());
            Zv_FreeICCTagType(&record, type);
        }
    }
}

TEST(TagBodies, EveryFailedAllocationFailsTheSetting) {
    const HostScope host;
    for (const Sample& sample : Samples()) {
        HostRecord record(sample);
        const auto set = [&](ClrIccProfile* profile) { return SetTag(profile, record.Get(), "targ", sample.type); };
        int64_t total = 0;
        int64_t making = 0;
        {
            IccProfileHolder profile(IccProfileHolder::Start::kHeader);
            total = AllocationsOf([&] { EXPECT_EQ(SuccessOf(sample.type), set(profile)); });
            making = total - 2;  // the table and the data grow at the end
        }
        for (int64_t n = 1; n <= total; ++n) {
            SCOPED_TRACE(testing::Message() << sample.name << ", allocation " << n);
            const size_t live = host->LiveCount();
            {
                IccProfileHolder profile(IccProfileHolder::Start::kHeader);
                host->FailAllocation(n);
                EXPECT_EQ(ERR_FAILURE, set(profile));
                host->FailAllocation(0);
                EXPECT_EQ(n > making ? 1 : 0, Value(profile->tagCount));
                EXPECT_EQ(0U, Value(profile->tagDataSize));
            }
            EXPECT_EQ(live, host->LiveCount());
        }
    }
}

TEST(TagBodies, EveryFailedAllocationFailsTheMaking) {
    const HostScope host;
    for (const Sample& sample : Samples()) {
        const uint32_t type = FourCc(sample.type);
        HostRecord record(sample);
        auto* source = reinterpret_cast<uint8_t*>(record.Get()) + (sample.type == "chrm" ? 8 : 0);
        ClrIccTagRecord image;
        const size_t live = host->LiveCount();
        const int64_t total =
            AllocationsOf([&] { EXPECT_EQ(SuccessOf(sample.type), Zv_CreateICCTagData(&image, source, type)); });
        EXPECT_EQ(static_cast<size_t>(total), host->LiveCount() - live);
        Zv_FreeICCTagType(&image, type);
        for (int64_t n = 1; n <= total; ++n) {
            SCOPED_TRACE(testing::Message() << sample.name << ", allocation " << n);
            std::memset(&image, 0xEE, sizeof image);
            host->FailAllocation(n);
            EXPECT_EQ(ERR_FAILURE, Zv_CreateICCTagData(&image, source, type));
            host->FailAllocation(0);
            Zv_FreeICCTagType(&image, type);
            EXPECT_EQ(live, host->LiveCount());
            Zv_FreeICCTagType(&image, type);
        }
    }
}

TEST(TagBodies, EveryFailedAllocationFailsADeletionThatReads) {
    const HostScope host;
    for (const Sample& sample : Samples()) {
        if (!IsKnownType(sample.type)) continue;  // the warning keeps the tag
        const uint32_t type = FourCc(sample.type);
        const Bytes body = BodyToRead(sample);
        const auto fill = [&](ClrIccProfile* profile) {
            AddIccTag(profile, "wtpt", body);
            AddIccTag(profile, "targ", TypedBody("XYZ ", CountingBytes(12)));
        };
        ClrIccTagRecord record;
        const auto remove = [&](ClrIccProfile* profile) { return Zv_DeleteICCTag(profile, FourCc("wtpt"), &record); };
        int64_t reading = 0;
        int64_t total = 0;
        {
            IccProfileHolder profile(IccProfileHolder::Start::kHeader);
            fill(profile);
            reading = AllocationsOf([&] { Zv_GetICCTagData(profile, &record, FourCc("wtpt")); });
            Zv_FreeICCTagType(&record, type);
            total = AllocationsOf([&] { EXPECT_EQ(CLR_SUCCESS, remove(profile)); });
            Zv_FreeICCTagType(&record, type);
            EXPECT_EQ(TypedBody("XYZ ", CountingBytes(12)), IccBodyOf(profile, "targ"));
        }
        EXPECT_EQ(reading + 3, total);  // the table, a scratch block, the data
        for (int64_t n = 1; n <= total; ++n) {
            SCOPED_TRACE(testing::Message() << sample.name << ", allocation " << n);
            const size_t live = host->LiveCount();
            {
                IccProfileHolder profile(IccProfileHolder::Start::kHeader);
                fill(profile);
                std::memset(&record, 0xEE, sizeof record);
                host->FailAllocation(n);
                const bool missed = n <= reading && !IsNoticed(sample, n);
                EXPECT_EQ(missed ? CLR_SUCCESS : ERR_FAILURE, remove(profile));
                host->FailAllocation(0);
                EXPECT_EQ(n <= reading && !missed ? 2 : 1, Value(profile->tagCount));
                Zv_FreeICCTagType(&record, type);
                if (n <= reading && !missed) {
                    EXPECT_EQ(body, IccBodyOf(profile, "wtpt"));
                }
            }
            EXPECT_EQ(live, host->LiveCount());
        }
    }
}

}  // namespace
}  // namespace zv::test
