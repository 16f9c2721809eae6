// Finding tags, and reading XYZ values, colorants and curves.
#include "Common/Zviccio/bytes.h"
#include "Common/Zviccio/profile.h"
#include "Common/Zviccio/tag_stream.h"

namespace zv {

namespace {

constexpr size_t kTypeHeadSize = 8;  // signature and a reserved word
constexpr uint32_t kXyzType = Signature("XYZ ");
/// Some writers leave this in the place of the type.
constexpr uint32_t kOtherXyzType = 0x07C3B10C;
constexpr uint32_t kCurveType = Signature("curv");

/// Neither a file nor a block: bodies were read ahead into tagData. Opening never makes such a profile.
bool IsReadAhead(const CmmProfile& profile) noexcept { return profile.file == kNoHostFile && profile.fromMemory == 0; }

/// The body as it lies there; the result is its size.
int32_t ReadAheadXyz(const CmmProfile& profile, int32_t index, double* out) noexcept {
    const auto size = static_cast<size_t>(profile.tagSize[index]);
    const void* body = profile.tagData[index];
    if (body == nullptr || size > 3 * sizeof(double) || IsBadReadPtr(body, size)) return -1;
    if (out != nullptr) HostCopy(out, body, size);
    return static_cast<int32_t>(size);
}

ToneCurve* ReadCurve(TagStream& stream, uint32_t count) noexcept {
    if (count == 0) {
        ToneCurve* identity = ToneCurveAlloc(2);
        if (identity != nullptr) identity->Entries()[1] = 0xFFFF;
        return identity;
    }
    if (count == 1) {
        uint8_t gamma[2];
        if (!stream.Read(gamma, sizeof gamma)) return nullptr;
        return ToneCurveBuildGamma(gamma[0] + gamma[1] * 0.00390625);
    }
    if (count > INT32_MAX || !stream.Holds(uint64_t{count} * 2)) return nullptr;
    ToneCurve* curve = ToneCurveAlloc(static_cast<int32_t>(count));
    if (curve == nullptr) return nullptr;
    if (!stream.Read(curve->Entries(), size_t{count} * 2)) {
        ToneCurveFree(curve);
        return nullptr;
    }
    SwapWords(curve->Entries(), count);
    return curve;
}

}  // namespace

int32_t CmmFindTag(const CmmProfile* profile, uint32_t signature) noexcept {
    if (profile == nullptr || IsBadReadPtr(profile, sizeof *profile)) return ERR_INVALID_PARAMETER;
    for (int32_t i = 0; i < profile->tagCount && i < kProfileTagCapacity; ++i) {
        if (profile->tagSignature[i] == signature) return i;
    }
    return -1;
}

int32_t CmmHasTag(const CmmProfile* profile, uint32_t signature) noexcept {
    return CmmFindTag(profile, signature) >= 0 ? 1 : 0;
}

int32_t CmmReadXyzTag(CmmProfile* profile, uint32_t signature, double* out) noexcept {
    const int32_t index = CmmFindTag(profile, signature);
    if (index < 0) return index;
    if (IsReadAhead(*profile)) return ReadAheadXyz(*profile, index, out);
    TagStream stream(*profile);
    // A file that cannot be positioned is read from where it stands.
    stream.Seek(profile->tagOffset[index]);
    uint8_t body[kTypeHeadSize + 12];
    if (!stream.Read(body, sizeof body)) return -1;
    const uint32_t type = BigEndian32(body);
    if (type != kXyzType && type != kOtherXyzType) return -1;
    for (size_t i = 0; out != nullptr && i < 3; ++i) out[i] = S15Fixed16(body + kTypeHeadSize + 4 * i);
    return 1;
}

int32_t CmmReadColorantMatrix(double* out, CmmProfile* profile, double* scratch) noexcept {
    constexpr uint32_t kColorants[3] = {Signature("rXYZ"), Signature("gXYZ"), Signature("bXYZ")};
    for (int i = 0; i < 3; ++i) {
        if (CmmReadXyzTag(profile, kColorants[i], scratch + 3 * i) < 0) return 0;
    }
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) out[3 * row + column] = scratch[3 * column + row];
    }
    return 1;
}

ToneCurve* CmmReadCurveTag(CmmProfile* profile, uint32_t signature) noexcept {
    const int32_t index = CmmFindTag(profile, signature);
    if (index < 0) return nullptr;
    if (IsReadAhead(*profile)) return ToneCurveDuplicate(static_cast<const ToneCurve*>(profile->tagData[index]));
    TagStream stream(*profile);
    // A file that cannot be positioned is read from where it stands.
    stream.Seek(profile->tagOffset[index]);
    uint8_t head[kTypeHeadSize + 4];
    if (!stream.Read(head, sizeof head) || BigEndian32(head) != kCurveType) return nullptr;
    return ReadCurve(stream, BigEndian32(head + kTypeHeadSize));
}

}  // namespace zv
