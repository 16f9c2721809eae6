#include "image/samples.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using zvimage::compositeOver;
using zvimage::compositePremultiplied;
using zvimage::mirrorYcck;
using zvimage::scaleToByte;

TEST(Samples, ScalingRoundsToNearestForEveryDepth) {
    for (const uint32_t maximum : {1U, 3U, 15U, 100U, 255U, 1000U, 65535U}) {
        for (uint32_t value = 0; value <= maximum; ++value) {
            const double exact = value * 255.0 / maximum;
            ASSERT_LE(std::abs(scaleToByte(value, maximum) - exact), 0.5) << value << " of " << maximum;
        }
    }
}

TEST(Samples, OpaqueAndClearAreExact) {
    for (int value = 0; value < 256; ++value) {
        const auto byte = static_cast<uint8_t>(value);
        EXPECT_EQ(compositeOver(byte, 255, 255), byte);
        EXPECT_EQ(compositeOver(byte, 0, 255), 255);
        EXPECT_EQ(compositeOver(byte, 0, 0), 0);
        EXPECT_EQ(compositePremultiplied(byte, 255, 255), byte);
    }
    EXPECT_EQ(compositePremultiplied(0, 0, 255), 255);
}

TEST(Samples, HalfTransparentBlackOnWhiteIsGrey) {
    EXPECT_EQ(compositeOver(0, 128, 255), 127);
    EXPECT_EQ(compositePremultiplied(0, 128, 255), 127);
    EXPECT_EQ(compositePremultiplied(200, 128, 255), 255);
}

TEST(Samples, MirroredYcckComesBackButForChromaZero) {
    for (int value = 0; value < 256; ++value) {
        const auto byte = static_cast<uint8_t>(value);
        uint8_t pixel[4] = {byte, byte, byte, byte};
        mirrorYcck(pixel, 1);
        EXPECT_EQ(pixel[0], 255 - value);
        EXPECT_EQ(pixel[1], value == 0 ? 255 : 256 - value);
        EXPECT_EQ(pixel[1], pixel[2]);
        EXPECT_EQ(pixel[3], 255 - value);
        mirrorYcck(pixel, 1);
        EXPECT_EQ(pixel[1], value == 0 ? 1 : value);
        EXPECT_EQ(pixel[0], value);
    }
}

}  // namespace
