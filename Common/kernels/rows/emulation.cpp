#include "Common/kernels/emulation.h"

#include "Common/kernels/planes.h"

namespace zv {
inline namespace ZV_ISA {

namespace {

/// A cell's two nodes for each pixel of a block: where they stand, then what stands there, a node's three bytes in the
/// low ones of a word.
struct Cells {
    alignas(64) int32_t low[kBlock];
    alignas(64) int32_t high[kBlock];

    void Place(int32_t at, Ints lowNodes, Ints highNodes) noexcept {
        StoreLanes(low + at, (lowNodes << 1) + lowNodes);
        StoreLanes(high + at, (highNodes << 1) + highNodes);
    }

    /// A word is a byte longer than a node. No table ends with a low node, but one may with a high one, which is then
    /// taken from a byte before it.
    template <int32_t kGridBytes>
    void Load(const EmulationTable* table) noexcept {
        constexpr int32_t kLast = kGridBytes - 4;
        for (int32_t i = 0; i < kBlock; ++i) {
            const bool isLast = high[i] > kLast;
            low[i] = Word(table + low[i]);
            high[i] = isLast ? Word(table + kLast) >> 8 : Word(table + high[i]);
        }
    }

    Ints LowAt(int32_t at) const noexcept { return LoadLanes<Ints>(low + at); }
    Ints HighAt(int32_t at) const noexcept { return LoadLanes<Ints>(high + at); }

private:
    static int32_t Word(const uint8_t* from) noexcept {
        int32_t word;
        std::memcpy(&word, from, sizeof word);
        return word;
    }
};

/// Byte by byte, the fourth left out: what both have, and half of what one has.
Ints Means(Ints low, Ints high) noexcept { return (low & high & 0xFFFFFF) + (((low ^ high) & 0xFEFEFE) >> 1); }

void StoreThree(Plane& first, Plane& second, Plane& third, int32_t at, Ints words) noexcept {
    StoreLowBytes(first.At(at), words);
    StoreLowBytes(second.At(at), words >> 8);
    StoreLowBytes(third.At(at), words >> 16);
}

template <class Hub>
void StoreMeans(const Cells& cells, const Hub& out) noexcept {
    for (int32_t at = 0; at < kBlock; at += kLanes) {
        StoreThree(out.r, out.g, out.b, at, Means(cells.LowAt(at), cells.HighAt(at)));
    }
}

class CmykNodeRows {
public:
    static constexpr int32_t kPixelBytes = 4;

    explicit CmykNodeRows(const void* table) noexcept : table_(static_cast<const EmulationTable*>(table)) {}

    /// No node of the table's end is reached.
    template <class Hub>
    void Decode(const Planes<4>& in, const Hub& out) const noexcept {
        static_assert(kCmykGridPoints == 17);
        Cells cells;
        for (int32_t at = 0; at < kBlock; at += kLanes) {
            Ints low = {}, high = {};
            for (size_t c = 0; c < 4; ++c) {
                const Ints ink = LoadBytes(in[c].At(at));
                low = (low << 4) + low + (ink >> 4);
                high = (high << 4) + high + ((ink + 15) >> 4 & 15);
            }
            cells.Place(at, low, high);
        }
        cells.Load<kCmykTableBytes>(table_);
        StoreMeans(cells, out);
    }

private:
    const EmulationTable* table_;
};

/// Nodes of the grid of 33 points.
struct LabGridNodes {
    Ints low;
    Ints highFirst;  ///< index on the first axis
    Ints highPair;   ///< number by the first two axes
    Ints high;

    LabGridNodes(Ints first, Ints second, Ints third) noexcept
        : low(Joined(Joined(first >> 3, second >> 3), third >> 3)),
          highFirst((first + 7) >> 3),
          highPair(Joined(highFirst, (second + 7) >> 3)),
          high(Joined(highPair, (third + 7) >> 3)) {}

private:
    static_assert(kLabGridPoints == 33);
    static Ints Joined(Ints nodes, Ints next) noexcept { return (nodes << 5) + nodes + next; }
};

class LabNodeRows {
public:
    static constexpr int32_t kPixelBytes = 3;

    explicit LabNodeRows(const void* table) noexcept : table_(static_cast<const EmulationTable*>(table)) {}

    /// Signed bytes with 128 more are unsigned ones: where their mean is below 0 and half of it lost, it goes up.
    template <class Hub>
    void Encode(const Hub& in, Planes<3>& out) const noexcept {
        Cells cells;
        for (int32_t at = 0; at < kBlock; at += kLanes) {
            const LabGridNodes nodes(LoadBytes(in.r.At(at)), LoadBytes(in.g.At(at)), LoadBytes(in.b.At(at)));
            cells.Place(at, nodes.low, nodes.high);
        }
        cells.Load<kLabGridBytes>(table_);
        for (int32_t at = 0; at < kBlock; at += kLanes) {
            constexpr int32_t kSigns = 0x808000;
            const Ints low = cells.LowAt(at) ^ kSigns, high = cells.HighAt(at) ^ kSigns;
            const Ints means = Means(low, high);
            const Ints up = (low ^ high) & (~means >> 7) & (kSigns >> 7);
            StoreThree(out[0], out[1], out[2], at, (means + up) ^ kSigns);
        }
    }

    template <class Hub>
    void Decode(const Planes<3>& in, const Hub& out) const noexcept {
        Cells cells;
        for (int32_t at = 0; at < kBlock; at += kLanes) {
            const Ints l = LoadBytes(in[0].At(at));
            const Ints a = LoadBytes(in[1].At(at)) ^ 0x80, b = LoadBytes(in[2].At(at)) ^ 0x80;
            const LabGridNodes nodes(l, a, b);
            const auto limited = [](Ints node) {
                const Ints low = node & 255;
                return Select(low < 32, low << 3, SplatInt(255));
            };
            const Ints alone =
                (l == ((nodes.highFirst << 3) & 255)) & (a == limited(nodes.highPair)) & (b == limited(nodes.high));
            cells.Place(at, Select(alone, nodes.high, nodes.low), nodes.high);  // alone is only what lies below L 249
        }
        cells.Load<kLabGridBytes>(table_);
        StoreMeans(cells, out);
    }

private:
    const EmulationTable* table_;
};

}  // namespace

const EmulationRowTable kEmulationRows = {
    {{}, {ToHubRow<CmykNodeRows, false>, ToHubRow<CmykNodeRows, true>}},
    kHubRows<LabNodeRows>,
};

}  // namespace ZV_ISA
}  // namespace zv
