// Lookup tables: matrix, curves, three- and four-dimensional grids.
#include "Common/Zvlut/lut.h"

#include <algorithm>
#include <memory>

#include "tests/support/engine_records.h"
#include "tests/support/engine_reference.h"
#include "tests/support/frame_fixture.h"
#include "tests/support/profile_builder.h"

namespace zv::test {
namespace {

using reference::Pixel;

/// A table without curves or matrix over a grid.
reference::Lut GridOnly(uint32_t gridPoints, uint32_t inputs, uint32_t outputs, const Words& grid) {
    reference::Lut lut;
    lut.hasGrid = true;
    lut.gridPoints = gridPoints;
    lut.inputs = inputs;
    lut.outputs = outputs;
    lut.grid = grid;
    return lut;
}

size_t NodesOf(uint32_t gridPoints, uint32_t inputs) {
    size_t nodes = 1;
    for (uint32_t i = 0; i < inputs; ++i) nodes *= gridPoints;
    return nodes;
}

reference::Lut RandomGrid(uint32_t gridPoints, uint32_t inputs, uint32_t outputs, TestRandom& random) {
    return GridOnly(gridPoints, inputs, outputs, RandomTable(NodesOf(gridPoints, inputs) * outputs, random));
}

void AddCurves(reference::Lut& lut, size_t inputEntries, size_t outputEntries, TestRandom& random) {
    for (uint32_t i = 0; i < lut.inputs; ++i) lut.inputCurves.push_back(RandomTable(inputEntries, random));
    for (uint32_t o = 0; o < lut.outputs; ++o) lut.outputCurves.push_back(RandomTable(outputEntries, random));
    lut.hasInputCurves = lut.hasOutputCurves = true;
}

void AddMatrix(reference::Lut& lut, TestRandom& random) {
    lut.hasMatrix = true;
    for (int32_t& element : lut.matrix) element = static_cast<int32_t>(random.Below(0x40000)) - 0x20000;
}

/// Words of a pixel: ends, nodes of 33 points and their neighbours, and anything.
Pixel PickWords(uint32_t channels, TestRandom& random) {
    Pixel words{};
    for (uint32_t c = 0; c < channels; ++c) {
        constexpr uint16_t kEnds[] = {0, 0xFFFF, 0xFFFE, 1, 0x8000, 0x7FFF};
        switch (random.Below(4)) {
            case 0:
                words[c] = kEnds[random.Below(6)];
                break;
            case 1:
                words[c] = static_cast<uint16_t>(std::min(0xFFFFU, random.Below(33) * 2048 + random.Below(3)));
                break;
            default:
                words[c] = random.Word();
        }
    }
    return words;
}

void ExpectLikeTheReference(const reference::Lut& lut, int pixels, TestRandom& random) {
    const LutRecord record(lut);
    for (int i = 0; i < pixels; ++i) {
        const Pixel in = PickWords(std::max(3U, lut.inputs), random);
        Pixel own = in;
        // A table reads its own channels only; with a matrix it reads three.
        if (!lut.hasMatrix) std::fill(own.begin() + lut.inputs, own.end(), uint16_t{0});
        const Pixel expected = reference::EvalLut(lut, own);
        Pixel out{};
        CmmLutEval(record.Get(), own.data(), out.data());
        ASSERT_EQ(expected, out) << "pixel " << i;
        out = {};
        CmmLutEvalUnchecked(*record.Get(), own.data(), out.data());
        ASSERT_EQ(expected, out) << "pixel " << i;
    }
}

// --- Records --------------------------------------------------------------------------------------------------------

TEST(Lut, FreshOneIsAllZero) {
    const HostScope host;
    CmmLut* lut = CmmLutAlloc();
    ASSERT_NE(nullptr, lut);
    const CmmLut zero{};
    EXPECT_EQ(0, std::memcmp(&zero, lut, sizeof zero));
    CmmLutFree(lut);
}

TEST(Lut, FreeOfNullAndUnreadableDoesNothing) {
    const HostScope host;
    CmmLutFree(nullptr);
    GuardedBuffer page(sizeof(CmmLut));
    page.MakeUnreadable();
    CmmLutFree(reinterpret_cast<CmmLut*>(page.Data()));
}

TEST(Lut, FreeReleasesEveryTable) {
    HostScope host;
    TestRandom random(1);
    reference::Lut lut = RandomGrid(2, 4, 16, random);
    AddCurves(lut, 2, 2, random);
    {
        const LutRecord record(lut);
        EXPECT_EQ(size_t{1 + 1 + 4 + 16}, host.Leaked());
    }
    EXPECT_EQ(0U, host.Leaked());
}

TEST(Lut, GridIsZeroedAndItsStridesAreForFourAxes) {
    const HostScope host;
    CmmLut* lut = CmmLutAlloc();
    ASSERT_EQ(1, CmmLutAllocGrid(lut, 16, 3, 4));
    EXPECT_EQ(uint32_t{LUT_HAS_CLUT}, lut->flags);
    EXPECT_EQ(16U, lut->gridPoints);
    EXPECT_EQ(3U, lut->inputChannels);
    EXPECT_EQ(4U, lut->outputChannels);
    EXPECT_EQ(16U, lut->clutParams.samples);
    EXPECT_EQ(3U, lut->clutParams.inputs);
    EXPECT_EQ(4U, lut->clutParams.outputs);
    EXPECT_EQ(15, lut->clutParams.domain);
    constexpr uint32_t kStrides[4] = {4, 64, 1024, 16384};
    for (size_t i = 0; i < 4; ++i) EXPECT_EQ(kStrides[i], lut->clutParams.strides[i]) << i;
    EXPECT_TRUE(std::all_of(lut->clut, lut->clut + 16 * 16 * 16 * 4, [](uint16_t word) { return word == 0; }));
    CmmLutFree(lut);
}

TEST(Lut, WithoutMemory) {
    HostScope host;
    host->FailAllocation(1);
    EXPECT_EQ(nullptr, CmmLutAlloc());
    host->FailAllocation(0);
    CmmLut* lut = CmmLutAlloc();
    host->FailAllocation(1);
    EXPECT_EQ(0, CmmLutAllocGrid(lut, 33, 3, 3));
    host->FailAllocation(0);
    CmmLutFree(lut);
}

TEST(Lut, SizesThatNoGridHasAreRefused) {
    const HostScope host;
    CmmLut* lut = CmmLutAlloc();
    EXPECT_EQ(0, CmmLutAllocGrid(lut, 255, 16, 16));
    EXPECT_EQ(0, CmmLutAllocGrid(lut, 0xFFFFFFFF, 4, 3));
    EXPECT_EQ(nullptr, lut->clut);
    CmmLutFree(lut);
}

TEST(Lut, UnreadableRecordLeavesTheOutputAlone) {
    GuardedBuffer page(sizeof(CmmLut));
    page.MakeUnreadable();
    const Pixel in{1, 2, 3};
    Pixel out{7, 8, 9};
    CmmLutEval(reinterpret_cast<const CmmLut*>(page.Data()), in.data(), out.data());
    CmmLutEval(nullptr, in.data(), out.data());
    EXPECT_EQ((Pixel{7, 8, 9}), out);
}

// --- Nodes ----------------------------------------------------------------------------------------------------------

TEST(LutGrid, CornersAreTheFirstAndLastNode) {
    const HostScope host;
    TestRandom random(2);
    for (const uint32_t inputs : {3U, 4U}) {
        for (const uint32_t points : {2U, 9U, 16U}) {
            const reference::Lut lut = RandomGrid(points, inputs, 3, random);
            const LutRecord record(lut);
            const Pixel zero{}, full{0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF};
            Pixel first{}, last{};
            CmmLutEval(record.Get(), zero.data(), first.data());
            CmmLutEval(record.Get(), full.data(), last.data());
            for (size_t o = 0; o < 3; ++o) {
                EXPECT_EQ(lut.grid[o], first[o]);
                EXPECT_EQ(lut.grid[lut.grid.size() - 3 + o], last[o]);
            }
        }
    }
}

TEST(LutGrid, FirstChannelVariesSlowest) {
    const HostScope host;
    Words grid(16, 0);
    grid[8] = 100;
    grid[4] = 200;
    grid[2] = 300;
    grid[1] = 400;
    const LutRecord record(GridOnly(2, 4, 1, grid));
    for (size_t channel = 0; channel < 4; ++channel) {
        Pixel in{}, out{};
        in[channel] = 0xFFFF;
        CmmLutEval(record.Get(), in.data(), out.data());
        EXPECT_EQ(100 * (channel + 1), out[0]);
    }
}

TEST(LutGrid, NoReadGoesPastTheGrid) {
    const HostScope host;
    TestRandom random(3);
    for (const uint32_t inputs : {1U, 2U, 3U, 4U}) {
        for (const uint32_t points : {1U, 2U, 5U}) {
            for (const auto side : {GuardedBuffer::Side::kFront, GuardedBuffer::Side::kBack}) {
                const reference::Lut lut = RandomGrid(points, inputs, 3, random);
                const GuardedBuffer buffer(lut.grid.size() * 2, side);
                std::memcpy(buffer.Data(), lut.grid.data(), buffer.Size());
                LutRecord record(lut);
                uint16_t* const owned = record.Get()->clut;
                record.Get()->clut = reinterpret_cast<uint16_t*>(buffer.Data());
                for (int i = 0; i < 500; ++i) {
                    Pixel in = PickWords(inputs, random), out{};
                    CmmLutEval(record.Get(), in.data(), out.data());
                    ASSERT_EQ(reference::EvalLut(lut, in), out) << inputs << " channels, " << points << " points";
                }
                record.Get()->clut = owned;
            }
        }
    }
}

TEST(LutGrid, MiddleOf33PointsLiesBetweenNodes) {
    const HostScope host;
    Words grid;
    for (uint32_t x = 0; x < 33; ++x) grid.insert(grid.end(), 33 * 33, static_cast<uint16_t>(x == 16 ? 60000 : 0));
    const LutRecord record(GridOnly(33, 3, 1, grid));
    Pixel in{32767, 0, 0}, out{};
    CmmLutEval(record.Get(), in.data(), out.data());
    // 32767 x 32 / 65535 is 15.99976.
    EXPECT_EQ(59985, out[0]);
}

TEST(LutGrid, RoundsOnceAtTheEnd) {
    const HostScope host;
    // Two halves that would both round up make one whole.
    const LutRecord record(GridOnly(2, 3, 1, {0, 0, 0, 0, 1, 1, 1, 1}));
    Pixel out{};
    for (const auto& [value, expected] : {std::pair<uint16_t, uint16_t>{0x7FFF, 0}, {0x8000, 1}}) {
        const Pixel in{value, 0x8000, 0x8000};
        CmmLutEval(record.Get(), in.data(), out.data());
        EXPECT_EQ(expected, out[0]);
    }
}

TEST(LutGrid, OfFewerThanThreeChannelsStillReadsThreeWords) {
    const HostScope host;
    // One channel of two points: the node address goes by four along the first axis, so the far node is not there.
    const LutRecord one(GridOnly(2, 1, 1, {40000, 50000}));
    Pixel in{0, 0, 0}, out{};
    CmmLutTrilinear(in.data(), out.data(), one.Get()->clut, &one.Get()->clutParams);
    EXPECT_EQ(40000, out[0]);
    in = {0, 0, 0xFFFF};
    CmmLutTrilinear(in.data(), out.data(), one.Get()->clut, &one.Get()->clutParams);
    EXPECT_EQ(50000, out[0]);
    in = {0xFFFF, 0, 0};
    CmmLutTrilinear(in.data(), out.data(), one.Get()->clut, &one.Get()->clutParams);
    EXPECT_EQ(0, out[0]);
}

TEST(LutGrid, OneOutput) {
    const HostScope host;
    TestRandom random(4);
    ExpectLikeTheReference(RandomGrid(9, 3, 1, random), 500, random);
    ExpectLikeTheReference(RandomGrid(5, 4, 1, random), 500, random);
}

// --- Four channels --------------------------------------------------------------------------------------------------

/// Slices along the first channel of equal nodes.
reference::Lut Slices(const std::vector<uint16_t>& values) {
    const auto points = static_cast<uint32_t>(values.size());
    Words grid;
    for (const uint16_t value : values) grid.insert(grid.end(), NodesOf(points, 3), value);
    return GridOnly(points, 4, 1, grid);
}

TEST(LutFourChannels, BlendOfSlicesIsTruncated) {
    const HostScope host;
    const LutRecord record(Slices({100, 101}));
    Pixel out{};
    for (const uint16_t w : {uint16_t{0}, uint16_t{1}, uint16_t{0x8000}, uint16_t{0xFF00}, uint16_t{0xFFFE}}) {
        const Pixel in{w, 0x1234, 0x8000, 0xFFFF};
        CmmLutEval4D(record.Get(), in.data(), out.data());
        EXPECT_EQ(100, out[0]) << w;
    }
    const Pixel full{0xFFFF};
    CmmLutEval4D(record.Get(), full.data(), out.data());
    EXPECT_EQ(101, out[0]);
}

TEST(LutFourChannels, FallingBlendIsTruncatedTowardsZeroToo) {
    const HostScope host;
    const LutRecord record(Slices({101, 100}));
    Pixel out{};
    for (const uint16_t w : {uint16_t{1}, uint16_t{0x8000}, uint16_t{0xFFFE}}) {
        const Pixel in{w};
        CmmLutEval4D(record.Get(), in.data(), out.data());
        EXPECT_EQ(100, out[0]) << w;
    }
}

TEST(LutFourChannels, FullFirstChannelUsesOneSlice) {
    const HostScope host;
    TestRandom random(6);
    const reference::Lut lut = RandomGrid(5, 4, 3, random);
    const LutRecord record(lut);
    for (int i = 0; i < 200; ++i) {
        Pixel in = PickWords(4, random), out{}, slice{};
        in[0] = 0xFFFF;
        CmmLutEval4D(record.Get(), in.data(), out.data());
        CmmLutTrilinear(in.data() + 1, slice.data(), record.Get()->clut + 4 * 5 * 5 * 5 * 3, &record.Get()->clutParams);
        EXPECT_EQ(slice, out);
    }
}

TEST(LutFourChannels, EvaluationLeavesTheRecordAsItWas) {
    const HostScope host;
    TestRandom random(7);
    const LutRecord record(RandomGrid(3, 4, 4, random));
    const CmmLut before = *record.Get();
    Pixel in{1, 2, 3, 4}, out{};
    CmmLutEval4D(record.Get(), in.data(), out.data());
    EXPECT_EQ(0, std::memcmp(&before, record.Get(), sizeof before));
}

TEST(LutFourChannels, EveryPositionOfTheFirstChannel) {
    const HostScope host;
    TestRandom random(8);
    for (const uint32_t points : {2U, 16U}) {
        const reference::Lut lut = RandomGrid(points, 4, 1, random);
        const LutRecord record(lut);
        for (uint32_t w = 0; w < 0x10000; w += 3) {
            const Pixel in{static_cast<uint16_t>(w), 0x1111, 0x7777, 0xCCCC};
            Pixel out{};
            CmmLutEval4D(record.Get(), in.data(), out.data());
            ASSERT_EQ(reference::EvalFourChannels(lut, in), out) << w;
        }
    }
}

// --- Stages ---------------------------------------------------------------------------------------------------------

TEST(LutStages, WithoutAGridPassesThroughItsCurves) {
    const HostScope host;
    TestRandom random(9);
    for (const uint32_t channels : {1U, 3U, 4U, 16U}) {
        reference::Lut lut;
        lut.inputs = lut.outputs = channels;
        AddCurves(lut, 17, 300, random);
        ExpectLikeTheReference(lut, 300, random);
    }
}

TEST(LutStages, WithNothingCopies) {
    const HostScope host;
    reference::Lut lut;
    lut.inputs = lut.outputs = 5;
    const LutRecord record(lut);
    const Pixel in{1, 20000, 0xFFFF, 4, 5};
    Pixel out{};
    CmmLutEval(record.Get(), in.data(), out.data());
    EXPECT_EQ(in, out);
}

TEST(LutStages, OutputsThatNobodyWroteAreZero) {
    const HostScope host;
    reference::Lut lut;
    lut.inputs = 3;
    lut.outputs = 4;
    const LutRecord record(lut);
    const Pixel in{1, 2, 3, 0};
    Pixel out{9, 9, 9, 9};
    CmmLutEval(record.Get(), in.data(), out.data());
    EXPECT_EQ((Pixel{1, 2, 3, 0}), out);
}

TEST(LutStages, MatrixTakesThreeChannelsAndClamps) {
    const HostScope host;
    reference::Lut lut;
    lut.inputs = lut.outputs = 3;
    lut.hasMatrix = true;
    lut.matrix = {0x20000, 0, 0, -0x10000, 0, 0, 0, 0x8000, 0x8000};
    const LutRecord record(lut);
    Pixel in{0xC000, 0x8000, 0x4000}, out{};
    CmmLutEval(record.Get(), in.data(), out.data());
    EXPECT_EQ(0xFFFF, out[0]);
    EXPECT_EQ(0, out[1]);
    // Each half rounds up by itself.
    EXPECT_EQ(0x6001, out[2]);
}

TEST(LutStages, IdentityMatrixKeepsEveryWord) {
    const HostScope host;
    reference::Lut lut;
    lut.inputs = lut.outputs = 3;
    lut.hasMatrix = true;
    lut.matrix = {0x10000, 0, 0, 0, 0x10000, 0, 0, 0, 0x10000};
    const LutRecord record(lut);
    for (uint32_t value = 0; value < 0x10000; ++value) {
        const auto word = static_cast<uint16_t>(value);
        const Pixel in{word, word, word};
        Pixel out{};
        CmmLutEval(record.Get(), in.data(), out.data());
        ASSERT_EQ(in, out);
    }
}

TEST(LutStages, MatrixOfFourChannelsLeavesTheFourthZero) {
    const HostScope host;
    TestRandom random(10);
    reference::Lut lut = RandomGrid(4, 4, 3, random);
    AddMatrix(lut, random);
    const LutRecord record(lut);
    for (int i = 0; i < 200; ++i) {
        Pixel in = PickWords(4, random), first{}, second{};
        CmmLutEval(record.Get(), in.data(), first.data());
        EXPECT_EQ(reference::EvalLut(lut, in), first);
        in[3] = random.Word();
        CmmLutEval(record.Get(), in.data(), second.data());
        EXPECT_EQ(first, second);
    }
}

TEST(LutStages, EverySizeEqualsTheReference) {
    const HostScope host;
    TestRandom random(11);
    constexpr uint32_t kPoints[] = {1, 2, 3, 7, 16, 17, 33};
    constexpr size_t kEntries[] = {1, 2, 17, 256, 1024, 4096, 65535};
    for (const uint32_t inputs : {1U, 2U, 3U, 4U, 5U}) {
        for (const uint32_t points : kPoints) {
            if (NodesOf(points, inputs) > 70000) continue;
            for (const uint32_t outputs : {1U, 2U, 3U, 4U, 16U}) {
                SCOPED_TRACE(std::to_string(inputs) + " to " + std::to_string(outputs) + ", " + std::to_string(points));
                reference::Lut lut = RandomGrid(points, inputs, outputs, random);
                const uint32_t kind = random.Below(4);
                if (kind % 2 == 1) AddCurves(lut, kEntries[random.Below(7)], kEntries[random.Below(7)], random);
                if (kind >= 2) AddMatrix(lut, random);
                ExpectLikeTheReference(lut, 60, random);
                if (HasFailure()) return;
            }
        }
    }
}

}  // namespace
}  // namespace zv::test
