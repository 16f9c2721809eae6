// A second, plain reading of profiles in image files, from bytes that are all in hand: what the library's readings are
// compared with.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace zvfuzz {

using Bytes = std::vector<uint8_t>;

/// A result, and what has reached the profile by then: nothing at all, or a block, which may be empty.
struct Reading {
    int32_t result;
    std::optional<Bytes> profile;
};

/// A segment of a JPEG file before its coded image, by places in the file. It begins with the fill bytes before its
/// marker, which would make a marker of whatever follows if they stayed alone.
struct Segment {
    uint8_t marker;
    size_t begin;
    size_t data;
    size_t end;
};

/// Nothing when the file is damaged.
std::optional<std::vector<Segment>> SegmentsOf(const Bytes& file);
bool IsProfilePart(const Bytes& file, const Segment& segment);
bool IsPictureIndex(const Bytes& file, const Segment& segment);

Reading ReadJpeg(const Bytes& file);
/// Whether a TIFF file's first directory is there whole.
bool HasDirectory(const Bytes& file);
/// Such a directory: how many entries are a profile's, and the others and the next directory's place as they stand in
/// the file.
struct Tags {
    size_t profiles;
    Bytes others;
};
Tags TagsOf(const Bytes& file);
Reading ReadTiff(const Bytes& file);
Reading ReadPicture(const Bytes& file);
/// A line that begins a profile and ends with the file may be found or not: that hangs on the sizes of buffers.
Reading ReadEps(const Bytes& file, bool findsLineAtEnd);

}  // namespace zvfuzz
