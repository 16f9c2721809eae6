// Which profile tells what the pixels of a converted image mean.
#ifndef ZVCLR_TOOLS_EMBED_CHOICE_H
#define ZVCLR_TOOLS_EMBED_CHOICE_H

#include <cstdint>
#include <string>
#include <vector>

#include "image/image.h"
#include "strip_converter.h"

namespace zvtool {

struct ConvertedImage {
    std::string input;  ///< for messages
    const std::string& output;
    zvimage::Format format;  ///< of the output
    const Conversion& conversion;
    const std::vector<uint8_t>& inputProfile;  ///< embedded in the input; empty for none
    const std::string& inputProblem;           ///< why its profile cannot be used
};

/// Never empty. Throws ContradictionError when no profile describes the pixels, or the file can hold none.
std::vector<uint8_t> chooseProfile(const ConvertedImage& image);

}  // namespace zvtool

#endif  // ZVCLR_TOOLS_EMBED_CHOICE_H
