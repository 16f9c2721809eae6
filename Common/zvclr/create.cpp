#include "Common/Zvtrans/transform.h"
#include "Common/kernels/kernels.h"
#include "Common/zvclr/frame.h"
#include "Common/zvclr/records.h"
#include "host/host.h"

namespace zv {

namespace {

constexpr uint32_t kConvertingMethods =
    CLRMETHOD_BUILTIN | CLRMETHOD_ICC | CLRMETHOD_CUSTOM_ICC | CLRMETHOD_EMULATION | CLRMETHOD_CUSTOM_EMULATION;

ClrHandle* AllocConverter() noexcept {
    auto* converter = static_cast<ClrHandle*>(HostAllocZeroed(kConverterSize, 1, __LINE__, kFrameSource));
    if (converter != nullptr) converter->size = kConverterSize;
    return converter;
}

ClrRoute RouteOf(int32_t sourceSpace, int32_t destinationSpace) noexcept {
    const bool direct = sourceSpace == destinationSpace || ClrIsHub(sourceSpace) || ClrIsHub(destinationSpace);
    return direct ? kRouteOneStep : kRouteThroughHub;
}

/// The method behind CLRMETHOD_AUTOMATIC, or that flag itself where the library has no choice to make.
uint32_t AutomaticMethod(int32_t sourceSpace, int32_t destinationSpace) noexcept {
    if (!ClrIsHub(sourceSpace) && !ClrIsHub(destinationSpace)) return CLRMETHOD_BUILTIN;
    if (sourceSpace == CLRSPACE_CMYK || destinationSpace == CLRSPACE_CMYK) return CLRMETHOD_ICC;
    if (sourceSpace == CLRSPACE_LAB || destinationSpace == CLRSPACE_LAB) return CLRMETHOD_BUILTIN;
    if (sourceSpace == CLRSPACE_YCCK) return CLRMETHOD_ICC;
    return CLRMETHOD_AUTOMATIC;
}

/// A converter in the making. The destructor does nothing: some refusals leave the converter on the list for the
/// unload to release, and each step says itself what it takes back.
class Creation {
public:
    Creation(int32_t sourceSpace, int32_t destinationSpace, ClrParams* params) noexcept
        : sourceSpace_(sourceSpace), destinationSpace_(destinationSpace), params_(params) {}

    int32_t Run(ClrHandle** receiver) noexcept;

private:
    int32_t MakeCopier(ClrHandle** receiver) noexcept;
    int32_t MakeDefault(ClrHandle** receiver) noexcept;
    int32_t MakeWithParams() noexcept;
    int32_t CopyWhitePoint() noexcept;
    int32_t BuildTransforms() noexcept;
    int32_t LoadEmulationTables() noexcept;
    int32_t CopyCmykParams() noexcept;
    int32_t CopyYuvParams() noexcept;
    int32_t BuildLabRecords() noexcept;
    int32_t BuildYcckTables() noexcept;

    bool EitherIs(int32_t space) const noexcept { return sourceSpace_ == space || destinationSpace_ == space; }

    /// Nothing but the white point and the node exist.
    int32_t UnwindA(int32_t code) noexcept {
        FreeRecord(converter_->whitePoint);
        UnregisterConverter(converter_);
        FreeRecord(converter_);
        return code;
    }
    /// What the methods have built goes before the rest; records stay.
    int32_t UnwindB(int32_t code) noexcept {
        CmmFreeTransform(converter_->customTransform);
        CmmFreeTransform(converter_->iccTransform);
        FreeProfileMemory(converter_->inputProfileMemory);
        FreeProfileMemory(converter_->outputProfileMemory);
        return UnwindA(code);
    }
    /// The records made so far, newest first, then the rest.
    int32_t UnwindRecords(int32_t code) noexcept {
        FreeRecord(converter_->labEncode);
        FreeRecord(converter_->labDecode);
        FreeRecord(converter_->yuvParams);
        FreeRecord(converter_->cmykParams);
        return UnwindB(code);
    }

    int32_t sourceSpace_;
    int32_t destinationSpace_;
    ClrParams* params_;
    ClrHandle* converter_ = nullptr;
};

int32_t Creation::Run(ClrHandle** receiver) noexcept {
    if (receiver == nullptr) return ERR_INVALID_PARAMETER;
    if (IsBadWritePtr(receiver, sizeof *receiver)) return ERR_BAD_POINTER;
    if (params_ != nullptr && IsBadReadPtr(params_, sizeof(ClrParams))) return ERR_BAD_POINTER;
    if (sourceSpace_ == destinationSpace_ && (params_ == nullptr || (params_->methods & CLRMETHOD_CUSTOM_ICC) == 0)) {
        return MakeCopier(receiver);
    }
    if (params_ != nullptr && params_->size != sizeof(ClrParams)) return ERR_STRUCT_SIZE;
    if (!ClrIsSpace(sourceSpace_) || !ClrIsSpace(destinationSpace_)) return ERR_COLORSPACE_UNSUPPORTED;

    converter_ = AllocConverter();
    if (converter_ == nullptr) return ERR_NO_MEMORY;
    if (params_ == nullptr) return MakeDefault(receiver);
    const int32_t result = MakeWithParams();
    if (result == CLR_SUCCESS) *receiver = converter_;
    return result;
}

/// Equal spaces: neither the ids nor the record's size matter.
int32_t Creation::MakeCopier(ClrHandle** receiver) noexcept {
    converter_ = AllocConverter();
    if (converter_ == nullptr) return ERR_NO_MEMORY;
    converter_->sourceSpace = sourceSpace_;
    converter_->destinationSpace = destinationSpace_;
    if (!RegisterConverter(converter_)) {
        FreeRecord(converter_);
        return ERR_NO_MEMORY;
    }
    *receiver = converter_;
    return CLR_SUCCESS;
}

int32_t Creation::MakeDefault(ClrHandle** receiver) noexcept {
    converter_->activeMethod = CLRMETHOD_BUILTIN;
    converter_->methods = CLRMETHOD_BUILTIN;
    converter_->route = RouteOf(sourceSpace_, destinationSpace_);
    converter_->gammaPercent = kGammaPercent;
    converter_->sourceSpace = sourceSpace_;
    converter_->destinationSpace = destinationSpace_;
    if (!RegisterConverter(converter_)) {
        FreeRecord(converter_);
        return ERR_NO_MEMORY;
    }
    const int32_t result = BuildYcckTables();
    if (result == CLR_SUCCESS) *receiver = converter_;
    return result;
}

int32_t Creation::MakeWithParams() noexcept {
    if (params_->activeMethod == CLRMETHOD_EMULATION && params_->emulationMethod != CLRMETHOD_EMULATION) {
        FreeRecord(converter_);
        return ERR_INVALID_PARAMETER;
    }
    if (!RegisterConverter(converter_)) {
        FreeRecord(converter_);
        return ERR_NO_MEMORY;
    }
    if (const int32_t result = CopyWhitePoint(); result != CLR_SUCCESS) return result;

    const bool automatic = params_->methods == CLRMETHOD_AUTOMATIC && params_->activeMethod == CLRMETHOD_AUTOMATIC;
    const uint32_t chosen = AutomaticMethod(sourceSpace_, destinationSpace_);
    if (automatic && chosen != CLRMETHOD_AUTOMATIC) {
        if (IsBadWritePtr(params_, sizeof *params_)) return UnwindA(ERR_BAD_POINTER);
        params_->methods = chosen;
        params_->activeMethod = chosen;
    }
    if ((params_->methods & kConvertingMethods) == 0 || (params_->methods & params_->activeMethod) == 0) {
        return UnwindA(ERR_METHOD_UNAVAILABLE);
    }

    // The block came zeroed: transforms, records and tables are absent.
    converter_->activeMethod = params_->activeMethod;
    converter_->methods = params_->methods;
    converter_->gammaPercent = kGammaPercent;
    converter_->route = RouteOf(sourceSpace_, destinationSpace_);

    // Each enabled method builds its own objects; the records that several methods share come after them.
    for (const auto step : {&Creation::BuildTransforms, &Creation::LoadEmulationTables, &Creation::CopyCmykParams,
                            &Creation::CopyYuvParams, &Creation::BuildLabRecords, &Creation::BuildYcckTables}) {
        if (const int32_t result = (this->*step)(); result != CLR_SUCCESS) return result;
    }
    converter_->sourceSpace = sourceSpace_;
    converter_->destinationSpace = destinationSpace_;
    if (automatic) {
        params_->methods = CLRMETHOD_AUTOMATIC;
        params_->activeMethod = CLRMETHOD_AUTOMATIC;
    }
    if ((params_->methods & CLRMETHOD_CUSTOM_ICC) == 0 || !ClrSystemServes(sourceSpace_, destinationSpace_)) {
        return CLR_SUCCESS;
    }
    // A refusal here leaves the converter on the list.
    return ClrBuildSystemTransform(converter_, params_);
}

int32_t Creation::CopyWhitePoint() noexcept {
    ClrWhitePoint white = {kDefaultWhiteCode, 0.0, 0.0};
    if (params_->whitePoint != nullptr && !ReadRecord(params_->whitePoint, &white)) return UnwindA(ERR_BAD_POINTER);
    converter_->whitePoint = AllocRecord<ClrWhitePoint>();
    if (converter_->whitePoint == nullptr) return UnwindA(ERR_NO_MEMORY);
    *converter_->whitePoint = white;
    return CLR_SUCCESS;
}

/// The ids stand in the place of the formats where no transform serves.
int32_t Creation::BuildTransforms() noexcept {
    if (converter_->route == kRouteThroughHub) {
        converter_->sourceFormat = static_cast<uint32_t>(sourceSpace_);
        converter_->destinationFormat = static_cast<uint32_t>(destinationSpace_);
        return CLR_SUCCESS;
    }
    if ((params_->methods & CLRMETHOD_ICC) != 0) {
        const int32_t result = ClrBuildIccTransform(converter_, sourceSpace_, destinationSpace_, params_);
        if (result != CLR_SUCCESS) return UnwindB(result);
    }
    // An input profile alone builds nothing.
    const bool outputGiven = params_->outputProfileMemory != nullptr || params_->outputProfileName[0] != 0;
    if ((params_->methods & CLRMETHOD_CUSTOM_ICC) != 0 && outputGiven) {
        const int32_t result = ClrBuildCustomTransform(converter_, sourceSpace_, destinationSpace_, params_);
        if (result != CLR_SUCCESS) return UnwindB(result);
    }
    return CLR_SUCCESS;
}

/// An unwinding leaves the tables where they are.
int32_t Creation::LoadEmulationTables() noexcept {
    if ((params_->methods & CLRMETHOD_EMULATION) != 0) {
        const int32_t result = ClrLoadEmulationTable(converter_, sourceSpace_, destinationSpace_, params_, 0);
        if (result != CLR_SUCCESS) return UnwindB(result);
    }
    if ((params_->methods & CLRMETHOD_CUSTOM_EMULATION) != 0) {
        const int32_t result = ClrLoadEmulationTable(converter_, sourceSpace_, destinationSpace_, params_, 1);
        // What the system said of the file has no meaning for the caller.
        if (result != CLR_SUCCESS) return UnwindB(result < 0 ? result : int32_t{ERR_FILE_READ});
    }
    return CLR_SUCCESS;
}

/// A record that cannot be read leaves the converter on the list, here and in the next two steps, and here one of a
/// wrong size too: the unload takes it.
int32_t Creation::CopyCmykParams() noexcept {
    if (!EitherIs(CLRSPACE_CMYK) || params_->cmykParams == nullptr) return CLR_SUCCESS;
    ClrCmykParams cmyk;
    if (!ReadRecord(params_->cmykParams, &cmyk)) return ERR_BAD_POINTER;
    if (cmyk.size != int32_t{sizeof cmyk}) return ERR_STRUCT_SIZE;
    converter_->cmykParams = AllocRecord<ClrCmykParams>();
    if (converter_->cmykParams == nullptr) return UnwindB(ERR_NO_MEMORY);
    *converter_->cmykParams = cmyk;
    return CLR_SUCCESS;
}

int32_t Creation::CopyYuvParams() noexcept {
    if (!EitherIs(CLRSPACE_YUV) || params_->yuvParams == nullptr) return CLR_SUCCESS;
    ClrYuvParams yuv;
    if (!ReadRecord(params_->yuvParams, &yuv)) return ERR_BAD_POINTER;
    if (yuv.size != int32_t{sizeof yuv}) return UnwindB(ERR_STRUCT_SIZE);
    converter_->yuvParams = AllocRecord<ClrYuvParams>();
    if (converter_->yuvParams == nullptr) return UnwindRecords(ERR_NO_MEMORY);
    *converter_->yuvParams = yuv;
    return CLR_SUCCESS;
}

int32_t Creation::BuildLabRecords() noexcept {
    if (!EitherIs(CLRSPACE_LAB) || params_->labParams == nullptr) return CLR_SUCCESS;
    ClrLabParams lab;
    if (!ReadRecord(params_->labParams, &lab)) return ERR_BAD_POINTER;
    if (lab.size != int32_t{sizeof lab}) {
        FreeRecord(converter_->cmykParams);  // and no other record
        return UnwindB(ERR_STRUCT_SIZE);
    }

    converter_->labDecode = AllocRecord<ClrLabDecodeRecord>();
    if (converter_->labDecode == nullptr) return UnwindRecords(ERR_NO_MEMORY);
    SetLabRecord(*converter_->labDecode, kLabDecodeSetup, lab);
    ClrBuildLabDecode(converter_->labDecode, converter_->gammaPercent);

    converter_->labEncode = AllocRecord<ClrLabEncodeRecord>();
    if (converter_->labEncode == nullptr) return UnwindRecords(ERR_NO_MEMORY);
    // An encoding that cannot hold grey leaves the tables unfilled, and the kernel reads them.
    HostFill(converter_->labEncode, 0, sizeof(ClrLabEncodeRecord));
    SetLabRecord(*converter_->labEncode, kLabEncodeSetup, lab);
    ClrBuildLabEncode(converter_->labEncode, converter_->gammaPercent);
    return CLR_SUCCESS;
}

/// Decoding tables only: they serve a YCCK source.
int32_t Creation::BuildYcckTables() noexcept {
    if (sourceSpace_ != CLRSPACE_YCCK) return CLR_SUCCESS;
    converter_->ycckTables = AllocRecord<ClrYcckTables>();
    if (converter_->ycckTables == nullptr) return UnwindRecords(ERR_NO_MEMORY);
    HostFill(converter_->ycckTables, 0, sizeof(ClrYcckTables));
    ClrFillYcckRange(*converter_->ycckTables);
    ClrFillYcckDecoding(*converter_->ycckTables);
    return CLR_SUCCESS;
}

}  // namespace

}  // namespace zv

int32_t Zv_ClrInit(ClrHandle** receiver, int32_t sourceSpace, int32_t destinationSpace, ClrParams* params) {
    return zv::Creation(sourceSpace, destinationSpace, params).Run(receiver);
}
