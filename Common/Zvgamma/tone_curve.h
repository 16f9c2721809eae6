// One-dimensional curves: sampled tables of 16-bit words.
#pragma once

#include <cstddef>
#include <cstdint>

#include "Common/Zvgamma/fixed_point.h"
#include "host/platform.h"
#include "zvclr.h"

namespace zv {

/// One allocation: the count, and its entries right behind it. Entry 0 stands for input 0, the last one for 0xFFFF.
/// The owner releases it with ToneCurveFree.
struct ToneCurve {
    int32_t count;

    uint16_t* Entries() noexcept { return reinterpret_cast<uint16_t*>(this + 1); }
    const uint16_t* Entries() const noexcept { return reinterpret_cast<const uint16_t*>(this + 1); }
};

/// Curves that the engine makes itself have this many entries.
inline constexpr int32_t kMadeCurveEntries = 256;

/// All entries zero; null without memory or for a count below 1.
ToneCurve* ToneCurveAlloc(int32_t count) noexcept;
void ToneCurveFree(ToneCurve* curve) noexcept;
/// 256 entries of input ^ gamma, rounded down; a gamma of 0 gives zeros.
ToneCurve* ToneCurveBuildGamma(double gamma) noexcept;
/// This and the next three: null without memory or for a source that is null or unreadable.
ToneCurve* ToneCurveDuplicate(const ToneCurve* curve) noexcept;
/// Factor in 16.16; results wrap.
ToneCurve* ToneCurveScale(const ToneCurve* curve, int32_t factor) noexcept;
/// 256 entries; by bisection, which takes the curve for a rising one.
ToneCurve* ToneCurveInvert(const ToneCurve* curve) noexcept;
/// 256 entries of `first`, then the inverse of `second`.
ToneCurve* ToneCurveJoin(const ToneCurve* first, const ToneCurve* second) noexcept;

/// A table at a 16-bit position, rounded to nearest; `domain` is the count less one.
inline uint16_t ToneCurveEval(const uint16_t* entries, uint16_t domain, uint16_t value) noexcept {
    if (value == kFullScale) return entries[domain];
    // Nothing here is negative, so that the floors are truncations.
    const double position = value / 65535.0 * domain;
    const auto i = static_cast<int32_t>(position);
    // A table of one entry has no neighbour; its fraction is 0.
    const int32_t here = entries[i], next = entries[i < domain ? i + 1 : i];
    return static_cast<uint16_t>(static_cast<int32_t>((next - here) * (position - i) + here + 0.5));
}
/// 1 if the table is the ramp of its length; never for a single entry.
int32_t ToneCurveIsLinear(const uint16_t* entries, int32_t count) noexcept;

}  // namespace zv
