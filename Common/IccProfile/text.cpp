// "text" and "data".
#include <algorithm>

#include "Common/IccProfile/tag_types.h"

static_assert(sizeof(ClrIccTagText) == 16 && offsetof(ClrIccTagText, text) == 8);
static_assert(sizeof(ClrIccTagData) == 24 && offsetof(ClrIccTagData, dataFlag) == 8);
static_assert(offsetof(ClrIccTagData, bytes) == 12 && offsetof(ClrIccTagData, byteCount) == 20);

namespace zv {

namespace {

constexpr uint64_t kUnit = 2;
/// Behind a read text, wherever its last unit begins.
constexpr uint64_t kTextEnd = 3;
constexpr uint64_t kMostUnits = 0x3FFFFFFF;
constexpr uintptr_t kPageSize = 4096;

/// 16-bit units before the first zero. False when memory or patience ends before it.
bool CountUnits(const void* text, uint64_t* count) noexcept {
    uint8_t piece[512];
    uint64_t units = 0;
    while (units < kMostUnits) {
        const auto* from = static_cast<const uint8_t*>(text) + units * kUnit;
        // Up to the end of a page, since the next one may not be there; a unit may lie across.
        const uint64_t inPage = kPageSize - reinterpret_cast<uintptr_t>(from) % kPageSize;
        const uint64_t bytes = std::clamp<uint64_t>(inPage & ~uint64_t{1}, kUnit, sizeof piece);
        if (!ZvPeekMemory(piece, from, bytes)) return false;
        for (uint64_t i = 0; i < bytes / kUnit; ++i, ++units) {
            if (IccLoad<uint16_t>(piece + i * kUnit) == 0) {
                *count = units;
                return true;
            }
        }
    }
    return false;
}

constexpr uint64_t kDataOffset = 12;
constexpr uint32_t kAscii = 0;
constexpr uint32_t kBinary = 1;

/// A copy with zeros behind it.
uint8_t* NewCopyWithZeros(const void* bytes, uint64_t count, uint64_t zeros, int32_t line) noexcept {
    auto* block = static_cast<uint8_t*>(IccAlloc(count + zeros, 1, line));
    if (block == nullptr) return nullptr;
    if (count != 0) HostCopy(block, bytes, count);
    HostFill(block + count, 0, zeros);
    return block;
}

}  // namespace

int32_t IccReadText(IccBytes body, void* record) noexcept {
    auto* text = static_cast<ClrIccTagText*>(record);
    const uint64_t size = body.Size() - kIccTagHead;
    text->text = reinterpret_cast<char*>(NewCopyWithZeros(body.At(kIccTagHead), size, kTextEnd, __LINE__));
    return text->text != nullptr ? CLR_SUCCESS : ERR_FAILURE;
}
int32_t IccMakeText(void* image, void* host) noexcept {
    auto* text = static_cast<ClrIccTagText*>(image);
    const auto* from = static_cast<const ClrIccTagText*>(host);
    uint64_t units = 0;
    if (from->text == nullptr || !CountUnits(from->text, &units)) return ERR_INVALID_PARAMETER;
    // With its end, so that the writer counts as many.
    text->text = reinterpret_cast<char*>(IccNewCopy<uint8_t>(from->text, (units + 1) * kUnit, __LINE__));
    return text->text != nullptr ? CLR_SUCCESS : ERR_FAILURE;
}
int32_t IccWriteText(ClrIccProfile* profile, const void* image, uint32_t tagSignature) noexcept {
    const auto* text = static_cast<const ClrIccTagText*>(image);
    uint64_t units = 0;
    if (!CountUnits(text->text, &units)) return ERR_INVALID_PARAMETER;
    // One byte for each unit and one more: text of one byte a character is what the type is for.
    IccBody body(profile, tagSignature, kIccTagHead + units + 1, true);
    body.Put(0, text, kIccTagHead);
    body.Put(kIccTagHead, text->text, units + 1);
    return body.Result();
}
void IccFreeText(void* record) noexcept {
    auto* text = static_cast<ClrIccTagText*>(record);
    IccRelease(text->text, __LINE__);
    text->text = nullptr;
}

int32_t IccReadData(IccBytes body, void* record) noexcept {
    auto* data = static_cast<ClrIccTagData*>(record);
    if (!body.Has(0, kDataOffset)) return ERR_INVALID_PARAMETER;
    data->dataFlag = IccReadU32(body.At(8));
    data->byteCount = static_cast<uint32_t>(body.Size() - kDataOffset);
    const uint64_t zeros = data->dataFlag == kAscii ? 1 : 0;
    data->bytes = NewCopyWithZeros(body.At(kDataOffset), data->byteCount, zeros, __LINE__);
    return data->bytes != nullptr ? CLR_SUCCESS : ERR_FAILURE;
}
int32_t IccMakeData(void* image, void* host) noexcept {
    auto* data = static_cast<ClrIccTagData*>(image);
    const auto* from = static_cast<const ClrIccTagData*>(host);
    const uint32_t flag = from->dataFlag;
    if (flag != kAscii && flag != kBinary) return ERR_INVALID_PARAMETER;
    if (from->byteCount == UINT32_MAX || !IccReadable(from->bytes, from->byteCount)) return ERR_INVALID_PARAMETER;
    const uint32_t zeros = flag == kAscii ? 1 : 0;
    data->dataFlag = IccSwap(flag);
    data->byteCount = from->byteCount + zeros;
    data->bytes = NewCopyWithZeros(from->bytes, from->byteCount, zeros, __LINE__);
    return data->bytes != nullptr ? CLR_SUCCESS : ERR_FAILURE;
}
int32_t IccWriteData(ClrIccProfile* profile, const void* image, uint32_t tagSignature) noexcept {
    const auto* data = static_cast<const ClrIccTagData*>(image);
    // The text's end once more, as in the maker.
    const uint64_t end = data->dataFlag == kAscii ? 1 : 0;
    IccBody body(profile, tagSignature, kDataOffset + data->byteCount + end, true);
    body.Put(0, data, kDataOffset);
    body.Put(kDataOffset, data->bytes, data->byteCount);
    return body.Result();
}
void IccFreeData(void* record) noexcept {
    auto* data = static_cast<ClrIccTagData*>(record);
    IccRelease(data->bytes, __LINE__);
    data->bytes = nullptr;
}

}  // namespace zv
