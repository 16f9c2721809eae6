#include "Common/kernels/cie.h"

#include "Common/kernels/linear_sums.h"
#include "Common/kernels/planes.h"

namespace zv::inline ZV_ISA {

namespace {

struct XyzCodec {
    static constexpr int32_t kPixelBytes = Xyz::kPixelBytes;

    /// Sums of what is not negative: a least value below 0 is cut to 0 as well.
    template <class Hub>
    static void Encode(const Hub& in, Planes<3>& out) noexcept {
        static constexpr auto kSums = LinearSumsOf(Xyz::FromRgbSums, 255);
        ClosePixels close;
        for (int32_t at = 0; at < kBlock; at += kLanes) {
            close.Add(at, Convert(kSums, {in.r.At(at), in.g.At(at), in.b.At(at)},
                                  {out[0].At(at), out[1].At(at), out[2].At(at)}));
        }
        close.Each([&](int32_t i) { StorePlanes(out, i, Xyz::FromRgb(LoadHub(in, i))); });
    }

    template <class Hub>
    static void Decode(const Planes<3>& in, const Hub& out) noexcept {
        static constexpr auto kSums = LinearSumsOf(Xyz::ToRgbSums, 255);
        ClosePixels close;
        for (int32_t at = 0; at < kBlock; at += kLanes) {
            close.Add(at, Convert(kSums, {in[0].At(at), in[1].At(at), in[2].At(at)},
                                  {out.r.At(at), out.g.At(at), out.b.At(at)}));
        }
        close.Each([&](int32_t i) { StoreHub(out, i, Xyz::ToRgb(LoadPlanes(in, i))); });
    }

private:
    static Ints Convert(const std::array<LinearSum, 3>& sums, const std::array<const uint8_t*, 3>& from,
                        const std::array<uint8_t*, 3>& to) noexcept {
        const Floats a = ToFloat(LoadBytes(from[0])), b = ToFloat(LoadBytes(from[1])), c = ToFloat(LoadBytes(from[2]));
        Ints differences = {};
        for (size_t i = 0; i < 3; ++i) {
            const Bracket sum(sums[i], a, b, c);
            differences |= sum.Differences();
            StoreBytes(to[i], sum.high);
        }
        return differences;
    }
};

}  // namespace

const ClrHubRows kXyzRows = kHubRows<XyzCodec>;

}  // namespace zv::inline ZV_ISA
