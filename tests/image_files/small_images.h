// Image files of a few hundred bytes, made by hand.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "image_file_support.h"

namespace zvtest {

Bytes operator+(Bytes first, const Bytes& second);
Bytes Text(const std::string& text);

/// A grey picture of 16 x 8 pixels.
Bytes SmallJpeg();
Bytes JpegSegment(uint8_t marker, const Bytes& data);
/// A segment with a profile's part.
Bytes JpegPart(uint8_t number, uint8_t count, const Bytes& data);
/// SmallJpeg with segments behind its first.
Bytes JpegWith(const Bytes& segments);
/// From the first scan on; from the end marker if there is none. Empty if segments do not lead there.
Bytes CodedData(const Bytes& jpeg);
/// The data of the segments of a marker before the scan.
std::vector<Bytes> SegmentsOf(const Bytes& jpeg, uint8_t marker);

/// Numbers of a TIFF file in its byte order, offsets of 4 or 8 bytes.
struct TiffForm {
    bool bigEndian;
    bool big;
    uint64_t Get(const Bytes& bytes, uint64_t at, uint32_t size) const;
    void Put(Bytes* bytes, uint64_t at, uint64_t value, uint32_t size) const;
    void Append(Bytes* bytes, uint64_t value, uint32_t size) const;
    uint32_t OffsetSize() const { return big ? 8 : 4; }
    uint32_t CountSize() const { return big ? 8 : 2; }
    uint32_t EntrySize() const { return big ? 20 : 12; }
    uint64_t FirstDirectoryAt() const { return big ? 8 : 4; }
    uint64_t HeaderSize() const { return big ? 16 : 8; }
};
inline constexpr TiffForm kTiffForms[] = {{false, false}, {true, false}, {false, true}, {true, true}};
std::string NameOf(const TiffForm& form);

/// Two pages of 8 x 8 grey pixels, each in two strips.
Bytes SmallTiff(const TiffForm& form);

struct TiffEntry {
    uint64_t tag;
    uint64_t type;
    uint64_t count;
    Bytes value;  ///< the bytes of the entry's last field
    bool operator==(const TiffEntry&) const = default;
};
struct TiffDirectory {
    uint64_t offset;
    std::vector<TiffEntry> entries;
    uint64_t next;
};
/// The directory at an offset, of a file that is whole.
TiffDirectory DirectoryAt(const TiffForm& form, const Bytes& tiff, uint64_t offset);
TiffDirectory FirstDirectory(const TiffForm& form, const Bytes& tiff);
/// A file with one more entry of this tag; its data go to the end.
Bytes TiffWith(const TiffForm& form, const Bytes& tiff, uint16_t tag, uint16_t type, const Bytes& data);

/// 2 x 2 pixels of four colours.
Bytes SmallGif(const std::string& version = "GIF89a");
/// What saving puts in the place of the last byte.
Bytes GifExtension(const Bytes& profile);

/// A program that draws nothing, with its profile in lines of so many bytes.
Bytes Eps(const Bytes& profile, const std::string& lineEnd, size_t bytesInLine = 32);
/// The same behind the header with a preview in TIFF.
Bytes EpsWithPreview(const Bytes& profile, const std::string& lineEnd);
/// What the library makes of a profile of an EPS file.
Bytes AllButTheStaged(const Bytes& profile);

struct PictureChunk {
    uint32_t type;
    Bytes data;
};
/// A picture of version 2 with a frame, comments and the end.
Bytes Picture(const std::vector<PictureChunk>& chunks, bool withHead = true);
/// The chunks as programs cut a profile into them.
std::vector<PictureChunk> ChunksOf(const Bytes& profile, size_t most);

}  // namespace zvtest
