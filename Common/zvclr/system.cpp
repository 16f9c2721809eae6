// The platform's colour management: for some pairs of spaces it converts by the caller's profiles. Where the platform
// has none, the converter's own transform of these profiles does.
#include "Common/Zvtrans/transform.h"
#include "Common/names.h"
#include "Common/zvclr/frame.h"
#include "Common/zvclr/records.h"
#include "host/colour_management.h"

namespace zv {

namespace {

/// No colour space has this id; it stands in the list all the same.
constexpr int32_t kSixteenBitRgb = 16;

bool IsServed(int32_t space) noexcept {
    return ClrIsHub(space) || space == CLRSPACE_CMYK || space == CLRSPACE_LAB || space == CLRSPACE_XYZ ||
           space == kSixteenBitRgb;
}

/// The platform's triplets are named from the last byte to the first.
BMFORMAT BitmapFormat(int32_t space) noexcept {
    switch (space) {
        case CLRSPACE_RGB:
            return BM_BGRTRIPLETS;
        case CLRSPACE_CMYK:
            return BM_KYMCQUADS;
        case CLRSPACE_LAB:
            return BM_LabTRIPLETS;
        case CLRSPACE_XYZ:
            return BM_XYZTRIPLETS;
        case kSixteenBitRgb:
            return BM_16b_RGB;
        default:
            return BM_RGBTRIPLETS;
    }
}

/// 0 without padding: the rows are then aligned as the platform likes.
DWORD Stride(int32_t rowExtra, int32_t width, BMFORMAT format) noexcept {
    constexpr DWORD kBytesOfRgb = 3, kBytesOfQuad = 4;
    if (rowExtra == 0) return 0;
    return static_cast<DWORD>(rowExtra) +
           static_cast<DWORD>(width) * (format == BM_KYMCQUADS ? kBytesOfQuad : kBytesOfRgb);
}

/// One side's profile as the caller gives it: memory goes before a name. False if it cannot be read.
bool DescribeProfile(const ClrProfileMemory* memory, const ZvChar* name, PROFILE* profile) noexcept {
    if (memory == nullptr) {
        *profile = {PROFILE_FILENAME, const_cast<ZvChar*>(name),
                    static_cast<DWORD>(ClrNameLength(name)) * DWORD{sizeof(ZvChar)}};
        return true;
    }
    ClrProfileMemory record;
    if (!ReadRecord(memory, &record)) return false;
    const auto size = static_cast<DWORD>(record.dataSize);
    *profile = {PROFILE_MEMBUFFER, record.data, size};
    return !IsBadReadPtr(record.data, size);
}

HPROFILE Open(const ZvColourManagement& platform, PROFILE& profile) noexcept {
    // The platform reads a name up to its end.
    if (profile.dwType == PROFILE_FILENAME && !ClrNameEnds(static_cast<const ZvChar*>(profile.pProfileData))) {
        return nullptr;
    }
    return platform.OpenColorProfileW(&profile, PROFILE_READ, FILE_SHARE_READ, OPEN_EXISTING);
}

struct CallersProfiles {
    PROFILE input;
    PROFILE output;
    bool single;  ///< no output profile is given
};

/// False if what the record points to cannot be read.
bool Describe(const ClrParams& params, CallersProfiles* profiles) noexcept {
    profiles->single = params.outputProfileMemory == nullptr && params.outputProfileName[0] == 0;
    return DescribeProfile(params.inputProfileMemory, params.inputProfileName, &profiles->input) &&
           DescribeProfile(params.outputProfileMemory, params.outputProfileName, &profiles->output);
}

/// The profiles of a transform, open.
class OpenProfiles {
public:
    OpenProfiles(const ZvColourManagement& platform, CallersProfiles& given) noexcept
        : platform_(platform), single_(given.single) {
        handles_[0] = Open(platform, given.input);
        if (!single_) handles_[1] = Open(platform, given.output);
    }
    ~OpenProfiles() {
        for (const HPROFILE handle : handles_) {
            if (handle != nullptr) platform_.CloseColorProfile(handle);
        }
    }
    OpenProfiles(const OpenProfiles&) = delete;
    OpenProfiles& operator=(const OpenProfiles&) = delete;

    bool AreOpen() const noexcept { return handles_[0] != nullptr && (single_ || handles_[1] != nullptr); }

    HTRANSFORM Transform(DWORD intent, DWORD count) noexcept {
        return platform_.CreateMultiProfileTransform(handles_, count, &intent, 1, BEST_MODE, INDEX_DONT_CARE);
    }

private:
    const ZvColourManagement& platform_;
    bool single_;
    HPROFILE handles_[2] = {};
};

int32_t Build(ClrHandle* converter, CallersProfiles& given, bool retry) noexcept {
    OpenProfiles profiles(ZvPlatformColours(), given);
    if (!profiles.AreOpen()) return ERR_PROFILE_UNUSABLE;
    HTRANSFORM transform = profiles.Transform(INTENT_SATURATION, given.single ? 1 : 2);
    // The second attempt speaks of two profiles, even where there is one.
    if (transform == nullptr && retry) transform = profiles.Transform(INTENT_PERCEPTUAL, 2);
    converter->systemTransform = transform;
    return transform != nullptr ? int32_t{CLR_SUCCESS} : int32_t{ERR_PROFILE_UNUSABLE};
}

/// The role of the platform where it has no colour management. Conversions in two steps have no use for a transform;
/// there the profiles are only tried, and the formats stay the ids.
int32_t BuildOwn(ClrHandle* converter, const ClrParams& params, bool single) noexcept {
    CmmFreeTransform(converter->customTransform);
    converter->customTransform = nullptr;
    if (single) return ERR_PROFILE_UNUSABLE;
    const uint32_t formats[] = {converter->sourceFormat, converter->destinationFormat};
    const int32_t result =
        ClrBuildCustomTransform(converter, converter->sourceSpace, converter->destinationSpace, &params);
    if (converter->route == kRouteThroughHub) {
        converter->sourceFormat = formats[0];
        converter->destinationFormat = formats[1];
    }
    if (result == ERR_NO_MEMORY) return result;
    return converter->customTransform != nullptr ? int32_t{CLR_SUCCESS} : int32_t{ERR_PROFILE_UNUSABLE};
}

}  // namespace

bool ClrSystemServes(int32_t sourceSpace, int32_t destinationSpace) noexcept {
    return IsServed(sourceSpace) && IsServed(destinationSpace);
}

bool ClrSystemConverts(const ClrHandle& converter) noexcept {
    return converter.activeMethod == CLRMETHOD_CUSTOM_ICC &&
           ClrSystemServes(converter.sourceSpace, converter.destinationSpace) && ZvPlatformColours().IsPresent();
}

int32_t ClrBuildSystemTransform(ClrHandle* converter, const ClrParams* params) noexcept {
    CallersProfiles given{};
    if (!Describe(*params, &given)) return ERR_BAD_POINTER;
    if (ZvPlatformColours().IsPresent()) return Build(converter, given, true);
    if (converter->route == kRouteThroughHub) return BuildOwn(converter, *params, given.single);
    return converter->customTransform != nullptr ? int32_t{CLR_SUCCESS} : int32_t{ERR_PROFILE_UNUSABLE};
}

int32_t ClrRebuildSystemTransform(ClrHandle* converter, const ClrParams* params) noexcept {
    CallersProfiles given{};
    if (!Describe(*params, &given)) return ERR_BAD_POINTER;
    ClrFreeSystemTransform(converter);
    const int32_t result =
        ZvPlatformColours().IsPresent() ? Build(converter, given, false) : BuildOwn(converter, *params, given.single);
    if (result != CLR_SUCCESS) return result;
    converter->methods = CLRMETHOD_CUSTOM_ICC;
    converter->activeMethod = CLRMETHOD_CUSTOM_ICC;
    return CLR_SUCCESS;
}

void ClrFreeSystemTransform(ClrHandle* converter) noexcept {
    if (converter->systemTransform == nullptr) return;
    const ZvColourManagement& platform = ZvPlatformColours();
    if (platform.IsPresent()) platform.DeleteColorTransform(converter->systemTransform);
    converter->systemTransform = nullptr;
}

int32_t ConvertBySystem(const ClrHandle& converter, const ClrImage& i) noexcept {
    const BMFORMAT sourceFormat = BitmapFormat(converter.sourceSpace);
    const BMFORMAT destinationFormat = BitmapFormat(converter.destinationSpace);
    // A transform that was never made goes to the platform as it is.
    const BOOL result = ZvPlatformColours().TranslateBitmapBits(
        converter.systemTransform, const_cast<uint8_t*>(i.source), sourceFormat, static_cast<DWORD>(i.width),
        static_cast<DWORD>(i.height), Stride(i.sourceRowExtra, i.width, sourceFormat), i.destination, destinationFormat,
        Stride(i.destinationRowExtra, i.width, destinationFormat), nullptr, 0);
    if (result == 1) return CLR_SUCCESS;
    return GetLastError() == ERROR_COLORSPACE_MISMATCH ? int32_t{ERR_COLORSPACE_MISMATCH} : 0;
}

}  // namespace zv
