#include "Common/kernels/cie.h"

#include "Common/kernels/word_sums.h"

namespace zv {
inline namespace ZV_ISA {

namespace {

/// Bytes that stand for themselves, all with six digits in their weights: no units serve them without a rest.
struct XyzSums {
    static constexpr int32_t kMost = 255;
    static constexpr auto kSums = WordSumsOf(Xyz::FromRgbSums, kMost, {50701, 57598, 57530});
    static_assert(AreProved(kSums));
    static Pixel<3> Again(const Pixel<3>& p) noexcept { return Xyz::FromRgb({p[0], p[1], p[2]}); }
};

struct RgbSums {
    static constexpr int32_t kMost = 255;
    static constexpr auto kSums = WordSumsOf(Xyz::ToRgbSums, kMost, {40966, 39826, 25751});
    static_assert(AreProved(kSums));
    static Pixel<3> Again(const Pixel<3>& p) noexcept {
        const Rgb pixel = Xyz::ToRgb(p);
        return {pixel.r, pixel.g, pixel.b};
    }
};

struct XyzRows {
    static void Encode(const Bytes (&rgb)[3], Bytes (&out)[3]) noexcept {
        SumRun<XyzSums>(rgb, {WordsOf(rgb[0]), WordsOf(rgb[1]), WordsOf(rgb[2])}, out);
    }
    static void Decode(const Bytes (&in)[3], Bytes (&rgb)[3]) noexcept {
        SumRun<RgbSums>(in, {WordsOf(in[0]), WordsOf(in[1]), WordsOf(in[2])}, rgb);
    }
};

}  // namespace

const ClrHubRows kXyzRows = kRunRows<XyzRows>;

}  // namespace ZV_ISA
}  // namespace zv
