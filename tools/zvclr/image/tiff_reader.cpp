#include <fmt/format.h>

#include <algorithm>
#include <cstring>

#include "codecs.h"
#include "samples.h"
#include "tiff_file.h"
#include "zvclr.h"

namespace zvimage {

namespace {

// Photoshop and others write up to 24 extra channels; more is no picture.
constexpr int kMaxSamples = 32;
constexpr uint64_t kMaxRowBytes = 256U << 20;
constexpr uint64_t kMaxBandBytes = 512U << 20;

enum class Kind { kGrey, kPalette, kRgb, kCmyk, kLab, kIccLab };

enum class Alpha { kNone, kPlain, kPremultiplied };

// One directory of one file, read row by row. Separate planes have an open file each, so that each
// of them is decoded from top to bottom.
class TiffPlane {
public:
    TiffPlane(InputFile& input, uint16_t sample) : sample_(sample) {
        stream_.input = &input;
        stream_.size = *input.size();
        // m: no mapping of the file, so that large strips are read piece by piece.
        tiff_ = openTiffStream(stream_, input.name(), "rm");
        if (!tiff_) {
            throw ImageError(fmt::format("{} is damaged: {}", input.name(), stream_.messages.error));
        }
    }

    TIFF* get() const { return tiff_.get(); }

    void prepare(uint32_t width) {
        int compression = number(TIFFTAG_COMPRESSION);
        if (compression == COMPRESSION_JPEG && number(TIFFTAG_PHOTOMETRIC) == PHOTOMETRIC_YCBCR) {
            TIFFSetField(tiff_.get(), TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
        }
        if (TIFFIsTiled(tiff_.get()) == 0) {
            row_.resize(checked(TIFFScanlineSize64(tiff_.get()), kMaxRowBytes));
            return;
        }
        uint32_t tileWidth = 0;
        TIFFGetField(tiff_.get(), TIFFTAG_TILEWIDTH, &tileWidth);
        TIFFGetField(tiff_.get(), TIFFTAG_TILELENGTH, &tileHeight_);
        if (tileWidth == 0 || tileHeight_ == 0 || tileHeight_ > uint32_t{kMaxDimension} ||
            tileWidth > 2 * uint32_t{kMaxDimension}) {
            damaged();
        }
        tileWidth_ = tileWidth;
        width_ = width;
        tileRowBytes_ = checked(TIFFTileRowSize64(tiff_.get()), kMaxRowBytes);
        tileBytes_ = checked(TIFFTileSize64(tiff_.get()), kMaxBandBytes);
        const uint64_t across = (width - 1) / tileWidth + 1;
        if (tileBytes_ < uint64_t{tileRowBytes_} * tileHeight_) {
            damaged();
        }
        row_.resize(checked(across * tileRowBytes_, kMaxRowBytes));
        band_.resize(checked(across * tileBytes_, kMaxBandBytes));
    }

    /// The row's bytes with samples in the order of the file.
    const std::vector<uint8_t>& read(uint32_t row) {
        stream_.messages = {};
        if (tileHeight_ == 0) {
            // A warning about pixels means that some were guessed.
            if (TIFFReadScanline(tiff_.get(), row_.data(), row, sample_) != 1 || !stream_.messages.warning.empty()) {
                damaged();
            }
            return row_;
        }
        if (row % tileHeight_ == 0) {
            readBand(row);
        }
        uint8_t* target = row_.data();
        const uint8_t* source = band_.data() + size_t{row % tileHeight_} * tileRowBytes_;
        for (uint32_t x = 0; x < width_; x += tileWidth_) {
            std::memcpy(target, source, tileRowBytes_);
            target += tileRowBytes_;
            source += tileBytes_;
        }
        return row_;
    }

    const std::vector<uint8_t>& last() const { return row_; }

    int number(uint32_t tag) const {
        uint16_t value = 0;
        return TIFFGetFieldDefaulted(tiff_.get(), tag, &value) == 1 ? value : -1;
    }

    [[noreturn]] void damaged() const {
        const TiffMessages& messages = stream_.messages;
        throw ImageError(fmt::format("{} is damaged: {}", stream_.input->name(),
                                     !messages.error.empty()     ? messages.error
                                     : !messages.warning.empty() ? messages.warning
                                                                 : "its sizes contradict each other"));
    }

private:
    size_t checked(uint64_t bytes, uint64_t limit) const {
        if (bytes == 0 || bytes > limit) {
            damaged();
        }
        return static_cast<size_t>(bytes);
    }

    void readBand(uint32_t row) {
        uint8_t* target = band_.data();
        for (uint32_t x = 0; x < width_; x += tileWidth_) {
            const uint32_t tile = TIFFComputeTile(tiff_.get(), x, row, 0, sample_);
            const tmsize_t got = TIFFReadEncodedTile(tiff_.get(), tile, target, static_cast<tmsize_t>(tileBytes_));
            if (got != static_cast<tmsize_t>(tileBytes_) || !stream_.messages.warning.empty()) {
                damaged();
            }
            target += tileBytes_;
        }
    }

    uint16_t sample_;
    TiffStream stream_;
    TiffPointer tiff_;
    uint32_t width_ = 0;
    uint32_t tileWidth_ = 0;
    uint32_t tileHeight_ = 0;
    size_t tileRowBytes_ = 0;
    size_t tileBytes_ = 0;
    std::vector<uint8_t> row_;
    std::vector<uint8_t> band_;
};

class TiffReader : public ImageReader {
public:
    TiffReader(Input input, bool wantsProfile) : input_(std::move(input)) {
        input_->makeSeekable();
        planes_.push_back(std::make_unique<TiffPlane>(*input_, uint16_t{0}));
        readFields();
        if (wantsProfile) {
            readProfile();
        }
        const int needed = colours_ + (alpha_ != Alpha::kNone ? 1 : 0);
        planes_[0]->prepare(width());
        for (int i = 1; separate_ && i < needed; ++i) {
            planes_.push_back(std::make_unique<TiffPlane>(*input_, static_cast<uint16_t>(i)));
            planes_.back()->prepare(width());
        }
        const uint64_t bitsPerRow = uint64_t{width()} * static_cast<uint64_t>(bits_ * (separate_ ? 1 : samples_));
        for (const auto& plane : planes_) {
            if (plane->last().size() < (bitsPerRow + 7) / 8) {
                plane->damaged();
            }
        }
        samplesOfRow_.assign(static_cast<size_t>(needed), std::vector<uint16_t>(width()));
    }

    void readRows(uint8_t* rows, int32_t count) override {
        for (int32_t i = 0; i < count; ++i, ++row_) {
            for (size_t s = 0; s < samplesOfRow_.size(); ++s) {
                if (separate_) {
                    unpack(planes_[s]->read(row_), 0, 1, samplesOfRow_[s]);
                } else if (s == 0) {
                    unpack(planes_[0]->read(row_), 0, static_cast<size_t>(samples_), samplesOfRow_[0]);
                } else {
                    unpack(planes_[0]->last(), s, static_cast<size_t>(samples_), samplesOfRow_[s]);
                }
            }
            store(rows);
            rows += info_.bytesPerRow;
        }
    }

private:
    uint32_t width() const { return static_cast<uint32_t>(info_.width); }

    [[noreturn]] void unsupported(const std::string& what) const {
        throw ImageError(fmt::format("{} is a TIFF file with {}, which is not supported", input_->name(), what));
    }

    void readFields() {
        const TiffPlane& plane = *planes_[0];
        uint32_t width = 0;
        uint32_t height = 0;
        TIFFGetField(plane.get(), TIFFTAG_IMAGEWIDTH, &width);
        TIFFGetField(plane.get(), TIFFTAG_IMAGELENGTH, &height);
        checkDimensions(input_->name(), width, height);
        info_.width = static_cast<int32_t>(width);
        info_.height = static_cast<int32_t>(height);
        bits_ = plane.number(TIFFTAG_BITSPERSAMPLE);
        samples_ = plane.number(TIFFTAG_SAMPLESPERPIXEL);
        separate_ = plane.number(TIFFTAG_PLANARCONFIG) == PLANARCONFIG_SEPARATE && samples_ > 1;
        readKind(plane.number(TIFFTAG_PHOTOMETRIC), plane.number(TIFFTAG_COMPRESSION));
        checkSamples(plane.number(TIFFTAG_SAMPLEFORMAT));
        readAlpha();
        if (kind_ == Kind::kPalette) {
            readPalette();
        }
        describe();
    }

    void readProfile() {
        uint32_t size = 0;
        const uint8_t* bytes = nullptr;
        if (TIFFGetField(planes_[0]->get(), TIFFTAG_ICCPROFILE, &size, &bytes) != 1 || bytes == nullptr) {
            return;
        }
        if (size > kMaxProfile) {
            info_.profileProblem = fmt::format("it is larger than {} MB", kMaxProfile >> 20);
        } else {
            info_.profile.assign(bytes, bytes + size);
        }
    }

    void readKind(int photometric, int compression) {
        switch (photometric) {
            case PHOTOMETRIC_MINISWHITE:
            case PHOTOMETRIC_MINISBLACK:
                kind_ = Kind::kGrey;
                inverted_ = photometric == PHOTOMETRIC_MINISWHITE;
                return;
            case PHOTOMETRIC_PALETTE:
                kind_ = Kind::kPalette;
                return;
            case PHOTOMETRIC_RGB:
                kind_ = Kind::kRgb;
                return;
            case PHOTOMETRIC_SEPARATED:
                if (planes_[0]->number(TIFFTAG_INKSET) != INKSET_CMYK) {
                    unsupported("other inks than CMYK");
                }
                kind_ = Kind::kCmyk;
                return;
            case PHOTOMETRIC_CIELAB:
                kind_ = Kind::kLab;
                return;
            case PHOTOMETRIC_ICCLAB:
                kind_ = Kind::kIccLab;
                return;
            case PHOTOMETRIC_YCBCR:
                // libtiff's JPEG codec delivers RGB for these.
                if (compression == COMPRESSION_JPEG && !separate_) {
                    kind_ = Kind::kRgb;
                    return;
                }
                unsupported("YCbCr pixels outside of JPEG compression");
            case -1:
                throw ImageError(input_->name() + " is damaged: it does not tell its colours");
            default:
                unsupported(fmt::format("photometric interpretation {}", photometric));
        }
    }

    void checkSamples(int sampleFormat) {
        colours_ = kind_ == Kind::kGrey || kind_ == Kind::kPalette ? 1 : kind_ == Kind::kCmyk ? 4 : 3;
        const bool small = bits_ == 1 || bits_ == 2 || bits_ == 4;
        if (bits_ != 8 && bits_ != 16 && !(small && colours_ == 1)) {
            unsupported(fmt::format("{} bits in a sample", bits_));
        }
        const bool lab = kind_ == Kind::kLab || kind_ == Kind::kIccLab;
        if (sampleFormat != SAMPLEFORMAT_UINT && sampleFormat != SAMPLEFORMAT_VOID &&
            !(lab && sampleFormat == SAMPLEFORMAT_INT)) {
            unsupported("samples that are not unsigned integers");
        }
        if (kind_ == Kind::kPalette && bits_ == 16) {
            unsupported("a palette of 65536 colours");
        }
        if (samples_ < colours_ || samples_ > kMaxSamples) {
            unsupported(fmt::format("{} samples in a pixel", samples_));
        }
    }

    void readAlpha() {
        uint16_t count = 0;
        const uint16_t* types = nullptr;
        const int extra = samples_ - colours_;
        if (extra == 0) {
            return;
        }
        const bool told = TIFFGetFieldDefaulted(planes_[0]->get(), TIFFTAG_EXTRASAMPLES, &count, &types) == 1;
        const uint16_t type = told && count > 0 && types != nullptr ? types[0] : uint16_t{EXTRASAMPLE_UNSPECIFIED};
        const bool lab = kind_ == Kind::kLab || kind_ == Kind::kIccLab;
        if (!lab && kind_ != Kind::kPalette && type == EXTRASAMPLE_ASSOCALPHA) {
            alpha_ = Alpha::kPremultiplied;
        } else if (!lab && kind_ != Kind::kPalette && type == EXTRASAMPLE_UNASSALPHA) {
            alpha_ = Alpha::kPlain;
        }
        if (alpha_ != Alpha::kNone) {
            info_.notes.emplace_back("its transparency has been laid on white");
        } else {
            info_.notes.emplace_back("its extra samples have been left out");
        }
    }

    void readPalette() {
        uint16_t* channels[3] = {};
        if (TIFFGetField(planes_[0]->get(), TIFFTAG_COLORMAP, &channels[0], &channels[1], &channels[2]) != 1) {
            throw ImageError(input_->name() + " is damaged: its palette is missing");
        }
        const size_t entries = size_t{1} << bits_;
        // Some writers store bytes where words belong.
        const bool words = std::any_of(std::begin(channels), std::end(channels), [entries](const uint16_t* channel) {
            return std::any_of(channel, channel + entries, [](uint16_t value) { return value > 255; });
        });
        for (size_t c = 0; c < 3; ++c) {
            palette_[c].resize(entries);
            std::transform(channels[c], channels[c] + entries, palette_[c].begin(), [words](uint16_t value) {
                return words ? scaleToByte(value, 65535) : static_cast<uint8_t>(value);
            });
        }
    }

    void describe() {
        static constexpr const char* kKinds[] = {"grey", "palette", "rgb", "cmyk", "CIE Lab", "ICC Lab"};
        info_.space = kind_ == Kind::kCmyk                            ? CLRSPACE_CMYK
                      : kind_ == Kind::kLab || kind_ == Kind::kIccLab ? CLRSPACE_LAB
                                                                      : CLRSPACE_RGB;
        info_.format = Format::kTiff;
        info_.bytesPerRow = static_cast<size_t>(info_.width) * (kind_ == Kind::kCmyk ? 4 : 3);
        info_.description = fmt::format("TIFF, {} bit {}{}{}{}", bits_, kKinds[static_cast<size_t>(kind_)],
                                        alpha_ != Alpha::kNone ? " with alpha" : "",
                                        TIFFIsTiled(planes_[0]->get()) != 0 ? ", tiles" : ", strips",
                                        separate_ ? ", separate planes" : "");
        if (planes_[0]->number(TIFFTAG_ORIENTATION) != ORIENTATION_TOPLEFT) {
            info_.notes.emplace_back("its rows and columns are kept in the order of the file, not turned upright");
        }
        if (TIFFLastDirectory(planes_[0]->get()) == 0) {
            info_.notes.emplace_back("it has several images, of which the first is read");
        }
    }

    void unpack(const std::vector<uint8_t>& row, size_t first, size_t step, std::vector<uint16_t>& samples) const {
        if (bits_ == 8) {
            for (size_t x = 0; x < samples.size(); ++x) {
                samples[x] = row[x * step + first];
            }
        } else if (bits_ == 16) {
            for (size_t x = 0; x < samples.size(); ++x) {
                std::memcpy(&samples[x], row.data() + 2 * (x * step + first), 2);
            }
        } else {
            const auto bits = static_cast<size_t>(bits_);
            for (size_t x = 0; x < samples.size(); ++x) {
                const size_t bit = (x * step + first) * bits;
                const unsigned shifted = static_cast<unsigned>(row[bit / 8]) >> (8 - bits - bit % 8);
                samples[x] = static_cast<uint16_t>(shifted & ((1U << bits) - 1));
            }
        }
    }

    uint8_t toByte(uint16_t value) const {
        return bits_ == 8 ? static_cast<uint8_t>(value) : scaleToByte(value, (1U << bits_) - 1);
    }

    // Byte of a Lab sample in the library's form. Words of CIE Lab have a and b times 256; ICC Lab
    // adds 128 to a and b, and its words hold bytes times 256.
    uint8_t labByte(uint16_t value, size_t channel) const {
        int byte = value;
        if (kind_ == Kind::kLab && bits_ == 16) {
            if (channel == 0) {
                return toByte(value);
            }
            byte = std::min(127, (static_cast<int16_t>(value) + 128) >> 8);
        } else if (kind_ == Kind::kIccLab) {
            byte = bits_ == 16 ? std::min(255, (value + 128) >> 8) : value;
            byte = channel == 0 ? byte : byte - 128;
        }
        return static_cast<uint8_t>(byte);
    }

    uint8_t colourByte(uint16_t value) const {
        return inverted_ ? static_cast<uint8_t>(255 - toByte(value)) : toByte(value);
    }

    uint8_t blended(uint8_t value, size_t x) const {
        if (alpha_ == Alpha::kNone) {
            return value;
        }
        const uint8_t alpha = toByte(samplesOfRow_.back()[x]);
        const uint8_t white = kind_ == Kind::kCmyk ? 0 : 255;
        return alpha_ == Alpha::kPlain ? compositeOver(value, alpha, white)
                                       : compositePremultiplied(value, alpha, white);
    }

    void store(uint8_t* row) const {
        const size_t channels = kind_ == Kind::kCmyk ? 4 : 3;
        for (size_t c = 0; c < channels; ++c) {
            const std::vector<uint16_t>& samples = samplesOfRow_[colours_ == 1 ? 0 : c];
            uint8_t* target = row + c;
            for (size_t x = 0; x < samples.size(); ++x, target += channels) {
                switch (kind_) {
                    case Kind::kPalette:
                        *target = palette_[c][samples[x]];
                        break;
                    case Kind::kLab:
                    case Kind::kIccLab:
                        *target = labByte(samples[x], c);
                        break;
                    default:
                        *target = blended(colourByte(samples[x]), x);
                }
            }
        }
    }

    Input input_;
    std::vector<std::unique_ptr<TiffPlane>> planes_;
    Kind kind_ = Kind::kRgb;
    Alpha alpha_ = Alpha::kNone;
    int bits_ = 0;
    int samples_ = 0;
    int colours_ = 0;
    bool separate_ = false;
    bool inverted_ = false;
    uint32_t row_ = 0;
    std::vector<uint8_t> palette_[3];
    std::vector<std::vector<uint16_t>> samplesOfRow_;
};

}  // namespace

std::unique_ptr<ImageReader> openTiff(Input input, const ReadOptions& options) {
    return std::make_unique<TiffReader>(std::move(input), options.profile);
}

}  // namespace zvimage
