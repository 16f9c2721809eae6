// A few pixels through one kernel.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "Common/kernels/kernels.h"
#include "zvclr.h"

namespace zv::test {

using Bytes = std::vector<uint8_t>;

/// One packed row through `run(source, destination, width)`.
template <class Run>
Bytes RowThrough(const Run& run, const Bytes& source, int32_t width, size_t destinationBytes) {
    Bytes destination(destinationBytes, 0xCC);
    EXPECT_EQ(CLR_SUCCESS, run(source.data(), destination.data(), width));
    return destination;
}

/// One pixel through a kernel of the common form.
inline Bytes PixelThrough(ClrKernel kernel, const Bytes& source, size_t destinationBytes = 3, int32_t rgbFirst = 1) {
    return RowThrough(
        [&](const uint8_t* s, uint8_t* d, int32_t width) { return kernel(s, d, width, 1, 0, 0, rgbFirst); }, source, 1,
        destinationBytes);
}

/// A two's-complement byte.
constexpr uint8_t Signed(int value) { return static_cast<uint8_t>(value & 0xFF); }

}  // namespace zv::test
