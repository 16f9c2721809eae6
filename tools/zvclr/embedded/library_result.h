// Results of the library about profiles in image files, in words.
#ifndef ZVCLR_TOOLS_EMBEDDED_LIBRARY_RESULT_H
#define ZVCLR_TOOLS_EMBEDDED_LIBRARY_RESULT_H

#include <cstdint>
#include <string>
#include <vector>

namespace zvembed {

/// Why the library failed, with these names of files.
std::string libraryReason(int32_t result, const std::vector<std::string>& names);

}  // namespace zvembed

#endif  // ZVCLR_TOOLS_EMBEDDED_LIBRARY_RESULT_H
