#include "tests/resources/emulation_tables.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

#include "tests/support/emulation_reference.h"

namespace zvtest {
namespace {

using zv::test::EmulationKind;

/// Red first; a and b signed where told.
template <size_t Channels>
Triple PixelBy(EmulationKind kind, const std::vector<uint8_t>& table, const std::array<int, Channels>& values,
               bool signedChroma = false) {
    uint8_t source[Channels];
    for (size_t i = 0; i < Channels; ++i) source[i] = static_cast<uint8_t>(values[i]);
    const zv::test::EmulationPixel pixel = zv::test::ReferenceEmulation(kind, table, source, true);
    Triple triple{};
    for (size_t i = 0; i < 3; ++i) triple[i] = signedChroma && i > 0 ? static_cast<int8_t>(pixel[i]) : pixel[i];
    return triple;
}

}  // namespace

std::vector<uint8_t> ReadEmulationTable(int id) {
    std::ifstream file(ZVCLR_TABLE_FOLDER "/" + std::to_string(id) + ".et", std::ios::binary);
    if (!file) throw std::runtime_error("no emulation table " + std::to_string(id));
    return {std::istreambuf_iterator<char>(file), {}};
}

Triple CmykToRgbTable::Pixel(const std::array<int, 4>& cmyk) const {
    return PixelBy(EmulationKind::kCmykToHub, bytes(), cmyk);
}

Triple LabToRgbTable::Pixel(const Triple& lab) const { return PixelBy(EmulationKind::kLabToHub, bytes(), lab); }

Triple RgbToLabTable::Pixel(const Triple& rgb) const { return PixelBy(EmulationKind::kHubToLab, bytes(), rgb, true); }

}  // namespace zvtest
