// Areas of one colour and of greys, which rows may take shorter ways for: every kernel under each instruction set
// against its definition.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "tests/support/frame_fixture.h"
#include "tests/support/instruction_sets.h"
#include "tests/support/kernel_cases.h"

namespace zv::test {
namespace {

constexpr int32_t kWidth = 200;  // full runs of every width, and a tail

class FlatAreas : public testing::TestWithParam<KernelCase> {};

void ExpectDefinition(const KernelCase& kernel, const std::vector<uint8_t>& source, int32_t height) {
    std::vector<uint8_t> wanted(kernel.DestinationBytes(kWidth, height)), got(wanted.size());
    for (const int32_t rgbFirst : {0, 1}) {
        kernel.define(source.data(), wanted.data(), kWidth, height, rgbFirst != 0);
        for (const ClrIsa isa : InstructionSets()) {
            const UseIsa use(isa);
            std::fill(got.begin(), got.end(), uint8_t{0x5A});
            ASSERT_EQ(CLR_SUCCESS, kernel.run(source.data(), got.data(), kWidth, height, 0, 0, rgbFirst));
            const auto differs = std::mismatch(got.begin(), got.end(), wanted.begin());
            ASSERT_EQ(got.end(), differs.first)
                << testing::PrintToString(isa) << ", red first " << rgbFirst << ", byte " << differs.first - got.begin()
                << ": " << int{*differs.first} << " and not " << int{*differs.second};
        }
    }
}

TEST_P(FlatAreas, EachByteAlone) {
    const HostScope host;
    const int32_t height = GetParam().heightMultiple;
    for (int value = 0; value < 256; ++value) {
        ExpectDefinition(GetParam(),
                         std::vector<uint8_t>(GetParam().SourceBytes(kWidth, height), static_cast<uint8_t>(value)),
                         height);
        if (HasFatalFailure()) return;
    }
}

TEST_P(FlatAreas, GreysOfAllKindsSideBySide) {
    const HostScope host;
    constexpr int32_t kHeight = 64;
    std::mt19937 random(1);
    std::vector<uint8_t> source(GetParam().SourceBytes(kWidth, kHeight));
    const size_t pixel = GetParam().sourceBits % 8 == 0 ? static_cast<size_t>(GetParam().sourceBits / 8) : 1;
    uint8_t value = 0;
    for (size_t i = 0; i < source.size(); ++i) {
        if (i % pixel == 0) value = static_cast<uint8_t>(random());
        source[i] = value;
    }
    ExpectDefinition(GetParam(), source, kHeight);
}

/// Most pixels are like the one before; every other new one is a grey.
TEST_P(FlatAreas, ColoursThatStayForAWhile) {
    const HostScope host;
    constexpr int32_t kHeight = 256;
    std::mt19937 random(2);
    std::vector<uint8_t> source(GetParam().SourceBytes(kWidth, kHeight));
    const size_t pixel = GetParam().sourceBits % 8 == 0 ? static_cast<size_t>(GetParam().sourceBits / 8) : 1;
    uint8_t colour[4] = {};
    for (size_t i = 0; i < source.size(); ++i) {
        if (i % pixel == 0 && random() % 16 == 0) {
            const bool isGrey = random() % 2 == 0;
            for (uint8_t& byte : colour) byte = isGrey && &byte != colour ? colour[0] : static_cast<uint8_t>(random());
        }
        source[i] = colour[i % pixel];
    }
    ExpectDefinition(GetParam(), source, kHeight);
}

INSTANTIATE_TEST_SUITE_P(Kernels, FlatAreas, testing::ValuesIn(KernelCases()),
                         [](const auto& test) { return KernelCaseName(test.param); });

}  // namespace
}  // namespace zv::test
