#include "embed_choice.h"

#include <fmt/format.h>

#include "builtin_profiles.h"
#include "embedded/jpeg_limits.h"
#include "profile/profile.h"
#include "profile_file.h"

namespace zvtool {

using zvimage::ContradictionError;
using zvimage::Format;

namespace {

[[noreturn]] void refuse(const ConvertedImage& image, const std::string& why) {
    const Conversion& conversion = image.conversion;
    throw ContradictionError(fmt::format("no profile describes the {} pixels of {}: {}; leave --embed out",
                                         zvimage::spaceOf(conversion.to).name,
                                         image.output == "-" ? "standard output" : image.output, why));
}

/// The pixels keep their meaning.
std::vector<uint8_t> passedThrough(const ConvertedImage& image) {
    if (image.inputProfile.empty()) {
        refuse(image, fmt::format("they are copied from {}, which has no embedded profile{}", image.input,
                                  image.inputProblem.empty() ? "" : " that can be used: " + image.inputProblem));
    }
    const auto copied = [&image](const std::string& what) {
        refuse(image, fmt::format("they are copied from {}, whose profile {}", image.input, what));
    };
    if (const std::string damage = profileDamage(image.inputProfile); !damage.empty()) {
        copied(damage);
    }
    const std::string_view found = profileSpace(image.inputProfile);
    if (found != signatureOf(image.conversion.to)) {
        copied("is for " + readableSignature(found));
    }
    checkProfile(
        {"--embed", "the profile in " + image.input, image.conversion.to, "the output is to be", "leave it out"},
        image.inputProfile);
    return image.inputProfile;
}

std::vector<uint8_t> describing(const ConvertedImage& image) {
    const Conversion& conversion = image.conversion;
    const bool records = conversion.sourceLab || conversion.destinationLab || conversion.sourceYuv;
    switch (conversion.method) {
        case Method::kCustomIcc:
            return conversion.outputProfile;
        case Method::kIcc:
            return builtinProfile(conversion.to);
        case Method::kEmulation:
        case Method::kCustomEmulation:
            refuse(image, "an emulation table makes them");
        case Method::kBuiltin:
            break;
    }
    if (conversion.from == conversion.to && !records) {
        return passedThrough(image);
    }
    if (conversion.to != CLRSPACE_RGB) {
        refuse(image, "formulas make them");
    }
    return builtinProfile(CLRSPACE_RGB);
}

}  // namespace

std::vector<uint8_t> chooseProfile(const ConvertedImage& image) {
    if (image.format != Format::kPng && image.format != Format::kJpeg && image.format != Format::kTiff) {
        throw ContradictionError(
            fmt::format("--embed goes with PNG, JPEG and TIFF output, but {} holds no profile; "
                        "leave it out",
                        zvimage::formatName(image.format)));
    }
    std::vector<uint8_t> profile = describing(image);
    const uint32_t stated = zvinfo::Cursor(profile).u32();
    if (stated >= zvinfo::kSmallestProfile && stated < profile.size()) {
        profile.resize(stated);
    }
    if (image.format == Format::kJpeg && !zvembed::fitsIntoJpeg(profile.size())) {
        throw ContradictionError(
            fmt::format("the profile has {} bytes, and a JPEG file holds profiles of {} at most; "
                        "leave --embed out, or choose another format",
                        profile.size(), zvembed::kLargestJpegProfile));
    }
    return profile;
}

}  // namespace zvtool
