#include <algorithm>

#include "Common/IccSave/save.h"
#include "host/memory.h"

namespace zv {

namespace {

/// Bytes of the last part: all that is left when the rest is below the buffer's size.
uint64_t LastPartSize(uint64_t profileSize) noexcept {
    return profileSize < kIccMarkerBufferSize
               ? profileSize
               : (profileSize - kIccMarkerBufferSize) % kIccPartSize + (kIccMarkerBufferSize - kIccPartSize);
}

int32_t InsertParts(HostMarkers set, const ClrIccProfile* profile, uint64_t count, uint8_t* buffer) noexcept {
    uint64_t left = profile->profileSize;
    uint64_t length = kIccPartSize;
    const uint8_t* data = profile->profileData;
    for (uint64_t part = 1; part <= count; ++part) {
        if (left < kIccMarkerBufferSize) length = left;
        HostCopy(buffer, kIccMarkerIdentifier, kIccMarkerIdentifierSize);
        buffer[kIccMarkerIdentifierSize] = static_cast<uint8_t>(part);
        buffer[kIccMarkerIdentifierSize + 1] = static_cast<uint8_t>(count);
        HostCopy(buffer + kIccMarkerHeadSize, data, length);
        const int32_t result =
            HostInsertMarker(set, -1, kIccMarker, static_cast<uint32_t>(length + kIccMarkerHeadSize), buffer);
        if (result != CLR_SUCCESS) return result;
        data += length;
        left -= length;
    }
    return CLR_SUCCESS;
}

int32_t Rewrite(const ZvChar* fileName, HostMarkers set, const SAVEFILEOPTION* saveOptions) noexcept {
    int32_t result = HostSetSaveMarkers(nullptr, 0);
    if (result == CLR_SUCCESS) result = HostSetSaveMarkers(set, 0);
    if (result == CLR_SUCCESS) result = HostRewriteFile(fileName, kHostRewriteMarkers, saveOptions);
    if (result == CLR_SUCCESS) result = HostSetSaveMarkers(nullptr, 0);
    return result;
}

}  // namespace

int32_t IccWriteMarkers(const ZvChar* fileName, const ClrIccProfile* profile,
                        const SAVEFILEOPTION* saveOptions) noexcept {
    HostMarkers set = nullptr;
    int32_t result = HostCreateMarkers(&set);
    if (result != CLR_SUCCESS) {
        HostFreeMarkers(set);
        return result;
    }
    const uint64_t count = profile->profileSize / kIccPartSize + (profile->profileSize % kIccPartSize != 0);
    const uint64_t bufferSize = std::max(kIccMarkerBufferSize, LastPartSize(profile->profileSize) + kIccMarkerHeadSize);
    const HostBlock<uint8_t> buffer(static_cast<int64_t>(bufferSize), __LINE__, kIccSaveSource);
    if (!buffer) return kIccNoPartBuffer;  // and the set stays with the host
    HostFill(buffer.Data(), 0, bufferSize);
    result = InsertParts(set, profile, count, buffer.Data());
    if (result == CLR_SUCCESS) result = Rewrite(fileName, set, saveOptions);
    const int32_t freed = HostFreeMarkers(set);
    return result == CLR_SUCCESS ? freed : result;
}

}  // namespace zv
