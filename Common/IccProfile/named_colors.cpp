// "ncl2".
#include "Common/IccProfile/tag_types.h"

static_assert(sizeof(ClrIccNamedColorEntry) == 46 && offsetof(ClrIccNamedColorEntry, pcs) == 32);
static_assert(offsetof(ClrIccNamedColorEntry, device) == 38);
static_assert(offsetof(ClrIccTagNamedColor2, vendorFlags) == 8);
static_assert(sizeof(ClrIccTagNamedColor2) == 92 && offsetof(ClrIccTagNamedColor2, colorCount) == 12);
static_assert(offsetof(ClrIccTagNamedColor2, deviceCoords) == 16 && offsetof(ClrIccTagNamedColor2, prefix) == 20);
static_assert(offsetof(ClrIccTagNamedColor2, suffix) == 52 && offsetof(ClrIccTagNamedColor2, colors) == 84);

namespace zv {

namespace {

constexpr uint32_t kNcl2 = IccSignature("ncl2");
constexpr uint64_t kHead = 84;
/// Of a colour, before its device values.
constexpr uint64_t kColorHead = 38;
constexpr uint32_t kVendorBits = 0xFFFF0000;

uint64_t ColorSize(uint32_t deviceCoords) noexcept { return kColorHead + sizeof(uint16_t) * uint64_t{deviceCoords}; }

/// Whether as many colours fit into a body; their sizes need not fit into 64 bits.
bool Fit(uint32_t count, uint64_t size, uint64_t room) noexcept { return count <= room / size; }

}  // namespace

int32_t IccReadNamedColor2(IccBytes body, void* record) noexcept {
    auto* named = static_cast<ClrIccTagNamedColor2*>(record);
    if (!body.Has(0, kHead)) return ERR_INVALID_PARAMETER;
    const uint32_t count = IccReadU32(body.At(12));
    const uint32_t coords = IccReadU32(body.At(16));
    const uint64_t colorSize = ColorSize(coords);
    if (!Fit(count, colorSize, body.Size() - kHead)) return ERR_INVALID_PARAMETER;
    named->vendorFlags = IccReadU32(body.At(8));
    named->deviceCoords = coords;
    HostCopy(named->prefix, body.At(20), sizeof named->prefix);
    HostCopy(named->suffix, body.At(52), sizeof named->suffix);
    named->colors = static_cast<ClrIccNamedColorEntry*>(IccAllocZeroed(sizeof(ClrIccNamedColorEntry), count, __LINE__));
    if (named->colors == nullptr) return ERR_FAILURE;
    named->colorCount = count;
    for (uint32_t i = 0; i < count; ++i) {
        const uint8_t* source = body.At(kHead + i * colorSize);
        ClrIccNamedColorEntry* color = &named->colors[i];
        HostCopy(color->name, source, sizeof color->name);
        IccSwapCopy<uint16_t>(color->pcs, source + sizeof color->name, 3);
        color->device = IccNewSwapped<uint16_t>(source + kColorHead, coords, __LINE__);
        if (color->device == nullptr) return ERR_FAILURE;
    }
    return CLR_SUCCESS;
}

int32_t IccMakeNamedColor2(void* image, void* host) noexcept {
    auto* named = static_cast<ClrIccTagNamedColor2*>(image);
    const auto* from = static_cast<const ClrIccTagNamedColor2*>(host);
    const uint32_t count = from->colorCount;
    const uint32_t coords = from->deviceCoords;
    if (from->colors == nullptr || !Fit(count, ColorSize(coords), UINT32_MAX - kHead)) return ERR_INVALID_PARAMETER;
    if (!IccReadable(from->colors, sizeof(ClrIccNamedColorEntry) * uint64_t{count})) return ERR_INVALID_PARAMETER;
    named->vendorFlags = IccSwap(from->vendorFlags & kVendorBits);
    named->deviceCoords = IccSwap(coords);
    HostCopy(named->prefix, from->prefix, sizeof named->prefix);
    HostCopy(named->suffix, from->suffix, sizeof named->suffix);
    named->colors = static_cast<ClrIccNamedColorEntry*>(IccAllocZeroed(sizeof(ClrIccNamedColorEntry), count, __LINE__));
    if (named->colors == nullptr) return ERR_FAILURE;
    named->colorCount = IccSwap(count);
    for (uint32_t i = 0; i < count; ++i) {
        const ClrIccNamedColorEntry& source = from->colors[i];
        ClrIccNamedColorEntry* color = &named->colors[i];
        // Name and connection-space values as they stand: the values of host records have never been swapped here.
        HostCopy(color, &source, kColorHead);
        if (!IccReadable(source.device, sizeof(uint16_t) * uint64_t{coords})) return ERR_INVALID_PARAMETER;
        color->device = IccNewSwapped<uint16_t>(source.device, coords, __LINE__);
        if (color->device == nullptr) return ERR_FAILURE;
    }
    return CLR_SUCCESS;
}

int32_t IccWriteNamedColor2(ClrIccProfile* profile, const void* image, uint32_t tagSignature) noexcept {
    const auto* named = static_cast<const ClrIccTagNamedColor2*>(image);
    const uint32_t count = IccSwap(named->colorCount);
    const uint64_t colorSize = ColorSize(IccSwap(named->deviceCoords));
    IccBody body(profile, tagSignature, kHead + count * colorSize, true);
    body.Put(0, named, kHead);
    for (uint32_t i = 0; i < count; ++i) {
        const uint64_t place = kHead + i * colorSize;
        body.Put(place, &named->colors[i], kColorHead);
        body.Put(place + kColorHead, named->colors[i].device, colorSize - kColorHead);
    }
    return body.Result();
}

void IccFreeNamedColor2(void* record) noexcept {
    auto* named = static_cast<ClrIccTagNamedColor2*>(record);
    if (named->colors == nullptr) return;
    const uint32_t count = named->typeSig == IccSwap(kNcl2) ? IccSwap(named->colorCount) : named->colorCount;
    for (uint32_t i = 0; i < count; ++i) IccRelease(named->colors[i].device, __LINE__);
    IccRelease(named->colors, __LINE__);
    named->colors = nullptr;
}

}  // namespace zv
