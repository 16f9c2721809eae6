#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "codecs.h"
#include "tiff_file.h"
#include "zvclr.h"

namespace zvimage {

namespace {

constexpr int64_t kStripBytes = 262144;

// LZW codes of 12 bits for bytes of 8 are the worst case; the last 16 MB are for the directory.
bool needsBigTiff(int64_t bytes, TiffCompression compression) {
    constexpr int64_t kLimit = (int64_t{4} << 30) - (int64_t{16} << 20);
    const int64_t worst = compression == TiffCompression::kLzw       ? bytes + bytes / 2
                          : compression == TiffCompression::kDeflate ? bytes + bytes / 1000
                                                                     : bytes;
    return worst > kLimit;
}

class TiffWriter : public ImageWriter {
public:
    TiffWriter(Output output, const OutputImage& image, const WriteOptions& options)
        : output_(std::move(output)), image_(image), line_(static_cast<size_t>(image.bytes(1))) {
        stream_.descriptor = output_->descriptor();
        if (!output_->seekable()) {
            spool_.reset(std::tmpfile());
            if (!spool_) {
                throw ImageError(std::string("cannot create a temporary file: ") + std::strerror(errno));
            }
            stream_.descriptor = ::fileno(spool_.get());
        }
        const bool big =
            needsBigTiff(image.bytes(image.height) + static_cast<int64_t>(options.profile.size()), options.compression);
        tiff_ = openTiffStream(stream_, output_->name(), big ? "w8" : "w");
        if (!tiff_ || !setFields(options)) {
            failed();
        }
    }

    void writeRows(const uint8_t* rows, int32_t count) override {
        for (int32_t i = 0; i < count; ++i, rows += line_.size()) {
            // libtiff swaps and differences the line in place.
            std::copy_n(rows, line_.size(), line_.data());
            if (TIFFWriteScanline(tiff_.get(), line_.data(), row_++, 0) != 1) {
                failed();
            }
        }
    }

    void finish() override {
        if (TIFFFlush(tiff_.get()) != 1) {
            failed();
        }
        tiff_.reset();
        if (stream_.systemError != 0) {
            failed();
        }
        if (spool_) {
            copySpool();
        }
        output_->commit();
    }

private:
    struct CloseFile {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    [[noreturn]] void failed() const {
        const std::string cause =
            stream_.systemError != 0 ? std::strerror(stream_.systemError) : stream_.messages.error;
        throw ImageError(fmt::format("cannot write {}: {}", output_->name(), cause));
    }

    bool set(uint32_t tag, int value) { return TIFFSetField(tiff_.get(), tag, value) == 1; }

    bool setFields(const WriteOptions& options) {
        const TiffCompression compression = options.compression;
        const int code = compression == TiffCompression::kLzw       ? COMPRESSION_LZW
                         : compression == TiffCompression::kDeflate ? COMPRESSION_ADOBE_DEFLATE
                                                                    : COMPRESSION_NONE;
        const int photometric = image_.space == CLRSPACE_CMYK  ? PHOTOMETRIC_SEPARATED
                                : image_.space == CLRSPACE_LAB ? PHOTOMETRIC_CIELAB
                                                               : PHOTOMETRIC_RGB;
        const int64_t fitting = std::max<int64_t>(1, kStripBytes / static_cast<int64_t>(line_.size()));
        const int64_t rowsPerStrip = options.oneStrip ? image_.height : fitting;
        bool done = set(TIFFTAG_IMAGEWIDTH, image_.width) && set(TIFFTAG_IMAGELENGTH, image_.height) &&
                    set(TIFFTAG_BITSPERSAMPLE, 8) && set(TIFFTAG_SAMPLESPERPIXEL, spaceOf(image_.space).bits / 8) &&
                    set(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) && set(TIFFTAG_PHOTOMETRIC, photometric) &&
                    set(TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT) && set(TIFFTAG_COMPRESSION, code) &&
                    set(TIFFTAG_ROWSPERSTRIP, static_cast<int>(std::min<int64_t>(rowsPerStrip, image_.height)));
        if (image_.space == CLRSPACE_CMYK) {
            done = done && set(TIFFTAG_INKSET, INKSET_CMYK);
        }
        if (!options.profile.empty()) {
            done = done && TIFFSetField(tiff_.get(), TIFFTAG_ICCPROFILE, static_cast<uint32_t>(options.profile.size()),
                                        options.profile.data()) == 1;
        }
        if (compression != TiffCompression::kNone) {
            done = done && set(TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
        }
        return done;
    }

    void copySpool() {
        std::vector<uint8_t> block(kStripBytes);
        for (int64_t offset = 0; offset < stream_.size;) {
            const ssize_t got = ::pread(stream_.descriptor, block.data(), block.size(), offset);
            if (got <= 0) {
                throw ImageError("cannot read a temporary file");
            }
            output_->write(block.data(), static_cast<size_t>(got));
            offset += got;
        }
    }

    Output output_;
    OutputImage image_;
    std::vector<uint8_t> line_;
    uint32_t row_ = 0;
    TiffStream stream_;
    std::unique_ptr<std::FILE, CloseFile> spool_;
    TiffPointer tiff_;
};

}  // namespace

std::unique_ptr<ImageWriter> createTiff(Output output, const OutputImage& image, const WriteOptions& options) {
    return std::make_unique<TiffWriter>(std::move(output), image, options);
}

}  // namespace zvimage
