// What a converter holds after creation.
#include "Common/kernels/lab_records.h"
#include "Common/kernels/print.h"
#include "tests/support/frame_fixture.h"
#include "tests/support/recording_colours.h"

namespace zv::test {
namespace {

constexpr ptrdiff_t kNameBytes = 520;

template <class T>
T FieldAt(const ClrHandle* converter, size_t offset) {
    T value{};
    std::memcpy(&value, reinterpret_cast<const uint8_t*>(converter) + offset, sizeof value);
    return value;
}

std::vector<uint8_t> BytesBetween(const ClrHandle* converter, size_t from, size_t to) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(converter);
    return {bytes + from, bytes + to};
}

TEST(ConverterRecord, FieldsAtTheirOffsets) {
    const HostScope host;
    FullRecords records;
    const Converter c(CLRSPACE_CMYK, CLRSPACE_LAB, &records.params);
    const ClrHandle* h = c.Get();
    EXPECT_EQ(1720U, sizeof(ClrHandle));
    EXPECT_EQ(1720U, FieldAt<uint32_t>(h, 0));
    EXPECT_EQ(2, FieldAt<int32_t>(h, 4));
    EXPECT_EQ(7, FieldAt<int32_t>(h, 8));
    EXPECT_EQ(0U, FieldAt<uint64_t>(h, 16));
    EXPECT_EQ(0U, FieldAt<uint64_t>(h, 24));
    EXPECT_EQ(2U, FieldAt<uint32_t>(h, 32)) << "without a hub the formats hold the ids";
    EXPECT_EQ(7U, FieldAt<uint32_t>(h, 36));
    EXPECT_EQ(h->cmykParams, FieldAt<ClrCmykParams*>(h, 40));
    EXPECT_EQ(0U, FieldAt<uint64_t>(h, 48));
    EXPECT_EQ(2U, FieldAt<uint32_t>(h, 56));
    EXPECT_EQ(h->whitePoint, FieldAt<ClrWhitePoint*>(h, 64));
    EXPECT_EQ(1U, FieldAt<uint32_t>(h, 72));
    EXPECT_EQ(1U, FieldAt<uint32_t>(h, 76));
    EXPECT_EQ(std::vector<uint8_t>(static_cast<size_t>(3 * kNameBytes)), BytesBetween(h, 80, 1640)) << "three names";
    EXPECT_EQ(std::vector<uint8_t>(32), BytesBetween(h, 1640, 1672)) << "profiles and emulation tables";
    EXPECT_EQ(45, FieldAt<int32_t>(h, 1672));
    EXPECT_EQ(h->labDecode, FieldAt<ClrLabDecodeRecord*>(h, 1680));
    EXPECT_EQ(h->labEncode, FieldAt<ClrLabEncodeRecord*>(h, 1688));
    EXPECT_EQ(0U, FieldAt<uint64_t>(h, 1696));
    EXPECT_EQ(std::vector<uint8_t>(16), BytesBetween(h, 1704, 1720)) << "platform transform, reserved bytes";
    EXPECT_NE(nullptr, h->cmykParams);
    EXPECT_NE(nullptr, h->whitePoint);
    EXPECT_NE(nullptr, h->labDecode);
    EXPECT_NE(nullptr, h->labEncode);
}

TEST(ConverterRecord, OfEqualSpacesHoldsTheIdsOnly) {
    const HostScope host;
    FullRecords records(CLRMETHOD_BUILTIN | CLRMETHOD_ICC, CLRMETHOD_BUILTIN);
    for (const int32_t id : {0, 2, 11, 99}) {
        for (ClrParams* params : {static_cast<ClrParams*>(nullptr), &records.params}) {
            const Converter c(id, id, params);
            EXPECT_EQ(1720U, c->size);
            EXPECT_EQ(id, c->sourceSpace);
            EXPECT_EQ(id, c->destinationSpace);
            EXPECT_EQ(std::vector<uint8_t>(1720 - 12), BytesBetween(c.Get(), 12, 1720));
        }
    }
}

TEST(ConverterRecord, WithoutParamsHasDefaultsAndNoWhitePoint) {
    const HostScope host;
    for (const int32_t source : kAllSpaces) {
        for (const int32_t destination : kAllSpaces) {
            if (source == destination) continue;
            const Converter c(source, destination);
            EXPECT_EQ(source, c->sourceSpace);
            EXPECT_EQ(destination, c->destinationSpace);
            EXPECT_EQ(1U, c->activeMethod);
            EXPECT_EQ(1U, c->methods);
            EXPECT_EQ(45, c->gammaPercent);
            EXPECT_EQ(IsHub(source) || IsHub(destination) ? 1U : 2U, c->route);
            EXPECT_EQ(0U, c->sourceFormat);
            EXPECT_EQ(0U, c->destinationFormat);
            EXPECT_EQ(nullptr, c->whitePoint);
            EXPECT_EQ(source == 11, c->ycckTables != nullptr);
            EXPECT_EQ(nullptr, c->labDecode);
            EXPECT_EQ(nullptr, c->cmykParams);
            EXPECT_EQ(nullptr, c->yuvParams);
        }
    }
}

TEST(ConverterRecord, WithParamsForEveryPair) {
    const HostScope host;
    FullRecords records;
    for (const int32_t source : kAllSpaces) {
        for (const int32_t destination : kAllSpaces) {
            if (source == destination) continue;
            const auto either = [&](int32_t id) { return source == id || destination == id; };
            const bool twoSteps = !IsHub(source) && !IsHub(destination);
            const Converter c(source, destination, &records.params);
            SCOPED_TRACE(std::to_string(source) + " to " + std::to_string(destination));
            EXPECT_EQ(source, c->sourceSpace);
            EXPECT_EQ(destination, c->destinationSpace);
            EXPECT_EQ(twoSteps ? 2U : 1U, c->route);
            if (twoSteps) {
                EXPECT_EQ(source, static_cast<int32_t>(c->sourceFormat));
                EXPECT_EQ(destination, static_cast<int32_t>(c->destinationFormat));
            }
            EXPECT_NE(nullptr, c->whitePoint);
            EXPECT_EQ(either(2), c->cmykParams != nullptr);
            EXPECT_EQ(either(1), c->yuvParams != nullptr);
            EXPECT_EQ(either(7), c->labDecode != nullptr) << "in either direction";
            EXPECT_EQ(either(7), c->labEncode != nullptr) << "in either direction";
            EXPECT_EQ(source == 11, c->ycckTables != nullptr);
        }
    }
}

TEST(ConverterRecord, EqualSpacesByCustomProfilesTakeTheWholeRoad) {
    const HostScope host;
    const RecordingColours colours;
    FullRecords records(CLRMETHOD_CUSTOM_ICC, CLRMETHOD_CUSTOM_ICC);
    const Converter c(CLRSPACE_CMYK, CLRSPACE_CMYK, &records.params);
    EXPECT_EQ(1U, c->route);
    EXPECT_EQ(4U, c->activeMethod);
    EXPECT_EQ(4U, c->methods);
    EXPECT_NE(nullptr, c->whitePoint);
    EXPECT_NE(nullptr, c->cmykParams);
    EXPECT_NE(nullptr, c->systemTransform);
}

TEST(ConverterRecord, WhitePointIsACopyOfTheRecordOrCodeFifty) {
    const HostScope host;
    ClrParams params = MakeParams(CLRMETHOD_BUILTIN, CLRMETHOD_BUILTIN);
    const Converter plain(0, 1, &params);
    EXPECT_EQ(50U, plain->whitePoint->whiteCode);

    ClrWhitePoint white{0, 0.3127, 0.329};
    params.whitePoint = &white;
    const Converter given(0, 1, &params);
    EXPECT_EQ(0, std::memcmp(&white, given->whitePoint, 20));
    EXPECT_NE(&white, given->whitePoint);
}

TEST(ConverterRecord, CopiesOutliveTheCallersRecords) {
    const HostScope host;
    ClrHandle* c = nullptr;
    {
        FullRecords records;
        ASSERT_EQ(CLR_SUCCESS, Zv_ClrInit(&c, 2, 1, &records.params));
        records.cmyk = {};
        records.yuv = {};
        records.white = {};
    }
    EXPECT_EQ(400, c->cmykParams->gcrLevel);
    EXPECT_EQ(12, c->cmykParams->size);
    EXPECT_EQ(44, c->yuvParams->size);
    EXPECT_EQ(kVyuPositions, c->yuvParams->positions) << "the table behind it stays the caller's";
    EXPECT_EQ(65U, c->whitePoint->whiteCode);
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(c));
}

TEST(ConverterRecord, SubRecordsMayLieAtAnyAddressUpToTheEndOfReadableMemory) {
    const HostScope host;
    const FullRecords good;
    ClrParams params = good.params;
    // Odd addresses, and the last byte before an unreadable page.
    const GuardedBuffer white(sizeof(ClrWhitePoint)), cmyk(sizeof(ClrCmykParams)), lab(sizeof(ClrLabParams)),
        yuv(sizeof(ClrYuvParams));
    const GuardedBuffer room(128, GuardedBuffer::Side::kFront);
    for (const bool odd : {false, true}) {
        params.whitePoint = PlaceAt(odd ? room.Data() + 1 : white.Data(), good.white);
        params.cmykParams = PlaceAt(odd ? room.Data() + 23 : cmyk.Data(), good.cmyk);
        params.yuvParams = PlaceAt(odd ? room.Data() + 37 : yuv.Data(), good.yuv);
        params.labParams = PlaceAt(odd ? room.Data() + 83 : lab.Data(), good.lab);
        const Converter cmykToLab(2, 7, &params);
        EXPECT_EQ(400, cmykToLab->cmykParams->gcrLevel);
        EXPECT_EQ(170, cmykToLab->labEncode->aRange);
        EXPECT_EQ(0, std::memcmp(&good.white, cmykToLab->whitePoint, sizeof good.white));
        const Converter yuvToHub(1, 0, &params);
        EXPECT_EQ(0, std::memcmp(&good.yuv, yuvToHub->yuvParams, sizeof good.yuv));
    }
}

TEST(ConverterRecord, SubRecordsMayBeReadOnly) {
    const HostScope host;
    const FullRecords good;
    GuardedBuffer page(256, GuardedBuffer::Side::kFront);
    ClrParams params = good.params;
    params.whitePoint = PlaceAt(page.Data(), good.white);
    params.cmykParams = PlaceAt(page.Data() + 32, good.cmyk);
    params.labParams = PlaceAt(page.Data() + 64, good.lab);
    page.MakeReadOnly();
    const Converter c(2, 7, &params);
}

TEST(ConverterRecord, ReadOnlyParamsServeWithoutAutomaticChoice) {
    const HostScope host;
    GuardedBuffer page(sizeof(ClrParams));
    ClrParams* params = PlaceAt(page.Data(), MakeParams(CLRMETHOD_BUILTIN, CLRMETHOD_BUILTIN));
    page.MakeReadOnly();
    const Converter c(0, 1, params);
}

TEST(ConverterRecord, LabRecordsAreBuiltFromTheEncodingAndGamma) {
    const HostScope host;
    FullRecords records;
    records.lab = {32, 0, 3, 110, 120, 180, 90, 210};
    ClrLabDecodeRecord decode;
    std::memset(static_cast<void*>(&decode), 0, sizeof decode);
    SetLabRecord(decode, kLabDecodeSetup, records.lab);
    ClrBuildLabDecode(&decode, 45);
    ClrLabEncodeRecord encode;
    std::memset(static_cast<void*>(&encode), 0, sizeof encode);
    SetLabRecord(encode, kLabEncodeSetup, records.lab);
    ClrBuildLabEncode(&encode, 45);
    for (const bool toLab : {false, true}) {
        const Converter c(toLab ? 0 : 7, toLab ? 7 : 0, &records.params);
        EXPECT_EQ(decode.lBase, c->labDecode->lBase);
        EXPECT_EQ(0, std::memcmp(decode.fixedMatrix, c->labDecode->fixedMatrix, sizeof decode.fixedMatrix));
        EXPECT_EQ(0, std::memcmp(decode.gammaThresholds, c->labDecode->gammaThresholds, sizeof decode.gammaThresholds));
        EXPECT_EQ(90, c->labDecode->bOffset);
        EXPECT_EQ(0, std::memcmp(encode.rgbToXyz, c->labEncode->rgbToXyz, sizeof encode.rgbToXyz));
        EXPECT_EQ(0, std::memcmp(encode.cubeRoot, c->labEncode->cubeRoot, sizeof encode.cubeRoot));
        EXPECT_EQ(encode.lBias, c->labEncode->lBias);
    }
}

TEST(ConverterRecord, YcckTablesHoldRangeAndDecoding) {
    const HostScope host;
    ClrParams params = MakeParams(CLRMETHOD_BUILTIN, CLRMETHOD_BUILTIN);
    for (ClrParams* record : {static_cast<ClrParams*>(nullptr), &params}) {
        const Converter c(11, 0, record);
        const ClrYcckTables& own = *c->ycckTables;
        EXPECT_EQ(own.rangeBytes + 256, own.rangeLimit);
        EXPECT_EQ(0, std::memcmp(own.rangeBytes, ClrGlobalYcckTables.rangeBytes, sizeof own.rangeBytes));
        EXPECT_EQ(0, std::memcmp(own.crToR, ClrGlobalYcckTables.crToR, sizeof own.crToR));
        EXPECT_EQ(0, std::memcmp(own.cbToB, ClrGlobalYcckTables.cbToB, sizeof own.cbToB));
        EXPECT_EQ(0, std::memcmp(own.crToG, ClrGlobalYcckTables.crToG, sizeof own.crToG));
        EXPECT_EQ(0, std::memcmp(own.cbToG, ClrGlobalYcckTables.cbToG, sizeof own.cbToG));
    }
}

TEST(ConverterRecord, AllocationsNameTheirSource) {
    const HostScope host;
    FullRecords records;
    { const Converter c(2, 7, &records.params); }
    const std::vector<HostCall> calls = host->Calls();
    ASSERT_FALSE(calls.empty());
    size_t zeroed = 0;
    for (const HostCall& call : calls) {
        EXPECT_EQ(u"Common\\zvclr", call.file) << call.operation;
        EXPECT_GT(call.line, 0) << call.operation;
        if (call.operation != "HostAllocZeroed") continue;
        ++zeroed;
        EXPECT_EQ(1720U, call.size);
    }
    EXPECT_EQ(1U, zeroed) << "the converter and nothing else";
}

}  // namespace
}  // namespace zv::test
