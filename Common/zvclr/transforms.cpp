// The transforms of a converter: one of the built-in profiles, one of the caller's.
#include "Common/Zvtrans/transform.h"
#include "Common/lookup.h"
#include "Common/zvclr/frame.h"
#include "host/host.h"

namespace zv {

namespace {

constexpr ZvChar kSource[] = ZV_WIDE("Common\\zvclr");

constexpr CmmSources kBuiltinProfiles = {};

/// With the converter's white: a code, or chromaticities where the code is 0.
CmmTransform* CreateTransform(const ClrHandle& converter, uint32_t inputFormat, uint32_t outputFormat,
                              const CmmSources& sources, int32_t* status) noexcept {
    const ClrWhitePoint& white = *converter.whitePoint;
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

/// Length of a name of the caller's record, which need not end.
int32_t NameLength(const ZvChar* name) noexcept {
    int32_t length = 0;
    while (length < CLR_NAME_LENGTH && name[length] != 0) ++length;
    return length;
}

bool FitsConverter(const ZvChar* name) noexcept { return NameLength(name) < kConverterNameLength; }

void CopyName(ZvChar* to, const ZvChar* name) noexcept {
    HostCopy(to, name, (static_cast<size_t>(NameLength(name)) + 1) * sizeof(ZvChar));
}

/// The converter's own copy of a caller's profile.
int32_t CopyProfileMemory(const ClrProfileMemory* given, ClrProfileMemory** receiver) noexcept {
    ClrProfileMemory memory;
    if (IsBadReadPtr(given, sizeof memory)) return ERR_INVALID_PARAMETER;
    HostCopy(&memory, given, sizeof memory);
    if (memory.dataSize == 0 || IsBadReadPtr(memory.data, memory.dataSize)) return ERR_INVALID_PARAMETER;
    auto* copy = static_cast<ClrProfileMemory*>(HostAlloc(sizeof memory, 1, __LINE__, kSource));
    if (copy == nullptr) return ERR_NO_MEMORY;
    void* data = HostAlloc(1, static_cast<int64_t>(memory.dataSize), __LINE__, kSource);
    if (data == nullptr) {
        HostFree(copy, __LINE__, kSource);
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
    if (!FitsConverter(given.name) || ClrFileExists(given.name) == 0) return ERR_FILE_NOT_FOUND;
    CopyName(converter->inputProfileName, given.name);
    sources.inputFile = given.name;
    return CLR_SUCCESS;
}

/// A file that does not exist is no failure on this side: the built-in profile serves.
int32_t TakeOutput(ClrHandle* converter, const CallersSource& given, CmmSources& sources) noexcept {
    if (given.memory != nullptr) {
        return TakeMemory(given, converter->outputProfileMemory, sources.outputBlock, sources.outputBlockSize);
    }
    const bool ends = NameLength(given.name) < CLR_NAME_LENGTH;
    if (ends && ClrFileExists(given.name) == 0) return CLR_SUCCESS;
    if (!FitsConverter(given.name)) return ERR_FILE_NOT_FOUND;
    CopyName(converter->outputProfileName, given.name);
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

void FreeProfileMemory(ClrProfileMemory*& memory) noexcept {
    if (memory == nullptr) return;
    if (memory->data != nullptr) HostFree(memory->data, __LINE__, kSource);
    HostFree(memory, __LINE__, kSource);
    memory = nullptr;
}

}  // namespace zv
