// What a TIFF directory says byte by byte: the library reads emulation tables from the plainest files only, and
// takes their numbers as they stand.
#ifndef ZVCLR_TOOLS_BASELINE_TIFF_H
#define ZVCLR_TOOLS_BASELINE_TIFF_H

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace zvtool {

constexpr uint32_t kPhotometricCieLab = 8;

/// What the first directory of a little-endian TIFF file says.
struct TiffDirectory {
    uint32_t width = 0;
    uint32_t height = 0;
    std::vector<uint32_t> bits = {1};
    uint32_t compression = 1;
    uint32_t photometric = 0;
    uint32_t samples = 1;
    uint32_t planarConfiguration = 1;
    uint32_t strips = 0;
    uint32_t position = 0;  ///< of the first strip, if it is the only one
    bool tiled = false;
    int64_t fileBytes = 0;
};

/// A file is no such TIFF file; the text goes on from its name.
class UnsuitableTiff : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Throws UnsuitableTiff, or ImageError when the file cannot be opened.
TiffDirectory readTiffDirectory(const std::string& path);

}  // namespace zvtool

#endif  // ZVCLR_TOOLS_BASELINE_TIFF_H
