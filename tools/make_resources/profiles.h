// The profiles that the library carries.
#pragma once

#include "profile_writer.h"

namespace zvmake {

/// sRGB: a matrix and one curve.
Bytes MakeRgbProfile();
/// Lab as a device: the identity, as well as 8-bit tables can say it.
Bytes MakeLabProfile();
/// The complement of the RGB profile.
Bytes MakeCmyProfile();
/// Coated offset printing.
Bytes MakePressProfile();

inline constexpr const char* kCopyright = "Copyright zvclr authors";

}  // namespace zvmake
