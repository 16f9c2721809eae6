#include "tests/resources/emulation_tables.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace zvtest {
namespace {

int Low(int value, double factor) { return static_cast<int>(std::floor(value * factor)); }
int High(int value, double factor) { return static_cast<int>(std::ceil(value * factor)); }

int Limited(int node) { return std::min((node & 255) * 8, 255); }

Triple Mean(const Triple& low, const Triple& high) {
    Triple mean{};
    for (size_t i = 0; i < 3; ++i) mean[i] = (low[i] + high[i]) >> 1;
    return mean;
}

template <size_t Axes>
GridNode<Axes> Corner(const GridNode<Axes>& values, double factor, int (*index)(int, double)) {
    GridNode<Axes> node{};
    for (size_t axis = 0; axis < Axes; ++axis) node[axis] = index(values[axis], factor);
    return node;
}

}  // namespace

std::vector<uint8_t> ReadEmulationTable(int id) {
    std::ifstream file(ZVCLR_TABLE_FOLDER "/" + std::to_string(id) + ".et", std::ios::binary);
    if (!file) throw std::runtime_error("no emulation table " + std::to_string(id));
    return {std::istreambuf_iterator<char>(file), {}};
}

Triple CmykToRgbTable::Pixel(const std::array<int, 4>& cmyk) const {
    GridNode<4> high = Corner(cmyk, 0.0625, High);
    const int h = NumberOf(high);
    if (cmyk[0] == (h / 4913 * 16 & 255) && cmyk[1] == (h / 289 * 16 & 255) && cmyk[2] == (h / 17 * 16 & 255) &&
        cmyk[3] == (h * 16 & 255)) {
        return At(h);
    }
    for (int& index : high) index &= 15;
    return Mean(At(Corner(cmyk, 0.0625, Low)), At(high));
}

Triple LabToRgbTable::Pixel(const Triple& lab) const {
    const Triple values{lab[0], lab[1] + 128, lab[2] + 128};
    const int h = NumberOf(Corner(values, 0.125, High));
    if (values[0] == (h / 1089 * 8 & 255) && values[1] == Limited(h / 33) && values[2] == Limited(h)) return At(h);
    return Mean(At(Corner(values, 0.125, Low)), At(h));
}

Triple RgbToLabTable::Pixel(const Triple& rgb) const {
    const int h = NumberOf(Corner(rgb, 0.125, High));
    if (rgb[0] == (h / 1089 * 8 & 255) && rgb[1] == (h / 33 * 8 & 255) && rgb[2] == (h * 8 & 255)) return At(h);
    const Triple low = At(Corner(rgb, 0.125, Low)), high = At(h);
    Triple mean{(low[0] + high[0]) >> 1, 0, 0};
    for (size_t i = 1; i < 3; ++i) mean[i] = std::clamp((low[i] + high[i]) / 2, -128, 127);
    return mean;
}

}  // namespace zvtest
