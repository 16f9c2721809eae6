// Sends a picture through every colour space and back, by formulas and by profiles, prints what that costs and changes,
// and draws a contact sheet of the results.
//
//     contact_sheet IN OUT.png
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "image/image.h"
#include "round_trip.h"
#include "sheet.h"
#include "zvclr.h"

namespace {

constexpr int32_t kColumns = 5;
constexpr int32_t kThumbnailWidth = 240;
constexpr int32_t kThumbnailHeight = 176;
constexpr int32_t kMargin = 16;
constexpr int32_t kTextScale = 2;
constexpr int32_t kLine = 10 * kTextScale;
constexpr int64_t kStripBytes = 3 << 20;

constexpr Colour kBackground = {30, 32, 36};
constexpr Colour kTitle = {240, 240, 244};
constexpr Colour kText = {168, 172, 180};

struct Cell {
    Thumbnail thumbnail;
    std::string title;
    std::string text;
};

struct Result {
    int32_t width = 0;
    int32_t height = 0;
    std::vector<RoundTrip> trips;
    std::vector<Cell> cells;  ///< the original first
};

int32_t multipleBelow(int32_t value, int32_t multiple) { return value / multiple * multiple; }

/// Delivers a picture as RGB strips, whatever space its file holds.
class RgbSource {
public:
    explicit RgbSource(zvimage::ImageReader& reader) : reader_(reader) {}

    void read(std::vector<uint8_t>& rgb, int32_t rows) {
        const zvimage::ImageInfo& info = reader_.info();
        rgb.resize(imageBytes(24, info.width, rows));
        if (info.space == CLRSPACE_RGB) {
            reader_.readRows(rgb.data(), rows);
            return;
        }
        rows_.resize(info.bytesPerRow * static_cast<size_t>(rows));
        reader_.readRows(rows_.data(), rows);
        convert(info.space, CLRSPACE_RGB, rows_.data(), rgb.data(), info.width, rows);
    }

private:
    zvimage::ImageReader& reader_;
    std::vector<uint8_t> rows_;
};

void cropRows(std::vector<uint8_t>& rgb, int32_t from, int32_t to, int32_t rows) {
    if (from == to) return;
    const auto wide = static_cast<ptrdiff_t>(from) * 3, narrow = static_cast<ptrdiff_t>(to) * 3;
    for (ptrdiff_t row = 0; row < rows; ++row) {
        const auto start = rgb.begin() + row * wide;
        std::copy(start, start + narrow, rgb.begin() + row * narrow);
    }
    rgb.resize(imageBytes(24, to, rows));
}

int32_t stripRows(const zvimage::ImageInfo& info) {
    const int64_t wanted = kStripBytes / (int64_t{info.width} * 3);
    const int32_t unit = kHeightMultiple * info.rowUnit;
    return std::max(unit, multipleBelow(static_cast<int32_t>(wanted), unit));
}

void showProgress(int32_t done, int32_t all) {
    if (isatty(STDERR_FILENO) == 0) return;
    if (done < all) {
        std::fprintf(stderr, "\r%3d %%", static_cast<int>(int64_t{done} * 100 / all));
    } else {
        std::fputs("\r     \r", stderr);
    }
}

Result convertThroughAll(zvimage::ImageReader& reader) {
    const zvimage::ImageInfo& info = reader.info();
    Result result;
    result.width = multipleBelow(info.width, kWidthMultiple);
    result.height = multipleBelow(info.height, kHeightMultiple);
    if (result.width == 0 || result.height == 0) {
        throw std::runtime_error("the picture is " + std::to_string(info.width) + " x " + std::to_string(info.height) +
                                 " pixels; 8 x 4 is the least that fits every colour space");
    }

    const Thumbnail empty(result.width, result.height, kThumbnailWidth, kThumbnailHeight);
    result.cells.push_back({empty, "original", std::to_string(result.width) + " x " + std::to_string(result.height)});
    for (const Route& route : routes()) {
        result.trips.emplace_back(route);
        result.cells.push_back({empty, route.name, ""});
    }

    RgbSource source(reader);
    std::vector<uint8_t> rgb;
    Scratch scratch;
    const int32_t strip = stripRows(info);
    for (int32_t row = 0; row < info.height; row += strip) {
        const int32_t there = std::min(strip, info.height - row);
        source.read(rgb, there);
        const int32_t rows = std::min(there, result.height - row);
        if (rows <= 0) continue;
        rgb.resize(imageBytes(24, info.width, rows));
        cropRows(rgb, info.width, result.width, rows);
        result.cells[0].thumbnail.addRows(rgb.data(), rows);
        for (size_t i = 0; i < result.trips.size(); ++i) {
            result.trips[i].run(rgb, result.width, rows, scratch);
            result.cells[i + 1].thumbnail.addRows(scratch.decoded.data(), rows);
        }
        showProgress(row + there, info.height);
    }
    reader.finish();
    return result;
}

void printTable(const Result& result) {
    std::printf("%-8s %12s %12s %12s %12s\n", "route", "from rgb", "to rgb", "mean", "maximum");
    std::printf("%-8s %12s %12s %12s %12s\n", "", "Mpixel/s", "Mpixel/s", "difference", "difference");
    for (const RoundTrip& trip : result.trips) {
        std::printf("%-8s %12.1f %12.1f %12.3f %12d\n", trip.name(), trip.megapixelsPerSecondTo(),
                    trip.megapixelsPerSecondBack(), trip.meanDifference(), trip.maximumDifference());
    }
    std::printf(
        "\nDifferences are in steps of 0 to 255 over all three channels, after one round trip from rgb.\n"
        "Most spaces do not give back exactly what went in, and that is by design: bytes hold few steps,\n"
        "video spaces share chroma between pixels, rgb444 keeps four bits, a pure yellow leaves the range of\n"
        "hls, and the two directions of lab, xyz, ycck and hsi are not inverse to each other.\n"
        "The icc routes go by the profiles of the library: icc-cmyk shows what a press can print, so that\n"
        "strong colours come back paler; the others differ by the steps of their tables.\n");
}

std::string differenceText(const RoundTrip& trip) {
    char text[64];
    std::snprintf(text, sizeof text, "mean %.2f max %d", trip.meanDifference(), trip.maximumDifference());
    return text;
}

Sheet drawSheet(const Result& result) {
    const int32_t thumbnailHeight = result.cells[0].thumbnail.height();
    const int32_t cellWidth = kThumbnailWidth + kMargin;
    const int32_t cellHeight = thumbnailHeight + 2 * kLine + kMargin + kMargin / 2;
    const int32_t count = static_cast<int32_t>(result.cells.size());
    const int32_t lines = (count + kColumns - 1) / kColumns;
    Sheet sheet(kColumns * cellWidth + kMargin, lines * cellHeight + kMargin, kBackground);
    for (int32_t i = 0; i < count; ++i) {
        const Cell& cell = result.cells[static_cast<size_t>(i)];
        const int32_t left = kMargin + i % kColumns * cellWidth;
        const int32_t top = kMargin + i / kColumns * cellHeight;
        sheet.draw(cell.thumbnail, left + (kThumbnailWidth - cell.thumbnail.width()) / 2, top);
        sheet.write(left, top + thumbnailHeight + kMargin / 2, cell.title, kTextScale, kTitle);
        sheet.write(left, top + thumbnailHeight + kMargin / 2 + kLine, cell.text, kTextScale, kText);
    }
    const int32_t left = kMargin + count % kColumns * cellWidth;
    const int32_t top = kMargin + (lines - 1) * cellHeight;
    if (count % kColumns != 0) {
        sheet.write(left, top, "rgb to each space", kTextScale, kText);
        sheet.write(left, top + kLine, "and back", kTextScale, kText);
        sheet.write(left, top + 2 * kLine, "icc: by profiles", kTextScale, kText);
        sheet.write(left, top + 3 * kLine, "zvclr " ZVCLR_VERSION_STRING, kTextScale, kText);
    }
    return sheet;
}

void run(const std::string& input, const std::string& output) {
    zvimage::checkOutput(output, zvimage::outputFormat(output, {}), CLRSPACE_RGB, 1, 1);
    const std::unique_ptr<zvimage::ImageReader> reader = zvimage::openImage(input, {});
    Result result = convertThroughAll(*reader);
    for (size_t i = 0; i < result.trips.size(); ++i) result.cells[i + 1].text = differenceText(result.trips[i]);
    printTable(result);

    const Sheet sheet = drawSheet(result);
    const std::unique_ptr<zvimage::ImageWriter> writer =
        zvimage::createImage(output, sheet.width(), sheet.height(), CLRSPACE_RGB, {});
    writer->writeRows(sheet.pixels(), sheet.height());
    writer->finish();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("Usage: contact_sheet IN OUT.png\n", stderr);
        return 2;
    }
    try {
        run(argv[1], argv[2]);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "contact_sheet: %s\n", error.what());
        return 1;
    }
}
