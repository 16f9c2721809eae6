// The profile in an image file, for every command that takes one out.
#ifndef ZVCLR_TOOLS_EMBEDDED_EMBEDDED_PROFILE_H
#define ZVCLR_TOOLS_EMBEDDED_EMBEDDED_PROFILE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "image_kind.h"

namespace zvembed {

struct EmbeddedProfile {
    ImageKind kind = ImageKind::kJpeg;
    std::string place;                  ///< in words: "in 2 APP2 markers"
    size_t parts = 1;                   ///< markers of a JPEG, profiles of a GIF
    std::vector<uint8_t> bytes;         ///< without what lies behind the profile's stated end
    bool valid = false;                 ///< a header and a size that fits
    std::vector<std::string> warnings;  ///< each goes on from the file's name
    std::vector<std::string> notes;     ///< likewise
};

/// Nothing when the file is no image that could hold a profile; no bytes when it holds none. Throws ImageError.
std::optional<EmbeddedProfile> findEmbeddedProfile(const std::string& path);

/// The profile's own description, as far as it fits into a line; empty when there is none.
std::string describeProfile(const std::vector<uint8_t>& profile);

}  // namespace zvembed

#endif  // ZVCLR_TOOLS_EMBEDDED_EMBEDDED_PROFILE_H
