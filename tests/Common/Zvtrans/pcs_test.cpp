// Conversions between connection forms.
#include "Common/Zvtrans/pcs.h"

#include <cmath>

#include "tests/support/engine_records.h"
#include "tests/support/engine_reference.h"
#include "tests/support/frame_fixture.h"
#include "tests/support/profile_builder.h"

namespace zv::test {
namespace {

using reference::PcsFunction;
using reference::PcsSide;
using reference::Pixel;

constexpr int32_t kOne = 0x10000;
constexpr int32_t kOnes[3] = {kOne, kOne, kOne}, kZeros[3] = {0, 0, 0};

Pixel Apply(CmmPcsFunction function, const Pixel& in, const int32_t (&scale)[3] = kOnes,
            const int32_t (&offset)[3] = kZeros) {
    Pixel out{}, unchecked{};
    function(in.data(), out.data(), scale, offset);
    CmmUncheckedPcs(function)(in.data(), unchecked.data(), scale, offset);
    EXPECT_EQ(out, unchecked);
    return out;
}

Pixel ToLab(const Pixel& in) {
    Pixel out{};
    XyzToLab16(in.data(), out.data());
    return out;
}
Pixel FromLab(const Pixel& in) {
    Pixel out{};
    LabToXyz16(in.data(), out.data(), in[0] * 100.0 / 65280.0);
    return out;
}

CmmPcsFunction LibraryFunction(PcsFunction function) {
    switch (function) {
        case PcsFunction::kScaleXyz:
            return PcsScaleXyz;
        case PcsFunction::kXyzToLab:
            return PcsXyzToLab;
        case PcsFunction::kLabToXyz:
            return PcsLabToXyz;
        case PcsFunction::kLabToLab:
            return PcsLabToLab;
        case PcsFunction::kNone:
            break;
    }
    return nullptr;
}

// --- The reference white --------------------------------------------------------------------------------------------

TEST(ReferenceWhite, Codes) {
    struct Row {
        int32_t code;
        double x, z;
    };
    constexpr Row kRows[] = {{50, 0.964294, 0.825104},        {55, 0.956543, 0.920264}, {65, 0.950166, 1.08765},
                             {75, 0.94942, 1.22493},          {93, 0.952988, 1.41274},  {0, 0.964294, 0.825104},
                             {100, 0.964294, 0.825104},       {-1, 0.964294, 0.825104}, {5000, 0.964294, 0.825104},
                             {INT32_MIN, 0.964294, 0.825104}, {51, 0.964294, 0.825104}};
    for (const Row& row : kRows) {
        const CmmWhite white = CmmWhiteOfCode(row.code);
        EXPECT_EQ(row.x, white.xyz[0]) << row.code;
        EXPECT_EQ(1.0, white.xyz[1]) << row.code;
        EXPECT_EQ(row.z, white.xyz[2]) << row.code;
        CmmSetReferenceWhiteByCode(row.code);
        EXPECT_EQ(row.x, CmmReferenceWhite().xyz[0]) << row.code;
    }
}

TEST(ReferenceWhite, Chromaticities) {
    const CmmWhite day = CmmWhiteOfXy(0.3127, 0.3290);
    EXPECT_EQ(0.3127 / 0.3290, day.xyz[0]);
    EXPECT_GT(day.xyz[0], 0.95);
    EXPECT_EQ(1.0, day.xyz[1]);
    EXPECT_EQ((1 - 0.3127 - 0.3290) / 0.3290, day.xyz[2]);
    CmmSetReferenceWhiteByXy(0.25, 0.5);
    EXPECT_EQ(0.5, CmmReferenceWhite().xyz[0]);
    EXPECT_EQ(1.0, CmmReferenceWhite().xyz[1]);
    EXPECT_EQ(0.5, CmmReferenceWhite().xyz[2]);
}

TEST(ReferenceWhite, OfNoLightIsD50) {
    CmmSetReferenceWhiteByXy(0.3, 0.0);
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(kConnectionWhite[i], CmmReferenceWhite().xyz[i]);
        EXPECT_EQ(kConnectionWhite[i], CmmWhiteOfXy(0.9, -0.0).xyz[i]);
    }
}

// --- Kinds ----------------------------------------------------------------------------------------------------------

TEST(PcsKind, FromConnectionSpaceAndHeaderIntent) {
    const HostScope host;
    for (const char* pcs : {"Lab ", "XYZ ", "Luv ", "RGB "}) {
        for (const uint32_t intent : {0U, 1U, 2U, 3U, 4U, 0x30000U}) {
            ProfileBuilder builder;
            builder.header.pcs = FourCc(pcs);
            builder.header.intent = intent;
            const ProfileRecord profile = OpenBytes(builder.Build());
            int32_t expected = PCS_XYZ;
            if (pcs == std::string("Lab ")) expected = intent == 3 ? PCS_LAB_ABSOLUTE : PCS_LAB;
            if (pcs == std::string("XYZ ")) expected = intent == 3 ? PCS_XYZ_ABSOLUTE : PCS_XYZ;
            EXPECT_EQ(expected, CmmProfilePcsKind(profile.get())) << pcs << intent;
        }
    }
    EXPECT_EQ(ERR_INVALID_PARAMETER, CmmProfilePcsKind(nullptr));
}

// --- The table of pairs ---------------------------------------------------------------------------------------------

struct Points {
    Triple blackIn, whiteIn, illuminantIn, blackOut, whiteOut, illuminantOut, white;
};

Triple PickTriple(TestRandom& random, double from, double width) {
    return {from + random.Unit() * width, from + random.Unit() * width, from + random.Unit() * width};
}

void ExpectPair(bool absolute, int32_t from, int32_t to, const Points& p) {
    SCOPED_TRACE("from " + std::to_string(from) + " to " + std::to_string(to) + (absolute ? ", absolute" : ""));
    CmmPcsFunction function = PcsLabToLab;
    int32_t scale[3] = {7, 7, 7}, offset[3] = {7, 7, 7};
    CmmDerivePcsConversion(absolute, from, p.blackIn.data(), p.whiteIn.data(), p.illuminantIn.data(), to,
                           p.blackOut.data(), p.whiteOut.data(), p.illuminantOut.data(), AsWhite(p.white), &function,
                           scale, offset);
    const auto expected = reference::DerivePcs(absolute, {from, p.blackIn, p.whiteIn, p.illuminantIn},
                                               {to, p.blackOut, p.whiteOut, p.illuminantOut}, p.white);
    EXPECT_EQ(LibraryFunction(expected.function), function);
    for (size_t c = 0; c < 3; ++c) {
        EXPECT_EQ(expected.scale[c], scale[c]) << c;
        EXPECT_EQ(expected.offset[c], offset[c]) << c;
    }
}

TEST(DerivePcs, EveryPairOfKindsEqualsTheReference) {
    TestRandom random(61);
    for (int round = 0; round < 200; ++round) {
        const Points points{PickTriple(random, 0, 0.1),  PickTriple(random, 0.5, 0.6), PickTriple(random, 0.7, 0.5),
                            PickTriple(random, 0, 0.1),  PickTriple(random, 0.5, 0.6), PickTriple(random, 0.7, 0.5),
                            PickTriple(random, 0.8, 0.5)};
        for (const bool absolute : {false, true}) {
            for (int32_t from = -1; from <= 4; ++from) {
                for (int32_t to = -1; to <= 4; ++to) ExpectPair(absolute, from, to, points);
            }
        }
    }
}

TEST(DerivePcs, FunctionsOfThePairs) {
    constexpr double kBlack[3] = {0, 0, 0}, kWhite[3] = {0.5, 1, 2};
    const CmmPcsFunction s = PcsScaleXyz, xl = PcsXyzToLab, lx = PcsLabToXyz, ll = PcsLabToLab, none = nullptr;
    const CmmPcsFunction relative[4][4] = {{s, xl, s, xl}, {lx, none, lx, ll}, {s, xl, none, xl}, {lx, ll, lx, none}};
    for (const bool absolute : {false, true}) {
        for (int32_t from = 0; from < 4; ++from) {
            for (int32_t to = 0; to < 4; ++to) {
                CmmPcsFunction function = nullptr;
                int32_t scale[3], offset[3];
                CmmDerivePcsConversion(absolute, from, kBlack, kWhite, kWhite, to, kBlack, kWhite, kWhite,
                                       CmmWhiteOfCode(50), &function, scale, offset);
                const bool labAbsolute = absolute && from == PCS_LAB && to == PCS_LAB;
                EXPECT_EQ(labAbsolute ? ll : relative[from][to], function) << from << " to " << to << absolute;
            }
        }
    }
}

/// Scale and offset of a pair, in halves and quarters that are exact.
struct Derived {
    double scale;
    double offset;
};
Derived DeriveFirst(bool absolute, int32_t from, int32_t to) {
    constexpr double kBlackIn[3] = {0.25, 0, 0}, kWhiteIn[3] = {1.25, 1, 1}, kIlluminantIn[3] = {2, 1, 1};
    constexpr double kBlackOut[3] = {0.5, 0, 0}, kWhiteOut[3] = {4.5, 1, 1}, kIlluminantOut[3] = {8, 1, 1};
    CmmPcsFunction function = nullptr;
    int32_t scale[3], offset[3];
    CmmDerivePcsConversion(absolute, from, kBlackIn, kWhiteIn, kIlluminantIn, to, kBlackOut, kWhiteOut, kIlluminantOut,
                           CmmWhite{{16, 1, 1}}, &function, scale, offset);
    return {scale[0] / 65536.0, offset[0] / 65536.0};
}

TEST(DerivePcs, WorkedPairs) {
    struct Row {
        bool absolute;
        int32_t from, to;
        double scale, offset;
    };
    // The way out of the input: scale 0.5, offset -0.25; by the reference white 0.0625. The way into the output:
    // scale 2, offset -1; by the reference white 4, offset -2.
    constexpr Row kRows[] = {{false, 0, 0, 4, 0},          {true, 0, 0, 1, -1.5},        {false, 0, 1, 8, 0},
                             {true, 0, 1, 8, -12},         {false, 0, 2, 0.5, -0.25},    {false, 0, 3, 2, -3},
                             {true, 1, 0, 0.125, -1.5},    {false, 1, 1, 1, 0},          {true, 1, 1, 2, -3},
                             {false, 1, 2, 0.0625, -0.25}, {false, 1, 3, 0.0625, -0.25}, {false, 2, 0, 2, -1},
                             {false, 2, 1, 2, -1},         {false, 2, 2, 1, 0},          {false, 3, 1, 2, -1},
                             {false, 3, 2, 2, -1},         {false, 3, 3, 1, 0}};
    for (const Row& row : kRows) {
        const Derived derived = DeriveFirst(row.absolute, row.from, row.to);
        EXPECT_EQ(row.scale, derived.scale) << row.from << " to " << row.to << row.absolute;
        // Negative numbers lose a unit of 2^-16 where the half is added before truncation.
        EXPECT_EQ(row.offset < 0 ? row.offset + 1 / 65536.0 : 0, derived.offset)
            << row.from << " to " << row.to << row.absolute;
    }
    const Derived fromLab = DeriveFirst(false, 1, 0), toLab = DeriveFirst(false, 2, 3),
                  absolute = DeriveFirst(false, 3, 0);
    EXPECT_NEAR(8 / 0.964294, fromLab.scale, 1e-5);
    EXPECT_NEAR(8 / 0.964294, toLab.scale, 1e-5);
    EXPECT_NEAR(0.964294 / 8, absolute.scale, 1e-5);
    EXPECT_EQ(-0.5 + 1 / 65536.0, absolute.offset) << "the offset is that of the input's own points";
}

TEST(DerivePcs, NegativeNumbersTruncateAfterTheHalf) {
    const double step = 1.0 / 65536.0;
    const double black[3] = {1.25 * step, 1.75 * step, 0.25 * step}, white[3] = {1, 1, 1};
    CmmPcsFunction function = nullptr;
    int32_t scale[3], offset[3];
    CmmDerivePcsConversion(false, PCS_XYZ, black, white, white, PCS_XYZ_ABSOLUTE, black, white, white,
                           CmmWhiteOfCode(50), &function, scale, offset);
    EXPECT_EQ(0, offset[0]);
    EXPECT_EQ(-1, offset[1]);
    EXPECT_EQ(0, offset[2]);
    EXPECT_EQ(kOne - 1, scale[0]);
}

TEST(DerivePcs, DivisionsByZeroEndAtTheNumbersEnds) {
    TestRandom random(62);
    const Triple zero{}, one{1, 1, 1}, black{0.1, 0, 0.2};
    for (const bool absolute : {false, true}) {
        for (int32_t from = 0; from < 4; ++from) {
            for (int32_t to = 0; to < 4; ++to) {
                ExpectPair(absolute, from, to, {black, black, one, black, black, one, one});
                ExpectPair(absolute, from, to, {zero, one, zero, zero, one, zero, one});
                ExpectPair(absolute, from, to, {zero, zero, zero, zero, zero, zero, zero});
            }
        }
    }
}

// --- Scaling --------------------------------------------------------------------------------------------------------

TEST(PcsScaleXyz, ByOneKeepsEveryWord) {
    for (uint32_t value = 0; value < 0x10000; value += 13) {
        const auto word = static_cast<uint16_t>(value);
        EXPECT_EQ((Pixel{word, word, word}), Apply(PcsScaleXyz, {word, word, word}));
    }
}

TEST(PcsScaleXyz, ClampsAtBothEnds) {
    EXPECT_EQ((Pixel{0xFFFF, 0, 0x8000}),
              Apply(PcsScaleXyz, {0x8000, 0x8000, 0x8000}, {3 * kOne, kOne, 2 * kOne}, {0, -3 * kOne, -kOne}));
}

TEST(PcsScaleXyz, NullOrUnreadableScaleDoesNothing) {
    GuardedBuffer page(12);
    page.MakeUnreadable();
    const auto* const bad = reinterpret_cast<const int32_t*>(page.Data());
    const Pixel in{1, 2, 3};
    Pixel out{7, 8, 9};
    PcsScaleXyz(in.data(), out.data(), nullptr, kZeros);
    PcsScaleXyz(in.data(), out.data(), kOnes, nullptr);
    PcsScaleXyz(in.data(), out.data(), bad, kZeros);
    PcsScaleXyz(in.data(), out.data(), kOnes, bad);
    EXPECT_EQ((Pixel{7, 8, 9}), out);
}

TEST(PcsFunctions, EqualTheReference) {
    TestRandom random(63);
    constexpr PcsFunction kFunctions[] = {PcsFunction::kScaleXyz, PcsFunction::kXyzToLab, PcsFunction::kLabToXyz,
                                          PcsFunction::kLabToLab};
    for (int i = 0; i < 20000; ++i) {
        const Pixel in{random.Word(), random.Word(), random.Word()};
        int32_t scale[3], offset[3];
        reference::PcsConversion expected;
        for (size_t c = 0; c < 3; ++c) {
            scale[c] = expected.scale[c] = static_cast<int32_t>(random.Below(0x40000)) - 0x8000;
            offset[c] = expected.offset[c] = static_cast<int32_t>(random.Below(0x20000)) - 0x10000;
        }
        for (const PcsFunction function : kFunctions) {
            expected.function = function;
            ASSERT_EQ(reference::ApplyPcs(expected, in), Apply(LibraryFunction(function), in, scale, offset))
                << static_cast<int>(function) << " of " << in[0] << ' ' << in[1] << ' ' << in[2];
        }
    }
}

// --- XYZ and Lab ----------------------------------------------------------------------------------------------------

TEST(XyzToLab, BlackIsTheFixedException) {
    EXPECT_EQ((Pixel{0, 0x7E00, 0x7E00}), ToLab({0, 0, 0}));
    // The next value above is neutral by the general rule.
    const Pixel next = ToLab({1, 1, 1});
    EXPECT_NEAR(0x8000, next[1], 64);
    EXPECT_NEAR(0x8000, next[2], 64);
}

TEST(XyzToLab, WhiteIsTheTopOfLightness) {
    EXPECT_EQ((Pixel{0xFF00, 0x8000, 0x8000}), ToLab({0x7B6E, 0x8000, 0x699D}));
}

TEST(XyzToLab, LightnessStopsAtItsTop) {
    EXPECT_EQ(0xFF00, ToLab({0x7B6E, 0x8001, 0x699D})[0]);
    EXPECT_EQ(0xFF00, ToLab({0xFFFF, 0xFFFF, 0xFFFF})[0]);
}

TEST(XyzToLab, ChromaticityIsClamped) {
    EXPECT_EQ(0xFFFF, ToLab({0xFFFF, 0, 0})[1]);
    EXPECT_EQ(0, ToLab({0, 0xFFFF, 0})[1]);
    EXPECT_EQ(0xFFFF, ToLab({0, 0xFFFF, 0})[2]);
    EXPECT_EQ(0, ToLab({0, 0, 0xFFFF})[2]);
}

TEST(XyzToLab, EveryGrayEqualsTheReference) {
    for (uint32_t value = 0; value < 0x10000; ++value) {
        const auto word = static_cast<uint16_t>(value);
        ASSERT_EQ(reference::XyzToLab({word, word, word}), ToLab({word, word, word})) << value;
    }
}

TEST(LabToXyz, WhiteComesBack) {
    const Pixel white = FromLab({0xFF00, 0x8000, 0x8000});
    EXPECT_EQ((Pixel{0x7B6E, 0x8000, 0x699D}), (Pixel{white[0], white[1], white[2]}));
}

TEST(LabToXyz, HasNoLinearSegmentNearBlack) {
    // L of 1: a cube gives 0.0032 where the linear foot would give 0.0011.
    const Pixel dark = FromLab({653, 0x8000, 0x8000});
    EXPECT_NEAR(std::pow(17.0 / 116.0, 3.0) * 32768.0, dark[1], 2.0);
    const Pixel back = ToLab(dark);
    EXPECT_GT(back[0], 2 * 653) << "the way back is no inverse";
}

TEST(LabToXyz, ClampsAtBothEnds) {
    EXPECT_EQ(0, FromLab({0x1000, 0, 0x8000})[0]) << "a negative cube";
    EXPECT_EQ(0xFFFF, FromLab({0xFFFF, 0x8000, 0})[2]);
}

TEST(LabToXyz, EqualsTheReference) {
    TestRandom random(64);
    for (int i = 0; i < 50000; ++i) {
        const Pixel in{random.Word(), random.Word(), random.Word()};
        ASSERT_EQ(reference::LabToXyz(in, in[0] * 100.0 / 65280.0), FromLab(in));
    }
}

TEST(PcsLabToXyz, LightnessZeroGivesTheOffsetAlone) {
    constexpr int32_t kOffset[3] = {0x1000, -0x1000, 3 * kOne};
    for (const uint16_t chroma : {uint16_t{0}, uint16_t{0x8000}, uint16_t{0xFFFF}}) {
        EXPECT_EQ((Pixel{0x800, 0, 0xFFFF}), Apply(PcsLabToXyz, {0, chroma, chroma}, kOnes, kOffset));
    }
}

TEST(PcsLabToLab, LightnessZeroIsTheBlackException) {
    EXPECT_EQ((Pixel{0, 0x7E00, 0x7E00}), Apply(PcsLabToLab, {0, 0x1234, 0xFFFF}));
}

}  // namespace
}  // namespace zv::test
