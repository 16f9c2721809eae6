#include "info_command.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <utility>

#include "embedded/embedded_profile.h"
#include "embedded/image_kind.h"
#include "extract_command.h"
#include "image/image.h"
#include "image/input_file.h"
#include "profile/names.h"
#include "profile/profile.h"
#include "profile/report.h"

namespace zvtool {

using zvembed::EmbeddedProfile;

namespace {

/// "1 error and 2 warnings"; empty without either.
std::string countText(const zvinfo::Report& report) {
    std::string text;
    for (const zvinfo::Level level : {zvinfo::Level::kError, zvinfo::Level::kWarning}) {
        const auto count = std::count_if(report.problems.begin(), report.problems.end(),
                                         [level](const zvinfo::Problem& problem) { return problem.level == level; });
        if (count != 0) {
            text += fmt::format("{}{} {}{}", text.empty() ? "" : " and ", count, zvinfo::levelName(level),
                                count == 1 ? "" : "s");
        }
    }
    return text;
}

/// Not for profiles, nor for files of which nobody knows what they are. A pipe is not opened: it can be read once.
bool isImage(const std::string& path) {
    if (path == "-") {
        return false;
    }
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(path, ignored)) {
        return false;
    }
    zvimage::InputFile file(path);
    const std::vector<uint8_t>& head = file.peek(zvinfo::kSmallestProfile);
    if (head.size() == zvinfo::kSmallestProfile &&
        zvinfo::Cursor(head, zvinfo::kMagicAt).u32() == zvinfo::sig("acsp")) {
        return false;
    }
    return zvembed::imageKind(head).has_value() || zvembed::findEmbeddedProfile(path).has_value();
}

}  // namespace

std::string infoText(const InfoArguments& arguments, std::vector<uint8_t> bytes, std::string* found,
                     std::optional<zvinfo::ImageOfProfile> image) {
    const std::string file = arguments.input == "-" ? "standard input" : arguments.input;
    const zvinfo::Profile profile(image ? "the profile in " + file : file, std::move(bytes));
    const zvinfo::Report report = zvinfo::makeReport(profile, {arguments.all}, std::move(image));
    if (found != nullptr && arguments.strict) {
        *found = countText(report);
    }
    return arguments.json  ? zvinfo::reportJson(profile, report)
           : arguments.svg ? zvinfo::reportSvg(profile, report)
                           : zvinfo::reportText(profile, report);
}

void runInfo(const InfoArguments& arguments) {
    std::string found;
    std::string report;
    if (isImage(arguments.input)) {
        EmbeddedProfile embedded = requireEmbeddedProfile(arguments.input);
        std::vector<std::string> remarks = std::move(embedded.warnings);
        remarks.insert(remarks.end(), embedded.notes.begin(), embedded.notes.end());
        report = infoText(
            arguments, std::move(embedded.bytes), &found,
            zvinfo::ImageOfProfile{arguments.input, zvembed::kindName(embedded.kind), zvembed::kindKey(embedded.kind),
                                   embedded.place, embedded.parts, std::move(remarks)});
    } else {
        std::vector<uint8_t> bytes = zvinfo::readProfileFile(arguments.input);
        if (const auto kind = zvembed::imageKind(bytes)) {
            throw zvimage::ImageError(
                fmt::format("{} holds an image ({}), and images are read from files only; name one",
                            arguments.input == "-" ? "standard input" : arguments.input, zvembed::kindName(*kind)));
        }
        report = infoText(arguments, std::move(bytes), &found);
    }
    fmt::print("{}", report);
    if (!found.empty()) {
        throw zvimage::ImageError(fmt::format("{} has {}", arguments.input, found));
    }
}

}  // namespace zvtool
