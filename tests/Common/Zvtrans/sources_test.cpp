// Where the profiles of a transform come from: blocks, files, or the library itself.
#include "Common/lookup.h"
#include "tests/support/engine_records.h"
#include "tests/support/engine_reference.h"
#include "tests/support/frame_fixture.h"
#include "tests/support/profile_builder.h"
#include "tests/support/profile_file.h"

#ifndef _WIN32
#    include <dlfcn.h>
#endif

namespace zv::test {
namespace {

constexpr const ZvChar* kAbsent = ZV_WIDE("no-such-profile.icm");

Bytes Cmyk(uint64_t seed = 1) { return LutProfile("CMYK", "Lab ", 16, 3, seed).Build(); }
Bytes Rgb() { return MatrixRgbProfile({}, GammaBody(0x0180)).Build(); }

CmmSources Blocks(const Bytes* input, const Bytes* output) {
    CmmSources sources{};
    sources.useCustom = 1;
    if (input != nullptr) {
        sources.inputBlock = input->data();
        sources.inputBlockSize = static_cast<uint32_t>(input->size());
    }
    if (output != nullptr) {
        sources.outputBlock = output->data();
        sources.outputBlockSize = static_cast<uint32_t>(output->size());
    }
    return sources;
}

struct Made {
    TransformRecord transform;
    int32_t status = 0;
};
Made Make(uint32_t from, uint32_t to, const CmmSources& sources, int32_t code = 50) {
    Made made;
    made.transform.reset(CmmCreateTransformByWhiteCode(from, to, code, sources, &made.status));
    return made;
}

/// Both creators fail in the same way and leave nothing.
void ExpectFails(int32_t status, uint32_t from, uint32_t to, const CmmSources& sources) {
    HostScope host;
    const Made made = Make(from, to, sources);
    EXPECT_EQ(nullptr, made.transform);
    EXPECT_EQ(status, made.status);
    if (from != to) {
        int32_t second = 0;
        EXPECT_EQ(nullptr, CmmCreateTransformByWhiteXy(from, to, 0.3, 0.3, sources, &second));
        EXPECT_EQ(status, second);
    }
    EXPECT_EQ(0U, host.Leaked());
}

void ExpectRunsLike(const Bytes& input, const Bytes& output, const Made& made) {
    ASSERT_NE(nullptr, made.transform);
    EXPECT_EQ(CLR_SUCCESS, made.status);
    const uint32_t from = made.transform->inputFormat;
    const auto expected = reference::Build(input, from, output, made.transform->outputFormat);
    ASSERT_TRUE(expected.has_value());
    const Bytes pixels = PixelsOf(from, 100, 12);
    EXPECT_TRUE(reference::Run(*expected, pixels) == RunPixels(made.transform.get(), pixels));
}

Bytes BuiltInRgb() {
    const ClrResource block = FindClrResource(ZV_WIDE("ICM"), 105);
    return {block.data, block.data + block.size};
}

/// A module without data blocks, as long as the test runs.
class NoResources {
public:
    NoResources() { SetClrResourceModule(Module()); }
    ~NoResources() { SetClrResourceModule(nullptr); }
    NoResources(const NoResources&) = delete;
    NoResources& operator=(const NoResources&) = delete;

private:
#ifdef _WIN32
    static void* Module() { return GetModuleHandleW(L"kernel32.dll"); }
#else
    static void* Module() { return dlopen(nullptr, RTLD_NOW); }
#endif
};

// --- Choosing -------------------------------------------------------------------------------------------------------

TEST(Sources, BlocksOfTheCaller) {
    const HostScope host;
    const Bytes input = Cmyk(), output = Rgb();
    ExpectRunsLike(input, output, Make(CMMFORMAT_CMYK_8, CMMFORMAT_RGB_8, Blocks(&input, &output)));
}

TEST(Sources, FilesOfTheCaller) {
    const HostScope host;
    const Bytes input = Cmyk(), output = Rgb();
    const ProfileFile inputFile(input), outputFile(output);
    CmmSources sources{};
    sources.useCustom = 1;
    sources.inputFile = inputFile.Name();
    sources.outputFile = outputFile.Name();
    ExpectRunsLike(input, output, Make(CMMFORMAT_CMYK_8, CMMFORMAT_RGB_8, sources));
}

TEST(Sources, BlockGoesBeforeAFileThatIsNotEvenThere) {
    const HostScope host;
    const Bytes input = Cmyk(), output = Rgb();
    CmmSources sources = Blocks(&input, &output);
    sources.inputFile = sources.outputFile = kAbsent;
    ExpectRunsLike(input, output, Make(CMMFORMAT_CMYK_8, CMMFORMAT_RGB_8, sources));
}

TEST(Sources, OutputWithoutASourceIsBuiltIn) {
    const HostScope host;
    const Bytes input = Cmyk();
    ExpectRunsLike(input, BuiltInRgb(), Make(CMMFORMAT_CMYK_8, CMMFORMAT_RGB_8, Blocks(&input, nullptr)));
}

TEST(Sources, CallersSourcesAreNotLookedAtWithoutTheFlag) {
    const HostScope host;
    const Bytes input = MatrixRgbProfile({}, GammaBody(0x0300)).Build();
    CmmSources sources = Blocks(&input, &input);
    sources.useCustom = 0;
    sources.outputFile = kAbsent;
    sources.outputBlockSize = 0;
    ExpectRunsLike(BuiltInRgb(), BuiltInRgb(), Make(CMMFORMAT_RGB_8, CMMFORMAT_BGR_8, sources));
}

TEST(Sources, AnyNonzeroFlagCounts) {
    const HostScope host;
    const Bytes input = Cmyk(), output = Rgb();
    CmmSources sources = Blocks(&input, &output);
    sources.useCustom = -7;
    ExpectRunsLike(input, output, Make(CMMFORMAT_CMYK_8, CMMFORMAT_RGB_8, sources));
}

TEST(Sources, SameFormatByWhiteCodeIsBuilt) {
    const HostScope host;
    const CmmSources none{};
    const Made rgb = Make(CMMFORMAT_RGB_8, CMMFORMAT_RGB_8, none),
               inks = Make(CMMFORMAT_CMYK_8, CMMFORMAT_CMYK_8, none);
    ASSERT_NE(nullptr, rgb.transform);
    ASSERT_NE(nullptr, inks.transform);
    EXPECT_NE(nullptr, rgb.transform->combinedShaper);
    EXPECT_NE(rgb.transform->inputProfile, rgb.transform->outputProfile) << "two copies of the profile";
    EXPECT_EQ(16U, inks.transform->gridLut->gridPoints);
}

TEST(Sources, SameFormatByChromaticitiesIsRefused) {
    HostScope host;
    const CmmSources none{};
    for (const uint32_t format :
         {CMMFORMAT_RGB_8, CMMFORMAT_BGR_8, CMMFORMAT_CMY_8, CMMFORMAT_CMYK_8, CMMFORMAT_LAB_8}) {
        int32_t status = 0;
        EXPECT_EQ(nullptr, CmmCreateTransformByWhiteXy(format, format, 0.3, 0.3, none, &status));
        EXPECT_EQ(ERR_COLORSPACE_UNSUPPORTED, status);
    }
    EXPECT_EQ(0, host->AllocationsSinceReset());
    int32_t status = 0;
    const TransformRecord other(CmmCreateTransformByWhiteXy(CMMFORMAT_RGB_8, CMMFORMAT_BGR_8, 0.3, 0.3, none, &status));
    EXPECT_NE(nullptr, other) << "the two byte orders are two formats";
}

// --- The white ------------------------------------------------------------------------------------------------------

TEST(Sources, CreatorsSetTheReferenceWhite) {
    const HostScope host;
    const CmmSources none{};
    EXPECT_NE(nullptr, Make(CMMFORMAT_RGB_8, CMMFORMAT_BGR_8, none, 75).transform);
    EXPECT_EQ(CmmWhiteOfCode(75).xyz[2], CmmReferenceWhite().xyz[2]);
    int32_t status = 0;
    const TransformRecord byXy(CmmCreateTransformByWhiteXy(CMMFORMAT_RGB_8, CMMFORMAT_BGR_8, 0.25, 0.5, none, &status));
    EXPECT_EQ(0.5, CmmReferenceWhite().xyz[0]);
}

TEST(Sources, WhiteOfNoLightIsD50) {
    const HostScope host;
    const CmmSources none{};
    int32_t status = 0;
    const TransformRecord dark(CmmCreateTransformByWhiteXy(CMMFORMAT_RGB_8, CMMFORMAT_CMYK_8, 0.3, 0, none, &status));
    ASSERT_NE(nullptr, dark);
    const Made d50 = Make(CMMFORMAT_RGB_8, CMMFORMAT_CMYK_8, none, 50),
               d65 = Make(CMMFORMAT_RGB_8, CMMFORMAT_CMYK_8, none, 65);
    const Bytes pixels = PixelsOf(CMMFORMAT_RGB_8, 100, 13);
    EXPECT_EQ(RunPixels(d50.transform.get(), pixels), RunPixels(dark.get(), pixels));
    EXPECT_NE(RunPixels(d65.transform.get(), pixels), RunPixels(dark.get(), pixels));
    for (size_t i = 0; i < 3; ++i) EXPECT_EQ(d50.transform->pcsScale[i], dark->pcsScale[i]);
}

TEST(Sources, LaterWhiteLeavesEarlierTransformsAlone) {
    const HostScope host;
    const CmmSources none{};
    const Made first = Make(CMMFORMAT_RGB_8, CMMFORMAT_LAB_8, none, 50);
    const Bytes pixels = PixelsOf(CMMFORMAT_RGB_8, 100, 14), before = RunPixels(first.transform.get(), pixels);
    CmmSetReferenceWhiteByCode(93);
    EXPECT_EQ(before, RunPixels(first.transform.get(), pixels));
}

// --- Failures -------------------------------------------------------------------------------------------------------

TEST(Sources, CustomWithoutAnInputIsNullWithoutACode) {
    const Bytes output = Rgb();
    ExpectFails(CLR_SUCCESS, CMMFORMAT_CMYK_8, CMMFORMAT_RGB_8, Blocks(nullptr, &output));
    ExpectFails(CLR_SUCCESS, CMMFORMAT_CMYK_8, CMMFORMAT_RGB_8, Blocks(nullptr, nullptr));
}

TEST(Sources, BlockOfNoSize) {
    const Bytes block = Cmyk();
    CmmSources sources = Blocks(&block, &block);
    sources.inputBlockSize = 0;
    ExpectFails(ERR_INVALID_PARAMETER, CMMFORMAT_CMYK_8, CMMFORMAT_RGB_8, sources);
    sources = Blocks(&block, &block);
    sources.outputBlockSize = 0;
    ExpectFails(ERR_INVALID_PARAMETER, CMMFORMAT_CMYK_8, CMMFORMAT_RGB_8, sources);
}

TEST(Sources, BlockThatCannotBeRead) {
    const Bytes block = Cmyk();
    GuardedBuffer page(block.size());
    Put(page, block);
    CmmSources sources = Blocks(&block, nullptr);
    sources.outputBlock = page.Data();
    // One byte more than there is.
    sources.outputBlockSize = static_cast<uint32_t>(page.Size() + 1);
    ExpectFails(ERR_INVALID_PARAMETER, CMMFORMAT_CMYK_8, CMMFORMAT_RGB_8, sources);
    page.MakeUnreadable();
    sources.outputBlockSize = static_cast<uint32_t>(page.Size());
    ExpectFails(ERR_INVALID_PARAMETER, CMMFORMAT_CMYK_8, CMMFORMAT_RGB_8, sources);
    sources = Blocks(nullptr, &block);
    sources.inputBlock = page.Data();
    sources.inputBlockSize = static_cast<uint32_t>(page.Size());
    ExpectFails(ERR_INVALID_PARAMETER, CMMFORMAT_CMYK_8, CMMFORMAT_RGB_8, sources);
}

TEST(Sources, FileThatIsNotThereIsNullWithoutACode) {
    const Bytes block = Cmyk();
    CmmSources sources{};
    sources.useCustom = 1;
    sources.inputFile = kAbsent;
    ExpectFails(CLR_SUCCESS, CMMFORMAT_CMYK_8, CMMFORMAT_RGB_8, sources);
    sources = Blocks(&block, nullptr);
    sources.outputFile = kAbsent;
    ExpectFails(CLR_SUCCESS, CMMFORMAT_CMYK_8, CMMFORMAT_RGB_8, sources);
}

TEST(Sources, InputIsValidatedBeforeTheOutputAndBothBeforeOpening) {
    const Bytes block = Cmyk(), noise(200, 7);
    CmmSources sources = Blocks(nullptr, &block);
    sources.inputFile = kAbsent;
    sources.outputBlockSize = 0;
    ExpectFails(CLR_SUCCESS, CMMFORMAT_CMYK_8, CMMFORMAT_RGB_8, sources);
    sources = Blocks(&noise, &block);
    sources.outputBlockSize = 0;
    ExpectFails(ERR_INVALID_PARAMETER, CMMFORMAT_CMYK_8, CMMFORMAT_RGB_8, sources);
}

TEST(Sources, WhatIsNoProfile) {
    const Bytes good = Cmyk(), noise(200, 7);
    ExpectFails(ERR_PROFILE_LOAD, CMMFORMAT_CMYK_8, CMMFORMAT_RGB_8, Blocks(&noise, nullptr));
    ExpectFails(ERR_PROFILE_LOAD, CMMFORMAT_CMYK_8, CMMFORMAT_RGB_8, Blocks(&good, &noise));
    const HostScope host;
    const ProfileFile file(noise);
    CmmSources sources{};
    sources.useCustom = 1;
    sources.inputFile = file.Name();
    ExpectFails(ERR_PROFILE_LOAD, CMMFORMAT_CMYK_8, CMMFORMAT_RGB_8, sources);
    sources = Blocks(&good, nullptr);
    sources.outputFile = file.Name();
    ExpectFails(ERR_PROFILE_LOAD, CMMFORMAT_CMYK_8, CMMFORMAT_RGB_8, sources);
}

TEST(Sources, DirectoryPassesAsAFileAndFailsToOpen) {
    CmmSources sources{};
    sources.useCustom = 1;
    const auto folder = std::filesystem::temp_directory_path() / "zv-folder.icm";
    std::filesystem::create_directory(folder);
#ifdef _WIN32
    const std::wstring name = folder.wstring();
#else
    const std::u16string name = folder.u16string();
#endif
    sources.inputFile = name.c_str();
    ExpectFails(ERR_PROFILE_LOAD, CMMFORMAT_CMYK_8, CMMFORMAT_RGB_8, sources);
    std::filesystem::remove(folder);
}

TEST(Sources, FormatWithoutABuiltInProfile) {
    const CmmSources none{};
    constexpr uint32_t kWords = 0x1A;
    ExpectFails(ERR_PROFILE_LOAD, kWords, CMMFORMAT_RGB_8, none);
    ExpectFails(ERR_PROFILE_LOAD, CMMFORMAT_RGB_8, kWords, none);
    ExpectFails(ERR_PROFILE_LOAD, 0, CMMFORMAT_RGB_8, none);
    const Bytes block = Cmyk();
    ExpectFails(ERR_PROFILE_LOAD, CMMFORMAT_CMYK_8, kWords, Blocks(&block, nullptr));
}

TEST(Sources, ModuleWithoutProfiles) {
    const NoResources module;
    const CmmSources none{};
    ExpectFails(ERR_PROFILE_LOAD, CMMFORMAT_RGB_8, CMMFORMAT_CMYK_8, none);
    const Bytes block = Cmyk(), rgb = Rgb();
    ExpectFails(ERR_PROFILE_LOAD, CMMFORMAT_CMYK_8, CMMFORMAT_RGB_8, Blocks(&block, nullptr));
    const HostScope host;
    ExpectRunsLike(block, rgb, Make(CMMFORMAT_CMYK_8, CMMFORMAT_RGB_8, Blocks(&block, &rgb)));
}

TEST(Sources, ProfileThatDoesNotFitItsFormat) {
    const Bytes cmyk = Cmyk(), rgb = Rgb();
    ExpectFails(ERR_TRANSFORM_CREATE, CMMFORMAT_RGB_8, CMMFORMAT_BGR_8, Blocks(&cmyk, &rgb));
    ExpectFails(ERR_TRANSFORM_CREATE, CMMFORMAT_BGR_8, CMMFORMAT_LAB_8, Blocks(&cmyk, &rgb));
}

TEST(Sources, StageThatCannotBeMadeIsNullWithoutACode) {
    const Bytes broken = MatrixRgbProfile().Remove("gTRC").Build();
    ExpectFails(CLR_SUCCESS, CMMFORMAT_RGB_8, CMMFORMAT_BGR_8, Blocks(&broken, nullptr));
    ExpectFails(CLR_SUCCESS, CMMFORMAT_RGB_8, CMMFORMAT_CMYK_8, Blocks(&broken, nullptr));
}

// --- Faults ---------------------------------------------------------------------------------------------------------

struct Kind {
    const char* name;
    Bytes input, output;
    uint32_t inputFormat, outputFormat;
    int64_t fewest;  ///< allocations of such a transform, at least
};

std::vector<Kind> Kinds() {
    const Bytes rgb = Rgb(), cmyk = Cmyk(), gray = GrayProfile(GammaBody(0x1CD)).Build();
    return {
        {"pair", rgb, rgb, CMMFORMAT_RGB_8, CMMFORMAT_BGR_8, 15},
        {"shaper to table", rgb, cmyk, CMMFORMAT_RGB_8, CMMFORMAT_CMYK_8, 18},
        {"table to shaper", cmyk, rgb, CMMFORMAT_CMYK_8, CMMFORMAT_RGB_8, 20},
        {"table to table", cmyk, cmyk, CMMFORMAT_CMYK_8, CMMFORMAT_CMYK_8, 22},
        {"gray to gray", gray, gray, CMMFORMAT_BGR_8, CMMFORMAT_BGR_8, 20},
        {"gray to table", gray, cmyk, CMMFORMAT_BGR_8, CMMFORMAT_CMYK_8, 18},
        {"byte table to shaper", LutProfile("CMY ", "Lab ", 8, 3).Build(), rgb, CMMFORMAT_CMY_8, CMMFORMAT_RGB_8, 20}};
}

TEST(TransformWithoutMemory, EveryAllocationInTurn) {
    for (const Kind& kind : Kinds()) {
        SCOPED_TRACE(kind.name);
        HostScope host;
        const CmmSources sources = Blocks(&kind.input, &kind.output);
        int64_t n = 1;
        for (;; ++n) {
            host->Reset();
            host->FailAllocation(n);
            const Made made = Make(kind.inputFormat, kind.outputFormat, sources);
            if (made.transform != nullptr) break;
            EXPECT_TRUE(made.status == CLR_SUCCESS || made.status < 0) << n << ": " << made.status;
            EXPECT_EQ(0U, host.Leaked()) << n;
            ASSERT_LT(n, 100);
        }
        host->FailAllocation(0);
        EXPECT_GT(n, kind.fewest);
    }
}

TEST(TransformWithoutMemory, DeviceLinkAndCopy) {
    HostScope host;
    const Bytes link = DeviceLinkProfile("RGB ", "RGB ", SmoothLut(16, 3, 3, 3, 1)).Build();
    for (const bool linked : {true, false}) {
        const std::optional<Bytes> input = linked ? std::optional<Bytes>(link) : std::nullopt;
        int64_t n = 1;
        for (;; ++n) {
            host->Reset();
            host->FailAllocation(n);
            const Built built = BuildFromBytes(input, CMMFORMAT_BGR_8, {}, CMMFORMAT_BGR_8);
            if (built.transform != nullptr) break;
            EXPECT_EQ(0U, host.Leaked()) << n;
            ASSERT_LT(n, 100);
        }
        host->FailAllocation(0);
        EXPECT_GT(n, linked ? 10 : 1);
    }
}

TEST(TransformWithoutMemory, BuiltInProfiles) {
    HostScope host;
    const CmmSources none{};
    int64_t n = 1;
    for (;; ++n) {
        host->Reset();
        host->FailAllocation(n);
        const Made made = Make(CMMFORMAT_CMYK_8, CMMFORMAT_RGB_8, none);
        if (made.transform != nullptr) break;
        EXPECT_TRUE(made.status == CLR_SUCCESS || made.status < 0) << n << ": " << made.status;
        EXPECT_EQ(0U, host.Leaked()) << n;
        ASSERT_LT(n, 100);
    }
    host->FailAllocation(0);
    EXPECT_GT(n, 15);
}

TEST(TransformWithFileFaults, EveryAccessInTurn) {
    for (const Kind& kind : Kinds()) {
        SCOPED_TRACE(kind.name);
        HostScope host;
        const ProfileFile inputFile(kind.input), outputFile(kind.output);
        CmmSources sources{};
        sources.useCustom = 1;
        sources.inputFile = inputFile.Name();
        sources.outputFile = outputFile.Name();
        const Made whole = Make(kind.inputFormat, kind.outputFormat, sources);
        ASSERT_NE(nullptr, whole.transform);
        const int64_t accesses = host->FileAccessesSinceReset();
        EXPECT_GT(accesses, 10);
        const Bytes pixels = PixelsOf(kind.inputFormat, 20, 15);
        const Bytes expected = RunPixels(whole.transform.get(), pixels);
        const size_t held = host.Leaked();
        for (int64_t n = 1; n <= accesses + 1; ++n) {
            host->FailFileAccess(n);
            const Made made = Make(kind.inputFormat, kind.outputFormat, sources);
            host->FailFileAccess(0);
            EXPECT_TRUE(made.status == CLR_SUCCESS || made.status < 0) << n << ": " << made.status;
            if (made.transform == nullptr) {
                EXPECT_EQ(held, host.Leaked()) << n;
            } else if (n > accesses) {
                EXPECT_EQ(expected, RunPixels(made.transform.get(), pixels));
            }
        }
    }
}

}  // namespace
}  // namespace zv::test
