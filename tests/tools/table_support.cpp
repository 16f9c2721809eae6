#include "table_support.h"

#include <gtest/gtest.h>
#include <tiffio.h>

#include <memory>

namespace zvtest {

namespace {

struct CloseTiff {
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};

}  // namespace

void writeTiff(const std::string& path, const TiffPicture& picture, const char* mode,
               const std::function<void(TIFF*)>& more) {
    const std::unique_ptr<TIFF, CloseTiff> tiff(TIFFOpen(path.c_str(), mode));
    ASSERT_NE(tiff, nullptr);
    TIFFSetField(tiff.get(), TIFFTAG_IMAGEWIDTH, picture.width);
    TIFFSetField(tiff.get(), TIFFTAG_IMAGELENGTH, picture.height);
    TIFFSetField(tiff.get(), TIFFTAG_BITSPERSAMPLE, int{picture.bits});
    TIFFSetField(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, int{picture.samples});
    TIFFSetField(tiff.get(), TIFFTAG_PHOTOMETRIC, int{picture.photometric});
    TIFFSetField(tiff.get(), TIFFTAG_COMPRESSION, int{picture.compression});
    TIFFSetField(tiff.get(), TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff.get(), TIFFTAG_ROWSPERSTRIP, (picture.height + picture.strips - 1) / picture.strips);
    if (more) {
        more(tiff.get());
    }
    uint16_t planar = 0;
    TIFFGetField(tiff.get(), TIFFTAG_PLANARCONFIG, &planar);
    const size_t planes = planar == PLANARCONFIG_SEPARATE ? picture.samples : 1;
    Bytes pixels = picture.pixels;
    const size_t rowBytes = pixels.size() / planes / picture.height;
    for (size_t plane = 0; plane < planes; ++plane) {
        for (uint32_t row = 0; row < picture.height; ++row) {
            uint8_t* line = pixels.data() + (plane * picture.height + row) * rowBytes;
            ASSERT_EQ(TIFFWriteScanline(tiff.get(), line, row, static_cast<uint16_t>(plane)), 1);
        }
    }
}

TiffPicture readTiff(const std::string& path) {
    TiffPicture picture;
    // Otherwise libtiff makes many strips of a large one.
    const std::unique_ptr<TIFF, CloseTiff> tiff(TIFFOpen(path.c_str(), "rc"));
    if (!tiff) {
        ADD_FAILURE() << "no TIFF file " << path;
        return picture;
    }
    TIFFGetField(tiff.get(), TIFFTAG_IMAGEWIDTH, &picture.width);
    TIFFGetField(tiff.get(), TIFFTAG_IMAGELENGTH, &picture.height);
    TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, &picture.samples);
    TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_BITSPERSAMPLE, &picture.bits);
    TIFFGetField(tiff.get(), TIFFTAG_PHOTOMETRIC, &picture.photometric);
    TIFFGetField(tiff.get(), TIFFTAG_COMPRESSION, &picture.compression);
    picture.strips = TIFFNumberOfStrips(tiff.get());
    const auto rowBytes = static_cast<size_t>(TIFFScanlineSize(tiff.get()));
    picture.pixels.resize(rowBytes * picture.height);
    for (uint32_t row = 0; row < picture.height; ++row) {
        EXPECT_EQ(TIFFReadScanline(tiff.get(), picture.pixels.data() + row * rowBytes, row), 1);
    }
    return picture;
}

Bytes patternTable(int32_t side) {
    Bytes bytes;
    for (int32_t i = 0; i < side * side * 3; ++i) {
        bytes.push_back(static_cast<uint8_t>(i * 37 + i / 251 + i / 9973));
    }
    return bytes;
}

}  // namespace zvtest
