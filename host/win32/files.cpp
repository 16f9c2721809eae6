#include <cstdio>
#include <cwchar>

#include "host/platform.h"

bool ZvAfterForkInChild(void (*)()) noexcept { return true; }

std::FILE* ZvOpenStream(const ZvChar* name, const char* mode) noexcept {
    constexpr size_t kRoom = 8;
    wchar_t wideMode[kRoom] = {};
    for (size_t i = 0; i + 1 < kRoom && mode[i] != 0; ++i) wideMode[i] = static_cast<unsigned char>(mode[i]);
    return _wfopen(name, wideMode);
}

bool ZvFinalName(const ZvChar* name, ZvChar* buffer, size_t count, size_t* folderLength) noexcept {
    const DWORD attributes = GetFileAttributesW(name);
    if (attributes == INVALID_FILE_ATTRIBUTES) return false;
    if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
        constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
        const HANDLE handle = CreateFileW(name, 0, kShareAll, nullptr, OPEN_EXISTING, 0, nullptr);
        if (handle == INVALID_HANDLE_VALUE) return false;
        const DWORD length = GetFinalPathNameByHandleW(handle, buffer, static_cast<DWORD>(count), 0);
        CloseHandle(handle);
        if (length == 0 || length >= count) return false;
    } else {
        const size_t length = std::wcslen(name);
        if (length >= count) return false;
        std::wmemcpy(buffer, name, length + 1);
    }
    *folderLength = 0;
    for (size_t i = 0; buffer[i] != 0; ++i) {
        if (buffer[i] == L'/' || buffer[i] == L'\\' || buffer[i] == L':') *folderLength = i + 1;
    }
    return true;
}
