// ICC profiles that the command line names, checked before the library sees them.
#ifndef ZVCLR_TOOLS_PROFILE_FILE_H
#define ZVCLR_TOOLS_PROFILE_FILE_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zvtool {

struct ProfileRequest {
    std::string option;   ///< the option that named the file
    std::string path;     ///< a file, or what stands for it in messages; "-" is none
    int32_t space;        ///< what the profile must describe
    std::string holder;   ///< "the picture holds"
    std::string instead;  ///< what could be given in place of another profile
};

/// A signature for people: blanks at its end cut off, other bytes as question marks.
std::string readableSignature(std::string_view signature);
/// The colour space of a profile, four letters; the profile must have a header.
std::string_view profileSpace(const std::vector<uint8_t>& profile);
/// The four letters that a profile for pixels of a space has.
std::string_view signatureOf(int32_t space);

/// What is wrong with the bytes of a profile, going on from its name; empty for nothing.
std::string profileDamage(const std::vector<uint8_t>& profile);

/// Checks a profile that has been read already, under the name of `path`. Throws as readProfile() does.
void checkProfile(const ProfileRequest& request, const std::vector<uint8_t>& profile);

/// The whole profile. Throws ImageError for files that are no usable profiles, ContradictionError for a
/// profile of another colour space.
std::vector<uint8_t> readProfile(const ProfileRequest& request);

}  // namespace zvtool

#endif  // ZVCLR_TOOLS_PROFILE_FILE_H
