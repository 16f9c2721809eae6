// The conversion frame's own steps.
#pragma once

#include <cstdint>

#include "Common/converter.h"
#include "Common/region.h"

namespace zv {

// --- Colour spaces and geometry -------------------------------------------------------------------------------------

/// ERR_COLORSPACE_UNSUPPORTED for what is no space.
int32_t ClrBitsPerPixel(int32_t space) noexcept;
bool ClrIsSpace(int32_t space) noexcept;
/// Bytes of a packed row. Of the bits per pixel only the low 16 bits count: what is no space has rows too, very wide
/// ones. No size when the 32-bit product wraps.
RegionSize ClrRowBytes(int32_t space, int32_t width) noexcept;
/// The two entries ask for different regions: with the padding behind the last row, and without it.
RegionSize PaddedRows(int32_t space, int32_t width, int32_t height, int32_t rowExtra) noexcept;
RegionSize PaddedRowsButLast(int32_t space, int32_t width, int32_t height, int32_t rowExtra) noexcept;
/// Id, then buffer and size, then the multiples that the space asks for.
int32_t ClrCheckGeometry(int32_t space, int32_t width, int32_t height, const void* buffer) noexcept;

// --- Registry of live converters ------------------------------------------------------------------------------------

/// One for each live converter, in a list of its own allocations: new ones go to the tail. `bucketNext` chains the
/// index that the validity test looks in.
struct ClrEngineNode {
    ClrEngineNode* next;
    ClrEngineNode* previous;
    ClrHandle* converter;
    ClrEngineNode* bucketNext;
};

/// Makes the converter live; false without memory.
bool RegisterConverter(ClrHandle* converter) noexcept;
bool IsRegistered(const ClrHandle* converter) noexcept;
/// Takes the converter's node off; false if there was none.
bool UnregisterConverter(const ClrHandle* converter) noexcept;
/// Whether a record that can be read is on the list and whole.
bool IsLive(const ClrHandle* converter) noexcept;
/// The oldest live converter, or null.
ClrHandle* FirstRegistered() noexcept;
int32_t RegisteredCount() noexcept;

struct ClrSpacePair {
    int32_t source;
    int32_t destination;
};
/// The ids of what may be a converter. Memory that is no live converter's is read the careful way, and false says that
/// it could not be.
bool ReadSpaces(const ClrHandle* converter, bool live, ClrSpacePair* spaces) noexcept;

// --- Release --------------------------------------------------------------------------------------------------------

/// Takes a converter off the list, then releases all that it owns and itself; false if it was not on the list.
bool ReleaseConverter(ClrHandle* converter) noexcept;
/// At the last detach.
void ReleaseAllConverters() noexcept;

// --- Conversion -----------------------------------------------------------------------------------------------------

/// One call's pixels.
struct ClrImage {
    const uint8_t* source;
    uint8_t* destination;
    int32_t width;
    int32_t height;
    int32_t sourceRowExtra;
    int32_t destinationRowExtra;
    ClrReach reach = {};
};

/// Whether both regions can be reached, the source's asked for first; the image then knows it.
bool ProbeImage(ClrImage* image, RegionSize source, RegionSize destination) noexcept;

/// Copies packed rows of equal spaces. With a padding of 2 or more on a side the pointers advance by the padding alone.
void CopyRows(const ClrImage& image, size_t rowBytes) noexcept;

/// What Zv_ClrConvert and Zv_ClrConvertDirect do, for callers that may know what can be reached.
int32_t Convert(const ClrHandle* converter, ClrImage image) noexcept;
int32_t ConvertDirect(int32_t sourceSpace, int32_t destinationSpace, ClrImage image) noexcept;

// --- Transforms -----------------------------------------------------------------------------------------------------

/// The format word of a colour space, or CMMFORMAT_NONE.
uint32_t ClrFormatWord(int32_t space) noexcept;
/// Both fill the converter's transform and its two formats, and return a status. A null transform with CLR_SUCCESS is
/// possible. The second copies the caller's names and profiles into the converter, which keeps them on failure too.
int32_t ClrBuildIccTransform(ClrHandle* converter, int32_t sourceSpace, int32_t destinationSpace,
                             const ClrParams* params) noexcept;
int32_t ClrBuildCustomTransform(ClrHandle* converter, int32_t sourceSpace, int32_t destinationSpace,
                                const ClrParams* params) noexcept;
/// Both make a transform again from what the converter holds: its formats, white, names and profiles. The old one goes
/// first, and a refusal leaves none. Sizes of profiles in memory are given, and are no more than the copies have.
int32_t ClrRebuildIccTransform(ClrHandle* converter) noexcept;
int32_t ClrRebuildCustomTransform(ClrHandle* converter, uint32_t inputSize, uint32_t outputSize) noexcept;
/// Releases a copied profile and its record; null does nothing.
void FreeProfileMemory(ClrProfileMemory*& memory) noexcept;

// --- The platform's colour management -------------------------------------------------------------------------------

/// Whether the platform can convert between these spaces.
bool ClrSystemServes(int32_t sourceSpace, int32_t destinationSpace) noexcept;
/// Whether it does with the converter's active method: it may have no colour management at all.
bool ClrSystemConverts(const ClrHandle& converter) noexcept;
/// Makes the platform's transform of the caller's profiles, for a pair that it serves. Where the platform has no colour
/// management, the converter's own transform of them must be there.
int32_t ClrBuildSystemTransform(ClrHandle* converter, const ClrParams* params) noexcept;
/// The same for a converter that may have one. CLRMETHOD_CUSTOM_ICC is then its only method.
int32_t ClrRebuildSystemTransform(ClrHandle* converter, const ClrParams* params) noexcept;
void ClrFreeSystemTransform(ClrHandle* converter) noexcept;
/// 1, ERR_COLORSPACE_MISMATCH, or 0 for any other failure of the platform.
int32_t ConvertBySystem(const ClrHandle& converter, const ClrImage& image) noexcept;

/// The ICC methods.
int32_t ConvertByProfile(const ClrHandle& converter, const ClrImage& image) noexcept;
/// Takes the padding out of an image.
void ClrPackRows(const uint8_t* source, uint8_t* buffer, int32_t height, int32_t width, int32_t pixelBytes,
                 int32_t sourceRowExtra) noexcept;
/// Moves packed rows apart, in place. Unlike elsewhere the padding is an alignment: rows come to lie at the next
/// multiple of it.
int32_t ClrSpreadRows(uint8_t* destination, int32_t height, int32_t width, int32_t pixelBytes,
                      int32_t destinationRowExtra) noexcept;

}  // namespace zv
