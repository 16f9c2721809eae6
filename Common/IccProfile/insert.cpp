// How tags enter a profile and are found again.
#include "Common/IccProfile/profile.h"

namespace zv {

void IccEndTable(ClrIccTagEntry* table, int32_t count) noexcept { HostFill(table + count, 0xFF, kIccTagEntrySize); }

int32_t IccTableLength(const ClrIccProfile* profile) noexcept {
    if (profile->tagTable == nullptr) return 0;
    int32_t count = 0;
    while (count < profile->tagCount && !IccEndsTable(profile->tagTable[count])) ++count;
    return count;
}

int32_t IccFindTag(const ClrIccProfile* profile, uint32_t tagSignature) noexcept {
    const int32_t length = IccTableLength(profile);
    for (int32_t i = 0; i < length; ++i) {
        if (profile->tagTable[i].signature == tagSignature) return i;
    }
    return kIccNoTag;
}

bool IccFindBody(const ClrIccProfile* profile, const ClrIccTagEntry& entry, uint64_t* place) noexcept {
    *place = entry.offset - IccTagDataOffset(profile->tagCount);
    return profile->tagData != nullptr && IccBytes(profile->tagData, profile->tagDataSize).Has(*place, entry.size);
}

uint8_t* IccInsertTag(ClrIccProfile* profile, const ClrIccTagEntry* entry, uint32_t padding) noexcept {
    // Images may claim negative counts.
    if (profile->tagCount == INT32_MAX) return nullptr;
    const int32_t count = ++profile->tagCount;
    if (count < 1) return nullptr;
    const uint32_t offset = static_cast<uint32_t>(profile->tagDataSize) + IccTagDataOffset(count);
    if (count == 1) {
        profile->tagTable = nullptr;
        profile->tagData = nullptr;
    }
    const int32_t oldLength = IccTableLength(profile);
    auto* table =
        static_cast<ClrIccTagEntry*>(HostRealloc(profile->tagTable, IccTableBytes(count), __LINE__, kIccSource));
    if (table == nullptr) return nullptr;
    profile->tagTable = table;
    // Entries of insertions that failed never came to be.
    HostFill(table + oldLength, 0, static_cast<size_t>(count - oldLength) * kIccTagEntrySize);
    for (int32_t i = 0; i < count - 1; ++i) table[i].offset += kIccTagEntrySize;
    table[count - 1] = {entry->signature, offset, entry->size};
    IccEndTable(table, count);

    const uint64_t oldSize = profile->tagDataSize;
    const uint64_t growth = uint64_t{entry->size} + (padding == kIccNoPadding ? 0 : padding);
    const bool fresh = profile->tagData == nullptr;
    auto* data = static_cast<uint8_t*>(
        HostRealloc(profile->tagData, static_cast<int64_t>(oldSize + growth), __LINE__, kIccSource));
    if (data == nullptr) return nullptr;
    profile->tagData = data;
    // After the deletion of a last tag its size still counts, and nothing stands there.
    if (fresh) HostFill(data, 0, oldSize);
    HostFill(data + oldSize, 0, growth);
    profile->tagDataSize = oldSize + growth;
    profile->header->size += static_cast<uint32_t>(growth + kIccTagEntrySize);
    return data + oldSize;
}

}  // namespace zv
