// Bounded reading of big-endian bytes.
#ifndef ZVCLR_TOOLS_PROFILE_CURSOR_H
#define ZVCLR_TOOLS_PROFILE_CURSOR_H

#include <cstddef>
#include <cstdint>
#include <span>

namespace zvinfo {

using Span = std::span<const uint8_t>;

/// What is not there reads as zero, and leaves the cursor failed for good: the caller asks once, at the end.
class Cursor {
public:
    explicit Cursor(Span bytes, size_t position = 0) : bytes_(bytes) { seek(position); }

    bool failed() const { return failed_; }
    size_t position() const { return position_; }
    size_t left() const { return failed_ ? 0 : bytes_.size() - position_; }

    /// Nothing when there are not that many.
    Span take(uint64_t count) {
        if (failed_ || count > left()) {
            failed_ = true;
            return {};
        }
        const Span taken = bytes_.subspan(position_, static_cast<size_t>(count));
        position_ += taken.size();
        return taken;
    }
    void skip(uint64_t count) { take(count); }
    void seek(uint64_t position) {
        failed_ = failed_ || position > bytes_.size();
        position_ = failed_ ? bytes_.size() : static_cast<size_t>(position);
    }

    uint8_t u8() { return static_cast<uint8_t>(number(1)); }
    uint16_t u16() { return static_cast<uint16_t>(number(2)); }
    uint32_t u32() { return static_cast<uint32_t>(number(4)); }
    uint64_t u64() { return number(8); }
    double fixed16() { return static_cast<int32_t>(u32()) / 65536.0; }

private:
    uint64_t number(size_t count) {
        uint64_t result = 0;
        for (const uint8_t byte : take(count)) {
            result = result << 8 | byte;
        }
        return result;
    }

    Span bytes_;
    size_t position_ = 0;
    bool failed_ = false;
};

}  // namespace zvinfo

#endif  // ZVCLR_TOOLS_PROFILE_CURSOR_H
