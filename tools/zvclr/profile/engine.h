// What the library's transform engine would take of a profile.
#ifndef ZVCLR_TOOLS_PROFILE_ENGINE_H
#define ZVCLR_TOOLS_PROFILE_ENGINE_H

#include <optional>
#include <string>
#include <vector>

#include "profile.h"

namespace zvinfo {

/// One side of a conversion.
struct EngineSide {
    bool usable = false;            ///< by what the tags are
    std::vector<std::string> tags;  ///< that it would read
    std::string text;               ///< how, or why not
    std::optional<int32_t> trial;   ///< result of a converter with the profile, made and run
};

struct EngineUse {
    std::optional<std::string> space;  ///< the converters' name of the profile's colour space
    EngineSide input;                  ///< pixels of the profile's space come in
    EngineSide output;
};

EngineUse engineUse(const Profile& profile);

}  // namespace zvinfo

#endif  // ZVCLR_TOOLS_PROFILE_ENGINE_H
