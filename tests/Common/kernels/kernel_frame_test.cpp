// What every kernel asks of its buffers before it writes.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tests/support/guarded_buffer.h"
#include "tests/support/kernel_cases.h"

namespace zv::test {

namespace {

using Side = GuardedBuffer::Side;

constexpr uint8_t kUntouched = 0xCD;

std::vector<KernelCase> ProbingKernels() {
    std::vector<KernelCase> kernels;
    std::copy_if(KernelCases().begin(), KernelCases().end(), std::back_inserter(kernels),
                 [](const KernelCase& kernel) { return kernel.probes; });
    return kernels;
}

bool IsUntouched(const GuardedBuffer& buffer) {
    return std::all_of(buffer.begin(), buffer.end(), [](uint8_t byte) { return byte == kUntouched; });
}

/// The bytes that a kernel asks for: the two-byte space asks for 12 bits a pixel.
size_t Asked(int32_t bits, int32_t width, int32_t height) {
    return static_cast<size_t>(int64_t{bits == 16 ? 12 : bits} * width * height / 8);
}

class KernelFrame : public testing::TestWithParam<KernelCase> {
protected:
    // Several pages on either side.
    static constexpr int32_t kWidth = 4096;
    static constexpr int32_t kHeight = 4;

    const KernelCase& kernel_ = GetParam();

    size_t SourceSize(int32_t width = kWidth, int32_t height = kHeight) const {
        return kernel_.SourceBytes(width, height);
    }
    size_t DestinationSize(int32_t width = kWidth, int32_t height = kHeight) const {
        return kernel_.DestinationBytes(width, height);
    }
    int32_t Run(const GuardedBuffer& source, const GuardedBuffer& destination) const {
        return kernel_.run(source.Data(), destination.Data(), kWidth, kHeight, 0, 0, 1);
    }
    int32_t MinimalWidth() const { return kernel_.widthMultiple; }
    int32_t MinimalHeight() const { return kernel_.heightMultiple; }
};

TEST_P(KernelFrame, AnUnreadableSourceIsInvalidAndNothingIsWritten) {
    GuardedBuffer source(SourceSize(), Side::kBack), destination(DestinationSize());
    source.MakeUnreadable();
    EXPECT_EQ(ERR_INVALID_PARAMETER, Run(source, destination));
    EXPECT_TRUE(IsUntouched(destination));
    EXPECT_EQ(ERR_INVALID_PARAMETER, kernel_.run(nullptr, destination.Data(), kWidth, kHeight, 0, 0, 1));
    EXPECT_TRUE(IsUntouched(destination));
}

TEST_P(KernelFrame, AReadOnlySourceIsEnough) {
    GuardedBuffer source(SourceSize());
    const GuardedBuffer destination(DestinationSize());
    source.MakeReadOnly();
    EXPECT_EQ(CLR_SUCCESS, Run(source, destination));
    std::vector<uint8_t> wanted(DestinationSize());
    kernel_.define(source.Data(), wanted.data(), kWidth, kHeight, true);
    EXPECT_TRUE(std::equal(wanted.begin(), wanted.end(), destination.begin()));
}

TEST_P(KernelFrame, AnUnwritableDestinationIsInvalid) {
    GuardedBuffer source(SourceSize()), destination(DestinationSize());
    destination.MakeReadOnly();
    EXPECT_EQ(ERR_INVALID_PARAMETER, Run(source, destination));
    EXPECT_TRUE(IsUntouched(destination));
    destination.MakeUnreadable();
    EXPECT_EQ(ERR_INVALID_PARAMETER, Run(source, destination));
    destination.MakeWritable();
    EXPECT_TRUE(IsUntouched(destination));
    EXPECT_EQ(ERR_INVALID_PARAMETER, kernel_.run(source.Data(), nullptr, kWidth, kHeight, 0, 0, 1));
}

TEST_P(KernelFrame, OneBadPageInTheMiddleIsFound) {
    {
        GuardedBuffer source(SourceSize()), destination(DestinationSize());
        source.MakePageUnreadable(Asked(kernel_.sourceBits, kWidth, kHeight) / 2);
        EXPECT_EQ(ERR_INVALID_PARAMETER, Run(source, destination));
        EXPECT_TRUE(IsUntouched(destination));
    }
    for (const bool readOnly : {false, true}) {
        GuardedBuffer source(SourceSize()), destination(DestinationSize());
        const size_t middle = Asked(kernel_.destinationBits, kWidth, kHeight) / 2;
        if (readOnly) {
            destination.MakePageReadOnly(middle);
        } else {
            destination.MakePageUnreadable(middle);
        }
        EXPECT_EQ(ERR_INVALID_PARAMETER, Run(source, destination));
        destination.MakeWritable();
        EXPECT_TRUE(IsUntouched(destination));
    }
}

TEST_P(KernelFrame, ExactlyTheRegionPassesAndOneByteMoreDoesNot) {
    for (const int32_t height : {MinimalHeight(), 4}) {
        for (const int32_t extra : {0, 7}) {
            const auto paddings = static_cast<size_t>(extra * height);
            const size_t sourcePaddings = kernel_.packedSource ? 0 : paddings;
            const size_t destinationPaddings = kernel_.packedDestination ? 0 : paddings;
            const int32_t width = 104;
            const GuardedBuffer source(SourceSize(width, height) + sourcePaddings);
            const GuardedBuffer destination(DestinationSize(width, height) + destinationPaddings);
            EXPECT_EQ(CLR_SUCCESS, kernel_.run(source.Data(), destination.Data(), width, height, extra, extra, 1));

            // What is asked for ends one byte inside the guard page.
            const size_t askedSource = Asked(kernel_.sourceBits, width, height) + sourcePaddings;
            const size_t askedDestination = Asked(kernel_.destinationBits, width, height) + destinationPaddings;
            EXPECT_EQ(ERR_INVALID_PARAMETER,
                      kernel_.run(source.end() - askedSource + 1, destination.Data(), width, height, extra, extra, 1));
            EXPECT_EQ(ERR_INVALID_PARAMETER, kernel_.run(source.Data(), destination.end() - askedDestination + 1, width,
                                                         height, extra, extra, 1));
        }
    }
}

TEST_P(KernelFrame, WithoutHeightNothingIsTouched) {
    const GuardedBuffer source(SourceSize()), destination(DestinationSize());
    for (const int32_t height : {0, -MinimalHeight()}) {
        EXPECT_EQ(CLR_SUCCESS, kernel_.run(source.Data(), destination.Data(), kWidth, height, 3, 3, 1));
        EXPECT_EQ(CLR_SUCCESS, kernel_.run(nullptr, nullptr, kWidth, height, 0, 0, 1));
    }
    EXPECT_TRUE(IsUntouched(destination));
}

TEST_P(KernelFrame, WithoutWidthNoPixelIsWritten) {
    const GuardedBuffer source(SourceSize()), destination(DestinationSize());
    for (const int32_t width : {0, -MinimalWidth()}) {
        EXPECT_EQ(CLR_SUCCESS, kernel_.run(source.Data(), destination.Data(), width, kHeight, 0, 0, 1));
        EXPECT_EQ(CLR_SUCCESS, kernel_.run(source.Data(), destination.Data(), width, kHeight, 64, 64, 1));
    }
    EXPECT_TRUE(IsUntouched(destination));
}

TEST_P(KernelFrame, WithoutWidthThePaddingIsStillAskedFor) {
    GuardedBuffer bad(4096), good(4096);
    bad.MakeUnreadable();
    const int32_t source = kernel_.run(bad.Data(), good.Data(), 0, 4, 64, 64, 1);
    EXPECT_EQ(kernel_.packedSource ? int32_t{CLR_SUCCESS} : int32_t{ERR_INVALID_PARAMETER}, source);
    const int32_t destination = kernel_.run(good.Data(), bad.Data(), 0, 4, 64, 64, 1);
    EXPECT_EQ(kernel_.packedDestination ? int32_t{CLR_SUCCESS} : int32_t{ERR_INVALID_PARAMETER}, destination);
}

TEST_P(KernelFrame, NegativePaddingCountsAsNone) {
    const GuardedBuffer source(SourceSize()), destination(DestinationSize()), plain(DestinationSize());
    for (const int32_t extra : {-1, -5, INT32_MIN}) {
        EXPECT_EQ(CLR_SUCCESS, kernel_.run(source.Data(), destination.Data(), kWidth, kHeight, extra, extra, 1));
        EXPECT_EQ(CLR_SUCCESS, kernel_.run(source.Data(), plain.Data(), kWidth, kHeight, 0, 0, 1));
        EXPECT_TRUE(std::equal(destination.begin(), destination.end(), plain.begin()));
    }
}

TEST_P(KernelFrame, RegionsThatWrap32BitsAreRefused) {
    const GuardedBuffer source(SourceSize()), destination(DestinationSize());
    // In 32 bits some of these are 0, a few bytes, or negative: no such region is taken for a small one.
    const std::pair<int32_t, int32_t> sizes[] = {{65536, 65536},     {1 << 30, 16},   {1 << 28, 128},
                                                 {1 << 20, 1 << 20}, {0x55555558, 4}, {0x7FFFFFF8, 0x7FFFFFFC},
                                                 {0x7FFFFFF8, 4}};
    for (const auto& [width, height] : sizes) {
        ASSERT_TRUE(kernel_.Fits(width, height)) << width << " x " << height;
        EXPECT_EQ(ERR_INVALID_PARAMETER, kernel_.run(source.Data(), destination.Data(), width, height, 0, 0, 1))
            << width << " x " << height;
    }
    for (const int32_t extra : {INT32_MAX, 1 << 30}) {
        const int32_t fromSource = kernel_.run(source.Data(), destination.Data(), kWidth, kHeight, extra, 0, 1);
        EXPECT_EQ(kernel_.packedSource ? int32_t{CLR_SUCCESS} : int32_t{ERR_INVALID_PARAMETER}, fromSource);
        const int32_t fromDestination = kernel_.run(source.Data(), destination.Data(), kWidth, kHeight, 0, extra, 1);
        EXPECT_EQ(kernel_.packedDestination ? int32_t{CLR_SUCCESS} : int32_t{ERR_INVALID_PARAMETER}, fromDestination);
    }
}

TEST_P(KernelFrame, SizeMultiplesGoBeforeThePointers) {
    const bool anySize = kernel_.widthMultiple == 1;
    const int32_t code = anySize ? int32_t{ERR_INVALID_PARAMETER} : kernel_.sizeCode;
    EXPECT_EQ(code, kernel_.run(nullptr, nullptr, kernel_.widthMultiple + 1, kHeight, 0, 0, 1));
    EXPECT_EQ(ERR_INVALID_PARAMETER, kernel_.run(nullptr, nullptr, kernel_.widthMultiple, kHeight, 0, 0, 1));
}

INSTANTIATE_TEST_SUITE_P(Kernels, KernelFrame, testing::ValuesIn(ProbingKernels()),
                         [](const auto& test) { return KernelCaseName(test.param); });

}  // namespace

}  // namespace zv::test
