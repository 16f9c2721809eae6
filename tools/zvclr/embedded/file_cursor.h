// Bounded reading of a regular file of any size.
#ifndef ZVCLR_TOOLS_EMBEDDED_FILE_CURSOR_H
#define ZVCLR_TOOLS_EMBEDDED_FILE_CURSOR_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "image/input_file.h"

namespace zvembed {

/// Numbers are big-endian unless they say otherwise. What is not there reads as zero, and leaves the cursor failed for
/// good: the caller asks once, at the end. Errors of the system are ImageErrors.
class FileCursor {
public:
    /// The file must be a regular one and outlive the cursor.
    explicit FileCursor(zvimage::InputFile& file);

    bool failed() const { return failed_; }
    uint64_t position() const { return position_; }
    uint64_t size() const { return size_; }
    uint64_t left() const { return failed_ ? 0 : size_ - position_; }

    void seek(uint64_t position);
    void skip(uint64_t count);
    /// From here on the file ends there, if it does not end earlier.
    void endAt(uint64_t position);

    uint8_t u8() { return static_cast<uint8_t>(number(1)); }
    uint16_t u16() { return static_cast<uint16_t>(number(2)); }
    uint32_t u32() { return static_cast<uint32_t>(number(4)); }
    uint16_t u16Little();
    uint32_t u32Little();

    /// Nothing when there are not that many; allocates no more than the file has.
    std::vector<uint8_t> take(uint64_t count);
    /// The byte that comes next, or -1 at the end, which is no failure.
    int peek();

private:
    uint64_t number(size_t count);
    /// How many bytes the window has at the position: `count`, or all up to the end.
    size_t fill(size_t count);

    zvimage::InputFile& file_;
    uint64_t size_;
    uint64_t position_ = 0;
    std::vector<uint8_t> window_;
    uint64_t windowStart_ = 0;
    size_t windowUsed_ = 0;
    bool failed_ = false;
};

}  // namespace zvembed

#endif  // ZVCLR_TOOLS_EMBEDDED_FILE_CURSOR_H
