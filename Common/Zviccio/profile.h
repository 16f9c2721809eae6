// The engine's own reader of ICC profiles: a few header fields, the directory, and four kinds of tag on demand.
#pragma once

#include <cstddef>
#include <cstdint>

#include "Common/Zvgamma/tone_curve.h"
#include "Common/Zvlut/lut.h"
#include "host/host.h"

namespace zv {

/// A four-character code as a number, first character highest.
constexpr uint32_t Signature(const char (&text)[5]) noexcept {
    uint32_t value = 0;
    for (int i = 0; i < 4; ++i) value = value << 8 | static_cast<uint8_t>(text[i]);
    return value;
}

inline constexpr int32_t kProfileTagCapacity = 50;
inline constexpr int32_t kProfileNameLength = 260;

struct CmmProfile {
    HostFile file;  ///< open as long as the profile is; kNoHostFile for a profile from memory
    uint32_t deviceClass;
    uint32_t colorSpace;
    uint32_t pcs;
    uint32_t renderingIntent;
    double illuminant[3];
    int32_t tagCount;  ///< as the profile has it; not above the capacity
    uint32_t tagSignature[kProfileTagCapacity];
    uint64_t tagSize[kProfileTagCapacity];
    uint64_t tagOffset[kProfileTagCapacity];
    void* tagData[kProfileTagCapacity];  ///< bodies read ahead; opening leaves them null
    ZvChar fileName[kProfileNameLength];
    int32_t fromMemory;
    const uint8_t* cursor;  ///< read position in the block
    uint8_t* block;         ///< the reader's own copy of a profile from memory
    size_t blockSize;
};

/// Null for what is no profile that the reader can hold. The caller's block is copied.
CmmProfile* CmmOpenProfileFromMemory(const void* block, size_t size) noexcept;
CmmProfile* CmmOpenProfileFromFile(const ZvChar* name) noexcept;
/// 1, or 0 for null.
int32_t CmmCloseProfile(CmmProfile* profile) noexcept;

/// Index of the first tag of that signature, or -1; ERR_INVALID_PARAMETER for a null or unreadable record.
int32_t CmmFindTag(const CmmProfile* profile, uint32_t signature) noexcept;
/// 1 or 0.
int32_t CmmHasTag(const CmmProfile* profile, uint32_t signature) noexcept;
/// 1; -1 for a tag that is absent, cut short or of another type; ERR_INVALID_PARAMETER for a bad record. `out` has room
/// for X, Y, Z and may be null.
int32_t CmmReadXyzTag(CmmProfile* profile, uint32_t signature, double* out) noexcept;
/// The colorants as the columns of a row-major matrix; 1, or 0 if one is missing. Both arguments have nine places.
int32_t CmmReadColorantMatrix(double* out, CmmProfile* profile, double* scratch) noexcept;
/// A new curve, or null.
ToneCurve* CmmReadCurveTag(CmmProfile* profile, uint32_t signature) noexcept;
/// A new table of a tag of type mft1 or mft2, or null.
CmmLut* CmmReadLutTag(CmmProfile* profile, uint32_t signature) noexcept;

}  // namespace zv
