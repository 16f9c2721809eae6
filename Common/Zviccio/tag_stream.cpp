#include "Common/Zviccio/tag_stream.h"

#include <algorithm>

namespace zv {

bool TagStream::Seek(uint64_t offset) noexcept {
    if (FromFile()) return HostFileSeek(profile_.file, static_cast<int64_t>(offset), kHostSeekStart) >= 0;
    if (profile_.block == nullptr) return false;
    profile_.cursor = profile_.block + std::min<uint64_t>(offset, profile_.blockSize);
    return true;
}

bool TagStream::Read(void* buffer, size_t count) noexcept {
    if (FromFile()) {
        auto* to = static_cast<uint8_t*>(buffer);
        while (count > 0) {
            const int32_t asked = static_cast<int32_t>(std::min<size_t>(count, INT32_MAX));
            const int32_t got = HostFileRead(profile_.file, to, asked);
            if (got <= 0 || got > asked) return false;
            to += got;
            count -= static_cast<size_t>(got);
        }
        return true;
    }
    if (profile_.block == nullptr || count > LeftInBlock()) return false;
    HostCopy(buffer, profile_.cursor, count);
    profile_.cursor += count;
    return true;
}

bool TagStream::Holds(uint64_t count) noexcept {
    if (count == 0) return true;
    if (!FromFile()) return profile_.block != nullptr && count <= LeftInBlock();
    // The last of the bytes is there if it can be read.
    if (count > INT32_MAX) return false;
    const int64_t here = HostFileSeek(profile_.file, 0, kHostSeekHere);
    uint8_t last = 0;
    return here >= 0 && HostFileSeek(profile_.file, here + static_cast<int64_t>(count) - 1, kHostSeekStart) >= 0 &&
           Read(&last, 1) && HostFileSeek(profile_.file, here, kHostSeekStart) >= 0;
}

}  // namespace zv
