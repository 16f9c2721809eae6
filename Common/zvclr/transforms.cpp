// The transforms of a converter: one of the built-in profiles, one of the caller's.
#include "Common/Zvtrans/transform.h"
#include "Common/lookup.h"
#include "Common/names.h"
#include "Common/zvclr/frame.h"
#include "Common/zvclr/records.h"
#include "host/host.h"

namespace zv {

namespace {

constexpr CmmSources kBuiltinProfiles = {};

/// With the converter's white: a code, or chromaticities where the code is 0; D50 without a record.
CmmTransform* CreateTransform(const ClrHandle& converter, uint32_t inputFormat, uint32_t outputFormat,
                              const CmmSources& sources, int32_t* status) noexcept {
    const ClrWhitePoint white =
        converter.whitePoint != nullptr ? *converter.whitePoint : ClrWhitePoint{kDefaultWhiteCode, 0.0, 0.0};
    *status = CLR_SUCCESS;
    if (white.whiteCode != 0) {
        return CmmCreateTransformByWhiteCode(inputFormat, outputFormat, static_cast<int32_t>(white.whiteCode), sources,
                                             status);
    }
    return CmmCreateTransformByWhiteXy(inputFormat, outputFormat, white.x, white.y, sources, status);
}

/// Stores formats and transform of the built-in profiles. What an earlier call stored is released.
int32_t StoreIccTransform(ClrHandle* converter, uint32_t inputFormat, uint32_t outputFormat) noexcept {
    int32_t status = CLR_SUCCESS;
    converter->sourceFormat = inputFormat;
    converter->destinationFormat = outputFormat;
    CmmFreeTransform(converter->iccTransform);
    converter->iccTransform = CreateTransform(*converter, inputFormat, outputFormat, kBuiltinProfiles, &status);
    return status;
}

bool IsPrintOrLab(int32_t space) noexcept {
    return space == CLRSPACE_CMYK || space == CLRSPACE_CMY || space == CLRSPACE_LAB;
}

/// The converter's own copy of a caller's profile.
int32_t CopyProfileMemory(const ClrProfileMemory* given, ClrProfileMemory** receiver) noexcept {
    ClrProfileMemory memory;
    if (!ReadRecord(given, &memory)) return ERR_INVALID_PARAMETER;
    if (memory.dataSize == 0 || IsBadReadPtr(memory.data, memory.dataSize)) return ERR_INVALID_PARAMETER;
    auto* copy = static_cast<ClrProfileMemory*>(HostAlloc(sizeof memory, 1, __LINE__, kFrameSource));
    if (copy == nullptr) return ERR_NO_MEMORY;
    void* data = HostAlloc(1, static_cast<int64_t>(memory.dataSize), __LINE__, kFrameSource);
    if (data == nullptr) {
        HostFree(copy, __LINE__, kFrameSource);
        return ERR_NO_MEMORY;
    }
    HostCopy(data, memory.data, memory.dataSize);
    *copy = {sizeof memory, data, memory.dataSize};
    *receiver = copy;
    return CLR_SUCCESS;
}

/// One side of the caller's choice: memory goes before a name. The engine is given the copy of the memory, of whose
/// size it takes the low 32 bits.
struct CallersSource {
    const ClrProfileMemory* memory;
    const ZvChar* name;
};

int32_t TakeMemory(const CallersSource& given, ClrProfileMemory*& copy, const void*& block, uint32_t& size) noexcept {
    FreeProfileMemory(copy);
    const int32_t result = CopyProfileMemory(given.memory, &copy);
    if (result != CLR_SUCCESS) return result;
    block = copy->data;
    size = static_cast<uint32_t>(copy->dataSize);
    return CLR_SUCCESS;
}

int32_t TakeInput(ClrHandle* converter, const CallersSource& given, CmmSources& sources) noexcept {
    if (given.memory != nullptr) {
        return TakeMemory(given, converter->inputProfileMemory, sources.inputBlock, sources.inputBlockSize);
    }
    if (!ClrNameFits(given.name) || ClrFileExists(given.name) == 0) return ERR_FILE_NOT_FOUND;
    FreeProfileMemory(converter->inputProfileMemory);  // of an earlier choice
    ClrCopyName(converter->inputProfileName, given.name);
    sources.inputFile = given.name;
    return CLR_SUCCESS;
}

/// A file that does not exist is no failure on this side: the built-in profile serves.
int32_t TakeOutput(ClrHandle* converter, const CallersSource& given, CmmSources& sources) noexcept {
    if (given.memory != nullptr) {
        return TakeMemory(given, converter->outputProfileMemory, sources.outputBlock, sources.outputBlockSize);
    }
    const bool missing = ClrNameEnds(given.name) && ClrFileExists(given.name) == 0;
    if (!missing && !ClrNameFits(given.name)) return ERR_FILE_NOT_FOUND;
    FreeProfileMemory(converter->outputProfileMemory);
    converter->outputProfileName[0] = 0;
    if (missing) return CLR_SUCCESS;
    ClrCopyName(converter->outputProfileName, given.name);
    sources.outputFile = given.name;
    return CLR_SUCCESS;
}

}  // namespace

uint32_t ClrFormatWord(int32_t space) noexcept {
    switch (space) {
        case CLRSPACE_RGB:
            return CMMFORMAT_RGB_8;
        case CLRSPACE_BGR:
            return CMMFORMAT_BGR_8;
        case CLRSPACE_CMYK:
            return CMMFORMAT_CMYK_8;
        case CLRSPACE_CMY:
            return CMMFORMAT_CMY_8;
        case CLRSPACE_LAB:
            return CMMFORMAT_LAB_8;
        default:
            return CMMFORMAT_NONE;
    }
}

int32_t ClrBuildIccTransform(ClrHandle* converter, int32_t sourceSpace, int32_t destinationSpace,
                             const ClrParams*) noexcept {
    const uint32_t sourceWord = ClrFormatWord(sourceSpace);
    const uint32_t destinationWord = ClrFormatWord(destinationSpace);
    // YCCK travels as the CMYK that it encodes.
    if (sourceSpace == CLRSPACE_YCCK) {
        if (destinationWord == CMMFORMAT_NONE) return ERR_COLORSPACE_UNSUPPORTED;
        return StoreIccTransform(converter, CMMFORMAT_CMYK_8, destinationWord);
    }
    if (destinationSpace == CLRSPACE_YCCK) {
        if (sourceWord == CMMFORMAT_NONE) return ERR_COLORSPACE_UNSUPPORTED;
        return StoreIccTransform(converter, sourceWord, CMMFORMAT_CMYK_8);
    }
    if (sourceWord == CMMFORMAT_NONE || destinationWord == CMMFORMAT_NONE) return ERR_COLORSPACE_UNSUPPORTED;
    // Equal ids pass both tests: transform and status of the second replace those of the first. Two hubs pass neither.
    int32_t status = CLR_SUCCESS;
    if (IsPrintOrLab(sourceSpace)) {
        const uint32_t hub = destinationSpace == CLRSPACE_RGB ? CMMFORMAT_RGB_8 : CMMFORMAT_BGR_8;
        status = StoreIccTransform(converter, sourceWord, hub);
    }
    if (IsPrintOrLab(destinationSpace)) {
        const uint32_t hub = sourceSpace == CLRSPACE_RGB ? CMMFORMAT_RGB_8 : CMMFORMAT_BGR_8;
        status = StoreIccTransform(converter, hub, destinationWord);
    }
    return status;
}

int32_t ClrBuildCustomTransform(ClrHandle* converter, int32_t sourceSpace, int32_t destinationSpace,
                                const ClrParams* params) noexcept {
    if (converter == nullptr || params == nullptr) return ERR_INVALID_PARAMETER;
    CmmSources sources = {};
    sources.useCustom = 1;
    int32_t status = TakeInput(converter, {params->inputProfileMemory, params->inputProfileName}, sources);
    if (status != CLR_SUCCESS) return status;
    status = TakeOutput(converter, {params->outputProfileMemory, params->outputProfileName}, sources);
    if (status != CLR_SUCCESS) return status;
    // A space without a word leaves the field as it was.
    const uint32_t sourceWord = ClrFormatWord(sourceSpace);
    const uint32_t destinationWord = ClrFormatWord(destinationSpace);
    if (sourceWord != CMMFORMAT_NONE) converter->sourceFormat = sourceWord;
    if (destinationWord != CMMFORMAT_NONE) converter->destinationFormat = destinationWord;

    CmmFreeTransform(converter->customTransform);
    converter->customTransform =
        CreateTransform(*converter, converter->sourceFormat, converter->destinationFormat, sources, &status);
    return status;
}

int32_t ClrRebuildIccTransform(ClrHandle* converter) noexcept {
    return StoreIccTransform(converter, converter->sourceFormat, converter->destinationFormat);
}

int32_t ClrRebuildCustomTransform(ClrHandle* converter, uint32_t inputSize, uint32_t outputSize) noexcept {
    CmmFreeTransform(converter->customTransform);
    converter->customTransform = nullptr;
    const auto fileOf = [](const ZvChar* name) { return name[0] != 0 ? name : nullptr; };
    const auto blockOf = [](const ClrProfileMemory* memory) { return memory != nullptr ? memory->data : nullptr; };
    const CmmSources sources = {1,
                                fileOf(converter->inputProfileName),
                                fileOf(converter->outputProfileName),
                                blockOf(converter->inputProfileMemory),
                                blockOf(converter->outputProfileMemory),
                                inputSize,
                                outputSize};
    int32_t status = CLR_SUCCESS;
    converter->customTransform =
        CreateTransform(*converter, converter->sourceFormat, converter->destinationFormat, sources, &status);
    return status;
}

void FreeProfileMemory(ClrProfileMemory*& memory) noexcept {
    if (memory == nullptr) return;
    if (memory->data != nullptr) HostFree(memory->data, __LINE__, kFrameSource);
    HostFree(memory, __LINE__, kFrameSource);
    memory = nullptr;
}

}  // namespace zv
