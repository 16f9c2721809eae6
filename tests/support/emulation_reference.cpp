#include "tests/support/emulation_reference.h"

#include <algorithm>
#include <cmath>

#include "tests/support/test_pictures.h"

namespace zv::test {

namespace {

int Low(int value, double factor) { return static_cast<int>(std::floor(value * factor)); }
int High(int value, double factor) { return static_cast<int>(std::ceil(value * factor)); }
int LowByte(int value) { return value & 255; }
int Signed(int byte) { return byte < 128 ? byte : byte - 256; }

struct Node {
    int first, second, third;
};

Node NodeOf(const std::vector<uint8_t>& table, int number) {
    const size_t at = static_cast<size_t>(number) * 3;
    return {table.at(at), table.at(at + 1), table.at(at + 2)};
}

EmulationPixel AsPixel(const Node& node) {
    return {static_cast<uint8_t>(node.first), static_cast<uint8_t>(node.second), static_cast<uint8_t>(node.third)};
}

EmulationPixel MeanOfBytes(const Node& low, const Node& high) {
    return AsPixel({(low.first + high.first) >> 1, (low.second + high.second) >> 1, (low.third + high.third) >> 1});
}

EmulationPixel Swapped(const EmulationPixel& pixel) { return {pixel[2], pixel[1], pixel[0]}; }

EmulationPixel CmykToRgb(const std::vector<uint8_t>& table, const uint8_t* cmyk, bool shortcuts) {
    const double factor = 0.0625;
    const int p = High(cmyk[0], factor), q = High(cmyk[1], factor), r = High(cmyk[2], factor),
              s = High(cmyk[3], factor);
    const int h = ((p * 17 + q) * 17 + r) * 17 + s;
    const bool hit = cmyk[0] == LowByte(h / 4913 * 16) && cmyk[1] == LowByte(h / 289 * 16) &&
                     cmyk[2] == LowByte(h / 17 * 16) && cmyk[3] == LowByte(h * 16);
    if (shortcuts && hit) return AsPixel(NodeOf(table, h));
    const int l =
        ((Low(cmyk[0], factor) * 17 + Low(cmyk[1], factor)) * 17 + Low(cmyk[2], factor)) * 17 + Low(cmyk[3], factor);
    // An index of 16 wraps to 0.
    const int wrapped = (((p & 15) * 17 + (q & 15)) * 17 + (r & 15)) * 17 + (s & 15);
    return MeanOfBytes(NodeOf(table, l), NodeOf(table, wrapped));
}

int MeanOfSigned(int low, int high) {
    const int mean = (Signed(low) + Signed(high)) / 2;
    return LowByte(mean < -128 ? -128 : mean > 127 ? 127 : mean);
}

EmulationPixel RgbToLab(const std::vector<uint8_t>& table, const EmulationPixel& rgb, bool shortcuts) {
    const double factor = 0.125;
    const int h = (High(rgb[0], factor) * 33 + High(rgb[1], factor)) * 33 + High(rgb[2], factor);
    const bool hit = rgb[0] == LowByte(h / 1089 * 8) && rgb[1] == LowByte(h / 33 * 8) && rgb[2] == LowByte(h * 8);
    if (shortcuts && hit) return AsPixel(NodeOf(table, h));
    const int l = (Low(rgb[0], factor) * 33 + Low(rgb[1], factor)) * 33 + Low(rgb[2], factor);
    const Node low = NodeOf(table, l), high = NodeOf(table, h);
    return AsPixel(
        {(low.first + high.first) >> 1, MeanOfSigned(low.second, high.second), MeanOfSigned(low.third, high.third)});
}

EmulationPixel LabToRgb(const std::vector<uint8_t>& table, const uint8_t* lab, bool shortcuts) {
    const double factor = 0.125;
    const int light = lab[0], a = Signed(lab[1]) + 128, b = Signed(lab[2]) + 128;
    const int h = (High(light, factor) * 33 + High(a, factor)) * 33 + High(b, factor);
    const int e0 = LowByte(h / 1089 * 8);
    const int e1 = std::min(LowByte(h / 33) * 8, 255);
    const int e2 = std::min(LowByte(h) * 8, 255);
    if (shortcuts && light == e0 && a == e1 && b == e2) return AsPixel(NodeOf(table, h));
    const int l = (Low(light, factor) * 33 + Low(a, factor)) * 33 + Low(b, factor);
    return MeanOfBytes(NodeOf(table, l), NodeOf(table, h));
}

size_t NodeCount(EmulationKind kind) { return EmulationGridBytes(kind) / 3; }

}  // namespace

EmulationPixel ReferenceEmulation(EmulationKind kind, const std::vector<uint8_t>& table, const uint8_t* pixel,
                                  bool rgbFirst, EmulationShortcuts shortcuts) {
    const bool taken = shortcuts == EmulationShortcuts::kTaken;
    const EmulationPixel hub =
        rgbFirst ? EmulationPixel{pixel[0], pixel[1], pixel[2]} : EmulationPixel{pixel[2], pixel[1], pixel[0]};
    switch (kind) {
        case EmulationKind::kHubToLab:
            return RgbToLab(table, hub, taken);
        case EmulationKind::kCmykToHub: {
            const EmulationPixel rgb = CmykToRgb(table, pixel, taken);
            return rgbFirst ? rgb : Swapped(rgb);
        }
        case EmulationKind::kLabToHub: {
            const EmulationPixel rgb = LabToRgb(table, pixel, taken);
            return rgbFirst ? rgb : Swapped(rgb);
        }
    }
    return {};
}

std::vector<uint8_t> ReferenceEmulationRow(EmulationKind kind, const std::vector<uint8_t>& table,
                                           const std::vector<uint8_t>& pixels, bool rgbFirst) {
    const size_t bytes = EmulationSourceBytes(kind);
    std::vector<uint8_t> row;
    row.reserve(pixels.size() / bytes * 3);
    for (size_t at = 0; at + bytes <= pixels.size(); at += bytes) {
        const EmulationPixel pixel = ReferenceEmulation(kind, table, pixels.data() + at, rgbFirst);
        row.insert(row.end(), pixel.begin(), pixel.end());
    }
    return row;
}

std::vector<uint8_t> RandomTable(EmulationKind kind, uint32_t seed) {
    return RandomBytes(EmulationGridBytes(kind), seed);
}

std::vector<uint8_t> NumberedTable(EmulationKind kind) {
    std::vector<uint8_t> table;
    for (size_t node = 0; node < NodeCount(kind); ++node) {
        for (const int shift : {0, 8, 16}) table.push_back(static_cast<uint8_t>(node >> shift));
    }
    return table;
}

std::vector<uint8_t> ExtremeTable(EmulationKind kind) {
    constexpr uint8_t kValues[] = {0x80, 0x7F, 0x81, 0xFF, 0x80, 0x00, 0x01, 0x7F, 0xFE};
    std::vector<uint8_t> table;
    for (size_t i = 0; i < EmulationGridBytes(kind); ++i) table.push_back(kValues[(i * 7 + i / 99) % 9]);
    return table;
}

}  // namespace zv::test
