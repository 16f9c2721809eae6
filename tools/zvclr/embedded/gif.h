// Profiles in GIF files, which the library puts in but does not take out.
#ifndef ZVCLR_TOOLS_EMBEDDED_GIF_H
#define ZVCLR_TOOLS_EMBEDDED_GIF_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "image/input_file.h"

namespace zvembed {

struct GifProfile {
    size_t extensions = 0;       ///< that hold profiles
    std::vector<uint8_t> bytes;  ///< of the last one: savers put theirs behind the others
    bool trailerIsLast = false;  ///< the trailer is the last byte of the file
};

/// Walks through the blocks of a file. Throws ImageError.
GifProfile readGifProfile(zvimage::InputFile& file);

}  // namespace zvembed

#endif  // ZVCLR_TOOLS_EMBEDDED_GIF_H
