#include "profile_file.h"

#include <fmt/format.h>

#include <string_view>

#include "image/image.h"
#include "profile/profile.h"
#include "zvclr.h"

namespace zvtool {

using zvimage::ContradictionError;
using zvimage::ImageError;
using zvinfo::kMagicAt;
using zvinfo::kSmallestProfile;

namespace {

constexpr size_t kClassAt = 12;
constexpr size_t kSpaceAt = 16;

std::string_view signatureAt(const std::vector<uint8_t>& profile, size_t offset) {
    return {reinterpret_cast<const char*>(profile.data()) + offset, 4};
}

uint32_t statedSize(const std::vector<uint8_t>& profile) {
    return uint32_t{profile[0]} << 24 | uint32_t{profile[1]} << 16 | uint32_t{profile[2]} << 8 | profile[3];
}

std::vector<uint8_t> readFile(const ProfileRequest& request) {
    if (request.path == "-") {
        throw ContradictionError(request.option + " takes no standard input; name a file");
    }
    return zvinfo::readProfileFile(request.path, fmt::format("; give {} another file", request.option));
}

void checkClass(const ProfileRequest& request, const std::vector<uint8_t>& profile) {
    const std::string_view kind = signatureAt(profile, kClassAt);
    if (kind == "link" || kind == "abst" || kind == "nmcl") {
        const char* name = kind == "link"   ? "a device link"
                           : kind == "abst" ? "an abstract profile"
                                            : "a named-colour profile";
        throw ContradictionError(
            fmt::format("{} is {}, but {} needs the profile of one colour space or device; give such "
                        "a profile",
                        request.path, name, request.option));
    }
}

}  // namespace

std::string readableSignature(std::string_view signature) {
    std::string text;
    for (const char c : signature) {
        text += c >= ' ' && c <= '~' ? c : '?';
    }
    while (!text.empty() && text.back() == ' ') {
        text.pop_back();
    }
    return text;
}

std::string_view signatureOf(int32_t space) {
    switch (space) {
        case CLRSPACE_CMYK:
        case CLRSPACE_YCCK:  // inks in another notation
            return "CMYK";
        case CLRSPACE_CMY:
            return "CMY ";
        case CLRSPACE_LAB:
            return "Lab ";
        default:
            return "RGB ";
    }
}

std::string_view profileSpace(const std::vector<uint8_t>& profile) { return signatureAt(profile, kSpaceAt); }

std::string profileDamage(const std::vector<uint8_t>& profile) {
    if (profile.size() < kSmallestProfile || signatureAt(profile, kMagicAt) != "acsp") {
        return fmt::format("is no ICC profile: among its {} bytes \"acsp\" does not stand at byte 36", profile.size());
    }
    if (statedSize(profile) > profile.size()) {
        return fmt::format("is cut off: it says that it has {} bytes, but {} are there", statedSize(profile),
                           profile.size());
    }
    return {};
}

void checkProfile(const ProfileRequest& request, const std::vector<uint8_t>& profile) {
    if (const std::string damage = profileDamage(profile); !damage.empty()) {
        throw ImageError(fmt::format("{} {}; give {} another file", request.path, damage, request.option));
    }
    checkClass(request, profile);
    const std::string_view found = profileSpace(profile);
    const std::string_view expected = signatureOf(request.space);
    if (found != expected) {
        throw ContradictionError(fmt::format("{} is a profile for {}, but {} {}; give {} a profile for {}, or {}",
                                             request.path, readableSignature(found), request.holder,
                                             zvimage::spaceOf(request.space).name, request.option,
                                             readableSignature(expected), request.instead));
    }
}

std::vector<uint8_t> readProfile(const ProfileRequest& request) {
    std::vector<uint8_t> profile = readFile(request);
    checkProfile(request, profile);
    return profile;
}

}  // namespace zvtool
