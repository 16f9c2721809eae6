// The parameters of the command line as values, checked apart from any image.
#ifndef ZVCLR_TOOLS_PARAMETERS_H
#define ZVCLR_TOOLS_PARAMETERS_H

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "image/image.h"
#include "zvclr.h"

namespace zvtool {

/// Throws ContradictionError with the names that exist.
int32_t parseSpace(const std::string& option, const std::string& name);
zvimage::Format parseFormat(const std::string& option, const std::string& name);
zvimage::TiffCompression parseCompression(const std::string& name);
/// "640x480".
std::pair<int32_t, int32_t> parseSize(const std::string& text);
/// "D50", "D55", "D65", "D75", "D93" or a chromaticity as "0.3127,0.3290".
ClrWhitePoint parseWhite(const std::string& text);
/// Six numbers with commas between them, in the order of ClrLabParams.
ClrLabParams parseLabParams(const std::string& text);

/// A layout of YUV pixels that the library's ClrYuvParams can tell.
struct YuvLayout {
    int32_t uSampleX = 1;
    int32_t uSampleY = 1;
    int32_t vSampleX = 1;
    int32_t vSampleY = 1;
    int32_t macroPixelSize = 1;
    bool fullRange = false;
    bool planar = true;
    std::string order = "YUV";
    std::vector<int32_t> positions;  ///< packed: as told; planar: the code of the order

    /// Where the bytes lie in a file.
    zvimage::RawLayout rawLayout() const;
    /// The record, pointing at this object's positions.
    ClrYuvParams record() const;
    /// Bytes that the library asks to be readable for a source of this size.
    int64_t sourceBytes(int32_t width, int32_t rows) const;
};

/// "uSampleX=2,uSampleY=2,vSampleX=2,vSampleY=2,planar=1,order=YUV" and the like.
YuvLayout parseYuvParams(const std::string& text);

}  // namespace zvtool

#endif  // ZVCLR_TOOLS_PARAMETERS_H
