#include "tiff_variants.h"

#include <gtest/gtest.h>
#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <stdexcept>

namespace zvtest {

namespace {

constexpr uint32_t kWidth = 70;
constexpr uint32_t kHeight = 50;
constexpr uint32_t kTileSide = 32;
constexpr uint32_t kRowsOfStrip = 16;

struct Close {
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using Tiff = std::unique_ptr<TIFF, Close>;

void OnMessage(const char* module, const char* format, va_list arguments) {
    char text[500];
    std::vsnprintf(text, sizeof text, format, arguments);
    ADD_FAILURE() << (module != nullptr ? module : "") << ": " << text;
}

/// Errors and warnings are failures both.
Tiff Open(const fs::path& file, const char* mode) {
    TIFFSetErrorHandler(OnMessage);
    TIFFSetWarningHandler(OnMessage);
    Tiff tiff(TIFFOpen(file.c_str(), mode));
    if (!tiff) throw std::runtime_error("libtiff cannot open " + file.string());
    return tiff;
}

void WritePicture(TIFF* tiff, const TiffVariant& variant, uint8_t seed) {
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, kWidth);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, kHeight);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, unsigned{variant.bits});
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, unsigned{variant.channels});
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, unsigned{variant.compression});
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, unsigned{variant.photometric});
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, variant.planar ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_SOFTWARE, "made for a test");
    TIFFSetField(tiff, TIFFTAG_XRESOLUTION, 300.0);
    TIFFSetField(tiff, TIFFTAG_YRESOLUTION, 300.0);
    if (variant.photometric == PHOTOMETRIC_YCBCR) TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
    if (variant.tiles) {
        TIFFSetField(tiff, TIFFTAG_TILEWIDTH, kTileSide);
        TIFFSetField(tiff, TIFFTAG_TILELENGTH, kTileSide);
    } else {
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, kRowsOfStrip);
    }
    const uint32_t count = variant.tiles ? TIFFNumberOfTiles(tiff) : TIFFNumberOfStrips(tiff);
    for (uint32_t i = 0; i < count; ++i) {
        const tmsize_t size =
            variant.tiles
                ? TIFFTileSize(tiff)
                : TIFFVStripSize(tiff, i % ((kHeight + kRowsOfStrip - 1) / kRowsOfStrip) == kHeight / kRowsOfStrip
                                           ? kHeight % kRowsOfStrip
                                           : kRowsOfStrip);
        Bytes data(static_cast<size_t>(size));
        for (size_t k = 0; k < data.size(); ++k) data[k] = static_cast<uint8_t>(k * 3 / 2 + k % 7 * seed + i);
        const tmsize_t written = variant.tiles ? TIFFWriteEncodedTile(tiff, i, data.data(), size)
                                               : TIFFWriteEncodedStrip(tiff, i, data.data(), size);
        if (written != size) throw std::runtime_error("libtiff cannot write " + variant.name);
    }
}

TiffPicture ReadPicture(TIFF* tiff) {
    TiffPicture picture;
    const bool tiles = TIFFIsTiled(tiff) != 0;
    const uint32_t count = tiles ? TIFFNumberOfTiles(tiff) : TIFFNumberOfStrips(tiff);
    for (const uint32_t tag : std::initializer_list<uint32_t>{TIFFTAG_IMAGEWIDTH, TIFFTAG_IMAGELENGTH}) {
        uint32_t value = 0;
        TIFFGetField(tiff, tag, &value);
        picture.facts += std::to_string(value) + " ";
    }
    for (const uint32_t tag :
         std::initializer_list<uint32_t>{TIFFTAG_BITSPERSAMPLE, TIFFTAG_SAMPLESPERPIXEL, TIFFTAG_COMPRESSION,
                                         TIFFTAG_PHOTOMETRIC, TIFFTAG_PLANARCONFIG}) {
        uint16_t value = 0;
        TIFFGetField(tiff, tag, &value);
        picture.facts += std::to_string(value) + " ";
    }
    const char* software = nullptr;
    if (TIFFGetField(tiff, TIFFTAG_SOFTWARE, &software) == 1) picture.facts += software;
    for (uint32_t i = 0; i < count; ++i) {
        TiffPiece piece = {TIFFGetStrileOffset(tiff, i), {}, {}};
        piece.coded.resize(TIFFGetStrileByteCount(tiff, i));
        const auto codedSize = static_cast<tmsize_t>(piece.coded.size());
        const tmsize_t got = tiles ? TIFFReadRawTile(tiff, i, piece.coded.data(), codedSize)
                                   : TIFFReadRawStrip(tiff, i, piece.coded.data(), codedSize);
        EXPECT_EQ(got, codedSize);
        picture.pieces.push_back(piece);
    }
    // Raw reads leave libtiff in the middle of a piece.
    for (uint32_t i = 0; i < count; ++i) {
        Bytes& decoded = picture.pieces[i].decoded;
        decoded.resize(static_cast<size_t>(tiles ? TIFFTileSize(tiff) : TIFFStripSize(tiff)));
        const tmsize_t got = tiles ? TIFFReadEncodedTile(tiff, i, decoded.data(), -1)
                                   : TIFFReadEncodedStrip(tiff, i, decoded.data(), -1);
        EXPECT_GT(got, 0);
        decoded.resize(static_cast<size_t>(std::max<tmsize_t>(got, 0)));
    }
    return picture;
}

}  // namespace

const std::vector<TiffVariant>& TiffVariants() {
    static const std::vector<TiffVariant> variants = {
        {.name = "Strips", .compression = COMPRESSION_NONE, .photometric = PHOTOMETRIC_RGB},
        {.name = "Tiles", .compression = COMPRESSION_NONE, .photometric = PHOTOMETRIC_RGB, .tiles = true},
        {.name = "Lzw", .compression = COMPRESSION_LZW, .photometric = PHOTOMETRIC_RGB},
        {.name = "DeflateTiles",
         .compression = COMPRESSION_ADOBE_DEFLATE,
         .photometric = PHOTOMETRIC_RGB,
         .tiles = true},
        {.name = "Jpeg", .compression = COMPRESSION_JPEG, .photometric = PHOTOMETRIC_YCBCR},
        {.name = "JpegTiles", .compression = COMPRESSION_JPEG, .photometric = PHOTOMETRIC_YCBCR, .tiles = true},
        {.name = "Bilevel",
         .compression = COMPRESSION_CCITTFAX4,
         .photometric = PHOTOMETRIC_MINISWHITE,
         .bits = 1,
         .channels = 1},
        {.name = "Grey16",
         .compression = COMPRESSION_LZW,
         .photometric = PHOTOMETRIC_MINISBLACK,
         .bits = 16,
         .channels = 1},
        {.name = "Rgb16Planar",
         .compression = COMPRESSION_ADOBE_DEFLATE,
         .photometric = PHOTOMETRIC_RGB,
         .bits = 16,
         .planar = true},
        {.name = "CmykPlanarTiles",
         .compression = COMPRESSION_PACKBITS,
         .photometric = PHOTOMETRIC_SEPARATED,
         .channels = 4,
         .planar = true,
         .tiles = true},
        {.name = "Pages", .compression = COMPRESSION_LZW, .photometric = PHOTOMETRIC_RGB, .pages = 4},
        {.name = "Thumbnails",
         .compression = COMPRESSION_LZW,
         .photometric = PHOTOMETRIC_RGB,
         .pages = 2,
         .thumbnails = 3},
    };
    return variants;
}

void MakeTiff(const fs::path& file, const TiffVariant& variant, const char* mode) {
    const Tiff tiff = Open(file, mode);
    uint8_t seed = 1;
    for (int page = 0; page < variant.pages; ++page) {
        if (page == 0 && variant.thumbnails > 0) {
            // The following pictures go below this one.
            const std::vector<uint64_t> unknown(static_cast<size_t>(variant.thumbnails));
            TIFFSetField(tiff.get(), TIFFTAG_SUBIFD, variant.thumbnails, unknown.data());
        }
        WritePicture(tiff.get(), variant, seed++);
        TIFFWriteDirectory(tiff.get());
        for (int i = 0; page == 0 && i < variant.thumbnails; ++i) {
            TIFFSetField(tiff.get(), TIFFTAG_SUBFILETYPE, FILETYPE_REDUCEDIMAGE);
            WritePicture(tiff.get(), variant, seed++);
            TIFFWriteDirectory(tiff.get());
        }
    }
}

std::vector<TiffPicture> PicturesIn(const fs::path& file) {
    const Tiff tiff = Open(file, "r");
    std::vector<TiffPicture> pictures;
    std::vector<uint64_t> below;
    do {
        uint16_t count = 0;
        const uint64_t* offsets = nullptr;
        if (TIFFGetField(tiff.get(), TIFFTAG_SUBIFD, &count, &offsets) == 1) below.assign(offsets, offsets + count);
        pictures.push_back(ReadPicture(tiff.get()));
    } while (TIFFReadDirectory(tiff.get()) != 0);
    for (const uint64_t offset : below) {
        EXPECT_EQ(TIFFSetSubDirectory(tiff.get(), offset), 1);
        pictures.push_back(ReadPicture(tiff.get()));
    }
    return pictures;
}

Bytes ProfileInTiff(const fs::path& file) {
    const Tiff tiff = Open(file, "r");
    uint32_t size = 0;
    const void* data = nullptr;
    if (TIFFGetField(tiff.get(), TIFFTAG_ICCPROFILE, &size, &data) != 1) return {};
    const auto* bytes = static_cast<const uint8_t*>(data);
    return Bytes(bytes, bytes + size);
}

}  // namespace zvtest
