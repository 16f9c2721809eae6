#include "Common/kernels/lab_estimates.h"

namespace zv {
inline namespace ZV_ISA {

namespace {

/// The kLabSumBits from kFrom on.
template <int32_t kFrom>
uint64_t Place(uint64_t sum) noexcept {
#if ZV_ISA_LEVEL >= 1 && defined(__x86_64__)
    return _bextr_u64(sum, kFrom, kLabSumBits);
#else
    return sum >> kFrom & ((uint64_t{1} << kLabSumBits) - 1);
#endif
}

/// What the table of roots has for a block.
struct RootBlock {
    alignas(64) int16_t roots[3][kBlock];

    /// Of kWords hub pixels from `start` on that are not dealt out: their bytes are needed one by one.
    template <bool kRgbFirst>
    void LookUp(const ClrLabEncodeRecord::Lanes& lanes, const LabRoots& table, const uint8_t* from,
                int32_t start) noexcept {
        const uint64_t* const first = lanes.xyz[kRgbFirst ? 0 : 2];
        const uint64_t* const middle = lanes.xyz[1];
        const uint64_t* const last = lanes.xyz[kRgbFirst ? 2 : 0];
        const auto sumOf = [&](const uint8_t* pixel) {
            return KeptScalar((first[pixel[0]] + middle[pixel[1]]) + last[pixel[2]]);
        };
        const auto rootOf = [&](uint64_t place) { return uint32_t{static_cast<uint16_t>(table.of[place])}; };
        for (int32_t i = start; i < start + kWords; i += 2) {
            const uint64_t a = sumOf(from + 3 * i), b = sumOf(from + 3 * (i + 1));
            // Pixels in pairs: a store costs more than a shift.
            const auto put = [&](size_t c, uint64_t placeA, uint64_t placeB) {
                StoreLanes(roots[c] + i, static_cast<uint32_t>(KeptScalar(rootOf(placeA) | rootOf(placeB) << 16)));
            };
            put(0, Place<0>(a), Place<0>(b));
            put(1, Place<kLabSumBits>(a), Place<kLabSumBits>(b));
            put(2, a >> (2 * kLabSumBits), b >> (2 * kLabSumBits));
        }
    }
};

template <bool kRgbFirst>
void EncodeBlock(const LabEncodeContext& context, const uint8_t* from, Planes<3>& out) noexcept {
    const ClrLabEncodeRecord& record = context.record;
    const ClrLabEncodeRecord::Lanes& lanes = record.lanes;
    RootBlock block;
    block.LookUp<kRgbFirst>(lanes, context.roots, from, 0);
    ClosePixels outside;
    for (int32_t at = 0; at < kBlock; at += kWords) {
        // The next ones are looked up beside the work on these: processors have units for both.
        if (at + kWords < kBlock) block.LookUp<kRgbFirst>(lanes, context.roots, from, at + kWords);
        const auto fx = LoadLanes<Words>(block.roots[0] + at), fy = LoadLanes<Words>(block.roots[1] + at),
                   fz = LoadLanes<Words>(block.roots[2] + at);
        const Words a = Difference(fx, fy), b = Difference(fy, fz);
        // What overruns its channel pulls the other along: such pixels are left to the definition.
        outside.Add(at, (a < lanes.aMin) | (a > lanes.aMax) | (b < lanes.bMin) | (b > lanes.bMax));
        StoreWordBytes(out[0].At(at), BytesOfNumbers(lanes.bytes[0], fy));
        StoreWordBytes(out[1].At(at), BytesOfNumbers(lanes.bytes[1], a));
        StoreWordBytes(out[2].At(at), BytesOfNumbers(lanes.bytes[2], b));
    }
    RedoOnce(
        outside,
        [&](int32_t i) {
            const uint8_t* const pixel = from + 3 * i;
            return Rgb{pixel[kRgbFirst ? 0 : 2], pixel[1], pixel[kRgbFirst ? 2 : 0]};
        },
        [&](Rgb pixel) { return LabFromRgb(record, pixel); },
        [&](int32_t i, const Pixel<3>& pixel) { StorePlanes(out, i, pixel); });
}

template <bool kRgbFirst>
void EncodeRow(const uint8_t* from, uint8_t* to, int32_t width, const void* context) noexcept {
    const auto& encoding = *static_cast<const LabEncodeContext*>(context);
    Planes<3> out;
    for (; width >= kBlock; width -= kBlock) {
        EncodeBlock<kRgbFirst>(encoding, from, out);
        Weave(out, to);
        from += 3 * kBlock;
        to += 3 * kBlock;
    }
    if (width < 1) return;
    alignas(64) uint8_t block[3 * kBlock] = {};
    const size_t bytes = 3 * static_cast<size_t>(width);
    std::memcpy(block, from, bytes);
    EncodeBlock<kRgbFirst>(encoding, block, out);
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
            const Ints fy = l * lanes.lScale + Select(l < lanes.lFrom, SplatInt(lanes.lBelow + kRootRound),
                                                      SplatInt(lanes.lAbove + kRootRound));
            const Floats x = LightOfRoot(fy + (a * lanes.aScale + lanes.aConstant));
            const Floats y = LightOfRoot(fy);
            const Floats z = LightOfRoot(fy - (b * lanes.bScale + lanes.bConstant));
            light.Put(at, x, y, z);
        }
        light.Store({out.r.At(0), out.g.At(0), out.b.At(0)}, close);
        // What was found is within a step or two of the truth, which is quicker to mend than to find anew.
        RedoOnce(
            close, [&](int32_t i) { return Pixel<6>{in[0][i], in[1][i], in[2][i], out.r[i], out.g[i], out.b[i]}; },
            [&](const Pixel<6>& p) {
                const std::array<int32_t, 3> exact = LabLight(record, {p[0], p[1], p[2]});
                return Rgb{Mended(exact[0], p[3]), Mended(exact[1], p[4]), Mended(exact[2], p[5])};
            },
            [&](int32_t i, Rgb pixel) { StoreHub(out, i, pixel); });
    }

private:
    /// The definition's byte of light, from one that is hardly off: how many thresholds do not lie above the light.
    uint8_t Mended(int32_t light, int32_t byte) const noexcept {
        while (byte < 255 && light >= record.gammaThresholds[byte]) ++byte;
        while (byte > 0 && light < record.gammaThresholds[byte - 1]) --byte;
        return LowByte(byte);
    }
};

}  // namespace

const ClrHubRows kLabRecordRows = {{EncodeRow<false>, EncodeRow<true>},
                                   {ToHubRow<DecodeRows, false>, ToHubRow<DecodeRows, true>}};

}  // namespace ZV_ISA
}  // namespace zv
