#include "Common/Zvtrans/transform.h"
#include "Common/kernels/kernels.h"
#include "Common/zvclr/frame.h"
#include "Common/zvclr/records.h"
#include "host/host.h"

namespace zv {

namespace {

void FreeIfSet(void* block) noexcept {
    if (block != nullptr) HostFree(block, __LINE__, kFrameSource);
}

}  // namespace

bool ReleaseConverter(ClrHandle* converter) noexcept {
    if (!UnregisterConverter(converter)) return false;
    FreeIfSet(converter->cmykParams);
    FreeIfSet(converter->yuvParams);
    FreeIfSet(converter->labDecode);
    FreeIfSet(converter->labEncode);
    FreeIfSet(converter->ycckTables);
    FreeIfSet(converter->whitePoint);
    // What a method left behind that is no longer among the converter's stays.
    if ((converter->methods & CLRMETHOD_ICC) != 0) CmmFreeTransform(converter->iccTransform);
    if ((converter->methods & CLRMETHOD_CUSTOM_ICC) != 0) {
        CmmFreeTransform(converter->customTransform);
        ClrFreeSystemTransform(converter);
    }
    // The built-in table decides: without one the caller's table stays.
    if ((converter->methods & CLRMETHOD_CUSTOM_EMULATION) != 0 && converter->builtinEmulationTable != nullptr) {
        FreeIfSet(converter->customEmulationTable);
    }
    FreeProfileMemory(converter->inputProfileMemory);
    FreeProfileMemory(converter->outputProfileMemory);
    HostFree(converter, __LINE__, kFrameSource);
    return true;
}

void ReleaseAllConverters() noexcept {
    while (ClrHandle* converter = FirstRegistered()) {
        // A record that somebody has overwritten owns nothing that can be trusted: only its node goes.
        if (IsBadReadPtr(converter, kConverterSize) || converter->size != kConverterSize) {
            UnregisterConverter(converter);
        } else {
            ReleaseConverter(converter);
        }
    }
}

}  // namespace zv

using namespace zv;

int32_t Zv_ClrIsValid(const ClrHandle* converter) {
    // The list goes first, though the record's size is part of the test: memory that is not a live converter's is not
    // looked into, and every refusal has the same code.
    if (converter == nullptr || !IsRegistered(converter)) return ERR_INVALID_HANDLE;
    if (IsBadReadPtr(converter, kConverterSize) || converter->size != kConverterSize) return ERR_INVALID_HANDLE;
    return CLR_SUCCESS;
}

int32_t Zv_ClrFree(ClrHandle* converter) {
    if (converter == nullptr || IsBadReadPtr(converter, kConverterSize)) return ERR_INVALID_PARAMETER;
    const int32_t valid = Zv_ClrIsValid(converter);
    if (valid != CLR_SUCCESS) return valid;
    return ReleaseConverter(converter) ? int32_t{CLR_SUCCESS} : int32_t{ERR_INVALID_HANDLE};
}
