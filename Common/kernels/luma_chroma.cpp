#include "Common/kernels/luma_chroma.h"

#include "Common/kernels/kernels.h"
#include "Common/kernels/row_frame.h"

namespace zv {

ZV_KERNEL(ClrYuvFromHub) { return RunFromHub(ZV_KERNEL_IMAGE, rgbFirst, LumaChromaRows().yuv, Yuv::kPixelBytes); }
ZV_KERNEL(ClrYuvToHub) { return RunToHub(ZV_KERNEL_IMAGE, rgbFirst, LumaChromaRows().yuv, Yuv::kPixelBytes); }
ZV_KERNEL(ClrYiqFromHub) { return RunFromHub(ZV_KERNEL_IMAGE, rgbFirst, LumaChromaRows().yiq, Yiq::kPixelBytes); }
ZV_KERNEL(ClrYiqToHub) { return RunToHub(ZV_KERNEL_IMAGE, rgbFirst, LumaChromaRows().yiq, Yiq::kPixelBytes); }
ZV_KERNEL(ClrYcbcrFromHub) { return RunFromHub(ZV_KERNEL_IMAGE, rgbFirst, LumaChromaRows().ycbcr, Ycbcr::kPixelBytes); }
ZV_KERNEL(ClrYcbcrToHub) { return RunToHub(ZV_KERNEL_IMAGE, rgbFirst, LumaChromaRows().ycbcr, Ycbcr::kPixelBytes); }

}  // namespace zv
