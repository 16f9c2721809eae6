#include "Common/kernels/lab_records.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

#include "Common/kernels/kernels.h"
#include "tests/Common/kernels/few_pixels.h"
#include "tests/support/instruction_sets.h"
#include "tests/support/recording_host.h"

namespace zv::test {

namespace {

constexpr ClrLabParams kCommon = {32, 63, 0, 100, 128, 170, 96, 200};

std::unique_ptr<ClrLabEncodeRecord> Encoder(const ClrLabParams& encoding) {
    auto record = std::make_unique<ClrLabEncodeRecord>();
    SetLabRecord(*record, kLabEncodeSetup, encoding);
    ClrBuildLabEncode(record.get(), kGammaPercent);
    return record;
}

std::unique_ptr<ClrLabDecodeRecord> Decoder(const ClrLabParams& encoding) {
    auto record = std::make_unique<ClrLabDecodeRecord>();
    SetLabRecord(*record, kLabDecodeSetup, encoding);
    ClrBuildLabDecode(record.get(), kGammaPercent);
    return record;
}

Bytes Encoded(const ClrLabEncodeRecord& record, const Bytes& hub, int32_t rgbFirst = 1) {
    return RowThrough([&](const uint8_t* s, uint8_t* d,
                          int32_t width) { return ClrLabParamsFromHub(&record, s, d, width, 1, 0, 0, rgbFirst); },
                      hub, 1, 3);
}

Bytes Decoded(const ClrLabDecodeRecord& record, const Bytes& lab, int32_t rgbFirst = 1) {
    return RowThrough([&](const uint8_t* s, uint8_t* d,
                          int32_t width) { return ClrLabParamsToHub(&record, s, d, width, 1, 0, 0, rgbFirst); },
                      lab, 1, 3);
}

// --- Records --------------------------------------------------------------------------------------------------------

TEST(LabDecodeRecord, CommonEncoding) {
    const auto record = Decoder(kCommon);
    EXPECT_EQ(-2673869.0F, record->lBase);
    EXPECT_EQ(907490, record->lScale);
    EXPECT_EQ(357914, record->aScale);
    EXPECT_EQ(1052688, record->bScale);
    EXPECT_EQ(201785, record->fixedMatrix[0]);
    EXPECT_EQ(-100739, record->fixedMatrix[1]);
    EXPECT_EQ(-35536, record->fixedMatrix[2]);
    EXPECT_EQ(258, record->gammaThresholds[0]);
    EXPECT_EQ(267267204, record->gammaThresholds[254]);
}

TEST(LabDecodeRecord, LaterMatrixRowsFoldTheWhiteIntoOuterColumnsOnly) {
    const auto record = Decoder(kCommon);
    const double x = 95.0166015625, y = 100.0, z = 108.76499938964844;
    for (size_t row = 0; row < 9; row += 3) {
        EXPECT_EQ(std::round(x * record->matrix[row] / y * 65536.0), record->fixedMatrix[row]);
        EXPECT_EQ(std::round(record->matrix[row + 1] * 65536.0), record->fixedMatrix[row + 1]);
        EXPECT_EQ(std::round(z * record->matrix[row + 2] / y * 65536.0), record->fixedMatrix[row + 2]);
    }
}

TEST(LabDecodeRecord, ThresholdsLieHalfwayBetweenTheBytes) {
    const auto record = Decoder(kCommon);
    for (int32_t i = 0; i < 255; ++i) {
        const double linear = std::pow((i + 0.5) / 255.0, 1.0 / 0.45) * 268435456.0;
        EXPECT_LE(std::abs(linear - record->gammaThresholds[i]), 0.501) << i;
        if (i > 0) {
            EXPECT_LT(record->gammaThresholds[i - 1], record->gammaThresholds[i]) << i;
        }
    }
}

TEST(LabEncodeRecord, CommonEncoding) {
    const auto record = Encoder(kCommon);
    EXPECT_EQ(-11185, record->aMin);
    EXPECT_EQ(11097, record->aMax);
    EXPECT_EQ(-24672, record->bMin);
    EXPECT_EQ(40864, record->bMax);
    EXPECT_EQ(-2673869, record->lBias);
    EXPECT_EQ(750 << 16, record->aScale);
    EXPECT_EQ(255 << 16, record->bScale);
    // 295.8 in single precision.
    EXPECT_EQ(static_cast<int32_t>(std::round(295.8F * 65536.0F)), record->lScale);
}

TEST(LabEncodeRecord, TablesAreSumsOfTheMatrix) {
    const auto record = Encoder(kCommon);
    const double yx = static_cast<float>(100.0 / 95.0166015625), yz = static_cast<float>(100.0 / 108.76499938964844);
    for (size_t k = 0; k < 9; ++k) {
        const double ratio = k < 3 ? yx : k < 6 ? 1.0 : yz;
        EXPECT_EQ(0, record->rgbToXyz[k][0]);
        EXPECT_EQ(std::round(record->matrix[k] * ratio * 65536.0), record->rgbToXyz[k][255]);
        EXPECT_TRUE(std::is_sorted(std::begin(record->rgbToXyz[k]), std::end(record->rgbToXyz[k])));
        // Mid level: pow(128 / 255, 2.2222).
        EXPECT_NEAR(std::pow(128 / 255.0, 1 / 0.45) * record->matrix[k] * ratio * 65536.0, record->rgbToXyz[k][128],
                    0.51);
    }
}

TEST(LabEncodeRecord, CubeRootIsTheCieFunctionOn4096Steps) {
    const auto record = Encoder(kCommon);
    EXPECT_EQ(9039, record->cubeRoot[0]);
    EXPECT_EQ(65531, record->cubeRoot[4095]);
    for (int32_t i = 0; i < 4096; ++i) {
        const double t = i / 4096.0;
        const double f = t > 0.008856 ? std::cbrt(t) : t * 7.7867 + 0.13793103;
        EXPECT_NEAR(f * 65536.0, record->cubeRoot[i], 0.6) << i;
    }
}

TEST(LabEncodeRecord, AnEncodingWithoutRoomOnOneSideLeavesTheTables) {
    // aMin, aMax, bMin and bMax in turn.
    for (const ClrLabParams& encoding :
         {ClrLabParams{32, 63, 0, 100, 0, 170, 96, 200}, ClrLabParams{32, 63, 0, 100, 255, 170, 96, 200},
          ClrLabParams{32, 63, 0, 100, 128, 170, 0, 200}, ClrLabParams{32, 63, 0, 100, 128, 170, 255, 200},
          ClrLabParams{32, 63, 0, 100, 128, 0, 96, 200}}) {
        auto record = std::make_unique<ClrLabEncodeRecord>();
        std::memset(static_cast<void*>(record.get()), 0x11, sizeof *record);
        SetLabRecord(*record, kLabEncodeSetup, encoding);
        ClrBuildLabEncode(record.get(), kGammaPercent);
        EXPECT_EQ(0x11111111, record->lScale);
        EXPECT_EQ(0x11111111, record->aScale);
        EXPECT_EQ(0x11111111, record->lBias);
        EXPECT_EQ(0x11111111, record->rgbToXyz[8][255]);
        EXPECT_EQ(0x1111, record->cubeRoot[0]);
    }
}

TEST(LabEncodeRecord, KernelRunsOnUnfilledTables) {
    const auto record = Encoder({32, 63, 0, 100, 0, 170, 96, 200});
    // All zero: F is 0, A and B are 0, and only the offsets are left.
    EXPECT_EQ((Bytes{0, 0, 96}), Encoded(*record, {10, 200, 90}));
}

TEST(LabRecords, EveryFieldExtremeBuildsAndRuns) {
    for (const int32_t value : {INT32_MIN, -65536, -1, 0, 1, 255, 65536, INT32_MAX}) {
        for (size_t field = 0; field < 6; ++field) {
            ClrLabParams encoding = kCommon;
            int32_t* const fields[6] = {&encoding.lOffset, &encoding.lRange,  &encoding.aOffset,
                                        &encoding.aRange,  &encoding.bOffset, &encoding.bRange};
            *fields[field] = value;
            const auto encode = Encoder(encoding);
            const auto decode = Decoder(encoding);
            for (const Bytes& pixel : {Bytes{0, 0, 0}, Bytes{255, 255, 255}, Bytes{0, 255, 0}, Bytes{255, 0, 255}}) {
                EXPECT_EQ(3U, Encoded(*encode, pixel).size());
                EXPECT_EQ(3U, Decoded(*decode, pixel).size());
            }
        }
    }
}

// --- Kernels --------------------------------------------------------------------------------------------------------

TEST(LabParamsFromHub, CommonEncoding) {
    const auto record = Encoder(kCommon);
    EXPECT_EQ((Bytes{0, 128, 96}), Encoded(*record, {0, 0, 0}));
    EXPECT_EQ((Bytes{255, 128, 96}), Encoded(*record, {255, 255, 255}));
    EXPECT_EQ((Bytes{137, 128, 96}), Encoded(*record, {128, 128, 128}));
    EXPECT_EQ((Bytes{136, 248, 182}), Encoded(*record, {255, 0, 0}));
}

TEST(LabParamsFromHub, LimiterKeepsGreenAndBlueInsideTheRange) {
    const auto record = Encoder(kCommon);
    EXPECT_EQ((Bytes{224, 0, 202}), Encoded(*record, {0, 255, 0}));
    EXPECT_EQ((Bytes{82, 175, 0}), Encoded(*record, {0, 0, 255}));
}

TEST(LabParamsFromHub, ADifferenceTooSmallToDivideByIsKeptWhole) {
    // Tables that give fx - fy of 3 for red 1, above the limit of 1: a fourth of it is 0.
    ClrLabEncodeRecord record{};
    record.rgbToXyz[0][1] = 16;
    record.cubeRoot[1] = record.cubeRoot[2] = 3;
    record.aMin = record.bMin = -1;
    record.aMax = record.bMax = 1;
    record.aScale = INT32_MAX;
    record.aOffset = 100;
    // 3 * 32768, rounded in 16.16 twice.
    EXPECT_EQ((Bytes{0, 102, 0}), Encoded(record, {1, 0, 0}));
    // Green gives -3: -3 >> 2 is -1, so the share is -16384 / -1, a fourth, and -1 of it is left. Whole it would be 99.
    record.rgbToXyz[4][1] = 16;
    EXPECT_EQ(100, Encoded(record, {0, 1, 0})[1]);
}

TEST(LabParamsFromHub, BlueFirstReadsRedInByte2) {
    const auto record = Encoder(kCommon);
    EXPECT_EQ((Bytes{136, 248, 182}), Encoded(*record, {0, 0, 255}, 0));
}

TEST(LabParamsToHub, GreysComeBackWhole) {
    const auto record = Decoder(kCommon);
    EXPECT_EQ((Bytes{255, 255, 255}), Decoded(*record, {255, 128, 96}));
    EXPECT_EQ((Bytes{128, 128, 128}), Decoded(*record, {137, 128, 96}));
    EXPECT_EQ((Bytes{0, 0, 0}), Decoded(*record, {0, 128, 96}));
}

TEST(LabParamsToHub, CubesThatDoNotFit) {
    // f of the third pixel is so near to 2 that its cube, rounded, has 32 bits: below 0, which is cut to 0.
    for (const int32_t aOffset : {-125069, -125068, -125070, 125069}) {
        const ClrLabParams encoding = {sizeof(ClrLabParams), 0, 0, 102, aOffset, 1, 96, 200};
        const auto record = Decoder(encoding);
        Bytes pixels, expected;
        for (int32_t l = 0; l < 256; ++l) {
            for (int32_t a = 0; a < 256; ++a) {
                const Pixel<3> pixel = {static_cast<uint8_t>(l), static_cast<uint8_t>(a), 96};
                pixels.insert(pixels.end(), pixel.begin(), pixel.end());
                const Rgb rgb = LabToRgb(*record, pixel);
                expected.insert(expected.end(), {rgb.r, rgb.g, rgb.b});
            }
        }
        for (const ClrIsa isa : InstructionSets()) {
            const UseIsa use(isa);
            Bytes got(pixels.size());
            ASSERT_EQ(CLR_SUCCESS, ClrLabParamsToHub(record.get(), pixels.data(), got.data(), 256, 256, 0, 0, 1));
            EXPECT_EQ(expected, got) << aOffset << testing::PrintToString(isa);
        }
    }
}

TEST(LabParamsToHub, BlueFirstWritesRedToByte2) {
    const auto record = Decoder(kCommon);
    const Bytes redFirst = Decoded(*record, {136, 248, 182}, 1);
    EXPECT_GT(redFirst[0], 240);
    EXPECT_EQ((Bytes{redFirst[2], redFirst[1], redFirst[0]}), Decoded(*record, {136, 248, 182}, 0));
}

TEST(LabParamsKernels, NullsAreRefused) {
    const auto encode = Encoder(kCommon);
    const auto decode = Decoder(kCommon);
    uint8_t bytes[3] = {};
    EXPECT_EQ(ERR_INVALID_PARAMETER, ClrLabParamsFromHub(nullptr, bytes, bytes, 1, 1, 0, 0, 1));
    EXPECT_EQ(ERR_INVALID_PARAMETER, ClrLabParamsFromHub(encode.get(), nullptr, bytes, 1, 1, 0, 0, 1));
    EXPECT_EQ(ERR_INVALID_PARAMETER, ClrLabParamsFromHub(encode.get(), bytes, nullptr, 1, 1, 0, 0, 1));
    EXPECT_EQ(ERR_INVALID_PARAMETER, ClrLabParamsToHub(nullptr, bytes, bytes, 1, 1, 0, 0, 1));
    EXPECT_EQ(ERR_INVALID_PARAMETER, ClrLabParamsToHub(decode.get(), nullptr, bytes, 1, 1, 0, 0, 1));
    EXPECT_EQ(ERR_INVALID_PARAMETER, ClrLabParamsToHub(decode.get(), bytes, nullptr, 1, 1, 0, 0, 1));
}

class LabConverter {
public:
    LabConverter(int32_t source, int32_t destination) {
        ClrLabParams lab = kCommon;
        ClrParams params{};
        params.size = sizeof params;
        params.methods = params.activeMethod = CLRMETHOD_BUILTIN;
        params.labParams = &lab;
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrInit(&converter_, source, destination, &params));
    }
    ~LabConverter() { EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(converter_)); }
    LabConverter(const LabConverter&) = delete;
    LabConverter& operator=(const LabConverter&) = delete;

    Bytes Pixel(const Bytes& in) const {
        Bytes out(3, 0xCC);
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvert(converter_, in.data(), out.data(), 1, 1, 0, 0));
        return out;
    }
    const ClrHandle* Get() const { return converter_; }

private:
    ClrHandle* converter_ = nullptr;
};

TEST(ClrConvert, ParameterisedLabReadsRedFromByte2OnBothHubs) {
    const HostScope host;
    for (const int32_t hub : {CLRSPACE_RGB, CLRSPACE_BGR}) {
        const LabConverter converter(hub, CLRSPACE_LAB);
        EXPECT_EQ((Bytes{136, 248, 182}), converter.Pixel({0, 0, 255}));
        EXPECT_EQ((Bytes{82, 175, 0}), converter.Pixel({255, 0, 0}));
    }
}

TEST(ClrConvert, ParameterisedLabWritesTheOrderOfTheHub) {
    const HostScope host;
    const auto decode = Decoder(kCommon);
    for (const int32_t hub : {CLRSPACE_RGB, CLRSPACE_BGR}) {
        const LabConverter converter(CLRSPACE_LAB, hub);
        EXPECT_EQ(Decoded(*decode, {136, 248, 182}, hub == CLRSPACE_RGB), converter.Pixel({136, 248, 182}));
    }
}

TEST(LabConverter, HoldsBothRecordsInEitherDirection) {
    const HostScope host;
    for (const bool toLab : {false, true}) {
        const LabConverter converter(toLab ? CLRSPACE_RGB : CLRSPACE_LAB, toLab ? CLRSPACE_LAB : CLRSPACE_RGB);
        ASSERT_NE(nullptr, converter.Get()->labDecode);
        ASSERT_NE(nullptr, converter.Get()->labEncode);
        EXPECT_EQ(-2673869.0F, converter.Get()->labDecode->lBase);
        EXPECT_EQ(-11185, converter.Get()->labEncode->aMin);
    }
}

TEST(ClrConvertDirect, TakesThePlainRouteOfLab) {
    const uint8_t green[3] = {0, 255, 0};
    Bytes lab(3);
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvertDirect(CLRSPACE_RGB, CLRSPACE_LAB, green, lab.data(), 1, 1, 0, 0));
    EXPECT_EQ((Bytes{221, 170, 83}), lab);
}

}  // namespace

}  // namespace zv::test
