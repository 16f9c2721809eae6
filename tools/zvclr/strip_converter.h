// Conversion of strips of rows by the library, step by step through a hub.
#ifndef ZVCLR_TOOLS_STRIP_CONVERTER_H
#define ZVCLR_TOOLS_STRIP_CONVERTER_H

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <vector>

#include "parameters.h"
#include "zvclr.h"

namespace zvtool {

/// A call of the library failed.
class LibraryError : public std::runtime_error {
public:
    explicit LibraryError(int32_t code);
    int32_t code() const { return code_; }

private:
    int32_t code_;
};

struct Conversion {
    int32_t from = CLRSPACE_RGB;
    int32_t to = CLRSPACE_RGB;
    std::optional<int32_t> gcrLevel;
    std::optional<ClrLabParams> sourceLab;
    std::optional<ClrLabParams> destinationLab;
    std::optional<YuvLayout> sourceYuv;
};

/// Rows of a strip of about a megabyte, a multiple of 4 and of `rowUnit`.
int32_t stripRows(int32_t width, int32_t rowUnit, const Conversion& conversion);

class StripConverter {
public:
    explicit StripConverter(Conversion conversion);

    /// Bytes that the buffers for a strip must have, which can be more than its pixels.
    size_t sourceBytes(int32_t width, int32_t rows) const;
    size_t destinationBytes(int32_t width, int32_t rows) const;

    /// Converts a strip; throws LibraryError. Both buffers must have the sizes told above.
    void convert(const uint8_t* source, uint8_t* destination, int32_t width, int32_t rows);

    /// True when source and destination hold the same bytes.
    bool copies() const { return steps_.empty(); }

private:
    struct FreeHandle {
        void operator()(ClrHandle* handle) const { Zv_ClrFree(handle); }
    };
    using Handle = std::unique_ptr<ClrHandle, FreeHandle>;

    struct Step {
        int32_t from;
        int32_t to;
        Handle converter;  ///< null for a step without a record
    };

    Handle createConverter(int32_t from, int32_t to) const;
    Handle createPixelConverter() const;
    void addStep(int32_t from, int32_t to, bool record);
    void run(const Step& step, const uint8_t* source, uint8_t* destination, int32_t width, int32_t rows) const;
    void convertLastPixel(const uint8_t* source, uint8_t* destination, int32_t width, int32_t rows) const;

    Conversion conversion_;
    std::vector<Step> steps_;
    Handle pixelConverter_;
    std::vector<uint8_t> hubs_[2];
};

}  // namespace zvtool

#endif  // ZVCLR_TOOLS_STRIP_CONVERTER_H
