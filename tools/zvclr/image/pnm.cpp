#include <fmt/format.h>

#include <algorithm>

#include "codecs.h"
#include "samples.h"
#include "zvclr.h"

namespace zvimage {

namespace {

class PnmReader : public ImageReader {
public:
    explicit PnmReader(Input input) : input_(std::move(input)) {
        input_->get();
        kind_ = input_->get() - '0';
        if (kind_ != 2 && kind_ != 3 && kind_ != 5 && kind_ != 6) {
            throw ImageError(fmt::format("{} is a P{} file; P2, P3, P5 and P6 are read", input_->name(), kind_));
        }
        const int64_t width = number();
        const int64_t height = number();
        maximum_ = static_cast<uint32_t>(number());
        checkDimensions(input_->name(), width, height);
        if (maximum_ < 1 || maximum_ > 65535) {
            throw ImageError(fmt::format("{} is damaged: its largest value is {}", input_->name(), maximum_));
        }
        info_.width = static_cast<int32_t>(width);
        info_.height = static_cast<int32_t>(height);
        info_.space = CLRSPACE_RGB;
        info_.format = Format::kPnm;
        info_.bytesPerRow = static_cast<size_t>(width) * 3;
        info_.description = fmt::format("PNM P{}, {} with values to {}", kind_, grey() ? "grey" : "rgb", maximum_);
        samples_.resize(static_cast<size_t>(width) * (grey() ? 1 : 3));
        bytes_.resize(plain() ? 0 : samples_.size() * (maximum_ > 255 ? 2 : 1));
    }

    void readRows(uint8_t* rows, int32_t count) override {
        for (int32_t i = 0; i < count; ++i) {
            readSamples();
            for (size_t k = 0; k < samples_.size(); ++k) {
                if (samples_[k] > maximum_) {
                    throw ImageError(fmt::format("{} is damaged: a value of {} is above its largest value {}",
                                                 input_->name(), samples_[k], maximum_));
                }
                const uint8_t value = scaleToByte(samples_[k], maximum_);
                if (grey()) {
                    std::fill_n(rows + 3 * k, 3, value);
                } else {
                    rows[k] = value;
                }
            }
            rows += info_.bytesPerRow;
        }
    }

private:
    bool grey() const { return kind_ == 2 || kind_ == 5; }
    bool plain() const { return kind_ < 4; }

    // The next number of the text; it takes the one byte of white space that ends it.
    uint32_t number() {
        int byte = input_->get();
        while (byte == '#' || byte == ' ' || (byte >= '\t' && byte <= '\r')) {
            if (byte == '#') {
                while (byte >= 0 && byte != '\n' && byte != '\r') {
                    byte = input_->get();
                }
            } else {
                byte = input_->get();
            }
        }
        if (byte < 0) {
            throw ImageError(input_->name() + " is damaged: it ends too early");
        }
        uint32_t value = 0;
        int digits = 0;
        for (; byte >= '0' && byte <= '9'; byte = input_->get()) {
            value = value * 10 + static_cast<uint32_t>(byte - '0');
            if (++digits > 8) {
                throw ImageError(input_->name() + " is damaged: a number is too long");
            }
        }
        const bool ended = byte < 0 || byte == ' ' || (byte >= '\t' && byte <= '\r') || byte == '#';
        if (digits == 0 || !ended) {
            throw ImageError(input_->name() + " is damaged: a number was expected");
        }
        if (byte == '#') {
            while (byte >= 0 && byte != '\n') {
                byte = input_->get();
            }
        }
        return value;
    }

    void readSamples() {
        if (plain()) {
            std::generate(samples_.begin(), samples_.end(), [this] { return number(); });
            return;
        }
        input_->readAll(bytes_.data(), bytes_.size());
        for (size_t k = 0; k < samples_.size(); ++k) {
            samples_[k] = maximum_ > 255 ? uint32_t{bytes_[2 * k]} << 8 | bytes_[2 * k + 1] : bytes_[k];
        }
    }

    Input input_;
    int kind_ = 0;
    uint32_t maximum_ = 0;
    std::vector<uint32_t> samples_;
    std::vector<uint8_t> bytes_;
};

class PnmWriter : public ImageWriter {
public:
    PnmWriter(Output output, const OutputImage& image) : output_(std::move(output)), image_(image) {
        const std::string head = fmt::format("P6\n{} {}\n255\n", image.width, image.height);
        output_->write(head.data(), head.size());
    }

    void writeRows(const uint8_t* rows, int32_t count) override {
        output_->write(rows, static_cast<size_t>(image_.bytes(count)));
    }

    void finish() override { output_->commit(); }

private:
    Output output_;
    OutputImage image_;
};

}  // namespace

std::unique_ptr<ImageReader> openPnm(Input input) { return std::make_unique<PnmReader>(std::move(input)); }

std::unique_ptr<ImageWriter> createPnm(Output output, const OutputImage& image) {
    return std::make_unique<PnmWriter>(std::move(output), image);
}

}  // namespace zvimage
