#include "Common/kernels/luma_chroma.h"

#include "Common/kernels/kernels.h"
#include "Common/kernels/row_frame.h"

namespace zv {

namespace {

/// A decoding step of one byte as a table.
template <int32_t (*kStep)(uint8_t)>
constexpr auto kStepTable = [] {
    std::array<int16_t, 256> table{};
    for (size_t i = 0; i < 256; ++i) table[i] = static_cast<int16_t>(kStep(static_cast<uint8_t>(i)));
    return table;
}();

struct FastYuv : Yuv {
    static Rgb ToRgb(Pixel<3> p) noexcept { return Decode(p[0], kStepTable<DecodeU>[p[1]], kStepTable<DecodeV>[p[2]]); }
};

struct FastYiq : Yiq {
    static Rgb ToRgb(Pixel<3> p) noexcept {
        return Decode(kStepTable<DecodeY>[p[0]], kStepTable<DecodeI>[p[1]], kStepTable<DecodeQ>[p[2]]);
    }
};

}  // namespace

ZV_KERNEL(ClrYuvFromHub) { return RunFromHub(ZV_KERNEL_IMAGE, rgbFirst, FastYuv{}); }
ZV_KERNEL(ClrYuvToHub) { return RunToHub(ZV_KERNEL_IMAGE, rgbFirst, FastYuv{}); }
ZV_KERNEL(ClrYiqFromHub) { return RunFromHub(ZV_KERNEL_IMAGE, rgbFirst, FastYiq{}); }
ZV_KERNEL(ClrYiqToHub) { return RunToHub(ZV_KERNEL_IMAGE, rgbFirst, FastYiq{}); }
ZV_KERNEL(ClrYcbcrFromHub) { return RunFromHub(ZV_KERNEL_IMAGE, rgbFirst, Ycbcr{}); }
ZV_KERNEL(ClrYcbcrToHub) { return RunToHub(ZV_KERNEL_IMAGE, rgbFirst, Ycbcr{}); }

}  // namespace zv
