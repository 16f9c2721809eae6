// Signatures and numbers of profiles in plain words.
#ifndef ZVCLR_TOOLS_PROFILE_NAMES_H
#define ZVCLR_TOOLS_PROFILE_NAMES_H

#include <cstdint>
#include <string>
#include <string_view>

namespace zvinfo {

constexpr uint32_t sig(const char (&letters)[5]) {
    uint32_t result = 0;
    for (int i = 0; i < 4; ++i) {
        result = result << 8 | static_cast<uint8_t>(letters[i]);
    }
    return result;
}

/// Four letters, blanks for those that are missing.
uint32_t sigOf(std::string_view letters);

// Each is empty for what has no name.
std::string_view className(uint32_t signature);
std::string_view spaceName(uint32_t signature);
std::string_view platformName(uint32_t signature);
std::string_view typeName(uint32_t signature);
std::string_view technologyName(uint32_t signature);
std::string_view measurementUnitName(uint32_t signature);
std::string_view intentName(uint32_t intent);
std::string_view observerName(uint32_t observer);
std::string_view geometryName(uint32_t geometry);
std::string_view illuminantName(uint32_t illuminant);
std::string_view phosphorName(uint32_t phosphor);
/// What a signature in a "sig " tag means, by the tag that it stands in.
std::string_view signatureTagName(uint32_t tag, uint32_t value);

/// Device channels of a colour space, 0 where the signature tells none.
uint32_t channelsOf(uint32_t space);

struct TagName {
    const char* signature;
    const char* name;
    const char* types2;   ///< types that version 2 has for it, with blanks between them; empty for none
    const char* types4;   ///< likewise of version 4
    uint32_t goneIn = 0;  ///< version, as in the header, that took the tag away; 0 for none
};

/// Null for tags that no version of the standard has.
const TagName* findTag(uint32_t signature);
/// Also of tags that are widely used outside the standard.
std::string_view tagName(uint32_t signature);
/// Whether `types` has that one.
bool hasType(std::string_view types, uint32_t type);

}  // namespace zvinfo

#endif  // ZVCLR_TOOLS_PROFILE_NAMES_H
