// Small image files, made of the bytes that readers of profiles look at. Their coded images are not for decoders.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace zv::test {

std::string JpegSegment(int marker, const std::string& data);
std::string ProfilePart(int number, int count, const std::string& bytes);
/// With these segments behind the first one.
std::string SampleJpeg(const std::string& segments);
/// An index of two pictures, as a segment.
std::string PictureIndex(bool big);

struct TiffEntry {
    uint32_t tag, type;
    uint64_t count, value;
};
/// A directory of a strip and these entries, and another, empty one. The 24 bytes from kTiffProfileAt on, or from
/// kBigTiffProfileAt on, are for a profile.
std::string SampleTiff(bool big, bool wide, const std::vector<TiffEntry>& more);
inline constexpr uint64_t kTiffProfileAt = 12;
inline constexpr uint64_t kBigTiffProfileAt = 20;

/// The bytes 0, 7, 14 and so on as lines of digits.
std::string HexLines(size_t bytes, const std::string& lineEnd);
std::string SampleEps(size_t bytes, const std::string& lineEnd);

std::string PictureChunk(uint32_t type, const std::string& bytes);
std::string SamplePicture(const std::string& comments);

/// With these extensions before the picture.
std::string SampleGif(const std::string& extensions);

}  // namespace zv::test
