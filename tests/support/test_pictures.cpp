#include "tests/support/test_pictures.h"

namespace zv::test {

std::vector<uint8_t> RandomBytes(size_t count, uint32_t seed) {
    std::vector<uint8_t> bytes(count);
    uint32_t state = seed * 2654435761U + 1U;
    for (uint8_t& byte : bytes) {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        byte = static_cast<uint8_t>(state >> 11);
    }
    return bytes;
}

void Hash::Add(std::span<const uint8_t> bytes) noexcept {
    for (const uint8_t byte : bytes) value_ = (value_ ^ byte) * 0x100000001B3ULL;
}

}  // namespace zv::test
