#include "Common/kernels/print.h"

#include "Common/kernels/kernels.h"
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

/// The powers and ratios of every difference.
class FastCmyk : public Cmyk {
public:
    using Cmyk::Cmyk;

    Pixel<4> FromRgb(Rgb p) const noexcept {
        const int32_t c = 255 - p.r, m = 255 - p.g, y = 255 - p.b;
        const int32_t n = std::min({c, m, y});
        const int32_t x = std::max({c, m, y});
        return Inks(c, m, y, n, kGreyness[static_cast<size_t>(n - x + 255)], kRatio[static_cast<size_t>(n)]);
    }

private:
    using Table = std::array<double, 256>;
    static constexpr Table kRatio = [] {
        Table table{};
        for (int32_t i = 0; i < 256; ++i) table[static_cast<size_t>(i)] = i / 255.0;
        return table;
    }();
    static constexpr Table kGreyness = [] {
        Table table{};
        for (size_t i = 0; i < 256; ++i) table[i] = Square(kRatio[i]);
        return table;
    }();
};

/// A packed pixel buffer of the whole image.
class PackedBuffer : public HostBlock<uint8_t> {
public:
    PackedBuffer(int32_t width, int32_t height, int32_t pixelBytes) noexcept
        : HostBlock(int64_t{width} * pixelBytes <= INT32_MAX ? int64_t{width} * pixelBytes * height : -1, __LINE__,
                    kSource) {}
};

int32_t RunIccTransform(const ClrHandle* converter, const uint8_t* input, uint8_t* output, int32_t width,
                        int32_t height) noexcept {
    if (converter->iccTransform == nullptr) return ERR_INVALID_PARAMETER;
    return CmmRunTransform(input, output, static_cast<uint32_t>(width) * static_cast<uint32_t>(height),
                           converter->iccTransform);
}

}  // namespace

constinit const ClrYcckTables& ClrGlobalYcckTables = processTables;

ZV_KERNEL(ClrCmyFromHub) { return RunFromHub(ZV_KERNEL_IMAGE, rgbFirst, Cmy{}); }
ZV_KERNEL(ClrCmyToHub) { return RunToHub(ZV_KERNEL_IMAGE, rgbFirst, Cmy{}); }

int32_t ClrCmykFromHub(const uint8_t* source, uint8_t* destination, int32_t width, int32_t height,
                       int32_t sourceRowExtra, int32_t destinationRowExtra, int32_t gcrLevel,
                       int32_t rgbFirst) noexcept {
    return RunFromHub(ZV_KERNEL_IMAGE, rgbFirst, FastCmyk(gcrLevel));
}

int32_t ClrCmykToHub(const uint8_t* source, uint8_t* destination, int32_t width, int32_t height, int32_t sourceRowExtra,
                     int32_t destinationRowExtra, int32_t gcrLevel, int32_t rgbFirst) noexcept {
    return RunToHub(ZV_KERNEL_IMAGE, rgbFirst, FastCmyk(gcrLevel));
}

int32_t ClrCmykToYcck(const ClrYcckTables* tables, const uint8_t* source, uint8_t* destination, int32_t width,
                      int32_t height, int32_t destinationRowExtra) noexcept {
    if (tables == nullptr || source == nullptr || destination == nullptr) return ERR_INVALID_PARAMETER;
    KernelImage(source, destination, width, height, 0, destinationRowExtra)
        .EachRow(4, 4, [&](const uint8_t* from, uint8_t* to) {
            MapRow<4, 4>(
                from, to, width, LoadPixel<4>, [&](const Pixel<4>& pixel) { return Ycck::FromCmyk(*tables, pixel); },
                StorePixel<4>);
        });
    return CLR_SUCCESS;
}

int32_t ClrYcckToCmyk(const ClrYcckTables* tables, const uint8_t* source, uint8_t* destination, int32_t width,
                      int32_t height, int32_t sourceRowExtra) noexcept {
    if (tables == nullptr || source == nullptr || destination == nullptr) return ERR_INVALID_PARAMETER;
    KernelImage(source, destination, width, height, sourceRowExtra, 0)
        .EachRow(4, 4, [&](const uint8_t* from, uint8_t* to) {
            MapRow<4, 4>(
                from, to, width, LoadPixel<4>, [&](const Pixel<4>& pixel) { return Ycck::ToCmyk(*tables, pixel); },
                StorePixel<4>);
        });
    return CLR_SUCCESS;
}

int32_t ClrYcckFromHub(const ClrHandle* converter, const uint8_t* source, uint8_t* destination, int32_t width,
                       int32_t height, int32_t sourceRowExtra, int32_t destinationRowExtra) noexcept {
    if (source == nullptr || destination == nullptr) return ERR_INVALID_PARAMETER;
    if (width < 1 || height < 1) return CLR_SUCCESS;
    const uint32_t method = converter == nullptr ? uint32_t{CLRMETHOD_BUILTIN} : converter->activeMethod;
    if (method != CLRMETHOD_BUILTIN && method != CLRMETHOD_ICC) return CLR_SUCCESS;

    const PackedBuffer cmyk(width, height, 4);
    if (!cmyk) return ERR_NO_MEMORY;
    const ClrYcckTables* tables = converter == nullptr ? &ClrGlobalYcckTables : converter->ycckTables;
    int32_t result = CLR_SUCCESS;
    if (method == CLRMETHOD_BUILTIN) {
        KernelImage(source, cmyk.Data(), width, height, sourceRowExtra, 0)
            .EachRow(kHubBytes, 4, [&](const uint8_t* from, uint8_t* to) {
                MapRow<kHubBytes, 4>(from, to, width, LoadPixel<3>, Ycck::CmykFromHub, StorePixel<4>);
            });
    } else {
        const PackedBuffer hub(width, height, kHubBytes);
        if (!hub) return ERR_NO_MEMORY;
        const size_t rowBytes = static_cast<size_t>(width) * kHubBytes;
        KernelImage(source, hub.Data(), width, height, sourceRowExtra, 0)
            .EachRow(kHubBytes, kHubBytes, [&](const uint8_t* from, uint8_t* to) { HostCopy(to, from, rowBytes); });
        result = RunIccTransform(converter, hub.Data(), cmyk.Data(), width, height);
        if (result != CLR_SUCCESS) return result;
    }
    // A converter has tables of its own only for a YCCK source. Without them nothing is written, and that is no error.
    ClrCmykToYcck(tables, cmyk.Data(), destination, width, height, destinationRowExtra);
    return result;
}

int32_t ClrYcckToHub(const ClrHandle* converter, const uint8_t* source, uint8_t* destination, int32_t width,
                     int32_t height, int32_t sourceRowExtra, int32_t destinationRowExtra, int32_t rgbFirst) noexcept {
    if (source == nullptr || destination == nullptr) return ERR_INVALID_PARAMETER;
    if (width < 1 || height < 1) return converter == nullptr ? CLR_SUCCESS : 0;
    const ClrYcckTables* tables = converter == nullptr ? &ClrGlobalYcckTables : converter->ycckTables;
    const PackedBuffer cmyk(width, height, 4);
    if (!cmyk) return ERR_NO_MEMORY;
    if (ClrYcckToCmyk(tables, source, cmyk.Data(), width, height, sourceRowExtra) != CLR_SUCCESS) {
        return ERR_INVALID_PARAMETER;
    }

    if (converter == nullptr || converter->activeMethod == CLRMETHOD_BUILTIN) {
        const KernelImage image(cmyk.Data(), destination, width, height, 0, destinationRowExtra);
        WithHubOrder(rgbFirst, [&](auto first) {
            image.EachRow(4, kHubBytes, [&](const uint8_t* from, uint8_t* to) {
                MapRow<4, kHubBytes>(from, to, width, LoadPixel<4>, Ycck::RgbFromCmyk, Hub<first.value>::Store);
            });
        });
        return converter == nullptr ? CLR_SUCCESS : 0;  // not 1: callers know a converted YCCK image by this
    }
    if (converter->activeMethod != CLRMETHOD_ICC) return 0;

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
