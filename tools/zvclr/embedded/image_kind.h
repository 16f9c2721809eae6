// The image files that can hold a profile, told by their first bytes.
#ifndef ZVCLR_TOOLS_EMBEDDED_IMAGE_KIND_H
#define ZVCLR_TOOLS_EMBEDDED_IMAGE_KIND_H

#include <cstddef>
#include <optional>
#include <span>
#include <string>

namespace zvembed {

enum class ImageKind { kJpeg, kTiff, kPng, kGif, kEps, kPicture };

/// Bytes from the start of a file that imageKind() looks at.
inline constexpr size_t kKindBytes = 16;

/// Nothing for all others, and for Macintosh pictures, which only the library tells.
std::optional<ImageKind> imageKind(std::span<const unsigned char> head);

/// Throws ImageError for folders, pipes and devices, without opening them: a pipe would lose what is in it.
void checkImageFile(const std::string& path);

/// "JPEG"
const char* kindName(ImageKind kind);
/// "jpeg"
const char* kindKey(ImageKind kind);

}  // namespace zvembed

#endif  // ZVCLR_TOOLS_EMBEDDED_IMAGE_KIND_H
