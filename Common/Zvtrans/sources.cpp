// Finding the two profiles of a transform: a caller's block, a caller's file, or a built-in resource.
#include "Common/Zvtrans/transform.h"
#include "Common/lookup.h"

namespace zv {

namespace {

/// One side's source. Without block and file it is the built-in profile of the format.
struct Source {
    const void* block;
    uint32_t blockSize;
    const ZvChar* file;
    uint32_t format;
};

/// Null for a format without a built-in profile, for a missing resource and for one that is no profile.
CmmProfile* OpenBuiltin(uint32_t format) noexcept {
    const CmmFormatEntry* entry = CmmFindFormat(format);
    if (entry == nullptr) return nullptr;
    const ClrResource resource = FindClrResource(ZV_WIDE("ICM"), entry->builtinProfile);
    return CmmOpenProfileFromMemory(resource.data, resource.size);
}

CmmProfile* Open(const Source& source) noexcept {
    if (source.block != nullptr) return CmmOpenProfileFromMemory(source.block, source.blockSize);
    if (source.file != nullptr) return CmmOpenProfileFromFile(source.file);
    return OpenBuiltin(source.format);
}

/// Before anything is opened. A missing file is no failure to report: the status stays CLR_SUCCESS.
bool IsUsable(const Source& source, int32_t* status) noexcept {
    if (source.block != nullptr) {
        if (source.blockSize != 0 && !IsBadReadPtr(source.block, source.blockSize)) return true;
        *status = ERR_INVALID_PARAMETER;
        return false;
    }
    return source.file == nullptr || ClrFileExists(source.file) != 0;
}

CmmTransform* CreateTransform(uint32_t inputFormat, uint32_t outputFormat, const CmmWhite& white,
                              const CmmSources& sources, int32_t* status) noexcept {
    Source input = {nullptr, 0, nullptr, inputFormat};
    Source output = {nullptr, 0, nullptr, outputFormat};
    if (sources.useCustom != 0) {
        if (sources.inputBlock == nullptr && sources.inputFile == nullptr) return nullptr;
        input = {sources.inputBlock, sources.inputBlockSize, sources.inputFile, inputFormat};
        output = {sources.outputBlock, sources.outputBlockSize, sources.outputFile, outputFormat};
    }
    if (!IsUsable(input, status) || !IsUsable(output, status)) return nullptr;

    CmmProfile* inputProfile = Open(input);
    if (inputProfile == nullptr) {
        *status = ERR_PROFILE_LOAD;
        return nullptr;
    }
    CmmProfile* outputProfile = Open(output);
    if (outputProfile == nullptr) {
        CmmCloseProfile(inputProfile);
        *status = ERR_PROFILE_LOAD;
        return nullptr;
    }
    CmmSetReferenceWhite(white);
    return CmmBuildTransform(inputProfile, inputFormat, outputProfile, outputFormat, white, 0, status);
}

}  // namespace

CmmTransform* CmmCreateTransformByWhiteCode(uint32_t inputFormat, uint32_t outputFormat, int32_t whiteCode,
                                            const CmmSources& sources, int32_t* status) noexcept {
    *status = CLR_SUCCESS;
    return CreateTransform(inputFormat, outputFormat, CmmWhiteOfCode(whiteCode), sources, status);
}

CmmTransform* CmmCreateTransformByWhiteXy(uint32_t inputFormat, uint32_t outputFormat, double whiteX, double whiteY,
                                          const CmmSources& sources, int32_t* status) noexcept {
    *status = CLR_SUCCESS;
    if (inputFormat == outputFormat) {
        *status = ERR_COLORSPACE_UNSUPPORTED;
        return nullptr;
    }
    return CreateTransform(inputFormat, outputFormat, CmmWhiteOfXy(whiteX, whiteY), sources, status);
}

}  // namespace zv
