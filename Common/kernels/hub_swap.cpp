#include "Common/kernels/kernels.h"
#include "Common/kernels/row_frame.h"

namespace zv {

int32_t ClrHubSwap(const uint8_t* source, uint8_t* destination, int32_t width, int32_t height, int32_t sourceRowExtra,
                   int32_t destinationRowExtra, ClrReach reach) noexcept {
    const KernelImage image = ZV_KERNEL_IMAGE;
    if (!image.CanReadSource(kHubBytes) || !image.CanWriteDestination(kHubBytes)) return ERR_INVALID_PARAMETER;
    const ClrRow row = ByteRows().swap;
    image.EachRow(kHubBytes, kHubBytes, [&](const uint8_t* from, uint8_t* to) { row(from, to, width, nullptr); });
    return CLR_SUCCESS;
}

}  // namespace zv
