// Blocks that a caller may take over come from the C library's allocator: free() releases them.
#include "host/host.h"

void* HostAllocShared(int64_t size, int64_t count, int32_t line, const ZvChar* file) noexcept {
    return HostAlloc(size, count, line, file);
}

void* HostReallocShared(void* block, int64_t size, int32_t line, const ZvChar* file) noexcept {
    return HostRealloc(block, size, line, file);
}

void HostFreeShared(void* block, int32_t line, const ZvChar* file) noexcept { HostFree(block, line, file); }
