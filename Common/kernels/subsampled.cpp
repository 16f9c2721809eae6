#include "Common/kernels/subsampled.h"

#include "Common/kernels/kernels.h"
#include "Common/kernels/row_frame.h"

namespace zv {

namespace {

/// Bytes of an image of `bits` per pixel, rounded up, plus padding.
RegionSize BitsRegion(const KernelImage& image, int32_t bits, int32_t extra) noexcept {
    return (RegionSize(image.width) * image.height * bits).BitsToBytes() + RegionSize(extra) * image.height;
}

/// A packed format: each group of pixels stands in so many bytes.
struct Groups {
    int32_t pixels;
    int32_t bytes;
    int32_t bits;  ///< of a pixel
};
constexpr Groups kPairs = {2, 4, 16};
constexpr Groups kEights = {8, 12, 12};

int32_t GroupsFromHub(const KernelImage& image, int32_t rgbFirst, const Groups& groups,
                      const ClrHubRows& rows) noexcept {
    if (image.width % groups.pixels != 0) return ERR_WIDTH_MULTIPLE;
    if (!image.CanReadSource(kHubBytes) ||
        !image.CanWriteRegion(BitsRegion(image, groups.bits, image.destinationExtra))) {
        return ERR_INVALID_PARAMETER;
    }
    const ClrRow row = rows.fromHub[rgbFirst != 0 ? 1 : 0];
    image.EachRow(
        ptrdiff_t{kHubBytes} * groups.pixels, groups.bytes,
        [&](const uint8_t* from, uint8_t* to) { row(from, to, image.width, nullptr); }, groups.pixels);
    return CLR_SUCCESS;
}

int32_t GroupsToHub(const KernelImage& image, int32_t rgbFirst, const Groups& groups, const ClrHubRows& rows) noexcept {
    if (image.width % groups.pixels != 0) return ERR_WIDTH_MULTIPLE;
    if (!image.CanReadRegion(BitsRegion(image, groups.bits, image.sourceExtra)) ||
        !image.CanWriteDestination(kHubBytes)) {
        return ERR_INVALID_PARAMETER;
    }
    const ClrRow row = rows.toHub[rgbFirst != 0 ? 1 : 0];
    image.EachRow(
        groups.bytes, ptrdiff_t{kHubBytes} * groups.pixels,
        [&](const uint8_t* from, uint8_t* to) { row(from, to, image.width, nullptr); }, groups.pixels);
    return CLR_SUCCESS;
}

// --- Planar: Y, then V, then U with one byte for 4 x 4 pixels ------------------------------------------------------

constexpr int32_t kYvu9Block = 4;
constexpr int32_t kYvu9Bits = 9;

bool IsYvu9Size(const KernelImage& image) noexcept {
    return image.width % kYvu9Block == 0 && image.height % kYvu9Block == 0;
}

}  // namespace

ZV_KERNEL(ClrYuy2FromHub) { return GroupsFromHub(ZV_KERNEL_IMAGE, rgbFirst, kPairs, SubsampledRows().yuy2); }
ZV_KERNEL(ClrYuy2ToHub) { return GroupsToHub(ZV_KERNEL_IMAGE, rgbFirst, kPairs, SubsampledRows().yuy2); }
ZV_KERNEL(ClrUyvyFromHub) { return GroupsFromHub(ZV_KERNEL_IMAGE, rgbFirst, kPairs, SubsampledRows().uyvy); }
ZV_KERNEL(ClrUyvyToHub) { return GroupsToHub(ZV_KERNEL_IMAGE, rgbFirst, kPairs, SubsampledRows().uyvy); }
ZV_KERNEL(ClrY41pFromHub) { return GroupsFromHub(ZV_KERNEL_IMAGE, rgbFirst, kEights, SubsampledRows().y41p); }
ZV_KERNEL(ClrY41pToHub) { return GroupsToHub(ZV_KERNEL_IMAGE, rgbFirst, kEights, SubsampledRows().y41p); }

int32_t ClrYvu9FromHub(const uint8_t* source, uint8_t* destination, int32_t width, int32_t height,
                       int32_t sourceRowExtra, int32_t rgbFirst, ClrReach reach) noexcept {
    const KernelImage image(source, destination, width, height, sourceRowExtra, 0, reach);
    if (!IsYvu9Size(image)) return ERR_YVU9_SIZE;
    if (!image.CanReadSource(kHubBytes) || !image.CanWriteRegion(BitsRegion(image, kYvu9Bits, 0))) {
        return ERR_INVALID_PARAMETER;
    }
    if (width < 1 || height < 1) return CLR_SUCCESS;

    const ptrdiff_t rowStep = ptrdiff_t{width} * kHubBytes + image.sourceExtra;
    // The step to the next band leaves out the padding of the band's rows.
    const ptrdiff_t bandStep = ptrdiff_t{width} * kHubBytes * kYvu9Block;
    const ptrdiff_t lumaBytes = ptrdiff_t{width} * height;
    uint8_t* planeV = destination + lumaBytes;
    uint8_t* planeU = planeV + lumaBytes / 16;
    const ClrYvu9FromHubBand convert = SubsampledRows().yvu9FromHub[rgbFirst != 0 ? 1 : 0];
    for (int32_t band = 0; band < height / kYvu9Block; ++band) {
        const ptrdiff_t blocks = ptrdiff_t{band} * (width / kYvu9Block);
        convert(source + band * bandStep, rowStep, destination + ptrdiff_t{band} * kYvu9Block * width, planeV + blocks,
                planeU + blocks, width);
    }
    return CLR_SUCCESS;
}

int32_t ClrYvu9ToHub(const uint8_t* source, uint8_t* destination, int32_t width, int32_t height,
                     int32_t destinationRowExtra, int32_t rgbFirst, ClrReach reach) noexcept {
    const KernelImage image(source, destination, width, height, 0, destinationRowExtra, reach);
    if (!IsYvu9Size(image)) return ERR_YVU9_SIZE;
    if (!image.CanReadRegion(BitsRegion(image, kYvu9Bits, 0)) || !image.CanWriteDestination(kHubBytes)) {
        return ERR_INVALID_PARAMETER;
    }
    const ptrdiff_t lumaBytes = ptrdiff_t{width} * height;
    const ClrYvu9ToHubRow convert = SubsampledRows().yvu9ToHub[rgbFirst != 0 ? 1 : 0];
    int32_t y = 0;
    image.EachRow(1, kHubBytes, [&](const uint8_t* luma, uint8_t* to) {
        const uint8_t* planeV = source + lumaBytes + ptrdiff_t{y / kYvu9Block} * (width / kYvu9Block);
        convert(luma, planeV, planeV + lumaBytes / 16, to, width);
        ++y;
    });
    return CLR_SUCCESS;
}

// The packed side is asked for 12 bits a pixel, less than the 16 that are used: the frame has asked for all of them.

ZV_KERNEL(ClrRgb444FromHub) {
    const KernelImage image = ZV_KERNEL_IMAGE;
    if (!image.CanReadSource(kHubBytes) || !image.CanWriteRegion(Rgb444Region(width, height, image.destinationExtra))) {
        return ERR_INVALID_PARAMETER;
    }
    FromHubByRows(image, rgbFirst, ByteRows().rgb444, Rgb444::kPixelBytes);
    return CLR_SUCCESS;
}

ZV_KERNEL(ClrRgb444ToHub) {
    const KernelImage image = ZV_KERNEL_IMAGE;
    if (!image.CanReadRegion(Rgb444Region(width, height, image.sourceExtra)) || !image.CanWriteDestination(kHubBytes)) {
        return ERR_INVALID_PARAMETER;
    }
    ToHubByRows(image, rgbFirst, ByteRows().rgb444, Rgb444::kPixelBytes);
    return CLR_SUCCESS;
}

}  // namespace zv
