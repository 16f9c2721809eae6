// Rows by the plain definition of a pixel: for records and tables that no row of an instruction set serves.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "Common/kernels/arithmetic.h"
#include "Common/kernels/row_frame.h"

namespace zv {

/// Hub pixels by byte order.
template <bool kRgbFirst>
struct Hub {
    static constexpr ptrdiff_t kRed = kRgbFirst ? 0 : 2;
    static constexpr ptrdiff_t kBlue = kRgbFirst ? 2 : 0;

    static Rgb Load(const uint8_t* p) noexcept { return {p[kRed], p[1], p[kBlue]}; }
    static void Store(uint8_t* p, Rgb pixel) noexcept {
        p[kRed] = pixel.r;
        p[1] = pixel.g;
        p[kBlue] = pixel.b;
    }
};

/// Calls function(std::bool_constant) with the hub's byte order as a type.
template <class Function>
decltype(auto) WithHubOrder(int32_t rgbFirst, const Function& function) {
    return rgbFirst != 0 ? function(std::true_type{}) : function(std::false_type{});
}

template <size_t kBytes>
Pixel<kBytes> LoadPixel(const uint8_t* p) noexcept {
    Pixel<kBytes> pixel;
    for (size_t i = 0; i < kBytes; ++i) pixel[i] = p[i];
    return pixel;
}

template <size_t kBytes>
void StorePixel(uint8_t* p, const Pixel<kBytes>& pixel) noexcept {
    for (size_t i = 0; i < kBytes; ++i) p[i] = pixel[i];
}

/// One row through map(Rgb) or map(Pixel): load, map and store are told once for both directions.
template <int32_t kIn, int32_t kOut, class Load, class Map, class Store>
void MapRow(const uint8_t* source, uint8_t* destination, int32_t width, const Load& load, const Map& map,
            const Store& store) {
    using In = decltype(load(source));
    using Out = decltype(map(load(source)));
    constexpr int32_t kBlock = 64;  // taken in before any is written: a conversion in place may overlap
    for (int32_t x = 0; x < width; x += kBlock) {
        const int32_t count = width - x < kBlock ? width - x : kBlock;
        Out block[kBlock];
        for (int32_t i = 0; i < count; ++i) {
            const In pixel = load(source + ptrdiff_t{x + i} * kIn);
            block[i] = map(pixel);
        }
        for (int32_t i = 0; i < count; ++i) store(destination + ptrdiff_t{x + i} * kOut, block[i]);
    }
}

/// All rows from a hub: `codec.FromRgb` for every pixel.
template <class Codec>
void FromHubRows(const KernelImage& image, int32_t rgbFirst, const Codec& codec) noexcept {
    constexpr int32_t kBytes = Codec::kPixelBytes;
    WithHubOrder(rgbFirst, [&](auto first) {
        image.EachRow(kHubBytes, kBytes, [&](const uint8_t* from, uint8_t* to) {
            MapRow<kHubBytes, kBytes>(
                from, to, image.width, Hub<first.value>::Load, [&](Rgb pixel) { return codec.FromRgb(pixel); },
                StorePixel<size_t{kBytes}>);
        });
    });
}

/// All rows to a hub: `codec.ToRgb` for every pixel.
template <class Codec>
void ToHubRows(const KernelImage& image, int32_t rgbFirst, const Codec& codec) noexcept {
    constexpr int32_t kBytes = Codec::kPixelBytes;
    WithHubOrder(rgbFirst, [&](auto first) {
        image.EachRow(kBytes, kHubBytes, [&](const uint8_t* from, uint8_t* to) {
            MapRow<kBytes, kHubBytes>(
                from, to, image.width, LoadPixel<size_t{kBytes}>,
                [&](const Pixel<size_t{kBytes}>& pixel) { return codec.ToRgb(pixel); }, Hub<first.value>::Store);
        });
    });
}

}  // namespace zv
