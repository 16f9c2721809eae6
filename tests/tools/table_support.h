// Emulation tables and charts as files, written and read by libtiff.
#ifndef ZVCLR_TESTS_TABLE_SUPPORT_H
#define ZVCLR_TESTS_TABLE_SUPPORT_H

#include <array>
#include <cstdint>
#include <functional>
#include <string>

#include "tool_support.h"

struct tiff;

namespace zvtest {

struct TiffPicture {
    uint32_t width = 0;
    uint32_t height = 0;
    uint16_t samples = 3;
    uint16_t bits = 8;
    uint16_t photometric = 2;
    uint16_t compression = 1;
    uint32_t strips = 1;
    Bytes pixels;
};

/// The mode is that of TIFFOpen; `more` sets further fields.
void writeTiff(const std::string& path, const TiffPicture& picture, const char* mode = "wl",
               const std::function<void(tiff*)>& more = {});
TiffPicture readTiff(const std::string& path);

/// Bytes that tell nodes apart, for a square of this many pixels on a side.
Bytes patternTable(int32_t side);

/// Mean of two bytes, rounded down.
inline uint8_t meanByte(uint8_t low, uint8_t high) { return static_cast<uint8_t>((low + high) / 2); }

}  // namespace zvtest

#endif  // ZVCLR_TESTS_TABLE_SUPPORT_H
