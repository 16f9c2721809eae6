// The profile record, its image, and how tags enter it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "Common/IccProfile/bytes.h"
#include "zvicc.h"

namespace zv {

inline constexpr uint32_t kIccHeaderSize = 128;
inline constexpr uint32_t kIccTagCountOffset = 128;
inline constexpr uint32_t kIccTagTableOffset = 132;
inline constexpr uint32_t kIccTagEntrySize = 12;

/// Bytes of an image before its tag data, in 32-bit arithmetic as its fields are.
constexpr uint32_t IccTagDataOffset(int32_t tagCount) noexcept {
    return 4 * (3 * static_cast<uint32_t>(tagCount) + 33);
}

/// Padding behind a tag's body: 1 to 4 bytes, where 4 stands for none.
constexpr uint32_t IccPadding(uint64_t size) noexcept { return static_cast<uint32_t>(4 - size % 4); }
inline constexpr uint32_t kIccNoPadding = 4;

/// Adds a tag at the end of the table and returns where its body goes: entry->size bytes and the padding, all zero.
/// Null when a block could not be grown; tagCount is raised then all the same.
uint8_t* IccInsertTag(ClrIccProfile* profile, const ClrIccTagEntry* entry, uint32_t padding) noexcept;

/// The table ends with tagCount entries or, after a growth that failed, at an earlier entry that no tag can have: of
/// that signature, and larger than any image.
constexpr bool IccEndsTable(const ClrIccTagEntry& entry) noexcept {
    return entry.signature == UINT32_MAX && entry.size == UINT32_MAX;
}
/// Bytes of the table, with the entry that ends it.
constexpr int64_t IccTableBytes(int32_t count) noexcept { return int64_t{kIccTagEntrySize} * (int64_t{count} + 1); }
void IccEndTable(ClrIccTagEntry* table, int32_t count) noexcept;
/// Entries that the table really holds.
int32_t IccTableLength(const ClrIccProfile* profile) noexcept;

inline constexpr int32_t kIccNoTag = -1;
/// Index of the first entry of that signature, or kIccNoTag.
int32_t IccFindTag(const ClrIccProfile* profile, uint32_t tagSignature) noexcept;
/// Whether an entry's body lies in the tag data, and where.
bool IccFindBody(const ClrIccProfile* profile, const ClrIccTagEntry& entry, uint64_t* place) noexcept;

/// Writes the first 100 bytes of an image's header; `image` has 128, and the others are left.
void IccHeaderToImage(uint8_t* image, const ClrIccHeader* header) noexcept;
/// Writes entries and tag count big-endian.
void IccTagTableToImage(uint8_t* table, uint8_t* count, const ClrIccTagEntry* entries, int32_t tagCount) noexcept;

}  // namespace zv
