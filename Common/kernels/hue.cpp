#include "Common/kernels/hue.h"

#include "Common/kernels/kernels.h"
#include "Common/kernels/lazy_table.h"
#include "Common/kernels/row_frame.h"

namespace zv {

namespace {

/// The hue byte of every pair of differences.
void FillHues(Hsi::HueTable& table) noexcept { table.Fill(); }
constinit LazyTable<Hsi::HueTable, FillHues> hueTable;

/// The cosines of every hue byte.
void FillAngles(Hsi::AngleTable& table) noexcept {
    for (size_t i = 0; i < table.size(); ++i) table[i] = Hsi::AngleOf(static_cast<uint8_t>(i));
}
constinit LazyTable<Hsi::AngleTable, FillAngles> angleTable;

}  // namespace

ZV_KERNEL(ClrHsvFromHub) { return RunFromHub(ZV_KERNEL_IMAGE, rgbFirst, HueRows().hsv, Hsv::kPixelBytes); }
ZV_KERNEL(ClrHsvToHub) { return RunToHub(ZV_KERNEL_IMAGE, rgbFirst, HueRows().hsv, Hsv::kPixelBytes); }
ZV_KERNEL(ClrHlsFromHub) { return RunFromHub(ZV_KERNEL_IMAGE, rgbFirst, HueRows().hls, Hls::kPixelBytes); }
ZV_KERNEL(ClrHsiFromHub) {
    return RunFromHub(ZV_KERNEL_IMAGE, rgbFirst, HueRows().hsi, Hsi::kPixelBytes, &hueTable.Get());
}
ZV_KERNEL(ClrHsiToHub) {
    return RunToHub(ZV_KERNEL_IMAGE, rgbFirst, HueRows().hsi, Hsi::kPixelBytes, angleTable.Get().data());
}

ZV_KERNEL(ClrHlsToHub) {
    const KernelImage image = ZV_KERNEL_IMAGE;
    if (!image.CanReadSource(Hls::kPixelBytes) || !image.CanWriteDestination(kHubBytes)) return ERR_INVALID_PARAMETER;
    const HueRowTable& rows = HueRows();
    const ClrRow row = rows.hls.toHub[rgbFirst != 0 ? 1 : 0];
    int32_t result = CLR_SUCCESS;
    image.EachRow(Hls::kPixelBytes, kHubBytes, [&](const uint8_t* from, uint8_t* to) {
        if (result != CLR_SUCCESS) return;
        const int32_t good = rows.hlsPixelsBeforeError(from, width);
        row(from, to, good, nullptr);
        if (good < width) result = ERR_BAD_TAG;
    });
    return result;
}

}  // namespace zv
