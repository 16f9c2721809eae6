// The tables of runs with 8-bit channels.
#pragma once

#include "Common/Zvtrans/byte_rows.h"
#include "Common/Zvtrans/transform.h"

namespace zv {

/// Null for formats or a grid that have no such rows, and without memory: the general loop serves then.
CmmByteTables* CmmMakeByteTables(const CmmTransform& transform) noexcept;
void CmmFreeByteTables(CmmByteTables* tables) noexcept;

/// Runs the pixels, or returns false where the tables are not of what the transform has now, and for buffers that
/// overlap so that a pixel is overwritten before it is read.
bool CmmRunGridByBytes(const CmmTransform& transform, const void* input, void* output, uint32_t pixels) noexcept;
bool CmmRunShaperByBytes(const CmmTransform& transform, const void* input, void* output, uint32_t pixels) noexcept;

}  // namespace zv
