#include <algorithm>

#include "Common/kernels/kernels.h"
#include "Common/kernels/subsampled.h"
#include "Common/zvclr/frame.h"
#include "Common/zvclr/records.h"
#include "host/host.h"
#include "host/memory.h"

namespace zv {

namespace {

int32_t Run(const ClrKernel& kernel, const ClrImage& i, int32_t rgbFirst) noexcept {
    return kernel(i.source, i.destination, i.width, i.height, i.sourceRowExtra, i.destinationRowExtra, rgbFirst,
                  i.reach);
}

/// The two-byte space asks for three bytes a pixel of its image and for half the hub image, on either hop.
bool Rgb444HopAllowed(const ClrImage& toHub) noexcept {
    const RegionSize row = RegionSize(toHub.width) * kHubBytes + ClampExtra(toHub.sourceRowExtra);
    const RegionSize hub = Rgb444Region(toHub.width, toHub.height, ClampExtra(toHub.destinationRowExtra));
    return CanRead(toHub.source, row * toHub.height, toHub.reach.readable) &&
           CanWrite(toHub.destination, hub, toHub.reach.writable);
}

int32_t HopToHub(int32_t space, const ClrImage& i) noexcept {
    if (space == CLRSPACE_RGB444) {
        if (!Rgb444HopAllowed(i)) return ERR_INVALID_PARAMETER;
        ToHubByRows(KernelImage(i.source, i.destination, i.width, i.height, i.sourceRowExtra, i.destinationRowExtra), 1,
                    ByteRows().rgb444, Rgb444::kPixelBytes);
        return CLR_SUCCESS;
    }
    const int32_t result = Run(FindKernelPair(space)->toHub, i, 1);
    return space == CLRSPACE_YCCK ? int32_t{CLR_SUCCESS} : result;
}

/// Through a temporary image of CLRSPACE_RGB. It is written with the padding of the destination and read with that of
/// the source, so it has room for the wider of the two; what no row fills reads as zero.
int32_t ConvertThroughHub(int32_t sourceSpace, int32_t destinationSpace, const ClrImage& image) noexcept {
    const int32_t extra = std::max(ClampExtra(image.sourceRowExtra), ClampExtra(image.destinationRowExtra));
    const int64_t bytes = (int64_t{image.width} * kHubBytes + extra) * image.height;
    const HostBlock<uint8_t> hub(bytes, __LINE__, kFrameSource);
    if (!hub) return ERR_NO_MEMORY;
    if (extra > 0 || sourceSpace == CLRSPACE_YCCK) HostFill(hub.Data(), 0, static_cast<size_t>(bytes));

    ClrImage toHub = image, fromHub = image;
    toHub.destination = hub.Data();
    toHub.reach.writable = bytes;
    fromHub.source = hub.Data();
    fromHub.reach.readable = bytes;
    const int32_t first = HopToHub(sourceSpace, toHub);
    if (first != CLR_SUCCESS) return first;
    if (destinationSpace == CLRSPACE_RGB444) {
        // The packed pixels go nowhere: the destination stays as it was, and only the checks are left.
        return Rgb444HopAllowed(toHub) ? CLR_SUCCESS : ERR_INVALID_PARAMETER;
    }
    return Run(FindKernelPair(destinationSpace)->fromHub, fromHub, 1);
}

int32_t ConvertPair(int32_t sourceSpace, int32_t destinationSpace, const ClrImage& i) noexcept {
    const bool fromHub = ClrIsHub(sourceSpace);
    const bool toHub = ClrIsHub(destinationSpace);
    if (fromHub && toHub) {
        return ClrHubSwap(i.source, i.destination, i.width, i.height, i.sourceRowExtra, i.destinationRowExtra, i.reach);
    }
    if (!fromHub && !toHub) return ConvertThroughHub(sourceSpace, destinationSpace, i);

    const int32_t space = fromHub ? destinationSpace : sourceSpace;
    const int32_t rgbFirst = (fromHub ? sourceSpace : destinationSpace) == CLRSPACE_RGB ? 1 : 0;
    const ClrKernelPair* pair = FindKernelPair(space);
    const int32_t result = Run(fromHub ? pair->fromHub : pair->toHub, i, rgbFirst);
    return space == CLRSPACE_YCCK ? int32_t{CLR_SUCCESS} : result;
}

}  // namespace

int32_t ConvertDirect(int32_t sourceSpace, int32_t destinationSpace, ClrImage image) noexcept {
    if (image.source == nullptr || image.destination == nullptr) return ERR_INVALID_PARAMETER;
    const int32_t sourceResult = ClrCheckGeometry(sourceSpace, image.width, image.height, image.source);
    if (sourceResult != CLR_SUCCESS) return sourceResult;
    const int32_t destinationResult = ClrCheckGeometry(destinationSpace, image.width, image.height, image.destination);
    if (destinationResult != CLR_SUCCESS) return destinationResult;
    if (!ProbeImage(&image, PaddedRows(sourceSpace, image.width, image.height, image.sourceRowExtra),
                    PaddedRows(destinationSpace, image.width, image.height, image.destinationRowExtra))) {
        return ERR_BAD_POINTER;
    }
    if (sourceSpace == destinationSpace) {
        if (image.source == image.destination && image.sourceRowExtra == image.destinationRowExtra) {
            return ERR_SAME_BUFFER;
        }
        const int64_t bits = ClrBitsPerPixel(sourceSpace);
        CopyRows(image, static_cast<size_t>(bits * image.width / 8));  // rounded down here
        return CLR_SUCCESS;
    }
    return ConvertPair(sourceSpace, destinationSpace, image);
}

}  // namespace zv

int32_t Zv_ClrConvertDirect(int32_t sourceSpace, int32_t destinationSpace, const void* source, void* destination,
                            int32_t width, int32_t height, int32_t sourceRowExtra, int32_t destinationRowExtra) {
    return zv::ConvertDirect(sourceSpace, destinationSpace,
                             {static_cast<const uint8_t*>(source), static_cast<uint8_t*>(destination), width, height,
                              sourceRowExtra, destinationRowExtra});
}
