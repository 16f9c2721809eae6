#include "Common/Zvtrans/pcs.h"

#include <algorithm>
#include <cmath>

#include "Common/Zvgamma/fixed_point.h"
#include "Common/Zvtrans/transform.h"
#include "Common/process_lock.h"

namespace zv {

namespace {

constinit CmmWhite referenceWhite = {{0.0, 0.0, 0.0}};

constexpr CmmWhite kD50 = {{kConnectionWhite[0], kConnectionWhite[1], kConnectionWhite[2]}};

struct CodedWhite {
    int32_t code;
    CmmWhite white;
};

constexpr CodedWhite kCodedWhites[] = {
    {50, kD50},
    {55, {{0.956543, 1.0, 0.920264}}},
    {65, {{0.950166, 1.0, 1.08765}}},
    {75, {{0.94942, 1.0, 1.22493}}},
    {93, {{0.952988, 1.0, 1.41274}}},
};

/// What a profile says of one side of a conversion.
struct Points {
    double black[3];
    double white[3];
    double illuminant[3];
};

Points PointsOf(CmmProfile* profile) noexcept {
    Points points = {{0.0, 0.0, 0.0}, {kConnectionWhite[0], kConnectionWhite[1], kConnectionWhite[2]}, {}};
    if (profile == nullptr) return points;
    for (int i = 0; i < 3; ++i) points.illuminant[i] = profile->illuminant[i];
    double read[3] = {};
    if (CmmReadXyzTag(profile, Signature("wtpt"), read) >= 0) std::copy_n(read, 3, points.white);
    if (CmmReadXyzTag(profile, Signature("bkpt"), read) >= 0) std::copy_n(read, 3, points.black);
    return points;
}

/// One channel's line: value * scale + offset.
struct Line {
    double scale;
    double offset;

    constexpr Line Times(double factor) const noexcept { return {scale * factor, offset * factor}; }
};

constexpr Line Out(double black, double white, double illuminant) noexcept {
    return {(white - black) / illuminant, -black};
}

constexpr Line In(double black, double white, double illuminant) noexcept {
    const double scale = illuminant / (white - black);
    return {scale, -scale * black};
}

constexpr Line Chain(const Line& first, const Line& second) noexcept {
    return {first.scale * second.scale, first.offset * second.scale + second.offset};
}

/// One channel of what is known on both sides.
struct ChannelPoints {
    double blackIn, whiteIn, illuminantIn;
    double blackOut, whiteOut, illuminantOut;
    double reference;   // of the process
    double connection;  // D50's
};

constexpr int PairOf(int32_t from, int32_t to) noexcept {
    return from < PCS_XYZ || from > PCS_LAB_ABSOLUTE || to < PCS_XYZ || to > PCS_LAB_ABSOLUTE ? -1 : from * 4 + to;
}

CmmPcsFunction FunctionOf(bool absolute, int32_t from, int32_t to) noexcept {
    const bool fromLab = from == PCS_LAB || from == PCS_LAB_ABSOLUTE;
    const bool toLab = to == PCS_LAB || to == PCS_LAB_ABSOLUTE;
    if (PairOf(from, to) < 0) return nullptr;
    // Equal kinds have nothing to convert but XYZ relative to two illuminants.
    if (from == to && from != PCS_XYZ && (from != PCS_LAB || !absolute)) return nullptr;
    if (fromLab) return toLab ? PcsLabToLab : PcsLabToXyz;
    return toLab ? PcsXyzToLab : PcsScaleXyz;
}

/// How the kinds of two sides are joined, asymmetries included: the reference white works on what comes out of XYZ.
Line LineOf(bool absolute, int32_t from, int32_t to, const ChannelPoints& p) noexcept {
    const Line inward = In(p.blackOut, p.whiteOut, p.illuminantOut);
    const Line outward = Out(p.blackIn, p.whiteIn, p.illuminantIn);
    switch (PairOf(from, to)) {
        case PCS_XYZ * 4 + PCS_XYZ:
            return absolute ? Chain(outward, inward) : Line{p.illuminantOut / p.illuminantIn, 0.0};
        case PCS_XYZ * 4 + PCS_LAB:
            return absolute ? Chain(outward, inward).Times(p.reference / p.illuminantIn)
                            : Line{p.reference / p.illuminantIn, 0.0};
        case PCS_XYZ * 4 + PCS_XYZ_ABSOLUTE:
            return outward;
        case PCS_XYZ * 4 + PCS_LAB_ABSOLUTE:
            return Chain(outward, inward).Times(p.reference / p.illuminantOut);
        case PCS_LAB * 4 + PCS_XYZ:
            return absolute ? Chain(Out(p.blackIn, p.whiteIn, p.reference), inward)
                            : Line{p.illuminantOut / p.connection, 0.0};
        case PCS_LAB * 4 + PCS_LAB:
            return absolute ? Chain(outward, In(p.blackOut, p.whiteOut, p.reference)) : Line{1.0, 0.0};
        case PCS_LAB * 4 + PCS_XYZ_ABSOLUTE:
        case PCS_LAB * 4 + PCS_LAB_ABSOLUTE:
            return Out(p.blackIn, p.whiteIn, p.reference);
        case PCS_XYZ_ABSOLUTE * 4 + PCS_XYZ:
        case PCS_XYZ_ABSOLUTE * 4 + PCS_LAB:
        case PCS_LAB_ABSOLUTE * 4 + PCS_LAB:
        case PCS_LAB_ABSOLUTE * 4 + PCS_XYZ_ABSOLUTE:
            return inward;
        case PCS_XYZ_ABSOLUTE * 4 + PCS_LAB_ABSOLUTE:
            return {p.illuminantOut / p.connection, 0.0};
        case PCS_LAB_ABSOLUTE * 4 + PCS_XYZ:
            return {p.connection / p.illuminantOut, In(p.blackIn, p.whiteIn, p.illuminantIn).offset};
        default:
            return {1.0, 0.0};
    }
}

void Derive(bool absolute, int32_t fromKind, const Points& in, int32_t toKind, const Points& out, const CmmWhite& white,
            CmmPcsFunction* function, int32_t* scale, int32_t* offset) noexcept {
    CmmDerivePcsConversion(absolute, fromKind, in.black, in.white, in.illuminant, toKind, out.black, out.white,
                           out.illuminant, white, function, scale, offset);
}

void ScaleXyz(const uint16_t* in, uint16_t* out, const int32_t* scale, const int32_t* offset) noexcept {
    for (int i = 0; i < 3; ++i) {
        const double value = in[i] * 2 * kFixedUnit;
        const int32_t scaled = TruncateClamped(value * scale[i] * kFixedUnit * kFixedOne + 0.5);
        out[i] = ClampToWord(WrappedSum(scaled, offset[i]) >> 1);
    }
}

void LabToXyz(const uint16_t* in, uint16_t* out, const int32_t* scale, const int32_t* offset) noexcept {
    const double lightness = in[0] * 100.0 / 65280.0;
    uint16_t xyz[3] = {};
    // Without lightness there is no colour, whatever a and b hold.
    if (lightness != 0.0) LabToXyz16(in, xyz, lightness);
    ScaleXyz(xyz, out, scale, offset);
}

void XyzToLab(const uint16_t* in, uint16_t* out, const int32_t* scale, const int32_t* offset) noexcept {
    uint16_t xyz[3];
    ScaleXyz(in, xyz, scale, offset);
    XyzToLab16(xyz, out);
}

void LabToLab(const uint16_t* in, uint16_t* out, const int32_t* scale, const int32_t* offset) noexcept {
    uint16_t xyz[3];
    LabToXyz(in, xyz, scale, offset);
    XyzToLab16(xyz, out);
}

bool CanScale(const int32_t* scale, const int32_t* offset) noexcept {
    return scale != nullptr && offset != nullptr && !IsBadReadPtr(scale, 3 * sizeof *scale) &&
           !IsBadReadPtr(offset, 3 * sizeof *offset);
}

/// The cube root of a ratio, with a straight line near black.
double LabFunction(double t) noexcept {
    return t > 0.008856 ? std::pow(t, 0.3333333333333333) : 7.787 * t + 0.13793103448275862;
}

/// A 16.16 number as u1.15.
uint16_t XyzWord(double value) noexcept {
    const int32_t q = FixedOf(value);
    if ((q >> 1) < 0) return 0;
    return q >= 131072 ? kFullScale : static_cast<uint16_t>(q >> 1);
}

constexpr double Cube(double f) noexcept { return f * f * f; }

}  // namespace

CmmWhite CmmWhiteOfCode(int32_t code) noexcept {
    for (const CodedWhite& entry : kCodedWhites) {
        if (entry.code == code) return entry.white;
    }
    return kD50;
}

CmmWhite CmmWhiteOfXy(double x, double y) noexcept {
    if (y == 0.0) return kD50;
    return {{x / y, 1.0, (1.0 - x - y) / y}};
}

void CmmSetReferenceWhite(const CmmWhite& white) noexcept {
    const ProcessGuard guard;
    referenceWhite = white;
}

void CmmSetReferenceWhiteByCode(int32_t code) noexcept { CmmSetReferenceWhite(CmmWhiteOfCode(code)); }

void CmmSetReferenceWhiteByXy(double x, double y) noexcept { CmmSetReferenceWhite(CmmWhiteOfXy(x, y)); }

CmmWhite CmmReferenceWhite() noexcept {
    const ProcessGuard guard;
    return referenceWhite;
}

int32_t CmmProfilePcsKind(const CmmProfile* profile) noexcept {
    if (profile == nullptr) return ERR_INVALID_PARAMETER;
    constexpr uint32_t kAbsoluteIntent = 3;
    const bool absolute = profile->renderingIntent == kAbsoluteIntent;
    if (profile->pcs == Signature("Lab ")) return absolute ? PCS_LAB_ABSOLUTE : PCS_LAB;
    if (profile->pcs == Signature("XYZ ")) return absolute ? PCS_XYZ_ABSOLUTE : PCS_XYZ;
    return PCS_XYZ;
}

void CmmSetupPcsConversion(CmmTransform* t, const CmmWhite& white) noexcept {
    constexpr uint32_t kAbsoluteIntent = 3;
    const Points in = PointsOf(t->inputProfile);
    const Points out = PointsOf(t->outputProfile);
    if (t->previewLut == nullptr) {
        Derive(t->intent == kAbsoluteIntent, t->inputPcsKind, in, t->outputPcsKind, out, white, &t->pcsConvert,
               t->pcsScale, t->pcsOffset);
        return;
    }
    const Points preview = PointsOf(t->previewProfile);
    Derive(t->intent == kAbsoluteIntent, t->inputPcsKind, in, t->previewPcsKind, preview, white, &t->pcsConvert,
           t->pcsScale, t->pcsOffset);
    Derive(t->proofIntent == kAbsoluteIntent, t->previewPcsKind, preview, t->outputPcsKind, out, white, &t->pcsConvert2,
           t->pcsScale2, t->pcsOffset2);
}

void CmmDerivePcsConversion(bool absolute, int32_t fromKind, const double* blackIn, const double* whiteIn,
                            const double* illuminantIn, int32_t toKind, const double* blackOut, const double* whiteOut,
                            const double* illuminantOut, const CmmWhite& white, CmmPcsFunction* function,
                            int32_t* scale, int32_t* offset) noexcept {
    *function = FunctionOf(absolute, fromKind, toKind);
    for (int i = 0; i < 3; ++i) {
        const Line line = LineOf(absolute, fromKind, toKind,
                                 {blackIn[i], whiteIn[i], illuminantIn[i], blackOut[i], whiteOut[i], illuminantOut[i],
                                  white.xyz[i], kConnectionWhite[i]});
        scale[i] = FixedOf(line.scale);
        offset[i] = FixedOf(line.offset);
    }
}

void PcsScaleXyz(const uint16_t* in, uint16_t* out, const int32_t* scale, const int32_t* offset) noexcept {
    if (CanScale(scale, offset)) ScaleXyz(in, out, scale, offset);
}

void PcsXyzToLab(const uint16_t* in, uint16_t* out, const int32_t* scale, const int32_t* offset) noexcept {
    if (CanScale(scale, offset)) XyzToLab(in, out, scale, offset);
}

void PcsLabToXyz(const uint16_t* in, uint16_t* out, const int32_t* scale, const int32_t* offset) noexcept {
    if (CanScale(scale, offset)) LabToXyz(in, out, scale, offset);
}

void PcsLabToLab(const uint16_t* in, uint16_t* out, const int32_t* scale, const int32_t* offset) noexcept {
    if (CanScale(scale, offset)) LabToLab(in, out, scale, offset);
}

CmmPcsFunction CmmUncheckedPcs(CmmPcsFunction function) noexcept {
    if (function == PcsScaleXyz) return ScaleXyz;
    if (function == PcsXyzToLab) return XyzToLab;
    if (function == PcsLabToXyz) return LabToXyz;
    if (function == PcsLabToLab) return LabToLab;
    return function;
}

void XyzToLab16(const uint16_t* in, uint16_t* out) noexcept {
    if (in[0] == 0 && in[1] == 0 && in[2] == 0) {
        // A fixed exception: the general way gives neutral chroma here.
        out[0] = 0;
        out[1] = out[2] = 0x7E00;
        return;
    }
    const double x = in[0] * 2 * kFixedUnit / kConnectionWhite[0];
    const double y = in[1] * 2 * kFixedUnit;
    const double z = in[2] * 2 * kFixedUnit / kConnectionWhite[2];
    const double fx = LabFunction(x), fy = LabFunction(y), fz = LabFunction(z);
    const double lightness = fy * 116.0 - 16.0;
    const double a = (fx - fy) * 500.0 + 128.0;
    const double b = (fy - fz) * 200.0 + 128.0;
    const auto word = static_cast<uint32_t>(TruncateClamped(lightness * 652.8 + 0.5));
    out[0] = word > 0xFF00 ? uint16_t{0xFF00} : static_cast<uint16_t>(word);
    out[1] = ClampToWord(TruncateClamped(a * 256.0 + 0.5));
    out[2] = ClampToWord(TruncateClamped(b * 256.0 + 0.5));
}

void LabToXyz16(const uint16_t* in, uint16_t* out, double lightness) noexcept {
    const double fy = (lightness + 16.0) / 116.0;
    const double fx = (in[1] * 0.00390625 - 128.0) * 0.002 + fy;
    const double fz = fy - (in[2] * 0.00390625 - 128.0) * 0.005;
    // Cubes all the way down: the straight line near black has no counterpart here.
    out[0] = XyzWord(Cube(fx) * kConnectionWhite[0]);
    out[1] = XyzWord(Cube(fy));
    out[2] = XyzWord(Cube(fz) * kConnectionWhite[2]);
}

}  // namespace zv
