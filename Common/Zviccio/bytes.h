// Big-endian numbers of a profile.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#include "Common/Zvgamma/fixed_point.h"

namespace zv {

constexpr uint16_t BigEndian16(const uint8_t* bytes) noexcept {
    return static_cast<uint16_t>(uint32_t{bytes[0]} << 8 | bytes[1]);
}

constexpr uint32_t BigEndian32(const uint8_t* bytes) noexcept {
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

constexpr double S15Fixed16(const uint8_t* bytes) noexcept {
    return static_cast<int32_t>(BigEndian32(bytes)) / kFixedOne;
}

/// Words as a profile has them into the host's order, in place.
inline void SwapWords(uint16_t* words, size_t count) noexcept {
    static_assert(std::endian::native == std::endian::little);
    for (size_t i = 0; i < count; ++i) words[i] = static_cast<uint16_t>(words[i] << 8 | words[i] >> 8);
}

}  // namespace zv
