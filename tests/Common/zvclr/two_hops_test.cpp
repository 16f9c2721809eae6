// Conversions of two spaces that are not hubs: through a temporary image of CLRSPACE_RGB.
#include <algorithm>

#include "Common/kernels/kernels.h"
#include "tests/support/frame_fixture.h"

namespace zv::test {
namespace {

constexpr int32_t kWidth = 16, kHeight = 8;

/// The temporary image is written with the destination's padding and read with the source's, and
/// what no row fills is zero.
std::vector<uint8_t> Model(int32_t source, int32_t destination, const std::vector<uint8_t>& pixels, int32_t width,
                           int32_t height, int32_t sourceExtra, int32_t destinationExtra, int32_t* result) {
    const int32_t wider = std::max({sourceExtra, destinationExtra, 0});
    std::vector<uint8_t> hub(PaddedBytes(CLRSPACE_RGB, width, height, wider), 0);
    std::vector<uint8_t> out(PaddedBytes(destination, width, height, destinationExtra), 0x5A);
    *result = FindKernelPair(source)->toHub(pixels.data(), hub.data(), width, height, sourceExtra, destinationExtra, 1);
    if (*result != CLR_SUCCESS || destination == CLRSPACE_RGB444) return out;
    *result =
        FindKernelPair(destination)->fromHub(hub.data(), out.data(), width, height, sourceExtra, destinationExtra, 1);
    return out;
}

/// Room for what a hop from or to the two-byte space asks for: three bytes a pixel.
std::vector<uint8_t> Roomy(std::vector<uint8_t> pixels, int32_t width, int32_t height, int32_t extra) {
    pixels.resize(std::max(pixels.size(), PaddedBytes(CLRSPACE_RGB, width, height, extra)), 0x77);
    return pixels;
}

TEST(TwoHops, EveryPairAgainstItsTwoKernels) {
    const HostScope host;
    constexpr int32_t kPaddings[] = {0, 1, 2, 3, 64, -5};
    for (const int32_t source : kAllSpaces) {
        for (const int32_t destination : kAllSpaces) {
            if (source == destination || IsHub(source) || IsHub(destination)) continue;
            const Converter c(source, destination);
            for (const int32_t extra : kPaddings) {
                SCOPED_TRACE(std::to_string(source) + " to " + std::to_string(destination) + ", " +
                             std::to_string(extra));
                const std::vector<uint8_t> pixels =
                    Roomy(ValidPixels(source, kWidth, kHeight, extra, 31), kWidth, kHeight, extra);
                int32_t expectedResult = 0;
                const std::vector<uint8_t> expected =
                    Model(source, destination, pixels, kWidth, kHeight, extra, extra, &expectedResult);
                EXPECT_EQ(CLR_SUCCESS, expectedResult);
                std::vector<uint8_t> out(expected.size(), 0x5A);
                EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvertDirect(source, destination, pixels.data(), out.data(), kWidth,
                                                           kHeight, extra, extra));
                EXPECT_EQ(expected, out);
                if (extra < 0) continue;
                std::vector<uint8_t> byConverter(expected.size(), 0x5A);
                EXPECT_EQ(CLR_SUCCESS,
                          Zv_ClrConvert(c.Get(), pixels.data(), byConverter.data(), kWidth, kHeight, extra, extra));
                EXPECT_EQ(expected, byConverter);
            }
        }
    }
}

TEST(TwoHops, WithoutPaddingAreTheTwoHopsOfTheCaller) {
    for (const int32_t source : kAllSpaces) {
        for (const int32_t destination : kAllSpaces) {
            if (source == destination || IsHub(source) || IsHub(destination) || destination == 144) continue;
            const std::vector<uint8_t> pixels = Roomy(ValidPixels(source, kWidth, kHeight, 0, 32), kWidth, kHeight, 0);
            std::vector<uint8_t> hub(PaddedBytes(0, kWidth, kHeight, 0));
            std::vector<uint8_t> expected(PaddedBytes(destination, kWidth, kHeight, 0)), out(expected.size());
            ASSERT_EQ(CLR_SUCCESS, Zv_ClrConvertDirect(source, 0, pixels.data(), hub.data(), kWidth, kHeight, 0, 0));
            ASSERT_EQ(CLR_SUCCESS,
                      Zv_ClrConvertDirect(0, destination, hub.data(), expected.data(), kWidth, kHeight, 0, 0));
            EXPECT_EQ(CLR_SUCCESS,
                      Zv_ClrConvertDirect(source, destination, pixels.data(), out.data(), kWidth, kHeight, 0, 0));
            EXPECT_EQ(expected, out) << source << " to " << destination;
        }
    }
}

TEST(TwoHops, DifferentPaddingsSlantTheImage) {
    const HostScope host;
    constexpr int32_t kPairs[][2] = {{0, 3}, {3, 0}, {2, 5}, {7, 1}, {-5, 4}, {64, 2}};
    for (const int32_t source : kAllSpaces) {
        for (const int32_t destination : kAllSpaces) {
            if (source == destination || IsHub(source) || IsHub(destination)) continue;
            for (const auto& [sourceExtra, destinationExtra] : kPairs) {
                SCOPED_TRACE(std::to_string(source) + " to " + std::to_string(destination) + ", " +
                             std::to_string(sourceExtra) + ", " + std::to_string(destinationExtra));
                const std::vector<uint8_t> pixels =
                    Roomy(ValidPixels(source, kWidth, kHeight, sourceExtra, 33), kWidth, kHeight, sourceExtra);
                int32_t expectedResult = 0;
                const std::vector<uint8_t> expected =
                    Model(source, destination, pixels, kWidth, kHeight, sourceExtra, destinationExtra, &expectedResult);
                std::vector<uint8_t> out(expected.size(), 0x5A);
                EXPECT_EQ(expectedResult, Zv_ClrConvertDirect(source, destination, pixels.data(), out.data(), kWidth,
                                                              kHeight, sourceExtra, destinationExtra));
                EXPECT_EQ(expected, out);
            }
        }
    }
}

TEST(TwoHops, ReadAndWriteNothingBeyondTheCallersBuffers) {
    for (const int32_t source : kAllSpaces) {
        for (const int32_t destination : kAllSpaces) {
            if (source == destination || IsHub(source) || IsHub(destination)) continue;
            if (source == 144 || destination == 144) continue;
            for (const auto side : {GuardedBuffer::Side::kFront, GuardedBuffer::Side::kBack}) {
                const std::vector<uint8_t> pixels = ValidPixels(source, kWidth, kHeight, 3, 34);
                GuardedBuffer from(pixels.size(), side), to(PaddedBytes(destination, kWidth, kHeight, 5), side);
                Put(from, pixels);
                from.MakeReadOnly();
                EXPECT_EQ(CLR_SUCCESS,
                          Zv_ClrConvertDirect(source, destination, from.Data(), to.Data(), kWidth, kHeight, 3, 5))
                    << source << " to " << destination;
            }
        }
    }
}

TEST(TwoHops, Rgb444AsSourceAsksForThreeBytesAPixelAndReadsTwo) {
    constexpr int32_t kPixels = kWidth * kHeight;
    const std::vector<uint8_t> pixels = RandomBytes(size_t{2 * kPixels}, 35);
    // Room for two bytes only: the image is readable, and that is not enough.
    GuardedBuffer tight(pixels.size());
    Put(tight, pixels);
    std::vector<uint8_t> out(size_t{3 * kPixels}, 0x5A);
    EXPECT_EQ(ERR_INVALID_PARAMETER,
              Zv_ClrConvertDirect(144, CLRSPACE_YUV, tight.Data(), out.data(), kWidth, kHeight, 0, 0));
    EXPECT_EQ(std::vector<uint8_t>(size_t{3 * kPixels}, 0x5A), out);

    std::vector<uint8_t> expected;
    for (const uint8_t behind : {uint8_t{0x00}, uint8_t{0xFF}}) {
        const GuardedBuffer roomy(size_t{3 * kPixels}, GuardedBuffer::Side::kBack, behind);
        Put(roomy, pixels);
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvertDirect(144, CLRSPACE_YUV, roomy.Data(), out.data(), kWidth, kHeight, 0, 0));
        if (!expected.empty()) {
            EXPECT_EQ(expected, out) << "the third byte counts for nothing";
        }
        expected = out;
    }
    const GuardedBuffer short1(size_t{3 * kPixels} - 1);
    EXPECT_EQ(ERR_INVALID_PARAMETER,
              Zv_ClrConvertDirect(144, CLRSPACE_YUV, short1.Data(), out.data(), kWidth, kHeight, 0, 0));
}

TEST(TwoHops, Rgb444AsSourceExpandsNibblesWithoutReplication) {
    const uint8_t pixels[6] = {0xA3, 0x5C, 0x0F, 0xFF};
    uint8_t out[6] = {};
    // The complement shows the hub's bytes: low nibble of byte 0, high and low nibble of byte 1.
    ASSERT_EQ(CLR_SUCCESS, Zv_ClrConvertDirect(144, CLRSPACE_CMY, pixels, out, 2, 1, 0, 0));
    constexpr uint8_t kExpected[6] = {255 - 0x30, 255 - 0x50, 255 - 0xC0, 255 - 0xF0, 255 - 0xF0, 255 - 0xF0};
    EXPECT_EQ(0, std::memcmp(kExpected, out, sizeof out));
}

TEST(TwoHops, Rgb444AsDestinationIsLeftAsItWas) {
    const HostScope host;
    for (const int32_t source : kAllSpaces) {
        if (IsHub(source) || source == 144) continue;
        const std::vector<uint8_t> pixels = Roomy(ValidPixels(source, kWidth, kHeight, 0, 36), kWidth, kHeight, 0);
        const GuardedBuffer to(PaddedBytes(144, kWidth, kHeight, 0));
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvertDirect(source, 144, pixels.data(), to.Data(), kWidth, kHeight, 0, 0));
        EXPECT_EQ(std::vector<uint8_t>(to.Size(), 0xCD), BytesOf(to)) << source;
    }
}

TEST(TwoHops, Rgb444AsDestinationAsksForThreeBytesAPixelOfTheSource) {
    for (const int32_t source : kAllSpaces) {
        if (IsHub(source) || source == 144) continue;
        const GuardedBuffer exact(PaddedBytes(source, kWidth, kHeight, 2), GuardedBuffer::Side::kBack, 0);
        std::vector<uint8_t> out(PaddedBytes(144, kWidth, kHeight, 0), 0x5A);
        const int32_t expected = BitsOf(source) < 24 ? int32_t{ERR_INVALID_PARAMETER} : int32_t{CLR_SUCCESS};
        EXPECT_EQ(expected, Zv_ClrConvertDirect(source, 144, exact.Data(), out.data(), kWidth, kHeight, 2, 0))
            << source;
        EXPECT_EQ(std::vector<uint8_t>(out.size(), 0x5A), out);
    }
}

TEST(TwoHops, WithoutMemory) {
    HostScope host;
    const std::vector<uint8_t> pixels = RandomBytes(PaddedBytes(2, kWidth, kHeight, 0), 37);
    std::vector<uint8_t> out(PaddedBytes(7, kWidth, kHeight, 0), 0x5A);
    const std::vector<uint8_t> before = out;
    const Converter c(CLRSPACE_CMYK, CLRSPACE_LAB);
    const size_t held = host.Leaked();

    host->FailAllocation(1);
    EXPECT_EQ(ERR_NO_MEMORY, Zv_ClrConvertDirect(2, 7, pixels.data(), out.data(), kWidth, kHeight, 0, 0));
    EXPECT_EQ(before, out);
    host->FailAllocation(1);
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvert(c.Get(), pixels.data(), out.data(), kWidth, kHeight, 0, 0));
    EXPECT_EQ(before, out);
    EXPECT_EQ(held, host.Leaked());
    host->FailAllocation(0);
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvert(c.Get(), pixels.data(), out.data(), kWidth, kHeight, 0, 0));
    EXPECT_NE(before, out);
}

TEST(TwoHops, TemporaryImageIsReleasedOnEveryWayOut) {
    HostScope host;
    std::vector<uint8_t> pixels(PaddedBytes(4, kWidth, kHeight, 0), 0);
    std::vector<uint8_t> out(PaddedBytes(11, kWidth, kHeight, 0), 0x5A);
    pixels[0] = 85;  // a hue without saturation
    for (const int32_t destination : kAllSpaces) {
        if (IsHub(destination) || destination == 4) continue;
        EXPECT_EQ(ERR_BAD_TAG, Zv_ClrConvertDirect(4, destination, pixels.data(), out.data(), kWidth, kHeight, 0, 0));
        const Converter c(4, destination);
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvert(c.Get(), pixels.data(), out.data(), kWidth, kHeight, 0, 0));
    }
    EXPECT_EQ(std::vector<uint8_t>(out.size(), 0x5A), out);
    EXPECT_EQ(0U, host.Leaked());
}

TEST(TwoHops, ResultOfAYcckSourceIsNotLookedAt) {
    HostScope host;
    const std::vector<uint8_t> pixels = RandomBytes(PaddedBytes(11, kWidth, kHeight, 0), 38);
    std::vector<uint8_t> out(PaddedBytes(6, kWidth, kHeight, 0), 0x5A);
    host->FailAllocation(2);  // the kernel's own buffer
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvertDirect(11, 6, pixels.data(), out.data(), kWidth, kHeight, 0, 0));
    EXPECT_EQ(std::vector<uint8_t>(out.size(), 0xFF), out) << "an image that nobody wrote is black";
}

TEST(TwoHops, ResultOfAYcckDestinationIsReturned) {
    HostScope host;
    const std::vector<uint8_t> pixels = RandomBytes(PaddedBytes(6, kWidth, kHeight, 0), 39);
    std::vector<uint8_t> out(PaddedBytes(11, kWidth, kHeight, 0), 0x5A);
    host->FailAllocation(2);
    EXPECT_EQ(ERR_NO_MEMORY, Zv_ClrConvertDirect(6, 11, pixels.data(), out.data(), kWidth, kHeight, 0, 0));
    EXPECT_EQ(0U, host.Leaked());
}

}  // namespace
}  // namespace zv::test
