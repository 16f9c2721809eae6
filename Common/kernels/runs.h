// Runs: as many pixels as a register has bytes, dealt out to a register for each channel, worked on side by side and
// woven together again. A run never leaves the registers.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <utility>

#include "Common/kernels/lanes.h"
#include "Common/kernels/rows.h"

namespace zv {
inline namespace ZV_ISA {

// --- Dealing out and weaving ----------------------------------------------------------------------------------------

/// Bytes of a vector, and how many of them one shuffle can take a byte from.
inline constexpr size_t kShuffled = 4 * kLanes;
inline constexpr size_t kReach = ZV_ISA_LEVEL == 2 ? 64 : 16;
static_assert(sizeof(Bytes) == kShuffled);

// ShuffleRun puts a run's bytes in another order: lane i of vector V takes Places<kChannels, V>::At(i). Where a shuffle
// reaches half a vector, each half is a run of its own.

#if ZV_ISA_LEVEL == 2

template <class Places, size_t kVectors, size_t... kI>
Bytes Gathered(const Bytes (&run)[kVectors], std::index_sequence<kI...>) noexcept {
    // A shuffle takes any bytes of two vectors: what has been gathered so far, and the run's next.
    Bytes gathered = run[0];
    const auto add = [&]<size_t kVector>() {
        gathered = __builtin_shufflevector(gathered, run[kVector],
                                           (Places::At(kI) / kReach == kVector ? int{kReach + Places::At(kI) % kReach}
                                            : kVector == 1 && Places::At(kI) < kReach ? int{Places::At(kI)}
                                                                                      : int{kI})...);
    };
    add.template operator()<1>();
    if constexpr (kVectors > 2) add.template operator()<2>();
    if constexpr (kVectors > 3) add.template operator()<3>();
    return gathered;
}

template <template <size_t, size_t> class Places, size_t kChannels>
void ShuffleRun(Bytes (&run)[kChannels]) noexcept {
    const auto all = [&]<size_t... kVector>(std::index_sequence<kVector...>) {
        const Bytes shuffled[] = {Gathered<Places<kChannels, kVector>>(run, std::make_index_sequence<kShuffled>{})...};
        for (size_t i = 0; i < kChannels; ++i) run[i] = shuffled[i];
    };
    all(std::make_index_sequence<kChannels>{});
}

#elif ZV_ISA_LEVEL == 1

/// Where a shuffle finds the bytes that stand in vector kVector of a run; 128 makes it give 0.
template <class Places, size_t kVector>
constexpr auto kShuffle = [] {
    std::array<uint8_t, kShuffled> places{};
    for (size_t i = 0; i < kShuffled; ++i) {
        const size_t place = Places::At(i % kReach);
        places[i] = static_cast<uint8_t>(place / kReach == kVector ? place % kReach : 128);
    }
    return places;
}();
template <class Places, size_t kVector>
constexpr bool kShuffleFindsAny = [] {
    for (const uint8_t place : kShuffle<Places, kVector>) {
        if (place < kReach) return true;
    }
    return false;
}();

template <class Places, size_t kVectors>
Bytes Gathered(const Bytes (&run)[kVectors]) noexcept {
    Bytes gathered = {};
    const auto add = [&]<size_t kVector>() {
        if constexpr (kShuffleFindsAny<Places, kVector>) {
            const auto places = LoadLanes<__m256i>(kShuffle<Places, kVector>.data());
            gathered |= reinterpret_cast<Bytes>(_mm256_shuffle_epi8(Register(run[kVector]), places));
        }
    };
    add.template operator()<0>();
    add.template operator()<1>();
    if constexpr (kVectors > 2) add.template operator()<2>();
    if constexpr (kVectors > 3) add.template operator()<3>();
    return gathered;
}

template <template <size_t, size_t> class Places, size_t kChannels>
void ShuffleRun(Bytes (&run)[kChannels]) noexcept {
    const auto all = [&]<size_t... kVector>(std::index_sequence<kVector...>) {
        const Bytes shuffled[] = {Gathered<Places<kChannels, kVector>>(run)...};
        for (size_t i = 0; i < kChannels; ++i) run[i] = shuffled[i];
    };
    all(std::make_index_sequence<kChannels>{});
}

#elif !ZV_X86

template <template <size_t, size_t> class Places, size_t kChannels>
void ShuffleRun(Bytes (&run)[kChannels]) noexcept {
    uint8_t from[kChannels * kReach], to[kChannels * kReach];
    std::memcpy(from, run, sizeof from);
    const auto all = [&]<size_t... kVector>(std::index_sequence<kVector...>) {
        const auto fill = [&]<class Of>(uint8_t* vector) {
            for (size_t i = 0; i < kReach; ++i) vector[i] = from[Of::At(i)];
        };
        (fill.template operator()<Places<kChannels, kVector>>(to + kVector * kReach), ...);
    };
    all(std::make_index_sequence<kChannels>{});
    std::memcpy(run, to, sizeof to);
}

#endif

#if ZV_ISA_LEVEL < 2 && ZV_X86

/// In vector kVector of a run, the bytes of channel kChannel of three.
template <size_t kVector, size_t kChannel>
constexpr auto kChannelMask = [] {
    std::array<uint8_t, kShuffled> mask{};
    for (size_t i = 0; i < kShuffled; ++i) mask[i] = (kVector * kReach + i % kReach) % 3 == kChannel ? 255 : 0;
    return mask;
}();

#    if ZV_ISA_LEVEL == 0
inline Bytes LowInterleaved(Bytes a, Bytes b) noexcept {
    return reinterpret_cast<Bytes>(_mm_unpacklo_epi8(Register(a), Register(b)));
}
inline Bytes HighInterleaved(Bytes a, Bytes b) noexcept {
    return reinterpret_cast<Bytes>(_mm_unpackhi_epi8(Register(a), Register(b)));
}
/// Of words below 256.
inline Bytes Narrowed(UnsignedWords a, UnsignedWords b) noexcept {
    return reinterpret_cast<Bytes>(_mm_packus_epi16(Register(a), Register(b)));
}
#    else
inline Bytes LowInterleaved(Bytes a, Bytes b) noexcept {
    return reinterpret_cast<Bytes>(_mm256_unpacklo_epi8(Register(a), Register(b)));
}
inline Bytes HighInterleaved(Bytes a, Bytes b) noexcept {
    return reinterpret_cast<Bytes>(_mm256_unpackhi_epi8(Register(a), Register(b)));
}
inline Bytes Narrowed(UnsignedWords a, UnsignedWords b) noexcept {
    return reinterpret_cast<Bytes>(_mm256_packus_epi16(Register(a), Register(b)));
}
#    endif

inline UnsignedWords EvenBytes(Bytes b) noexcept { return reinterpret_cast<UnsignedWords>(b) & 255; }
inline UnsignedWords OddBytes(Bytes b) noexcept { return reinterpret_cast<UnsignedWords>(b) >> 8; }

/// Even bytes, then odd ones.
inline void DealTwo(Bytes& a, Bytes& b) noexcept {
    const Bytes even = Narrowed(EvenBytes(a), EvenBytes(b));
    b = Narrowed(OddBytes(a), OddBytes(b));
    a = even;
}
inline void WeaveTwo(Bytes& a, Bytes& b) noexcept {
    const Bytes high = HighInterleaved(a, b);
    a = LowInterleaved(a, b);
    b = high;
}

#    if ZV_ISA_LEVEL == 0

// SSE2 has no shuffle of bytes, only one that interleaves halves and one that narrows words.

inline Bytes UpperHalf(Bytes b) noexcept {
    return reinterpret_cast<Bytes>(_mm_unpackhi_epi64(Register(b), Register(b)));
}

/// Each round interleaves the first 24 bytes with the last 24: byte n comes to 2n, all modulo 47. After four, byte 3i
/// is at 48i mod 47 = i.
inline void DealThree(Bytes (&run)[3]) noexcept {
    for (int round = 0; round < 4; ++round) {
        const Bytes a = LowInterleaved(run[0], UpperHalf(run[1]));
        const Bytes b = LowInterleaved(UpperHalf(run[0]), run[2]);
        run[2] = LowInterleaved(run[1], UpperHalf(run[2]));
        run[0] = a;
        run[1] = b;
    }
}
inline void WeaveThree(Bytes (&run)[3]) noexcept {
    for (int round = 0; round < 4; ++round) {
        const Bytes a = Narrowed(EvenBytes(run[0]), EvenBytes(run[1]));
        const Bytes b = Narrowed(EvenBytes(run[2]), OddBytes(run[0]));
        run[2] = Narrowed(OddBytes(run[1]), OddBytes(run[2]));
        run[0] = a;
        run[1] = b;
    }
}

#    else

// No two bytes of a channel stand at one place of their vectors, 3 being prime to 16: a channel is blended from all
// three first and put in order by one shuffle.

/// Where a channel's pixels stand, and where the bytes of a vector find theirs in their plane.
template <size_t kChannel>
constexpr auto kDealt = [] {
    std::array<uint8_t, kShuffled> places{};
    for (size_t i = 0; i < kShuffled; ++i) places[i] = static_cast<uint8_t>((i % kReach * 3 + kChannel) % kReach);
    return places;
}();
template <size_t kChannel>
constexpr auto kWoven = [] {
    std::array<uint8_t, kShuffled> places{};
    for (size_t i = 0; i < kShuffled; ++i) {
        places[kDealt<kChannel>[i] + i / kReach * kReach] = static_cast<uint8_t>(i % kReach);
    }
    return places;
}();

inline Bytes Shuffled(Bytes b, const std::array<uint8_t, kShuffled>& places) noexcept {
    return reinterpret_cast<Bytes>(_mm256_shuffle_epi8(Register(b), LoadLanes<__m256i>(places.data())));
}
inline Bytes Blended(Bytes no, Bytes yes, const std::array<uint8_t, kShuffled>& mask) noexcept {
    return reinterpret_cast<Bytes>(_mm256_blendv_epi8(Register(no), Register(yes), LoadLanes<__m256i>(mask.data())));
}

inline void DealThree(Bytes (&run)[3]) noexcept {
    const auto channel = [&]<size_t kChannel>() {
        const Bytes two = Blended(run[0], run[1], kChannelMask<1, kChannel>);
        return Shuffled(Blended(two, run[2], kChannelMask<2, kChannel>), kDealt<kChannel>);
    };
    const Bytes a = channel.template operator()<0>();
    const Bytes b = channel.template operator()<1>();
    run[2] = channel.template operator()<2>();
    run[0] = a;
    run[1] = b;
}
inline void WeaveThree(Bytes (&run)[3]) noexcept {
    const Bytes a = Shuffled(run[0], kWoven<0>), b = Shuffled(run[1], kWoven<1>), c = Shuffled(run[2], kWoven<2>);
    const auto vector = [&]<size_t kVector>() {
        return Blended(Blended(a, b, kChannelMask<kVector, 1>), c, kChannelMask<kVector, 2>);
    };
    run[0] = vector.template operator()<0>();
    run[1] = vector.template operator()<1>();
    run[2] = vector.template operator()<2>();
}

#    endif

template <size_t kChannels>
void DealRun(Bytes (&run)[kChannels]) noexcept {
    if constexpr (kChannels == 2) {
        DealTwo(run[0], run[1]);
    } else if constexpr (kChannels == 3) {
        DealThree(run);
    } else {
        DealTwo(run[0], run[1]);  // first and third channel of half the pixels, second and fourth of them
        DealTwo(run[2], run[3]);
        std::swap(run[1], run[2]);
        DealTwo(run[0], run[1]);
        DealTwo(run[2], run[3]);
        std::swap(run[1], run[2]);
    }
}

/// Back.
template <size_t kChannels>
void WeaveRun(Bytes (&run)[kChannels]) noexcept {
    if constexpr (kChannels == 2) {
        WeaveTwo(run[0], run[1]);
    } else if constexpr (kChannels == 3) {
        WeaveThree(run);
    } else {
        std::swap(run[1], run[2]);
        WeaveTwo(run[0], run[1]);
        WeaveTwo(run[2], run[3]);
        std::swap(run[1], run[2]);
        WeaveTwo(run[0], run[1]);
        WeaveTwo(run[2], run[3]);
    }
}

#else

/// Channel kChannel of each pixel.
template <size_t kChannels, size_t kChannel>
struct PlacesOfChannel {
    static constexpr size_t At(size_t i) noexcept { return i * kChannels + kChannel; }
};

/// The kVector-th vector of pixels, from a run of planes.
template <size_t kChannels, size_t kVector>
struct PlacesOfPixels {
    static constexpr size_t At(size_t i) noexcept {
        const size_t byte = kVector * kReach + i;
        return byte % kChannels * kReach + byte / kChannels;
    }
};

template <size_t kChannels>
void DealRun(Bytes (&run)[kChannels]) noexcept {
    ShuffleRun<PlacesOfChannel>(run);
}
template <size_t kChannels>
void WeaveRun(Bytes (&run)[kChannels]) noexcept {
    ShuffleRun<PlacesOfPixels>(run);
}

#endif

/// The run of kShuffled pixels at `pixels`. Where a shuffle reaches half a vector, the halves hold half the pixels
/// each.
template <size_t kChannels>
void LoadRun(const uint8_t* pixels, Bytes (&run)[kChannels]) noexcept {
    for (size_t c = 0; c < kChannels; ++c) {
        const uint8_t* const from = pixels + c * kReach;
#if ZV_ISA_LEVEL == 1
        run[c] = reinterpret_cast<Bytes>(_mm256_inserti128_si256(_mm256_castsi128_si256(LoadLanes<__m128i>(from)),
                                                                 LoadLanes<__m128i>(from + kReach * kChannels), 1));
#elif ZV_ISA_LEVEL == 0 && ZV_X86
        // As a whole: GCC 12 may split what was copied and is shifted as a whole.
        run[c] = reinterpret_cast<Bytes>(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from)));
#else
        run[c] = LoadLanes<Bytes>(from);
#endif
    }
}
template <size_t kChannels>
void StoreRun(uint8_t* pixels, const Bytes (&run)[kChannels]) noexcept {
#if ZV_ISA_LEVEL == 1
    // First all lower halves, then all upper ones. Whole vectors cost less to store than their halves.
    const auto pair = [&]<size_t kVector>() {
        constexpr size_t kFirst = 2 * kVector, kSecond = kFirst + 1;
        constexpr int kUpper = (kFirst < kChannels ? 0 : 1) | (kSecond < kChannels ? 0x20 : 0x30);
        StoreLanes(pixels + kVector * kShuffled, _mm256_permute2x128_si256(Register(run[kFirst % kChannels]),
                                                                           Register(run[kSecond % kChannels]), kUpper));
    };
    const auto all = [&]<size_t... kVector>(std::index_sequence<kVector...>) {
        (pair.template operator()<kVector>(), ...);
    };
    all(std::make_index_sequence<kChannels>{});
#else
    for (size_t c = 0; c < kChannels; ++c) StoreLanes(pixels + c * kReach, run[c]);
#endif
}

// --- Rows -----------------------------------------------------------------------------------------------------------

/// A row through work(const Bytes (&in)[kIn], Bytes (&out)[kOut]), a run of kShuffled pixels at a time, as they stand
/// in memory. A run is taken in before it is written.
template <size_t kIn, size_t kOut, class Work>
[[gnu::flatten]] void MapRuns(const uint8_t* from, uint8_t* to, size_t pixels, const Work& work) noexcept {
    alignas(64) uint8_t tail[kShuffled * (kIn > kOut ? kIn : kOut)];
    uint8_t* tailTo = nullptr;
    size_t tailPixels = 0;
    for (;;) {
        for (; pixels >= kShuffled; pixels -= kShuffled) {
            Bytes in[kIn], out[kOut];
            LoadRun(from, in);
            work(in, out);
            StoreRun(to, out);
            from += kIn * kShuffled;
            to += kOut * kShuffled;
        }
        if (tailTo != nullptr) std::memcpy(tailTo, tail, kOut * tailPixels);
        if (pixels == 0) return;
        // Once more, with a run that is filled up with zeros: the work stands here but once and can be inlined.
        std::memset(tail, 0, sizeof tail);
        std::memcpy(tail, from, kIn * pixels);
        tailTo = to;
        tailPixels = pixels;
        from = to = tail;
        pixels = kShuffled;
    }
}

/// Rows of a codec with Encode and Decode(const Bytes (&in)[3], Bytes (&out)[3]), where red comes first.
template <class Codec, bool kRgbFirst>
void FromHubByRuns(const uint8_t* from, uint8_t* to, int32_t width, const void*) noexcept {
    MapRuns<3, 3>(from, to, static_cast<size_t>(width), [](const Bytes(&in)[3], Bytes(&out)[3]) {
        Bytes hub[3] = {in[0], in[1], in[2]};
        DealRun(hub);
        if (!kRgbFirst) std::swap(hub[0], hub[2]);
        Codec::Encode(hub, out);
        WeaveRun(out);
    });
}

template <class Codec, bool kRgbFirst>
void ToHubByRuns(const uint8_t* from, uint8_t* to, int32_t width, const void*) noexcept {
    MapRuns<3, 3>(from, to, static_cast<size_t>(width), [](const Bytes(&in)[3], Bytes(&out)[3]) {
        Bytes pixels[3] = {in[0], in[1], in[2]};
        DealRun(pixels);
        Codec::Decode(pixels, out);
        if (!kRgbFirst) std::swap(out[0], out[2]);
        WeaveRun(out);
    });
}

template <class Codec>
inline constexpr ClrHubRows kRunRows = {{FromHubByRuns<Codec, false>, FromHubByRuns<Codec, true>},
                                        {ToHubByRuns<Codec, false>, ToHubByRuns<Codec, true>}};

}  // namespace ZV_ISA
}  // namespace zv
