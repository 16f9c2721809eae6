// What the markers of a JPEG file say of its profile: the library joins the parts as they stand and looks at no number.
#ifndef ZVCLR_TOOLS_EMBEDDED_JPEG_MARKERS_H
#define ZVCLR_TOOLS_EMBEDDED_JPEG_MARKERS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "image/input_file.h"

namespace zvembed {

struct JpegPart {
    uint8_t number = 0;  ///< from 1
    uint8_t count = 0;   ///< of all parts
    std::vector<uint8_t> bytes;
};

struct JpegHead {
    uint32_t components = 0;  ///< 0 for a file without a frame header before its first scan
    std::vector<JpegPart> parts;
};

/// The markers before the first scan. Throws ImageError.
JpegHead readJpegHead(zvimage::InputFile& file);

struct JoinedParts {
    std::vector<uint8_t> bytes;
    bool asInFile = true;               ///< the parts stand in the order of their numbers, each once
    std::vector<std::string> warnings;  ///< each goes on from the file's name
};

/// The parts in the order of their numbers, the first of each number.
JoinedParts joinParts(const std::vector<JpegPart>& parts);

}  // namespace zvembed

#endif  // ZVCLR_TOOLS_EMBEDDED_JPEG_MARKERS_H
