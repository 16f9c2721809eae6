// The CMYK profile's own A2B grid as a function with derivatives: the separations invert what the profile says, not the
// model behind it.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "colour.h"
#include "press_model.h"

namespace zvmake {

class ForwardGrid {
public:
    explicit ForwardGrid(const std::vector<uint16_t>& words);
    /// Lab by linear interpolation on each axis; inks somewhat outside 0 to 1 go on along the outermost cell.
    Vec3 Lab(const Inks& inks) const;
    /// The same, with the derivative of each Lab component by each ink.
    Vec3 Lab(const Inks& inks, std::array<Inks, 3>& derivatives) const;

private:
    std::vector<Vec3> nodes_;
};

}  // namespace zvmake
