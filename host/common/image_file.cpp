#include "host/common/image_file.h"

#include <algorithm>

namespace zvhost {

namespace {

bool Seek(HANDLE handle, uint64_t offset, DWORD origin, uint64_t* position) noexcept {
    auto high = static_cast<LONG>(offset >> 32);
    const DWORD low = SetFilePointer(handle, static_cast<LONG>(static_cast<uint32_t>(offset)), &high, origin);
    if (low == INVALID_SET_FILE_POINTER && GetLastError() != 0) return false;
    *position = uint64_t{static_cast<uint32_t>(high)} << 32 | low;
    return true;
}

}  // namespace

int32_t ImageFile::Open(const ZvChar* name) noexcept {
    Close();
    handle_ = CreateFileW(name, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle_ == INVALID_HANDLE_VALUE) return ERR_FILE_OPEN;
    const bool plain = GetFileType(handle_) == FILE_TYPE_DISK;
    if (plain && Seek(handle_, 0, FILE_END, &size_)) return CLR_SUCCESS;
    Close();
    return plain ? ERR_FILE_READ : ERR_FILE_OPEN;
}

void ImageFile::Close() noexcept {
    if (handle_ != INVALID_HANDLE_VALUE) CloseHandle(handle_);
    handle_ = INVALID_HANDLE_VALUE;
    size_ = 0;
    windowSize_ = 0;
}

bool ImageFile::ReadDirectly(uint64_t offset, void* buffer, uint64_t count) noexcept {
    constexpr uint64_t kMostAtOnce = uint64_t{1} << 30;
    uint64_t position = 0;
    if (!Seek(handle_, offset, FILE_BEGIN, &position)) return false;
    auto* to = static_cast<uint8_t*>(buffer);
    while (count > 0) {
        DWORD done = 0;
        const auto piece = static_cast<DWORD>(std::min(count, kMostAtOnce));
        if (!ReadFile(handle_, to, piece, &done, nullptr) || done == 0) return false;
        to += done;
        count -= done;
    }
    return true;
}

bool ImageFile::ReadAt(uint64_t offset, void* buffer, uint64_t count) noexcept {
    if (!Has(offset, count)) return false;
    if (count > kWindowSize) return ReadDirectly(offset, buffer, count);
    const bool inWindow = offset >= windowOffset_ && offset - windowOffset_ <= windowSize_ &&
                          count <= windowSize_ - (offset - windowOffset_);
    if (!inWindow) {
        const uint64_t size = std::min<uint64_t>(kWindowSize, size_ - offset);
        windowSize_ = 0;
        // A file that has become shorter may still have what is asked for.
        if (!ReadDirectly(offset, window_, size)) return ReadDirectly(offset, buffer, count);
        windowOffset_ = offset;
        windowSize_ = static_cast<size_t>(size);
    }
    HostCopy(buffer, window_ + (offset - windowOffset_), count);
    return true;
}

}  // namespace zvhost
