// The built-in emulation tables: their nodes, what pixels get from them, and how they run in between.
#include "tests/resources/emulation_tables.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "tests/resources/press_tables.h"
#include "tests/support/colour_difference.h"
#include "zvclr.h"

namespace {

using zvtest::CmykToRgbTable;
using zvtest::EmulationGrid;
using zvtest::GridNode;
using zvtest::Lab;
using zvtest::LabToRgbTable;
using zvtest::RgbToLabTable;
using zvtest::Triple;

using Values = std::array<double, 3>;

double NodeValue(int index, int step) { return std::min(index * step, 255); }
uint8_t NodeByte(int index, int step) { return static_cast<uint8_t>(NodeValue(index, step)); }

template <size_t Axes>
struct Known {
    GridNode<Axes> place;
    Triple value;
};

// ---- Form and known values

TEST(EmulationTables, HaveTheirSizes) {
    EXPECT_EQ(CmykToRgbTable().bytes().size(), 250563U);
    EXPECT_EQ(LabToRgbTable().bytes().size(), 108300U);
    EXPECT_EQ(RgbToLabTable().bytes().size(), 108300U);
}

TEST(EmulationTables, NothingStandsBehindTheGridsOfLab) {
    for (const int id : {112, 113}) {
        const std::vector<uint8_t> bytes = zvtest::ReadEmulationTable(id);
        ASSERT_EQ(bytes.size(), 107811U + 489U);
        EXPECT_EQ(std::count(bytes.begin() + 107811, bytes.end(), 0), 489) << id;
    }
}

TEST(CmykToRgbTable, HoldsItsAims) {
    const CmykToRgbTable table;
    for (const Known<4>& node : {
             Known<4>{{0, 0, 0, 0}, {255, 255, 255}},
             Known<4>{{16, 0, 0, 0}, {0, 178, 236}},
             Known<4>{{0, 16, 0, 0}, {227, 0, 127}},
             Known<4>{{0, 0, 16, 0}, {249, 244, 0}},
             Known<4>{{0, 0, 0, 16}, {0, 0, 0}},
             Known<4>{{16, 16, 16, 0}, {54, 39, 51}},
             Known<4>{{0, 0, 0, 1}, {243, 243, 243}},
             Known<4>{{0, 0, 0, 2}, {230, 230, 230}},
             Known<4>{{0, 0, 0, 4}, {204, 204, 204}},
             Known<4>{{0, 0, 0, 8}, {149, 149, 149}},
             Known<4>{{0, 0, 0, 12}, {84, 84, 84}},
             Known<4>{{0, 0, 0, 15}, {22, 22, 22}},
             Known<4>{{1, 0, 0, 0}, {244, 249, 254}},
             Known<4>{{4, 0, 0, 0}, {201, 231, 250}},
             Known<4>{{8, 0, 0, 0}, {140, 207, 243}},
             Known<4>{{15, 0, 0, 0}, {0, 179, 235}},
         }) {
        EXPECT_EQ(table.At(node.place), node.value) << ::testing::PrintToString(node.place);
    }
}

TEST(LabToRgbTable, HoldsItsAims) {
    const LabToRgbTable table;
    for (const Known<3>& node : {
             Known<3>{{16, 16, 16}, {119, 119, 119}},
             Known<3>{{32, 16, 16}, {255, 255, 255}},
             Known<3>{{16, 32, 16}, {255, 0, 138}},
             Known<3>{{16, 16, 32}, {140, 120, 0}},
             Known<3>{{16, 0, 16}, {0, 156, 136}},
             Known<3>{{16, 16, 0}, {0, 143, 255}},
             Known<3>{{0, 0, 0}, {0, 108, 195}},
         }) {
        EXPECT_EQ(table.At(node.place), node.value) << ::testing::PrintToString(node.place);
    }
}

TEST(RgbToLabTable, HoldsItsAims) {
    const RgbToLabTable table;
    for (const Known<3>& node : {
             Known<3>{{0, 0, 0}, {0, 0, 0}},
             Known<3>{{32, 0, 0}, {138, 81, 70}},
             Known<3>{{0, 32, 0}, {224, -79, 81}},
             Known<3>{{0, 0, 32}, {75, 68, -112}},
             Known<3>{{32, 32, 32}, {255, 0, 0}},
             Known<3>{{16, 16, 16}, {137, 0, 0}},
         }) {
        EXPECT_EQ(table.At(node.place), node.value) << ::testing::PrintToString(node.place);
    }
}

TEST(CmykToRgbTable, GivesPixelsTheMeansOfItsNodes) {
    const CmykToRgbTable table;
    for (const Known<4>& pixel : {
             Known<4>{{0, 0, 0, 0}, {255, 255, 255}},
             Known<4>{{0, 0, 0, 240}, {22, 22, 22}},
             Known<4>{{0, 0, 0, 255}, {138, 138, 138}},
             Known<4>{{255, 255, 255, 255}, {128, 128, 128}},
             Known<4>{{255, 0, 0, 0}, {127, 217, 245}},
             Known<4>{{240, 0, 0, 0}, {0, 179, 235}},
             Known<4>{{8, 0, 0, 0}, {249, 252, 254}},
         }) {
        EXPECT_EQ(table.Pixel(pixel.place), pixel.value) << ::testing::PrintToString(pixel.place);
    }
}

TEST(LabToRgbTable, GivesPixelsTheMeansOfItsNodes) {
    const LabToRgbTable table;
    EXPECT_EQ(table.Pixel({128, 0, 0}), (Triple{119, 119, 119}));
    EXPECT_EQ(table.Pixel({0, 127, 127}), (Triple{118, 0, 61}));
    EXPECT_EQ(table.Pixel({255, 0, 0}), (Triple{251, 251, 251}));
}

TEST(RgbToLabTable, GivesPixelsTheMeansOfItsNodes) {
    const RgbToLabTable table;
    EXPECT_EQ(table.Pixel({0, 0, 0}), (Triple{0, 0, 0}));
    EXPECT_EQ(table.Pixel({0, 0, 8}), (Triple{1, 0, -3}));
    EXPECT_EQ(table.Pixel({128, 128, 128}), (Triple{137, 0, 0}));
    EXPECT_EQ(table.Pixel({255, 255, 255}), (Triple{252, 0, 0}));
    EXPECT_EQ(table.Pixel({255, 0, 0}), (Triple{136, 80, 69}));
}

// ---- Runs along the axes

TEST(CmykToRgbTable, MoreInkIsDarkerInItsOwnComponentAndBlackIsNeutral) {
    const CmykToRgbTable table;
    for (size_t ink = 0; ink < 4; ++ink) {
        const size_t component = ink % 3;
        int before = 256;
        bool reachedZero = false;
        for (int index = 0; index < 17; ++index) {
            GridNode<4> node{};
            node[ink] = index;
            const Triple rgb = table.At(node);
            // Strictly down until the clip.
            EXPECT_TRUE(rgb[component] < before || (reachedZero && rgb[component] == 0)) << ink << " " << index;
            before = rgb[component];
            reachedZero = before == 0;
            if (ink == 3) {
                EXPECT_EQ(rgb, (Triple{rgb[0], rgb[0], rgb[0]})) << index;
            }
        }
        EXPECT_EQ(before, 0) << ink;
    }
}

TEST(LabToRgbTable, NeutralsAreNeutralAndRise) {
    const LabToRgbTable table;
    int before = -1;
    for (int index = 0; index < 33; ++index) {
        const Triple rgb = table.At({index, 16, 16});
        EXPECT_EQ(rgb, (Triple{rgb[0], rgb[0], rgb[0]})) << index;
        EXPECT_GT(rgb[0], before) << index;
        before = rgb[0];
    }
    EXPECT_EQ(table.At({0, 16, 16}), (Triple{0, 0, 0}));
}

TEST(RgbToLabTable, GreysAreNeutralAndRise) {
    const RgbToLabTable table;
    int before = -1;
    for (int index = 0; index < 33; ++index) {
        const Triple lab = table.At({index, index, index});
        EXPECT_EQ(lab[1], 0) << index;
        EXPECT_EQ(lab[2], 0) << index;
        EXPECT_GT(lab[0], before) << index;
        before = lab[0];
    }
}

// ---- Against the formulas and the library

struct Spread {
    std::vector<double> differences;

    void Add(double difference) { differences.push_back(std::abs(difference)); }
    double Mean() const {
        double sum = 0;
        for (const double difference : differences) sum += difference;
        return sum / static_cast<double>(differences.size());
    }
    double Percentile(int percent) {
        std::sort(differences.begin(), differences.end());
        return differences.at((differences.size() - 1) * static_cast<size_t>(percent) / 100);
    }
    double Largest() { return Percentile(100); }
};

TEST(RgbToLabTable, IsTheFormulaRounded) {
    const RgbToLabTable table;
    Spread spread;
    for (int number = 0; number < table.count(); ++number) {
        const GridNode<3> node = table.NodeAt(number);
        const Lab lab = zvtest::SrgbToLab(NodeByte(node[0], 8), NodeByte(node[1], 8), NodeByte(node[2], 8));
        const Triple held = table.At(number);
        const Values differences{held[0] - lab.l * 2.55, held[1] - lab.a, held[2] - lab.b};
        for (const double difference : differences) {
            // The darkest blue but black departs by one.
            EXPECT_LT(std::abs(difference), number == 1 ? 0.9 : 0.51) << number;
            spread.Add(difference);
        }
    }
    std::printf("RGB to Lab against the formula: mean %.2f, largest %.2f\n", spread.Mean(), spread.Largest());
    EXPECT_LT(spread.Mean(), 0.27);
    EXPECT_LT(spread.Largest(), 0.9);
}

TEST(CmykToRgbTable, IsNearTheProfileRouteOfTheLibrary) {
    const CmykToRgbTable table;
    std::vector<uint8_t> inks;
    for (int number = 0; number < table.count(); ++number) {
        for (const int index : table.NodeAt(number)) inks.push_back(NodeByte(index, 16));
    }
    ClrParams params{};
    params.size = sizeof params;
    params.methods = CLRMETHOD_ICC;
    params.activeMethod = CLRMETHOD_ICC;
    ClrHandle* converter = nullptr;
    ASSERT_EQ(Zv_ClrInit(&converter, CLRSPACE_CMYK, CLRSPACE_RGB, &params), 1);
    std::vector<uint8_t> rgb(static_cast<size_t>(table.count()) * 3, 0xEE);
    EXPECT_EQ(Zv_ClrConvert(converter, inks.data(), rgb.data(), table.count(), 1, 0, 0), 1);
    EXPECT_EQ(Zv_ClrFree(converter), 1);

    Spread spread;
    for (size_t i = 0; i < rgb.size(); ++i) spread.Add(table.bytes()[i] - rgb[i]);
    std::printf("CMYK to RGB against the profile route: mean %.2f, 99th percentile %.0f, largest %.0f\n", spread.Mean(),
                spread.Percentile(99), spread.Largest());
    EXPECT_LT(spread.Mean(), 1);
    EXPECT_LE(spread.Percentile(99), 8);
}

// ---- Lab to RGB against the clip of each component

Lab NodeLab(const GridNode<3>& node) {
    return {NodeValue(node[0], 8) / 2.55, NodeValue(node[1], 8) - 128, NodeValue(node[2], 8) - 128};
}

/// Linear sRGB of XYZ by Cramer's rule on the columns that SrgbToXyzD50 sums.
Values LinearRgb(const zvtest::Xyz& xyz) {
    const zvtest::Xyz r = zvtest::SrgbToXyzD50(255, 0, 0), g = zvtest::SrgbToXyzD50(0, 255, 0),
                      b = zvtest::SrgbToXyzD50(0, 0, 255);
    const auto determinant = [](const zvtest::Xyz& u, const zvtest::Xyz& v, const zvtest::Xyz& w) {
        return u.x * (v.y * w.z - v.z * w.y) - v.x * (u.y * w.z - u.z * w.y) + w.x * (u.y * v.z - u.z * v.y);
    };
    const double whole = determinant(r, g, b);
    return {determinant(xyz, g, b) / whole, determinant(r, xyz, b) / whole, determinant(r, g, xyz) / whole};
}

struct Clip {
    Values rgb{};
    bool inside = true;
};

Clip ClipOf(const GridNode<3>& node) {
    const Values linear = LinearRgb(zvtest::LabToXyz(NodeLab(node)));
    Clip clip;
    for (size_t i = 0; i < 3; ++i) {
        if (linear[i] < 0 || linear[i] > 1) clip.inside = false;
        clip.rgb[i] = 255 * zvtest::LinearToSrgb(std::clamp(linear[i], 0.0, 1.0));
    }
    return clip;
}

/// Aims outside sRGB that are not the clip: the table bends toward them.
constexpr GridNode<3> kBentAt[] = {{16, 32, 16}, {16, 16, 32}, {16, 0, 16}, {16, 16, 0}, {0, 0, 0}, {0, 32, 32}};
constexpr double kBendRadius = 12;

bool BendReaches(const GridNode<3>& node) {
    return std::any_of(std::begin(kBentAt), std::end(kBentAt), [&node](const GridNode<3>& bent) {
        return std::hypot(node[0] - bent[0], node[1] - bent[1], node[2] - bent[2]) < kBendRadius;
    });
}

TEST(LabToRgbTable, IsTheClipWhereNoBendReaches) {
    const LabToRgbTable table;
    int compared = 0, inGamut = 0;
    for (int number = 0; number < table.count(); ++number) {
        const GridNode<3> node = table.NodeAt(number);
        const Clip clip = ClipOf(node);
        if (!clip.inside && BendReaches(node)) continue;
        ++compared;
        inGamut += clip.inside ? 1 : 0;
        for (size_t i = 0; i < 3; ++i) {
            // The yardstick's white has four places: that much of a byte is its own, where dark bytes are steep.
            EXPECT_LT(std::abs(table.At(number)[i] - clip.rgb[i]), 0.6) << ::testing::PrintToString(node);
        }
    }
    std::printf("Lab to RGB: %d of %d nodes are the clip, %d of them inside sRGB\n", compared, table.count(), inGamut);
    EXPECT_GT(inGamut, 4000);
    EXPECT_GT(compared, 16000);
}

/// The largest differences between neighbours, and of such differences, along all axes.
struct Steps {
    double first = 0, second = 0;
};

template <size_t Axes, class Function>
Steps StepsOf(const EmulationGrid<Axes>& grid, const Function& at) {
    Steps steps;
    for (int number = 0; number < grid.count(); ++number) {
        const GridNode<Axes> node = grid.NodeAt(number);
        const Values here = at(number);
        int stride = 1;
        for (size_t axis = Axes; axis-- > 0; stride *= grid.points()) {
            if (node[axis] + 1 == grid.points()) continue;
            const Values next = at(number + stride);
            for (size_t i = 0; i < 3; ++i) steps.first = std::max(steps.first, std::abs(next[i] - here[i]));
            if (node[axis] == 0) continue;
            const Values before = at(number - stride);
            for (size_t i = 0; i < 3; ++i) {
                steps.second = std::max(steps.second, std::abs(next[i] - 2 * here[i] + before[i]));
            }
        }
    }
    return steps;
}

TEST(LabToRgbTable, BendsSmoothlyAwayFromTheClip) {
    const LabToRgbTable table;
    std::vector<Values> bend;
    for (int number = 0; number < table.count(); ++number) {
        const Clip clip = ClipOf(table.NodeAt(number));
        const Triple held = table.At(number);
        bend.push_back({held[0] - clip.rgb[0], held[1] - clip.rgb[1], held[2] - clip.rgb[2]});
    }
    double largest = 0;
    for (const Values& values : bend) {
        for (const double value : values) largest = std::max(largest, std::abs(value));
    }
    const Steps steps = StepsOf(table, [&bend](int number) { return bend[static_cast<size_t>(number)]; });
    std::printf("Lab to RGB less the clip: %.0f at most, steps of %.1f and second differences of %.1f\n", largest,
                steps.first, steps.second);
    EXPECT_LT(largest, 62);
    EXPECT_LT(steps.first, 11);
    EXPECT_LT(steps.second, 7);
}

/// Linear on each axis.
Values Interpolate(const RgbToLabTable& table, const Triple& rgb) {
    Values sum{};
    for (unsigned corner = 0; corner < 8; ++corner) {
        GridNode<3> node{};
        double weight = 1;
        for (size_t axis = 0; axis < 3; ++axis) {
            node[axis] = rgb[axis] / 8;
            const double share = (rgb[axis] - 8 * node[axis]) / (node[axis] == 31 ? 7.0 : 8.0);
            const bool high = (corner >> axis & 1) != 0;
            node[axis] += high ? 1 : 0;
            weight *= high ? share : 1 - share;
        }
        for (size_t i = 0; i < 3; ++i) sum[i] += weight * table.At(node)[i];
    }
    return sum;
}

TEST(LabTables, AreInversesInsideSrgb) {
    const LabToRgbTable toRgb;
    const RgbToLabTable toLab;
    Spread spread;
    for (int number = 0; number < toRgb.count(); ++number) {
        const GridNode<3> node = toRgb.NodeAt(number);
        if (!ClipOf(node).inside) continue;
        const Values back = Interpolate(toLab, toRgb.At(number));
        spread.Add(zvtest::DeltaE76(NodeLab(node), {back[0] / 2.55, back[1], back[2]}));
    }
    std::printf("Lab nodes inside sRGB to RGB and back, CIE 1976: mean %.2f, 99th percentile %.2f, largest %.2f\n",
                spread.Mean(), spread.Percentile(99), spread.Largest());
    EXPECT_LT(spread.Mean(), 1);
    EXPECT_LT(spread.Percentile(99), 3);
    EXPECT_LT(spread.Largest(), 6);
}

// ---- CMYK to RGB against the profile's own table

std::vector<Values> PressClip(const CmykToRgbTable& table) {
    const zvtest::Press press;
    std::vector<Values> clip;
    for (int number = 0; number < table.count(); ++number) {
        zvtest::Words inks;
        for (const int index : table.NodeAt(number)) inks.push_back(NodeValue(index, 16) * 257);
        Values rgb = LinearRgb(zvtest::LabToXyz(press.Print(inks)));
        for (double& component : rgb) component = 255 * zvtest::LinearToSrgb(std::clamp(component, 0.0, 1.0));
        clip.push_back(rgb);
    }
    return clip;
}

TEST(CmykToRgbTable, LeavesTheProfileByLittleAndSmoothly) {
    const CmykToRgbTable table;
    const std::vector<Values> clip = PressClip(table);
    std::vector<Values> bend;
    Spread spread;
    for (int number = 0; number < table.count(); ++number) {
        const Triple held = table.At(number);
        const Values& from = clip[static_cast<size_t>(number)];
        bend.push_back({held[0] - from[0], held[1] - from[1], held[2] - from[2]});
        for (const double difference : bend.back()) spread.Add(difference);
    }
    const Steps steps = StepsOf(table, [&bend](int number) { return bend[static_cast<size_t>(number)]; });
    std::printf("CMYK to RGB less the clip: mean %.2f, largest %.2f, steps of %.2f, second differences of %.2f\n",
                spread.Mean(), spread.Largest(), steps.first, steps.second);
    EXPECT_LT(spread.Mean(), 0.26);
    EXPECT_LT(spread.Largest(), 2.3);
    EXPECT_LT(steps.first, 2);
    EXPECT_LT(steps.second, 3);
}

TEST(CmykToRgbTable, RunsAlongEveryInkAsSmoothlyAsTheProfile) {
    const CmykToRgbTable table;
    const std::vector<Values> clip = PressClip(table);
    const Steps held = StepsOf(table, [&table](int number) {
        const Triple rgb = table.At(number);
        return Values{static_cast<double>(rgb[0]), static_cast<double>(rgb[1]), static_cast<double>(rgb[2])};
    });
    const Steps profile = StepsOf(table, [&clip](int number) { return clip[static_cast<size_t>(number)]; });
    std::printf("CMYK to RGB: steps of %.0f (profile %.1f), second differences of %.0f (profile %.1f)\n", held.first,
                profile.first, held.second, profile.second);
    // Rounding alone adds one to a step and two to a second difference.
    EXPECT_LT(held.first, profile.first + 1);
    EXPECT_LT(held.second, profile.second + 2);
    EXPECT_LT(held.first, 57);
    EXPECT_LT(held.second, 57);
}

}  // namespace
