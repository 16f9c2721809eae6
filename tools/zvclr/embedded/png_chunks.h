// Profiles into PNG files, chunk by chunk: the library has no route for them.
#ifndef ZVCLR_TOOLS_EMBEDDED_PNG_CHUNKS_H
#define ZVCLR_TOOLS_EMBEDDED_PNG_CHUNKS_H

#include <cstdint>
#include <string>
#include <vector>

#include "image/input_file.h"
#include "image/output_file.h"

namespace zvembed {

/// Copies a file with this profile in place of its iCCP and sRGB chunks. Returns notes. Throws ImageError.
std::vector<std::string> copyPngWithProfile(zvimage::InputFile& file, const std::vector<uint8_t>& profile,
                                            zvimage::OutputFile& output);

}  // namespace zvembed

#endif  // ZVCLR_TOOLS_EMBEDDED_PNG_CHUNKS_H
