#include "Common/kernels/hue.h"

#include "Common/kernels/doubles.h"
#include "Common/kernels/planes.h"
#include "Common/kernels/quotients.h"

namespace zv {
inline namespace ZV_ISA {

namespace {

UnsignedWords Unsigned(Words lanes) noexcept { return reinterpret_cast<UnsignedWords>(lanes); }
Words Signed(UnsignedWords lanes) noexcept { return reinterpret_cast<Words>(lanes); }
Words Selected(Words mask, Words yes, Words no) noexcept { return (mask & yes) | (~mask & no); }

/// A hub pixel by size. What decides a hue is which channel is the greatest, the earlier of equal ones, and the
/// difference of the next two behind it in the round red, green, blue.
struct Sorted {
    Floats most;
    Floats least;
    Floats chroma;      ///< most - least
    Floats divisor;     ///< the same, 1 for a grey
    Floats difference;  ///< green - blue, blue - red or red - green
    Ints isRed;
    Ints isGreen;

    Sorted(Floats r, Floats g, Floats b) noexcept
        : most(Greatest(r, Greatest(g, b))),
          least(Least(r, Least(g, b))),
          chroma(most - least),
          divisor(Greatest(chroma, Splat(1))),
          isRed(r == most),
          isGreen(g == most) {
        difference = Select(isRed, g - b, Select(isGreen, b - r, r - g));
    }
    Ints Of(int32_t red, int32_t green, int32_t blue) const noexcept {
        return Select(isRed, SplatInt(red), Select(isGreen, SplatInt(green), SplatInt(blue)));
    }
};

struct HsvRows {
    static constexpr int32_t kPixelBytes = 3;

    /// Rounding n / d to the nearest is cutting n / d + 1 / 2.
    template <class Hub>
    static void Encode(const Hub& in, Planes<3>& out) noexcept {
        for (int32_t at = 0; at < kBlock; at += kLanes) {
            const Sorted p(ToFloat(LoadBytes(in.r.At(at))), ToFloat(LoadBytes(in.g.At(at))),
                           ToFloat(LoadBytes(in.b.At(at))));
            const Floats top = Greatest(p.most, Splat(1));
            const Ints saturation = Quotient(p.chroma * 255.0F + top * 0.5F, top);
            const Ints sign = reinterpret_cast<Ints>(p.difference) & INT32_MIN;
            const auto half = reinterpret_cast<Floats>(reinterpret_cast<Ints>(p.divisor * 0.5F) | sign);
            Ints hue = Quotient(p.difference * 60.0F + half, p.divisor) + p.Of(0, 120, 240);
            hue += (hue < 0) & 360;
            StoreBytes(out[0].At(at), Truncate(Quotient<24, 17 * 360>(ToFloat(hue) * 17.0F)));  // 255 of 360
            StoreBytes(out[1].At(at), saturation);
            StoreBytes(out[2].At(at), Truncate(p.most));
        }
    }

    /// Each channel falls short of the value by a share of the saturation that grows from 0 to 60 sixtieths with the
    /// distance from its own third of the circle. One channel's share is 0, one's 60, where the definition divides by
    /// 255 alone; what is left is the third one's.
    template <class Hub>
    static void Decode(const Planes<3>& in, const Hub& out) noexcept {
        for (int32_t at = 0; at < kBlock; at += kWords) {
            const Words hue = Signed(Quotient<17, 24 * 255>(Unsigned(LoadByteWords(in[0].At(at))) * 24));  // 360 of 255
            const Words value = LoadByteWords(in[2].At(at));
            const UnsignedWords sv = Unsigned(LoadByteWords(in[1].At(at))) * Unsigned(value);
            const Words red = Share(120 - Magnitude(hue - 180));
            const Words green = Share(Magnitude(hue - 120) - 60);
            const Words blue = Share(Magnitude(hue - 240) - 60);
            const Words whole = Signed(Quotient<255, 255 * 255>(sv));
            const Words part = Signed(SixtiethsOf255(sv, Unsigned(red + green + blue - 60)));
            const auto store = [&](Plane& plane, Words share) {
                StoreWordBytes(plane.At(at), value - (Selected(share > 59, whole, part) & (share > 0)));
            };
            store(out.r, red);
            store(out.g, green);
            store(out.b, blue);
        }
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
    /// left.
    template <class Hub>
    static void Encode(const Hub& in, Planes<3>& out) noexcept {
        for (int32_t at = 0; at < kBlock; at += kLanes) {
            const Floats r = ToFloat(LoadBytes(in.r.At(at)));
            const Floats g = ToFloat(LoadBytes(in.g.At(at)));
            const Floats b = ToFloat(LoadBytes(in.b.At(at)));
            const Sorted p(r, g, b);
            const Floats sum = p.most + p.least;
            const Ints lightness = Truncate((sum + 1.0F) * 0.5F);
            const Floats room = Greatest(Least(sum, 510.0F - sum), Splat(1));
            const Ints saturation = Quotient(p.chroma * 255.0F + room * 0.5F, room);
            const Floats middle = ((r + g) + b) - sum;
            const Ints turn = 42 - Quotient((p.most - middle) * 42.0F + p.divisor * 0.5F, p.divisor);
            const Ints back = reinterpret_cast<Ints>(p.difference) >> 31;
            Ints hue = ((turn ^ back) - back) + p.Of(0, 85, 170);
            hue += (hue < 0) & 255;
            StoreBytes(out[0].At(at), hue & (p.chroma != 0.0F));
            StoreBytes(out[1].At(at), lightness);
            StoreBytes(out[2].At(at), saturation);
        }
    }

    /// The definition's m2 and m1 are the lightness with `spread` more and less, and between them a channel climbs with
    /// the 42nds of its ramp; at 43, behind the plateau, it passes m2 and may pass 255. Scaling by 255 / 255 changes
    /// nothing.
    template <class Hub>
    static void Decode(const Planes<3>& in, const Hub& out) noexcept {
        for (int32_t at = 0; at < kBlock; at += kWords) {
            const Words h = LoadByteWords(in[0].At(at));
            const Words l = LoadByteWords(in[1].At(at));
            const Words s = LoadByteWords(in[2].At(at));
            const Words product = Signed(Quotient<255, 255 * 255 + 127>(Unsigned(s) * Unsigned(l) + 127));
            const Words spread = Selected(l < 128, product, s - product);  // up to 127
            const auto store = [&](Plane& plane, Words hue) {
                const Words ramp = Selected(hue < 127, Least(hue, Words{} + 42), Greatest(170 - hue, Words{}));
                const auto climb = Quotient<42, 2 * 127 * 43 + 21>(Unsigned(spread + spread) * Unsigned(ramp) + 21);
                StoreWordBytes(plane.At(at), (l - spread + Signed(climb)) & 255);
            };
            store(out.r, h + 85 - ((h > 170) & 255));
            store(out.g, h);
            store(out.b, h - 85 + ((h < 85) & 255));
        }
    }

    static int32_t PixelsBeforeError(const uint8_t* row, int32_t width) noexcept {
        int32_t x = 0;
        for (; x <= width - kBlock; x += kBlock) {
            Planes<3> planes;
            Deal(row + ptrdiff_t{x} * kPixelBytes, planes);
            ByteLanes errors = {};
            for (size_t at = 0; at < kBlock; at += sizeof errors) {
                const auto hue = LoadLanes<ByteLanes>(planes[0].bytes + at);
                const auto saturation = LoadLanes<ByteLanes>(planes[2].bytes + at);
                errors |= reinterpret_cast<ByteLanes>((saturation == 0) & (hue != 0));
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
        for (int32_t i = 0; i < kBlock; ++i) out[1][i] = hues_[places[i]];
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
    kHubRows<HsvRows>,
    kHubRows<HlsRows>,
    HlsRows::PixelsBeforeError,
    {{FromHubRow<HsiEncoder, false>, FromHubRow<HsiEncoder, true>},
     {ToHubRow<HsiDecoder, false>, ToHubRow<HsiDecoder, true>}},
};

}  // namespace ZV_ISA
}  // namespace zv
