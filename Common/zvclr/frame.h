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
constexpr bool ClrIsHub(int32_t space) noexcept { return space == CLRSPACE_RGB || space == CLRSPACE_BGR; }
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
/// The oldest live converter, or null.
ClrHandle* FirstRegistered() noexcept;
int32_t RegisteredCount() noexcept;

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
};

/// Copies packed rows of equal spaces. With a padding of 2 or more on a side the pointers advance by the padding alone.
void CopyRows(const ClrImage& image, size_t rowBytes) noexcept;

/// What Zv_ClrConvertDirect does.
int32_t ConvertDirect(int32_t sourceSpace, int32_t destinationSpace, const ClrImage& image) noexcept;

/// The ICC methods.
int32_t ConvertByProfile(const ClrHandle& converter, const ClrImage& image) noexcept;

// --- Resources ------------------------------------------------------------------------------------------------------

struct ClrResource {
    const uint8_t* data;
    uint32_t size;
};

/// A data block of the module in force, of type "ICM" or "ET"; null data if there is none.
ClrResource FindClrResource(const ZvChar* type, uint16_t id) noexcept;

// --- Files ----------------------------------------------------------------------------------------------------------

/// Nonzero when the path names something that exists.
int32_t ClrFileExists(const ZvChar* path) noexcept;

}  // namespace zv
