#include "Common/kernels/luma_chroma.h"

#include "Common/kernels/doubles.h"
#include "Common/kernels/fixed_sums.h"
#include "Common/kernels/word_sums.h"

namespace zv {
inline namespace ZV_ISA {

namespace {

/// Four vectors, each lane clamped to 0..255, as bytes in a row.
Bytes BytesInARow(const Ints (&lanes)[4]) noexcept {
#if ZV_ISA_LEVEL == 2
    const auto quarter = [&](size_t i) {
        return _mm512_cvtusepi32_epi8(reinterpret_cast<__m512i>(Greatest(lanes[i], Ints{})));
    };
    __m512i bytes = _mm512_castsi128_si512(quarter(0));
    bytes = _mm512_inserti32x4(bytes, quarter(1), 1);
    bytes = _mm512_inserti32x4(bytes, quarter(2), 2);
    return reinterpret_cast<Bytes>(_mm512_inserti32x4(bytes, quarter(3), 3));
#elif ZV_ISA_LEVEL == 1
    const auto all = [&](size_t i) { return reinterpret_cast<__m256i>(lanes[i]); };
    const __m256i halves = _mm256_packus_epi16(_mm256_packs_epi32(all(0), all(1)), _mm256_packs_epi32(all(2), all(3)));
    return reinterpret_cast<Bytes>(_mm256_permutevar8x32_epi32(halves, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7)));
#elif ZV_X86
    const auto all = [&](size_t i) { return reinterpret_cast<__m128i>(lanes[i]); };
    return reinterpret_cast<Bytes>(_mm_packus_epi16(_mm_packs_epi32(all(0), all(1)), _mm_packs_epi32(all(2), all(3))));
#else
    uint8_t bytes[kShuffled];
    for (size_t i = 0; i < 4; ++i) StoreBytes(bytes + i * kLanes, lanes[i]);
    return LoadLanes<Bytes>(bytes);
#endif
}

using ByteTable = std::array<uint8_t, 256>;

/// The luma of greys that all lie on an edge.
template <class Space>
constexpr ByteTable kGreyLuma = [] {
    ByteTable luma{};
    for (size_t v = 0; v < 256; ++v) {
        const auto byte = static_cast<uint8_t>(v);
        luma[v] = Space::FromRgb({byte, byte, byte})[0];
    }
    return luma;
}();

#if ZV_ISA_LEVEL == 1
/// Where a grey's luma is one less than the grey, which it is where it is not the same: 256 bits, in each half.
template <class Space>
constexpr auto kGreyDeficits = [] {
    std::array<std::array<uint8_t, kShuffled>, 2> bits{};
    for (size_t v = 0; v < 256; ++v) {
        const int deficit = static_cast<int>(v) - kGreyLuma<Space>[v];
        if (deficit < 0 || deficit > 1) return decltype(bits){};
        const auto bit = static_cast<uint8_t>(deficit << v % 8);
        for (const size_t half : {size_t{0}, kReach}) bits[v / 128][half + v / 8 % 16] |= bit;
    }
    return bits;
}();
constexpr auto kBitOf = [] {
    std::array<uint8_t, kShuffled> bits{};
    for (size_t i = 0; i < kShuffled; ++i) bits[i] = static_cast<uint8_t>(1U << i % 8);
    return bits;
}();
#endif

template <class Space>
Bytes LumaOfGreys(Bytes greys) noexcept {
#if ZV_ISA_LEVEL == 2
    const auto quarter = [&](size_t i) { return LoadLanes<__m512i>(kGreyLuma<Space>.data() + 64 * i); };
    const __m512i places = Register(greys);
    return reinterpret_cast<Bytes>(_mm512_mask_blend_epi8(_mm512_movepi8_mask(places),
                                                          _mm512_permutex2var_epi8(quarter(0), places, quarter(1)),
                                                          _mm512_permutex2var_epi8(quarter(2), places, quarter(3))));
#elif ZV_ISA_LEVEL == 1
    static_assert(kGreyDeficits<Space>[0] != kGreyDeficits<Space>[1]);
    const auto find = [](const std::array<uint8_t, kShuffled>& table, Bytes at) {
        return _mm256_shuffle_epi8(LoadLanes<__m256i>(table.data()), Register(at));
    };
    const Bytes eighth = greys >> 3 & 15, bit = reinterpret_cast<Bytes>(find(kBitOf, greys & 7));
    const auto bits = reinterpret_cast<Bytes>(_mm256_blendv_epi8(
        find(kGreyDeficits<Space>[0], eighth), find(kGreyDeficits<Space>[1], eighth), Register(greys)));
    return greys + reinterpret_cast<Bytes>((bits & bit) == bit);
#else
    uint8_t places[kShuffled];
    StoreLanes(places, greys);
    const auto eight = [&](size_t first) {
        uint64_t found = 0;
        for (size_t i = 0; i < 8; ++i) found |= uint64_t{kGreyLuma<Space>[places[first + i]]} << 8 * i;
        return static_cast<long long>(found);
    };
    typedef long long Eights __attribute__((vector_size(kShuffled)));
    return reinterpret_cast<Bytes>(Eights{eight(0), eight(8)});
#endif
}

bool IsGrey(const Bytes (&rgb)[3]) noexcept {
    return LanesThatAreSet(reinterpret_cast<Ints>((rgb[0] ^ rgb[1]) | (rgb[2] ^ rgb[1]))) == 0;
}

/// A channel of a run by the definition itself. Whole classes of colours lie on an edge.
template <class Space, size_t kChannel, bool kSigned>
[[gnu::noinline]] Bytes EncodeAgain(Bytes red, Bytes green, Bytes blue) noexcept {
    alignas(64) uint8_t from[3][kShuffled];
    StoreLanes(from[0], red);
    StoreLanes(from[1], green);
    StoreLanes(from[2], blue);
    Ints whole[4];
    for (size_t i = 0; i < 4; ++i) {
        const size_t at = i * kLanes;
        const DoublePair r = ToDoubles(LoadBytes(from[0] + at)), g = ToDoubles(LoadBytes(from[1] + at)),
                         b = ToDoubles(LoadBytes(from[2] + at));
        whole[i] = Truncate(DoublePair{Space::FromRgbSums(r.first, g.first, b.first)[kChannel],
                                       Space::FromRgbSums(r.second, g.second, b.second)[kChannel]});
        if constexpr (kSigned) whole[i] &= 255;
    }
    return BytesInARow(whole);
}

/// The encoding sums of a space, of green and of what red and blue differ from it by: chroma needs no green, and luma
/// mostly all of it.
template <class Space>
constexpr Sums SumsOfDifferences(double g, double red, double blue) noexcept {
    return Space::template FromRgbSums<double>(g + red, g, g + blue);
}

/// A run of hub pixels through the sums of a codec, each cut to a byte. Signed chroma is cut toward 0, and stays
/// between -128 and 127 by itself.
template <class Codec>
void EncodeBySums(const Bytes (&rgb)[3], Bytes (&out)[3]) noexcept {
    static constexpr int32_t kShift = ShiftOf(255);
    struct Half {
        std::array<Words, 3> numbers, shifted;
        Half(Words r, Words g, Words b) noexcept
            : numbers{g, r - g, b - g}, shifted{g << kShift, numbers[1] << kShift, numbers[2] << kShift} {}
    };
    const WordPair r = WordsOf(rgb[0]), g = WordsOf(rgb[1]), b = WordsOf(rgb[2]);
    const Half low(r.low, g.low, b.low), high(r.high, g.high, b.high);
    const auto encode = [&]<size_t kChannel>() {
        static constexpr bool kSigned = Codec::kSignedChroma && kChannel > 0;
        WordSum::Found halves[2] = {Codec::kEncode[kChannel](low.numbers, low.shifted),
                                    Codec::kEncode[kChannel](high.numbers, high.shifted)};
        if constexpr (kSigned) {
            for (WordSum::Found& found : halves) {
                const Words isBelow = found.whole < 0;
                if constexpr (kChannel == Codec::kWithoutClose) {
                    found.whole = (found.whole - (isBelow & ~found.close)) & 255;
                } else {
                    found.close &= found.whole != 0;  // beside 0, either side is cut to 0
                    found.whole = (found.whole - isBelow) & 255;
                }
            }
        }
        out[kChannel] = BytesOf(halves[0].whole, halves[1].whole);
        if constexpr (kChannel != Codec::kWithoutClose) {
            if (!AnyIsSet(halves[0].close | halves[1].close)) return;
            if constexpr (kChannel == 0 && Codec::kGreysAreClose) {
                if (IsGrey(rgb)) {
                    out[0] = LumaOfGreys<typename Codec::Space>(rgb[1]);
                    return;
                }
            }
            out[kChannel] = EncodeAgain<typename Codec::Space, kChannel, kSigned>(rgb[0], rgb[1], rgb[2]);
        }
    };
    encode.template operator()<0>();
    encode.template operator()<1>();
    encode.template operator()<2>();
}

/// A decoding step of a byte: byte * scale / 255 + offset, cut. A step that passes 0 is cut toward it, upward below
/// byte 128. It is the byte, a part of it, and the offset; the factor of the part lies just above what it stands for,
/// so that whole numbers come out whole, and where it is cut upward just below, so that they come out one lower.
struct WordStep {
    int16_t scale;
    int16_t offset;
    bool cutsTowardZero = false;

    WordPair operator()(Bytes in) const noexcept {
        const WordPair bytes = WordsOf(in);
        if (!cutsTowardZero) {
            return {bytes.low + MulHigh(bytes.low, Factor()) + offset,
                    bytes.high + MulHigh(bytes.high, Factor()) + offset};
        }
        // As signed bytes these are above 0.
        const WordPair upward = SignedWordsOf(reinterpret_cast<Bytes>(reinterpret_cast<SignedBytes>(in) > 0));
        const auto half = [&](Words p, Words up) { return (p + offset) + (MulHigh(p, up + Factor()) - up); };
        return {half(bytes.low, upward.low), half(bytes.high, upward.high)};
    }

    template <class Step>
    constexpr bool IsSameAs(const Step& step) const noexcept {
        for (int32_t i = 0; i < 256; ++i) {
            const int32_t upward = cutsTowardZero && i > 0 && i < 128 ? 1 : 0;
            if (i + ((i * (Factor() - upward)) >> 16) + upward + offset != step(static_cast<uint8_t>(i))) return false;
        }
        return true;
    }

private:
    typedef int8_t SignedBytes __attribute__((vector_size(kShuffled)));

    /// Bytes that are 0 or -1.
    static WordPair SignedWordsOf(Bytes b) noexcept {
        const WordPair upper = UpperBytes(b);
        return {upper.low >> 8, upper.high >> 8};
    }
    constexpr int16_t Factor() const noexcept {
        const int32_t product = (scale - 255) * (1 << 16);
        return static_cast<int16_t>((product < 0 ? -(-product / 255) - 1 : product / 255) + 1);
    }
};

struct YuvRows {
    using Space = Yuv;
    static constexpr bool kGreysAreClose = true;
    static constexpr bool kSignedChroma = false;
    static constexpr size_t kWithoutClose = 3;
    static constexpr auto kEncode = WordSumsOf(SumsOfDifferences<Yuv>, 255, {58000, 44600, 55000});
    static_assert(AreProved(kEncode));

    static void Encode(const Bytes (&rgb)[3], Bytes (&out)[3]) noexcept { EncodeBySums<YuvRows>(rgb, out); }
    static void Decode(const Bytes (&in)[3], Bytes (&rgb)[3]) noexcept {
        static constexpr WordStep kU = {223, -112}, kV = {275, -138};
        static_assert(kU.IsSameAs(Yuv::DecodeU) && kV.IsSameAs(Yuv::DecodeV));
        const WordPair y = WordsOf(in[0]), u = kU(in[1]), v = kV(in[2]);
        Words low[3], high[3];
        AddChroma(y.low, u.low, v.low, low);
        AddChroma(y.high, u.high, v.high, high);
        for (size_t c = 0; c < 3; ++c) rgb[c] = BytesOf(low[c], high[c]);
    }

private:
    static void AddChroma(Words y, Words u, Words v, Words (&rgb)[3]) noexcept {
        using Weight = FixedWeight<Yuv::kFractionBits>;
        static constexpr auto kOfU = Yuv::Chroma(1, 0), kOfV = Yuv::Chroma(0, 1);
        for (size_t c = 0; c < 3; ++c) rgb[c] = y + FixedSum(u, Weight(kOfU[c]), v, Weight(kOfV[c]));
    }
};

/// The definition's steps, which divide.
constexpr auto kYiqSteps = [] {
    std::array<std::array<int16_t, 256>, 3> steps{};
    for (size_t i = 0; i < 256; ++i) {
        const auto byte = static_cast<uint8_t>(i);
        steps[0][i] = static_cast<int16_t>(Yiq::DecodeY(byte));
        steps[1][i] = static_cast<int16_t>(Yiq::DecodeI(byte));
        steps[2][i] = static_cast<int16_t>(Yiq::DecodeQ(byte));
    }
    return steps;
}();

struct YiqRows {
    using Space = Yiq;
    static constexpr bool kGreysAreClose = false;
    static constexpr bool kSignedChroma = false;
    static constexpr size_t kWithoutClose = 3;
    static constexpr auto kEncode = WordSumsOf(SumsOfDifferences<Yiq>, 255, {52600, 50500, 53400});
    static_assert(AreProved(kEncode));
    static constexpr int32_t kMost = 263;
    static Pixel<3> Again(const Pixel<3>& p) noexcept {
        const Rgb pixel = Yiq::Decode(kYiqSteps[0][p[0]], kYiqSteps[1][p[1]], kYiqSteps[2][p[2]]);
        return {pixel.r, pixel.g, pixel.b};
    }
    static constexpr auto kSums = WordSumsOf(Yiq::DecodeSums<double>, kMost, {45000, 45000, 45000});
    static_assert(AreProved(kSums));

    static void Encode(const Bytes (&rgb)[3], Bytes (&out)[3]) noexcept { EncodeBySums<YiqRows>(rgb, out); }
    static void Decode(const Bytes (&in)[3], Bytes (&rgb)[3]) noexcept {
        static constexpr WordStep kY = {263, 0}, kI = {303, -152, true}, kQ = {267, -134, true};
        static_assert(kY.IsSameAs(Yiq::DecodeY) && kI.IsSameAs(Yiq::DecodeI) && kQ.IsSameAs(Yiq::DecodeQ));
        SumRun<YiqRows>(in, {kY(in[0]), kI(in[1]), kQ(in[2])}, rgb);
    }
};

struct YcbcrRows {
    using Space = Ycbcr;
    static constexpr bool kGreysAreClose = true;
    static constexpr bool kSignedChroma = true;
    /// Blue chroma: 8437 (r - g) / 50000 is half an integer for no colour but those with r = g, whose sum is exact.
    static constexpr size_t kWithoutClose = 1;
    static_assert([] {
        for (int32_t v = 0; v < 256; ++v) {
            if (Ycbcr::FromRgbSums<double>(v, v, 0)[1] * 2 != -v) return false;
        }
        return true;
    }());
    static constexpr auto kEncode = WordSumsOf(SumsOfDifferences<Ycbcr>, 255, {58000, 50000, 56672});
    static_assert(AreProved(kEncode));
    static constexpr int32_t kMost = 255;
    static Pixel<3> Again(const Pixel<3>& p) noexcept {
        const Rgb pixel = Ycbcr::ToRgb(p);
        return {pixel.r, pixel.g, pixel.b};
    }
    static constexpr auto kSums = WordSumsOf(Ycbcr::ToRgbSums<double>, kMost, {50000, 44000, 50000});
    static_assert(AreProved(kSums));

    static void Encode(const Bytes (&rgb)[3], Bytes (&out)[3]) noexcept { EncodeBySums<YcbcrRows>(rgb, out); }
    static void Decode(const Bytes (&in)[3], Bytes (&rgb)[3]) noexcept {
        const WordPair cb = UpperBytes(in[1]), cr = UpperBytes(in[2]);
        SumRun<YcbcrRows>(in, {WordsOf(in[0]), {cb.low >> 8, cb.high >> 8}, {cr.low >> 8, cr.high >> 8}}, rgb);
    }
};

}  // namespace

const LumaChromaRowTable kLumaChromaRows = {kRunRows<YuvRows>, kRunRows<YiqRows>, kRunRows<YcbcrRows>};

}  // namespace ZV_ISA
}  // namespace zv
