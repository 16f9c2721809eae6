// Writes small image files of every kind into a folder: what the fuzzers begin with. With "save" before the folder each
// begins with the two bytes that choose a profile.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/support/image_samples.h"

namespace {

using namespace std::string_literals;
using namespace zv::test;

struct Image {
    const char* name;
    std::string bytes;
};

std::vector<Image> Images() {
    const std::string exif = JpegSegment(0xE1, "Exif\0\0II\x2A\0\x08\0\0\0\0\0"s);
    const std::string profile = "profile"s;
    return {
        {"jpeg_plain", SampleJpeg("")},
        {"jpeg_profile", SampleJpeg(ProfilePart(1, 1, profile))},
        {"jpeg_parts",
         SampleJpeg(exif + ProfilePart(2, 2, profile) + JpegSegment(0xFE, "comment") + ProfilePart(1, 2, profile))},
        {"jpeg_empty_part", SampleJpeg(ProfilePart(1, 1, ""))},
        {"jpeg_short_part", SampleJpeg(JpegSegment(0xE2, "ICC_PROFILE\0\1"s) + ProfilePart(1, 1, profile))},
        {"jpeg_identifier", SampleJpeg(JpegSegment(0xE2, "ICC_PROFILE\0"s) + ProfilePart(1, 1, profile))},
        {"jpeg_index_first", SampleJpeg(exif + PictureIndex(true) + ProfilePart(1, 1, profile)) + SampleJpeg("")},
        {"jpeg_index_last", SampleJpeg(ProfilePart(1, 1, profile) + PictureIndex(false)) + SampleJpeg("")},
        {"jpeg_fill", "\xFF\xD8\xFF\xFF" + ProfilePart(1, 1, profile).substr(1) + "\xFF\xFF\xFF\xD9"},
        {"jpeg_stray", "\xFF\xD8 ab" + ProfilePart(1, 1, profile) + "cd\xFF\x01\xFF\xD0\xFF\xD9"},
        {"tiff_little", SampleTiff(false, false, {})},
        {"tiff_big", SampleTiff(true, false, {{34675, 7, 24, kTiffProfileAt}})},
        {"tiff_inline", SampleTiff(false, false, {{34675, 1, 3, 0x030201}})},
        {"tiff_twice",
         SampleTiff(true, false, {{34675, 7, 24, kTiffProfileAt}, {34675, 7, 4, kTiffProfileAt}, {40000, 3, 1, 9}})},
        {"tiff_words", SampleTiff(false, false, {{34675, 3, 12, kTiffProfileAt}})},
        {"tiff_empty", SampleTiff(false, false, {{34675, 7, 0, 0}})},
        {"tiff_wide_little", SampleTiff(false, true, {{34675, 7, 24, kBigTiffProfileAt}})},
        {"tiff_wide_big", SampleTiff(true, true, {{34675, 7, 8, 0x0102030405060708}})},
        {"eps_lf", SampleEps(200, "\n")},
        {"eps_crlf", SampleEps(200, "\r\n")},
        {"eps_cr", SampleEps(161, "\r")},
        {"eps_short", SampleEps(80, "\r\n")},
        {"eps_no_end", "%!PS\r\n%%BeginICCProfile:\r\n" + HexLines(90, "\r\n")},
        {"eps_line_at_end", "%!PS " + std::string(40, '%') + "%%BeginICCProfile:"},
        {"eps_far", "%!PS\n" + std::string(1010, '%') + SampleEps(100, "\r\n")},
        {"eps_preview", "\xC5\xD0\xD3\xC6" + std::string(28, '\0') + SampleEps(170, "\r")},
        {"picture", SamplePicture(PictureChunk(0, profile) + PictureChunk(1, profile) + PictureChunk(2, ""))},
        {"picture_no_end", SamplePicture(PictureChunk(0, profile))},
        {"picture_other", SamplePicture(PictureChunk(3, "\xE0") + PictureChunk(0, "\xE0\xE0") + PictureChunk(2, ""))},
        {"picture_bare", SamplePicture(PictureChunk(0, "") + PictureChunk(2, "")).substr(512)},
        {"gif", SampleGif("")},
        {"gif_profile", SampleGif("\x21\xFF\x0BICCRGBG1012\x03\x01\x02\x03\0"s)},
        {"png", "\x89PNG\r\n\x1A\n"s},
    };
}

}  // namespace

int main(int argc, char** argv) {
    const bool forSaving = argc == 3 && std::strcmp(argv[1], "save") == 0;
    if (argc != 2 && !forSaving) {
        std::fputs("usage: image_corpus [save] FOLDER\n", stderr);
        return 2;
    }
    const std::filesystem::path folder = argv[argc - 1];
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    unsigned choice = 0;
    for (const Image& image : Images()) {
        std::ofstream file(folder / image.name, std::ios::binary);
        // A few steps through the sizes, with and without a backup.
        if (forSaving) file << static_cast<char>(choice * 5 % 22) << static_cast<char>(choice % 8);
        ++choice;
        file.write(image.bytes.data(), static_cast<std::streamsize>(image.bytes.size()));
        if (file.good()) continue;
        std::fprintf(stderr, "image_corpus: cannot write %s\n", image.name);
        return 1;
    }
    return 0;
}
