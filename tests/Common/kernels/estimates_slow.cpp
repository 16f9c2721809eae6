// Estimates in single precision stay within the margins that decide when a pixel is done again, for every input that
// occurs; and the margins are not slack by orders of magnitude.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <memory>
#include <vector>

#include "Common/kernels/cie.h"
#include "Common/kernels/lab_estimates.h"
#include "Common/kernels/lab_records.h"
#include "Common/kernels/powers.h"

namespace zv::test {

namespace {

// --- Cube root ------------------------------------------------------------------------------------------------------

TEST(Estimates, CubeRootStaysWithinItsBoundForEveryNumberOfThreeOctaves) {
    // Other octaves differ by a power of two in every step but the first, and in that by a rounding: one more decade
    // of them is tried in steps.
    double worst = 0;
    const auto look = [&](int32_t first, int32_t end, int32_t step) {
        for (int32_t bits = first; bits < end; bits += kLanes * step) {
            Floats t;
            for (int32_t i = 0; i < kLanes; ++i) t[i] = std::bit_cast<float>(bits + i * step);
            const Floats root = CubeRoot(t);
            for (int32_t i = 0; i < kLanes; ++i) {
                const double truth = std::cbrt(static_cast<double>(t[i]));
                worst = std::max(worst, std::fabs(static_cast<double>(root[i]) / truth - 1));
            }
        }
    };
    const auto bitsOf = [](float value) { return std::bit_cast<int32_t>(value); };
    look(bitsOf(0.008F), bitsOf(0.008F * 8), 1);
    look(bitsOf(0.008F * 8), bitsOf(1.01F), 1);
    look(bitsOf(0x1p-60F), bitsOf(0x1p60F), 4099);
    EXPECT_LT(worst, kCubeRootError);
    EXPECT_GT(worst, kCubeRootError / 3);
}

// --- Lab ------------------------------------------------------------------------------------------------------------

TEST(Estimates, RootsOfEveryColourStayWithinTheirMargin) {
    std::vector<double> linear(256);
    for (size_t i = 0; i < 256; ++i) linear[i] = lab::Linear(static_cast<uint8_t>(i));
    const auto part = [](double r, double g, double b, size_t k) {
        return static_cast<float>(lab::XyzOfLinear(r, g, b)[k]);
    };
    double worst = 0;
    for (size_t k = 0; k < 3; ++k) {
        for (const double r : linear) {
            for (const double g : linear) {
                for (size_t b = 0; b < 256; b += kLanes) {
                    Floats t;
                    for (size_t i = 0; i < kLanes; ++i) {
                        t[i] = (part(r, 0, 0, k) + part(0, g, 0, k)) + part(0, 0, linear[b + i], k);
                    }
                    Ints close = {};
                    const Floats root = LabRoot(t, close);
                    for (size_t i = 0; i < kLanes; ++i) {
                        if (close[i] != 0) continue;
                        const double truth = lab::XyzOfLinear(r, g, linear[b + i])[k];
                        const double f = truth > lab::kLinearTo ? std::cbrt(truth) : truth * lab::kSlope + lab::kOffset;
                        worst = std::max(worst, std::fabs(static_cast<double>(root[i]) - f));
                    }
                }
            }
        }
    }
    EXPECT_LT(worst, kRootError);
    EXPECT_GT(worst, kRootError / 4);
}

/// The greatest part of its margin that any sum needs; weight c of the truth is that of `sums`, in double.
struct WorstLight {
    double part = 0;

    void Look(const LabLightSums& sums, const Floats (&light)[3], const std::array<double, 3> (&truth)[kLanes]) {
        const Floats all = (light[0] + light[1]) + light[2];
        for (size_t c = 0; c < 3; ++c) {
            const Floats v = WeightedLight(sums.weights[c], light[0], light[1], light[2]);
            for (size_t i = 0; i < kLanes; ++i) {
                const double margin = static_cast<double>(all[i]) * static_cast<double>(sums.relative[c]) +
                                      static_cast<double>(sums.absolute[c]);
                const double off = std::fabs(static_cast<double>(v[i]) - truth[i][c]);
                if (margin > 0) part = std::max(part, off / margin);
            }
        }
    }
};

TEST(Estimates, LightOfEveryLabColourStaysWithinItsMargin) {
    const auto inverse = [](double t) {
        return Clamp(t > lab::kInverseLinearTo ? t * t * t : (t - lab::kOffset) / lab::kSlope, 0.0, 1.0);
    };
    WorstLight worst;
    for (int32_t l = 0; l <= 100; ++l) {
        const double fy = (l + 16.0) / 116.0;
        for (int32_t a = -128; a < 128; ++a) {
            for (int32_t b = -128; b < 128; b += kLanes) {
                Floats bs;
                std::array<double, 3> truth[kLanes];
                for (int32_t i = 0; i < kLanes; ++i) {
                    bs[i] = static_cast<float>(b + i);
                    truth[i] = lab::LinearOfXyz(inverse(a / 500.0 + fy), inverse(fy), inverse(fy - (b + i) / 200.0));
                }
                const Floats light = Splat(static_cast<float>(l + 16));
                const Floats as = Splat(static_cast<float>(a));
                worst.Look(kLightSums,
                           {LightOfFraction<14500>(light * 125.0F + as * 29.0F), LightOfFraction<116>(light),
                            LightOfFraction<5800>(light * 50.0F - bs * 29.0F)},
                           truth);
            }
        }
    }
    // The rounded threshold may use another ninth.
    EXPECT_LT(worst.part, 8.0 / 9.0);
    EXPECT_GT(worst.part, 0.1);
}

TEST(Estimates, LightOfARecordsColoursStaysWithinItsMargin) {
    const auto record = std::make_unique<ClrLabDecodeRecord>();
    SetLabRecord(*record, kLabDecodeSetup, {32, 0, 0, 100, 128, 170, 96, 200});
    ClrBuildLabDecode(record.get(), kLabGammaPercent);
    ASSERT_TRUE(record->lanes.usable);
    const auto scale = [](double value) { return static_cast<int32_t>(value); };
    const auto exact = [](int32_t f) {
        int32_t value = 0;
        if (f > kLabCubeFrom) {
            const int32_t t = (f + 128) >> 8;
            value = ClrFixMul(ClrFixMul(t, t), t);
        } else {
            value = ClrFixMul((f - kLabLineFrom) >> 6, kLabLineSlope);
        }
        return Clamp(value, 0, 268435456);
    };
    WorstLight worst;
    for (int32_t l = 0; l < 256; ++l) {
        const int32_t fy = LabLightness(*record, static_cast<uint8_t>(l));
        for (int32_t a = 0; a < 256; ++a) {
            const int32_t fx = fy + (a - record->aOffset) * scale(record->aScale);
            for (int32_t b = 0; b < 256; b += kLanes) {
                Ints fz;
                std::array<double, 3> truth[kLanes];
                for (int32_t i = 0; i < kLanes; ++i) {
                    fz[i] = fy - (b + i - record->bOffset) * scale(record->bScale);
                    const int32_t xyz[3] = {exact(fx), exact(fy), exact(fz[i])};
                    for (size_t c = 0; c < 3; ++c) {
                        int32_t sum = 0;
                        for (size_t k = 0; k < 3; ++k) sum += ClrFixMul(record->fixedMatrix[3 * c + k], xyz[k]);
                        truth[i][c] = sum * 0x1p-28;
                    }
                }
                worst.Look(record->lanes.sums,
                           {LightOfRoot(SplatInt(fx + kRootRound)), LightOfRoot(SplatInt(fy + kRootRound)),
                            LightOfRoot(fz + kRootRound)},
                           truth);
            }
        }
    }
    EXPECT_LT(worst.part, 1);
    EXPECT_GT(worst.part, 0.1);
}

TEST(Estimates, BytesOfARecordsNumbersAreTheDefinitions) {
    const ClrLabParams encodings[] = {
        {32, 0, 0, 100, 128, 170, 96, 200}, {32, 0, 0, 100, 128, 255, 128, 255},     {32, 0, 5, 90, 120, 151, 100, 183},
        {32, 0, -3, 3, 1, 11, 254, 13},     {32, 0, 7, 3000, 128, 30000, 96, 30001},
    };
    for (const ClrLabParams& encoding : encodings) {
        const auto record = std::make_unique<ClrLabEncodeRecord>();
        SetLabRecord(*record, kLabEncodeSetup, encoding);
        ClrBuildLabEncode(record.get(), kLabGammaPercent);
        ASSERT_TRUE(record->lanes.usable) << encoding.aRange;
        const int32_t scales[3] = {record->lScale, record->aScale, record->bScale};
        const int32_t biases[3] = {record->lBias, 0, 0};
        const int32_t offsets[3] = {0, record->aOffset, record->bOffset};
        const int32_t middles[3] = {kLabRootMiddle, 0, 0};
        for (size_t c = 0; c < 3; ++c) {
            int32_t wrong = 0;
            for (int32_t number = -32768; number < 32768; number += kWords) {
                Words numbers;
                for (int32_t i = 0; i < kWords; ++i) numbers[i] = static_cast<int16_t>(number + i);
                const Words bytes = BytesOfNumbers(record->lanes.bytes[c], numbers);
                for (int32_t i = 0; i < kWords; ++i) {
                    const int64_t product = int64_t{number + i + middles[c]} * scales[c];
                    const int64_t truth = ((((product + 32768) >> 16) + biases[c] + 32768) >> 16) + offsets[c];
                    if (bytes[i] != truth) ++wrong;
                }
            }
            EXPECT_EQ(wrong, 0) << c << ", a range of " << encoding.aRange;
        }
    }
}

/// Powers as the rows use them, built here again from their description.
const LabPowers& Powers() {
    static const LabPowers powers = [] {
        LabPowers filled{};
        FillLabPowers(filled);
        return filled;
    }();
    return powers;
}

TEST(Estimates, PowersOfLightStayWithinTheirErrorForEveryNumberOfAnOctave) {
    double worst = 0;
    const auto look = [&](float from, float to, int32_t step) {
        const auto end = std::bit_cast<int32_t>(to);
        for (auto bits = std::bit_cast<int32_t>(from); bits < end; bits += kLanes * step) {
            Floats light;
            for (int32_t i = 0; i < kLanes; ++i) light[i] = std::bit_cast<float>(std::min(bits + i * step, end));
            const Floats power = BytePower(Powers(), light);
            for (int32_t i = 0; i < kLanes; ++i) {
                const double truth = 255 * std::pow(static_cast<double>(light[i]), lab::kEncodingPower);
                worst = std::max(worst, std::fabs(static_cast<double>(power[i]) / truth - 1));
            }
        }
    };
    look(0.5F, 1.0F, 1);
    look(kLeastPowered, 0.5F, 61);
    EXPECT_LT(worst, static_cast<double>(kLabPowerError));
    EXPECT_GT(worst, static_cast<double>(kLabPowerError) / 3);
}

TEST(Estimates, LightLiesFartherFromThresholdsThanTheBoundOfTheirDistance) {
    std::vector<double> thresholds;
    for (int32_t i = 0; i < 255; ++i) thresholds.push_back(std::pow((i + 0.5) / 255.0, 1.0 / lab::kEncodingPower));
    double worst = 0;
    const auto look = [&](const Floats& light) {
        const Floats w = BytePower(Powers(), light);
        for (int32_t i = 0; i < kLanes; ++i) {
            Floats rounded = {};
            rounded[i] = std::nearbyint(w[i]);
            const double v = static_cast<double>(light[i]);
            const auto above = std::lower_bound(thresholds.begin(), thresholds.end(), v);
            double distance = 100;
            if (above != thresholds.end()) distance = *above - v;
            if (above != thresholds.begin()) distance = std::min(distance, v - *(above - 1));
            const double bound = static_cast<double>(LeastDistance(light, w, rounded)[i]) / static_cast<double>(w[i]);
            // Where the bound is not above 0, nothing is taken for certain.
            if (bound > 0) worst = std::max(worst, bound / distance);
            // The nearest integer is the byte wherever the bound is above 0.
            if (bound > 0) {
                ASSERT_EQ(static_cast<ptrdiff_t>(rounded[i]), above - thresholds.begin()) << v;
            }
        }
    };
    const auto sweep = [&](float from, float to, int32_t step) {
        const auto end = std::bit_cast<int32_t>(to);
        for (auto bits = std::bit_cast<int32_t>(from); bits < end; bits += kLanes * step) {
            Floats light;
            for (int32_t i = 0; i < kLanes; ++i) light[i] = std::bit_cast<float>(bits + i * step);
            look(light);
            if (light[0] < 1.0F) look(-light);
        }
    };
    sweep(0x1p-40F, 0x1p-24F, 10007);
    sweep(0x1p-24F, 0x1p-12F, 23);
    sweep(0x1p-12F, 8.0F, 61);
    look(Floats{});
    EXPECT_LT(worst, 1);
    EXPECT_GT(worst, 0.5);
}

TEST(Estimates, HalfTheWayBetweenThresholdsIsNowhereLessThanStated) {
    const auto threshold = [](int32_t i) { return std::pow((i + 0.5) / 255.0, 1.0 / lab::kEncodingPower); };
    double least = 1;
    for (int32_t i = 0; i < 254; ++i) {
        const double middle = (threshold(i + 1) + threshold(i)) / 2;
        const double halfCell = std::exp2(std::floor(std::log2(middle))) / 256;
        least = std::min(least, (threshold(i + 1) - threshold(i)) / 2 - halfCell);
    }
    EXPECT_GT(least, kLeastHalfway);
    EXPECT_LT(least, kLeastHalfway * 1.1);
    EXPECT_GT(threshold(0), 0x1p-21);
}

}  // namespace

}  // namespace zv::test
