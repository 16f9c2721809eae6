// ICC profiles that the command line names, checked before the library sees them.
#ifndef ZVCLR_TOOLS_PROFILE_FILE_H
#define ZVCLR_TOOLS_PROFILE_FILE_H

#include <cstdint>
#include <string>
#include <vector>

namespace zvtool {

struct ProfileRequest {
    std::string option;   ///< the option that named the file
    std::string path;     ///< a file; "-" is none
    int32_t space;        ///< what the profile must describe
    std::string holder;   ///< "the picture holds"
    std::string instead;  ///< what could be given in place of another profile
};

/// The whole profile. Throws ImageError for files that are no usable profiles, ContradictionError for a
/// profile of another colour space.
std::vector<uint8_t> readProfile(const ProfileRequest& request);

}  // namespace zvtool

#endif  // ZVCLR_TOOLS_PROFILE_FILE_H
