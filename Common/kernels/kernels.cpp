#include "Common/kernels/kernels.h"

namespace zv {

namespace {

// Kernels of another form, in the common one.

ZV_KERNEL(CmykFromHubDefault) {
    return ClrCmykFromHub(source, destination, width, height, sourceRowExtra, destinationRowExtra, kDefaultGcrLevel,
                          rgbFirst, reach);
}
ZV_KERNEL(CmykToHubDefault) {
    return ClrCmykToHub(source, destination, width, height, sourceRowExtra, destinationRowExtra, kDefaultGcrLevel,
                        rgbFirst, reach);
}
ZV_KERNEL(Yvu9FromHubPacked) {
    static_cast<void>(destinationRowExtra);
    return ClrYvu9FromHub(source, destination, width, height, sourceRowExtra, rgbFirst, reach);
}
ZV_KERNEL(Yvu9ToHubPacked) {
    static_cast<void>(sourceRowExtra);
    return ClrYvu9ToHub(source, destination, width, height, destinationRowExtra, rgbFirst, reach);
}
ZV_KERNEL(YcckFromHubAlone) {
    static_cast<void>(rgbFirst);
    return ClrYcckFromHub(nullptr, source, destination, width, height, sourceRowExtra, destinationRowExtra);
}
ZV_KERNEL(YcckToHubAlone) {
    return ClrYcckToHub(nullptr, source, destination, width, height, sourceRowExtra, destinationRowExtra, rgbFirst);
}

}  // namespace

const ClrKernelPair kKernelPairs[kKernelPairCount] = {
    {CLRSPACE_YUV, "ClrYuvFromHub", ClrYuvFromHub, "ClrYuvToHub", ClrYuvToHub},
    {CLRSPACE_CMYK, "ClrCmykFromHub", CmykFromHubDefault, "ClrCmykToHub", CmykToHubDefault},
    {CLRSPACE_HSV, "ClrHsvFromHub", ClrHsvFromHub, "ClrHsvToHub", ClrHsvToHub},
    {CLRSPACE_HLS, "ClrHlsFromHub", ClrHlsFromHub, "ClrHlsToHub", ClrHlsToHub},
    {CLRSPACE_YIQ, "ClrYiqFromHub", ClrYiqFromHub, "ClrYiqToHub", ClrYiqToHub},
    {CLRSPACE_CMY, "ClrCmyFromHub", ClrCmyFromHub, "ClrCmyToHub", ClrCmyToHub},
    {CLRSPACE_LAB, "ClrLabFromHub", ClrLabFromHub, "ClrLabToHub", ClrLabToHub},
    {CLRSPACE_XYZ, "ClrXyzFromHub", ClrXyzFromHub, "ClrXyzToHub", ClrXyzToHub},
    {CLRSPACE_YUY2, "ClrYuy2FromHub", ClrYuy2FromHub, "ClrYuy2ToHub", ClrYuy2ToHub},
    {CLRSPACE_YVU9, "ClrYvu9FromHub", Yvu9FromHubPacked, "ClrYvu9ToHub", Yvu9ToHubPacked},
    {CLRSPACE_YCCK, "ClrYcckFromHub", YcckFromHubAlone, "ClrYcckToHub", YcckToHubAlone},
    {CLRSPACE_Y41P, "ClrY41pFromHub", ClrY41pFromHub, "ClrY41pToHub", ClrY41pToHub},
    {CLRSPACE_UYVY, "ClrUyvyFromHub", ClrUyvyFromHub, "ClrUyvyToHub", ClrUyvyToHub},
    {CLRSPACE_YCBCR, "ClrYcbcrFromHub", ClrYcbcrFromHub, "ClrYcbcrToHub", ClrYcbcrToHub},
    {CLRSPACE_HSI, "ClrHsiFromHub", ClrHsiFromHub, "ClrHsiToHub", ClrHsiToHub},
    {CLRSPACE_RGB444, "ClrRgb444FromHub", ClrRgb444FromHub, "ClrRgb444ToHub", ClrRgb444ToHub},
};

const ClrKernelPair* FindKernelPair(int32_t space) noexcept {
    for (const ClrKernelPair& pair : kKernelPairs) {
        if (pair.space == space) return &pair;
    }
    return nullptr;
}

}  // namespace zv
