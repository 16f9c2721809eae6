// The emulation kernels over every input of three bytes, and over every border of the cells of CMYK.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "Common/kernels/kernels.h"
#include "tests/support/emulation_reference.h"
#include "tests/support/test_pictures.h"

namespace zv::test {
namespace {

using Bytes = std::vector<uint8_t>;
using Kernel = decltype(&ClrEmulateCmykToHub);

/// Both hub orders of one row. The reference computes red first; the other order is its mirror.
void ExpectRow(EmulationKind kind, Kernel kernel, const Bytes& table, const Bytes& pixels) {
    const Bytes wanted = ReferenceEmulationRow(kind, table, pixels, true);
    const auto count = static_cast<int32_t>(wanted.size() / 3);
    Bytes got(wanted.size());
    ASSERT_EQ(0, kernel(pixels.data(), table.data(), count, 1, 0, 0, got.data(), 1, {}));
    const auto differs = std::mismatch(wanted.begin(), wanted.end(), got.begin());
    ASSERT_TRUE(differs.first == wanted.end()) << "red first, pixel " << (differs.first - wanted.begin()) / 3;

    const auto mirrored = [](Bytes row) {
        for (size_t at = 0; at < row.size(); at += 3) std::swap(row[at], row[at + 2]);
        return row;
    };
    const bool fromHub = kind == EmulationKind::kHubToLab;
    const Bytes source = fromHub ? mirrored(pixels) : pixels;
    const Bytes blueWanted = fromHub ? wanted : mirrored(wanted);
    ASSERT_EQ(0, kernel(source.data(), table.data(), count, 1, 0, 0, got.data(), 0, {}));
    ASSERT_TRUE(std::equal(blueWanted.begin(), blueWanted.end(), got.begin())) << "blue first";
}

/// All 65,536 pixels of one first byte.
Bytes PlaneOf(int first) {
    Bytes pixels;
    pixels.reserve(size_t{3} << 16);
    for (int rest = 0; rest < 1 << 16; ++rest) {
        pixels.insert(pixels.end(),
                      {static_cast<uint8_t>(first), static_cast<uint8_t>(rest >> 8), static_cast<uint8_t>(rest)});
    }
    return pixels;
}

void ExpectEveryInput(EmulationKind kind, Kernel kernel) {
    const Bytes tables[] = {RandomTable(kind, 77), NumberedTable(kind), ExtremeTable(kind)};
    for (int first = 0; first < 256; ++first) {
        const Bytes pixels = PlaneOf(first);
        for (const Bytes& table : tables) ExpectRow(kind, kernel, table, pixels);
        if (testing::Test::HasFatalFailure()) return;
    }
}

TEST(EmulationEveryInput, HubToLab) { ExpectEveryInput(EmulationKind::kHubToLab, ClrEmulateHubToLab); }

TEST(EmulationEveryInput, LabToHub) { ExpectEveryInput(EmulationKind::kLabToHub, ClrEmulateLabToHub); }

TEST(EmulationEveryInput, BordersOfTheCellsOfCmyk) {
    constexpr EmulationKind kKind = EmulationKind::kCmykToHub;
    Bytes borders;
    for (int node = 0; node <= 256; node += 16) {
        for (const int value : {node - 1, node, node + 1}) {
            if (value >= 0 && value <= 255) borders.push_back(static_cast<uint8_t>(value));
        }
    }
    ASSERT_EQ(48U, borders.size());
    const Bytes numbered = NumberedTable(kKind);
    for (const uint8_t c : borders) {
        Bytes pixels;
        for (const uint8_t m : borders) {
            for (const uint8_t y : borders) {
                for (const uint8_t k : borders) pixels.insert(pixels.end(), {c, m, y, k});
            }
        }
        ExpectRow(kKind, ClrEmulateCmykToHub, numbered, pixels);
        if (HasFatalFailure()) return;
    }
}

TEST(EmulationEveryInput, AMillionRandomPixelsOfCmyk) {
    constexpr EmulationKind kKind = EmulationKind::kCmykToHub;
    ExpectRow(kKind, ClrEmulateCmykToHub, RandomTable(kKind, 3), RandomBytes(size_t{4} << 20, 1234));
}

}  // namespace
}  // namespace zv::test
