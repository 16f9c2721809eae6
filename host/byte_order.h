// Numbers of image files, in the byte order of the format or in one that the file tells.
#pragma once

#include <cstdint>

namespace zvhost {

class ByteOrder {
public:
    constexpr ByteOrder() noexcept = default;
    static constexpr ByteOrder Big() noexcept { return ByteOrder(true); }
    explicit constexpr ByteOrder(bool big) noexcept : big_(big) {}

    constexpr uint64_t Get(const uint8_t* bytes, uint32_t size) const noexcept {
        uint64_t value = 0;
        for (uint32_t i = 0; i < size; ++i) value = value << 8 | bytes[big_ ? i : size - 1 - i];
        return value;
    }
    constexpr uint16_t U16(const uint8_t* bytes) const noexcept { return static_cast<uint16_t>(Get(bytes, 2)); }
    constexpr uint32_t U32(const uint8_t* bytes) const noexcept { return static_cast<uint32_t>(Get(bytes, 4)); }
    /// The lowest `size` bytes.
    constexpr void Put(uint8_t* bytes, uint64_t value, uint32_t size) const noexcept {
        for (uint32_t i = 0; i < size; ++i) {
            bytes[big_ ? size - 1 - i : i] = static_cast<uint8_t>(value);
            value >>= 8;
        }
    }

private:
    bool big_ = false;
};

}  // namespace zvhost
