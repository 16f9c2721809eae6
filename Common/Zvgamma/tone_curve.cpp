#include "Common/Zvgamma/tone_curve.h"

#include <cmath>

#include "Common/Zvgamma/fixed_point.h"
#include "host/host.h"

namespace zv {

namespace {

constexpr ZvChar kSource[] = ZV_WIDE("Common\\Zvgamma");

bool IsReadable(const ToneCurve* curve) noexcept {
    if (curve == nullptr || IsBadReadPtr(curve, sizeof *curve) || curve->count < 1) return false;
    return !IsBadReadPtr(curve->Entries(), static_cast<size_t>(curve->count) * sizeof(uint16_t));
}

uint16_t DomainOf(const ToneCurve& curve) noexcept { return LowWord(curve.count - 1); }

/// The byte in both halves.
constexpr uint16_t Repeated(int32_t byte) noexcept { return static_cast<uint16_t>(byte * 257); }

/// Looks for the input at which a rising curve has the target. What comes back is the last middle of the search, which
/// lies one above the input that was tried with it.
uint16_t Bisect(const ToneCurve& curve, uint16_t target) noexcept {
    int32_t high = 65536, low = 1, mid = 0;
    do {
        mid = (high + low) / 2;
        const int32_t test = mid - 1;
        const uint16_t y = ToneCurveEval(curve.Entries(), DomainOf(curve), static_cast<uint16_t>(test));
        if (y == target) break;
        if (y > target) {
            high = test;
        } else {
            low = mid + 1;
        }
    } while (high > low);
    return LowWord(mid);
}

}  // namespace

ToneCurve* ToneCurveAlloc(int32_t count) noexcept {
    if (count < 1) return nullptr;
    const int64_t bytes = int64_t{sizeof(ToneCurve)} + int64_t{count} * int64_t{sizeof(uint16_t)};
    auto* curve = static_cast<ToneCurve*>(HostAllocZeroed(bytes, 1, __LINE__, kSource));
    if (curve != nullptr) curve->count = count;
    return curve;
}

void ToneCurveFree(ToneCurve* curve) noexcept {
    if (curve != nullptr) HostFree(curve, __LINE__, kSource);
}

ToneCurve* ToneCurveBuildGamma(double gamma) noexcept {
    ToneCurve* curve = ToneCurveAlloc(kMadeCurveEntries);
    if (curve == nullptr || gamma == 0.0) return curve;
    for (int32_t i = 0; i < kMadeCurveEntries; ++i) {
        const double input = i / 255.0;
        // The power of 1 is taken as what it is: some systems' pow misses it by a last place, and a whole step is lost.
        const double output = gamma == 1.0 ? input : std::pow(input, gamma);
        // No half is added here, unlike everywhere else, so that middle values lie up to a step low.
        curve->Entries()[i] = LowWord(TruncateClamped(std::floor(output * 65535.0)));
    }
    return curve;
}

ToneCurve* ToneCurveDuplicate(const ToneCurve* curve) noexcept {
    if (!IsReadable(curve)) return nullptr;
    ToneCurve* copy = ToneCurveAlloc(curve->count);
    if (copy != nullptr) {
        HostCopy(copy->Entries(), curve->Entries(), static_cast<size_t>(curve->count) * sizeof(uint16_t));
    }
    return copy;
}

ToneCurve* ToneCurveScale(const ToneCurve* curve, int32_t factor) noexcept {
    if (!IsReadable(curve)) return nullptr;
    ToneCurve* scaled = ToneCurveAlloc(curve->count);
    if (scaled == nullptr) return nullptr;
    const double scale = factor * kFixedUnit;
    for (int32_t i = 0; i < curve->count; ++i) {
        scaled->Entries()[i] = LowWord(TruncateClamped(curve->Entries()[i] * scale));
    }
    return scaled;
}

ToneCurve* ToneCurveInvert(const ToneCurve* curve) noexcept {
    if (!IsReadable(curve)) return nullptr;
    ToneCurve* inverse = ToneCurveAlloc(kMadeCurveEntries);
    if (inverse == nullptr) return nullptr;
    for (int32_t i = 0; i < kMadeCurveEntries; ++i) inverse->Entries()[i] = Bisect(*curve, Repeated(i));
    return inverse;
}

ToneCurve* ToneCurveJoin(const ToneCurve* first, const ToneCurve* second) noexcept {
    if (!IsReadable(first) || !IsReadable(second)) return nullptr;
    ToneCurve* joined = ToneCurveAlloc(kMadeCurveEntries);
    if (joined == nullptr) return nullptr;
    for (int32_t i = 0; i < kMadeCurveEntries; ++i) {
        const uint16_t reached = ToneCurveEval(first->Entries(), DomainOf(*first), Repeated(i));
        joined->Entries()[i] = Bisect(*second, reached);
    }
    return joined;
}

int32_t ToneCurveIsLinear(const uint16_t* entries, int32_t count) noexcept {
    for (int32_t i = 0; i < count; ++i) {
        // Of a single entry the ideal value is no number, which no entry equals.
        if (entries[i] != std::floor(i / (count - 1.0) * 65535.0 + 0.5)) return 0;
    }
    return 1;
}

}  // namespace zv
