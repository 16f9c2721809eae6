// What commands say on the error stream beside errors.
#ifndef ZVCLR_TOOLS_MESSAGES_H
#define ZVCLR_TOOLS_MESSAGES_H

#include <string>
#include <vector>

namespace zvtool {

/// A line for each, which goes on from the file's name.
void printNotes(const std::string& name, const std::vector<std::string>& notes);
void printWarnings(const std::string& name, const std::vector<std::string>& warnings);
/// What has been done, for terminals only.
void printSummary(const std::string& text);
/// Throws ContradictionError when "-" is a terminal; `what` it cannot show.
void checkNoTerminal(const std::string& path, const char* what);

}  // namespace zvtool

#endif  // ZVCLR_TOOLS_MESSAGES_H
