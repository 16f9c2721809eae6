#include "host/host.h"

namespace {

HANDLE HandleOf(HostFile file) noexcept { return reinterpret_cast<HANDLE>(file); }

}  // namespace

HostFile HostFileOpen(const ZvChar* name, int32_t, int32_t) noexcept {
    return reinterpret_cast<HostFile>(
        CreateFileW(name, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

void HostFileClose(HostFile file) noexcept { CloseHandle(HandleOf(file)); }

int32_t HostFileRead(HostFile file, void* buffer, int32_t count) noexcept {
    DWORD done = 0;
    if (count <= 0 || !ReadFile(HandleOf(file), buffer, static_cast<DWORD>(count), &done, nullptr)) return 0;
    return static_cast<int32_t>(done);
}

int32_t HostFileReadMore(HostFile file, void* buffer, int32_t count) noexcept {
    return HostFileRead(file, buffer, count);
}

int64_t HostFileSeek(HostFile file, int64_t offset, int32_t origin) noexcept {
    LONG high = static_cast<LONG>(offset >> 32);
    const auto low = static_cast<LONG>(static_cast<uint32_t>(static_cast<uint64_t>(offset)));
    const DWORD position = SetFilePointer(HandleOf(file), low, &high, origin == 0 ? FILE_BEGIN : FILE_CURRENT);
    if (position == INVALID_SET_FILE_POINTER && GetLastError() != 0) return -1;
    return (static_cast<int64_t>(high) << 32) | static_cast<int64_t>(position);
}

HANDLE HostCreateFile(const ZvChar* name, DWORD access, DWORD share, void* security, DWORD disposition, DWORD flags,
                      HANDLE templateFile, int32_t, const ZvChar*) noexcept {
    return CreateFileW(name, access, share, static_cast<SECURITY_ATTRIBUTES*>(security), disposition, flags,
                       templateFile);
}

void HostCloseFile(HANDLE handle, int32_t, const ZvChar*) noexcept { CloseHandle(handle); }
