#include <cstdint>

#include "host/platform.h"

namespace {

constexpr DWORD kReadable = PAGE_READONLY | PAGE_READWRITE | PAGE_WRITECOPY | PAGE_EXECUTE_READ |
                            PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
constexpr DWORD kWritable = PAGE_READWRITE | PAGE_WRITECOPY | PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;

bool Allowed(const void* address, size_t size, DWORD protections) noexcept {
    if (size == 0) return true;
    auto at = reinterpret_cast<uintptr_t>(address);
    const uintptr_t last = at + (size - 1);
    if (address == nullptr || last < at) return false;
    for (;;) {
        MEMORY_BASIC_INFORMATION region;
        if (VirtualQuery(reinterpret_cast<const void*>(at), &region, sizeof region) == 0) return false;
        if (region.State != MEM_COMMIT || (region.Protect & PAGE_GUARD) != 0 || (region.Protect & protections) == 0) {
            return false;
        }
        const uintptr_t end = reinterpret_cast<uintptr_t>(region.BaseAddress) + region.RegionSize;
        if (end - 1 >= last) return true;
        at = end;
    }
}

}  // namespace

BOOL ZvIsBadReadPtr(const void* address, size_t size) noexcept { return Allowed(address, size, kReadable) ? 0 : 1; }

BOOL ZvIsBadWritePtr(void* address, size_t size) noexcept { return Allowed(address, size, kWritable) ? 0 : 1; }

bool ZvCanLoad(const void* address, size_t size) noexcept { return Allowed(address, size, kReadable); }

bool ZvPeekMemory(void* destination, const void* source, size_t count) noexcept {
    // Not every system looks at the protection of pages for a process that reads itself.
    if (IsBadReadPtr(source, count)) return false;
    SIZE_T got = 0;
    return ReadProcessMemory(GetCurrentProcess(), source, destination, count, &got) != FALSE && got == count;
}
