// Matrix-shapers made from profiles.
#include <cmath>

#include "tests/support/engine_records.h"
#include "tests/support/engine_reference.h"
#include "tests/support/frame_fixture.h"
#include "tests/support/profile_builder.h"

namespace zv::test {
namespace {

using reference::Matrix;
using reference::Pixel;

constexpr Colorants kUnit{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};

/// A transform that has its profiles and nothing else yet.
class Raw {
public:
    Raw(const Bytes& input, const Bytes& output) : input_(OpenBytes(input)), output_(OpenBytes(output)) {
        transform.inputProfile = input_.get();
        transform.outputProfile = output_.get();
    }
    ~Raw() {
        MatShaperFree(transform.inputShaper);
        MatShaperFree(transform.outputShaper);
        MatShaperFree(transform.combinedShaper);
    }
    Raw(const Raw&) = delete;
    Raw& operator=(const Raw&) = delete;

    CmmTransform transform{};
    uint32_t flags = 0;

    bool MakeInput() { return MatShaperFromInputProfile(&transform, &flags) == 1; }
    bool MakeOutput() { return MatShaperFromOutputProfile(&transform, &flags) == 1; }
    bool MakePair() { return MatShaperFromProfilePair(&transform) == 1; }

private:
    ProfileRecord input_, output_;
};

Bytes Rgb(const Bytes& curve, const Colorants& colorants = {}) { return MatrixRgbProfile(colorants, curve).Build(); }

Words CurveOf(const MatShaper* shaper, size_t channel) {
    return {shaper->curves[channel], shaper->curves[channel] + shaper->curveParams.samples};
}

// --- Inversion ------------------------------------------------------------------------------------------------------

TEST(InvertMatrix, OfDiagonalsAndPermutations) {
    double diagonal[9] = {2, 0, 0, 0, 4, 0, 0, 0, 0.5};
    ASSERT_TRUE(CmmInvertMatrix(diagonal));
    constexpr double kDiagonal[9] = {0.5, 0, 0, 0, 0.25, 0, 0, 0, 2};
    for (size_t i = 0; i < 9; ++i) EXPECT_EQ(kDiagonal[i], diagonal[i]) << i;
    // Only row exchanges bring pivots here.
    double cycle[9] = {0, 1, 0, 0, 0, 1, 1, 0, 0};
    ASSERT_TRUE(CmmInvertMatrix(cycle));
    constexpr double kCycle[9] = {0, 0, 1, 1, 0, 0, 0, 1, 0};
    for (size_t i = 0; i < 9; ++i) EXPECT_EQ(kCycle[i], cycle[i]) << i;
}

TEST(InvertMatrix, SingularOnesFail) {
    double zero[9] = {};
    double equal[9] = {1, 2, 3, 1, 2, 3, 4, 5, 6};
    double column[9] = {0, 1, 2, 0, 3, 4, 0, 5, 6};
    EXPECT_FALSE(CmmInvertMatrix(zero));
    EXPECT_FALSE(CmmInvertMatrix(equal));
    EXPECT_FALSE(CmmInvertMatrix(column));
}

TEST(InvertMatrix, HasNoThreshold) {
    double tiny[9] = {1e-300, 0, 0, 0, 1e-300, 0, 0, 0, 1e-300};
    ASSERT_TRUE(CmmInvertMatrix(tiny));
    EXPECT_EQ(1 / 1e-300, tiny[0]);
}

TEST(InvertMatrix, EqualsTheReferenceToTheLastBit) {
    TestRandom random(71);
    for (int i = 0; i < 5000; ++i) {
        Matrix matrix{};
        // Few distinct values make ties among pivots.
        for (double& element : matrix) element = i % 2 == 0 ? random.Unit() * 2 - 1 : random.Below(3) * 0.5 - 0.5;
        double inverse[9];
        std::copy(matrix.begin(), matrix.end(), inverse);
        const auto expected = reference::Invert(matrix);
        ASSERT_EQ(expected.has_value(), CmmInvertMatrix(inverse));
        if (!expected) continue;
        for (size_t k = 0; k < 9; ++k) ASSERT_EQ((*expected)[k], inverse[k]) << i << ", element " << k;
    }
}

// --- Input and output -----------------------------------------------------------------------------------------------

TEST(InputShaper, TakesColorantsAndCurves) {
    const HostScope host;
    Raw raw(Rgb(CurveBody(PowerTable(1024, 2.2))), Rgb({}));
    ASSERT_TRUE(raw.MakeInput());
    EXPECT_EQ(0U, raw.flags);
    const MatShaper* shaper = raw.transform.inputShaper;
    EXPECT_EQ(uint32_t{MATSHAPER_INPUT | MATSHAPER_HAS_MATRIX | MATSHAPER_HAS_SHAPER}, shaper->flags);
    EXPECT_EQ(PowerTable(1024, 2.2), CurveOf(shaper, 1));
    EXPECT_EQ(static_cast<int32_t>(S15Fixed16(0.3851)), shaper->matrix[1]);
}

TEST(InputShaper, AnythingMissingIsZero) {
    HostScope host;
    for (const char* missing : {"rXYZ", "gXYZ", "bXYZ", "rTRC", "gTRC", "bTRC"}) {
        Raw raw(MatrixRgbProfile().Remove(missing).Build(), Rgb(GammaBody(0x200)));
        const size_t held = host.Leaked();
        EXPECT_FALSE(raw.MakeInput()) << missing;
        EXPECT_EQ(nullptr, raw.transform.inputShaper);
        EXPECT_EQ(held, host.Leaked()) << missing;
        Raw para(MatrixRgbProfile().Remove(missing).Tag(missing, ParametricBody(0, {2.2})).Build(), Rgb({}));
        EXPECT_FALSE(para.MakeInput()) << missing;
    }
}

TEST(InputShaper, CurvesOfDifferentLengthsAreZero) {
    const HostScope host;
    const Bytes profile =
        MatrixRgbProfile({}, CurveBody(RampTable(16)), CurveBody(RampTable(17)), CurveBody(RampTable(16))).Build();
    Raw raw(profile, profile);
    EXPECT_FALSE(raw.MakeInput());
    EXPECT_TRUE(raw.MakeOutput()) << "inverses have one length";
    EXPECT_TRUE(raw.MakePair()) << "joined curves have one length";
}

TEST(OutputShaper, TakesInverses) {
    const HostScope host;
    Raw raw(Rgb({}), Rgb(CurveBody(PowerTable(1024, 2.2))));
    ASSERT_TRUE(raw.MakeOutput());
    const MatShaper* shaper = raw.transform.outputShaper;
    EXPECT_EQ(uint32_t{MATSHAPER_OUTPUT | MATSHAPER_HAS_MATRIX | MATSHAPER_HAS_SHAPER}, shaper->flags);
    EXPECT_EQ(256U, shaper->curveParams.samples);
    EXPECT_EQ(reference::InvertCurve(PowerTable(1024, 2.2)), CurveOf(shaper, 2));
    EXPECT_NEAR(3.1339, shaper->matrix[0] / 65536.0, 0.001);
}

TEST(OutputShaper, LinearCurvesStillMakeAShaper) {
    const HostScope host;
    Raw raw(Rgb({}), Rgb(CurveBody({}), kUnit));
    ASSERT_TRUE(raw.MakeOutput());
    // Inverses lie one above the ramp.
    EXPECT_EQ(uint32_t{MATSHAPER_OUTPUT | MATSHAPER_HAS_SHAPER}, raw.transform.outputShaper->flags);
}

TEST(OutputShaper, SingularColorantsAreZero) {
    HostScope host;
    Raw raw(Rgb(GammaBody(0x200)), Rgb(GammaBody(0x200), {{1, 2, 3}, {1, 2, 3}, {0, 0, 1}}));
    const size_t held = host.Leaked();
    EXPECT_FALSE(raw.MakeOutput());
    EXPECT_FALSE(raw.MakePair());
    EXPECT_EQ(held, host.Leaked());
}

TEST(OutputShaper, AnythingMissingIsZero) {
    HostScope host;
    for (const char* missing : {"rXYZ", "gXYZ", "bXYZ", "rTRC", "gTRC", "bTRC"}) {
        const Bytes broken = MatrixRgbProfile().Remove(missing).Build(), good = MatrixRgbProfile().Build();
        Raw to(good, broken), from(broken, good);
        const size_t held = host.Leaked();
        EXPECT_FALSE(to.MakeOutput()) << missing;
        EXPECT_FALSE(to.MakePair()) << missing;
        EXPECT_FALSE(from.MakePair()) << missing;
        EXPECT_EQ(held, host.Leaked()) << missing;
    }
}

// --- Pairs ----------------------------------------------------------------------------------------------------------

TEST(PairShaper, OfEqualProfilesIsCloseToNothingButIsKept) {
    const HostScope host;
    const Bytes profile = MatrixRgbProfile().Build();
    Raw raw(profile, profile);
    ASSERT_TRUE(raw.MakePair());
    const MatShaper* shaper = raw.transform.combinedShaper;
    EXPECT_EQ(uint32_t{MATSHAPER_INPUT | MATSHAPER_OUTPUT}, shaper->flags & (MATSHAPER_INPUT | MATSHAPER_OUTPUT));
    EXPECT_TRUE((shaper->flags & MATSHAPER_HAS_SHAPER) != 0) << "joined curves are not the exact ramp";
    for (size_t i = 0; i < 9; ++i) EXPECT_NEAR(i % 4 == 0 ? 0x10000 : 0, shaper->matrix[i], 1) << i;
    EXPECT_EQ(256U, shaper->curveParams.samples);
    EXPECT_EQ(reference::JoinCurves(PowerTable(1024, 2.2), PowerTable(1024, 2.2)), CurveOf(shaper, 0));
}

TEST(PairShaper, MatrixIsInverseOutputTimesInput) {
    const HostScope host;
    Raw raw(Rgb({}, {{2, 0, 0}, {0, 1, 0}, {0, 0, 1}}), Rgb({}, {{0, 0, 4}, {0, 1, 0}, {0.5, 0, 0}}));
    EXPECT_FALSE(raw.MakePair()) << "a curve tag without a body";
    Raw good(Rgb(CurveBody({}), {{2, 0, 0}, {0, 1, 0}, {0, 0, 1}}),
             Rgb(CurveBody({}), {{0, 0, 4}, {0, 1, 0}, {0.5, 0, 0}}));
    ASSERT_TRUE(good.MakePair());
    // The output's red is 4 of Z, its blue half of X.
    constexpr int32_t kExpected[9] = {0, 0, 0x4000, 0, 0x10000, 0, 0x40000, 0, 0};
    for (size_t i = 0; i < 9; ++i) EXPECT_EQ(kExpected[i], good.transform.combinedShaper->matrix[i]) << i;
}

// --- Gray -----------------------------------------------------------------------------------------------------------

TEST(GrayShaper, ScalesItsCurveByTheIlluminant) {
    const HostScope host;
    ProfileBuilder builder = GrayProfile(CurveBody(PowerTable(256, 1.8)));
    builder.header.illuminant = {0.5, 1.0, 0.25};
    const ProfileRecord profile = OpenBytes(builder.Build());
    const ShaperRecord shaper(MatShaperFromGrayProfile(profile.get(), MATSHAPER_INPUT));
    ASSERT_NE(nullptr, shaper);
    EXPECT_EQ(reference::ScaleCurve(PowerTable(256, 1.8), 0x8000), CurveOf(shaper.get(), 0));
    EXPECT_EQ(PowerTable(256, 1.8), CurveOf(shaper.get(), 1));
    EXPECT_EQ(reference::ScaleCurve(PowerTable(256, 1.8), 0x4000), CurveOf(shaper.get(), 2));
}

TEST(GrayShaper, OutputRunsTheSameCurvesForward) {
    const HostScope host;
    const ProfileRecord profile = OpenBytes(GrayProfile(CurveBody(PowerTable(256, 1.8))).Build());
    const ShaperRecord input(MatShaperFromGrayProfile(profile.get(), MATSHAPER_INPUT)),
        output(MatShaperFromGrayProfile(profile.get(), MATSHAPER_OUTPUT));
    for (size_t c = 0; c < 3; ++c) EXPECT_EQ(CurveOf(input.get(), c), CurveOf(output.get(), c));
    EXPECT_EQ(uint32_t{MATSHAPER_OUTPUT | MATSHAPER_HAS_SHAPER}, output->flags);
}

TEST(GrayShaper, TwoEntryIdentityIsNoRampAnyMore) {
    const HostScope host;
    const ProfileRecord profile = OpenBytes(GrayProfile(CurveBody({})).Build());
    const ShaperRecord shaper(MatShaperFromGrayProfile(profile.get(), MATSHAPER_INPUT));
    ASSERT_NE(nullptr, shaper);
    EXPECT_EQ(2U, shaper->curveParams.samples);
    EXPECT_EQ(uint32_t{MATSHAPER_INPUT | MATSHAPER_HAS_SHAPER}, shaper->flags);
    EXPECT_EQ(0xFFFF, shaper->curves[1][1]);
    EXPECT_LT(shaper->curves[0][1], 0xFFFF);
}

TEST(GrayShaper, RaisesTheFlagAgainstGrids) {
    const HostScope host;
    const Bytes gray = GrayProfile(GammaBody(0x200)).Build();
    Raw raw(gray, gray);
    EXPECT_TRUE(raw.MakeInput());
    EXPECT_EQ(uint32_t{CMMBUILD_NO_GRID}, raw.flags);
    raw.flags = 0;
    EXPECT_TRUE(raw.MakeOutput());
    EXPECT_EQ(uint32_t{CMMBUILD_NO_GRID}, raw.flags);
    EXPECT_EQ(uint32_t{MATSHAPER_OUTPUT}, raw.transform.outputShaper->flags & (MATSHAPER_INPUT | MATSHAPER_OUTPUT));
}

TEST(GrayShaper, WithoutACurveIsNull) {
    const HostScope host;
    const Bytes none = GrayProfile({}).Remove("kTRC").Build();
    Raw raw(none, none);
    EXPECT_FALSE(raw.MakeInput());
    EXPECT_FALSE(raw.MakeOutput());
    const ProfileRecord para = OpenBytes(GrayProfile(ParametricBody(0, {1.8})).Build());
    EXPECT_EQ(nullptr, MatShaperFromGrayProfile(para.get(), MATSHAPER_INPUT));
}

TEST(GrayShaper, WithoutMemoryIsNull) {
    HostScope host;
    const ProfileRecord profile = OpenBytes(GrayProfile(GammaBody(0x1CD)).Build());
    const size_t held = host.Leaked();
    int64_t n = 1;
    for (;; ++n) {
        host->FailAllocation(n);
        const ShaperRecord shaper(MatShaperFromGrayProfile(profile.get(), MATSHAPER_INPUT));
        if (shaper != nullptr) break;
        EXPECT_EQ(held, host.Leaked()) << n;
        ASSERT_LT(n, 20);
    }
    host->FailAllocation(0);
    EXPECT_EQ(9, n) << "the curve, three scaled ones, the record and its three tables";
}

}  // namespace
}  // namespace zv::test
