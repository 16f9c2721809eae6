// Colour differences and the CIE formulas in double precision, as a yardstick for the library's own arithmetic.
#ifndef ZVCLR_TESTS_COLOUR_DIFFERENCE_H
#define ZVCLR_TESTS_COLOUR_DIFFERENCE_H

#include <cstdint>

namespace zvtest {

struct Xyz {
    double x = 0, y = 0, z = 0;
};

struct Lab {
    double l = 0, a = 0, b = 0;
};

/// The white of profile connection spaces, with Y = 1.
inline constexpr Xyz kWhiteD50{0.9642, 1.0, 0.8249};

/// CIEDE2000 with all three weights 1.
double DeltaE2000(const Lab& first, const Lab& second);
/// The Euclidean distance of 1976.
double DeltaE76(const Lab& first, const Lab& second);

double Chroma(const Lab& lab);
/// The hue angle in degrees, 0 to below 360; 0 for neutral colours.
double HueDegrees(const Lab& lab);
/// The smaller angle between two hues, 0 to 180.
double HueDifferenceDegrees(const Lab& first, const Lab& second);

Lab XyzToLab(const Xyz& xyz, const Xyz& white = kWhiteD50);
Xyz LabToXyz(const Lab& lab, const Xyz& white = kWhiteD50);

/// Linear light of an sRGB component from 0 to 1, and back.
double SrgbToLinear(double component);
double LinearToSrgb(double linear);

/// sRGB bytes to XYZ and Lab relative to D50, by the adapted primaries of an sRGB profile.
Xyz SrgbToXyzD50(uint8_t red, uint8_t green, uint8_t blue);
Lab SrgbToLab(uint8_t red, uint8_t green, uint8_t blue);

/// Lab words of the legacy 16-bit encoding: L by 652.8, a and b by 256 with zero at 0x8000.
Lab LabFromWords(double l, double a, double b);

}  // namespace zvtest

#endif  // ZVCLR_TESTS_COLOUR_DIFFERENCE_H
