// The colour of coated offset printing as a function of the four inks.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "colour.h"

namespace zvmake {

/// Cyan, magenta, yellow, black, each from 0 to 1.
using Inks = std::array<double, 4>;

class PressModel {
public:
    PressModel();
    /// Media-relative Lab, with the solid black at L = 0.
    Vec3 Lab(const Inks& inks) const;

    /// The dot area on paper of a tone value in the data, from 0 to 1.
    double EffectiveArea(size_t ink, double tone) const;

private:
    std::array<Vec3, 8> primaries_;  // XYZ; bit 0 cyan, bit 1 magenta, bit 2 yellow
};

/// The A2B grid of the CMYK profile: 16 points for each ink, cyan slowest, Lab words.
inline constexpr size_t kPressGridPoints = 16;
std::vector<uint16_t> PressGrid(const PressModel& model);

}  // namespace zvmake
