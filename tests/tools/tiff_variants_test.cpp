// TIFF files of the many shapes that other programs write, made with libtiff.
#include <gtest/gtest.h>
#include <tiffio.h>

#include <functional>
#include <memory>

#include "image/image.h"
#include "tool_support.h"
#include "zvclr.h"

namespace {

using zvimage::openImage;
using zvtest::Bytes;
using zvtest::Folder;

struct CloseTiff {
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};

struct Variant {
    int photometric = PHOTOMETRIC_RGB;
    int bits = 8;
    int samples = 3;
    std::vector<uint16_t> extra = {};
    int inkSet = 0;
};

// One pixel after another in a row of `width`, from rows of packed samples.
void writeTiff(const std::string& path, const Variant& variant, uint32_t width, const std::vector<Bytes>& rows,
               const std::function<void(TIFF*)>& more = {}) {
    const std::unique_ptr<TIFF, CloseTiff> tiff(TIFFOpen(path.c_str(), "w"));
    ASSERT_NE(tiff, nullptr);
    TIFFSetField(tiff.get(), TIFFTAG_IMAGEWIDTH, width);
    TIFFSetField(tiff.get(), TIFFTAG_IMAGELENGTH, static_cast<uint32_t>(rows.size()));
    TIFFSetField(tiff.get(), TIFFTAG_BITSPERSAMPLE, variant.bits);
    TIFFSetField(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, variant.samples);
    TIFFSetField(tiff.get(), TIFFTAG_PHOTOMETRIC, variant.photometric);
    TIFFSetField(tiff.get(), TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    if (!variant.extra.empty()) {
        TIFFSetField(tiff.get(), TIFFTAG_EXTRASAMPLES, static_cast<int>(variant.extra.size()), variant.extra.data());
    }
    if (variant.inkSet != 0) {
        TIFFSetField(tiff.get(), TIFFTAG_INKSET, variant.inkSet);
    }
    if (more) {
        more(tiff.get());
    }
    for (uint32_t row = 0; row < rows.size(); ++row) {
        Bytes line = rows[row];
        ASSERT_EQ(TIFFWriteScanline(tiff.get(), line.data(), row, 0), 1);
    }
}

Bytes words(const std::vector<uint16_t>& values) {
    Bytes bytes;
    for (const uint16_t value : values) {
        bytes.push_back(static_cast<uint8_t>(value & 255));
        bytes.push_back(static_cast<uint8_t>(value >> 8));
    }
    return bytes;
}

Bytes pixelsOf(const std::string& path, int32_t expectedSpace) {
    const auto reader = openImage(path, {});
    EXPECT_EQ(reader->info().space, expectedSpace);
    Bytes pixels(reader->info().bytesPerRow * static_cast<size_t>(reader->info().height));
    reader->readRows(pixels.data(), reader->info().height);
    reader->finish();
    return pixels;
}

TEST(TiffVariants, GreyOfEveryDepth) {
    const Folder folder;
    const std::string path = folder.path("a.tif");
    writeTiff(path, {PHOTOMETRIC_MINISBLACK, 1, 1}, 3, {{0xa0}});
    EXPECT_EQ(pixelsOf(path, CLRSPACE_RGB), (Bytes{255, 255, 255, 0, 0, 0, 255, 255, 255}));
    writeTiff(path, {PHOTOMETRIC_MINISWHITE, 1, 1}, 3, {{0xa0}});
    EXPECT_EQ(pixelsOf(path, CLRSPACE_RGB), (Bytes{0, 0, 0, 255, 255, 255, 0, 0, 0}));
    writeTiff(path, {PHOTOMETRIC_MINISBLACK, 2, 1}, 3, {{0x1b}});
    EXPECT_EQ(pixelsOf(path, CLRSPACE_RGB), (Bytes{0, 0, 0, 85, 85, 85, 170, 170, 170}));
    writeTiff(path, {PHOTOMETRIC_MINISBLACK, 4, 1}, 2, {{0x1f}});
    EXPECT_EQ(pixelsOf(path, CLRSPACE_RGB), (Bytes{17, 17, 17, 255, 255, 255}));
    writeTiff(path, {PHOTOMETRIC_MINISWHITE, 8, 1}, 2, {{10, 255}});
    EXPECT_EQ(pixelsOf(path, CLRSPACE_RGB), (Bytes{245, 245, 245, 0, 0, 0}));
    writeTiff(path, {PHOTOMETRIC_MINISBLACK, 16, 1}, 2, {words({0x8080, 0xffff})});
    EXPECT_EQ(pixelsOf(path, CLRSPACE_RGB), (Bytes{128, 128, 128, 255, 255, 255}));
}

TEST(TiffVariants, SixteenBitsAreRounded) {
    const Folder folder;
    const std::string path = folder.path("a.tif");
    writeTiff(path, {PHOTOMETRIC_RGB, 16, 3}, 1, {words({0, 0x7fff, 0xff7f})});
    EXPECT_EQ(pixelsOf(path, CLRSPACE_RGB), (Bytes{0, 127, 255}));
    writeTiff(path, {PHOTOMETRIC_SEPARATED, 16, 4, {}, INKSET_CMYK}, 1, {words({0, 0x8080, 0xffff, 0x0101})});
    EXPECT_EQ(pixelsOf(path, CLRSPACE_CMYK), (Bytes{0, 128, 255, 1}));
}

TEST(TiffVariants, PalettesOfWordsAndOfBytes) {
    const Folder folder;
    const std::string path = folder.path("a.tif");
    for (const size_t scale : {257U, 1U}) {
        uint16_t red[16] = {};
        uint16_t green[16] = {};
        uint16_t blue[16] = {};
        for (size_t i = 0; i < 16; ++i) {
            red[i] = static_cast<uint16_t>(i * 16 * scale);
            green[i] = static_cast<uint16_t>((255 - i) * scale);
            blue[i] = static_cast<uint16_t>(7U * scale);
        }
        writeTiff(path, {PHOTOMETRIC_PALETTE, 4, 1}, 2, {{0x0f}},
                  [&](TIFF* tiff) { TIFFSetField(tiff, TIFFTAG_COLORMAP, red, green, blue); });
        EXPECT_EQ(pixelsOf(path, CLRSPACE_RGB), (Bytes{0, 255, 7, 240, 240, 7})) << scale;
    }
}

TEST(TiffVariants, AlphaIsLaidOnWhite) {
    const Folder folder;
    const std::string path = folder.path("a.tif");
    writeTiff(path, {PHOTOMETRIC_RGB, 8, 4, {EXTRASAMPLE_UNASSALPHA}}, 3, {{9, 8, 7, 0, 9, 8, 7, 255, 0, 0, 0, 128}});
    EXPECT_EQ(pixelsOf(path, CLRSPACE_RGB), (Bytes{255, 255, 255, 9, 8, 7, 127, 127, 127}));
    EXPECT_EQ(openImage(path, {})->info().notes.size(), 1U);
    writeTiff(path, {PHOTOMETRIC_RGB, 8, 4, {EXTRASAMPLE_ASSOCALPHA}}, 2, {{0, 0, 0, 0, 100, 50, 0, 128}});
    EXPECT_EQ(pixelsOf(path, CLRSPACE_RGB), (Bytes{255, 255, 255, 227, 177, 127}));
    writeTiff(path, {PHOTOMETRIC_SEPARATED, 8, 5, {EXTRASAMPLE_UNASSALPHA}, INKSET_CMYK}, 2,
              {{200, 100, 50, 25, 0, 200, 100, 50, 25, 255}});
    EXPECT_EQ(pixelsOf(path, CLRSPACE_CMYK), (Bytes{0, 0, 0, 0, 200, 100, 50, 25}));
    writeTiff(path, {PHOTOMETRIC_MINISBLACK, 8, 2, {EXTRASAMPLE_UNASSALPHA}}, 1, {{0, 0}});
    EXPECT_EQ(pixelsOf(path, CLRSPACE_RGB), (Bytes{255, 255, 255}));
    writeTiff(path, {PHOTOMETRIC_RGB, 8, 4, {EXTRASAMPLE_UNSPECIFIED}}, 1, {{9, 8, 7, 0}});
    EXPECT_EQ(pixelsOf(path, CLRSPACE_RGB), (Bytes{9, 8, 7}));
}

TEST(TiffVariants, LabInBothEncodingsAndDepths) {
    const Folder folder;
    const std::string path = folder.path("a.tif");
    const Bytes expected = {135, 80, 0x95};
    writeTiff(path, {PHOTOMETRIC_CIELAB, 8, 3}, 1, {{135, 80, 0x95}});
    EXPECT_EQ(pixelsOf(path, CLRSPACE_LAB), expected);
    writeTiff(path, {PHOTOMETRIC_ICCLAB, 8, 3}, 1, {{135, 80 + 128, 0x95 - 128}});
    EXPECT_EQ(pixelsOf(path, CLRSPACE_LAB), expected);
    writeTiff(path, {PHOTOMETRIC_CIELAB, 16, 3}, 1, {words({135 * 257, 80 * 256, 0x9500})});
    EXPECT_EQ(pixelsOf(path, CLRSPACE_LAB), expected);
    writeTiff(path, {PHOTOMETRIC_ICCLAB, 16, 3}, 1, {words({135 * 256, (80 + 128) * 256, (0x95 - 128) * 256})});
    EXPECT_EQ(pixelsOf(path, CLRSPACE_LAB), expected);
    writeTiff(path, {PHOTOMETRIC_CIELAB, 16, 3}, 1, {words({0xffff, 0x7fff, 0x8000})});
    EXPECT_EQ(pixelsOf(path, CLRSPACE_LAB), (Bytes{255, 127, 128}));
}

TEST(TiffVariants, TilesPlanesAndByteOrdersHoldTheSamePicture) {
    const Folder folder;
    const Bytes pixels = zvtest::pattern(100, 70);
    zvtest::writeFile(folder.path("a.ppm"), zvtest::ppm(100, 70, pixels));
    zvtest::shell("cd " + folder.root() + R"(
        $ZVCLR convert a.ppm a.tif --to rgb --compression none
        tiffcp -r 7 a.tif strips.tif
        tiffcp -r 70 -c zip:2 a.tif one-strip.tif
        tiffcp -r 9 -p separate -c lzw a.tif planes.tif
        tiffcp -t -w 32 -l 16 a.tif tiles.tif
        tiffcp -t -w 48 -l 48 -c lzw:2 a.tif lzw-tiles.tif
        tiffcp -t -w 16 -l 32 -p separate -c packbits a.tif plane-tiles.tif
        tiffcp -B a.tif big-endian.tif
        tiffcp -8 -c zip a.tif big.tif
        tiffcp -f lsb2msb a.tif fill-order.tif)");
    size_t read = 0;
    for (const std::string& name : folder.names()) {
        if (name.ends_with(".tif")) {
            EXPECT_EQ(pixelsOf(folder.path(name), CLRSPACE_RGB), pixels) << name;
            ++read;
        }
    }
    EXPECT_EQ(read, 10U);
}

TEST(TiffVariants, JpegCompressionDeliversRgb) {
    const Folder folder;
    const Bytes pixels = zvtest::pattern(64, 48);
    zvtest::writeFile(folder.path("a.ppm"), zvtest::ppm(64, 48, pixels));
    zvtest::shell("cd " + folder.root() + R"(
        $ZVCLR convert a.ppm a.tif --to rgb --compression none
        tiffcp -r 16 -c jpeg:95 a.tif ycbcr.tif
        tiffcp -r 16 -c jpeg:r:95 a.tif rgb.tif)");
    EXPECT_LE(zvtest::largestDifference(pixelsOf(folder.path("ycbcr.tif"), CLRSPACE_RGB), pixels), 12);
    EXPECT_LE(zvtest::largestDifference(pixelsOf(folder.path("rgb.tif"), CLRSPACE_RGB), pixels), 12);
}

TEST(TiffVariants, OtherShapesAreRefusedByName) {
    const Folder folder;
    const std::string path = folder.path("a.tif");
    const auto refusal = [&path] {
        try {
            openImage(path, {});
        } catch (const zvimage::ImageError& error) {
            return std::string(error.what());
        }
        return std::string("accepted");
    };
    writeTiff(path, {PHOTOMETRIC_SEPARATED, 8, 4, {}, INKSET_MULTIINK}, 1, {{1, 2, 3, 4}});
    EXPECT_NE(refusal().find("other inks than CMYK"), std::string::npos);
    writeTiff(path, {PHOTOMETRIC_RGB, 32, 3}, 1, {Bytes(12)});
    EXPECT_NE(refusal().find("32 bits"), std::string::npos);
    writeTiff(path, {PHOTOMETRIC_RGB, 16, 3}, 1, {Bytes(6)},
              [](TIFF* tiff) { TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_INT); });
    EXPECT_NE(refusal().find("unsigned"), std::string::npos);
    writeTiff(path, {PHOTOMETRIC_RGB, 8, 2}, 1, {Bytes(2)});
    EXPECT_NE(refusal().find("2 samples"), std::string::npos);
    writeTiff(path, {PHOTOMETRIC_YCBCR, 8, 3}, 1, {Bytes(3)},
              [](TIFF* tiff) { TIFFSetField(tiff, TIFFTAG_YCBCRSUBSAMPLING, 1, 1); });
    EXPECT_NE(refusal().find("YCbCr"), std::string::npos);
    writeTiff(path, {PHOTOMETRIC_LOGLUV, 8, 3}, 1, {Bytes(3)});
    EXPECT_NE(refusal().find("photometric interpretation 32845"), std::string::npos);
}

TEST(TiffVariants, TurnedPicturesAreMentioned) {
    const Folder folder;
    writeTiff(folder.path("a.tif"), {PHOTOMETRIC_RGB, 8, 3}, 1, {{1, 2, 3}},
              [](TIFF* tiff) { TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_RIGHTTOP); });
    const auto reader = openImage(folder.path("a.tif"), {});
    ASSERT_EQ(reader->info().notes.size(), 1U);
    EXPECT_NE(reader->info().notes[0].find("upright"), std::string::npos);
    EXPECT_EQ(pixelsOf(folder.path("a.tif"), CLRSPACE_RGB), (Bytes{1, 2, 3}));
}

TEST(TiffVariants, FurtherPagesAreMentioned) {
    const Folder folder;
    zvtest::writeFile(folder.path("a.ppm"), zvtest::ppm(4, 4, zvtest::pattern(4, 4)));
    zvtest::shell("cd " + folder.root() + "; $ZVCLR convert a.ppm a.tif --to rgb; tiffcp a.tif a.tif two.tif");
    const auto reader = openImage(folder.path("two.tif"), {});
    ASSERT_EQ(reader->info().notes.size(), 1U);
    EXPECT_NE(reader->info().notes[0].find("first"), std::string::npos);
}

}  // namespace
