// Probes of memory regions without faults and without signals: the kernel is asked to populate the pages, which it
// refuses where a load or store would fault. Older kernels and special mappings are answered from the memory map.
#include <errno.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>

#include "host/platform.h"

#ifndef MADV_POPULATE_READ
#    define MADV_POPULATE_READ 22
#endif
#ifndef MADV_POPULATE_WRITE
#    define MADV_POPULATE_WRITE 23
#endif

namespace {

enum class Access { kRead, kWrite };

uintptr_t PageSize() noexcept {
    static const auto size = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    return size;
}

/// Reads /proc/self/maps line by line through a small buffer: a probe must not allocate.
class MemoryMap {
public:
    MemoryMap() noexcept : file_(open("/proc/self/maps", O_RDONLY | O_CLOEXEC)) {}
    ~MemoryMap() {
        if (file_ >= 0) close(file_);
    }
    MemoryMap(const MemoryMap&) = delete;
    MemoryMap& operator=(const MemoryMap&) = delete;

    /// Delivers the next mapping ("start-end rwxp ..."), in ascending order.
    bool Next(uintptr_t* start, uintptr_t* end, bool* readable, bool* writable) noexcept {
        int c = 0;
        if (!Hex(start, '-') || !Hex(end, ' ')) return false;
        *readable = Byte() == 'r';
        *writable = Byte() == 'w';
        do {
            c = Byte();
        } while (c != '\n' && c >= 0);
        return true;
    }

private:
    bool Hex(uintptr_t* value, int stop) noexcept {
        *value = 0;
        for (;;) {
            const int c = Byte();
            if (c == stop) return true;
            int digit = -1;
            if (c >= '0' && c <= '9') digit = c - '0';
            if (c >= 'a' && c <= 'f') digit = c - 'a' + 10;
            if (digit < 0) return false;
            *value = *value * 16 + static_cast<uintptr_t>(digit);
        }
    }
    int Byte() noexcept {
        if (at_ == filled_) {
            if (file_ < 0) return -1;
            ssize_t got = 0;
            do {
                got = read(file_, buffer_, sizeof buffer_);
            } while (got < 0 && errno == EINTR);
            if (got <= 0) return -1;
            filled_ = static_cast<size_t>(got);
            at_ = 0;
        }
        return buffer_[at_++];
    }

    int file_;
    size_t at_ = 0;
    size_t filled_ = 0;
    unsigned char buffer_[4096];
};

bool MapAllows(uintptr_t first, uintptr_t last, Access access) noexcept {
    MemoryMap map;
    uintptr_t start = 0;
    uintptr_t end = 0;
    bool readable = false;
    bool writable = false;
    while (map.Next(&start, &end, &readable, &writable)) {
        if (end <= first) continue;
        if (start > first || !(access == Access::kRead ? readable : writable)) return false;
        if (end - 1 >= last) return true;
        first = end;
    }
    return false;
}

bool Allowed(const void* address, size_t size, Access access) noexcept {
    if (size == 0) return true;
    const auto first = reinterpret_cast<uintptr_t>(address);
    const uintptr_t last = first + (size - 1);
    if (address == nullptr || last < first) return false;

    const int saved = errno;
    const uintptr_t page = first & ~(PageSize() - 1);
    const int advice = access == Access::kRead ? MADV_POPULATE_READ : MADV_POPULATE_WRITE;
    int result = 0;
    do {
        result = madvise(reinterpret_cast<void*>(page), last - page + 1, advice);
    } while (result != 0 && errno == EINTR);
    // Nothing mapped, or nothing behind the mapping. Any other refusal (no permission, device memory, a kernel or a
    // sandbox that does not know the advice) is settled by the map.
    const bool faults = result != 0 && (errno == ENOMEM || errno == EFAULT);
    const bool allowed = result == 0 || (!faults && MapAllows(first, last, access));
    errno = saved;
    return allowed;
}

}  // namespace

BOOL IsBadReadPtr(const void* address, size_t size) noexcept { return Allowed(address, size, Access::kRead) ? 0 : 1; }

BOOL IsBadWritePtr(void* address, size_t size) noexcept { return Allowed(address, size, Access::kWrite) ? 0 : 1; }

bool ZvPeekMemory(void* destination, const void* source, size_t count) noexcept {
    const int saved = errno;
    const iovec local = {destination, count};
    const iovec remote = {const_cast<void*>(source), count};
    const ssize_t got = process_vm_readv(getpid(), &local, 1, &remote, 1, 0);
    if (got < 0 && (errno == ENOSYS || errno == EPERM)) {
        // A sandbox that forbids the call: a pipe carries the bytes, and the kernel checks the address.
        int ends[2];
        bool done = false;
        if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) == 0) {
            done = write(ends[1], source, count) == static_cast<ssize_t>(count) &&
                   read(ends[0], destination, count) == static_cast<ssize_t>(count);
            close(ends[0]);
            close(ends[1]);
        }
        errno = saved;
        return done;
    }
    errno = saved;
    return got == static_cast<ssize_t>(count);
}
