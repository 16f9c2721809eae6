// Profiles out of image files.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host/host.h"
#include "zvicc.h"

namespace zv {

inline constexpr ZvChar kIccLoadSource[] = ZV_WIDE("Common\\IccLoad");

/// Adds bytes at the end of profileData; ERR_FAILURE without memory.
int32_t IccAppendProfileBytes(ClrIccProfile* profile, uint64_t count, const uint8_t* bytes) noexcept;

/// What a way through a file holds. A fault cuts the way short, and destructors do not run then: whoever guards it
/// releases what is here.
struct IccScan {
    HostFile file = kNoHostFile;
    ClrIccProfile* profile = nullptr;
    uint8_t* volatile buffer = nullptr;
    HostMarkers volatile markers = nullptr;

    /// False without memory.
    bool NewBuffer(int64_t size) noexcept;
    /// Both are empty afterwards.
    void Release() noexcept;
};

/// The joined data of the APP2 markers of a profile, in the order of the file.
int32_t IccReadMarkers(IccScan* scan, const ZvChar* fileName) noexcept;
/// A callback of HostEnumMarkers; `profile` is a ClrIccProfile.
int32_t IccMarkerCallback(uint32_t id, uint32_t length, const uint8_t* data, void* profile) noexcept;

/// TIFF's tag for profiles.
int32_t IccReadFileTag(const ZvChar* fileName, ClrIccProfile* profile, const void* loadOptions) noexcept;

inline constexpr int32_t kIccEpsBufferSize = 1024;
inline constexpr int64_t kIccEpsNotFound = -1;
/// A file without a byte in it. No failure: what reads on finds nothing, and says so.
inline constexpr int64_t kIccEpsEmpty = -7;

/// Leaves the file behind the line that begins a profile, and returns that place.
int64_t IccFindEpsBegin(HostFile file, uint8_t* buffer) noexcept;
/// Reads hexadecimal lines to the one that ends the profile, and releases the scan's buffer. What is still staged at
/// the end line, 1 to 80 bytes, does not reach the profile: of n bytes it gets 80 * floor((n - 1) / 80).
int32_t IccReadEpsHex(IccScan* scan) noexcept;
int32_t IccReadEps(IccScan* scan) noexcept;

inline constexpr int32_t kIccChunkBufferSize = 32767;
/// The chunks of a Macintosh picture's comments.
int32_t IccReadChunkStream(IccScan* scan) noexcept;

}  // namespace zv
