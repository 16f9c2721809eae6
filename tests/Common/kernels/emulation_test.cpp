// The three emulation kernels on hand-made tables, against a plain second writing of them, and on their buffers.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <initializer_list>
#include <vector>

#include "Common/kernels/emulation.h"
#include "Common/kernels/kernels.h"
#include "tests/Common/kernels/few_pixels.h"
#include "tests/support/emulation_reference.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/test_pictures.h"

namespace zv::test {
namespace {

using Side = GuardedBuffer::Side;
using Kernel = decltype(&ClrEmulateCmykToHub);

constexpr int32_t kRgbFirst = 1;
constexpr int32_t kBgrFirst = 0;

Kernel KernelOf(EmulationKind kind) {
    switch (kind) {
        case EmulationKind::kCmykToHub:
            return ClrEmulateCmykToHub;
        case EmulationKind::kHubToLab:
            return ClrEmulateHubToLab;
        case EmulationKind::kLabToHub:
            return ClrEmulateLabToHub;
    }
    return nullptr;
}

std::string NameOf(EmulationKind kind) {
    switch (kind) {
        case EmulationKind::kCmykToHub:
            return "CmykToHub";
        case EmulationKind::kHubToLab:
            return "HubToLab";
        case EmulationKind::kLabToHub:
            return "LabToHub";
    }
    return "";
}

/// A table made node by node; an unreadable page stands right behind the grid.
class GridTable {
public:
    explicit GridTable(EmulationKind kind, uint8_t fill = 0)
        : kind_(kind), bytes_(EmulationGridBytes(kind), Side::kBack, fill) {}
    GridTable(EmulationKind kind, const Bytes& bytes) : GridTable(kind) {
        EXPECT_EQ(bytes_.Size(), bytes.size());
        std::copy(bytes.begin(), bytes.end(), bytes_.begin());
    }

    void Set(std::initializer_list<int> index, std::array<int, 3> value) {
        size_t node = 0;
        for (const int i : index)
            node = node * (kind_ == EmulationKind::kCmykToHub ? 17U : 33U) + static_cast<size_t>(i);
        for (size_t k = 0; k < 3; ++k) bytes_.Data()[node * 3 + k] = Signed(value[k]);
    }

    Bytes Convert(const Bytes& pixels, int32_t rgbFirst = kRgbFirst) const {
        const size_t count = pixels.size() / EmulationSourceBytes(kind_);
        Bytes out(count * 3, 0xCC);
        EXPECT_EQ(0, KernelOf(kind_)(pixels.data(), bytes_.Data(), static_cast<int32_t>(count), 1, 0, 0, out.data(),
                                     rgbFirst, {}));
        return out;
    }

    const uint8_t* Data() const { return bytes_.Data(); }

private:
    EmulationKind kind_;
    GuardedBuffer bytes_;
};

Bytes Pixel3(int first, int second, int third) { return {Signed(first), Signed(second), Signed(third)}; }

// --- CMYK -----------------------------------------------------------------------------------------------------------

/// The nodes of a print process that the examples need.
struct PrintProcess : GridTable {
    PrintProcess() : GridTable(EmulationKind::kCmykToHub) {
        Set({0, 0, 0, 0}, {255, 255, 255});
        Set({0, 0, 0, 1}, {243, 243, 243});
        Set({0, 0, 0, 15}, {22, 22, 22});
        Set({0, 0, 0, 16}, {0, 0, 0});
        Set({1, 0, 0, 0}, {244, 249, 254});
        Set({15, 0, 0, 0}, {0, 179, 235});
        Set({16, 0, 0, 0}, {0, 178, 236});
        Set({15, 15, 15, 15}, {1, 1, 1});
    }
};

TEST(EmulateCmykToHub, PrintProcess) {
    const PrintProcess table;
    EXPECT_EQ(Pixel3(255, 255, 255), table.Convert({0, 0, 0, 0}));
    EXPECT_EQ(Pixel3(22, 22, 22), table.Convert({0, 0, 0, 240}));
    EXPECT_EQ(Pixel3(138, 138, 138), table.Convert({0, 0, 0, 255})) << "white and the node of 240";
    EXPECT_EQ(Pixel3(128, 128, 128), table.Convert({255, 255, 255, 255})) << "not black";
    EXPECT_EQ(Pixel3(127, 217, 245), table.Convert({255, 0, 0, 0}));
    EXPECT_EQ(Pixel3(0, 179, 235), table.Convert({240, 0, 0, 0}));
    EXPECT_EQ(Pixel3(249, 252, 254), table.Convert({8, 0, 0, 0}));
    EXPECT_EQ(Pixel3(243, 243, 243), table.Convert({0, 0, 0, 16}));
}

TEST(EmulateCmykToHub, HubOrder) {
    const PrintProcess table;
    EXPECT_EQ(Pixel3(0, 179, 235), table.Convert({240, 0, 0, 0}, kRgbFirst));
    EXPECT_EQ(Pixel3(235, 179, 0), table.Convert({240, 0, 0, 0}, kBgrFirst));
    EXPECT_EQ(Pixel3(0, 179, 235), table.Convert({240, 0, 0, 0}, -1)) << "any number but 0 is red first";
}

TEST(EmulateCmykToHub, BlackIsTheFastestAxis) {
    const GridTable table(EmulationKind::kCmykToHub, NumberedTable(EmulationKind::kCmykToHub));
    // ((1 * 17 + 2) * 17 + 3) * 17 + 4 = 5546 = 0x15AA
    EXPECT_EQ(Pixel3(0xAA, 0x15, 0), table.Convert({16, 32, 48, 64}));
    EXPECT_EQ(Pixel3(1, 0, 0), table.Convert({0, 0, 0, 16}));
    EXPECT_EQ(Pixel3(17, 0, 0), table.Convert({0, 0, 16, 0}));
    EXPECT_EQ(Pixel3(0x21, 1, 0), table.Convert({0, 16, 0, 0}));     // 289
    EXPECT_EQ(Pixel3(0x31, 0x13, 0), table.Convert({16, 0, 0, 0}));  // 4913
}

TEST(EmulateCmykToHub, MeanOfTheCornersOfTheCell) {
    GridTable table(EmulationKind::kCmykToHub, 0x77);
    table.Set({2, 3, 4, 5}, {10, 21, 255});
    table.Set({3, 4, 5, 6}, {13, 22, 254});
    for (const int inside : {1, 8, 15}) {
        EXPECT_EQ(Pixel3(11, 21, 254),
                  table.Convert({Signed(32 + inside), Signed(48 + inside), Signed(64 + inside), Signed(80 + inside)}))
            << inside << ", other corners play no part";
    }
}

TEST(EmulateCmykToHub, AxesOnANodeHaveOneIndex) {
    GridTable table(EmulationKind::kCmykToHub, 0x77);
    table.Set({2, 3, 4, 5}, {100, 0, 0});
    table.Set({2, 3, 4, 6}, {200, 0, 0});
    table.Set({3, 3, 4, 5}, {50, 0, 0});
    EXPECT_EQ(150, table.Convert({32, 48, 64, 81})[0]);
    EXPECT_EQ(75, table.Convert({33, 48, 64, 80})[0]);
    EXPECT_EQ(100, table.Convert({32, 48, 64, 80})[0]);
}

TEST(EmulateCmykToHub, ValuesAbove240TakeTheirHighCornerFromTheStartOfTheAxis) {
    for (size_t axis = 0; axis < 4; ++axis) {
        GridTable table(EmulationKind::kCmykToHub, 0x77);
        table.Set({0, 0, 0, 0}, {200, 200, 200});
        std::array<int, 4> last{}, top{};
        last[axis] = 15;
        top[axis] = 16;
        table.Set({last[0], last[1], last[2], last[3]}, {100, 100, 100});
        table.Set({top[0], top[1], top[2], top[3]}, {1, 1, 1});
        Bytes pixel(4, 0);
        pixel[axis] = 240;
        EXPECT_EQ(Pixel3(100, 100, 100), table.Convert(pixel)) << axis;
        for (const uint8_t value : {uint8_t{241}, uint8_t{248}, uint8_t{255}}) {
            pixel[axis] = value;
            EXPECT_EQ(Pixel3(150, 150, 150), table.Convert(pixel)) << axis << ", " << int{value};
        }
    }
}

Bytes FourOf(std::initializer_list<uint8_t> values) {
    Bytes pixels;
    for (const uint8_t c : values) {
        for (const uint8_t m : values) {
            for (const uint8_t y : values) {
                for (const uint8_t k : values) pixels.insert(pixels.end(), {c, m, y, k});
            }
        }
    }
    return pixels;
}

TEST(EmulateCmykToHub, NodesOfFullInkServeNoPixel) {
    Bytes bytes(EmulationGridBytes(EmulationKind::kCmykToHub), 0);
    for (size_t node = 0; node < bytes.size() / 3; ++node) {
        const bool top = node % 17 == 16 || node / 17 % 17 == 16 || node / 289 % 17 == 16 || node / 4913 == 16;
        for (size_t k = 0; k < 3; ++k) bytes[node * 3 + k] = top ? 255 : 0;
    }
    const GridTable table(EmulationKind::kCmykToHub, bytes);
    const Bytes out = table.Convert(FourOf({0, 15, 16, 128, 239, 240, 241, 248, 255}));
    EXPECT_TRUE(std::all_of(out.begin(), out.end(), [](uint8_t byte) { return byte == 0; }));
}

// --- Hub to Lab -----------------------------------------------------------------------------------------------------

TEST(EmulateHubToLab, NodesOfAMeasuredTable) {
    GridTable table(EmulationKind::kHubToLab);
    table.Set({0, 0, 0}, {0, 0, 0});
    table.Set({0, 0, 1}, {1, 0, -3});
    table.Set({16, 16, 16}, {137, 0, 0});
    table.Set({31, 31, 31}, {249, 0, 0});
    table.Set({32, 32, 32}, {255, 0, 0});
    table.Set({31, 0, 0}, {134, 79, 69});
    table.Set({32, 0, 0}, {138, 81, 70});
    EXPECT_EQ(Pixel3(0, 0, 0), table.Convert({0, 0, 0}));
    EXPECT_EQ(Pixel3(1, 0, -3), table.Convert({0, 0, 8}));
    EXPECT_EQ(Pixel3(137, 0, 0), table.Convert({128, 128, 128}));
    EXPECT_EQ(Pixel3(252, 0, 0), table.Convert({255, 255, 255})) << "the nodes of 248 and 255";
    EXPECT_EQ(Pixel3(136, 80, 69), table.Convert({255, 0, 0}));
}

TEST(EmulateHubToLab, BlueIsTheFastestAxisOfEitherHub) {
    const GridTable table(EmulationKind::kHubToLab, NumberedTable(EmulationKind::kHubToLab));
    // (3 * 33 + 2) * 33 + 1 = 3334 = 0x0D06
    EXPECT_EQ(Pixel3(0x06, 0x0D, 0), table.Convert({24, 16, 8}, kRgbFirst));
    EXPECT_EQ(Pixel3(0x06, 0x0D, 0), table.Convert({8, 16, 24}, kBgrFirst));
    EXPECT_EQ(Pixel3(0x41, 0x04, 0), table.Convert({8, 0, 0}, kRgbFirst));  // 1089
    EXPECT_EQ(Pixel3(1, 0, 0), table.Convert({8, 0, 0}, kBgrFirst));
    EXPECT_EQ(Pixel3(33, 0, 0), table.Convert({0, 8, 0}, kBgrFirst));
}

TEST(EmulateHubToLab, LightnessIsUnsignedAndTheOthersGoTowardZero) {
    struct Case {
        std::array<int, 3> low, high, mean;
    };
    constexpr Case kCases[] = {
        {{0, 0, 0}, {1, 1, -1}, {0, 0, 0}},
        {{255, -3, 3}, {254, 0, 0}, {254, -1, 1}},
        {{255, -128, 127}, {0, -128, 127}, {127, -128, 127}},
        {{128, -128, -127}, {127, 127, -128}, {127, 0, -127}},
        {{200, 127, -128}, {201, -128, 1}, {200, 0, -63}},
        {{1, -5, 5}, {2, -6, 6}, {1, -5, 5}},
        {{0, -1, 100}, {255, 2, 101}, {127, 0, 100}},
    };
    for (const Case& c : kCases) {
        GridTable table(EmulationKind::kHubToLab, 0x77);
        table.Set({4, 5, 6}, c.low);
        table.Set({5, 6, 7}, c.high);
        for (const int inside : {1, 4, 7}) {
            EXPECT_EQ(Pixel3(c.mean[0], c.mean[1], c.mean[2]),
                      table.Convert({Signed(32 + inside), Signed(40 + inside), Signed(48 + inside)}))
                << c.low[1] << " and " << c.high[1];
        }
    }
}

TEST(EmulateHubToLab, TopNodesServeTheTopCells) {
    for (size_t axis = 0; axis < 3; ++axis) {
        GridTable table(EmulationKind::kHubToLab);
        std::array<int, 3> last{}, top{};
        last[axis] = 31;
        top[axis] = 32;
        table.Set({last[0], last[1], last[2]}, {100, 50, -50});
        table.Set({top[0], top[1], top[2]}, {200, 60, -70});
        Bytes pixel(3, 0);
        pixel[axis] = 248;
        EXPECT_EQ(Pixel3(100, 50, -50), table.Convert(pixel)) << axis;
        for (const uint8_t value : {uint8_t{249}, uint8_t{255}}) {
            pixel[axis] = value;
            EXPECT_EQ(Pixel3(150, 55, -60), table.Convert(pixel)) << axis << ", " << int{value};
        }
    }
}

// --- Lab to hub -----------------------------------------------------------------------------------------------------

TEST(EmulateLabToHub, NodesOfAMeasuredTable) {
    GridTable table(EmulationKind::kLabToHub);
    table.Set({16, 16, 16}, {119, 119, 119});
    table.Set({0, 31, 31}, {0, 0, 0});
    table.Set({0, 32, 32}, {118, 0, 61});
    table.Set({31, 16, 16}, {247, 247, 247});
    table.Set({32, 16, 16}, {255, 255, 255});
    EXPECT_EQ(Pixel3(119, 119, 119), table.Convert(Pixel3(128, 0, 0)));
    EXPECT_EQ(Pixel3(118, 0, 61), table.Convert(Pixel3(0, 127, 127))) << "the top node and no mean";
    EXPECT_EQ(Pixel3(61, 0, 118), table.Convert(Pixel3(0, 127, 127), kBgrFirst));
    EXPECT_EQ(Pixel3(251, 251, 251), table.Convert(Pixel3(255, 0, 0)));
}

TEST(EmulateLabToHub, AxesOfAAndBBeginAtMinus128) {
    const GridTable table(EmulationKind::kLabToHub, NumberedTable(EmulationKind::kLabToHub));
    EXPECT_EQ(Pixel3(0, 0, 0), table.Convert(Pixel3(0, -128, -128)));
    EXPECT_EQ(Pixel3(1, 0, 0), table.Convert(Pixel3(0, -128, -120)));
    EXPECT_EQ(Pixel3(33, 0, 0), table.Convert(Pixel3(0, -120, -128)));
    EXPECT_EQ(Pixel3(0x41, 0x04, 0), table.Convert(Pixel3(8, -128, -128)));  // 1089
    // (16 * 33 + 16) * 33 + 16 = 17968 = 0x4630
    EXPECT_EQ(Pixel3(0x30, 0x46, 0), table.Convert(Pixel3(128, 0, 0)));
    // (5 * 33 + 17) * 33 + 15 = 6021 = 0x1785
    EXPECT_EQ(Pixel3(0x85, 0x17, 0), table.Convert(Pixel3(40, 8, -8)));
}

TEST(EmulateLabToHub, MeansOfBytesAreUnsigned) {
    GridTable table(EmulationKind::kLabToHub, 0x77);
    table.Set({4, 15, 16}, {255, 1, 0});
    table.Set({5, 16, 17}, {254, 2, 255});
    for (const int inside : {1, 4, 7}) {
        EXPECT_EQ(Pixel3(254, 1, 127), table.Convert(Pixel3(32 + inside, -8 + inside, inside)));
    }
}

TEST(EmulateLabToHub, TopNodeStandsAloneWhereItsNumberPassesTheTest) {
    struct Case {
        int light, a, b;
        bool alone;
    };
    constexpr Case kCases[] = {
        {0, 127, 127, true},   {8, 127, 127, true},    {16, 127, 127, true},
        {24, 127, 127, false},                         // node 4355: its low byte is 3
        {32, 127, 127, true},  {56, 127, 127, false},  // node 8711: a 33rd of it has a low byte of 7
        {128, 127, 127, true}, {255, 127, 127, false}, {0, -128, 127, true},
        {0, 0, 127, true},     {0, 112, 127, true},    {0, 120, 127, false},  // node 1055: 31
        {8, -128, 127, false}, {0, 127, -128, false},  {0, 127, 0, false},
        {1, 127, 127, false},  {0, 126, 127, false},   {0, 127, 126, false},
    };
    for (const Case& c : kCases) {
        GridTable table(EmulationKind::kLabToHub, 200);
        const auto low = [](int value) { return value / 8; };
        const auto high = [](int value) { return (value + 7) / 8; };
        const int a = c.a + 128, b = c.b + 128;
        table.Set({low(c.light), low(a), low(b)}, {0, 10, 100});
        table.Set({high(c.light), high(a), high(b)}, {50, 20, 255});
        EXPECT_EQ(c.alone ? Pixel3(50, 20, 255) : Pixel3(25, 15, 177), table.Convert(Pixel3(c.light, c.a, c.b)))
            << c.light << ", " << c.a << ", " << c.b;
    }
}

// --- Against the second writing -------------------------------------------------------------------------------------

class Emulation : public testing::TestWithParam<EmulationKind> {};

/// Borders of cells on every axis, a stride through all inputs, and random pixels.
Bytes SampleOf(EmulationKind kind) {
    Bytes pixels;
    if (kind == EmulationKind::kCmykToHub) {
        pixels = FourOf({0, 1, 15, 16, 17, 128, 239, 240, 241, 255});
    } else {
        constexpr uint8_t kEighths[] = {0, 1, 7, 8, 9, 119, 120, 121, 127, 128, 129, 247, 248, 249, 254, 255};
        for (const uint8_t first : kEighths) {
            for (const uint8_t second : kEighths) {
                for (const uint8_t third : kEighths) pixels.insert(pixels.end(), {first, second, third});
            }
        }
        for (uint32_t i = 0; i < 1U << 24; i += 2503) {
            for (const int shift : {16, 8, 0}) pixels.push_back(static_cast<uint8_t>(i >> shift));
        }
    }
    const Bytes random = RandomBytes(EmulationSourceBytes(kind) * 4000, 99);
    pixels.insert(pixels.end(), random.begin(), random.end());
    return pixels;
}

TEST_P(Emulation, WritesWhatItsDefinitionSays) {
    const EmulationKind kind = GetParam();
    const Bytes pixels = SampleOf(kind);
    for (const Bytes& bytes : {RandomTable(kind, 5), NumberedTable(kind), ExtremeTable(kind)}) {
        const GridTable table(kind, bytes);
        for (const int32_t rgbFirst : {kRgbFirst, kBgrFirst}) {
            const Bytes wanted = ReferenceEmulationRow(kind, bytes, pixels, rgbFirst != 0);
            const Bytes got = table.Convert(pixels, rgbFirst);
            ASSERT_EQ(wanted.size(), got.size());
            const auto differs = std::mismatch(wanted.begin(), wanted.end(), got.begin());
            ASSERT_TRUE(differs.first == wanted.end())
                << "red first " << rgbFirst << ", pixel " << (differs.first - wanted.begin()) / 3;
        }
    }
}

TEST_P(Emulation, ShortcutsChangeResultsOnlyFromLabAtTheTop) {
    const EmulationKind kind = GetParam();
    const Bytes bytes = NumberedTable(kind);
    // The tests compare with multiples of the node step, and with 255 for a and b: no other pixel can pass them.
    Bytes steps;
    for (int value = 0; value < 256; value += kind == EmulationKind::kCmykToHub ? 16 : 8)
        steps.push_back(Signed(value));
    if (kind == EmulationKind::kLabToHub) steps.push_back(255);
    Bytes pixels;
    for (const uint8_t first : steps) {
        for (const uint8_t second : steps) {
            for (const uint8_t third : steps) {
                if (kind == EmulationKind::kCmykToHub) {
                    for (const uint8_t fourth : steps) pixels.insert(pixels.end(), {first, second, third, fourth});
                } else if (kind == EmulationKind::kLabToHub) {
                    // 255 on these axes is a or b of 127.
                    pixels.insert(pixels.end(), {first, Signed(second ^ 0x80), Signed(third ^ 0x80)});
                } else {
                    pixels.insert(pixels.end(), {first, second, third});
                }
            }
        }
    }
    const Bytes got = GridTable(kind, bytes).Convert(pixels);
    int changed = 0, wrong = 0;
    for (size_t i = 0; i * 3 < got.size(); ++i) {
        const uint8_t* pixel = pixels.data() + i * EmulationSourceBytes(kind);
        const EmulationPixel mean = ReferenceEmulation(kind, bytes, pixel, true, EmulationShortcuts::kLeftOut);
        if (std::equal(mean.begin(), mean.end(), got.begin() + static_cast<ptrdiff_t>(i * 3))) continue;
        ++changed;
        if (kind != EmulationKind::kLabToHub || pixel[2] != 127) ++wrong;
    }
    EXPECT_EQ(0, wrong) << "other pixels than those with b at the top";
    EXPECT_EQ(kind == EmulationKind::kLabToHub, changed > 0);
}

// --- Buffers --------------------------------------------------------------------------------------------------------

size_t Clamped(int32_t extra) { return extra < 1 ? 0 : static_cast<size_t>(extra); }

constexpr int32_t kMostWidth = 130;
constexpr size_t kMostExtra = 64;

TEST_P(Emulation, WritesRowsAndNoOtherBytes) {
    const EmulationKind kind = GetParam();
    const size_t pixelBytes = EmulationSourceBytes(kind);
    const Bytes table = RandomTable(kind, 8);
    const GridTable grid(kind, table);
    constexpr size_t kMostHeight = 3;
    constexpr int32_t kPaddings[] = {-5, 0, 1, 3, 64};
    const size_t room = (size_t{kMostWidth} * 4 + kMostExtra) * kMostHeight;
    const Bytes random = RandomBytes(room, 12);
    GuardedBuffer sources[] = {GuardedBuffer(room, Side::kFront), GuardedBuffer(room, Side::kBack)};
    GuardedBuffer destinations[] = {GuardedBuffer(room, Side::kFront), GuardedBuffer(room, Side::kBack)};
    for (GuardedBuffer& source : sources) {
        std::copy(random.begin(), random.end(), source.begin());
        source.MakeReadOnly();
    }
    for (int32_t width = 1; width <= kMostWidth; ++width) {
        for (size_t i = 0; i < std::size(kPaddings); ++i) {
            const auto turn = static_cast<size_t>(width) + i;
            const size_t height = 1 + turn % kMostHeight, side = turn % 2;
            const int32_t sourceExtra = kPaddings[i], extra = kPaddings[turn * 3 % std::size(kPaddings)];
            const int32_t rgbFirst = turn % 4 < 2 ? kRgbFirst : kBgrFirst;
            const size_t sourceRow = static_cast<size_t>(width) * pixelBytes, row = static_cast<size_t>(width) * 3;
            const size_t sourceSize = (sourceRow + Clamped(sourceExtra)) * height;
            const size_t size = (row + Clamped(extra)) * height;
            const uint8_t* source = side == 0 ? sources[0].begin() : sources[1].end() - sourceSize;
            destinations[side].Fill(0xCD);
            uint8_t* destination = side == 0 ? destinations[0].begin() : destinations[1].end() - size;

            ASSERT_EQ(0, KernelOf(kind)(source, grid.Data(), width, static_cast<int32_t>(height), sourceExtra, extra,
                                        destination, rgbFirst, {}));
            Bytes wanted(room, 0xCD);
            const size_t from = side == 0 ? 0 : room - size;
            for (size_t y = 0; y < height; ++y) {
                const uint8_t* line = source + y * (sourceRow + Clamped(sourceExtra));
                const Bytes out = ReferenceEmulationRow(kind, table, {line, line + sourceRow}, rgbFirst != 0);
                std::copy(out.begin(), out.end(),
                          wanted.begin() + static_cast<ptrdiff_t>(from + y * (row + Clamped(extra))));
            }
            ASSERT_EQ(0, std::memcmp(wanted.data(), destinations[side].Data(), room))
                << width << " x " << height << ", paddings " << sourceExtra << " and " << extra;
        }
    }
}

TEST_P(Emulation, RunsInPlaceWhenPixelsHaveOneSize) {
    const EmulationKind kind = GetParam();
    const bool oneSize = EmulationSourceBytes(kind) == 3;
    EXPECT_EQ(kind != EmulationKind::kCmykToHub, oneSize);
    const Bytes table = RandomTable(kind, 8);
    for (int32_t width = 1; oneSize && width <= kMostWidth; width += 3) {
        Bytes image = RandomBytes(static_cast<size_t>(width) * 3, 4);
        const Bytes wanted = ReferenceEmulationRow(kind, table, image, true);
        ASSERT_EQ(0, KernelOf(kind)(image.data(), table.data(), width, 1, 0, 0, image.data(), kRgbFirst, {}));
        ASSERT_EQ(wanted, image) << width;
    }
}

TEST_P(Emulation, NodesBehindTheGridAreNotThere) {
    const EmulationKind kind = GetParam();
    // Both ends of every axis, with the page behind the last node unreadable.
    Bytes table = RandomTable(kind, 31);
    const Bytes ends = kind == EmulationKind::kCmykToHub ? Bytes{255, 255, 255, 255, 240, 240, 240, 240, 0, 0, 0, 0}
                                                         : Bytes{255, 255, 255, 255, 127, 127, 0, 0, 0};
    const GridTable grid(kind, table);
    EXPECT_EQ(ReferenceEmulationRow(kind, table, ends, true), grid.Convert(ends));
    EXPECT_EQ(ReferenceEmulationRow(kind, table, ends, false), grid.Convert(ends, kBgrFirst));
}

TEST_P(Emulation, NothingIsWrittenWithoutATable) {
    const EmulationKind kind = GetParam();
    const Bytes source(40, 7);
    Bytes destination(30, 0x5A);
    EXPECT_GT(0, KernelOf(kind)(source.data(), nullptr, 10, 1, 0, 0, destination.data(), kRgbFirst, {}));
    EXPECT_EQ(Bytes(30, 0x5A), destination);
}

TEST_P(Emulation, BuffersOutOfReachAreRefusedBeforeAnyByteIsWritten) {
    const EmulationKind kind = GetParam();
    const Kernel kernel = KernelOf(kind);
    const Bytes table = RandomTable(kind, 8);
    constexpr int32_t kWidth = 10, kHeight = 3, kExtra = 2;
    const size_t sourceSize = (kWidth * EmulationSourceBytes(kind) + kExtra) * kHeight;
    constexpr size_t kSize = (kWidth * 3 + kExtra) * kHeight;
    GuardedBuffer source(sourceSize, Side::kBack, 9), destination(kSize, Side::kBack, 0x5A);
    const auto run = [&](const uint8_t* from, uint8_t* to) {
        return kernel(from, table.data(), kWidth, kHeight, kExtra, kExtra, to, kRgbFirst, {});
    };
    const auto untouched = [&] {
        return std::all_of(destination.begin(), destination.end(), [](uint8_t byte) { return byte == 0x5A; });
    };
    EXPECT_EQ(ERR_INVALID_PARAMETER, run(nullptr, destination.Data()));
    EXPECT_EQ(ERR_INVALID_PARAMETER, run(source.Data() + 1, destination.Data())) << "the last row's padding counts";
    EXPECT_TRUE(untouched());
    EXPECT_EQ(ERR_INVALID_PARAMETER, run(source.Data(), nullptr));
    EXPECT_EQ(ERR_INVALID_PARAMETER, run(source.Data(), destination.Data() + 1));
    EXPECT_TRUE(untouched());

    source.MakeUnreadable();
    EXPECT_EQ(ERR_INVALID_PARAMETER, run(source.Data(), destination.Data()));
    EXPECT_TRUE(untouched());
    source.MakeReadOnly();
    destination.MakeReadOnly();
    EXPECT_EQ(ERR_INVALID_PARAMETER, run(source.Data(), destination.Data()));
    EXPECT_TRUE(untouched());
    destination.MakeWritable();
    EXPECT_EQ(0, run(source.Data(), destination.Data()));
    EXPECT_FALSE(untouched());
}

TEST_P(Emulation, ImagesWithoutRowsWriteNothing) {
    const EmulationKind kind = GetParam();
    const Bytes table = RandomTable(kind, 8), source(40, 200);
    Bytes destination(30, 0x5A);
    EXPECT_EQ(0, KernelOf(kind)(source.data(), table.data(), 10, 0, 0, 0, destination.data(), kRgbFirst, {}));
    EXPECT_EQ(0, KernelOf(kind)(source.data(), table.data(), 0, 1, 0, 0, destination.data(), kRgbFirst, {}));
    EXPECT_EQ(Bytes(30, 0x5A), destination);
}

INSTANTIATE_TEST_SUITE_P(Kernels, Emulation, testing::ValuesIn(kEmulationKinds),
                         [](const auto& test) { return NameOf(test.param); });

}  // namespace
}  // namespace zv::test
