// Blocks that a caller may take over come from the heap of the process, which every module can reach: C libraries have
// heaps of their own.
#include "host/host.h"

void* HostAllocShared(int64_t size, int64_t count, int32_t, const ZvChar*) noexcept {
    int64_t bytes = 0;
    if (size < 0 || count < 0 || __builtin_mul_overflow(size, count, &bytes)) return nullptr;
    return HeapAlloc(GetProcessHeap(), 0, static_cast<size_t>(bytes));
}

void* HostReallocShared(void* block, int64_t size, int32_t line, const ZvChar* file) noexcept {
    if (block == nullptr || size < 0) return HostAllocShared(size, 1, line, file);
    return HeapReAlloc(GetProcessHeap(), 0, block, static_cast<size_t>(size));
}

void HostFreeShared(void* block, int32_t, const ZvChar*) noexcept {
    if (block != nullptr) HeapFree(GetProcessHeap(), 0, block);
}
