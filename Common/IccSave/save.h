// Profiles into image files.
#pragma once

#include <cstddef>
#include <cstdint>

#include "Common/embedded_profile.h"
#include "host/host.h"
#include "zvicc.h"

namespace zv {

inline constexpr ZvChar kIccSaveSource[] = ZV_WIDE("Common\\IccSave");

/// What a part of a profile may hold, by which the parts are counted. The last part may be longer: only what would not
/// fit kIccMarkerBufferSize without its head is divided further. A marker of that length is for the host to refuse.
inline constexpr uint64_t kIccPartSize = 65519;
inline constexpr uint64_t kIccMarkerBufferSize = 65533;
/// The one positive result of the family that is no success: no memory for the parts.
inline constexpr int32_t kIccNoPartBuffer = 8;

/// APP2 markers of a JPEG file.
int32_t IccWriteMarkers(const ZvChar* fileName, const ClrIccProfile* profile,
                        const SAVEFILEOPTION* saveOptions) noexcept;
/// TIFF's tag for profiles.
int32_t IccWriteFileTag(const ZvChar* fileName, const ClrIccProfile* profile,
                        const SAVEFILEOPTION* saveOptions) noexcept;
/// An application extension in place of a GIF file's last byte. Extensions that are there stay.
int32_t IccWriteGifExtension(const ZvChar* fileName, const ClrIccProfile* profile) noexcept;

}  // namespace zv
