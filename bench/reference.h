// What the library's bytes are measured against: the CIE formulas and the profiles' own tables, in double precision.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "tests/support/colour_difference.h"

namespace zv::bench {

using Triple = std::array<double, 3>;  ///< red, green, blue from 0 to 1
using Quad = std::array<double, 4>;    ///< inks from 0 to 1

/// The white of sRGB itself, with Y = 1.
inline constexpr zvtest::Xyz kWhiteD65{0.950456, 1.0, 1.089058};

zvtest::Xyz SrgbToXyzD65(const Triple& rgb);
zvtest::Lab SrgbToLabD65(const Triple& rgb);
/// Colours outside of sRGB come out at its surface.
Triple XyzD65ToSrgb(const zvtest::Xyz& xyz);
Triple LabD65ToSrgb(const zvtest::Lab& lab);

zvtest::Lab SrgbToLabD50(const Triple& rgb);
Triple LabD50ToSrgb(const zvtest::Lab& lab);

/// A table of 16-bit words ("mft2") of a profile, with nothing rounded on the way.
class ProfileTable {
public:
    /// Throws std::runtime_error when the library carries no such table.
    ProfileTable(uint32_t profileId, const char* tag);

    std::vector<double> eval(std::vector<double> channels) const;

private:
    double grid(const std::vector<double>& channels, size_t output) const;

    size_t inputs_ = 0;
    size_t outputs_ = 0;
    size_t points_ = 0;
    std::vector<std::vector<double>> inputCurves_;
    std::vector<std::vector<double>> outputCurves_;
    std::vector<double> nodes_;
};

/// The press profile in both directions.
class Press {
public:
    Press() : toLab_(107, "A2B0"), toInks_(107, "B2A0") {}

    zvtest::Lab lab(const Quad& inks) const;
    Quad inks(const zvtest::Lab& lab) const;

private:
    ProfileTable toLab_;
    ProfileTable toInks_;
};

}  // namespace zv::bench
