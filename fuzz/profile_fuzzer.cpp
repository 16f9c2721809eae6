// Bytes as an ICC profile: opened, every tag read, and made into transforms of every format, which run.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "Common/Zvtrans/transform.h"
#include "tests/support/profile_builder.h"

namespace {

using namespace zv;

constexpr uint32_t kFormats[] = {CMMFORMAT_RGB_8, CMMFORMAT_BGR_8, CMMFORMAT_CMY_8, CMMFORMAT_CMYK_8, CMMFORMAT_LAB_8};
constexpr uint32_t kPixels = 24;

void Require(bool condition) {
    if (!condition) std::abort();
}

using Input = std::vector<uint8_t>;

CmmProfile* Open(const Input& bytes) { return CmmOpenProfileFromMemory(bytes.data(), bytes.size()); }

/// A gray profile on the other side keeps a transform from being baked, and so from taking long.
const Input& GrayPartner() {
    static const Input bytes = test::GrayProfile(test::CurveBody({0, 20000, 65535})).Build();
    return bytes;
}
const Input& MatrixPartner() {
    static const Input bytes = test::MatrixRgbProfile({}, test::CurveBody({0, 20000, 65535})).Build();
    return bytes;
}

void ReadEveryTag(CmmProfile* profile) {
    for (int32_t i = 0; i < profile->tagCount; ++i) {
        const uint32_t signature = profile->tagSignature[i];
        double xyz[3] = {};
        CmmReadXyzTag(profile, signature, xyz);
        ToneCurve* const curve = CmmReadCurveTag(profile, signature);
        ToneCurveFree(ToneCurveInvert(curve));
        ToneCurveFree(curve);
        CmmLutFree(CmmReadLutTag(profile, signature));
    }
}

/// Takes over both profiles.
void MakeAndRun(CmmProfile* input, uint32_t inputFormat, CmmProfile* output, uint32_t outputFormat) {
    int32_t status = 0;
    CmmTransform* const transform = CmmCreateTransform(input, inputFormat, output, outputFormat, &status);
    if (transform == nullptr) return;
    Require(status == CLR_SUCCESS);
    std::vector<uint8_t> from(kPixels * FormatChannels(inputFormat)), to(kPixels * FormatChannels(outputFormat));
    for (size_t i = 0; i < from.size(); ++i) from[i] = static_cast<uint8_t>(i * 37);
    std::fill_n(from.begin(), 8, uint8_t{255});
    Require(CmmRunTransform(from.data(), to.data(), kPixels, transform) == CLR_SUCCESS);
    std::vector<uint8_t> again(to.size());
    Require(CmmRunTransform(from.data(), again.data(), kPixels, transform) == CLR_SUCCESS);
    Require(to == again);
    CmmFreeTransform(transform);
}

/// One input in some dozens is baked: its bytes decide.
bool IsBaked(const Input& bytes) {
    uint32_t sum = 0;
    for (const uint8_t byte : bytes) sum = sum * 31 + byte;
    return sum % 61 == 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const Input bytes(data, data + size);
    CmmProfile* const profile = Open(bytes);
    if (profile == nullptr) return 0;
    ReadEveryTag(profile);
    CmmCloseProfile(profile);

    for (const uint32_t format : kFormats) {
        MakeAndRun(Open(bytes), format, nullptr, CMMFORMAT_BGR_8);
        MakeAndRun(Open(bytes), format, Open(GrayPartner()), CMMFORMAT_BGR_8);
        MakeAndRun(Open(GrayPartner()), CMMFORMAT_BGR_8, Open(bytes), format);
    }
    MakeAndRun(Open(bytes), CMMFORMAT_BGR_8, Open(bytes), CMMFORMAT_BGR_8);
    if (!IsBaked(bytes)) return 0;
    for (const uint32_t format : kFormats) {
        MakeAndRun(Open(bytes), format, Open(MatrixPartner()), CMMFORMAT_RGB_8);
        MakeAndRun(Open(MatrixPartner()), CMMFORMAT_BGR_8, Open(bytes), format);
    }
    return 0;
}
