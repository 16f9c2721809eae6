#include "Common/kernels/cie.h"

#include "Common/kernels/kernels.h"
#include "Common/kernels/lazy_table.h"
#include "Common/kernels/row_frame.h"

namespace zv {

namespace {

using LinearTable = std::array<double, 256>;

/// Linear light of every byte: three powers of six saved for each pixel.
constinit LazyTable<LinearTable> linearTable([](LinearTable& table) noexcept {
    for (size_t i = 0; i < table.size(); ++i) table[i] = lab::Linear(static_cast<uint8_t>(i));
});

class FastLab : public Lab {
public:
    Pixel<3> FromRgb(Rgb p) const noexcept { return Stored(lab::FromLinear(linear_[p.r], linear_[p.g], linear_[p.b])); }

private:
    const LinearTable& linear_ = linearTable.Get();
};

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

ZV_KERNEL(ClrXyzFromHub) { return RunFromHub(ZV_KERNEL_IMAGE, rgbFirst, Xyz{}); }
ZV_KERNEL(ClrXyzToHub) { return RunToHub(ZV_KERNEL_IMAGE, rgbFirst, Xyz{}); }
ZV_KERNEL(ClrLabFromHub) { return RunFromHub(ZV_KERNEL_IMAGE, rgbFirst, FastLab{}); }
ZV_KERNEL(ClrLabToHub) { return RunToHub(ZV_KERNEL_IMAGE, rgbFirst, Lab{}); }

int32_t ClrLabParamsFromHub(const ClrLabEncodeRecord* record, const uint8_t* source, uint8_t* destination,
                            int32_t width, int32_t height, int32_t sourceRowExtra, int32_t destinationRowExtra,
                            int32_t rgbFirst) noexcept {
    if (record == nullptr || source == nullptr || destination == nullptr) return ERR_INVALID_PARAMETER;
    FromHubRows(ZV_KERNEL_IMAGE, rgbFirst, RecordLabEncoder{*record});
    return CLR_SUCCESS;
}

int32_t ClrLabParamsToHub(const ClrLabDecodeRecord* record, const uint8_t* source, uint8_t* destination, int32_t width,
                          int32_t height, int32_t sourceRowExtra, int32_t destinationRowExtra,
                          int32_t rgbFirst) noexcept {
    if (record == nullptr || source == nullptr || destination == nullptr) return ERR_INVALID_PARAMETER;
    ToHubRows(ZV_KERNEL_IMAGE, rgbFirst, RecordLabDecoder{*record});
    return CLR_SUCCESS;
}

}  // namespace zv
