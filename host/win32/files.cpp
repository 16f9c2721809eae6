#include <cstdio>
#include <cwchar>

#include "host/platform.h"

std::FILE* ZvOpenStream(const ZvChar* name, const char* mode) noexcept {
    constexpr size_t kRoom = 8;
    wchar_t wideMode[kRoom] = {};
    for (size_t i = 0; i + 1 < kRoom && mode[i] != 0; ++i) wideMode[i] = static_cast<unsigned char>(mode[i]);
    return _wfopen(name, wideMode);
}

bool ZvFinalName(const ZvChar* name, ZvChar* buffer, size_t count, size_t* folderLength) noexcept {
    // The system's own replacement follows links.
    const size_t length = std::wcslen(name);
    if (length >= count) return false;
    std::wmemcpy(buffer, name, length + 1);
    *folderLength = 0;
    for (size_t i = 0; i < length; ++i) {
        if (name[i] == L'/' || name[i] == L'\\' || name[i] == L':') *folderLength = i + 1;
    }
    return true;
}
