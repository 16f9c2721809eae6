#include "Common/kernels/lab_estimates.h"

namespace zv {
inline namespace ZV_ISA {

namespace {

/// The low halves of 64-bit lanes, and the high ones, of as many as a vector has lanes.
struct Halves {
    Ints low, high;

    explicit Halves(const uint64_t* from) noexcept {
        const auto a = LoadLanes<Ints>(from), b = LoadLanes<Ints>(from + kDoubles);
#if ZV_ISA_LEVEL == 2
        low = __builtin_shufflevector(a, b, 0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30);
        high = __builtin_shufflevector(a, b, 1, 3, 5, 7, 9, 11, 13, 15, 17, 19, 21, 23, 25, 27, 29, 31);
#elif ZV_ISA_LEVEL == 1
        const auto singleA = reinterpret_cast<__m256>(a), singleB = reinterpret_cast<__m256>(b);
        const auto inOrder = [](__m256 v) {
            return reinterpret_cast<Ints>(_mm256_permute4x64_epi64(_mm256_castps_si256(v), 0xD8));
        };
        low = inOrder(_mm256_shuffle_ps(singleA, singleB, 0x88));
        high = inOrder(_mm256_shuffle_ps(singleA, singleB, 0xDD));
#else
        low = __builtin_shufflevector(a, b, 0, 2, 4, 6);
        high = __builtin_shufflevector(a, b, 1, 3, 5, 7);
#endif
    }
};

/// The record's roots: lo + (((hi - lo) * (v & 15) + 8) >> 4), the last four bits of v alone in `parts`.
Ints Interpolated(Ints entries, Ints parts) noexcept {
    constexpr int32_t kRound = kLabRootMiddle * 16 + 8;
#if ZV_X86
    const Ints factors = parts | 16 << 16;
#    if ZV_ISA_LEVEL == 2
    const auto sums = reinterpret_cast<Ints>(
        _mm512_madd_epi16(reinterpret_cast<__m512i>(entries), reinterpret_cast<__m512i>(factors)));
#    elif ZV_ISA_LEVEL == 1
    const auto sums = reinterpret_cast<Ints>(
        _mm256_madd_epi16(reinterpret_cast<__m256i>(entries), reinterpret_cast<__m256i>(factors)));
#    else
    const auto sums =
        reinterpret_cast<Ints>(_mm_madd_epi16(reinterpret_cast<__m128i>(entries), reinterpret_cast<__m128i>(factors)));
#    endif
    return (sums + kRound) >> 4;
#else
    return ((entries >> 16) * 16 + (entries & 65535) * parts + kRound) >> 4;
#endif
}

/// Keeps compilers from making vectors of what is cheaper one by one.
uint64_t Fixed(uint64_t value) noexcept {
    asm("" : "+r"(value));
    return value;
}

/// The bits from kFrom on that tell a root.
template <int32_t kFrom>
uint64_t Place(uint64_t sum) noexcept {
    constexpr int32_t kBits = kLabSumBits - 4;
#if ZV_ISA_LEVEL >= 1 && defined(__x86_64__)
    return _bextr_u64(sum, kFrom, kBits);
#else
    return sum >> kFrom & ((uint64_t{1} << kBits) - 1);
#endif
}

/// A block of sums and of what the record's table of roots has for each.
struct RootBlock {
    alignas(64) uint64_t sums[kBlock];
    alignas(64) uint32_t entries[3][kBlock];

    /// Of hub pixels that are not dealt out: their bytes are needed one by one.
    template <bool kRgbFirst>
    void LookUp(const ClrLabEncodeRecord::Lanes& lanes, const uint8_t* from) noexcept {
        constexpr int32_t kY = kLabSumBits + 4, kZ = 2 * kLabSumBits + 4;
        const uint64_t* const first = lanes.xyz[kRgbFirst ? 0 : 2];
        const uint64_t* const middle = lanes.xyz[1];
        const uint64_t* const last = lanes.xyz[kRgbFirst ? 2 : 0];
        const uint32_t* const roots = lanes.roots;
        const auto sumOf = [&](const uint8_t* pixel) {
            return Fixed((first[pixel[0]] + middle[pixel[1]]) + last[pixel[2]]);
        };
        for (int32_t i = 0; i < kBlock; i += 2) {
            const uint64_t a = sumOf(from + 3 * i), b = sumOf(from + 3 * (i + 1));
            sums[i] = a;
            sums[i + 1] = b;
            // Pixels in pairs: a store costs more than a shift.
            const auto put = [&](size_t c, uint64_t placeA, uint64_t placeB) {
                StoreLanes(entries[c] + i, Fixed(roots[placeA] | uint64_t{roots[placeB]} << 32));
            };
            put(0, Place<4>(a), Place<4>(b));
            put(1, Place<kY>(a), Place<kY>(b));
            put(2, a >> kZ, b >> kZ);
        }
    }
};

template <bool kRgbFirst>
void EncodeBlock(const ClrLabEncodeRecord& record, const uint8_t* from, Planes<3>& out) noexcept {
    RootBlock block;
    block.LookUp<kRgbFirst>(record.lanes, from);
    const ClrLabEncodeRecord::ByteScales bytes = record.lanes.bytes;  // a copy, which no stored byte can change
    const int32_t aMin = record.aMin, aMax = record.aMax, bMin = record.bMin, bMax = record.bMax;
    ClosePixels close;
    for (int32_t at = 0; at < kBlock; at += kLanes) {
        const Halves sums(block.sums + at);
        const Ints fx = Interpolated(LoadLanes<Ints>(block.entries[0] + at), sums.low & 15);
        const Ints fy = Interpolated(LoadLanes<Ints>(block.entries[1] + at), sums.low >> kLabSumBits & 15);
        const Ints fz = Interpolated(LoadLanes<Ints>(block.entries[2] + at), sums.high >> (2 * kLabSumBits - 32) & 15);
        const Ints a = fx - fy, b = fy - fz;
        // What overruns its channel pulls the other along: such pixels are left to the definition.
        Ints differences = (a < aMin) | (a > aMax) | (b < bMin) | (b > bMax);
        const Ints numbers[3] = {fy, a, b};
        for (size_t c = 0; c < 3; ++c) {
            // Below 0 the cut goes up where the definition's shift goes down, and both end at 0.
            const Floats least = LeastOfRecord(bytes, c, numbers[c]);
            const Ints high = Truncate(least + bytes.window[c]);
            differences |= Truncate(least) ^ high;
            StoreBytes(out[c].At(at), high);
        }
        close.Add(at, differences);
    }
    RedoOnce(
        close,
        [&](int32_t i) {
            const uint8_t* const pixel = from + 3 * i;
            return Rgb{pixel[kRgbFirst ? 0 : 2], pixel[1], pixel[kRgbFirst ? 2 : 0]};
        },
        [&](Rgb pixel) { return LabFromRgb(record, pixel); },
        [&](int32_t i, const Pixel<3>& pixel) { StorePlanes(out, i, pixel); });
}

template <bool kRgbFirst>
void EncodeRow(const uint8_t* from, uint8_t* to, int32_t width, const void* context) noexcept {
    const auto& record = *static_cast<const ClrLabEncodeRecord*>(context);
    Planes<3> out;
    for (; width >= kBlock; width -= kBlock) {
        EncodeBlock<kRgbFirst>(record, from, out);
        Weave(out, to);
        from += 3 * kBlock;
        to += 3 * kBlock;
    }
    if (width < 1) return;
    alignas(64) uint8_t block[3 * kBlock] = {};
    const size_t bytes = 3 * static_cast<size_t>(width);
    std::memcpy(block, from, bytes);
    EncodeBlock<kRgbFirst>(record, block, out);
    Weave(out, block);
    std::memcpy(to, block, bytes);
}

struct DecodeRows {
    static constexpr int32_t kPixelBytes = 3;
    const ClrLabDecodeRecord& record;
    const LabByteCells& cells;

    explicit DecodeRows(const void* context) noexcept
        : record(static_cast<const LabDecodeContext*>(context)->record),
          cells(static_cast<const LabDecodeContext*>(context)->cells) {}

    template <class Hub>
    void Decode(const Planes<3>& in, const Hub& out) const noexcept {
        const ClrLabDecodeRecord::Lanes& lanes = record.lanes;
        ClosePixels close;
        LightBlock light(lanes.sums, cells);
        for (int32_t at = 0; at < kBlock; at += kLanes) {
            const Ints l = LoadBytes(in[0].At(at)), a = LoadBytes(in[1].At(at)), b = LoadBytes(in[2].At(at));
            const Ints fy = l * lanes.lScale + Select(l < lanes.lFrom, SplatInt(lanes.lBelow), SplatInt(lanes.lAbove));
            const Floats x = LightOfRoot(fy + (a * lanes.aScale + lanes.aConstant));
            const Floats y = LightOfRoot(fy);
            const Floats z = LightOfRoot(fy - (b * lanes.bScale + lanes.bConstant));
            light.Put(at, x, y, z);
        }
        light.Store({out.r.At(0), out.g.At(0), out.b.At(0)}, close);
        RedoOnce(
            close, [&](int32_t i) { return LoadPlanes(in, i); },
            [&](const Pixel<3>& pixel) { return LabToRgb(record, pixel); },
            [&](int32_t i, Rgb pixel) { StoreHub(out, i, pixel); });
    }
};

}  // namespace

const ClrHubRows kLabRecordRows = {{EncodeRow<false>, EncodeRow<true>},
                                   {ToHubRow<DecodeRows, false>, ToHubRow<DecodeRows, true>}};

}  // namespace ZV_ISA
}  // namespace zv
