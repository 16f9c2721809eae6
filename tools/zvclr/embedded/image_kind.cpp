#include "image_kind.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string_view>

#include "image/image.h"

namespace zvembed {

namespace {

using namespace std::string_view_literals;

struct Magic {
    std::string_view bytes;
    ImageKind kind;
};

// PostScript in a binary frame, plain, and behind the byte with which some programs end the job before.
constexpr Magic kMagics[] = {{"\xff\xd8\xff"sv, ImageKind::kJpeg},    {"\x89PNG\r\n\x1a\n"sv, ImageKind::kPng},
                             {"GIF87a"sv, ImageKind::kGif},           {"GIF89a"sv, ImageKind::kGif},
                             {"II*\0"sv, ImageKind::kTiff},           {"MM\0*"sv, ImageKind::kTiff},
                             {"II+\0"sv, ImageKind::kTiff},           {"MM\0+"sv, ImageKind::kTiff},
                             {"\xc5\xd0\xd3\xc6"sv, ImageKind::kEps}, {"%!PS"sv, ImageKind::kEps},
                             {"\x04%!PS"sv, ImageKind::kEps}};

struct KindName {
    ImageKind kind;
    const char* name;
    const char* key;
};

constexpr KindName kNames[] = {{ImageKind::kJpeg, "JPEG", "jpeg"}, {ImageKind::kTiff, "TIFF", "tiff"},
                               {ImageKind::kPng, "PNG", "png"},    {ImageKind::kGif, "GIF", "gif"},
                               {ImageKind::kEps, "EPS", "eps"},    {ImageKind::kPicture, "Macintosh picture", "pict"}};

const KindName& entryOf(ImageKind kind) {
    return *std::find_if(std::begin(kNames), std::end(kNames), [kind](const KindName& e) { return e.kind == kind; });
}

}  // namespace

std::optional<ImageKind> imageKind(std::span<const unsigned char> head) {
    for (const Magic& magic : kMagics) {
        const auto same = [](char expected, unsigned char found) {
            return static_cast<unsigned char>(expected) == found;
        };
        if (head.size() >= magic.bytes.size() &&
            std::equal(magic.bytes.begin(), magic.bytes.end(), head.begin(), same)) {
            return magic.kind;
        }
    }
    return std::nullopt;
}

void checkImageFile(const std::string& path) {
    std::error_code ignored;
    const std::filesystem::file_status status = std::filesystem::status(path, ignored);
    if (std::filesystem::is_directory(status)) {
        throw zvimage::ImageError(fmt::format("cannot read {}: {}", path, std::strerror(EISDIR)));
    }
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
        throw zvimage::ImageError(
            fmt::format("{} is a pipe or device, but images with profiles are read from files only", path));
    }
}

const char* kindName(ImageKind kind) { return entryOf(kind).name; }

const char* kindKey(ImageKind kind) { return entryOf(kind).key; }

}  // namespace zvembed
