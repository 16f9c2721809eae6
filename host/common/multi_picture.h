// JPEG files that hold several pictures tell their places in an APP2 marker of the first one, counted from within that
// marker.
#pragma once

#include <cstdint>

namespace zvhost {

/// Whether a segment is such an index.
bool IsPictureIndex(uint8_t marker, const uint8_t* data, uint32_t size) noexcept;

/// Corrects the index for a first picture that grows by `growth` bytes, of which `growthBehind` are added behind the
/// index. What cannot be made sense of stays as it is.
void MovePictures(uint8_t* data, uint32_t size, int64_t growth, int64_t growthBehind) noexcept;

}  // namespace zvhost
