#include <fmt/format.h>
#include <strings.h>

#include <algorithm>
#include <cctype>
#include <cstring>

#include "codecs.h"
#include "image.h"
#include "zvclr.h"

namespace zvimage {

namespace {

struct FormatName {
    Format format;
    const char* name;
};

// The first name of a format is the one that messages use.
constexpr FormatName kNames[] = {{Format::kPng, "png"},   {Format::kJpeg, "jpeg"}, {Format::kJpeg, "jpg"},
                                 {Format::kTiff, "tiff"}, {Format::kTiff, "tif"},  {Format::kPnm, "pnm"},
                                 {Format::kPnm, "ppm"},   {Format::kRaw, "raw"}};

constexpr FormatName kExtensions[] = {{Format::kPng, "png"},  {Format::kJpeg, "jpg"}, {Format::kJpeg, "jpeg"},
                                      {Format::kJpeg, "jpe"}, {Format::kTiff, "tif"}, {Format::kTiff, "tiff"},
                                      {Format::kPnm, "pnm"},  {Format::kPnm, "ppm"},  {Format::kRaw, "raw"},
                                      {Format::kRaw, "bin"},  {Format::kRaw, "data"}};

bool startsWith(const std::vector<uint8_t>& bytes, std::string_view magic) {
    return bytes.size() >= magic.size() && std::memcmp(bytes.data(), magic.data(), magic.size()) == 0;
}

std::optional<Format> formatFromContent(const std::vector<uint8_t>& head) {
    using namespace std::string_view_literals;
    if (startsWith(head, "\x89PNG\r\n\x1a\n"sv)) {
        return Format::kPng;
    }
    if (startsWith(head, "\xff\xd8\xff"sv)) {
        return Format::kJpeg;
    }
    if (startsWith(head, "II*\0"sv) || startsWith(head, "MM\0*"sv) || startsWith(head, "II+\0"sv) ||
        startsWith(head, "MM\0+"sv)) {
        return Format::kTiff;
    }
    const bool netpbm = head.size() > 2 && head[0] == 'P' && std::strchr("123456", head[1]) != nullptr &&
                        head[1] != 0 && (std::isspace(head[2]) != 0 || head[2] == '#');
    return netpbm ? std::optional(Format::kPnm) : std::nullopt;
}

Format chooseInputFormat(InputFile& input, const std::string& path, const ReadOptions& options) {
    if (options.format == Format::kRaw || (!options.format && formatFromExtension(path) == Format::kRaw)) {
        return Format::kRaw;
    }
    const std::vector<uint8_t>& head = input.peek(8);
    const std::optional<Format> found = formatFromContent(head);
    if (found && options.format && *found != *options.format) {
        throw ContradictionError(
            fmt::format("{} is a {} file, but the input format was given as {}; leave --input-format "
                        "out",
                        input.name(), formatName(*found), formatName(*options.format)));
    }
    if (!found && head.empty()) {
        throw ImageError(input.name() + " is empty");
    }
    if (!found) {
        throw ImageError(fmt::format("{} is no {} file; raw pixels need --input-format raw, --from and --size",
                                     input.name(),
                                     options.format ? formatName(*options.format) : "PNG, JPEG, TIFF or PNM"));
    }
    return *found;
}

std::unique_ptr<ImageReader> openFormat(Format format, Input input, const ReadOptions& options) {
    switch (format) {
        case Format::kPng:
            return openPng(std::move(input), options);
        case Format::kJpeg:
            return openJpeg(std::move(input), options);
        case Format::kTiff:
            return openTiff(std::move(input), options);
        case Format::kPnm:
            return openPnm(std::move(input));
        case Format::kRaw:
            break;
    }
    return openRaw(std::move(input), options);
}

}  // namespace

const char* formatName(Format format) {
    return std::find_if(std::begin(kNames), std::end(kNames),
                        [format](const FormatName& entry) { return entry.format == format; })
        ->name;
}

std::optional<Format> formatFromName(std::string_view name) {
    for (const FormatName& entry : kNames) {
        if (name == entry.name) {
            return entry.format;
        }
    }
    return std::nullopt;
}

std::optional<Format> formatFromExtension(const std::string& path) {
    const size_t dot = path.rfind('.');
    if (dot == std::string::npos || path.find('/', dot) != std::string::npos) {
        return std::nullopt;
    }
    const char* extension = path.c_str() + dot + 1;
    for (const FormatName& entry : kExtensions) {
        if (strcasecmp(extension, entry.name) == 0) {
            return entry.format;
        }
    }
    for (const Space& space : allSpaces()) {
        if (strcasecmp(extension, space.name) == 0) {
            return Format::kRaw;
        }
    }
    return std::nullopt;
}

std::vector<int32_t> spacesOfFormat(Format format) {
    switch (format) {
        case Format::kPng:
        case Format::kPnm:
            return {CLRSPACE_RGB};
        case Format::kJpeg:
            return {CLRSPACE_RGB, CLRSPACE_CMYK, CLRSPACE_YCCK};
        case Format::kTiff:
            return {CLRSPACE_RGB, CLRSPACE_CMYK, CLRSPACE_LAB};
        case Format::kRaw:
            break;
    }
    std::vector<int32_t> every;
    for (const Space& space : allSpaces()) {
        every.push_back(space.id);
    }
    return every;
}

void checkDimensions(const std::string& name, int64_t width, int64_t height) {
    if (width < 1 || height < 1) {
        throw ImageError(fmt::format("{} is damaged: it says that it has {} x {} pixels", name, width, height));
    }
    if (width > kMaxDimension || height > kMaxDimension) {
        throw ImageError(fmt::format("{} has {} x {} pixels; the largest width and height is {}", name, width, height,
                                     kMaxDimension));
    }
}

Format outputFormat(const std::string& path, const std::optional<Format>& requested) {
    if (requested) {
        return *requested;
    }
    const std::optional<Format> format = formatFromExtension(path);
    if (!format) {
        const std::string what =
            path == "-" ? "the standard output has no extension" : path + " has no known extension";
        throw ContradictionError(what + "; give --output-format png, jpeg, tiff, pnm or raw");
    }
    return *format;
}

void checkOutput(const std::string& path, Format format, int32_t space, int32_t width, int32_t height) {
    const std::vector<int32_t> held = spacesOfFormat(format);
    const Space& entry = spaceOf(space);
    if (std::find(held.begin(), held.end(), space) == held.end()) {
        throw ContradictionError(
            fmt::format("{} is to be a {} file, which holds {} and not {}; choose such a space or "
                        "--output-format raw",
                        path == "-" ? "standard output" : path, formatName(format), spaceNames(held), entry.name));
    }
    if (width % entry.widthMultiple != 0 || height % entry.heightMultiple != 0) {
        throw ContradictionError(
            fmt::format("{} needs a width that is a multiple of {} and a height that is a multiple of {}, but the "
                        "image has {} x {} "
                        "pixels; crop or pad it first",
                        entry.name, entry.widthMultiple, entry.heightMultiple, width, height));
    }
    constexpr int32_t kMaxJpeg = 65500;
    if (format == Format::kJpeg && (width > kMaxJpeg || height > kMaxJpeg)) {
        throw ContradictionError(
            fmt::format("a JPEG file holds at most {} x {} pixels, but the image has {} x {}; "
                        "choose another format",
                        kMaxJpeg, kMaxJpeg, width, height));
    }
}

std::unique_ptr<ImageReader> openImage(const std::string& path, const ReadOptions& options) {
    auto input = std::make_unique<InputFile>(path);
    const std::string name = input->name();
    const Format format = chooseInputFormat(*input, path, options);
    if (format != Format::kRaw && (options.width != 0 || options.height != 0)) {
        throw ContradictionError(
            fmt::format("{} is a {} file, which tells its size itself; leave --size out", name, formatName(format)));
    }
    if (format != Format::kRaw && options.layout) {
        throw ContradictionError(
            fmt::format("{} is a {} file, which tells the layout of its pixels itself; --yuv-params "
                        "goes with raw pixels only",
                        name, formatName(format)));
    }
    auto reader = openFormat(format, std::move(input), options);
    if (options.space && *options.space != reader->info().space) {
        throw ContradictionError(fmt::format("{} ({}) holds {} and not {}; leave --from out or give {}", name,
                                             reader->info().description, spaceOf(reader->info().space).name,
                                             spaceOf(*options.space).name, spaceOf(reader->info().space).name));
    }
    return reader;
}

std::unique_ptr<ImageWriter> createImage(const std::string& path, int32_t width, int32_t height, int32_t space,
                                         const WriteOptions& options) {
    const Format format = outputFormat(path, options.format);
    checkDimensions(path, width, height);
    checkOutput(path, format, space, width, height);
    auto output = std::make_unique<OutputFile>(path);
    const OutputImage image = {width, height, space};
    switch (format) {
        case Format::kPng:
            return createPng(std::move(output), image, options);
        case Format::kJpeg:
            return createJpeg(std::move(output), image, options);
        case Format::kTiff:
            return createTiff(std::move(output), image, options);
        case Format::kPnm:
            return createPnm(std::move(output), image);
        case Format::kRaw:
            break;
    }
    return createRaw(std::move(output), image);
}

}  // namespace zvimage
