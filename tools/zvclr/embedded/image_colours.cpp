#include "image_colours.h"

#include <fmt/format.h>

#include "file_cursor.h"
#include "image/tiff_file.h"
#include "jpeg_markers.h"
#include "profile/names.h"
#include "profile/node.h"

namespace zvembed {

using zvinfo::sig;

namespace {

ImageColours ofSpace(uint32_t space) { return {zvinfo::channelsOf(space), space}; }

ImageColours ofChannels(uint32_t channels) {
    switch (channels) {
        case 1:
            return ofSpace(sig("GRAY"));
        case 3:
            return ofSpace(sig("RGB "));
        case 4:
            return ofSpace(sig("CMYK"));
        default:
            return {channels, 0};
    }
}

ImageColours ofPng(zvimage::InputFile& file) {
    constexpr uint64_t kColourTypeAt = 25;
    constexpr uint8_t kColour = 2;
    FileCursor cursor(file);
    cursor.seek(kColourTypeAt);
    const uint8_t type = cursor.u8();
    return cursor.failed() ? ImageColours() : ofSpace((type & kColour) != 0 ? sig("RGB ") : sig("GRAY"));
}

int numberOf(TIFF* tiff, uint32_t tag) {
    uint16_t value = 0;
    return TIFFGetFieldDefaulted(tiff, tag, &value) == 1 ? value : -1;
}

ImageColours ofTiff(zvimage::InputFile& file) {
    zvimage::TiffStream stream;
    stream.input = &file;
    stream.size = file.size().value_or(0);
    const zvimage::TiffPointer tiff = zvimage::openTiffStream(stream, file.name(), "rm");
    if (!tiff) {
        return {};
    }
    switch (numberOf(tiff.get(), TIFFTAG_PHOTOMETRIC)) {
        case PHOTOMETRIC_MINISWHITE:
        case PHOTOMETRIC_MINISBLACK:
            return ofSpace(sig("GRAY"));
        case PHOTOMETRIC_RGB:
        case PHOTOMETRIC_PALETTE:
        case PHOTOMETRIC_YCBCR:
            return ofSpace(sig("RGB "));
        case PHOTOMETRIC_CIELAB:
        case PHOTOMETRIC_ICCLAB:
        case PHOTOMETRIC_ITULAB:
            return ofSpace(sig("Lab "));
        case PHOTOMETRIC_SEPARATED:
            break;
        default:
            return {};
    }
    uint16_t extra = 0;
    const uint16_t* types = nullptr;
    const int samples = numberOf(tiff.get(), TIFFTAG_SAMPLESPERPIXEL);
    if (TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_EXTRASAMPLES, &extra, &types) != 1 || extra >= samples) {
        extra = 0;
    }
    const auto inks = static_cast<uint32_t>(samples - extra);
    return inks == 4 ? ofSpace(sig("CMYK")) : ImageColours{inks, 0};
}

}  // namespace

bool ImageColours::fit(uint32_t profileSpace) const {
    return channels == 0 || (space != 0 ? profileSpace == space : zvinfo::channelsOf(profileSpace) == channels);
}

std::string ImageColours::text() const {
    return space != 0 ? zvinfo::readable(space) + " pixels" : fmt::format("pixels of {} channels", channels);
}

ImageColours readImageColours(ImageKind kind, zvimage::InputFile& file) {
    switch (kind) {
        case ImageKind::kJpeg:
            return ofChannels(readJpegHead(file).components);
        case ImageKind::kTiff:
            return ofTiff(file);
        case ImageKind::kPng:
            return ofPng(file);
        case ImageKind::kGif:
            return ofSpace(sig("RGB "));
        default:
            return {};
    }
}

}  // namespace zvembed
