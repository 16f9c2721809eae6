#include <fmt/format.h>
#include <png.h>

#include <cstdlib>
#include <cstring>

#include "codecs.h"
#include "samples.h"
#include "zvclr.h"

namespace zvimage {

namespace {

// libpng leaves its functions by longjmp. Every function here that calls it has trivial locals only,
// reports by its result, and the caller throws.

constexpr size_t kMessageBytes = 256;
constexpr size_t kMaxChunk = size_t{8} << 20;
constexpr png_byte kTextChunks[] = "tEXt\0zTXt\0iTXt";  // each with its zero byte
constexpr int kTextChunkCount = 3;

struct PngMessage {
    char text[kMessageBytes] = "unknown error";
    char profile[kMessageBytes] = "";  ///< the first warning about the embedded profile
};

void onError(png_structp png, png_const_charp text) {
    auto* message = static_cast<PngMessage*>(png_get_error_ptr(png));
    std::strncpy(message->text, text, kMessageBytes - 1);
    png_longjmp(png, 1);
}

void onWarning(png_structp png, png_const_charp text) {
    auto* message = static_cast<PngMessage*>(png_get_error_ptr(png));
    if (message->profile[0] == 0 && std::strncmp(text, "iCCP: ", 6) == 0) {
        std::strncpy(message->profile, text, kMessageBytes - 1);
    }
}

void onRead(png_structp png, png_bytep data, size_t count) {
    const int64_t got = static_cast<InputFile*>(png_get_io_ptr(png))->read(data, count);
    if (got < 0) {
        png_error(png, "the file cannot be read");
    }
    if (static_cast<size_t>(got) < count) {
        png_error(png, "it ends too early");
    }
}

void onWrite(png_structp png, png_bytep data, size_t count) {
    if (!static_cast<OutputFile*>(png_get_io_ptr(png))->put(data, count)) {
        png_error(png, "write error");
    }
}

void onFlush(png_structp) {}

struct FreeBytes {
    void operator()(uint8_t* bytes) const { std::free(bytes); }
};

class PngReader : public ImageReader {
public:
    PngReader(Input input, bool wantsProfile) : input_(std::move(input)) {
        png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, &message_, onError, onWarning);
        pngInfo_ = png_ != nullptr ? png_create_info_struct(png_) : nullptr;
        if (pngInfo_ == nullptr) {
            png_destroy_read_struct(&png_, nullptr, nullptr);
            throw std::bad_alloc();
        }
        if (!readHeader(wantsProfile)) {
            release();
            damaged();
        }
        describe();
        if (wantsProfile) {
            takeProfile();
        }
    }

    ~PngReader() override { release(); }

    void readRows(uint8_t* rows, int32_t count) override {
        if (interlaced() && !whole_) {
            readWhole();
        }
        for (int32_t i = 0; i < count; ++i, ++row_) {
            const uint8_t* pixels = rows;
            if (whole_) {
                pixels = whole_.get() + rowBytes() * static_cast<size_t>(row_);
            } else {
                uint8_t* target = alpha() ? line_.data() : rows;
                if (!readRow(target)) {
                    damaged();
                }
                pixels = target;
            }
            store(pixels, rows);
            rows += info_.bytesPerRow;
        }
    }

    void finish() override {
        if (!readEnd()) {
            damaged();
        }
    }

private:
    [[noreturn]] void damaged() const {
        throw ImageError(fmt::format("{} is damaged: {}", input_->name(), message_.text));
    }

    void release() { png_destroy_read_struct(&png_, &pngInfo_, nullptr); }

    bool interlaced() const { return passes_ > 1; }
    bool alpha() const { return channels_ == 4; }
    size_t rowBytes() const { return static_cast<size_t>(width_) * channels_; }

    bool readHeader(bool wantsProfile) {
        if (setjmp(png_jmpbuf(png_)) != 0) {
            return false;
        }
        png_set_read_fn(png_, input_.get(), onRead);
        png_set_user_limits(png_, kMaxDimension, kMaxDimension);
        png_set_chunk_malloc_max(png_, wantsProfile ? kMaxProfile : kMaxChunk);
        png_set_option(png_, PNG_SKIP_sRGB_CHECK_PROFILE, PNG_OPTION_ON);
        // They unpack to a thousand times their size, and nobody asks for them.
        png_set_keep_unknown_chunks(png_, PNG_HANDLE_CHUNK_NEVER, kTextChunks, kTextChunkCount);
        png_read_info(png_, pngInfo_);
        width_ = png_get_image_width(png_, pngInfo_);
        height_ = png_get_image_height(png_, pngInfo_);
        depth_ = png_get_bit_depth(png_, pngInfo_);
        colour_ = png_get_color_type(png_, pngInfo_);
        png_set_expand(png_);
        png_set_scale_16(png_);
        png_set_gray_to_rgb(png_);
        passes_ = png_set_interlace_handling(png_);
        png_read_update_info(png_, pngInfo_);
        channels_ = png_get_channels(png_, pngInfo_);
        return true;
    }

    void takeProfile() {
        png_charp name = nullptr;
        int compression = 0;
        png_bytep bytes = nullptr;
        png_uint_32 size = 0;
        if (png_get_iCCP(png_, pngInfo_, &name, &compression, &bytes, &size) == PNG_INFO_iCCP) {
            info_.profile.assign(bytes, bytes + size);
        } else {
            info_.profileProblem = message_.profile;
        }
    }

    bool readRow(uint8_t* row) {
        if (setjmp(png_jmpbuf(png_)) != 0) {
            return false;
        }
        png_read_row(png_, row, nullptr);
        return true;
    }

    bool readPasses() {
        if (setjmp(png_jmpbuf(png_)) != 0) {
            return false;
        }
        for (int pass = 0; pass < passes_; ++pass) {
            for (size_t row = 0; row < height_; ++row) {
                png_read_row(png_, whole_.get() + rowBytes() * row, nullptr);
            }
        }
        return true;
    }

    bool readEnd() {
        if (setjmp(png_jmpbuf(png_)) != 0) {
            return false;
        }
        png_read_end(png_, nullptr);
        return true;
    }

    void describe() {
        if (channels_ != 3 && channels_ != 4) {
            release();
            throw ImageError(fmt::format("{} has {} channels, which is not supported", input_->name(), channels_));
        }
        info_.width = static_cast<int32_t>(width_);
        info_.height = static_cast<int32_t>(height_);
        info_.space = CLRSPACE_RGB;
        info_.format = Format::kPng;
        info_.bytesPerRow = static_cast<size_t>(width_) * 3;
        const char* kind = colour_ == PNG_COLOR_TYPE_PALETTE       ? "palette"
                           : (colour_ & PNG_COLOR_MASK_COLOR) != 0 ? "rgb"
                                                                   : "grey";
        info_.description = fmt::format("PNG, {} bit {}{}{}", depth_, kind, alpha() ? " with alpha" : "",
                                        interlaced() ? ", interlaced" : "");
        if (alpha()) {
            info_.notes.emplace_back("its transparency has been laid on white");
        }
        line_.resize(alpha() ? rowBytes() : 0);
    }

    void readWhole() {
        const int64_t bytes = static_cast<int64_t>(rowBytes()) * height_;
        if (bytes > kMaxWholeImage) {
            throw ImageError(fmt::format("{} is interlaced and needs {} bytes at once; save it without interlacing",
                                         input_->name(), bytes));
        }
        // calloc: pages that the file never reaches cost nothing.
        whole_.reset(static_cast<uint8_t*>(std::calloc(static_cast<size_t>(bytes), 1)));
        if (!whole_) {
            throw std::bad_alloc();
        }
        if (!readPasses()) {
            damaged();
        }
    }

    void store(const uint8_t* pixels, uint8_t* row) const {
        if (!alpha()) {
            if (pixels != row) {
                std::memcpy(row, pixels, info_.bytesPerRow);
            }
            return;
        }
        for (size_t x = 0; x < width_; ++x, pixels += 4, row += 3) {
            for (size_t c = 0; c < 3; ++c) {
                row[c] = compositeOver(pixels[c], pixels[3], 255);
            }
        }
    }

    Input input_;
    PngMessage message_;
    png_structp png_ = nullptr;
    png_infop pngInfo_ = nullptr;
    png_uint_32 width_ = 0;
    png_uint_32 height_ = 0;
    int depth_ = 0;
    int colour_ = 0;
    int passes_ = 1;
    size_t channels_ = 0;
    int32_t row_ = 0;
    std::vector<uint8_t> line_;
    std::unique_ptr<uint8_t, FreeBytes> whole_;
};

class PngWriter : public ImageWriter {
public:
    PngWriter(Output output, const OutputImage& image, const std::vector<uint8_t>& profile)
        : output_(std::move(output)), image_(image) {
        png_ = png_create_write_struct(PNG_LIBPNG_VER_STRING, &message_, onError, onWarning);
        pngInfo_ = png_ != nullptr ? png_create_info_struct(png_) : nullptr;
        if (pngInfo_ == nullptr) {
            png_destroy_write_struct(&png_, nullptr);
            throw std::bad_alloc();
        }
        if (!writeHeader(profile)) {
            release();
            failed();
        }
    }

    ~PngWriter() override { release(); }

    void writeRows(const uint8_t* rows, int32_t count) override {
        const auto bytesPerRow = static_cast<size_t>(image_.bytes(1));
        for (int32_t i = 0; i < count; ++i, rows += bytesPerRow) {
            if (!writeRow(rows)) {
                failed();
            }
        }
    }

    void finish() override {
        if (!writeEnd()) {
            failed();
        }
        output_->commit();
    }

private:
    [[noreturn]] void failed() const {
        if (std::strcmp(message_.text, "write error") == 0) {
            output_->fail();
        }
        throw ImageError(fmt::format("cannot write {}: {}", output_->name(), message_.text));
    }

    void release() { png_destroy_write_struct(&png_, &pngInfo_); }

    bool writeHeader(const std::vector<uint8_t>& profile) {
        if (setjmp(png_jmpbuf(png_)) != 0) {
            return false;
        }
        png_set_write_fn(png_, output_.get(), onWrite, onFlush);
        png_set_user_limits(png_, kMaxDimension, kMaxDimension);
        png_set_IHDR(png_, pngInfo_, static_cast<png_uint_32>(image_.width), static_cast<png_uint_32>(image_.height), 8,
                     PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        if (!profile.empty()) {
            png_set_option(png_, PNG_SKIP_sRGB_CHECK_PROFILE, PNG_OPTION_ON);
            png_set_iCCP(png_, pngInfo_, "ICC profile", PNG_COMPRESSION_TYPE_BASE, profile.data(),
                         static_cast<png_uint_32>(profile.size()));
            // It may leave out what it does not like.
            if (png_get_valid(png_, pngInfo_, PNG_INFO_iCCP) == 0) {
                png_error(png_, "the profile is not one that PNG files hold");
            }
        }
        png_write_info(png_, pngInfo_);
        return true;
    }

    bool writeRow(const uint8_t* row) {
        if (setjmp(png_jmpbuf(png_)) != 0) {
            return false;
        }
        png_write_row(png_, row);
        return true;
    }

    bool writeEnd() {
        if (setjmp(png_jmpbuf(png_)) != 0) {
            return false;
        }
        png_write_end(png_, pngInfo_);
        return true;
    }

    Output output_;
    OutputImage image_;
    PngMessage message_;
    png_structp png_ = nullptr;
    png_infop pngInfo_ = nullptr;
};

}  // namespace

std::unique_ptr<ImageReader> openPng(Input input, const ReadOptions& options) {
    return std::make_unique<PngReader>(std::move(input), options.profile);
}

std::unique_ptr<ImageWriter> createPng(Output output, const OutputImage& image, const WriteOptions& options) {
    return std::make_unique<PngWriter>(std::move(output), image, options.profile);
}

}  // namespace zvimage
