// The commands that make emulation tables.
#ifndef ZVCLR_TOOLS_TABLE_COMMAND_H
#define ZVCLR_TOOLS_TABLE_COMMAND_H

#include <cstdint>
#include <string>

namespace zvtool {

constexpr int32_t kLargestPatch = 32;

/// The command lines of `zvclr table make` and `zvclr table read`, with texts as they were given.
struct TableArguments {
    std::string input;  ///< of read only
    std::string output;
    std::string from = "cmyk";
    std::string to = "rgb";
    int32_t patch = 1;  ///< of make only, up to kLargestPatch
    std::string inputFormat;
    std::string size;
    bool quiet = false;
};

/// Writes the chart of a table. Throws ContradictionError or ImageError.
void runTableMake(const TableArguments& arguments);
/// Writes the table that the picture of a chart shows. Throws ContradictionError, ImageError or LibraryError.
void runTableRead(const TableArguments& arguments);

}  // namespace zvtool

#endif  // ZVCLR_TOOLS_TABLE_COMMAND_H
