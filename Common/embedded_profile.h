// How image files hold a profile: what loading and saving have in common.
#pragma once

#include <cstddef>
#include <cstdint>

#include "zvclr.h"
#include "zvicc.h"

namespace zv {

/// The ways into an image file and out of it.
enum class IccRoute : uint8_t { kNone, kMarkers, kTag, kEps, kChunks, kGif };

/// The way that goes with a format number of the host's file library.
IccRoute IccRouteOf(int32_t format) noexcept;

/// What HostFileInfo says of a file, by way of the format number; its result.
int32_t IccFindRoute(const ZvChar* fileName, const void* loadOptions, IccRoute* route) noexcept;

/// A profile's part in a JPEG: an APP2 marker whose data begin with this identifier, the part's number from 1 and the
/// number of parts.
inline constexpr uint32_t kIccMarker = 226;
inline constexpr char kIccMarkerIdentifier[] = "ICC_PROFILE";  // with its zero byte
inline constexpr size_t kIccMarkerIdentifierSize = sizeof kIccMarkerIdentifier;
inline constexpr size_t kIccMarkerHeadSize = kIccMarkerIdentifierSize + 2;
static_assert(kIccMarkerIdentifierSize == 12);

/// TIFF's tag for profiles.
inline constexpr uint32_t kIccFileTag = 34675;

inline int32_t IccCheckEmbedding(const ZvChar* fileName, const ClrIccProfile* profile) noexcept {
    if (fileName == nullptr || profile == nullptr) return ERR_INVALID_PARAMETER;
    return profile->structSize == sizeof *profile ? int32_t{CLR_SUCCESS} : int32_t{ERR_STRUCT_SIZE};
}

}  // namespace zv
