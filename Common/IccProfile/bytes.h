// Bytes of profile images: bounds, byte order, copies into blocks of the library.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "host/host.h"
#include "zvicc.h"

namespace zv {

inline constexpr ZvChar kIccSource[] = ZV_WIDE("Common\\IccProfile");

/// "wtpt" as a number.
constexpr uint32_t IccSignature(const char (&letters)[5]) noexcept {
    uint32_t signature = 0;
    for (int i = 0; i < 4; ++i) signature = signature << 8 | static_cast<uint8_t>(letters[i]);
    return signature;
}

template <class T>
constexpr T IccSwap(T value) noexcept {
    static_assert(std::endian::native == std::endian::little);
    if constexpr (sizeof(T) == 2) return static_cast<T>(__builtin_bswap16(value));
    if constexpr (sizeof(T) == 4) return __builtin_bswap32(value);
    if constexpr (sizeof(T) == 8) return __builtin_bswap64(value);
    return value;
}

/// A number in the order of the host at any address.
template <class T>
T IccLoad(const void* bytes) noexcept {
    T value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

inline uint16_t IccReadU16(const void* bytes) noexcept { return IccSwap(IccLoad<uint16_t>(bytes)); }
inline uint32_t IccReadU32(const void* bytes) noexcept { return IccSwap(IccLoad<uint32_t>(bytes)); }

/// `count` numbers with their bytes reversed, from image to host or back; the two may be one place.
template <class T>
void IccSwapCopy(void* destination, const void* source, uint64_t count) noexcept {
    auto* to = static_cast<uint8_t*>(destination);
    const auto* from = static_cast<const uint8_t*>(source);
    for (uint64_t i = 0; i < count; ++i) {
        const T value = IccSwap(IccLoad<T>(from + i * sizeof(T)));
        std::memcpy(to + i * sizeof(T), &value, sizeof value);
    }
}

/// Reserved bytes are kept as the number that they would be.
inline void IccReverseCopy(uint8_t* destination, const uint8_t* source, size_t count) noexcept {
    for (size_t i = 0; i < count; ++i) destination[i] = source[count - 1 - i];
}

constexpr uint64_t IccRoundUp4(uint64_t size) noexcept { return (size + 3) & ~uint64_t{3}; }

/// A piece of an image: where it begins and what is left of it.
class IccBytes {
public:
    constexpr IccBytes(const uint8_t* data, uint64_t size) noexcept : data_(data), size_(size) {}

    constexpr uint64_t Size() const noexcept { return size_; }
    constexpr bool Has(uint64_t offset, uint64_t count) const noexcept {
        return offset <= size_ && count <= size_ - offset;
    }
    /// Only where Has() holds.
    constexpr const uint8_t* At(uint64_t offset) const noexcept { return data_ + offset; }
    /// What lies behind `offset`; nothing if it is past the end.
    constexpr IccBytes From(uint64_t offset) const noexcept {
        return offset <= size_ ? IccBytes(data_ + offset, size_ - offset) : IccBytes(data_, 0);
    }

private:
    const uint8_t* data_;
    uint64_t size_;
};

/// Whether a caller's array can be read. Nothing is touched of an empty one.
inline bool IccReadable(const void* array, uint64_t size) noexcept {
    return size == 0 || (array != nullptr && !IsBadReadPtr(array, size));
}

inline void* IccAlloc(uint64_t size, uint64_t count, int32_t line) noexcept {
    return HostAlloc(static_cast<int64_t>(size), static_cast<int64_t>(count), line, kIccSource);
}

inline void* IccAllocZeroed(uint64_t size, uint64_t count, int32_t line) noexcept {
    void* block = IccAlloc(size, count, line);
    if (block != nullptr) HostFill(block, 0, size * count);
    return block;
}

/// A new block with a copy of `count` elements; null without memory.
template <class T>
T* IccNewCopy(const void* source, uint64_t count, int32_t line) noexcept {
    void* block = IccAlloc(sizeof(T), count, line);
    if (block != nullptr && count != 0) HostCopy(block, source, sizeof(T) * count);
    return static_cast<T*>(block);
}

/// The same with the bytes of each number reversed.
template <class T>
T* IccNewSwapped(const void* source, uint64_t count, int32_t line) noexcept {
    void* block = IccAlloc(sizeof(T), count, line);
    if (block != nullptr) IccSwapCopy<T>(block, source, count);
    return static_cast<T*>(block);
}

/// Releases what a record's pointer holds; the caller clears it.
inline void IccRelease(void* block, int32_t line) noexcept {
    if (block != nullptr) HostFree(block, line, kIccSource);
}

}  // namespace zv
