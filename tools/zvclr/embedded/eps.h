// Profiles in EPS files, whole: the library loses their last 1 to 80 bytes.
#ifndef ZVCLR_TOOLS_EMBEDDED_EPS_H
#define ZVCLR_TOOLS_EMBEDDED_EPS_H

#include <cstdint>
#include <optional>
#include <vector>

#include "image/input_file.h"

namespace zvembed {

/// The first profile of a file; nothing when it has none. Throws ImageError where a profile is not what it should be.
std::optional<std::vector<uint8_t>> readEpsProfile(zvimage::InputFile& file);

}  // namespace zvembed

#endif  // ZVCLR_TOOLS_EMBEDDED_EPS_H
