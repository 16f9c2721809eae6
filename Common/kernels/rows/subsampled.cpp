#include "Common/kernels/subsampled.h"

#include "Common/kernels/fixed_sums.h"
#include "Common/kernels/planes.h"

namespace zv {
inline namespace ZV_ISA {

namespace {

// --- Pixels ---------------------------------------------------------------------------------------------------------

constexpr int32_t kFractionBits = 10;
constexpr int32_t kUnit = 1 << kFractionBits;

/// The whole part of a sum of bytes whose weights are whole numbers of 1 / kUnit, without any rounding. Below 0, where
/// a definition may cut the other way, both end as 0.
struct WholeSum {
    using Weight = FixedWeight<kFractionBits>;
    Weight a, b, c, constant;

    /// `definition(a, b, c)` in units of 1 / kUnit.
    template <class Definition>
    static constexpr WholeSum Of(const Definition& definition) noexcept {
        const int32_t constant = definition(0, 0, 0);
        return {Weight(definition(1, 0, 0) - constant), Weight(definition(0, 1, 0) - constant),
                Weight(definition(0, 0, 1) - constant), Weight(constant)};
    }
    Words operator()(const Words (&in)[3]) const noexcept { return FixedSum(in[0], a, in[1], b, in[2], c, constant); }
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

template <bool kRgbFirst>
void FromRgb(const Bytes (&pixels)[3], Bytes (&yuv)[3]) noexcept {
    Bytes hub[3] = {pixels[0], pixels[1], pixels[2]};
    DealRun(hub);
    if (!kRgbFirst) std::swap(hub[0], hub[2]);
    MapWords(hub, yuv, [](const Words(&rgb)[3], Words(&out)[3]) {
        out[0] = kFromRgb<0>(rgb);
        out[1] = kFromRgb<1>(rgb);
        out[2] = kFromRgb<2>(rgb);
    });
}

template <bool kRgbFirst>
void ToRgb(const Bytes (&yuv)[3], Bytes (&pixels)[3]) noexcept {
    MapWords(yuv, pixels, [](const Words(&in)[3], Words(&rgb)[3]) {
        rgb[0] = kToRgb<0>(in);
        rgb[1] = kToRgb<1>(in);
        rgb[2] = kToRgb<2>(in);
    });
    if (!kRgbFirst) std::swap(pixels[0], pixels[2]);
    WeaveRun(pixels);
}

/// The same of a block and its planes.
template <bool kRgbFirst>
void FromRgb(const uint8_t* pixels, Planes<3>& yuv) noexcept {
    for (size_t at = 0; at < kBlock; at += kShuffled) {
        Bytes in[3], out[3];
        LoadRun(pixels + 3 * at, in);
        FromRgb<kRgbFirst>(in, out);
        for (size_t c = 0; c < 3; ++c) StoreLanes(yuv[c].bytes + at, out[c]);
    }
}
template <bool kRgbFirst>
void ToRgb(const Planes<3>& yuv, uint8_t* pixels) noexcept {
    for (size_t at = 0; at < kBlock; at += kShuffled) {
        Bytes in[3], out[3];
        for (size_t c = 0; c < 3; ++c) in[c] = LoadLanes<Bytes>(yuv[c].bytes + at);
        ToRgb<kRgbFirst>(in, out);
        StoreRun(pixels + 3 * at, out);
    }
}

// --- Chroma of neighbours -------------------------------------------------------------------------------------------

/// The two bytes of each lane added.
UnsignedWords SumsOfPairs(Bytes bytes) noexcept {
    const auto pairs = reinterpret_cast<UnsignedWords>(bytes);
    return (pairs & 255) + (pairs >> 8);
}
/// The four bytes of each lane added.
Ints SumsOfFour(Bytes bytes) noexcept {
    const auto pairs = reinterpret_cast<Ints>(SumsOfPairs(bytes));
    return (pairs & 0xFFFF) + (pairs >> 16);
}

/// Luma and the chroma of two pixels by turns.
template <size_t kLuma, bool kRgbFirst>
struct PairRows {
    static void FromHub(const uint8_t* from, uint8_t* to, int32_t width, const void*) noexcept {
        MapRuns<3, 2>(from, to, static_cast<size_t>(width), [](const Bytes(&in)[3], Bytes(&out)[2]) {
            Bytes yuv[3];
            FromRgb<kRgbFirst>(in, yuv);
            out[kLuma] = yuv[0];
            const UnsignedWords u = SumsOfPairs(yuv[1]) >> 1, v = SumsOfPairs(yuv[2]) >> 1;
            out[1 - kLuma] = reinterpret_cast<Bytes>(u | v << 8);
            WeaveRun(out);
        });
    }
    static void ToHub(const uint8_t* from, uint8_t* to, int32_t width, const void*) noexcept {
        MapRuns<2, 3>(from, to, static_cast<size_t>(width), [](const Bytes(&in)[2], Bytes(&out)[3]) {
            Bytes pairs[2] = {in[0], in[1]};
            DealRun(pairs);
            const auto uv = reinterpret_cast<UnsignedWords>(pairs[1 - kLuma]);
            const UnsignedWords u = uv & 255, v = uv >> 8;
            ToRgb<kRgbFirst>({pairs[kLuma], reinterpret_cast<Bytes>(u | u << 8), reinterpret_cast<Bytes>(v | v << 8)},
                             out);
        });
    }
};
template <size_t kLuma>
constexpr ClrHubRows kPairRows = {{PairRows<kLuma, false>::FromHub, PairRows<kLuma, true>::FromHub},
                                  {PairRows<kLuma, false>::ToHub, PairRows<kLuma, true>::ToHub}};

// Groups of eight: chroma and luma by turns, then four of luma alone. A run is worked on as two vectors of luma and
// one of chroma, U and V by turns.

#if ZV_ISA_LEVEL == 0 && ZV_X86
// Four bytes at a time, of which each group has three.

void PackGroups(Bytes (&run)[3]) noexcept {
    const auto a = reinterpret_cast<Ints>(run[0]), b = reinterpret_cast<Ints>(run[1]);
    const auto alone = __builtin_shufflevector(a, b, 1, 3, 5, 7);
    Bytes pairs[2] = {run[2], reinterpret_cast<Bytes>(__builtin_shufflevector(a, b, 0, 2, 4, 6))};
    WeaveRun(pairs);
    const auto first = reinterpret_cast<Ints>(pairs[0]), last = reinterpret_cast<Ints>(pairs[1]);
    const auto middle = __builtin_shufflevector(first, alone, 2, 3, 5, 5);
    run[0] = reinterpret_cast<Bytes>(
        __builtin_shufflevector(first, __builtin_shufflevector(first, alone, 4, 4, 2, 2), 0, 1, 4, 6));
    run[1] = reinterpret_cast<Bytes>(__builtin_shufflevector(middle, last, 1, 2, 4, 5));
    run[2] = reinterpret_cast<Bytes>(
        __builtin_shufflevector(__builtin_shufflevector(alone, last, 2, 3, 6, 6), last, 0, 6, 7, 1));
}
void UnpackGroups(Bytes (&run)[3]) noexcept {
    const auto a = reinterpret_cast<Ints>(run[0]), b = reinterpret_cast<Ints>(run[1]),
               c = reinterpret_cast<Ints>(run[2]);
    const auto alone = __builtin_shufflevector(__builtin_shufflevector(a, b, 2, 2, 5, 5),
                                               __builtin_shufflevector(c, c, 0, 0, 3, 3), 0, 2, 4, 6);
    Bytes pairs[2] = {
        reinterpret_cast<Bytes>(__builtin_shufflevector(a, __builtin_shufflevector(a, b, 3, 3, 4, 4), 0, 1, 4, 6)),
        reinterpret_cast<Bytes>(__builtin_shufflevector(b, c, 2, 3, 5, 6))};
    DealRun(pairs);
    const auto luma = reinterpret_cast<Ints>(pairs[1]);
    run[0] = reinterpret_cast<Bytes>(__builtin_shufflevector(luma, alone, 0, 4, 1, 5));
    run[1] = reinterpret_cast<Bytes>(__builtin_shufflevector(luma, alone, 2, 6, 3, 7));
    run[2] = pairs[0];
}
#else
/// Where the groups' bytes stand in those. Chroma comes from two vectors of 32 bits, joined within 16 bytes.
constexpr size_t PlaceOfGroups(size_t i) noexcept {
    constexpr size_t kUnits = kReach / 4;
    const size_t group = i / 12, byte = i % 12;
    if (byte >= 8) return 8 * group + byte - 4;
    if (byte % 2 == 1) return 8 * group + byte / 2;
    const size_t unit = 2 * group + byte / 4, side = unit / kUnits, within = unit % kUnits;
    return 2 * kReach + within / 4 * 16 + side * 8 + within % 4 * 2 + byte / 2 % 2;
}
constexpr auto kPlacesOfPlanes = [] {
    std::array<uint8_t, 3 * kReach> places{};
    for (size_t i = 0; i < places.size(); ++i) places[PlaceOfGroups(i)] = static_cast<uint8_t>(i);
    return places;
}();
template <size_t kVectors, size_t kVector>
struct PlacesOfGroups {
    static constexpr size_t At(size_t i) noexcept { return PlaceOfGroups(kVector * kReach + i); }
};
template <size_t kVectors, size_t kVector>
struct PlacesOfPlanes {
    static constexpr size_t At(size_t i) noexcept { return kPlacesOfPlanes[kVector * kReach + i]; }
};

void PackGroups(Bytes (&run)[3]) noexcept { ShuffleRun<PlacesOfGroups>(run); }
void UnpackGroups(Bytes (&run)[3]) noexcept { ShuffleRun<PlacesOfPlanes>(run); }
#endif

template <bool kRgbFirst>
struct Y41pRows {
    static void FromHub(const uint8_t* from, uint8_t* to, int32_t width, const void*) noexcept {
        MapRuns<6, 3>(from, to, static_cast<size_t>(width / 2), [](const Bytes(&in)[6], Bytes(&out)[3]) {
            const auto half = [&](size_t at, Bytes& luma) {
                Bytes yuv[3];
                FromRgb<kRgbFirst>({in[at], in[at + 1], in[at + 2]}, yuv);
                luma = yuv[0];
                const Ints pairs = (SumsOfFour(yuv[1]) >> 2) | (SumsOfFour(yuv[2]) >> 2 << 8);
                return pairs << 16 >> 16;  // with a sign, as they are joined
            };
            const Ints first = half(0, out[0]), second = half(3, out[1]);
            out[2] = reinterpret_cast<Bytes>(WordsOf(first, second));
            PackGroups(out);
        });
    }

    static void ToHub(const uint8_t* from, uint8_t* to, int32_t width, const void*) noexcept {
        MapRuns<3, 6>(from, to, static_cast<size_t>(width / 2), [](const Bytes(&in)[3], Bytes(&out)[6]) {
            Bytes run[3] = {in[0], in[1], in[2]};
            UnpackGroups(run);
            const WordPair chroma = Turns(reinterpret_cast<Words>(run[2]), Words{});
            const auto half = [&](Bytes luma, Words pairs, size_t at) {
                const auto spread = [](Ints one) {
                    const Ints two = one | one << 8;
                    return reinterpret_cast<Bytes>(two | two << 16);
                };
                const auto uv = reinterpret_cast<Ints>(pairs);
                Bytes pixels[3];
                ToRgb<kRgbFirst>({luma, spread(uv & 255), spread(uv >> 8)}, pixels);
                for (size_t c = 0; c < 3; ++c) out[at + c] = pixels[c];
            };
            half(run[0], chroma.low, 0);
            half(run[1], chroma.high, 3);
        });
    }
};

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
[[gnu::flatten]] void Yvu9Columns(const uint8_t* band, ptrdiff_t rowStep, uint8_t* luma, uint8_t* planeV,
                                  uint8_t* planeU, int32_t width, int32_t count) noexcept {
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
                const Ints sums = SumsOfFour(LoadLanes<Bytes>(yuv[c + 1].At(kBand * at)));
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
[[gnu::flatten]] void Yvu9Row(const uint8_t* luma, const uint8_t* planeV, const uint8_t* planeU, uint8_t* hub,
                              int32_t width) noexcept {
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
    kPairRows<0>,
    kPairRows<1>,
    {{Y41pRows<false>::FromHub, Y41pRows<true>::FromHub}, {Y41pRows<false>::ToHub, Y41pRows<true>::ToHub}},
    {Yvu9Band<false>, Yvu9Band<true>},
    {Yvu9Row<false>, Yvu9Row<true>},
};

}  // namespace ZV_ISA
}  // namespace zv
