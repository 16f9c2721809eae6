// Making transforms of two profiles: formats, stages, and every way to have none.
#include "tests/support/engine_records.h"
#include "tests/support/engine_reference.h"
#include "tests/support/frame_fixture.h"
#include "tests/support/profile_builder.h"

namespace zv::test {
namespace {

constexpr uint32_t kWords3 = 0x1A, kWords4 = 0x22;
constexpr reference::BuildOptions kNoGrid{reference::kConnectionD50, false, true};

Bytes RgbProfile() { return MatrixRgbProfile().Build(); }
Bytes SmallLut(std::string_view space, std::string_view pcs = "Lab ") { return LutProfile(space, pcs, 16, 3).Build(); }

/// Null is what comes, and no block is left.
void ExpectNone(int32_t status, const std::optional<Bytes>& input, uint32_t inputFormat,
                const std::optional<Bytes>& output, uint32_t outputFormat) {
    HostScope host;
    const Built built = BuildFromBytes(input, inputFormat, output, outputFormat, kNoGrid, CLR_SUCCESS);
    EXPECT_EQ(nullptr, built.transform);
    EXPECT_EQ(status, built.status);
    EXPECT_EQ(0U, host.Leaked());
}

Built BuildSome(const std::optional<Bytes>& input, uint32_t inputFormat, const std::optional<Bytes>& output,
                uint32_t outputFormat, const reference::BuildOptions& options = kNoGrid) {
    Built built = BuildFromBytes(input, inputFormat, output, outputFormat, options);
    EXPECT_NE(nullptr, built.transform);
    EXPECT_EQ(CLR_SUCCESS, built.status);
    return built;
}

// --- Formats --------------------------------------------------------------------------------------------------------

TEST(CreateTransform, FormatMustFitTheProfile) {
    struct Row {
        uint32_t format;
        std::string_view space;
    };
    constexpr Row kRows[] = {
        {CMMFORMAT_RGB_8, "RGB "}, {CMMFORMAT_CMY_8, "CMY "}, {CMMFORMAT_CMYK_8, "CMYK"}, {CMMFORMAT_LAB_8, "Lab "}};
    for (const Row& row : kRows) {
        for (const char* space : {"RGB ", "CMY ", "CMYK", "Lab ", "GRAY", "XYZ "}) {
            SCOPED_TRACE(std::string(row.space) + " format of a profile of " + space);
            const Bytes profile = SmallLut(space), bgr = RgbProfile();
            if (row.space == space) {
                const HostScope host;
                EXPECT_NE(nullptr, BuildSome(profile, row.format, bgr, CMMFORMAT_BGR_8).transform);
                EXPECT_NE(nullptr, BuildSome(bgr, CMMFORMAT_BGR_8, profile, row.format).transform);
            } else {
                ExpectNone(ERR_TRANSFORM_CREATE, profile, row.format, bgr, CMMFORMAT_BGR_8);
                ExpectNone(ERR_TRANSFORM_CREATE, bgr, CMMFORMAT_BGR_8, profile, row.format);
            }
        }
    }
}

TEST(CreateTransform, ReversedRgbIsAcceptedWithAnyProfile) {
    const HostScope host;
    for (const char* space : {"RGB ", "CMY ", "CMYK", "Lab ", "XYZ ", "HSV ", "abcd"}) {
        EXPECT_NE(nullptr, BuildSome(SmallLut(space), CMMFORMAT_BGR_8, RgbProfile(), CMMFORMAT_BGR_8).transform);
    }
    EXPECT_NE(
        nullptr,
        BuildSome(GrayProfile(GammaBody(0x200)).Build(), CMMFORMAT_BGR_8, RgbProfile(), CMMFORMAT_BGR_8).transform);
}

TEST(CreateTransform, GrayProfilesFitNoOtherFormat) {
    const Bytes gray = GrayProfile(GammaBody(0x200)).Build();
    for (const uint32_t format : {CMMFORMAT_RGB_8, CMMFORMAT_CMY_8, CMMFORMAT_CMYK_8, CMMFORMAT_LAB_8}) {
        ExpectNone(ERR_TRANSFORM_CREATE, gray, format, RgbProfile(), CMMFORMAT_BGR_8);
    }
}

TEST(CreateTransform, FormatsWithoutAFormatterHaveNone) {
    for (const uint32_t format : {0U, 0x1BU, 0x11U, 0x29U, 0x79U, 0x18U}) {
        ExpectNone(CLR_SUCCESS, RgbProfile(), format, SmallLut("CMYK"), CMMFORMAT_CMYK_8);
        ExpectNone(CLR_SUCCESS, SmallLut("CMYK"), CMMFORMAT_CMYK_8, RgbProfile(), format);
        ExpectNone(CLR_SUCCESS, {}, format, {}, kWords3);
        ExpectNone(CLR_SUCCESS, {}, kWords3, {}, format);
    }
}

TEST(CreateTransform, FieldsOfTheRecord) {
    const HostScope host;
    const Built built = BuildSome(RgbProfile(), CMMFORMAT_RGB_8, SmallLut("CMYK"), CMMFORMAT_CMYK_8);
    const CmmTransform& t = *built.transform;
    EXPECT_EQ(uint32_t{CMMFORMAT_RGB_8}, t.inputFormat);
    EXPECT_EQ(uint32_t{CMMFORMAT_CMYK_8}, t.outputFormat);
    EXPECT_EQ(0U, t.intent);
    EXPECT_EQ(3U, t.proofIntent);
    ASSERT_NE(nullptr, t.inputProfile);
    ASSERT_NE(nullptr, t.outputProfile);
    EXPECT_EQ(Signature("RGB "), t.inputProfile->colorSpace);
    EXPECT_EQ(Signature("CMYK"), t.outputProfile->colorSpace);
    EXPECT_EQ(nullptr, t.previewProfile);
    EXPECT_EQ(nullptr, t.pcsConvert2);
    EXPECT_EQ(nullptr, t.gamutLut);
    EXPECT_EQ(nullptr, t.previewLut);
    EXPECT_EQ(int32_t{PCS_XYZ}, t.inputPcsKind);
    EXPECT_EQ(int32_t{PCS_NONE}, t.previewPcsKind);
    EXPECT_EQ(int32_t{PCS_LAB}, t.outputPcsKind);
    EXPECT_EQ(CmmSelectUnpack(CMMFORMAT_RGB_8), t.unpack);
    EXPECT_EQ(CmmSelectPack(CMMFORMAT_CMYK_8), t.pack);
}

// --- Stages ---------------------------------------------------------------------------------------------------------

TEST(CreateTransform, RgbToRgbWithoutTablesIsTheShortCut) {
    const HostScope host;
    for (const uint32_t from : {CMMFORMAT_RGB_8, CMMFORMAT_BGR_8}) {
        for (const uint32_t to : {CMMFORMAT_RGB_8, CMMFORMAT_BGR_8}) {
            const Built built = BuildSome(RgbProfile(), from, RgbProfile(), to, {});
            EXPECT_EQ(&CmmRunShaper, built.transform->run);
            EXPECT_NE(nullptr, built.transform->combinedShaper);
            EXPECT_EQ(nullptr, built.transform->inputShaper);
            EXPECT_EQ(nullptr, built.transform->outputShaper);
            EXPECT_EQ(nullptr, built.transform->gridLut);
            EXPECT_EQ(int32_t{PCS_XYZ}, built.transform->inputPcsKind);
            EXPECT_EQ(int32_t{PCS_XYZ}, built.transform->outputPcsKind);
        }
    }
}

TEST(CreateTransform, RgbWithATableOnOneSideIsNoShortCut) {
    const HostScope host;
    ProfileBuilder mixed = MatrixRgbProfile();
    mixed.Tag("A2B0", LutBody(SmoothLut(16, 3, 3, 3, 1)));
    const Built from = BuildSome(mixed.Build(), CMMFORMAT_RGB_8, RgbProfile(), CMMFORMAT_RGB_8);
    EXPECT_EQ(&CmmStageInputLut, from.transform->deviceToPcs);
    EXPECT_EQ(&CmmStageOutputShaper, from.transform->pcsToDevice);
    EXPECT_EQ(nullptr, from.transform->combinedShaper);
    EXPECT_EQ(&CmmRunFull, from.transform->run);
    const Built baked = BuildFromBytes(mixed.Build(), CMMFORMAT_RGB_8, RgbProfile(), CMMFORMAT_RGB_8);
    EXPECT_EQ(&CmmRunGrid, baked.transform->run);
    EXPECT_NE(nullptr, baked.transform->gridLut);
    // The tag of the other direction is not asked for.
    const Built to = BuildSome(RgbProfile(), CMMFORMAT_RGB_8, mixed.Build(), CMMFORMAT_RGB_8);
    EXPECT_EQ(&CmmRunShaper, to.transform->run);
}

TEST(CreateTransform, OtherIntentsTablesAreNotAskedFor) {
    ProfileBuilder other = LutProfile("CMYK", "Lab ", 16, 3);
    other.Remove("A2B0").Tag("A2B1", LutBody(SmoothLut(16, 4, 3, 3, 1)));
    // It falls to a matrix that a CMYK profile does not have.
    ExpectNone(CLR_SUCCESS, other.Build(), CMMFORMAT_CMYK_8, RgbProfile(), CMMFORMAT_RGB_8);
    const HostScope host;
    ProfileBuilder rgb = MatrixRgbProfile();
    rgb.Tag("A2B1", LutBody(SmoothLut(16, 3, 3, 3, 1)));
    const Built built = BuildSome(rgb.Build(), CMMFORMAT_RGB_8, SmallLut("CMYK"), CMMFORMAT_CMYK_8);
    EXPECT_EQ(&CmmStageInputShaper, built.transform->deviceToPcs);
    EXPECT_EQ(nullptr, built.transform->inputLut);
}

TEST(CreateTransform, HeaderIntentPlaysNoPartInTheChoiceOfTables) {
    const HostScope host;
    for (const uint32_t intent : {0U, 1U, 2U, 3U}) {
        ProfileBuilder builder = LutProfile("CMYK", "XYZ ", 16, 3);
        builder.header.intent = intent;
        builder.Tag("A2B1", LutBody(SmoothLut(16, 4, 3, 2, 9))).Tag("A2B2", LutBody(SmoothLut(16, 4, 3, 2, 8)));
        const Built built = BuildSome(builder.Build(), CMMFORMAT_CMYK_8, RgbProfile(), CMMFORMAT_RGB_8);
        EXPECT_EQ(3U, built.transform->inputLut->gridPoints) << intent;
        EXPECT_EQ(0U, built.transform->intent);
    }
}

TEST(CreateTransform, ShapersTakeXyzWhateverTheHeaderSays) {
    const HostScope host;
    ProfileBuilder builder = MatrixRgbProfile();
    builder.header.pcs = FourCc("Lab ");
    builder.header.intent = 3;
    const Built from = BuildSome(builder.Build(), CMMFORMAT_RGB_8, SmallLut("CMY "), CMMFORMAT_CMY_8);
    EXPECT_EQ(int32_t{PCS_XYZ}, from.transform->inputPcsKind);
    EXPECT_EQ(&PcsXyzToLab, from.transform->pcsConvert);
    const Built to = BuildSome(SmallLut("CMY "), CMMFORMAT_CMY_8, builder.Build(), CMMFORMAT_RGB_8);
    EXPECT_EQ(int32_t{PCS_XYZ}, to.transform->outputPcsKind);
    EXPECT_EQ(&PcsLabToXyz, to.transform->pcsConvert);
}

TEST(CreateTransform, LabOnBothSidesNeedsNoConversion) {
    const HostScope host;
    const Built built = BuildSome(SmallLut("CMYK"), CMMFORMAT_CMYK_8, SmallLut("CMY "), CMMFORMAT_CMY_8);
    EXPECT_EQ(nullptr, built.transform->pcsConvert);
    EXPECT_EQ(&CmmStageInputLut, built.transform->deviceToPcs);
    EXPECT_EQ(&CmmStageOutputLut, built.transform->pcsToDevice);
}

TEST(CreateTransform, AbsoluteLabInputToRelativeLab) {
    const HostScope host;
    ProfileBuilder absolute = LutProfile("CMYK", "Lab ", 16, 3);
    absolute.header.intent = 3;
    const Built built = BuildSome(absolute.Build(), CMMFORMAT_CMYK_8, SmallLut("CMY "), CMMFORMAT_CMY_8);
    EXPECT_EQ(int32_t{PCS_LAB_ABSOLUTE}, built.transform->inputPcsKind);
    EXPECT_EQ(&PcsLabToLab, built.transform->pcsConvert);
    // Illuminant and white of the output are both D50, its black is zero.
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(0x10000, built.transform->pcsScale[i]);
        EXPECT_EQ(0, built.transform->pcsOffset[i]);
    }
}

TEST(CreateTransform, GridsGoByTheChannelsOfTheFormats) {
    struct Row {
        const char *from, *to;
        uint32_t inputFormat, outputFormat, points, entries;
    };
    constexpr Row kRows[] = {{"CMY ", "Lab ", CMMFORMAT_CMY_8, CMMFORMAT_LAB_8, 33, 33 * 33 * 33 * 3},
                             {"RGB ", "CMYK", CMMFORMAT_RGB_8, CMMFORMAT_CMYK_8, 33, 33 * 33 * 33 * 4},
                             {"CMYK", "RGB ", CMMFORMAT_CMYK_8, CMMFORMAT_RGB_8, 16, 65536 * 3},
                             {"CMYK", "CMYK", CMMFORMAT_CMYK_8, CMMFORMAT_CMYK_8, 16, 65536 * 4},
                             {"CMYK", "CMYK", CMMFORMAT_BGR_8, CMMFORMAT_BGR_8, 33, 33 * 33 * 33 * 3}};
    const HostScope host;
    for (const Row& row : kRows) {
        const Built built = BuildSome(SmallLut(row.from), row.inputFormat, SmallLut(row.to), row.outputFormat, {});
        EXPECT_EQ(&CmmRunGrid, built.transform->run);
        const CmmLut* grid = built.transform->gridLut;
        ASSERT_NE(nullptr, grid);
        EXPECT_EQ(uint32_t{LUT_HAS_CLUT}, grid->flags);
        EXPECT_EQ(row.points, grid->gridPoints);
        EXPECT_EQ(FormatChannels(row.inputFormat), grid->inputChannels);
        EXPECT_EQ(FormatChannels(row.outputFormat), grid->outputChannels);
        EXPECT_EQ(row.entries, PlainOf(*grid).grid.size());
        EXPECT_EQ(CmmSelectUnpack(row.inputFormat), built.transform->unpack) << "the real formatters are back";
        EXPECT_EQ(CmmSelectPack(row.outputFormat), built.transform->pack);
    }
}

TEST(CreateTransform, GrayOnEitherSideHasNoGrid) {
    const HostScope host;
    const Bytes gray = GrayProfile(GammaBody(0x1CD)).Build();
    const Built from = BuildSome(gray, CMMFORMAT_BGR_8, SmallLut("CMYK"), CMMFORMAT_CMYK_8, {});
    const Built to = BuildSome(SmallLut("CMYK"), CMMFORMAT_CMYK_8, gray, CMMFORMAT_BGR_8, {});
    const Built both = BuildSome(gray, CMMFORMAT_BGR_8, gray, CMMFORMAT_BGR_8, {});
    for (const Built* built : {&from, &to, &both}) {
        EXPECT_EQ(&CmmRunFull, built->transform->run);
        EXPECT_EQ(nullptr, built->transform->gridLut);
    }
    EXPECT_EQ(uint32_t{MATSHAPER_INPUT | MATSHAPER_HAS_SHAPER}, both.transform->inputShaper->flags);
    EXPECT_EQ(uint32_t{MATSHAPER_OUTPUT | MATSHAPER_HAS_SHAPER}, both.transform->outputShaper->flags);
}

// --- No transform ---------------------------------------------------------------------------------------------------

TEST(CreateTransform, TableThatCannotBeReadIsNullWithoutACode) {
    for (const char* tag : {"A2B0", "B2A0"}) {
        ProfileBuilder broken = LutProfile("CMYK", "Lab ", 16, 3);
        broken.Remove(tag).Tag(tag, XyzBody({1, 1, 1}));
        ExpectNone(CLR_SUCCESS, broken.Build(), CMMFORMAT_CMYK_8, broken.Build(), CMMFORMAT_CMYK_8);
        // A broken table does not fall to a matrix.
        ProfileBuilder rgb = MatrixRgbProfile();
        rgb.Tag(tag, GammaBody(1));
        ExpectNone(CLR_SUCCESS, rgb.Build(), CMMFORMAT_RGB_8, rgb.Build(), CMMFORMAT_RGB_8);
    }
}

TEST(CreateTransform, MatrixOrCurveMissingIsNullWithoutACode) {
    for (const char* missing : {"rXYZ", "gXYZ", "bXYZ", "rTRC", "gTRC", "bTRC"}) {
        const Bytes broken = MatrixRgbProfile().Remove(missing).Build();
        ExpectNone(CLR_SUCCESS, broken, CMMFORMAT_RGB_8, RgbProfile(), CMMFORMAT_RGB_8);
        ExpectNone(CLR_SUCCESS, RgbProfile(), CMMFORMAT_RGB_8, broken, CMMFORMAT_RGB_8);
        ExpectNone(CLR_SUCCESS, broken, CMMFORMAT_RGB_8, SmallLut("CMYK"), CMMFORMAT_CMYK_8);
        ExpectNone(CLR_SUCCESS, SmallLut("CMYK"), CMMFORMAT_CMYK_8, broken, CMMFORMAT_RGB_8);
    }
    const Bytes gray = GrayProfile({}).Remove("kTRC").Build();
    ExpectNone(CLR_SUCCESS, gray, CMMFORMAT_BGR_8, RgbProfile(), CMMFORMAT_RGB_8);
    ExpectNone(CLR_SUCCESS, RgbProfile(), CMMFORMAT_RGB_8, gray, CMMFORMAT_BGR_8);
}

TEST(CreateTransform, SingularColorantsOfTheOutputAreNull) {
    const Bytes flat = MatrixRgbProfile({{1, 1, 1}, {1, 1, 1}, {1, 1, 1}}, GammaBody(0x200)).Build();
    ExpectNone(CLR_SUCCESS, RgbProfile(), CMMFORMAT_RGB_8, flat, CMMFORMAT_RGB_8);
    ExpectNone(CLR_SUCCESS, SmallLut("CMYK"), CMMFORMAT_CMYK_8, flat, CMMFORMAT_RGB_8);
    const HostScope host;
    EXPECT_NE(nullptr, BuildSome(flat, CMMFORMAT_RGB_8, SmallLut("CMYK"), CMMFORMAT_CMYK_8).transform);
}

TEST(CreateTransform, CurvesOfDifferentLengthsFailOnTheInputOnly) {
    const Bytes uneven =
        MatrixRgbProfile({}, CurveBody(RampTable(16)), CurveBody(PowerTable(900, 2.0)), CurveBody({})).Build();
    ExpectNone(CLR_SUCCESS, uneven, CMMFORMAT_RGB_8, SmallLut("CMYK"), CMMFORMAT_CMYK_8);
    const HostScope host;
    EXPECT_NE(nullptr, BuildSome(SmallLut("CMYK"), CMMFORMAT_CMYK_8, uneven, CMMFORMAT_RGB_8).transform);
    EXPECT_NE(nullptr, BuildSome(uneven, CMMFORMAT_RGB_8, uneven, CMMFORMAT_RGB_8).transform);
}

TEST(CreateTransform, OneProfileMissingIsNull) {
    for (const Bytes& profile : {RgbProfile(), SmallLut("CMYK")}) {
        HostScope host;
        EXPECT_EQ(nullptr, BuildFromBytes(profile, CMMFORMAT_BGR_8, {}, CMMFORMAT_BGR_8).transform);
        EXPECT_EQ(nullptr, BuildFromBytes({}, CMMFORMAT_BGR_8, profile, CMMFORMAT_BGR_8).transform);
        EXPECT_EQ(0U, host.Leaked());
    }
}

TEST(CreateTransform, WithoutMemoryForTheRecord) {
    HostScope host;
    const Bytes bytes = RgbProfile();
    CmmProfile* const from = CmmOpenProfileFromMemory(bytes.data(), bytes.size());
    CmmProfile* const to = CmmOpenProfileFromMemory(bytes.data(), bytes.size());
    int32_t status = CLR_SUCCESS;
    host->FailAllocation(1);
    EXPECT_EQ(nullptr, CmmCreateTransform(from, CMMFORMAT_RGB_8, to, CMMFORMAT_RGB_8, &status));
    EXPECT_EQ(ERR_NO_MEMORY, status);
    EXPECT_EQ(0U, host.Leaked()) << "the profiles were handed over";
}

TEST(FreeTransform, NullAndUnreadableDoNothing) {
    CmmFreeTransform(nullptr);
    GuardedBuffer page(sizeof(CmmTransform));
    page.MakeUnreadable();
    CmmFreeTransform(reinterpret_cast<CmmTransform*>(page.Data()));
}

// --- Without two profiles -------------------------------------------------------------------------------------------

TEST(DeviceLink, RunsItsTable) {
    const HostScope host;
    struct Row {
        uint32_t inputs, outputs, inputFormat, outputFormat;
    };
    constexpr Row kRows[] = {{3, 3, CMMFORMAT_BGR_8, CMMFORMAT_BGR_8},
                             {4, 4, kWords4, kWords4},
                             {3, 4, kWords3, kWords4},
                             {4, 3, kWords4, kWords3}};
    for (const Row& row : kRows) {
        for (const int bits : {8, 16}) {
            const LutTag lut = RandomLut(bits, row.inputs, row.outputs, 5, 81 + row.inputs, 256, 300);
            const Bytes link = DeviceLinkProfile("CMYK", "RGB ", lut).Build();
            const Built built = BuildSome(link, row.inputFormat, {}, row.outputFormat, {});
            EXPECT_EQ(&CmmRunGrid, built.transform->run);
            EXPECT_EQ(int32_t{PCS_NONE}, built.transform->inputPcsKind);
            EXPECT_EQ(int32_t{PCS_NONE}, built.transform->previewPcsKind);
            EXPECT_EQ(int32_t{PCS_NONE}, built.transform->outputPcsKind);
            EXPECT_EQ(5U, built.transform->gridLut->gridPoints) << "the profile's own table, not a sampled one";
            ExpectLikeTheReference(link, row.inputFormat, {}, row.outputFormat);
        }
    }
}

TEST(DeviceLink, WithoutATableIsAnError) {
    ProfileBuilder none = DeviceLinkProfile("RGB ", "RGB ", RandomLut(16, 3, 3, 2, 1));
    ProfileBuilder broken = none;
    none.Remove("A2B0");
    broken.Remove("A2B0").Tag("A2B0", GammaBody(1));
    ExpectNone(ERR_TRANSFORM_CREATE, none.Build(), CMMFORMAT_BGR_8, {}, CMMFORMAT_BGR_8);
    ExpectNone(ERR_TRANSFORM_CREATE, broken.Build(), CMMFORMAT_BGR_8, {}, CMMFORMAT_BGR_8);
}

TEST(DeviceLink, WithAnOutputProfileIsAProfileLikeOthers) {
    const HostScope host;
    ProfileBuilder link = LutProfile("RGB ", "Lab ", 16, 3);
    link.header.deviceClass = FourCc("link");
    const Built built = BuildSome(link.Build(), CMMFORMAT_RGB_8, SmallLut("CMYK"), CMMFORMAT_CMYK_8);
    EXPECT_EQ(nullptr, built.transform->gridLut);
    EXPECT_NE(nullptr, built.transform->inputLut);
}

TEST(NoProfiles, CopyChangesTheFormatOnly) {
    const HostScope host;
    for (const uint32_t from : {uint32_t{CMMFORMAT_BGR_8}, kWords3, kWords4}) {
        for (const uint32_t to : {uint32_t{CMMFORMAT_BGR_8}, kWords3, kWords4}) {
            const Built built = BuildSome({}, from, {}, to);
            EXPECT_EQ(&CmmRunCopy, built.transform->run);
            ExpectLikeTheReference({}, from, {}, to);
        }
    }
}

}  // namespace
}  // namespace zv::test
