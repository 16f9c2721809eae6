#include "Common/IccLoad/load.h"
#include "Common/embedded_profile.h"

namespace zv {

int32_t IccMarkerCallback(uint32_t id, uint32_t length, const uint8_t* data, void* profile) noexcept {
    if (id != kIccMarker || length <= kIccMarkerIdentifierSize) return CLR_SUCCESS;
    if (HostCompare(data, kIccMarkerIdentifier, kIccMarkerIdentifierSize) != 0) return CLR_SUCCESS;
    if (length < kIccMarkerHeadSize) return CLR_SUCCESS;  // one of its numbers is missing, and so is all data
    return IccAppendProfileBytes(static_cast<ClrIccProfile*>(profile), length - kIccMarkerHeadSize,
                                 data + kIccMarkerHeadSize);
}

int32_t IccReadMarkers(IccScan* scan, const ZvChar* fileName) noexcept {
    HostMarkers set = nullptr;
    int32_t result = HostLoadMarkers(fileName, &set, 0);
    if (result != CLR_SUCCESS) return result;
    scan->markers = set;
    result = HostEnumMarkers(set, 0, IccMarkerCallback, scan->profile);
    scan->markers = nullptr;
    HostFreeMarkers(set);
    return result;
}

}  // namespace zv
