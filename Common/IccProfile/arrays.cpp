// Types that are a plain list: numbers, points, bytes of unknown types, colorants.
#include "Common/IccProfile/tag_types.h"

static_assert(sizeof(ClrIccTagArray) == 20 && offsetof(ClrIccTagArray, values) == 8);
static_assert(offsetof(ClrIccTagArray, count) == 16);
static_assert(offsetof(ClrIccTagColorantOrder, count) == 8 && offsetof(ClrIccTagColorantTable, count) == 8);
static_assert(sizeof(ClrIccTagColorantOrder) == 20 && offsetof(ClrIccTagColorantOrder, order) == 12);
static_assert(sizeof(ClrIccTagColorantTable) == 20 && offsetof(ClrIccTagColorantTable, entries) == 12);
static_assert(sizeof(ClrIccColorantEntry) == 38 && offsetof(ClrIccColorantEntry, pcs) == 32);

namespace zv {

namespace {

constexpr uint64_t kCountedListOffset = 12;

/// `words` numbers of type Word make an element.
template <class Word, uint32_t words>
int32_t ReadArray(IccBytes body, void* record) noexcept {
    auto* array = static_cast<ClrIccTagArray*>(record);
    const uint64_t count = (body.Size() - kIccTagHead) / (sizeof(Word) * words);
    array->values = IccNewSwapped<Word>(body.At(kIccTagHead), count * words, __LINE__);
    if (array->values == nullptr) return ERR_FAILURE;
    array->count = static_cast<uint32_t>(count);
    return CLR_SUCCESS;
}

template <class Word, uint32_t words>
int32_t MakeArray(void* image, void* host) noexcept {
    auto* array = static_cast<ClrIccTagArray*>(image);
    const auto* from = static_cast<const ClrIccTagArray*>(host);
    const uint64_t numbers = uint64_t{from->count} * words;
    if (!IccReadable(from->values, numbers * sizeof(Word))) return ERR_INVALID_PARAMETER;
    array->values = IccNewSwapped<Word>(from->values, numbers, __LINE__);
    if (array->values == nullptr) return ERR_FAILURE;
    array->count = from->count;
    return CLR_SUCCESS;
}

int32_t WriteArray(ClrIccProfile* profile, const void* image, uint32_t tagSignature, uint32_t elementSize,
                   bool padded) noexcept {
    const auto* array = static_cast<const ClrIccTagArray*>(image);
    const uint64_t bytes = uint64_t{array->count} * elementSize;
    IccBody body(profile, tagSignature, kIccTagHead + bytes, padded);
    body.Put(0, array, kIccTagHead);
    body.Put(kIccTagHead, array->values, bytes);
    return body.Result();
}

void SwapColorants(ClrIccColorantEntry* entries, uint32_t count) noexcept {
    for (uint32_t i = 0; i < count; ++i) IccSwapCopy<uint16_t>(entries[i].pcs, entries[i].pcs, 3);
}

}  // namespace

int32_t IccReadBytes(IccBytes body, void* record) noexcept { return ReadArray<uint8_t, 1>(body, record); }
int32_t IccMakeBytes(void* image, void* host) noexcept { return MakeArray<uint8_t, 1>(image, host); }
int32_t IccWriteBytes(ClrIccProfile* profile, const void* image, uint32_t tagSignature) noexcept {
    return WriteArray(profile, image, tagSignature, 1, true);
}
void IccFreeBytes(void* record) noexcept {
    auto* array = static_cast<ClrIccTagArray*>(record);
    IccRelease(array->values, __LINE__);
    array->values = nullptr;
}

int32_t IccReadWords16(IccBytes body, void* record) noexcept { return ReadArray<uint16_t, 1>(body, record); }
int32_t IccMakeWords16(void* image, void* host) noexcept { return MakeArray<uint16_t, 1>(image, host); }
int32_t IccWriteWords16(ClrIccProfile* profile, const void* image, uint32_t tagSignature) noexcept {
    return WriteArray(profile, image, tagSignature, 2, true);
}
void IccFreeWords16(void* record) noexcept { IccFreeBytes(record); }

int32_t IccReadWords32(IccBytes body, void* record) noexcept { return ReadArray<uint32_t, 1>(body, record); }
int32_t IccMakeWords32(void* image, void* host) noexcept { return MakeArray<uint32_t, 1>(image, host); }
int32_t IccWriteWords32(ClrIccProfile* profile, const void* image, uint32_t tagSignature) noexcept {
    return WriteArray(profile, image, tagSignature, 4, false);
}
void IccFreeWords32(void* record) noexcept { IccFreeBytes(record); }

int32_t IccReadWords64(IccBytes body, void* record) noexcept {
    const int32_t result = ReadArray<uint64_t, 1>(body, record);
    if (result != CLR_SUCCESS) return result;
    // Callers know the lower halves only, and take the numbers for ones of 32 bits.
    const auto* array = static_cast<const ClrIccTagArray*>(record);
    auto* values = static_cast<uint64_t*>(array->values);
    for (uint32_t i = 0; i < array->count; ++i) values[i] = static_cast<uint32_t>(values[i]);
    return CLR_SUCCESS;
}
int32_t IccMakeWords64(void* image, void* host) noexcept { return MakeArray<uint64_t, 1>(image, host); }
int32_t IccWriteWords64(ClrIccProfile* profile, const void* image, uint32_t tagSignature) noexcept {
    return WriteArray(profile, image, tagSignature, 8, false);
}
void IccFreeWords64(void* record) noexcept { IccFreeBytes(record); }

int32_t IccReadXyz(IccBytes body, void* record) noexcept { return ReadArray<uint32_t, 3>(body, record); }
int32_t IccMakeXyz(void* image, void* host) noexcept { return MakeArray<uint32_t, 3>(image, host); }
int32_t IccWriteXyz(ClrIccProfile* profile, const void* image, uint32_t tagSignature) noexcept {
    return WriteArray(profile, image, tagSignature, 12, false);
}
void IccFreeXyz(void* record) noexcept { IccFreeBytes(record); }

int32_t IccReadColorantOrder(IccBytes body, void* record) noexcept {
    auto* order = static_cast<ClrIccTagColorantOrder*>(record);
    if (!body.Has(0, kCountedListOffset)) return ERR_INVALID_PARAMETER;
    const uint32_t count = IccReadU32(body.At(8));
    if (!body.Has(kCountedListOffset, count)) return ERR_INVALID_PARAMETER;
    order->count = count;
    order->order = IccNewCopy<uint8_t>(body.At(kCountedListOffset), count, __LINE__);
    return order->order != nullptr ? CLR_SUCCESS : ERR_FAILURE;
}
int32_t IccMakeColorantOrder(void* image, void* host) noexcept {
    auto* order = static_cast<ClrIccTagColorantOrder*>(image);
    const auto* from = static_cast<const ClrIccTagColorantOrder*>(host);
    if (!IccReadable(from->order, from->count)) return ERR_INVALID_PARAMETER;
    order->count = IccSwap(from->count);
    order->order = IccNewCopy<uint8_t>(from->order, from->count, __LINE__);
    return order->order != nullptr ? CLR_SUCCESS : ERR_FAILURE;
}
int32_t IccWriteColorantOrder(ClrIccProfile* profile, const void* image, uint32_t tagSignature) noexcept {
    const auto* order = static_cast<const ClrIccTagColorantOrder*>(image);
    const uint32_t count = IccSwap(order->count);
    IccBody body(profile, tagSignature, kCountedListOffset + count, true);
    body.Put(0, order, kCountedListOffset);
    body.Put(kCountedListOffset, order->order, count);
    return body.Result();
}
void IccFreeColorantOrder(void* record) noexcept {
    auto* order = static_cast<ClrIccTagColorantOrder*>(record);
    IccRelease(order->order, __LINE__);
    order->order = nullptr;
}

int32_t IccReadColorantTable(IccBytes body, void* record) noexcept {
    auto* table = static_cast<ClrIccTagColorantTable*>(record);
    if (!body.Has(0, kCountedListOffset)) return ERR_INVALID_PARAMETER;
    const uint32_t count = IccReadU32(body.At(8));
    if (!body.Has(kCountedListOffset, sizeof(ClrIccColorantEntry) * uint64_t{count})) return ERR_INVALID_PARAMETER;
    table->count = count;
    table->entries = IccNewCopy<ClrIccColorantEntry>(body.At(kCountedListOffset), count, __LINE__);
    if (table->entries == nullptr) return ERR_FAILURE;
    SwapColorants(table->entries, count);
    return CLR_SUCCESS;
}
int32_t IccMakeColorantTable(void* image, void* host) noexcept {
    auto* table = static_cast<ClrIccTagColorantTable*>(image);
    const auto* from = static_cast<const ClrIccTagColorantTable*>(host);
    if (!IccReadable(from->entries, sizeof(ClrIccColorantEntry) * uint64_t{from->count})) return ERR_INVALID_PARAMETER;
    table->count = IccSwap(from->count);
    table->entries = IccNewCopy<ClrIccColorantEntry>(from->entries, from->count, __LINE__);
    if (table->entries == nullptr) return ERR_FAILURE;
    SwapColorants(table->entries, from->count);
    return CLR_SUCCESS;
}
int32_t IccWriteColorantTable(ClrIccProfile* profile, const void* image, uint32_t tagSignature) noexcept {
    const auto* table = static_cast<const ClrIccTagColorantTable*>(image);
    const uint64_t bytes = sizeof(ClrIccColorantEntry) * uint64_t{IccSwap(table->count)};
    IccBody body(profile, tagSignature, kCountedListOffset + bytes, true);
    body.Put(0, table, kCountedListOffset);
    body.Put(kCountedListOffset, table->entries, bytes);
    return body.Result();
}
void IccFreeColorantTable(void* record) noexcept {
    auto* table = static_cast<ClrIccTagColorantTable*>(record);
    IccRelease(table->entries, __LINE__);
    table->entries = nullptr;
}

}  // namespace zv
