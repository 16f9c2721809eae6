// The command that puts an ICC profile into an image file.
#ifndef ZVCLR_TOOLS_EMBED_COMMAND_H
#define ZVCLR_TOOLS_EMBED_COMMAND_H

#include <string>

namespace zvtool {

/// The command line of `zvclr embed`.
struct EmbedArguments {
    std::string profile;
    std::string image;
    std::string backup;
    bool force = false;
    bool quiet = false;
};

/// Throws ContradictionError or ImageError; the image is whole then.
void runEmbed(const EmbedArguments& arguments);

}  // namespace zvtool

#endif  // ZVCLR_TOOLS_EMBED_COMMAND_H
