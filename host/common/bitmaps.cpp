#include "host/host.h"

namespace {

constexpr ZvChar kSource[] = ZV_WIDE("host\\bitmaps");

}  // namespace

void HostFreeBitmap(HostBitmap* bitmap) noexcept {
    HostFreeShared(bitmap->pixels, __LINE__, kSource);
    bitmap->pixels = nullptr;
    bitmap->flags &= ~kHostBitmapAllocated;
}

void HostDibToBitmap(HostBitmap* bitmap, uint32_t bitmapRecordSize, const HostDibHeader* header,
                     const uint8_t* bits) noexcept {
    const int64_t rows = header->height < 0 ? -static_cast<int64_t>(header->height) : header->height;
    const int64_t rowBytes = static_cast<int64_t>(header->width) * 3;
    if (bitmapRecordSize < sizeof(HostBitmap) || header->bitCount != 24 || rows <= 0 || rowBytes <= 0) return;
    const int64_t padding = header->imageSize / (rows * 3) - header->width;
    if (padding < 0 || rowBytes > INT32_MAX) return;

    auto* pixels = static_cast<uint8_t*>(HostAllocShared(rowBytes, rows, __LINE__, kSource));
    if (pixels == nullptr) return;
    const bool fromTop = header->height < 0;
    for (int64_t row = 0; row < rows; ++row) {
        const int64_t stored = fromTop ? row : rows - 1 - row;
        HostCopy(pixels + row * rowBytes, bits + stored * (rowBytes + padding), static_cast<size_t>(rowBytes));
    }
    bitmap->size = sizeof(HostBitmap);
    bitmap->flags |= kHostBitmapAllocated;
    bitmap->width = header->width;
    bitmap->height = static_cast<int32_t>(rows);
    bitmap->bitsPerPixel = 24;
    bitmap->bytesPerRow = static_cast<int32_t>(rowBytes);
    bitmap->pixels = pixels;
}
