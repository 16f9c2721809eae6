#include <cmath>

#include "profiles.h"
#include "separation.h"

namespace zvmake {
namespace {

constexpr size_t kPoints = 33;
constexpr size_t kTableEntries = 256;
// Share of the straight line in the spacing of a and b: nodes stand closer where colours are.
constexpr double kStraight = 0.65;

// What the grid stores of cyan, magenta and yellow: entries of the output table, which cuts what lies beyond none and
// beyond full.
constexpr double kNoneEntry = 19;
constexpr double kFullEntry = 236;
constexpr double kReach = kNoneEntry / (kFullEntry - kNoneEntry);

// Node coordinate from -1 to 1 to a or b.
double ChromaAt(double x) { return 128 * (kStraight * x + (1 - kStraight) * x * x * x); }

double NodeOfChroma(double value) {
    double x = 0;
    for (int step = 0; step < 60; ++step) {
        x -= (ChromaAt(x) - value) / (128 * (kStraight + 3 * (1 - kStraight) * x * x));
    }
    return x;
}

// Node coordinate from 0 to 1 to L: nodes stand closer where it is dark, and the gamut a narrow cone.
constexpr double kDarkStraight = 0.6;

double LightnessAt(double x) { return 100 * x * (kDarkStraight + (1 - kDarkStraight) * x); }

double NodeOfLightness(double value) {
    const double p = kDarkStraight / (2 * (1 - kDarkStraight));
    return std::sqrt(p * p + value / 100 / (1 - kDarkStraight)) - p;
}

// L = 100 is the last node, and stays it for the words above; so does whatever rounds to 100 on the way.
std::vector<uint16_t> LightnessTable() {
    std::vector<uint16_t> table(kTableEntries);
    for (size_t i = 0; i < kTableEntries; ++i) {
        table[i] = ToWord(NodeOfLightness(static_cast<double>(i) / 254 * 100) * 65535);
    }
    return table;
}

// Neutral is flat between the words of 127 and 128, which hold 0x8000 as well as the 0x8080 of 8-bit pixels.
std::vector<uint16_t> ChromaTable() {
    std::vector<uint16_t> table(kTableEntries);
    for (size_t i = 0; i < kTableEntries; ++i) {
        const double value = static_cast<double>(i) * 257 / 256 - 128;
        table[i] = ToWord((NodeOfChroma(value) + 1) / 2 * 65535);
    }
    table[127] = table[128] = 0x8000;
    return table;
}

Vec3 NodeLab(size_t l, size_t a, size_t b) {
    return {LightnessAt(static_cast<double>(l) / (kPoints - 1)), ChromaAt(static_cast<double>(a) / 16 - 1),
            ChromaAt(static_cast<double>(b) / 16 - 1)};
}

size_t NodeIndex(size_t l, size_t a, size_t b) { return (l * kPoints + a) * kPoints + b; }

size_t TowardsNeutral(size_t i) { return i > 16 ? i - 1 : (i < 16 ? i + 1 : i); }

// Nodes of a plane from the neutral one outwards, so that each finds a neighbour done.
std::vector<std::pair<size_t, size_t>> Outwards() {
    std::vector<std::pair<size_t, size_t>> order;
    for (size_t ring = 0; ring <= 16; ++ring) {
        for (size_t a = 16 - ring; a <= 16 + ring; ++a) {
            for (size_t b = 16 - ring; b <= 16 + ring; ++b) {
                if (a == 16 - ring || a == 16 + ring || b == 16 - ring || b == 16 + ring) order.emplace_back(a, b);
            }
        }
    }
    return order;
}

std::vector<Inks> SeparateAll(const Separator& separator) {
    std::vector<Inks> nodes(kPoints * kPoints * kPoints);
    const auto order = Outwards();
    for (size_t l = kPoints; l-- > 0;) {
        for (const auto& [a, b] : order) {
            const Inks above = l + 1 < kPoints ? nodes[NodeIndex(l + 1, a, b)] : Inks{};
            const Inks inner = nodes[NodeIndex(l, TowardsNeutral(a), TowardsNeutral(b))];
            const Vec3 target = NodeLab(l, a, b);
            const Separation first = separator.Separate(target, above);
            if (a == 16 && b == 16) {
                nodes[NodeIndex(l, a, b)] = first.inks;
                continue;
            }
            const Separation second = separator.Separate(target, inner);
            nodes[NodeIndex(l, a, b)] = first.cost < second.cost ? first.inks : second.inks;
        }
    }
    return nodes;
}

double Miss(const ForwardGrid& forward, const Inks& inks, const Vec3& target) {
    const Vec3 reached = forward.Lab(inks);
    const Vec3 d{target[0] - reached[0], target[1] - reached[1], target[2] - reached[2]};
    return std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
}

// Far outside the gamut neighbours may have landed on different faces of it: they are drawn together, the more the
// farther out. Means of nodes within the ink limit stay within it.
void SmoothOutside(std::vector<Inks>& nodes, const std::vector<Inks>& inside, const ForwardGrid& forward) {
    constexpr int kRounds = 6;
    std::vector<double> share(nodes.size());
    for (size_t l = 1; l < kPoints; ++l) {
        for (size_t a = 0; a < kPoints; ++a) {
            for (size_t b = 0; b < kPoints; ++b) {
                const size_t node = NodeIndex(l, a, b);
                share[node] = 0.7 * SmoothStep(8, 30, Miss(forward, inside[node], NodeLab(l, a, b)));
            }
        }
    }
    constexpr std::array<size_t, 3> strides{kPoints * kPoints, kPoints, 1};
    for (int round = 0; round < kRounds; ++round) {
        const std::vector<Inks> before = nodes;
        for (size_t node = 0; node < nodes.size(); ++node) {
            if (share[node] == 0) continue;
            Inks sum{};
            double count = 0;
            for (const size_t stride : strides) {
                const size_t place = node / stride % kPoints;
                for (const bool up : {false, true}) {
                    if (up ? place + 1 == kPoints : place == 0) continue;
                    const Inks& neighbour = before[up ? node + stride : node - stride];
                    for (size_t ink = 0; ink < 4; ++ink) sum[ink] += neighbour[ink];
                    count += 1;
                }
            }
            for (size_t ink = 0; ink < 4; ++ink) {
                nodes[node][ink] = before[node][ink] * (1 - share[node]) + sum[ink] / count * share[node];
            }
        }
    }
}

// Nodes near the gamut go on beyond it, so that colours between them and the inner nodes come out right; farther out
// they end on its surface.
std::vector<Inks> Continued(const std::vector<Inks>& inside, const Separator& separator, const ForwardGrid& forward) {
    std::vector<Inks> nodes = inside;
    for (size_t l = 0; l < kPoints; ++l) {
        for (size_t a = 0; a < kPoints; ++a) {
            for (size_t b = 0; b < kPoints; ++b) {
                const size_t node = NodeIndex(l, a, b);
                const Vec3 target = NodeLab(l, a, b);
                const double near = 1 - SmoothStep(3, 12, Miss(forward, inside[node], target));
                const double share = near * (1 - SmoothStep(80, 97, target[0]));
                if (share == 0) continue;
                const Inks beyond = separator.Continue(target, inside[node], kReach).inks;
                for (size_t ink = 0; ink < 4; ++ink) {
                    nodes[node][ink] += share * (beyond[ink] - inside[node][ink]);
                }
            }
        }
    }
    return nodes;
}

std::vector<uint16_t> CutTable() {
    std::vector<uint16_t> table(kTableEntries);
    for (size_t i = 0; i < kTableEntries; ++i) {
        const double ink = (static_cast<double>(i) - kNoneEntry) / (kFullEntry - kNoneEntry);
        table[i] = ToWord(Clamp(ink, 0, 1) * 65535);
    }
    return table;
}

uint16_t StoredInk(double ink) { return ToWord((kNoneEntry + ink * (kFullEntry - kNoneEntry)) * 257); }

LookupTable ForwardTable(const std::vector<uint16_t>& grid) {
    LookupTable table;
    table.gridPoints = kPressGridPoints;
    table.inputTables.assign(4, IdentityTable(kTableEntries));
    table.grid = grid;
    table.outputTables.assign(3, IdentityTable(kTableEntries));
    return table;
}

LookupTable SeparationTable(const Separator& separator, const ForwardGrid& forward) {
    LookupTable table;
    table.gridPoints = kPoints;
    table.inputTables = {LightnessTable(), ChromaTable(), ChromaTable()};
    const std::vector<Inks> inside = SeparateAll(separator);
    std::vector<Inks> nodes = Continued(inside, separator, forward);
    SmoothOutside(nodes, inside, forward);
    // L = 0 is black whatever a and b say.
    const Inks black = inside[NodeIndex(0, 16, 16)];
    for (size_t node = 0; node < kPoints * kPoints; ++node) nodes[node] = {black[0], black[1], black[2], 1};
    // What rounding mixes into white from its neighbours stays none.
    Inks& white = nodes[NodeIndex(kPoints - 1, 16, 16)];
    white = {-0.001, -0.001, -0.001, 0};
    for (const Inks& inks : nodes) {
        for (size_t ink = 0; ink < 3; ++ink) table.grid.push_back(StoredInk(inks[ink]));
        // A thousandth of black is what the search leaves, not what the rule asks for.
        table.grid.push_back(inks[3] < 0.001 ? 0 : ToWord(inks[3] * 65535));
    }
    table.outputTables = {CutTable(), CutTable(), CutTable(), IdentityTable(kTableEntries)};
    return table;
}

// Twice the distance by which a colour misses the press, beyond one unit of tolerance.
LookupTable GamutTable(const Separator& separator, const ForwardGrid& forward) {
    LookupTable table;
    table.gridPoints = kPoints;
    std::vector<uint16_t> ramp(256);
    for (size_t i = 0; i < 256; ++i) ramp[i] = static_cast<uint16_t>(i);
    table.inputTables.assign(3, ramp);
    table.outputTables.assign(1, ramp);
    // The 8-bit tables scale by 256 / 257 on the way in.
    const double word = 65535.0 / (kPoints - 1) * 257 / 256;
    for (size_t l = 0; l < kPoints; ++l) {
        for (size_t a = 0; a < kPoints; ++a) {
            Inks start{};
            for (size_t b = 0; b < kPoints; ++b) {
                const Vec3 lab{Clamp(static_cast<double>(l) * word / 652.8, 0, 100),
                               static_cast<double>(a) * word / 256 - 128, static_cast<double>(b) * word / 256 - 128};
                start = separator.Separate(lab, start).inks;
                const double miss = Miss(forward, start, lab);
                table.grid.push_back(static_cast<uint16_t>(Clamp((miss - 1) * 2 + 0.5, 0, 255)));
            }
        }
    }
    return table;
}

}  // namespace

Bytes MakePressProfile() {
    const std::vector<uint16_t> grid = PressGrid(PressModel());
    const ForwardGrid forward(grid);
    const Separator separator(forward);
    ProfileWriter profile("prtr", "CMYK", "Lab ");
    profile.Add("desc", DescriptionTag("zvclr offset"));
    profile.Add("wtpt", XyzTag(kWhiteD50));
    profile.Add("bkpt", XyzTag({0, 0, 0}));
    profile.Add("A2B0", Lut16Tag(ForwardTable(grid)));
    profile.Alias("A2B1", "A2B0");
    profile.Alias("A2B2", "A2B0");
    profile.Add("B2A0", Lut16Tag(SeparationTable(separator, forward)));
    profile.Alias("B2A1", "B2A0");
    profile.Alias("B2A2", "B2A0");
    profile.Add("gamt", Lut8Tag(GamutTable(separator, forward)));
    profile.Add("cprt", TextTag(kCopyright));
    return profile.Finish();
}

}  // namespace zvmake
