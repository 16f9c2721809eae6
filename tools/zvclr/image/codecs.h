// The readers and writers of the single formats; openImage() and createImage() choose among them.
#ifndef ZVCLR_TOOLS_CODECS_H
#define ZVCLR_TOOLS_CODECS_H

#include <memory>

#include "image.h"
#include "input_file.h"
#include "output_file.h"

namespace zvimage {

using Input = std::unique_ptr<InputFile>;
using Output = std::unique_ptr<OutputFile>;

std::unique_ptr<ImageReader> openPng(Input input, const ReadOptions& options);
/// When ycck is asked for, a YCCK file delivers its own pixels and not CMYK.
std::unique_ptr<ImageReader> openJpeg(Input input, const ReadOptions& options);
std::unique_ptr<ImageReader> openTiff(Input input, const ReadOptions& options);
std::unique_ptr<ImageReader> openPnm(Input input);
std::unique_ptr<ImageReader> openRaw(Input input, const ReadOptions& options);

struct OutputImage {
    int32_t width;
    int32_t height;
    int32_t space;
    int64_t bytes(int64_t rows) const { return layoutOf(space).bytes(width, rows); }
};

std::unique_ptr<ImageWriter> createPng(Output output, const OutputImage& image, const WriteOptions& options);
std::unique_ptr<ImageWriter> createJpeg(Output output, const OutputImage& image, const WriteOptions& options);
std::unique_ptr<ImageWriter> createTiff(Output output, const OutputImage& image, const WriteOptions& options);
std::unique_ptr<ImageWriter> createPnm(Output output, const OutputImage& image);
std::unique_ptr<ImageWriter> createRaw(Output output, const OutputImage& image);

/// Refuses sizes that no strip could hold.
void checkDimensions(const std::string& name, int64_t width, int64_t height);

/// Largest block that a reader allocates for an image that cannot be read by strips.
constexpr int64_t kMaxWholeImage = int64_t{2} << 30;

}  // namespace zvimage

#endif  // ZVCLR_TOOLS_CODECS_H
