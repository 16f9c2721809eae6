// From Lab to inks: the colour as near as the press comes to it, black by rule, total ink limited.
#pragma once

#include "forward_grid.h"

namespace zvmake {

/// The sum of the four inks, each from zero up, that no separation exceeds.
inline constexpr double kTotalInkLimit = 3.25;

/// How much black a colour shall have: none where it is light or saturated, all of it at black.
double BlackTarget(const Vec3& lab);

struct Separation {
    Inks inks{};
    /// Squared and weighted distance of the colour, and of the black from its target.
    double cost = 0;
};

class Separator {
public:
    explicit Separator(const ForwardGrid& forward) : forward_(forward) {}
    /// Inks for a colour. The search begins at start, and ends at the nearest colour within the ink limits, where
    /// differences of hue count most and those of chroma least.
    Separation Separate(const Vec3& target, const Inks& start) const { return Search(target, start, 0, 0, 1); }
    /// The same with the black of start, while the chromatic inks may go below none and beyond full by the reach.
    Separation Continue(const Vec3& target, const Inks& start, double reach) const {
        return Search(target, start, reach, start[3], start[3]);
    }

private:
    Separation Search(const Vec3& target, const Inks& start, double reach, double leastBlack, double mostBlack) const;

    const ForwardGrid& forward_;
};

}  // namespace zvmake
