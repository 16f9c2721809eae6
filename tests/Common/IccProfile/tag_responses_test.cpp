// "rcs2".
#include "tests/Common/IccProfile/tag_fixture.h"

namespace zv::test {
namespace {

uint32_t Unit(uint32_t type) { return 0x53746100 + type; }
uint32_t CountOf(uint32_t type, uint32_t channel) { return 0x80000000 + 100 * type + channel; }
uint32_t Patch(uint32_t type, uint32_t i) { return 0x01020304 + 0x01010000 * type + i; }
uint16_t DeviceOf(uint32_t type, uint32_t channel, uint32_t i) {
    return static_cast<uint16_t>(0x0102 + 0x1000 * type + 0x100 * channel + i);
}
uint16_t Reserved(uint32_t i) { return static_cast<uint16_t>(0xFE00 + i); }
uint32_t Measure(uint32_t type, uint32_t channel, uint32_t i) { return 0xA0B0C0D0 + 256 * type + 16 * channel + i; }

/// Each list has as many responses as the set has types.
struct Responses {
    Responses(uint16_t channels, uint16_t types, TagArrays::Place place = TagArrays::Place::kAtTheEnd) : arrays(place) {
        std::vector<ClrIccResponseCurve> curves(types);
        for (uint32_t type = 0; type < types; ++type) {
            std::vector<uint32_t> counts;
            std::vector<uint32_t> patches;
            std::vector<ClrIccResponse*> lists;
            for (uint32_t channel = 0; channel < channels; ++channel) {
                counts.push_back(CountOf(type, channel));
                std::vector<ClrIccResponse> list;
                for (uint32_t i = 0; i < types; ++i) {
                    list.push_back({DeviceOf(type, channel, i), Reserved(i), Measure(type, channel, i)});
                }
                lists.push_back(arrays.Put(list));
            }
            for (uint32_t i = 0; i < 3U * channels; ++i) patches.push_back(Patch(type, i));
            curves[type].measurement = Unit(type);
            curves[type].counts = arrays.Put(counts);
            curves[type].patches = arrays.Put(patches);
            curves[type].responses = arrays.Put(lists);
        }
        record = DirtyRecord<ClrIccTagResponseCurveSet>();
        record.channels = channels;
        record.types = types;
        record.curves = arrays.Put(curves);  // offsets are not looked at
    }

    TagArrays arrays;
    ClrIccTagResponseCurveSet record;
};

Bytes CurveBytes(uint32_t type, uint32_t channels, uint32_t types) {
    Bytes bytes = BigLongs({Unit(type)});
    for (uint32_t channel = 0; channel < channels; ++channel) PutBig32(bytes, CountOf(type, channel));
    for (uint32_t i = 0; i < 3 * channels; ++i) PutBig32(bytes, Patch(type, i));
    for (uint32_t channel = 0; channel < channels; ++channel) {
        for (uint32_t i = 0; i < types; ++i) {
            PutBig16(bytes, DeviceOf(type, channel, i));
            PutBig16(bytes, Reserved(i));
            PutBig32(bytes, Measure(type, channel, i));
        }
    }
    return bytes;
}

Bytes SetHead(uint16_t channels, uint16_t types) { return TypedBody("rcs2", BigWords({channels, types})); }

Bytes SetBody(uint16_t channels, uint16_t types) {
    Bytes body = SetHead(channels, types);
    const uint32_t step = 4U + 16U * channels + 8U * channels * types;
    for (uint32_t type = 0; type < types; ++type) PutBig32(body, 12U + 4U * types + step * type);
    for (uint32_t type = 0; type < types; ++type) body = body + CurveBytes(type, channels, types);
    return body;
}

void ExpectCurve(uint32_t type, uint32_t channels, uint32_t types, const ClrIccResponseCurve& curve) {
    EXPECT_EQ(Unit(type), Value(curve.measurement));
    for (uint32_t channel = 0; channel < channels; ++channel) {
        EXPECT_EQ(CountOf(type, channel), Value(curve.counts[channel]));
        for (uint32_t i = 0; i < types; ++i) {
            const ClrIccResponse& response = curve.responses[channel][i];
            EXPECT_EQ(DeviceOf(type, channel, i), Value(response.device));
            EXPECT_EQ(Reserved(i), Value(response.reserved));
            EXPECT_EQ(Measure(type, channel, i), Value(response.measure));
        }
    }
    for (uint32_t i = 0; i < 3 * channels; ++i) EXPECT_EQ(Patch(type, i), Value(curve.patches[i]));
}

TEST(ResponseCurvesTag, OneChannelByBytes) {
    const HostScope host;
    Responses responses(1, 1);
    const Bytes body = {'r',  'c', 's',  '2', 0,    0,    0,    0,                //
                        0,    1,   0,    1,                                       // channels, types
                        0,    0,   0,    16,                                      // offset
                        'S',  't', 'a',  0,                                       // unit of measurement
                        0x80, 0,   0,    0,                                       // count, unused
                        1,    2,   3,    4,   1,    2,    3,    5,   1, 2, 3, 6,  // X, Y, Z
                        1,    2,   0xFE, 0,   0xA0, 0xB0, 0xC0, 0xD0};            // response
    ASSERT_EQ(12U + ((1 + 2) * 1 + 1) * 1 * 8, body.size());
    ExpectSet(&responses.record, "rcs2", body, true);
}

TEST(ResponseCurvesTag, IsStoredInEveryShape) {
    const HostScope host;
    for (uint16_t channels = 0; channels <= 5; ++channels) {
        for (uint16_t types = 0; types <= 5; ++types) {
            SCOPED_TRACE(testing::Message() << channels << " channels, " << types << " types");
            Responses responses(channels, types);
            const Bytes body = SetBody(channels, types);
            ASSERT_EQ(12U + ((types + 2U) * channels + 1) * types * 8, body.size());
            ExpectSet(&responses.record, "rcs2", body, true);
        }
    }
}

TEST(ResponseCurvesTag, OffsetsOfTheCallerAreNotReadAndNewOnesAreMade) {
    const HostScope host;
    Responses responses(3, 4);
    responses.record.offsets = nullptr;
    const Bytes body = SetBodyOf(&responses.record, "rcs2");
    EXPECT_EQ(12U + 4 * 4, GetBig32(body, 12));
    for (size_t type = 1; type < 4; ++type) {
        EXPECT_EQ(4U + 16 * 3 + 8 * 3 * 4, GetBig32(body, 12 + 4 * type) - GetBig32(body, 8 + 4 * type));
    }
}

TEST(ResponseCurvesTag, IsReadInEveryShape) {
    const HostScope host;
    for (uint16_t channels = 0; channels <= 5; ++channels) {
        for (uint16_t types = 0; types <= 5; ++types) {
            ReadBody read(SetBody(channels, types));
            ASSERT_EQ(CLR_SUCCESS, read.Result());
            const ClrIccTagResponseCurveSet& set = read->responseCurveSet;
            EXPECT_EQ(FourCc("rcs2"), Value(set.typeSig));
            EXPECT_EQ(channels, Value(set.channels));
            ASSERT_EQ(types, Value(set.types));
            const uint32_t step = 4U + 16U * channels + 8U * channels * types;
            for (uint32_t type = 0; type < types; ++type) {
                EXPECT_EQ(12U + 4U * types + step * type, Value(set.offsets[type]));
                ExpectCurve(type, channels, types, set.curves[type]);
            }
        }
    }
}

TEST(ResponseCurvesTag, SurvivesARound) {
    const HostScope host;
    const Bytes body = SetBody(4, 3);
    ReadBody read(body);
    ASSERT_EQ(CLR_SUCCESS, read.Result());
    ExpectSet(read.Record(), "rcs2", body, true);
}

TEST(ResponseCurvesTag, CurvesAreReadWhereTheirOffsetsSay) {
    const HostScope host;
    const uint32_t step = 4 + 16 * 2 + 8 * 2 * 3;
    const uint32_t first = 12 + 4 * 3 + 5;  // nothing has to lie on a word
    // The order of the body is not that of the set.
    const Bytes body = SetHead(2, 3) + BigLongs({first + 2 * step, first, first + step}) + Bytes(5, 0xEE) +
                       CurveBytes(1, 2, 3) + CurveBytes(2, 2, 3) + CurveBytes(0, 2, 3);
    ReadBody read(body);
    ASSERT_EQ(CLR_SUCCESS, read.Result());
    EXPECT_EQ(first + 2 * step, Value(read->responseCurveSet.offsets[0]));
    for (uint32_t type = 0; type < 3; ++type) ExpectCurve(type, 2, 3, read->responseCurveSet.curves[type]);
    // Set again the curves stand in order, and offsets follow.
    EXPECT_EQ(SetBody(2, 3), SetBodyOf(read.Record(), "rcs2"));
}

TEST(ResponseCurvesTag, ListsHaveAsManyResponsesAsThereAreTypesWhateverTheCountsSay) {
    const HostScope host;
    for (const uint32_t count : {0U, 1U, 2U, 3U, 1000U, 0xFFFFFFFFU}) {
        Bytes body = SetBody(2, 2);
        SetBig32(body, 12 + 8 + 4, count);
        ReadBody read(body);
        ASSERT_EQ(CLR_SUCCESS, read.Result());
        EXPECT_EQ(count, Value(read->responseCurveSet.curves[0].counts[0]));
        ExpectCurve(1, 2, 2, read->responseCurveSet.curves[1]);
        EXPECT_EQ(Measure(0, 1, 1), Value(read->responseCurveSet.curves[0].responses[1][1].measure));
        ExpectSet(read.Record(), "rcs2", body, true);
    }
}

TEST(ResponseCurvesTag, OffsetsPastTheBodyAreRefused) {
    const HostScope host;
    const Bytes good = SetBody(2, 3);
    for (size_t type = 0; type < 3; ++type) {
        const auto size = static_cast<uint32_t>(good.size());
        const uint32_t step = 4 + 16 * 2 + 8 * 2 * 3;
        for (const uint32_t offset : {size - step + 1, size, size + 1, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
            Bytes body = good;
            SetBig32(body, 12 + 4 * type, offset);
            ReadBody read(body);
            EXPECT_EQ(ERR_INVALID_PARAMETER, read.Result());
        }
        Bytes body = good;
        SetBig32(body, 12 + 4 * type, size - step);
        ReadBody last(body);
        EXPECT_EQ(CLR_SUCCESS, last.Result());
        ExpectCurve(2, 2, 3, last->responseCurveSet.curves[type]);
    }
}

TEST(ResponseCurvesTag, ShapesPastTheBodyAreRefused) {
    const HostScope host;
    for (const uint16_t value : Words{4, 0x100, 0x7FFF, 0x8000, 0xFFFF}) {
        Bytes body = SetBody(3, 3);
        SetBig16(body, 8, value);
        ReadBody channels(body);
        EXPECT_EQ(ERR_INVALID_PARAMETER, channels.Result());
        SetBig16(body, 10, value);
        ReadBody both(body);
        EXPECT_EQ(ERR_INVALID_PARAMETER, both.Result());
        SetBig16(body, 8, 3);
        ReadBody types(body);
        EXPECT_EQ(ERR_INVALID_PARAMETER, types.Result());
    }
    EXPECT_LE(host->LargestRequestSinceReset(), 1024U);
}

TEST(ResponseCurvesTag, MoreThanThirtyTwoBitsAreRefused) {
    const HostScope host;
    // All arrays are there, since every curve and every channel has the same ones.
    constexpr uint16_t kMost = 0xFFFF;
    TagArrays arrays;
    ClrIccResponseCurve curve;
    curve.measurement = 1;
    curve.counts = arrays.Put(std::vector<uint32_t>(kMost));
    curve.patches = arrays.Put(std::vector<uint32_t>(3 * kMost));
    ClrIccResponse* list = arrays.Put(std::vector<ClrIccResponse>(kMost));
    curve.responses = arrays.Put(std::vector<ClrIccResponse*>(kMost, list));
    auto record = DirtyRecord<ClrIccTagResponseCurveSet>();
    record.channels = kMost;
    record.types = kMost;
    record.curves = arrays.Put(std::vector<ClrIccResponseCurve>(kMost, curve));
    host->FailAllocation(100);  // before memory runs out in earnest
    ExpectRefused(&record, "rcs2");
    EXPECT_LE(host->LargestRequestSinceReset(), 128U);
}

TEST(ResponseCurvesTag, ManyChannelsAreStored) {
    const HostScope host;
    TagArrays arrays;
    ClrIccResponse* list = arrays.Put<ClrIccResponse>({{1, 2, 3}});
    ClrIccResponseCurve curve;
    curve.measurement = 1;
    curve.counts = arrays.Put(std::vector<uint32_t>(0xFFFF, 0x01020304));
    curve.patches = arrays.Put(std::vector<uint32_t>(3 * 0xFFFF, 0x05060708));
    curve.responses = arrays.Put(std::vector<ClrIccResponse*>(0xFFFF, list));
    auto record = DirtyRecord<ClrIccTagResponseCurveSet>();
    record.channels = 0xFFFF;
    record.types = 1;
    record.curves = &curve;
    Bytes body = SetHead(0xFFFF, 1) + BigLongs({16, 1}) + BigLongs(std::vector<uint32_t>(0xFFFF, 0x01020304)) +
                 BigLongs(std::vector<uint32_t>(3 * 0xFFFF, 0x05060708));
    for (int i = 0; i < 0xFFFF; ++i) {
        PutBig32(body, 0x00010002);
        PutBig32(body, 3);
    }
    ASSERT_EQ(12U + (3 * 0xFFFF + 1) * 8, body.size());
    EXPECT_TRUE(body == SetBodyOf(&record, "rcs2"));
}

TEST(ResponseCurvesTag, ArraysThatCannotBeReadAreRefused) {
    const HostScope host;
    // A byte less of each array in turn, or none at all.
    const size_t arrays = Responses(2, 2).arrays.Count();
    ASSERT_EQ(2U * (2 + 3) + 1, arrays);
    const auto shifted = [](auto* pointer, bool isNull) {
        void* moved = isNull ? nullptr : reinterpret_cast<uint8_t*>(pointer) + 1;
        return static_cast<decltype(pointer)>(moved);
    };
    for (const bool isNull : {false, true}) {
        for (uint32_t type = 0; type < 2; ++type) {
            for (int field = 0; field < 5; ++field) {
                Responses responses(2, 2);
                ClrIccResponseCurve* curve = &responses.record.curves[type];
                if (field == 0) curve->counts = shifted(Value(curve->counts), isNull);
                if (field == 1) curve->patches = shifted(Value(curve->patches), isNull);
                if (field == 2) curve->responses = shifted(Value(curve->responses), isNull);
                if (field >= 3) curve->responses[field - 3] = shifted(curve->responses[field - 3], isNull);
                ExpectRefused(&responses.record, "rcs2");
            }
        }
        Responses responses(2, 2);
        responses.record.curves = shifted(Value(responses.record.curves), isNull);
        ExpectRefused(&responses.record, "rcs2");
    }
}

TEST(ResponseCurvesTag, BothFormsAreReleasedByTheirOwnCounts) {
    const HostScope host;
    Responses responses(3, 2);
    ClrIccTagRecord image;
    std::memset(&image, 0xEE, sizeof image);
    ASSERT_EQ(CLR_SUCCESS, Zv_CreateICCTagData(&image, &responses.record, FourCc("rcs2")));
    const ClrIccTagResponseCurveSet& set = image.responseCurveSet;
    EXPECT_EQ(SetHead(3, 2), BytesAt(&image, 12));
    const Bytes body = SetBody(3, 2);
    EXPECT_EQ(BytesAt(body.data() + 12, 8), BytesAt(set.offsets, 8));
    for (uint32_t type = 0; type < 2; ++type) {
        const ClrIccResponseCurve& curve = set.curves[type];
        const Bytes expected = CurveBytes(type, 3, 2);
        EXPECT_EQ(expected, BytesAt(&curve.measurement, 4) + BytesAt(curve.counts, 12) + BytesAt(curve.patches, 36) +
                                BytesAt(curve.responses[0], 16) + BytesAt(curve.responses[1], 16) +
                                BytesAt(curve.responses[2], 16));
    }
    Zv_FreeICCTagType(&image, FourCc("rcs2"));
    EXPECT_EQ(nullptr, Value(set.offsets));
    EXPECT_EQ(nullptr, Value(set.curves));
    Zv_FreeICCTagType(&image, FourCc("rcs2"));

    ReadBody read(body);
    ASSERT_EQ(CLR_SUCCESS, read.Result());
    Zv_FreeICCTagType(read.Record(), FourCc("rcs2"));
    EXPECT_EQ(nullptr, Value(read->responseCurveSet.offsets));
    EXPECT_EQ(nullptr, Value(read->responseCurveSet.curves));
}

}  // namespace
}  // namespace zv::test
