#include "tests/support/kernel_cases.h"

#include <array>
#include <memory>
#include <utility>

#include "Common/kernels/cie.h"
#include "Common/kernels/hue.h"
#include "Common/kernels/kernels.h"
#include "Common/kernels/luma_chroma.h"
#include "Common/kernels/subsampled.h"

namespace zv::test {

namespace {

using Definition = decltype(KernelCase::define);

Rgb LoadHub(const uint8_t* p, bool rgbFirst) { return rgbFirst ? Rgb{p[0], p[1], p[2]} : Rgb{p[2], p[1], p[0]}; }

void StoreHub(uint8_t* p, Rgb pixel, bool rgbFirst) {
    p[rgbFirst ? 0 : 2] = pixel.r;
    p[1] = pixel.g;
    p[rgbFirst ? 2 : 0] = pixel.b;
}

/// map(const uint8_t* in, uint8_t* out, bool rgbFirst) for each pixel or group.
template <int32_t kIn, int32_t kOut, class Map>
Definition EachGroup(int32_t pixels, const Map& map) {
    return [=](const uint8_t* source, uint8_t* destination, int32_t width, int32_t height, bool rgbFirst) {
        const int64_t groups = int64_t{width} * height / pixels;
        for (int64_t i = 0; i < groups; ++i) map(source + i * kIn, destination + i * kOut, rgbFirst);
    };
}

template <class Codec>
Definition FromHubPixels(const Codec& codec) {
    return EachGroup<3, Codec::kPixelBytes>(1, [=](const uint8_t* in, uint8_t* out, bool rgbFirst) {
        const auto pixel = codec.FromRgb(LoadHub(in, rgbFirst));
        for (size_t i = 0; i < pixel.size(); ++i) out[i] = pixel[i];
    });
}

template <class Codec>
Definition ToHubPixels(const Codec& codec) {
    return EachGroup<Codec::kPixelBytes, 3>(1, [=](const uint8_t* in, uint8_t* out, bool rgbFirst) {
        Pixel<size_t{Codec::kPixelBytes}> pixel;
        for (size_t i = 0; i < pixel.size(); ++i) pixel[i] = in[i];
        StoreHub(out, codec.ToRgb(pixel), rgbFirst);
    });
}

// --- Sub-sampled layouts --------------------------------------------------------------------------------------------

/// Bytes of a packed group: where each luma stands, and where the chroma that pixel `i` shares.
template <size_t kPixels, size_t kBytes>
struct GroupMap {
    std::array<size_t, kPixels> luma, u, v;
    size_t share;
};

constexpr GroupMap<2, 4> kYuy2 = {{0, 2}, {1, 1}, {3, 3}, 2};
constexpr GroupMap<2, 4> kUyvy = {{1, 3}, {0, 0}, {2, 2}, 2};
constexpr GroupMap<8, 12> kY41p = {{1, 3, 5, 7, 8, 9, 10, 11}, {0, 0, 0, 0, 4, 4, 4, 4}, {2, 2, 2, 2, 6, 6, 6, 6}, 4};

template <size_t kPixels, size_t kBytes>
Definition GroupFromHub(const GroupMap<kPixels, kBytes>& map) {
    return EachGroup<3 * kPixels, kBytes>(kPixels, [=](const uint8_t* in, uint8_t* out, bool rgbFirst) {
        std::array<size_t, kBytes> sums{};
        for (size_t i = 0; i < kPixels; ++i) {
            const Pixel<3> yuv = StudioYuv::FromRgb(LoadHub(in + 3 * i, rgbFirst));
            out[map.luma[i]] = yuv[0];
            sums[map.u[i]] += yuv[1];
            sums[map.v[i]] += yuv[2];
        }
        for (size_t i = 0; i < kPixels; ++i) {
            out[map.u[i]] = static_cast<uint8_t>(sums[map.u[i]] / map.share);
            out[map.v[i]] = static_cast<uint8_t>(sums[map.v[i]] / map.share);
        }
    });
}

template <size_t kPixels, size_t kBytes>
Definition GroupToHub(const GroupMap<kPixels, kBytes>& map) {
    return EachGroup<kBytes, 3 * kPixels>(kPixels, [=](const uint8_t* in, uint8_t* out, bool rgbFirst) {
        for (size_t i = 0; i < kPixels; ++i) {
            StoreHub(out + 3 * i, StudioYuv::ToRgb({in[map.luma[i]], in[map.u[i]], in[map.v[i]]}), rgbFirst);
        }
    });
}

/// The running value of a block's chroma: each row after the first counts for a fifth of itself and the value so far.
int32_t RunningChroma(const std::array<std::array<int32_t, 4>, 4>& rows) {
    int32_t value = 0;
    for (size_t row = 0; row < 4; ++row) {
        const int32_t sum = rows[row][0] + rows[row][1] + rows[row][2] + rows[row][3];
        value = row == 0 ? sum >> 2 : (value + sum) / 5;
    }
    return value;
}

void DefineYvu9FromHub(const uint8_t* source, uint8_t* destination, int32_t width, int32_t height, bool rgbFirst) {
    const ptrdiff_t w = width, pixels = w * height;
    for (ptrdiff_t blockY = 0; blockY < height / 4; ++blockY) {
        for (ptrdiff_t blockX = 0; blockX < width / 4; ++blockX) {
            std::array<std::array<int32_t, 4>, 4> u{}, v{};
            for (size_t row = 0; row < 4; ++row) {
                for (size_t column = 0; column < 4; ++column) {
                    const ptrdiff_t at =
                        (blockY * 4 + static_cast<ptrdiff_t>(row)) * w + blockX * 4 + static_cast<ptrdiff_t>(column);
                    const Pixel<3> yuv = StudioYuv::FromRgb(LoadHub(source + at * 3, rgbFirst));
                    destination[at] = yuv[0];
                    u[row][column] = yuv[1];
                    v[row][column] = yuv[2];
                }
            }
            const ptrdiff_t block = blockY * (w / 4) + blockX;
            destination[pixels + block] = static_cast<uint8_t>(RunningChroma(v));
            destination[pixels + pixels / 16 + block] = static_cast<uint8_t>(RunningChroma(u));
        }
    }
}

void DefineYvu9ToHub(const uint8_t* source, uint8_t* destination, int32_t width, int32_t height, bool rgbFirst) {
    const ptrdiff_t w = width, pixels = w * height;
    for (ptrdiff_t at = 0; at < pixels; ++at) {
        const ptrdiff_t block = at / w / 4 * (w / 4) + at % w / 4;
        const uint8_t v = source[pixels + block];
        const uint8_t u = source[pixels + pixels / 16 + block];
        StoreHub(destination + at * 3, StudioYuv::ToRgb({source[at], u, v}), rgbFirst);
    }
}

// --- YCCK -----------------------------------------------------------------------------------------------------------

Pixel<4> Four(const uint8_t* p) { return {p[0], p[1], p[2], p[3]}; }

void StoreFour(uint8_t* p, Pixel<4> pixel) {
    for (size_t i = 0; i < 4; ++i) p[i] = pixel[i];
}

// --- The table ------------------------------------------------------------------------------------------------------

class Table {
public:
    Table() {
        AddPixels(CLRSPACE_YUV, Yuv{});
        for (const int32_t level : {175, -300, 0, 250, 500, 1000, 3000}) AddCmyk(level);
        AddPixels(CLRSPACE_HSV, Hsv{});
        AddPixels(CLRSPACE_HLS, Hls{});
        cases_.back().nonZeroSource = true;
        AddPixels(CLRSPACE_YIQ, Yiq{});
        AddPixels(CLRSPACE_CMY, Cmy{});
        AddPixels(CLRSPACE_LAB, Lab{});
        // The common encoding, a wide one, a narrow one, and one that holds next to nothing on one side.
        AddEncoding("Common", {32, 63, 0, 100, 128, 170, 96, 200});
        AddEncoding("Wide", {32, 63, 0, 100, 128, 255, 128, 255});
        AddEncoding("Narrow", {32, 63, 10, 80, 128, 60, 128, 60});
        AddEncoding("OneSided", {32, 63, 0, 100, 253, 1, 254, 1});
        AddPixels(CLRSPACE_XYZ, Xyz{});
        AddGroups(CLRSPACE_YUY2, 16, 2, GroupFromHub(kYuy2), GroupToHub(kYuy2));
        AddYvu9();
        AddYcck();
        AddGroups(CLRSPACE_Y41P, 12, 8, GroupFromHub(kY41p), GroupToHub(kY41p));
        AddGroups(CLRSPACE_UYVY, 16, 2, GroupFromHub(kUyvy), GroupToHub(kUyvy));
        AddPixels(CLRSPACE_YCBCR, Ycbcr{});
        AddPixels(CLRSPACE_HSI, Hsi{});
        AddPixels(CLRSPACE_RGB444, Rgb444{});
        cases_.back().converterOrder = 0;
        AddSwap();
    }

    std::vector<KernelCase> Take() { return std::move(cases_); }

private:
    static constexpr int32_t kHubBits = 24;

    KernelCase& Add(const std::string& name, int32_t space, Direction direction, int32_t bits, Definition define) {
        KernelCase& kernel = cases_.emplace_back();
        kernel.name = name;
        kernel.space = space;
        kernel.direction = direction;
        kernel.sourceBits = direction == Direction::kFromHub ? kHubBits : bits;
        kernel.destinationBits = direction == Direction::kToHub ? kHubBits : bits;
        kernel.define = std::move(define);
        return kernel;
    }

    void AddPair(int32_t space, int32_t bits, Definition fromHub, Definition toHub) {
        const ClrKernelPair& pair = *FindKernelPair(space);
        Add(pair.fromHubName, space, Direction::kFromHub, bits, std::move(fromHub)).run = pair.fromHub;
        Add(pair.toHubName, space, Direction::kToHub, bits, std::move(toHub)).run = pair.toHub;
    }

    template <class Codec>
    void AddPixels(int32_t space, const Codec& codec) {
        AddPair(space, Codec::kPixelBytes * 8, FromHubPixels(codec), ToHubPixels(codec));
    }

    void AddCmyk(int32_t level) {
        const Cmyk codec(level);
        if (level == 175) {
            AddPixels(CLRSPACE_CMYK, codec);
            return;
        }
        const std::string suffix = (level < 0 ? "LevelMinus" : "Level") + std::to_string(level < 0 ? -level : level);
        KernelCase& from = Add("ClrCmykFromHub" + suffix, CLRSPACE_CMYK, Direction::kFromHub, 32, FromHubPixels(codec));
        from.gcrLevel = level;
        from.run = [=](const uint8_t* s, uint8_t* d, int32_t w, int32_t h, int32_t se, int32_t de, int32_t order) {
            return ClrCmykFromHub(s, d, w, h, se, de, level, order);
        };
        KernelCase& to = Add("ClrCmykToHub" + suffix, CLRSPACE_CMYK, Direction::kToHub, 32, ToHubPixels(codec));
        to.gcrLevel = level;
        to.run = [=](const uint8_t* s, uint8_t* d, int32_t w, int32_t h, int32_t se, int32_t de, int32_t order) {
            return ClrCmykToHub(s, d, w, h, se, de, level, order);
        };
    }

    void AddEncoding(const std::string& suffix, const ClrLabParams& encoding) {
        const auto encode = std::make_shared<ClrLabEncodeRecord>();
        SetLabRecord(*encode, kLabEncodeSetup, encoding);
        ClrBuildLabEncode(encode.get(), kGammaPercent);
        KernelCase& from = Add("ClrLabParamsFromHub" + suffix, CLRSPACE_LAB, Direction::kFromHub, 24,
                               EachGroup<3, 3>(1, [=](const uint8_t* in, uint8_t* out, bool rgbFirst) {
                                   const Pixel<3> pixel = LabFromRgb(*encode, LoadHub(in, rgbFirst));
                                   for (size_t i = 0; i < 3; ++i) out[i] = pixel[i];
                               }));
        from.run = [=](const uint8_t* s, uint8_t* d, int32_t w, int32_t h, int32_t se, int32_t de, int32_t order) {
            return ClrLabParamsFromHub(encode.get(), s, d, w, h, se, de, order);
        };
        from.encoding = encoding;
        from.converterOrder = 0;
        from.probes = false;

        const auto decode = std::make_shared<ClrLabDecodeRecord>();
        SetLabRecord(*decode, kLabDecodeSetup, encoding);
        ClrBuildLabDecode(decode.get(), kGammaPercent);
        KernelCase& to = Add("ClrLabParamsToHub" + suffix, CLRSPACE_LAB, Direction::kToHub, 24,
                             EachGroup<3, 3>(1, [=](const uint8_t* in, uint8_t* out, bool rgbFirst) {
                                 StoreHub(out, LabToRgb(*decode, {in[0], in[1], in[2]}), rgbFirst);
                             }));
        to.run = [=](const uint8_t* s, uint8_t* d, int32_t w, int32_t h, int32_t se, int32_t de, int32_t order) {
            return ClrLabParamsToHub(decode.get(), s, d, w, h, se, de, order);
        };
        to.encoding = encoding;
        to.probes = false;
    }

    void AddGroups(int32_t space, int32_t bits, int32_t pixels, Definition fromHub, Definition toHub) {
        AddPair(space, bits, std::move(fromHub), std::move(toHub));
        for (size_t i = cases_.size() - 2; i < cases_.size(); ++i) {
            cases_[i].widthMultiple = pixels;
            cases_[i].sizeCode = ERR_WIDTH_MULTIPLE;
        }
    }

    void AddYvu9() {
        AddPair(CLRSPACE_YVU9, 9, DefineYvu9FromHub, DefineYvu9ToHub);
        for (size_t i = cases_.size() - 2; i < cases_.size(); ++i) {
            cases_[i].widthMultiple = 4;
            cases_[i].heightMultiple = 4;
            cases_[i].sizeCode = ERR_YVU9_SIZE;
        }
        cases_[cases_.size() - 2].packedDestination = true;
        cases_[cases_.size() - 2].bandsLeaveOutPadding = true;
        cases_.back().packedSource = true;
    }

    void AddYcck() {
        // The byte order of the hub as it stands, whatever it is.
        AddPair(CLRSPACE_YCCK, 32,
                EachGroup<3, 4>(1,
                                [](const uint8_t* in, uint8_t* out, bool) {
                                    const Pixel<4> cmyk = Ycck::CmykFromHub({in[0], in[1], in[2]});
                                    StoreFour(out, Ycck::FromCmyk(ClrGlobalYcckTables, cmyk));
                                }),
                EachGroup<4, 3>(1, [](const uint8_t* in, uint8_t* out, bool rgbFirst) {
                    StoreHub(out, Ycck::RgbFromCmyk(Ycck::ToCmyk(ClrGlobalYcckTables, Four(in))), rgbFirst);
                }));
        cases_[cases_.size() - 2].probes = false;
        cases_.back().probes = false;

        KernelCase& from = Add("ClrCmykToYcck", CLRSPACE_YCCK, Direction::kNeither, 32,
                               EachGroup<4, 4>(1, [](const uint8_t* in, uint8_t* out, bool) {
                                   StoreFour(out, Ycck::FromCmyk(ClrGlobalYcckTables, Four(in)));
                               }));
        from.run = [](const uint8_t* s, uint8_t* d, int32_t w, int32_t h, int32_t, int32_t de, int32_t) {
            return ClrCmykToYcck(&ClrGlobalYcckTables, s, d, w, h, de);
        };
        from.packedSource = true;
        from.probes = false;
        KernelCase& to = Add("ClrYcckToCmyk", CLRSPACE_YCCK, Direction::kNeither, 32,
                             EachGroup<4, 4>(1, [](const uint8_t* in, uint8_t* out, bool) {
                                 StoreFour(out, Ycck::ToCmyk(ClrGlobalYcckTables, Four(in)));
                             }));
        to.run = [](const uint8_t* s, uint8_t* d, int32_t w, int32_t h, int32_t se, int32_t, int32_t) {
            return ClrYcckToCmyk(&ClrGlobalYcckTables, s, d, w, h, se);
        };
        to.packedDestination = true;
        to.probes = false;
    }

    void AddSwap() {
        KernelCase& swap = Add("ClrHubSwap", CLRSPACE_BGR, Direction::kNeither, kHubBits,
                               EachGroup<3, 3>(1, [](const uint8_t* in, uint8_t* out, bool) {
                                   out[0] = in[2];
                                   out[1] = in[1];
                                   out[2] = in[0];
                               }));
        swap.run = [](const uint8_t* s, uint8_t* d, int32_t w, int32_t h, int32_t se, int32_t de, int32_t) {
            return ClrHubSwap(s, d, w, h, se, de);
        };
    }

    std::vector<KernelCase> cases_;
};

}  // namespace

const std::vector<KernelCase>& KernelCases() {
    static const std::vector<KernelCase> cases = Table().Take();
    return cases;
}

std::string KernelCaseName(const KernelCase& kernel) { return kernel.name; }

// --- Colours --------------------------------------------------------------------------------------------------------

ColourCube ColourCube::Whole() {
    std::vector<uint8_t> levels(256);
    for (size_t i = 0; i < 256; ++i) levels[i] = static_cast<uint8_t>(i);
    return ColourCube(std::move(levels));
}

ColourCube ColourCube::Half() {
    std::vector<uint8_t> levels(128);
    for (size_t i = 0; i < 128; ++i) levels[i] = static_cast<uint8_t>(i * 255 / 127);
    return ColourCube(std::move(levels));
}

int32_t ColourCube::ImageCount(const KernelCase& kernel) const {
    const auto count = static_cast<int32_t>(levels_.size());
    if (kernel.sourceBits == 9) return count / 16;
    if (kernel.sourceBits == 16 && kernel.widthMultiple == 1) return 1;
    return count;
}

void ColourCube::Fill(const KernelCase& kernel, int32_t number, uint8_t fourth, Image* image) const {
    const auto count = static_cast<int32_t>(levels_.size());
    const size_t groups = levels_.size() * levels_.size();
    const uint8_t first = levels_[static_cast<size_t>(number)];
    const auto second = [&](size_t group) { return levels_[group / levels_.size()]; };
    const auto third = [&](size_t group) { return levels_[group % levels_.size()]; };
    std::vector<uint8_t>& bytes = image->bytes;
    image->width = count * count;
    image->height = 1;

    if (kernel.sourceBits == 9) {
        // Every pair of chroma values with sixteen lumas each.
        image->width = image->height = count * 4;
        const size_t pixels = groups * 16;
        bytes.resize(pixels + 2 * groups);
        const size_t width = levels_.size() * 4;
        for (size_t at = 0; at < pixels; ++at) {
            bytes[at] = levels_[static_cast<size_t>(number) * 16 + at / width % 4 * 4 + at % 4];
        }
        for (size_t group = 0; group < groups; ++group) {
            bytes[pixels + group] = second(group);
            bytes[pixels + groups + group] = third(group);
        }
        return;
    }
    if (kernel.heightMultiple > 1) image->width = image->height = count;
    if (kernel.direction != Direction::kFromHub && kernel.widthMultiple > 1) {
        // A group for every pair of chroma values; the lumas run through all levels too.
        const auto pixels = static_cast<size_t>(kernel.widthMultiple);
        const size_t size = pixels == 2 ? 4 : 12;
        image->width *= kernel.widthMultiple;
        bytes.resize(groups * size);
        for (size_t group = 0; group < groups; ++group) {
            for (size_t i = 0; i < size; ++i) bytes[group * size + i] = static_cast<uint8_t>(first + i * 37);
            const bool chromaFirst = kernel.space != CLRSPACE_YUY2;
            uint8_t* at = bytes.data() + group * size + (chromaFirst ? 0 : 1);
            at[0] = second(group);
            at[2] = third(group);
            if (size == 12) {
                at[4] = third(group);
                at[6] = second(group);
            }
        }
        return;
    }
    const auto size = static_cast<size_t>(kernel.sourceBits / 8);
    bytes.resize(groups * size);
    for (size_t group = 0; group < groups; ++group) {
        uint8_t* at = bytes.data() + group * size;
        if (size == 2) {
            at[0] = second(group);
            at[1] = third(group);
            continue;
        }
        at[0] = first;
        at[1] = second(group);
        at[2] = third(group);
        if (kernel.nonZeroSource && at[2] == 0 && at[0] != 0) at[2] = 1;
        if (size == 4) at[3] = fourth;
    }
}

std::vector<uint8_t> ColourCube::Fourths(const KernelCase& kernel) {
    return kernel.sourceBits == 32 ? std::vector<uint8_t>{0, 127, 255} : std::vector<uint8_t>{0};
}

}  // namespace zv::test
