#include "Common/Zvtrans/transform.h"
#include "Common/converter.h"

namespace zv {

int32_t CmmRunTransform(const void* input, void* output, uint32_t pixelCount, CmmTransform* transform) noexcept {
    if (IsBadWritePtr(transform, sizeof *transform)) return ERR_INVALID_PARAMETER;
    transform->inputCount = pixelCount;
    transform->outputCount = pixelCount;
    return transform->run(transform, input, output, pixelCount);
}

}  // namespace zv
