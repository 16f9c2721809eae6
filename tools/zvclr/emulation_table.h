// Emulation tables of the library: which there are, their grids, charts and files.
#ifndef ZVCLR_TOOLS_EMULATION_TABLE_H
#define ZVCLR_TOOLS_EMULATION_TABLE_H

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace zvtool {

/// A grid over the source space, the last axis fastest, with three bytes of the destination for each node.
struct TableGrid {
    int32_t from;
    int32_t to;
    int32_t axes;
    int32_t nodesPerAxis;
    int32_t step;  ///< between two nodes of an axis; the last one stands for 255
    int32_t side;  ///< pixels on a side of the square that holds a pixel for each node

    int64_t nodes() const;
    int64_t pixels() const { return int64_t{side} * side; }
    /// The colour of the chart's pixel; white for those behind the last node.
    std::array<uint8_t, 4> chartPixel(int64_t index) const;
    std::string name() const;  ///< "cmyk to rgb"
};

/// The table of a pair of spaces, either hub standing for rgb; null when there is none.
const TableGrid* findTable(int32_t from, int32_t to);

/// Whether a or b of a pixel is this channel, which lab pixels have signed.
bool isSignedChannel(int32_t space, int32_t channel);
/// No ink, or full light.
std::array<uint8_t, 4> whiteOf(int32_t space);

/// Throws when the library would not find in a file what this table needs, since it does not look itself.
/// Returns notes about what may be meant otherwise.
std::vector<std::string> checkTable(const std::string& path, const TableGrid& grid);

}  // namespace zvtool

#endif  // ZVCLR_TOOLS_EMULATION_TABLE_H
