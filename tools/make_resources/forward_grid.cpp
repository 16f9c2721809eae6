#include "forward_grid.h"

namespace zvmake {
namespace {

constexpr std::array<size_t, 4> kStrides{4096, 256, 16, 1};

struct Cell {
    size_t base = 0;
    Inks fraction{};
};

Cell Locate(const Inks& inks) {
    Cell cell;
    for (size_t ink = 0; ink < 4; ++ink) {
        const double position = inks[ink] * (kPressGridPoints - 1);
        const size_t low = static_cast<size_t>(Clamp(position, 0, kPressGridPoints - 2));
        cell.base += low * kStrides[ink];
        cell.fraction[ink] = position - static_cast<double>(low);
    }
    return cell;
}

}  // namespace

ForwardGrid::ForwardGrid(const std::vector<uint16_t>& words) {
    nodes_.reserve(words.size() / 3);
    for (size_t i = 0; i < words.size(); i += 3) {
        nodes_.push_back({words[i] / 652.8, words[i + 1] / 256.0 - 128.0, words[i + 2] / 256.0 - 128.0});
    }
}

Vec3 ForwardGrid::Lab(const Inks& inks) const {
    const Cell cell = Locate(inks);
    Vec3 lab{};
    for (size_t corner = 0; corner < 16; ++corner) {
        double weight = 1;
        size_t node = cell.base;
        for (size_t ink = 0; ink < 4; ++ink) {
            const bool high = (corner >> ink & 1) != 0;
            weight *= high ? cell.fraction[ink] : 1 - cell.fraction[ink];
            node += high ? kStrides[ink] : 0;
        }
        for (size_t i = 0; i < 3; ++i) lab[i] += weight * nodes_[node][i];
    }
    return lab;
}

Vec3 ForwardGrid::Lab(const Inks& inks, std::array<Inks, 3>& derivatives) const {
    const Cell cell = Locate(inks);
    const Inks& f = cell.fraction;
    derivatives = {};
    Vec3 lab{};
    for (size_t corner = 0; corner < 16; ++corner) {
        Inks weight{};
        size_t node = cell.base;
        for (size_t ink = 0; ink < 4; ++ink) {
            const bool high = (corner >> ink & 1) != 0;
            weight[ink] = high ? f[ink] : 1 - f[ink];
            node += high ? kStrides[ink] : 0;
        }
        const double cm = weight[0] * weight[1], yk = weight[2] * weight[3];
        const Inks others{weight[1] * yk, weight[0] * yk, cm * weight[3], cm * weight[2]};
        for (size_t i = 0; i < 3; ++i) {
            lab[i] += cm * yk * nodes_[node][i];
            for (size_t ink = 0; ink < 4; ++ink) {
                const bool high = (corner >> ink & 1) != 0;
                derivatives[i][ink] += (high ? others[ink] : -others[ink]) * nodes_[node][i];
            }
        }
    }
    for (Inks& row : derivatives) {
        for (double& derivative : row) derivative *= kPressGridPoints - 1;
    }
    return lab;
}

}  // namespace zvmake
