// Any planar or packed layout of YUV that a ClrYuvParams record describes.
#include <algorithm>
#include <cstring>

#include "Common/kernels/kernels.h"
#include "Common/kernels/plain_rows.h"
#include "Common/kernels/row_frame.h"
#include "Common/kernels/subsampled.h"

namespace zv {

namespace {

bool DividesOneWay(int32_t a, int32_t b) noexcept { return a % b == 0 || b % a == 0; }

/// The source as the sampling periods describe it. The planar formula overstates the planes.
RegionSize SourceRegion(const KernelImage& image, const ClrYuvParams& p) noexcept {
    const int64_t perMacro = p.planar != 0 ? int64_t{p.uSampleX} * p.vSampleX : int64_t{p.uSampleX};
    if (perMacro > INT32_MAX / 8) return RegionSize::None();
    int64_t bits = (perMacro * 8 + 16) / p.uSampleX;
    if (p.planar != 0) bits *= p.vSampleX;
    return (RegionSize(image.width) * image.height * bits).BitsToBytes() + RegionSize(image.sourceExtra) * image.height;
}

class Samples {
public:
    explicit Samples(const ClrYuvParams& params) noexcept : fullRange_(params.fullRange != 0) {}
    /// Always B, G, R.
    void Store(uint8_t* to, uint8_t y, uint8_t u, uint8_t v) const noexcept {
        Hub<false>::Store(to, StudioYuv::FromSamples(y, u, v, fullRange_));
    }

private:
    bool fullRange_;
};

// --- Planar ---------------------------------------------------------------------------------------------------------

/// One chroma plane: where its row starts, and how far a row walks it. The counter of pixels runs over the whole image,
/// so that rows that are no multiple of the period start inside a sample.
struct ChromaPlane {
    int64_t offset;
    int64_t periodX;
    int64_t periodY;
    int64_t width;

    int64_t RowStart(int64_t row) const noexcept { return offset + (row / periodY) * (width / periodX); }
    int64_t At(int64_t row, int64_t column) const noexcept {
        const int64_t before = row * width;
        return RowStart(row) + (before + column) / periodX - before / periodX;
    }
};

struct PlaneOffsets {
    int64_t y, u, v;
};

/// By the order code of the planes; `ySize` and so on are their lengths.
PlaneOffsets OffsetsOf(int32_t order, int64_t ySize, int64_t uSize, int64_t vSize) noexcept {
    switch (order) {
        case 0:
            return {0, ySize, ySize + uSize};
        case 1:
            return {0, ySize + vSize, ySize};
        case 2:
            return {uSize, 0, uSize + ySize};
        case 3:
            return {uSize + vSize, 0, uSize};
        case 4:
            return {vSize, vSize + ySize, 0};
        default:
            return {vSize + uSize, vSize, 0};
    }
}

constexpr int32_t kLastPlaneOrder = 5;

int32_t DecodePlanar(const KernelImage& image, const ClrYuvParams& p, const int32_t* positions) noexcept {
    int32_t order = 0;
    if (!CanRead(positions, sizeof order)) return ERR_INVALID_PARAMETER;
    std::memcpy(&order, positions, sizeof order);
    if (order < 0 || order > kLastPlaneOrder) return ERR_INVALID_PARAMETER;

    const int64_t width = image.width, height = image.height;
    const int64_t lumaBytes = width * height;
    const PlaneOffsets at = OffsetsOf(order, lumaBytes, lumaBytes / (int64_t{p.uSampleX} * p.uSampleY),
                                      lumaBytes / (int64_t{p.vSampleX} * p.vSampleY));
    const ChromaPlane planeU{at.u, p.uSampleX, p.uSampleY, width};
    const ChromaPlane planeV{at.v, p.vSampleX, p.vSampleY, width};

    // The last pixel of the image is never converted.
    const auto lastColumn = [&](int64_t row) { return row == height - 1 ? width - 2 : width - 1; };
    int64_t end = 0;
    for (int64_t row = 0; row < height; ++row) {
        const int64_t column = lastColumn(row);
        if (column < 0) break;
        end = std::max({end, at.y + row * width + column, planeU.At(row, column), planeV.At(row, column)});
    }
    if (!image.CanReadRegion(end + 1)) return ERR_BAD_POINTER;

    const Samples samples(p);
    uint8_t* to = image.destination;
    for (int64_t row = 0; row < height; ++row) {
        const uint8_t* luma = image.source + at.y + row * width;
        for (int64_t column = 0; column <= lastColumn(row); ++column) {
            samples.Store(to + column * kHubBytes, luma[column], image.source[planeU.At(row, column)],
                          image.source[planeV.At(row, column)]);
        }
        to += width * kHubBytes + image.destinationExtra;
    }
    return CLR_SUCCESS;
}

// --- Packed ---------------------------------------------------------------------------------------------------------

/// The sample positions of a macro-pixel. The table may lie at any address.
class PackedLayout {
public:
    PackedLayout(const ClrYuvParams& p, const int32_t* positions) noexcept
        : positions_(reinterpret_cast<const uint8_t*>(positions)),
          size_(p.macroPixelSize),
          uPeriod_(p.uSampleX),
          vPeriod_(p.vSampleX),
          step_(static_cast<int64_t>((1.0 / p.uSampleX + 1.0 + 1.0 / p.vSampleX) * p.macroPixelSize)) {}

    int64_t Size() const noexcept { return size_; }
    /// From one macro-pixel to the next.
    int64_t Step() const noexcept { return step_; }
    int64_t Y(int64_t k) const noexcept { return Position(k); }
    int64_t U(int64_t k) const noexcept { return Position(UIndex(k)); }
    int64_t V(int64_t k) const noexcept { return Position(VIndex(k)); }

    /// Whether the first `used` pixels of a macro-pixel have positions, each inside the macro-pixel: one outside would
    /// reach what is not the image's.
    bool IsUsable(int64_t used) const noexcept {
        const int64_t entries = std::max({used, UIndex(used - 1) + 1, VIndex(used - 1) + 1});
        if (!CanRead(positions_, RegionSize(entries) * int64_t{sizeof(int32_t)})) return false;
        const int64_t bytes = size_ + (size_ + uPeriod_ - 1) / uPeriod_ + (size_ + vPeriod_ - 1) / vPeriod_;
        for (int64_t k = 0; k < used; ++k) {
            for (const int64_t position : {Y(k), U(k), V(k)}) {
                if (position < 0 || position >= bytes) return false;
            }
        }
        return true;
    }

private:
    int64_t UIndex(int64_t k) const noexcept { return size_ + k / uPeriod_; }
    int64_t VIndex(int64_t k) const noexcept { return size_ + size_ / uPeriod_ + k / vPeriod_; }
    int64_t Position(int64_t index) const noexcept {
        int32_t value = 0;
        std::memcpy(&value, positions_ + index * int64_t{sizeof value}, sizeof value);
        return value;
    }

    const uint8_t* positions_;
    int64_t size_;
    int64_t uPeriod_;
    int64_t vPeriod_;
    int64_t step_;
};

int32_t DecodePacked(const KernelImage& image, const ClrYuvParams& p, const int32_t* positions) noexcept {
    if (p.macroPixelSize < 1) return ERR_INVALID_PARAMETER;
    const PackedLayout layout(p, positions);
    const int64_t width = image.width, height = image.height;
    const int64_t pixels = width * height;
    if (!layout.IsUsable(std::min(layout.Size(), pixels))) return ERR_INVALID_PARAMETER;

    // The two paddings are crossed in this route: the source moves by the destination's and the other way round.
    const int64_t sourceGap = image.destinationExtra;
    const int64_t destinationGap = image.sourceExtra;

    const auto macroStart = [&](int64_t pixel) {
        return pixel / layout.Size() * layout.Step() + pixel / width * sourceGap;
    };
    int64_t end = 0;
    for (int64_t pixel = std::max<int64_t>(0, pixels - 2 * layout.Size()); pixel < pixels; ++pixel) {
        const int64_t k = pixel % layout.Size();
        end = std::max(end, macroStart(pixel) + std::max({layout.Y(k), layout.U(k), layout.V(k)}) + 1);
    }
    if (!image.CanReadRegion(end)) return ERR_BAD_POINTER;
    const int64_t written = (width * kHubBytes + destinationGap) * (height - 1) + width * kHubBytes;
    if (!image.CanWriteRegion(written)) return ERR_INVALID_PARAMETER;

    const Samples samples(p);
    const uint8_t* base = image.source;
    uint8_t* to = image.destination;
    int64_t k = 0;
    for (int64_t row = 0; row < height; ++row) {
        for (int64_t column = 0; column < width; ++column) {
            samples.Store(to, base[layout.Y(k)], base[layout.U(k)], base[layout.V(k)]);
            to += kHubBytes;
            if (++k == layout.Size()) {
                k = 0;
                base += layout.Step();
            }
        }
        base += sourceGap;
        to += destinationGap;
    }
    return CLR_SUCCESS;
}

}  // namespace

int32_t ClrYuvParamsToHub(const uint8_t* source, uint8_t* destination, int32_t width, int32_t height,
                          int32_t sourceRowExtra, int32_t destinationRowExtra, const ClrYuvParams* params,
                          ClrReach reach) noexcept {
    if (width < 1 || height < 1 || params == nullptr) return ERR_INVALID_PARAMETER;
    KernelImage image(source, destination, width, height, sourceRowExtra, destinationRowExtra, reach);
    if (!image.CanWriteDestination(kHubBytes)) return ERR_INVALID_PARAMETER;
    const ClrYuvParams p = *params;
    if (p.uSampleX < 1 || p.uSampleY < 1 || p.vSampleX < 1 || p.vSampleY < 1) return ERR_INVALID_PARAMETER;
    const RegionSize sourceRegion = SourceRegion(image, p);
    if (!image.CanReadRegion(sourceRegion)) return ERR_BAD_POINTER;
    if (p.planar == 0 && (p.uSampleY > 1 || p.vSampleY >= 2)) return ERR_YUV_VERTICAL_PACKED;
    if (!DividesOneWay(p.uSampleY, p.vSampleY) || !DividesOneWay(p.uSampleX, p.vSampleX)) {
        return ERR_YUV_SAMPLING_RATIO;
    }
    if (p.planar != 0 && sourceRowExtra > 1) return ERR_YUV_PLANAR_PADDING;
    if (p.positions == nullptr) return ERR_INVALID_PARAMETER;
    image.reach = reach.With(sourceRegion, image.Region(kHubBytes, image.destinationExtra));
    return p.planar != 0 ? DecodePlanar(image, p, p.positions) : DecodePacked(image, p, p.positions);
}

}  // namespace zv
