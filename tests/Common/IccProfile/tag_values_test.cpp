// Tag types of a fixed set of numbers: "dtim", "meas", "view", "sig " and "chrm".
#include "tests/Common/IccProfile/tag_fixture.h"

namespace zv::test {
namespace {

template <class Word, size_t count>
void Assign(Word (&field)[count], const std::vector<Word>& values) {
    ASSERT_EQ(count, values.size());
    std::memcpy(static_cast<void*>(field), values.data(), sizeof field);
}

/// The image form of a record without arrays is the body.
void ExpectMadeAsBody(void* record, std::string_view type, const Bytes& body) {
    Bytes image(body.size(), 0xEE);
    ASSERT_EQ(CLR_SUCCESS, Zv_CreateICCTagData(image.data(), record, FourCc(type)));
    EXPECT_EQ(body, image);
    Zv_FreeICCTagType(image.data(), FourCc(type));
    EXPECT_EQ(body, image);
}

// --- dtim -----------------------------------------------------------------------------------------------------------

ClrIccTagDateTime LeapDay() {
    auto date = DirtyRecord<ClrIccTagDateTime>();
    Assign<uint16_t>(date.dateTime, {2024, 2, 29, 23, 59, 58});
    return date;
}

TEST(DateTimeTag, IsStoredAsSixWords) {
    const HostScope host;
    ClrIccTagDateTime date = LeapDay();
    const Bytes body = {'d', 't', 'i', 'm', 0, 0, 0, 0, 0x07, 0xE8, 0, 2, 0, 29, 0, 23, 0, 59, 0, 58};
    ExpectSet(&date, "dtim", body, false);
    ExpectMadeAsBody(&date, "dtim", body);
}

TEST(DateTimeTag, IsNotChecked) {
    const HostScope host;
    auto date = DirtyRecord<ClrIccTagDateTime>();
    Assign<uint16_t>(date.dateTime, {0, 13, 0xFFFF, 0x8000, 60, 0x0102});
    ExpectSet(&date, "dtim", TypedBody("dtim", BigWords({0, 13, 0xFFFF, 0x8000, 60, 0x0102})), false);
}

TEST(DateTimeTag, IsRead) {
    const HostScope host;
    ReadBody read({'d', 't', 'i', 'm', 1, 2, 3, 4, 0x07, 0xE8, 0, 2, 0, 29, 0, 23, 0, 59, 0xFE, 58});
    ASSERT_EQ(CLR_SUCCESS, read.Result());
    EXPECT_EQ(FourCc("dtim"), Value(read->dateTime.typeSig));
    EXPECT_EQ((Bytes{4, 3, 2, 1}), BytesAt(read->dateTime.typeReserved, 4));
    const std::vector<uint16_t> expected = {2024, 2, 29, 23, 59, 0xFE3A};
    for (size_t i = 0; i < 6; ++i) EXPECT_EQ(expected[i], Value(read->dateTime.dateTime[i])) << i;
}

// --- meas -----------------------------------------------------------------------------------------------------------

ClrIccTagMeasurement Measurement() {
    auto measurement = DirtyRecord<ClrIccTagMeasurement>();
    measurement.observer = 2;
    Assign<uint32_t>(measurement.backing, {0x00010203, 0xFFFF0000, 0x80000001});
    measurement.geometry = 1;
    measurement.flare = 0x10000;
    measurement.illuminantType = 8;
    return measurement;
}

TEST(MeasurementTag, IsStoredInOrder) {
    const HostScope host;
    ClrIccTagMeasurement measurement = Measurement();
    const Bytes body = {'m', 'e', 'a',  's', 0, 0, 0, 0, 0, 0, 0, 2, 0, 1, 2, 3, 0xFF, 0xFF,
                        0,   0,   0x80, 0,   0, 1, 0, 0, 0, 1, 0, 1, 0, 0, 0, 0, 0,    8};
    ExpectSet(&measurement, "meas", body, false);
    ExpectMadeAsBody(&measurement, "meas", body);
}

TEST(MeasurementTag, FieldsWithinTheirListsAreAccepted) {
    const HostScope host;
    for (uint32_t observer = 0; observer <= 2; ++observer) {
        for (uint32_t geometry = 0; geometry <= 2; ++geometry) {
            for (const uint32_t flare : {0U, 65536U}) {
                for (uint32_t illuminant = 0; illuminant <= 8; ++illuminant) {
                    ClrIccTagMeasurement measurement = Measurement();
                    measurement.observer = observer;
                    measurement.geometry = geometry;
                    measurement.flare = flare;
                    measurement.illuminantType = illuminant;
                    const Bytes body = SetBodyOf(&measurement, "meas");
                    ASSERT_EQ(36U, body.size());
                    EXPECT_EQ(observer, GetBig32(body, 8));
                    EXPECT_EQ(geometry, GetBig32(body, 24));
                    EXPECT_EQ(flare, GetBig32(body, 28));
                    EXPECT_EQ(illuminant, GetBig32(body, 32));
                }
            }
        }
    }
}

TEST(MeasurementTag, FieldsOutsideAreRefused) {
    const HostScope host;
    const auto refused = [](auto&& change) {
        ClrIccTagMeasurement measurement = Measurement();
        change(&measurement);
        ExpectRefused(&measurement, "meas");
    };
    for (const uint32_t value : {3U, 4U, 0x10000U, 0x02000000U, 0x80000000U, 0xFFFFFFFFU}) {
        refused([=](ClrIccTagMeasurement* m) { m->observer = value; });
        refused([=](ClrIccTagMeasurement* m) { m->geometry = value; });
    }
    for (const uint32_t value : {1U, 2U, 0x100U, 65535U, 65537U, 0x20000U, 0x80000000U, 0xFFFFFFFFU}) {
        refused([=](ClrIccTagMeasurement* m) { m->flare = value; });
    }
    for (const uint32_t value : {9U, 0x08000000U, 0x80000000U, 0xFFFFFFFFU}) {
        refused([=](ClrIccTagMeasurement* m) { m->illuminantType = value; });
    }
}

TEST(MeasurementTag, ReaderTakesAnyNumbers) {
    const HostScope host;
    ReadBody read(TypedBody("meas", BigLongs({7, 1, 2, 0xFFFFFFFE, 0x80000000, 5, 0x01020304})));
    ASSERT_EQ(CLR_SUCCESS, read.Result());
    EXPECT_EQ(FourCc("meas"), Value(read->measurement.typeSig));
    EXPECT_EQ(7U, Value(read->measurement.observer));
    EXPECT_EQ(1U, Value(read->measurement.backing[0]));
    EXPECT_EQ(2U, Value(read->measurement.backing[1]));
    EXPECT_EQ(0xFFFFFFFEU, Value(read->measurement.backing[2]));
    EXPECT_EQ(0x80000000U, Value(read->measurement.geometry));
    EXPECT_EQ(5U, Value(read->measurement.flare));
    EXPECT_EQ(0x01020304U, Value(read->measurement.illuminantType));
}

// --- view -----------------------------------------------------------------------------------------------------------

ClrIccTagViewingConditions Viewing(uint32_t illuminantType) {
    auto viewing = DirtyRecord<ClrIccTagViewingConditions>();
    Assign<uint32_t>(viewing.illuminantXyz, {0x01020304, 0xF6D6, 0x80000000});
    Assign<uint32_t>(viewing.surroundXyz, {0x10000, 0xFFFFFFFF, 5});
    viewing.illuminantType = illuminantType;
    return viewing;
}

TEST(ViewingConditionsTag, IsStoredInOrder) {
    const HostScope host;
    for (uint32_t type = 0; type <= 8; ++type) {
        ClrIccTagViewingConditions viewing = Viewing(type);
        const Bytes body = TypedBody("view", BigLongs({0x01020304, 0xF6D6, 0x80000000, 0x10000, 0xFFFFFFFF, 5, type}));
        ASSERT_EQ(36U, body.size());
        ExpectSet(&viewing, "view", body, false);
        ExpectMadeAsBody(&viewing, "view", body);
    }
}

TEST(ViewingConditionsTag, IlluminantsAboveEightAreRefused) {
    const HostScope host;
    for (const uint32_t type : {9U, 10U, 0x100U, 0x08000000U, 0x80000000U, 0xFFFFFFFFU}) {
        ClrIccTagViewingConditions viewing = Viewing(type);
        ExpectRefused(&viewing, "view");
    }
}

TEST(ViewingConditionsTag, ReaderTakesAnyNumbers) {
    const HostScope host;
    ReadBody read(TypedBody("view", BigLongs({1, 2, 3, 0x04050607, 5, 6, 0xFFFF0009})));
    ASSERT_EQ(CLR_SUCCESS, read.Result());
    EXPECT_EQ(1U, Value(read->viewingConditions.illuminantXyz[0]));
    EXPECT_EQ(2U, Value(read->viewingConditions.illuminantXyz[1]));
    EXPECT_EQ(3U, Value(read->viewingConditions.illuminantXyz[2]));
    EXPECT_EQ(0x04050607U, Value(read->viewingConditions.surroundXyz[0]));
    EXPECT_EQ(5U, Value(read->viewingConditions.surroundXyz[1]));
    EXPECT_EQ(6U, Value(read->viewingConditions.surroundXyz[2]));
    EXPECT_EQ(0xFFFF0009U, Value(read->viewingConditions.illuminantType));
}

// --- sig ------------------------------------------------------------------------------------------------------------

TEST(SignatureTag, ShortValuesMoveToTheLeft) {
    const HostScope host;
    const struct {
        uint32_t value;
        uint32_t word;
    } kRows[] = {
        {0, 0x00202020},          {1, 0x01202020},          {0x41, 0x41202020},      {0xFF, 0xFF202020},
        {0x100, 0x01002020},      {0x4142, 0x41422020},     {0xFFFF, 0xFFFF2020},    {0x10000, 0x01000020},
        {0x414243, 0x41424320},   {0xFFFFFF, 0xFFFFFF20},   {0x1000000, 0x01000000}, {0x41424344, 0x41424344},
        {0x80000000, 0x80000000}, {0xFFFFFFFF, 0xFFFFFFFF},
    };
    for (const auto& row : kRows) {
        auto signature = DirtyRecord<ClrIccTagSignature>();
        signature.value = row.value;
        const Bytes body = TypedBody("sig ", BigLongs({row.word}));
        ExpectSet(&signature, "sig ", body, false);
        ExpectMadeAsBody(&signature, "sig ", body);
    }
}

TEST(SignatureTag, ReaderKeepsTheValueWhereItIs) {
    const HostScope host;
    for (const uint32_t value : {0U, 0x41U, 0x4142U, 0x41202020U, 0x01020304U, 0xFFFFFFFFU}) {
        ReadBody read(TypedBody("sig ", BigLongs({value})));
        ASSERT_EQ(CLR_SUCCESS, read.Result());
        EXPECT_EQ(FourCc("sig "), Value(read->signature.typeSig));
        EXPECT_EQ(value, Value(read->signature.value));
    }
}

// --- chrm -----------------------------------------------------------------------------------------------------------

ClrIccTagChromaticity Chromaticity(uint16_t channels, uint32_t phosphorType, uint32_t* coordinates) {
    auto chromaticity = DirtyRecord<ClrIccTagChromaticity>();
    chromaticity.channels = channels;
    chromaticity.phosphorType = phosphorType;
    chromaticity.coordinates = coordinates;
    return chromaticity;
}

const std::vector<uint32_t> kCoordinates = {0x01020304, 2, 0xFFFFFFFF, 0x80000000, 0x10000, 6};

TEST(ChromaticityTag, OwnCoordinatesAreSwapped) {
    const HostScope host;
    for (uint16_t channels = 0; channels <= 3; ++channels) {
        TagArrays arrays;
        const std::vector<uint32_t> given(kCoordinates.begin(), kCoordinates.begin() + 2 * channels);
        ClrIccTagChromaticity chromaticity = Chromaticity(channels, 0, arrays.Put(given));
        ExpectSet(&chromaticity, "chrm", TypedBody("chrm", BigWords({channels, 0}) + BigLongs(given)), false);
    }
}

struct Preset {
    uint16_t phosphorType;
    std::vector<uint32_t> words;
};

/// 0.625 is the word 0xA: its fraction has one digit.
const Preset kPresets[] = {
    {1, {0xA3D7, 0x547B, 0x4CCD, 0x999A, 0x2666, 0xF5C}},
    {2, {0xA148, 0x570A, 0x4F5C, 0x9852, 0x27AE, 0x11EC}},
    {3, {0xA3D7, 0x547B, 0x4A3D, 0x999A, 0x2666, 0xF5C}},
    {4, {0xA, 0x570A, 0x47AE, 0x9AE1, 0x27AE, 0x11EC}},
};

TEST(ChromaticityTag, PresetsStoreTheirOwnPairs) {
    const HostScope host;
    for (const Preset& preset : kPresets) {
        // The caller's coordinates have to be there, and are not looked at.
        GuardedBuffer unreadable(1);
        unreadable.MakeUnreadable();
        void* anywhere = unreadable.Data();
        ClrIccTagChromaticity chromaticity = Chromaticity(3, preset.phosphorType, static_cast<uint32_t*>(anywhere));
        const Bytes body = TypedBody("chrm", BigWords({3, preset.phosphorType}) + BigLongs(preset.words));
        ASSERT_EQ(36U, body.size());
        ExpectSet(&chromaticity, "chrm", body, false);
    }
}

TEST(ChromaticityTag, PresetFourStoresTenForItsFirstX) {
    const HostScope host;
    uint32_t unused = 0;
    ClrIccTagChromaticity chromaticity = Chromaticity(3, 4, &unused);
    const Bytes body = SetBodyOf(&chromaticity, "chrm");
    EXPECT_EQ((Bytes{0, 3, 0, 4, 0, 0, 0, 0xA}), Bytes(body.begin() + 8, body.begin() + 16));
}

TEST(ChromaticityTag, NullCoordinatesAreRefusedForPresetsToo) {
    const HostScope host;
    for (uint32_t phosphorType = 0; phosphorType <= 4; ++phosphorType) {
        for (uint16_t channels = 0; channels <= 3; ++channels) {
            ClrIccTagChromaticity chromaticity = Chromaticity(channels, phosphorType, nullptr);
            ExpectRefused(&chromaticity, "chrm");
        }
    }
}

TEST(ChromaticityTag, FourChannelsAndMoreAreRefused) {
    const HostScope host;
    TagArrays arrays;
    uint32_t* many = arrays.Put(std::vector<uint32_t>(2 * 0x10000));
    for (const uint16_t channels : Words{4, 5, 0x0300, 0x8000, 0xFFFF}) {
        for (uint32_t phosphorType = 0; phosphorType <= 4; ++phosphorType) {
            ClrIccTagChromaticity chromaticity = Chromaticity(channels, phosphorType, many);
            ExpectRefused(&chromaticity, "chrm");
        }
    }
}

TEST(ChromaticityTag, OtherPhosphorTypesAreRefused) {
    const HostScope host;
    TagArrays arrays;
    uint32_t* coordinates = arrays.Put(kCoordinates);
    for (const uint32_t phosphorType : {5U, 6U, 0x100U, 0x10000U, 0x10001U, 0x01000000U, 0x80000000U, 0xFFFFFFFFU}) {
        ClrIccTagChromaticity chromaticity = Chromaticity(3, phosphorType, coordinates);
        ExpectRefused(&chromaticity, "chrm");
    }
}

TEST(ChromaticityTag, PresetsOfFewerChannelsAreRefused) {
    const HostScope host;
    uint32_t unused[6] = {};
    for (uint32_t phosphorType = 1; phosphorType <= 4; ++phosphorType) {
        for (uint16_t channels = 0; channels <= 2; ++channels) {
            ClrIccTagChromaticity chromaticity = Chromaticity(channels, phosphorType, unused);
            ExpectRefused(&chromaticity, "chrm");
        }
    }
}

TEST(ChromaticityTag, ImageFormHasThePhosphorTypeInFrontOfTwoZeroBytes) {
    const HostScope host;
    // Made from what stands behind a record's head.
    uint32_t unused = 0;
    ClrIccTagChromaticity host3 = Chromaticity(3, 2, &unused);
    ClrIccTagRecord image;
    std::memset(&image, 0xEE, sizeof image);
    ASSERT_EQ(CLR_SUCCESS, Zv_CreateICCTagData(&image, reinterpret_cast<uint8_t*>(&host3) + 8, FourCc("chrm")));
    EXPECT_EQ((Bytes{'c', 'h', 'r', 'm', 0, 0, 0, 0, 0, 3, 0, 2, 0, 0}), BytesAt(&image, 14));
    EXPECT_EQ(BigLongs(kPresets[1].words), BytesAt(image.chromaticity.coordinates, 24));
    Zv_FreeICCTagType(&image, FourCc("chrm"));
    EXPECT_EQ(nullptr, Value(image.chromaticity.coordinates));
    Zv_FreeICCTagType(&image, FourCc("chrm"));
}

TEST(ChromaticityTag, ReadsThePhosphorTypeIntoAWiderField) {
    const HostScope host;
    ReadBody read(TypedBody("chrm", BigWords({3, 0xFEDC}) + BigLongs(kCoordinates)));
    ASSERT_EQ(CLR_SUCCESS, read.Result());
    EXPECT_EQ(3, Value(read->chromaticity.channels));
    EXPECT_EQ(0x0000FEDCU, Value(read->chromaticity.phosphorType));
    for (size_t i = 0; i < 6; ++i) EXPECT_EQ(kCoordinates[i], Value(read->chromaticity.coordinates[i])) << i;
}

TEST(ChromaticityTag, ReadsMoreChannelsThanItSets) {
    const HostScope host;
    std::vector<uint32_t> words;
    for (uint32_t i = 0; i < 30; ++i) words.push_back(i * 0x01010101 + 7);
    ReadBody read(TypedBody("chrm", BigWords({15, 0}) + BigLongs(words)));
    ASSERT_EQ(CLR_SUCCESS, read.Result());
    EXPECT_EQ(15, Value(read->chromaticity.channels));
    for (size_t i = 0; i < 30; ++i) EXPECT_EQ(words[i], Value(read->chromaticity.coordinates[i])) << i;
    ExpectRefused(read.Record(), "chrm");
}

TEST(ChromaticityTag, ChannelsBehindTheBodyAreRefused) {
    const HostScope host;
    for (const uint16_t channels : Words{4, 5, 0x100, 0x1FFF, 0x8000, 0xFFFF}) {
        host->Reset();
        ReadBody read(TypedBody("chrm", BigWords({channels, 0}) + BigLongs(kCoordinates)));
        EXPECT_EQ(ERR_INVALID_PARAMETER, read.Result()) << channels;
        EXPECT_EQ(nullptr, Value(read->chromaticity.coordinates));
    }
}

}  // namespace
}  // namespace zv::test
