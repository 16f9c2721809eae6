// A profile's report, and its forms.
#ifndef ZVCLR_TOOLS_PROFILE_REPORT_H
#define ZVCLR_TOOLS_PROFILE_REPORT_H

#include <optional>
#include <string>
#include <vector>

#include "decode.h"
#include "engine.h"
#include "node.h"
#include "problems.h"
#include "profile.h"

namespace zvinfo {

/// The image file that a profile lies in.
struct ImageOfProfile {
    std::string path;
    std::string name;   ///< of its format: "JPEG"
    std::string key;    ///< "jpeg"
    std::string place;  ///< "in 2 APP2 markers"
    size_t parts = 1;
    std::vector<std::string> remarks;
};

struct Report {
    std::string file;  ///< without its folders
    std::optional<ImageOfProfile> image;
    std::vector<Node> header;
    std::vector<Content> contents;  ///< of the tags; those with the body of an earlier one have no nodes
    EngineUse engine;
    std::vector<Problem> problems;
};

Report makeReport(const Profile& profile, const Style& style, std::optional<ImageOfProfile> image = std::nullopt);

std::string reportText(const Profile& profile, const Report& report);
std::string reportJson(const Profile& profile, const Report& report);
/// Tone curves and the chromaticity diagram; which of them depends on the profile's tags.
std::string reportSvg(const Profile& profile, const Report& report);

}  // namespace zvinfo

#endif  // ZVCLR_TOOLS_PROFILE_REPORT_H
