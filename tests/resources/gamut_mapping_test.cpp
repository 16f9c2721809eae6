// What becomes of colours that the press does not reach.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>

#include "tests/resources/press_tables.h"

namespace {

using zvtest::Lab;
using zvtest::Press;
using zvtest::Words;

Lab Polar(double l, double chroma, double degrees) {
    const double angle = degrees * std::numbers::pi / 180;
    return {l, chroma * std::cos(angle), chroma * std::sin(angle)};
}

struct HueChanges {
    double sum = 0, largest = 0;
    int count = 0;
    double mean() const { return sum / count; }
};

// Over all colours of these hues that miss the press by more than 3 and keep some chroma.
HueChanges MeasureHues(const Press& press, int firstHue, int lastHue) {
    HueChanges changes;
    for (int l = 10; l <= 95; l += 5) {
        for (int hue = firstHue; hue <= lastHue; hue += 5) {
            for (int chroma = 20; chroma <= 120; chroma += 10) {
                const Lab wanted = Polar(l, chroma, hue);
                if (std::abs(wanted.a) > 127 || std::abs(wanted.b) > 127) continue;
                const Lab printed = press.Print(press.Separate(wanted));
                if (DeltaE2000(wanted, printed) < 3 || Chroma(printed) < 8) continue;
                const double change = HueDifferenceDegrees(wanted, printed);
                changes.sum += change;
                changes.largest = std::max(changes.largest, change);
                ++changes.count;
            }
        }
    }
    return changes;
}

TEST(GamutMapping, HueIsKept) {
    const Press press;
    const HueChanges all = MeasureHues(press, 0, 355);
    const HueChanges blue = MeasureHues(press, 270, 310);
    std::printf(
        "hue of colours out of gamut: mean change %.1f, largest %.1f degrees; blues %.1f and %.1f; %d colours\n",
        all.mean(), all.largest, blue.mean(), blue.largest, all.count);
    EXPECT_GT(all.count, 5000);
    EXPECT_LT(all.mean(), 2);
    EXPECT_LT(all.largest, 13);
    EXPECT_LT(blue.mean(), 2.5);
    EXPECT_LT(blue.largest, 12);
}

TEST(GamutMapping, NeighboursStayNeighbours) {
    const Press press;
    double inGamutRange = 0, anywhere = 0;
    for (int l = 2; l <= 96; l += 4) {
        for (int a = -120; a <= 116; a += 4) {
            for (int b = -120; b <= 116; b += 4) {
                const Lab colour{static_cast<double>(l), static_cast<double>(a), static_cast<double>(b)};
                const Lab printed = press.Print(press.Separate(colour));
                for (const Lab& step : {Lab{2, 0, 0}, Lab{0, 2, 0}, Lab{0, 0, 2}}) {
                    const Lab next{colour.l + step.l, colour.a + step.a, colour.b + step.b};
                    const double moved = DeltaE76(printed, press.Print(press.Separate(next)));
                    anywhere = std::max(anywhere, moved);
                    if (l >= 10 && Chroma(colour) <= 80) inGamutRange = std::max(inGamutRange, moved);
                }
            }
        }
    }
    std::printf("a step of 2 in Lab prints a step of at most %.1f; %.1f for L from 10 and chroma to 80\n", anywhere,
                inGamutRange);
    EXPECT_LT(inGamutRange, 8);
    EXPECT_LT(anywhere, 18);
}

TEST(GamutMapping, PrimariesOfSrgbComeOutAsTheirOwnColours) {
    const Press press;
    struct Primary {
        uint8_t red, green, blue;
        double chroma;  // at least
    };
    for (const Primary& p : {Primary{255, 0, 0, 85}, Primary{0, 255, 0, 60}, Primary{0, 0, 255, 55},
                             Primary{0, 255, 255, 25}, Primary{255, 0, 255, 45}, Primary{255, 255, 0, 80}}) {
        const Lab wanted = zvtest::SrgbToLab(p.red, p.green, p.blue);
        const Lab printed = press.Print(press.Separate(wanted));
        EXPECT_GT(Chroma(printed), p.chroma) << int{p.red} << " " << int{p.green} << " " << int{p.blue};
        EXPECT_LT(HueDifferenceDegrees(wanted, printed), 4) << int{p.red} << " " << int{p.green} << " " << int{p.blue};
    }
}

constexpr double kTints[] = {6553.5, 19660.5, 32767.5, 45874.5, 58981.5};

TEST(GamutMapping, TheGamutTagIsZeroInsideAndGrowsOutside) {
    const Press press;
    for (const double c : kTints) {
        for (const double m : kTints) {
            for (const double y : kTints) {
                const Lab inside = press.Print({c, m, y, 0});
                EXPECT_LT(press.OutOfGamut(inside), 256 * 4.0) << inside.l << " " << inside.a << " " << inside.b;
            }
        }
    }
    EXPECT_EQ(press.OutOfGamut({50, 0, 0}), 0);
    for (int hue = 0; hue < 360; hue += 15) {
        double before = 0;
        for (const double chroma : {100.0, 110.0, 120.0}) {
            const Lab wanted = Polar(50, chroma, hue);
            const double value = press.OutOfGamut(wanted);
            EXPECT_GT(value, 256 * 4.0) << hue;
            EXPECT_GT(value, before) << hue;
            before = value;
        }
    }
}

}  // namespace
