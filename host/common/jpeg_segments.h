// The segments of a JPEG file before its coded image.
#pragma once

#include <cstdint>

#include "host/common/image_file.h"

namespace zvhost {

struct JpegSegment {
    uint8_t marker;
    uint64_t begin;       ///< of the fill bytes before the marker: they would make one of what follows
    uint64_t dataOffset;  ///< behind the length
    uint32_t dataSize;
    uint64_t End() const noexcept { return dataOffset + dataSize; }
};

class JpegSegments {
public:
    explicit JpegSegments(ImageFile* file) noexcept : file_(file) {}

    /// 1, or ERR_FILE_READ if the file does not begin as a JPEG.
    int32_t Begin() noexcept;
    /// 1 for another segment, 0 at the coded image or the end of the picture, ERR_FILE_READ where the file is damaged.
    int32_t Next(JpegSegment* segment) noexcept;

private:
    ImageFile* file_;
    uint64_t at_ = 0;
};

inline constexpr uint32_t kLargestJpegData = 65533;

/// Whether a marker of that number is a segment before the coded image.
bool IsJpegSegment(uint32_t marker) noexcept;

}  // namespace zvhost
