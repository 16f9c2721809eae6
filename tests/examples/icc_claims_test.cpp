// What docs/icc-profiles.md says one has to watch, one after another.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "icc_samples.h"
#include "program_runs.h"
#include "zvicc.h"

namespace {

// Fields of packed records are compared by value, with a plus before them: a reference to one may be misaligned.

using zvtest::ImageRecord;
using zvtest::runOf;
using zvtest::setSample;
using zvtest::setSequence;
using zvtest::signatureOf;
using zvtest::TestProfile;
using Bytes = std::vector<uint8_t>;

uint32_t bigEndian(const uint8_t* bytes) {
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

Bytes bodyOf(TestProfile* profile, int32_t index) {
    const ClrIccTagEntry entry = (*profile)->tagTable[index];
    const uint8_t* begin =
        (*profile)->tagData + entry.offset - ZVICC_FIRST_TAG_OFFSET(static_cast<uint32_t>((*profile)->tagCount));
    return {begin, begin + entry.size};
}

Bytes imageOf(TestProfile* profile) {
    EXPECT_EQ(Zv_GenerateICCPointer(profile->get()), CLR_SUCCESS);
    return {(*profile)->profileData, (*profile)->profileData + (*profile)->profileSize};
}

int32_t setLetter(TestProfile* profile, const std::string& tag, char letter) {
    ClrIccTagSignature record = {};
    record.value = static_cast<uint8_t>(letter);
    return profile->set(tag, "sig ", &record);
}

int32_t setBytes(TestProfile* profile, const std::string& tag, uint32_t count) {
    Bytes bytes(count, 7);
    ClrIccTagArray record = {};
    record.values = bytes.data();
    record.count = count;
    return profile->set(tag, "ui08", &record);
}

uint32_t letterOf(TestProfile* profile, const std::string& tag) {
    ClrIccTagSignature record;
    EXPECT_EQ(profile->read(tag, &record), CLR_SUCCESS);
    return record.value >> 24;
}

TEST(IccClaims, ReadsAndDeletionsFindTheFirstOfTwo) {
    TestProfile profile;
    ASSERT_EQ(setLetter(&profile, "tech", 'a'), CLR_SUCCESS);
    ASSERT_EQ(setLetter(&profile, "tech", 'b'), CLR_SUCCESS);
    EXPECT_EQ(+profile->tagCount, 2);
    EXPECT_EQ(letterOf(&profile, "tech"), uint32_t{'a'});
    ASSERT_EQ(Zv_DeleteICCTag(profile.get(), signatureOf("tech"), nullptr), CLR_SUCCESS);
    EXPECT_EQ(letterOf(&profile, "tech"), uint32_t{'b'});
}

TEST(IccClaims, DeletionLeavesThePaddingUnlessTheSizeIsRaisedBefore) {
    for (const bool raised : {false, true}) {
        TestProfile profile;
        ASSERT_EQ(setBytes(&profile, "targ", 5), CLR_SUCCESS);
        ASSERT_EQ(setLetter(&profile, "tech", 'a'), CLR_SUCCESS);
        ASSERT_EQ(+profile->tagTable[0].size, 13U);
        if (raised) profile->tagTable[0].size = 16;
        ASSERT_EQ(Zv_DeleteICCTag(profile.get(), signatureOf("targ"), nullptr), CLR_SUCCESS);
        EXPECT_EQ(+profile->tagTable[0].offset, raised ? 144U : 147U);
        EXPECT_EQ(letterOf(&profile, "tech"), uint32_t{'a'});
        EXPECT_EQ(imageOf(&profile).size(), raised ? 156U : 159U);
    }
}

TEST(IccClaims, DeletionOfASharedBodyTakesItFromAll) {
    TestProfile profile;
    ASSERT_EQ(setLetter(&profile, "tech", 'a'), CLR_SUCCESS);
    ASSERT_EQ(setLetter(&profile, "lumi", 'b'), CLR_SUCCESS);
    ASSERT_EQ(setLetter(&profile, "calt", 'c'), CLR_SUCCESS);
    profile->tagTable[1].offset = profile->tagTable[0].offset;
    EXPECT_EQ(letterOf(&profile, "lumi"), uint32_t{'a'});
    ASSERT_EQ(Zv_DeleteICCTag(profile.get(), signatureOf("tech"), nullptr), CLR_SUCCESS);
    ClrIccTagSignature record;
    EXPECT_EQ(profile.read("lumi", &record), ERR_BAD_TAG);
    EXPECT_EQ(letterOf(&profile, "calt"), uint32_t{'c'});
}

TEST(IccClaims, AfterTheLastTagTheSizesAreToBePutRight) {
    TestProfile profile;
    ASSERT_EQ(setLetter(&profile, "tech", 'a'), CLR_SUCCESS);
    ASSERT_EQ(Zv_DeleteICCTag(profile.get(), signatureOf("tech"), nullptr), CLR_SUCCESS);
    EXPECT_EQ(Zv_GenerateICCPointer(profile.get()), ERR_BAD_PROFILE);
    ASSERT_EQ(setLetter(&profile, "tech", 'b'), CLR_SUCCESS);
    EXPECT_EQ(Zv_GenerateICCPointer(profile.get()), ERR_BAD_PROFILE);

    ASSERT_EQ(Zv_DeleteICCTag(profile.get(), signatureOf("tech"), nullptr), CLR_SUCCESS);
    profile->tagDataSize = 0;
    profile->header->size = 132;
    EXPECT_EQ(imageOf(&profile).size(), 132U);
    ASSERT_EQ(setLetter(&profile, "tech", 'c'), CLR_SUCCESS);
    EXPECT_EQ(imageOf(&profile).size(), 156U);
    EXPECT_EQ(letterOf(&profile, "tech"), uint32_t{'c'});
}

TEST(IccClaims, WarningsDoTheirWorkButInDeletionsWithARecord) {
    TestProfile profile;
    EXPECT_EQ(setLetter(&profile, "abcd", 'a'), ERR_UNKNOWN_TAG);
    ClrIccTagSignature record;
    EXPECT_EQ(profile.read("abcd", &record), ERR_UNKNOWN_TAG);
    EXPECT_EQ(+record.value >> 24, uint32_t{'a'});
    EXPECT_EQ(Zv_DeleteICCTag(profile.get(), signatureOf("abcd"), &record), ERR_UNKNOWN_TAG);
    EXPECT_EQ(+profile->tagCount, 1);
    EXPECT_EQ(Zv_DeleteICCTag(profile.get(), signatureOf("abcd"), nullptr), CLR_SUCCESS);
    EXPECT_EQ(+profile->tagCount, 0);
}

TEST(IccClaims, DeletionClearsTheIdentifierAndAdditionDoesNot) {
    TestProfile profile;
    ASSERT_EQ(setLetter(&profile, "tech", 'a'), CLR_SUCCESS);
    profile->header->profileId[3] = 9;
    ASSERT_EQ(setLetter(&profile, "lumi", 'a'), CLR_SUCCESS);
    EXPECT_EQ(profile->header->profileId[3], 9);
    ASSERT_EQ(Zv_DeleteICCTag(profile.get(), signatureOf("tech"), nullptr), CLR_SUCCESS);
    EXPECT_EQ(profile->header->profileId[3], 0);
}

TEST(IccClaims, MissingTagsLeaveTheRecordAlone) {
    TestProfile profile;
    ClrIccTagArray record = {};
    record.count = 77;
    EXPECT_EQ(Zv_GetICCTagData(profile.get(), &record, signatureOf("wtpt")), ERR_BAD_TAG);
    EXPECT_EQ(+record.count, 77U);
}

TEST(IccClaims, EditingLeavesTheImageUntilItIsMadeAnew) {
    TestProfile profile;
    const Bytes before = imageOf(&profile);
    ASSERT_EQ(setLetter(&profile, "tech", 'a'), CLR_SUCCESS);
    EXPECT_EQ(Bytes(profile->profileData, profile->profileData + profile->profileSize), before);
    EXPECT_EQ(imageOf(&profile).size(), before.size() + 24);
}

TEST(IccClaims, GeneratedImagesDifferInTheStatedBytesOnly) {
    TestProfile profile;
    ASSERT_EQ(setBytes(&profile, "targ", 5), CLR_SUCCESS);
    ASSERT_EQ(setLetter(&profile, "tech", 'a'), CLR_SUCCESS);
    Bytes image = imageOf(&profile);
    for (size_t i = 4; i < 128; ++i) image[i] = static_cast<uint8_t>(i);  // every field but the size
    const Bytes version = {4, 0x30, 0, 0};
    std::copy(version.begin(), version.end(), image.begin() + 8);
    Bytes longer = image;
    longer.push_back(1);

    ClrIccProfile again;
    ASSERT_EQ(Zv_InitICCProfile(&again, sizeof again), CLR_SUCCESS);
    ASSERT_EQ(Zv_FillICCProfileStructure(&again, longer.data(), longer.size()), CLR_SUCCESS);
    ASSERT_EQ(Zv_GenerateICCPointer(&again), CLR_SUCCESS);
    Bytes expected = image;
    std::fill(expected.begin() + 56, expected.begin() + 60, uint8_t{0});
    std::fill(expected.begin() + 100, expected.begin() + 128, uint8_t{0});
    EXPECT_EQ(Bytes(again.profileData, again.profileData + again.profileSize), expected);
    Zv_FreeICCProfile(&again);
}

class IccFiles : public zvtest::ProgramRuns {
protected:
    static std::u16string wide(const std::string& name) { return {name.begin(), name.end()}; }
};

TEST_F(IccFiles, OtherVersionsAreKeptAsBytes) {
    TestProfile profile;
    ASSERT_EQ(setLetter(&profile, "tech", 'a'), CLR_SUCCESS);
    Bytes image = imageOf(&profile);
    for (const uint32_t version : {0x02100000U, 0x02400000U, 0x04000000U, 0x04200000U, 0x04300000U, 0x05000000U}) {
        for (size_t i = 0; i < 4; ++i) image[8 + i] = static_cast<uint8_t>(version >> (24 - 8 * i));
        const std::string name = path("profile.icc");
        std::ofstream(name, std::ios::binary)
            .write(reinterpret_cast<const char*>(image.data()), static_cast<std::streamsize>(image.size()));
        ClrIccProfile read;
        ASSERT_EQ(Zv_InitICCProfile(&read, sizeof read), CLR_SUCCESS);
        ASSERT_EQ(Zv_FillICCProfileFromICCFile(wide(name).c_str(), &read), CLR_SUCCESS);
        const bool parsed = version == 0x04000000 || version == 0x04200000;
        EXPECT_EQ(read.header != nullptr, parsed) << version;
        EXPECT_EQ(+read.tagCount, parsed ? 1 : 0) << version;
        EXPECT_EQ(Bytes(read.profileData, read.profileData + read.profileSize), image) << version;
        Zv_FreeICCProfile(&read);

        ASSERT_EQ(Zv_InitICCProfile(&read, sizeof read), CLR_SUCCESS);
        EXPECT_EQ(Zv_FillICCProfileStructure(&read, image.data(), image.size()),
                  version < 0x04000000 ? ERR_BAD_PROFILE : CLR_SUCCESS)
            << version;
        Zv_FreeICCProfile(&read);
    }
}

TEST_F(IccFiles, ARecordWithoutAnImageMakesAnEmptyFile) {
    ClrIccProfile profile;
    ASSERT_EQ(Zv_InitICCProfile(&profile, sizeof profile), CLR_SUCCESS);
    const std::string name = path("empty.icc");
    EXPECT_EQ(Zv_GenerateICCFile(&profile, wide(name).c_str()), CLR_SUCCESS);
    EXPECT_EQ(std::filesystem::file_size(name), 0U);
    EXPECT_EQ(Zv_FillICCProfileFromICCFile(wide(name).c_str(), &profile), ERR_FILE_READ);
    profile.profileSize = 132;
    EXPECT_EQ(Zv_GenerateICCFile(&profile, wide(name).c_str()), ERR_FILE_WRITE);
    EXPECT_EQ(Zv_FillICCProfileFromICCFile(wide(path("none.icc")).c_str(), &profile), ERR_FILE_OPEN);
}

TEST(IccClaims, ReservedBytesOfABodyAreNotKept) {
    TestProfile profile;
    ASSERT_EQ(setLetter(&profile, "tech", 'a'), CLR_SUCCESS);
    profile->tagData[4] = 5;
    ClrIccTagSignature record;
    ASSERT_EQ(profile.read("tech", &record), CLR_SUCCESS);
    EXPECT_EQ(record.typeReserved[3], 5);
    ASSERT_EQ(profile.set("lumi", "sig ", &record), CLR_SUCCESS);
    EXPECT_EQ(bigEndian(bodyOf(&profile, 1).data() + 4), 0U);
    EXPECT_EQ(bigEndian(bodyOf(&profile, 1).data() + 8), 0x61202020U);
}

TEST(IccClaims, LongNumbersLoseTheirUpperHalvesWhenRead) {
    uint64_t values[1] = {0x1122334455667788};
    ClrIccTagArray record = {};
    record.values = values;
    record.count = 1;
    TestProfile profile;
    ASSERT_EQ(profile.set("targ", "ui64", &record), CLR_SUCCESS);
    EXPECT_EQ(bigEndian(profile->tagData + 8), 0x11223344U);
    ASSERT_EQ(profile.read("targ", &record), CLR_SUCCESS);
    EXPECT_EQ(*static_cast<uint64_t*>(record.values), 0x55667788U);
    Zv_FreeICCTagType(&record, signatureOf("ui64"));
}

TEST(IccClaims, PresetsOfChromaticitiesHaveTheShortWords) {
    uint32_t coordinates[6] = {};
    ClrIccTagChromaticity record = {};
    record.typeSig = signatureOf("chrm");
    record.channels = 3;
    record.phosphorType = 4;
    record.coordinates = coordinates;
    TestProfile profile;
    ASSERT_EQ(profile.set("chrm", "chrm", &record), CLR_SUCCESS);
    EXPECT_EQ(bigEndian(profile->tagData + 8), 0x00030004U);
    EXPECT_EQ(bigEndian(profile->tagData + 12), 0x0000000AU);
    record.channels = 2;
    EXPECT_EQ(profile.set("chrm", "chrm", &record), ERR_INVALID_PARAMETER);

    record.channels = 3;
    ClrIccTagRecord refused;
    EXPECT_EQ(Zv_CreateICCTagData(&refused, &record, signatureOf("chrm")), ERR_INVALID_PARAMETER);
    const ImageRecord made("chrm", reinterpret_cast<uint8_t*>(&record) + 8);
    EXPECT_EQ(+made.record.chromaticity.channels, 0x0300);
}

TEST(IccClaims, AsciiDataGrowsByTwoBytesInEachRound) {
    TestProfile profile;
    ASSERT_EQ(setSample(&profile, "data"), CLR_SUCCESS);
    EXPECT_EQ(+profile->tagTable[0].size, 24U);
    ClrIccTagData record;
    ASSERT_EQ(profile.read("A2B0", &record), CLR_SUCCESS);
    EXPECT_EQ(+record.byteCount, 12U);
    ASSERT_EQ(profile.set("A2B1", "data", &record), CLR_SUCCESS);
    EXPECT_EQ(+profile->tagTable[1].size, 26U);
    record.byteCount -= 2;
    ASSERT_EQ(profile.set("A2B2", "data", &record), CLR_SUCCESS);
    EXPECT_EQ(bodyOf(&profile, 2), bodyOf(&profile, 0));
    Zv_FreeICCTagType(&record, signatureOf("data"));
}

TEST(IccClaims, ReadTextsCanBePrintedAndNotSet) {
    TestProfile profile;
    ASSERT_EQ(setSample(&profile, "text"), CLR_SUCCESS);
    ClrIccTagText record;
    ASSERT_EQ(profile.read("A2B0", &record), CLR_SUCCESS);
    EXPECT_STREQ(record.text, "abcd");
    EXPECT_EQ(std::memcmp(record.text + 5, "\0\0\0", 3), 0);
    ASSERT_EQ(profile.set("targ", "text", &record), CLR_SUCCESS);
    EXPECT_NE(bodyOf(&profile, 1), bodyOf(&profile, 0));
    Zv_FreeICCTagType(&record, signatureOf("text"));
}

TEST(IccClaims, LocalisedTextsNeedASwapOnTheirWayBack) {
    uint16_t letters[3] = {'a', 'b', 0xE4};
    ClrIccMlucEntry entry = {0x6465, 0x4445, 6, 28};
    ClrIccTagMultiLocalized record = {};
    record.recordCount = 1;
    record.recordSize = 12;
    record.records = &entry;
    record.text = letters;
    TestProfile profile;
    ASSERT_EQ(profile.set("desc", "mluc", &record), CLR_SUCCESS);
    const Bytes text = {0, 'a', 0, 'b', 0, 0xE4};
    EXPECT_EQ(std::memcmp(bodyOf(&profile, 0).data() + 28, text.data(), text.size()), 0);

    ASSERT_EQ(profile.read("desc", &record), CLR_SUCCESS);
    auto* read = static_cast<uint8_t*>(record.text);
    EXPECT_EQ(Bytes(read, read + 6), text);
    ASSERT_EQ(profile.set("dmnd", "mluc", &record), CLR_SUCCESS);
    EXPECT_NE(bodyOf(&profile, 1), bodyOf(&profile, 0));
    for (int i = 0; i < 6; i += 2) std::swap(read[i], read[i + 1]);
    ASSERT_EQ(profile.set("dmdd", "mluc", &record), CLR_SUCCESS);
    EXPECT_EQ(bodyOf(&profile, 2), bodyOf(&profile, 0));
    EXPECT_EQ(profile.set("pseq", "mluc", &record), ERR_INVALID_PARAMETER);
    Zv_FreeICCTagType(&record, signatureOf("mluc"));
}

TEST(IccClaims, SeveralLanguagesAreReadWhereTheLastTextStandsFirst) {
    uint16_t letters[8] = {'H', 'i', 'S', 'a', 'l', 'u', 't', '!'};
    // English and French; the text of one of them stands first.
    ClrIccMlucEntry frenchFirst[2] = {{0x656E, 0x5553, 4, 52}, {0x6672, 0x4652, 12, 40}};
    ClrIccMlucEntry englishFirst[2] = {{0x656E, 0x5553, 4, 40}, {0x6672, 0x4652, 12, 44}};
    ClrIccTagMultiLocalized record = {};
    record.recordCount = 2;
    record.recordSize = 12;
    record.text = letters;
    TestProfile profile;
    record.records = frenchFirst;
    ASSERT_EQ(profile.set("desc", "mluc", &record), CLR_SUCCESS);
    record.records = englishFirst;
    ASSERT_EQ(profile.set("dmnd", "mluc", &record), CLR_SUCCESS);

    ASSERT_EQ(profile.read("desc", &record), CLR_SUCCESS);
    const auto* text = static_cast<const uint8_t*>(record.text);
    EXPECT_EQ(text[1], 'H');
    const uint32_t english = record.records[0].offset - record.records[1].offset;
    EXPECT_EQ(english, 12U);
    EXPECT_EQ(text[english + 1], 't');
    Zv_FreeICCTagType(&record, signatureOf("mluc"));
    EXPECT_EQ(profile.read("dmnd", &record), ERR_INVALID_PARAMETER);
    Zv_FreeICCTagType(&record, signatureOf("mluc"));
}

TEST(IccClaims, NamedColoursAreSwappedWhenReadOnly) {
    uint16_t device[1] = {0x1234};
    ClrIccNamedColorEntry color = {};
    color.pcs[0] = 0x5678;
    color.device = device;
    ClrIccTagNamedColor2 record = {};
    record.vendorFlags = 0xABCD1234;
    record.colorCount = 1;
    record.deviceCoords = 1;
    record.colors = &color;
    TestProfile profile;
    ASSERT_EQ(profile.set("ncl2", "ncl2", &record), CLR_SUCCESS);
    EXPECT_EQ(bigEndian(profile->tagData + 8), 0xABCD0000U);
    ASSERT_EQ(profile.read("ncl2", &record), CLR_SUCCESS);
    EXPECT_EQ(+record.colors[0].pcs[0], 0x7856);
    EXPECT_EQ(+record.colors[0].device[0], 0x1234);
    Zv_FreeICCTagType(&record, signatureOf("ncl2"));
}

TEST(IccClaims, FormulasOfTypeZeroOnlyCanBeWritten) {
    uint32_t parameters[7] = {1, 2, 3, 4, 5, 6, 7};
    for (uint16_t function = 0; function <= 5; ++function) {
        ClrIccTagParametricCurve record = {};
        record.functionType = function;
        record.parameters = parameters;
        TestProfile profile;
        ASSERT_EQ(profile.set("kTRC", "para", &record), function <= 4 ? CLR_SUCCESS : ERR_INVALID_PARAMETER);
        if (function > 4) continue;
        EXPECT_EQ(+profile->tagTable[0].size, function == 0 ? 16U : 12U);
        EXPECT_EQ(profile.read("kTRC", &record), function == 0 ? CLR_SUCCESS : ERR_INVALID_PARAMETER);
        Zv_FreeICCTagType(&record, signatureOf("para"));

        // The body that another program would have written.
        Bytes body = {'p', 'a', 'r', 'a', 0, 0, 0, 0, 0, static_cast<uint8_t>(function), 0, 0};
        for (uint8_t i = 1; i <= Zv_GetParametricCurveNumberOfParameters(function); ++i)
            body.insert(body.end(), {0, 0, 0, i});
        TestProfile other;
        ASSERT_EQ(setBytes(&other, "kTRC", static_cast<uint32_t>(body.size() - 8)), CLR_SUCCESS);
        std::copy(body.begin(), body.end(), other->tagData);
        ASSERT_EQ(other.read("kTRC", &record), CLR_SUCCESS) << function;
        EXPECT_EQ(+record.parameters[Zv_GetParametricCurveNumberOfParameters(function) - 1],
                  static_cast<uint32_t>(Zv_GetParametricCurveNumberOfParameters(function)));
        Zv_FreeICCTagType(&record, signatureOf("para"));
        other->tagData[9] = 5;
        EXPECT_EQ(other.read("kTRC", &record), ERR_BAD_TAG);
        Zv_FreeICCTagType(&record, signatureOf("para"));
    }
}

TEST(IccClaims, TextsOfSequencesAreReadBackByTheirLength) {
    for (const uint32_t units : {4U, 5U, 6U, 7U, 8U}) {
        TestProfile profile;
        ASSERT_EQ(setSequence(&profile, units, units), CLR_SUCCESS) << units;
        ClrIccTagProfileSequence record;
        ASSERT_EQ(profile.read("pseq", &record), CLR_SUCCESS) << units;
        const ClrIccTagMultiLocalized& first = record.entries[0].manufacturerText;
        const ClrIccTagMultiLocalized& second = record.entries[0].modelText;
        ASSERT_EQ(+first.recordCount, 1U) << units;
        const auto* text = static_cast<const uint8_t*>(first.text);
        // 2n - 16 bytes are those of the text, the others zero.
        const uint32_t written = 4 * units - 16;
        for (uint32_t i = 0; i < 2 * units; ++i)
            EXPECT_EQ(text[i], i < written && i % 2 == 1 ? 'a' + i / 2 : 0) << units << " " << i;
        const bool found = units == 5 || units == 7;
        EXPECT_EQ(+second.recordCount, found ? 1U : 0U) << units;
        if (found) {
            EXPECT_EQ(std::memcmp(second.text, text, 2 * units), 0) << units;
        }
        Zv_FreeICCTagType(&record, signatureOf("pseq"));
    }
    TestProfile profile;
    EXPECT_EQ(setSequence(&profile, 9, 7), ERR_INVALID_PARAMETER);
    EXPECT_EQ(setSequence(&profile, 7, 9), ERR_INVALID_PARAMETER);
    EXPECT_EQ(+profile->tagCount, 0);
}

TEST(IccClaims, SequencesOfSeveralAreCutToTheSizeOfTheLast) {
    ClrIccProfileSeqEntry entries[2] = {};
    entries[0].manufacturer = 0x41424344;
    entries[1].manufacturer = 0x45464748;
    ClrIccTagProfileSequence record = {};
    record.count = 2;
    record.entries = entries;
    TestProfile profile;
    ASSERT_EQ(profile.set("pseq", "pseq", &record), CLR_SUCCESS);
    // As one with two empty texts: 8 and 36 and 4 for the fields and heads, 8 for each text.
    const Bytes body = bodyOf(&profile, 0);
    EXPECT_EQ(body.size(), 64U);
    const std::string text(body.begin(), body.end());
    EXPECT_EQ(text.find("ABCD"), 12U);
    EXPECT_EQ(text.find("EFGH"), std::string::npos);
}

TEST(IccClaims, ValuesOutsideTheListsAreRefusedWhenSetAndPassWhenRead) {
    ClrIccTagMeasurement measurement = {};
    ClrIccTagViewingConditions conditions = {};
    TestProfile profile;
    for (int field = 0; field < 4; ++field) {
        ClrIccTagMeasurement wrong = {};
        if (field == 0) wrong.observer = 3;
        if (field == 1) wrong.geometry = 3;
        if (field == 2) wrong.flare = 1;
        if (field == 3) wrong.illuminantType = 9;
        EXPECT_EQ(profile.set("meas", "meas", &wrong), ERR_INVALID_PARAMETER) << field;
    }
    conditions.illuminantType = 9;
    EXPECT_EQ(profile.set("view", "view", &conditions), ERR_INVALID_PARAMETER);
    EXPECT_EQ(+profile->tagCount, 0);
    measurement.observer = 2;
    measurement.geometry = 2;
    measurement.flare = 65536;
    measurement.illuminantType = 8;
    ASSERT_EQ(profile.set("meas", "meas", &measurement), CLR_SUCCESS);
    profile->tagData[11] = 9;
    ASSERT_EQ(profile.read("meas", &measurement), CLR_SUCCESS);
    EXPECT_EQ(+measurement.observer, 9U);
}

TEST(IccClaims, CurvesOfResponsesMustNotShareBytes) {
    TestProfile profile;
    ASSERT_EQ(setSample(&profile, "rcs2"), CLR_SUCCESS);
    ClrIccTagResponseCurveSet record;
    ASSERT_EQ(profile.read("A2B0", &record), CLR_SUCCESS);
    EXPECT_EQ(+record.offsets[0], 16U);
    Zv_FreeICCTagType(&record, signatureOf("rcs2"));
    profile->tagData[11] = 2;  // two kinds of measurement in the bytes of one
    EXPECT_EQ(profile.read("A2B0", &record), ERR_INVALID_PARAMETER);
    Zv_FreeICCTagType(&record, signatureOf("rcs2"));
}

TEST(IccClaims, TheClassGoesBeforeTheConnectionSpaceAndTheHeaderBeforeTheTags) {
    TestProfile profile;
    const auto lab = static_cast<int32_t>(signatureOf("Lab "));
    EXPECT_EQ(Zv_SetICCConnectionSpace(profile.get(), lab), ERR_INVALID_PARAMETER);
    EXPECT_EQ(Zv_SetICCDeviceClass(profile.get(), static_cast<int32_t>(signatureOf("mntr"))), CLR_SUCCESS);
    EXPECT_EQ(Zv_SetICCConnectionSpace(profile.get(), lab), CLR_SUCCESS);
    ASSERT_EQ(setLetter(&profile, "tech", 'a'), CLR_SUCCESS);
    EXPECT_EQ(+profile->header->size, 156U);
    EXPECT_EQ(Zv_InitICCHeader(profile.get()), CLR_SUCCESS);
    EXPECT_EQ(+profile->header->size, 132U);
    EXPECT_EQ(Zv_GenerateICCPointer(profile.get()), ERR_BAD_PROFILE);
}

TEST(IccClaims, StandardTablesOfBytesAreRefused) {
    // 3 to 3 channels, 2 points; ramps of 256 entries from 48 on.
    Bytes body = {'m', 'f', 't', '1', 0, 0, 0, 0, 3, 3, 2, 0};
    body.resize(48);
    for (int table = 0; table < 3; ++table) {
        for (int i = 0; i < 256; ++i) body.push_back(static_cast<uint8_t>(i));
    }
    body.resize(body.size() + 24);
    for (int table = 0; table < 3; ++table) {
        for (int i = 0; i < 256; ++i) body.push_back(static_cast<uint8_t>(i));
    }
    TestProfile profile;
    ASSERT_EQ(setBytes(&profile, "A2B0", static_cast<uint32_t>(body.size() - 8)), CLR_SUCCESS);
    std::copy(body.begin(), body.end(), profile->tagData);
    ClrIccTagLut8 record;
    EXPECT_EQ(profile.read("A2B0", &record), ERR_INVALID_PARAMETER);
    Zv_FreeICCTagType(&record, signatureOf("mft1"));

    ASSERT_EQ(setSample(&profile, "mft1"), CLR_SUCCESS);
    const Bytes ours = bodyOf(&profile, 1);
    EXPECT_EQ(Bytes(ours.begin() + 48, ours.begin() + 52), (Bytes{0, 1, 0, 1}));
}

/// A record of "mAB " or "mBA ", and all that it points to.
struct Lut {
    Bytes runA, runM, runB;
    uint16_t entries[300] = {0x1234};
    uint16_t nodes[24] = {0x5678};
    ClrIccClut clut = {{2, 2, 2}, 2, {}, nullptr};
    ClrIccTagLutAToB record = {};

    explicit Lut(uint32_t entryCount = 1)
        : runA(runOf(3, entryCount, entries)), runM(runOf(3, 0, nullptr)), runB(runM) {
        clut.data = nodes;
        record.inputChannels = 3;
        record.outputChannels = 3;
        record.curvesA = runA.data();
        record.curvesM = runM.data();
        record.curvesB = runB.data();
        record.clut = &clut;
        record.matrix[0] = 0x10000;
    }
};

TEST(IccClaims, RunsGoInStepsOf16Bytes) {
    TestProfile profile;
    Lut lut;
    ASSERT_EQ(profile.set("A2B0", "mAB ", &lut.record), CLR_SUCCESS);

    // An array of whole records is no run.
    ClrIccTagCurve records[3] = {};
    for (ClrIccTagCurve& record : records) {
        record.typeSig = signatureOf("curv");
        record.entryCount = 1;
        record.entries = lut.entries;
    }
    Lut array;
    array.record.curvesA = records;
    EXPECT_EQ(profile.set("A2B1", "mAB ", &array.record), ERR_INVALID_PARAMETER);

    Lut longest(255), tooLong(256);
    EXPECT_EQ(profile.set("A2B1", "mAB ", &longest.record), CLR_SUCCESS);
    EXPECT_EQ(profile.set("A2B2", "mAB ", &tooLong.record), ERR_INVALID_PARAMETER);

    // A formula of type 0 as the first of a run.
    uint32_t exponent = 0x23333;
    Lut formula;
    const uint32_t para = signatureOf("para");
    const uint32_t none = 0;
    const uint32_t* parameters = &exponent;
    std::memcpy(formula.runA.data(), &para, sizeof para);
    std::memcpy(formula.runA.data() + 8, &none, sizeof none);
    std::memcpy(formula.runA.data() + 12, &parameters, sizeof parameters);
    ASSERT_EQ(profile.set("A2B2", "mAB ", &formula.record), CLR_SUCCESS);
    ClrIccTagLutAToB read;
    ASSERT_EQ(profile.read("A2B2", &read), CLR_SUCCESS);
    uint32_t back = 0;
    std::memcpy(&back, static_cast<uint8_t*>(read.curvesA) + 12, sizeof back);
    EXPECT_EQ(back, exponent);
    Zv_FreeICCTagType(&read, signatureOf("mAB "));
}

TEST(IccClaims, CurvesAreAsManyAsTheSideHasChannels) {
    // Four inks, three channels of the connection space.
    uint16_t nodes[48] = {};
    for (const bool toConnection : {true, false}) {
        Bytes device = runOf(4, 0, nullptr), connection = runOf(3, 0, nullptr);
        ClrIccClut clut = {{2, 2, 2, 2}, 2, {}, nodes};
        ClrIccTagLutAToB record = {};
        record.inputChannels = toConnection ? 4 : 3;
        record.outputChannels = toConnection ? 3 : 4;
        record.curvesA = device.data();
        record.curvesM = record.curvesB = connection.data();
        record.clut = &clut;
        TestProfile profile;
        const std::string type = toConnection ? "mAB " : "mBA ";
        ASSERT_EQ(profile.set("A2B0", type, &record), CLR_SUCCESS);
        const Bytes body = bodyOf(&profile, 0);
        const uint32_t grid = toConnection ? 20 + 16 * 3 * 2 : 20 + 8 * 4 * 2;
        EXPECT_EQ(bigEndian(body.data() + 16), 32U + 36);                   // the matrix, behind three B curves
        EXPECT_EQ(bigEndian(body.data() + 28), 32U + 36 + 48 + 36 + grid);  // the A curves
        EXPECT_EQ(body.size(), 32U + 36 + 48 + 36 + grid + 48);
    }
}

TEST(IccClaims, MatrixAndGridAreLeftSwapped) {
    TestProfile profile;
    Lut lut;
    ASSERT_EQ(profile.set("A2B0", "mAB ", &lut.record), CLR_SUCCESS);
    EXPECT_EQ(+lut.record.matrix[0], 0x00000100U);
    EXPECT_EQ(lut.nodes[0], 0x7856);
    EXPECT_EQ(lut.entries[0], 0x1234);
    ASSERT_EQ(profile.set("A2B1", "mAB ", &lut.record), CLR_SUCCESS);
    EXPECT_NE(bodyOf(&profile, 1), bodyOf(&profile, 0));
}

TEST(IccClaims, EveryElementIsNeededToSetALut) {
    TestProfile profile;
    for (int missing = 0; missing < 4; ++missing) {
        Lut lut;
        if (missing == 0) lut.record.curvesA = nullptr;
        if (missing == 1) lut.record.curvesM = nullptr;
        if (missing == 2) lut.record.curvesB = nullptr;
        if (missing == 3) lut.record.clut = nullptr;
        EXPECT_EQ(profile.set("A2B0", "mAB ", &lut.record), ERR_INVALID_PARAMETER) << missing;
        EXPECT_EQ(profile.set("B2A0", "mBA ", &lut.record), ERR_INVALID_PARAMETER) << missing;
    }
}

TEST(IccClaims, ReadLutsHaveRunsInTheOrderOfTheHost) {
    for (const std::string type : {"mAB ", "mBA "}) {
        TestProfile profile;
        Lut lut;
        ASSERT_EQ(profile.set("A2B0", type, &lut.record), CLR_SUCCESS);
        const Bytes body = bodyOf(&profile, 0);
        EXPECT_EQ(bigEndian(body.data() + 12), 32U);

        ClrIccTagLutAToB read;
        ASSERT_EQ(profile.read("A2B0", &read), CLR_SUCCESS);
        // B curves, matrix, M curves, grid, A curves: 36, 48, 36, 68 and 48 bytes.
        EXPECT_EQ(+read.offsetB, 32U);
        EXPECT_EQ(+read.offsetMatrix, 68U);
        EXPECT_EQ(+read.offsetM, 116U);
        EXPECT_EQ(+read.offsetClut, 152U);
        EXPECT_EQ(+read.offsetA, 220U);
        const auto* curve = static_cast<const uint8_t*>(read.curvesA);
        uint32_t count = 0;
        uint16_t entry = 0;
        std::memcpy(&count, curve + 16 + 8, sizeof count);
        std::memcpy(&entry, curve + 16 + 12, sizeof entry);
        EXPECT_EQ(count, 1U);
        EXPECT_EQ(entry, 0x1234);
        EXPECT_EQ(curve[14] | curve[15], 0);
        uint16_t node = 0;
        std::memcpy(&node, static_cast<const uint8_t*>(read.clut) + 20, sizeof node);
        EXPECT_EQ(node, 0x5678);
        EXPECT_EQ(+read.matrix[0], 0x10000U);
        // allData: grid, A, matrix, M, B, or B, matrix, M, grid, A.
        const bool toConnection = type == "mAB ";
        EXPECT_EQ(std::memcmp(read.allData + (toConnection ? 0 : 120), read.clut, 68), 0);
        EXPECT_EQ(std::memcmp(read.allData + (toConnection ? 68 : 188), read.curvesA, 48), 0);
        EXPECT_EQ(std::memcmp(read.allData + (toConnection ? 116 : 36), read.matrix, 48), 0);
        EXPECT_EQ(std::memcmp(read.allData + (toConnection ? 164 : 84), read.curvesM, 36), 0);
        EXPECT_EQ(std::memcmp(read.allData + (toConnection ? 200 : 0), read.curvesB, 36), 0);
        // What was read is no record to be set.
        EXPECT_EQ(profile.set("A2B1", type, &read), ERR_INVALID_PARAMETER);
        Zv_FreeICCTagType(&read, signatureOf(type));

        // Without its B curves.
        std::memset(profile->tagData + 12, 0, 4);
        EXPECT_EQ(profile.read("A2B0", &read), ERR_BAD_TAG);
        Zv_FreeICCTagType(&read, signatureOf(type));

        // B curves only, which is enough unless "mAB " has other channels behind than before them.
        std::memset(profile->tagData + 12, 0, 20);
        profile->tagData[15] = 32;
        EXPECT_EQ(profile.read("A2B0", &read), CLR_SUCCESS);
        EXPECT_TRUE(read.clut == nullptr);
        EXPECT_TRUE(read.curvesA == nullptr);
        EXPECT_TRUE(read.curvesM == nullptr);
        Zv_FreeICCTagType(&read, signatureOf(type));
        profile->tagData[toConnection ? 8 : 9] = 4;
        EXPECT_EQ(profile.read("A2B0", &read), toConnection ? ERR_BAD_TAG : CLR_SUCCESS);
        Zv_FreeICCTagType(&read, signatureOf(type));
    }
}

}  // namespace
