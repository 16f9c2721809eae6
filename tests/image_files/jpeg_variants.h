// JPEG files of the many shapes that programs write, made with libjpeg.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "image_file_support.h"

namespace zvtest {

struct JpegVariant {
    std::string name;
    int channels = 3;  ///< 4: inverted CMYK behind an APP14 marker
    bool progressive = false;
    bool arithmetic = false;
    unsigned restartRows = 0;
    bool storedAsIs = false;  ///< RGB or CMYK without YCC in the file
    bool jfif = true;
    std::vector<std::pair<int, Bytes>> markers = {};  ///< behind those that the library writes itself
};

const std::vector<JpegVariant>& JpegVariants();
Bytes MakeJpeg(const JpegVariant& variant);

/// Width, height, channels and rows as they are stored in the file.
Bytes DecodeJpeg(const Bytes& jpeg);
/// The profile as libjpeg joins its parts; empty if there is none.
Bytes ProfileInJpeg(const Bytes& jpeg);

}  // namespace zvtest
