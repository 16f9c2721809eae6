#include "Common/Zvmatsh/matrix_shaper.h"

#include "Common/Zvgamma/fixed_point.h"
#include "host/host.h"

namespace zv {

namespace {

constexpr ZvChar kSource[] = ZV_WIDE("Common\\Zvmatsh");

constexpr uint32_t kKindMask = MATSHAPER_INPUT | MATSHAPER_OUTPUT;
/// Ten times tighter than the one for the matrices of lookup tables.
constexpr double kIdentityTolerance = 0.00001;

bool SameLength(ToneCurve* const (&curves)[3]) noexcept {
    for (const ToneCurve* curve : curves) {
        if (curve == nullptr || curve->count < 1 || curve->count != curves[0]->count) return false;
    }
    return true;
}

/// Copies of the curves with their last entry repeated: the fixed-point step reads one entry past the last.
bool TakeCurves(MatShaper& record, ToneCurve* const (&curves)[3]) noexcept {
    if (!SameLength(curves)) return false;
    const auto count = static_cast<uint32_t>(curves[0]->count);
    record.curveParams = CmmCurveParams(count);
    int32_t linear = 0;
    for (int c = 0; c < 3; ++c) {
        const uint16_t* entries = curves[c]->Entries();
        auto* table = static_cast<uint16_t*>(HostAlloc(sizeof(uint16_t), int64_t{count} + 1, __LINE__, kSource));
        record.curves[c] = table;
        if (table == nullptr) return false;
        HostCopy(table, entries, count * sizeof(uint16_t));
        table[count] = entries[count - 1];
        linear += ToneCurveIsLinear(entries, curves[0]->count);
    }
    if (linear != 3) record.flags |= MATSHAPER_HAS_SHAPER;
    return true;
}

MatShaper* Finish(MatShaper* record, ToneCurve* const (&curves)[3]) noexcept {
    if (TakeCurves(*record, curves)) return record;
    MatShaperFree(record);
    return nullptr;
}

/// Interpolation in fixed point; the outcome on the scale of words goes on as 16.16 without rescaling.
int32_t TableStep(const uint16_t* curve, uint32_t index, uint32_t fraction) noexcept {
    const int32_t difference = int32_t{curve[index + 1]} - int32_t{curve[index]};
    return TruncateClamped(difference * kFixedUnit * fraction * kFixedUnit * kFixedOne + 0.5) + curve[index];
}

/// A channel through its curve, or without one a widening. An input shaper never reaches its last entry.
template <bool kStopsBeforeLast>
int32_t Shape(const MatShaper& record, int channel, uint16_t word) noexcept {
    const uint16_t domain = record.curveParams.domain;
    if ((record.flags & MATSHAPER_HAS_SHAPER) == 0) return FixedOfWord(word);
    FixedPosition position = PositionIn(domain, word);
    // The fraction stays: full scale gives the last entry but one.
    if (kStopsBeforeLast && position.index + 1 > domain && position.index > 0) --position.index;
    return TableStep(record.curves[channel], position.index, position.fraction);
}

/// Curves, then the matrix.
template <bool kStopsBeforeLast>
void ShapeThenMatrix(const MatShaper& record, const uint16_t* in, int32_t (&channels)[3]) noexcept {
    for (int c = 0; c < 3; ++c) channels[c] = Shape<kStopsBeforeLast>(record, c, in[c]);
    if ((record.flags & MATSHAPER_HAS_MATRIX) != 0) FixedMatrixTimes(record.matrix, channels);
}

void DeviceToDevice(const MatShaper& record, const uint16_t* in, uint16_t* out) noexcept {
    int32_t channels[3];
    ShapeThenMatrix<false>(record, in, channels);
    for (int c = 0; c < 3; ++c) out[c] = ClampToWord(WordScaleOfFixed(channels[c]));
}

void DeviceToXyz(const MatShaper& record, const uint16_t* in, uint16_t* out) noexcept {
    int32_t channels[3];
    ShapeThenMatrix<true>(record, in, channels);
    for (int c = 0; c < 3; ++c) out[c] = ClampToWord(channels[c] >> 1);
}

/// Where input curves take the fixed-point step, output curves take the rounding one of tables.
void XyzToDevice(const MatShaper& record, const uint16_t* in, uint16_t* out) noexcept {
    int32_t channels[3] = {in[0] * 2, in[1] * 2, in[2] * 2};
    if ((record.flags & MATSHAPER_HAS_MATRIX) != 0) FixedMatrixTimes(record.matrix, channels);
    for (int c = 0; c < 3; ++c) {
        const uint16_t word = ClampToWord(WordScaleOfFixed(channels[c]));
        out[c] = (record.flags & MATSHAPER_HAS_SHAPER) == 0
                     ? word
                     : ToneCurveEval(record.curves[c], record.curveParams.domain, word);
    }
}

}  // namespace

MatShaper* MatShaperAlloc() noexcept {
    return static_cast<MatShaper*>(HostAlloc(sizeof(MatShaper), 1, __LINE__, kSource));
}

MatShaper* MatShaperBuild(const double (&matrix)[9], ToneCurve* const (&curves)[3], uint32_t kind,
                          MatShaper* record) noexcept {
    HostFill(record, 0, sizeof *record);
    record->flags = kind & kKindMask;
    for (int i = 0; i < 9; ++i) record->matrix[i] = FixedOf(matrix[i]);
    if (DiffersFromIdentity(record->matrix, kIdentityTolerance)) record->flags |= MATSHAPER_HAS_MATRIX;
    return Finish(record, curves);
}

MatShaper* MatShaperBuildGray(ToneCurve* const (&curves)[3], uint32_t kind, MatShaper* record) noexcept {
    HostFill(record, 0, sizeof *record);
    record->flags = kind & kKindMask;
    return Finish(record, curves);
}

void MatShaperFree(MatShaper* record) noexcept {
    if (record == nullptr || IsBadReadPtr(record, sizeof *record)) return;
    for (uint16_t* curve : record->curves) {
        if (curve != nullptr) HostFree(curve, __LINE__, kSource);
    }
    HostFree(record, __LINE__, kSource);
}

int32_t MatShaperEval(const MatShaper* record, const uint16_t* in, uint16_t* out) noexcept {
    if (record == nullptr || IsBadReadPtr(record, sizeof *record)) return 0;
    MatShaperEvalUnchecked(*record, in, out);
    return 1;
}

void MatShaperTerms(const MatShaper& record, int channel, uint16_t word, int32_t (&terms)[3]) noexcept {
    int32_t channels[3] = {};
    channels[channel] = Shape<false>(record, channel, word);
    // The other channels add products with 0.
    if ((record.flags & MATSHAPER_HAS_MATRIX) != 0) FixedMatrixTimes(record.matrix, channels);
    for (int row = 0; row < 3; ++row) terms[row] = channels[row];
}

void MatShaperEvalUnchecked(const MatShaper& record, const uint16_t* in, uint16_t* out) noexcept {
    switch (record.flags & kKindMask) {
        case kKindMask:
            DeviceToDevice(record, in, out);
            break;
        case MATSHAPER_INPUT:
            DeviceToXyz(record, in, out);
            break;
        default:
            XyzToDevice(record, in, out);
            break;
    }
}

}  // namespace zv
