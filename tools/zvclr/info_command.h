// The command that tells what is in an ICC profile.
#ifndef ZVCLR_TOOLS_INFO_COMMAND_H
#define ZVCLR_TOOLS_INFO_COMMAND_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "profile/report.h"

namespace zvtool {

/// The command line of `zvclr info`.
struct InfoArguments {
    std::string input;
    bool json = false;
    bool svg = false;
    bool all = false;
    bool strict = false;
};

/// What `zvclr info` prints for the bytes of a file, or for those that lay in an image file. With `strict` a report
/// with errors or warnings sets `found`, which may be null. Throws ImageError for what is no profile.
std::string infoText(const InfoArguments& arguments, std::vector<uint8_t> bytes, std::string* found = nullptr,
                     std::optional<zvinfo::ImageOfProfile> image = std::nullopt);

/// Prints it. Throws ImageError.
void runInfo(const InfoArguments& arguments);

}  // namespace zvtool

#endif  // ZVCLR_TOOLS_INFO_COMMAND_H
