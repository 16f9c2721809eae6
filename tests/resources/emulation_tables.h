// The emulation tables as grids of nodes, and the means of two nodes that pixels take from them.
#ifndef ZVCLR_TESTS_EMULATION_TABLES_H
#define ZVCLR_TESTS_EMULATION_TABLES_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace zvtest {

using Triple = std::array<int, 3>;

/// The bytes of the built-in table of this id. Throws std::runtime_error without its file.
std::vector<uint8_t> ReadEmulationTable(int id);

template <size_t Axes>
using GridNode = std::array<int, Axes>;

template <size_t Axes>
class EmulationGrid {
public:
    /// Axes after the first byte are signed where told.
    EmulationGrid(int id, int points, bool signedChroma)
        : bytes_(ReadEmulationTable(id)), points_(points), signedChroma_(signedChroma) {}

    int points() const { return points_; }
    int count() const {
        int nodes = 1;
        for (size_t axis = 0; axis < Axes; ++axis) nodes *= points_;
        return nodes;
    }
    const std::vector<uint8_t>& bytes() const { return bytes_; }

    int NumberOf(const GridNode<Axes>& node) const {
        int number = 0;
        for (const int index : node) number = number * points_ + index;
        return number;
    }
    GridNode<Axes> NodeAt(int number) const {
        GridNode<Axes> node{};
        for (size_t axis = Axes; axis-- > 0; number /= points_) node[axis] = number % points_;
        return node;
    }
    Triple At(int number) const {
        Triple triple{};
        for (size_t i = 0; i < 3; ++i) {
            const uint8_t byte = bytes_.at(static_cast<size_t>(number) * 3 + i);
            triple[i] = signedChroma_ && i > 0 ? static_cast<int8_t>(byte) : byte;
        }
        return triple;
    }
    Triple At(const GridNode<Axes>& node) const { return At(NumberOf(node)); }

private:
    std::vector<uint8_t> bytes_;
    int points_;
    bool signedChroma_;
};

struct CmykToRgbTable : EmulationGrid<4> {
    CmykToRgbTable() : EmulationGrid(111, 17, false) {}
    Triple Pixel(const std::array<int, 4>& cmyk) const;
};

struct LabToRgbTable : EmulationGrid<3> {
    LabToRgbTable() : EmulationGrid(112, 33, false) {}
    /// a and b signed.
    Triple Pixel(const Triple& lab) const;
};

struct RgbToLabTable : EmulationGrid<3> {
    RgbToLabTable() : EmulationGrid(113, 33, true) {}
    Triple Pixel(const Triple& rgb) const;
};

}  // namespace zvtest

#endif  // ZVCLR_TESTS_EMULATION_TABLES_H
