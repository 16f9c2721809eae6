// Crossing between pixels in a buffer and words.
#include "Common/Zvtrans/transform.h"
#include "tests/support/engine_reference.h"
#include "tests/support/frame_fixture.h"

namespace zv::test {
namespace {

constexpr uint32_t Format(uint32_t bytes, uint32_t channels, bool reversed = false) {
    return bytes | channels << 3 | (reversed ? 0x400U : 0U);
}
constexpr uint32_t kWords3 = Format(2, 3), kWords4 = Format(2, 4);
constexpr uint32_t kFive[] = {CMMFORMAT_RGB_8, CMMFORMAT_BGR_8, CMMFORMAT_CMY_8, CMMFORMAT_CMYK_8, CMMFORMAT_LAB_8};

Words Unpack(uint32_t format, const GuardedBuffer& pixel) {
    Words words(16, 0xABCD);
    EXPECT_EQ(pixel.end(), CmmSelectUnpack(format)(nullptr, words.data(), pixel.Data())) << "position behind the pixel";
    for (size_t i = FormatChannels(format); i < 16; ++i) EXPECT_EQ(0xABCD, words[i]) << i;
    words.resize(FormatChannels(format));
    return words;
}
Words Unpack(uint32_t format, const std::vector<uint8_t>& bytes) {
    const GuardedBuffer pixel(bytes.size());
    Put(pixel, bytes);
    return Unpack(format, pixel);
}
std::vector<uint8_t> Pack(uint32_t format, const Words& words) {
    const GuardedBuffer pixel(FormatBytes(format) * FormatChannels(format));
    EXPECT_EQ(pixel.end(), CmmSelectPack(format)(nullptr, words.data(), pixel.Data())) << "position behind the pixel";
    return BytesOf(pixel);
}

TEST(Formats, FiveWords) {
    EXPECT_EQ(0x40019U, uint32_t{CMMFORMAT_RGB_8});
    EXPECT_EQ(0x40419U, uint32_t{CMMFORMAT_BGR_8});
    EXPECT_EQ(0x50019U, uint32_t{CMMFORMAT_CMY_8});
    EXPECT_EQ(0x60021U, uint32_t{CMMFORMAT_CMYK_8});
    EXPECT_EQ(0xA0019U, uint32_t{CMMFORMAT_LAB_8});
    for (const uint32_t format : kFive) {
        EXPECT_EQ(1U, FormatBytes(format));
        EXPECT_EQ(format == CMMFORMAT_CMYK_8 ? 4U : 3U, FormatChannels(format));
        EXPECT_EQ(format == CMMFORMAT_BGR_8, FormatReversed(format));
        EXPECT_NE(nullptr, CmmSelectUnpack(format));
        EXPECT_NE(nullptr, CmmSelectPack(format));
    }
}

TEST(Formats, OthersHaveNoFormatter) {
    for (uint32_t bytes = 0; bytes < 8; ++bytes) {
        for (uint32_t channels = 0; channels < 16; ++channels) {
            const bool listed = (bytes == 1 || bytes == 2) && (channels == 3 || channels == 4);
            for (const bool reversed : {false, true}) {
                const uint32_t format = Format(bytes, channels, reversed);
                EXPECT_EQ(listed, CmmSelectUnpack(format) != nullptr) << bytes << " bytes, " << channels;
                EXPECT_EQ(listed, CmmSelectPack(format) != nullptr) << bytes << " bytes, " << channels;
            }
        }
    }
}

TEST(Formats, CodeOfTheColourSpaceIsNotDecoded) {
    for (const uint32_t code : {0U, 1U, 0xFFFFU}) {
        EXPECT_EQ(CmmSelectUnpack(CMMFORMAT_RGB_8), CmmSelectUnpack(code << 16 | 0x19U));
        EXPECT_EQ(CmmSelectPack(CMMFORMAT_CMYK_8), CmmSelectPack(code << 16 | 0x21U));
    }
}

TEST(Formatters, WidenByRepeatingTheByte) {
    for (uint32_t byte = 0; byte < 256; ++byte) {
        const auto b = static_cast<uint8_t>(byte);
        const auto word = static_cast<uint16_t>(byte * 257);
        for (const uint32_t format : kFive) {
            const size_t channels = FormatChannels(format);
            EXPECT_EQ(Words(channels, word), Unpack(format, std::vector<uint8_t>(channels, b)));
        }
    }
    EXPECT_EQ((Words{0x0101, 0xFFFF, 0}), Unpack(CMMFORMAT_LAB_8, {1, 0xFF, 0}));
    EXPECT_EQ((Words{0xFFFF, 0x8080, 0x8080}), Unpack(CMMFORMAT_LAB_8, {0xFF, 0x80, 0x80})) << "Lab is no exception";
}

TEST(Formatters, NarrowToTheHighHalf) {
    EXPECT_EQ((std::vector<uint8_t>{0, 0xFF, 0x80}), Pack(CMMFORMAT_RGB_8, {0x00FF, 0xFF00, 0x80FF}));
    EXPECT_EQ((std::vector<uint8_t>{0xFF, 0, 0x7F, 1}), Pack(CMMFORMAT_CMYK_8, {0xFFFF, 0, 0x7FFF, 0x01FF}));
}

TEST(Formatters, ReverseOrderOfThreeBytes) {
    EXPECT_EQ((Words{0x0303, 0x0202, 0x0101}), Unpack(CMMFORMAT_BGR_8, {1, 2, 3}));
    EXPECT_EQ((std::vector<uint8_t>{3, 2, 1}), Pack(CMMFORMAT_BGR_8, {0x0100, 0x0200, 0x0300}));
}

TEST(Formatters, ReverseBitIsIgnoredElsewhere) {
    EXPECT_EQ(CmmSelectUnpack(Format(1, 4)), CmmSelectUnpack(Format(1, 4, true)));
    EXPECT_EQ(CmmSelectPack(Format(1, 4)), CmmSelectPack(Format(1, 4, true)));
    EXPECT_EQ((Words{0x0101, 0x0202, 0x0303, 0x0404}), Unpack(Format(1, 4, true), {1, 2, 3, 4}));
    EXPECT_EQ((Words{0x0201, 0x0403, 0x0605}), Unpack(Format(2, 3, true), {1, 2, 3, 4, 5, 6}));
    EXPECT_EQ((std::vector<uint8_t>{1, 2, 3, 4, 5, 6}), Pack(Format(2, 3, true), {0x0201, 0x0403, 0x0605}));
}

TEST(Formatters, WordsAreCopied) {
    EXPECT_EQ((Words{0x0201, 0x0403, 0x0605}), Unpack(kWords3, {1, 2, 3, 4, 5, 6}));
    EXPECT_EQ((Words{0x0201, 0x0403, 0x0605, 0x0807}), Unpack(kWords4, {1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ((std::vector<uint8_t>{1, 2, 3, 4, 5, 6, 7, 8}), Pack(kWords4, {0x0201, 0x0403, 0x0605, 0x0807}));
}

TEST(Formatters, WordsMayLieAtOddAddresses) {
    const GuardedBuffer buffer(7);
    Put(buffer, {0, 1, 2, 3, 4, 5, 6});
    Words words(16);
    CmmSelectUnpack(kWords3)(nullptr, words.data(), buffer.Data() + 1);
    EXPECT_EQ(0x0201, words[0]);
    CmmSelectPack(kWords3)(nullptr, words.data(), buffer.Data());
    EXPECT_EQ(1, buffer.Data()[0]);
}

TEST(Formatters, EightBitsComeBackUnchanged) {
    for (const uint32_t format : kFive) {
        for (uint32_t byte = 0; byte < 256; ++byte) {
            std::vector<uint8_t> pixel(FormatChannels(format), static_cast<uint8_t>(byte));
            pixel[1] = static_cast<uint8_t>(255 - byte);
            EXPECT_EQ(pixel, Pack(format, Unpack(format, pixel)));
        }
    }
}

}  // namespace
}  // namespace zv::test
