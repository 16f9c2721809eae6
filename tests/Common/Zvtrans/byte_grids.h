// Grids of words behind pixels of bytes, and what the general loop makes of them.
#pragma once

#include "Common/Zvtrans/byte_tables.h"
#include "tests/support/engine_records.h"
#include "tests/support/instruction_sets.h"
#include "tests/support/profile_builder.h"

namespace zv::test {

/// What the nodes of a grid hold.
enum class Nodes {
    kNoise,     ///< any word
    kExtremes,  ///< 0 or full scale
    kEdges,     ///< multiples of 256, and the words just below them
    kConstant,  ///< one word, on an edge
    kRamp,      ///< rising along all axes
};
inline constexpr Nodes kAllNodes[] = {Nodes::kNoise, Nodes::kExtremes, Nodes::kEdges, Nodes::kConstant, Nodes::kRamp};

inline uint16_t NodeOf(Nodes nodes, size_t entry, size_t entries, TestRandom& random) {
    switch (nodes) {
        case Nodes::kNoise:
            return random.Word();
        case Nodes::kExtremes:
            return random.Below(2) == 0 ? uint16_t{0} : uint16_t{0xFFFF};
        case Nodes::kEdges:
            return static_cast<uint16_t>(random.Below(256) * 256 - random.Below(2));
        case Nodes::kConstant:
            return 0x8000;
        default:
            return static_cast<uint16_t>(entry * 65535 / entries);
    }
}

/// A transform of a grid, with the tables for its bytes.
class GridTransform {
public:
    GridTransform(uint32_t points, uint32_t inputFormat, uint32_t outputFormat, Nodes nodes, uint64_t seed = 1) {
        transform_.inputFormat = inputFormat;
        transform_.outputFormat = outputFormat;
        transform_.unpack = CmmSelectUnpack(inputFormat);
        transform_.pack = CmmSelectPack(outputFormat);
        transform_.run = CmmRunGrid;
        transform_.gridLut = CmmLutAlloc();
        const uint32_t in = FormatChannels(inputFormat), out = FormatChannels(outputFormat);
        EXPECT_EQ(1, CmmLutAllocGrid(transform_.gridLut, points, in, out));
        const auto entries = static_cast<size_t>(CmmGridEntries(points, in, out));
        TestRandom random(seed);
        for (size_t i = 0; i < entries; ++i) transform_.gridLut->clut[i] = NodeOf(nodes, i, entries, random);
        transform_.byteTables = CmmMakeByteTables(transform_);
    }
    ~GridTransform() {
        CmmFreeByteTables(transform_.byteTables);
        CmmLutFree(transform_.gridLut);
    }
    GridTransform(const GridTransform&) = delete;
    GridTransform& operator=(const GridTransform&) = delete;

    CmmTransform* Get() { return &transform_; }

private:
    CmmTransform transform_{};
};

/// Pixel by pixel through the formatters and the tables of words.
inline Bytes RunByWords(CmmTransform* transform, const Bytes& pixels) {
    const size_t count = pixels.size() / FormatChannels(transform->inputFormat);
    Bytes out(count * FormatChannels(transform->outputFormat));
    uint16_t in[kMostChannels] = {}, result[kMostChannels] = {};
    const uint8_t* from = pixels.data();
    uint8_t* to = out.data();
    for (size_t i = 0; i < count; ++i) {
        from = transform->unpack(transform, in, from);
        if (transform->gridLut != nullptr) CmmLutEvalUnchecked(*transform->gridLut, in, result);
        if (transform->combinedShaper != nullptr) MatShaperEvalUnchecked(*transform->combinedShaper, in, result);
        to = transform->pack(transform, result, to);
    }
    return out;
}

/// Every instruction set gives what the words give.
inline void ExpectBytesLikeWords(CmmTransform* transform, const Bytes& pixels) {
    ASSERT_NE(nullptr, transform->byteTables);
    const Bytes expected = RunByWords(transform, pixels);
    for (const ClrIsa isa : InstructionSets()) {
        const UseIsa use(isa);
        EXPECT_TRUE(expected == RunPixels(transform, pixels)) << ::testing::PrintToString(isa);
    }
}

/// All 2^24 of three channels.
inline Bytes EveryPixel() {
    Bytes pixels(size_t{3} << 24);
    for (size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<uint8_t>(i / 3 >> 8 * (i % 3));
    return pixels;
}

}  // namespace zv::test
