#include "Common/IccSave/save.h"

namespace zv {

int32_t IccWriteFileTag(const ZvChar* fileName, const ClrIccProfile* profile,
                        const SAVEFILEOPTION* saveOptions) noexcept {
    int32_t result = HostSetFileTag(kIccFileTag, kHostTagUndefined, profile->profileSize, profile->profileData);
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
    IccRoute route = IccRoute::kNone;
    result = IccFindRoute(fileName, nullptr, &route);
    if (result != CLR_SUCCESS) return result;
    if (route != IccRoute::kMarkers && route != IccRoute::kTag && route != IccRoute::kGif) return ERR_FORMAT_NO_ICC;
    if (profile->profileSize != 0) {
        if (profile->profileData == nullptr) return ERR_NO_PROFILE;
        if (IsBadReadPtr(profile->profileData, profile->profileSize)) return ERR_INVALID_PARAMETER;
    }
    if (route == IccRoute::kMarkers) return IccWriteMarkers(fileName, profile, saveOptions);
    if (route == IccRoute::kTag) return IccWriteFileTag(fileName, profile, saveOptions);
    return IccWriteGifExtension(fileName, profile);
}
