// The format of a file, told by its content.
#include <array>

#include "tests/host/image_folder.h"

#ifndef _WIN32
#    include <sys/stat.h>
#endif

namespace zv::test {
namespace {

using namespace std::string_literals;

class Formats : public ImageFolder {
protected:
    int32_t FormatOf(const std::string& content) {
        HostImageInfo info = {};
        info.format = -1;
        EXPECT_EQ(CLR_SUCCESS, HostFileInfo(WideOf(Make("file", content)).c_str(), &info, sizeof info, 0, nullptr));
        return info.format;
    }
    static int32_t ResultOf(const fs::path& path) {
        HostImageInfo info;
        std::fill_n(reinterpret_cast<uint8_t*>(&info), sizeof info, uint8_t{0xEE});
        const int32_t result = HostFileInfo(WideOf(path).c_str(), &info, sizeof info, 0, nullptr);
        if (result != CLR_SUCCESS) {
            EXPECT_EQ(0xEEEEEEEEU, info.size) << "a failure fills nothing";
        }
        return result;
    }
};

const std::string kPictureTwo = "\0\x11\x02\xFF\x0C\0"s;

struct Beginning {
    std::string bytes;
    size_t significantFrom;
    int32_t format;
};

std::vector<Beginning> Beginnings() {
    const auto at = [](size_t offset, const std::string& bytes, int32_t format) {
        return Beginning{std::string(offset, 'x') + bytes, offset, format};
    };
    return {
        at(0, "\xFF\xD8\xFF", 10),
        at(0, "II\x2A\0"s, 3),
        at(0, "MM\0\x2A"s, 3),
        at(0, "II\x2B\0\x08\0\0\0"s, 3),
        at(0, "MM\0\x2B\0\x08\0\0"s, 3),
        at(0, "%!PS", 16),
        at(0, "\xC5\xD0\xD3\xC6", 63),
        at(0, "GIF87a", 2),
        at(0, "GIF89a", 2),
        at(512 + 10, kPictureTwo, 56),
        {std::string(512, '\0') + std::string(10, 'x') + "\x11\x01", 522, 56},
        at(10, kPictureTwo, 56),
        at(0, "\x89PNG\r\n\x1A\n", kHostFormatPng),
        at(8, "WEBPVP8", kHostFormatWebp),
        at(0, "8BPS\0"s, kHostFormatPsd),
        at(0, "\0\0\0\x0CjP  \r\n\x87\n"s, kHostFormatJpeg2000),
        at(0, "\xFF\x4F\xFF\x51", kHostFormatJpeg2000),
        at(0, "\0\0\0\x0CJXL \r\n\x87\n"s, kHostFormatJpegXl),
        at(0, "\xFF\x0A", kHostFormatJpegXl),
        at(4, "ftypheic", kHostFormatHeif),
        at(4, "ftypheix", kHostFormatHeif),
        at(4, "ftypmif1", kHostFormatHeif),
        at(4, "ftypavif", kHostFormatHeif),
        at(0, "%PDF-", kHostFormatPdf),
        at(36, "acsp", kHostFormatIcc),
        at(0, "BM", kHostFormatBmp),
        at(0, "\0\0\1\0"s, kHostFormatIcon),
        at(0, "P1", kHostFormatPnm),
        at(0, "P2", kHostFormatPnm),
        at(0, "P3", kHostFormatPnm),
        at(0, "P4", kHostFormatPnm),
        at(0, "P5", kHostFormatPnm),
        at(0, "P6", kHostFormatPnm),
        at(0, "P7", kHostFormatPnm),
    };
}

TEST_F(Formats, WithAWayIntoThemHaveTheNumbersOfTheLibrary) {
    EXPECT_EQ(2, kHostFormatGif);
    EXPECT_EQ(3, kHostFormatTiff);
    EXPECT_EQ(10, kHostFormatJpeg);
    EXPECT_EQ(16, kHostFormatEps);
    EXPECT_EQ(56, kHostFormatMacPicture);
    EXPECT_EQ(63, kHostFormatEpsWithPreview);
    EXPECT_EQ(1001, kHostFormatPng);
}

TEST_F(Formats, BeginningsAloneAndWithMoreBehind) {
    for (const Beginning& beginning : Beginnings()) {
        SCOPED_TRACE(::testing::PrintToString(beginning.bytes));
        EXPECT_EQ(beginning.format, FormatOf(beginning.bytes));
        EXPECT_EQ(beginning.format, FormatOf(beginning.bytes + 'x'));
        EXPECT_EQ(beginning.format, FormatOf(beginning.bytes + std::string(1000, '\0')));
        EXPECT_EQ(kHostFormatUnknown, FormatOf("x" + beginning.bytes)) << "not at its place";
    }
}

TEST_F(Formats, TwoBytesFarBehindMakeNoPicture) {
    const std::string behind = std::string(520, '\0') + "\x11\x01";
    EXPECT_EQ(kHostFormatBmp, FormatOf("BM" + behind));
    EXPECT_EQ(kHostFormatPnm, FormatOf("P6" + behind));
    EXPECT_EQ(kHostFormatUnknown, FormatOf("xx" + behind));
    EXPECT_EQ(kHostFormatMacPicture, FormatOf(std::string(2, '\0') + behind));
    EXPECT_EQ(kHostFormatUnknown, FormatOf(std::string(511, '\0') + "x" + std::string(10, '\0') + "\x11\x01"));
}

TEST_F(Formats, TruncatedBeginningsAreUnknown) {
    for (const Beginning& beginning : Beginnings()) {
        SCOPED_TRACE(::testing::PrintToString(beginning.bytes));
        for (size_t size = beginning.significantFrom; size < beginning.bytes.size(); ++size) {
            EXPECT_EQ(kHostFormatUnknown, FormatOf(beginning.bytes.substr(0, size))) << size;
        }
    }
}

TEST_F(Formats, AnotherByteAnywhereMakesThemUnknown) {
    for (const Beginning& beginning : Beginnings()) {
        SCOPED_TRACE(::testing::PrintToString(beginning.bytes));
        for (size_t i = beginning.significantFrom; i < beginning.bytes.size(); ++i) {
            std::string changed = beginning.bytes;
            changed[i] = static_cast<char>(changed[i] ^ 0x80);
            EXPECT_EQ(kHostFormatUnknown, FormatOf(changed)) << i;
        }
    }
}

TEST_F(Formats, OtherPostScriptAndTiffVersions) {
    EXPECT_EQ(kHostFormatEps, FormatOf("%!PS-Adobe-3.0 EPSF-3.0\n"));
    EXPECT_EQ(kHostFormatUnknown, FormatOf("II\x2B\0\x04\0\0\0"s)) << "offsets of another size";
    EXPECT_EQ(kHostFormatUnknown, FormatOf("II\0\x2A"s)) << "the other byte order";
    EXPECT_EQ(kHostFormatUnknown, FormatOf("GIF88a"));
}

TEST_F(Formats, FilesOfEverySizeUpToBehindTheFarthestSignature) {
    const std::string picture = std::string(522, 'x') + kPictureTwo + "xx";
    const std::string bare = std::string(10, 'x') + kPictureTwo + std::string(520, 'x');
    const std::string jpeg = "\xFF\xD8\xFF" + std::string(530, 'x');
    for (size_t size = 0; size <= 530; ++size) {
        SCOPED_TRACE(size);
        EXPECT_EQ(kHostFormatUnknown, FormatOf(std::string(size, '\0')));
        EXPECT_EQ(kHostFormatUnknown, FormatOf(std::string(size, '\xFF')));
        EXPECT_EQ(size >= 528 ? kHostFormatMacPicture : kHostFormatUnknown, FormatOf(picture.substr(0, size)));
        EXPECT_EQ(size >= 16 ? kHostFormatMacPicture : kHostFormatUnknown, FormatOf(bare.substr(0, size)));
        EXPECT_EQ(size >= 3 ? kHostFormatJpeg : kHostFormatUnknown, FormatOf(jpeg.substr(0, size)));
    }
}

TEST_F(Formats, BeginningsGoBeforeWhatStandsFartherBehind) {
    std::string content = std::string(522, 'x') + kPictureTwo;
    content.replace(10, kPictureTwo.size(), kPictureTwo);
    EXPECT_EQ(kHostFormatMacPicture, FormatOf(content));
    EXPECT_EQ(kHostFormatJpeg, FormatOf("\xFF\xD8\xFF" + content.substr(3)));
    EXPECT_EQ(kHostFormatMacPicture, FormatOf("BM" + content.substr(2))) << "two letters prove less";
    EXPECT_EQ(kHostFormatMacPicture, FormatOf("P6" + content.substr(2)));
    content.replace(36, 4, "acsp");
    EXPECT_EQ(kHostFormatIcc, FormatOf(content));
    EXPECT_EQ(kHostFormatTiff, FormatOf("II\x2A\0"s + content.substr(4)));
}

TEST_F(Formats, InfoIsClearedButForSizeAndFormat) {
    HostImageInfo info;
    std::fill_n(reinterpret_cast<uint8_t*>(&info), sizeof info, uint8_t{0xEE});
    ASSERT_EQ(CLR_SUCCESS, HostFileInfo(WideOf(Make("file", "GIF89a")).c_str(), &info, sizeof info, 0, nullptr));
    EXPECT_EQ(2280U, info.size);
    EXPECT_EQ(kHostFormatGif, info.format);
    for (const uint8_t byte : info.rest) ASSERT_EQ(0, byte);
}

TEST_F(Formats, NullAndWrongSizeAreRefused) {
    const Wide name = WideOf(Make("file", "GIF89a"));
    HostImageInfo info = {};
    EXPECT_EQ(ERR_INVALID_PARAMETER, HostFileInfo(nullptr, &info, sizeof info, 0, nullptr));
    EXPECT_EQ(ERR_INVALID_PARAMETER, HostFileInfo(name.c_str(), nullptr, sizeof info, 0, nullptr));
    for (const uint32_t size : {0U, 8U, 2279U, 2281U, 0xFFFFFFFFU}) {
        EXPECT_EQ(ERR_STRUCT_SIZE, HostFileInfo(name.c_str(), &info, size, 0, nullptr)) << size;
    }
    EXPECT_EQ(0, info.format);
}

TEST_F(Formats, OnlyPlainFilesAreOpened) {
    EXPECT_EQ(ERR_FILE_OPEN, ResultOf(folder_ / "missing"));
    EXPECT_EQ(ERR_FILE_OPEN, ResultOf(folder_));
    EXPECT_EQ(ERR_FILE_OPEN, ResultOf(""));
    EXPECT_EQ(ERR_FILE_OPEN, ResultOf(Make("plain", "x") / "inner"));
#ifndef _WIN32
    ASSERT_EQ(0, mkfifo((folder_ / "pipe").c_str(), 0600));
    EXPECT_EQ(ERR_FILE_OPEN, ResultOf(folder_ / "pipe"));
    EXPECT_EQ(ERR_FILE_OPEN, ResultOf("/dev/zero"));
    EXPECT_EQ(ERR_FILE_OPEN, ResultOf("/dev/null"));
    EXPECT_EQ(ERR_FILE_READ, ResultOf("/proc/self/status")) << "plain, but without an end to seek";
    constexpr ZvChar kLoneSurrogate[] = {u'a', 0xD800, u'b', 0};
    HostImageInfo info = {};
    EXPECT_EQ(ERR_FILE_OPEN, HostFileInfo(kLoneSurrogate, &info, sizeof info, 0, nullptr));
    fs::create_symlink(folder_ / "circle", folder_ / "circle");
    EXPECT_EQ(ERR_FILE_OPEN, ResultOf(folder_ / "circle"));
    fs::create_symlink(Make("picture", "GIF89a"), folder_ / "link");
    EXPECT_EQ(CLR_SUCCESS, ResultOf(folder_ / "link"));
#endif
}

}  // namespace
}  // namespace zv::test
