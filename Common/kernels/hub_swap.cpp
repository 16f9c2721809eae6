#include "Common/kernels/kernels.h"
#include "Common/kernels/row_frame.h"

namespace zv {

namespace {

struct SwapOrder {
    static constexpr int32_t kPixelBytes = kHubBytes;
    static constexpr Pixel<3> FromRgb(Rgb p) noexcept { return {p.b, p.g, p.r}; }
};

}  // namespace

int32_t ClrHubSwap(const uint8_t* source, uint8_t* destination, int32_t width, int32_t height, int32_t sourceRowExtra,
                   int32_t destinationRowExtra) noexcept {
    return RunFromHub(ZV_KERNEL_IMAGE, 1, SwapOrder{});
}

}  // namespace zv
