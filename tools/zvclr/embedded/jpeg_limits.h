// Sizes of profiles that JPEG markers hold.
#ifndef ZVCLR_TOOLS_EMBEDDED_JPEG_LIMITS_H
#define ZVCLR_TOOLS_EMBEDDED_JPEG_LIMITS_H

#include <cstddef>

namespace zvembed {

/// What a marker of 65,533 bytes holds beside the identifier, the number and the count.
inline constexpr size_t kJpegPartBytes = 65519;
inline constexpr size_t kJpegPartHead = 14;
/// Numbers have a byte.
inline constexpr size_t kMostJpegParts = 255;
inline constexpr size_t kLargestJpegProfile = kMostJpegParts * kJpegPartBytes;

inline bool fitsIntoJpeg(size_t size) { return size <= kLargestJpegProfile; }

/// Zero bytes to put behind a profile: the library takes up to 13 bytes more than a marker holds for one part, and
/// cuts a part off from 14 on.
inline size_t jpegPadding(size_t size) {
    const size_t rest = size % kJpegPartBytes;
    return size > kJpegPartBytes && rest != 0 && rest < kJpegPartHead ? kJpegPartHead - rest : 0;
}

}  // namespace zvembed

#endif  // ZVCLR_TOOLS_EMBEDDED_JPEG_LIMITS_H
