#include <csetjmp>
#include <cstdio>
// jpeglib.h needs size_t and FILE.
#include <fmt/format.h>
#include <jerror.h>
#include <jpeglib.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "codecs.h"
#include "samples.h"
#include "zvclr.h"

namespace zvimage {

namespace {

// libjpeg leaves its functions by longjmp. Every function here that calls it has trivial locals only,
// reports by its result, and the caller throws.

constexpr size_t kBufferBytes = 65536;

struct JpegErrors {
    jpeg_error_mgr manager;
    jmp_buf jump;
    char text[JMSG_LENGTH_MAX];
    bool readingProfile;
    bool brokenProfile;
};

[[noreturn]] void onError(j_common_ptr jpeg) {
    auto* errors = reinterpret_cast<JpegErrors*>(jpeg->err);
    errors->manager.format_message(jpeg, errors->text);
    longjmp(errors->jump, 1);
}

// A warning of libjpeg means that pixels were guessed, but for these.
bool harmless(int code) { return code == JWRN_EXTRANEOUS_DATA || code == JWRN_ADOBE_XFORM || code == JWRN_JFIF_MAJOR; }

void onMessage(j_common_ptr jpeg, int level) {
    // Not told by its code, whose number depends on how libjpeg was built.
    auto* errors = reinterpret_cast<JpegErrors*>(jpeg->err);
    if (level < 0 && errors->readingProfile) {
        errors->brokenProfile = true;
        return;
    }
    if (level < 0 && !harmless(jpeg->err->msg_code)) {
        onError(jpeg);
    }
}

void onOutput(j_common_ptr) {}

jpeg_error_mgr* prepareErrors(JpegErrors& errors) {
    jpeg_std_error(&errors.manager);
    errors.manager.error_exit = onError;
    errors.manager.emit_message = onMessage;
    errors.manager.output_message = onOutput;
    errors.text[0] = 0;
    return &errors.manager;
}

struct JpegSource {
    jpeg_source_mgr manager;
    InputFile* input;
    bool savesMarkers;  ///< until the header is read
    uint8_t bytes[kBufferBytes];
};

void onSourceStart(j_decompress_ptr) {}

// libjpeg keeps as many markers as a file has, and walks through all of them for each new one.
void checkSavedMarkers(j_decompress_ptr jpeg) {
    constexpr size_t kMostMarkers = 8192;
    size_t count = 0;
    size_t bytes = 0;
    for (const auto* marker = jpeg->marker_list; marker != nullptr; marker = marker->next) {
        ++count;
        bytes += marker->data_length;
    }
    if (count > kMostMarkers || bytes > kMaxProfile) {
        auto* errors = reinterpret_cast<JpegErrors*>(jpeg->err);
        std::strncpy(errors->text, "it has more APP2 markers than a profile needs", sizeof errors->text - 1);
        longjmp(errors->jump, 1);
    }
}

boolean onSourceFill(j_decompress_ptr jpeg) {
    auto* source = reinterpret_cast<JpegSource*>(jpeg->src);
    if (source->savesMarkers) {
        checkSavedMarkers(jpeg);
    }
    const int64_t got = source->input->read(source->bytes, kBufferBytes);
    if (got <= 0) {
        ERREXIT(jpeg, got < 0 ? JERR_FILE_READ : JERR_INPUT_EOF);
    }
    source->manager.next_input_byte = source->bytes;
    source->manager.bytes_in_buffer = static_cast<size_t>(got);
    return TRUE;
}

void onSourceSkip(j_decompress_ptr jpeg, long count) {
    while (count > 0) {
        if (jpeg->src->bytes_in_buffer == 0) {
            onSourceFill(jpeg);
        }
        const size_t step = std::min(static_cast<size_t>(count), jpeg->src->bytes_in_buffer);
        jpeg->src->next_input_byte += step;
        jpeg->src->bytes_in_buffer -= step;
        count -= static_cast<long>(step);
    }
}

/// libjpeg allocates it.
struct JpegProfile {
    JpegProfile() = default;
    JpegProfile(const JpegProfile&) = delete;
    JpegProfile& operator=(const JpegProfile&) = delete;
    ~JpegProfile() { std::free(bytes); }

    JOCTET* bytes = nullptr;
    unsigned int size = 0;
};

class JpegReader : public ImageReader {
public:
    JpegReader(Input input, const ReadOptions& options)
        : input_(std::move(input)), asYcck_(options.space == CLRSPACE_YCCK) {
        jpeg_.err = prepareErrors(errors_);
        source_.input = input_.get();
        JpegProfile profile;
        if (!start(options.profile ? &profile : nullptr)) {
            const std::string text = errors_.text;
            jpeg_destroy_decompress(&jpeg_);
            throw ImageError(fmt::format("{} is damaged or not supported: {}", input_->name(), text));
        }
        if (profile.size != 0) {
            info_.profile.assign(profile.bytes, profile.bytes + profile.size);
        } else if (errors_.brokenProfile) {
            info_.profileProblem = "its parts are missing or contradict each other";
        }
        info_.width = static_cast<int32_t>(jpeg_.output_width);
        info_.height = static_cast<int32_t>(jpeg_.output_height);
        const bool fourInks = jpeg_.output_components == 4;
        info_.space = jpeg_.out_color_space == JCS_YCCK ? CLRSPACE_YCCK : fourInks ? CLRSPACE_CMYK : CLRSPACE_RGB;
        info_.format = Format::kJpeg;
        info_.bytesPerRow = static_cast<size_t>(jpeg_.output_width) * static_cast<size_t>(jpeg_.output_components);
        inverted_ = fourInks && jpeg_.saw_Adobe_marker != 0;
        const char* kind = jpeg_.jpeg_color_space == JCS_YCCK        ? "ycck"
                           : jpeg_.jpeg_color_space == JCS_CMYK      ? "cmyk"
                           : jpeg_.jpeg_color_space == JCS_GRAYSCALE ? "grey"
                                                                     : "rgb";
        info_.description = fmt::format("JPEG, {}{}{}", kind, jpeg_.progressive_mode != 0 ? ", progressive" : "",
                                        inverted_ ? ", Adobe inks" : "");
    }

    ~JpegReader() override { jpeg_destroy_decompress(&jpeg_); }

    void readRows(uint8_t* rows, int32_t count) override {
        const auto pixels = static_cast<size_t>(info_.width) * static_cast<size_t>(count);
        if (!read(rows, count)) {
            damaged();
        }
        if (inverted_ && info_.space == CLRSPACE_YCCK) {
            mirrorYcck(rows, pixels);
        } else if (inverted_) {
            invertBytes(rows, pixels * 4);
        }
    }

    void finish() override {
        if (!end()) {
            damaged();
        }
    }

private:
    [[noreturn]] void damaged() const {
        throw ImageError(fmt::format("{} is damaged: {}", input_->name(), errors_.text));
    }

    bool start(JpegProfile* profile) {
        if (setjmp(errors_.jump) != 0) {
            return false;
        }
        jpeg_CreateDecompress(&jpeg_, JPEG_LIB_VERSION, sizeof jpeg_);
        jpeg_.mem->max_memory_to_use = kMaxWholeImage;
        jpeg_.src = &source_.manager;
        source_.manager.init_source = onSourceStart;
        source_.manager.fill_input_buffer = onSourceFill;
        source_.manager.skip_input_data = onSourceSkip;
        source_.manager.resync_to_restart = jpeg_resync_to_restart;
        source_.manager.term_source = onSourceStart;
        source_.manager.bytes_in_buffer = 0;
        source_.manager.next_input_byte = nullptr;
        if (profile != nullptr) {
            jpeg_save_markers(&jpeg_, JPEG_APP0 + 2, 0xFFFF);
        }
        source_.savesMarkers = profile != nullptr;
        jpeg_read_header(&jpeg_, TRUE);
        source_.savesMarkers = false;
        if (profile != nullptr) {
            errors_.readingProfile = true;
            jpeg_read_icc_profile(&jpeg_, &profile->bytes, &profile->size);
            errors_.readingProfile = false;
        }
        switch (jpeg_.jpeg_color_space) {
            case JCS_GRAYSCALE:
            case JCS_RGB:
            case JCS_YCbCr:
                jpeg_.out_color_space = JCS_RGB;
                break;
            case JCS_CMYK:
                jpeg_.out_color_space = JCS_CMYK;
                break;
            case JCS_YCCK:
                jpeg_.out_color_space = asYcck_ && jpeg_.saw_Adobe_marker ? JCS_YCCK : JCS_CMYK;
                break;
            default:
                ERREXIT(&jpeg_, JERR_BAD_J_COLORSPACE);
        }
        jpeg_start_decompress(&jpeg_);
        return true;
    }

    bool read(uint8_t* rows, int32_t count) {
        if (setjmp(errors_.jump) != 0) {
            return false;
        }
        for (int32_t i = 0; i < count; ++i) {
            JSAMPROW row = rows + static_cast<size_t>(i) * info_.bytesPerRow;
            jpeg_read_scanlines(&jpeg_, &row, 1);
        }
        return true;
    }

    bool end() {
        if (setjmp(errors_.jump) != 0) {
            return false;
        }
        jpeg_finish_decompress(&jpeg_);
        return true;
    }

    Input input_;
    bool asYcck_;
    bool inverted_ = false;
    jpeg_decompress_struct jpeg_ = {};
    JpegErrors errors_ = {};
    JpegSource source_ = {};
};

struct JpegTarget {
    jpeg_destination_mgr manager;
    OutputFile* output;
    uint8_t bytes[kBufferBytes];
};

void onTargetStart(j_compress_ptr jpeg) {
    auto* target = reinterpret_cast<JpegTarget*>(jpeg->dest);
    target->manager.next_output_byte = target->bytes;
    target->manager.free_in_buffer = kBufferBytes;
}

boolean onTargetFull(j_compress_ptr jpeg) {
    auto* target = reinterpret_cast<JpegTarget*>(jpeg->dest);
    if (!target->output->put(target->bytes, kBufferBytes)) {
        ERREXIT(jpeg, JERR_FILE_WRITE);
    }
    onTargetStart(jpeg);
    return TRUE;
}

void onTargetEnd(j_compress_ptr jpeg) {
    auto* target = reinterpret_cast<JpegTarget*>(jpeg->dest);
    if (!target->output->put(target->bytes, kBufferBytes - target->manager.free_in_buffer)) {
        ERREXIT(jpeg, JERR_FILE_WRITE);
    }
}

class JpegWriter : public ImageWriter {
public:
    JpegWriter(Output output, const OutputImage& image, const WriteOptions& options)
        : output_(std::move(output)), image_(image), line_(static_cast<size_t>(image.bytes(1))) {
        jpeg_.err = prepareErrors(errors_);
        target_.output = output_.get();
        if (!start(options)) {
            const std::string text = errors_.text;
            jpeg_destroy_compress(&jpeg_);
            throw ImageError(fmt::format("cannot write {}: {}", output_->name(), text));
        }
    }

    ~JpegWriter() override { jpeg_destroy_compress(&jpeg_); }

    void writeRows(const uint8_t* rows, int32_t count) override {
        for (int32_t i = 0; i < count; ++i, rows += line_.size()) {
            std::copy_n(rows, line_.size(), line_.data());
            if (image_.space == CLRSPACE_CMYK) {
                invertBytes(line_.data(), line_.size());
            } else if (image_.space == CLRSPACE_YCCK) {
                mirrorYcck(line_.data(), static_cast<size_t>(image_.width));
            }
            if (!write()) {
                failed();
            }
        }
    }

    void finish() override {
        if (!end()) {
            failed();
        }
        output_->commit();
    }

private:
    [[noreturn]] void failed() const {
        if (errors_.manager.msg_code == JERR_FILE_WRITE) {
            output_->fail();
        }
        throw ImageError(fmt::format("cannot write {}: {}", output_->name(), errors_.text));
    }

    bool start(const WriteOptions& options) {
        if (setjmp(errors_.jump) != 0) {
            return false;
        }
        jpeg_CreateCompress(&jpeg_, JPEG_LIB_VERSION, sizeof jpeg_);
        jpeg_.dest = &target_.manager;
        target_.manager.init_destination = onTargetStart;
        target_.manager.empty_output_buffer = onTargetFull;
        target_.manager.term_destination = onTargetEnd;
        jpeg_.image_width = static_cast<JDIMENSION>(image_.width);
        jpeg_.image_height = static_cast<JDIMENSION>(image_.height);
        jpeg_.input_components = image_.space == CLRSPACE_RGB ? 3 : 4;
        jpeg_.in_color_space = image_.space == CLRSPACE_RGB    ? JCS_RGB
                               : image_.space == CLRSPACE_CMYK ? JCS_CMYK
                                                               : JCS_YCCK;
        jpeg_set_defaults(&jpeg_);
        jpeg_set_quality(&jpeg_, options.quality, TRUE);
        if (image_.space == CLRSPACE_YCCK) {
            for (int i = 0; i < jpeg_.num_components; ++i) {
                jpeg_.comp_info[i].h_samp_factor = 1;
                jpeg_.comp_info[i].v_samp_factor = 1;
            }
        }
        jpeg_start_compress(&jpeg_, TRUE);
        if (!options.profile.empty()) {
            jpeg_write_icc_profile(&jpeg_, options.profile.data(), static_cast<unsigned int>(options.profile.size()));
        }
        return true;
    }

    bool write() {
        if (setjmp(errors_.jump) != 0) {
            return false;
        }
        JSAMPROW row = line_.data();
        jpeg_write_scanlines(&jpeg_, &row, 1);
        return true;
    }

    bool end() {
        if (setjmp(errors_.jump) != 0) {
            return false;
        }
        jpeg_finish_compress(&jpeg_);
        return true;
    }

    Output output_;
    OutputImage image_;
    std::vector<uint8_t> line_;
    jpeg_compress_struct jpeg_ = {};
    JpegErrors errors_ = {};
    JpegTarget target_ = {};
};

}  // namespace

std::unique_ptr<ImageReader> openJpeg(Input input, const ReadOptions& options) {
    return std::make_unique<JpegReader>(std::move(input), options);
}

std::unique_ptr<ImageWriter> createJpeg(Output output, const OutputImage& image, const WriteOptions& options) {
    return std::make_unique<JpegWriter>(std::move(output), image, options);
}

}  // namespace zvimage
