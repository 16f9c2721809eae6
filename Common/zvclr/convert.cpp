#include "Common/kernels/kernels.h"
#include "Common/zvclr/frame.h"
#include "host/host.h"

namespace zv {

namespace {

int32_t GcrLevelOf(const ClrHandle& converter) noexcept {
    return converter.cmykParams != nullptr ? converter.cmykParams->gcrLevel : kDefaultGcrLevel;
}

/// Built-in method, source to hub: the converter's records go before the plain kernel.
int32_t BuiltinToHub(const ClrHandle& converter, const ClrImage& i) noexcept {
    if (!ClrIsHub(converter.destinationSpace)) return CLR_SUCCESS;
    const int32_t rgbFirst = converter.destinationSpace == CLRSPACE_RGB ? 1 : 0;
    switch (converter.sourceSpace) {
        case CLRSPACE_YUV:
            if (converter.yuvParams == nullptr) break;
            return ClrYuvParamsToHub(i.source, i.destination, i.width, i.height, i.sourceRowExtra,
                                     i.destinationRowExtra, converter.yuvParams, i.reach);
        case CLRSPACE_CMYK:
            return ClrCmykToHub(i.source, i.destination, i.width, i.height, i.sourceRowExtra, i.destinationRowExtra,
                                GcrLevelOf(converter), rgbFirst, i.reach);
        case CLRSPACE_LAB:
            if (converter.labDecode == nullptr) break;
            return ClrLabParamsToHub(converter.labDecode, i.source, i.destination, i.width, i.height, i.sourceRowExtra,
                                     i.destinationRowExtra, rgbFirst);
        case CLRSPACE_YCCK:
            return ClrYcckToHub(&converter, i.source, i.destination, i.width, i.height, i.sourceRowExtra,
                                i.destinationRowExtra, rgbFirst);
        case CLRSPACE_RGB444:
            return ClrRgb444ToHub(i.source, i.destination, i.width, i.height, i.sourceRowExtra, i.destinationRowExtra,
                                  0, i.reach);  // blue first on either hub
        default:
            break;
    }
    const ClrKernelPair* pair = FindKernelPair(converter.sourceSpace);
    if (pair == nullptr) return CLR_SUCCESS;
    return pair->toHub(i.source, i.destination, i.width, i.height, i.sourceRowExtra, i.destinationRowExtra, rgbFirst,
                       i.reach);
}

/// Built-in method, hub to destination.
int32_t BuiltinFromHub(const ClrHandle& converter, const ClrImage& i) noexcept {
    const int32_t rgbFirst = converter.sourceSpace == CLRSPACE_RGB ? 1 : 0;
    switch (converter.destinationSpace) {
        case CLRSPACE_RGB:
        case CLRSPACE_BGR:
            return ClrHubSwap(i.source, i.destination, i.width, i.height, i.sourceRowExtra, i.destinationRowExtra,
                              i.reach);
        case CLRSPACE_CMYK:
            return ClrCmykFromHub(i.source, i.destination, i.width, i.height, i.sourceRowExtra, i.destinationRowExtra,
                                  GcrLevelOf(converter), rgbFirst, i.reach);
        case CLRSPACE_LAB:
            if (converter.labEncode == nullptr) break;
            return ClrLabParamsFromHub(converter.labEncode, i.source, i.destination, i.width, i.height,
                                       i.sourceRowExtra, i.destinationRowExtra, 0);  // blue first on either hub
        case CLRSPACE_YCCK:
            return ClrYcckFromHub(&converter, i.source, i.destination, i.width, i.height, i.sourceRowExtra,
                                  i.destinationRowExtra);
        default:
            break;
    }
    const ClrKernelPair* pair = FindKernelPair(converter.destinationSpace);
    if (pair == nullptr) return CLR_SUCCESS;
    return pair->fromHub(i.source, i.destination, i.width, i.height, i.sourceRowExtra, i.destinationRowExtra, rgbFirst,
                         i.reach);
}

/// The emulation methods. A pair without a table converts to nothing, and nobody hears what a kernel said.
int32_t ConvertByTable(const ClrHandle& converter, const EmulationTable* table, const ClrImage& i) noexcept {
    const int32_t from = converter.sourceSpace, to = converter.destinationSpace;
    if (ClrIsHub(to)) {
        const int32_t rgbFirst = to == CLRSPACE_RGB ? 1 : 0;
        if (from == CLRSPACE_CMYK) {
            ClrEmulateCmykToHub(i.source, table, i.width, i.height, i.sourceRowExtra, i.destinationRowExtra,
                                i.destination, rgbFirst, i.reach);
        } else if (from == CLRSPACE_LAB) {
            ClrEmulateLabToHub(i.source, table, i.width, i.height, i.sourceRowExtra, i.destinationRowExtra,
                               i.destination, rgbFirst, i.reach);
        }
    } else if (to == CLRSPACE_LAB) {
        ClrEmulateHubToLab(i.source, table, i.width, i.height, i.sourceRowExtra, i.destinationRowExtra, i.destination,
                           from == CLRSPACE_RGB ? 1 : 0, i.reach);
    } else if (to == CLRSPACE_CMYK) {
        // No table leads to the inks; the built-in kernel reads blue first on either hub.
        ClrCmykFromHub(i.source, i.destination, i.width, i.height, i.sourceRowExtra, i.destinationRowExtra,
                       GcrLevelOf(converter), 0, i.reach);
    }
    return CLR_SUCCESS;
}

int32_t ConvertByMethod(const ClrHandle& converter, const ClrImage& image) noexcept {
    switch (converter.activeMethod) {
        case CLRMETHOD_BUILTIN:
            return ClrIsHub(converter.sourceSpace) ? BuiltinFromHub(converter, image) : BuiltinToHub(converter, image);
        case CLRMETHOD_ICC:
        case CLRMETHOD_CUSTOM_ICC:
            return ConvertByProfile(converter, image);
        case CLRMETHOD_EMULATION:
            return ConvertByTable(converter, converter.builtinEmulationTable, image);
        case CLRMETHOD_CUSTOM_EMULATION:
            return ConvertByTable(converter, converter.customEmulationTable, image);
        default:
            return ERR_METHOD_UNAVAILABLE;
    }
}

}  // namespace

int32_t Convert(const ClrHandle* converter, ClrImage image) noexcept {
    if (image.source == nullptr || converter == nullptr || image.destination == nullptr || image.width < 1 ||
        image.height < 1 || image.sourceRowExtra < 0 || image.destinationRowExtra < 0) {
        return ERR_INVALID_PARAMETER;
    }
    // A live converter is the library's own memory and needs no probe.
    const bool live = IsLive(converter);
    if (!live && IsBadReadPtr(converter, kConverterSize)) return ERR_BAD_POINTER;
    ClrSpacePair spaces{};
    if (!ReadSpaces(converter, live, &spaces)) return ERR_BAD_POINTER;
    if (!ProbeImage(&image, PaddedRowsButLast(spaces.source, image.width, image.height, image.sourceRowExtra),
                    PaddedRowsButLast(spaces.destination, image.width, image.height, image.destinationRowExtra))) {
        return ERR_BAD_POINTER;
    }
    if (!live) return ERR_INVALID_HANDLE;

    const bool sameSpace = spaces.source == spaces.destination;
    if (sameSpace && image.source == image.destination && image.sourceRowExtra != image.destinationRowExtra) {
        return ERR_SAME_BUFFER;
    }
    if (sameSpace && converter->activeMethod != CLRMETHOD_CUSTOM_ICC) {
        CopyRows(image, static_cast<size_t>(ClrRowBytes(spaces.source, image.width).Bytes()));
        return CLR_SUCCESS;
    }
    if (converter->route == kRouteThroughHub) {
        // Whatever it says, 1 goes to the caller.
        ConvertDirect(spaces.source, spaces.destination, image);
        return CLR_SUCCESS;
    }
    return ConvertByMethod(*converter, image);
}

bool ProbeImage(ClrImage* image, RegionSize source, RegionSize destination) noexcept {
    if (!CanRead(image->source, source, image->reach.readable) ||
        !CanWrite(image->destination, destination, image->reach.writable)) {
        return false;
    }
    image->reach = image->reach.With(source, destination);
    return true;
}

void CopyRows(const ClrImage& image, size_t rowBytes) noexcept {
    if (image.sourceRowExtra < 2 && image.destinationRowExtra < 2) {
        HostMove(image.destination, image.source, rowBytes * static_cast<size_t>(image.height));
        return;
    }
    const uint8_t* from = image.source;
    uint8_t* to = image.destination;
    for (int32_t row = 0; row < image.height; ++row) {
        HostMove(to, from, rowBytes);
        from += ClampExtra(image.sourceRowExtra);
        to += ClampExtra(image.destinationRowExtra);
    }
}

}  // namespace zv

int32_t Zv_ClrConvert(const ClrHandle* converter, const void* source, void* destination, int32_t width, int32_t height,
                      int32_t sourceRowExtra, int32_t destinationRowExtra) {
    return zv::Convert(converter, {static_cast<const uint8_t*>(source), static_cast<uint8_t*>(destination), width,
                                   height, sourceRowExtra, destinationRowExtra});
}
