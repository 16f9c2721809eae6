#include <algorithm>
#include <new>

#include "host/common/image_file.h"
#include "host/host.h"

namespace {

constexpr ZvChar kSource[] = ZV_WIDE("host\\files");

/// A file and a place in it. Its window makes reads of single bytes cheap.
struct Stream {
    zvhost::ImageFile file;
    uint64_t position;
};

Stream* StreamOf(HostFile file) noexcept { return reinterpret_cast<Stream*>(file); }

}  // namespace

HostFile HostFileOpen(const ZvChar* name, int32_t, int32_t) noexcept {
    void* block = HostAlloc(sizeof(Stream), 1, __LINE__, kSource);
    if (block == nullptr) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return kNoHostFile;
    }
    auto* stream = new (block) Stream{};
    if (stream->file.Open(name) == CLR_SUCCESS) return reinterpret_cast<HostFile>(stream);
    const DWORD error = GetLastError();
    HostFileClose(reinterpret_cast<HostFile>(stream));
    SetLastError(error);
    return kNoHostFile;
}

void HostFileClose(HostFile file) noexcept {
    Stream* stream = StreamOf(file);
    stream->~Stream();
    HostFree(stream, __LINE__, kSource);
}

int32_t HostFileRead(HostFile file, void* buffer, int32_t count) noexcept {
    Stream* stream = StreamOf(file);
    if (count <= 0 || stream->position >= stream->file.Size()) return 0;
    const auto piece = std::min(static_cast<uint64_t>(count), stream->file.Size() - stream->position);
    if (!stream->file.ReadAt(stream->position, buffer, piece)) return 0;
    stream->position += piece;
    return static_cast<int32_t>(piece);
}

int32_t HostFileReadMore(HostFile file, void* buffer, int32_t count) noexcept {
    return HostFileRead(file, buffer, count);
}

int64_t HostFileSeek(HostFile file, int64_t offset, int32_t origin) noexcept {
    Stream* stream = StreamOf(file);
    int64_t position = 0;
    const int64_t from = origin == 0 ? 0 : static_cast<int64_t>(stream->position);
    if (__builtin_add_overflow(from, offset, &position) || position < 0) return -1;
    stream->position = static_cast<uint64_t>(position);
    return position;
}

HANDLE HostCreateFile(const ZvChar* name, DWORD access, DWORD share, void* security, DWORD disposition, DWORD flags,
                      HANDLE templateFile, int32_t, const ZvChar*) noexcept {
    return CreateFileW(name, access, share, static_cast<SECURITY_ATTRIBUTES*>(security), disposition, flags,
                       templateFile);
}

void HostCloseFile(HANDLE handle, int32_t, const ZvChar*) noexcept { CloseHandle(handle); }
