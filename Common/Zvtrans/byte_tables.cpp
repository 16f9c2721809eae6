#include "Common/Zvtrans/byte_tables.h"

#include <cstring>

#include "Common/Zvgamma/fixed_point.h"
#include "Common/Zvlut/grid_step.h"
#include "Common/region.h"
#include "host/host.h"

namespace zv {

namespace {

/// Sixteen bytes each. Larger grids are rare, and their nodes would not stay in a cache.
constexpr int64_t kMostNodes = 1 << 18;
/// No block is large, whatever a profile claims. One holds two whole slices or more.
constexpr size_t kBlockNodes = 17 << 10;
constexpr size_t kMostBlocks = 32;

}  // namespace

/// What the tables were made of, and the tables.
struct CmmByteTables {
    CmmUnpack unpack;
    CmmPack pack;
    const CmmLut* lut;
    uint32_t patches;  ///< of the table when the nodes were taken
    const MatShaper* shaper;
    float* blocks[kMostBlocks];  ///< of nodes; null behind the last
    union {
        CmmByteGrid grid;
        CmmByteShaper terms;
    };
};

namespace {

constexpr ZvChar kSource[] = ZV_WIDE("Common\\Zvtrans");

constexpr uint32_t kNodeNumbers = 4;
constexpr size_t kAlignment = 32;
constexpr uint32_t kMostPoints = 64;  // of three axes with the most nodes

/// Lines a multiple of this apart share one set of a cache, and stores that far away hold up loads.
constexpr uint32_t kPageNumbers = 4096 / sizeof(float);
constexpr uint32_t kLineNumbers = 64 / sizeof(float);

constexpr uint16_t WordOf(uint32_t byte) noexcept { return static_cast<uint16_t>(byte * 257); }

bool HasBytes(uint32_t format) noexcept { return FormatBytes(format) == 1; }

bool IsReversed(uint32_t format) noexcept { return FormatReversed(format) && FormatChannels(format) == 3; }

/// Of a channel in a pixel of that format.
uint32_t ByteOfChannel(uint32_t format, uint32_t channel) noexcept {
    return IsReversed(format) ? 2 - channel : channel;
}

CmmByteTables* Alloc(const CmmTransform& t) noexcept {
    auto* tables = static_cast<CmmByteTables*>(HostAllocZeroed(sizeof(CmmByteTables), 1, __LINE__, kSource));
    if (tables == nullptr) return nullptr;
    tables->unpack = t.unpack;
    tables->pack = t.pack;
    return tables;
}

float* Aligned(float* block) noexcept {
    return reinterpret_cast<float*>((reinterpret_cast<uintptr_t>(block) + kAlignment - 1) / kAlignment * kAlignment);
}

/// Places for the slices of a grid, each followed by the next; false without memory. So the last slice of a block is
/// the first of the next one too.
bool AllocSlices(CmmByteTables& tables, uint32_t points, float* (&slices)[kMostPoints]) noexcept {
    constexpr size_t kMostNumbers = kBlockNodes * kNodeNumbers;
    const size_t sliceNumbers = tables.grid.axes[0].stride;
    const size_t perBlock = sliceNumbers < kMostNumbers / 2 ? kMostNumbers / sliceNumbers - 1 : 1;
    const size_t blockNumbers = (perBlock + 1) * sliceNumbers;
    for (size_t i = 0; i + 1 < points; ++i) {
        float*& block = tables.blocks[i / perBlock];
        if (block == nullptr) {
            const auto bytes = static_cast<int64_t>(blockNumbers * sizeof(float) + kAlignment);
            block = static_cast<float*>(HostAllocZeroed(bytes, 1, __LINE__, kSource));
            if (block == nullptr) return false;
        }
        slices[i] = Aligned(block) + i % perBlock * sliceNumbers;
    }
    return true;
}

/// The lower node of a byte on its axis. The blended axis has positions of its own.
uint32_t FillPosition(CmmByteAxis& axis, uint32_t byte, uint16_t domain, bool blended) noexcept {
    uint32_t low;
    double fraction, whole = 1.0;
    if (blended) {
        const FixedPosition position = PositionIn(domain, WordOf(byte));
        low = position.index;
        fraction = position.fraction;
        whole = kFixedOne;
    } else {
        const GridPosition position = PositionOnAxis(WordOf(byte), domain);
        low = position.low;
        fraction = position.fraction;
    }
    if (low == domain) {
        --low;
        fraction = whole;
    }
    axis.definition[byte] = fraction;
    axis.fractions[byte] = static_cast<float>(fraction / whole);
    return low;
}

float NodeNumber(uint16_t word, uint32_t inputs) noexcept {
    const auto number = [word](auto scale) { return static_cast<float>(word * scale.kWord + scale.kRounding); };
    return inputs == 4 ? number(CmmNodeScale<4>{}) : number(CmmNodeScale<3>{});
}

/// Each node has its place in a slice, and behind the slice before.
void FillNodes(const CmmTransform& t, const CmmByteGrid& grid, float* const (&slices)[kMostPoints]) noexcept {
    const CmmLut& lut = *t.gridLut;
    const uint32_t inputs = lut.inputChannels, outputs = lut.outputChannels, points = lut.gridPoints;
    uint32_t byteOf[kNodeNumbers];
    for (uint32_t o = 0; o < outputs; ++o) byteOf[o] = ByteOfChannel(t.outputFormat, o);
    float node[kNodeNumbers];
    for (float& number : node) number = NodeNumber(0, inputs);
    const uint16_t* word = lut.clut;
    const auto fillLine = [&](uint32_t first, size_t line) {
        for (uint32_t last = 0; last < points; ++last, word += outputs) {
            for (uint32_t o = 0; o < outputs; ++o) node[byteOf[o]] = NodeNumber(word[o], inputs);
            const size_t slice = grid.reversed ? last : first;
            const size_t at = line + size_t{grid.reversed ? first : last} * kNodeNumbers;
            if (slice + 1 < points) std::memcpy(slices[slice] + at, node, sizeof node);
            if (slice > 0) std::memcpy(slices[slice - 1] + grid.axes[0].stride + at, node, sizeof node);
        }
    };
    for (uint32_t first = 0; first < points; ++first) {
        for (size_t i = 0; i < points; ++i) {
            if (inputs == 3) {
                fillLine(first, i * grid.axes[1].stride);
            } else {
                for (size_t j = 0; j < points; ++j) {
                    fillLine(first, i * grid.axes[1].stride + j * grid.axes[2].stride);
                }
            }
        }
    }
}

CmmByteTables* MakeGrid(const CmmTransform& t) noexcept {
    const CmmLut& lut = *t.gridLut;
    const uint32_t inputs = lut.inputChannels, outputs = lut.outputChannels;
    if (lut.flags != LUT_HAS_CLUT || lut.gridPoints < 2 || inputs < 3 || inputs > 4 || outputs < 3 || outputs > 4 ||
        inputs != FormatChannels(t.inputFormat) || outputs != FormatChannels(t.outputFormat)) {
        return nullptr;
    }
    const int64_t count = CmmGridEntries(lut.gridPoints, inputs, 1);
    if (count < 0 || count > kMostNodes) return nullptr;
    CmmByteTables* tables = Alloc(t);
    if (tables == nullptr) return nullptr;
    tables->lut = &lut;
    tables->patches = lut.patches;
    CmmByteGrid& grid = tables->grid;
    grid.inputs = inputs;
    grid.outputs = outputs;
    grid.reversed = IsReversed(t.inputFormat);
    uint32_t stride = kNodeNumbers;
    for (uint32_t i = inputs; i-- > 0; stride *= lut.gridPoints) {
        if (stride % kPageNumbers == 0) stride += kLineNumbers;
        grid.axes[i].stride = stride;
    }
    float* slices[kMostPoints] = {};
    if (!AllocSlices(*tables, lut.gridPoints, slices)) {
        CmmFreeByteTables(tables);
        return nullptr;
    }
    for (uint32_t i = 0; i < inputs; ++i) {
        CmmByteAxis& axis = grid.axes[i];
        for (uint32_t v = 0; v < 256; ++v) {
            const uint32_t low = FillPosition(axis, v, lut.clutParams.domain, inputs == 4 && i == 0);
            if (i > 0) {
                axis.offsets[v] = low * axis.stride;
            } else {
                grid.slices[v] = slices[low];
            }
        }
    }
    FillNodes(t, grid, slices);
    return tables;
}

CmmByteTables* MakeShaper(const CmmTransform& t) noexcept {
    constexpr uint32_t kDeviceToDevice = MATSHAPER_INPUT | MATSHAPER_OUTPUT;
    if ((t.combinedShaper->flags & kDeviceToDevice) != kDeviceToDevice || FormatChannels(t.inputFormat) != 3 ||
        FormatChannels(t.outputFormat) != 3) {
        return nullptr;
    }
    CmmByteTables* tables = Alloc(t);
    if (tables == nullptr) return nullptr;
    tables->shaper = t.combinedShaper;
    CmmByteShaper& shaper = tables->terms;
    for (uint32_t c = 0; c < 3; ++c) {
        shaper.bytes[c] = ByteOfChannel(t.inputFormat, c);
        for (uint32_t v = 0; v < 256; ++v) {
            int32_t terms[3];
            MatShaperTerms(*t.combinedShaper, static_cast<int>(c), WordOf(v), terms);
            for (uint32_t o = 0; o < 3; ++o) shaper.terms[c][v][ByteOfChannel(t.outputFormat, o)] = terms[o];
        }
    }
    return tables;
}

bool AreMadeOf(const CmmByteTables* tables, const CmmTransform& t) noexcept {
    return tables != nullptr && tables->unpack == t.unpack && tables->pack == t.pack;
}

/// Whether rows give what pixels one after another would: every pixel is read before anything is written over it.
bool ReadsBeforeItWrites(const CmmTransform& t, const void* input, const void* output, uint32_t pixels) noexcept {
    const int64_t in = FormatChannels(t.inputFormat), out = FormatChannels(t.outputFormat);
    return AreApart(input, pixels * in, output, pixels * out) || (output <= input && out <= in);
}

}  // namespace

CmmByteTables* CmmMakeByteTables(const CmmTransform& transform) noexcept {
    if (!HasBytes(transform.inputFormat) || !HasBytes(transform.outputFormat)) return nullptr;
    if (transform.run == CmmRunGrid && transform.gridLut != nullptr) return MakeGrid(transform);
    if (transform.run == CmmRunShaper && transform.combinedShaper != nullptr) return MakeShaper(transform);
    return nullptr;
}

void CmmFreeByteTables(CmmByteTables* tables) noexcept {
    if (tables == nullptr) return;
    for (float* block : tables->blocks) {
        if (block != nullptr) HostFree(block, __LINE__, kSource);
    }
    HostFree(tables, __LINE__, kSource);
}

bool CmmRunGridByBytes(const CmmTransform& transform, const void* input, void* output, uint32_t pixels) noexcept {
    const CmmByteTables* tables = transform.byteTables;
    if (!AreMadeOf(tables, transform) || tables->lut == nullptr || tables->lut != transform.gridLut ||
        tables->patches != transform.gridLut->patches || !ReadsBeforeItWrites(transform, input, output, pixels)) {
        return false;
    }
    CmmByteRows().grid(tables->grid, static_cast<const uint8_t*>(input), static_cast<uint8_t*>(output), pixels);
    return true;
}

bool CmmRunShaperByBytes(const CmmTransform& transform, const void* input, void* output, uint32_t pixels) noexcept {
    const CmmByteTables* tables = transform.byteTables;
    if (!AreMadeOf(tables, transform) || tables->shaper == nullptr || tables->shaper != transform.combinedShaper ||
        !ReadsBeforeItWrites(transform, input, output, pixels)) {
        return false;
    }
    CmmByteRows().shaper(tables->terms, static_cast<const uint8_t*>(input), static_cast<uint8_t*>(output), pixels);
    return true;
}

}  // namespace zv
