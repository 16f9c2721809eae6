#include "Common/kernels/subsampled.h"

#include "Common/kernels/kernels.h"
#include "Common/kernels/row_frame.h"

namespace zv {

namespace {

/// Bytes of an image of `bits` per pixel, rounded up, plus padding.
RegionSize BitsRegion(const KernelImage& image, int32_t bits, int32_t extra) noexcept {
    return (RegionSize(image.width) * image.height * bits).BitsToBytes() + RegionSize(extra) * image.height;
}

// Packed groups: where the luma of each pixel and the two chroma samples of each `kShare` pixels stand.

struct Yuy2 {
    static constexpr int32_t kPixels = 2, kBytes = 4, kBits = 16, kShare = 2;
    static constexpr size_t kLuma[] = {0, 2};
    static constexpr size_t kU[] = {1};
    static constexpr size_t kV[] = {3};
};

struct Uyvy {
    static constexpr int32_t kPixels = 2, kBytes = 4, kBits = 16, kShare = 2;
    static constexpr size_t kLuma[] = {1, 3};
    static constexpr size_t kU[] = {0};
    static constexpr size_t kV[] = {2};
};

struct Y41p {
    static constexpr int32_t kPixels = 8, kBytes = 12, kBits = 12, kShare = 4;
    static constexpr size_t kLuma[] = {1, 3, 5, 7, 8, 9, 10, 11};
    static constexpr size_t kU[] = {0, 4};
    static constexpr size_t kV[] = {2, 6};
};

/// A group whole before it is written, so that nothing unread is overwritten.
template <class Format, bool kRgbFirst>
void GroupFromHub(const uint8_t* from, uint8_t* to) noexcept {
    Pixel<size_t{Format::kBytes}> group;
    for (int32_t first = 0; first < Format::kPixels; first += Format::kShare) {
        int32_t u = 0, v = 0;
        for (int32_t i = first; i < first + Format::kShare; ++i) {
            const Pixel<3> yuv = StudioYuv::FromRgb(Hub<kRgbFirst>::Load(from + ptrdiff_t{i} * kHubBytes));
            group[Format::kLuma[i]] = yuv[0];
            u += yuv[1];
            v += yuv[2];
        }
        group[Format::kU[first / Format::kShare]] = static_cast<uint8_t>(u / Format::kShare);
        group[Format::kV[first / Format::kShare]] = static_cast<uint8_t>(v / Format::kShare);
    }
    StorePixel(to, group);
}

template <class Format, bool kRgbFirst>
void GroupToHub(const uint8_t* from, uint8_t* to) noexcept {
    const auto group = LoadPixel<size_t{Format::kBytes}>(from);
    for (int32_t i = 0; i < Format::kPixels; ++i) {
        const int32_t chroma = i / Format::kShare;
        Hub<kRgbFirst>::Store(
            to + ptrdiff_t{i} * kHubBytes,
            StudioYuv::ToRgb({group[Format::kLuma[i]], group[Format::kU[chroma]], group[Format::kV[chroma]]}));
    }
}

template <class Format>
int32_t GroupsFromHub(const KernelImage& image, int32_t rgbFirst) noexcept {
    if (image.width % Format::kPixels != 0) return ERR_WIDTH_MULTIPLE;
    if (!image.CanReadSource(kHubBytes) ||
        !CanWrite(image.destination, BitsRegion(image, Format::kBits, image.destinationExtra))) {
        return ERR_INVALID_PARAMETER;
    }
    WithHubOrder(rgbFirst, [&](auto first) {
        image.EachRow(
            kHubBytes * Format::kPixels, Format::kBytes,
            [&](const uint8_t* from, uint8_t* to) {
                for (int32_t x = 0; x < image.width / Format::kPixels; ++x) {
                    GroupFromHub<Format, first.value>(from + ptrdiff_t{x} * kHubBytes * Format::kPixels,
                                                      to + ptrdiff_t{x} * Format::kBytes);
                }
            },
            Format::kPixels);
    });
    return CLR_SUCCESS;
}

template <class Format>
int32_t GroupsToHub(const KernelImage& image, int32_t rgbFirst) noexcept {
    if (image.width % Format::kPixels != 0) return ERR_WIDTH_MULTIPLE;
    if (!CanRead(image.source, BitsRegion(image, Format::kBits, image.sourceExtra)) ||
        !image.CanWriteDestination(kHubBytes)) {
        return ERR_INVALID_PARAMETER;
    }
    WithHubOrder(rgbFirst, [&](auto first) {
        image.EachRow(
            Format::kBytes, kHubBytes * Format::kPixels,
            [&](const uint8_t* from, uint8_t* to) {
                for (int32_t x = 0; x < image.width / Format::kPixels; ++x) {
                    GroupToHub<Format, first.value>(from + ptrdiff_t{x} * Format::kBytes,
                                                    to + ptrdiff_t{x} * kHubBytes * Format::kPixels);
                }
            },
            Format::kPixels);
    });
    return CLR_SUCCESS;
}

// --- Planar: Y, then V, then U with one byte for 4 x 4 pixels ------------------------------------------------------

constexpr int32_t kYvu9Block = 4;
constexpr int32_t kYvu9Bits = 9;

bool IsYvu9Size(const KernelImage& image) noexcept {
    return image.width % kYvu9Block == 0 && image.height % kYvu9Block == 0;
}

template <bool kRgbFirst>
void Yvu9Band(const uint8_t* band, ptrdiff_t rowStep, uint8_t* luma, uint8_t* planeV, uint8_t* planeU,
              int32_t width) noexcept {
    for (int32_t block = 0; block < width / kYvu9Block; ++block) {
        int32_t u = 0, v = 0;
        for (int32_t row = 0; row < kYvu9Block; ++row) {
            const uint8_t* from = band + row * rowStep + ptrdiff_t{block} * kYvu9Block * kHubBytes;
            uint8_t* y = luma + ptrdiff_t{row} * width + ptrdiff_t{block} * kYvu9Block;
            int32_t sumU = 0, sumV = 0;
            for (int32_t i = 0; i < kYvu9Block; ++i) {
                const Pixel<3> yuv = StudioYuv::FromRgb(Hub<kRgbFirst>::Load(from + ptrdiff_t{i} * kHubBytes));
                y[i] = yuv[0];
                sumU += yuv[1];
                sumV += yuv[2];
            }
            // Later rows count for more: the running value is not the block's mean.
            u = row == 0 ? sumU >> 2 : (u + sumU) / 5;
            v = row == 0 ? sumV >> 2 : (v + sumV) / 5;
        }
        planeU[block] = static_cast<uint8_t>(u);
        planeV[block] = static_cast<uint8_t>(v);
    }
}

}  // namespace

ZV_KERNEL(ClrYuy2FromHub) { return GroupsFromHub<Yuy2>(ZV_KERNEL_IMAGE, rgbFirst); }
ZV_KERNEL(ClrYuy2ToHub) { return GroupsToHub<Yuy2>(ZV_KERNEL_IMAGE, rgbFirst); }
ZV_KERNEL(ClrUyvyFromHub) { return GroupsFromHub<Uyvy>(ZV_KERNEL_IMAGE, rgbFirst); }
ZV_KERNEL(ClrUyvyToHub) { return GroupsToHub<Uyvy>(ZV_KERNEL_IMAGE, rgbFirst); }
ZV_KERNEL(ClrY41pFromHub) { return GroupsFromHub<Y41p>(ZV_KERNEL_IMAGE, rgbFirst); }
ZV_KERNEL(ClrY41pToHub) { return GroupsToHub<Y41p>(ZV_KERNEL_IMAGE, rgbFirst); }

int32_t ClrYvu9FromHub(const uint8_t* source, uint8_t* destination, int32_t width, int32_t height,
                       int32_t sourceRowExtra, int32_t rgbFirst) noexcept {
    const KernelImage image(source, destination, width, height, sourceRowExtra, 0);
    if (!IsYvu9Size(image)) return ERR_YVU9_SIZE;
    if (!image.CanReadSource(kHubBytes) || !CanWrite(destination, BitsRegion(image, kYvu9Bits, 0))) {
        return ERR_INVALID_PARAMETER;
    }
    if (width < 1 || height < 1) return CLR_SUCCESS;

    const ptrdiff_t rowStep = ptrdiff_t{width} * kHubBytes + image.sourceExtra;
    // The step to the next band leaves out the padding of the band's rows.
    const ptrdiff_t bandStep = ptrdiff_t{width} * kHubBytes * kYvu9Block;
    const ptrdiff_t lumaBytes = ptrdiff_t{width} * height;
    uint8_t* planeV = destination + lumaBytes;
    uint8_t* planeU = planeV + lumaBytes / 16;
    WithHubOrder(rgbFirst, [&](auto first) {
        for (int32_t band = 0; band < height / kYvu9Block; ++band) {
            Yvu9Band<first.value>(source + band * bandStep, rowStep, destination + ptrdiff_t{band} * kYvu9Block * width,
                                  planeV + ptrdiff_t{band} * (width / kYvu9Block),
                                  planeU + ptrdiff_t{band} * (width / kYvu9Block), width);
        }
    });
    return CLR_SUCCESS;
}

int32_t ClrYvu9ToHub(const uint8_t* source, uint8_t* destination, int32_t width, int32_t height,
                     int32_t destinationRowExtra, int32_t rgbFirst) noexcept {
    const KernelImage image(source, destination, width, height, 0, destinationRowExtra);
    if (!IsYvu9Size(image)) return ERR_YVU9_SIZE;
    if (!CanRead(source, BitsRegion(image, kYvu9Bits, 0)) || !image.CanWriteDestination(kHubBytes)) {
        return ERR_INVALID_PARAMETER;
    }
    const ptrdiff_t lumaBytes = ptrdiff_t{width} * height;
    WithHubOrder(rgbFirst, [&](auto first) {
        int32_t y = 0;
        image.EachRow(1, kHubBytes, [&](const uint8_t* luma, uint8_t* to) {
            const uint8_t* planeV = source + lumaBytes + ptrdiff_t{y / kYvu9Block} * (width / kYvu9Block);
            const uint8_t* planeU = planeV + lumaBytes / 16;
            for (int32_t x = 0; x < width; ++x) {
                Hub<first.value>::Store(to + ptrdiff_t{x} * kHubBytes,
                                        StudioYuv::ToRgb({luma[x], planeU[x / kYvu9Block], planeV[x / kYvu9Block]}));
            }
            ++y;
        });
    });
    return CLR_SUCCESS;
}

// The packed side is asked for 12 bits a pixel, less than the 16 that are used: the frame has asked for all of them.

ZV_KERNEL(ClrRgb444FromHub) {
    const KernelImage image = ZV_KERNEL_IMAGE;
    if (!image.CanReadSource(kHubBytes) ||
        !CanWrite(destination, Rgb444Region(width, height, image.destinationExtra))) {
        return ERR_INVALID_PARAMETER;
    }
    FromHubRows(image, rgbFirst, Rgb444{});
    return CLR_SUCCESS;
}

ZV_KERNEL(ClrRgb444ToHub) {
    const KernelImage image = ZV_KERNEL_IMAGE;
    if (!CanRead(source, Rgb444Region(width, height, image.sourceExtra)) || !image.CanWriteDestination(kHubBytes)) {
        return ERR_INVALID_PARAMETER;
    }
    ToHubRows(image, rgbFirst, Rgb444{});
    return CLR_SUCCESS;
}

}  // namespace zv
