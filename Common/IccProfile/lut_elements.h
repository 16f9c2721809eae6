// Elements of "mAB " and "mBA " tags: grid, matrix, runs of curves.
#pragma once

#include <cstdint>

#include "Common/IccProfile/bytes.h"
#include "zvicc.h"

namespace zv {

// --- Grid -----------------------------------------------------------------------------------------------------------

inline constexpr uint64_t kIccClutHead = 20;
/// Bounds sizes of grids, so that what is added to them cannot overflow.
inline constexpr uint64_t kIccTooLarge = uint64_t{1} << 40;
/// Bytes of the values of a grid.
uint64_t IccClutValueBytes(const uint8_t* block, uint8_t inputChannels, uint8_t outputChannels) noexcept;
/// Bytes of a grid, padding included, by its head of 20 bytes. No block has as many as come back when there are more
/// than 16 input channels or the number does not fit.
uint64_t IccClutSize(const uint8_t* block, uint8_t inputChannels, uint8_t outputChannels) noexcept;
/// From a body to host order. `destination` has IccClutSize bytes; null only looks whether the grid is whole.
int32_t IccClutFromImage(uint8_t* destination, IccBytes block, uint8_t inputChannels, uint8_t outputChannels) noexcept;
/// From the caller's record, whose 16-bit values are swapped in place, to image order.
int32_t IccClutToImage(uint8_t* destination, ClrIccClut* clut, uint8_t inputChannels, uint8_t outputChannels) noexcept;

// --- Matrix ---------------------------------------------------------------------------------------------------------

/// Swaps the 12 words in place and copies them.
int32_t IccMatrixToImage(uint8_t* destination, void* matrix) noexcept;

// --- Curves ---------------------------------------------------------------------------------------------------------

enum class IccCurveKind { kA = 1, kB = 2, kM = 3 };
/// Makes room behind the first `length` bytes of allData; null without memory.
uint8_t* IccGrowAllData(ClrIccTagLutAToB* record, int64_t length, uint64_t count) noexcept;
/// Reads `count` curves, appends them to allData, which has `length` bytes, and keeps the run as curves of that kind.
/// The new length, or a negative code.
int64_t IccReadCurveSet(ClrIccTagLutAToB* record, int64_t length, IccBytes bytes, uint32_t count,
                        IccCurveKind kind) noexcept;
/// Writes a run of the caller's curve records, which stand in steps of 16 bytes.
int32_t IccWriteCurveSet(uint8_t* destination, const uint8_t* records, uint32_t count) noexcept;
/// Bytes of a run of image bytes by IccParametricSize; 0 of none. False when the walk leaves the run.
bool IccCurveSetSize(IccBytes run, uint32_t count, bool bigEndian, uint64_t* size) noexcept;
/// Whether records and what they point to can be read, and fit into their elements. Records that do not stand in the
/// steps of a run are found by pointers that lead nowhere.
bool IccIsRun(const void* records, uint32_t count) noexcept;
/// Bytes of a run of such records in image form.
uint64_t IccRunSize(const void* records, uint32_t count) noexcept;
/// A run of curves in image bytes, by what each element really takes. Only for runs that are known to be whole.
uint64_t IccWrittenRunSize(const uint8_t* run, uint32_t count) noexcept;

}  // namespace zv
