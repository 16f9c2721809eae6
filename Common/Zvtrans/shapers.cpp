// Setting up the matrix-shapers of a transform from its profiles.
#include <cmath>
#include <utility>

#include "Common/Zvgamma/fixed_point.h"
#include "Common/Zvtrans/transform.h"

namespace zv {

namespace {

constexpr uint32_t kCurveTags[3] = {Signature("rTRC"), Signature("gTRC"), Signature("bTRC")};

/// Three curves, released on every way out.
struct CurveSet {
    ToneCurve* curves[3] = {};

    CurveSet() = default;
    ~CurveSet() {
        for (ToneCurve* curve : curves) ToneCurveFree(curve);
    }
    CurveSet(const CurveSet&) = delete;
    CurveSet& operator=(const CurveSet&) = delete;

    bool Whole() const noexcept { return curves[0] != nullptr && curves[1] != nullptr && curves[2] != nullptr; }
};

void ReadCurves(CmmProfile* profile, CurveSet& set) noexcept {
    for (int i = 0; i < 3; ++i) set.curves[i] = CmmReadCurveTag(profile, kCurveTags[i]);
}

bool ReadMatrix(CmmProfile* profile, double (&matrix)[9]) noexcept {
    double scratch[9] = {};
    return CmmReadColorantMatrix(matrix, profile, scratch) == 1;
}

bool IsGray(const CmmProfile* profile) noexcept {
    return profile != nullptr && profile->colorSpace == Signature("GRAY");
}

int32_t Store(MatShaper** slot, MatShaper* shaper) noexcept {
    *slot = shaper;
    return shaper == nullptr ? 0 : 1;
}

int32_t Build(MatShaper** slot, const double (&matrix)[9], const CurveSet& set, uint32_t kind) noexcept {
    if (!set.Whole()) return 0;
    MatShaper* record = MatShaperAlloc();
    return Store(slot, record == nullptr ? nullptr : MatShaperBuild(matrix, set.curves, kind, record));
}

void Multiply(const double (&a)[9], const double (&b)[9], double (&product)[9]) noexcept {
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
            product[3 * row + column] =
                a[3 * row] * b[column] + a[3 * row + 1] * b[3 + column] + a[3 * row + 2] * b[6 + column];
        }
    }
}

}  // namespace

bool CmmInvertMatrix(double (&matrix)[9]) noexcept {
    double inverse[9] = {1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0};
    for (int k = 0; k < 3; ++k) {
        // Ties stay with the earliest row.
        int pivot = k;
        for (int row = k + 1; row < 3; ++row) {
            if (std::fabs(matrix[3 * row + k]) > std::fabs(matrix[3 * pivot + k])) pivot = row;
        }
        for (int column = 0; column < 3 && pivot != k; ++column) {
            std::swap(matrix[3 * k + column], matrix[3 * pivot + column]);
            std::swap(inverse[3 * k + column], inverse[3 * pivot + column]);
        }
        if (matrix[3 * k + k] == 0.0) return false;
        const double reciprocal = 1.0 / matrix[3 * k + k];
        for (int column = 0; column < 3; ++column) {
            matrix[3 * k + column] *= reciprocal;
            inverse[3 * k + column] *= reciprocal;
        }
        for (int row = 0; row < 3; ++row) {
            if (row == k) continue;
            const double factor = matrix[3 * row + k];
            for (int column = 0; column < 3; ++column) {
                matrix[3 * row + column] -= factor * matrix[3 * k + column];
                inverse[3 * row + column] -= factor * inverse[3 * k + column];
            }
        }
    }
    for (int i = 0; i < 9; ++i) matrix[i] = inverse[i];
    return true;
}

MatShaper* MatShaperFromGrayProfile(CmmProfile* profile, uint32_t kind) noexcept {
    // The curve runs forward on the output side too.
    ToneCurve* gray = CmmReadCurveTag(profile, Signature("kTRC"));
    if (gray == nullptr) return nullptr;
    CurveSet scaled;
    for (int i = 0; i < 3; ++i) scaled.curves[i] = ToneCurveScale(gray, FixedOf(profile->illuminant[i]));
    ToneCurveFree(gray);
    if (!scaled.Whole()) return nullptr;
    MatShaper* record = MatShaperAlloc();
    return record == nullptr ? nullptr : MatShaperBuildGray(scaled.curves, kind, record);
}

int32_t MatShaperFromInputProfile(CmmTransform* transform, uint32_t* buildFlags) noexcept {
    if (IsGray(transform->inputProfile)) {
        *buildFlags |= CMMBUILD_NO_GRID;
        return Store(&transform->inputShaper, MatShaperFromGrayProfile(transform->inputProfile, MATSHAPER_INPUT));
    }
    double matrix[9];
    if (!ReadMatrix(transform->inputProfile, matrix)) return 0;
    CurveSet set;
    ReadCurves(transform->inputProfile, set);
    return Build(&transform->inputShaper, matrix, set, MATSHAPER_INPUT);
}

int32_t MatShaperFromOutputProfile(CmmTransform* transform, uint32_t* buildFlags) noexcept {
    if (IsGray(transform->outputProfile)) {
        *buildFlags |= CMMBUILD_NO_GRID;
        return Store(&transform->outputShaper, MatShaperFromGrayProfile(transform->outputProfile, MATSHAPER_OUTPUT));
    }
    double matrix[9];
    if (!ReadMatrix(transform->outputProfile, matrix) || !CmmInvertMatrix(matrix)) return 0;
    CurveSet set, inverses;
    ReadCurves(transform->outputProfile, set);
    for (int i = 0; i < 3; ++i) inverses.curves[i] = ToneCurveInvert(set.curves[i]);
    return Build(&transform->outputShaper, matrix, inverses, MATSHAPER_OUTPUT);
}

int32_t MatShaperFromProfilePair(CmmTransform* transform) noexcept {
    double input[9], output[9], product[9];
    if (!ReadMatrix(transform->inputProfile, input) || !ReadMatrix(transform->outputProfile, output) ||
        !CmmInvertMatrix(output)) {
        return 0;
    }
    Multiply(output, input, product);
    CurveSet from, to, joined;
    ReadCurves(transform->inputProfile, from);
    ReadCurves(transform->outputProfile, to);
    for (int i = 0; i < 3; ++i) joined.curves[i] = ToneCurveJoin(from.curves[i], to.curves[i]);
    // The joined curves run first and the matrix second, which is how this short cut is defined.
    return Build(&transform->combinedShaper, product, joined, MATSHAPER_INPUT | MATSHAPER_OUTPUT);
}

}  // namespace zv
