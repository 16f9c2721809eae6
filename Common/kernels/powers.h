// Powers in single precision.
#pragma once

#include "Common/kernels/lanes.h"

namespace zv {
inline namespace ZV_ISA {

/// The cube root of normal numbers from 2^-60 to 2^60, off by less than 2.7 * 2^-24 of it.
///
/// A third of the representation, subtracted from a constant, is 1 / root but for 3.6 %: with e = 1 - t * y^3 that is
/// |e| < 0.103. The exact factor (1 - e)^(-1/3) is approached by a square polynomial, whose coefficients come from
/// minimising the greatest relative difference over that range: 4.8e-5 remain. The last step is linear in what is left
/// of e, r = t * y^2 * (1 + 2/3 e), and misses by 5/9 e^2 < 1.2e-8, or 0.2 * 2^-24. Its roundings, in units of 2^-24:
/// those of t * y^2 go by a third into the root, since e takes two thirds of them back, that is 2/3; that of
/// root * y by two thirds; the last sum 1; the correction itself 0.001.
inline Floats CubeRoot(Floats t) noexcept {
    const Floats third = ToFloat(reinterpret_cast<Ints>(t)) * (1.0F / 3.0F);
    Floats y = reinterpret_cast<Floats>(Truncate(1419900000.0F - third));
    const Floats e = 1.0F - t * ((y * y) * y);
    y = y * (0.999997448F + e * (0.33471779F + e * 0.223875082F));
    const Floats root = t * (y * y);
    return root + root * ((1.0F - root * y) * (2.0F / 3.0F));
}
inline constexpr double kCubeRootError = 2.7 / (1 << 24);

}  // namespace ZV_ISA
}  // namespace zv
