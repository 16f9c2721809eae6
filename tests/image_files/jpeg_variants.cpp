#include "jpeg_variants.h"

#include <cstdio>
#include <cstdlib>
// Behind <cstdio>, which it needs.
#include <gtest/gtest.h>
#include <jpeglib.h>

#include "small_images.h"

namespace zvtest {

namespace {

constexpr unsigned kWidth = 67;
constexpr unsigned kHeight = 45;

Bytes Exif() {
    // One field: the orientation.
    return Text("Exif") +
           Bytes{0, 0, 'I', 'I', 42, 0, 8, 0, 0, 0, 1, 0, 0x12, 0x01, 3, 0, 1, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0};
}

Bytes Xmp() {
    return Text("http://ns.adobe.com/xap/1.0/") + Bytes{0} +
           Text(
               "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\"><rdf:RDF "
               "xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\"/></x:xmpmeta>");
}

/// Warnings are failures too: nothing here is damaged.
void OnMessage(j_common_ptr info, int level) {
    if (level >= 0) return;
    char text[JMSG_LENGTH_MAX];
    info->err->format_message(info, text);
    ADD_FAILURE() << text;
}

}  // namespace

const std::vector<JpegVariant>& JpegVariants() {
    static const std::vector<JpegVariant> variants = {
        {.name = "Baseline"},
        {.name = "Progressive", .progressive = true},
        {.name = "Grey", .channels = 1},
        {.name = "GreyProgressive", .channels = 1, .progressive = true},
        {.name = "Rgb", .storedAsIs = true},
        {.name = "Cmyk", .channels = 4, .storedAsIs = true, .jfif = false},
        {.name = "Ycck", .channels = 4, .jfif = false},
        {.name = "Restarts", .restartRows = 1},
        {.name = "ProgressiveRestarts", .progressive = true, .restartRows = 2},
#ifdef C_ARITH_CODING_SUPPORTED
        {.name = "Arithmetic", .arithmetic = true},
        {.name = "ArithmeticProgressive", .progressive = true, .arithmetic = true},
#endif
        {.name = "Exif", .jfif = false, .markers = {{0xE1, Exif()}}},
        {.name = "ExifAndXmp", .markers = {{0xE1, Exif()}, {0xE1, Xmp()}}},
        {.name = "Comments", .markers = {{0xFE, Text("first")}, {0xFE, Bytes(65533, 'c')}, {0xFE, {}}}},
        {.name = "OtherApplications",
         .markers = {{0xE2, Text("FPXR") + Bytes{0, 1, 2}}, {0xED, Text("Photoshop 3.0") + Bytes{0}}, {0xEF, {1, 2}}}},
        {.name = "Bare", .jfif = false},
    };
    return variants;
}

Bytes MakeJpeg(const JpegVariant& variant) {
    jpeg_compress_struct info = {};
    jpeg_error_mgr errors = {};
    info.err = jpeg_std_error(&errors);
    errors.emit_message = OnMessage;
    jpeg_create_compress(&info);
    unsigned char* buffer = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&info, &buffer, &size);
    info.image_width = kWidth;
    info.image_height = kHeight;
    info.input_components = variant.channels;
    info.in_color_space = variant.channels == 1 ? JCS_GRAYSCALE : variant.channels == 3 ? JCS_RGB : JCS_CMYK;
    jpeg_set_defaults(&info);
    if (variant.channels == 4 && !variant.storedAsIs) jpeg_set_colorspace(&info, JCS_YCCK);
    if (variant.channels == 3 && variant.storedAsIs) jpeg_set_colorspace(&info, JCS_RGB);
    info.write_JFIF_header = variant.jfif ? TRUE : FALSE;
    info.arith_code = variant.arithmetic ? TRUE : FALSE;
    info.restart_in_rows = static_cast<int>(variant.restartRows);
    jpeg_set_quality(&info, 85, TRUE);
    if (variant.progressive) jpeg_simple_progression(&info);
    jpeg_start_compress(&info, TRUE);
    for (const auto& [marker, data] : variant.markers) {
        jpeg_write_marker(&info, marker, data.data(), static_cast<unsigned>(data.size()));
    }
    const auto channels = static_cast<unsigned>(variant.channels);
    for (unsigned y = 0; y < kHeight; ++y) {
        Bytes row;
        for (unsigned i = 0; i < kWidth * channels; ++i)
            row.push_back(static_cast<uint8_t>(i * (2 + i % channels) + y * 5));
        JSAMPROW rows[] = {row.data()};
        jpeg_write_scanlines(&info, rows, 1);
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    const Bytes made(buffer, buffer + size);
    std::free(buffer);
    return made;
}

namespace {

/// A file whose head is read.
class Reader {
public:
    explicit Reader(const Bytes& jpeg) {
        info_.err = jpeg_std_error(&errors_);
        errors_.emit_message = OnMessage;
        jpeg_create_decompress(&info_);
        jpeg_mem_src(&info_, jpeg.data(), static_cast<unsigned long>(jpeg.size()));
        jpeg_save_markers(&info_, JPEG_APP0 + 2, 0xFFFF);
        jpeg_read_header(&info_, TRUE);
    }
    ~Reader() { jpeg_destroy_decompress(&info_); }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    jpeg_decompress_struct* operator->() { return &info_; }
    jpeg_decompress_struct* Info() { return &info_; }

private:
    jpeg_error_mgr errors_ = {};
    jpeg_decompress_struct info_ = {};
};

}  // namespace

Bytes DecodeJpeg(const Bytes& jpeg) {
    Reader reader(jpeg);
    reader->out_color_space = reader->jpeg_color_space;
    jpeg_start_decompress(reader.Info());
    Bytes pixels = {static_cast<uint8_t>(reader->output_width), static_cast<uint8_t>(reader->output_height),
                    static_cast<uint8_t>(reader->output_components), static_cast<uint8_t>(reader->jpeg_color_space)};
    Bytes row(size_t{reader->output_width} * static_cast<unsigned>(reader->output_components));
    while (reader->output_scanline < reader->output_height) {
        JSAMPROW rows[] = {row.data()};
        jpeg_read_scanlines(reader.Info(), rows, 1);
        pixels.insert(pixels.end(), row.begin(), row.end());
    }
    jpeg_finish_decompress(reader.Info());
    return pixels;
}

Bytes ProfileInJpeg(const Bytes& jpeg) {
    Reader reader(jpeg);
    JOCTET* data = nullptr;
    unsigned size = 0;
    if (jpeg_read_icc_profile(reader.Info(), &data, &size) == FALSE) return {};
    const Bytes profile(data, data + size);
    std::free(data);
    return profile;
}

}  // namespace zvtest
