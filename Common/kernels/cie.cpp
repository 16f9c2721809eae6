#include "Common/kernels/cie.h"

#include <bit>

#include "Common/kernels/byte_cells.h"
#include "Common/kernels/kernels.h"
#include "Common/kernels/lazy_table.h"
#include "Common/kernels/plain_rows.h"
#include "Common/kernels/row_frame.h"

namespace zv {

namespace {

static_assert(kLabGammaPercent / 100.0 == lab::kEncodingPower);

/// Of each cell the threshold that lies nearest to its middle.
void FillByteCells(LabByteCells& cells) noexcept {
    float thresholds[255];
    for (size_t i = 0; i < 255; ++i) {
        thresholds[i] = static_cast<float>(std::pow((static_cast<double>(i) + 0.5) / 255.0, 1.0 / lab::kEncodingPower));
    }
    uint32_t nearest = 0;
    for (int32_t cell = kFirstCell; cell <= kLastCell; ++cell) {
        const int32_t start = cell << kCellBits;
        const auto middle = std::bit_cast<float>(start + (1 << (kCellBits - 1)));
        while (nearest < 254 && thresholds[nearest + 1] - middle < middle - thresholds[nearest]) ++nearest;
        constexpr int32_t kOctave = (1 << 23) - 1;
        const int32_t distance = Clamp(std::bit_cast<int32_t>(thresholds[nearest]) - start, -kOctave, kOctave);
        cells.entries[cell - kFirstCell] = static_cast<uint32_t>(distance) << 8 | nearest;
    }
}

void FillLabTables(LabTables& tables) noexcept {
    for (size_t i = 0; i < 256; ++i) {
        const double light = lab::Linear(static_cast<uint8_t>(i));
        tables.linear[i] = light;
        const Sums adds[3] = {lab::XyzOfLinear(light, 0, 0), lab::XyzOfLinear(0, light, 0),
                              lab::XyzOfLinear(0, 0, light)};
        for (size_t c = 0; c < 3; ++c) {
            for (size_t k = 0; k < 3; ++k) tables.xyz[c][i][k] = static_cast<float>(adds[c][k]);
        }
    }
    FillByteCells(tables.cells);
    FillLabPowers(tables.cells.powers);
}
constinit LazyTable<LabTables, FillLabTables> labTables;

void FillLabRoots(LabRoots& roots) noexcept {
    uint16_t cubeRoot[4096];
    ClrBuildLabRoots(cubeRoot);
    for (int32_t i = 0; i < kLabSums; ++i) {
        roots.of[i] = static_cast<int16_t>(LabRootOf(cubeRoot, i) - kLabRootMiddle);
    }
}
constinit LazyTable<LabRoots, FillLabRoots> labRoots;

struct RecordLabEncoder {
    static constexpr int32_t kPixelBytes = 3;
    const ClrLabEncodeRecord& record;
    Pixel<3> FromRgb(Rgb pixel) const noexcept { return LabFromRgb(record, pixel); }
};

struct RecordLabDecoder {
    static constexpr int32_t kPixelBytes = 3;
    const ClrLabDecodeRecord& record;
    Rgb ToRgb(Pixel<3> pixel) const noexcept { return LabToRgb(record, pixel); }
};

}  // namespace

ZV_KERNEL(ClrXyzFromHub) { return RunFromHub(ZV_KERNEL_IMAGE, rgbFirst, XyzRows(), Xyz::kPixelBytes); }
ZV_KERNEL(ClrXyzToHub) { return RunToHub(ZV_KERNEL_IMAGE, rgbFirst, XyzRows(), Xyz::kPixelBytes); }
ZV_KERNEL(ClrLabFromHub) {
    return RunFromHub(ZV_KERNEL_IMAGE, rgbFirst, LabRows(), Lab::kPixelBytes, &labTables.Get());
}
ZV_KERNEL(ClrLabToHub) { return RunToHub(ZV_KERNEL_IMAGE, rgbFirst, LabRows(), Lab::kPixelBytes, &labTables.Get()); }

int32_t ClrLabParamsFromHub(const ClrLabEncodeRecord* record, const uint8_t* source, uint8_t* destination,
                            int32_t width, int32_t height, int32_t sourceRowExtra, int32_t destinationRowExtra,
                            int32_t rgbFirst) noexcept {
    if (record == nullptr || source == nullptr || destination == nullptr) return ERR_INVALID_PARAMETER;
    const KernelImage image(source, destination, width, height, sourceRowExtra, destinationRowExtra);
    if (!record->lanes.usable) {
        FromHubRows(image, rgbFirst, RecordLabEncoder{*record});
        return CLR_SUCCESS;
    }
    const ClrRow row = LabRecordRows().fromHub[rgbFirst != 0 ? 1 : 0];
    const LabEncodeContext context = {*record, labRoots.Get()};
    image.EachRow(kHubBytes, Lab::kPixelBytes,
                  [&](const uint8_t* from, uint8_t* to) { row(from, to, width, &context); });
    return CLR_SUCCESS;
}

int32_t ClrLabParamsToHub(const ClrLabDecodeRecord* record, const uint8_t* source, uint8_t* destination, int32_t width,
                          int32_t height, int32_t sourceRowExtra, int32_t destinationRowExtra,
                          int32_t rgbFirst) noexcept {
    if (record == nullptr || source == nullptr || destination == nullptr) return ERR_INVALID_PARAMETER;
    const KernelImage image(source, destination, width, height, sourceRowExtra, destinationRowExtra);
    if (!record->lanes.usable) {
        ToHubRows(image, rgbFirst, RecordLabDecoder{*record});
        return CLR_SUCCESS;
    }
    const ClrRow row = LabRecordRows().toHub[rgbFirst != 0 ? 1 : 0];
    const LabDecodeContext context = {*record, labTables.Get().cells};
    image.EachRow(Lab::kPixelBytes, kHubBytes,
                  [&](const uint8_t* from, uint8_t* to) { row(from, to, width, &context); });
    return CLR_SUCCESS;
}

}  // namespace zv
