// Transforms: two profiles, the stages between them, and how a run of pixels goes through.
#pragma once

#include <cstddef>
#include <cstdint>

#include "Common/Zviccio/profile.h"
#include "Common/Zvlut/lut.h"
#include "Common/Zvmatsh/matrix_shaper.h"
#include "Common/Zvtrans/pcs.h"
#include "Common/converter.h"

namespace zv {

/// A pixel format as a word: bytes a channel in bits 0 to 2, channels in bits 3 to 6, reverse order in bit 10, and a
/// code of the colour space above, which only makes words distinct.
enum CmmPixelFormat : uint32_t {
    CMMFORMAT_NONE = 0,
    CMMFORMAT_RGB_8 = 0x40019,
    CMMFORMAT_BGR_8 = 0x40419,
    CMMFORMAT_CMY_8 = 0x50019,
    CMMFORMAT_CMYK_8 = 0x60021,
    CMMFORMAT_LAB_8 = 0xA0019,
};
/// What goes with a format: the colour space that its profile must have (0: any) and the built-in profile's resource.
struct CmmFormatEntry {
    uint32_t format;
    uint32_t colorSpace;
    uint16_t builtinProfile;
};
inline constexpr CmmFormatEntry kCmmFormats[] = {
    {CMMFORMAT_RGB_8, Signature("RGB "), 105}, {CMMFORMAT_BGR_8, 0, 105},
    {CMMFORMAT_CMY_8, Signature("CMY "), 110}, {CMMFORMAT_CMYK_8, Signature("CMYK"), 107},
    {CMMFORMAT_LAB_8, Signature("Lab "), 106},
};
/// Null for a word that is none of these.
constexpr const CmmFormatEntry* CmmFindFormat(uint32_t format) noexcept {
    for (const CmmFormatEntry& entry : kCmmFormats) {
        if (entry.format == format) return &entry;
    }
    return nullptr;
}

constexpr uint32_t FormatBytes(uint32_t format) noexcept { return format & 7U; }
constexpr uint32_t FormatChannels(uint32_t format) noexcept { return format >> 3 & 15U; }
constexpr bool FormatReversed(uint32_t format) noexcept { return (format >> 10 & 1U) != 0; }

/// Reads a pixel into words, or writes words as a pixel; returns the position behind the pixel.
using CmmUnpack = const uint8_t* (*)(CmmTransform* transform, uint16_t* words, const uint8_t* position);
using CmmPack = uint8_t* (*)(CmmTransform* transform, const uint16_t* words, uint8_t* position);
using CmmRunner = int32_t (*)(CmmTransform* transform, const void* input, void* output, uint32_t pixelCount);
using CmmStage = void (*)(const CmmTransform* transform, const uint16_t* in, uint16_t* out);

/// See byte_tables.h.
struct CmmByteTables;

/// Owns all that it points to. Only the two counts are written by a run.
struct CmmTransform {
    uint32_t inputFormat;  ///< CmmPixelFormat
    uint32_t outputFormat;
    uint32_t inputCount;   ///< pixels of the latest run
    uint32_t outputCount;  ///< the same
    uint32_t intent;       ///< 0: the slot of the tag table
    uint32_t proofIntent;  ///< 3
    CmmProfile* inputProfile;
    CmmProfile* outputProfile;
    CmmProfile* previewProfile;  ///< null in every transform that the library makes
    int32_t pcsScale[3];         ///< 16.16
    int32_t pcsOffset[3];
    int32_t pcsScale2[3];
    int32_t pcsOffset2[3];
    CmmRunner run;
    CmmUnpack unpack;
    CmmStage deviceToPcs;
    CmmPcsFunction pcsConvert;   ///< null when none is needed
    CmmPcsFunction pcsConvert2;  ///< null in every transform that the library makes
    CmmStage pcsToDevice;
    CmmPack pack;
    CmmLut* inputLut;
    CmmLut* outputLut;
    CmmLut* gamutLut;    ///< null in every transform that the library makes
    CmmLut* previewLut;  ///< null in every transform that the library makes
    CmmLut* gridLut;     ///< the whole transform, or a device link's table
    MatShaper* inputShaper;
    MatShaper* outputShaper;
    MatShaper* combinedShaper;  ///< RGB to RGB
    int32_t inputPcsKind;       ///< CmmPcsKind
    int32_t previewPcsKind;
    int32_t outputPcsKind;
    CmmByteTables* byteTables;  ///< for runs of 8-bit channels; null where the general loop serves
};

/// Held while a transform is built.
enum CmmBuildFlags : uint32_t {
    CMMBUILD_NO_GRID = 0x100,
    CMMBUILD_PATCH_ENDPOINTS = 0x2000,  ///< nothing in the library raises it
};

// --- Making ---------------------------------------------------------------------------------------------------------

/// Where the two profiles of a transform come from. With `useCustom` a block goes before a file, and without an output
/// source the built-in profile of the output format serves.
struct CmmSources {
    int32_t useCustom;
    const ZvChar* inputFile;
    const ZvChar* outputFile;
    const void* inputBlock;
    const void* outputBlock;
    uint32_t inputBlockSize;
    uint32_t outputBlockSize;
};

/// A new transform or null. The status tells why, but null with CLR_SUCCESS is possible: test the pointer.
CmmTransform* CmmCreateTransformByWhiteCode(uint32_t inputFormat, uint32_t outputFormat, int32_t whiteCode,
                                            const CmmSources& sources, int32_t* status) noexcept;
/// The same for a white by chromaticities; equal formats are refused.
CmmTransform* CmmCreateTransformByWhiteXy(uint32_t inputFormat, uint32_t outputFormat, double whiteX, double whiteY,
                                          const CmmSources& sources, int32_t* status) noexcept;
/// With the reference white of the process. Takes over both profiles, also when null comes back.
CmmTransform* CmmCreateTransform(CmmProfile* inputProfile, uint32_t inputFormat, CmmProfile* outputProfile,
                                 uint32_t outputFormat, int32_t* status) noexcept;
/// The same with a white of its own, and with flags raised from the start.
CmmTransform* CmmBuildTransform(CmmProfile* inputProfile, uint32_t inputFormat, CmmProfile* outputProfile,
                                uint32_t outputFormat, const CmmWhite& white, uint32_t buildFlags,
                                int32_t* status) noexcept;
/// Null and what cannot be read do nothing.
void CmmFreeTransform(CmmTransform* transform) noexcept;

// --- Stages ---------------------------------------------------------------------------------------------------------

/// Null for a format without a formatter.
CmmUnpack CmmSelectUnpack(uint32_t format) noexcept;
CmmPack CmmSelectPack(uint32_t format) noexcept;

/// Each fills its slot of the transform; 1, or 0 when there is no such shaper.
int32_t MatShaperFromInputProfile(CmmTransform* transform, uint32_t* buildFlags) noexcept;
int32_t MatShaperFromOutputProfile(CmmTransform* transform, uint32_t* buildFlags) noexcept;
int32_t MatShaperFromProfilePair(CmmTransform* transform) noexcept;
/// A new shaper of a gray profile's curve, or null.
MatShaper* MatShaperFromGrayProfile(CmmProfile* profile, uint32_t kind) noexcept;
/// Row-major, in place; false for a singular matrix, which is left half-done.
bool CmmInvertMatrix(double (&matrix)[9]) noexcept;

/// The four forms that a stage may have; what is missing leaves the words as they were.
void CmmStageInputLut(const CmmTransform* transform, const uint16_t* in, uint16_t* out) noexcept;
void CmmStageOutputLut(const CmmTransform* transform, const uint16_t* in, uint16_t* out) noexcept;
void CmmStageInputShaper(const CmmTransform* transform, const uint16_t* in, uint16_t* out) noexcept;
void CmmStageOutputShaper(const CmmTransform* transform, const uint16_t* in, uint16_t* out) noexcept;

// --- Running --------------------------------------------------------------------------------------------------------

int32_t CmmRunFull(CmmTransform* transform, const void* input, void* output, uint32_t pixelCount) noexcept;
int32_t CmmRunGrid(CmmTransform* transform, const void* input, void* output, uint32_t pixelCount) noexcept;
int32_t CmmRunShaper(CmmTransform* transform, const void* input, void* output, uint32_t pixelCount) noexcept;
int32_t CmmRunCopy(CmmTransform* transform, const void* input, void* output, uint32_t pixelCount) noexcept;

/// Words of white and of black in a colour space; all zero for a space that has none here.
struct CmmSpaceEndpoints {
    uint32_t colorSpace;
    uint32_t channels;
    uint16_t white[4];
    uint16_t black[4];
};
/// Null for a space without endpoints.
const CmmSpaceEndpoints* CmmFindEndpoints(uint32_t colorSpace) noexcept;
const uint16_t* CmmSpaceWhite(uint32_t colorSpace) noexcept;

/// Samples the whole transform into its gridLut; 1, or 0 without memory or for formats of other than 3 or 4 channels.
int32_t CmmBuildGrid(CmmTransform* transform) noexcept;
void CmmPatchGridNode(CmmLut* lut, const uint16_t* inputWords, const uint16_t* outputWords, uint32_t outputChannels,
                      uint32_t inputChannels) noexcept;
/// White and black of the two spaces; nothing for spaces without endpoints.
void CmmPatchGridEndpoints(CmmTransform* transform) noexcept;

}  // namespace zv
