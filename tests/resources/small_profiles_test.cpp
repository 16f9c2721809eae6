// The RGB, Lab and CMY profiles by themselves: their tables against the plain formulas.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "tests/resources/profile_reader.h"

namespace {

using zvtest::Lab;
using zvtest::Profile;
using zvtest::ProfileLut;

const std::string kFolder = ZVCLR_PROFILE_FOLDER;

TEST(RgbProfile, TheCurveIsThatOfSrgb) {
    const Profile profile = Profile::Open(kFolder + "/105.icm");
    const std::vector<uint16_t> curve = profile.curve("rTRC");
    ASSERT_EQ(curve.size(), 1024U);
    for (size_t i = 0; i < curve.size(); ++i) {
        EXPECT_NEAR(curve[i], zvtest::SrgbToLinear(static_cast<double>(i) / 1023) * 65535, 0.51) << i;
    }
    EXPECT_EQ(curve.front(), 0);
    EXPECT_EQ(curve.back(), 65535);
    EXPECT_EQ(profile.tag("gTRC").offset, profile.tag("rTRC").offset);
    EXPECT_EQ(profile.tag("bTRC").offset, profile.tag("rTRC").offset);
}

TEST(LabProfile, DeviceBytesAreTheConnectionBytes) {
    const Profile profile = Profile::Open(kFolder + "/106.icm");
    const ProfileLut forward = profile.lut("A2B0");
    double largest = 0, sum = 0;
    for (int byte = 0; byte < 256; ++byte) {
        const double word = byte * 257.0;
        const std::vector<double> out = forward.Evaluate({word, word, word});
        for (const double value : out) {
            largest = std::max(largest, std::abs(value / 256 - byte));
            sum += std::abs(value / 256 - byte) / (3 * 256);
        }
    }
    std::printf("Lab device to connection: mean error %.2f, largest %.2f bytes\n", sum, largest);
    EXPECT_LT(sum, 0.3);
    EXPECT_LT(largest, 0.75);
    EXPECT_EQ(forward.Evaluate({0, 0, 0}), (std::vector<double>{0, 0, 0}));
    EXPECT_NEAR(forward.Evaluate({65535, 65535, 65535})[0], 0xFF00, 64) << "L = 100";
}

TEST(LabProfile, ConnectionWordsComeOutAsTheirHighBytes) {
    const ProfileLut backward = Profile::Open(kFolder + "/106.icm").lut("B2A0");
    int other = 0, count = 0;
    for (int step = 0; step <= 0xFF0; ++step) {
        const double word = step * 16.0;
        // Words between two bytes go to the nearer one.
        const double device = std::floor(backward.Evaluate({word, word, word})[1] / 256);
        const double wanted = std::min(255.0, std::floor((word + 128) / 256));
        EXPECT_LE(std::abs(device - wanted), 1) << word;
        other += device != wanted ? 1 : 0;
        ++count;
    }
    for (int byte = 0; byte < 256; ++byte) {
        const double word = byte * 256.0;
        EXPECT_EQ(std::floor(backward.Evaluate({word, word, word})[1] / 256), byte);
    }
    std::printf("Lab connection to device: %.0f %% of words go to the byte beside the nearest\n",
                100.0 * other / count);
    EXPECT_LT(other, count / 4);
    // White and neutral have room on both sides.
    for (int step = -4; step <= 4; ++step) {
        const double slack = step * 16.0;
        EXPECT_EQ(std::floor(backward.Evaluate({0xFF00 + std::min(slack, 0.0), 0, 0})[0] / 256), 255);
        EXPECT_EQ(std::floor(backward.Evaluate({0, 0x8000 + slack, 0})[1] / 256), 128);
    }
}

TEST(CmyProfile, InksAreTheComplementOfSrgb) {
    const Profile profile = Profile::Open(kFolder + "/110.icm");
    const ProfileLut forward = profile.lut("A2B0");
    const ProfileLut backward = profile.lut("B2A0");
    std::vector<double> labErrors, inkErrors;
    double labMean = 0, inkMean = 0;
    for (int red = 0; red < 256; red += 5) {
        for (int green = 0; green < 256; green += 5) {
            for (int blue = 0; blue < 256; blue += 5) {
                const Lab lab = zvtest::SrgbToLab(static_cast<uint8_t>(red), static_cast<uint8_t>(green),
                                                  static_cast<uint8_t>(blue));
                const std::vector<double> inks{(255 - red) * 257.0, (255 - green) * 257.0, (255 - blue) * 257.0};
                labErrors.push_back(DeltaE2000(lab, zvtest::LabFromWords(forward.Evaluate(inks))));
                labMean += labErrors.back();
                const std::vector<double> found = backward.Evaluate(zvtest::WordsFromLab(lab));
                for (size_t i = 0; i < 3; ++i) {
                    inkErrors.push_back(std::abs(found[i] - inks[i]) / 257);
                    inkMean += inkErrors.back();
                }
            }
        }
    }
    labMean /= static_cast<double>(labErrors.size());
    inkMean /= static_cast<double>(inkErrors.size());
    std::sort(labErrors.begin(), labErrors.end());
    std::sort(inkErrors.begin(), inkErrors.end());
    const double ink99 = inkErrors[inkErrors.size() * 99 / 100];
    std::printf(
        "CMY to Lab: CIEDE2000 mean %.3f, largest %.2f; Lab to CMY: mean %.2f, 99th percentile %.1f, largest "
        "%.1f bytes\n",
        labMean, labErrors.back(), inkMean, ink99, inkErrors.back());
    EXPECT_LT(labMean, 0.05);
    EXPECT_LT(labErrors.back(), 0.6);
    EXPECT_LT(inkMean, 0.6);
    EXPECT_LT(ink99, 4);
    EXPECT_LT(inkErrors.back(), 26);
}

TEST(CmyProfile, GreysAreNearlyExact) {
    const Profile profile = Profile::Open(kFolder + "/110.icm");
    const ProfileLut forward = profile.lut("A2B0");
    const ProfileLut backward = profile.lut("B2A0");
    for (int value = 0; value < 256; ++value) {
        const auto byte = static_cast<uint8_t>(value);
        const double ink = (255 - value) * 257.0;
        const Lab lab = zvtest::SrgbToLab(byte, byte, byte);
        EXPECT_LT(DeltaE76(lab, zvtest::LabFromWords(forward.Evaluate({ink, ink, ink}))), 0.4) << value;
        for (const double found : backward.Evaluate(zvtest::WordsFromLab({lab.l, 0, 0}))) {
            EXPECT_NEAR(found / 257, 255 - value, 2.5) << value;
        }
    }
    for (const double ink : backward.Evaluate({0xFF00, 0x8000, 0x8000})) EXPECT_LT(ink, 128) << "white";
}

TEST(CmyProfile, ColoursOutsideKeepTheirHue) {
    const ProfileLut backward = Profile::Open(kFolder + "/110.icm").lut("B2A0");
    double sum = 0, largest = 0;
    int count = 0;
    for (int l = 20; l <= 90; l += 10) {
        for (int hue = 0; hue < 360; hue += 10) {
            for (const double chroma : {110.0, 125.0}) {
                const double angle = hue * 3.14159265358979 / 180;
                const Lab wanted{static_cast<double>(l), chroma * std::cos(angle), chroma * std::sin(angle)};
                const std::vector<double> inks = backward.Evaluate(zvtest::WordsFromLab(wanted));
                uint8_t rgb[3];
                for (size_t i = 0; i < 3; ++i) rgb[i] = static_cast<uint8_t>(255 - std::floor(inks[i] / 256));
                const Lab shown = zvtest::SrgbToLab(rgb[0], rgb[1], rgb[2]);
                if (DeltaE2000(wanted, shown) < 3) continue;
                const double change = HueDifferenceDegrees(wanted, shown);
                sum += change;
                largest = std::max(largest, change);
                ++count;
            }
        }
    }
    std::printf("CMY out of gamut: hue changes by %.1f degrees on average, at most %.1f; %d colours\n", sum / count,
                largest, count);
    EXPECT_GT(count, 300);
    EXPECT_LT(sum / count, 5);
    EXPECT_LT(largest, 20);
}

}  // namespace
