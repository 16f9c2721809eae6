#include <fmt/format.h>

#include <algorithm>

#include "codecs.h"

namespace zvimage {

namespace {

class RawReader : public ImageReader {
public:
    RawReader(Input input, const ReadOptions& options) : input_(std::move(input)) {
        if (!options.space) {
            throw ContradictionError(input_->name() +
                                     " holds raw pixels, which do not tell their colour space; give it (--from)");
        }
        if (options.width == 0 || options.height == 0) {
            throw ContradictionError(input_->name() +
                                     " holds raw pixels, which do not tell their size; give it (--size)");
        }
        checkDimensions(input_->name(), options.width, options.height);
        const Space& space = spaceOf(*options.space);
        layout_ = options.layout.value_or(layoutOf(space.id));
        if (options.width % layout_.widthMultiple() != 0 || options.height % layout_.heightMultiple() != 0) {
            throw ContradictionError(fmt::format(
                "{} pixels in this layout need a width that is a multiple of {} and a height that is a multiple of {}, "
                "but the size was given as {} x {}; correct it",
                space.name, layout_.widthMultiple(), layout_.heightMultiple(), options.width, options.height));
        }
        info_.width = options.width;
        info_.height = options.height;
        info_.space = space.id;
        info_.bytesPerRow = static_cast<size_t>((int64_t{space.bits} * options.width + 7) / 8);
        info_.rowUnit = layout_.heightMultiple();
        info_.description = fmt::format("raw {}", space.name);
        if (layout_.planes.size() > 1) {
            input_->makeSeekable();
        }
        expected_ = layout_.bytes(info_.width, info_.height);
        if (input_->size() && *input_->size() != expected_) {
            wrongLength(fmt::format("{} bytes", *input_->size()));
        }
    }

    void readRows(uint8_t* rows, int32_t count) override {
        if (layout_.planes.size() == 1) {
            readNext(rows, static_cast<size_t>(layout_.bytes(info_.width, count)));
        } else {
            int64_t start = 0;
            for (const RawPlane& plane : layout_.planes) {
                const auto bytes = static_cast<size_t>(plane.bytes(info_.width, count));
                const int64_t offset = start + plane.bytes(info_.width, row_);
                if (input_->readAt(rows, bytes, offset) != static_cast<int64_t>(bytes)) {
                    throw ImageError("cannot read " + input_->name() + ": it changed while it was read");
                }
                rows += bytes;
                start += plane.bytes(info_.width, info_.height);
            }
        }
        row_ += count;
    }

    void finish() override {
        if (layout_.planes.size() == 1 && input_->get() >= 0) {
            wrongLength(fmt::format("more than {} bytes", expected_));
        }
    }

private:
    void readNext(uint8_t* rows, size_t bytes) {
        const size_t got = input_->readUpTo(rows, bytes);
        taken_ += static_cast<int64_t>(got);
        if (got < bytes) {
            wrongLength(fmt::format("{} bytes", taken_));
        }
    }

    [[noreturn]] void wrongLength(const std::string& found) const {
        throw ContradictionError(
            fmt::format("{} has {}, but {} x {} pixels of {} are {} bytes; check the size "
                        "(--size) and the colour space (--from)",
                        input_->name(), found, info_.width, info_.height, spaceOf(info_.space).name, expected_));
    }

    Input input_;
    RawLayout layout_;
    int64_t expected_ = 0;
    int64_t taken_ = 0;
    int32_t row_ = 0;
};

// Planes after the first are kept until it is complete; they have a sixteenth of its size.
class RawWriter : public ImageWriter {
public:
    RawWriter(Output output, const OutputImage& image)
        : output_(std::move(output)), image_(image), layout_(layoutOf(image.space)), kept_(layout_.planes.size()) {}

    void writeRows(const uint8_t* rows, int32_t count) override {
        for (size_t i = 0; i < layout_.planes.size(); ++i) {
            const auto bytes = static_cast<size_t>(layout_.planes[i].bytes(image_.width, count));
            if (i == 0) {
                output_->write(rows, bytes);
            } else {
                kept_[i].insert(kept_[i].end(), rows, rows + bytes);
            }
            rows += bytes;
        }
    }

    void finish() override {
        for (const std::vector<uint8_t>& plane : kept_) {
            output_->write(plane.data(), plane.size());
        }
        output_->commit();
    }

private:
    Output output_;
    OutputImage image_;
    RawLayout layout_;
    std::vector<std::vector<uint8_t>> kept_;
};

}  // namespace

std::unique_ptr<ImageReader> openRaw(Input input, const ReadOptions& options) {
    return std::make_unique<RawReader>(std::move(input), options);
}

std::unique_ptr<ImageWriter> createRaw(Output output, const OutputImage& image) {
    return std::make_unique<RawWriter>(std::move(output), image);
}

}  // namespace zvimage
