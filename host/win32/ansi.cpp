#include "host/ansi.h"

#include <climits>

#include "host/platform.h"

bool ZvWideFromAnsi(const char* source, ZvChar* destination, size_t count) noexcept {
    const int room = count > INT_MAX ? INT_MAX : static_cast<int>(count);
    return MultiByteToWideChar(CP_ACP, 0, source, -1, destination, room) > 0;
}

bool ZvAnsiFromWide(const ZvChar* source, char* destination, size_t count) noexcept {
    const int room = count > INT_MAX ? INT_MAX : static_cast<int>(count);
    return WideCharToMultiByte(CP_ACP, 0, source, -1, destination, room, nullptr, nullptr) > 0;
}
