#include "Common/kernels/luma_chroma.h"

#include "Common/kernels/doubles.h"
#include "Common/kernels/planes.h"
#include "Common/kernels/word_sums.h"

namespace zv::inline ZV_ISA {

namespace {

// What is done again goes back into vectors by registers: a vector loaded over several fresh stores would wait for all
// that was stored before.

constexpr auto kLaneNumbers = [] {
    std::array<uint8_t, kShuffled> numbers{};
    for (size_t i = 0; i < kShuffled; ++i) numbers[i] = static_cast<uint8_t>(i);
    return numbers;
}();

/// Does the pixels of a run again that are marked, by again(pixel). Neighbours are often the same.
template <class Again>
void DoAgain(uint64_t marked, const Bytes (&in)[3], Bytes (&out)[3], const Again& again) noexcept {
    uint8_t from[3][kShuffled];
    for (size_t c = 0; c < 3; ++c) StoreLanes(from[c], in[c]);
    const auto numbers = LoadLanes<Bytes>(kLaneNumbers.data());
    Pixel<3> last, done;
    bool isFirst = true;
    for (; marked != 0; marked &= marked - 1) {
        const auto i = static_cast<size_t>(__builtin_ctzll(marked));
        const Pixel<3> pixel = {from[0][i], from[1][i], from[2][i]};
        if (isFirst || pixel != last) {
            isFirst = false;
            last = pixel;
            done = again(pixel);
        }
        const auto here = reinterpret_cast<Bytes>(numbers == static_cast<uint8_t>(i));
        for (size_t c = 0; c < 3; ++c) out[c] = (here & done[c]) | (~here & out[c]);
    }
}

/// Four vectors, each lane clamped to 0..255, as bytes in a row.
Bytes BytesInARow(const Ints (&lanes)[4]) noexcept {
#if ZV_ISA_LEVEL == 2
    const auto quarter = [&](size_t i) {
        return _mm512_cvtusepi32_epi8(_mm512_max_epi32(reinterpret_cast<__m512i>(lanes[i]), _mm512_setzero_si512()));
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

/// The luma of every grey lies on an edge.
template <class Space>
constexpr ByteTable kGreyLuma = [] {
    ByteTable luma{};
    for (size_t v = 0; v < 256; ++v) {
        const auto byte = static_cast<uint8_t>(v);
        luma[v] = Space::FromRgb({byte, byte, byte})[0];
    }
    return luma;
}();

Bytes LookUp(const ByteTable& table, Bytes at) noexcept {
#if ZV_ISA_LEVEL == 2
    const auto quarter = [&](size_t i) { return LoadLanes<__m512i>(table.data() + 64 * i); };
    const __m512i places = Register(at);
    return reinterpret_cast<Bytes>(_mm512_mask_blend_epi8(_mm512_movepi8_mask(places),
                                                          _mm512_permutex2var_epi8(quarter(0), places, quarter(1)),
                                                          _mm512_permutex2var_epi8(quarter(2), places, quarter(3))));
#else
    uint8_t places[kShuffled];
    StoreLanes(places, at);
    const auto eight = [&](size_t first) {
        uint64_t found = 0;
        for (size_t i = 0; i < 8; ++i) found |= uint64_t{table[places[first + i]]} << 8 * i;
        return static_cast<long long>(found);
    };
#    if ZV_ISA_LEVEL == 1
    return reinterpret_cast<Bytes>(_mm256_setr_epi64x(eight(0), eight(8), eight(16), eight(24)));
#    else
    typedef long long Eights __attribute__((vector_size(kShuffled)));
    return reinterpret_cast<Bytes>(Eights{eight(0), eight(8)});
#    endif
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

/// A run of hub pixels through the sums of a codec, each cut to a byte. Signed chroma is cut toward 0, and stays
/// between -128 and 127 by itself.
template <class Codec>
void EncodeBySums(const Bytes (&rgb)[3], Bytes (&out)[3]) noexcept {
    static constexpr int32_t kShift = ShiftOf(255);
    const WordPair pairs[3] = {WordsOf(rgb[0]), WordsOf(rgb[1]), WordsOf(rgb[2])};
    const std::array<Words, 3> low = {pairs[0].low, pairs[1].low, pairs[2].low},
                               high = {pairs[0].high, pairs[1].high, pairs[2].high};
    const auto shifted = [](const std::array<Words, 3>& numbers) {
        return std::array<Words, 3>{numbers[0] << kShift, numbers[1] << kShift, numbers[2] << kShift};
    };
    const std::array<Words, 3> shiftedLow = shifted(low), shiftedHigh = shifted(high);
    const auto encode = [&]<size_t kChannel>() {
        static constexpr bool kSigned = Codec::kSignedChroma && kChannel > 0;
        WordSum::Found a = Codec::kEncode[kChannel](low, shiftedLow), b = Codec::kEncode[kChannel](high, shiftedHigh);
        if constexpr (kSigned) {
            for (WordSum::Found* const found : {&a, &b}) {
                // Beside 0, either side is cut to 0.
                found->close &= found->whole != 0;
                found->whole = (found->whole - (found->whole < 0)) & 255;
            }
        }
        out[kChannel] = BytesOf(a.whole, b.whole);
        if (!AnyIsSet(a.close | b.close)) return;
        if (kChannel == 0 && IsGrey(rgb)) {
            out[0] = LookUp(kGreyLuma<typename Codec::Space>, rgb[1]);
            return;
        }
        out[kChannel] = EncodeAgain<typename Codec::Space, kChannel, kSigned>(rgb[0], rgb[1], rgb[2]);
    };
    encode.template operator()<0>();
    encode.template operator()<1>();
    encode.template operator()<2>();
}

/// A run through the sums of a codec, from numbers(word pairs' halves).
template <class Codec, class Numbers>
void DecodeBySums(const Bytes (&in)[3], Bytes (&rgb)[3], const Numbers& numbersOf) noexcept {
    static constexpr int32_t kShift = ShiftOf(Codec::kMost);
    const auto half = [&](const auto& side) {
        const std::array<Words, 3> numbers = numbersOf(side);
        const std::array<Words, 3> shifted = {numbers[0] << kShift, numbers[1] << kShift, numbers[2] << kShift};
        std::array<WordSum::Found, 3> found = {Codec::kDecode[0](numbers, shifted), Codec::kDecode[1](numbers, shifted),
                                               Codec::kDecode[2](numbers, shifted)};
        if constexpr (!Codec::kExact) {
            // Where every weighted number is 0 the definition gives the first one itself.
            Words close = {};
            for (size_t c = 0; c < 3; ++c) {
                Words weighted = {};
                for (size_t i = 1; i < 3; ++i) {
                    if (Codec::kDecode[c].fine[i] != 0) weighted |= numbers[i];
                }
                close |= found[c].close & (weighted != 0);
            }
            found[0].close = close;
        }
        return found;
    };
    const auto low = half([](const WordPair& pair) { return pair.low; });
    const auto high = half([](const WordPair& pair) { return pair.high; });
    for (size_t c = 0; c < 3; ++c) rgb[c] = BytesOf(low[c].whole, high[c].whole);
    if constexpr (!Codec::kExact) {
        const uint64_t marked = UpperBits(BytesOf(low[0].close & 255, high[0].close & 255));
        if (marked == 0) return;
        DoAgain(marked, in, rgb, [](const Pixel<3>& p) {
            const Rgb pixel = Codec::DecodeAgain(p);
            return Pixel<3>{pixel.r, pixel.g, pixel.b};
        });
    }
}

/// A decoding step of one byte: p * scale / 255 + offset, cut. A step that passes 0 is cut toward it, upward below
/// byte 128.
struct WordStep {
    int16_t scale;
    int16_t offset;
    bool cutTowardZero;

    Words operator()(Words p) const noexcept {
        auto part = reinterpret_cast<UnsignedWords>(p) * static_cast<uint16_t>(scale % 255);
        if (cutTowardZero) part += reinterpret_cast<UnsignedWords>((p < 128) & 254);
        const auto quotient = reinterpret_cast<Words>((part + 1 + (part >> 8)) >> 8);  // by 255, below 65535
        return scale < 255 ? quotient + offset : quotient + p + offset;
    }

    template <class Step>
    constexpr bool IsSameAs(const Step& step) const noexcept {
        for (int32_t i = 0; i < 256; ++i) {
            const int32_t part = i * (scale % 255) + (cutTowardZero && i < 128 ? 254 : 0);
            const int32_t quotient = (part + 1 + (part >> 8)) >> 8;
            const int32_t whole = scale < 255 ? 0 : i;
            if (part >= 65535 || quotient + whole + offset != step(static_cast<uint8_t>(i))) return false;
        }
        return true;
    }
};

/// What the definition adds up before it shifts. A sum in these units is exact.
constexpr int32_t kYuvUnit = 1 << Yuv::kFractionBits;
constexpr Sums YuvDecodeSums(int32_t y, int32_t u, int32_t v) noexcept {
    const auto chroma = Yuv::Chroma(u, v);
    return {y + chroma[0] / double{kYuvUnit}, y + chroma[1] / double{kYuvUnit}, y + chroma[2] / double{kYuvUnit}};
}

struct YuvRows {
    using Space = Yuv;
    static constexpr bool kSignedChroma = false;
    static constexpr auto kEncode = WordSumsOf(Yuv::FromRgbSums<double>, 255, {58000, 44600, 55000});
    static_assert(AreProved(kEncode));

    static constexpr bool kExact = true;
    static constexpr int32_t kMost = 255;
    static constexpr auto kDecode = WordSumsOf(YuvDecodeSums, kMost, {kYuvUnit, kYuvUnit, kYuvUnit});
    static_assert(AreProved(kDecode));

    static void Encode(const Bytes (&rgb)[3], Bytes (&out)[3]) noexcept { EncodeBySums<YuvRows>(rgb, out); }
    static void Decode(const Bytes (&in)[3], Bytes (&rgb)[3]) noexcept {
        static constexpr WordStep kU = {223, -112, false}, kV = {275, -138, false};
        static_assert(kU.IsSameAs(Yuv::DecodeU) && kV.IsSameAs(Yuv::DecodeV));
        const WordPair y = WordsOf(in[0]), u = WordsOf(in[1]), v = WordsOf(in[2]);
        DecodeBySums<YuvRows>(in, rgb, [&](const auto& side) {
            return std::array<Words, 3>{side(y), kU(side(u)), kV(side(v))};
        });
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
    static constexpr bool kSignedChroma = false;
    static constexpr auto kEncode = WordSumsOf(Yiq::FromRgbSums<double>, 255, {52600, 50500, 53400});
    static_assert(AreProved(kEncode));
    static constexpr bool kExact = false;
    static constexpr int32_t kMost = 263;
    static Rgb DecodeAgain(const Pixel<3>& p) noexcept {
        return Yiq::Decode(kYiqSteps[0][p[0]], kYiqSteps[1][p[1]], kYiqSteps[2][p[2]]);
    }
    static constexpr auto kDecode = WordSumsOf(Yiq::DecodeSums<double>, kMost, {45000, 45000, 45000});
    static_assert(AreProved(kDecode));

    static void Encode(const Bytes (&rgb)[3], Bytes (&out)[3]) noexcept { EncodeBySums<YiqRows>(rgb, out); }
    static void Decode(const Bytes (&in)[3], Bytes (&rgb)[3]) noexcept {
        static constexpr WordStep kY = {263, 0, false}, kI = {303, -152, true}, kQ = {267, -134, true};
        static_assert(kY.IsSameAs(Yiq::DecodeY) && kI.IsSameAs(Yiq::DecodeI) && kQ.IsSameAs(Yiq::DecodeQ));
        const WordPair y = WordsOf(in[0]), i = WordsOf(in[1]), q = WordsOf(in[2]);
        DecodeBySums<YiqRows>(in, rgb, [&](const auto& side) {
            return std::array<Words, 3>{kY(side(y)), kI(side(i)), kQ(side(q))};
        });
    }
};

struct YcbcrRows {
    using Space = Ycbcr;
    static constexpr bool kSignedChroma = true;
    static constexpr auto kEncode = WordSumsOf(Ycbcr::FromRgbSums<double>, 255, {58000, 50000, 56672});
    static_assert(AreProved(kEncode));
    static constexpr bool kExact = false;
    static constexpr int32_t kMost = 255;
    static Rgb DecodeAgain(const Pixel<3>& p) noexcept { return Ycbcr::ToRgb(p); }
    static constexpr auto kDecode = WordSumsOf(Ycbcr::ToRgbSums<double>, kMost, {50000, 44000, 50000});
    static_assert(AreProved(kDecode));

    static void Encode(const Bytes (&rgb)[3], Bytes (&out)[3]) noexcept { EncodeBySums<YcbcrRows>(rgb, out); }
    static void Decode(const Bytes (&in)[3], Bytes (&rgb)[3]) noexcept {
        const WordPair y = WordsOf(in[0]), cb = UpperBytes(in[1]), cr = UpperBytes(in[2]);
        DecodeBySums<YcbcrRows>(in, rgb, [&](const auto& side) {
            return std::array<Words, 3>{side(y), side(cb) >> 8, side(cr) >> 8};
        });
    }
};

template <class Codec, bool kRgbFirst>
void FromHub(const uint8_t* from, uint8_t* to, int32_t width, const void*) noexcept {
    MapRuns<3, 3>(from, to, static_cast<size_t>(width), [](const Bytes(&in)[3], Bytes(&out)[3]) {
        Bytes hub[3] = {in[0], in[1], in[2]};
        DealRun(hub);
        if (!kRgbFirst) std::swap(hub[0], hub[2]);
        Codec::Encode(hub, out);
        WeaveRun(out);
    });
}

template <class Codec, bool kRgbFirst>
void ToHub(const uint8_t* from, uint8_t* to, int32_t width, const void*) noexcept {
    MapRuns<3, 3>(from, to, static_cast<size_t>(width), [](const Bytes(&in)[3], Bytes(&out)[3]) {
        Bytes pixels[3] = {in[0], in[1], in[2]};
        DealRun(pixels);
        Codec::Decode(pixels, out);
        if (!kRgbFirst) std::swap(out[0], out[2]);
        WeaveRun(out);
    });
}

template <class Codec>
constexpr ClrHubRows kRows = {{FromHub<Codec, false>, FromHub<Codec, true>}, {ToHub<Codec, false>, ToHub<Codec, true>}};

}  // namespace

const LumaChromaRowTable kLumaChromaRows = {kRows<YuvRows>, kRows<YiqRows>, kRows<YcbcrRows>};

}  // namespace zv::inline ZV_ISA
