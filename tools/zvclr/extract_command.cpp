#include "extract_command.h"

#include <fmt/format.h>

#include <filesystem>
#include <optional>

#include "image/image.h"
#include "image/output_file.h"
#include "messages.h"

namespace zvtool {

using zvembed::EmbeddedProfile;
using zvimage::ContradictionError;
using zvimage::ImageError;

EmbeddedProfile requireEmbeddedProfile(const std::string& path) {
    if (path == "-") {
        throw ContradictionError("an image cannot be read from the standard input here; name a file");
    }
    std::optional<EmbeddedProfile> found = zvembed::findEmbeddedProfile(path);
    if (!found) {
        throw ImageError(fmt::format(
            "{} is no image that profiles are read from; these are JPEG, TIFF, PNG, GIF, EPS and Macintosh pictures",
            path));
    }
    if (found->bytes.empty()) {
        throw ImageError(fmt::format("{} ({}) has no embedded ICC profile", path, zvembed::kindName(found->kind)));
    }
    return std::move(*found);
}

void runExtract(const ExtractArguments& arguments) {
    checkNoTerminal(arguments.output, "a profile");
    std::error_code ignored;
    if (std::filesystem::equivalent(arguments.image, arguments.output, ignored)) {
        throw ContradictionError(fmt::format(
            "{} is the image itself, which would be lost; name another file for the profile", arguments.output));
    }
    const EmbeddedProfile found = requireEmbeddedProfile(arguments.image);
    printWarnings(arguments.image, found.warnings);
    if (!arguments.quiet) {
        printNotes(arguments.image, found.notes);
    }
    zvimage::OutputFile output(arguments.output);
    output.write(found.bytes.data(), found.bytes.size());
    output.commit();
    if (!arguments.quiet) {
        const std::string description = zvembed::describeProfile(found.bytes);
        printSummary(fmt::format("wrote {}: {} bytes{}, from {} ({}, {})", output.name(), found.bytes.size(),
                                 description.empty() ? "" : ", \"" + description + "\"", arguments.image,
                                 zvembed::kindName(found.kind), found.place));
    }
}

}  // namespace zvtool
