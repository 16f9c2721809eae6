// Other programs that look at what was saved.
#pragma once

#include <string>
#include <vector>

#include "image_file_support.h"

namespace zvtest {

/// Runs a line of shell in a folder and returns what it wrote; a line that fails is a failed test.
std::string Shell(const fs::path& folder, const std::string& line);
/// The profiles that exiftool finds, one for each file; it starts slowly, and so takes all files at once.
std::vector<Bytes> ProfilesByExiftool(const fs::path& folder, const std::vector<fs::path>& files);
/// The same by exiv2.
std::vector<Bytes> ProfilesByExiv2(const fs::path& folder, const std::vector<fs::path>& files);
/// What exiftool complains of, by file; what it says of the profile itself is left out.
std::string ComplaintsOfExiftool(const fs::path& folder, const std::vector<fs::path>& files);

}  // namespace zvtest
