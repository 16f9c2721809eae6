#include "Common/kernels/hue.h"

#include "Common/kernels/kernels.h"
#include "Common/kernels/lazy_table.h"
#include "Common/kernels/row_frame.h"

namespace zv {

namespace {

using AngleTable = std::array<Hsi::Angle, 256>;

/// The cosines of every hue byte.
constinit LazyTable<AngleTable> angleTable([](AngleTable& table) noexcept {
    for (size_t i = 0; i < table.size(); ++i) table[i] = Hsi::AngleOf(static_cast<uint8_t>(i));
});

class FastHsi : public Hsi {
public:
    Rgb ToRgb(Pixel<3> p) const noexcept { return Hsi::ToRgb(p, angles_[p[1]]); }

private:
    const AngleTable& angles_ = angleTable.Get();
};

/// Pixels of a row before the first one with a data error.
int32_t PixelsBeforeHlsError(const uint8_t* row, int32_t width) noexcept {
    for (int32_t x = 0; x < width; ++x) {
        if (Hls::IsError(LoadPixel<3>(row + ptrdiff_t{x} * Hls::kPixelBytes))) return x;
    }
    return width;
}

}  // namespace

ZV_KERNEL(ClrHsvFromHub) { return RunFromHub(ZV_KERNEL_IMAGE, rgbFirst, Hsv{}); }
ZV_KERNEL(ClrHsvToHub) { return RunToHub(ZV_KERNEL_IMAGE, rgbFirst, Hsv{}); }
ZV_KERNEL(ClrHlsFromHub) { return RunFromHub(ZV_KERNEL_IMAGE, rgbFirst, Hls{}); }
ZV_KERNEL(ClrHsiFromHub) { return RunFromHub(ZV_KERNEL_IMAGE, rgbFirst, Hsi{}); }
ZV_KERNEL(ClrHsiToHub) { return RunToHub(ZV_KERNEL_IMAGE, rgbFirst, FastHsi{}); }

ZV_KERNEL(ClrHlsToHub) {
    const KernelImage image = ZV_KERNEL_IMAGE;
    if (!image.CanReadSource(Hls::kPixelBytes) || !image.CanWriteDestination(kHubBytes)) return ERR_INVALID_PARAMETER;
    int32_t result = CLR_SUCCESS;
    WithHubOrder(rgbFirst, [&](auto first) {
        image.EachRow(Hls::kPixelBytes, kHubBytes, [&](const uint8_t* from, uint8_t* to) {
            if (result != CLR_SUCCESS) return;
            const int32_t good = PixelsBeforeHlsError(from, width);
            MapRow<Hls::kPixelBytes, kHubBytes>(from, to, good, LoadPixel<3>, Hls::ToRgb, Hub<first.value>::Store);
            if (good < width) result = ERR_BAD_TAG;
        });
    });
    return result;
}

}  // namespace zv
