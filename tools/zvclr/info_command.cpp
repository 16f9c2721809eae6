#include "info_command.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "image/image.h"
#include "profile/profile.h"
#include "profile/report.h"

namespace zvtool {

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

}  // namespace

std::string infoText(const InfoArguments& arguments, std::vector<uint8_t> bytes, std::string* found) {
    const zvinfo::Profile profile(arguments.input == "-" ? "standard input" : arguments.input, std::move(bytes));
    const zvinfo::Report report = zvinfo::makeReport(profile, {arguments.all});
    if (found != nullptr && arguments.strict) {
        *found = countText(report);
    }
    return arguments.json  ? zvinfo::reportJson(profile, report)
           : arguments.svg ? zvinfo::reportSvg(profile, report)
                           : zvinfo::reportText(profile, report);
}

void runInfo(const InfoArguments& arguments) {
    std::string found;
    fmt::print("{}", infoText(arguments, zvinfo::readProfileFile(arguments.input), &found));
    if (!found.empty()) {
        throw zvimage::ImageError(fmt::format("{} has {}", arguments.input, found));
    }
}

}  // namespace zvtool
