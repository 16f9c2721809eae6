// Matrix-shapers: the three kinds, each from device values to XYZ words or to device values.
#include "Common/Zvmatsh/matrix_shaper.h"

#include <cmath>

#include "tests/support/engine_records.h"
#include "tests/support/engine_reference.h"
#include "tests/support/frame_fixture.h"
#include "tests/support/profile_builder.h"

namespace zv::test {
namespace {

using reference::Matrix;
using reference::Pixel;
using reference::ShaperKind;

constexpr uint32_t kInput = MATSHAPER_INPUT, kOutput = MATSHAPER_OUTPUT, kBoth = kInput | kOutput;
constexpr uint32_t kKinds[] = {kInput, kOutput, kBoth};
constexpr Matrix kIdentity{1, 0, 0, 0, 1, 0, 0, 0, 1};
constexpr Matrix kSrgb{0.4361, 0.3851, 0.1431, 0.2225, 0.7169, 0.0606, 0.0139, 0.0971, 0.7141};

std::array<Words, 3> Same(const Words& table) { return {table, table, table}; }

Pixel Eval(const ShaperRecord& shaper, const Pixel& in) {
    Pixel out{};
    EXPECT_EQ(1, MatShaperEval(shaper.get(), in.data(), out.data()));
    Pixel unchecked{};
    MatShaperEvalUnchecked(*shaper, in.data(), unchecked.data());
    EXPECT_EQ(out, unchecked);
    return out;
}
Pixel EvalGray(const ShaperRecord& shaper, uint16_t value) { return Eval(shaper, {value, value, value}); }

bool Has(const ShaperRecord& shaper, uint32_t flag) { return (shaper->flags & flag) != 0; }

void ExpectLikeTheReference(const ShaperRecord& shaper, const reference::Shaper& expected, TestRandom& random) {
    ASSERT_NE(nullptr, shaper);
    EXPECT_EQ(static_cast<uint32_t>(expected.kind), shaper->flags & kBoth);
    EXPECT_EQ(expected.hasMatrix, Has(shaper, MATSHAPER_HAS_MATRIX));
    EXPECT_EQ(expected.hasShaper, Has(shaper, MATSHAPER_HAS_SHAPER));
    EXPECT_TRUE(std::equal(expected.matrix.begin(), expected.matrix.end(), shaper->matrix));
    for (uint32_t value = 0; value < 0x10000; value += 255) {
        const auto word = static_cast<uint16_t>(value);
        ASSERT_EQ(reference::EvalShaper(expected, {word, word, word}), EvalGray(shaper, word)) << value;
    }
    for (int i = 0; i < 400; ++i) {
        const Pixel in{random.Word(), random.Word(), random.Word()};
        ASSERT_EQ(reference::EvalShaper(expected, in), Eval(shaper, in)) << in[0] << ' ' << in[1] << ' ' << in[2];
    }
}

// --- Building -------------------------------------------------------------------------------------------------------

TEST(MatShaper, RecordOfABuild) {
    const HostScope host;
    const ShaperRecord shaper = MakeShaperRecord(kSrgb, Same(PowerTable(17, 2.0)), kInput);
    ASSERT_NE(nullptr, shaper);
    EXPECT_EQ(kInput | MATSHAPER_HAS_MATRIX | MATSHAPER_HAS_SHAPER, shaper->flags);
    EXPECT_EQ(17U, shaper->curveParams.samples);
    EXPECT_EQ(1U, shaper->curveParams.inputs);
    EXPECT_EQ(1U, shaper->curveParams.outputs);
    EXPECT_EQ(16, shaper->curveParams.domain);
    const Words table = PowerTable(17, 2.0);
    for (const uint16_t* curve : shaper->curves) EXPECT_TRUE(std::equal(table.begin(), table.end(), curve));
    EXPECT_EQ(28580, shaper->matrix[0]);
}

TEST(MatShaper, KindTakesItsTwoBitsOnly) {
    const HostScope host;
    const ShaperRecord shaper = MakeShaperRecord(kIdentity, Same(RampTable(2)), 0xFFFFFFF4U);
    EXPECT_EQ(kInput, shaper->flags);
}

TEST(MatShaper, IdentityAndRampsClearBothFlags) {
    const HostScope host;
    for (const uint32_t kind : kKinds) {
        EXPECT_EQ(kind, MakeShaperRecord(kIdentity, Same(RampTable(256)), kind)->flags) << kind;
    }
}

TEST(MatShaper, NegativeElementsTruncateTowardsZeroAfterTheHalf) {
    const HostScope host;
    const Matrix matrix{-1.25 / 65536, -1.75 / 65536, -0.25 / 65536, 1.25 / 65536, 1.5 / 65536, 1, -2.5 / 65536, 0, 1};
    const ShaperRecord shaper = MakeShaperRecord(matrix, Same(RampTable(2)), kInput);
    constexpr int32_t kExpected[9] = {0, -1, 0, 1, 2, 0x10000, -2, 0, 0x10000};
    for (size_t i = 0; i < 9; ++i) EXPECT_EQ(kExpected[i], shaper->matrix[i]) << i;
}

TEST(MatShaper, OneStepOffTheIdentityIsAMatrix) {
    const HostScope host;
    for (size_t element = 0; element < 9; ++element) {
        for (const double step : {-1.0, 1.0}) {
            Matrix matrix = kIdentity;
            // A step of 2^-16 is above the tolerance of 0.00001.
            matrix[element] += step / 65536.0;
            // From 0, a step down and the half make 0 again.
            const bool same = element % 4 != 0 && step < 0;
            const ShaperRecord shaper = MakeShaperRecord(matrix, Same(RampTable(2)), kBoth);
            EXPECT_EQ(!same, Has(shaper, MATSHAPER_HAS_MATRIX)) << element << ' ' << step;
        }
        Matrix matrix = kIdentity;
        matrix[element] += 0.000007;
        EXPECT_FALSE(Has(MakeShaperRecord(matrix, Same(RampTable(2)), kBoth), MATSHAPER_HAS_MATRIX)) << element;
    }
}

TEST(MatShaper, AllThreeCurvesMustBeRampsToDropTheShaper) {
    const HostScope host;
    for (size_t odd = 0; odd < 3; ++odd) {
        std::array<Words, 3> curves = Same(RampTable(64));
        curves[odd][30] = static_cast<uint16_t>(curves[odd][30] + 1);
        EXPECT_TRUE(Has(MakeShaperRecord(kIdentity, curves, kInput), MATSHAPER_HAS_SHAPER)) << odd;
    }
}

TEST(MatShaper, CurvesOfDifferentLengthsFail) {
    HostScope host;
    for (size_t odd = 0; odd < 3; ++odd) {
        for (const size_t count : {16U, 18U}) {
            std::array<Words, 3> curves = Same(RampTable(17));
            curves[odd] = RampTable(count);
            EXPECT_EQ(nullptr, MakeShaperRecord(kSrgb, curves, kInput)) << odd << ' ' << count;
            EXPECT_EQ(0U, host.Leaked());
        }
    }
}

TEST(MatShaper, MissingCurveFails) {
    HostScope host;
    const Curve curve = MakeCurve(RampTable(4));
    const size_t held = host.Leaked();
    constexpr double kMatrix[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    for (size_t missing = 0; missing < 3; ++missing) {
        ToneCurve* curves[3] = {curve.get(), curve.get(), curve.get()};
        curves[missing] = nullptr;
        EXPECT_EQ(nullptr, MatShaperBuild(kMatrix, curves, kInput, MatShaperAlloc()));
        EXPECT_EQ(nullptr, MatShaperBuildGray(curves, kInput, MatShaperAlloc()));
        EXPECT_EQ(held, host.Leaked());
    }
}

TEST(MatShaper, WithoutMemoryTheRecordIsGone) {
    HostScope host;
    const Curve curve = MakeCurve(RampTable(4));
    ToneCurve* const curves[3] = {curve.get(), curve.get(), curve.get()};
    constexpr double kMatrix[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    const size_t held = host.Leaked();
    for (int64_t n = 1; n <= 3; ++n) {
        MatShaper *const record = MatShaperAlloc(), *const gray = MatShaperAlloc();
        host->FailAllocation(n);
        EXPECT_EQ(nullptr, MatShaperBuild(kMatrix, curves, kInput, record)) << n;
        host->FailAllocation(n);
        EXPECT_EQ(nullptr, MatShaperBuildGray(curves, kInput, gray)) << n;
        EXPECT_EQ(held, host.Leaked()) << n;
    }
    host->FailAllocation(1);
    EXPECT_EQ(nullptr, MatShaperAlloc());
    host->FailAllocation(0);
}

TEST(MatShaper, UnreadableRecordIsZero) {
    GuardedBuffer page(sizeof(MatShaper));
    page.MakeUnreadable();
    const Pixel in{1, 2, 3};
    Pixel out{7, 8, 9};
    EXPECT_EQ(0, MatShaperEval(reinterpret_cast<const MatShaper*>(page.Data()), in.data(), out.data()));
    EXPECT_EQ(0, MatShaperEval(nullptr, in.data(), out.data()));
    EXPECT_EQ((Pixel{7, 8, 9}), out);
    MatShaperFree(nullptr);
}

// --- Device to device -----------------------------------------------------------------------------------------------

TEST(MatShaperDeviceToDevice, WithNothingReturnsEveryValue) {
    const HostScope host;
    const ShaperRecord shaper = MakeShaperRecord(kIdentity, Same(RampTable(256)), kBoth);
    for (uint32_t value = 0; value < 0x10000; ++value) {
        const auto word = static_cast<uint16_t>(value);
        Pixel in{word, word, word}, out{};
        MatShaperEvalUnchecked(*shaper, in.data(), out.data());
        ASSERT_EQ(in, out);
    }
}

TEST(MatShaperDeviceToDevice, CurvesRunBeforeTheMatrix) {
    const HostScope host;
    // Red becomes the mean of red and green: after a square, not before.
    const Matrix mean{0.5, 0.5, 0, 0, 1, 0, 0, 0, 1};
    const ShaperRecord shaper = MakeShaperRecord(mean, Same(PowerTable(1024, 2.0)), kBoth);
    const Pixel out = Eval(shaper, {0xFFFF, 0, 0});
    EXPECT_NEAR(0x8000, out[0], 2) << "the square of the mean would be 0x4000";
    EXPECT_EQ(0, out[1]);
}

TEST(MatShaperDeviceToDevice, FullScaleIsTheLastEntryWithoutScaling) {
    const HostScope host;
    Words table = RampTable(16);
    table[15] = 0xC000;
    table[14] = 0x1000;
    const ShaperRecord shaper = MakeShaperRecord(kIdentity, Same(table), kBoth);
    // The entry counts as 16.16 and is narrowed: 0xC000 x 65535 / 65536.
    EXPECT_EQ(0xBFFF, EvalGray(shaper, 0xFFFF)[0]);
}

TEST(MatShaperDeviceToDevice, FullScaleReadsNothingBehindTheTable) {
    const HostScope host;
    const Words table = PowerTable(16, 3.0);
    const ShaperRecord shaper = MakeShaperRecord(kIdentity, Same(table), kBoth);
    const Pixel before = EvalGray(shaper, 0xFFFF);
    // The record keeps a spare entry behind each curve.
    for (uint16_t* curve : shaper->curves) curve[16] = static_cast<uint16_t>(curve[16] ^ 0xFFFF);
    EXPECT_EQ(before, EvalGray(shaper, 0xFFFF));
}

TEST(MatShaperDeviceToDevice, Clamps) {
    const HostScope host;
    const Matrix wide{2, 0, 0, 0, -1, 0, 0, 0, 1};
    const ShaperRecord shaper = MakeShaperRecord(wide, Same(RampTable(2)), kBoth);
    EXPECT_EQ((Pixel{0xFFFF, 0, 0xC000}), Eval(shaper, {0xC000, 0xC000, 0xC000}));
}

// --- Device to XYZ --------------------------------------------------------------------------------------------------

TEST(MatShaperDeviceToXyz, FullScaleIsTheNextToLastEntryHalved) {
    const HostScope host;
    for (const size_t count : {2U, 3U, 256U, 1024U}) {
        Words table = PowerTable(count, 2.2);
        table[count - 2] = 0x5555;
        const ShaperRecord shaper = MakeShaperRecord(kIdentity, Same(table), kInput);
        ASSERT_TRUE(Has(shaper, MATSHAPER_HAS_SHAPER));
        EXPECT_EQ(0x5555 >> 1, EvalGray(shaper, 0xFFFF)[0]) << count;
    }
}

TEST(MatShaperDeviceToXyz, WithoutAShaperFullScaleIsOne) {
    const HostScope host;
    const ShaperRecord shaper = MakeShaperRecord(kIdentity, Same(RampTable(256)), kInput);
    EXPECT_EQ((Pixel{0x8000, 0x8000, 0x8000}), EvalGray(shaper, 0xFFFF));
    EXPECT_EQ((Pixel{0, 0, 0}), EvalGray(shaper, 0));
}

TEST(MatShaperDeviceToXyz, Clamps) {
    const HostScope host;
    const Matrix wide{3, 0, 0, 0, -1, 0, 0, 0, 1.5};
    const ShaperRecord shaper = MakeShaperRecord(wide, Same(RampTable(2)), kInput);
    EXPECT_EQ((Pixel{0xFFFF, 0, 0xC000}), EvalGray(shaper, 0xFFFF));
}

// --- XYZ to device --------------------------------------------------------------------------------------------------

TEST(MatShaperXyzToDevice, OneIsFullScale) {
    const HostScope host;
    const ShaperRecord shaper = MakeShaperRecord(kIdentity, Same(RampTable(256)), kOutput);
    EXPECT_EQ(0xFFFF, EvalGray(shaper, 0x8000)[0]);
    EXPECT_EQ(0, EvalGray(shaper, 0)[0]);
    EXPECT_EQ(0xFFFF, EvalGray(shaper, 0xFFFF)[0]) << "clamped";
}

TEST(MatShaperXyzToDevice, FromOneUpwardsIsTheLastEntry) {
    const HostScope host;
    Words table = PowerTable(256, 0.5);
    table[255] = 0x1357;
    const ShaperRecord shaper = MakeShaperRecord(kIdentity, Same(table), kOutput);
    for (const uint16_t value : {uint16_t{0x8000}, uint16_t{0x8001}, uint16_t{0xFFFF}}) {
        EXPECT_EQ(0x1357, EvalGray(shaper, value)[0]) << value;
    }
    EXPECT_NE(0x1357, EvalGray(shaper, 0x7FFF)[0]);
}

TEST(MatShaperXyzToDevice, BelowZeroIsTheFirstEntry) {
    const HostScope host;
    Words table = PowerTable(256, 0.5);
    table[0] = 0x0246;
    const Matrix negative{-1, 0, 0, 0, -1, 0, 0, 0, -1};
    const ShaperRecord shaper = MakeShaperRecord(negative, Same(table), kOutput);
    EXPECT_EQ((Pixel{0x0246, 0x0246, 0x0246}), EvalGray(shaper, 0x4000));
}

TEST(MatShaperXyzToDevice, MatrixRunsBeforeTheCurves) {
    const HostScope host;
    const Matrix mean{0.5, 0.5, 0, 0, 1, 0, 0, 0, 1};
    const ShaperRecord shaper = MakeShaperRecord(mean, Same(PowerTable(1024, 2.0)), kOutput);
    EXPECT_NEAR(0x4000, Eval(shaper, {0x8000, 0, 0})[0], 2);
}

// --- Gray -----------------------------------------------------------------------------------------------------------

TEST(MatShaperGray, HasNoMatrixAndASpareEntry) {
    const HostScope host;
    for (const uint32_t kind : kKinds) {
        const Words table = PowerTable(17, 2.0);
        const ShaperRecord shaper = MakeGrayShaperRecord(Same(table), kind);
        ASSERT_NE(nullptr, shaper);
        EXPECT_EQ(kind | MATSHAPER_HAS_SHAPER, shaper->flags);
        EXPECT_EQ(16, shaper->curveParams.domain);
        for (const int32_t element : shaper->matrix) EXPECT_EQ(0, element);
        for (const uint16_t* curve : shaper->curves) {
            EXPECT_TRUE(std::equal(table.begin(), table.end(), curve));
            EXPECT_EQ(table.back(), curve[17]);
        }
    }
}

TEST(MatShaperGray, FullScaleOnTheWayInIsTheNextToLastEntryToo) {
    const HostScope host;
    const Words table = PowerTable(17, 2.0);
    const ShaperRecord shaper = MakeGrayShaperRecord(Same(table), kInput);
    EXPECT_EQ(table[15] >> 1, EvalGray(shaper, 0xFFFF)[0]);
}

TEST(MatShaperGray, RunsItsCurvesForwardOnTheWayOut) {
    const HostScope host;
    const ShaperRecord shaper = MakeGrayShaperRecord(Same(PowerTable(1024, 2.0)), kOutput);
    EXPECT_NEAR(0x4000, EvalGray(shaper, 0x4000)[0], 2);
}

TEST(MatShaperGray, EqualsTheReference) {
    const HostScope host;
    TestRandom random(21);
    for (const size_t count : {2U, 17U, 256U, 1024U, 4096U, 65536U}) {
        for (const uint32_t kind : kKinds) {
            SCOPED_TRACE(std::to_string(count) + " entries, kind " + std::to_string(kind));
            const std::array<Words, 3> curves{RisingTable(count, random), RandomTable(count, random), RampTable(count)};
            ExpectLikeTheReference(MakeGrayShaperRecord(curves, kind),
                                   reference::MakeGrayShaper(curves, static_cast<ShaperKind>(kind)), random);
        }
    }
}

// --- All kinds ------------------------------------------------------------------------------------------------------

TEST(MatShaper, AllKindsAndLengthsEqualTheReference) {
    const HostScope host;
    TestRandom random(22);
    const auto anyMatrix = [&] {
        Matrix matrix{};
        for (double& element : matrix) element = random.Unit() * 3.0 - 1.2;
        return matrix;
    };
    for (const size_t count : {2U, 3U, 17U, 256U, 1024U, 4096U, 65536U}) {
        for (const uint32_t kind : kKinds) {
            SCOPED_TRACE(std::to_string(count) + " entries, kind " + std::to_string(kind));
            const std::array<Words, 3> sets[] = {
                Same(RampTable(count)),
                Same(PowerTable(count, 2.2)),
                {RisingTable(count, random), RandomTable(count, random), PowerTable(count, 0.5)}};
            for (const auto& curves : sets) {
                for (const Matrix& matrix : {kIdentity, kSrgb, anyMatrix()}) {
                    const auto expected = reference::MakeShaper(matrix, curves, static_cast<ShaperKind>(kind));
                    ExpectLikeTheReference(MakeShaperRecord(matrix, curves, kind), *expected, random);
                    if (HasFailure()) return;
                }
            }
        }
    }
}

TEST(MatShaper, CurvesOfOneEntryAreReadSafely) {
    const HostScope host;
    for (const uint32_t kind : {kOutput, kBoth}) {
        const std::array<Words, 3> curves{Words{0x1000}, Words{0x8000}, Words{0xFFFF}};
        const ShaperRecord shaper = MakeShaperRecord(kIdentity, curves, kind);
        const auto expected = reference::MakeShaper(kIdentity, curves, static_cast<ShaperKind>(kind));
        for (uint32_t value = 0; value < 0x10000; value += 257) {
            const auto word = static_cast<uint16_t>(value);
            ASSERT_EQ(reference::EvalShaper(*expected, {word, word, word}), EvalGray(shaper, word)) << kind;
        }
    }
    const ShaperRecord input = MakeShaperRecord(kIdentity, Same({0x4000}), kInput);
    // There is no next-to-last entry, so the only one serves, as an XYZ word.
    for (const uint16_t value : {uint16_t{0}, uint16_t{0x8000}, uint16_t{0xFFFF}}) {
        for (size_t c = 0; c < 3; ++c) EXPECT_EQ(0x2000, EvalGray(input, value)[c]) << value;
    }
}

}  // namespace
}  // namespace zv::test
