// The fast form of every kernel equal to the plain definition of its pixels, for every colour and both hubs, under each
// instruction set.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "Common/kernels/kernels.h"
#include "Common/kernels/lab_records.h"
#include "tests/Common/kernels/kernel_hashes.h"
#include "tests/support/instruction_sets.h"
#include "tests/support/kernel_cases.h"
#include "tests/support/test_pictures.h"

namespace zv::test {

namespace {

/// A kernel on images, beside its definition.
class Comparison {
public:
    explicit Comparison(const KernelCase& kernel) : kernel_(kernel) {}

    /// The definition is asked once for all instruction sets.
    void Run(const ColourCube::Image& image, int32_t rgbFirst, const std::string& what) {
        const size_t size = kernel_.DestinationBytes(image.width, image.height);
        got_.resize(size);
        wanted_.resize(size);
        kernel_.define(image.bytes.data(), wanted_.data(), image.width, image.height, rgbFirst != 0);
        for (const ClrIsa isa : InstructionSets()) {
            const UseIsa use(isa);
            std::fill(got_.begin(), got_.end(), uint8_t{0x5A});
            ASSERT_EQ(CLR_SUCCESS,
                      kernel_.run(image.bytes.data(), got_.data(), image.width, image.height, 0, 0, rgbFirst));
            if (std::memcmp(got_.data(), wanted_.data(), size) != 0) {
                Report(image, what + ", red first " + std::to_string(rgbFirst), isa);
            }
        }
    }

    const std::vector<uint8_t>& Got() const { return got_; }

private:
    void Report(const ColourCube::Image& image, const std::string& what, ClrIsa isa) const {
        const auto differs = std::mismatch(got_.begin(), got_.end(), wanted_.begin());
        const auto at = static_cast<size_t>(differs.first - got_.begin());
        std::string source;
        const auto pixelBits = static_cast<size_t>(kernel_.sourceBits);
        const size_t first = at * 8 / static_cast<size_t>(kernel_.destinationBits) * pixelBits / 8;
        for (size_t i = first; i < std::min(first + pixelBits / 8, image.bytes.size()); ++i) {
            source += " " + std::to_string(image.bytes[i]);
        }
        FAIL() << testing::PrintToString(isa) << ", " << what << ": byte " << at << " is " << int{*differs.first}
               << " and not " << int{*differs.second} << "; the pixel:" << source;
    }

    const KernelCase& kernel_;
    std::vector<uint8_t> got_, wanted_;
};

class EveryInput : public testing::TestWithParam<KernelCase> {};

TEST_P(EveryInput, KernelEqualsDefinition) {
    const KernelCase& kernel = GetParam();
    const ColourCube cube = ColourCube::Whole();
    ColourCube::Image image;
    Comparison comparison(kernel);
    Hash hash;
    for (const uint8_t fourth : ColourCube::Fourths(kernel)) {
        for (int32_t number = 0; number < cube.ImageCount(kernel); ++number) {
            cube.Fill(kernel, number, fourth, &image);
            for (const int32_t rgbFirst : {0, 1}) {
                comparison.Run(image, rgbFirst,
                               "image " + std::to_string(number) + ", fourth byte " + std::to_string(fourth));
                if (HasFatalFailure()) return;
            }
            hash.Add(comparison.Got());
        }
    }
    ExpectHash(kEveryInputHashes, kernel.name, hash.Value());
}

INSTANTIATE_TEST_SUITE_P(Kernels, EveryInput, testing::ValuesIn(KernelCases()),
                         [](const auto& test) { return KernelCaseName(test.param); });

TEST(EveryInputHashes, NameEachKernelOnce) { ExpectNames(kEveryInputHashes); }

// --- Records --------------------------------------------------------------------------------------------------------

/// The record that a change of a live converter makes.
TEST(EveryInputOfAChange, LabToHubEqualsDefinition) {
    const auto record = std::make_unique<ClrLabDecodeRecord>();
    SetLabRecord(*record, kLabChangeSetup, kLabChangeEncoding);
    ClrBuildLabDecode(record.get(), kLabGammaPercent);
    ASSERT_TRUE(record->lanes.usable);
    constexpr int32_t kSide = 256;
    std::vector<uint8_t> source(size_t{3} * kSide * kSide), wanted(source.size()), got(source.size());
    for (int32_t l = 0; l < 256; ++l) {
        for (int32_t i = 0; i < kSide * kSide; ++i) {
            const Pixel<3> pixel = {static_cast<uint8_t>(l), static_cast<uint8_t>(i / kSide),
                                    static_cast<uint8_t>(i % kSide)};
            const Rgb rgb = LabToRgb(*record, pixel);
            std::copy(pixel.begin(), pixel.end(), source.begin() + 3 * ptrdiff_t{i});
            wanted[3 * static_cast<size_t>(i)] = rgb.r;
            wanted[3 * static_cast<size_t>(i) + 1] = rgb.g;
            wanted[3 * static_cast<size_t>(i) + 2] = rgb.b;
        }
        for (const ClrIsa isa : InstructionSets()) {
            const UseIsa use(isa);
            ASSERT_EQ(CLR_SUCCESS, ClrLabParamsToHub(record.get(), source.data(), got.data(), kSide, kSide, 0, 0, 1));
            ASSERT_EQ(wanted, got) << testing::PrintToString(isa) << ", L " << l;
        }
    }
}

// --- Four bytes -----------------------------------------------------------------------------------------------------

std::vector<KernelCase> FourByteSources() {
    std::vector<KernelCase> kernels;
    for (const KernelCase& kernel : KernelCases()) {
        if (kernel.sourceBits == 32) kernels.push_back(kernel);
    }
    return kernels;
}

/// SplitMix64: fast, and the same numbers on every system.
void FillRandomly(uint64_t* state, std::vector<uint8_t>* bytes) {
    for (size_t at = 0; at + 8 <= bytes->size(); at += 8) {
        uint64_t word = *state += 0x9E3779B97F4A7C15ULL;
        word = (word ^ (word >> 30)) * 0xBF58476D1CE4E5B9ULL;
        word = (word ^ (word >> 27)) * 0x94D049BB133111EBULL;
        word ^= word >> 31;
        std::memcpy(bytes->data() + at, &word, sizeof word);
    }
}

class RandomPixels : public testing::TestWithParam<KernelCase> {};

/// Four bytes have too many combinations for all of them: fifty million by chance.
TEST_P(RandomPixels, KernelEqualsDefinition) {
    constexpr int32_t kImages = 48, kSide = 1024;
    ColourCube::Image image;
    image.width = image.height = kSide;
    image.bytes.resize(GetParam().SourceBytes(kSide, kSide));
    Comparison comparison(GetParam());
    uint64_t state = 1;
    for (int32_t number = 0; number < kImages; ++number) {
        FillRandomly(&state, &image.bytes);
        comparison.Run(image, number % 2, "random image " + std::to_string(number));
        if (HasFatalFailure()) return;
    }
}

INSTANTIATE_TEST_SUITE_P(Kernels, RandomPixels, testing::ValuesIn(FourByteSources()),
                         [](const auto& test) { return KernelCaseName(test.param); });

}  // namespace

}  // namespace zv::test
