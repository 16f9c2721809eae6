#include "host/platform.h"

bool ZvPeekMemory(void* destination, const void* source, size_t count) noexcept {
    // Not every system looks at the protection of pages for a process that reads itself.
    if (IsBadReadPtr(source, count)) return false;
    SIZE_T got = 0;
    return ReadProcessMemory(GetCurrentProcess(), source, destination, count, &got) != FALSE && got == count;
}
