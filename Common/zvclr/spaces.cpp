#include "Common/zvclr/frame.h"
#include "zvspaces.h"

namespace zv {

namespace {

struct Space {
    int32_t id;
    int32_t bits;
    int32_t widthMultiple;
    int32_t heightMultiple;
};

constexpr Space kSpaces[] = {
#define ZV_ROW(id, name, bits, widthMultiple, heightMultiple, bytes, description)                                      \
    {id, bits, widthMultiple, heightMultiple},
    ZVCLR_SPACES(ZV_ROW)
#undef ZV_ROW
};
static_assert(sizeof kSpaces / sizeof *kSpaces == ZVCLR_SPACE_COUNT);

const Space* FindSpace(int32_t id) noexcept {
    for (const Space& space : kSpaces) {
        if (space.id == id) return &space;
    }
    return nullptr;
}

}  // namespace

int32_t ClrBitsPerPixel(int32_t space) noexcept {
    const Space* found = FindSpace(space);
    return found == nullptr ? int32_t{ERR_COLORSPACE_UNSUPPORTED} : found->bits;
}

bool ClrIsSpace(int32_t space) noexcept { return FindSpace(space) != nullptr; }

RegionSize ClrRowBytes(int32_t space, int32_t width) noexcept {
    const auto bits = static_cast<uint16_t>(static_cast<uint32_t>(ClrBitsPerPixel(space)));
    const RegionSize total = RegionSize(bits) * width + 7;
    return total.Fits() ? RegionSize(total.Bytes() / 8) : RegionSize::None();
}

RegionSize PaddedRows(int32_t space, int32_t width, int32_t height, int32_t rowExtra) noexcept {
    return (ClrRowBytes(space, width) + ClampExtra(rowExtra)) * height;
}

RegionSize PaddedRowsButLast(int32_t space, int32_t width, int32_t height, int32_t rowExtra) noexcept {
    return ClrRowBytes(space, width) * height + RegionSize(ClampExtra(rowExtra)) * (int64_t{height} - 1);
}

int32_t ClrCheckGeometry(int32_t space, int32_t width, int32_t height, const void* buffer) noexcept {
    const Space* found = FindSpace(space);
    if (found == nullptr) return ERR_COLORSPACE_UNSUPPORTED;
    if (buffer == nullptr || width < 1 || height < 1) return ERR_INVALID_PARAMETER;
    if (width % found->widthMultiple == 0 && height % found->heightMultiple == 0) return CLR_SUCCESS;
    return space == CLRSPACE_YVU9 ? ERR_YVU9_SIZE : ERR_WIDTH_MULTIPLE;
}

}  // namespace zv
