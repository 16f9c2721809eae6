#include "emulation_table.h"

#include <fmt/format.h>

#include <algorithm>

#include "baseline_tiff.h"
#include "image/image.h"
#include "strip_converter.h"
#include "zvclr.h"

namespace zvtool {

using zvimage::ContradictionError;
using zvimage::ImageError;

namespace {

constexpr TableGrid kTables[] = {{CLRSPACE_CMYK, CLRSPACE_RGB, 4, 17, 16, 289},
                                 {CLRSPACE_RGB, CLRSPACE_LAB, 3, 33, 8, 190},
                                 {CLRSPACE_LAB, CLRSPACE_RGB, 3, 33, 8, 190}};

// The library cuts none off: it refuses longer names.
constexpr size_t kLongestName = 259;

void checkSamples(const TiffDirectory& tiff) {
    if (tiff.tiled) {
        throw UnsuitableTiff("is a TIFF file with tiles");
    }
    if (tiff.compression != 1) {
        throw UnsuitableTiff("is a compressed TIFF file");
    }
    if (tiff.samples != 3) {
        throw UnsuitableTiff(fmt::format("is a TIFF file with {} samples in a pixel and not 3", tiff.samples));
    }
    if (std::any_of(tiff.bits.begin(), tiff.bits.end(), [](uint32_t bits) { return bits != 8; })) {
        throw UnsuitableTiff(fmt::format("is a TIFF file with {} bits in a sample and not 8",
                                         *std::max_element(tiff.bits.begin(), tiff.bits.end())));
    }
    if (tiff.planarConfiguration != 1) {
        throw UnsuitableTiff("is a TIFF file with separate planes");
    }
    if (tiff.strips != 1) {
        throw UnsuitableTiff(fmt::format("is a TIFF file with {} strips and not one", tiff.strips));
    }
}

void checkSize(const TiffDirectory& tiff, const TableGrid& grid) {
    const int64_t pixels = int64_t{tiff.width} * tiff.height;
    if (pixels < grid.nodes()) {
        throw UnsuitableTiff(
            fmt::format("has {} pixels, but a table from {} has {} nodes", pixels, grid.name(), grid.nodes()));
    }
    if (tiff.position > tiff.fileBytes || tiff.fileBytes - tiff.position < 3 * grid.nodes()) {
        throw UnsuitableTiff("is cut off: pixels of the table are missing at its end");
    }
}

}  // namespace

int64_t TableGrid::nodes() const {
    int64_t count = 1;
    for (int32_t axis = 0; axis < axes; ++axis) {
        count *= nodesPerAxis;
    }
    return count;
}

std::array<uint8_t, 4> TableGrid::chartPixel(int64_t index) const {
    if (index >= nodes()) {
        return whiteOf(from);
    }
    std::array<uint8_t, 4> pixel = {};
    for (int32_t axis = axes; axis-- > 0; index /= nodesPerAxis) {
        const int64_t value = std::min<int64_t>(255, index % nodesPerAxis * step);
        // The axes of a and b run from -128.
        pixel[static_cast<size_t>(axis)] = static_cast<uint8_t>(isSignedChannel(from, axis) ? value ^ 0x80 : value);
    }
    return pixel;
}

std::string TableGrid::name() const {
    return fmt::format("{} to {}", zvimage::spaceOf(from).name, zvimage::spaceOf(to).name);
}

const TableGrid* findTable(int32_t from, int32_t to) {
    const int32_t source = isHub(from) ? CLRSPACE_RGB : from;
    const int32_t destination = isHub(to) ? CLRSPACE_RGB : to;
    const auto found = std::find_if(std::begin(kTables), std::end(kTables), [&](const TableGrid& table) {
        return table.from == source && table.to == destination;
    });
    return found != std::end(kTables) ? &*found : nullptr;
}

bool isSignedChannel(int32_t space, int32_t channel) { return space == CLRSPACE_LAB && channel > 0; }

std::array<uint8_t, 4> whiteOf(int32_t space) {
    switch (space) {
        case CLRSPACE_CMYK:
            return {0, 0, 0, 0};
        case CLRSPACE_LAB:
            return {255, 0, 0, 0};
        default:
            return {255, 255, 255, 0};
    }
}

std::vector<std::string> checkTable(const std::string& path, const TableGrid& grid) {
    if (path == "-") {
        throw ContradictionError("--table takes no standard input; name a file");
    }
    if (path.size() > kLongestName) {
        throw ContradictionError(
            fmt::format("the name of --table has {} bytes, but the library takes {} at most; give a shorter path",
                        path.size(), kLongestName));
    }
    try {
        const TiffDirectory tiff = readTiffDirectory(path);
        checkSamples(tiff);
        checkSize(tiff, grid);
        const bool lab = grid.to == CLRSPACE_LAB;
        if ((tiff.photometric == kPhotometricCieLab) == lab) {
            return {};
        }
        return {fmt::format("it does not say that its pixels are {}, but they are taken for it", lab ? "lab" : "rgb")};
    } catch (const UnsuitableTiff& unsuitable) {
        throw ImageError(
            fmt::format("{} {}, which the library does not read as a table; zvclr table read makes a proper table of "
                        "the chart's picture",
                        path, unsuitable.what()));
    }
}

}  // namespace zvtool
