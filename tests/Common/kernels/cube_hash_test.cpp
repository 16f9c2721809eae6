// Two million colours through every kernel: the same bytes on every system, compiler and build type, and under every
// instruction set. AVX-512 has fused multiply-adds, which would change some.
#include <gtest/gtest.h>

#include <vector>

#include "Common/kernels/kernels.h"
#include "tests/Common/kernels/kernel_hashes.h"
#include "tests/support/instruction_sets.h"
#include "tests/support/kernel_cases.h"
#include "tests/support/test_pictures.h"

namespace zv::test {

namespace {

class CubeHash : public testing::TestWithParam<KernelCase> {};

TEST_P(CubeHash, IsTheSameEverywhere) {
    const KernelCase& kernel = GetParam();
    const ColourCube cube = ColourCube::Half();
    ColourCube::Image image;
    std::vector<uint8_t> got;
    std::vector<Hash> hashes(InstructionSets().size());
    for (int32_t number = 0; number < cube.ImageCount(kernel); ++number) {
        cube.Fill(kernel, number, 200, &image);
        for (size_t i = 0; i < hashes.size(); ++i) {
            const UseIsa use(InstructionSets()[i]);
            got.assign(kernel.DestinationBytes(image.width, image.height), 0x5A);
            ASSERT_EQ(CLR_SUCCESS, kernel.run(image.bytes.data(), got.data(), image.width, image.height, 0, 0, 1));
            hashes[i].Add(got);
        }
    }
    for (size_t i = 0; i < hashes.size(); ++i) {
        SCOPED_TRACE(testing::PrintToString(InstructionSets()[i]));
        ExpectHash(kCubeHashes, kernel.name, hashes[i].Value());
    }
}

INSTANTIATE_TEST_SUITE_P(Kernels, CubeHash, testing::ValuesIn(KernelCases()),
                         [](const auto& test) { return KernelCaseName(test.param); });

TEST(CubeHashes, NameEachKernelOnce) { ExpectNames(kCubeHashes); }

TEST(KernelCases, HoldBothKernelsOfEveryPair) {
    for (const ClrKernelPair& pair : kKernelPairs) {
        for (const char* name : {pair.fromHubName, pair.toHubName}) {
            int found = 0;
            for (const KernelCase& kernel : KernelCases()) found += kernel.name == name ? 1 : 0;
            EXPECT_EQ(1, found) << name;
        }
    }
}

}  // namespace

}  // namespace zv::test
