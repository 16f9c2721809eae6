// Image files with profiles in them, made by hand and by libtiff, for the tests of the commands that move profiles.
#ifndef ZVCLR_TESTS_EMBEDDED_SUPPORT_H
#define ZVCLR_TESTS_EMBEDDED_SUPPORT_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tool_support.h"

namespace zvtest {

/// A small profile of a class and a colour space.
Bytes smallProfile(std::string_view space, std::string_view deviceClass = "mntr");
/// The library's RGB profile with other bytes behind it, up to this size, which it states.
Bytes profileOfSize(size_t size);

void append(Bytes& to, const Bytes& bytes);
void appendText(Bytes& to, std::string_view text);

/// A baseline JPEG of 19 x 13 pixels, and its like in grey.
Bytes plainJpeg();
Bytes greyJpeg();
struct Part {
    int number;
    int count;
    Bytes bytes;
};
/// With an APP2 marker for each part behind its first marker.
Bytes jpegWithParts(const Bytes& jpeg, const std::vector<Part>& parts);
/// A segment with any length behind the first marker.
Bytes jpegWithSegment(const Bytes& jpeg, uint8_t marker, uint16_t length, const Bytes& data);

/// A GIF of 19 x 13 pixels with a trailer at its end.
Bytes plainGif();
/// With an extension before the trailer; `code` has three bytes.
Bytes gifWithProfile(const Bytes& gif, const Bytes& profile, std::string_view code = std::string_view("\0\1\2", 3));

/// A PNG of 19 x 13 pixels.
Bytes plainPng();
struct Chunk {
    std::string type;
    Bytes data;
};
std::vector<Chunk> chunksOf(const Bytes& png);
Bytes pngOf(const std::vector<Chunk>& chunks);

/// A profile's block as PostScript programs write it.
std::string epsBlock(const Bytes& profile, const std::string& lineEnd, size_t bytesInLine = 32);
std::string epsWith(const std::string& block, const std::string& lineEnd);
/// A plain PostScript file in a binary frame with a preview behind it.
Bytes inBinaryFrame(const std::string& postScript);

/// A Macintosh picture with the profile in comments of this many bytes.
Bytes pictureWithProfile(const Bytes& profile, size_t bytesInComment);
Bytes plainPicture();

struct TiffVariant {
    const char* name;
    const char* mode;  ///< of libtiff: "wl", "wb8" and so on
    bool tiled = false;
    int pages = 1;
    bool planes = false;
};
const std::vector<TiffVariant>& tiffVariants();
/// Pages of 40 x 24 rgb pixels; the first has the profile, unless it is empty.
void writeTiff(const std::string& path, const TiffVariant& variant, const Bytes& profile = {});
/// The decoded pixels of every page.
Bytes tiffPixels(const std::string& path);

}  // namespace zvtest

#endif  // ZVCLR_TESTS_EMBEDDED_SUPPORT_H
