// Sizes of the caller's buffer regions and the probes of them.
#pragma once

#include <cstdint>

#include "host/platform.h"

namespace zv {

/// A padding below 1 counts as none.
constexpr int32_t ClampExtra(int32_t rowExtra) noexcept { return rowExtra < 1 ? 0 : rowExtra; }

/// A region's size as the true 64-bit number. The interface's sizes are signed 32-bit products: a size that does not
/// fit there belongs to no region, and its probe fails.
class RegionSize {
public:
    constexpr RegionSize(int64_t bytes) noexcept : bytes_(bytes) {}  // NOLINT: numbers are sizes
    static constexpr RegionSize None() noexcept { return RegionSize(INT64_MAX); }

    constexpr bool Fits() const noexcept { return bytes_ >= INT32_MIN && bytes_ <= INT32_MAX; }
    constexpr int64_t Bytes() const noexcept { return bytes_; }

    /// Of a number of bits, rounded up.
    constexpr RegionSize BitsToBytes() const noexcept {
        if (bytes_ == INT64_MAX) return None();
        return RegionSize(bytes_ > 0 ? (bytes_ - 1) / 8 + 1 : bytes_ / 8);
    }

    friend constexpr RegionSize operator+(RegionSize a, RegionSize b) noexcept {
        int64_t sum = 0;
        return __builtin_add_overflow(a.bytes_, b.bytes_, &sum) ? None() : RegionSize(sum);
    }
    friend constexpr RegionSize operator*(RegionSize a, RegionSize b) noexcept {
        int64_t product = 0;
        return __builtin_mul_overflow(a.bytes_, b.bytes_, &product) ? None() : RegionSize(product);
    }

private:
    int64_t bytes_;
};

/// Bytes from the starts of a call's two images that are known to be reachable. What an outer layer has probed, an
/// inner one does not probe again.
struct ClrReach {
    int64_t readable = 0;
    int64_t writable = 0;

    /// With what two more probes have found.
    constexpr ClrReach With(RegionSize source, RegionSize destination) const noexcept {
        return {source.Bytes() > readable ? source.Bytes() : readable,
                destination.Bytes() > writable ? destination.Bytes() : writable};
    }
};

/// Whether two regions have no byte in common.
inline bool AreApart(const void* a, RegionSize aSize, const void* b, RegionSize bSize) noexcept {
    const auto first = reinterpret_cast<uintptr_t>(a), second = reinterpret_cast<uintptr_t>(b);
    return first + static_cast<uintptr_t>(aSize.Bytes()) <= second ||
           second + static_cast<uintptr_t>(bSize.Bytes()) <= first;
}

/// An empty region can always be read and written: nothing in it will be touched. Only what lies behind the `known`
/// bytes is probed.
inline bool CanRead(const void* address, RegionSize size, int64_t known = 0) noexcept {
    if (!size.Fits()) return false;
    return size.Bytes() <= known ||
           ZvCanLoad(static_cast<const uint8_t*>(address) + known, static_cast<size_t>(size.Bytes() - known));
}

inline bool CanWrite(void* address, RegionSize size, int64_t known = 0) noexcept {
    if (!size.Fits()) return false;
    return size.Bytes() <= known ||
           !IsBadWritePtr(static_cast<uint8_t*>(address) + known, static_cast<size_t>(size.Bytes() - known));
}

}  // namespace zv
