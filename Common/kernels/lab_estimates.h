// Estimates in single precision for both routes of Lab, and how far they can be off.
#pragma once

#include "Common/kernels/byte_cells.h"
#include "Common/kernels/cie.h"
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

/// A record's byte of fy, fx - fy or fy - fz before it is cut, less the margin.
inline Floats LeastOfRecord(const ClrLabEncodeRecord::ByteScales& bytes, size_t channel, Ints number) noexcept {
    return ToFloat(number) * bytes.scale[channel] + bytes.constant[channel];
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

/// From the definition's own integers, which single precision holds; from 0 to 1.
inline Floats LightOfRoot(Ints f) noexcept {
    const Floats root = ToFloat(Least((f + 128) >> 8, SplatInt(1 << 20)));
    const Floats line =
        ToFloat(Greatest((f - kLabLineFrom) >> 6, Ints{})) * (static_cast<float>(kLabLineSlope) * 0x1p-44F);
    return f > kLabCubeFrom ? ((root * root) * root) * 0x1p-60F : line;
}

inline Floats WeightedLight(const float (&weights)[3], Floats x, Floats y, Floats z) noexcept {
    return (x * weights[0] + y * weights[1]) + z * weights[2];
}

/// A block of linear light on its way to bytes. Its cells are looked up one by one between two passes of lanes: that
/// takes less time than the processors' own gathering.
class LightBlock {
public:
    explicit LightBlock(const LabLightSums& sums, const LabByteCells& cells) noexcept : sums_(sums), cells_(cells) {}

    void Put(int32_t at, Floats x, Floats y, Floats z) noexcept {
        StoreLanes(all_ + at, (x + y) + z);
        for (size_t c = 0; c < 3; ++c) {
            const Floats v = WeightedLight(sums_.weights[c], x, y, z);
            const Floats inside = Least(Greatest(v, Splat(0x1p-21F)), Splat(1.0F));
            StoreLanes(light_[c] + at, v);
            StoreLanes(places_[c] + at, reinterpret_cast<Ints>(inside) >> kCellBits);
        }
    }

    /// Bytes of the three sums. What may be wrong is added to `close`.
    void Store(const std::array<uint8_t*, 3>& to, ClosePixels& close) noexcept {
        for (size_t c = 0; c < 3; ++c) LookUp<kFirstCell>(cells_.entries, places_[c], entries_[c]);
        for (int32_t at = 0; at < kBlock; at += kLanes) {
            const auto all = LoadLanes<Floats>(all_ + at);
            Ints differences = {};
            for (size_t c = 0; c < 3; ++c) {
                const auto entry = LoadLanes<Ints>(entries_[c] + at);
                const Ints threshold = (LoadLanes<Ints>(places_[c] + at) << kCellBits) + (entry >> 8);
                const Floats above = LoadLanes<Floats>(light_[c] + at) - reinterpret_cast<Floats>(threshold);
                differences |= Magnitude(above) <= all * sums_.relative[c] + sums_.absolute[c];
                StoreLowBytes(to[c] + at, (entry & 255) - (above >= 0.0F));
            }
            close.Add(at, differences);
        }
    }

private:
    const LabLightSums& sums_;
    const LabByteCells& cells_;
    alignas(64) float all_[kBlock];
    alignas(64) float light_[3][kBlock];
    alignas(64) int32_t places_[3][kBlock];
    alignas(64) uint32_t entries_[3][kBlock];
};

/// Does the close pixels of a block again, neighbours of one colour only once: a flat area may be close as a whole.
template <class Load, class Define, class Store>
void RedoOnce(const ClosePixels& close, const Load& load, const Define& define, const Store& store) noexcept {
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
