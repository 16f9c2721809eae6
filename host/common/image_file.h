// An image file that is read at any place. Files of any kind but plain ones are refused: they have no size, and need
// not end.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host/host.h"

namespace zvhost {

class ImageFile {
public:
    ImageFile() noexcept = default;
    ~ImageFile() { Close(); }
    ImageFile(const ImageFile&) = delete;
    ImageFile& operator=(const ImageFile&) = delete;

    /// 1, ERR_FILE_OPEN or ERR_FILE_READ.
    int32_t Open(const ZvChar* name) noexcept;
    void Close() noexcept;

    /// As it was when the file was opened; nothing behind it is read.
    uint64_t Size() const noexcept { return size_; }
    bool Has(uint64_t offset, uint64_t count) const noexcept { return offset <= size_ && count <= size_ - offset; }
    /// False if not all of it is there.
    bool ReadAt(uint64_t offset, void* buffer, uint64_t count) noexcept;

private:
    static constexpr size_t kWindowSize = 4096;

    bool ReadDirectly(uint64_t offset, void* buffer, uint64_t count) noexcept;

    HANDLE handle_ = INVALID_HANDLE_VALUE;
    uint64_t size_ = 0;
    uint64_t windowOffset_ = 0;
    size_t windowSize_ = 0;
    uint8_t window_[kWindowSize];
};

}  // namespace zvhost
