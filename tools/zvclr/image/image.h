// Reading and writing of image files by strips of rows.
//
// A reader delivers, and a writer takes, pixels of one colour space of the library, packed as the
// library wants them. Images of any height need the memory of a strip.
#ifndef ZVCLR_TOOLS_IMAGE_H
#define ZVCLR_TOOLS_IMAGE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace zvimage {

/// A file cannot be read or written, or its contents are damaged or not supported.
class ImageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// What the caller asked for does not fit what the file holds or can hold.
class ContradictionError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Largest width and height: keeps a strip of a few rows well below the 2^31 bytes of one library call.
constexpr int32_t kMaxDimension = 1000000;

/// Press profiles have some megabytes; anything larger was named by mistake.
constexpr size_t kMaxProfile = size_t{64} << 20;

enum class Format { kPng, kJpeg, kTiff, kPnm, kRaw };

/// Bytes of raw pixels: planes that follow each other, each made of units of `unitBytes` bytes for
/// `xPeriod` x `yPeriod` pixels. A packed format has one plane.
struct RawPlane {
    int32_t unitBytes;
    int32_t xPeriod;
    int32_t yPeriod;

    int64_t bytes(int32_t width, int64_t rows) const {
        return int64_t{unitBytes} * (width / xPeriod) * (rows / yPeriod);
    }
};

struct RawLayout {
    std::vector<RawPlane> planes;

    int64_t bytes(int32_t width, int64_t rows) const;
    int32_t widthMultiple() const;
    int32_t heightMultiple() const;
};

/// The layout that the library gives to pixels of a space.
RawLayout layoutOf(int32_t space);

struct ImageInfo {
    int32_t width = 0;
    int32_t height = 0;
    int32_t space = 0;
    Format format = Format::kRaw;
    size_t bytesPerRow = 0;
    int32_t rowUnit = 1;             ///< rows asked for at once must be a multiple of this
    std::string description;         ///< for people, for example "PNG, 16 bit grey"
    std::vector<std::string> notes;  ///< what a reader had to leave out or change
    std::vector<uint8_t> profile;    ///< the embedded ICC profile, if it was asked for and the file has one
    std::string profileProblem;      ///< why the file's profile is left out
};

class ImageReader {
public:
    ImageReader() = default;
    ImageReader(const ImageReader&) = delete;
    ImageReader& operator=(const ImageReader&) = delete;
    virtual ~ImageReader() = default;

    const ImageInfo& info() const { return info_; }
    /// Reads the next `count` rows; throws ImageError. No more rows than the image has may be asked for.
    virtual void readRows(uint8_t* rows, int32_t count) = 0;
    /// To be called after the last row: checks that the file ends as it should.
    virtual void finish() {}

protected:
    ImageInfo info_;
};

class ImageWriter {
public:
    ImageWriter() = default;
    ImageWriter(const ImageWriter&) = delete;
    ImageWriter& operator=(const ImageWriter&) = delete;
    virtual ~ImageWriter() = default;

    virtual void writeRows(const uint8_t* rows, int32_t count) = 0;
    /// Completes the file and puts it in its place. Without this call nothing stays behind.
    virtual void finish() = 0;
};

struct ReadOptions {
    std::optional<Format> format;  ///< by content and extension when absent
    std::optional<int32_t> space;  ///< what the caller says that the file holds
    int32_t width = 0;             ///< raw pixels only
    int32_t height = 0;
    std::optional<RawLayout> layout;  ///< raw pixels in another layout than the library's
    bool profile = false;             ///< the embedded ICC profile is wanted
};

enum class TiffCompression { kNone, kLzw, kDeflate };

struct WriteOptions {
    std::optional<Format> format;  ///< by extension when absent
    int quality = 92;              ///< JPEG
    TiffCompression compression = TiffCompression::kLzw;
    bool oneStrip = false;         ///< TIFF: all rows in one strip, which is held in memory
    std::vector<uint8_t> profile;  ///< ICC profile to embed; PNG, JPEG and TIFF hold one
};

/// Opens an image; "-" is the standard input.
std::unique_ptr<ImageReader> openImage(const std::string& path, const ReadOptions& options);

/// Starts an image; "-" is the standard output. The file appears under its name in finish() only.
std::unique_ptr<ImageWriter> createImage(const std::string& path, int32_t width, int32_t height, int32_t space,
                                         const WriteOptions& options);

const char* formatName(Format format);
std::optional<Format> formatFromName(std::string_view name);
std::optional<Format> formatFromExtension(const std::string& path);
/// The spaces that a format can hold; every space for raw pixels.
std::vector<int32_t> spacesOfFormat(Format format);
/// Throws ContradictionError when a file of this format cannot hold pixels of this space and size.
void checkOutput(const std::string& path, Format format, int32_t space, int32_t width, int32_t height);
/// The format of an output file; throws ContradictionError when nothing tells it.
Format outputFormat(const std::string& path, const std::optional<Format>& requested);

struct Space {
    int32_t id;
    const char* idName;
    const char* name;
    int32_t bits;
    int32_t widthMultiple;
    int32_t heightMultiple;
    const char* bytes;
    const char* description;
};

const std::vector<Space>& allSpaces();
const Space& spaceOf(int32_t id);
std::optional<int32_t> spaceFromName(std::string_view name);
/// Names of the spaces with commas between them.
std::string spaceNames(const std::vector<int32_t>& ids);

}  // namespace zvimage

#endif  // ZVCLR_TOOLS_IMAGE_H
