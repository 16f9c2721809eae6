// The shared driver of the rows: 64 pixels at a time are dealt out to a plane for each channel, worked on side by side,
// and woven together again.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#include "Common/kernels/arithmetic.h"
#include "Common/kernels/lanes.h"
#include "Common/kernels/rows.h"

namespace zv {
inline namespace ZV_ISA {

/// Pixels that a row loop takes in before it writes any: a conversion in place of pixels of one size may overlap.
inline constexpr int32_t kBlock = 64;

struct alignas(64) Plane {
    uint8_t bytes[kBlock];

    uint8_t operator[](int32_t i) const noexcept { return bytes[i]; }
    uint8_t& operator[](int32_t i) noexcept { return bytes[i]; }
    const uint8_t* At(int32_t i) const noexcept { return bytes + i; }
    uint8_t* At(int32_t i) noexcept { return bytes + i; }
};

template <size_t kChannels>
using Planes = std::array<Plane, kChannels>;

// --- Dealing out and weaving ----------------------------------------------------------------------------------------

/// Bytes of a vector, and how many of them one shuffle can take a byte from.
inline constexpr size_t kShuffled = 4 * kLanes;
inline constexpr size_t kReach = ZV_ISA_LEVEL == 2 ? 64 : 16;
typedef uint8_t Bytes __attribute__((vector_size(kShuffled)));
static_assert(kBlock % kShuffled == 0);

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
            gathered |= reinterpret_cast<Bytes>(_mm256_shuffle_epi8(reinterpret_cast<__m256i>(run[kVector]), places));
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

/// In vector kVector of a run, the bytes of channel kChannel of three.
template <size_t kVector, size_t kChannel>
constexpr auto kChannelMask = [] {
    std::array<uint8_t, kShuffled> mask{};
    for (size_t i = 0; i < kShuffled; ++i) mask[i] = (kVector * kReach + i % kReach) % 3 == kChannel ? 255 : 0;
    return mask;
}();

#if ZV_ISA_LEVEL < 2 && ZV_X86

#    if ZV_ISA_LEVEL == 0
inline __m128i Register(Bytes b) noexcept { return reinterpret_cast<__m128i>(b); }
inline Bytes LowInterleaved(Bytes a, Bytes b) noexcept {
    return reinterpret_cast<Bytes>(_mm_unpacklo_epi8(Register(a), Register(b)));
}
inline Bytes HighInterleaved(Bytes a, Bytes b) noexcept {
    return reinterpret_cast<Bytes>(_mm_unpackhi_epi8(Register(a), Register(b)));
}
/// Of words below 256.
inline Bytes Narrowed(UnsignedWords a, UnsignedWords b) noexcept {
    return reinterpret_cast<Bytes>(_mm_packus_epi16(reinterpret_cast<__m128i>(a), reinterpret_cast<__m128i>(b)));
}
#    else
inline __m256i Register(Bytes b) noexcept { return reinterpret_cast<__m256i>(b); }
inline Bytes LowInterleaved(Bytes a, Bytes b) noexcept {
    return reinterpret_cast<Bytes>(_mm256_unpacklo_epi8(Register(a), Register(b)));
}
inline Bytes HighInterleaved(Bytes a, Bytes b) noexcept {
    return reinterpret_cast<Bytes>(_mm256_unpackhi_epi8(Register(a), Register(b)));
}
inline Bytes Narrowed(UnsignedWords a, UnsignedWords b) noexcept {
    return reinterpret_cast<Bytes>(_mm256_packus_epi16(reinterpret_cast<__m256i>(a), reinterpret_cast<__m256i>(b)));
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

/// A row through work(const Bytes (&in)[kIn], Bytes (&out)[kOut]), a run of kShuffled pixels at a time: for what needs
/// no planes. A run is taken in before it is written.
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

// A vector of bytes as two of words, and back. Which bytes go to which of the two is no matter.

struct WordPair {
    Words low, high;
};

#if ZV_ISA_LEVEL == 2
inline __m512i Register(Bytes b) noexcept { return reinterpret_cast<__m512i>(b); }
inline __m512i Register(Words b) noexcept { return reinterpret_cast<__m512i>(b); }
/// Each byte in the upper half of a word.
inline WordPair UpperBytes(Bytes b) noexcept {
    return {reinterpret_cast<Words>(_mm512_unpacklo_epi8(_mm512_setzero_si512(), Register(b))),
            reinterpret_cast<Words>(_mm512_unpackhi_epi8(_mm512_setzero_si512(), Register(b)))};
}
inline WordPair WordsOf(Bytes b) noexcept {
    return {reinterpret_cast<Words>(_mm512_unpacklo_epi8(Register(b), _mm512_setzero_si512())),
            reinterpret_cast<Words>(_mm512_unpackhi_epi8(Register(b), _mm512_setzero_si512()))};
}
/// Each clamped to 0..255.
inline Bytes BytesOf(Words low, Words high) noexcept {
    return reinterpret_cast<Bytes>(_mm512_packus_epi16(Register(low), Register(high)));
}
/// A bit for each byte whose uppermost bit is set.
inline uint64_t UpperBits(Bytes b) noexcept { return _mm512_movepi8_mask(Register(b)); }
#elif ZV_ISA_LEVEL == 1
inline __m256i Register(Words b) noexcept { return reinterpret_cast<__m256i>(b); }
inline WordPair UpperBytes(Bytes b) noexcept {
    return {reinterpret_cast<Words>(_mm256_unpacklo_epi8(_mm256_setzero_si256(), Register(b))),
            reinterpret_cast<Words>(_mm256_unpackhi_epi8(_mm256_setzero_si256(), Register(b)))};
}
inline WordPair WordsOf(Bytes b) noexcept {
    return {reinterpret_cast<Words>(_mm256_unpacklo_epi8(Register(b), _mm256_setzero_si256())),
            reinterpret_cast<Words>(_mm256_unpackhi_epi8(Register(b), _mm256_setzero_si256()))};
}
inline Bytes BytesOf(Words low, Words high) noexcept {
    return reinterpret_cast<Bytes>(_mm256_packus_epi16(Register(low), Register(high)));
}
inline uint64_t UpperBits(Bytes b) noexcept { return static_cast<uint32_t>(_mm256_movemask_epi8(Register(b))); }
#elif ZV_X86
inline __m128i Register(Words b) noexcept { return reinterpret_cast<__m128i>(b); }
inline WordPair UpperBytes(Bytes b) noexcept {
    return {reinterpret_cast<Words>(_mm_unpacklo_epi8(_mm_setzero_si128(), Register(b))),
            reinterpret_cast<Words>(_mm_unpackhi_epi8(_mm_setzero_si128(), Register(b)))};
}
inline WordPair WordsOf(Bytes b) noexcept {
    return {reinterpret_cast<Words>(_mm_unpacklo_epi8(Register(b), _mm_setzero_si128())),
            reinterpret_cast<Words>(_mm_unpackhi_epi8(Register(b), _mm_setzero_si128()))};
}
inline Bytes BytesOf(Words low, Words high) noexcept {
    return reinterpret_cast<Bytes>(_mm_packus_epi16(Register(low), Register(high)));
}
inline uint64_t UpperBits(Bytes b) noexcept { return static_cast<uint32_t>(_mm_movemask_epi8(Register(b))); }
#else
inline WordPair WordsOf(Bytes b) noexcept {
    WordPair pair = {};
    for (int32_t i = 0; i < kWords; ++i) {
        pair.low[i] = b[i];
        pair.high[i] = b[kWords + i];
    }
    return pair;
}
inline WordPair UpperBytes(Bytes b) noexcept {
    const WordPair pair = WordsOf(b);
    return {pair.low << 8, pair.high << 8};
}
inline Bytes BytesOf(Words low, Words high) noexcept {
    Bytes bytes = {};
    const auto byte = [](int16_t value) { return static_cast<uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value); };
    for (int32_t i = 0; i < kWords; ++i) {
        bytes[i] = byte(low[i]);
        bytes[kWords + i] = byte(high[i]);
    }
    return bytes;
}
inline uint64_t UpperBits(Bytes b) noexcept {
    uint64_t bits = 0;
    for (size_t i = 0; i < kShuffled; ++i) bits |= uint64_t{b[i] > 127} << i;
    return bits;
}
#endif

/// work(const Words (&in)[kIn], Words (&out)[kOut]) on both halves of a run.
template <size_t kIn, size_t kOut, class Work>
void MapWords(const Bytes (&in)[kIn], Bytes (&out)[kOut], const Work& work) noexcept {
    Words inLow[kIn], inHigh[kIn], outLow[kOut], outHigh[kOut];
    for (size_t c = 0; c < kIn; ++c) {
        const WordPair words = WordsOf(in[c]);
        inLow[c] = words.low;
        inHigh[c] = words.high;
    }
    work(inLow, outLow);
    work(inHigh, outHigh);
    for (size_t c = 0; c < kOut; ++c) out[c] = BytesOf(outLow[c], outHigh[c]);
}

// Words as lanes of 32 bits, and back, parted in the same way.

/// Lanes of two by turns.
inline WordPair Turns(Words a, Words b) noexcept {
#if ZV_ISA_LEVEL == 2
    return {reinterpret_cast<Words>(_mm512_unpacklo_epi16(Register(a), Register(b))),
            reinterpret_cast<Words>(_mm512_unpackhi_epi16(Register(a), Register(b)))};
#elif ZV_ISA_LEVEL == 1
    return {reinterpret_cast<Words>(_mm256_unpacklo_epi16(Register(a), Register(b))),
            reinterpret_cast<Words>(_mm256_unpackhi_epi16(Register(a), Register(b)))};
#elif ZV_X86
    return {reinterpret_cast<Words>(_mm_unpacklo_epi16(Register(a), Register(b))),
            reinterpret_cast<Words>(_mm_unpackhi_epi16(Register(a), Register(b)))};
#else
    WordPair turns = {};
    for (int32_t i = 0; i < kLanes; ++i) {
        turns.low[2 * i] = a[i];
        turns.low[2 * i + 1] = b[i];
        turns.high[2 * i] = a[kLanes + i];
        turns.high[2 * i + 1] = b[kLanes + i];
    }
    return turns;
#endif
}

/// Back from what Turns has parted, each clamped to 16 bits.
inline Words WordsOf(Ints low, Ints high) noexcept {
#if ZV_ISA_LEVEL == 2
    return reinterpret_cast<Words>(_mm512_packs_epi32(reinterpret_cast<__m512i>(low), reinterpret_cast<__m512i>(high)));
#elif ZV_ISA_LEVEL == 1
    return reinterpret_cast<Words>(_mm256_packs_epi32(reinterpret_cast<__m256i>(low), reinterpret_cast<__m256i>(high)));
#elif ZV_X86
    return reinterpret_cast<Words>(_mm_packs_epi32(reinterpret_cast<__m128i>(low), reinterpret_cast<__m128i>(high)));
#else
    Words words = {};
    const auto word = [](int32_t value) {
        return static_cast<int16_t>(value < INT16_MIN ? INT16_MIN : value > INT16_MAX ? INT16_MAX : value);
    };
    for (int32_t i = 0; i < kLanes; ++i) {
        words[i] = word(low[i]);
        words[kLanes + i] = word(high[i]);
    }
    return words;
#endif
}

/// A vector of bytes as four of single precision, and work(a, b) of two of them, cut to integers, as bytes again.
struct FloatQuarters {
    Floats quarters[4];

    explicit FloatQuarters(Bytes b) noexcept {
        const WordPair words = WordsOf(b);
        const WordPair low = Turns(words.low, Words{}), high = Turns(words.high, Words{});
        quarters[0] = ToFloat(reinterpret_cast<Ints>(low.low));
        quarters[1] = ToFloat(reinterpret_cast<Ints>(low.high));
        quarters[2] = ToFloat(reinterpret_cast<Ints>(high.low));
        quarters[3] = ToFloat(reinterpret_cast<Ints>(high.high));
    }
};
template <class Work>
Bytes BytesOf(const FloatQuarters& a, const FloatQuarters& b, const Work& work) noexcept {
    const auto of = [&](size_t i) { return Truncate(work(a.quarters[i], b.quarters[i])); };
    return BytesOf(WordsOf(of(0), of(1)), WordsOf(of(2), of(3)));
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

// --- Estimates ------------------------------------------------------------------------------------------------------

/// Pixels of a block whose estimate lies so close to an edge between two bytes that it does not tell them apart.
class ClosePixels {
public:
    /// Marks the lanes from pixel `at` on whose two candidates differ in any channel.
    void Add(int32_t at, Ints differences) noexcept { pixels_ |= uint64_t{LanesThatAreSet(differences)} << at; }

    /// redo(i) for each of them.
    template <class Redo>
    void Each(const Redo& redo) const noexcept {
        for (uint64_t left = pixels_; left != 0; left &= left - 1) redo(__builtin_ctzll(left));
    }
    bool Any() const noexcept { return pixels_ != 0; }

private:
    uint64_t pixels_ = 0;
};

}  // namespace ZV_ISA
}  // namespace zv
