#include "Common/zvclr/frame.h"
#include "zvspaces.h"

namespace zv {

int32_t ClrBitsPerPixel(int32_t space) noexcept {
    switch (space) {
#define ZV_CASE(id, name, bits, widthMultiple, heightMultiple, bytes, description)                                     \
    case id:                                                                                                           \
        return bits;
        ZVCLR_SPACES(ZV_CASE)
#undef ZV_CASE
        default:
            return ERR_COLORSPACE_UNSUPPORTED;
    }
}

bool ClrIsSpace(int32_t space) noexcept { return ClrBitsPerPixel(space) > 0; }

RegionSize ClrRowBytes(int32_t space, int32_t width) noexcept {
    const auto bits = static_cast<uint16_t>(static_cast<uint32_t>(ClrBitsPerPixel(space)));
    const RegionSize total = RegionSize(bits) * width + 7;
    return total.Fits() ? RegionSize(total.Bytes() / 8) : RegionSize::None();
}

int32_t ClrCheckGeometry(int32_t space, int32_t width, int32_t height, const void* buffer) noexcept {
    if (!ClrIsSpace(space)) return ERR_COLORSPACE_UNSUPPORTED;
    if (buffer == nullptr || width < 1 || height < 1) return ERR_INVALID_PARAMETER;
    int32_t widthMultiple = 1, heightMultiple = 1;
    switch (space) {
#define ZV_CASE(id, name, bits, widthValue, heightValue, bytes, description)                                           \
    case id:                                                                                                           \
        widthMultiple = widthValue;                                                                                    \
        heightMultiple = heightValue;                                                                                  \
        break;
        ZVCLR_SPACES(ZV_CASE)
#undef ZV_CASE
        default:
            break;
    }
    // The planar space, which asks for both, has a code of its own.
    const int32_t code = heightMultiple > 1 ? ERR_YVU9_SIZE : ERR_WIDTH_MULTIPLE;
    return width % widthMultiple != 0 || height % heightMultiple != 0 ? code : CLR_SUCCESS;
}

}  // namespace zv
