// Changes of the records of a converter: inks, layout of YUV, encoding of Lab.
#include <cmath>

#include "Common/kernels/lab_records.h"
#include "tests/Common/zvclr/change_fixture.h"

namespace zv::test {
namespace {

// --- Inks -----------------------------------------------------------------------------------------------------------

TEST(ChangeInks, FirstRecordIsTakenWhole) {
    const HostScope host;
    for (const int32_t mask : {0, 1, 2, -1, -2}) {
        const Converter c(CLRSPACE_RGB, CLRSPACE_CMYK);
        const ClrCmykParams given{99, 1000, mask};
        EXPECT_EQ(CLR_SUCCESS, ChangeCmyk(c, given));
        EXPECT_EQ(RecordBytes(&given), RecordBytes(c->cmykParams)) << mask;
    }
}

TEST(ChangeInks, LaterOnesByTheMask) {
    const HostScope host;
    ClrCmykParams created = MakeCmyk(400);
    ClrParams params = MakeParams(1, 1);
    params.cmykParams = &created;
    const Converter c(CLRSPACE_RGB, CLRSPACE_CMYK, &params);
    for (const int32_t mask : {0, 2, 4, 0x100, -2, INT32_MIN}) {
        EXPECT_EQ(CLR_SUCCESS, ChangeCmyk(c, {77, 500, mask}));
        EXPECT_EQ(RecordBytes(&created), RecordBytes(c->cmykParams)) << mask;
    }
    int32_t level = 500;
    for (const int32_t mask : {1, 3, 0x101, -1}) {
        EXPECT_EQ(CLR_SUCCESS, ChangeCmyk(c, {77, ++level, mask}));
        const ClrCmykParams expected{12, level, 0};
        EXPECT_EQ(RecordBytes(&expected), RecordBytes(c->cmykParams)) << "no other field, mask " << mask;
    }
}

TEST(ChangeInks, RecordsAreCopiedFromAnyAddress) {
    const HostScope host;
    uint8_t room[32];
    ClrParams params = ChangeOf(CLRPARAM_CMYK);
    params.cmykParams = PlaceAt(room + 3, ClrCmykParams{12, 321, 1});
    const Converter c(CLRSPACE_CMYK, CLRSPACE_BGR);
    EXPECT_EQ(CLR_SUCCESS, Change(c, params));
    std::fill(std::begin(room), std::end(room), uint8_t{0});
    EXPECT_EQ(321, c->cmykParams->gcrLevel);
}

TEST(ChangeInks, RefusedRecordsChangeNothing) {
    const HostScope host;
    const GuardedBuffer shorter(11);
    for (const bool withRecord : {false, true}) {
        const Converter c(CLRSPACE_CMYK, CLRSPACE_RGB);
        if (withRecord) {
            ASSERT_EQ(CLR_SUCCESS, ChangeCmyk(c, MakeCmyk(250)));
        }
        const Bytes before = FieldsOf(c);
        ClrParams params = ChangeOf(CLRPARAM_CMYK);
        EXPECT_EQ(ERR_INVALID_PARAMETER, Change(c, params));
        params.cmykParams = reinterpret_cast<ClrCmykParams*>(shorter.Data());
        EXPECT_EQ(ERR_BAD_POINTER, Change(c, params));
        EXPECT_EQ(before, FieldsOf(c));
        if (withRecord) {
            EXPECT_EQ(250, c->cmykParams->gcrLevel);
        }
    }
}

TEST(ChangeInks, ConversionsUseTheNewLevel) {
    const HostScope host;
    const Converter toInks(CLRSPACE_RGB, CLRSPACE_CMYK), fromInks(CLRSPACE_CMYK, CLRSPACE_RGB);
    const Bytes black = {0, 0, 0}, colour = {200, 100, 50};
    EXPECT_EQ((Bytes{255, 255, 255, 44}), ConvertRow(toInks.Get(), black));
    ASSERT_EQ(CLR_SUCCESS, ChangeCmyk(toInks, MakeCmyk(1000)));
    EXPECT_EQ((Bytes{0, 0, 0, 255}), ConvertRow(toInks.Get(), black));
    EXPECT_EQ((Bytes{46, 146, 196, 55}), ConvertRow(toInks.Get(), colour));
    ASSERT_EQ(CLR_SUCCESS, ChangeCmyk(toInks, {12, 500, 1}));
    EXPECT_EQ((Bytes{248, 248, 248, 127}), ConvertRow(toInks.Get(), black));

    EXPECT_EQ((Bytes{131, 131, 131}), ConvertRow(fromInks.Get(), {124, 124, 124, 63}));
    ASSERT_EQ(CLR_SUCCESS, ChangeCmyk(fromInks, MakeCmyk(500)));
    EXPECT_EQ((Bytes{0, 0, 0}), ConvertRow(fromInks.Get(), {124, 124, 124, 63}));
    ASSERT_EQ(CLR_SUCCESS, ChangeCmyk(fromInks, {12, 1000, 1}));
    EXPECT_EQ((Bytes{150, 50, 0}), ConvertRow(fromInks.Get(), {46, 146, 196, 55}));
}

TEST(ChangeInks, ConverterWorksAsOneCreatedWithTheRecord) {
    const HostScope host;
    for (const auto& [source, destination] : {std::pair{0, 2}, {12, 2}, {2, 0}, {2, 12}}) {
        for (const int32_t level : {-1000, 0, 250, 999, 2000}) {
            ClrCmykParams cmyk = MakeCmyk(level);
            ClrParams params = MakeParams(1, 1);
            params.cmykParams = &cmyk;
            const Converter changed(source, destination);
            ASSERT_EQ(CLR_SUCCESS, ChangeCmyk(changed, cmyk));
            EXPECT_EQ(SampleThrough(source, destination, params), ConvertSample(changed.Get())) << level;
        }
    }
}

TEST(ChangeInks, CopyingConverterKeepsARecordAndReleasesIt) {
    const HostScope host;
    const Converter c(CLRSPACE_CMYK, CLRSPACE_CMYK);
    EXPECT_EQ(CLR_SUCCESS, ChangeCmyk(c, MakeCmyk(900)));
    EXPECT_EQ(SamplePixels(CLRSPACE_CMYK), ConvertSample(c.Get()));
}

// --- Encoding of Lab ------------------------------------------------------------------------------------------------

constexpr double kDaylightMatrix[9] = {3.240478992462158,   -1.5371500253677368,  -0.49853500723838806,
                                       -0.9692559838294983, 1.875991940498352,    0.04155600070953369,
                                       0.05564799904823303, -0.20404300093650818, 1.0573110580444336};
constexpr double kDaylightWhite[3] = {95.0166015625, 100.0, 108.76499938964844};
constexpr double kChangedMatrix[9] = {2.830880641937256,   -1.0300474166870117, -0.5604600310325623,
                                      -1.5802161693572998, 2.7214279174804688,  0.026361215859651566,
                                      0.2055138498544693,  -0.5249314904212952, 1.7662780284881592};
constexpr double kChangedWhite[3] = {96.421, 99.997, 82.524};

std::array<int32_t, 6> EncodingOf(const ClrLabDecodeRecord& r) {
    return {r.lOffset, r.lRange, r.aOffset, r.aRange, r.bOffset, r.bRange};
}
int32_t Rounded16(double v) { return static_cast<int32_t>(v * 65536.0 + (v < 0 ? -0.5 : 0.5)); }

void ExpectLabRecord(const ClrLabDecodeRecord& r, const double (&matrix)[9], const double (&white)[3],
                     const std::array<int32_t, 6>& encoding) {
    EXPECT_EQ(encoding, EncodingOf(r));
    EXPECT_EQ(white[0], r.whiteX);
    EXPECT_EQ(white[1], r.whiteY);
    EXPECT_EQ(white[2], r.whiteZ);
    EXPECT_EQ(static_cast<float>(Rounded16(encoding[0] - 4080.0 / encoding[1])), r.lBase);
    EXPECT_EQ(Rounded16(encoding[1] / 29580.0 * 4096.0), r.lScale);
    EXPECT_EQ(Rounded16(encoding[3] / 127500.0 * 4096.0), r.aScale);
    EXPECT_EQ(Rounded16(encoding[5] / 51000.0 * 4096.0), r.bScale);
    for (size_t i = 0; i < 9; ++i) {
        EXPECT_EQ(matrix[i], r.matrix[i]) << i;
        const double scaled = i % 3 == 0   ? white[0] * matrix[i] / white[1]
                              : i % 3 == 1 ? matrix[i]
                                           : white[2] * matrix[i] / white[1];
        EXPECT_EQ(Rounded16(scaled), r.fixedMatrix[i]) << i;
    }
    for (int i = 0; i < 255; ++i) {
        const double threshold = std::pow((i + 0.5) / 255.0, 1.0 / (45 / 100.0)) * 268435456.0 + 0.5;
        EXPECT_EQ(static_cast<int32_t>(threshold), r.gammaThresholds[i]) << i;
    }
}

constexpr ClrLabParams kOther = {32, 63, 5, 90, 120, 150, 100, 180};
const Bytes kLabPixels = {0,  128, 96, 255, 128, 96,  137, 128, 96,  136, 248, 182,
                          82, 175, 0,  224, 0,   202, 100, 100, 100, 200, 140, 60};

TEST(ChangeLab, FirstOneMakesARecordOfItsOwnAndIgnoresTheCallers) {
    const HostScope host;
    for (const auto& [source, destination] : {std::pair{7, 0}, {12, 7}, {7, 2}}) {
        ClrParams params = MakeParams(1, 1);
        const Converter plain(source, destination), made(source, destination, &params);
        for (const Converter* c : {&plain, &made}) {
            EXPECT_EQ(CLR_SUCCESS, ChangeLab(*c, kOther));
            ASSERT_NE(nullptr, (*c)->labDecode);
            ExpectLabRecord(*(*c)->labDecode, kChangedMatrix, kChangedWhite, {0, 100, 128, 170, 96, 200});
            EXPECT_EQ(nullptr, (*c)->labEncode);
            EXPECT_EQ(907490, (*c)->labDecode->lScale);
            EXPECT_EQ(178890, (*c)->labDecode->fixedMatrix[0]);
            EXPECT_EQ(-30312, (*c)->labDecode->fixedMatrix[2]);
            EXPECT_EQ(95528, (*c)->labDecode->fixedMatrix[8]);
            EXPECT_EQ(57528670, (*c)->labDecode->gammaThresholds[127]);
        }
    }
}

TEST(ChangeLab, SecondOneAppliesTheMask) {
    const HostScope host;
    const Converter c(CLRSPACE_LAB, CLRSPACE_RGB);
    ASSERT_EQ(CLR_SUCCESS, ChangeLab(c, kOther));
    ASSERT_EQ(CLR_SUCCESS, ChangeLab(c, kOther));
    ExpectLabRecord(*c->labDecode, kChangedMatrix, kChangedWhite, {5, 90, 120, 150, 100, 180});
    EXPECT_EQ(-2643285.0F, c->labDecode->lBase);
    EXPECT_EQ(816741, c->labDecode->lScale);
    EXPECT_EQ(315806, c->labDecode->aScale);
    EXPECT_EQ(947419, c->labDecode->bScale);
}

TEST(ChangeLab, EachBitTakesItsOwnNumber) {
    const HostScope host;
    FullRecords records;
    const std::array<int32_t, 6> kGiven = {5, 90, 120, 150, 100, 180};
    for (int32_t mask = 0; mask < 64; ++mask) {
        const Converter c(CLRSPACE_LAB, CLRSPACE_BGR, &records.params);
        std::array<int32_t, 6> expected = {0, 100, 128, 170, 96, 200};
        for (size_t i = 0; i < 6; ++i) {
            if ((mask >> i & 1) != 0) expected[i] = kGiven[i];
        }
        ClrLabParams lab = kOther;
        lab.size = -1;
        lab.mask = mask | (mask % 2 == 0 ? 0 : INT32_MIN | 64);
        EXPECT_EQ(CLR_SUCCESS, ChangeLab(c, lab));
        EXPECT_EQ(expected, EncodingOf(*c->labDecode)) << mask;
        if (mask % 9 == 0) ExpectLabRecord(*c->labDecode, kDaylightMatrix, kDaylightWhite, expected);
    }
}

TEST(ChangeLab, TheWayToLabStaysAsCreated) {
    const HostScope host;
    FullRecords records;
    const Converter c(CLRSPACE_RGB, CLRSPACE_LAB, &records.params), without(CLRSPACE_RGB, CLRSPACE_LAB);
    const ClrLabEncodeRecord* encode = c->labEncode;
    const Bytes before = RecordBytes(encode), pixels = ConvertSample(c.Get()), plain = ConvertSample(without.Get());
    EXPECT_EQ(CLR_SUCCESS, ChangeLab(c, kOther));
    EXPECT_EQ(encode, c->labEncode);
    EXPECT_EQ(before, RecordBytes(c->labEncode));
    EXPECT_EQ((std::array<int32_t, 6>{5, 90, 120, 150, 100, 180}), EncodingOf(*c->labDecode));
    EXPECT_EQ(pixels, ConvertSample(c.Get()));
    EXPECT_EQ(CLR_SUCCESS, ChangeLab(without, kOther));
    EXPECT_EQ(plain, ConvertSample(without.Get()));
}

TEST(ChangeLab, ConversionsUseTheNewEncoding) {
    const HostScope host;
    const Converter c(CLRSPACE_LAB, CLRSPACE_RGB);
    ASSERT_EQ(CLR_SUCCESS, ChangeLab(c, kOther));
    EXPECT_EQ(
        (Bytes{0, 0, 0, 255, 255, 255, 141, 140, 136, 250, 0, 0, 0, 59, 218, 136, 255, 0, 79, 114, 91, 203, 205, 255}),
        ConvertRow(c.Get(), kLabPixels));
    ASSERT_EQ(CLR_SUCCESS, ChangeLab(c, kOther));
    EXPECT_EQ(
        (Bytes{0, 0, 0, 249, 237, 240, 127, 118, 123, 220, 0, 24, 0, 45, 194, 129, 252, 0, 74, 96, 84, 180, 173, 237}),
        ConvertRow(c.Get(), kLabPixels));
}

TEST(ChangeLab, RecordOfTheCreationKeepsItsWhite) {
    const HostScope host;
    FullRecords records;
    const Converter c(CLRSPACE_LAB, CLRSPACE_RGB, &records.params);
    ASSERT_EQ(CLR_SUCCESS, ChangeLab(c, kOther));
    EXPECT_EQ(
        (Bytes{0, 0, 0, 228, 218, 226, 117, 109, 115, 224, 0, 19, 0, 58, 175, 67, 219, 32, 60, 86, 80, 162, 163, 218}),
        ConvertRow(c.Get(), kLabPixels));
    records.lab = kOther;
    EXPECT_EQ(SampleThrough(CLRSPACE_LAB, CLRSPACE_RGB, records.params), ConvertSample(c.Get()));
}

TEST(ChangeLab, RangesOfZeroAndAtTheEndsOfTheNumbersConvertSomehow) {
    const HostScope host;
    const Bytes pixels = RandomBytes(300, 5);
    for (const int32_t extreme : {0, -1, INT32_MIN, INT32_MAX}) {
        FullRecords records;
        const Converter c(CLRSPACE_LAB, CLRSPACE_RGB, &records.params);
        EXPECT_EQ(CLR_SUCCESS, ChangeLab(c, {32, 63, extreme, extreme, extreme, extreme, extreme, extreme}));
        const Converted once = ConvertPixels(c, pixels, 100);
        EXPECT_EQ(CLR_SUCCESS, once.result);
        EXPECT_EQ(once, ConvertPixels(c, pixels, 100));
    }
}

TEST(ChangeLab, RefusedRecordsChangeNothing) {
    const HostScope host;
    const GuardedBuffer shorter(31);
    FullRecords records;
    const Converter without(CLRSPACE_LAB, CLRSPACE_RGB), with(CLRSPACE_LAB, CLRSPACE_RGB, &records.params);
    for (const Converter* c : {&without, &with}) {
        const Bytes before = FieldsOf(*c), decode = RecordBytes((*c)->labDecode);
        ClrParams params = ChangeOf(CLRPARAM_LAB);
        EXPECT_EQ(ERR_INVALID_PARAMETER, Change(*c, params));
        params.labParams = reinterpret_cast<ClrLabParams*>(shorter.Data());
        EXPECT_EQ(ERR_BAD_POINTER, Change(*c, params)) << "also where its numbers are not taken";
        EXPECT_EQ(before, FieldsOf(*c));
        EXPECT_EQ(decode, RecordBytes((*c)->labDecode));
    }
}

/// Its gamma was never set; nothing converts by the record.
TEST(ChangeLab, CopyingConverterTakesOne) {
    const HostScope host;
    const Converter c(CLRSPACE_LAB, CLRSPACE_LAB);
    EXPECT_EQ(CLR_SUCCESS, ChangeLab(c, kOther));
    EXPECT_EQ(CLR_SUCCESS, ChangeLab(c, kOther));
    ASSERT_NE(nullptr, c->labDecode);
    EXPECT_EQ((std::array<int32_t, 6>{5, 90, 120, 150, 100, 180}), EncodingOf(*c->labDecode));
    EXPECT_EQ(SamplePixels(CLRSPACE_LAB), ConvertSample(c.Get()));
}

}  // namespace
}  // namespace zv::test
