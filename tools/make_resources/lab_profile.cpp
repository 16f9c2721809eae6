#include <cmath>

#include "profiles.h"

namespace zvmake {
namespace {

constexpr size_t kPoints = 32;
constexpr double kWidened = 256;  // an 8-bit entry b stands for the word b << 8

// The grid's nodes are whole bytes on a straight line: its interpolation rounds nothing. What it loses in slope the
// output table gives back.
constexpr uint16_t kNodeStep = 7;

// How far an entry may leave the straight line, in bytes: beyond, the map would be jagged between the samples.
constexpr double kLargestMove = 0.8;

// A sample of the wanted map: the word that a table of 256 entries is asked at, and the word it shall give.
struct Sample {
    double position;  // in entries of the output table
    double wanted;
    double weight;
};

// Through the input table (words by 256 / 257) and the grid.
double OutputPosition(double word) {
    const double slope = kNodeStep * kWidened * (kPoints - 1) / 65535.0;
    return word * kWidened / 257.0 * slope / 257.0;
}

double Interpolate(const std::vector<uint16_t>& table, double position) {
    const size_t low = static_cast<size_t>(position);
    const double fraction = position - static_cast<double>(low);
    return kWidened * (table[low] * (1 - fraction) + table[low + 1] * fraction);
}

double Error(const std::vector<uint16_t>& table, const std::vector<Sample>& samples, double around) {
    double sum = 0;
    for (const Sample& sample : samples) {
        if (std::fabs(sample.position - around) >= 2) continue;
        const double error = Interpolate(table, sample.position) - sample.wanted;
        sum += sample.weight * error * error;
    }
    return sum;
}

// The bytes whose interpolation comes nearest to the samples: rounded first, then moved one by one while it helps.
std::vector<uint16_t> FitTable(const std::vector<Sample>& samples, double scale, double offset) {
    std::vector<uint16_t> table(256);
    const double slope = scale / OutputPosition(1) / kWidened;
    const auto line = [=](size_t i) { return static_cast<double>(i) * slope + offset; };
    for (size_t i = 0; i < 256; ++i) {
        table[i] = static_cast<uint16_t>(Clamp(line(i) + 0.5, 0, 255));
    }
    for (int pass = 0; pass < 8; ++pass) {
        for (size_t i = 0; i < 256; ++i) {
            const uint16_t old = table[i];
            uint16_t best = old;
            double least = Error(table, samples, static_cast<double>(i));
            for (int move = -1; move <= 1; move += 2) {
                if (old + move < 0 || old + move > 255) continue;
                if (std::fabs(old + move - line(i)) > kLargestMove) continue;
                table[i] = static_cast<uint16_t>(old + move);
                const double error = Error(table, samples, static_cast<double>(i));
                if (error < least) {
                    least = error;
                    best = table[i];
                }
            }
            table[i] = best;
        }
    }
    return table;
}

LookupTable Identity(const std::vector<uint16_t>& output) {
    LookupTable table;
    table.gridPoints = kPoints;
    std::vector<uint16_t> ramp(256);
    for (size_t i = 0; i < 256; ++i) ramp[i] = static_cast<uint16_t>(i);
    table.inputTables.assign(3, ramp);
    for (size_t l = 0; l < kPoints; ++l) {
        for (size_t a = 0; a < kPoints; ++a) {
            for (size_t b = 0; b < kPoints; ++b) {
                for (const size_t i : {l, a, b}) table.grid.push_back(static_cast<uint16_t>(i * kNodeStep));
            }
        }
    }
    table.outputTables.assign(3, output);
    return table;
}

// A device byte b is the connection word b << 8: 255 is L = 100 and 128 is neutral. Asked for at all bytes, and with
// more weight at the places where grids of 33 points are sampled.
std::vector<uint16_t> DeviceToLab() {
    std::vector<Sample> samples;
    samples.reserve(512);
    for (int byte = 0; byte < 256; ++byte) {
        samples.push_back({OutputPosition(byte * 257.0), byte * kWidened, 0.1});
    }
    for (int node = 0; node <= 32; ++node) {
        const double word = std::floor(node * 65535.0 * 0.03125);
        samples.push_back({OutputPosition(word), word * kWidened / 257, node == 16 || node == 17 ? 64.0 : 4.0});
    }
    samples.push_back({OutputPosition(65535), 65280, 4});
    return FitTable(samples, kWidened / 257, 0);
}

// Half a byte more than the connection word, so that the truncation to bytes rounds.
std::vector<uint16_t> LabToDevice() {
    std::vector<Sample> samples;
    samples.reserve(4096);
    for (int word = 0; word <= 65280; word += 32) {
        samples.push_back({OutputPosition(word), Clamp(word + 128.0, 0, 65280), 1});
    }
    samples.push_back({OutputPosition(0x8000), 0x8080, 64});
    // The white of the RGB profile comes in a few words short of L = 100.
    samples.push_back({OutputPosition(65216), 65280, 64});
    samples.push_back({OutputPosition(65280), 65280, 64});
    return FitTable(samples, 1, 0.5);
}

}  // namespace

Bytes MakeLabProfile() {
    ProfileWriter profile("spac", "Lab ", "Lab ");
    profile.Add("desc", DescriptionTag("zvclr Lab identity"));
    profile.Add("wtpt", XyzTag({0.9505, 1.0, 1.0890}));
    profile.Add("A2B0", Lut8Tag(Identity(DeviceToLab())));
    profile.Add("B2A0", Lut8Tag(Identity(LabToDevice())));
    profile.Add("cprt", TextTag("Copyright zvclr authors. Free to use and to pass on under the MIT licence"));
    return profile.Finish();
}

}  // namespace zvmake
