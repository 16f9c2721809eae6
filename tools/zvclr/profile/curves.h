// Tone curves of "curv" and "para" tags.
#ifndef ZVCLR_TOOLS_PROFILE_CURVES_H
#define ZVCLR_TOOLS_PROFILE_CURVES_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "node.h"
#include "profile.h"

namespace zvinfo {

struct Curve {
    enum class Kind { kIdentity, kGamma, kTable, kFormula };

    Kind kind = Kind::kIdentity;
    double gamma = 1;
    std::vector<uint16_t> table;
    uint16_t function = 0;
    std::vector<double> parameters;  ///< g a b c d e f, as many as the function has

    /// Of a device value from 0 to 1; not bounded.
    double at(double x) const;
};

/// Of the library's records.
Curve curveOf(const ClrIccTagCurve& record);
Curve curveOf(const ClrIccTagParametricCurve& record);
/// The curve of a tag; nothing when there is none that the library can read.
std::optional<Curve> curveOfTag(const Profile& profile, uint32_t signature);
std::vector<Node> curveNodes(const Curve& curve, const Style& style);

}  // namespace zvinfo

#endif  // ZVCLR_TOOLS_PROFILE_CURVES_H
