#include <cstdlib>
#include <cstring>

#include "host/host.h"

namespace {

/// False when size * count is negative or does not fit; an empty block still has an address of its own.
bool BlockBytes(int64_t size, int64_t count, size_t* bytes) noexcept {
    int64_t product = 0;
    if (size < 0 || count < 0 || __builtin_mul_overflow(size, count, &product)) return false;
    *bytes = product == 0 ? 1 : static_cast<size_t>(product);
    return true;
}

}  // namespace

void* HostAlloc(int64_t size, int64_t count, int32_t, const ZvChar*) noexcept {
    size_t bytes = 0;
    return BlockBytes(size, count, &bytes) ? std::malloc(bytes) : nullptr;
}

void* HostAllocZeroed(int64_t size, int64_t count, int32_t, const ZvChar*) noexcept {
    size_t bytes = 0;
    return BlockBytes(size, count, &bytes) ? std::calloc(1, bytes) : nullptr;
}

void HostFree(void* block, int32_t, const ZvChar*) noexcept { std::free(block); }

void* HostRealloc(void* block, int64_t size, int32_t, const ZvChar*) noexcept {
    size_t bytes = 0;
    return BlockBytes(size, 1, &bytes) ? std::realloc(block, bytes) : nullptr;
}
