// Changes of a live converter, within what its creation made possible. A change is no transaction: what has been taken
// over before a refusal stays.
#include <algorithm>

#include "Common/kernels/emulation.h"
#include "Common/kernels/kernels.h"
#include "Common/names.h"
#include "Common/zvclr/frame.h"
#include "Common/zvclr/records.h"

namespace zv {

namespace {

/// Bits of ClrCmykParams.mask, ClrYuvParams.mask and ClrLabParams.mask.
enum CmykMask : int32_t { kCmykGcrLevel = 1 };
enum YuvMask : int32_t {
    kYuvUSampleX = 1,
    kYuvUSampleY = 2,
    kYuvVSampleX = 4,
    kYuvVSampleY = 8,
    kYuvPositions = 16,
    kYuvMacroPixelSize = 32,
    kYuvFullRange = 64,
};
enum LabMask : int32_t {
    kLabLOffset = 1,
    kLabLRange = 2,
    kLabAOffset = 4,
    kLabARange = 8,
    kLabBOffset = 16,
    kLabBRange = 32,
};

/// Takes a field over if the mask names it.
void Take(int32_t mask, int32_t bit, int32_t& field, int32_t given) noexcept {
    if ((mask & bit) != 0) field = given;
}

uint32_t SizeOf(const ClrProfileMemory* memory) noexcept {
    return memory != nullptr ? static_cast<uint32_t>(memory->dataSize) : 0;
}

/// The size of a converter's profile as the caller's record tells it, never more than the copy has.
int32_t GivenSize(const ClrProfileMemory* own, const ClrProfileMemory* given, uint32_t* size) noexcept {
    *size = 0;
    if (own == nullptr) return CLR_SUCCESS;
    if (given == nullptr) return ERR_INVALID_PARAMETER;
    ClrProfileMemory record;
    if (!ReadRecord(given, &record)) return ERR_BAD_POINTER;
    *size = std::min(SizeOf(&record), SizeOf(own));
    return CLR_SUCCESS;
}

class Change {
public:
    Change(ClrHandle* converter, const ClrParams& params) noexcept : converter_(*converter), params_(params) {}

    int32_t Run() noexcept {
        for (const auto step : {&Change::TakeActiveMethod, &Change::TakeCmykParams, &Change::TakeYuvParams,
                                &Change::TakeLabParams, &Change::TakeWhitePoint, &Change::ReplaceSystemTransform,
                                &Change::TakeProfiles, &Change::TakeEmulationFile}) {
            if (const int32_t result = (this->*step)(); result != CLR_SUCCESS) return result;
        }
        return CLR_SUCCESS;
    }

private:
    int32_t TakeActiveMethod() noexcept;
    int32_t TakeCmykParams() noexcept;
    int32_t TakeYuvParams() noexcept;
    int32_t TakeLabParams() noexcept;
    int32_t TakeWhitePoint() noexcept;
    int32_t ReplaceSystemTransform() noexcept;
    int32_t TakeProfiles() noexcept;
    int32_t TakeEmulationFile() noexcept;

    int32_t ChangeYuvParams(const ClrYuvParams& yuv) noexcept;
    int32_t MoveTransformTo(const ClrWhitePoint& white) noexcept;

    bool Names(uint32_t part) const noexcept { return (params_.methods & part) != 0; }
    bool EitherIs(int32_t space) const noexcept {
        return converter_.sourceSpace == space || converter_.destinationSpace == space;
    }
    void CopyProfileNames() noexcept {
        ClrCopyName(converter_.inputProfileName, params_.inputProfileName);
        ClrCopyName(converter_.outputProfileName, params_.outputProfileName);
    }
    /// The records that this call has made go again.
    int32_t NoMemory() noexcept {
        if (madeLab_) FreeRecord(converter_.labDecode);
        if (madeYuv_) FreeRecord(converter_.yuvParams);
        if (madeCmyk_) FreeRecord(converter_.cmykParams);
        return ERR_NO_MEMORY;
    }

    ClrHandle& converter_;
    const ClrParams& params_;
    bool madeCmyk_ = false;
    bool madeYuv_ = false;
    bool madeLab_ = false;
};

/// The custom table, and what is no method, are taken without a test.
int32_t Change::TakeActiveMethod() noexcept {
    if (!Names(CLRPARAM_ACTIVE_METHOD)) return CLR_SUCCESS;
    const uint32_t method = params_.activeMethod;
    const bool tested = method == CLRMETHOD_BUILTIN || method == CLRMETHOD_ICC || method == CLRMETHOD_CUSTOM_ICC ||
                        method == CLRMETHOD_EMULATION;
    if (tested && (converter_.methods & method) == 0) return ERR_METHOD_UNAVAILABLE;
    converter_.activeMethod = method;
    return CLR_SUCCESS;
}

int32_t Change::TakeCmykParams() noexcept {
    if (!Names(CLRPARAM_CMYK)) return CLR_SUCCESS;
    if (!EitherIs(CLRSPACE_CMYK)) return ERR_METHOD_UNAVAILABLE;
    if (params_.cmykParams == nullptr) return ERR_INVALID_PARAMETER;
    ClrCmykParams cmyk;
    if (!ReadRecord(params_.cmykParams, &cmyk)) return ERR_BAD_POINTER;
    if (converter_.cmykParams != nullptr) {
        Take(cmyk.mask, kCmykGcrLevel, converter_.cmykParams->gcrLevel, cmyk.gcrLevel);
        return CLR_SUCCESS;
    }
    converter_.cmykParams = AllocRecord<ClrCmykParams>();
    if (converter_.cmykParams == nullptr) return NoMemory();
    *converter_.cmykParams = cmyk;
    madeCmyk_ = true;
    return CLR_SUCCESS;
}

/// A change of the layout asks for CMYK parameters too, and looks no further into them.
int32_t Change::TakeYuvParams() noexcept {
    if (!Names(CLRPARAM_YUV)) return CLR_SUCCESS;
    if (!EitherIs(CLRSPACE_YUV)) return ERR_METHOD_UNAVAILABLE;
    if (params_.cmykParams == nullptr || params_.yuvParams == nullptr) return ERR_INVALID_PARAMETER;
    ClrYuvParams yuv;
    if (!ReadRecord(params_.yuvParams, &yuv)) return ERR_BAD_POINTER;
    if (converter_.yuvParams != nullptr) return ChangeYuvParams(yuv);
    converter_.yuvParams = AllocRecord<ClrYuvParams>();
    if (converter_.yuvParams == nullptr) return NoMemory();
    *converter_.yuvParams = yuv;
    madeYuv_ = true;
    return CLR_SUCCESS;
}

/// Positions are written into the table that the converter points to, which is the caller's: as many bytes, not
/// entries, as the given macro-pixel has samples.
int32_t Change::ChangeYuvParams(const ClrYuvParams& yuv) noexcept {
    ClrYuvParams& own = *converter_.yuvParams;
    if ((yuv.mask & kYuvPositions) != 0 && yuv.macroPixelSize > 0) {
        const auto bytes = static_cast<size_t>(yuv.macroPixelSize);
        auto* positions = const_cast<int32_t*>(own.positions);
        if (IsBadReadPtr(yuv.positions, bytes) || IsBadWritePtr(positions, bytes)) return ERR_BAD_POINTER;
        HostMove(positions, yuv.positions, bytes);
    }
    // No references into a packed record.
    const auto names = [&](int32_t bit) { return (yuv.mask & bit) != 0; };
    if (names(kYuvUSampleX)) own.uSampleX = yuv.uSampleX;
    if (names(kYuvUSampleY)) own.uSampleY = yuv.uSampleY;
    if (names(kYuvVSampleX)) own.vSampleX = yuv.vSampleX;
    if (names(kYuvVSampleY)) own.vSampleY = yuv.vSampleY;
    if (names(kYuvMacroPixelSize)) own.macroPixelSize = yuv.macroPixelSize;
    if (names(kYuvFullRange)) own.fullRange = yuv.fullRange;
    return CLR_SUCCESS;
}

/// A record that this makes has an encoding of its own: the caller's is taken by the next change. Only the way from Lab
/// can be changed.
int32_t Change::TakeLabParams() noexcept {
    if (!Names(CLRPARAM_LAB)) return CLR_SUCCESS;
    if (!EitherIs(CLRSPACE_LAB)) return ERR_METHOD_UNAVAILABLE;
    if (params_.labParams == nullptr) return ERR_INVALID_PARAMETER;
    ClrLabParams lab;
    if (!ReadRecord(params_.labParams, &lab)) return ERR_BAD_POINTER;
    if (converter_.labDecode == nullptr) {
        converter_.labDecode = AllocRecord<ClrLabDecodeRecord>();
        if (converter_.labDecode == nullptr) return NoMemory();
        madeLab_ = true;
        SetLabRecord(*converter_.labDecode, kLabChangeSetup, kLabChangeEncoding);
    } else {
        ClrLabDecodeRecord& own = *converter_.labDecode;
        Take(lab.mask, kLabLOffset, own.lOffset, lab.lOffset);
        Take(lab.mask, kLabLRange, own.lRange, lab.lRange);
        Take(lab.mask, kLabAOffset, own.aOffset, lab.aOffset);
        Take(lab.mask, kLabARange, own.aRange, lab.aRange);
        Take(lab.mask, kLabBOffset, own.bOffset, lab.bOffset);
        Take(lab.mask, kLabBRange, own.bRange, lab.bRange);
    }
    ClrBuildLabDecode(converter_.labDecode, converter_.gammaPercent);
    return CLR_SUCCESS;
}

/// By the method now active: transforms are made again, for the built-in kernels and tables the white is only kept,
/// and the others take none.
int32_t Change::TakeWhitePoint() noexcept {
    if (!Names(CLRPARAM_WHITE_POINT)) return CLR_SUCCESS;
    switch (converter_.activeMethod) {
        case CLRMETHOD_BUILTIN:
        case CLRMETHOD_EMULATION:
        case CLRMETHOD_ICC:
        case CLRMETHOD_CUSTOM_ICC:
            break;
        default:
            return CLR_SUCCESS;
    }
    if (params_.whitePoint == nullptr) return ERR_INVALID_PARAMETER;
    ClrWhitePoint white;
    if (!ReadRecord(params_.whitePoint, &white)) return ERR_BAD_POINTER;
    if (converter_.whitePoint == nullptr) {
        converter_.whitePoint = AllocRecord<ClrWhitePoint>();
        if (converter_.whitePoint == nullptr) return NoMemory();
        *converter_.whitePoint = {kDefaultWhiteCode, 0.0, 0.0};
    }
    return MoveTransformTo(white);
}

/// Sizes come from the copy for an input by a white's code, and from the caller's records otherwise: these must be
/// there when the converter holds a copy.
int32_t Change::MoveTransformTo(const ClrWhitePoint& white) noexcept {
    const bool custom = converter_.activeMethod == CLRMETHOD_CUSTOM_ICC;
    uint32_t inputSize = SizeOf(converter_.inputProfileMemory), outputSize = 0;
    if (custom) {
        if (white.whiteCode == 0) {
            const int32_t result = GivenSize(converter_.inputProfileMemory, params_.inputProfileMemory, &inputSize);
            if (result != CLR_SUCCESS) return result;
        }
        const int32_t result = GivenSize(converter_.outputProfileMemory, params_.outputProfileMemory, &outputSize);
        if (result != CLR_SUCCESS) return result;
    }
    *converter_.whitePoint = white;
    if (converter_.activeMethod == CLRMETHOD_ICC) return ClrRebuildIccTransform(&converter_);
    if (!custom) return CLR_SUCCESS;
    if (Names(CLRPARAM_PROFILES)) CopyProfileNames();
    return ClrRebuildCustomTransform(&converter_, inputSize, outputSize);
}

/// Whatever the mask says.
int32_t Change::ReplaceSystemTransform() noexcept {
    if ((params_.activeMethod & CLRMETHOD_CUSTOM_ICC) == 0 ||
        !ClrSystemServes(converter_.sourceSpace, converter_.destinationSpace)) {
        return CLR_SUCCESS;
    }
    return ClrRebuildSystemTransform(&converter_, &params_);
}

/// Profiles in memory stay those that the converter has.
int32_t Change::TakeProfiles() noexcept {
    if (!Names(CLRPARAM_PROFILES)) return CLR_SUCCESS;
    CopyProfileNames();
    return ClrRebuildCustomTransform(&converter_, SizeOf(converter_.inputProfileMemory),
                                     SizeOf(converter_.outputProfileMemory));
}

/// Fewer pairs than at creation: none from Lab, and only CLRSPACE_RGB to Lab. A file that cannot be read is no failure;
/// its table is all black then. The reader puts its block in the place of the one made here, which is lost.
int32_t Change::TakeEmulationFile() noexcept {
    if (!Names(CLRPARAM_EMULATION_FILE)) return CLR_SUCCESS;
    ClrCopyName(converter_.emulationTableName, params_.emulationTableName);
    FreeRecord(converter_.customEmulationTable);
    int32_t bytes = 0;
    if (converter_.sourceSpace == CLRSPACE_CMYK && ClrIsHub(converter_.destinationSpace)) {
        bytes = kCmykTableBytes;
    } else if (converter_.sourceSpace == CLRSPACE_RGB && converter_.destinationSpace == CLRSPACE_LAB) {
        bytes = kLabTableBytes;
    } else {
        return CLR_SUCCESS;
    }
    converter_.customEmulationTable = ClrAllocEmulationTable(bytes);
    if (converter_.customEmulationTable == nullptr) return NoMemory();
    ClrReadEmulationFile(converter_.emulationTableName, &converter_.customEmulationTable);
    return CLR_SUCCESS;
}

}  // namespace

}  // namespace zv

using namespace zv;

int32_t Zv_ClrSetConversionParams(ClrHandle* converter, const ClrParams* params) {
    if (params == nullptr || converter == nullptr) return ERR_INVALID_PARAMETER;
    if (IsBadReadPtr(params, sizeof *params) || IsBadReadPtr(converter, kConverterSize)) return ERR_BAD_POINTER;
    const int32_t valid = Zv_ClrIsValid(converter);
    if (valid != CLR_SUCCESS) return valid;
    return Change(converter, *params).Run();
}
