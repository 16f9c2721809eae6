// What a host toolkit gives the library: memory, byte operations, files, bitmaps, image files, strings. The small layer
// in host/common implements it; another toolkit links its own instead.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host/platform.h"
#include "zvclr.h"
#include "zvicc.h"

// --- Memory ---------------------------------------------------------------------------------------------------------
// Every call names its source file and line for the toolkit's diagnosis. Sizes are size * count; null comes back when
// the product is negative, does not fit or cannot be had.

/// Contents undefined.
void* HostAlloc(int64_t size, int64_t count, int32_t line, const ZvChar* file) noexcept;
/// All zero.
void* HostAllocZeroed(int64_t size, int64_t count, int32_t line, const ZvChar* file) noexcept;
/// Releases a block of HostAlloc, HostAllocZeroed or HostRealloc; null does nothing.
void HostFree(void* block, int32_t line, const ZvChar* file) noexcept;
/// Keeps the contents up to the smaller size; the old block stays valid if null comes back.
void* HostRealloc(void* block, int64_t size, int32_t line, const ZvChar* file) noexcept;

/// Profile images: the one kind of block that a caller takes over and may hand back.
void* HostAllocShared(int64_t size, int64_t count, int32_t line, const ZvChar* file) noexcept;
void* HostReallocShared(void* block, int64_t size, int32_t line, const ZvChar* file) noexcept;
void HostFreeShared(void* block, int32_t line, const ZvChar* file) noexcept;

// --- Bytes ----------------------------------------------------------------------------------------------------------

void HostCopy(void* destination, const void* source, size_t count) noexcept;
/// As HostCopy, and tolerates overlap.
void HostMove(void* destination, const void* source, size_t count) noexcept;
void HostFill(void* destination, uint8_t value, size_t count) noexcept;
/// 0 when the blocks are equal.
int32_t HostCompare(const void* first, const void* second, size_t count) noexcept;
/// First byte of that value, or null.
const uint8_t* HostFind(const void* buffer, uint8_t value, size_t count) noexcept;

// --- Files ----------------------------------------------------------------------------------------------------------

/// Stream-like handles for scanning; -1 is none.
using HostFile = intptr_t;
inline constexpr HostFile kNoHostFile = -1;
inline constexpr int32_t kHostFileRead = 256;
inline constexpr int32_t kHostSeekStart = 0;
inline constexpr int32_t kHostSeekHere = 1;

/// Opens an existing file for reading; the library passes 0 and kHostFileRead.
HostFile HostFileOpen(const ZvChar* name, int32_t reserved, int32_t mode) noexcept;
void HostFileClose(HostFile file) noexcept;
/// Bytes read, 0 at the end and on failure.
int32_t HostFileRead(HostFile file, void* buffer, int32_t count) noexcept;
/// The refill of a scanning buffer; same contract.
int32_t HostFileReadMore(HostFile file, void* buffer, int32_t count) noexcept;
/// The new position, or -1.
int64_t HostFileSeek(HostFile file, int64_t offset, int32_t origin) noexcept;

/// The platform's file creation; the handle goes to ReadFile, WriteFile and SetFilePointer.
HANDLE HostCreateFile(const ZvChar* name, DWORD access, DWORD share, void* security, DWORD disposition, DWORD flags,
                      HANDLE templateFile, int32_t line, const ZvChar* file) noexcept;
void HostCloseFile(HANDLE handle, int32_t line, const ZvChar* file) noexcept;

// --- Bitmaps --------------------------------------------------------------------------------------------------------

/// The host's bitmap handle. The library looks at the flags word only.
using HostBitmap = ZvBitmap;
inline constexpr uint32_t kHostBitmapAllocated = ZVBITMAP_ALLOCATED;

/// A device-independent image's information header as the library builds it; the last 4 bytes are not written.
#pragma pack(push, 1)
struct HostDibHeader {
    uint32_t headerSize;
    int32_t width;
    int32_t height;  ///< negative: rows from the top
    uint16_t planes;
    uint16_t bitCount;
    uint32_t compression;
    uint32_t imageSize;
    int32_t horizontalResolution;
    int32_t verticalResolution;
    uint32_t coloursUsed;
    uint32_t coloursImportant;
    uint32_t unused;
};
#pragma pack(pop)
static_assert(sizeof(HostDibHeader) == 44);

/// Releases the pixels of a bitmap.
void HostFreeBitmap(HostBitmap* bitmap) noexcept;
/// Fills the bitmap from an information header and its rows. The header's image size is (width + padding) * height * 3,
/// so that the padding behind each row is known from it.
void HostDibToBitmap(HostBitmap* bitmap, uint32_t bitmapRecordSize, const HostDibHeader* header,
                     const uint8_t* bits) noexcept;

// --- Image files ----------------------------------------------------------------------------------------------------
// Profiles in and out of image files. Results are 1 or an error unless told otherwise. What HostSetSaveMarkers and
// HostSetFileTag set belongs to the file library as a whole; ours lets the saves of several threads wait for each
// other.

/// The host's record on an image file. The library looks at the format number only.
struct HostImageInfo {
    uint32_t size;
    int32_t format;
    uint8_t rest[2272];
};
static_assert(sizeof(HostImageInfo) == 2280);

/// Formats of our own layer. The library has a way into those below 1000; it knows them by these numbers only.
enum HostFormat : int32_t {
    kHostFormatUnknown = 0,
    kHostFormatGif = 2,
    kHostFormatTiff = 3,
    kHostFormatJpeg = 10,
    kHostFormatEps = 16,
    kHostFormatMacPicture = 56,
    kHostFormatEpsWithPreview = 63,
    kHostFormatPng = 1001,
    kHostFormatBmp,
    kHostFormatWebp,
    kHostFormatPsd,
    kHostFormatJpeg2000,
    kHostFormatJpegXl,
    kHostFormatHeif,
    kHostFormatPdf,
    kHostFormatPnm,
    kHostFormatIcon,
    kHostFormatIcc,
};

/// Tells the format by the file's content; kHostFormatUnknown is a success.
int32_t HostFileInfo(const ZvChar* name, HostImageInfo* info, uint32_t size, uint32_t reserved,
                     const void* loadOptions) noexcept;

/// A collection of markers of a JPEG file.
using HostMarkers = struct HostMarkerSet*;
/// `length` counts the data alone. Anything but 1 ends the walk.
using HostMarkerCallback = int32_t (*)(uint32_t id, uint32_t length, const uint8_t* data, void* user);

/// The markers before the coded image.
int32_t HostLoadMarkers(const ZvChar* name, HostMarkers* markers, uint32_t reserved) noexcept;
/// The callback's last result; 1 without a marker.
int32_t HostEnumMarkers(HostMarkers markers, uint32_t reserved, HostMarkerCallback callback, void* user) noexcept;
/// Null is allowed.
int32_t HostFreeMarkers(HostMarkers markers) noexcept;
int32_t HostCreateMarkers(HostMarkers* markers) noexcept;
/// Adds a copy at the end (-1). A marker holds up to 65,533 bytes.
int32_t HostInsertMarker(HostMarkers markers, int32_t place, uint32_t id, uint32_t length,
                         const uint8_t* data) noexcept;
/// The markers of the next HostRewriteFile, until null is set.
int32_t HostSetSaveMarkers(HostMarkers markers, uint32_t reserved) noexcept;
inline constexpr uint32_t kHostRewriteMarkers = 4;
/// Rewrites a JPEG file with the current markers (flags: kHostRewriteMarkers), in place of those of the same kind.
int32_t HostRewriteFile(const ZvChar* name, uint32_t flags, const SAVEFILEOPTION* options) noexcept;

inline constexpr uint16_t kHostTagUndefined = 7;  ///< the type of tags whose bytes have a meaning of their own

/// Type and size in bytes of a tag, with a buffer its bytes too: then *count says what the buffer holds. Above 0 on
/// success.
int32_t HostReadFileTag(const ZvChar* name, uint32_t tag, uint16_t* type, uint64_t* count, uint8_t* buffer,
                        const void* options) noexcept;
/// The tag of the next HostRewriteFileTags, until zeros are set. The data stay the caller's, and are read then.
int32_t HostSetFileTag(uint32_t tag, uint16_t type, uint64_t count, const uint8_t* data) noexcept;
/// Rewrites a TIFF file with the current tag, in place of one of that number.
int32_t HostRewriteFileTags(const ZvChar* name, const SAVEFILEOPTION* options) noexcept;

// --- Strings --------------------------------------------------------------------------------------------------------
// ANSI strings are in the system's code page on Windows and UTF-8 elsewhere.

/// Owner of a wide copy of an ANSI string.
class Zv_A2W {
public:
    Zv_A2W() noexcept = default;
    ~Zv_A2W();
    Zv_A2W(const Zv_A2W&) = delete;
    Zv_A2W& operator=(const Zv_A2W&) = delete;

    /// 1 on success.
    int32_t Convert(const char* source) noexcept;
    /// Valid until destruction or the next Convert; null before it.
    const ZvChar* Value() const noexcept { return value_; }

    /// Converts into a caller's buffer of `count` characters; 1 on success. The buffer is always zero-ended.
    static int32_t Convert(const char* source, ZvChar* destination, size_t count) noexcept;

private:
    ZvChar* value_ = nullptr;
};

class Zv_W2A {
public:
    Zv_W2A() = delete;
    static int32_t Convert(const ZvChar* source, char* destination, size_t count) noexcept;
};

/// The wide form of narrow save options, for the length of a call.
class SAVEFILEOPTION_Conv {
public:
    /// Null is allowed, and stays null.
    explicit SAVEFILEOPTION_Conv(const SAVEFILEOPTIONA* options) noexcept : options_(options) {}

    /// 1 on success.
    int32_t Begin() noexcept;
    /// Valid from Begin() to End().
    const SAVEFILEOPTION* ValueW() const noexcept { return value_; }
    void End() noexcept { value_ = nullptr; }

private:
    const SAVEFILEOPTIONA* options_;
    const SAVEFILEOPTION* value_ = nullptr;
    SAVEFILEOPTION wide_ = {};
};
