#include "embedded_support.h"

#include <gtest/gtest.h>
#include <tiffio.h>
#include <zlib.h>

#include <algorithm>
#include <memory>
#include <random>

#include "info_support.h"

namespace zvtest {

namespace {

constexpr int32_t kWidth = 19;
constexpr int32_t kHeight = 13;

/// What a line of shell makes of a PPM file on its input.
Bytes made(const std::string& line, const Bytes& image) {
    const Folder folder;
    writeFile(folder.path("a.ppm"), image);
    shell("cd " + folder.root() + "; " + line + " < a.ppm > out 2> /dev/null");
    return readFile(folder.path("out"));
}

Bytes picture() { return ppm(kWidth, kHeight, pattern(kWidth, kHeight)); }

void append16(Bytes& to, uint32_t value) {
    append(to, {static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value)});
}

void appendLittle(Bytes& to, uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8) {
        to.push_back(static_cast<uint8_t>(value >> shift));
    }
}

struct CloseTiff {
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using Tiff = std::unique_ptr<TIFF, CloseTiff>;

}  // namespace

void append(Bytes& to, const Bytes& bytes) { to.insert(to.end(), bytes.begin(), bytes.end()); }
void appendText(Bytes& to, std::string_view text) { to.insert(to.end(), text.begin(), text.end()); }

Bytes smallProfile(std::string_view space, std::string_view deviceClass) {
    Version2Maker maker(deviceClass, space, "XYZ ");
    Bytes body;
    appendText(body, std::string_view("text\0\0\0\0Any use is allowed.\0", 28));
    maker.add("cprt", body);
    return maker.image();
}

Bytes profileOfSize(size_t size) {
    Bytes profile = readFile(std::string(ZVCLR_PROFILES) + "/105.icm");
    EXPECT_LE(profile.size(), size);
    // Blocks of a length that no part of an image has.
    constexpr size_t kBlock = 4099;
    Bytes block(kBlock);
    std::mt19937 random(1);
    std::generate(block.begin(), block.end(), [&random] { return static_cast<uint8_t>(random()); });
    profile.reserve(size + kBlock);
    while (profile.size() < size) {
        append(profile, block);
    }
    profile.resize(size);
    set32(profile, 0, static_cast<uint32_t>(size));
    return profile;
}

Bytes plainJpeg() { return made("cjpeg", picture()); }
Bytes greyJpeg() { return made("cjpeg -grayscale", picture()); }

Bytes jpegWithSegment(const Bytes& jpeg, uint8_t marker, uint16_t length, const Bytes& data) {
    Bytes file(jpeg.begin(), jpeg.begin() + 2);
    append(file, {0xFF, marker});
    append16(file, length);
    append(file, data);
    file.insert(file.end(), jpeg.begin() + 2, jpeg.end());
    return file;
}

Bytes jpegWithParts(const Bytes& jpeg, const std::vector<Part>& parts) {
    Bytes file = jpeg;
    for (auto part = parts.rbegin(); part != parts.rend(); ++part) {
        Bytes data;
        appendText(data, std::string_view("ICC_PROFILE\0", 12));
        append(data, {static_cast<uint8_t>(part->number), static_cast<uint8_t>(part->count)});
        append(data, part->bytes);
        file = jpegWithSegment(file, 0xE2, static_cast<uint16_t>(data.size() + 2), data);
    }
    return file;
}

Bytes plainGif() { return made("ppmtogif", picture()); }

Bytes gifWithProfile(const Bytes& gif, const Bytes& profile, std::string_view code) {
    Bytes file(gif.begin(), gif.end() - 1);
    appendText(file, "\x21\xFF\x0BICCRGBG1");
    appendText(file, code);
    for (size_t at = 0; at < profile.size(); at += 255) {
        const size_t count = std::min<size_t>(255, profile.size() - at);
        file.push_back(static_cast<uint8_t>(count));
        file.insert(file.end(), profile.begin() + static_cast<std::ptrdiff_t>(at),
                    profile.begin() + static_cast<std::ptrdiff_t>(at + count));
    }
    append(file, {0x00, 0x3B});
    return file;
}

Bytes plainPng() { return made("pnmtopng", picture()); }

std::vector<Chunk> chunksOf(const Bytes& png) {
    std::vector<Chunk> chunks;
    for (size_t at = 8; at + 12 <= png.size();) {
        const size_t length = get32(png, at);
        const auto data = png.begin() + static_cast<std::ptrdiff_t>(at + 8);
        chunks.push_back({std::string(png.begin() + static_cast<std::ptrdiff_t>(at + 4), data),
                          Bytes(data, data + static_cast<std::ptrdiff_t>(length))});
        EXPECT_EQ(get32(png, at + 8 + length), crc32(0, png.data() + at + 4, static_cast<uInt>(length + 4)));
        at += length + 12;
    }
    return chunks;
}

Bytes pngOf(const std::vector<Chunk>& chunks) {
    Bytes png;
    appendText(png, "\x89PNG\r\n\x1a\n");
    for (const Chunk& chunk : chunks) {
        put32(png, static_cast<uint32_t>(chunk.data.size()));
        const size_t start = png.size();
        appendText(png, chunk.type);
        append(png, chunk.data);
        put32(png, static_cast<uint32_t>(crc32(0, png.data() + start, static_cast<uInt>(png.size() - start))));
    }
    return png;
}

std::string epsBlock(const Bytes& profile, const std::string& lineEnd, size_t bytesInLine) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text = "%%BeginICCProfile: (Made) -1 Hex" + lineEnd;
    for (size_t i = 0; i < profile.size(); ++i) {
        text += i % bytesInLine == 0 ? "% " : "";
        text += kDigits[profile[i] >> 4];
        text += kDigits[profile[i] & 15];
        text += i % bytesInLine == bytesInLine - 1 || i + 1 == profile.size() ? lineEnd : "";
    }
    return text + "%%EndICCProfile" + lineEnd;
}

std::string epsWith(const std::string& block, const std::string& lineEnd) {
    return "%!PS-Adobe-3.0 EPSF-3.0" + lineEnd + "%%BoundingBox: 0 0 10 10" + lineEnd + "%%EndComments" + lineEnd +
           block + "0 0 10 10 rectfill" + lineEnd + "%%EOF" + lineEnd;
}

Bytes inBinaryFrame(const std::string& postScript) {
    constexpr uint32_t kFrame = 30;
    constexpr uint32_t kPreview = 50;
    Bytes file = {0xC5, 0xD0, 0xD3, 0xC6};
    appendLittle(file, kFrame + kPreview);
    appendLittle(file, static_cast<uint32_t>(postScript.size()));
    appendLittle(file, 0);
    appendLittle(file, 0);
    appendLittle(file, kFrame);
    appendLittle(file, kPreview);
    append(file, {0xFF, 0xFF});
    // What looks like a profile in the preview is none.
    Bytes preview;
    appendText(preview, "\n%%BeginICCProfile:\n% 00\n%%EndICCProfile\n");
    preview.resize(kPreview, 'x');
    append(file, preview);
    appendText(file, postScript);
    appendText(file, "\n%%BeginICCProfile:\n% 11\n%%EndICCProfile\n");
    return file;
}

namespace {

Bytes pictureHead() {
    Bytes file(512);
    append(file, {0, 0, 0, 0, 0, 0, 0, 10, 0, 10});
    appendText(file, std::string_view("\0\x11\x02\xFF\x0C\0", 6));
    append(file, Bytes(24));
    return file;
}

/// A long comment of this kind: opcode, kind, size.
void appendComment(Bytes& file, uint32_t selector, const Bytes& data) {
    append(file, {0x00, 0xA1, 0x00, 0xE0});
    append16(file, static_cast<uint32_t>(data.size() + 4));
    put32(file, selector);
    append(file, data);
    file.resize(file.size() + data.size() % 2);
}

}  // namespace

Bytes plainPicture() {
    Bytes file = pictureHead();
    append(file, {0x00, 0xFF});
    return file;
}

Bytes pictureWithProfile(const Bytes& profile, size_t bytesInComment) {
    Bytes file = pictureHead();
    for (size_t at = 0; at < profile.size(); at += bytesInComment) {
        const auto from = profile.begin() + static_cast<std::ptrdiff_t>(at);
        const auto count = static_cast<std::ptrdiff_t>(std::min(bytesInComment, profile.size() - at));
        appendComment(file, at == 0 ? 0 : 1, Bytes(from, from + count));
    }
    appendComment(file, 2, {});
    append(file, {0x00, 0xFF});
    return file;
}

const std::vector<TiffVariant>& tiffVariants() {
    static const std::vector<TiffVariant> kVariants = {
        {"little.tif", "wl"},
        {"big.tif", "wb"},
        {"little-big-tiff.tif", "wl8"},
        {"big-big-tiff.tif", "wb8"},
        {"tiles.tif", "wl", true},
        {"big-tiles.tif", "wb", true},
        {"tiles-big-tiff.tif", "wb8", true},
        {"pages.tif", "wl", false, 3},
        {"pages-big-tiff.tif", "wl8", true, 3},
        {"planes.tif", "wb", false, 2, true},
    };
    return kVariants;
}

void writeTiff(const std::string& path, const TiffVariant& variant, const Bytes& profile) {
    constexpr uint32_t kTiffWidth = 40;
    constexpr uint32_t kTiffHeight = 24;
    constexpr uint32_t kTile = 16;
    const Tiff tiff(TIFFOpen(path.c_str(), variant.mode));
    ASSERT_NE(tiff, nullptr);
    for (int page = 0; page < variant.pages; ++page) {
        TIFFSetField(tiff.get(), TIFFTAG_IMAGEWIDTH, kTiffWidth);
        TIFFSetField(tiff.get(), TIFFTAG_IMAGELENGTH, kTiffHeight);
        TIFFSetField(tiff.get(), TIFFTAG_BITSPERSAMPLE, 8);
        TIFFSetField(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, 3);
        TIFFSetField(tiff.get(), TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
        TIFFSetField(tiff.get(), TIFFTAG_PLANARCONFIG, variant.planes ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
        TIFFSetField(tiff.get(), TIFFTAG_COMPRESSION, COMPRESSION_LZW);
        TIFFSetField(tiff.get(), TIFFTAG_IMAGEDESCRIPTION, "A description that stays");
        if (variant.tiled) {
            TIFFSetField(tiff.get(), TIFFTAG_TILEWIDTH, kTile);
            TIFFSetField(tiff.get(), TIFFTAG_TILELENGTH, kTile);
        } else {
            TIFFSetField(tiff.get(), TIFFTAG_ROWSPERSTRIP, 5);
        }
        if (page == 0 && !profile.empty()) {
            TIFFSetField(tiff.get(), TIFFTAG_ICCPROFILE, static_cast<uint32_t>(profile.size()), profile.data());
        }
        std::mt19937 random(static_cast<uint32_t>(page));
        const uint32_t blocks = variant.tiled ? TIFFNumberOfTiles(tiff.get()) : TIFFNumberOfStrips(tiff.get());
        const tmsize_t size = variant.tiled ? TIFFTileSize(tiff.get()) : TIFFStripSize(tiff.get());
        for (uint32_t block = 0; block < blocks; ++block) {
            Bytes pixels(static_cast<size_t>(size));
            std::generate(pixels.begin(), pixels.end(), [&random] { return static_cast<uint8_t>(random() % 7); });
            const tmsize_t done = variant.tiled ? TIFFWriteEncodedTile(tiff.get(), block, pixels.data(), size)
                                                : TIFFWriteEncodedStrip(tiff.get(), block, pixels.data(), size);
            ASSERT_EQ(done, size);
        }
        ASSERT_EQ(TIFFWriteDirectory(tiff.get()), 1);
    }
}

Bytes tiffPixels(const std::string& path) {
    Bytes all;
    const Tiff tiff(TIFFOpen(path.c_str(), "r"));
    if (!tiff) {
        ADD_FAILURE() << "libtiff does not open " << path;
        return all;
    }
    do {
        const bool tiled = TIFFIsTiled(tiff.get()) != 0;
        const uint32_t blocks = tiled ? TIFFNumberOfTiles(tiff.get()) : TIFFNumberOfStrips(tiff.get());
        Bytes pixels(static_cast<size_t>(tiled ? TIFFTileSize(tiff.get()) : TIFFStripSize(tiff.get())));
        for (uint32_t block = 0; block < blocks; ++block) {
            const tmsize_t got = tiled ? TIFFReadEncodedTile(tiff.get(), block, pixels.data(), -1)
                                       : TIFFReadEncodedStrip(tiff.get(), block, pixels.data(), -1);
            EXPECT_GT(got, 0) << path;
            all.insert(all.end(), pixels.begin(), pixels.begin() + std::max<tmsize_t>(0, got));
        }
    } while (TIFFReadDirectory(tiff.get()) == 1);
    return all;
}

}  // namespace zvtest
