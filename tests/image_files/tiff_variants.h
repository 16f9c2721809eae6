// TIFF files of the many shapes that programs write, made with libtiff.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "image_file_support.h"

namespace zvtest {

struct TiffVariant {
    std::string name;
    uint16_t compression;
    uint16_t photometric;
    uint16_t bits = 8;
    uint16_t channels = 3;
    bool planar = false;
    bool tiles = false;
    int pages = 1;
    int thumbnails = 0;  ///< pictures below the first page, by tag 330
};

const std::vector<TiffVariant>& TiffVariants();
/// The forms as modes of libtiff: little and big endian, classic and with 64-bit offsets.
inline constexpr const char* kTiffModes[] = {"wl", "wb", "wl8", "wb8"};
void MakeTiff(const fs::path& file, const TiffVariant& variant, const char* mode);

/// A strip or tile.
struct TiffPiece {
    uint64_t offset;
    Bytes coded;
    Bytes decoded;
    bool operator==(const TiffPiece&) const = default;
};
/// A page, or a picture below one.
struct TiffPicture {
    std::vector<TiffPiece> pieces;
    std::string facts;  ///< size, kind and the like
    bool operator==(const TiffPicture&) const = default;
};
std::vector<TiffPicture> PicturesIn(const fs::path& file);
/// Of the first page; empty if there is none.
Bytes ProfileInTiff(const fs::path& file);

}  // namespace zvtest
