#include "baseline_tiff.h"

#include <utility>

#include "image/image.h"
#include "image/input_file.h"
#include "zvclr.h"

namespace zvtool {

namespace {

constexpr uint16_t kShort = 3;
constexpr uint16_t kLong = 4;

constexpr uint32_t kHeaderBytes = 8;
constexpr uint32_t kCountBytes = 2;
constexpr uint32_t kEntryBytes = 12;

enum Tag : uint16_t {
    kImageWidth = 256,
    kImageLength = 257,
    kBitsPerSample = 258,
    kCompression = 259,
    kPhotometric = 262,
    kStripOffsets = 273,
    kSamplesPerPixel = 277,
    kPlanarConfiguration = 284,
    kTileWidth = 322,
    kTileOffsets = 324,
};

struct Entry {
    uint16_t tag;
    uint16_t type;
    uint32_t count;
    uint32_t value;
};

class DirectoryReader {
public:
    explicit DirectoryReader(const std::string& path) : file_(path) {}

    TiffDirectory read() {
        if (!file_.size()) {
            throw UnsuitableTiff("is no regular file");
        }
        directory_.fileBytes = *file_.size();
        const uint32_t order = word(0);
        const uint32_t version = word(2);
        const bool tiff = (order == 0x4949 && (version == 42 || version == 43)) ||
                          (order == 0x4d4d && (version == 42 << 8 || version == 43 << 8));
        if (!tiff) {
            throw UnsuitableTiff("is no TIFF file");
        }
        if (order != 0x4949) {
            throw UnsuitableTiff("is a big-endian TIFF file");
        }
        if (version != 42) {
            throw UnsuitableTiff("is a BigTIFF file");
        }
        const int64_t start = doubleWord(4);
        const uint32_t entries = word(start);
        for (uint32_t i = 0; i < entries; ++i) {
            const int64_t at = start + kCountBytes + int64_t{kEntryBytes} * i;
            take({static_cast<uint16_t>(word(at)), static_cast<uint16_t>(word(at + 2)), doubleWord(at + 4),
                  doubleWord(at + 8)});
        }
        return std::move(directory_);
    }

private:
    uint32_t bytes(int64_t position, size_t count) {
        uint8_t data[4] = {};
        if (file_.readAt(data, count, position) != static_cast<int64_t>(count)) {
            throw UnsuitableTiff(position < kHeaderBytes ? "is no TIFF file"
                                                         : "is a TIFF file whose directory is cut off");
        }
        return uint32_t{data[0]} | uint32_t{data[1]} << 8 | uint32_t{data[2]} << 16 | uint32_t{data[3]} << 24;
    }

    uint32_t word(int64_t position) { return bytes(position, 2); }
    uint32_t doubleWord(int64_t position) { return bytes(position, 4); }

    // The library takes the field of a value as 32 bits whatever its type says, and so this reader does not go on where
    // the two would differ.
    uint32_t number(const Entry& entry) const {
        const bool whole = entry.type == kLong || (entry.type == kShort && entry.value <= 0xffff);
        if (entry.count != 1 || !whole) {
            throw UnsuitableTiff("is a TIFF file with an unusual value of tag " + std::to_string(entry.tag));
        }
        return entry.value;
    }

    void takeBits(const Entry& entry) {
        constexpr uint32_t kMostSamples = 16;
        if (entry.type != kShort || entry.count < 1 || entry.count > kMostSamples) {
            throw UnsuitableTiff("is a TIFF file with an unusual number of bits");
        }
        directory_.bits.clear();
        for (uint32_t i = 0; i < entry.count; ++i) {
            const uint32_t inside = i == 0 ? entry.value & 0xffffU : entry.value >> 16;
            directory_.bits.push_back(entry.count <= 2 ? inside : word(int64_t{entry.value} + int64_t{2} * i));
        }
    }

    void take(const Entry& entry) {
        switch (entry.tag) {
            case kImageWidth:
                directory_.width = number(entry);
                break;
            case kImageLength:
                directory_.height = number(entry);
                break;
            case kBitsPerSample:
                takeBits(entry);
                break;
            case kCompression:
                directory_.compression = number(entry);
                break;
            case kPhotometric:
                directory_.photometric = number(entry);
                break;
            case kSamplesPerPixel:
                directory_.samples = number(entry);
                break;
            case kPlanarConfiguration:
                directory_.planarConfiguration = number(entry);
                break;
            case kStripOffsets:
                directory_.strips = entry.count;
                directory_.position = entry.count == 1 ? number(entry) : 0;
                break;
            case kTileWidth:
            case kTileOffsets:
                directory_.tiled = true;
                break;
            default:
                break;
        }
    }

    zvimage::InputFile file_;
    TiffDirectory directory_;
};

}  // namespace

TiffDirectory readTiffDirectory(const std::string& path) { return DirectoryReader(path).read(); }

}  // namespace zvtool
