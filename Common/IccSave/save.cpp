#include "Common/IccSave/save.h"

namespace zv {

int32_t IccWriteFileTag(const ZvChar* fileName, const ClrIccProfile* profile,
                        const SAVEFILEOPTION* saveOptions) noexcept {
    constexpr uint16_t kUndefinedBytes = 7;
    int32_t result = HostSetFileTag(kIccFileTag, kUndefinedBytes, profile->profileSize, profile->profileData);
    if (result != CLR_SUCCESS) return result;
    result = HostRewriteFileTags(fileName, saveOptions);
    HostSetFileTag(0, 0, 0, nullptr);
    return result;
}

}  // namespace zv

using namespace zv;

int32_t Zv_SaveICCProfile(const ZvChar* fileName, const ClrIccProfile* profile, const SAVEFILEOPTION* saveOptions) {
    int32_t result = IccCheckEmbedding(fileName, profile);
    if (result != CLR_SUCCESS) return result;
    if (profile->profileSize != 0) {
        if (profile->profileData == nullptr) return ERR_NO_PROFILE;
        if (IsBadReadPtr(profile->profileData, profile->profileSize)) return ERR_INVALID_PARAMETER;
    }
    IccRoute route = IccRoute::kNone;
    result = IccFindRoute(fileName, nullptr, &route);
    if (result != CLR_SUCCESS) return result;
    switch (route) {
        case IccRoute::kMarkers:
            return IccWriteMarkers(fileName, profile, saveOptions);
        case IccRoute::kTag:
            return IccWriteFileTag(fileName, profile, saveOptions);
        case IccRoute::kGif:
            return IccWriteGifExtension(fileName, profile);
        case IccRoute::kEps:
        case IccRoute::kChunks:
        case IccRoute::kNone:
            break;
    }
    return ERR_FORMAT_NO_ICC;
}
