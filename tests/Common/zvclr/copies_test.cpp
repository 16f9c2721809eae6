// Copies of equal spaces: packed rows, the advance by padding alone, and conversions in place.
#include "tests/support/frame_fixture.h"

namespace zv::test {
namespace {

/// Rows of `rowBytes` that advance by the paddings alone, or one block where both are below 2.
std::vector<uint8_t> ExpectedCopy(const std::vector<uint8_t>& source, std::vector<uint8_t> destination, size_t rowBytes,
                                  int32_t height, int32_t sourceExtra, int32_t destinationExtra) {
    const auto rows = static_cast<size_t>(height);
    if (sourceExtra < 2 && destinationExtra < 2) {
        std::copy_n(source.begin(), rowBytes * rows, destination.begin());
        return destination;
    }
    const auto step = [](int32_t extra) { return static_cast<ptrdiff_t>(extra < 1 ? 0 : extra); };
    for (ptrdiff_t row = 0; row < height; ++row) {
        std::copy_n(source.begin() + row * step(sourceExtra), rowBytes,
                    destination.begin() + row * step(destinationExtra));
    }
    return destination;
}

constexpr int32_t kPaddings[] = {-5, 0, 1, 2, 3, 4, 64};

TEST(Copies, DirectForEverySpaceAndPadding) {
    constexpr int32_t kWidth = 8, kHeight = 4;
    for (const int32_t space : kAllSpaces) {
        const auto rowBytes = static_cast<size_t>(BitsOf(space)) * kWidth / 8;
        for (const int32_t sourceExtra : kPaddings) {
            for (const int32_t destinationExtra : kPaddings) {
                const std::vector<uint8_t> source =
                    RandomBytes(PaddedBytes(space, kWidth, kHeight, sourceExtra), static_cast<uint32_t>(space) + 1);
                const GuardedBuffer from(source.size()), to(PaddedBytes(space, kWidth, kHeight, destinationExtra));
                Put(from, source);
                EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvertDirect(space, space, from.Data(), to.Data(), kWidth, kHeight,
                                                           sourceExtra, destinationExtra));
                EXPECT_EQ(ExpectedCopy(source, std::vector<uint8_t>(to.Size(), 0xCD), rowBytes, kHeight, sourceExtra,
                                       destinationExtra),
                          BytesOf(to))
                    << space << ": " << sourceExtra << ", " << destinationExtra;
            }
        }
    }
}

TEST(Copies, ByConverterForEverySpaceAndPadding) {
    const HostScope host;
    for (const int32_t space : kAllSpaces) {
        const Converter copier(space, space);
        for (const int32_t width : {1, 3, 8}) {
            for (const int32_t sourceExtra : kPaddings) {
                for (const int32_t destinationExtra : kPaddings) {
                    if (sourceExtra < 0 || destinationExtra < 0) continue;
                    const std::vector<uint8_t> source = RandomBytes(TightBytes(space, width, 3, sourceExtra), 5);
                    const GuardedBuffer from(source.size()), to(TightBytes(space, width, 3, destinationExtra));
                    Put(from, source);
                    EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvert(copier.Get(), from.Data(), to.Data(), width, 3, sourceExtra,
                                                         destinationExtra));
                    EXPECT_EQ(ExpectedCopy(source, std::vector<uint8_t>(to.Size(), 0xCD), RowBytesOf(space, width), 3,
                                           sourceExtra, destinationExtra),
                              BytesOf(to))
                        << space << ": " << sourceExtra << ", " << destinationExtra;
                }
            }
        }
    }
}

TEST(Copies, RowsOfThirtyBytesLandAtMultiplesOfThePadding) {
    const HostScope host;
    const std::vector<uint8_t> source = RandomBytes(96, 3);
    const Converter copier(CLRSPACE_HSV, CLRSPACE_HSV);
    for (const bool direct : {false, true}) {
        std::vector<uint8_t> destination(96, 0);
        const int32_t result =
            direct ? Zv_ClrConvertDirect(CLRSPACE_HSV, CLRSPACE_HSV, source.data(), destination.data(), 10, 3, 2, 2)
                   : Zv_ClrConvert(copier.Get(), source.data(), destination.data(), 10, 3, 2, 2);
        EXPECT_EQ(CLR_SUCCESS, result);
        // Row 0 comes from 0, row 1 from 2, row 2 from 4, and each lands over its predecessor.
        EXPECT_EQ(0, std::memcmp(source.data(), destination.data(), 34));
        for (size_t i = 34; i < destination.size(); ++i) EXPECT_EQ(0, destination[i]) << i;
    }
}

TEST(Copies, PaddingOfOneIsCopiedAsOneBlockWithoutPadding) {
    const HostScope host;
    const std::vector<uint8_t> source = RandomBytes(93, 4);
    const Converter copier(CLRSPACE_RGB, CLRSPACE_RGB);
    for (const bool direct : {false, true}) {
        std::vector<uint8_t> destination(93, 0xEE);
        const int32_t result =
            direct ? Zv_ClrConvertDirect(CLRSPACE_RGB, CLRSPACE_RGB, source.data(), destination.data(), 10, 3, 1, 1)
                   : Zv_ClrConvert(copier.Get(), source.data(), destination.data(), 10, 3, 1, 1);
        EXPECT_EQ(CLR_SUCCESS, result);
        EXPECT_EQ(0, std::memcmp(source.data(), destination.data(), 90));
        EXPECT_EQ(std::vector<uint8_t>(3, 0xEE), std::vector<uint8_t>(destination.begin() + 90, destination.end()));
    }
}

TEST(Copies, PaddingOnOneSideKeepsTheOtherSideInPlace) {
    const std::vector<uint8_t> source = RandomBytes(24, 6);
    std::vector<uint8_t> destination(36, 0xEE);
    ASSERT_EQ(CLR_SUCCESS,
              Zv_ClrConvertDirect(CLRSPACE_RGB, CLRSPACE_RGB, source.data(), destination.data(), 4, 2, 0, 4));
    // The first row twice: the source does not advance.
    EXPECT_EQ(0, std::memcmp(source.data(), destination.data(), 4));
    EXPECT_EQ(0, std::memcmp(source.data(), destination.data() + 4, 12));
    for (size_t i = 16; i < destination.size(); ++i) EXPECT_EQ(0xEE, destination[i]);
}

TEST(Copies, NineBitRowsAreRoundedDownDirectlyAndUpByAConverter) {
    const HostScope host;
    // 9 bits x 4 is four and a half bytes; 12 bits x 3 the same.
    const std::vector<uint8_t> source = RandomBytes(64, 8);
    std::vector<uint8_t> destination(64, 0xEE);
    ASSERT_EQ(CLR_SUCCESS,
              Zv_ClrConvertDirect(CLRSPACE_YVU9, CLRSPACE_YVU9, source.data(), destination.data(), 4, 4, 0, 0));
    EXPECT_EQ(0, std::memcmp(source.data(), destination.data(), 16));
    EXPECT_EQ(0xEE, destination[16]);

    for (const int32_t space : {CLRSPACE_YVU9, CLRSPACE_Y41P}) {
        const Converter copier(space, space);
        const int32_t width = space == CLRSPACE_YVU9 ? 4 : 3;
        std::fill(destination.begin(), destination.end(), uint8_t{0xEE});
        ASSERT_EQ(CLR_SUCCESS, Zv_ClrConvert(copier.Get(), source.data(), destination.data(), width, 4, 0, 0));
        EXPECT_EQ(0, std::memcmp(source.data(), destination.data(), 20));
        EXPECT_EQ(0xEE, destination[20]);
    }
}

TEST(Copies, OverlappingBuffersGetTheBytesThatStoodThere) {
    const HostScope host;
    const Converter copier(CLRSPACE_RGB, CLRSPACE_RGB);
    for (const ptrdiff_t shift : {-7, -1, 1, 7}) {
        for (const bool direct : {false, true}) {
            std::vector<uint8_t> bytes = RandomBytes(80, 9);
            const std::vector<uint8_t> before = bytes;
            const uint8_t* from = bytes.data() + 10;
            uint8_t* to = bytes.data() + 10 + shift;
            const int32_t result = direct ? Zv_ClrConvertDirect(CLRSPACE_RGB, CLRSPACE_RGB, from, to, 5, 4, 0, 0)
                                          : Zv_ClrConvert(copier.Get(), from, to, 5, 4, 0, 0);
            EXPECT_EQ(CLR_SUCCESS, result);
            EXPECT_EQ(0, std::memcmp(before.data() + 10, to, 60)) << shift;
        }
    }
}

TEST(Copies, RowsThatOverlapEachOtherGoFromTopToBottom) {
    std::vector<uint8_t> bytes = RandomBytes(120, 10);
    std::vector<uint8_t> expected = bytes;
    for (size_t row = 0; row < 3; ++row) {
        const std::vector<uint8_t> line(expected.begin() + static_cast<ptrdiff_t>(row * 3),
                                        expected.begin() + static_cast<ptrdiff_t>(row * 3 + 30));
        std::copy(line.begin(), line.end(), expected.begin() + static_cast<ptrdiff_t>(5 + row * 4));
    }
    ASSERT_EQ(CLR_SUCCESS,
              Zv_ClrConvertDirect(CLRSPACE_LAB, CLRSPACE_LAB, bytes.data(), bytes.data() + 5, 10, 3, 3, 4));
    EXPECT_EQ(expected, bytes);
}

TEST(InPlace, ByConverterWithEqualPaddingsCopiesOntoItself) {
    const HostScope host;
    const Converter copier(CLRSPACE_RGB, CLRSPACE_RGB);
    std::vector<uint8_t> bytes = RandomBytes(64, 11);
    const std::vector<uint8_t> before = bytes;
    for (const int32_t extra : {0, 1, 2}) {
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvert(copier.Get(), bytes.data(), bytes.data(), 5, 3, extra, extra));
        EXPECT_EQ(before, bytes);
    }
}

TEST(InPlace, ByConverterWithDifferentPaddingsIsSameBuffer) {
    const HostScope host;
    const Converter copier(CLRSPACE_RGB, CLRSPACE_RGB);
    ClrParams params = MakeParams(CLRMETHOD_CUSTOM_ICC, CLRMETHOD_CUSTOM_ICC);
    const Converter byProfiles(CLRSPACE_CMY, CLRSPACE_CMY, &params);
    std::vector<uint8_t> bytes = RandomBytes(64, 12);
    const std::vector<uint8_t> before = bytes;
    EXPECT_EQ(ERR_SAME_BUFFER, Zv_ClrConvert(copier.Get(), bytes.data(), bytes.data(), 5, 3, 0, 4));
    EXPECT_EQ(ERR_SAME_BUFFER, Zv_ClrConvert(copier.Get(), bytes.data(), bytes.data(), 5, 3, 1, 0));
    EXPECT_EQ(ERR_SAME_BUFFER, Zv_ClrConvert(byProfiles.Get(), bytes.data(), bytes.data(), 5, 3, 0, 4));
    EXPECT_EQ(before, bytes);
}

TEST(InPlace, DirectWithEqualPaddingsIsSameBuffer) {
    std::vector<uint8_t> bytes = RandomBytes(64, 13);
    const std::vector<uint8_t> before = bytes;
    for (const int32_t extra : {-5, 0, 1, 4}) {
        EXPECT_EQ(ERR_SAME_BUFFER,
                  Zv_ClrConvertDirect(CLRSPACE_RGB, CLRSPACE_RGB, bytes.data(), bytes.data(), 5, 3, extra, extra));
    }
    EXPECT_EQ(before, bytes);
}

TEST(InPlace, DirectWithDifferentPaddingsGoesOn) {
    std::vector<uint8_t> bytes = RandomBytes(64, 14);
    std::vector<uint8_t> expected = bytes;
    for (size_t row = 0; row < 3; ++row) {
        const std::vector<uint8_t> line(expected.begin(), expected.begin() + 15);
        std::copy(line.begin(), line.end(), expected.begin() + static_cast<ptrdiff_t>(row * 4));
    }
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvertDirect(CLRSPACE_RGB, CLRSPACE_RGB, bytes.data(), bytes.data(), 5, 3, 0, 4));
    EXPECT_EQ(expected, bytes);

    // Compared as they are given: -5 and 0 differ, though both count as none.
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvertDirect(CLRSPACE_RGB, CLRSPACE_RGB, bytes.data(), bytes.data(), 5, 3, -5, 0));
    EXPECT_EQ(expected, bytes);
}

TEST(InPlace, DifferentSpacesOfOneSizeConvert) {
    std::vector<uint8_t> bytes = RandomBytes(60, 15);
    std::vector<uint8_t> expected(60);
    ASSERT_EQ(CLR_SUCCESS, Zv_ClrConvertDirect(CLRSPACE_RGB, CLRSPACE_CMY, bytes.data(), expected.data(), 5, 4, 0, 0));
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvertDirect(CLRSPACE_RGB, CLRSPACE_CMY, bytes.data(), bytes.data(), 5, 4, 0, 0));
    EXPECT_EQ(expected, bytes);
}

TEST(UnknownSpaces, CopyRowsOf64751BitsAPixel) {
    const HostScope host;
    const Converter copier(99, 99);
    constexpr size_t kRow = (64751 * 2 + 7) / 8;
    const std::vector<uint8_t> source = RandomBytes(kRow * 3, 16);
    const GuardedBuffer from(source.size()), to(source.size()), short1(source.size() - 1);
    Put(from, source);
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvert(copier.Get(), from.Data(), to.Data(), 2, 3, 0, 0));
    EXPECT_EQ(source, BytesOf(to));
    EXPECT_EQ(ERR_BAD_POINTER, Zv_ClrConvert(copier.Get(), from.Data(), short1.Data(), 2, 3, 0, 0));
    EXPECT_EQ(ERR_BAD_POINTER, Zv_ClrConvert(copier.Get(), short1.Data(), to.Data(), 2, 3, 0, 0));
}

}  // namespace
}  // namespace zv::test
