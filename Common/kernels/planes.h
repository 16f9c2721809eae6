// Planes: 64 pixels are dealt out to a plane of memory for each channel, for what needs more than registers hold or
// looks something up.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "Common/kernels/arithmetic.h"
#include "Common/kernels/lanes.h"
#include "Common/kernels/rows.h"
#include "Common/kernels/runs.h"

namespace zv {
inline namespace ZV_ISA {

/// Pixels that a row of planes takes in before it writes any: a conversion in place of pixels of one size may overlap.
inline constexpr int32_t kBlock = 64;
static_assert(kBlock % kShuffled == 0);

struct alignas(64) Plane {
    uint8_t bytes[kBlock];

    uint8_t operator[](int32_t i) const noexcept { return bytes[i]; }
    uint8_t& operator[](int32_t i) noexcept { return bytes[i]; }
    const uint8_t* At(int32_t i) const noexcept { return bytes + i; }
    uint8_t* At(int32_t i) noexcept { return bytes + i; }
};

template <size_t kChannels>
using Planes = std::array<Plane, kChannels>;

/// A block of pixels into planes.
template <size_t kChannels>
void Deal(const uint8_t* pixels, Planes<kChannels>& planes) noexcept {
    for (size_t at = 0; at < kBlock; at += kShuffled) {
        Bytes run[kChannels];
        LoadRun(pixels + at * kChannels, run);
        DealRun(run);
        for (size_t c = 0; c < kChannels; ++c) StoreLanes(planes[c].bytes + at, run[c]);
    }
}

/// Planes into a block of pixels.
template <size_t kChannels>
void Weave(const Planes<kChannels>& planes, uint8_t* pixels) noexcept {
    for (size_t at = 0; at < kBlock; at += kShuffled) {
        Bytes run[kChannels];
        for (size_t c = 0; c < kChannels; ++c) run[c] = LoadLanes<Bytes>(planes[c].bytes + at);
        WeaveRun(run);
        StoreRun(pixels + at * kChannels, run);
    }
}

// --- Rows -----------------------------------------------------------------------------------------------------------

/// A row through work(const Planes<kIn>&, Planes<kOut>&). Its tail runs the same code, on a block that is filled up
/// with zeros.
template <size_t kIn, size_t kOut, class Work>
[[gnu::flatten]] void MapBlocks(const uint8_t* from, uint8_t* to, int32_t width, const Work& work) noexcept {
    Planes<kIn> in;
    Planes<kOut> out;
    for (; width >= kBlock; width -= kBlock) {
        Deal(from, in);
        work(in, out);
        Weave(out, to);
        from += kIn * kBlock;
        to += kOut * kBlock;
    }
    if (width < 1) return;
    alignas(64) uint8_t block[kBlock * (kIn > kOut ? kIn : kOut)] = {};
    std::memcpy(block, from, kIn * static_cast<size_t>(width));
    Deal(block, in);
    work(in, out);
    Weave(out, block);
    std::memcpy(to, block, kOut * static_cast<size_t>(width));
}

/// Hub planes by the byte order of the hub.
template <bool kRgbFirst, class AnyPlane>
struct HubPlanes {
    AnyPlane& r;
    AnyPlane& g;
    AnyPlane& b;

    template <class AnyPlanes>
    explicit HubPlanes(AnyPlanes& planes) noexcept
        : r(planes[kRgbFirst ? 0 : 2]), g(planes[1]), b(planes[kRgbFirst ? 2 : 0]) {}
};
template <bool kRgbFirst>
using HubIn = HubPlanes<kRgbFirst, const Plane>;
template <bool kRgbFirst>
using HubOut = HubPlanes<kRgbFirst, Plane>;

// Single pixels of a block, for what is done again.

template <class Hub>
Rgb LoadHub(const Hub& planes, int32_t i) noexcept {
    return {planes.r[i], planes.g[i], planes.b[i]};
}
template <class Hub>
void StoreHub(const Hub& planes, int32_t i, Rgb pixel) noexcept {
    planes.r[i] = pixel.r;
    planes.g[i] = pixel.g;
    planes.b[i] = pixel.b;
}
template <size_t kChannels>
Pixel<kChannels> LoadPlanes(const Planes<kChannels>& planes, int32_t i) noexcept {
    Pixel<kChannels> pixel;
    for (size_t c = 0; c < kChannels; ++c) pixel[c] = planes[c][i];
    return pixel;
}
template <size_t kChannels>
void StorePlanes(Planes<kChannels>& planes, int32_t i, const Pixel<kChannels>& pixel) noexcept {
    for (size_t c = 0; c < kChannels; ++c) planes[c][i] = pixel[c];
}

/// What a codec is made of: its context, where it has one.
template <class Codec>
Codec CodecOf([[maybe_unused]] const void* context) noexcept {
    if constexpr (std::is_constructible_v<Codec, const void*>) {
        return Codec(context);
    } else {
        return Codec{};
    }
}

/// Rows of a codec with kPixelBytes and
///     void Encode(const Hub& in, Planes<kPixelBytes>& out) const
///     void Decode(const Planes<kPixelBytes>& in, const Hub& out) const
/// where Hub has the planes r, g and b.
template <class Codec, bool kRgbFirst>
void FromHubRow(const uint8_t* from, uint8_t* to, int32_t width, const void* context) noexcept {
    constexpr auto kBytes = size_t{Codec::kPixelBytes};
    const Codec codec = CodecOf<Codec>(context);
    MapBlocks<3, kBytes>(from, to, width,
                         [&](const Planes<3>& in, Planes<kBytes>& out) { codec.Encode(HubIn<kRgbFirst>(in), out); });
}
template <class Codec, bool kRgbFirst>
void ToHubRow(const uint8_t* from, uint8_t* to, int32_t width, const void* context) noexcept {
    constexpr auto kBytes = size_t{Codec::kPixelBytes};
    const Codec codec = CodecOf<Codec>(context);
    MapBlocks<kBytes, 3>(from, to, width,
                         [&](const Planes<kBytes>& in, Planes<3>& out) { codec.Decode(in, HubOut<kRgbFirst>(out)); });
}

template <class Codec>
inline constexpr ClrHubRows kHubRows = {{FromHubRow<Codec, false>, FromHubRow<Codec, true>},
                                        {ToHubRow<Codec, false>, ToHubRow<Codec, true>}};

// --- Estimates ------------------------------------------------------------------------------------------------------

/// Pixels of a block that are left to the definition: their estimate lies so close to an edge between two bytes that it
/// does not tell them apart, or it does not hold for them.
class ClosePixels {
public:
    /// Marks the lanes from pixel `at` on whose two candidates differ in any channel.
    void Add(int32_t at, Ints differences) noexcept { pixels_ |= uint64_t{LanesThatAreSet(differences)} << at; }

    /// The same for lanes that are -1.
    void Add(int32_t at, Words marked) noexcept {
        if (!AnyIsSet(marked)) return;
        for (int32_t i = 0; i < kWords; ++i) pixels_ |= (marked[i] != 0 ? uint64_t{1} : 0) << (at + i);
    }

    /// redo(i) for each of them.
    template <class Redo>
    void Each(const Redo& redo) const noexcept {
        for (uint64_t left = pixels_; left != 0; left &= left - 1) redo(__builtin_ctzll(left));
    }

private:
    uint64_t pixels_ = 0;
};

}  // namespace ZV_ISA
}  // namespace zv
