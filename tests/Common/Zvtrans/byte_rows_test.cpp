// Runs of pixels with 8-bit channels, against the chain of words that they stand for.
#include "Common/Zvgamma/fixed_point.h"
#include "tests/Common/Zvtrans/byte_grids.h"
#include "tests/support/frame_fixture.h"

namespace zv::test {
namespace {

constexpr uint32_t kFormats[] = {CMMFORMAT_RGB_8, CMMFORMAT_BGR_8, CMMFORMAT_CMYK_8};

TEST(ByteGrids, EqualTheWordsForEveryFormatSizeAndKindOfNode) {
    const HostScope host;
    for (const uint32_t from : kFormats) {
        for (const uint32_t to : kFormats) {
            for (const uint32_t points : {2U, 3U, 8U, 9U, 16U, 17U}) {
                for (const Nodes nodes : kAllNodes) {
                    SCOPED_TRACE(std::to_string(from) + " to " + std::to_string(to) + ", " + std::to_string(points));
                    GridTransform grid(points, from, to, nodes, points);
                    ExpectBytesLikeWords(grid.Get(), PixelsOf(from, 4000, points));
                }
            }
        }
    }
}

TEST(ByteGrids, EqualTheWordsInTheLargerGrids) {
    const HostScope host;
    for (const uint32_t points : {32U, 33U, 48U, 51U, 64U}) {
        for (const Nodes nodes : kAllNodes) {
            GridTransform grid(points, CMMFORMAT_BGR_8, CMMFORMAT_CMYK_8, nodes, points);
            ExpectBytesLikeWords(grid.Get(), PixelsOf(CMMFORMAT_BGR_8, 20000, points));
        }
    }
}

TEST(ByteGrids, FlatAreasOnEdges) {
    const HostScope host;
    for (const uint32_t from : kFormats) {
        GridTransform grid(17, from, CMMFORMAT_RGB_8, Nodes::kEdges, 3);
        for (int v = 0; v < 256; ++v) ExpectBytesLikeWords(grid.Get(), Bytes(12 * 20, static_cast<uint8_t>(v)));
    }
}

TEST(ByteGrids, EveryCountBetweenGuardPages) {
    const HostScope host;
    for (const uint32_t from : kFormats) {
        for (const uint32_t to : kFormats) {
            GridTransform grid(5, from, to, Nodes::kNoise);
            const size_t in = FormatChannels(from), out = FormatChannels(to);
            const Bytes pixels = PixelsOf(from, 130, 2);
            const Bytes expected = RunByWords(grid.Get(), pixels);
            for (const ClrIsa isa : InstructionSets()) {
                const UseIsa use(isa);
                for (uint32_t count = 1; count <= 130; ++count) {
                    for (const auto side : {GuardedBuffer::Side::kFront, GuardedBuffer::Side::kBack}) {
                        const GuardedBuffer source(count * in, side), result(count * out, side);
                        std::memcpy(source.Data(), pixels.data(), source.Size());
                        ASSERT_EQ(CLR_SUCCESS, CmmRunTransform(source.Data(), result.Data(), count, grid.Get()));
                        ASSERT_EQ(0, std::memcmp(expected.data(), result.Data(), result.Size())) << count;
                    }
                }
            }
        }
    }
}

/// Buffers that overlap give what pixels one after another give.
void ExpectOverlaps(CmmTransform* transform) {
    constexpr size_t kPixels = 200;
    const size_t in = FormatChannels(transform->inputFormat), out = FormatChannels(transform->outputFormat);
    const Bytes before = RandomBytes(4 * kPixels + 400, 6);
    for (size_t from = 0; from <= 400; from += 25) {
        for (size_t to = 0; to <= 400; to += 20) {
            Bytes expected = before;
            uint16_t words[kMostChannels] = {}, result[kMostChannels] = {};
            for (size_t i = 0; i < kPixels; ++i) {
                transform->unpack(transform, words, expected.data() + from + i * in);
                if (transform->gridLut != nullptr) CmmLutEvalUnchecked(*transform->gridLut, words, result);
                if (transform->combinedShaper != nullptr)
                    MatShaperEvalUnchecked(*transform->combinedShaper, words, result);
                transform->pack(transform, result, expected.data() + to + i * out);
            }
            for (const ClrIsa isa : InstructionSets()) {
                const UseIsa use(isa);
                Bytes bytes = before;
                ASSERT_EQ(CLR_SUCCESS, CmmRunTransform(bytes.data() + from, bytes.data() + to, kPixels, transform));
                ASSERT_TRUE(expected == bytes) << from << " to " << to;
            }
        }
    }
}

TEST(ByteGrids, OverlappingBuffers) {
    const HostScope host;
    for (const uint32_t from : kFormats) {
        for (const uint32_t to : kFormats) ExpectOverlaps(GridTransform(3, from, to, Nodes::kNoise).Get());
    }
}

TEST(ByteGrids, HaveNoTablesForOtherLookups) {
    const HostScope host;
    // An axis without a neighbour, and more nodes than a run keeps twice.
    EXPECT_EQ(nullptr, GridTransform(1, CMMFORMAT_RGB_8, CMMFORMAT_RGB_8, Nodes::kNoise).Get()->byteTables);
    EXPECT_EQ(nullptr, GridTransform(65, CMMFORMAT_RGB_8, CMMFORMAT_RGB_8, Nodes::kNoise).Get()->byteTables);
    GridTransform grid(3, CMMFORMAT_RGB_8, CMMFORMAT_RGB_8, Nodes::kNoise);
    CmmTransform other = *grid.Get();
    other.inputFormat = CMMFORMAT_CMYK_8;
    EXPECT_EQ(nullptr, CmmMakeByteTables(other)) << "channels that the grid has not";
    other.inputFormat = 2 | 3 << 3;
    EXPECT_EQ(nullptr, CmmMakeByteTables(other)) << "words";
    other = *grid.Get();
    other.gridLut->flags |= LUT_HAS_MATRIX;
    EXPECT_EQ(nullptr, CmmMakeByteTables(other));
    other.gridLut->flags = LUT_HAS_CLUT;
}

TEST(ByteGrids, TablesOfAnotherGridOrFormatterAreLeftAlone) {
    const HostScope host;
    GridTransform noise(3, CMMFORMAT_RGB_8, CMMFORMAT_RGB_8, Nodes::kNoise);
    GridTransform ramp(3, CMMFORMAT_RGB_8, CMMFORMAT_RGB_8, Nodes::kRamp);
    const Bytes pixels = PixelsOf(CMMFORMAT_RGB_8, 100, 1);
    CmmTransform mixed = *noise.Get();
    mixed.gridLut = ramp.Get()->gridLut;
    EXPECT_EQ(RunByWords(ramp.Get(), pixels), RunPixels(&mixed, pixels));
    mixed = *noise.Get();
    mixed.pack = CmmSelectPack(CMMFORMAT_BGR_8);
    EXPECT_EQ(RunByWords(&mixed, pixels), RunPixels(&mixed, pixels));
}

TEST(ByteGrids, NodesExchangedLaterCount) {
    const HostScope host;
    GridTransform grid(3, CMMFORMAT_RGB_8, CMMFORMAT_RGB_8, Nodes::kRamp);
    const uint16_t white[4] = {0xFFFF, 0xFFFF, 0xFFFF, 0}, other[4] = {0x1234, 0x5678, 0x9ABC, 0};
    CmmPatchGridNode(grid.Get()->gridLut, white, other, 3, 3);
    EXPECT_EQ((Bytes{0x12, 0x56, 0x9A}), RunPixels(grid.Get(), {255, 255, 255}));
}

TEST(ByteTables, TransformsOfProfilesHaveThemAndDoWithout) {
    HostScope host;
    const Bytes rgb = MatrixRgbProfile().Build(), cmyk = LutProfile("CMYK", "Lab ", 16, 3).Build();
    struct Pair {
        const Bytes& input;
        const Bytes& output;
        uint32_t from, to;
    };
    for (const Pair& p :
         {Pair{rgb, cmyk, CMMFORMAT_RGB_8, CMMFORMAT_CMYK_8}, Pair{cmyk, rgb, CMMFORMAT_CMYK_8, CMMFORMAT_BGR_8},
          Pair{rgb, rgb, CMMFORMAT_RGB_8, CMMFORMAT_BGR_8}}) {
        host->Reset();
        const Built whole = BuildFromBytes(p.input, p.from, p.output, p.to);
        const int64_t allocations = host->AllocationsSinceReset();
        ASSERT_NE(nullptr, whole.transform);
        const Bytes pixels = PixelsOf(p.from, 3000, 9);
        ExpectBytesLikeWords(whole.transform.get(), pixels);
        // The last block is that of the tables.
        host->Reset();
        host->FailAllocation(allocations);
        const Built without = BuildFromBytes(p.input, p.from, p.output, p.to);
        host->FailAllocation(0);
        ASSERT_NE(nullptr, without.transform);
        EXPECT_EQ(CLR_SUCCESS, without.status);
        EXPECT_EQ(nullptr, without.transform->byteTables);
        EXPECT_EQ(RunPixels(whole.transform.get(), pixels), RunPixels(without.transform.get(), pixels));
    }
}

/// A shaper from device to device with random curves.
class ShaperTransform {
public:
    ShaperTransform(uint32_t from, uint32_t to, const reference::Matrix& matrix, const std::array<Words, 3>& curves)
        : shaper_(MakeShaperRecord(matrix, curves, MATSHAPER_INPUT | MATSHAPER_OUTPUT)) {
        transform_.inputFormat = from;
        transform_.outputFormat = to;
        transform_.unpack = CmmSelectUnpack(from);
        transform_.pack = CmmSelectPack(to);
        transform_.run = CmmRunShaper;
        transform_.combinedShaper = shaper_.get();
        transform_.byteTables = CmmMakeByteTables(transform_);
    }
    ~ShaperTransform() { CmmFreeByteTables(transform_.byteTables); }
    ShaperTransform(const ShaperTransform&) = delete;
    ShaperTransform& operator=(const ShaperTransform&) = delete;

    CmmTransform* Get() { return &transform_; }

private:
    ShaperRecord shaper_;
    CmmTransform transform_{};
};

const reference::Matrix kMatrices[] = {
    {1, 0, 0, 0, 1, 0, 0, 0, 1},
    {0.6, 0.3, 0.1, 0.2, 0.7, 0.1, 0.05, 0.15, 0.8},
    {1.7, -0.4, -0.3, -0.2, 1.5, -0.3, 0.1, -0.9, 1.8},
    {0, 0, 0, 0.5, 0, 0, 0, 0.5, 0},
    {30000, 20000, -40000, -32768, 32767, 32767, 1, -30000, 30000},
};

TEST(ByteShapers, EqualTheWordsForEveryFormatMatrixAndCurve) {
    const HostScope host;
    TestRandom random(5);
    const std::array<Words, 3> curves[] = {
        {RampTable(256), RampTable(256), RampTable(256)},
        {PowerTable(256, 2.2), PowerTable(256, 1.8), PowerTable(256, 0.5)},
        {RandomTable(1000, random), RandomTable(1000, random), RandomTable(1000, random)},
        {Words{7}, Words{40000}, Words{65535}}};
    for (const uint32_t from : {CMMFORMAT_RGB_8, CMMFORMAT_BGR_8}) {
        for (const uint32_t to : {CMMFORMAT_RGB_8, CMMFORMAT_BGR_8}) {
            for (const reference::Matrix& matrix : kMatrices) {
                for (const auto& set : curves) {
                    ShaperTransform shaper(from, to, matrix, set);
                    ExpectBytesLikeWords(shaper.Get(), PixelsOf(from, 5000, 8));
                }
            }
        }
    }
}

TEST(ByteShapers, OverlappingBuffers) {
    const HostScope host;
    const Words curve = PowerTable(256, 2.2);
    ExpectOverlaps(ShaperTransform(CMMFORMAT_RGB_8, CMMFORMAT_BGR_8, kMatrices[2], {curve, curve, curve}).Get());
}

TEST(ByteShapers, HighByteOfEverySumNearAWord) {
    const auto expect = [](int64_t sum) {
        const auto fixed = static_cast<int32_t>(sum);
        ASSERT_EQ(ClampToWord(WordScaleOfFixed(fixed)) >> 8, HighByteOfFixed(fixed)) << fixed;
    };
    for (int64_t sum = -200000; sum <= 200000; ++sum) expect(sum);
    for (int64_t sum = 200000; sum < INT32_MAX; sum = sum * 9 / 8) expect(sum), expect(-sum);
    expect(INT32_MAX);
    expect(INT32_MIN);
    expect(INT32_MIN + 1);
}

}  // namespace
}  // namespace zv::test
