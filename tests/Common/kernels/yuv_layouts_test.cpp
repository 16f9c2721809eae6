#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "Common/kernels/kernels.h"
#include "Common/kernels/subsampled.h"
#include "tests/Common/kernels/few_pixels.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/test_pictures.h"

namespace zv::test {

namespace {

/// uX, uY, vX, vY; positions; macro-pixel size, full range, planar.
ClrYuvParams Params(int32_t uX, int32_t uY, int32_t vX, int32_t vY, const int32_t* positions, int32_t macroPixelSize,
                    int32_t fullRange, int32_t planar) {
    return {44, 0, uX, uY, vX, vY, positions, macroPixelSize, fullRange, planar};
}

int32_t Decode(const ClrYuvParams& params, const Bytes& source, Bytes* out, int32_t width, int32_t height,
               int32_t sourceExtra = 0, int32_t destinationExtra = 0) {
    return ClrYuvParamsToHub(source.data(), out->data(), width, height, sourceExtra, destinationExtra, &params);
}

constexpr int32_t kOrder[] = {0, 1, 2, 3, 4, 5};
/// Y0 U Y1 V.
constexpr int32_t kYuyv[] = {0, 2, 1, 3};
/// Y U V.
constexpr int32_t kYuv[] = {0, 1, 2};

// --- Pixels ---------------------------------------------------------------------------------------------------------

Bytes PackedPixel(uint8_t y, uint8_t u, uint8_t v, int32_t fullRange) {
    Bytes out(3, 0xCC);
    EXPECT_EQ(CLR_SUCCESS, Decode(Params(1, 1, 1, 1, kYuv, 1, fullRange, 0), {y, u, v}, &out, 1, 1));
    return out;
}

TEST(YuvParamsToHub, StudioRangeTakesOffsetsOff) {
    EXPECT_EQ((Bytes{254, 254, 254}), PackedPixel(235, 128, 128, 0));
    EXPECT_EQ((Bytes{0, 0, 0}), PackedPixel(16, 128, 128, 0));
}

TEST(YuvParamsToHub, FullRangeTakesNoOffsetOffTheChroma) {
    EXPECT_EQ((Bytes{255, 0, 255}), PackedPixel(128, 128, 128, 1));
    // 1192 * 128 / 1024, without chroma.
    EXPECT_EQ((Bytes{149, 149, 149}), PackedPixel(128, 0, 0, 1));
    EXPECT_EQ((Bytes{149, 149, 149}), PackedPixel(128, 0, 0, -7));
}

TEST(YuvParamsToHub, WritesBlueFirstAndFloors) {
    // y 65, u -38, v 112: B (77480 - 78508) >> 10 = -2, G (77480 + 15200 - 93296) >> 10 = -1, R 260480 >> 10 = 254.
    EXPECT_EQ((Bytes{0, 0, 254}), PackedPixel(81, 90, 240, 0));
    // y 1: 1192 >> 10, without a rounding term.
    EXPECT_EQ((Bytes{1, 1, 1}), PackedPixel(17, 128, 128, 0));
    EXPECT_EQ((Bytes{9, 9, 9}), PackedPixel(24, 128, 128, 0));
}

// --- Planes ---------------------------------------------------------------------------------------------------------

/// The rule as a walk over pixels: counter from 1, chroma pointers that move by it, the last pixel left out.
Bytes PlanarByRule(const ClrYuvParams& p, const Bytes& source, int32_t order, int32_t width, int32_t height,
                   int32_t destinationExtra) {
    const int32_t ySize = width * height;
    const int32_t uSize = ySize / (p.uSampleX * p.uSampleY), vSize = ySize / (p.vSampleX * p.vSampleY);
    const int32_t at[6][3] = {{0, ySize, ySize + uSize}, {0, ySize + vSize, ySize}, {uSize, 0, uSize + ySize},
                              {uSize + vSize, 0, uSize}, {vSize, vSize + ySize, 0}, {vSize + uSize, vSize, 0}};
    int32_t y = at[order][0], u = at[order][1], v = at[order][2];
    int32_t uRow = u, vRow = v;
    Bytes out(static_cast<size_t>((width * 3 + destinationExtra) * height), 0xCC);
    size_t to = 0;
    for (int32_t n = 1; n < width * height; ++n) {
        const Rgb pixel = StudioYuv::FromSamples(source[static_cast<size_t>(y)], source[static_cast<size_t>(u)],
                                                 source[static_cast<size_t>(v)], p.fullRange != 0);
        out[to] = pixel.b;
        out[to + 1] = pixel.g;
        out[to + 2] = pixel.r;
        to += 3;
        ++y;
        if (n % p.uSampleX == 0) ++u;
        if (n % p.vSampleX == 0) ++v;
        if (n % (width * p.uSampleY) == 0) uRow += width / p.uSampleX;
        if (n % (width * p.vSampleY) == 0) vRow += width / p.vSampleX;
        if (n % width == 0) {
            u = uRow;
            v = vRow;
            to += static_cast<size_t>(destinationExtra);
        }
    }
    return out;
}

TEST(YuvParamsToHubPlanar, EveryPlaneOrderAndPeriod) {
    const Bytes source = RandomBytes(4000, 11);
    for (int32_t order = 0; order < 6; ++order) {
        for (const auto& [uX, uY, vX, vY] : std::vector<std::array<int32_t, 4>>{
                 {1, 1, 1, 1}, {2, 1, 2, 1}, {2, 2, 2, 2}, {4, 4, 4, 4}, {4, 2, 2, 1}, {1, 1, 4, 2}, {3, 1, 3, 1}}) {
            for (const auto& [width, height] : {std::pair{8, 8}, {16, 4}, {7, 5}, {1, 9}, {9, 1}, {12, 12}}) {
                for (const int32_t extra : {0, 5}) {
                    const ClrYuvParams params = Params(uX, uY, vX, vY, kOrder + order, 1, order % 2, 1);
                    const Bytes wanted = PlanarByRule(params, source, order, width, height, extra);
                    Bytes out(wanted.size(), 0xCC);
                    ASSERT_EQ(CLR_SUCCESS, Decode(params, source, &out, width, height, 0, extra));
                    ASSERT_EQ(wanted, out) << order << ": " << uX << uY << vX << vY << ", " << width << " x " << height;
                }
            }
        }
    }
}

TEST(YuvParamsToHubPlanar, OnePixelConvertsNothing) {
    Bytes out(3, 0xCC);
    EXPECT_EQ(CLR_SUCCESS, Decode(Params(1, 1, 1, 1, kOrder, 1, 0, 1), Bytes(16, 200), &out, 1, 1));
    EXPECT_EQ(Bytes(3, 0xCC), out);
}

TEST(YuvParamsToHubPlanar, TheLastPixelStaysAsItWas) {
    Bytes out(4 * 2 * 3, 0xCC);
    EXPECT_EQ(CLR_SUCCESS, Decode(Params(2, 1, 2, 1, kOrder, 1, 0, 1), Bytes(100, 128), &out, 4, 2));
    EXPECT_EQ(Bytes(3, 0xCC), Bytes(out.end() - 3, out.end()));
    EXPECT_TRUE(std::none_of(out.begin(), out.end() - 3, [](uint8_t byte) { return byte == 0xCC; }));
}

TEST(YuvParamsToHubPlanar, PaddingOf1IsLetThroughAndAbove1Not) {
    const ClrYuvParams params = Params(2, 2, 2, 2, kOrder, 1, 0, 1);
    const Bytes source = RandomBytes(1000, 3);
    Bytes out(8 * 8 * 3, 0xCC), plain(out);
    EXPECT_EQ(CLR_SUCCESS, Decode(params, source, &plain, 8, 8, 0));
    EXPECT_EQ(CLR_SUCCESS, Decode(params, source, &out, 8, 8, 1));
    EXPECT_EQ(plain, out);
    EXPECT_EQ(ERR_YUV_PLANAR_PADDING, Decode(params, source, &out, 8, 8, 2));
    EXPECT_EQ(CLR_SUCCESS, Decode(params, source, &out, 8, 8, INT32_MIN));
}

TEST(YuvParamsToHubPlanar, OrderCodesOutsideAreInvalid) {
    const Bytes source(1000);
    for (const int32_t code : {-1, 6, INT32_MIN, INT32_MAX}) {
        Bytes out(8 * 8 * 3, 0xCC);
        EXPECT_EQ(ERR_INVALID_PARAMETER, Decode(Params(2, 2, 2, 2, &code, 1, 0, 1), source, &out, 8, 8));
        EXPECT_EQ(Bytes(8 * 8 * 3, 0xCC), out);
    }
}

// --- Packed ---------------------------------------------------------------------------------------------------------

/// The rule as a walk over pixels; the two paddings are crossed.
Bytes PackedByRule(const ClrYuvParams& p, const Bytes& source, int32_t width, int32_t height, int32_t sourceExtra,
                   int32_t destinationExtra) {
    Bytes out(static_cast<size_t>((width * 3 + sourceExtra) * height), 0xCC);
    const int32_t size = p.macroPixelSize;
    const auto step = static_cast<int32_t>((1.0 / p.uSampleX + 1.0 + 1.0 / p.vSampleX) * size);
    int32_t base = 0, k = 0;
    size_t to = 0;
    const auto sample = [&](int32_t index) { return source[static_cast<size_t>(base + p.positions[index])]; };
    for (int32_t n = 1; n <= width * height; ++n) {
        const Rgb pixel = StudioYuv::FromSamples(sample(k), sample(size + k / p.uSampleX),
                                                 sample(size + size / p.uSampleX + k / p.vSampleX), p.fullRange != 0);
        out[to] = pixel.b;
        out[to + 1] = pixel.g;
        out[to + 2] = pixel.r;
        to += 3;
        if (n % size == 0) base += step;
        k = n % size;
        if (n % width == 0) {
            base += destinationExtra;
            to += static_cast<size_t>(sourceExtra);
        }
    }
    return out;
}

TEST(YuvParamsToHubPacked, LayoutsAndCrossedPaddings) {
    const Bytes source = RandomBytes(4000, 12);
    const int32_t uyvy[] = {1, 3, 0, 2};
    const int32_t v12[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 10, 9, 11};  // four lumas for one chroma pair, twice
    const std::vector<ClrYuvParams> layouts = {
        Params(1, 1, 1, 1, kYuv, 1, 0, 0), Params(2, 1, 2, 1, kYuyv, 2, 0, 0), Params(2, 0 + 1, 2, 1, uyvy, 2, 1, 0),
        Params(4, 1, 4, 1, v12, 8, 0, 0),  Params(2, 1, 4, 1, v12, 4, 0, 0),
    };
    for (const ClrYuvParams& params : layouts) {
        for (const auto& [width, height] : {std::pair{8, 3}, {16, 2}, {7, 4}, {1, 5}, {5, 1}}) {
            for (const auto& [sourceExtra, destinationExtra] : {std::pair{0, 0}, {3, 0}, {0, 3}, {4, 9}, {64, 1}}) {
                const Bytes wanted = PackedByRule(params, source, width, height, sourceExtra, destinationExtra);
                Bytes out(static_cast<size_t>((width * 3 + std::max(sourceExtra, destinationExtra)) * height), 0xCC);
                ASSERT_EQ(CLR_SUCCESS, Decode(params, source, &out, width, height, sourceExtra, destinationExtra));
                ASSERT_TRUE(std::equal(wanted.begin(), wanted.end(), out.begin()))
                    << "macro-pixel " << params.macroPixelSize << ", " << width << " x " << height << ", paddings "
                    << sourceExtra << " and " << destinationExtra;
            }
        }
    }
}

TEST(YuvParamsToHubPacked, CrossedPaddingsAreProbedOnTheSideTheyMove) {
    const ClrYuvParams params = Params(2, 1, 2, 1, kYuyv, 2, 0, 0);
    const int32_t width = 16, height = 3, extra = 100;
    // The source's padding moves the destination: rows and two gaps have to be writable.
    {
        const GuardedBuffer source((width * 2 + extra) * height);
        const GuardedBuffer enough(width * 3 * height + extra * (height - 1));
        EXPECT_EQ(CLR_SUCCESS, ClrYuvParamsToHub(source.Data(), enough.Data(), width, height, extra, 0, &params));
        const GuardedBuffer small(width * 3 * height + extra * (height - 1) - 1);
        EXPECT_EQ(ERR_INVALID_PARAMETER,
                  ClrYuvParamsToHub(source.Data(), small.Data(), width, height, extra, 0, &params));
        EXPECT_TRUE(std::all_of(small.begin(), small.end(), [](uint8_t byte) { return byte == 0xCD; }));
    }
    // The destination's padding moves the source.
    {
        const GuardedBuffer destination((width * 3 + extra) * height);
        const GuardedBuffer enough(width * 2 * height + extra * (height - 1));
        EXPECT_EQ(CLR_SUCCESS, ClrYuvParamsToHub(enough.Data(), destination.Data(), width, height, 0, extra, &params));
        const GuardedBuffer small(width * 2 * height + extra * (height - 1) - 1);
        EXPECT_EQ(ERR_BAD_POINTER,
                  ClrYuvParamsToHub(small.Data(), destination.Data(), width, height, 0, extra, &params));
    }
}

TEST(YuvParamsToHubPacked, PositionsOutsideTheMacroPixelAreInvalid) {
    const Bytes source(1000);
    for (const int32_t bad : {-1, 4, INT32_MIN, INT32_MAX}) {
        for (size_t entry = 0; entry < 4; ++entry) {
            int32_t positions[] = {0, 2, 1, 3};
            positions[entry] = bad;
            Bytes out(8 * 3, 0xCC);
            EXPECT_EQ(ERR_INVALID_PARAMETER, Decode(Params(2, 1, 2, 1, positions, 2, 0, 0), source, &out, 8, 1));
            EXPECT_EQ(Bytes(8 * 3, 0xCC), out);
        }
    }
}

TEST(YuvParamsToHubPacked, VerticalSubsamplingIsRefused) {
    const Bytes source(1000);
    Bytes out(8 * 3, 0xCC);
    EXPECT_EQ(ERR_YUV_VERTICAL_PACKED, Decode(Params(2, 2, 2, 1, kYuyv, 2, 0, 0), source, &out, 8, 1));
    EXPECT_EQ(ERR_YUV_VERTICAL_PACKED, Decode(Params(2, 1, 2, 2, kYuyv, 2, 0, 0), source, &out, 8, 1));
    EXPECT_EQ(ERR_YUV_VERTICAL_PACKED, Decode(Params(2, 1, 2, INT32_MAX, kYuyv, 2, 0, 0), source, &out, 8, 1));
    EXPECT_EQ(Bytes(8 * 3, 0xCC), out);
}

// --- Refusals -------------------------------------------------------------------------------------------------------

TEST(YuvParamsToHub, CodesComeInTheirOrder) {
    const Bytes source(1000);
    Bytes out(1000, 0xCC);
    uint8_t* to = out.data();
    // Each line has all faults of the lines below it.
    ClrYuvParams p = Params(2, 2, 3, 3, nullptr, 0, 0, 0);
    EXPECT_EQ(ERR_INVALID_PARAMETER, ClrYuvParamsToHub(nullptr, nullptr, 0, 1, 0, 0, &p));
    EXPECT_EQ(ERR_INVALID_PARAMETER, ClrYuvParamsToHub(nullptr, nullptr, 8, 8, 0, 0, &p));
    EXPECT_EQ(ERR_BAD_POINTER, ClrYuvParamsToHub(nullptr, to, 8, 8, 0, 0, &p));
    EXPECT_EQ(ERR_YUV_VERTICAL_PACKED, ClrYuvParamsToHub(source.data(), to, 8, 8, 0, 0, &p));
    p.planar = 1;
    EXPECT_EQ(ERR_YUV_SAMPLING_RATIO, ClrYuvParamsToHub(source.data(), to, 8, 8, 2, 0, &p));
    p.vSampleX = p.vSampleY = 2;
    EXPECT_EQ(ERR_YUV_PLANAR_PADDING, ClrYuvParamsToHub(source.data(), to, 8, 8, 2, 0, &p));
    EXPECT_EQ(ERR_INVALID_PARAMETER, ClrYuvParamsToHub(source.data(), to, 8, 8, 0, 0, &p));
    p.positions = kOrder;
    EXPECT_EQ(Bytes(1000, 0xCC), out);
    EXPECT_EQ(CLR_SUCCESS, ClrYuvParamsToHub(source.data(), to, 8, 8, 0, 0, &p));
}

TEST(YuvParamsToHub, NeitherPeriodDividingTheOtherIsARatioError) {
    const Bytes source(4000);
    Bytes out(12 * 12 * 3, 0xCC);
    const auto planar = [&](int32_t uX, int32_t uY, int32_t vX, int32_t vY) {
        return Decode(Params(uX, uY, vX, vY, kOrder, 1, 0, 1), source, &out, 12, 12);
    };
    EXPECT_EQ(ERR_YUV_SAMPLING_RATIO, planar(2, 1, 3, 1));
    EXPECT_EQ(ERR_YUV_SAMPLING_RATIO, planar(1, 2, 1, 3));
    EXPECT_EQ(ERR_YUV_SAMPLING_RATIO, planar(4, 1, 6, 1));
    EXPECT_EQ(CLR_SUCCESS, planar(2, 1, 4, 2));
    EXPECT_EQ(CLR_SUCCESS, planar(4, 4, 1, 1));
}

TEST(YuvParamsToHub, MissingRecordIsInvalid) {
    uint8_t source[3] = {};
    uint8_t hub[3] = {};
    EXPECT_EQ(ERR_INVALID_PARAMETER, ClrYuvParamsToHub(source, hub, 1, 1, 0, 0, nullptr));
}

TEST(YuvParamsToHub, SizesBelow1AreInvalid) {
    const ClrYuvParams p = Params(1, 1, 1, 1, kYuv, 1, 0, 0);
    uint8_t bytes[64] = {};
    for (const auto& [width, height] : {std::pair{0, 1}, {-1, 1}, {1, 0}, {1, -1}, {INT32_MIN, INT32_MIN}}) {
        EXPECT_EQ(ERR_INVALID_PARAMETER, ClrYuvParamsToHub(bytes, bytes, width, height, 0, 0, &p));
    }
}

TEST(YuvParamsToHub, PeriodsAndMacroPixelsBelow1AreInvalid) {
    const Bytes source(1000);
    for (const int32_t planar : {0, 1}) {
        for (const int32_t value : {0, -1, INT32_MIN}) {
            for (size_t field = 0; field < 4; ++field) {
                int32_t periods[4] = {1, 1, 1, 1};
                periods[field] = value;
                Bytes out(8 * 3, 0xCC);
                const ClrYuvParams p =
                    Params(periods[0], periods[1], periods[2], periods[3], planar != 0 ? kOrder : kYuv, 1, 0, planar);
                EXPECT_EQ(ERR_INVALID_PARAMETER, Decode(p, source, &out, 8, 1)) << field << " is " << value;
                EXPECT_EQ(Bytes(8 * 3, 0xCC), out);
            }
            Bytes out(8 * 3, 0xCC);
            EXPECT_EQ(planar != 0 ? int32_t{CLR_SUCCESS} : int32_t{ERR_INVALID_PARAMETER},
                      Decode(Params(1, 1, 1, 1, planar != 0 ? kOrder : kYuv, value, 0, planar), source, &out, 8, 1));
        }
    }
}

TEST(YuvParamsToHub, PositionsThatCannotBeReadAreInvalid) {
    const Bytes source(1000);
    Bytes out(8 * 3, 0xCC);
    GuardedBuffer bad(64);
    bad.MakeUnreadable();
    for (const int32_t planar : {0, 1}) {
        EXPECT_EQ(ERR_INVALID_PARAMETER, Decode(Params(2, 1, 2, 1, nullptr, 2, 0, planar), source, &out, 8, 1));
        const auto* positions = reinterpret_cast<const int32_t*>(bad.Data());
        EXPECT_EQ(ERR_INVALID_PARAMETER, Decode(Params(2, 1, 2, 1, positions, 2, 0, planar), source, &out, 8, 1));
    }
    // The table may end at a guard page, but not before its last entry.
    const GuardedBuffer table(4 * sizeof(int32_t));
    std::copy_n(reinterpret_cast<const uint8_t*>(kYuyv), table.Size(), table.Data());
    const auto* whole = reinterpret_cast<const int32_t*>(table.Data());
    EXPECT_EQ(CLR_SUCCESS, Decode(Params(2, 1, 2, 1, whole, 2, 0, 0), source, &out, 8, 1));
    const auto* late = reinterpret_cast<const int32_t*>(table.Data() + 1);
    std::fill(out.begin(), out.end(), uint8_t{0xCC});
    EXPECT_EQ(ERR_INVALID_PARAMETER, Decode(Params(2, 1, 2, 1, late, 2, 0, 0), source, &out, 8, 1));
    EXPECT_EQ(Bytes(8 * 3, 0xCC), out);
}

TEST(YuvParamsToHub, SourceRegionIsThatOfTheLayout) {
    // Packed: (2 * 8 + 16) / 2 = 16 bits a pixel. Planar: (4 * 8 + 16) / 2 * 2 = 48 bits, more than the planes have.
    const struct {
        int32_t planar;
        const int32_t* positions;
        size_t bytes;
    } cases[] = {{0, kYuyv, 16 * 8 * 4 / 8}, {1, kOrder, 48 * 8 * 4 / 8}};
    for (const auto& region : cases) {
        const ClrYuvParams p = Params(2, 1, 2, 1, region.positions, 2, 0, region.planar);
        const GuardedBuffer destination(8 * 4 * 3);
        const GuardedBuffer exact(region.bytes), small(region.bytes - 1);
        EXPECT_EQ(CLR_SUCCESS, ClrYuvParamsToHub(exact.Data(), destination.Data(), 8, 4, 0, 0, &p));
        EXPECT_EQ(ERR_BAD_POINTER, ClrYuvParamsToHub(small.Data(), destination.Data(), 8, 4, 0, 0, &p));
    }
}

TEST(YuvParamsToHub, DestinationIsProbedWithItsPadding) {
    const ClrYuvParams p = Params(1, 1, 1, 1, kYuv, 1, 0, 0);
    const GuardedBuffer source((8 * 3 + 5) * 4);
    const GuardedBuffer exact((8 * 3 + 5) * 4), small((8 * 3 + 5) * 4 - 1);
    EXPECT_EQ(CLR_SUCCESS, ClrYuvParamsToHub(source.Data(), exact.Data(), 8, 4, 0, 5, &p));
    EXPECT_EQ(ERR_INVALID_PARAMETER, ClrYuvParamsToHub(source.Data(), small.Data(), 8, 4, 0, 5, &p));
}

TEST(YuvParamsToHub, HugeValuesInEveryFieldDoNotFault) {
    const GuardedBuffer source(4096), destination(4096);
    const GuardedBuffer table(64 * sizeof(int32_t), GuardedBuffer::Side::kBack, 0);
    const auto* positions = reinterpret_cast<const int32_t*>(table.Data());
    const int32_t values[] = {1, 2, 3, 255, 46341, 65536, 1 << 28, (1 << 28) - 1, 1 << 30, INT32_MAX};
    int32_t refused = 0, passed = 0;
    for (const int32_t planar : {0, 1}) {
        for (const int32_t a : values) {
            for (const int32_t b : values) {
                for (size_t pair = 0; pair < 6; ++pair) {
                    ClrYuvParams p = Params(1, 1, 1, 1, positions, 1, 0, planar);
                    if (pair == 0) p.uSampleX = a, p.vSampleX = b;
                    if (pair == 1) p.uSampleY = a, p.vSampleY = b;
                    if (pair == 2) p.uSampleX = a, p.macroPixelSize = b;
                    if (pair == 3) p.uSampleX = p.vSampleX = a, p.uSampleY = p.vSampleY = b;
                    if (pair == 4) p.macroPixelSize = a, p.vSampleX = b;
                    if (pair == 5) p.uSampleX = a, p.vSampleY = b, p.fullRange = b, p.planar = a * planar;
                    for (const int32_t extra : {0, 1, INT32_MAX}) {
                        const int32_t result =
                            ClrYuvParamsToHub(source.Data(), destination.Data(), 16, 4, extra, extra / 3, &p);
                        ++(result == CLR_SUCCESS ? passed : refused);
                        ASSERT_TRUE(result == CLR_SUCCESS || result < 0) << result;
                    }
                    // And sizes that wrap.
                    ASSERT_GT(0, ClrYuvParamsToHub(source.Data(), destination.Data(), a, b, 0, INT32_MAX, &p));
                }
            }
        }
    }
    EXPECT_GT(refused, 1000);
    EXPECT_GT(passed, 100);
}

}  // namespace

}  // namespace zv::test
