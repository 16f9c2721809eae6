#include "Common/kernels/hue.h"

#include "Common/kernels/byte_words.h"
#include "Common/kernels/doubles.h"
#include "Common/kernels/planes.h"
#include "Common/kernels/quotients.h"

namespace zv {
inline namespace ZV_ISA {

namespace {

UnsignedWords Unsigned(Words lanes) noexcept { return reinterpret_cast<UnsignedWords>(lanes); }
Words Signed(UnsignedWords lanes) noexcept { return reinterpret_cast<Words>(lanes); }

template <class Lanes>
Bytes Mask(Lanes comparison) noexcept {
    return reinterpret_cast<Bytes>(comparison);
}

/// A run of hub pixels by size. What decides a hue is which channel is the greatest, the earlier of equal ones, and
/// which of the other two, in the round red, green, blue, is greater.
struct Sorted {
    Bytes most, middle, least;
    Bytes chroma;  ///< most - least
    Bytes isRed, isGreen;
    Bytes isBack;  ///< where the hue lies before its greatest channel's

    Sorted(Bytes r, Bytes g, Bytes b) noexcept
        : most(Greatest(r, Greatest(g, b))),
          least(Least(r, Least(g, b))),
          chroma(most - least),
          isRed(Mask(r == most)),
          isGreen(Mask(g == most)) {
        const Bytes next = Select(isRed, g, Select(isGreen, b, r));
        const Bytes last = Select(isRed, b, Select(isGreen, r, g));
        middle = Greatest(next, last);
        isBack = Mask(middle != next);
    }

    /// The bytes of hues `turn` away from red, green and blue, which stand at 0 or 255, 85 and 170.
    Bytes Hues(Bytes turn) const noexcept {
        const Bytes red = isBack & Mask(turn != 0);
        const Bytes start = Select(isRed, red, Select(isGreen, Bytes{} + 85, Bytes{} + 170));
        return start + ((turn ^ isBack) - isBack);
    }
};

/// A vector of bytes as four of single precision, and work(a, b) of two of them, cut to integers, as bytes again.
struct FloatQuarters {
    Floats quarters[4];

    explicit FloatQuarters(Bytes b) noexcept {
        const WordPair words = WordsOf(b);
        const WordPair low = Turns(words.low, Words{}), high = Turns(words.high, Words{});
        quarters[0] = ToFloat(reinterpret_cast<Ints>(low.low));
        quarters[1] = ToFloat(reinterpret_cast<Ints>(low.high));
        quarters[2] = ToFloat(reinterpret_cast<Ints>(high.low));
        quarters[3] = ToFloat(reinterpret_cast<Ints>(high.high));
    }
};
template <class Work>
Bytes CutBytes(const FloatQuarters& a, const FloatQuarters& b, const Work& work) noexcept {
    const auto of = [&](size_t i) { return Truncate(work(a.quarters[i], b.quarters[i])); };
    return BytesOf(WordsOf(of(0), of(1)), WordsOf(of(2), of(3)));
}

/// n * scale / d to the nearest integer, halves up, where that is at most 255.
Bytes Rounded(const FloatQuarters& n, float scale, const FloatQuarters& d) noexcept {
    return CutBytes(n, d, [&](Floats a, Floats b) { return (a * scale + b * 0.5F) / b; });
}

struct HsvRows {
    /// 255 of 360: 120 degrees are 85. What goes back from there is cut the other way.
    static void Encode(const Bytes (&hub)[3], Bytes (&out)[3]) noexcept {
        const Sorted p(hub[0], hub[1], hub[2]);
        const FloatQuarters chroma(p.chroma);
        out[1] = Rounded(chroma, 255, FloatQuarters(Greatest(p.most, Bytes{} + 1)));
        out[2] = p.most;
        const Bytes degrees =
            Rounded(FloatQuarters(p.middle - p.least), 60, FloatQuarters(Greatest(p.chroma, Bytes{} + 1)));
        Bytes turn[1];
        MapWords<2>({degrees, p.isBack & 23}, turn, [](const Words(&in)[2], Words(&scaled)[1]) {
            scaled[0] = Signed(Quotient<24, 17 * 60 + 23>(Unsigned(in[0] * 17 + in[1])));
        });
        out[0] = p.Hues(turn[0]);
    }

    /// Each channel falls short of the value by a share of the saturation that grows from 0 to 60 sixtieths with the
    /// distance from its own third of the circle. One channel's share is 0, one's 60, where the definition divides by
    /// 255 alone; what is left is the third one's.
    static void Decode(const Bytes (&hsv)[3], Bytes (&out)[3]) noexcept {
        MapWords(hsv, out, [](const Words(&in)[3], Words(&rgb)[3]) {
            const Words hue = Signed(Quotient<17, 24 * 255>(Unsigned(in[0]) * 24));  // 360 of 255
            const UnsignedWords sv = Unsigned(in[1]) * Unsigned(in[2]);
            const Words red = Share(120 - Magnitude(hue - 180));
            const Words green = Share(Magnitude(hue - 120) - 60);
            const Words blue = Share(Magnitude(hue - 240) - 60);
            const Words whole = Signed(Quotient<255, 255 * 255>(sv));
            const Words part = Signed(SixtiethsOf255(sv, Unsigned(red + green + blue - 60)));
            const auto channel = [&](Words share) { return in[2] - (Select(share > 59, whole, part) & (share > 0)); };
            rgb[0] = channel(red);
            rgb[1] = channel(green);
            rgb[2] = channel(blue);
        });
    }

private:
    static Words Magnitude(Words value) noexcept { return Greatest(value, -value); }
    static Words Share(Words value) noexcept { return Least(Greatest(value, Words{}), Words{} + 60); }

    /// n * sixtieths / (60 * 255), cut, for n up to 255^2. The reciprocal, 548 / 2^23, is too small by less than 1 / n
    /// / sixtieths: the quotient is right or one too low, and what is left over shows which, of which 16 bits are
    /// enough.
    static UnsignedWords SixtiethsOf255(UnsignedWords n, UnsignedWords sixtieths) noexcept {
        constexpr int32_t kDivisor = 60 * 255;
        static_assert(548 * kDivisor < 1 << 23 &&
                      int64_t{255 * 255 * 60} * ((1 << 23) - 548 * kDivisor) < int64_t{kDivisor} << 23);
        static_assert(2 * kDivisor <= INT16_MAX);
        const UnsignedWords low = UpperProduct(n, sixtieths * 548) >> 7;
        const Words left = Signed(n * sixtieths - low * kDivisor);
        return low - Unsigned(left >= kDivisor);
    }
};

struct HlsRows {
    static constexpr int32_t kPixelBytes = 3;

    /// Of the definition's three quotients the greatest channel's is 0 and the least one's 42: the middle one's is
    /// left. Sums that pass 255 stop there, where the other one is less.
    static void Encode(const Bytes (&hub)[3], Bytes (&out)[3]) noexcept {
        const Sorted p(hub[0], hub[1], hub[2]);
        const auto sum = [](Bytes a, Bytes b) { return a + Least(b, ~a); };
        const Bytes room = Least(sum(p.most, p.least), sum(~p.most, ~p.least));
        const Bytes one = Bytes{} + 1;
        out[1] = (p.most | p.least) - ((p.most ^ p.least) >> 1);  // the mean, halves up
        out[2] = Rounded(FloatQuarters(p.chroma), 255, FloatQuarters(Greatest(room, one)));
        const Bytes left = Rounded(FloatQuarters(p.most - p.middle), 42, FloatQuarters(Greatest(p.chroma, one)));
        out[0] = p.Hues(42 - left) & Mask(p.chroma != 0);
    }

    /// The definition's m2 and m1 are the lightness with `spread` more and less, and between them a channel climbs with
    /// the 42nds of its ramp; at 43, behind the plateau, it passes m2 and may pass 255. Scaling by 255 / 255 changes
    /// nothing.
    static void Decode(const Bytes (&hls)[3], Bytes (&out)[3]) noexcept {
        MapWords(hls, out, [](const Words(&in)[3], Words(&rgb)[3]) {
            const Words &h = in[0], &l = in[1], &s = in[2];
            const Words product = Signed(Quotient<255, 255 * 255 + 127>(Unsigned(s) * Unsigned(l) + 127));
            const Words spread = Select(l < 128, product, s - product);  // up to 127
            const auto channel = [&](Words hue) {
                const Words ramp = Select(hue < 127, Least(hue, Words{} + 42), Greatest(170 - hue, Words{}));
                const auto climb = Quotient<42, 2 * 127 * 43 + 21>(Unsigned(spread + spread) * Unsigned(ramp) + 21);
                return (l - spread + Signed(climb)) & 255;
            };
            rgb[0] = channel(h + 85 - ((h > 170) & 255));
            rgb[1] = channel(h);
            rgb[2] = channel(h - 85 + ((h < 85) & 255));
        });
    }

    static int32_t PixelsBeforeError(const uint8_t* row, int32_t width) noexcept {
        int32_t x = 0;
        for (; x <= width - kBlock; x += kBlock) {
            Planes<3> planes;
            Deal(row + ptrdiff_t{x} * kPixelBytes, planes);
            Bytes errors = {};
            for (size_t at = 0; at < kBlock; at += sizeof errors) {
                const auto hue = LoadLanes<Bytes>(planes[0].bytes + at);
                const auto saturation = LoadLanes<Bytes>(planes[2].bytes + at);
                errors |= reinterpret_cast<Bytes>((saturation == 0) & (hue != 0));
            }
            if (LanesThatAreSet(reinterpret_cast<Ints>(errors)) != 0) break;
        }
        for (; x < width; ++x) {
            const uint8_t* const p = row + ptrdiff_t{x} * kPixelBytes;
            if (Hls::IsError({p[0], p[1], p[2]})) break;
        }
        return x;
    }
};

class HsiEncoder {
public:
    static constexpr int32_t kPixelBytes = 3;

    explicit HsiEncoder(const void* hues) noexcept : hues_(static_cast<const Hsi::HueTable*>(hues)->hues) {}

    /// The definition rounds low / i to single precision and nothing behind it: with that ratio as it is, the
    /// saturation is 255 less the integer above 255 times it. A wanted sign of a difference survives its rounding, and
    /// 256 times the ratio less an integer beside is exact.
    template <class Hub>
    void Encode(const Hub& in, Planes<3>& out) const noexcept {
        alignas(64) int32_t places[kBlock];
        for (int32_t at = 0; at < kBlock; at += kLanes) {
            const Floats r = ToFloat(LoadBytes(in.r.At(at)));
            const Floats g = ToFloat(LoadBytes(in.g.At(at)));
            const Floats b = ToFloat(LoadBytes(in.b.At(at)));
            const Floats intensity = Quotient<3, 3 * 255>((g + r) + b);
            const Floats ratio = Least(r, Least(g, b)) / Greatest(intensity, Splat(1));
            const Ints beside = Truncate(ratio * 255.0F + 0.25F);  // the integer below or the one above
            const Ints isBelow = (ratio * 256.0F - ToFloat(beside)) - ratio > 0.0F;
            const Floats place = (r - g) * float{Hsi::HueTable::kSpan} + (r - b) + float{Hsi::HueTable::Place(0, 0)};
            StoreLanes(places + at, Truncate(place));
            StoreBytes(out[0].At(at), Truncate(intensity));
            StoreBytes(out[2].At(at), (255 - beside + isBelow) & (intensity != 0.0F));
        }
        for (int32_t i = 0; i < kBlock; ++i) {
            out[1][i] = static_cast<uint8_t>(KeptScalar(uint32_t{hues_[places[i]]}));
        }
    }

private:
    const uint8_t* hues_;
};

class HsiDecoder {
public:
    static constexpr int32_t kPixelBytes = 3;

    explicit HsiDecoder(const void* angles) noexcept : angles_(static_cast<const Hsi::Angle*>(angles)) {}

    /// The definition's own steps. Its sixteen bits hold everything: no angle's cosine is twice its shifted one.
    template <class Hub>
    void Decode(const Planes<3>& in, const Hub& out) const noexcept {
        alignas(64) double cosines[kBlock], shifted[kBlock];
        for (int32_t i = 0; i < kBlock; ++i) {
            const Hsi::Angle& angle = angles_[in[1][i]];
            cosines[i] = angle.cosine;
            shifted[i] = angle.shifted;
        }
        for (int32_t at = 0; at < kBlock; at += kLanes) {
            const Ints intensities = LoadBytes(in[0].At(at));
            const DoublePair intensity = ToDoubles(intensities);
            const DoublePair saturation = ToDoubles(LoadBytes(in[2].At(at)));
            DoublePair lows, peaks;
            const auto step = [&](Doubles i, Doubles bytes, int32_t first, Doubles& low, Doubles& peak) {
                const Doubles s = Of255::Ratio(bytes);
                low = (1.0 - s) * i;
                peak = (LoadLanes<Doubles>(cosines + first) * s / LoadLanes<Doubles>(shifted + first) + 1.0) * i;
            };
            step(intensity.first, saturation.first, at, lows.first, peaks.first);
            step(intensity.second, saturation.second, at + kDoubles, lows.second, peaks.second);
            const Ints low = Truncate(lows);
            const Ints peak = Truncate(peaks);
            const Ints rest = (intensities + intensities + intensities) - (low + peak);

            const Ints hue = LoadBytes(in[1].At(at));
            const Ints isFirst = hue < kHuesUpTo[0];
            const Ints isSecond = hue < kHuesUpTo[1];
            StoreBytes(out.r.At(at), Select(isFirst, peak, Select(isSecond, low, rest)));
            StoreBytes(out.g.At(at), Select(isFirst, rest, Select(isSecond, peak, low)));
            StoreBytes(out.b.At(at), Select(isFirst, low, Select(isSecond, rest, peak)));
        }
    }

private:
    /// Hues in the first third, and in the first two.
    static constexpr std::array<int32_t, 2> kHuesUpTo = [] {
        std::array<int32_t, 2> counts{};
        for (int32_t hue = 0; hue < 256; ++hue) {
            const int32_t third = Hsi::ThirdOf(LowByte(hue));
            if (third < 1) ++counts[0];
            if (third < 2) ++counts[1];
        }
        return counts;
    }();

    const Hsi::Angle* angles_;
};

}  // namespace

const HueRowTable kHueRows = {
    kRunRows<HsvRows>,
    kRunRows<HlsRows>,
    HlsRows::PixelsBeforeError,
    {{FromHubRow<HsiEncoder, false>, FromHubRow<HsiEncoder, true>},
     {ToHubRow<HsiDecoder, false>, ToHubRow<HsiDecoder, true>}},
};

}  // namespace ZV_ISA
}  // namespace zv
