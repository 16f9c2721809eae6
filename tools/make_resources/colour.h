// The CIE formulas that the profiles are computed by. Only +, -, *, / and square roots, which every compiler and system
// rounds alike: the profiles' bytes hang on no mathematical library.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace zvmake {

using Vec3 = std::array<double, 3>;
using Matrix3 = std::array<Vec3, 3>;

/// The white of the profile connection space as profiles store it: 0xF6D6, 0x10000, 0xD32D by 65536.
inline constexpr Vec3 kWhiteD50{63190.0 / 65536.0, 1.0, 54061.0 / 65536.0};

double CubeRoot(double value);
double FifthRoot(double value);

/// Lab relative to D50.
Vec3 XyzToLab(const Vec3& xyz);
Vec3 LabToXyz(const Vec3& lab);

/// Linear light of an sRGB component from 0 to 1, and back.
double SrgbDecode(double component);
double SrgbEncode(double linear);

/// Linear sRGB to XYZ relative to D50, as the colorants of the RGB profile are stored, and its inverse.
const Matrix3& SrgbToXyz();
const Matrix3& XyzToSrgb();
Vec3 Multiply(const Matrix3& matrix, const Vec3& vector);
Matrix3 Invert(const Matrix3& matrix);

double Chroma(const Vec3& lab);
double Clamp(double value, double low, double high);
/// 3t^2 - 2t^3 between the two ends.
double SmoothStep(double low, double high, double value);

/// Words of the legacy 16-bit Lab encoding: L by 652.8, a and b by 256 with zero at 0x8000.
std::array<uint16_t, 3> LabToWords(const Vec3& lab);
uint16_t ToWord(double value);

}  // namespace zvmake
