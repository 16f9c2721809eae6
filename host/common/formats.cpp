// Formats of image files, told by what they begin with.
#include <cstring>

#include "host/common/image_file.h"

namespace zvhost {

namespace {

struct Signature {
    uint64_t offset;
    const char* bytes;
    uint32_t size;
    HostFormat format;
};

template <size_t kSize>
constexpr Signature At(uint64_t offset, const char (&bytes)[kSize], HostFormat format) noexcept {
    return {offset, bytes, kSize - 1, format};
}

// The first that fits. Those that are short, or stand far behind, come last.
constexpr Signature kSignatures[] = {
    At(0, "\xFF\xD8\xFF", kHostFormatJpeg),
    At(0, "II\x2A\0", kHostFormatTiff),
    At(0, "MM\0\x2A", kHostFormatTiff),
    At(0, "II\x2B\0\x08\0\0\0", kHostFormatTiff),
    At(0, "MM\0\x2B\0\x08\0\0", kHostFormatTiff),
    At(0, "%!PS", kHostFormatEps),
    At(0, "\xC5\xD0\xD3\xC6", kHostFormatEpsWithPreview),
    At(0, "GIF87a", kHostFormatGif),
    At(0, "GIF89a", kHostFormatGif),
    At(0, "\x89PNG\r\n\x1A\n", kHostFormatPng),
    At(8, "WEBPVP8", kHostFormatWebp),
    At(0, "8BPS\0", kHostFormatPsd),
    At(0, "\0\0\0\x0CjP  \r\n\x87\n", kHostFormatJpeg2000),
    At(0, "\xFF\x4F\xFF\x51", kHostFormatJpeg2000),
    At(0, "\0\0\0\x0CJXL \r\n\x87\n", kHostFormatJpegXl),
    At(4, "ftypheic", kHostFormatHeif),
    At(4, "ftypheix", kHostFormatHeif),
    At(4, "ftypmif1", kHostFormatHeif),
    At(4, "ftypavif", kHostFormatHeif),
    At(0, "%PDF-", kHostFormatPdf),
    At(36, "acsp", kHostFormatIcc),
    // A picture's version, behind its size and frame: in a file behind an empty block, or alone.
    At(522, "\0\x11\x02\xFF\x0C\0", kHostFormatMacPicture),
    At(10, "\0\x11\x02\xFF\x0C\0", kHostFormatMacPicture),
    At(0, "\xFF\x0A", kHostFormatJpegXl),
    At(0, "BM", kHostFormatBmp),
    At(0, "\0\0\1\0", kHostFormatIcon),
    At(0, "P1", kHostFormatPnm),
    At(0, "P2", kHostFormatPnm),
    At(0, "P3", kHostFormatPnm),
    At(0, "P4", kHostFormatPnm),
    At(0, "P5", kHostFormatPnm),
    At(0, "P6", kHostFormatPnm),
    At(0, "P7", kHostFormatPnm),
    // Of the first version, behind an empty block only: the two bytes alone stand in many files.
    At(522, "\x11\x01", kHostFormatMacPicture),
};

constexpr uint64_t kLookedAt = 528;

bool BeginsEmpty(const uint8_t* bytes) noexcept {
    constexpr uint64_t kEmptyBlock = 512;
    for (uint64_t i = 0; i < kEmptyBlock; ++i) {
        if (bytes[i] != 0) return false;
    }
    return true;
}

HostFormat FormatOf(const uint8_t* bytes, uint64_t size) noexcept {
    for (const Signature& signature : kSignatures) {
        if (signature.offset + signature.size <= size &&
            std::memcmp(bytes + signature.offset, signature.bytes, signature.size) == 0 &&
            (signature.size > 2 || signature.offset == 0 || BeginsEmpty(bytes))) {
            return signature.format;
        }
    }
    return kHostFormatUnknown;
}

constexpr bool AllAreLookedAt() noexcept {
    for (const Signature& signature : kSignatures) {
        if (signature.offset + signature.size > kLookedAt) return false;
    }
    return true;
}
static_assert(AllAreLookedAt());

}  // namespace

}  // namespace zvhost

using namespace zvhost;

int32_t HostFileInfo(const ZvChar* name, HostImageInfo* info, uint32_t size, uint32_t, const void*) noexcept {
    if (name == nullptr || info == nullptr) return ERR_INVALID_PARAMETER;
    if (size != sizeof *info) return ERR_STRUCT_SIZE;
    ImageFile file;
    const int32_t result = file.Open(name);
    if (result != CLR_SUCCESS) return result;
    uint8_t bytes[kLookedAt];
    const uint64_t there = file.Size() < kLookedAt ? file.Size() : kLookedAt;
    if (!file.ReadAt(0, bytes, there)) return ERR_FILE_READ;
    *info = {};
    info->size = sizeof *info;
    info->format = FormatOf(bytes, there);
    return CLR_SUCCESS;
}
