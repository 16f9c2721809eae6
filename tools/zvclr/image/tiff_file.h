// libtiff on the input and output files of this library, with its messages as texts.
#ifndef ZVCLR_TOOLS_TIFF_FILE_H
#define ZVCLR_TOOLS_TIFF_FILE_H

#include <tiffio.h>

#include <functional>
#include <memory>
#include <string>

#include "input_file.h"

namespace zvimage {

struct TiffMessages {
    std::string error;
    std::string warning;
};

/// Where libtiff reads and writes; each open file has a place of its own.
struct TiffStream {
    InputFile* input = nullptr;  ///< null for a file that is written
    int descriptor = -1;
    int64_t offset = 0;
    int64_t size = 0;
    int systemError = 0;
    TiffMessages messages;
};

struct CloseTiff {
    void operator()(TIFF* tiff) const { TIFFCleanup(tiff); }
};

/// Closed without a last write; a written file must have been flushed.
using TiffPointer = std::unique_ptr<TIFF, CloseTiff>;

/// Null on failure, with a text in stream.messages. The stream must outlive the file.
TiffPointer openTiffStream(TiffStream& stream, const std::string& name, const char* mode);

}  // namespace zvimage

#endif  // ZVCLR_TOOLS_TIFF_FILE_H
