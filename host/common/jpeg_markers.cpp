#include "host/common/jpeg_markers.h"

#include <algorithm>
#include <cstring>

#include "host/common/jpeg_segments.h"
#include "host/common/save_state.h"

namespace zvhost {

namespace {

constexpr size_t kHeadSize = 2 * sizeof(uint32_t);

int32_t Load(ImageFile* file, HostMarkers set) noexcept {
    JpegSegments segments(file);
    int32_t result = segments.Begin();
    JpegSegment segment;
    while (result == CLR_SUCCESS && (result = segments.Next(&segment)) == CLR_SUCCESS) {
        uint8_t* data = AddMarker(set, segment.marker, segment.dataSize);
        if (data == nullptr) return ERR_NO_MEMORY;
        if (!file->ReadAt(segment.dataOffset, data, segment.dataSize)) return ERR_FILE_READ;
    }
    return result == 0 ? int32_t{CLR_SUCCESS} : result;
}

}  // namespace

bool NextMarker(const HostMarkerSet& set, uint64_t* offset, Marker* marker) noexcept {
    if (*offset >= set.size) return false;
    const uint8_t* head = set.bytes + *offset;
    std::memcpy(&marker->id, head, sizeof marker->id);
    std::memcpy(&marker->length, head + sizeof marker->id, sizeof marker->length);
    marker->data = head + kHeadSize;
    *offset += kHeadSize + marker->length;
    return true;
}

uint8_t* AddMarker(HostMarkers set, uint32_t id, uint32_t length) noexcept {
    const uint64_t needed = set->size + kHeadSize + length;
    if (needed > set->capacity) {
        const uint64_t capacity = std::max(needed, set->capacity * 2);
        void* grown = HostRealloc(set->bytes, static_cast<int64_t>(capacity), __LINE__, kMarkersSource);
        if (grown == nullptr) return nullptr;
        set->bytes = static_cast<uint8_t*>(grown);
        set->capacity = capacity;
    }
    uint8_t* head = set->bytes + set->size;
    std::memcpy(head, &id, sizeof id);
    std::memcpy(head + sizeof id, &length, sizeof length);
    set->size = needed;
    return head + kHeadSize;
}

}  // namespace zvhost

using namespace zvhost;

int32_t HostCreateMarkers(HostMarkers* markers) noexcept {
    if (markers == nullptr) return ERR_INVALID_PARAMETER;
    *markers = static_cast<HostMarkers>(HostAllocZeroed(sizeof **markers, 1, __LINE__, kMarkersSource));
    return *markers != nullptr ? int32_t{CLR_SUCCESS} : int32_t{ERR_NO_MEMORY};
}

int32_t HostFreeMarkers(HostMarkers markers) noexcept {
    if (markers == nullptr) return CLR_SUCCESS;
    SaveState* state = OwnSaveState();
    if (state != nullptr && state->markers == markers) HostSetSaveMarkers(nullptr, 0);
    HostFree(markers->bytes, __LINE__, kMarkersSource);
    HostFree(markers, __LINE__, kMarkersSource);
    return CLR_SUCCESS;
}

int32_t HostInsertMarker(HostMarkers markers, int32_t place, uint32_t id, uint32_t length,
                         const uint8_t* data) noexcept {
    // Other markers would end the image, or not be read as they were written.
    if (markers == nullptr || place != -1 || !IsJpegSegment(id) || length > kLargestJpegData ||
        (data == nullptr && length != 0)) {
        return ERR_INVALID_PARAMETER;
    }
    uint8_t* room = AddMarker(markers, id, length);
    if (room == nullptr) return ERR_NO_MEMORY;
    HostCopy(room, data, length);
    return CLR_SUCCESS;
}

int32_t HostLoadMarkers(const ZvChar* name, HostMarkers* markers, uint32_t) noexcept {
    if (markers == nullptr) return ERR_INVALID_PARAMETER;
    ImageFile file;
    int32_t result = file.Open(name);
    if (result != CLR_SUCCESS) return result;
    HostMarkers set = nullptr;
    result = HostCreateMarkers(&set);
    if (result != CLR_SUCCESS) return result;
    result = Load(&file, set);
    if (result == CLR_SUCCESS) {
        *markers = set;
    } else {
        HostFreeMarkers(set);
    }
    return result;
}

int32_t HostEnumMarkers(HostMarkers markers, uint32_t, HostMarkerCallback callback, void* user) noexcept {
    if (markers == nullptr || callback == nullptr) return ERR_INVALID_PARAMETER;
    Marker marker;
    for (uint64_t offset = 0; NextMarker(*markers, &offset, &marker);) {
        const int32_t result = callback(marker.id, marker.length, marker.data, user);
        if (result != CLR_SUCCESS) return result;
    }
    return CLR_SUCCESS;
}

int32_t HostSetSaveMarkers(HostMarkers markers, uint32_t) noexcept {
    TakeSaveState()->markers = markers;
    YieldSaveState();
    return CLR_SUCCESS;
}
