#include "Common/kernels/lab_estimates.h"

namespace zv::inline ZV_ISA {

namespace {

/// Interpolated between neighbours: lo + (((hi - lo) * (v & 15) + 8) >> 4) of a pair.
Ints Interpolated(Ints pairs, Ints places) noexcept {
    const Ints part = places & 15;
#if ZV_X86
    // (16 - part) * lo + part * hi by one instruction, whose factors have a sign.
    const Ints factors = (part << 16) - part + 16;
#    if ZV_ISA_LEVEL == 2
    const auto sums =
        reinterpret_cast<Ints>(_mm512_madd_epi16(reinterpret_cast<__m512i>(pairs), reinterpret_cast<__m512i>(factors)));
#    elif ZV_ISA_LEVEL == 1
    const auto sums =
        reinterpret_cast<Ints>(_mm256_madd_epi16(reinterpret_cast<__m256i>(pairs), reinterpret_cast<__m256i>(factors)));
#    else
    const auto sums =
        reinterpret_cast<Ints>(_mm_madd_epi16(reinterpret_cast<__m128i>(pairs), reinterpret_cast<__m128i>(factors)));
#    endif
    return (sums + (32768 * 16 + 8)) >> 4;
#else
    const Ints low = pairs << 16 >> 16, high = pairs >> 16;
    return ((low * (16 - part) + high * part) + (32768 * 16 + 8)) >> 4;
#endif
}

struct EncodeRows {
    static constexpr int32_t kPixelBytes = 3;
    const ClrLabEncodeRecord& record;

    explicit EncodeRows(const void* context) noexcept : record(*static_cast<const ClrLabEncodeRecord*>(context)) {}

    template <class Hub>
    void Encode(const Hub& in, Planes<3>& out) const noexcept {
        const ClrLabEncodeRecord::Lanes& lanes = record.lanes;
        alignas(64) int32_t xyz[3][kBlock], places[3][kBlock];
        alignas(64) uint32_t pairs[3][kBlock];
        for (int32_t at = 0; at < kBlock; at += kLanes) {
            Ints sums[3];
            SumQuads(lanes.xyz, in.r.At(at), in.g.At(at), in.b.At(at), sums);
            for (size_t c = 0; c < 3; ++c) {
                StoreLanes(xyz[c] + at, sums[c]);
                StoreLanes(places[c] + at, Least(Greatest(sums[c], Ints{}), SplatInt(65535)) >> 4);
            }
        }
        for (size_t c = 0; c < 3; ++c) LookUp<0>(lanes.rootPairs, places[c], pairs[c]);
        ClosePixels close;
        for (int32_t at = 0; at < kBlock; at += kLanes) {
            Ints f[3];
            for (size_t c = 0; c < 3; ++c) {
                const Ints v = Greatest(LoadLanes<Ints>(xyz[c] + at), Ints{});
                f[c] = Select(v > 65535, SplatInt(65536), Interpolated(LoadLanes<Ints>(pairs[c] + at), v));
            }
            const Ints a = f[0] - f[1], b = f[1] - f[2];
            // What overruns its channel pulls the other along: such pixels are left to the definition.
            Ints differences = (a < record.aMin) | (a > record.aMax) | (b < record.bMin) | (b > record.bMax);
            const Ints numbers[3] = {f[1], a, b};
            for (size_t c = 0; c < 3; ++c) {
                // Below 0 the cut goes up where the definition's shift goes down, and both end at 0.
                const Floats least = ToFloat(numbers[c]) * lanes.scale[c] + lanes.constant[c];
                const Ints high = Truncate(least + lanes.window[c]);
                differences |= Truncate(least) ^ high;
                StoreBytes(out[c].At(at), high);
            }
            close.Add(at, differences);
        }
        RedoOnce(
            close, [&](int32_t i) { return LoadHub(in, i); }, [&](Rgb pixel) { return LabFromRgb(record, pixel); },
            [&](int32_t i, const Pixel<3>& pixel) { StorePlanes(out, i, pixel); });
    }
};

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

const ClrHubRows kLabRecordRows = {{FromHubRow<EncodeRows, false>, FromHubRow<EncodeRows, true>},
                                   {ToHubRow<DecodeRows, false>, ToHubRow<DecodeRows, true>}};

}  // namespace zv::inline ZV_ISA
