// The common frame of the pixel kernels: probes, hub byte order, padding and rows, settled once for an image.
#pragma once

#include <cstddef>
#include <cstdint>

#include "Common/kernels/rows.h"
#include "Common/region.h"
#include "zvclr.h"

namespace zv {

inline constexpr int32_t kHubBytes = 3;

/// Geometry of one kernel call.
struct KernelImage {
    const uint8_t* source;
    uint8_t* destination;
    int32_t width;
    int32_t height;
    int32_t sourceExtra;  ///< clamped
    int32_t destinationExtra;
    ClrReach reach;

    KernelImage(const uint8_t* sourceBytes, uint8_t* destinationBytes, int32_t w, int32_t h, int32_t sourceRowExtra,
                int32_t destinationRowExtra, ClrReach known = {}) noexcept
        : source(sourceBytes),
          destination(destinationBytes),
          width(w),
          height(h),
          sourceExtra(ClampExtra(sourceRowExtra)),
          destinationExtra(ClampExtra(destinationRowExtra)),
          reach(known) {}

    RegionSize Region(int32_t pixelBytes, int32_t extra) const noexcept {
        return (RegionSize(width) * pixelBytes + extra) * height;
    }
    bool CanReadRegion(RegionSize size) const noexcept { return CanRead(source, size, reach.readable); }
    bool CanWriteRegion(RegionSize size) const noexcept { return CanWrite(destination, size, reach.writable); }
    bool CanReadSource(int32_t pixelBytes) const noexcept { return CanReadRegion(Region(pixelBytes, sourceExtra)); }
    bool CanWriteDestination(int32_t pixelBytes) const noexcept {
        return CanWriteRegion(Region(pixelBytes, destinationExtra));
    }

    /// Calls row(source, destination) for each row, from the top. Rows have that many bytes for `group` pixels.
    template <class Row>
    void EachRow(ptrdiff_t sourceBytes, ptrdiff_t destinationBytes, const Row& row, int32_t group = 1) const {
        if (width < 1) return;
        const uint8_t* from = source;
        uint8_t* to = destination;
        for (int32_t y = 0; y < height; ++y) {
            row(from, to);
            from += sourceBytes * (width / group) + sourceExtra;
            to += destinationBytes * (width / group) + destinationExtra;
        }
    }
};

/// What the kernels ask for of a buffer of CLRSPACE_RGB444: 12 bits a pixel.
inline RegionSize Rgb444Region(int32_t width, int32_t height, int32_t extra) noexcept {
    const RegionSize bits = RegionSize(width) * height * 3;
    return RegionSize(bits.Bytes() / 2) + RegionSize(extra) * height;
}

/// All rows from a hub, by those of the instruction set in use.
inline void FromHubByRows(const KernelImage& image, int32_t rgbFirst, const ClrHubRows& rows, int32_t pixelBytes,
                          const void* context = nullptr) noexcept {
    const ClrRow row = rows.fromHub[rgbFirst != 0 ? 1 : 0];
    image.EachRow(kHubBytes, pixelBytes,
                  [&](const uint8_t* from, uint8_t* to) { row(from, to, image.width, context); });
}

/// All rows to a hub.
inline void ToHubByRows(const KernelImage& image, int32_t rgbFirst, const ClrHubRows& rows, int32_t pixelBytes,
                        const void* context = nullptr) noexcept {
    const ClrRow row = rows.toHub[rgbFirst != 0 ? 1 : 0];
    image.EachRow(pixelBytes, kHubBytes,
                  [&](const uint8_t* from, uint8_t* to) { row(from, to, image.width, context); });
}

/// The whole kernel from a hub, by rows of the instruction set in use.
inline int32_t RunFromHub(const KernelImage& image, int32_t rgbFirst, const ClrHubRows& rows, int32_t pixelBytes,
                          const void* context = nullptr) noexcept {
    if (!image.CanReadSource(kHubBytes) || !image.CanWriteDestination(pixelBytes)) return ERR_INVALID_PARAMETER;
    FromHubByRows(image, rgbFirst, rows, pixelBytes, context);
    return CLR_SUCCESS;
}

/// The whole kernel to a hub.
inline int32_t RunToHub(const KernelImage& image, int32_t rgbFirst, const ClrHubRows& rows, int32_t pixelBytes,
                        const void* context = nullptr) noexcept {
    if (!image.CanReadSource(pixelBytes) || !image.CanWriteDestination(kHubBytes)) return ERR_INVALID_PARAMETER;
    ToHubByRows(image, rgbFirst, rows, pixelBytes, context);
    return CLR_SUCCESS;
}

/// Name and arguments of a kernel in the common form, for definitions.
#define ZV_KERNEL(name)                                                                                                \
    int32_t name(const uint8_t* source, uint8_t* destination, int32_t width, int32_t height, int32_t sourceRowExtra,   \
                 int32_t destinationRowExtra, int32_t rgbFirst, [[maybe_unused]] ::zv::ClrReach reach) noexcept

/// The same for declarations: a caller that has probed nothing says nothing.
#define ZV_DECLARE_KERNEL(name)                                                                                        \
    int32_t name(const uint8_t* source, uint8_t* destination, int32_t width, int32_t height, int32_t sourceRowExtra,   \
                 int32_t destinationRowExtra, int32_t rgbFirst, ::zv::ClrReach reach = {}) noexcept

/// The image that a kernel's arguments describe.
#define ZV_KERNEL_IMAGE                                                                                                \
    ::zv::KernelImage { source, destination, width, height, sourceRowExtra, destinationRowExtra, reach }

}  // namespace zv
