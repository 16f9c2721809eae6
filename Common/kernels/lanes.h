// Vectors of the machine's own width and the few operations on them that the operators of the language lack. Nothing
// here rounds differently from a scalar: a vector is so many pixels side by side.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "Common/kernels/isa.h"

// Whoever compiles for another processor, or for the sake of a check, has rows without intrinsics.
#ifndef ZV_X86
#    if defined(__x86_64__) || defined(__i386__)
#        define ZV_X86 1
#    else
#        define ZV_X86 0
#    endif
#endif
#if ZV_X86
#    include <immintrin.h>
#endif

namespace zv {
inline namespace ZV_ISA {

#if ZV_ISA_LEVEL == 2
inline constexpr int32_t kLanes = 16;
#elif ZV_ISA_LEVEL == 1
inline constexpr int32_t kLanes = 8;
#else
inline constexpr int32_t kLanes = 4;
#endif

/// 32-bit lanes, and the 64-bit lanes that fill the same register.
typedef int32_t Ints __attribute__((vector_size(kLanes * 4)));
typedef float Floats __attribute__((vector_size(kLanes * 4)));
typedef uint8_t Bytes __attribute__((vector_size(kLanes * 4)));
inline constexpr int32_t kDoubles = kLanes / 2;
typedef double Doubles __attribute__((vector_size(kLanes * 4)));

inline Ints SplatInt(int32_t value) noexcept { return Ints{} + value; }
inline Floats Splat(float value) noexcept { return Floats{} + value; }
inline Doubles SplatDouble(double value) noexcept { return Doubles{} + value; }

/// As the intrinsics have it.
#if ZV_ISA_LEVEL == 2
template <class Vector>
__m512i Register(Vector lanes) noexcept {
    return reinterpret_cast<__m512i>(lanes);
}
#elif ZV_ISA_LEVEL == 1
template <class Vector>
__m256i Register(Vector lanes) noexcept {
    return reinterpret_cast<__m256i>(lanes);
}
#elif ZV_X86
template <class Vector>
__m128i Register(Vector lanes) noexcept {
    return reinterpret_cast<__m128i>(lanes);
}
#endif

template <class Vector>
Vector LoadLanes(const void* from) noexcept {
    Vector lanes;
    std::memcpy(&lanes, from, sizeof lanes);
    return lanes;
}
template <class Vector>
void StoreLanes(void* to, Vector lanes) noexcept {
    std::memcpy(to, &lanes, sizeof lanes);
}

template <class Vector>
Vector Least(Vector a, Vector b) noexcept {
    return a < b ? a : b;
}
template <class Vector>
Vector Greatest(Vector a, Vector b) noexcept {
    return a > b ? a : b;
}

/// kLanes bytes, each in a lane of its own.
inline Ints LoadBytes(const uint8_t* from) noexcept {
#if ZV_ISA_LEVEL == 2
    return reinterpret_cast<Ints>(_mm512_cvtepu8_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from))));
#elif ZV_ISA_LEVEL == 1
    return reinterpret_cast<Ints>(_mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(from))));
#elif ZV_X86
    int32_t four;
    std::memcpy(&four, from, sizeof four);
    const __m128i words = _mm_unpacklo_epi8(_mm_cvtsi32_si128(four), _mm_setzero_si128());
    return reinterpret_cast<Ints>(_mm_unpacklo_epi16(words, _mm_setzero_si128()));
#else
    return Ints{from[0], from[1], from[2], from[3]};
#endif
}

/// The same of signed bytes.
inline Ints LoadSignedBytes(const uint8_t* from) noexcept { return LoadBytes(from) << 24 >> 24; }

/// Each lane clamped to 0..255, as bytes.
inline void StoreBytes(uint8_t* to, Ints lanes) noexcept {
#if ZV_ISA_LEVEL == 2
    const __m512i low = reinterpret_cast<__m512i>(Greatest(lanes, Ints{}));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm512_cvtusepi32_epi8(low));
#elif ZV_ISA_LEVEL == 1
    const auto all = Register(lanes);
    const __m128i words = _mm_packs_epi32(_mm256_castsi256_si128(all), _mm256_extracti128_si256(all, 1));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(to), _mm_packus_epi16(words, words));
#elif ZV_X86
    const auto all = Register(lanes);
    const __m128i words = _mm_packs_epi32(all, all);
    const int32_t four = _mm_cvtsi128_si32(_mm_packus_epi16(words, words));
    std::memcpy(to, &four, sizeof four);
#else
    for (int32_t i = 0; i < kLanes; ++i) {
        to[i] = static_cast<uint8_t>(lanes[i] < 0 ? 0 : lanes[i] > 255 ? 255 : lanes[i]);
    }
#endif
}

/// The low eight bits of each lane, as bytes.
inline void StoreLowBytes(uint8_t* to, Ints lanes) noexcept {
#if ZV_ISA_LEVEL == 2
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm512_cvtepi32_epi8(Register(lanes)));
#else
    StoreBytes(to, lanes & 255);
#endif
}

inline Floats ToFloat(Ints lanes) noexcept { return __builtin_convertvector(lanes, Floats); }
/// Toward zero; the values must have integers.
inline Ints Truncate(Floats lanes) noexcept { return __builtin_convertvector(lanes, Ints); }

/// A bit for each lane that is not 0, the first lane's lowest.
inline uint32_t LanesThatAreSet(Ints lanes) noexcept {
#if ZV_ISA_LEVEL == 2
    const auto all = Register(lanes);
    return _mm512_test_epi32_mask(all, all);
#elif ZV_ISA_LEVEL == 1
    return static_cast<uint32_t>(_mm256_movemask_ps(reinterpret_cast<__m256>(lanes != 0)));
#elif ZV_X86
    return static_cast<uint32_t>(_mm_movemask_ps(reinterpret_cast<__m128>(lanes != 0)));
#else
    uint32_t bits = 0;
    for (int32_t i = 0; i < kLanes; ++i) bits |= (lanes[i] != 0 ? 1U : 0U) << i;
    return bits;
#endif
}

// --- 16-bit lanes ---------------------------------------------------------------------------------------------------

/// Twice as many as of Ints. Products and sums are the low 16 bits.
inline constexpr int32_t kWords = 2 * kLanes;
typedef int16_t Words __attribute__((vector_size(kLanes * 4)));
typedef uint16_t UnsignedWords __attribute__((vector_size(kLanes * 4)));

/// kWords bytes, each in a lane of its own.
inline Words LoadByteWords(const uint8_t* from) noexcept {
#if ZV_ISA_LEVEL == 2
    return reinterpret_cast<Words>(_mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(from))));
#elif ZV_ISA_LEVEL == 1
    return reinterpret_cast<Words>(_mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from))));
#elif ZV_X86
    const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(from));
    return reinterpret_cast<Words>(_mm_unpacklo_epi8(bytes, _mm_setzero_si128()));
#else
    Words words = {};
    for (int32_t i = 0; i < kWords; ++i) words[i] = from[i];
    return words;
#endif
}

/// Each lane clamped to 0..255, as bytes.
inline void StoreWordBytes(uint8_t* to, Words lanes) noexcept {
#if ZV_ISA_LEVEL == 2
    const __m512i low = reinterpret_cast<__m512i>(Greatest(lanes, Words{}));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), _mm512_cvtusepi16_epi8(low));
#elif ZV_ISA_LEVEL == 1
    const auto all = Register(lanes);
    const __m128i bytes = _mm_packus_epi16(_mm256_castsi256_si128(all), _mm256_extracti128_si256(all, 1));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), bytes);
#elif ZV_X86
    const auto all = Register(lanes);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(to), _mm_packus_epi16(all, all));
#else
    for (int32_t i = 0; i < kWords; ++i) {
        to[i] = static_cast<uint8_t>(lanes[i] < 0 ? 0 : lanes[i] > 255 ? 255 : lanes[i]);
    }
#endif
}

/// Whether any lane is -1, of lanes that are 0 or -1.
inline bool AnyIsSet(Words lanes) noexcept { return LanesThatAreSet(reinterpret_cast<Ints>(lanes)) != 0; }

/// The upper 16 bits of each product.
inline Words MulHigh(Words a, Words b) noexcept {
#if ZV_ISA_LEVEL == 2
    return reinterpret_cast<Words>(_mm512_mulhi_epi16(Register(a), Register(b)));
#elif ZV_ISA_LEVEL == 1
    return reinterpret_cast<Words>(_mm256_mulhi_epi16(Register(a), Register(b)));
#elif ZV_X86
    return reinterpret_cast<Words>(_mm_mulhi_epi16(Register(a), Register(b)));
#else
    Words high = {};
    for (int32_t i = 0; i < kWords; ++i) high[i] = static_cast<int16_t>(a[i] * b[i] >> 16);
    return high;
#endif
}
inline Words MulHigh(Words a, int16_t b) noexcept { return MulHigh(a, Words{} + b); }

/// Lane by lane `yes` where the mask is -1 and `no` where it is 0.
template <class Mask, class Vector>
Vector Select(Mask mask, Vector yes, Vector no) noexcept {
    const auto bits = reinterpret_cast<Ints>(mask);
    return reinterpret_cast<Vector>((bits & reinterpret_cast<Ints>(yes)) | (~bits & reinterpret_cast<Ints>(no)));
}

/// The same, kept from becoming a part of a vector where one by one costs less.
template <class Number>
Number KeptScalar(Number value) noexcept {
    asm("" : "+r"(value));
    return value;
}

}  // namespace ZV_ISA
}  // namespace zv
