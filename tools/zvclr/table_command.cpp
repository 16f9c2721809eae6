#include "table_command.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "emulation_table.h"
#include "image/image.h"
#include "parameters.h"
#include "strip_converter.h"
#include "zvclr.h"

namespace zvtool {

using zvimage::ContradictionError;
using zvimage::ImageInfo;

namespace {

constexpr int64_t kStripBytes = 1 << 20;

const TableGrid& gridOf(const TableArguments& arguments) {
    const int32_t from = parseSpace("--from", arguments.from);
    const int32_t to = parseSpace("--to", arguments.to);
    const TableGrid* grid = findTable(from, to);
    if (grid == nullptr) {
        throw ContradictionError(
            fmt::format("there is no emulation table from {} to {}; tables go from cmyk to rgb, from rgb to lab and "
                        "from lab to rgb (--from and --to)",
                        arguments.from, arguments.to));
    }
    if (from == CLRSPACE_BGR || to == CLRSPACE_BGR) {
        throw ContradictionError("a table of rgb serves bgr too; give rgb in place of bgr");
    }
    return *grid;
}

void checkOutput(const std::string& path) {
    if (path == "-" && ::isatty(STDOUT_FILENO) == 1) {
        throw ContradictionError("the standard output is a terminal, which cannot show an image; send it to a file");
    }
}

/// An uncompressed square.
std::unique_ptr<zvimage::ImageWriter> createTable(const std::string& path, int32_t side, int32_t space, bool oneStrip) {
    zvimage::WriteOptions options;
    options.format = zvimage::Format::kTiff;
    options.compression = zvimage::TiffCompression::kNone;
    options.oneStrip = oneStrip;
    return zvimage::createImage(path, side, side, space, options);
}

/// From a pixel of a picture of the chart to the patch whose middle it belongs to, along one side.
class PatchScale {
public:
    PatchScale(int32_t pixels, int32_t patches) {
        for (int64_t pixel = 0; pixel < pixels; ++pixel) {
            // In quarters of a patch; the middle of a pixel must lie in the two in the middle.
            const int64_t middle = (2 * pixel + 1) * patches;
            const int64_t patch = middle / (2 * pixels);
            const int64_t quarters = 2 * middle - 4 * patch * pixels;
            const bool inside = quarters >= pixels && quarters <= 3 * int64_t{pixels};
            patches_.push_back(inside ? static_cast<int32_t>(patch) : kBorder);
        }
    }

    static constexpr int32_t kBorder = -1;
    int32_t at(int32_t pixel) const { return patches_[static_cast<size_t>(pixel)]; }

private:
    std::vector<int32_t> patches_;
};

/// The mean colours of patches, from the rows of a picture of three channels.
class PatchMeans {
public:
    PatchMeans(const ImageInfo& info, int32_t side)
        : space_(info.space),
          width_(info.width),
          side_(side),
          columns_(info.width, side),
          lines_(info.height, side),
          sums_(static_cast<size_t>(side) * static_cast<size_t>(side)) {}

    void addRow(const uint8_t* pixels) {
        const int32_t line = lines_.at(row_++);
        for (int32_t x = 0; line != PatchScale::kBorder && x < width_; ++x) {
            const int32_t column = columns_.at(x);
            if (column != PatchScale::kBorder) {
                add(sums_[static_cast<size_t>(line) * static_cast<size_t>(side_) + static_cast<size_t>(column)],
                    pixels + int64_t{3} * x);
            }
        }
    }

    std::vector<uint8_t> pixels() const {
        std::vector<uint8_t> result;
        for (const Sum& sum : sums_) {
            for (int32_t c = 0; c < 3; ++c) {
                const auto mean = (sum.channels[c] + sum.count / 2) / sum.count;
                result.push_back(static_cast<uint8_t>(mean ^ turn(c)));
            }
        }
        return result;
    }

private:
    struct Sum {
        uint64_t channels[3];
        uint64_t count;
    };

    // Signed bytes in the order of their values.
    uint64_t turn(int32_t channel) const { return isSignedChannel(space_, channel) ? 0x80 : 0; }

    void add(Sum& sum, const uint8_t* pixel) const {
        for (int32_t c = 0; c < 3; ++c) {
            sum.channels[c] += pixel[c] ^ turn(c);
        }
        ++sum.count;
    }

    int32_t space_;
    int32_t width_;
    int32_t side_;
    PatchScale columns_;
    PatchScale lines_;
    std::vector<Sum> sums_;
    int32_t row_ = 0;
};

class TableReader {
public:
    explicit TableReader(const TableArguments& arguments) : args_(arguments), grid_(gridOf(arguments)) {}

    void run() {
        checkOutput(args_.output);
        reader_ = zvimage::openImage(args_.input, readOptions());
        checkPicture();
        if (!args_.quiet) {
            for (const std::string& note : reader_->info().notes) {
                fmt::print(stderr, "zvclr: note: {}: {}\n", args_.input, note);
            }
        }
        std::vector<uint8_t> table = inDestinationSpace(readPatches());
        const std::array<uint8_t, 4> white = whiteOf(grid_.to);
        for (auto at = static_cast<size_t>(grid_.nodes()) * 3; at < table.size(); at += 3) {
            std::copy_n(white.begin(), 3, table.begin() + static_cast<std::ptrdiff_t>(at));
        }
        const auto writer = createTable(args_.output, grid_.side, grid_.to, true);
        writer->writeRows(table.data(), grid_.side);
        writer->finish();
    }

private:
    zvimage::ReadOptions readOptions() const {
        zvimage::ReadOptions options;
        if (!args_.inputFormat.empty()) {
            options.format = parseFormat("--input-format", args_.inputFormat);
        }
        if (!args_.size.empty()) {
            std::tie(options.width, options.height) = parseSize(args_.size);
        }
        const std::optional<zvimage::Format> format =
            options.format ? options.format : zvimage::formatFromExtension(args_.input);
        if (format == zvimage::Format::kRaw) {
            options.space = grid_.to;
        }
        return options;
    }

    void checkPicture() const {
        const ImageInfo& info = reader_->info();
        const std::string size = fmt::format("{} has {} x {} pixels", args_.input, info.width, info.height);
        if (info.space != CLRSPACE_RGB && info.space != CLRSPACE_LAB) {
            throw ContradictionError(
                fmt::format("{} holds {}, but the chart of a table from {} comes back in rgb or lab; give such a "
                            "picture",
                            args_.input, zvimage::spaceOf(info.space).name, grid_.name()));
        }
        if (std::min(info.width, info.height) < grid_.side) {
            throw ContradictionError(fmt::format("{}, but the chart from {} has {} x {} patches; give a larger picture",
                                                 size, grid_.name(), grid_.side, grid_.side));
        }
        if (int64_t{50} * std::abs(info.width - info.height) > std::min(info.width, info.height)) {
            throw ContradictionError(
                fmt::format("{}, but the chart is a square; crop the picture to the edges of the chart", size));
        }
        const auto readable = [this](int32_t pixels) { return pixels % grid_.side == 0 || pixels / 3 >= grid_.side; };
        if (!readable(info.width) || !readable(info.height)) {
            throw ContradictionError(fmt::format(
                "{}, which is no multiple of the chart's {} patches and less than 3 pixels for each; crop the picture "
                "to the edges of the chart, or give a larger one",
                size, grid_.side));
        }
    }

    std::vector<uint8_t> readPatches() {
        const ImageInfo& info = reader_->info();
        PatchMeans means(info, grid_.side);
        const auto rowBytes = static_cast<int64_t>(info.bytesPerRow);
        const auto strip = static_cast<int32_t>(std::clamp<int64_t>(kStripBytes / rowBytes, 1, info.height));
        std::vector<uint8_t> rows(static_cast<size_t>(strip) * info.bytesPerRow);
        for (int32_t row = 0; row < info.height; row += strip) {
            const int32_t count = std::min(strip, info.height - row);
            reader_->readRows(rows.data(), count);
            for (int32_t i = 0; i < count; ++i) {
                means.addRow(rows.data() + rowBytes * i);
            }
        }
        reader_->finish();
        return means.pixels();
    }

    std::vector<uint8_t> inDestinationSpace(std::vector<uint8_t> pixels) const {
        Conversion conversion;
        conversion.from = reader_->info().space;
        conversion.to = grid_.to;
        conversion.method = defaultMethod(conversion.from, conversion.to);
        StripConverter converter(conversion);
        if (converter.copies()) {
            return pixels;
        }
        std::vector<uint8_t> converted(converter.destinationBytes(grid_.side, grid_.side));
        converter.convert(pixels.data(), converted.data(), grid_.side, grid_.side);
        return converted;
    }

    const TableArguments& args_;
    const TableGrid& grid_;
    std::unique_ptr<zvimage::ImageReader> reader_;
};

}  // namespace

void runTableMake(const TableArguments& arguments) {
    const TableGrid& grid = gridOf(arguments);
    checkOutput(arguments.output);
    const auto channels = static_cast<size_t>(grid.axes);
    const int32_t side = grid.side * arguments.patch;
    // With a pixel a patch it has the layout of a table, for processes that keep the layout of files.
    const auto writer = createTable(arguments.output, side, grid.from, arguments.patch == 1);
    std::vector<uint8_t> row;
    for (int64_t line = 0; line < grid.side; ++line) {
        row.clear();
        for (int64_t column = 0; column < grid.side; ++column) {
            const std::array<uint8_t, 4> pixel = grid.chartPixel(line * grid.side + column);
            for (int32_t i = 0; i < arguments.patch; ++i) {
                row.insert(row.end(), pixel.begin(), pixel.begin() + static_cast<std::ptrdiff_t>(channels));
            }
        }
        for (int32_t i = 0; i < arguments.patch; ++i) {
            writer->writeRows(row.data(), 1);
        }
    }
    writer->finish();
}

void runTableRead(const TableArguments& arguments) { TableReader(arguments).run(); }

}  // namespace zvtool
