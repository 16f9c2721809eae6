// Making a transform out of two profiles.
#include <initializer_list>

#include "Common/Zvtrans/byte_tables.h"
#include "Common/Zvtrans/transform.h"

namespace zv {

namespace {

constexpr ZvChar kSource[] = ZV_WIDE("Common\\Zvtrans");

constexpr uint32_t kIntents = 4;

/// Tags of each intent; the fourth repeats the second.
constexpr uint32_t kDeviceToPcsTags[kIntents] = {Signature("A2B0"), Signature("A2B1"), Signature("A2B2"),
                                                 Signature("A2B1")};
constexpr uint32_t kPcsToDeviceTags[kIntents] = {Signature("B2A0"), Signature("B2A1"), Signature("B2A2"),
                                                 Signature("B2A1")};

/// The first slot serves where the intent's own is absent; 0 where the profile has no table.
uint32_t TableTag(const CmmProfile* profile, const uint32_t (&tags)[kIntents], uint32_t intent) noexcept {
    if (intent < kIntents && CmmHasTag(profile, tags[intent]) == 1) return tags[intent];
    return CmmHasTag(profile, tags[0]) == 1 ? tags[0] : 0;
}

bool FormatFits(uint32_t format, const CmmProfile* profile) noexcept {
    const CmmFormatEntry* entry = CmmFindFormat(format);
    if (entry == nullptr || entry->colorSpace == 0) return true;
    return profile != nullptr && profile->colorSpace == entry->colorSpace;
}

bool IsRgb(const CmmProfile* profile) noexcept {
    return profile != nullptr && profile->colorSpace == Signature("RGB ");
}

/// A transform in the making.
class Construction {
public:
    Construction(CmmTransform& transform, uint32_t buildFlags) noexcept : t_(transform), flags_(buildFlags) {}

    /// CLR_SUCCESS and a finished transform, or false with the code to report, which may be CLR_SUCCESS as well.
    bool Run(const CmmWhite& white, int32_t* status) noexcept {
        *status = CLR_SUCCESS;
        t_.unpack = CmmSelectUnpack(t_.inputFormat);
        t_.pack = CmmSelectPack(t_.outputFormat);
        if (!FormatFits(t_.inputFormat, t_.inputProfile) || !FormatFits(t_.outputFormat, t_.outputProfile)) {
            *status = ERR_TRANSFORM_CREATE;
            return false;
        }
        if (t_.unpack == nullptr || t_.pack == nullptr) return false;
        if (IsDeviceLink()) {
            if (LinkDevices()) return true;
            *status = ERR_TRANSFORM_CREATE;
            return false;
        }
        if (t_.inputProfile == nullptr && t_.outputProfile == nullptr) {
            t_.run = CmmRunCopy;
            return true;
        }
        return SetUpStages() && Finish(white);
    }

private:
    bool IsDeviceLink() const noexcept {
        return t_.inputProfile != nullptr && t_.outputProfile == nullptr &&
               t_.inputProfile->deviceClass == Signature("link");
    }

    bool LinkDevices() noexcept {
        t_.gridLut = CmmReadLutTag(t_.inputProfile, kDeviceToPcsTags[0]);
        t_.inputPcsKind = t_.previewPcsKind = t_.outputPcsKind = PCS_NONE;
        t_.run = CmmRunGrid;
        return t_.gridLut != nullptr;
    }

    bool SetUpStages() noexcept {
        t_.inputPcsKind = CmmProfilePcsKind(t_.inputProfile);
        t_.outputPcsKind = CmmProfilePcsKind(t_.outputProfile);
        t_.previewPcsKind = PCS_NONE;
        const uint32_t inputTag = TableTag(t_.inputProfile, kDeviceToPcsTags, t_.intent);
        const uint32_t outputTag = TableTag(t_.outputProfile, kPcsToDeviceTags, t_.intent);
        if (inputTag == 0 && outputTag == 0 && IsRgb(t_.inputProfile) && IsRgb(t_.outputProfile)) {
            flags_ |= CMMBUILD_NO_GRID;
            t_.run = CmmRunShaper;
            t_.inputPcsKind = t_.outputPcsKind = PCS_XYZ;
            return MatShaperFromProfilePair(&t_) == 1;
        }
        return SetUpInput(inputTag) && SetUpOutput(outputTag);
    }

    bool SetUpInput(uint32_t tag) noexcept {
        if (tag != 0) {
            t_.deviceToPcs = CmmStageInputLut;
            t_.inputLut = CmmReadLutTag(t_.inputProfile, tag);
            return t_.inputLut != nullptr;
        }
        t_.deviceToPcs = CmmStageInputShaper;
        t_.inputPcsKind = PCS_XYZ;
        return MatShaperFromInputProfile(&t_, &flags_) == 1;
    }

    bool SetUpOutput(uint32_t tag) noexcept {
        if (tag != 0) {
            t_.pcsToDevice = CmmStageOutputLut;
            t_.outputLut = CmmReadLutTag(t_.outputProfile, tag);
            return t_.outputLut != nullptr;
        }
        t_.pcsToDevice = CmmStageOutputShaper;
        t_.outputPcsKind = PCS_XYZ;
        return MatShaperFromOutputProfile(&t_, &flags_) == 1;
    }

    bool Finish(const CmmWhite& white) noexcept {
        CmmSetupPcsConversion(&t_, white);
        const bool patch = (flags_ & CMMBUILD_PATCH_ENDPOINTS) != 0;
        if (!patch && (flags_ & CMMBUILD_NO_GRID) != 0) return true;
        // Sampling takes the formatters' places.
        const CmmUnpack unpack = t_.unpack;
        const CmmPack pack = t_.pack;
        const bool built = CmmBuildGrid(&t_) == 1;
        t_.unpack = unpack;
        t_.pack = pack;
        if (!built) return false;
        t_.run = CmmRunGrid;
        if (patch) CmmPatchGridEndpoints(&t_);
        return true;
    }

    CmmTransform& t_;
    uint32_t flags_;
};

}  // namespace

CmmTransform* CmmBuildTransform(CmmProfile* inputProfile, uint32_t inputFormat, CmmProfile* outputProfile,
                                uint32_t outputFormat, const CmmWhite& white, uint32_t buildFlags,
                                int32_t* status) noexcept {
    auto* transform = static_cast<CmmTransform*>(HostAllocZeroed(sizeof(CmmTransform), 1, __LINE__, kSource));
    if (transform == nullptr) {
        CmmCloseProfile(inputProfile);
        CmmCloseProfile(outputProfile);
        *status = ERR_NO_MEMORY;
        return nullptr;
    }
    transform->proofIntent = 3;
    transform->inputProfile = inputProfile;
    transform->outputProfile = outputProfile;
    transform->inputFormat = inputFormat;
    transform->outputFormat = outputFormat;
    transform->run = CmmRunFull;
    if (Construction(*transform, buildFlags).Run(white, status)) {
        transform->byteTables = CmmMakeByteTables(*transform);
        return transform;
    }
    CmmFreeTransform(transform);
    return nullptr;
}

CmmTransform* CmmCreateTransform(CmmProfile* inputProfile, uint32_t inputFormat, CmmProfile* outputProfile,
                                 uint32_t outputFormat, int32_t* status) noexcept {
    return CmmBuildTransform(inputProfile, inputFormat, outputProfile, outputFormat, CmmReferenceWhite(), 0, status);
}

void CmmFreeTransform(CmmTransform* transform) noexcept {
    if (transform == nullptr || IsBadReadPtr(transform, sizeof *transform)) return;
    for (CmmLut* lut :
         {transform->inputLut, transform->outputLut, transform->gamutLut, transform->previewLut, transform->gridLut}) {
        CmmLutFree(lut);
    }
    for (MatShaper* shaper : {transform->inputShaper, transform->outputShaper, transform->combinedShaper}) {
        MatShaperFree(shaper);
    }
    CmmFreeByteTables(transform->byteTables);
    CmmCloseProfile(transform->inputProfile);
    CmmCloseProfile(transform->outputProfile);
    HostFree(transform, __LINE__, kSource);
}

}  // namespace zv
