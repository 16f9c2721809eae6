#include <cmath>

#include "grid_fit.h"
#include "profiles.h"

namespace zvmake {
namespace {

constexpr size_t kPoints = 16;
constexpr double kLast = kPoints - 1;
constexpr size_t kInputEntries = 256;
constexpr size_t kOutputEntries = 4096;
constexpr size_t kNodes = kPoints * kPoints * kPoints;

// The i-th point of a cubic lattice, first axis slowest.
Vec3 LatticePoint(size_t i, size_t steps) {
    const size_t first = i / (steps * steps), second = i / steps % steps, third = i % steps;
    return {static_cast<double>(first), static_cast<double>(second), static_cast<double>(third)};
}

// ---- CMY to Lab

double Lightness(double linear) { return XyzToLab({0, linear, 0})[0]; }

// Ink to grid: by lightness, so that greys lie on a straight line.
double DeviceAxis(double ink) { return 1 - Lightness(SrgbDecode(1 - ink)) / 100; }

Vec3 ComplementLab(const Vec3& cmy) {
    Vec3 linear{};
    for (size_t i = 0; i < 3; ++i) linear[i] = SrgbDecode(1 - cmy[i]);
    return XyzToLab(Multiply(SrgbToXyz(), linear));
}

// The ink whose grid coordinate this is.
double InkOfAxis(double coordinate) {
    double low = 0, high = 1;
    for (int step = 0; step < 50; ++step) {
        const double middle = (low + high) / 2;
        (DeviceAxis(middle) < coordinate ? low : high) = middle;
    }
    return (low + high) / 2;
}

LookupTable DeviceToLab() {
    constexpr size_t kSteps = 46;
    GridFit fit(kPoints);
    for (size_t i = 0; i < kSteps * kSteps * kSteps; ++i) {
        Vec3 cmy = LatticePoint(i, kSteps), place{};
        for (size_t axis = 0; axis < 3; ++axis) {
            cmy[axis] /= kSteps - 1;
            place[axis] = DeviceAxis(cmy[axis]) * kLast;
        }
        fit.Add(place, ComplementLab(cmy), {1, 1, 1});
    }
    std::vector<Vec3> prior(kNodes);
    for (size_t node = 0; node < kNodes; ++node) {
        prior[node] = ComplementLab({InkOfAxis(static_cast<double>(node >> 8) / kLast),
                                     InkOfAxis(static_cast<double>(node >> 4 & 15) / kLast),
                                     InkOfAxis(static_cast<double>(node & 15) / kLast)});
    }
    std::vector<Vec3> nodes = fit.Solve(prior, 0.5);
    // Greys are straight along the diagonal anyway: they stay exact.
    for (size_t i = 0; i < kPoints; ++i) nodes[i * 273] = prior[i * 273];

    LookupTable table;
    table.gridPoints = kPoints;
    std::vector<uint16_t> input(kInputEntries);
    for (size_t i = 0; i < kInputEntries; ++i) {
        input[i] = ToWord(DeviceAxis(static_cast<double>(i) / (kInputEntries - 1)) * 65535);
    }
    table.inputTables.assign(3, input);
    for (const Vec3& node : nodes) {
        for (const uint16_t word : LabToWords(node)) table.grid.push_back(word);
    }
    table.outputTables.assign(3, IdentityTable(kOutputEntries));
    return table;
}

// ---- Lab to CMY

// What the grid holds: a root of linear light with a toe, straight below zero. It is smooth in Lab, runs on for colours
// outside sRGB, and the output table bends it to ink.
constexpr double kToe = 0.12;
constexpr double kLowest = -0.3;
constexpr double kHighest = 1.5;
constexpr int kRounds = 5;

double Root(double linear) {
    const double atZero = CubeRoot(kToe);
    return linear >= 0 ? CubeRoot(linear + kToe) : atZero + linear / (3 * atZero * atZero);
}

double LinearOfRoot(double root) {
    const double atZero = CubeRoot(kToe);
    return root >= atZero ? root * root * root - kToe : (root - atZero) * (3 * atZero * atZero);
}

// From 0 at the highest light to 1 at the lowest.
double Stored(double linear) {
    return (Root(kHighest) - Root(Clamp(linear, kLowest, kHighest))) / (Root(kHighest) - Root(kLowest));
}

double InkOfStored(double stored) {
    const double linear = LinearOfRoot(Root(kHighest) - stored * (Root(kHighest) - Root(kLowest)));
    return 1 - Clamp(SrgbEncode(Clamp(linear, 0, 1)), 0, 1);
}

// Half a byte more than the ink, so that the truncation to bytes rounds; white stays none.
std::vector<uint16_t> InkTable() {
    std::vector<uint16_t> table(kOutputEntries);
    for (size_t i = 0; i < kOutputEntries; ++i) {
        const double ink = InkOfStored(static_cast<double>(i) / (kOutputEntries - 1));
        const double rounding = 128 * Clamp(ink * 512, 0, 1);
        table[i] = ink >= 1 ? 65535 : ToWord(ink * 65280 + rounding);
    }
    return table;
}

// Axes of the grid: a and b have a node at zero and the others where sRGB has colours.
constexpr double kNeutralNode = 7;

double ChromaSpread(double x) { return 0.75 * x + 0.25 * x * x * x; }

double ChromaNode(double value) {
    const double wanted = std::fabs(value) / 128;
    double x = wanted;
    for (int step = 0; step < 60; ++step) x -= (ChromaSpread(x) - wanted) / (0.75 + 0.75 * x * x);
    return value < 0 ? kNeutralNode - x * kNeutralNode : kNeutralNode + x * (kLast - kNeutralNode);
}

double ChromaOfNode(double node) {
    return node < kNeutralNode ? -128 * ChromaSpread((kNeutralNode - node) / kNeutralNode)
                               : 128 * ChromaSpread((node - kNeutralNode) / (kLast - kNeutralNode));
}

Vec3 PlaceOf(const Vec3& lab) { return {Clamp(lab[0], 0, 100) / 100 * kLast, ChromaNode(lab[1]), ChromaNode(lab[2])}; }

bool Inside(const Vec3& lab) {
    for (const double component : Multiply(XyzToSrgb(), LabToXyz(lab))) {
        if (component < -1e-9 || component > 1 + 1e-9) return false;
    }
    return true;
}

// Onto sRGB along the line of constant hue to a grey that is not quite as light or dark.
Vec3 IntoGamut(const Vec3& lab) {
    if (Inside(lab)) return lab;
    const double focus = 50 + 0.9 * (lab[0] - 50);
    double in = 0, out = 1;
    for (int step = 0; step < 30; ++step) {
        const double middle = (in + out) / 2;
        const Vec3 point{focus + middle * (lab[0] - focus), middle * lab[1], middle * lab[2]};
        (Inside(point) ? in : out) = middle;
    }
    return {focus + in * (lab[0] - focus), in * lab[1], in * lab[2]};
}

Vec3 StoredOf(const Vec3& lab) {
    Vec3 stored = Multiply(XyzToSrgb(), LabToXyz(lab));
    for (double& value : stored) value = Stored(value);
    return stored;
}

struct Complement {
    Vec3 place, value, weight;
};

// A cast in greys is seen sooner than an error in colours.
constexpr double kGreyWeight = 20;

Complement ComplementAt(const Vec3& cmy, double importance) {
    Complement sample;
    sample.place = PlaceOf(ComplementLab(cmy));
    for (size_t axis = 0; axis < 3; ++axis) {
        const double stored = Stored(SrgbDecode(1 - cmy[axis]));
        // Errors count in ink, not in what is stored.
        const double slope = (InkOfStored(stored + 0.002) - InkOfStored(stored - 0.002)) / 0.004;
        sample.value[axis] = stored;
        sample.weight[axis] = importance * slope * slope;
    }
    return sample;
}

std::vector<Complement> Complements() {
    constexpr size_t kSteps = 46;
    std::vector<Complement> all;
    all.reserve(kSteps * kSteps * kSteps + 256);
    for (size_t i = 0; i < kSteps * kSteps * kSteps; ++i) {
        Vec3 cmy = LatticePoint(i, kSteps);
        for (double& ink : cmy) ink /= kSteps - 1;
        all.push_back(ComplementAt(cmy, 1));
    }
    for (int i = 0; i < 256; ++i) {
        const double ink = i / 255.0;
        all.push_back(ComplementAt({ink, ink, ink}, kGreyWeight));
    }
    return all;
}

// Beyond none and beyond full the output table cuts: what the last fit has there is as good as the end itself.
void FollowBeyond(std::vector<Complement>& samples, const GridFit& fit, const std::vector<Vec3>& nodes) {
    const double none = Stored(1), full = Stored(0);
    for (Complement& sample : samples) {
        const Vec3 fitted = fit.Value(nodes, sample.place);
        for (size_t axis = 0; axis < 3; ++axis) {
            double& value = sample.value[axis];
            if (value <= none + 1e-9) value = fitted[axis] < none ? fitted[axis] : none;
            if (value >= full - 1e-9) value = fitted[axis] > full ? fitted[axis] : full;
        }
    }
}

void AddColoursOutside(GridFit& fit) {
    constexpr size_t kSteps = 31;
    for (size_t i = 0; i < kSteps * kSteps * kSteps; ++i) {
        Vec3 place = LatticePoint(i, kSteps);
        for (double& coordinate : place) coordinate /= 2;
        const Vec3 lab{place[0] / kLast * 100, ChromaOfNode(place[1]), ChromaOfNode(place[2])};
        if (!Inside(lab)) fit.Add(place, StoredOf(IntoGamut(lab)), {0.0005, 0.0005, 0.0005});
    }
}

LookupTable LabToDevice() {
    std::vector<Vec3> prior(kNodes);
    for (size_t node = 0; node < kNodes; ++node) {
        prior[node] = StoredOf(
            IntoGamut({static_cast<double>(node >> 8) / kLast * 100, ChromaOfNode(static_cast<double>(node >> 4 & 15)),
                       ChromaOfNode(static_cast<double>(node & 15))}));
    }
    std::vector<Complement> samples = Complements();
    std::vector<Vec3> nodes = prior;
    for (int round = 0; round < kRounds; ++round) {
        GridFit fit(kPoints);
        for (const Complement& sample : samples) fit.Add(sample.place, sample.value, sample.weight);
        AddColoursOutside(fit);
        nodes = fit.Solve(prior, 0.001);
        FollowBeyond(samples, fit, nodes);
    }

    LookupTable table;
    table.gridPoints = kPoints;
    std::vector<uint16_t> lightness(kInputEntries), chroma(kInputEntries);
    for (size_t i = 0; i < kInputEntries; ++i) {
        const Vec3 place = PlaceOf({static_cast<double>(i) * 257 / 652.8, static_cast<double>(i) * 257 / 256 - 128, 0});
        lightness[i] = ToWord(place[0] / kLast * 65535);
        chroma[i] = ToWord(place[1] / kLast * 65535);
    }
    table.inputTables = {lightness, chroma, chroma};
    for (const Vec3& node : nodes) {
        for (const double value : node) table.grid.push_back(ToWord(Clamp(value, 0, 1) * 65535));
    }
    table.outputTables.assign(3, InkTable());
    return table;
}

}  // namespace

Bytes MakeCmyProfile() {
    ProfileWriter profile("spac", "CMY ", "Lab ");
    profile.Add("desc", DescriptionTag("zvclr CMY, the complement of sRGB"));
    profile.Add("wtpt", XyzTag({0.9642, 1.0, 0.8249}));
    profile.Add("A2B0", Lut16Tag(DeviceToLab()));
    profile.Add("B2A0", Lut16Tag(LabToDevice()));
    profile.Add("cprt",
                TextTag("Copyright zvclr authors. Permission is granted to use, copy, modify, embed and pass on "
                        "this profile, alone or together with any other works, under the terms of the MIT licence"));
    return profile.Finish();
}

}  // namespace zvmake
