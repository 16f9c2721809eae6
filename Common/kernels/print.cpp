#include "Common/kernels/print.h"

#include <cstddef>
#include <cstring>

#include "Common/kernels/kernels.h"
#include "Common/kernels/plain_rows.h"
#include "Common/kernels/row_frame.h"
#include "host/memory.h"

namespace zv {

namespace {

constexpr ZvChar kSource[] = ZV_WIDE("Common\\kernels");

struct WholeYcckTables : ClrYcckTables {
    constexpr WholeYcckTables() noexcept : ClrYcckTables{} {
        ClrFillYcckRange(*this);
        ClrFillYcckDecoding(*this);
        ClrFillYcckEncoding(*this);
    }
};

constinit const WholeYcckTables processTables;

// The rows know what the process's tables hold. A caller's own may hold anything.

/// From one member up to another, or to the end.
bool AreUsual(const ClrYcckTables& own, size_t first, size_t end) noexcept {
    const auto bytes = [](const ClrYcckTables& tables) { return reinterpret_cast<const uint8_t*>(&tables); };
    return &own == &processTables || std::memcmp(bytes(own) + first, bytes(processTables) + first, end - first) == 0;
}
bool EncodesAsUsual(const ClrYcckTables& own) noexcept {
    return AreUsual(own, offsetof(ClrYcckTables, rToY), offsetof(ClrYcckTables, crToR));
}
bool DecodesAsUsual(const ClrYcckTables& own) noexcept {
    return own.rangeLimit == own.rangeBytes + (processTables.rangeLimit - processTables.rangeBytes) &&
           AreUsual(own, offsetof(ClrYcckTables, rangeBytes), offsetof(ClrYcckTables, rToY)) &&
           AreUsual(own, offsetof(ClrYcckTables, crToR), sizeof(ClrYcckTables));
}

/// All rows, by `usual` where the tables are, else pixel by pixel through map(Pixel).
template <int32_t kIn, int32_t kOut, class Map, class Store>
void RunYcckRows(const KernelImage& image, bool isUsual, ClrRow usual, const Map& map, const Store& store) noexcept {
    image.EachRow(kIn, kOut, [&](const uint8_t* from, uint8_t* to) {
        if (isUsual) {
            usual(from, to, image.width, nullptr);
        } else {
            MapRow<kIn, kOut>(from, to, image.width, LoadPixel<kIn>, map, store);
        }
    });
}

/// A packed pixel buffer of the whole image.
class PackedBuffer : public HostBlock<uint8_t> {
public:
    PackedBuffer(int32_t width, int32_t height, int32_t pixelBytes) noexcept
        : HostBlock(int64_t{width} * pixelBytes <= INT32_MAX ? int64_t{width} * pixelBytes * height : -1, __LINE__,
                    kSource) {}
};

/// The image as it is, or read from a copy in `buffer` where its two sides overlap: a whole image is read before
/// anything is written.
KernelImage ReadFirst(const KernelImage& image, int32_t sourceBytes, int32_t destinationBytes,
                      const PackedBuffer& buffer) noexcept {
    if (AreApart(image.source, image.Region(sourceBytes, image.sourceExtra), image.destination,
                 image.Region(destinationBytes, image.destinationExtra))) {
        return image;
    }
    const size_t rowBytes = static_cast<size_t>(image.width) * static_cast<size_t>(sourceBytes);
    KernelImage(image.source, buffer.Data(), image.width, image.height, image.sourceExtra, 0)
        .EachRow(sourceBytes, sourceBytes, [&](const uint8_t* from, uint8_t* to) { HostCopy(to, from, rowBytes); });
    return {buffer.Data(), image.destination, image.width, image.height, 0, image.destinationExtra};
}

int32_t RunIccTransform(const ClrHandle* converter, const uint8_t* input, uint8_t* output, int32_t width,
                        int32_t height) noexcept {
    if (converter->iccTransform == nullptr) return ERR_INVALID_PARAMETER;
    return CmmRunOwnTransform(input, output, static_cast<uint32_t>(width) * static_cast<uint32_t>(height),
                              converter->iccTransform);
}

}  // namespace

constinit const ClrYcckTables& ClrGlobalYcckTables = processTables;

ZV_KERNEL(ClrCmyFromHub) { return RunFromHub(ZV_KERNEL_IMAGE, rgbFirst, ByteRows().cmy, Cmy::kPixelBytes); }
ZV_KERNEL(ClrCmyToHub) { return RunToHub(ZV_KERNEL_IMAGE, rgbFirst, ByteRows().cmy, Cmy::kPixelBytes); }

int32_t ClrCmykFromHub(const uint8_t* source, uint8_t* destination, int32_t width, int32_t height,
                       int32_t sourceRowExtra, int32_t destinationRowExtra, int32_t gcrLevel, int32_t rgbFirst,
                       ClrReach reach) noexcept {
    const Cmyk codec(gcrLevel);
    return RunFromHub(ZV_KERNEL_IMAGE, rgbFirst, PrintRows().cmyk, Cmyk::kPixelBytes, &codec);
}

int32_t ClrCmykToHub(const uint8_t* source, uint8_t* destination, int32_t width, int32_t height, int32_t sourceRowExtra,
                     int32_t destinationRowExtra, int32_t gcrLevel, int32_t rgbFirst, ClrReach reach) noexcept {
    const Cmyk codec(gcrLevel);
    return RunToHub(ZV_KERNEL_IMAGE, rgbFirst, PrintRows().cmyk, Cmyk::kPixelBytes, &codec);
}

int32_t ClrCmykToYcck(const ClrYcckTables* tables, const uint8_t* source, uint8_t* destination, int32_t width,
                      int32_t height, int32_t destinationRowExtra) noexcept {
    if (tables == nullptr || source == nullptr || destination == nullptr) return ERR_INVALID_PARAMETER;
    RunYcckRows<4, 4>(
        KernelImage(source, destination, width, height, 0, destinationRowExtra), EncodesAsUsual(*tables),
        PrintRows().cmykToYcck, [&](const Pixel<4>& pixel) { return Ycck::FromCmyk(*tables, pixel); }, StorePixel<4>);
    return CLR_SUCCESS;
}

int32_t ClrYcckToCmyk(const ClrYcckTables* tables, const uint8_t* source, uint8_t* destination, int32_t width,
                      int32_t height, int32_t sourceRowExtra) noexcept {
    if (tables == nullptr || source == nullptr || destination == nullptr) return ERR_INVALID_PARAMETER;
    RunYcckRows<4, 4>(
        KernelImage(source, destination, width, height, sourceRowExtra, 0), DecodesAsUsual(*tables),
        PrintRows().ycckToCmyk, [&](const Pixel<4>& pixel) { return Ycck::ToCmyk(*tables, pixel); }, StorePixel<4>);
    return CLR_SUCCESS;
}

int32_t ClrYcckFromHub(const ClrHandle* converter, const uint8_t* source, uint8_t* destination, int32_t width,
                       int32_t height, int32_t sourceRowExtra, int32_t destinationRowExtra) noexcept {
    if (source == nullptr || destination == nullptr) return ERR_INVALID_PARAMETER;
    if (width < 1 || height < 1) return CLR_SUCCESS;
    const uint32_t method = converter == nullptr ? uint32_t{CLRMETHOD_BUILTIN} : converter->activeMethod;
    if (method != CLRMETHOD_BUILTIN && method != CLRMETHOD_ICC) return CLR_SUCCESS;

    // The built-in way seldom needs it and always asks for it: an image too large for memory has one result on both
    // ways.
    const PackedBuffer cmyk(width, height, 4);
    if (!cmyk) return ERR_NO_MEMORY;
    // A converter has tables of its own only for a YCCK source. Without them nothing is written, and that is no error.
    const ClrYcckTables* tables = converter == nullptr ? &ClrGlobalYcckTables : converter->ycckTables;
    if (method == CLRMETHOD_BUILTIN) {
        if (tables == nullptr) return CLR_SUCCESS;
        const KernelImage image(source, destination, width, height, sourceRowExtra, destinationRowExtra);
        RunYcckRows<kHubBytes, 4>(
            ReadFirst(image, kHubBytes, 4, cmyk), EncodesAsUsual(*tables), PrintRows().hubToYcck,
            [&](const Pixel<3>& pixel) { return Ycck::FromCmyk(*tables, Ycck::CmykFromHub(pixel)); }, StorePixel<4>);
        return CLR_SUCCESS;
    }
    const PackedBuffer hub(width, height, kHubBytes);
    if (!hub) return ERR_NO_MEMORY;
    const size_t rowBytes = static_cast<size_t>(width) * kHubBytes;
    KernelImage(source, hub.Data(), width, height, sourceRowExtra, 0)
        .EachRow(kHubBytes, kHubBytes, [&](const uint8_t* from, uint8_t* to) { HostCopy(to, from, rowBytes); });
    const int32_t result = RunIccTransform(converter, hub.Data(), cmyk.Data(), width, height);
    if (result == CLR_SUCCESS) ClrCmykToYcck(tables, cmyk.Data(), destination, width, height, destinationRowExtra);
    return result;
}

int32_t ClrYcckToHub(const ClrHandle* converter, const uint8_t* source, uint8_t* destination, int32_t width,
                     int32_t height, int32_t sourceRowExtra, int32_t destinationRowExtra, int32_t rgbFirst) noexcept {
    if (source == nullptr || destination == nullptr) return ERR_INVALID_PARAMETER;
    if (width < 1 || height < 1) return converter == nullptr ? CLR_SUCCESS : 0;
    const ClrYcckTables* tables = converter == nullptr ? &ClrGlobalYcckTables : converter->ycckTables;
    const PackedBuffer cmyk(width, height, 4);  // see ClrYcckFromHub
    if (!cmyk) return ERR_NO_MEMORY;
    if (tables == nullptr) return ERR_INVALID_PARAMETER;

    if (converter == nullptr || converter->activeMethod == CLRMETHOD_BUILTIN) {
        const KernelImage image =
            ReadFirst({source, destination, width, height, sourceRowExtra, destinationRowExtra}, 4, kHubBytes, cmyk);
        WithHubOrder(rgbFirst, [&](auto first) {
            RunYcckRows<4, kHubBytes>(
                image, DecodesAsUsual(*tables), PrintRows().ycckToHub[first.value ? 1 : 0],
                [&](const Pixel<4>& pixel) { return Ycck::RgbFromCmyk(Ycck::ToCmyk(*tables, pixel)); },
                Hub<first.value>::Store);
        });
        return converter == nullptr ? CLR_SUCCESS : 0;  // not 1: callers know a converted YCCK image by this
    }
    if (converter->activeMethod != CLRMETHOD_ICC) return 0;

    ClrYcckToCmyk(tables, source, cmyk.Data(), width, height, sourceRowExtra);
    const int32_t outBytes = converter->destinationSpace == CLRSPACE_CMYK ? 4 : kHubBytes;
    const PackedBuffer out(width, height, outBytes);
    if (!out) return ERR_NO_MEMORY;
    const int32_t result = RunIccTransform(converter, cmyk.Data(), out.Data(), width, height);
    if (result != CLR_SUCCESS) return result;
    const size_t rowBytes = static_cast<size_t>(width) * static_cast<size_t>(outBytes);
    KernelImage(out.Data(), destination, width, height, 0, destinationRowExtra)
        .EachRow(outBytes, outBytes, [&](const uint8_t* from, uint8_t* to) { HostCopy(to, from, rowBytes); });
    return result;
}

}  // namespace zv
