#include "host/ansi.h"

#include "host/common/utf.h"

bool ZvWideFromAnsi(const char* source, ZvChar* destination, size_t count) noexcept {
    return ZvUtf16FromUtf8(source, destination, count);
}

bool ZvAnsiFromWide(const ZvChar* source, char* destination, size_t count) noexcept {
    return ZvUtf8FromUtf16(source, destination, count);
}
