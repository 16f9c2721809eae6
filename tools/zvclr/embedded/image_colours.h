// What the pixels of an image file are, as far as its head tells it cheaply: a profile must fit them.
#ifndef ZVCLR_TOOLS_EMBEDDED_IMAGE_COLOURS_H
#define ZVCLR_TOOLS_EMBEDDED_IMAGE_COLOURS_H

#include <cstdint>
#include <string>

#include "image/input_file.h"
#include "image_kind.h"

namespace zvembed {

struct ImageColours {
    uint32_t channels = 0;  ///< without alpha; 0 when unknown
    uint32_t space = 0;     ///< signature of the colour space; 0 when only the channels are known

    bool fit(uint32_t profileSpace) const;
    /// "RGB pixels", "pixels of 6 channels"
    std::string text() const;
};

/// Throws ImageError where the file is damaged.
ImageColours readImageColours(ImageKind kind, zvimage::InputFile& file);

}  // namespace zvembed

#endif  // ZVCLR_TOOLS_EMBEDDED_IMAGE_COLOURS_H
