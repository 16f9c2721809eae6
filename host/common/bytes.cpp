#include <cstring>

#include "host/host.h"

void HostCopy(void* destination, const void* source, size_t count) noexcept {
    if (count != 0) std::memcpy(destination, source, count);
}

void HostMove(void* destination, const void* source, size_t count) noexcept {
    if (count != 0) std::memmove(destination, source, count);
}

void HostFill(void* destination, uint8_t value, size_t count) noexcept {
    if (count != 0) std::memset(destination, value, count);
}

int32_t HostCompare(const void* first, const void* second, size_t count) noexcept {
    return count == 0 ? 0 : std::memcmp(first, second, count);
}

const uint8_t* HostFind(const void* buffer, uint8_t value, size_t count) noexcept {
    return count == 0 ? nullptr : static_cast<const uint8_t*>(std::memchr(buffer, value, count));
}
