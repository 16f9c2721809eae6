// What a host toolkit gives the library: memory, byte operations, files, bitmaps, strings. The small layer in
// host/common implements it; another toolkit links its own instead.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host/platform.h"
#include "zvclr.h"

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

/// Opens an existing file for reading; the library passes 0 and kHostFileRead.
HostFile HostFileOpen(const ZvChar* name, int32_t reserved, int32_t mode) noexcept;
void HostFileClose(HostFile file) noexcept;
/// Bytes read, 0 at the end and on failure.
int32_t HostFileRead(HostFile file, void* buffer, int32_t count) noexcept;
/// The refill of a scanning buffer; same contract.
int32_t HostFileReadMore(HostFile file, void* buffer, int32_t count) noexcept;
/// Origin 0 start, 1 current; the new position, or -1.
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
