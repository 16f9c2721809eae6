#include "Common/kernels/luma_chroma.h"

#include "Common/kernels/linear_sums.h"
#include "Common/kernels/planes.h"

namespace zv::inline ZV_ISA {

namespace {

/// The definition's pixels for greys, whose luma lies on an edge, each and every one.
template <class Definition>
constexpr auto kGreys = [] {
    std::array<std::array<uint8_t, 256>, 3> greys{};
    for (size_t v = 0; v < 256; ++v) {
        const auto byte = static_cast<uint8_t>(v);
        const Pixel<3> pixel = Definition::FromRgb({byte, byte, byte});
        for (size_t c = 0; c < 3; ++c) greys[c][v] = pixel[c];
    }
    return greys;
}();

template <class Hub>
bool IsGrey(const Hub& in) noexcept {
    Ints differences = {};
    for (size_t at = 0; at < kBlock; at += sizeof(Ints)) {
        const auto g = LoadLanes<Ints>(in.g.bytes + at);
        differences |= (LoadLanes<Ints>(in.r.bytes + at) ^ g) | (LoadLanes<Ints>(in.b.bytes + at) ^ g);
    }
    return LanesThatAreSet(differences) == 0;
}

/// Hub pixels through the sums of a definition, each cut to a byte.
template <class Definition, class Hub, class StoreLuma, class StoreChroma>
void EncodeBySums(const Hub& in, Planes<3>& out, const StoreLuma& storeLuma, const StoreChroma& storeChroma) noexcept {
    static constexpr auto kSums = LinearSumsOf(Definition::FromRgbSums, 255);
    if (IsGrey(in)) {
        for (size_t c = 0; c < 3; ++c) {
            for (int32_t i = 0; i < kBlock; ++i) out[c][i] = kGreys<Definition>[c][in.g[i]];
        }
        return;
    }
    ClosePixels close;
    for (int32_t at = 0; at < kBlock; at += kLanes) {
        const Floats r = ToFloat(LoadBytes(in.r.At(at)));
        const Floats g = ToFloat(LoadBytes(in.g.At(at)));
        const Floats b = ToFloat(LoadBytes(in.b.At(at)));
        Ints differences = {};
        for (size_t c = 0; c < 3; ++c) {
            const Bracket sum(kSums[c], r, g, b);
            differences |= sum.Differences();
            if (c == 0) {
                storeLuma(out[c].At(at), sum.high);
            } else {
                storeChroma(out[c].At(at), sum.high);
            }
        }
        close.Add(at, differences);
    }
    close.Each([&](int32_t i) {
        if (in.r[i] == in.g[i] && in.g[i] == in.b[i]) {
            for (size_t c = 0; c < 3; ++c) out[c][i] = kGreys<Definition>[c][in.g[i]];
        } else {
            StorePlanes(out, i, Definition::FromRgb(LoadHub(in, i)));
        }
    });
}

/// A decoding step of one byte, as a product in single precision that is cut to an integer.
struct ScaledStep {
    float scale;
    float constant;  ///< added before the cut
    float offset;    ///< added after it

    Floats operator()(const uint8_t* bytes) const noexcept {
        return ToFloat(Truncate(ToFloat(LoadBytes(bytes)) * scale + constant)) + offset;
    }

    template <class Step>
    constexpr bool IsSameAs(const Step& step) const noexcept {
        for (int32_t i = 0; i < 256; ++i) {
            const auto cut = static_cast<int32_t>(static_cast<float>(i) * scale + constant);
            if (static_cast<float>(cut) + offset != static_cast<float>(step(static_cast<uint8_t>(i)))) return false;
        }
        return true;
    }
};

/// What the definition gives where every weighted number is 0 is the first one itself, an integer: no edge is missed.
Ints AnyOf(Floats a) noexcept { return a != 0; }
Ints AnyOf(Floats a, Floats b) noexcept { return (a != 0) | (b != 0); }

struct YuvRows {
    static constexpr int32_t kPixelBytes = 3;

    template <class Hub>
    static void Encode(const Hub& in, Planes<3>& out) noexcept {
        EncodeBySums<Yuv>(in, out, StoreBytes, StoreBytes);
    }

    /// Everything is a multiple of 2^-15 below 512, which single precision holds: nothing is rounded. Below 0 the cut goes
    /// up where the definition's shift goes down, and both end at 0.
    template <class Hub>
    static void Decode(const Planes<3>& in, const Hub& out) noexcept {
        static constexpr ScaledStep kU = {223.0F / 255.0F, 0.001F, -112.0F};
        static constexpr ScaledStep kV = {275.0F / 255.0F, 0.001F, -138.0F};
        static_assert(kU.IsSameAs(Yuv::DecodeU) && kV.IsSameAs(Yuv::DecodeV));
        static constexpr float kUnit = 1.0F / (1 << Yuv::kFractionBits);
        static constexpr auto kOfU = Yuv::Chroma(1, 0), kOfV = Yuv::Chroma(0, 1);
        Plane* const planes[3] = {&out.r, &out.g, &out.b};
        for (int32_t at = 0; at < kBlock; at += kLanes) {
            const Floats y = ToFloat(LoadBytes(in[0].At(at)));
            const Floats u = kU(in[1].At(at));
            const Floats v = kV(in[2].At(at));
            for (size_t c = 0; c < 3; ++c) {
                const Floats sum = (y + v * (static_cast<float>(kOfV[c]) * kUnit)) + u * (static_cast<float>(kOfU[c]) * kUnit);
                StoreBytes(planes[c]->At(at), Truncate(sum));
            }
        }
    }
};

struct YiqRows {
    static constexpr int32_t kPixelBytes = 3;

    template <class Hub>
    static void Encode(const Hub& in, Planes<3>& out) noexcept {
        EncodeBySums<Yiq>(in, out, StoreBytes, StoreBytes);
    }

    template <class Hub>
    static void Decode(const Planes<3>& in, const Hub& out) noexcept {
        static constexpr ScaledStep kY = {263.0F / 255.0F, 0.001F, 0.0F};
        static constexpr ScaledStep kI = {303.0F / 255.0F, -152.0F, 0.0F};
        static constexpr ScaledStep kQ = {267.0F / 255.0F, -134.0F, 0.0F};
        static_assert(kY.IsSameAs(Yiq::DecodeY));
        static_assert(kI.IsSameAs(Yiq::DecodeI));
        static_assert(kQ.IsSameAs(Yiq::DecodeQ));
        static constexpr auto kSums = LinearSumsOf(Yiq::DecodeSums, 263);
        Plane* const planes[3] = {&out.r, &out.g, &out.b};
        ClosePixels close;
        for (int32_t at = 0; at < kBlock; at += kLanes) {
            const Floats y = kY(in[0].At(at)), i = kI(in[1].At(at)), q = kQ(in[2].At(at));
            Ints differences = {};
            for (size_t c = 0; c < 3; ++c) {
                const Bracket sum(kSums[c], y, i, q);
                differences |= sum.Differences();
                StoreBytes(planes[c]->At(at), sum.high);
            }
            close.Add(at, differences & AnyOf(i, q));
        }
        close.Each([&](int32_t i) { StoreHub(out, i, Yiq::ToRgb(LoadPlanes(in, i))); });
    }
};

struct YcbcrRows {
    static constexpr int32_t kPixelBytes = 3;

    /// Chroma stays between -128 and 127 by itself.
    template <class Hub>
    static void Encode(const Hub& in, Planes<3>& out) noexcept {
        EncodeBySums<Ycbcr>(in, out, StoreBytes, StoreLowBytes);
    }

    template <class Hub>
    static void Decode(const Planes<3>& in, const Hub& out) noexcept {
        static constexpr auto kSums = LinearSumsOf(Ycbcr::ToRgbSums, 255);
        Plane* const planes[3] = {&out.r, &out.g, &out.b};
        ClosePixels close;
        for (int32_t at = 0; at < kBlock; at += kLanes) {
            const Floats y = ToFloat(LoadBytes(in[0].At(at)));
            const Floats cb = ToFloat(LoadSignedBytes(in[1].At(at)));
            const Floats cr = ToFloat(LoadSignedBytes(in[2].At(at)));
            const Ints weighted[3] = {AnyOf(cr), AnyOf(cb, cr), AnyOf(cb)};
            Ints differences = {};
            for (size_t c = 0; c < 3; ++c) {
                const Bracket sum(kSums[c], y, cb, cr);
                differences |= sum.Differences() & weighted[c];
                StoreBytes(planes[c]->At(at), sum.high);
            }
            close.Add(at, differences);
        }
        close.Each([&](int32_t i) { StoreHub(out, i, Ycbcr::ToRgb(LoadPlanes(in, i))); });
    }
};

}  // namespace

const LumaChromaRowTable kLumaChromaRows = {kHubRows<YuvRows>, kHubRows<YiqRows>, kHubRows<YcbcrRows>};

}  // namespace zv::inline ZV_ISA
