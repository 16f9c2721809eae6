// The engine's records made of plain values, and owned for the length of a test.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "Common/Zvgamma/tone_curve.h"
#include "Common/Zvlut/lut.h"
#include "Common/Zvmatsh/matrix_shaper.h"
#include "Common/Zvtrans/transform.h"
#include "tests/support/engine_reference.h"

namespace zv::test {

struct FreeCurve {
    void operator()(ToneCurve* curve) const { ToneCurveFree(curve); }
};
using Curve = std::unique_ptr<ToneCurve, FreeCurve>;

inline Curve MakeCurve(const Words& table) {
    Curve curve(ToneCurveAlloc(static_cast<int32_t>(table.size())));
    EXPECT_NE(nullptr, curve);
    if (curve) std::copy(table.begin(), table.end(), curve->Entries());
    return curve;
}

inline Words TableOf(const Curve& curve) {
    EXPECT_NE(nullptr, curve);
    if (!curve) return {};
    return {curve->Entries(), curve->Entries() + curve->count};
}

/// A CmmLut of a plain table.
CmmLut* MakeLutRecord(const reference::Lut& lut);
/// Flags, sizes, matrix and tables of a record as a plain table.
reference::Lut PlainOf(const CmmLut& lut);
void ExpectSameLut(const reference::Lut& expected, const reference::Lut& actual);

class LutRecord {
public:
    explicit LutRecord(const reference::Lut& lut) : lut_(MakeLutRecord(lut)) {}
    explicit LutRecord(CmmLut* lut) : lut_(lut) {}
    ~LutRecord() { CmmLutFree(lut_); }
    LutRecord(const LutRecord&) = delete;
    LutRecord& operator=(const LutRecord&) = delete;
    CmmLut* Get() const { return lut_; }

private:
    CmmLut* lut_;
};

struct FreeShaper {
    void operator()(MatShaper* shaper) const { MatShaperFree(shaper); }
};
using ShaperRecord = std::unique_ptr<MatShaper, FreeShaper>;

/// MatShaperBuild of plain values; the curves are released.
ShaperRecord MakeShaperRecord(const reference::Matrix& matrix, const std::array<Words, 3>& curves, uint32_t kind);
ShaperRecord MakeGrayShaperRecord(const std::array<Words, 3>& curves, uint32_t kind);

struct CloseProfile {
    void operator()(CmmProfile* profile) const { CmmCloseProfile(profile); }
};
using ProfileRecord = std::unique_ptr<CmmProfile, CloseProfile>;

inline ProfileRecord OpenBytes(const Bytes& bytes) {
    return ProfileRecord(CmmOpenProfileFromMemory(bytes.data(), bytes.size()));
}

struct FreeTransform {
    void operator()(CmmTransform* transform) const { CmmFreeTransform(transform); }
};
using TransformRecord = std::unique_ptr<CmmTransform, FreeTransform>;

inline CmmWhite AsWhite(const Triple& white) { return {{white[0], white[1], white[2]}}; }

/// CmmBuildTransform of profile bytes, and the status it gave.
struct Built {
    TransformRecord transform;
    int32_t status = 0;
};
Built BuildFromBytes(const std::optional<Bytes>& input, uint32_t inputFormat, const std::optional<Bytes>& output,
                     uint32_t outputFormat, const reference::BuildOptions& options = {}, int32_t statusBefore = 0);

/// Runs pixels of the input format through a transform.
Bytes RunPixels(CmmTransform* transform, const Bytes& pixels);
/// Corners of the format's cube, a gray axis, and random pixels; none of the channel counts is assumed.
Bytes PixelsOf(uint32_t format, size_t randomPixels, uint64_t seed);

/// Builds a transform twice, by the library and by the reference, and runs pixels through both.
void ExpectLikeTheReference(const std::optional<Bytes>& input, uint32_t inputFormat, const std::optional<Bytes>& output,
                            uint32_t outputFormat, size_t randomPixels = 400,
                            const reference::BuildOptions& options = {});

}  // namespace zv::test
