// Collections of JPEG markers.
#pragma once

#include <cstdint>

#include "host/host.h"

/// Markers one behind the other in a block that grows: number, length, data.
struct HostMarkerSet {
    uint8_t* bytes;
    uint64_t size;
    uint64_t capacity;
};

namespace zvhost {

inline constexpr ZvChar kMarkersSource[] = ZV_WIDE("host\\jpeg_markers");

struct Marker {
    uint32_t id;
    uint32_t length;
    const uint8_t* data;
};

/// The marker at `*offset`, which moves on to the next. False at the end.
bool NextMarker(const HostMarkerSet& set, uint64_t* offset, Marker* marker) noexcept;
/// Room for a marker's data at the end of the set; null without memory.
uint8_t* AddMarker(HostMarkers set, uint32_t id, uint32_t length) noexcept;

}  // namespace zvhost
