// The profiles that the library carries, for files that are to tell what their pixels mean.
#ifndef ZVCLR_TOOLS_BUILTIN_PROFILES_H
#define ZVCLR_TOOLS_BUILTIN_PROFILES_H

#include <cstdint>
#include <vector>

namespace zvtool {

/// The profile that describes rgb, cmyk, cmy or lab to the library's converters; empty for other spaces.
std::vector<uint8_t> builtinProfile(int32_t space);

}  // namespace zvtool

#endif  // ZVCLR_TOOLS_BUILTIN_PROFILES_H
