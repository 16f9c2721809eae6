#include "Common/kernels/print.h"

#include "Common/kernels/doubles.h"
#include "Common/kernels/fixed_sums.h"
#include "Common/kernels/planes.h"
#include "Common/kernels/quotients.h"

namespace zv {
inline namespace ZV_ISA {

namespace {

// --- CMYK -----------------------------------------------------------------------------------------------------------

/// work(at) for each place that many lanes start at.
template <size_t kBytes, class Work>
void EachBytes(const Work& work) noexcept {
    for (size_t at = 0; at < kBlock; at += kBytes) work(at);
}

Bytes BytesAt(const Plane& plane, size_t at) noexcept { return LoadLanes<Bytes>(plane.bytes + at); }

Bytes LeastOf(Bytes a, Bytes b, Bytes c) noexcept { return Least(a, Least(b, c)); }
Bytes GreatestOf(Bytes a, Bytes b, Bytes c) noexcept { return Greatest(a, Greatest(b, c)); }

/// ClrGcrSquares without its table: 256 / 255^2 at 23 fractional bits.
struct GcrSquare {
    static constexpr uint16_t kScale = 33026;
    static constexpr int32_t kShift = 7;

    static UnsignedWords Of(UnsignedWords step) noexcept {
        return UpperProduct(step * step, UnsignedWords{} + kScale) >> kShift;
    }
};
static_assert([] {
    for (uint32_t i = 0; i < 256; ++i) {
        if ((i * i * GcrSquare::kScale) >> 16 >> GcrSquare::kShift != ClrGcrSquares[i]) return false;
    }
    return true;
}());

class CmykRows {
public:
    static constexpr int32_t kPixelBytes = 4;

    explicit CmykRows(const void* codec) noexcept : CmykRows(*static_cast<const Cmyk*>(codec)) {}

    template <class Hub>
    void Encode(const Hub& in, Planes<4>& out) const noexcept {
        Plane common, greyness;
        EachBytes<sizeof(Bytes)>([&](size_t at) {
            const Bytes c = ~BytesAt(in.r, at), m = ~BytesAt(in.g, at), y = ~BytesAt(in.b, at);
            const Bytes n = LeastOf(c, m, y);
            StoreLanes(out[0].bytes + at, c);
            StoreLanes(out[1].bytes + at, m);
            StoreLanes(out[2].bytes + at, y);
            StoreLanes(common.bytes + at, n);
            StoreLanes(greyness.bytes + at, ~(GreatestOf(c, m, y) - n));
        });
        for (int32_t at = 0; at < kBlock; at += kLanes) {
            const DoublePair n =
                ToDoubles(LoadBytes(common.At(at)));  // the level's thousandths keep n * level in 32 bits
            StoreLowBytes(out[3].At(at), Truncate({n.first * level_, n.second * level_}));
        }
        if (!takesInk_) return;
        for (int32_t at = 0; at < kBlock; at += kLanes) {
            const DoublePair n = ToDoubles(LoadBytes(common.At(at)));
            const DoublePair grey = ToDoubles(LoadBytes(greyness.At(at)));
            StoreLowBytes(common.At(at), Truncate({InkOf(n.first, grey.first), InkOf(n.second, grey.second)}));
        }
        EachBytes<sizeof(Bytes)>([&](size_t at) {
            const Bytes ink = BytesAt(common, at);
            for (size_t c = 0; c < 3; ++c) StoreLanes(out[c].bytes + at, BytesAt(out[c], at) - ink);
        });
    }

    /// What black takes off is limited to 255 - x at most. So a scale of 255 does what greater ones do, and negative
    /// ones too, whose products are compared unsigned; and blacks above 255 / scale do no more than that, which keeps
    /// products in 16 bits.
    template <class Hub>
    void Decode(const Planes<4>& in, const Hub& out) const noexcept {
        Plane* const planes[3] = {&out.r, &out.g, &out.b};
        if (scale_ == 0) {
            EachBytes<sizeof(Bytes)>([&](size_t at) {
                for (size_t c = 0; c < 3; ++c) StoreLanes(planes[c]->bytes + at, ~BytesAt(in[c], at));
            });
            return;
        }
        Plane room, greyness;
        EachBytes<sizeof(Bytes)>([&](size_t at) {
            const Bytes c = BytesAt(in[0], at), m = BytesAt(in[1], at), y = BytesAt(in[2], at);
            const Bytes x = GreatestOf(c, m, y);
            StoreLanes(room.bytes + at, ~x);
            StoreLanes(greyness.bytes + at, ~(x - LeastOf(c, m, y)));
        });
        for (int32_t at = 0; at < kBlock; at += kWords) {
            const auto squares = GcrSquare::Of(reinterpret_cast<UnsignedWords>(LoadByteWords(greyness.At(at))));
            const auto black = reinterpret_cast<UnsignedWords>(LoadByteWords(in[3].At(at)));
            const auto weighed = reinterpret_cast<Words>((squares * black) >> 8);
            const Words taken = Least(weighed, Words{} + enough_) * scale_;
            StoreWordBytes(room.At(at), Least(taken, LoadByteWords(room.At(at))));
        }
        EachBytes<sizeof(Bytes)>([&](size_t at) {
            const Bytes left = ~BytesAt(room, at);
            for (size_t c = 0; c < 3; ++c) StoreLanes(planes[c]->bytes + at, left - BytesAt(in[c], at));
        });
    }

private:
    explicit CmykRows(const Cmyk& codec) noexcept
        : level_(codec.Level()),
          inkPower_(codec.InkPower()),
          takesInk_(!(inkPower_ * 255.0 < 1.0 && inkPower_ * 255.0 > -1.0)),
          scale_(static_cast<int16_t>(codec.BlackScale() < 0 || codec.BlackScale() > 255 ? 255 : codec.BlackScale())),
          enough_(static_cast<int16_t>(scale_ == 0 ? 0 : (255 + scale_ - 1) / scale_)) {}

    /// The definition's steps to t, before the cut. What has no 32-bit integer becomes the lowest.
    Doubles InkOf(Doubles n, Doubles grey) const noexcept {
        const Doubles root = Of255::Ratio(grey);
        const Doubles ink = (root * root) * (Of255::Ratio(n) * inkPower_) * 255.0;
        return ((ink > -2147483649.0) & (ink < 2147483648.0)) ? ink : SplatDouble(INT32_MIN);
    }

    double level_;
    double inkPower_;
    bool takesInk_;  ///< whether t is ever anything but 0
    int16_t scale_;
    int16_t enough_;
};

// --- YCCK -----------------------------------------------------------------------------------------------------------

// The definition's fixed-point sums without the tables of their products.

/// A run of complements of CMY to YCC.
void EncodeYcc(const Bytes (&complements)[3], Bytes (&ycc)[3]) noexcept {
    using Weights = YcckWeights;
    using W = FixedWeight<Weights::kFractionBits>;
    MapWords(complements, ycc, [](const Words(&in)[3], Words(&out)[3]) {
        const Words &r = in[0], &g = in[1], &b = in[2];
        out[0] = FixedSum(r, W(Weights::kRToY), g, W(Weights::kGToY), b, W(Weights::kBToY), W(Weights::kHalf));
        out[1] = FixedSum(r, W(Weights::kRToCb), g, W(Weights::kGToCb), b, W(Weights::kBToCb), W(Weights::kChroma));
        out[2] = FixedSum(r, W(Weights::kRToCr), g, W(Weights::kGToCr), b, W(Weights::kBToCr), W(Weights::kChroma));
    });
}

/// A run of YCC to CMY. The definition's range limit clamps what the sums come to.
void DecodeYcc(const Bytes (&ycc)[3], Bytes (&cmy)[3]) noexcept {
    using Weights = YcckWeights;
    using W = FixedWeight<Weights::kFractionBits>;
    MapWords(ycc, cmy, [](const Words(&in)[3], Words(&out)[3]) {
        const Words complement = 255 - in[0], cb = in[1] - 128, cr = in[2] - 128;
        out[0] = complement - RoundedProduct(cr, W(Weights::kCrToR));
        out[1] = complement - FixedSum(cb, W(Weights::kCbToG), cr, W(Weights::kCrToG), Weights::kHalf);
        out[2] = complement - RoundedProduct(cb, W(Weights::kCbToB));
    });
}

/// A row of four channels to four, of which black stays: work(const Bytes (&in)[3], Bytes (&out)[3]) does the others.
template <class Work>
void MapBesideBlack(const uint8_t* from, uint8_t* to, int32_t width, const Work& work) noexcept {
    MapRuns<4, 4>(from, to, static_cast<size_t>(width), [&](const Bytes(&in)[4], Bytes(&out)[4]) {
        Bytes dealt[4] = {in[0], in[1], in[2], in[3]}, done[3];
        DealRun(dealt);
        work({dealt[0], dealt[1], dealt[2]}, done);
        for (size_t c = 0; c < 3; ++c) out[c] = done[c];
        out[3] = dealt[3];
        WeaveRun(out);
    });
}

void CmykToYcckRow(const uint8_t* from, uint8_t* to, int32_t width, const void*) noexcept {
    MapBesideBlack(from, to, width, [](const Bytes(&inks)[3], Bytes(&out)[3]) {
        EncodeYcc({~inks[0], ~inks[1], ~inks[2]}, out);
    });
}

void YcckToCmykRow(const uint8_t* from, uint8_t* to, int32_t width, const void*) noexcept {
    MapBesideBlack(from, to, width, DecodeYcc);
}

/// The complement of an ink that black has been taken off is the hub's channel and black.
void HubToYcckRow(const uint8_t* from, uint8_t* to, int32_t width, const void*) noexcept {
    MapRuns<3, 4>(from, to, static_cast<size_t>(width), [](const Bytes(&in)[3], Bytes(&out)[4]) {
        Bytes hub[3] = {in[0], in[1], in[2]};
        DealRun(hub);
        const Bytes k = ~Greatest(hub[0], Greatest(hub[1], hub[2]));
        Bytes ycc[3];
        EncodeYcc({hub[0] + k, hub[1] + k, hub[2] + k}, ycc);
        for (size_t c = 0; c < 3; ++c) out[c] = ycc[c];
        out[3] = k;
        WeaveRun(out);
    });
}

template <bool kRgbFirst>
void YcckToHubRow(const uint8_t* from, uint8_t* to, int32_t width, const void*) noexcept {
    MapRuns<4, 3>(from, to, static_cast<size_t>(width), [](const Bytes(&in)[4], Bytes(&out)[3]) {
        Bytes ycck[4] = {in[0], in[1], in[2], in[3]};
        DealRun(ycck);
        Bytes inks[3];
        DecodeYcc({ycck[0], ycck[1], ycck[2]}, inks);
        for (size_t c = 0; c < 3; ++c) {
            Bytes channel[1];
            MapWords<2>({inks[c], ycck[3]}, channel, [](const Words(&words)[2], Words(&left)[1]) {
                const auto v = reinterpret_cast<UnsignedWords>(words[0]);
                const auto k = reinterpret_cast<UnsignedWords>(words[1]);
                left[0] = reinterpret_cast<Words>(255 - k - v + Quotient<255, 255 * 255 + 127>(v * k + 127));
            });
            out[kRgbFirst ? c : 2 - c] = channel[0];
        }
        WeaveRun(out);
    });
}

}  // namespace

const PrintRowTable kPrintRows = {
    kHubRows<CmykRows>, CmykToYcckRow, YcckToCmykRow, HubToYcckRow, {YcckToHubRow<false>, YcckToHubRow<true>},
};

}  // namespace ZV_ISA
}  // namespace zv
