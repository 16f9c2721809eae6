#include <algorithm>

#include "Common/IccLoad/load.h"
#include "Common/embedded_profile.h"

namespace zv {

int32_t IccReadFileTag(const ZvChar* fileName, ClrIccProfile* profile, const void* loadOptions) noexcept {
    uint16_t type = 0;
    uint64_t count = 0;
    int32_t result = HostReadFileTag(fileName, kIccFileTag, &type, &count, nullptr, loadOptions);
    if (result < CLR_SUCCESS) return result;
    profile->profileSize = count;
    profile->profileData =
        static_cast<uint8_t*>(HostAllocShared(static_cast<int64_t>(count), 1, __LINE__, kIccLoadSource));
    if (profile->profileData == nullptr) return ERR_FAILURE;
    result = HostReadFileTag(fileName, kIccFileTag, &type, &count, profile->profileData, loadOptions);
    // Another process may have put a shorter one there meanwhile.
    if (count < profile->profileSize) profile->profileSize = count;
    return std::min(result, int32_t{CLR_SUCCESS});
}

}  // namespace zv
