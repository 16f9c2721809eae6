// The quality of the CMYK profile's tables, measured on the committed bytes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "tests/resources/press_tables.h"

namespace {

using zvtest::Lab;
using zvtest::Press;
using zvtest::Words;

class PressProfile : public testing::Test {
protected:
    const Press press_;
};

// Repeatable on every system.
class Random {
public:
    double Word() {
        state_ = state_ * 6364136223846793005U + 1442695040888963407U;
        return static_cast<double>(state_ >> 40) / 16777216.0 * 65535.0;
    }

private:
    uint64_t state_ = 2026;
};

struct Spread {
    double mean = 0, p95 = 0, largest = 0;
};

Spread Summarise(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    Spread spread;
    for (const double value : values) spread.mean += value / static_cast<double>(values.size());
    spread.p95 = values[values.size() * 95 / 100];
    spread.largest = values.back();
    return spread;
}

double TripDifference(const Press& press, const Words& inks) {
    const Lab printed = press.Print(inks);
    return DeltaE2000(printed, press.Print(press.Separate(printed)));
}

TEST_F(PressProfile, ColoursOfThePressComeBack) {
    Random random;
    std::vector<double> differences;
    while (differences.size() < 40000) {
        const Words inks{random.Word(), random.Word(), random.Word(), random.Word()};
        if (zvtest::TotalInkPercent(inks) <= 300) differences.push_back(TripDifference(press_, inks));
    }
    const Spread spread = Summarise(differences);
    std::printf("round trip, CIEDE2000: mean %.2f, 95th percentile %.2f, largest %.2f\n", spread.mean, spread.p95,
                spread.largest);
    EXPECT_LT(spread.mean, 0.4);
    EXPECT_LT(spread.p95, 1.6);
    EXPECT_LT(spread.largest, 7.0);
}

TEST_F(PressProfile, ColoursWithoutBlackComeBackCloser) {
    Random random;
    std::vector<double> differences;
    differences.reserve(20000);
    for (int i = 0; i < 20000; ++i) {
        differences.push_back(TripDifference(press_, {random.Word(), random.Word(), random.Word(), 0}));
    }
    const Spread spread = Summarise(differences);
    std::printf("round trip of C, M, Y: mean %.2f, 95th percentile %.2f, largest %.2f\n", spread.mean, spread.p95,
                spread.largest);
    EXPECT_LT(spread.mean, 0.15);
    EXPECT_LT(spread.p95, 0.5);
    EXPECT_LT(spread.largest, 4.0);
}

// Tints of one and two inks lie on the gamut's surface, where linear interpolation has the worst of it.
TEST_F(PressProfile, TintsOfOneAndTwoInksComeBack) {
    std::vector<double> differences;
    for (size_t first = 0; first < 4; ++first) {
        for (size_t second = first + 1; second < 4; ++second) {
            for (int i = 0; i <= 50; ++i) {
                for (int j = 0; j <= 50; ++j) {
                    Words inks(4, 0.0);
                    inks[first] = i * 1310.7;
                    inks[second] = j * 1310.7;
                    differences.push_back(TripDifference(press_, inks));
                }
            }
        }
    }
    const Spread spread = Summarise(differences);
    std::printf("round trip of tints: mean %.2f, 95th percentile %.2f, largest %.2f\n", spread.mean, spread.p95,
                spread.largest);
    EXPECT_LT(spread.mean, 0.6);
    EXPECT_LT(spread.p95, 1.5);
    EXPECT_LT(spread.largest, 7.0);
}

TEST_F(PressProfile, TotalInkStaysBelowTheLimit) {
    const zvtest::ProfileLut& table = press_.separation();
    double atNodes = 0;
    for (size_t node = 0; node < table.grid.size(); node += 4) {
        Words inks(4);
        for (size_t ink = 0; ink < 4; ++ink) {
            // What the output table makes of the node.
            const auto& output = table.outputTables[ink];
            const double position = table.grid[node + ink] / 257.0;
            const auto low = std::min(static_cast<size_t>(position), output.size() - 2);
            const double fraction = position - static_cast<double>(low);
            inks[ink] = output[low] * (1 - fraction) + output[low + 1] * fraction;
        }
        atNodes = std::max(atNodes, zvtest::TotalInkPercent(inks));
    }
    Random random;
    double between = 0;
    for (int i = 0; i < 300000; ++i) {
        const Words inks = table.Evaluate({random.Word(), random.Word(), random.Word()});
        between = std::max(between, zvtest::TotalInkPercent(inks));
    }
    std::printf("total ink: %.1f %% at nodes, %.1f %% between\n", atNodes, between);
    EXPECT_LE(atNodes, 330);
    EXPECT_LE(between, 330);
    EXPECT_GT(between, 280) << "the limit is there to be used";
}

TEST_F(PressProfile, WhiteGetsNoInk) {
    const Words none(4, 0.0);
    EXPECT_EQ(press_.separation().Evaluate({0xFF00, 0x8000, 0x8000}), none);
    EXPECT_EQ(press_.separation().Evaluate({0xFFFF, 0x8080, 0x8080}), none);
    EXPECT_EQ(press_.separation().Evaluate({0xFFFF, 0x8000, 0x8080}), none);
    EXPECT_EQ(press_.separation().Evaluate({0xFF00, 0x7FFF, 0x8001}), none);
}

TEST_F(PressProfile, BlackGetsAllOfTheBlackInk) {
    for (int a = -16; a <= 16; a += 4) {
        const Words inks = press_.Separate({0, 1.0 * a, -1.0 * a});
        EXPECT_NEAR(inks[3], 65535, 1e-6) << a;
        EXPECT_LT(press_.Print(inks).l, 0.01) << a;
    }
}

TEST_F(PressProfile, NeutralsStayNeutral) {
    double chroma = 0, lightness = 0;
    for (int i = 0; i <= 1000; ++i) {
        const double l = i / 10.0;
        const Lab printed = press_.Print(press_.Separate({l, 0, 0}));
        chroma = std::max(chroma, Chroma(printed));
        lightness = std::max(lightness, std::abs(printed.l - l));
    }
    std::printf("neutrals: largest chroma %.2f, largest error of L %.2f\n", chroma, lightness);
    EXPECT_LT(chroma, 0.3);
    EXPECT_LT(lightness, 0.5);
}

TEST_F(PressProfile, BlackStartsBelowTheHighlightsAndGrowsToFull) {
    double before = 0;
    for (int i = 1000; i >= 0; --i) {
        const double l = i / 10.0;
        const double black = press_.Separate({l, 0, 0})[3] / 655.35;
        EXPECT_GE(black, before - 1e-9) << "L " << l;
        EXPECT_TRUE(black < 0.05 || l < 79) << "L " << l;
        before = black;
    }
    EXPECT_DOUBLE_EQ(before, 100);
    const double middle = press_.Separate({50, 0, 0})[3] / 655.35;
    EXPECT_GT(middle, 5);
    EXPECT_LT(middle, 20);
}

// Steps of a straight ramp in Lab: what it prints.
struct RampSteps {
    double reversal = 0;       // of L against the ramp's direction
    double lightnessBend = 0;  // largest second difference of L
    double inkBend = 0;        // largest second difference of an ink above L = 10, in per cent
};

RampSteps WalkRamp(const Press& press, const Lab& from, const Lab& to) {
    constexpr int kSteps = 64;
    std::vector<Lab> printed;
    std::vector<Words> inks;
    for (int i = 0; i <= kSteps; ++i) {
        const double t = i / static_cast<double>(kSteps);
        inks.push_back(
            press.Separate({from.l + (to.l - from.l) * t, from.a + (to.a - from.a) * t, from.b + (to.b - from.b) * t}));
        printed.push_back(press.Print(inks.back()));
    }
    RampSteps steps;
    const double direction = to.l > from.l ? 1 : -1;
    for (size_t i = 0; i < kSteps; ++i) {
        steps.reversal = std::max(steps.reversal, -direction * (printed[i + 1].l - printed[i].l));
        if (i == 0) continue;
        steps.lightnessBend =
            std::max(steps.lightnessBend, std::abs(printed[i + 1].l - 2 * printed[i].l + printed[i - 1].l));
        if (std::min({printed[i - 1].l, printed[i].l, printed[i + 1].l}) < 10) continue;
        for (size_t ink = 0; ink < 4; ++ink) {
            const double bend = std::abs(inks[i + 1][ink] - 2 * inks[i][ink] + inks[i - 1][ink]) / 655.35;
            steps.inkBend = std::max(steps.inkBend, bend);
        }
    }
    return steps;
}

TEST_F(PressProfile, TheGreyRampIsSmooth) {
    const RampSteps steps = WalkRamp(press_, {0, 0, 0}, {100, 0, 0});
    std::printf("grey ramp: reversal %.3f, bend of L %.2f, bend of inks %.2f %%\n", steps.reversal, steps.lightnessBend,
                steps.inkBend);
    EXPECT_LE(steps.reversal, 0);
    EXPECT_LT(steps.lightnessBend, 0.3);
    EXPECT_LT(steps.inkBend, 1.5);
}

TEST_F(PressProfile, RampsFromThePrimariesAreMonotoneAndSmooth) {
    const Words solids[] = {{65535, 0, 0, 0},     {0, 65535, 0, 0},     {0, 0, 65535, 0},
                            {0, 65535, 65535, 0}, {65535, 0, 65535, 0}, {65535, 65535, 0, 0}};
    RampSteps worst;
    for (const Words& solid : solids) {
        const Lab colour = press_.Print(solid);
        for (const Lab& end : {Lab{100, 0, 0}, Lab{0, 0, 0}}) {
            const RampSteps steps = WalkRamp(press_, colour, end);
            worst.reversal = std::max(worst.reversal, steps.reversal);
            worst.lightnessBend = std::max(worst.lightnessBend, steps.lightnessBend);
            worst.inkBend = std::max(worst.inkBend, steps.inkBend);
        }
    }
    std::printf("ramps of solids to white and black: reversal %.2f, bend of L %.2f, bend of inks %.1f %%\n",
                worst.reversal, worst.lightnessBend, worst.inkBend);
    EXPECT_LT(worst.reversal, 0.4);
    EXPECT_LT(worst.lightnessBend, 3.0);
    EXPECT_LT(worst.inkBend, 9.0);
}

}  // namespace
