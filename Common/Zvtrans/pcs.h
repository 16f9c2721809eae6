// Conversions between the connection forms of two profiles, and the library's reference white.
#pragma once

#include <cstdint>

#include "Common/Zviccio/profile.h"

namespace zv {

struct CmmTransform;

enum CmmPcsKind : int32_t {
    PCS_NONE = -1,
    PCS_XYZ = 0,
    PCS_LAB = 1,
    PCS_XYZ_ABSOLUTE = 2,
    PCS_LAB_ABSOLUTE = 3,
};

/// D50 as the connection space has it.
inline constexpr double kConnectionWhite[3] = {0.964294, 1.0, 0.825104};

/// X, Y, Z of the white that connections out of XYZ are scaled to.
struct CmmWhite {
    double xyz[3];
};
/// Y is 1; an unknown code and a y of 0 are D50.
CmmWhite CmmWhiteOfCode(int32_t code) noexcept;
CmmWhite CmmWhiteOfXy(double x, double y) noexcept;
/// The reference white of the process: all zero before the first of these calls. The creators of transforms set it and
/// build with their own value, so that two of them on two threads keep apart.
void CmmSetReferenceWhite(const CmmWhite& white) noexcept;
void CmmSetReferenceWhiteByCode(int32_t code) noexcept;
void CmmSetReferenceWhiteByXy(double x, double y) noexcept;
CmmWhite CmmReferenceWhite() noexcept;

/// From the profile's connection space and header intent; ERR_INVALID_PARAMETER for null.
int32_t CmmProfilePcsKind(const CmmProfile* profile) noexcept;
/// Fills the transform's first conversion, and with a preview table the second one.
void CmmSetupPcsConversion(CmmTransform* transform, const CmmWhite& white) noexcept;

/// A conversion of three words: scaled, offset and carried from one form to another.
using CmmPcsFunction = void (*)(const uint16_t* in, uint16_t* out, const int32_t* scale, const int32_t* offset);

/// Points are X, Y, Z; scale and offset come in 16.16. A pair of kinds without a conversion has a null function.
void CmmDerivePcsConversion(bool absolute, int32_t fromKind, const double* blackIn, const double* whiteIn,
                            const double* illuminantIn, int32_t toKind, const double* blackOut, const double* whiteOut,
                            const double* illuminantOut, const CmmWhite& white, CmmPcsFunction* function,
                            int32_t* scale, int32_t* offset) noexcept;

/// Words of XYZ are u1.15, words of Lab the legacy 16-bit encoding. A null or unreadable scale or offset scales
/// nothing.
void PcsScaleXyz(const uint16_t* in, uint16_t* out, const int32_t* scale, const int32_t* offset) noexcept;
void PcsXyzToLab(const uint16_t* in, uint16_t* out, const int32_t* scale, const int32_t* offset) noexcept;
void PcsLabToXyz(const uint16_t* in, uint16_t* out, const int32_t* scale, const int32_t* offset) noexcept;
void PcsLabToLab(const uint16_t* in, uint16_t* out, const int32_t* scale, const int32_t* offset) noexcept;
/// The form of a conversion that takes scale and offset as they are: runs of pixels call this.
CmmPcsFunction CmmUncheckedPcs(CmmPcsFunction function) noexcept;

void XyzToLab16(const uint16_t* in, uint16_t* out) noexcept;
/// `lightness` is that of the input.
void LabToXyz16(const uint16_t* in, uint16_t* out, double lightness) noexcept;

}  // namespace zv
