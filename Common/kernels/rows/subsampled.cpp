#include "Common/kernels/subsampled.h"

#include "Common/kernels/planes.h"

namespace zv {
inline namespace ZV_ISA {

namespace {

// --- Pixels ---------------------------------------------------------------------------------------------------------

constexpr int32_t kFractionBits = 10;
constexpr int32_t kUnit = 1 << kFractionBits;
/// The part of the fraction that is summed by itself, so that 16 bits hold either sum.
constexpr int32_t kLowBits = 7;

/// The whole part of a sum of bytes whose weights are whole numbers of 1 / kUnit, without any rounding: with a weight
/// of 128 k + m it is (sum of k p + ((sum of m p) >> 7)) >> 3. Below 0, where a definition may cut the other way, both
/// end as 0.
struct WholeSum {
    std::array<int16_t, 4> high;  ///< of three bytes, and the constant
    std::array<int16_t, 4> low;

    /// `definition(a, b, c)` in units of 1 / kUnit.
    template <class Definition>
    static constexpr WholeSum Of(const Definition& definition) noexcept {
        const int32_t constant = definition(0, 0, 0);
        const int32_t weights[4] = {definition(1, 0, 0) - constant, definition(0, 1, 0) - constant,
                                    definition(0, 0, 1) - constant, constant};
        WholeSum sum{};
        for (size_t i = 0; i < 4; ++i) {
            const int32_t high = (weights[i] + (1 << (kLowBits - 1))) >> kLowBits;
            sum.high[i] = static_cast<int16_t>(high);
            sum.low[i] = static_cast<int16_t>(weights[i] - (high << kLowBits));
        }
        return sum;
    }

    static constexpr bool Fits(const std::array<int16_t, 4>& part, int32_t slack) noexcept {
        int32_t least = part[3] - slack, most = part[3] + slack;
        for (size_t i = 0; i < 3; ++i) (part[i] < 0 ? least : most) += part[i] * 255;
        return least >= INT16_MIN && most <= INT16_MAX;
    }
    constexpr bool Fits() const noexcept { return Fits(low, 0) && Fits(high, 256); }

    Words operator()(Words a, Words b, Words c) const noexcept {
        const Words lows = (Weighted(a, low[0]) + Weighted(b, low[1])) + (Weighted(c, low[2]) + low[3]);
        const Words highs = (Weighted(a, high[0]) + Weighted(b, high[1])) + (Weighted(c, high[2]) + high[3]);
        return (highs + (lows >> kLowBits)) >> (kFractionBits - kLowBits);
    }

private:
    static Words Weighted(Words p, int16_t weight) noexcept { return weight == 0 ? Words{} : p * weight; }
};

/// Everything is a multiple of 1 / (2 kUnit), and cutting that half off first moves no whole part.
template <size_t kChannel>
constexpr WholeSum kFromRgb = WholeSum::Of([](int32_t r, int32_t g, int32_t b) {
    return static_cast<int32_t>(StudioYuv::FromRgbSums(r, g, b)[kChannel] * kUnit + kUnit) - kUnit;
});
template <size_t kChannel>
constexpr WholeSum kToRgb = WholeSum::Of([](int32_t y, int32_t u, int32_t v) {
    return StudioYuv::ToRgbSums(y, u, v)[kChannel];
});
static_assert(kFromRgb<0>.Fits() && kFromRgb<1>.Fits() && kFromRgb<2>.Fits());
static_assert(kToRgb<0>.Fits() && kToRgb<1>.Fits() && kToRgb<2>.Fits());

template <bool kRgbFirst>
void FromRgb(const uint8_t* pixels, Planes<3>& yuv) noexcept {
    Planes<3> planes;
    Deal(pixels, planes);
    const HubIn<kRgbFirst> hub(planes);
    for (int32_t at = 0; at < kBlock; at += kWords) {
        const Words r = LoadByteWords(hub.r.At(at)), g = LoadByteWords(hub.g.At(at)), b = LoadByteWords(hub.b.At(at));
        StoreWordBytes(yuv[0].At(at), kFromRgb<0>(r, g, b));
        StoreWordBytes(yuv[1].At(at), kFromRgb<1>(r, g, b));
        StoreWordBytes(yuv[2].At(at), kFromRgb<2>(r, g, b));
    }
}

template <bool kRgbFirst>
void ToRgb(const Planes<3>& yuv, uint8_t* pixels) noexcept {
    Planes<3> planes;
    const HubOut<kRgbFirst> hub(planes);
    for (int32_t at = 0; at < kBlock; at += kWords) {
        const Words y = LoadByteWords(yuv[0].At(at)), u = LoadByteWords(yuv[1].At(at)),
                    v = LoadByteWords(yuv[2].At(at));
        StoreWordBytes(hub.r.At(at), kToRgb<0>(y, u, v));
        StoreWordBytes(hub.g.At(at), kToRgb<1>(y, u, v));
        StoreWordBytes(hub.b.At(at), kToRgb<2>(y, u, v));
    }
    Weave(planes, pixels);
}

// --- Chroma of neighbours -------------------------------------------------------------------------------------------

template <class Vector, class Work>
void EachVector(int32_t bytes, const Work& work) noexcept {
    for (int32_t at = 0; at < bytes; at += static_cast<int32_t>(sizeof(Vector))) work(at);
}

/// The two bytes of each lane added.
UnsignedWords PairSums(const uint8_t* bytes) noexcept {
    const auto pairs = LoadLanes<UnsignedWords>(bytes);
    return (pairs & 255) + (pairs >> 8);
}
/// The four bytes of each lane added.
Ints SumsOfFour(const uint8_t* bytes) noexcept {
    const auto pairs = reinterpret_cast<Ints>(PairSums(bytes));
    return (pairs & 0xFFFF) + (pairs >> 16);
}

/// How each format lays out the luma of 64 pixels, and the chroma that each kShare of them share, in groups of pixels.

struct PairsOfPixels {
    static constexpr int32_t kBlockBytes = 2 * kBlock;

    /// U and V by turns.
    static void Share(const Planes<3>& yuv, Plane& chroma) noexcept {
        EachVector<UnsignedWords>(kBlock, [&](int32_t at) {
            StoreLanes(chroma.At(at), (PairSums(yuv[1].At(at)) >> 1) | (PairSums(yuv[2].At(at)) >> 1 << 8));
        });
    }
    static void Spread(const Plane& chroma, Planes<3>& yuv) noexcept {
        EachVector<UnsignedWords>(kBlock, [&](int32_t at) {
            const auto pairs = LoadLanes<UnsignedWords>(chroma.At(at));
            StoreLanes(yuv[1].At(at), (pairs & 255) | (pairs << 8));
            StoreLanes(yuv[2].At(at), (pairs >> 8) | (pairs & 0xFF00));
        });
    }
};

template <size_t kLuma>
struct Alternating : PairsOfPixels {
    static void Pack(const Planes<3>& yuv, uint8_t* groups) noexcept {
        Planes<2> planes;
        planes[kLuma] = yuv[0];
        Share(yuv, planes[1 - kLuma]);
        Weave(planes, groups);
    }
    static void Unpack(const uint8_t* groups, Planes<3>& yuv) noexcept {
        Planes<2> planes;
        Deal(groups, planes);
        yuv[0] = planes[kLuma];
        Spread(planes[1 - kLuma], yuv);
    }
};
using Yuy2 = Alternating<0>;
using Uyvy = Alternating<1>;

/// Groups of eight: chroma and luma by turns, then four of luma alone.
struct Y41p {
    static constexpr int32_t kBlockBytes = kBlock * 12 / 8;

    static void Pack(const Planes<3>& yuv, uint8_t* groups) noexcept {
        alignas(64) uint8_t chroma[kBlock / 2];
        alignas(64) uint32_t shared[kBlock / 4];
        EachVector<Ints>(kBlock, [&](int32_t at) {
            StoreLanes(shared + at / 4, (SumsOfFour(yuv[1].At(at)) >> 2) | (SumsOfFour(yuv[2].At(at)) >> 2 << 8));
        });
        for (int32_t i = 0; i < kBlock / 4; ++i) {
            chroma[2 * i] = static_cast<uint8_t>(shared[i] & 255U);
            chroma[2 * i + 1] = static_cast<uint8_t>(shared[i] >> 8);
        }
        for (int32_t group = 0; group < kBlock / 8; ++group) {
            const uint8_t* const luma = yuv[0].At(8 * group);
            uint8_t* const to = groups + ptrdiff_t{12} * group;
            for (int32_t i = 0; i < 4; ++i) {
                to[2 * i] = chroma[4 * group + i];
                to[2 * i + 1] = luma[i];
                to[8 + i] = luma[4 + i];
            }
        }
    }
    static void Unpack(const uint8_t* groups, Planes<3>& yuv) noexcept {
        alignas(64) uint32_t shared[2][kBlock / 4];
        for (int32_t group = 0; group < kBlock / 8; ++group) {
            const uint8_t* const from = groups + ptrdiff_t{12} * group;
            uint8_t* const luma = yuv[0].At(8 * group);
            for (int32_t i = 0; i < 4; ++i) {
                shared[i & 1][2 * group + i / 2] = from[2 * i] * 0x01010101U;
                luma[i] = from[2 * i + 1];
                luma[4 + i] = from[8 + i];
            }
        }
        std::memcpy(yuv[1].bytes, shared[0], kBlock);
        std::memcpy(yuv[2].bytes, shared[1], kBlock);
    }
};

template <class Format, bool kRgbFirst>
struct GroupRows {
    static void FromHub(const uint8_t* from, uint8_t* to, int32_t width, const void*) noexcept {
        Planes<3> yuv;
        for (; width >= kBlock; width -= kBlock) {
            zv::FromRgb<kRgbFirst>(from, yuv);
            Format::Pack(yuv, to);
            from += 3 * kBlock;
            to += Format::kBlockBytes;
        }
        if (width < 1) return;
        alignas(64) uint8_t block[3 * kBlock] = {};
        std::memcpy(block, from, 3 * static_cast<size_t>(width));
        zv::FromRgb<kRgbFirst>(block, yuv);
        Format::Pack(yuv, block);
        std::memcpy(to, block, static_cast<size_t>(Format::kBlockBytes * width / kBlock));
    }

    static void ToHub(const uint8_t* from, uint8_t* to, int32_t width, const void*) noexcept {
        Planes<3> yuv;
        for (; width >= kBlock; width -= kBlock) {
            Format::Unpack(from, yuv);
            zv::ToRgb<kRgbFirst>(yuv, to);
            from += Format::kBlockBytes;
            to += 3 * kBlock;
        }
        if (width < 1) return;
        alignas(64) uint8_t block[3 * kBlock] = {};
        std::memcpy(block, from, static_cast<size_t>(Format::kBlockBytes * width / kBlock));
        Format::Unpack(block, yuv);
        zv::ToRgb<kRgbFirst>(yuv, block);
        std::memcpy(to, block, 3 * static_cast<size_t>(width));
    }
};

template <class Format>
constexpr ClrHubRows kGroupRows = {{GroupRows<Format, false>::FromHub, GroupRows<Format, true>::FromHub},
                                   {GroupRows<Format, false>::ToHub, GroupRows<Format, true>::ToHub}};

// --- Bands of four rows ---------------------------------------------------------------------------------------------

constexpr int32_t kBand = 4;
constexpr int32_t kBlocks = kBlock / kBand;  ///< of 4 x 4 pixels

/// Integer division by 5 of what two bytes' chroma comes to, at most 5 * 255.
constexpr int32_t kFifth = (1 << 16) / 5 + 1;
static_assert([] {
    for (int32_t n = 0; n <= 5 * 255; ++n) {
        if (n * kFifth >> 16 != n / 5) return false;
    }
    return true;
}());

/// Four rows of up to 64 pixels.
template <bool kRgbFirst>
void Yvu9Columns(const uint8_t* band, ptrdiff_t rowStep, uint8_t* luma, uint8_t* planeV, uint8_t* planeU, int32_t width,
                 int32_t count) noexcept {
    Planes<3> yuv;
    alignas(64) int32_t running[2][kBlocks];
    for (int32_t row = 0; row < kBand; ++row) {
        const uint8_t* const from = band + row * rowStep;
        uint8_t* const to = luma + ptrdiff_t{row} * width;
        if (count == kBlock) {
            FromRgb<kRgbFirst>(from, yuv);
            std::memcpy(to, yuv[0].bytes, kBlock);
        } else {
            alignas(64) uint8_t block[3 * kBlock] = {};
            std::memcpy(block, from, 3 * static_cast<size_t>(count));
            FromRgb<kRgbFirst>(block, yuv);
            std::memcpy(to, yuv[0].bytes, static_cast<size_t>(count));
        }
        // Later rows count for more: the running value is not the block's mean.
        for (size_t c = 0; c < 2; ++c) {
            for (int32_t at = 0; at < kBlocks; at += kLanes) {
                const Ints sums = SumsOfFour(yuv[c + 1].At(kBand * at));
                const Ints next = row == 0 ? sums >> 2 : (LoadLanes<Ints>(running[c] + at) + sums) * kFifth >> 16;
                StoreLanes(running[c] + at, next);
            }
        }
    }
    for (int32_t i = 0; i < count / kBand; ++i) {
        planeU[i] = static_cast<uint8_t>(running[0][i]);
        planeV[i] = static_cast<uint8_t>(running[1][i]);
    }
}

template <bool kRgbFirst>
void Yvu9Band(const uint8_t* band, ptrdiff_t rowStep, uint8_t* luma, uint8_t* planeV, uint8_t* planeU,
              int32_t width) noexcept {
    for (int32_t x = 0; x < width; x += kBlock) {
        Yvu9Columns<kRgbFirst>(band + ptrdiff_t{3} * x, rowStep, luma + x, planeV + x / kBand, planeU + x / kBand,
                               width, width - x < kBlock ? width - x : kBlock);
    }
}

template <bool kRgbFirst>
void Yvu9Row(const uint8_t* luma, const uint8_t* planeV, const uint8_t* planeU, uint8_t* hub, int32_t width) noexcept {
    Planes<3> yuv;
    const auto spread = [](const uint8_t* chroma, Plane& plane) {
        for (int32_t at = 0; at < kBlocks; at += kLanes) {
            const Ints one = LoadBytes(chroma + at);
            const Ints two = one | (one << 8);
            StoreLanes(plane.At(kBand * at), two | (two << 16));
        }
    };
    int32_t x = 0;
    for (; width - x >= kBlock; x += kBlock) {
        std::memcpy(yuv[0].bytes, luma + x, kBlock);
        spread(planeU + x / kBand, yuv[1]);
        spread(planeV + x / kBand, yuv[2]);
        ToRgb<kRgbFirst>(yuv, hub + ptrdiff_t{3} * x);
    }
    if (x == width) return;
    const auto count = static_cast<size_t>(width - x);
    alignas(64) uint8_t chroma[2][kBlocks] = {};
    alignas(64) uint8_t block[3 * kBlock];
    yuv[0] = {};
    std::memcpy(yuv[0].bytes, luma + x, count);
    std::memcpy(chroma[0], planeU + x / kBand, count / kBand);
    std::memcpy(chroma[1], planeV + x / kBand, count / kBand);
    spread(chroma[0], yuv[1]);
    spread(chroma[1], yuv[2]);
    ToRgb<kRgbFirst>(yuv, block);
    std::memcpy(hub + ptrdiff_t{3} * x, block, 3 * count);
}

}  // namespace

const SubsampledRowTable kSubsampledRows = {
    kGroupRows<Yuy2>,
    kGroupRows<Uyvy>,
    kGroupRows<Y41p>,
    {Yvu9Band<false>, Yvu9Band<true>},
    {Yvu9Row<false>, Yvu9Row<true>},
};

}  // namespace ZV_ISA
}  // namespace zv
