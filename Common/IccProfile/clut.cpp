// The grid of "mAB " and "mBA ".
#include <algorithm>

#include "Common/IccProfile/lut_elements.h"

static_assert(sizeof(ClrIccClut) == 28 && offsetof(ClrIccClut, precision) == 16);
static_assert(offsetof(ClrIccClut, clutPad) == 17 && offsetof(ClrIccClut, data) == 20);

namespace zv {

namespace {

constexpr uint8_t kMostClutInputs = 16;

}  // namespace

uint64_t IccClutValueBytes(const uint8_t* block, uint8_t inputChannels, uint8_t outputChannels) noexcept {
    if (inputChannels > kMostClutInputs) return kIccTooLarge;
    uint64_t product = uint64_t{block[offsetof(ClrIccClut, precision)]} * outputChannels;
    for (uint8_t i = 0; i < inputChannels; ++i) product = std::min(product * block[i], kIccTooLarge);
    return product;
}

uint64_t IccClutSize(const uint8_t* block, uint8_t inputChannels, uint8_t outputChannels) noexcept {
    return IccRoundUp4(IccClutValueBytes(block, inputChannels, outputChannels) + kIccClutHead);
}

int32_t IccClutFromImage(uint8_t* destination, IccBytes block, uint8_t inputChannels, uint8_t outputChannels) noexcept {
    if (!block.Has(0, kIccClutHead)) return ERR_INVALID_PARAMETER;
    const uint64_t values = IccClutValueBytes(block.At(0), inputChannels, outputChannels);
    if (!block.Has(kIccClutHead, values)) return ERR_INVALID_PARAMETER;
    const uint64_t size = IccClutSize(block.At(0), inputChannels, outputChannels);
    ClrIccClut clut = {};
    HostCopy(clut.gridPoints, block.At(0), sizeof clut.gridPoints);
    clut.precision = *block.At(offsetof(ClrIccClut, precision));
    IccReverseCopy(clut.clutPad, block.At(offsetof(ClrIccClut, clutPad)), sizeof clut.clutPad);
    auto* data = static_cast<uint8_t*>(IccAllocZeroed(size - kIccClutHead, 1, __LINE__));
    if (data == nullptr) return ERR_FAILURE;
    // Padding that the block has is taken along.
    const uint64_t there = std::min(size, block.Size()) - kIccClutHead;
    HostCopy(data, block.At(kIccClutHead), there);
    int32_t result = CLR_SUCCESS;
    if (destination != nullptr) {
        if (clut.precision != 1) IccSwapCopy<uint16_t>(data, data, (size - kIccClutHead) / sizeof(uint16_t));
        clut.data = data;
        result = Zv_ConvertCLUTToBuffer(destination, &clut, clut.precision, size - kIccClutHead);
    }
    HostFree(data, __LINE__, kIccSource);
    return result;
}

int32_t IccClutToImage(uint8_t* destination, ClrIccClut* clut, uint8_t inputChannels, uint8_t outputChannels) noexcept {
    const uint64_t values = IccClutValueBytes(reinterpret_cast<const uint8_t*>(clut), inputChannels, outputChannels);
    if (clut->precision != 1) IccSwapCopy<uint16_t>(clut->data, clut->data, values / sizeof(uint16_t));
    // A precision that is refused here leaves the destination as it was.
    Zv_ConvertCLUTToBuffer(destination, clut, clut->precision, values);
    return CLR_SUCCESS;
}

}  // namespace zv

using namespace zv;

int32_t Zv_ConvertCLUTToBuffer(void* destination, const ClrIccClut* clut, int32_t precision, uint64_t length) {
    if (destination == nullptr || clut == nullptr || (precision != 1 && precision != 2)) return ERR_INVALID_PARAMETER;
    if (!IccReadable(clut->data, length)) return ERR_INVALID_PARAMETER;
    HostCopy(destination, clut, kIccClutHead);
    if (length != 0) HostCopy(static_cast<uint8_t*>(destination) + kIccClutHead, clut->data, length);
    return CLR_SUCCESS;
}
