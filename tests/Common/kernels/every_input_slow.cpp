// The fast form of every kernel equal to the plain definition of its pixels, for every colour and both hubs.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tests/Common/kernels/kernel_hashes.h"
#include "tests/support/kernel_cases.h"
#include "tests/support/test_pictures.h"

namespace zv::test {

namespace {

class EveryInput : public testing::TestWithParam<KernelCase> {};

TEST_P(EveryInput, KernelEqualsDefinition) {
    const KernelCase& kernel = GetParam();
    const ColourCube cube = ColourCube::Whole();
    ColourCube::Image image;
    std::vector<uint8_t> got, wanted;
    Hash hash;
    for (const uint8_t fourth : ColourCube::Fourths(kernel)) {
        for (int32_t number = 0; number < cube.ImageCount(kernel); ++number) {
            cube.Fill(kernel, number, fourth, &image);
            got.resize(kernel.DestinationBytes(image.width, image.height));
            wanted.resize(got.size());
            for (const int32_t rgbFirst : {0, 1}) {
                std::fill(got.begin(), got.end(), uint8_t{0x5A});
                ASSERT_EQ(CLR_SUCCESS,
                          kernel.run(image.bytes.data(), got.data(), image.width, image.height, 0, 0, rgbFirst));
                kernel.define(image.bytes.data(), wanted.data(), image.width, image.height, rgbFirst != 0);
                const auto differs = std::mismatch(got.begin(), got.end(), wanted.begin());
                ASSERT_TRUE(differs.first == got.end())
                    << "image " << number << ", fourth byte " << int{fourth} << ", red first " << rgbFirst << ", byte "
                    << differs.first - got.begin() << ": " << int{*differs.first} << " and not "
                    << int{*differs.second};
            }
            hash.Add(got);
        }
    }
    ExpectHash(kEveryInputHashes, kernel.name, hash.Value());
}

INSTANTIATE_TEST_SUITE_P(Kernels, EveryInput, testing::ValuesIn(KernelCases()),
                         [](const auto& test) { return KernelCaseName(test.param); });

TEST(EveryInputHashes, NameEachKernelOnce) { ExpectNames(kEveryInputHashes); }

}  // namespace

}  // namespace zv::test
