// The command that takes an ICC profile out of an image file.
#ifndef ZVCLR_TOOLS_EXTRACT_COMMAND_H
#define ZVCLR_TOOLS_EXTRACT_COMMAND_H

#include <string>

#include "embedded/embedded_profile.h"

namespace zvtool {

/// The command line of `zvclr extract`.
struct ExtractArguments {
    std::string image;
    std::string output;
    bool quiet = false;
};

/// The profile in an image file. Throws ImageError when it is no image or has none, ContradictionError for "-".
zvembed::EmbeddedProfile requireEmbeddedProfile(const std::string& path);

/// Throws ContradictionError or ImageError.
void runExtract(const ExtractArguments& arguments);

}  // namespace zvtool

#endif  // ZVCLR_TOOLS_EXTRACT_COMMAND_H
