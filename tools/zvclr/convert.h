// The commands of the program, apart from the reading of its command line.
#ifndef ZVCLR_TOOLS_CONVERT_H
#define ZVCLR_TOOLS_CONVERT_H

#include <optional>
#include <string>

#include "image/image.h"

namespace zvtool {

/// The command line of `zvclr convert`, with texts as they were given.
struct ConvertArguments {
    std::string input;
    std::string output;
    std::string from;
    std::string to;
    std::string inputFormat;
    std::string outputFormat;
    std::string size;
    std::string labParams;
    std::string yuvParams;
    std::string method;
    std::string inputProfile;
    std::string outputProfile;
    std::string white;
    std::string table;
    std::optional<int32_t> gcrLevel;
    std::optional<int> quality;
    std::string compression;
    bool embed = false;
    bool quiet = false;
};

/// Throws ContradictionError, ImageError or LibraryError.
void runConvert(const ConvertArguments& arguments);

/// The table of colour spaces.
std::string spacesTable();

}  // namespace zvtool

#endif  // ZVCLR_TOOLS_CONVERT_H
