// The emulation tables that the library carries: three bytes for each node of a regular grid.
#pragma once

#include "profile_writer.h"

namespace zvmake {

/// CMYK to sRGB as the press prints it, 17 nodes an axis.
Bytes MakeCmykToRgbTable();
/// Lab to sRGB over all of Lab, 33 nodes an axis.
Bytes MakeLabToRgbTable();
/// sRGB to Lab, 33 nodes an axis; a and b are signed bytes.
Bytes MakeRgbToLabTable();

}  // namespace zvmake
