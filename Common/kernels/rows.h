// Rows of pixels: what the frame of a kernel calls, and what each instruction set has a variant of.
#pragma once

#include <cstdint>

#include "Common/kernels/isa.h"

namespace zv {

/// One row, without any check. The context is what the codec needs beside the pixels.
using ClrRow = void (*)(const uint8_t* source, uint8_t* destination, int32_t width, const void* context) noexcept;

/// A codec's rows; the second of each serves the hub with red first.
struct ClrHubRows {
    ClrRow fromHub[2];
    ClrRow toHub[2];
};

struct LumaChromaRowTable {
    ClrHubRows yuv;
    ClrHubRows yiq;
    ClrHubRows ycbcr;
};

}  // namespace zv

ZV_ISA_TABLE(LumaChromaRowTable, LumaChromaRows)
