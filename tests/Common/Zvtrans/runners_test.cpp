// Pixels through the stages: the white short cut, the slots that no transform fills, counts, overlap and threads.
#include <atomic>
#include <thread>

#include "tests/support/engine_records.h"
#include "tests/support/engine_reference.h"
#include "tests/support/frame_fixture.h"
#include "tests/support/profile_builder.h"

namespace zv::test {
namespace {

using reference::Pixel;

Bytes SmallLut(std::string_view space, std::string_view pcs = "Lab ") { return LutProfile(space, pcs, 16, 3).Build(); }
Bytes Gray(const Bytes& curve = GammaBody(0x1CD)) { return GrayProfile(curve).Build(); }

/// A transform that walks through every stage for each pixel, by the library and by the reference.
struct Full {
    Full(const Bytes& input, uint32_t inputFormat, const Bytes& output, uint32_t outputFormat)
        : built(BuildFromBytes(input, inputFormat, output, outputFormat, {reference::kConnectionD50, false, true})),
          plain(*reference::Build(input, inputFormat, output, outputFormat, {reference::kConnectionD50, false, true})) {
        EXPECT_NE(nullptr, built.transform);
        EXPECT_EQ(&CmmRunFull, built.transform->run);
    }
    Full() : Full(Gray(), CMMFORMAT_BGR_8, SmallLut("CMYK", "XYZ "), CMMFORMAT_CMYK_8) {}

    CmmTransform* operator->() const { return built.transform.get(); }
    Bytes Run(const Bytes& pixels) const { return RunPixels(built.transform.get(), pixels); }
    void ExpectEqual() const {
        const Bytes pixels = PixelsOf(plain.inputFormat, 300, 5);
        EXPECT_EQ(reference::Run(plain, pixels), Run(pixels));
    }

    Built built;
    reference::Transform plain;
};

/// A table of three inputs that gives the same words everywhere.
reference::Lut Constant(const Words& words) {
    reference::Lut lut;
    lut.hasGrid = true;
    lut.inputs = 3;
    lut.outputs = static_cast<uint32_t>(words.size());
    lut.gridPoints = 2;
    for (int node = 0; node < 8; ++node) lut.grid.insert(lut.grid.end(), words.begin(), words.end());
    return lut;
}

/// A table whose first output is one thing for a dark first word and another for a bright one.
reference::Lut Step(uint16_t dark, uint16_t bright) {
    reference::Lut lut = Constant({0});
    lut.grid = {dark, dark, dark, dark, bright, bright, bright, bright};
    return lut;
}

// --- The white short cut --------------------------------------------------------------------------------------------

/// A gray profile's white times four is at the top of the encoding.
Bytes WhiteThrough(std::string_view space, uint32_t format) {
    ProfileBuilder output = space == "GRAY" ? GrayProfile(GammaBody(0x100)) : LutProfile(space, "XYZ ", 16, 3);
    output.header.illuminant = {4, 4, 4};
    const Full full(Gray(CurveBody({})), CMMFORMAT_BGR_8, output.Build(), format);
    full.ExpectEqual();
    return full.Run({0xFE, 0xFE, 0xFE});
}

TEST(WhiteShortCut, GivesTheWhiteOfTheOutputsSpace) {
    const HostScope host;
    EXPECT_EQ((Bytes{0xFF, 0xFF, 0xFF}), WhiteThrough("RGB ", CMMFORMAT_RGB_8));
    EXPECT_EQ((Bytes{0xFF, 0x80, 0x80}), WhiteThrough("Lab ", CMMFORMAT_LAB_8));
    EXPECT_EQ((Bytes{0x80, 0x80, 0xFF}), WhiteThrough("Lab ", CMMFORMAT_BGR_8));
    EXPECT_EQ((Bytes{0, 0, 0, 0}), WhiteThrough("CMYK", CMMFORMAT_CMYK_8));
    EXPECT_EQ((Bytes{0, 0, 0}), WhiteThrough("CMY ", CMMFORMAT_CMY_8));
    EXPECT_EQ((Bytes{0, 0, 0}), WhiteThrough("GRAY", CMMFORMAT_BGR_8));
}

TEST(WhiteShortCut, SkipsTheOutputStage) {
    const HostScope host;
    ProfileBuilder output = LutProfile("RGB ", "XYZ ", 16, 3);
    output.header.illuminant = {4, 4, 4};
    Full full(Gray(CurveBody({})), CMMFORMAT_BGR_8, output.Build(), CMMFORMAT_RGB_8);
    static int calls;
    calls = 0;
    full->pcsToDevice = [](const CmmTransform*, const uint16_t*, uint16_t* out) {
        ++calls;
        out[0] = out[1] = out[2] = 0x1111;
    };
    EXPECT_EQ((Bytes{0xFF, 0xFF, 0xFF, 0x11, 0x11, 0x11}), full.Run({0xFE, 0xFE, 0xFE, 0, 0, 0}));
    EXPECT_EQ(1, calls);
}

TEST(WhiteShortCut, OfTheFirstConversionLooksAtItsResult) {
    const HostScope host;
    Full full;
    // A conversion that gives all ones for anything, and one that does so for nothing.
    full->pcsConvert = [](const uint16_t*, uint16_t* out, const int32_t*, const int32_t*) {
        out[0] = out[1] = out[2] = 0xFFFF;
    };
    EXPECT_EQ((Bytes{0, 0, 0, 0}), full.Run({0, 0, 0}));
    full->pcsConvert = [](const uint16_t*, uint16_t* out, const int32_t*, const int32_t*) {
        out[0] = out[1] = 0xFFFF;
        out[2] = 0xFFFE;
    };
    EXPECT_NE((Bytes{0, 0, 0, 0}), full.Run({0, 0, 0}));
}

TEST(WhiteShortCut, OfTheSecondConversionLooksAtItsInput) {
    const HostScope host;
    Full full;
    const reference::Lut ones = Constant({0xFFFF, 0xFFFF, 0xFFFF}), others = Constant({0xFFFF, 0xFFFF, 0xFFFE});
    full->pcsConvert2 = [](const uint16_t*, uint16_t* out, const int32_t*, const int32_t*) {
        out[0] = out[1] = out[2] = 0x8000;
    };
    full->previewLut = MakeLutRecord(ones);
    EXPECT_EQ((Bytes{0, 0, 0, 0}), full.Run({1, 2, 3}));
    CmmLutFree(full->previewLut);
    full->previewLut = MakeLutRecord(others);
    EXPECT_NE((Bytes{0, 0, 0, 0}), full.Run({1, 2, 3}));
    CmmLutFree(full->previewLut);
    full->previewLut = nullptr;
    full->pcsConvert2 = [](const uint16_t*, uint16_t* out, const int32_t*, const int32_t*) {
        out[0] = out[1] = out[2] = 0xFFFF;
    };
    EXPECT_NE((Bytes{0, 0, 0, 0}), full.Run({1, 2, 3})) << "the result does not count";
}

TEST(WhiteShortCut, NeedsAConversion) {
    const HostScope host;
    // XYZ on both sides, absolute: no conversion, and all ones go on to the output stage.
    LutTag white = SmoothLut(16, 3, 3, 2, 1, 2, 2), back = SmoothLut(16, 3, 3, 2, 2, 2, 2);
    std::fill(white.grid.begin(), white.grid.end(), uint16_t{0xFFFF});
    std::fill(back.grid.begin(), back.grid.end(), uint16_t{0x4000});
    back.outputTables = {0, 0xFFFF, 0, 0xFFFF, 0, 0xFFFF};
    ProfileBuilder builder = LutProfile("RGB ", "XYZ ", white, back);
    builder.header.intent = 3;
    const Full full(builder.Build(), CMMFORMAT_RGB_8, builder.Build(), CMMFORMAT_RGB_8);
    EXPECT_EQ(nullptr, full->pcsConvert);
    EXPECT_EQ((Bytes{0x40, 0x40, 0x40}), full.Run({1, 2, 3}));
}

// --- Slots that no transform fills ----------------------------------------------------------------------------------

TEST(GamutSlot, GivesTheAlarmAboveItsThreshold) {
    const HostScope host;
    struct Row {
        uint16_t word;
        bool alarm;
    };
    for (const Row& row : {Row{0xFFFF, true}, Row{0xF001, true}, Row{0xF000, false}, Row{0, false}}) {
        Full full;
        const Bytes before = full.Run({9, 90, 200});
        full->gamutLut = MakeLutRecord(Constant({row.word}));
        full.plain.gamutLut = Constant({row.word});
        EXPECT_EQ(row.alarm ? (Bytes{0x7F, 0xFF, 0x7F, 0}) : before, full.Run({9, 90, 200})) << row.word;
        full.ExpectEqual();
    }
}

TEST(GamutSlot, IsAskedPixelByPixel) {
    const HostScope host;
    Full full;
    full->gamutLut = MakeLutRecord(Step(0, 0xFFFF));
    full.plain.gamutLut = Step(0, 0xFFFF);
    full.ExpectEqual();
}

TEST(PreviewSlot, ReplacesTheConnectionWords) {
    const HostScope host;
    Full full;
    TestRandom random(91);
    reference::Lut preview = Constant({1, 2, 3, 4});
    preview.grid = RandomTable(preview.grid.size(), random);
    full->previewLut = MakeLutRecord(preview);
    full.plain.previewLut = preview;
    full.ExpectEqual();
}

TEST(PreviewSlot, ComesBehindTheGamutSlot) {
    const HostScope host;
    Full full;
    full->previewLut = MakeLutRecord(Constant({0xFFFF, 0xFFFF, 0xFFFF}));
    full->gamutLut = MakeLutRecord(Step(0, 0xFFFF));
    full.plain.previewLut = Constant({0xFFFF, 0xFFFF, 0xFFFF});
    full.plain.gamutLut = Step(0, 0xFFFF);
    EXPECT_NE((Bytes{0x7F, 0xFF, 0x7F, 0}), full.Run({0, 0, 0})) << "the gamut table saw the words before the preview";
    full.ExpectEqual();
}

TEST(SecondConversionSlot, HasItsOwnScaleAndOffset) {
    const HostScope host;
    struct Row {
        CmmPcsFunction library;
        reference::PcsFunction plain;
    };
    for (const Row& row :
         {Row{PcsScaleXyz, reference::PcsFunction::kScaleXyz}, Row{PcsXyzToLab, reference::PcsFunction::kXyzToLab},
          Row{PcsLabToXyz, reference::PcsFunction::kLabToXyz}, Row{PcsLabToLab, reference::PcsFunction::kLabToLab}}) {
        Full full;
        full->pcsConvert2 = row.library;
        full.plain.pcs2 = {row.plain, {0x18000, 0xC000, 0x10000}, {0x1000, -0x800, 0}};
        std::copy_n(full.plain.pcs2.scale.begin(), 3, full->pcsScale2);
        std::copy_n(full.plain.pcs2.offset.begin(), 3, full->pcsOffset2);
        full.ExpectEqual();
    }
}

TEST(PreviewSlot, GetsBothConversionsSetUp) {
    const HostScope host;
    Full full(SmallLut("CMYK", "XYZ "), CMMFORMAT_CMYK_8, SmallLut("CMY ", "Lab "), CMMFORMAT_CMY_8);
    const ProfileRecord preview = OpenBytes(SmallLut("CMYK", "Lab "));
    full->previewLut = MakeLutRecord(Constant({0, 0, 0}));
    full->previewProfile = preview.get();
    full->previewPcsKind = PCS_LAB;
    CmmSetupPcsConversion(full.built.transform.get(), CmmWhiteOfCode(65));
    EXPECT_EQ(&PcsXyzToLab, full->pcsConvert);
    // The proof intent is absolute: Lab to Lab has a conversion there.
    EXPECT_EQ(&PcsLabToLab, full->pcsConvert2);
    const Triple d50{S15Fixed16(0.9642) / 65536.0, 1.0, S15Fixed16(0.8249) / 65536.0};
    const reference::PcsSide side{1, {}, d50, d50};
    const auto first = reference::DerivePcs(false, {0, {}, d50, d50}, side, reference::WhiteOfCode(65));
    const auto second = reference::DerivePcs(true, side, side, reference::WhiteOfCode(65));
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(first.scale[i], full->pcsScale[i]);
        EXPECT_EQ(first.offset[i], full->pcsOffset[i]);
        EXPECT_EQ(second.scale[i], full->pcsScale2[i]);
        EXPECT_EQ(second.offset[i], full->pcsOffset2[i]);
    }
    full->previewProfile = nullptr;
}

TEST(Slots, StagesWithoutTheirTableWriteNothing) {
    const CmmTransform none{};
    const Pixel in{1, 2, 3};
    Pixel out{7, 8, 9};
    for (const CmmStage stage : {CmmStageInputLut, CmmStageOutputLut, CmmStageInputShaper, CmmStageOutputShaper}) {
        stage(&none, in.data(), out.data());
    }
    EXPECT_EQ((Pixel{7, 8, 9}), out);
}

TEST(Slots, RunnersWithoutTheirTableGiveZeros) {
    const HostScope host;
    Built built = BuildFromBytes({}, CMMFORMAT_BGR_8, {}, CMMFORMAT_BGR_8);
    built.transform->run = CmmRunGrid;
    EXPECT_EQ((Bytes{0, 0, 0}), RunPixels(built.transform.get(), {1, 2, 3}));
    built.transform->run = CmmRunShaper;
    EXPECT_EQ((Bytes{0, 0, 0}), RunPixels(built.transform.get(), {1, 2, 3}));
}

// --- Runs -----------------------------------------------------------------------------------------------------------

/// One transform of each runner.
std::vector<Built> OneOfEach() {
    std::vector<Built> all;
    all.push_back(
        BuildFromBytes(MatrixRgbProfile().Build(), CMMFORMAT_RGB_8, MatrixRgbProfile().Build(), CMMFORMAT_BGR_8));
    all.push_back(BuildFromBytes(Gray(), CMMFORMAT_BGR_8, SmallLut("CMYK"), CMMFORMAT_CMYK_8));
    all.push_back(BuildFromBytes(SmallLut("CMYK"), CMMFORMAT_CMYK_8, SmallLut("CMYK"), CMMFORMAT_CMYK_8));
    all.push_back(BuildFromBytes(SmallLut("CMYK"), CMMFORMAT_CMYK_8, MatrixRgbProfile().Build(), CMMFORMAT_RGB_8));
    all.push_back(BuildFromBytes({}, CMMFORMAT_BGR_8, {}, CMMFORMAT_BGR_8));
    return all;
}

TEST(Runs, NoPixelsTouchNoBuffer) {
    const HostScope host;
    for (const Built& built : OneOfEach()) {
        ASSERT_NE(nullptr, built.transform);
        EXPECT_EQ(CLR_SUCCESS, CmmRunTransform(nullptr, nullptr, 0, built.transform.get()));
        EXPECT_EQ(0U, built.transform->inputCount);
    }
}

TEST(Runs, UnreadableTransform) {
    GuardedBuffer page(sizeof(CmmTransform));
    page.MakeUnreadable();
    auto* const bad = reinterpret_cast<CmmTransform*>(page.Data());
    uint8_t pixel[4] = {};
    for (const CmmRunner run : {CmmRunFull, CmmRunGrid, CmmRunShaper, CmmRunCopy}) {
        EXPECT_EQ(ERR_INVALID_PARAMETER, run(bad, pixel, pixel, 1));
        EXPECT_EQ(ERR_INVALID_PARAMETER, run(nullptr, pixel, pixel, 1));
    }
}

TEST(Runs, EveryPixelIsReadAndWrittenInItsPlaceOnly) {
    const HostScope host;
    for (const Built& built : OneOfEach()) {
        const size_t from = FormatChannels(built.transform->inputFormat);
        const size_t to = FormatChannels(built.transform->outputFormat);
        const Bytes pixels = PixelsOf(built.transform->inputFormat, 100, 3);
        const Bytes whole = RunPixels(built.transform.get(), pixels);
        for (uint32_t count = 1; count <= 67; ++count) {
            for (const auto side : {GuardedBuffer::Side::kFront, GuardedBuffer::Side::kBack}) {
                const GuardedBuffer in(count * from, side), out(count * to, side);
                std::memcpy(in.Data(), pixels.data(), in.Size());
                ASSERT_EQ(CLR_SUCCESS, CmmRunTransform(in.Data(), out.Data(), count, built.transform.get()));
                ASSERT_EQ(0, std::memcmp(whole.data(), out.Data(), out.Size())) << count << " pixels";
                EXPECT_EQ(count, built.transform->inputCount);
                EXPECT_EQ(count, built.transform->outputCount);
            }
        }
    }
}

TEST(Runs, InPlaceWhereOutputPixelsAreNoLarger) {
    const HostScope host;
    for (const Built& built : OneOfEach()) {
        const uint32_t from = FormatChannels(built.transform->inputFormat);
        if (FormatChannels(built.transform->outputFormat) > from) continue;
        Bytes pixels = PixelsOf(built.transform->inputFormat, 500, 4);
        const Bytes expected = RunPixels(built.transform.get(), pixels);
        const auto count = static_cast<uint32_t>(pixels.size() / from);
        ASSERT_EQ(CLR_SUCCESS, CmmRunTransform(pixels.data(), pixels.data(), count, built.transform.get()));
        pixels.resize(expected.size());
        EXPECT_TRUE(expected == pixels);
    }
}

TEST(Runs, AllocateNothing) {
    HostScope host;
    for (const Built& built : OneOfEach()) {
        const Bytes pixels = PixelsOf(built.transform->inputFormat, 100, 3);
        const int64_t before = host->AllocationsSinceReset();
        RunPixels(built.transform.get(), pixels);
        EXPECT_EQ(before, host->AllocationsSinceReset());
    }
}

TEST(Runs, OneTransformOnTwoThreadsGivesTheSameBytes) {
    const HostScope host;
    for (const Built& built : OneOfEach()) {
        const Bytes pixels = PixelsOf(built.transform->inputFormat, 3000, 6);
        const Bytes expected = RunPixels(built.transform.get(), pixels);
        std::atomic<int> wrong = 0;
        std::atomic<bool> go = false;
        const auto work = [&] {
            while (!go) std::this_thread::yield();
            for (int round = 0; round < 10; ++round) {
                if (RunPixels(built.transform.get(), pixels) != expected) ++wrong;
            }
        };
        std::thread first(work), second(work);
        go = true;
        first.join();
        second.join();
        EXPECT_EQ(0, wrong);
    }
}

}  // namespace
}  // namespace zv::test
