#include "Common/Zvtrans/byte_rows.h"

#include "Common/Zvgamma/fixed_point.h"
#include "Common/Zvlut/grid_step.h"
#include "Common/kernels/lanes.h"

namespace zv::inline ZV_ISA {

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
inline Four LowerHalf(Eight a) noexcept { return __builtin_shufflevector(a, a, 0, 1, 2, 3); }
inline Four UpperHalf(Eight a) noexcept { return __builtin_shufflevector(a, a, 4, 5, 6, 7); }
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
    template <class Factor>
    friend Twice operator*(Twice a, Factor f) noexcept {
        return {a.low * f, a.high * f};
    }
};
using Eight = Twice<Four>;
inline Eight LoadEight(const float* from) noexcept { return {LoadLanes<Four>(from), LoadLanes<Four>(from + 4)}; }
inline Four LowerHalf(Eight a) noexcept { return a.low; }
inline Four UpperHalf(Eight a) noexcept { return a.high; }
typedef double TwoDoubles __attribute__((vector_size(16)));
using FourDoubles = Twice<TwoDoubles>;
inline FourDoubles LoadDoubles(const float* from) noexcept {
    return {TwoDoubles{static_cast<double>(from[0]), static_cast<double>(from[1])},
            TwoDoubles{static_cast<double>(from[2]), static_cast<double>(from[3])}};
}
inline double NumberOf(FourDoubles a, uint32_t i) noexcept { return i < 2 ? a.low[i] : a.high[i - 2]; }
#endif

template <class Vector>
Vector Between(float fraction, Vector a, Vector b) noexcept {
    return (b - a) * fraction + a;
}

/// How far an estimate may lie from what the definition has before it rounds, in steps of 2^-8, of which 65536 * 2^-24
/// is one. A fraction is off by 2^-24 of itself; the first axis subtracts whole numbers without loss, and its product,
/// the fraction in it and its sum cost a step at most each. Every other axis rounds the difference too. The fractions
/// of a blend are exact. Two more go to the constants. The definition's own roundings are smaller by 2^-29.
constexpr float kStep = 65536.0F / (1 << 24);
constexpr float kTrilinearMargin = (3 + 4 + 4 + 2 + 1) * kStep;
constexpr float kBlendMargin = kTrilinearMargin + 3 * kStep;

template <uint32_t kInputs>
struct Estimate;

/// The rounding half is added; the result is above 0 and below 65536.
template <>
struct Estimate<3> {
    static constexpr float kLow = 0.5F - kTrilinearMargin;
    static constexpr float kWindow = 2 * kTrilinearMargin;
};
/// The two lookups are rounded before the blend and may lie half a word off; what is below 0 is cut to 0.
template <>
struct Estimate<4> {
    static constexpr float kLow = -0.5F - kBlendMargin;
    static constexpr float kWindow = 1.0F + 2 * kBlendMargin;
};

template <uint32_t kInputs>
class GridRow {
public:
    explicit GridRow(const CmmByteGrid& grid) noexcept : grid_(grid) {}

    template <uint32_t kOutputs>
    void Run(const uint8_t* from, uint8_t* to, uint32_t pixels) noexcept {
        alignas(64) float numbers[kBlockNumbers] = {};
        alignas(64) uint8_t words[kBlockNumbers];
        for (; pixels > 0;) {
            const uint32_t count = pixels < kBlock ? pixels : kBlock;
            Interpolate(from, numbers, count);
            uint64_t close[kBlockNumbers / 64] = {};
            for (uint32_t at = 0; at < 4 * count; at += kLanes) {
                const Floats least = LoadLanes<Floats>(numbers + at) + Estimate<kInputs>::kLow;
                const Ints low = Truncate(least) >> 8, high = Truncate(least + Estimate<kInputs>::kWindow) >> 8;
                StoreBytes(words + at, high);
                close[at / 64] |= uint64_t{LanesThatAreSet(low ^ high)} << (at % 64);
            }
            for (uint32_t part = 0; part < kBlockNumbers / 64; ++part) {
                while (close[part] != 0) {
                    const auto pixel = static_cast<uint32_t>(__builtin_ctzll(close[part])) / 4;
                    close[part] &= ~(uint64_t{15} << 4 * pixel);
                    const uint32_t i = part * 16 + pixel;
                    if (i < count) Define(from + kInputs * i, words + 4 * i);
                }
            }
            StorePixels<kOutputs>(words, to, count);
            from += kInputs * count;
            to += kOutputs * count;
            pixels -= count;
        }
    }

private:
    /// From the start of a slice.
    uint32_t OffsetOf(const uint8_t* pixel) const noexcept {
        uint32_t offset = 0;
        for (uint32_t c = 1; c < kInputs; ++c) offset += grid_.axes[c].offsets[pixel[grid_.axes[c].byte]];
        return offset;
    }

    void Interpolate(const uint8_t* from, float* numbers, uint32_t count) const noexcept {
        const CmmByteAxis& first = grid_.axes[0];
        const CmmByteAxis& x = grid_.axes[kInputs - 3];
        const CmmByteAxis& y = grid_.axes[kInputs - 2];
        const CmmByteAxis& z = grid_.axes[kInputs - 1];
        const size_t byFirst = first.byte, byX = x.byte, byY = y.byte, byZ = z.byte;
        const size_t toX = x.stride, toY = y.stride;
        for (uint32_t i = 0; i < count; ++i, from += kInputs) {
            const auto& slices = grid_.slices[from[byFirst]];
            const float fx = x.fractions[from[byX]], fy = y.fractions[from[byY]], fz = z.fractions[from[byZ]];
            uint32_t at = y.offsets[from[byY]] + z.offsets[from[byZ]];
            const auto between = [&](const float* low, const float* high) {
                return Between(fy, Between(fx, LoadEight(low), LoadEight(high)),
                               Between(fx, LoadEight(low + toY), LoadEight(high + toY)));
            };
            Eight pair;
            if constexpr (kInputs == 4) {
                at += x.offsets[from[byX]];
                const float* const low = slices[0] + at;
                const float* const high = slices[1] + at;
                pair = Between(first.fractions[from[byFirst]], between(low, low + toX), between(high, high + toX));
            } else {
                pair = between(slices[0] + at, slices[1] + at);
            }
            StoreLanes(numbers + size_t{4} * i, Between(fz, LowerHalf(pair), UpperHalf(pair)));
        }
    }

    /// A pixel by the definition. Where one is close, its neighbours are often the same.
    void Define(const uint8_t* pixel, uint8_t* bytes) noexcept {
        uint32_t key = 0;
        std::memcpy(&key, pixel, kInputs);
        if (!defined_ || key != key_) {
            defined_ = true;
            key_ = key;
            const CmmByteAxis& w = grid_.axes[0];
            const auto& slices = grid_.slices[pixel[w.byte]];
            const float* const low = slices[0] + OffsetOf(pixel);
            const float* const high = slices[1] + OffsetOf(pixel);
            if constexpr (kInputs == 4) {
                const size_t toX = grid_.axes[1].stride;
                const FourDoubles first = Lookup(pixel, low, low + toX);
                const FourDoubles second = Lookup(pixel, high, high + toX);
                for (uint32_t o = 0; o < 4; ++o) {
                    bytes_[o] =
                        static_cast<uint8_t>(BlendedWord(w.definition[pixel[w.byte]], RoundedWord(NumberOf(first, o)),
                                                         RoundedWord(NumberOf(second, o))) >>
                                             8);
                }
            } else {
                const FourDoubles found = Lookup(pixel, low, high);
                for (uint32_t o = 0; o < 4; ++o) bytes_[o] = static_cast<uint8_t>(RoundedWord(NumberOf(found, o)) >> 8);
            }
        }
        std::memcpy(bytes, bytes_, 4);
    }

    /// From the corners that are lower and upper on the axis of the first of the three channels.
    FourDoubles Lookup(const uint8_t* pixel, const float* low, const float* high) const noexcept {
        const CmmByteAxis& x = grid_.axes[kInputs - 3];
        const CmmByteAxis& y = grid_.axes[kInputs - 2];
        const CmmByteAxis& z = grid_.axes[kInputs - 1];
        const size_t toY = y.stride, toZ = z.stride;
        return Trilinear(x.definition[pixel[x.byte]], y.definition[pixel[y.byte]], z.definition[pixel[z.byte]],
                         [=](int i, int j, int k) {
                             return LoadDoubles((i != 0 ? high : low) + (j != 0 ? toY : 0) + (k != 0 ? toZ : 0));
                         });
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

}  // namespace zv::inline ZV_ISA
