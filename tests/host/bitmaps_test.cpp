// Bitmaps from device-independent images.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "host/host.h"

namespace zv::test {
namespace {

HostDibHeader MakeHeader(int32_t width, int32_t height, int32_t padding) {
    HostDibHeader header{};
    header.headerSize = 40;
    header.width = width;
    header.height = height;
    header.planes = 1;
    header.bitCount = 24;
    header.imageSize = static_cast<uint32_t>((width + padding) * (height < 0 ? -height : height) * 3);
    return header;
}

/// Rows that tell themselves: every byte is row * 16 + its place; padding is 0xEE.
std::vector<uint8_t> MakeRows(int32_t width, int32_t rows, int32_t padding) {
    std::vector<uint8_t> bits;
    for (int32_t row = 0; row < rows; ++row) {
        for (int32_t i = 0; i < width * 3; ++i) bits.push_back(static_cast<uint8_t>(row * 16 + i));
        bits.insert(bits.end(), static_cast<size_t>(padding), uint8_t{0xEE});
    }
    return bits;
}

void ExpectRows(const HostBitmap& bitmap, int32_t width, int32_t rows, bool fromTop) {
    EXPECT_EQ(sizeof(HostBitmap), bitmap.size);
    EXPECT_EQ(kHostBitmapAllocated, bitmap.flags & kHostBitmapAllocated);
    EXPECT_EQ(width, bitmap.width);
    EXPECT_EQ(rows, bitmap.height);
    EXPECT_EQ(24, bitmap.bitsPerPixel);
    EXPECT_EQ(width * 3, bitmap.bytesPerRow);
    ASSERT_NE(nullptr, bitmap.pixels);
    for (int32_t row = 0; row < rows; ++row) {
        const int32_t stored = fromTop ? row : rows - 1 - row;
        for (int32_t i = 0; i < width * 3; ++i) {
            EXPECT_EQ(stored * 16 + i, bitmap.pixels[row * width * 3 + i]) << row << " " << i;
        }
    }
}

TEST(HostBitmaps, RowsFromTheTopAndFromTheBottomWithAnyPadding) {
    for (const int32_t padding : {0, 1, 3, 8}) {
        for (const bool fromTop : {true, false}) {
            HostBitmap bitmap{};
            const HostDibHeader header = MakeHeader(4, fromTop ? -3 : 3, padding);
            const std::vector<uint8_t> bits = MakeRows(4, 3, padding);
            HostDibToBitmap(&bitmap, sizeof bitmap, &header, bits.data());
            ExpectRows(bitmap, 4, 3, fromTop);
            HostFreeBitmap(&bitmap);
        }
    }
}

TEST(HostBitmaps, FreeTakesThePixelsAndTheFlag) {
    HostBitmap bitmap{};
    const HostDibHeader header = MakeHeader(2, 2, 0);
    const std::vector<uint8_t> bits = MakeRows(2, 2, 0);
    bitmap.flags = 0x80;
    HostDibToBitmap(&bitmap, sizeof bitmap, &header, bits.data());
    EXPECT_EQ(0x81U, bitmap.flags);
    HostFreeBitmap(&bitmap);
    EXPECT_EQ(0x80U, bitmap.flags);
    EXPECT_EQ(nullptr, bitmap.pixels);
    HostFreeBitmap(&bitmap);
    EXPECT_EQ(nullptr, bitmap.pixels);
}

TEST(HostBitmaps, CallersReleaseThePixelsAsTheHeaderSays) {
    for (int round = 0; round < 100; ++round) {
        HostBitmap bitmap{};
        const HostDibHeader header = MakeHeader(100, -100, 0);
        const std::vector<uint8_t> bits = MakeRows(100, 100, 0);
        HostDibToBitmap(&bitmap, sizeof bitmap, &header, bits.data());
        ASSERT_NE(nullptr, bitmap.pixels);
#ifdef _WIN32
        EXPECT_NE(0, HeapFree(GetProcessHeap(), 0, bitmap.pixels));
#else
        std::free(bitmap.pixels);
#endif
    }
}

/// As the library fills the header: the padding counts three times over in the image size and once in the buffer.
TEST(HostBitmaps, PaddingIsReckonedFromTheImageSize) {
    HostBitmap bitmap{};
    HostDibHeader header = MakeHeader(10, -5, 2);
    header.headerSize = 44;
    ASSERT_EQ(180U, header.imageSize);
    const std::vector<uint8_t> bits = MakeRows(10, 5, 2);
    ASSERT_EQ(160U, bits.size());
    HostDibToBitmap(&bitmap, sizeof bitmap, &header, bits.data());
    ExpectRows(bitmap, 10, 5, true);
    HostFreeBitmap(&bitmap);
}

TEST(HostBitmaps, HeadersThatCannotBeAreLeftAlone) {
    const std::vector<uint8_t> bits = MakeRows(2, 2, 0);
    std::vector<HostDibHeader> headers(6, MakeHeader(2, 2, 0));
    headers[0].bitCount = 32;
    headers[1].height = 0;
    headers[2].width = 0;
    headers[3].width = -2;
    headers[4].imageSize = 11;  // less than the rows
    headers[5].width = INT32_MAX;
    for (const HostDibHeader& header : headers) {
        HostBitmap bitmap{};
        HostDibToBitmap(&bitmap, sizeof bitmap, &header, bits.data());
        EXPECT_EQ(0U, bitmap.flags);
        EXPECT_EQ(nullptr, bitmap.pixels);
    }
    HostBitmap bitmap{};
    const HostDibHeader good = MakeHeader(2, 2, 0);
    HostDibToBitmap(&bitmap, sizeof bitmap - 1, &good, bits.data());
    EXPECT_EQ(nullptr, bitmap.pixels) << "a record of another size";
}

TEST(HostBitmaps, HeaderHasItsFieldsAtTheirPlaces) {
    EXPECT_EQ(44U, sizeof(HostDibHeader));
    EXPECT_EQ(4U, offsetof(HostDibHeader, width));
    EXPECT_EQ(12U, offsetof(HostDibHeader, planes));
    EXPECT_EQ(14U, offsetof(HostDibHeader, bitCount));
    EXPECT_EQ(20U, offsetof(HostDibHeader, imageSize));
    EXPECT_EQ(36U, offsetof(HostDibHeader, coloursImportant));
}

}  // namespace
}  // namespace zv::test
