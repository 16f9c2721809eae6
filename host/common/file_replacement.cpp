#include "host/common/file_replacement.h"

#include <algorithm>
#include <atomic>

#include "host/memory.h"

namespace zvhost {

namespace {

constexpr ZvChar kSource[] = ZV_WIDE("host\\file_replacement");
// Short, since the names of some folders are nearly too long already.
constexpr ZvChar kPrefix[] = ZV_WIDE(".zvclr");
constexpr int32_t kDigits = 8;
constexpr uint32_t kMostTries = 1000;
// Spread names: other processes may have files of theirs here.
constexpr uint32_t kNumberStep = 0x9E3779B9U;

uint32_t NextNumber() noexcept {
    static std::atomic<uint32_t> counter{0};
    return (counter.fetch_add(1, std::memory_order_relaxed) + GetCurrentThreadId()) * kNumberStep;
}

/// Windows may fail with the old file gone, or under its backup's name: the new one must not go then too.
bool LeftOnlyTheNewFile(DWORD error, const ZvChar* name) noexcept {
    if (error != ERROR_UNABLE_TO_MOVE_REPLACEMENT && error != ERROR_UNABLE_TO_MOVE_REPLACEMENT_2) return false;
    WIN32_FIND_DATAW data;
    const HANDLE search = FindFirstFileW(name, &data);
    if (search == INVALID_HANDLE_VALUE) return true;
    FindClose(search);
    return false;
}

}  // namespace

FileReplacement::~FileReplacement() {
    if (handle_ != INVALID_HANDLE_VALUE) CloseHandle(handle_);
    if (temporary_[0] != 0) DeleteFileW(temporary_);
}

bool FileReplacement::MakeName(uint32_t number) noexcept {
    constexpr size_t kPrefixLength = sizeof kPrefix / sizeof kPrefix[0] - 1;
    if (folderLength_ + kPrefixLength + kDigits + 1 > kNameLength) return false;
    ZvChar* to = std::copy_n(final_, folderLength_, temporary_);
    to = std::copy_n(kPrefix, kPrefixLength, to);
    for (int32_t i = kDigits - 1; i >= 0; --i) *to++ = static_cast<ZvChar>("0123456789abcdef"[number >> 4 * i & 15]);
    *to = 0;
    return true;
}

int32_t FileReplacement::Begin(const ZvChar* name, const SAVEFILEOPTION* options) noexcept {
    if (options != nullptr) {
        if (IsBadReadPtr(options, sizeof *options)) return ERR_BAD_POINTER;
        if (options->size != sizeof *options) return ERR_STRUCT_SIZE;
        const ZvChar* end = std::find(options->backupName, options->backupName + CLR_NAME_LENGTH, ZvChar{0});
        if (end == options->backupName + CLR_NAME_LENGTH) return ERR_INVALID_PARAMETER;
        if (end != options->backupName) backup_ = options->backupName;
    }
    if (!ZvFinalName(name, final_, kNameLength, &folderLength_)) return ERR_FILE_OPEN;
    for (uint32_t i = 0; i < kMostTries; ++i) {
        if (!MakeName(NextNumber())) return ERR_FILE_WRITE;
        handle_ = CreateFileW(temporary_, GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (handle_ != INVALID_HANDLE_VALUE) return CLR_SUCCESS;
        // Another's file is not to be deleted.
        temporary_[0] = 0;
        if (GetLastError() != ERROR_FILE_EXISTS) break;
    }
    return ERR_FILE_WRITE;
}

int32_t FileReplacement::Write(const void* data, uint64_t count) noexcept {
    constexpr uint64_t kMostAtOnce = uint64_t{1} << 30;
    const auto* from = static_cast<const uint8_t*>(data);
    size_ += count;
    while (count > 0) {
        DWORD done = 0;
        const auto piece = static_cast<DWORD>(std::min(count, kMostAtOnce));
        if (!WriteFile(handle_, from, piece, &done, nullptr) || done != piece) return ERR_FILE_WRITE;
        from += piece;
        count -= piece;
    }
    return CLR_SUCCESS;
}

int32_t FileReplacement::Copy(ImageFile* from, uint64_t offset, uint64_t count) noexcept {
    constexpr uint64_t kPiece = uint64_t{256} << 10;
    if (count == 0) return CLR_SUCCESS;
    const auto room = static_cast<int64_t>(std::min(count, kPiece));
    const zv::HostBlock<uint8_t> buffer(room, __LINE__, kSource);
    if (!buffer) return ERR_NO_MEMORY;
    while (count > 0) {
        const uint64_t piece = std::min(count, kPiece);
        if (!from->ReadAt(offset, buffer.Data(), piece)) return ERR_FILE_READ;
        const int32_t result = Write(buffer.Data(), piece);
        if (result != CLR_SUCCESS) return result;
        offset += piece;
        count -= piece;
    }
    return CLR_SUCCESS;
}

int32_t FileReplacement::Commit(ImageFile* old) noexcept {
    // On the disk before the old file goes.
    const bool flushed = FlushFileBuffers(handle_) != FALSE;
    const bool closed = CloseHandle(handle_) != FALSE;
    handle_ = INVALID_HANDLE_VALUE;
    old->Close();
    if (!flushed || !closed) return ERR_FILE_WRITE;
    const bool replaced = ReplaceFileW(final_, temporary_, backup_, 0, nullptr, nullptr) != FALSE;
    if (replaced || LeftOnlyTheNewFile(GetLastError(), final_)) temporary_[0] = 0;
    return replaced ? int32_t{CLR_SUCCESS} : int32_t{ERR_FILE_WRITE};
}

}  // namespace zvhost
