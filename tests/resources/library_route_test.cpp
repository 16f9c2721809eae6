// The profiles through the library itself: converters with the ICC method.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "zvclr.h"

namespace {

using Pixels = std::vector<uint8_t>;

int Channels(int32_t space) { return space == CLRSPACE_CMYK ? 4 : 3; }

Pixels Convert(int32_t from, int32_t to, const Pixels& source) {
    ClrParams params{};
    params.size = sizeof params;
    params.methods = CLRMETHOD_ICC;
    params.activeMethod = CLRMETHOD_ICC;
    ClrHandle* converter = nullptr;
    EXPECT_EQ(Zv_ClrInit(&converter, from, to, &params), 1);
    const auto count = static_cast<int32_t>(source.size()) / Channels(from);
    Pixels destination(static_cast<size_t>(count * Channels(to)), 0xEE);
    EXPECT_EQ(Zv_ClrConvert(converter, source.data(), destination.data(), count, 1, 0, 0), 1);
    EXPECT_EQ(Zv_ClrFree(converter), 1);
    return destination;
}

Pixels RgbLattice(int step) {
    Pixels pixels;
    for (int red = 0; red < 256; red += step) {
        for (int green = 0; green < 256; green += step) {
            for (int blue = 0; blue < 256; blue += step) {
                for (const int value : {red, green, blue}) pixels.push_back(static_cast<uint8_t>(value));
            }
        }
    }
    return pixels;
}

Pixels Greys() {
    Pixels pixels;
    for (int value = 0; value < 256; ++value) pixels.insert(pixels.end(), 3, static_cast<uint8_t>(value));
    return pixels;
}

Pixels Complement(Pixels pixels) {
    for (uint8_t& value : pixels) value = static_cast<uint8_t>(255 - value);
    return pixels;
}

struct Differences {
    double mean = 0, exact = 0, within1 = 0;
    int largest = 0;
};

Differences Compare(const Pixels& first, const Pixels& second) {
    Differences differences;
    const auto count = static_cast<double>(first.size());
    for (size_t i = 0; i < first.size(); ++i) {
        const int difference = std::abs(first[i] - second[i]);
        differences.mean += difference / count;
        differences.exact += difference == 0 ? 1 / count : 0;
        differences.within1 += difference <= 1 ? 1 / count : 0;
        differences.largest = std::max(differences.largest, difference);
    }
    return differences;
}

void Print(const char* what, const Differences& d) {
    std::printf("%s: mean %.2f, largest %d, exact %.0f %%, within one %.0f %%\n", what, d.mean, d.largest,
                100 * d.exact, 100 * d.within1);
}

struct PressColour {
    Pixels inks, rgb;
};

TEST(LibraryRoute, PressColoursAreTheOnesTheProfileIsMadeFor) {
    const PressColour colours[] = {
        {{0, 0, 0, 0}, {255, 255, 255}},   {{255, 0, 0, 0}, {0, 178, 236}},  {{0, 255, 0, 0}, {227, 0, 127}},
        {{0, 0, 255, 0}, {249, 244, 0}},   {{0, 0, 0, 255}, {0, 0, 0}},      {{255, 255, 255, 0}, {54, 39, 51}},
        {{0, 0, 0, 16}, {243, 243, 243}},  {{0, 0, 0, 32}, {230, 230, 230}}, {{0, 0, 0, 64}, {204, 204, 204}},
        {{0, 0, 0, 128}, {149, 149, 149}}, {{0, 0, 0, 192}, {84, 84, 84}},   {{0, 0, 0, 240}, {22, 22, 22}},
        {{16, 0, 0, 0}, {244, 249, 254}},  {{64, 0, 0, 0}, {201, 231, 250}}, {{128, 0, 0, 0}, {140, 207, 243}},
        {{240, 0, 0, 0}, {0, 179, 235}},
    };
    int largest = 0;
    for (const PressColour& colour : colours) {
        const Pixels rgb = Convert(CLRSPACE_CMYK, CLRSPACE_RGB, colour.inks);
        for (size_t i = 0; i < 3; ++i) {
            const int difference = std::abs(rgb[i] - colour.rgb[i]);
            EXPECT_LE(difference, 1) << "component " << i << " of " << int{colour.inks[0]} << " " << int{colour.inks[1]}
                                     << " " << int{colour.inks[2]} << " " << int{colour.inks[3]};
            largest = std::max(largest, difference);
        }
    }
    std::printf("named press colours: largest difference %d\n", largest);
}

TEST(LibraryRoute, WhiteIsNoInkInEverySpace) {
    const Pixels white{255, 255, 255};
    EXPECT_EQ(Convert(CLRSPACE_RGB, CLRSPACE_CMYK, white), (Pixels{0, 0, 0, 0}));
    EXPECT_EQ(Convert(CLRSPACE_RGB, CLRSPACE_CMY, white), (Pixels{0, 0, 0}));
    EXPECT_EQ(Convert(CLRSPACE_RGB, CLRSPACE_LAB, white), (Pixels{255, 128, 128}));
    EXPECT_EQ(Convert(CLRSPACE_CMYK, CLRSPACE_RGB, {0, 0, 0, 0}), white);
    EXPECT_EQ(Convert(CLRSPACE_CMY, CLRSPACE_RGB, {0, 0, 0}), white);
    EXPECT_EQ(Convert(CLRSPACE_LAB, CLRSPACE_RGB, {255, 128, 128}), white);
}

TEST(LibraryRoute, BlackIsFullBlackInk) {
    const Pixels inks = Convert(CLRSPACE_RGB, CLRSPACE_CMYK, {0, 0, 0});
    EXPECT_EQ(inks[3], 255);
    EXPECT_EQ(Convert(CLRSPACE_CMYK, CLRSPACE_RGB, inks), (Pixels{0, 0, 0}));
    EXPECT_EQ(Convert(CLRSPACE_CMY, CLRSPACE_RGB, {255, 255, 255}), (Pixels{0, 0, 0}));
}

TEST(LibraryRoute, SeparationsKeepTheInkLimit) {
    const Pixels inks = Convert(CLRSPACE_RGB, CLRSPACE_CMYK, RgbLattice(5));
    int largest = 0;
    for (size_t i = 0; i < inks.size(); i += 4) {
        largest = std::max(largest, inks[i] + inks[i + 1] + inks[i + 2] + inks[i + 3]);
    }
    std::printf("total ink of RGB pixels: %.1f %%\n", largest / 2.55);
    EXPECT_LE(largest, 841) << "330 %";
}

TEST(LibraryRoute, GreysComeBackFromThePress) {
    const Pixels greys = Greys();
    const Pixels back = Convert(CLRSPACE_CMYK, CLRSPACE_RGB, Convert(CLRSPACE_RGB, CLRSPACE_CMYK, greys));
    const Differences differences = Compare(greys, back);
    Print("greys through the press", differences);
    EXPECT_LT(differences.mean, 0.8);
    // Below L = 8 the engine's cube has no straight part: the darkest greys come back lighter.
    EXPECT_LE(differences.largest, 6);
    for (size_t i = 0; i < back.size(); i += 3) {
        EXPECT_LE(std::max({back[i], back[i + 1], back[i + 2]}) - std::min({back[i], back[i + 1], back[i + 2]}), 3);
    }
}

TEST(LibraryRoute, CmyIsTheComplement) {
    const Pixels rgb = RgbLattice(5);
    const Pixels cmy = Complement(rgb);
    const Differences to = Compare(cmy, Convert(CLRSPACE_RGB, CLRSPACE_CMY, rgb));
    const Differences from = Compare(rgb, Convert(CLRSPACE_CMY, CLRSPACE_RGB, cmy));
    const Differences trip =
        Compare(rgb, Convert(CLRSPACE_CMY, CLRSPACE_RGB, Convert(CLRSPACE_RGB, CLRSPACE_CMY, rgb)));
    Print("RGB to CMY against the complement", to);
    Print("CMY to RGB against the complement", from);
    Print("RGB to CMY and back", trip);
    EXPECT_LT(to.mean, 0.3);
    EXPECT_GT(to.within1, 0.94);
    EXPECT_LE(to.largest, 18);
    EXPECT_LT(from.mean, 0.15);
    EXPECT_GT(from.within1, 0.99);
    EXPECT_LE(from.largest, 9);
    EXPECT_LT(trip.mean, 0.4);
    EXPECT_LE(trip.largest, 18);
}

TEST(LibraryRoute, GreysAreNeutralInLabAndBack) {
    const Pixels lab = Convert(CLRSPACE_RGB, CLRSPACE_LAB, Greys());
    for (size_t i = 0; i < lab.size(); i += 3) {
        EXPECT_GE(lab[i], i > 0 ? lab[i - 3] : 0) << "L rises";
        // Black alone has a and b of its own: two units below neutral, which its neighbours partly take over.
        EXPECT_NEAR(lab[i + 1], 128, i < 24 ? 3 : 0) << "grey " << i / 3;
        EXPECT_NEAR(lab[i + 2], 128, i < 24 ? 3 : 0) << "grey " << i / 3;
    }
    Pixels neutrals;
    for (int l = 0; l < 256; ++l) neutrals.insert(neutrals.end(), {static_cast<uint8_t>(l), 128, 128});
    const Pixels rgb = Convert(CLRSPACE_LAB, CLRSPACE_RGB, neutrals);
    for (size_t i = 0; i < rgb.size(); i += 3) {
        EXPECT_NEAR(rgb[i], rgb[i + 1], 1) << "L " << i / 3;
        EXPECT_NEAR(rgb[i + 2], rgb[i + 1], 1) << "L " << i / 3;
    }
}

}  // namespace
