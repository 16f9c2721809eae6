// Estimates in single precision for both routes of Lab, and how far they can be off; and exact bytes of a record's
// numbers.
#pragma once

#include "Common/kernels/byte_cells.h"
#include "Common/kernels/cie.h"
#include "Common/kernels/fixed_sums.h"
#include "Common/kernels/lab_records.h"
#include "Common/kernels/powers.h"
#include "Common/kernels/quads.h"

namespace zv {
inline namespace ZV_ISA {

inline Floats Magnitude(Floats lanes) noexcept {
    return reinterpret_cast<Floats>(reinterpret_cast<Ints>(lanes) & INT32_MAX);
}

// --- Hub to Lab -----------------------------------------------------------------------------------------------------

inline constexpr double kSingleUnit = 1.0 / (1 << 24);

/// Of linear light, by the definition's sums in double.
///
/// In units of 2^-24, table entries of X, Y, Z are off by 1 of themselves and their sums by 2 more: 3, of which a root
/// takes a third. With the root's own error that is less than 4 of numbers up to 1.001. The line is off by less than 1.
inline constexpr double kRootError = 4 * kSingleUnit;

/// Marks in `close` what may lie on either side of the bound.
inline Floats LabRoot(Floats t, Ints& close) noexcept {
    constexpr auto kBound = static_cast<float>(lab::kLinearTo);
    constexpr auto kNear = static_cast<float>(lab::kLinearTo * 8 * kSingleUnit);
    const Floats off = t - kBound;
    close |= (off < kNear) & (off > -kNear);
    const Floats line = t * static_cast<float>(lab::kSlope) + static_cast<float>(lab::kOffset);
    return off > 0.0F ? CubeRoot(t) : line;
}

// A record's numbers of 16 bits, two to a lane.

/// a - b, cut to 16 bits.
inline Words Difference(Words a, Words b) noexcept {
#if ZV_ISA_LEVEL == 2
    return reinterpret_cast<Words>(_mm512_subs_epi16(Register(a), Register(b)));
#elif ZV_ISA_LEVEL == 1
    return reinterpret_cast<Words>(_mm256_subs_epi16(Register(a), Register(b)));
#elif ZV_X86
    return reinterpret_cast<Words>(_mm_subs_epi16(Register(a), Register(b)));
#else
    Words difference = {};
    for (int32_t i = 0; i < kWords; ++i) {
        difference[i] = static_cast<int16_t>(Clamp(a[i] - b[i], -32768, 32767));
    }
    return difference;
#endif
}

/// The definition's bytes before they are cut.
inline Words BytesOfNumbers(const ClrLabEncodeRecord::ByteScale& scale, Words n) noexcept {
    const auto add = [&](Ints high, Ints low) { return high + (((low + scale.round) >> 16) + scale.constant); };
    const Ints even = add(SumsOfTwo(n, scale.high[0]), SumsOfTwo(n, scale.low[0]));
    const Ints odd = add(SumsOfTwo(n, scale.high[1]), SumsOfTwo(n, scale.low[1]));
    return reinterpret_cast<Words>((even >> 16 & 65535) | (odd & ~65535));
}

// --- Lab to hub -----------------------------------------------------------------------------------------------------

/// In units of 2^-24, X, Y and Z are off by 4 of themselves: two products of integers, a factor and the product with
/// it. Weights and products make it 6, two sums 8, the rounded threshold 9.
inline constexpr LabLightSums kLightSums = [] {
    LabLightSums sums{};
    const Sums columns[3] = {lab::LinearOfXyz(1, 0, 0), lab::LinearOfXyz(0, 1, 0), lab::LinearOfXyz(0, 0, 1)};
    for (size_t c = 0; c < 3; ++c) {
        double most = 0;
        for (size_t k = 0; k < 3; ++k) {
            const double weight = columns[k][c];
            sums.weights[c][k] = static_cast<float>(weight);
            const double size = weight < 0 ? -weight : weight;
            if (size > most) most = size;
        }
        sums.relative[c] = static_cast<float>(most * 9.01 * kSingleUnit);
    }
    return sums;
}();

static_assert(3 * kLightSums.relative[0] < kLeastHalfway && 3 * kLightSums.relative[1] < kLeastHalfway &&
              3 * kLightSums.relative[2] < kLeastHalfway);

/// X, Y or Z of n / kWhole, an exact fraction: (l + 16) / 116 + a / 500 is (125 (l + 16) + 29 a) / 14500.
template <int32_t kWhole>
Floats LightOfFraction(Floats n) noexcept {
    // The bound of the definition lies between two such fractions. 16 / 116 is where the line starts.
    constexpr int32_t kFirstCube = kWhole * 6 / 29;
    constexpr int32_t kZero = kWhole * 4 / 29;
    static_assert(kWhole % 29 == 0);
    static_assert(kFirstCube / double{kWhole} - lab::kInverseLinearTo > 1e-6 &&
                  lab::kInverseLinearTo - (kFirstCube - 1) / double{kWhole} > 1e-6);
    constexpr double kCube = 1.0 / (double{kWhole} * kWhole * kWhole);
    n = Least(n, Splat(static_cast<float>(kWhole)));
    const Floats cube = ((n * n) * n) * static_cast<float>(kCube);
    const Floats line =
        Greatest(n - static_cast<float>(kZero), Floats{}) * static_cast<float>(1 / (kWhole * lab::kSlope));
    return n >= static_cast<float>(kFirstCube) ? cube : line;
}

/// What rounds the last eight bits of a root away.
inline constexpr int32_t kRootRound = 128;

/// From the definition's own integers and kRootRound; from 0 to kRecordWhole. The line goes through the middle of the
/// definition's steps of 64.
inline Floats LightOfRoot(Ints f) noexcept {
    const Floats root = ToFloat(Least(f >> 8, SplatInt(1 << 20)));
    const Floats off = root - static_cast<float>((kLabLineFrom + 31.5) / 256);
    // What lies below 0 has a sign as an integer, too.
    const auto above = reinterpret_cast<Floats>(Greatest(reinterpret_cast<Ints>(off), Ints{}));
    const Floats line = above * (static_cast<float>(kLabLineSlope) * (0x1p-42F * kRecordWhole));
    return f > kLabCubeFrom + kRootRound ? (root * root) * root : line;
}

inline Floats WeightedLight(const float (&weights)[3], Floats x, Floats y, Floats z) noexcept {
    return (x * weights[0] + y * weights[1]) + z * weights[2];
}

/// table[place % 16], and % 32, for each lane.
inline Floats Chosen(const float (&table)[16], Ints places) noexcept {
#if ZV_ISA_LEVEL == 2
    return reinterpret_cast<Floats>(_mm512_permutexvar_ps(reinterpret_cast<__m512i>(places), _mm512_loadu_ps(table)));
#else
    Floats chosen = {};
    for (int32_t i = 0; i < kLanes; ++i) chosen[i] = table[places[i] & 15];
    return chosen;
#endif
}
inline Floats Chosen(const float (&table)[32], Ints places) noexcept {
#if ZV_ISA_LEVEL == 2
    return reinterpret_cast<Floats>(
        _mm512_permutex2var_ps(_mm512_loadu_ps(table), reinterpret_cast<__m512i>(places), _mm512_loadu_ps(table + 16)));
#else
    Floats chosen = {};
    for (int32_t i = 0; i < kLanes; ++i) chosen[i] = table[places[i] & 31];
    return chosen;
#endif
}

/// What light is cut to before its power is taken.
inline constexpr float kLeastPowered = 0x1p-22F;

/// 255 times the power of light that is cut to kLeastPowered and 1.
inline Floats BytePower(const LabPowers& powers, Floats light) noexcept {
    // As integers, numbers compare as they do by themselves, and negative ones are less than all others.
    const Ints bits = Least(Greatest(reinterpret_cast<Ints>(light), reinterpret_cast<Ints>(Splat(kLeastPowered))),
                            reinterpret_cast<Ints>(Splat(1.0F)));
    const auto mantissa = reinterpret_cast<Floats>((bits & 0x7FFFFF) | 0x3F800000);
    const Ints sixteenths = bits >> 19;
    const Floats upper = mantissa * Chosen(powers.mantissas[2], sixteenths) + Chosen(powers.mantissas[1], sixteenths);
    return (mantissa * upper + Chosen(powers.mantissas[0], sixteenths)) * Chosen(powers.octaves, bits >> 23);
}

/// How far light lies from the nearest threshold at least, times w, which is BytePower of it; `rounded` is the integer
/// nearest to w.
///
/// Thresholds lie half between integers of w. Light grows with w by light / (0.45 w), ever faster: that is the least
/// for a threshold above. For one below, from w = 1 / 2 on, the way to it has 0.69 of that slope at least. With 0.5,
/// 2^-21 may be added to the light, which makes the bound hold for dark light, cut or below 0.
inline Floats LeastDistance(Floats light, Floats w, Floats rounded) noexcept {
    constexpr float kSlope = 0.5F / 0.45F;
    const Floats room = kSlope * (0.5F - 256 * kLabPowerError) - Magnitude(w - rounded) * kSlope;
    return room * (Magnitude(light) + 0x1p-21F);
}

#if ZV_ISA_LEVEL == 2

/// A block of linear light on its way to bytes, by their powers: registers hold all that is to be looked up.
class LightBlock {
public:
    explicit LightBlock(const LabLightSums& sums, const LabByteCells& cells) noexcept
        : sums_(sums), powers_(cells.powers) {}

    void Put(int32_t at, Floats x, Floats y, Floats z) noexcept {
        StoreLanes(all_ + at, (x + y) + z);
        for (size_t c = 0; c < 3; ++c) StoreLanes(light_[c] + at, WeightedLight(sums_.weights[c], x, y, z));
    }

    /// Bytes of the three sums. What may be wrong is added to `close`.
    void Store(const std::array<uint8_t*, 3>& to, ClosePixels& close) noexcept {
        for (int32_t at = 0; at < kBlock; at += kLanes) {
            const auto all = LoadLanes<Floats>(all_ + at);
            Floats least = Splat(1.0F);
            for (size_t c = 0; c < 3; ++c) {
                const auto light = LoadLanes<Floats>(light_[c] + at);
                const Floats w = BytePower(powers_, light);
                // The sum's lowest bits are the nearest integer.
                constexpr float kWhole = 3 << 22;
                const Floats whole = w + kWhole;
                StoreLowBytes(to[c] + at, reinterpret_cast<Ints>(whole));
                const Floats margin = all * sums_.relative[c] + sums_.absolute[c];
                const Floats rest = LeastDistance(light, w, whole - kWhole) - w * margin;
                least = Least(least, rest);
            }
            close.Add(at, least <= 0.0F);
        }
    }

private:
    const LabLightSums& sums_;
    const LabPowers& powers_;
    alignas(64) float all_[kBlock];
    alignas(64) float light_[3][kBlock];
};

#else

/// found[i] = table[places[i] - kFirst] for kLanes pixels.
template <int32_t kFirst>
[[gnu::always_inline]] inline void LookUp(const uint32_t* table, const int32_t* places, uint32_t* found) noexcept {
#    pragma GCC unroll 8
    for (int32_t i = 0; i < kLanes; i += 2) {
        // Places in pairs: a load costs more than a shift.
        const auto pair = KeptScalar(LoadLanes<uint64_t>(places + i));
        found[i] = table[static_cast<int64_t>(pair & UINT32_MAX) - kFirst];
        found[i + 1] = table[static_cast<int64_t>(pair >> 32) - kFirst];
    }
}

/// In registers, for loops whose stores of bytes might change any number.
struct SplatMargins {
    Floats relative[3], absolute[3];
    explicit SplatMargins(const LabLightSums& sums) noexcept {
        for (size_t c = 0; c < 3; ++c) {
            relative[c] = Splat(sums.relative[c]);
            absolute[c] = Splat(sums.absolute[c]);
        }
    }
};

/// A block of linear light on its way to bytes. Its cells are looked up one by one: that takes less time than the
/// processors' own gathering.
class LightBlock {
public:
    explicit LightBlock(const LabLightSums& sums, const LabByteCells& cells) noexcept : sums_(sums), cells_(cells) {}

    void Put(int32_t at, Floats x, Floats y, Floats z) noexcept {
        StoreLanes(all_ + at, (x + y) + z);
        for (size_t c = 0; c < 3; ++c) {
            const Floats v = WeightedLight(sums_.weights[c], x, y, z);
            StoreLanes(light_[c] + at, v);
            StoreLanes(places_[c] + at, Least(Greatest(reinterpret_cast<Ints>(v), SplatInt(kFirstCell << kCellBits)),
                                              SplatInt(kLastCell << kCellBits)) >>
                                            kCellBits);
        }
        if (at >= kBehind) LookUpCells(at - kBehind);
    }

    /// Bytes of the three sums. What may be wrong is added to `close`.
    void Store(const std::array<uint8_t*, 3>& to, ClosePixels& close) noexcept {
        const SplatMargins margins(sums_);
        for (int32_t at = 0; at < kBlock; at += kLanes) {
            if (at < kBehind) LookUpCells(at + (kBlock - kBehind));
            const auto all = LoadLanes<Floats>(all_ + at);
            Ints differences = {};
            for (size_t c = 0; c < 3; ++c) {
                const auto entry = LoadLanes<Ints>(entries_[c] + at);
                const Ints threshold = (LoadLanes<Ints>(places_[c] + at) << kCellBits) + (entry >> 8);
                const Floats above = LoadLanes<Floats>(light_[c] + at) - reinterpret_cast<Floats>(threshold);
                differences |= Magnitude(above) <= all * margins.relative[c] + margins.absolute[c];
                StoreLowBytes(to[c] + at, entry - (above >= 0.0F));
            }
            close.Add(at, differences);
        }
    }

private:
    /// Of kLanes pixels.
    [[gnu::always_inline]] void LookUpCells(int32_t at) noexcept {
        for (size_t c = 0; c < 3; ++c) LookUp<kFirstCell>(cells_.entries, places_[c] + at, entries_[c] + at);
    }

    /// Look-ups stay so many pixels behind: processors do them beside the work of lanes, and find the places stored.
    static constexpr int32_t kBehind = 16;

    const LabLightSums& sums_;
    const LabByteCells& cells_;
    alignas(64) float all_[kBlock];
    alignas(64) float light_[3][kBlock];
    alignas(64) int32_t places_[3][kBlock];
    alignas(64) uint32_t entries_[3][kBlock];
};

#endif

/// Does the close pixels of a block again, neighbours of one colour only once: a flat area may be close as a whole.
template <class Pixels, class Load, class Define, class Store>
void RedoOnce(const Pixels& close, const Load& load, const Define& define, const Store& store) noexcept {
    decltype(load(0)) last{};
    decltype(define(last)) result{};
    bool any = false;
    close.Each([&](int32_t i) {
        const auto pixel = load(i);
        if (!any || pixel != last) {
            any = true;
            last = pixel;
            result = define(pixel);
        }
        store(i, result);
    });
}

}  // namespace ZV_ISA
}  // namespace zv
