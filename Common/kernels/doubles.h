// Steps in double precision, side by side as the definitions take them one by one.
#pragma once

#include <cstdint>

#include "Common/kernels/lanes.h"

namespace zv {
inline namespace ZV_ISA {

/// As many lanes as Ints has: the first half, then the second.
struct DoublePair {
    Doubles first, second;
};

inline DoublePair ToDoubles(Ints lanes) noexcept {
#if ZV_ISA_LEVEL == 2
    const auto all = Register(lanes);
    return {reinterpret_cast<Doubles>(_mm512_cvtepi32_pd(_mm512_castsi512_si256(all))),
            reinterpret_cast<Doubles>(_mm512_cvtepi32_pd(_mm512_extracti64x4_epi64(all, 1)))};
#elif ZV_ISA_LEVEL == 1
    const auto all = Register(lanes);
    return {reinterpret_cast<Doubles>(_mm256_cvtepi32_pd(_mm256_castsi256_si128(all))),
            reinterpret_cast<Doubles>(_mm256_cvtepi32_pd(_mm256_extracti128_si256(all, 1)))};
#elif ZV_X86
    const auto all = Register(lanes);
    return {reinterpret_cast<Doubles>(_mm_cvtepi32_pd(all)),
            reinterpret_cast<Doubles>(_mm_cvtepi32_pd(_mm_unpackhi_epi64(all, all)))};
#else
    DoublePair pair;
    for (int32_t i = 0; i < kDoubles; ++i) {
        pair.first[i] = lanes[i];
        pair.second[i] = lanes[kDoubles + i];
    }
    return pair;
#endif
}

/// Toward zero; the values must have integers.
inline Ints Truncate(const DoublePair& pair) noexcept {
#if ZV_ISA_LEVEL == 2
    const __m512i first = _mm512_castsi256_si512(_mm512_cvttpd_epi32(reinterpret_cast<__m512d>(pair.first)));
    return reinterpret_cast<Ints>(
        _mm512_inserti64x4(first, _mm512_cvttpd_epi32(reinterpret_cast<__m512d>(pair.second)), 1));
#elif ZV_ISA_LEVEL == 1
    const __m256i first = _mm256_castsi128_si256(_mm256_cvttpd_epi32(reinterpret_cast<__m256d>(pair.first)));
    return reinterpret_cast<Ints>(
        _mm256_inserti128_si256(first, _mm256_cvttpd_epi32(reinterpret_cast<__m256d>(pair.second)), 1));
#elif ZV_X86
    return reinterpret_cast<Ints>(_mm_unpacklo_epi64(_mm_cvttpd_epi32(reinterpret_cast<__m128d>(pair.first)),
                                                     _mm_cvttpd_epi32(reinterpret_cast<__m128d>(pair.second))));
#else
    Ints lanes;
    for (int32_t i = 0; i < kDoubles; ++i) {
        lanes[i] = static_cast<int32_t>(pair.first[i]);
        lanes[kDoubles + i] = static_cast<int32_t>(pair.second[i]);
    }
    return lanes;
#endif
}

/// n / 255.0 for the integers of a byte: 1 / 255 to twice the precision, whose first part gives exact products.
struct Of255 {
    static constexpr double kFirst = static_cast<double>(static_cast<float>(1.0 / 255.0));
    static constexpr double kSecond = (1.0 - 255.0 * kFirst) / 255.0;

    template <class Number>
    static constexpr Number Ratio(Number n) noexcept {
        return n * kFirst + n * kSecond;
    }
};
static_assert([] {
    for (int32_t n = 0; n < 256; ++n) {
        if (Of255::Ratio(static_cast<double>(n)) != n / 255.0) return false;
    }
    return true;
}());

}  // namespace ZV_ISA
}  // namespace zv
