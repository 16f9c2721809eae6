// Whole transforms against the plain reference, byte for byte.
#include "Common/lookup.h"
#include "tests/support/engine_records.h"
#include "tests/support/engine_reference.h"
#include "tests/support/engine_sweep.h"
#include "tests/support/frame_fixture.h"

namespace zv::test {
namespace {

reference::BuildOptions Stages(const Triple& white = reference::kConnectionD50) { return {white, false, true}; }

void ExpectPair(const SweepProfile& from, const SweepProfile& to, size_t pixels,
                const reference::BuildOptions& options) {
    SCOPED_TRACE(from.name + " to " + to.name);
    ExpectLikeTheReference(from.bytes, from.format, to.bytes, to.format, pixels, options);
}

/// Every pair, stage by stage: grids are left out.
void ExpectAllPairs(const std::vector<SweepProfile>& sources, const std::vector<SweepProfile>& destinations,
                    size_t pixels) {
    const Triple whites[] = {reference::WhiteOfCode(50), reference::WhiteOfCode(65), reference::WhiteOfCode(93),
                             reference::WhiteOfXy(0.3127, 0.3290)};
    size_t pair = 0;
    for (const SweepProfile& from : sources) {
        for (const SweepProfile& to : destinations) {
            ExpectPair(from, to, pixels, Stages(whites[pair++ % 4]));
            if (::testing::Test::HasFailure()) return;
        }
    }
}

TEST(TransformStages, MonitorToMonitor) {
    const HostScope host;
    ExpectAllPairs(MatrixProfiles(), MatrixProfiles(), 100);
}

TEST(TransformStages, MonitorToTables) {
    const HostScope host;
    ExpectAllPairs(MatrixProfiles(), LutProfiles(3), 60);
}

TEST(TransformStages, TablesToMonitor) {
    const HostScope host;
    ExpectAllPairs(LutProfiles(4), MatrixProfiles(), 60);
}

TEST(TransformStages, TablesToTables) {
    const HostScope host;
    ExpectAllPairs(LutProfiles(5), LutProfiles(2), 60);
}

TEST(TransformStages, LargeTables) {
    const HostScope host;
    const std::vector<SweepProfile> large = LutProfiles(33), small = LutProfiles(2);
    for (size_t i = 0; i < large.size(); ++i) {
        ExpectPair(large[i], small[(i * 7) % small.size()], 200, Stages());
        ExpectPair(small[(i * 5) % small.size()], large[i], 200, Stages());
    }
}

TEST(TransformStages, PointsOfAnotherTagTypeCountAsMissing) {
    const HostScope host;
    const Triple white = {0.9, 1.0, 0.7}, black = {0.02, 0.02, 0.02};
    const auto relative = [](const Bytes& wtpt, const Bytes& bkpt) {
        ProfileBuilder builder = LutProfile("Lab ", "Lab ", 16, 3);
        builder.Remove("wtpt").Remove("bkpt");
        if (!wtpt.empty()) builder.Tag("wtpt", wtpt);
        if (!bkpt.empty()) builder.Tag("bkpt", bkpt);
        return builder.Build();
    };
    ProfileBuilder absolute = LutProfile("CMYK", "Lab ", 16, 3);
    absolute.header.intent = 3;
    const Bytes partner = absolute.Build();
    const auto scaleOf = [&partner](const Bytes& profile) {
        const Built to = BuildFromBytes(partner, CMMFORMAT_CMYK_8, profile, CMMFORMAT_LAB_8, Stages());
        const Built from = BuildFromBytes(profile, CMMFORMAT_LAB_8, partner, CMMFORMAT_CMYK_8, Stages());
        std::vector<int32_t> numbers;
        for (const Built* built : {&to, &from}) {
            EXPECT_NE(nullptr, built->transform);
            if (!built->transform) continue;
            numbers.insert(numbers.end(), built->transform->pcsScale, built->transform->pcsScale + 3);
            numbers.insert(numbers.end(), built->transform->pcsOffset, built->transform->pcsOffset + 3);
        }
        return numbers;
    };
    const Bytes curve = CurveBody({0, 0xFFFF});
    const std::vector<int32_t> missing = scaleOf(relative({}, {}));
    EXPECT_NE(missing, scaleOf(relative(XyzBody(white), {}))) << "the points count at all";
    EXPECT_NE(missing, scaleOf(relative({}, XyzBody(black))));
    EXPECT_EQ(missing, scaleOf(relative(curve, {})));
    EXPECT_EQ(missing, scaleOf(relative({}, curve)));
    EXPECT_EQ(scaleOf(relative(XyzBody(white), {})), scaleOf(relative(XyzBody(white), curve)));
}

TEST(TransformStages, GrayOnEitherSide) {
    const HostScope host;
    ExpectAllPairs(GrayProfiles(), AllProfiles(3), 100);
    ExpectAllPairs(AllProfiles(3), GrayProfiles(), 100);
}

TEST(TransformStages, ReversedFormatOfEveryProfile) {
    const HostScope host;
    for (SweepProfile from : AllProfiles(3)) {
        SweepProfile to = from;
        from.format = to.format = CMMFORMAT_BGR_8;
        ExpectPair(from, to, 60, Stages());
    }
}

TEST(TransformStages, TablesOfOtherChannelCountsThanTheFormats) {
    const HostScope host;
    for (const uint32_t inputs : {1U, 2U, 3U, 4U, 5U}) {
        for (const uint32_t outputs : {1U, 2U, 3U, 4U, 6U}) {
            SCOPED_TRACE(std::to_string(inputs) + " and " + std::to_string(outputs));
            const Bytes profile = LutProfile("CMYK", "Lab ", RandomLut(16, inputs, outputs, 3, 7, 5, 5),
                                             RandomLut(16, inputs, outputs, 3, 8, 5, 5))
                                      .Build();
            ExpectLikeTheReference(profile, CMMFORMAT_CMYK_8, profile, CMMFORMAT_CMYK_8, 100, Stages());
        }
    }
}

TEST(TransformStages, WhiteOfTheProcessIsTheDefault) {
    const HostScope host;
    const Bytes rgb = MatrixRgbProfile().Build(), cmyk = LutProfile("CMYK", "Lab ").Build();
    for (const int32_t code : {65, 93, 50}) {
        CmmSetReferenceWhiteByCode(code);
        int32_t status = 0;
        const TransformRecord made(CmmCreateTransform(CmmOpenProfileFromMemory(rgb.data(), rgb.size()), CMMFORMAT_RGB_8,
                                                      CmmOpenProfileFromMemory(cmyk.data(), cmyk.size()),
                                                      CMMFORMAT_CMYK_8, &status));
        ASSERT_NE(nullptr, made);
        const auto expected = reference::Build(rgb, CMMFORMAT_RGB_8, cmyk, CMMFORMAT_CMYK_8,
                                               {reference::WhiteOfCode(code), false, false});
        const Bytes pixels = PixelsOf(CMMFORMAT_RGB_8, 200, 8);
        EXPECT_TRUE(reference::Run(*expected, pixels) == RunPixels(made.get(), pixels)) << code;
    }
}

TEST(TransformStages, WhiteChangesWhatComesOutOfXyzOnly) {
    const HostScope host;
    const Bytes rgb = MatrixRgbProfile().Build(), cmyk = LutProfile("CMYK", "Lab ").Build();
    const auto run = [&](const Bytes& from, uint32_t inputFormat, const Bytes& to, uint32_t outputFormat,
                         int32_t code) {
        const Built built = BuildFromBytes(from, inputFormat, to, outputFormat, Stages(reference::WhiteOfCode(code)));
        return RunPixels(built.transform.get(), PixelsOf(inputFormat, 50, 9));
    };
    EXPECT_NE(run(rgb, CMMFORMAT_RGB_8, cmyk, CMMFORMAT_CMYK_8, 50),
              run(rgb, CMMFORMAT_RGB_8, cmyk, CMMFORMAT_CMYK_8, 65));
    EXPECT_EQ(run(cmyk, CMMFORMAT_CMYK_8, rgb, CMMFORMAT_RGB_8, 50),
              run(cmyk, CMMFORMAT_CMYK_8, rgb, CMMFORMAT_RGB_8, 65));
    EXPECT_EQ(run(cmyk, CMMFORMAT_CMYK_8, cmyk, CMMFORMAT_CMYK_8, 50),
              run(cmyk, CMMFORMAT_CMYK_8, cmyk, CMMFORMAT_CMYK_8, 65));
}

TEST(TransformGrids, AFewOfEachKind) {
    const HostScope host;
    const std::vector<SweepProfile> monitors = MatrixProfiles(), tables = LutProfiles(5);
    for (size_t i = 0; i < tables.size(); i += 3) {
        ExpectPair(monitors[i % monitors.size()], tables[i], 1500, {reference::WhiteOfCode(65), false, false});
        ExpectPair(tables[i], monitors[(i + 1) % monitors.size()], 1500, {});
        ExpectPair(tables[i], tables[(i + 9) % tables.size()], 1500, {});
    }
}

// --- The library's own profiles -------------------------------------------------------------------------------------

Bytes BuiltIn(uint16_t id) {
    const ClrResource block = FindClrResource(ZV_WIDE("ICM"), id);
    EXPECT_NE(nullptr, block.data) << id;
    return block.data == nullptr ? Bytes{} : Bytes(block.data, block.data + block.size);
}
uint16_t ProfileIdOf(uint32_t format) {
    switch (format) {
        case CMMFORMAT_CMY_8:
            return 110;
        case CMMFORMAT_CMYK_8:
            return 107;
        case CMMFORMAT_LAB_8:
            return 106;
        default:
            return 105;
    }
}

void ExpectBuiltInPair(uint32_t from, uint32_t to, int32_t code, CmmRunner runner, CmmPcsFunction conversion) {
    SCOPED_TRACE(std::to_string(from) + " to " + std::to_string(to));
    const CmmSources none{};
    int32_t status = 0;
    const TransformRecord made(CmmCreateTransformByWhiteCode(from, to, code, none, &status));
    ASSERT_NE(nullptr, made);
    EXPECT_EQ(CLR_SUCCESS, status);
    EXPECT_EQ(runner, made->run);
    EXPECT_EQ(conversion, made->pcsConvert);
    const auto expected = reference::Build(BuiltIn(ProfileIdOf(from)), from, BuiltIn(ProfileIdOf(to)), to,
                                           {reference::WhiteOfCode(code), false, false});
    ASSERT_TRUE(expected.has_value());
    const Bytes pixels = PixelsOf(from, 2000, 10);
    EXPECT_TRUE(reference::Run(*expected, pixels) == RunPixels(made.get(), pixels));
}

TEST(TransformsOfBuiltInProfiles, OutOfRgb) {
    const HostScope host;
    ExpectBuiltInPair(CMMFORMAT_RGB_8, CMMFORMAT_CMYK_8, 50, CmmRunGrid, PcsXyzToLab);
    ExpectBuiltInPair(CMMFORMAT_BGR_8, CMMFORMAT_LAB_8, 65, CmmRunGrid, PcsXyzToLab);
    ExpectBuiltInPair(CMMFORMAT_RGB_8, CMMFORMAT_CMY_8, 93, CmmRunGrid, PcsXyzToLab);
}

TEST(TransformsOfBuiltInProfiles, IntoRgb) {
    const HostScope host;
    ExpectBuiltInPair(CMMFORMAT_CMYK_8, CMMFORMAT_BGR_8, 50, CmmRunGrid, PcsLabToXyz);
    ExpectBuiltInPair(CMMFORMAT_LAB_8, CMMFORMAT_RGB_8, 50, CmmRunGrid, PcsLabToXyz);
    ExpectBuiltInPair(CMMFORMAT_CMY_8, CMMFORMAT_BGR_8, 50, CmmRunGrid, PcsLabToXyz);
}

TEST(TransformsOfBuiltInProfiles, BetweenTables) {
    const HostScope host;
    ExpectBuiltInPair(CMMFORMAT_CMYK_8, CMMFORMAT_LAB_8, 50, CmmRunGrid, nullptr);
    ExpectBuiltInPair(CMMFORMAT_LAB_8, CMMFORMAT_CMYK_8, 50, CmmRunGrid, nullptr);
    ExpectBuiltInPair(CMMFORMAT_CMYK_8, CMMFORMAT_CMYK_8, 50, CmmRunGrid, nullptr);
}

TEST(TransformsOfBuiltInProfiles, RgbToRgb) {
    const HostScope host;
    const CmmSources none{};
    for (const uint32_t to : {CMMFORMAT_RGB_8, CMMFORMAT_BGR_8}) {
        int32_t status = 0;
        const TransformRecord made(CmmCreateTransformByWhiteCode(CMMFORMAT_RGB_8, to, 50, none, &status));
        ASSERT_NE(nullptr, made);
        EXPECT_EQ(&CmmRunShaper, made->run);
        const auto expected = reference::Build(BuiltIn(105), CMMFORMAT_RGB_8, BuiltIn(105), to);
        const Bytes pixels = PixelsOf(CMMFORMAT_RGB_8, 2000, 11);
        EXPECT_EQ(reference::Run(*expected, pixels), RunPixels(made.get(), pixels));
    }
}

}  // namespace
}  // namespace zv::test
