// What only moves bytes or bits of bytes: the hub's other order, the complement, and four bits a channel.
#include "Common/kernels/runs.h"

namespace zv {
inline namespace ZV_ISA {

namespace {

/// The first and third byte of each pixel change places.
template <size_t kChannels, size_t kVector>
struct PlacesOfSwapped {
    static constexpr size_t At(size_t i) noexcept {
        const size_t byte = kVector * kReach + i, channel = byte % kChannels;
        return byte - channel + (kChannels - 1 - channel);
    }
};

#if ZV_ISA_LEVEL == 0 && ZV_X86
/// Without a shuffle of bytes: a vector from itself, from two bytes on and from two bytes back.
template <size_t kVector>
Bytes Swapped(__m128i before, __m128i here, __m128i after) noexcept {
    const auto of = [](const std::array<uint8_t, kShuffled>& mask, __m128i bytes) {
        return reinterpret_cast<Bytes>(bytes) & LoadLanes<Bytes>(mask.data());
    };
    const __m128i later = _mm_or_si128(_mm_srli_si128(here, 2), _mm_slli_si128(after, 14));
    const __m128i earlier = _mm_or_si128(_mm_slli_si128(here, 2), _mm_srli_si128(before, 14));
    return of(kChannelMask<kVector, 0>, later) | of(kChannelMask<kVector, 1>, here) |
           of(kChannelMask<kVector, 2>, earlier);
}
void SwapRun(const Bytes (&in)[3], Bytes (&out)[3]) noexcept {
    const __m128i a = Register(in[0]), b = Register(in[1]), c = Register(in[2]), outside = _mm_setzero_si128();
    out[0] = Swapped<0>(outside, a, b);
    out[1] = Swapped<1>(a, b, c);
    out[2] = Swapped<2>(b, c, outside);
}
#else
void SwapRun(const Bytes (&in)[3], Bytes (&out)[3]) noexcept {
    for (size_t i = 0; i < 3; ++i) out[i] = in[i];
    ShuffleRun<PlacesOfSwapped>(out);
}
#endif

template <bool kComplement>
void SwapRow(const uint8_t* from, uint8_t* to, int32_t width, const void*) noexcept {
    MapRuns<3, 3>(from, to, static_cast<size_t>(width), [](const Bytes(&in)[3], Bytes(&out)[3]) {
        SwapRun(in, out);
        if constexpr (kComplement) {
            for (Bytes& vector : out) vector = ~vector;
        }
    });
}

/// In the hub's own order the channels need not be told apart.
void ComplementRow(const uint8_t* from, uint8_t* to, int32_t width, const void*) noexcept {
    MapRuns<1, 1>(from, to, 3 * static_cast<size_t>(width),
                  [](const Bytes(&in)[1], Bytes(&out)[1]) { out[0] = ~in[0]; });
}

constexpr ClrRow kComplementRows[2] = {SwapRow<true>, ComplementRow};

constexpr uint8_t kHighBits = 0xF0;

template <bool kRgbFirst>
void Rgb444FromHubRow(const uint8_t* from, uint8_t* to, int32_t width, const void*) noexcept {
    MapRuns<3, 2>(from, to, static_cast<size_t>(width), [](const Bytes(&in)[3], Bytes(&out)[2]) {
        Bytes hub[3] = {in[0], in[1], in[2]};
        DealRun(hub);
        const Bytes &r = hub[kRgbFirst ? 0 : 2], &g = hub[1], &b = hub[kRgbFirst ? 2 : 0];
        out[0] = r >> 4;
        out[1] = (g & kHighBits) | (b >> 4);
        WeaveRun(out);
    });
}

template <bool kRgbFirst>
void Rgb444ToHubRow(const uint8_t* from, uint8_t* to, int32_t width, const void*) noexcept {
    MapRuns<2, 3>(from, to, static_cast<size_t>(width), [](const Bytes(&in)[2], Bytes(&out)[3]) {
        Bytes packed[2] = {in[0], in[1]};
        DealRun(packed);
        out[kRgbFirst ? 0 : 2] = packed[0] << 4;
        out[1] = packed[1] & kHighBits;
        out[kRgbFirst ? 2 : 0] = packed[1] << 4;
        WeaveRun(out);
    });
}

}  // namespace

const ByteRowTable kByteRows = {
    {{Rgb444FromHubRow<false>, Rgb444FromHubRow<true>}, {Rgb444ToHubRow<false>, Rgb444ToHubRow<true>}},
    {{kComplementRows[0], kComplementRows[1]}, {kComplementRows[0], kComplementRows[1]}},
    SwapRow<false>,
};

}  // namespace ZV_ISA
}  // namespace zv
