// Reading, adding and removing tags.
#include "Common/IccProfile/profile.h"
#include "Common/IccProfile/tag_types.h"
#include "host/memory.h"

namespace zv {

namespace {

/// What is unknown makes a result a warning: the work is done.
int32_t Warning(bool tagKnown, bool typeKnown) noexcept {
    if (tagKnown) return typeKnown ? CLR_SUCCESS : ERR_UNKNOWN_TAG_TYPE;
    return typeKnown ? ERR_UNKNOWN_TAG : ERR_UNKNOWN_TAG_AND_TYPE;
}

bool TypeIsKnown(uint32_t typeSignature) noexcept { return IccFindTagType(typeSignature) != nullptr; }
bool TagIsKnown(uint32_t tagSignature) noexcept { return IccIsKnownTag(tagSignature) == 0; }

/// Cuts a body out of the tag data, and moves what lies behind it down. Padding stays.
int32_t CutBody(ClrIccProfile* profile, uint64_t place, uint32_t size) noexcept {
    const uint64_t behind = profile->tagDataSize - place - size;
    profile->tagDataSize -= size;
    profile->header->size -= kIccTagEntrySize + size;
    if (behind != 0) {
        const HostBlock<uint8_t> scratch(static_cast<int64_t>(behind), __LINE__, kIccSource);
        if (!scratch) return ERR_FAILURE;
        HostCopy(scratch.Data(), profile->tagData + place + size, behind);
        HostCopy(profile->tagData + place, scratch.Data(), behind);
    }
    auto* data = static_cast<uint8_t*>(
        HostRealloc(profile->tagData, static_cast<int64_t>(profile->tagDataSize), __LINE__, kIccSource));
    if (data == nullptr) return ERR_FAILURE;
    profile->tagData = data;
    return CLR_SUCCESS;
}

/// Takes an entry out, and its body. Shared bodies go for all.
int32_t RemoveEntry(ClrIccProfile* profile, int32_t index, uint64_t place) noexcept {
    const ClrIccTagEntry removed = profile->tagTable[index];
    const int32_t length = IccTableLength(profile);
    const int32_t left = --profile->tagCount;
    if (left == 0) {
        IccRelease(profile->tagTable, __LINE__);
        IccRelease(profile->tagData, __LINE__);
        return CLR_SUCCESS;
    }
    // With the table's end.
    HostMove(&profile->tagTable[index], &profile->tagTable[index + 1],
             static_cast<size_t>(length - index) * kIccTagEntrySize);
    auto* table =
        static_cast<ClrIccTagEntry*>(HostRealloc(profile->tagTable, IccTableBytes(left), __LINE__, kIccSource));
    if (table == nullptr) return ERR_FAILURE;
    profile->tagTable = table;
    const int32_t result = CutBody(profile, place, removed.size);
    if (result != CLR_SUCCESS) return result;
    for (int32_t i = 0; i < length - 1; ++i) {
        table[i].offset -= kIccTagEntrySize + (table[i].offset < removed.offset ? 0 : removed.size);
    }
    return CLR_SUCCESS;
}

}  // namespace

}  // namespace zv

using namespace zv;

int32_t Zv_GetICCTagData(const ClrIccProfile* profile, void* record, uint32_t tagSignature) {
    if (profile == nullptr || record == nullptr) return ERR_INVALID_PARAMETER;
    const int32_t index = IccFindTag(profile, tagSignature);
    uint64_t place = 0;
    if (index == kIccNoTag || !IccFindBody(profile, profile->tagTable[index], &place)) return ERR_BAD_TAG;
    const IccBytes body(profile->tagData + place, profile->tagTable[index].size);
    if (!body.Has(0, sizeof(uint32_t))) return ERR_BAD_TAG;
    const uint32_t typeSignature = IccReadU32(body.At(0));
    const int32_t result = IccReadTag(IccTagTypeOf(typeSignature), body, record);
    if (result != CLR_SUCCESS) return result;
    return Warning(TagIsKnown(tagSignature), TypeIsKnown(typeSignature));
}

int32_t Zv_SetICCTagData(ClrIccProfile* profile, void* record, uint32_t tagSignature, uint32_t typeSignature) {
    if (profile == nullptr || record == nullptr || profile->header == nullptr) return ERR_INVALID_PARAMETER;
    const IccTagType& type = IccTagTypeOf(typeSignature);
    ClrIccTagRecord image;
    int32_t result = IccMakeTag(type, typeSignature, &image, record);
    if (result == CLR_SUCCESS) result = type.write(profile, &image, tagSignature);
    type.release(&image);
    if (result != CLR_SUCCESS) return result;
    return Warning(TagIsKnown(tagSignature), TypeIsKnown(typeSignature));
}

int32_t Zv_CreateICCTagData(void* imageRecord, void* record, uint32_t typeSignature) {
    if (imageRecord == nullptr || record == nullptr) return ERR_INVALID_PARAMETER;
    const IccTagType& type = IccTagTypeOf(typeSignature);
    // This one type is expected here without a head.
    ClrIccTagChromaticity headed = {};
    if (typeSignature == IccSignature("chrm")) {
        constexpr size_t kHead = offsetof(ClrIccTagChromaticity, channels);
        HostCopy(reinterpret_cast<uint8_t*>(&headed) + kHead, record, sizeof headed - kHead);
        record = &headed;
    }
    const int32_t result = IccMakeTag(type, typeSignature, imageRecord, record);
    if (result != CLR_SUCCESS) return result;
    return Warning(true, TypeIsKnown(typeSignature));
}

int32_t Zv_DeleteICCTag(ClrIccProfile* profile, uint32_t tagSignature, void* record) {
    if (profile == nullptr || profile->tagCount == 0 || profile->header == nullptr) return ERR_INVALID_PARAMETER;
    const int32_t index = IccFindTag(profile, tagSignature);
    uint64_t place = 0;
    if (index == kIccNoTag || !IccFindBody(profile, profile->tagTable[index], &place)) return ERR_BAD_TAG;
    if (record != nullptr) {
        const int32_t result = Zv_GetICCTagData(profile, record, tagSignature);
        if (result != CLR_SUCCESS) return result;
    }
    const int32_t result = RemoveEntry(profile, index, place);
    if (result != CLR_SUCCESS) return result;
    return Zv_SetICCProfileId(profile);
}

void Zv_FreeICCTagType(void* record, uint32_t typeSignature) {
    if (record != nullptr) IccTagTypeOf(typeSignature).release(record);
}
