// Converting by a stored transform, which works on a packed run of pixels.
#include "Common/Zvtrans/transform.h"
#include "Common/kernels/kernels.h"
#include "Common/zvclr/frame.h"
#include "Common/zvclr/records.h"
#include "host/host.h"
#include "host/memory.h"

namespace zv {

namespace {

int32_t PixelBytes(int32_t space) noexcept { return space == CLRSPACE_CMYK ? 4 : 3; }

/// Whether the image's rows are what the packing takes them for. Where they are not, nothing has probed such rows.
bool HasPixelBytes(int32_t space) noexcept { return ClrBitsPerPixel(space) == PixelBytes(space) * 8; }

int32_t Run(CmmTransform* transform, const uint8_t* source, uint8_t* destination, int64_t pixels) noexcept {
    if (transform == nullptr) return ERR_INVALID_PARAMETER;
    return CmmRunOwnTransform(source, destination, static_cast<uint32_t>(pixels), transform);
}

/// Whether the rows of a source already lie as packing would lay them, where a run reads each pixel before it writes
/// over it.
bool IsPacked(const ClrImage& i, int64_t pixels, int32_t inBytes, int32_t outBytes) noexcept {
    if (ClampExtra(i.sourceRowExtra) != 0) return false;
    return AreApart(i.source, pixels * inBytes, i.destination, pixels * outBytes) ||
           (i.destination <= i.source && outBytes <= inBytes);
}

int32_t Repack(const ClrHandle& converter, const ClrImage& i, CmmTransform* transform) noexcept {
    if (!HasPixelBytes(converter.sourceSpace) || !HasPixelBytes(converter.destinationSpace)) {
        return ERR_INVALID_PARAMETER;
    }
    if (i.height < 2) return Run(transform, i.source, i.destination, i.width);

    const int64_t pixels = int64_t{i.width} * i.height;
    const int32_t inBytes = PixelBytes(converter.sourceSpace), outBytes = PixelBytes(converter.destinationSpace);
    // Whether there is memory for a copy decides about the call, also where none is needed; untouched, it costs little.
    const HostBlock<uint8_t> packed(pixels * inBytes, __LINE__, kFrameSource);
    if (!packed) return ERR_NO_MEMORY;
    const uint8_t* rows = i.source;
    if (!IsPacked(i, pixels, inBytes, outBytes)) {
        ClrPackRows(i.source, packed.Data(), i.height, i.width, inBytes, i.sourceRowExtra);
        rows = packed.Data();
    }
    const int32_t result = Run(transform, rows, i.destination, pixels);
    ClrSpreadRows(i.destination, i.height, i.width, outBytes, i.destinationRowExtra);
    return result;
}

}  // namespace

void ClrPackRows(const uint8_t* source, uint8_t* buffer, int32_t height, int32_t width, int32_t pixelBytes,
                 int32_t sourceRowExtra) noexcept {
    const size_t rowBytes = static_cast<size_t>(width) * static_cast<size_t>(pixelBytes);
    const size_t pitch = rowBytes + static_cast<size_t>(ClampExtra(sourceRowExtra));
    for (int32_t row = 0; row < height; ++row) {
        HostCopy(buffer + static_cast<size_t>(row) * rowBytes, source + static_cast<size_t>(row) * pitch, rowBytes);
    }
}

int32_t ClrSpreadRows(uint8_t* destination, int32_t height, int32_t width, int32_t pixelBytes,
                      int32_t destinationRowExtra) noexcept {
    if (destination == nullptr) return ERR_INVALID_PARAMETER;
    const size_t rowBytes = static_cast<size_t>(width) * static_cast<size_t>(pixelBytes);
    if (height < 2 || destinationRowExtra < 2 || rowBytes % static_cast<size_t>(destinationRowExtra) == 0) {
        return CLR_SUCCESS;
    }
    const auto alignment = static_cast<size_t>(destinationRowExtra);
    const size_t pitch = rowBytes + (alignment - rowBytes % alignment);
    // From the last row back, so that no row is overwritten before it has moved, however far apart they come.
    for (auto row = static_cast<size_t>(height) - 1; row > 0; --row) {
        HostMove(destination + row * pitch, destination + row * rowBytes, rowBytes);
    }
    return CLR_SUCCESS;
}

int32_t ConvertByProfile(const ClrHandle& converter, const ClrImage& i) noexcept {
    if (converter.sourceSpace == CLRSPACE_YCCK) {
        return ClrYcckToHub(&converter, i.source, i.destination, i.width, i.height, i.sourceRowExtra,
                            i.destinationRowExtra, converter.destinationSpace == CLRSPACE_RGB ? 1 : 0);
    }
    if (converter.destinationSpace == CLRSPACE_YCCK) {
        return ClrYcckFromHub(&converter, i.source, i.destination, i.width, i.height, i.sourceRowExtra,
                              i.destinationRowExtra);
    }
    if (ClrSystemConverts(converter)) return ConvertBySystem(converter, i);
    return Repack(converter, i,
                  converter.activeMethod == CLRMETHOD_ICC ? converter.iccTransform : converter.customTransform);
}

}  // namespace zv
