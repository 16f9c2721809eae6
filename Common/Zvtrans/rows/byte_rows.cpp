#include "Common/Zvtrans/byte_rows.h"

#include "Common/Zvgamma/fixed_point.h"
#include "Common/Zvlut/grid_step.h"
#include "Common/kernels/lanes.h"

namespace zv {
inline namespace ZV_ISA {

namespace {

constexpr uint32_t kBlock = 64;
/// Of every pixel in a block four numbers are held, whatever its channels.
constexpr uint32_t kBlockNumbers = 4 * kBlock;

// --- Pixels of a block ----------------------------------------------------------------------------------------------

/// The first bytes of each four. What a store writes too much, the next one corrects.
template <uint32_t kBytes>
void StorePixels(const uint8_t* fours, uint8_t* to, uint32_t pixels) noexcept {
    if constexpr (kBytes == 4) {
        std::memcpy(to, fours, size_t{4} * pixels);
        return;
    }
#if ZV_ISA_LEVEL >= 1
    typedef uint8_t FourPixels __attribute__((vector_size(16)));
    for (; pixels >= 6; pixels -= 4, fours += 16, to += 12) {
        const auto four = LoadLanes<FourPixels>(fours);
        StoreLanes(to, __builtin_shufflevector(four, four, 0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 15, 15, 15, 15));
    }
#endif
    for (; pixels > 1; --pixels, fours += 4, to += 3) std::memcpy(to, fours, 4);
    std::memcpy(to, fours, 3);
}

// --- Grids ----------------------------------------------------------------------------------------------------------

/// The numbers of a node, and of two neighbours along the last axis.
typedef float Four __attribute__((vector_size(16)));
#if ZV_ISA_LEVEL >= 1
typedef float Eight __attribute__((vector_size(32)));
inline Eight LoadEight(const float* from) noexcept { return LoadLanes<Eight>(from); }
/// The lower nodes of two such pairs, and the upper ones.
inline Eight LowerNodes(Eight a, Eight b) noexcept { return __builtin_shufflevector(a, b, 0, 1, 2, 3, 8, 9, 10, 11); }
inline Eight UpperNodes(Eight a, Eight b) noexcept { return __builtin_shufflevector(a, b, 4, 5, 6, 7, 12, 13, 14, 15); }
/// One for each of two nodes.
inline Eight Fractions(float a, float b) noexcept { return Eight{a, a, a, a, b, b, b, b}; }
/// A node for the definition.
typedef double FourDoubles __attribute__((vector_size(32)));
inline FourDoubles LoadDoubles(const float* from) noexcept {
    return __builtin_convertvector(LoadLanes<Four>(from), FourDoubles);
}
inline double NumberOf(FourDoubles a, uint32_t i) noexcept { return a[i]; }
#else
/// Two registers.
template <class Half>
struct Twice {
    Half low, high;
    friend Twice operator+(Twice a, Twice b) noexcept { return {a.low + b.low, a.high + b.high}; }
    friend Twice operator-(Twice a, Twice b) noexcept { return {a.low - b.low, a.high - b.high}; }
    friend Twice operator*(Twice a, Twice b) noexcept { return {a.low * b.low, a.high * b.high}; }
    friend Twice operator-(Twice a, double b) noexcept { return {a.low - b, a.high - b}; }
    template <class Factor>
    friend Twice operator*(Twice a, Factor f) noexcept {
        return {a.low * f, a.high * f};
    }
};
using Eight = Twice<Four>;
inline Eight LoadEight(const float* from) noexcept { return {LoadLanes<Four>(from), LoadLanes<Four>(from + 4)}; }
inline Eight LowerNodes(Eight a, Eight b) noexcept { return {a.low, b.low}; }
inline Eight UpperNodes(Eight a, Eight b) noexcept { return {a.high, b.high}; }
inline Eight Fractions(float a, float b) noexcept { return {Four{a, a, a, a}, Four{b, b, b, b}}; }
typedef double TwoDoubles __attribute__((vector_size(16)));
using FourDoubles = Twice<TwoDoubles>;
inline FourDoubles LoadDoubles(const float* from) noexcept {
    return {TwoDoubles{static_cast<double>(from[0]), static_cast<double>(from[1])},
            TwoDoubles{static_cast<double>(from[2]), static_cast<double>(from[3])}};
}
inline double NumberOf(FourDoubles a, uint32_t i) noexcept { return i < 2 ? a.low[i] : a.high[i - 2]; }
#endif

inline Eight Between(Eight fraction, Eight a, Eight b) noexcept { return (b - a) * fraction + a; }
inline Eight Between(float fraction, Eight a, Eight b) noexcept { return Between(Fractions(fraction, fraction), a, b); }

// --- Numbers to bytes -----------------------------------------------------------------------------------------------

/// Pixels whose numbers become bytes together.
constexpr uint32_t kChunk = 8;
constexpr uint32_t kChunkVectors = 4 * kChunk / kLanes;

/// Lane by lane of 16 bits; 0 where b is not below a.
inline Ints HowFarBelow(Ints a, Ints b) noexcept {
#if ZV_ISA_LEVEL == 2
    return reinterpret_cast<Ints>(_mm512_subs_epu16(Register(a), Register(b)));
#elif ZV_ISA_LEVEL == 1
    return reinterpret_cast<Ints>(_mm256_subs_epu16(Register(a), Register(b)));
#elif ZV_X86
    return reinterpret_cast<Ints>(_mm_subs_epu16(Register(a), Register(b)));
#else
    const auto first = reinterpret_cast<UnsignedWords>(a), second = reinterpret_cast<UnsignedWords>(b);
    return reinterpret_cast<Ints>(first > second ? first - second : UnsignedWords{});
#endif
}

/// Bits 16 to 23 of each number, which has none above them.
inline void StoreThirdBytes(uint8_t* to, const Ints (&numbers)[kChunkVectors]) noexcept {
#if ZV_ISA_LEVEL == 1
    const auto words = [](Ints a, Ints b) {
        return _mm256_packs_epi32(reinterpret_cast<__m256i>(a >> 16), reinterpret_cast<__m256i>(b >> 16));
    };
    const __m256i bytes = _mm256_packus_epi16(words(numbers[0], numbers[1]), words(numbers[2], numbers[3]));
    StoreLanes(to, _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7)));
#elif ZV_ISA_LEVEL == 0 && ZV_X86
    const auto words = [](Ints a, Ints b) {
        return _mm_packs_epi32(reinterpret_cast<__m128i>(a >> 16), reinterpret_cast<__m128i>(b >> 16));
    };
    for (uint32_t i = 0; i < kChunkVectors; i += 4) {
        StoreLanes(to + i * kLanes,
                   _mm_packus_epi16(words(numbers[i], numbers[i + 1]), words(numbers[i + 2], numbers[i + 3])));
    }
#else
    for (uint32_t i = 0; i < kChunkVectors; ++i) StoreLowBytes(to + i * kLanes, numbers[i] >> 16);
#endif
}

/// The words of a node as they were.
template <uint32_t kInputs>
FourDoubles WordsOfNode(const float* node) noexcept {
    using Scale = CmmNodeScale<kInputs>;
    return (LoadDoubles(node) - double{Scale::kRounding}) * (1.0 / Scale::kWord);
}

template <uint32_t kInputs>
class GridRow {
public:
    explicit GridRow(const CmmByteGrid& grid) noexcept : grid_(grid) {}

    template <uint32_t kOutputs>
    void Run(const uint8_t* from, uint8_t* to, uint32_t pixels) noexcept {
        alignas(64) float numbers[kBlockNumbers];
        alignas(64) uint8_t bytes[kBlockNumbers], tail[kInputs * kBlock];
        while (pixels > 0) {
            uint32_t count = kBlock, chunks = kBlock;
            const uint8_t* block = from;
            if (pixels < kBlock) {
                count = pixels;
                chunks = (count + kChunk - 1) / kChunk * kChunk;
                std::memset(tail, 0, kInputs * chunks);
                std::memcpy(tail, from, kInputs * count);
                block = tail;
            }
            Interpolate(block, numbers, chunks);
            for (uint32_t i = 0; i < chunks; i += kChunk) {
                ToBytes(block + kInputs * i, numbers + 4 * i, bytes + 4 * i);
            }
            StorePixels<kOutputs>(bytes, to, count);
            from += kInputs * count;
            to += kOutputs * count;
            pixels -= count;
        }
    }

private:
    static constexpr int32_t kWindow = CmmNodeScale<kInputs>::kWindow;

    static const float* LowNode(const CmmByteGrid& grid, const uint8_t* pixel) noexcept {
        uint32_t at = 0;
        for (uint32_t i = 1; i < kInputs; ++i) at += grid.axes[i].offsets[pixel[i]];
        return grid.slices[pixel[0]] + at;
    }

    /// The pairs of nodes along the last axis, interpolated along the others.
    struct Pairs {
        const CmmByteGrid& grid;
        size_t toY = grid.axes[kInputs - 2].stride, toX = grid.axes[kInputs - 3].stride, toFirst = grid.axes[0].stride;

        Eight At(const uint8_t* pixel) const noexcept {
            const float* const low = LowNode(grid, pixel);
            const float* const high = low + toFirst;
            const float fx = Fraction(pixel, kInputs - 3), fy = Fraction(pixel, kInputs - 2);
            const auto between = [&](const float* first, const float* second) {
                return Between(fy, Between(fx, LoadEight(first), LoadEight(second)),
                               Between(fx, LoadEight(first + toY), LoadEight(second + toY)));
            };
            if constexpr (kInputs == 4) {
                return Between(Fraction(pixel, 0), between(low, low + toX), between(high, high + toX));
            } else {
                return between(low, high);
            }
        }
        float Fraction(const uint8_t* pixel, uint32_t i) const noexcept { return grid.axes[i].fractions[pixel[i]]; }
        float LastFraction(const uint8_t* pixel) const noexcept { return Fraction(pixel, kInputs - 1); }
    };

    void Interpolate(const uint8_t* from, float* numbers, uint32_t count) const noexcept {
        const Pairs pairs{grid_};
        for (uint32_t i = 0; i < count; i += 2, from += 2 * kInputs, numbers += 8) {
            const Eight a = pairs.At(from), b = pairs.At(from + kInputs);
            const Eight fractions = Fractions(pairs.LastFraction(from), pairs.LastFraction(from + kInputs));
            StoreLanes(numbers, Between(fractions, LowerNodes(a, b), UpperNodes(a, b)));
        }
    }

    static Ints HighestOf(const float* numbers) noexcept {
        auto number = LoadLanes<Floats>(numbers);
        // Nothing is below 0: where the highest number has the byte 0, the pixel has.
        if constexpr (kInputs == 4) number = Greatest(number, Splat(kWindow));
        return Truncate(number);
    }

    void ToBytes(const uint8_t* pixels, const float* numbers, uint8_t* bytes) noexcept {
        Ints highest[kChunkVectors], close = {};
        for (uint32_t i = 0; i < kChunkVectors; ++i) {
            highest[i] = HighestOf(numbers + i * kLanes);
            close |= HowFarBelow(SplatInt(kWindow), highest[i]);
        }
        StoreThirdBytes(bytes, highest);
        if (LanesThatAreSet(close) != 0) [[unlikely]]
            DefineClose(pixels, numbers, bytes);
    }

    [[gnu::noinline]] void DefineClose(const uint8_t* pixels, const float* numbers, uint8_t* bytes) noexcept {
        uint32_t close = 0;
        for (uint32_t i = 0; i < kChunkVectors; ++i) {
            const Ints fractions = HighestOf(numbers + i * kLanes) & 0xFFFF;
            close |= LanesThatAreSet(fractions < SplatInt(kWindow)) << (i * kLanes);
        }
        while (close != 0) {
            const auto pixel = static_cast<uint32_t>(__builtin_ctz(close)) / 4;
            close &= ~(15U << 4 * pixel);
            Define(pixels + kInputs * pixel, bytes + 4 * pixel);
        }
    }

    /// A pixel by the definition. Where one is close, its neighbours are often the same.
    void Define(const uint8_t* pixel, uint8_t* bytes) noexcept {
        uint32_t key = 0;
        std::memcpy(&key, pixel, kInputs);
        if (!defined_ || key != key_) {
            defined_ = true;
            key_ = key;
            const CmmByteAxis& first = grid_.axes[0];
            const float* const low = LowNode(grid_, pixel);
            const float* const high = low + first.stride;
            if constexpr (kInputs == 4) {
                const size_t toX = grid_.axes[1].stride;
                const FourDoubles lower = Lookup(pixel, low, low + toX), upper = Lookup(pixel, high, high + toX);
                for (uint32_t o = 0; o < 4; ++o) {
                    bytes_[o] =
                        static_cast<uint8_t>(BlendedWord(first.definition[pixel[0]], RoundedWord(NumberOf(lower, o)),
                                                         RoundedWord(NumberOf(upper, o))) >>
                                             8);
                }
            } else {
                const FourDoubles found = Lookup(pixel, low, high);
                for (uint32_t o = 0; o < 4; ++o) bytes_[o] = static_cast<uint8_t>(RoundedWord(NumberOf(found, o)) >> 8);
            }
        }
        std::memcpy(bytes, bytes_, 4);
    }

    /// From the corners that are lower and upper on the axis of the first of the last three bytes.
    FourDoubles Lookup(const uint8_t* pixel, const float* low, const float* high) const noexcept {
        const size_t toY = grid_.axes[kInputs - 2].stride, toZ = grid_.axes[kInputs - 1].stride;
        const auto fraction = [&](uint32_t i) {
            return grid_.axes[kInputs - 3 + i].definition[pixel[kInputs - 3 + i]];
        };
        const auto corner = [=](int i, int j, int k) {
            return WordsOfNode<kInputs>((i != 0 ? high : low) + (j != 0 ? toY : 0) + (k != 0 ? toZ : 0));
        };
        if (!grid_.reversed) return Trilinear(fraction(0), fraction(1), fraction(2), corner);
        return Trilinear(fraction(2), fraction(1), fraction(0), [&](int i, int j, int k) { return corner(k, j, i); });
    }

    const CmmByteGrid& grid_;
    bool defined_ = false;
    uint32_t key_ = 0;
    uint8_t bytes_[4] = {};
};

template <uint32_t kInputs>
void RunGrid(const CmmByteGrid& grid, const uint8_t* from, uint8_t* to, uint32_t pixels) noexcept {
    GridRow<kInputs> row(grid);
    if (grid.outputs == 4) {
        row.template Run<4>(from, to, pixels);
    } else {
        row.template Run<3>(from, to, pixels);
    }
}

void GridRows(const CmmByteGrid& grid, const uint8_t* from, uint8_t* to, uint32_t pixels) noexcept {
    if (grid.inputs == 4) {
        RunGrid<4>(grid, from, to, pixels);
    } else {
        RunGrid<3>(grid, from, to, pixels);
    }
}

// --- Matrix-shapers -------------------------------------------------------------------------------------------------

void ShaperRows(const CmmByteShaper& shaper, const uint8_t* from, uint8_t* to, uint32_t pixels) noexcept {
    const size_t byR = shaper.bytes[0], byG = shaper.bytes[1], byB = shaper.bytes[2];
    alignas(64) uint32_t sums[kBlockNumbers] = {};
    alignas(64) uint8_t bytes[kBlockNumbers];
    while (pixels > 0) {
        const uint32_t count = pixels < kBlock ? pixels : kBlock;
        for (uint32_t i = 0; i < count; ++i, from += 3) {
            // Unsigned: the sums wrap.
            typedef uint32_t Sums __attribute__((vector_size(16)));
            const auto r = LoadLanes<Sums>(shaper.terms[0][from[byR]]);
            const auto g = LoadLanes<Sums>(shaper.terms[1][from[byG]]);
            const auto b = LoadLanes<Sums>(shaper.terms[2][from[byB]]);
            StoreLanes(sums + size_t{4} * i, r + g + b);
        }
        for (uint32_t at = 0; at < 4 * count; at += kLanes) {
            // HighByteOfFixed, whose clamp the store has: a comparison that holds is -1.
            const auto fixed = LoadLanes<Ints>(sums + at);
            StoreBytes(bytes + at, (fixed + (fixed > SplatInt(0x8000))) >> 8);
        }
        StorePixels<3>(bytes, to, count);
        to += 3 * count;
        pixels -= count;
    }
}

}  // namespace

const CmmByteRowTable kCmmByteRows = {GridRows, ShaperRows};

}  // namespace ZV_ISA
}  // namespace zv
