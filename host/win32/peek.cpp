#include "host/platform.h"

bool ZvPeekMemory(void* destination, const void* source, size_t count) noexcept {
    SIZE_T got = 0;
    return ReadProcessMemory(GetCurrentProcess(), source, destination, count, &got) != FALSE && got == count;
}
