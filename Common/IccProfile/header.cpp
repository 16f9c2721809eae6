// The profile record's beginning and end, and the setters of its header.
#include <algorithm>
#include <iterator>

#include "Common/IccProfile/profile.h"

static_assert(sizeof(ClrIccHeader) == zv::kIccHeaderSize);
static_assert(offsetof(ClrIccHeader, cmmType) == 4 && offsetof(ClrIccHeader, version) == 8);
static_assert(offsetof(ClrIccHeader, deviceClass) == 12 && offsetof(ClrIccHeader, colorSpace) == 16);
static_assert(offsetof(ClrIccHeader, connectionSpace) == 20 && offsetof(ClrIccHeader, platform) == 40);
static_assert(offsetof(ClrIccHeader, flags) == 44 && offsetof(ClrIccHeader, manufacturer) == 48);
static_assert(offsetof(ClrIccHeader, model) == 52);
static_assert(offsetof(ClrIccHeader, dateTime) == 24 && offsetof(ClrIccHeader, signature) == 36);
static_assert(offsetof(ClrIccHeader, attributes) == 56 && offsetof(ClrIccHeader, renderingIntent) == 64);
static_assert(offsetof(ClrIccHeader, illuminant) == 68 && offsetof(ClrIccHeader, creator) == 80);
static_assert(offsetof(ClrIccHeader, profileId) == 84 && offsetof(ClrIccHeader, reserved) == 100);
static_assert(sizeof(ClrIccTagEntry) == zv::kIccTagEntrySize);
static_assert(offsetof(ClrIccTagEntry, offset) == 4 && offsetof(ClrIccTagEntry, size) == 8);
static_assert(sizeof(ClrIccProfile) == 56);
static_assert(offsetof(ClrIccProfile, profileSize) == 4 && offsetof(ClrIccProfile, tagDataSize) == 12);
static_assert(offsetof(ClrIccProfile, header) == 20 && offsetof(ClrIccProfile, tagCount) == 28);
static_assert(offsetof(ClrIccProfile, tagTable) == 32 && offsetof(ClrIccProfile, tagData) == 40);
static_assert(offsetof(ClrIccProfile, profileData) == 48);

namespace zv {

namespace {

constexpr uint32_t kColorSpaces[] = {
    IccSignature("2CLR"), IccSignature("3CLR"), IccSignature("4CLR"), IccSignature("5CLR"), IccSignature("6CLR"),
    IccSignature("7CLR"), IccSignature("8CLR"), IccSignature("9CLR"), IccSignature("ACLR"), IccSignature("BCLR"),
    IccSignature("CCLR"), IccSignature("DCLR"), IccSignature("ECLR"), IccSignature("FCLR"), IccSignature("CMY "),
    IccSignature("CMYK"), IccSignature("GRAY"), IccSignature("HLS "), IccSignature("HSV "), IccSignature("Lab "),
    IccSignature("Luv "), IccSignature("RGB "), IccSignature("XYZ "), IccSignature("YCbr"), IccSignature("Yxy ")};
static_assert(std::size(kColorSpaces) == 25);
constexpr uint32_t kPcsSpaces[] = {IccSignature("XYZ "), IccSignature("Lab ")};
constexpr uint32_t kLinkClass = IccSignature("link");
constexpr uint32_t kDeviceClasses[] = {IccSignature("abst"), kLinkClass,           IccSignature("mntr"),
                                       IccSignature("nmcl"), IccSignature("prtr"), IccSignature("scnr"),
                                       IccSignature("spac")};
constexpr uint32_t kPlatforms[] = {0, IccSignature("APPL"), IccSignature("MSFT"), IccSignature("SGI "),
                                   IccSignature("SUNW")};
constexpr uint32_t kLastIntent = 3;
constexpr uint32_t kFlagBits = 3;
constexpr uint32_t kAttributeBits = 15;

template <size_t count>
bool Contains(const uint32_t (&values)[count], uint32_t value) noexcept {
    return std::find(std::begin(values), std::end(values), value) != std::end(values);
}

/// A class has to be there before; only device links connect to spaces other than XYZ and Lab.
bool ConnectsTo(uint32_t deviceClass, uint32_t space) noexcept {
    if (deviceClass == 0) return false;
    return deviceClass == kLinkClass ? Contains(kColorSpaces, space) : Contains(kPcsSpaces, space);
}

/// Runs `store` on the header if there is one and the value is accepted.
template <class Store>
int32_t SetField(ClrIccProfile* profile, bool accepted, const Store& store) noexcept {
    if (profile == nullptr || profile->header == nullptr || !accepted) return ERR_INVALID_PARAMETER;
    store(profile->header);
    return CLR_SUCCESS;
}

}  // namespace

}  // namespace zv

using namespace zv;

int32_t Zv_InitICCProfile(ClrIccProfile* profile, uint64_t size) {
    if (profile == nullptr || size > sizeof *profile) return ERR_INVALID_PARAMETER;
    HostFill(profile, 0, size);
    profile->structSize = sizeof *profile;
    return CLR_SUCCESS;
}

int32_t Zv_InitICCHeader(ClrIccProfile* profile) {
    if (profile == nullptr) return ERR_INVALID_PARAMETER;
    if (profile->header == nullptr) {
        profile->header = static_cast<ClrIccHeader*>(IccAlloc(kIccHeaderSize, 1, __LINE__));
        if (profile->header == nullptr) return ERR_FAILURE;
    }
    ClrIccHeader* header = profile->header;
    HostFill(header, 0, sizeof *header);
    header->size = IccTagDataOffset(0);
    header->version = 0x04200000;
    header->signature = IccSignature("acsp");
    header->illuminant[0] = Zv_DoubleTo2bFixed2bNumber(0.9642);
    header->illuminant[1] = Zv_DoubleTo2bFixed2bNumber(1.0);
    header->illuminant[2] = Zv_DoubleTo2bFixed2bNumber(0.8249);
    return CLR_SUCCESS;
}

void Zv_FreeICCProfile(ClrIccProfile* profile) {
    if (profile == nullptr) return;
    // After the last tag has been deleted the two pointers are stale.
    if (profile->tagCount != 0) {
        IccRelease(profile->tagTable, __LINE__);
        profile->tagTable = nullptr;
        IccRelease(profile->tagData, __LINE__);
        profile->tagData = nullptr;
    }
    IccRelease(profile->header, __LINE__);
    profile->header = nullptr;
    if (profile->profileData != nullptr) HostFreeShared(profile->profileData, __LINE__, kIccSource);
    profile->profileData = nullptr;
}

int32_t Zv_SetICCProfileId(ClrIccProfile* profile) {
    return SetField(profile, true, [](ClrIccHeader* h) { HostFill(h->profileId, 0, sizeof h->profileId); });
}

int32_t Zv_SetICCCMMType(ClrIccProfile* profile, uint32_t cmmType) {
    return SetField(profile, true, [=](ClrIccHeader* h) { h->cmmType = cmmType; });
}

int32_t Zv_SetICCDeviceClass(ClrIccProfile* profile, int32_t deviceClass) {
    const auto value = static_cast<uint32_t>(deviceClass);
    return SetField(profile, Contains(kDeviceClasses, value), [=](ClrIccHeader* h) { h->deviceClass = value; });
}

int32_t Zv_SetICCColorSpace(ClrIccProfile* profile, int32_t colorSpace) {
    const auto value = static_cast<uint32_t>(colorSpace);
    return SetField(profile, Contains(kColorSpaces, value), [=](ClrIccHeader* h) { h->colorSpace = value; });
}

int32_t Zv_SetICCConnectionSpace(ClrIccProfile* profile, int32_t connectionSpace) {
    const auto value = static_cast<uint32_t>(connectionSpace);
    const bool hasHeader = profile != nullptr && profile->header != nullptr;
    return SetField(profile, hasHeader && ConnectsTo(profile->header->deviceClass, value),
                    [=](ClrIccHeader* h) { h->connectionSpace = value; });
}

int32_t Zv_SetICCPrimaryPlatform(ClrIccProfile* profile, int32_t platform) {
    const auto value = static_cast<uint32_t>(platform);
    return SetField(profile, Contains(kPlatforms, value), [=](ClrIccHeader* h) { h->platform = value; });
}

int32_t Zv_SetICCFlags(ClrIccProfile* profile, uint8_t flags) {
    return SetField(profile, true, [=](ClrIccHeader* h) { h->flags = flags & kFlagBits; });
}

int32_t Zv_SetICCDevManufacturer(ClrIccProfile* profile, uint32_t manufacturer) {
    return SetField(profile, true, [=](ClrIccHeader* h) { h->manufacturer = manufacturer; });
}

int32_t Zv_SetICCDevModel(ClrIccProfile* profile, uint32_t model) {
    return SetField(profile, true, [=](ClrIccHeader* h) { h->model = model; });
}

int32_t Zv_SetICCDeviceAttributes(ClrIccProfile* profile, uint8_t attributes) {
    return SetField(profile, true, [=](ClrIccHeader* h) { h->attributes = attributes & kAttributeBits; });
}

int32_t Zv_SetICCRenderingIntent(ClrIccProfile* profile, uint32_t renderingIntent) {
    return SetField(profile, renderingIntent <= kLastIntent,
                    [=](ClrIccHeader* h) { h->renderingIntent = renderingIntent; });
}

int32_t Zv_SetICCCreator(ClrIccProfile* profile, uint32_t creator) {
    return SetField(profile, true, [=](ClrIccHeader* h) { h->creator = creator; });
}

int32_t Zv_SetICCDateTime(ClrIccProfile* profile, const uint16_t* dateTime) {
    const void* source = dateTime;
    return SetField(profile, IccReadable(dateTime, sizeof(ClrIccHeader::dateTime)),
                    [=](ClrIccHeader* h) { HostCopy(h->dateTime, source, sizeof h->dateTime); });
}
