// A run's bytes as words of 16 bits, those as numbers of 32, and back.
#pragma once

#include <cstddef>
#include <cstdint>

#include "Common/kernels/runs.h"

namespace zv {
inline namespace ZV_ISA {

// A vector of bytes as two of words, and back. Which bytes go to which of the two is no matter.

struct WordPair {
    Words low, high;
};

#if ZV_ISA_LEVEL == 2
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
    return reinterpret_cast<Words>(_mm512_packs_epi32(Register(low), Register(high)));
#elif ZV_ISA_LEVEL == 1
    return reinterpret_cast<Words>(_mm256_packs_epi32(Register(low), Register(high)));
#elif ZV_X86
    return reinterpret_cast<Words>(_mm_packs_epi32(Register(low), Register(high)));
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

}  // namespace ZV_ISA
}  // namespace zv
