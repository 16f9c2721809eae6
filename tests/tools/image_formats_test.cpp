#include <gtest/gtest.h>

#include "image/image.h"
#include "tool_support.h"
#include "zvclr.h"
#include "zvspaces.h"

namespace {

using namespace zvimage;
using zvtest::Bytes;
using zvtest::Folder;

Bytes readAll(ImageReader& reader, int32_t rowsAtOnce) {
    const ImageInfo& info = reader.info();
    Bytes pixels(static_cast<size_t>(layoutOf(info.space).bytes(info.width, info.height)));
    uint8_t* target = pixels.data();
    for (int32_t row = 0; row < info.height; row += rowsAtOnce) {
        const int32_t count = std::min(rowsAtOnce, info.height - row);
        reader.readRows(target, count);
        target += layoutOf(info.space).bytes(info.width, count);
    }
    reader.finish();
    return pixels;
}

void writeAll(const std::string& path, int32_t width, int32_t height, int32_t space, const Bytes& pixels,
              const WriteOptions& options = {}, int32_t rowsAtOnce = 4) {
    const auto writer = createImage(path, width, height, space, options);
    const uint8_t* source = pixels.data();
    for (int32_t row = 0; row < height; row += rowsAtOnce) {
        const int32_t count = std::min(rowsAtOnce, height - row);
        writer->writeRows(source, count);
        source += layoutOf(space).bytes(width, count);
    }
    writer->finish();
}

Bytes fourChannels(int32_t width, int32_t height) {
    const Bytes rgb = zvtest::pattern(width, height);
    Bytes pixels;
    for (size_t i = 0; i < rgb.size(); i += 3) {
        pixels.insert(pixels.end(), {rgb[i], rgb[i + 1], rgb[i + 2], static_cast<uint8_t>((rgb[i] + rgb[i + 1]) / 2)});
    }
    return pixels;
}

TEST(ImageFormats, WrittenPixelsAreReadBack) {
    const Folder folder;
    const Bytes three = zvtest::pattern(37, 29);
    const Bytes four = fourChannels(37, 29);
    struct Case {
        const char* name;
        int32_t space;
        TiffCompression compression;
    };
    for (const Case& c :
         {Case{"a.png", CLRSPACE_RGB, TiffCompression::kLzw}, Case{"a.ppm", CLRSPACE_RGB, TiffCompression::kLzw},
          Case{"none.tif", CLRSPACE_RGB, TiffCompression::kNone}, Case{"lzw.tif", CLRSPACE_CMYK, TiffCompression::kLzw},
          Case{"deflate.tiff", CLRSPACE_CMYK, TiffCompression::kDeflate},
          Case{"lab.tif", CLRSPACE_LAB, TiffCompression::kLzw}}) {
        const Bytes& pixels = c.space == CLRSPACE_CMYK ? four : three;
        WriteOptions options;
        options.compression = c.compression;
        writeAll(folder.path(c.name), 37, 29, c.space, pixels, options);
        const auto reader = openImage(folder.path(c.name), {});
        EXPECT_EQ(reader->info().width, 37);
        EXPECT_EQ(reader->info().height, 29);
        EXPECT_EQ(reader->info().space, c.space);
        EXPECT_EQ(reader->info().bytesPerRow, c.space == CLRSPACE_CMYK ? 148U : 111U);
        EXPECT_TRUE(reader->info().notes.empty());
        EXPECT_EQ(readAll(*reader, 8), pixels) << c.name;
    }
}

TEST(ImageFormats, JpegKeepsSmoothColoursOfEachSpace) {
    const Folder folder;
    struct Case {
        int32_t space;
        int tolerance;
    };
    WriteOptions options;
    options.quality = 100;
    for (const Case& c : {Case{CLRSPACE_RGB, 8}, Case{CLRSPACE_CMYK, 2}, Case{CLRSPACE_YCCK, 2}}) {
        const Bytes pixels = c.space == CLRSPACE_RGB ? zvtest::pattern(64, 48) : fourChannels(64, 48);
        writeAll(folder.path("a.jpg"), 64, 48, c.space, pixels, options);
        ReadOptions read;
        read.space = c.space;
        const auto reader = openImage(folder.path("a.jpg"), read);
        EXPECT_LE(zvtest::largestDifference(readAll(*reader, 8), pixels), c.tolerance) << c.space;
    }
}

TEST(ImageFormats, YcckJpegIsCmykUnlessAskedForItsOwnPixels) {
    const Folder folder;
    writeAll(folder.path("a.jpg"), 16, 8, CLRSPACE_YCCK, fourChannels(16, 8));
    EXPECT_EQ(openImage(folder.path("a.jpg"), {})->info().space, CLRSPACE_CMYK);
    ReadOptions options;
    options.space = CLRSPACE_YCCK;
    EXPECT_EQ(openImage(folder.path("a.jpg"), options)->info().space, CLRSPACE_YCCK);
    writeAll(folder.path("b.jpg"), 16, 8, CLRSPACE_CMYK, fourChannels(16, 8));
    EXPECT_THROW(openImage(folder.path("b.jpg"), options), ContradictionError);
}

TEST(ImageFormats, InkIsNotInvertedWithoutAdobesMarker) {
    const Folder folder;
    const Bytes pixels = fourChannels(32, 16);
    WriteOptions options;
    options.quality = 100;
    writeAll(folder.path("a.jpg"), 32, 16, CLRSPACE_CMYK, pixels, options);
    Bytes file = zvtest::readFile(folder.path("a.jpg"));
    // The marker comes first, with a length of 14.
    const auto marker = file.begin() + 2;
    ASSERT_EQ(Bytes(marker, marker + 9), (Bytes{0xff, 0xee, 0, 14, 'A', 'd', 'o', 'b', 'e'}));
    file.erase(marker, marker + 16);
    zvtest::writeFile(folder.path("a.jpg"), file);
    Bytes inverted = readAll(*openImage(folder.path("a.jpg"), {}), 8);
    for (uint8_t& value : inverted) {
        value = static_cast<uint8_t>(255 - value);
    }
    EXPECT_LE(zvtest::largestDifference(inverted, pixels), 2);
}

TEST(ImageFormats, RawPixelsOfEverySpaceAreReadBack) {
    const Folder folder;
    for (const Space& space : allSpaces()) {
        const int64_t bytes = layoutOf(space.id).bytes(24, 20);
        EXPECT_EQ(bytes, space.bits * 24 * 20 / 8) << space.name;
        Bytes pixels(static_cast<size_t>(bytes));
        for (size_t i = 0; i < pixels.size(); ++i) {
            pixels[i] = static_cast<uint8_t>(i * 7 % 251);
        }
        const std::string path = folder.path(std::string("a.") + space.name);
        // One strip and several give the same file, planes included.
        if (space.id != CLRSPACE_YVU9) {
            writeAll(path, 24, 20, space.id, pixels);
            EXPECT_EQ(zvtest::readFile(path), pixels) << space.name;
        }
        writeAll(path, 24, 20, space.id, pixels, {}, 20);
        EXPECT_EQ(zvtest::readFile(path), pixels) << space.name;
        ReadOptions options;
        options.space = space.id;
        options.width = 24;
        options.height = 20;
        EXPECT_EQ(readAll(*openImage(path, options), 20), pixels) << space.name;
    }
}

TEST(ImageFormats, PlanesAreGatheredFromStrips) {
    const Folder folder;
    Bytes file;
    for (int i = 0; i < 8 * 8 * 9 / 8; ++i) {
        file.push_back(static_cast<uint8_t>(i));
    }
    zvtest::writeFile(folder.path("a.yvu9"), file);
    ReadOptions options;
    options.space = CLRSPACE_YVU9;
    options.width = 8;
    options.height = 8;
    const auto reader = openImage(folder.path("a.yvu9"), options);
    EXPECT_EQ(reader->info().rowUnit, 4);
    Bytes strip(8 * 4 * 9 / 8);
    const auto writer = createImage(folder.path("b.yvu9"), 8, 8, CLRSPACE_YVU9, {});
    for (uint8_t band = 0; band < 2; ++band) {
        reader->readRows(strip.data(), 4);
        EXPECT_EQ(strip[0], 32 * band);
        EXPECT_EQ(Bytes(strip.begin() + 32, strip.end()),
                  (Bytes{static_cast<uint8_t>(64 + 2 * band), static_cast<uint8_t>(65 + 2 * band),
                         static_cast<uint8_t>(68 + 2 * band), static_cast<uint8_t>(69 + 2 * band)}));
        writer->writeRows(strip.data(), 4);
    }
    writer->finish();
    EXPECT_EQ(zvtest::readFile(folder.path("b.yvu9")), file);
}

TEST(ImageFormats, NetpbmFilesOfEachKindAreRead) {
    const Folder folder;
    struct Case {
        const char* text;
        Bytes pixels;
    };
    const Case cases[] = {
        {"P2 # comment\n2 1 # more\n255\n0 128\n", {0, 0, 0, 128, 128, 128}},
        {"P3\n1 2\n15\n15 0 15\n0 15 7\n", {255, 0, 255, 0, 255, 119}},
        {"P2\n1 1\n65535\n32768", {128, 128, 128}},
        {"P3 1 1 1 1 0 1", {255, 0, 255}},
    };
    for (const Case& c : cases) {
        zvtest::writeFile(folder.path("a.pnm"), std::string(c.text));
        EXPECT_EQ(readAll(*openImage(folder.path("a.pnm"), {}), 1), c.pixels) << c.text;
    }
    zvtest::writeFile(folder.path("a.pnm"), Bytes{'P', '5', '\n', '2', ' ', '1', '\n', '2', '5', '5', '\n', 9, 200});
    EXPECT_EQ(readAll(*openImage(folder.path("a.pnm"), {}), 1), (Bytes{9, 9, 9, 200, 200, 200}));
    zvtest::writeFile(folder.path("a.pnm"), Bytes{'P', '6', ' ', '1', ' ', '1', ' ', '6', '5', '5', '3', '5', '\n',
                                                  0xff, 0xff, 0x80, 0x80, 0x00, 0x7f});
    EXPECT_EQ(readAll(*openImage(folder.path("a.pnm"), {}), 1), (Bytes{255, 128, 0}));
}

TEST(ImageFormats, UnfinishedFilesLeaveTheOldOnes) {
    const Folder folder;
    zvtest::writeFile(folder.path("a.png"), std::string("old"));
    {
        const auto writer = createImage(folder.path("a.png"), 8, 8, CLRSPACE_RGB, {});
        const Bytes rows = zvtest::pattern(8, 4);
        writer->writeRows(rows.data(), 4);
    }
    EXPECT_EQ(folder.names(), std::vector<std::string>{"a.png"});
    EXPECT_EQ(zvtest::readFile(folder.path("a.png")), (Bytes{'o', 'l', 'd'}));
}

TEST(ImageFormats, FormatsAreFoundByExtension) {
    EXPECT_EQ(formatFromExtension("a.b/c.PNG"), Format::kPng);
    EXPECT_EQ(formatFromExtension("x.jpeg"), Format::kJpeg);
    EXPECT_EQ(formatFromExtension("x.y41p"), Format::kRaw);
    EXPECT_EQ(formatFromExtension("x.yuv"), Format::kRaw);
    EXPECT_EQ(formatFromExtension("png"), std::nullopt);
    EXPECT_EQ(formatFromExtension("a.png/b"), std::nullopt);
    EXPECT_EQ(formatFromExtension("a.gif"), std::nullopt);
}

TEST(ImageFormats, SpacesAreThoseOfTheLibrary) {
    EXPECT_EQ(allSpaces().size(), size_t{ZVCLR_SPACE_COUNT});
    EXPECT_STREQ(spaceOf(CLRSPACE_HSI).name, "hsi");
    EXPECT_THROW(spaceOf(16), std::logic_error);
    EXPECT_EQ(spaceNames({CLRSPACE_RGB, CLRSPACE_LAB}), "rgb, lab");
}

TEST(ImageFormats, SizesThatNoStripCouldHoldAreRefused) {
    const Folder folder;
    EXPECT_THROW(createImage(folder.path("a.raw"), kMaxDimension + 1, 1, CLRSPACE_RGB, {}), ImageError);
    EXPECT_THROW(createImage(folder.path("a.raw"), 1, 0, CLRSPACE_RGB, {}), ImageError);
    EXPECT_THROW(createImage(folder.path("a.jpg"), 65501, 1, CLRSPACE_RGB, {}), ContradictionError);
    EXPECT_THROW(createImage(folder.path("a.yuy2"), 3, 1, CLRSPACE_YUY2, {}), ContradictionError);
    EXPECT_TRUE(folder.names().empty());
}

}  // namespace
