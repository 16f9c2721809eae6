#include "Common/kernels/print.h"

#include "Common/kernels/doubles.h"
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

ByteLanes BytesAt(const Plane& plane, size_t at) noexcept { return LoadLanes<ByteLanes>(plane.bytes + at); }

ByteLanes LeastOf(ByteLanes a, ByteLanes b, ByteLanes c) noexcept { return Least(a, Least(b, c)); }
ByteLanes GreatestOf(ByteLanes a, ByteLanes b, ByteLanes c) noexcept { return Greatest(a, Greatest(b, c)); }

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
        EachBytes<sizeof(ByteLanes)>([&](size_t at) {
            const ByteLanes c = ~BytesAt(in.r, at), m = ~BytesAt(in.g, at), y = ~BytesAt(in.b, at);
            const ByteLanes n = LeastOf(c, m, y);
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
        EachBytes<sizeof(ByteLanes)>([&](size_t at) {
            const ByteLanes ink = BytesAt(common, at);
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
            EachBytes<sizeof(ByteLanes)>([&](size_t at) {
                for (size_t c = 0; c < 3; ++c) StoreLanes(planes[c]->bytes + at, ~BytesAt(in[c], at));
            });
            return;
        }
        Plane room, greyness;
        EachBytes<sizeof(ByteLanes)>([&](size_t at) {
            const ByteLanes c = BytesAt(in[0], at), m = BytesAt(in[1], at), y = BytesAt(in[2], at);
            const ByteLanes x = GreatestOf(c, m, y);
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
        EachBytes<sizeof(ByteLanes)>([&](size_t at) {
            const ByteLanes left = ~BytesAt(room, at);
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

// Fixed-point sums without the tables of their products. All of them are integers below 2^24, or at 16 fractional bits
// below 2^8, which single precision holds: nothing is rounded.

constexpr float kUnit = 1.0F / (1 << YcckWeights::kFractionBits);

Ints EncodedSum(Floats r, Floats g, Floats b, int32_t ofR, int32_t ofG, int32_t ofB, int32_t constant) noexcept {
    const Floats sum = (r * static_cast<float>(ofR) + g * static_cast<float>(ofG)) + static_cast<float>(constant);
    return Truncate((sum + b * static_cast<float>(ofB)) * kUnit);
}

/// Complements of CMY to YCC.
void EncodeYcc(const Plane& reds, const Plane& greens, const Plane& blues, Planes<4>& out) noexcept {
    using Weights = YcckWeights;
    for (int32_t at = 0; at < kBlock; at += kLanes) {
        const Floats r = ToFloat(LoadBytes(reds.At(at)));
        const Floats g = ToFloat(LoadBytes(greens.At(at)));
        const Floats b = ToFloat(LoadBytes(blues.At(at)));
        StoreBytes(out[0].At(at), EncodedSum(r, g, b, Weights::kRToY, Weights::kGToY, Weights::kBToY, Weights::kHalf));
        StoreBytes(out[1].At(at),
                   EncodedSum(r, g, b, Weights::kRToCb, Weights::kGToCb, Weights::kBToCb, Weights::kChroma));
        // Its greatest weight is that of red, which must come last for no part of the sum to be too large.
        StoreBytes(out[2].At(at),
                   EncodedSum(b, g, r, Weights::kBToCr, Weights::kGToCr, Weights::kRToCr, Weights::kChroma));
    }
}

/// 255 - luma - the floor of a fixed-point sum is 255 - luma - sum, cut up: with all fractional bits more, cut down.
/// The range limit then clamps it; beyond 255 a rounding may be lost, and below 0 the cut goes up to 0.
Ints DecodedInk(Floats complement, Floats sum) noexcept {
    constexpr auto kFraction = static_cast<float>((1 << YcckWeights::kFractionBits) - 1 - YcckWeights::kHalf);
    return Truncate(complement - (sum - kFraction) * kUnit);
}

/// YCC to CMY.
void DecodeYcc(const Planes<4>& in, Plane& c, Plane& m, Plane& y) noexcept {
    using Weights = YcckWeights;
    for (int32_t at = 0; at < kBlock; at += kLanes) {
        const Floats complement = 255.0F - ToFloat(LoadBytes(in[0].At(at)));
        const Floats cb = ToFloat(LoadBytes(in[1].At(at))) - 128.0F;
        const Floats cr = ToFloat(LoadBytes(in[2].At(at))) - 128.0F;
        StoreBytes(c.At(at), DecodedInk(complement, cr * float{Weights::kCrToR}));
        StoreBytes(m.At(at), DecodedInk(complement, cb * float{Weights::kCbToG} + cr * float{Weights::kCrToG}));
        StoreBytes(y.At(at), DecodedInk(complement, cb * float{Weights::kCbToB}));
    }
}

void CmykToYcckRow(const uint8_t* from, uint8_t* to, int32_t width, const void*) noexcept {
    MapBlocks<4, 4>(from, to, width, [](const Planes<4>& in, Planes<4>& out) {
        Plane complements[3];
        for (size_t c = 0; c < 3; ++c) {
            EachBytes<sizeof(ByteLanes)>(
                [&](size_t at) { StoreLanes(complements[c].bytes + at, ~BytesAt(in[c], at)); });
        }
        EncodeYcc(complements[0], complements[1], complements[2], out);
        out[3] = in[3];
    });
}

void YcckToCmykRow(const uint8_t* from, uint8_t* to, int32_t width, const void*) noexcept {
    MapBlocks<4, 4>(from, to, width, [](const Planes<4>& in, Planes<4>& out) {
        DecodeYcc(in, out[0], out[1], out[2]);
        out[3] = in[3];
    });
}

/// The complement of an ink that black has been taken off is the hub's channel and black.
void HubToYcckRow(const uint8_t* from, uint8_t* to, int32_t width, const void*) noexcept {
    MapBlocks<3, 4>(from, to, width, [](const Planes<3>& in, Planes<4>& out) {
        Planes<3> complements;
        EachBytes<sizeof(ByteLanes)>([&](size_t at) {
            const ByteLanes k = ~GreatestOf(BytesAt(in[0], at), BytesAt(in[1], at), BytesAt(in[2], at));
            for (size_t c = 0; c < 3; ++c) StoreLanes(complements[c].bytes + at, BytesAt(in[c], at) + k);
            StoreLanes(out[3].bytes + at, k);
        });
        EncodeYcc(complements[0], complements[1], complements[2], out);
    });
}

template <bool kRgbFirst>
void YcckToHubRow(const uint8_t* from, uint8_t* to, int32_t width, const void*) noexcept {
    MapBlocks<4, 3>(from, to, width, [](const Planes<4>& in, Planes<3>& out) {
        DecodeYcc(in, out[kRgbFirst ? 0 : 2], out[1], out[kRgbFirst ? 2 : 0]);
        for (int32_t at = 0; at < kBlock; at += kWords) {
            const auto k = reinterpret_cast<UnsignedWords>(LoadByteWords(in[3].At(at)));
            for (Plane& plane : out) {
                const auto v = reinterpret_cast<UnsignedWords>(LoadByteWords(plane.At(at)));
                const UnsignedWords channel = 255 - k - v + Quotient<255, 255 * 255 + 127>(v * k + 127);
                StoreWordBytes(plane.At(at), reinterpret_cast<Words>(channel));
            }
        }
    });
}

}  // namespace

const PrintRowTable kPrintRows = {
    kHubRows<CmykRows>, CmykToYcckRow, YcckToCmykRow, HubToYcckRow, {YcckToHubRow<false>, YcckToHubRow<true>},
};

}  // namespace ZV_ISA
}  // namespace zv
