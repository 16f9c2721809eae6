// Sampling transforms into grids, and patching nodes.
#include <algorithm>
#include <cmath>

#include "tests/support/engine_records.h"
#include "tests/support/engine_reference.h"
#include "tests/support/frame_fixture.h"
#include "tests/support/profile_builder.h"

namespace zv::test {
namespace {

using reference::Pixel;

constexpr uint32_t kFormatOf[5] = {0, 0, 0, CMMFORMAT_RGB_8, CMMFORMAT_CMYK_8};

/// Stands in for a transform's runner: remembers the words it got, and answers with sums of them.
std::vector<Words> sampled;
template <uint32_t kInputs, uint32_t kOutputs>
int32_t Sample(CmmTransform*, const void* input, void* output, uint32_t pixelCount) {
    const auto* from = static_cast<const uint8_t*>(input);
    auto* to = static_cast<uint8_t*>(output);
    for (uint32_t i = 0; i < pixelCount; ++i) {
        uint16_t in[kInputs], out[kOutputs];
        std::memcpy(in, from + i * sizeof in, sizeof in);
        sampled.emplace_back(in, in + kInputs);
        for (uint32_t o = 0; o < kOutputs; ++o) out[o] = static_cast<uint16_t>(in[o % kInputs] + o);
        std::memcpy(to + i * sizeof out, out, sizeof out);
    }
    return CLR_SUCCESS;
}

template <uint32_t kInputs, uint32_t kOutputs>
void ExpectSampling(size_t points, const std::vector<uint16_t>& positions) {
    const HostScope host;
    CmmTransform transform{};
    transform.inputFormat = kFormatOf[kInputs];
    transform.outputFormat = kFormatOf[kOutputs];
    transform.run = Sample<kInputs, kOutputs>;
    sampled.clear();
    ASSERT_EQ(1, CmmBuildGrid(&transform));
    const LutRecord owner(transform.gridLut);
    ASSERT_EQ(positions.size(), points);
    size_t nodes = 1;
    for (uint32_t i = 0; i < kInputs; ++i) nodes *= points;
    ASSERT_EQ(nodes, sampled.size());
    for (size_t node = 0; node < nodes; ++node) {
        Words expected(kInputs);
        size_t rest = node;
        for (size_t c = kInputs; c-- > 0; rest /= points) expected[c] = positions[rest % points];
        ASSERT_EQ(expected, sampled[node]) << "first channel outermost, node " << node;
        for (uint32_t o = 0; o < kOutputs; ++o) {
            ASSERT_EQ(static_cast<uint16_t>(expected[o % kInputs] + o), transform.gridLut->clut[node * kOutputs + o]);
        }
    }
}

std::vector<uint16_t> Positions33() {
    std::vector<uint16_t> positions;
    for (int i = 0; i < 33; ++i) positions.push_back(static_cast<uint16_t>(std::floor(i * 65535.0 * 0.03125)));
    return positions;
}
std::vector<uint16_t> Positions16() {
    std::vector<uint16_t> positions;
    for (int i = 0; i < 16; ++i) positions.push_back(static_cast<uint16_t>(i * 4369));
    return positions;
}

TEST(BuildGrid, NodePositionsRoundDown) {
    const std::vector<uint16_t> positions = Positions33();
    EXPECT_EQ(2047, positions[1]);
    EXPECT_EQ(4095, positions[2]);
    EXPECT_EQ(32767, positions[16]);
    EXPECT_EQ(65535, positions[32]);
    ExpectSampling<3, 3>(33, positions);
}

TEST(BuildGrid, ThreeToFour) { ExpectSampling<3, 4>(33, Positions33()); }
TEST(BuildGrid, FourToThree) { ExpectSampling<4, 3>(16, Positions16()); }
TEST(BuildGrid, FourToFour) { ExpectSampling<4, 4>(16, Positions16()); }

TEST(BuildGrid, OtherChannelCountsAreRefused) {
    const HostScope host;
    for (const auto& [in, out] : {std::pair<uint32_t, uint32_t>{0x11, 0x19}, {0x19, 0x11}, {0x29, 0x21}, {0, 0}}) {
        CmmTransform transform{};
        transform.inputFormat = in;
        transform.outputFormat = out;
        transform.run = Sample<3, 3>;
        EXPECT_EQ(0, CmmBuildGrid(&transform));
        EXPECT_EQ(nullptr, transform.gridLut);
    }
}

TEST(BuildGrid, WithoutMemory) {
    HostScope host;
    for (int64_t n = 1; n <= 2; ++n) {
        CmmTransform transform{};
        transform.inputFormat = transform.outputFormat = CMMFORMAT_CMYK_8;
        transform.run = Sample<4, 4>;
        host->FailAllocation(n);
        EXPECT_EQ(0, CmmBuildGrid(&transform)) << n;
        EXPECT_EQ(nullptr, transform.gridLut);
        EXPECT_EQ(0U, host.Leaked()) << n;
    }
    host->FailAllocation(0);
}

TEST(BuildGrid, CornersHoldTheWholeChainExactly) {
    const HostScope host;
    const Bytes profile = LutProfile("CMYK", "Lab ", 16, 5).Build();
    const Built built = BuildFromBytes(profile, CMMFORMAT_CMYK_8, profile, CMMFORMAT_CMYK_8);
    const Built full =
        BuildFromBytes(profile, CMMFORMAT_CMYK_8, profile, CMMFORMAT_CMYK_8, {reference::kConnectionD50, false, true});
    for (const uint8_t level : {uint8_t{0}, uint8_t{0xFF}}) {
        const Bytes pixel(4, level);
        EXPECT_EQ(RunPixels(full.transform.get(), pixel), RunPixels(built.transform.get(), pixel));
    }
}

TEST(BuildGrid, IsTheSameForBothByteOrders) {
    const HostScope host;
    const Bytes rgb = MatrixRgbProfile().Build(), cmyk = LutProfile("CMYK", "Lab ", 16, 4).Build();
    const Built forward = BuildFromBytes(rgb, CMMFORMAT_RGB_8, cmyk, CMMFORMAT_CMYK_8);
    const Built reversed = BuildFromBytes(rgb, CMMFORMAT_BGR_8, cmyk, CMMFORMAT_CMYK_8);
    EXPECT_TRUE(PlainOf(*forward.transform->gridLut).grid == PlainOf(*reversed.transform->gridLut).grid);
    EXPECT_EQ(RunPixels(forward.transform.get(), {10, 20, 30}), RunPixels(reversed.transform.get(), {30, 20, 10}));
}

// --- Patching -------------------------------------------------------------------------------------------------------

TEST(PatchGridNode, NodeIsTheOneAtOrBelow) {
    const HostScope host;
    CmmLut* lut = CmmLutAlloc();
    ASSERT_EQ(1, CmmLutAllocGrid(lut, 33, 3, 3));
    const LutRecord owner(lut);
    const uint16_t in[3] = {32767, 65535, 2048}, out[3] = {1, 2, 3};
    CmmPatchGridNode(lut, in, out, 3, 3);
    constexpr size_t kOffset = ((15 * 33 + 32) * 33 + 1) * 3;
    EXPECT_EQ(1, lut->clut[kOffset]);
    EXPECT_EQ(2, lut->clut[kOffset + 1]);
    EXPECT_EQ(3, lut->clut[kOffset + 2]);
    EXPECT_EQ(3, std::count_if(lut->clut, lut->clut + 33 * 33 * 33 * 3, [](uint16_t word) { return word != 0; }));
}

TEST(PatchGridNode, FourChannels) {
    const HostScope host;
    CmmLut* lut = CmmLutAlloc();
    ASSERT_EQ(1, CmmLutAllocGrid(lut, 16, 4, 4));
    const LutRecord owner(lut);
    const uint16_t in[4] = {4369, 8738, 0, 65535}, out[4] = {9, 8, 7, 6};
    CmmPatchGridNode(lut, in, out, 4, 4);
    constexpr size_t kOffset = (((1 * 16 + 2) * 16 + 0) * 16 + 15) * 4;
    for (size_t o = 0; o < 4; ++o) EXPECT_EQ(out[o], lut->clut[kOffset + o]);
}

TEST(SpaceWhite, Words) {
    const auto words = [](const char(&space)[5]) {
        const uint16_t* white = CmmSpaceWhite(Signature(space));
        return Words(white, white + 4);
    };
    EXPECT_EQ((Words{0xFFFF, 0xFFFF, 0xFFFF, 0}), words("RGB "));
    EXPECT_EQ((Words{0xFF00, 0x8000, 0x8000, 0}), words("Lab "));
    EXPECT_EQ((Words{0, 0, 0, 0}), words("CMYK"));
    EXPECT_EQ((Words{0, 0, 0, 0}), words("CMY "));
    EXPECT_EQ((Words{0, 0, 0, 0}), words("GRAY"));
    EXPECT_EQ((Words{0, 0, 0, 0}), words("XYZ "));
}

TEST(Endpoints, WhiteAndBlackOfTheThreeSpaces) {
    struct Row {
        uint32_t space, channels;
        Words white, black;
    };
    const Row rows[] = {
        {FourCc("RGB "), 3, {0xFFFF, 0xFFFF, 0xFFFF}, {0, 0, 0}},
        {FourCc("Lab "), 3, {0xFF00, 0x8000, 0x8000}, {0, 0, 0}},
        {FourCc("CMYK"), 4, {0, 0, 0, 0}, {0, 0, 0, 0xFFFF}},
    };
    for (const Row& row : rows) {
        const CmmSpaceEndpoints* found = CmmFindEndpoints(row.space);
        ASSERT_NE(nullptr, found);
        EXPECT_EQ(row.channels, found->channels);
        EXPECT_TRUE(std::equal(row.white.begin(), row.white.end(), found->white));
        EXPECT_TRUE(std::equal(row.black.begin(), row.black.end(), found->black));
    }
    for (const char* space : {"CMY ", "GRAY", "XYZ ", "HSV "}) EXPECT_EQ(nullptr, CmmFindEndpoints(FourCc(space)));
}

/// What patching changes of a transform, and that the reference agrees.
size_t PatchedWords(const Bytes& input, uint32_t inputFormat, const Bytes& output, uint32_t outputFormat) {
    ExpectLikeTheReference(input, inputFormat, output, outputFormat, 50, {reference::kConnectionD50, true, false});
    const Built plain = BuildFromBytes(input, inputFormat, output, outputFormat);
    const Built patched =
        BuildFromBytes(input, inputFormat, output, outputFormat, {reference::kConnectionD50, true, false});
    if (plain.transform == nullptr || patched.transform == nullptr) return 0;
    EXPECT_EQ(&CmmRunGrid, patched.transform->run);
    EXPECT_EQ(CmmSelectUnpack(inputFormat), patched.transform->unpack);
    const Words before = plain.transform->gridLut != nullptr ? PlainOf(*plain.transform->gridLut).grid : Words{};
    const Words after = PlainOf(*patched.transform->gridLut).grid;
    size_t changed = 0;
    for (size_t i = 0; i < before.size(); ++i) changed += before[i] != after[i] ? 1U : 0U;
    return changed;
}

Bytes Lut(std::string_view space) { return LutProfile(space, "Lab ", 16, 3).Build(); }

TEST(PatchEndpoints, RgbToInks) {
    const HostScope host;
    const size_t changed = PatchedWords(Lut("RGB "), CMMFORMAT_RGB_8, Lut("CMYK"), CMMFORMAT_CMYK_8);
    EXPECT_GT(changed, 0U);
    EXPECT_LE(changed, 8U);
    const Built patched = BuildFromBytes(Lut("RGB "), CMMFORMAT_RGB_8, Lut("CMYK"), CMMFORMAT_CMYK_8,
                                         {reference::kConnectionD50, true, false});
    EXPECT_EQ((Bytes{0, 0, 0, 0}), RunPixels(patched.transform.get(), {0xFF, 0xFF, 0xFF}));
    EXPECT_EQ((Bytes{0, 0, 0, 0xFF}), RunPixels(patched.transform.get(), {0, 0, 0}));
}

TEST(PatchEndpoints, InksToLab) {
    const HostScope host;
    EXPECT_GT(PatchedWords(Lut("CMYK"), CMMFORMAT_CMYK_8, Lut("Lab "), CMMFORMAT_LAB_8), 0U);
    const Built patched = BuildFromBytes(Lut("CMYK"), CMMFORMAT_CMYK_8, Lut("Lab "), CMMFORMAT_LAB_8,
                                         {reference::kConnectionD50, true, false});
    EXPECT_EQ((Bytes{0xFF, 0x80, 0x80}), RunPixels(patched.transform.get(), {0, 0, 0, 0}));
    EXPECT_EQ((Bytes{0, 0, 0}), RunPixels(patched.transform.get(), {0, 0, 0, 0xFF}))
        << "a and b of black are not neutral";
}

TEST(PatchEndpoints, LabToRgbByTheNodeBelowWhite) {
    const HostScope host;
    EXPECT_GT(PatchedWords(Lut("Lab "), CMMFORMAT_LAB_8, Lut("RGB "), CMMFORMAT_RGB_8), 0U);
}

TEST(PatchEndpoints, SpacesWithoutEndpointsStayAsTheyAre) {
    const HostScope host;
    EXPECT_EQ(0U, PatchedWords(Lut("CMY "), CMMFORMAT_CMY_8, Lut("Lab "), CMMFORMAT_LAB_8));
    EXPECT_EQ(0U, PatchedWords(Lut("Lab "), CMMFORMAT_LAB_8, Lut("CMY "), CMMFORMAT_CMY_8));
}

TEST(PatchEndpoints, BringsAGridWhereThereWouldBeNone) {
    const HostScope host;
    const Bytes rgb = MatrixRgbProfile().Build(), gray = GrayProfile(GammaBody(0x1CD)).Build();
    PatchedWords(rgb, CMMFORMAT_RGB_8, rgb, CMMFORMAT_BGR_8);
    PatchedWords(gray, CMMFORMAT_BGR_8, rgb, CMMFORMAT_RGB_8);
    ExpectLikeTheReference(Lut("CMY "), CMMFORMAT_CMY_8, Lut("Lab "), CMMFORMAT_LAB_8, 50,
                           {reference::kConnectionD50, true, true});
}

TEST(PatchEndpoints, NodesStayInsideTheGridWhateverTheFormat) {
    const HostScope host;
    // Four words a node where the grid has three: the last node has no fourth.
    PatchedWords(Lut("RGB "), CMMFORMAT_RGB_8, Lut("CMYK"), CMMFORMAT_BGR_8);
    PatchedWords(Lut("CMYK"), CMMFORMAT_BGR_8, Lut("RGB "), CMMFORMAT_RGB_8);
}

}  // namespace
}  // namespace zv::test
