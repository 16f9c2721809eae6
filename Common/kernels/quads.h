// Sums of three table entries for each pixel, four numbers at a time.
#pragma once

#include "Common/kernels/planes.h"

namespace zv {
inline namespace ZV_ISA {

typedef float Four __attribute__((vector_size(16)));

#if ZV_X86

/// Low halves of the 128-bit parts of two vectors, interleaved; and high ones.
inline Ints WeaveLow(Ints a, Ints b) noexcept {
#    if ZV_ISA_LEVEL == 2
    return reinterpret_cast<Ints>(_mm512_unpacklo_epi32(Register(a), Register(b)));
#    elif ZV_ISA_LEVEL == 1
    return reinterpret_cast<Ints>(_mm256_unpacklo_epi32(Register(a), Register(b)));
#    else
    return reinterpret_cast<Ints>(_mm_unpacklo_epi32(Register(a), Register(b)));
#    endif
}
inline Ints WeaveHigh(Ints a, Ints b) noexcept {
#    if ZV_ISA_LEVEL == 2
    return reinterpret_cast<Ints>(_mm512_unpackhi_epi32(Register(a), Register(b)));
#    elif ZV_ISA_LEVEL == 1
    return reinterpret_cast<Ints>(_mm256_unpackhi_epi32(Register(a), Register(b)));
#    else
    return reinterpret_cast<Ints>(_mm_unpackhi_epi32(Register(a), Register(b)));
#    endif
}

/// Four, 16 bytes each, of every fourth group.
inline Ints Joined(const Four* quads) noexcept {
    const auto part = [&](int32_t i) { return reinterpret_cast<__m128i>(quads[i]); };
#    if ZV_ISA_LEVEL == 2
    __m512i all = _mm512_castsi128_si512(part(0));
    all = _mm512_inserti32x4(all, part(4), 1);
    all = _mm512_inserti32x4(all, part(8), 2);
    return reinterpret_cast<Ints>(_mm512_inserti32x4(all, part(12), 3));
#    elif ZV_ISA_LEVEL == 1
    return reinterpret_cast<Ints>(_mm256_inserti128_si256(_mm256_castsi128_si256(part(0)), part(4), 1));
#    else
    return reinterpret_cast<Ints>(part(0));
#    endif
}

#endif

/// sums[k] of kLanes pixels: tables[0][a][k] + tables[1][b][k] + tables[2][c][k] for k from 0 to 2. One load fetches
/// all that a byte adds. A call of its own would cost as much again: no vector outlives it.
[[gnu::always_inline]] inline void SumQuads(const float (&tables)[3][256][4], const uint8_t* a, const uint8_t* b,
                                            const uint8_t* c, Ints (&sums)[3]) noexcept {
    Four quads[kLanes];
    for (int32_t i = 0; i < kLanes; ++i) {
        quads[i] =
            (LoadLanes<Four>(tables[0][a[i]]) + LoadLanes<Four>(tables[1][b[i]])) + LoadLanes<Four>(tables[2][c[i]]);
    }
#if ZV_X86
    const Ints q0 = Joined(quads), q1 = Joined(quads + 1), q2 = Joined(quads + 2), q3 = Joined(quads + 3);
    const Ints low02 = WeaveLow(q0, q2), low13 = WeaveLow(q1, q3);
    sums[0] = WeaveLow(low02, low13);
    sums[1] = WeaveHigh(low02, low13);
    sums[2] = WeaveLow(WeaveHigh(q0, q2), WeaveHigh(q1, q3));
#else
    for (int32_t k = 0; k < 3; ++k) {
        float lanes[kLanes];
        for (int32_t i = 0; i < kLanes; ++i) lanes[i] = quads[i][k];
        sums[k] = LoadLanes<Ints>(lanes);
    }
#endif
}

}  // namespace ZV_ISA
}  // namespace zv
