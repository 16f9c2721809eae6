// Pixels for tests, and hashes of results.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace zv::test {

/// Bytes that look random and are the same on every system.
std::vector<uint8_t> RandomBytes(size_t count, uint32_t seed);

/// 64-bit FNV-1a.
class Hash {
public:
    void Add(std::span<const uint8_t> bytes) noexcept;
    uint64_t Value() const noexcept { return value_; }

private:
    uint64_t value_ = 0xCBF29CE484222325ULL;
};

}  // namespace zv::test
