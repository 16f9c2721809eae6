// The three emulation kernels written a second time, slow and plain: cells by floor and ceil of doubles.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace zv::test {

enum class EmulationKind { kCmykToHub, kHubToLab, kLabToHub };

inline constexpr EmulationKind kEmulationKinds[] = {EmulationKind::kCmykToHub, EmulationKind::kHubToLab,
                                                    EmulationKind::kLabToHub};

constexpr size_t EmulationSourceBytes(EmulationKind kind) { return kind == EmulationKind::kCmykToHub ? 4 : 3; }
/// Bytes of the grid, all that may be read of a table.
constexpr size_t EmulationGridBytes(EmulationKind kind) {
    return kind == EmulationKind::kCmykToHub ? size_t{250563} : size_t{107811};
}

enum class EmulationShortcuts { kTaken, kLeftOut };

using EmulationPixel = std::array<uint8_t, 3>;

/// `pixel` as it stands in the image: CMYK, hub by `rgbFirst`, or Lab; so is the result.
EmulationPixel ReferenceEmulation(EmulationKind kind, const std::vector<uint8_t>& table, const uint8_t* pixel,
                                  bool rgbFirst, EmulationShortcuts shortcuts = EmulationShortcuts::kTaken);

/// A packed row of pixels.
std::vector<uint8_t> ReferenceEmulationRow(EmulationKind kind, const std::vector<uint8_t>& table,
                                           const std::vector<uint8_t>& pixels, bool rgbFirst);

// Tables. Every one ends with its grid.
std::vector<uint8_t> RandomTable(EmulationKind kind, uint32_t seed);
/// Each node holds its own number: low, middle and high byte.
std::vector<uint8_t> NumberedTable(EmulationKind kind);
/// Every byte is -128, -127, 127 or one beside zero, as the node's number says.
std::vector<uint8_t> ExtremeTable(EmulationKind kind);

}  // namespace zv::test
