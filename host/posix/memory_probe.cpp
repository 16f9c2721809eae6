// Probes of memory regions without faults and without signals. Of small regions the kernel is asked to read or to
// change nothing there, of large ones what areas they lie in; of all others, and where these do not say yes, to
// populate the pages, which it refuses where a load or store would fault. Older kernels and special mappings are
// answered from the memory map. For a few pages there are cheaper questions, of which only a yes counts.
#include <errno.h>
#include <fcntl.h>
#include <linux/futex.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <atomic>
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

// --- Cheap questions ------------------------------------------------------------------------------------------------

constexpr size_t kSignalSetBytes = 8;

/// Whether a load in the page of this address succeeds: the kernel loads a set of signals before it refuses to do
/// nothing known with it.
int LoadError(uintptr_t address) noexcept {
    constexpr int kNoOperation = -1;
    const uintptr_t inPage = address & (PageSize() - 1);
    if (inPage > PageSize() - kSignalSetBytes) address -= inPage - (PageSize() - kSignalSetBytes);
    return syscall(SYS_rt_sigprocmask, kNoOperation, address, nullptr, kSignalSetBytes) == 0 ? 0 : errno;
}

/// Whether a store in the page of this address succeeds: the kernel sets no bit of a word there, in one step, so that
/// nothing is lost that another thread writes.
int StoreError(uintptr_t address) noexcept {
    static const uint32_t nobodyWaits = 0;
    constexpr uint32_t kSetNothing = FUTEX_OP(FUTEX_OP_OR, 0, FUTEX_OP_CMP_EQ, 0);
    const uintptr_t word = address & ~uintptr_t{sizeof nobodyWaits - 1};
    return syscall(SYS_futex, &nobodyWaits, FUTEX_WAKE_OP | FUTEX_PRIVATE_FLAG, 0, 0, word, kSetNothing) >= 0 ? 0
                                                                                                              : errno;
}

/// Whether this kernel answers the questions as they are meant: emulated ones need not. Asked of an address that nobody
/// has and of a constant.
bool UnderstandsQuestions() noexcept {
    enum : int { kUnknown, kYes, kNo };
    static constinit std::atomic<int> known{kUnknown};
    int answer = known.load(std::memory_order_relaxed);
    if (answer == kUnknown) {
        alignas(kSignalSetBytes) static const unsigned char constant[kSignalSetBytes] = {1};
        const auto address = reinterpret_cast<uintptr_t>(constant);
        const bool understands =
            LoadError(UINTPTR_MAX) == EFAULT && LoadError(address) == EINVAL && StoreError(address) == EFAULT;
        answer = understands ? kYes : kNo;
        known.store(answer, std::memory_order_relaxed);
    }
    return answer == kYes;
}

/// A yes for every page of a region. Beyond a few pages the general question costs less.
bool EachPageAnswers(uintptr_t first, uintptr_t last, uintptr_t mostPages, int (*ask)(uintptr_t), int yes) noexcept {
    const uintptr_t mask = ~(PageSize() - 1);
    if (((last & mask) - (first & mask)) / PageSize() >= mostPages || !UnderstandsQuestions()) return false;
    for (uintptr_t page = first & mask; page <= (last & mask); page += PageSize()) {
        if (ask(page < first ? first : page) != yes) return false;
        if (page == (last & mask)) break;
    }
    return true;
}

// --- Large regions --------------------------------------------------------------------------------------------------

/// What ioctl(PROCMAP_QUERY) takes; kernels from 6.11 on answer it, whose headers need not be those of the build.
struct AreaQuery {
    uint64_t size;
    uint64_t flags;
    uint64_t address;
    uint64_t start;
    uint64_t end;
    uint64_t access;
    uint64_t pageSize;
    uint64_t offset;
    uint64_t inode;
    uint32_t deviceMajor;
    uint32_t deviceMinor;
    uint32_t nameSize;
    uint32_t buildIdSize;
    uint64_t name;
    uint64_t buildId;
};
static_assert(sizeof(AreaQuery) == 104);

/// Whether a region is plain memory of the process with this access, told by its areas and not by its pages, of which
/// the populating question would visit each. Files, whose pages may lie behind their end, are left to that one; of
/// pages that are guarded inside an area only those at the two ends are seen.
bool PlainMemoryAllows(uintptr_t first, uintptr_t last, Access access) noexcept {
    constexpr uint64_t kReadable = 1, kWritable = 2;
    const auto reachable = [access](uintptr_t at) {
        return access == Access::kRead ? LoadError(at) == EINVAL : StoreError(at) == 0;
    };
    if (!UnderstandsQuestions() || !reachable(first) || !reachable(last)) return false;
    const int map = open("/proc/self/maps", O_RDONLY | O_CLOEXEC);
    if (map < 0) return false;
    const uint64_t needed = access == Access::kRead ? kReadable : kWritable;
    bool allowed = false;
    for (uintptr_t at = first; !allowed;) {
        AreaQuery area{};
        area.size = sizeof area;
        area.address = at;
        if (ioctl(map, _IOWR('f', 17, AreaQuery), &area) != 0 || area.start > at || area.end <= at || area.inode != 0 ||
            (area.access & needed) == 0) {
            break;
        }
        allowed = area.end - 1 >= last;
        at = static_cast<uintptr_t>(area.end);
    }
    close(map);
    return allowed;
}

// --- Probes ---------------------------------------------------------------------------------------------------------

bool Allowed(const void* address, size_t size, Access access) noexcept {
    if (size == 0) return true;
    const auto first = reinterpret_cast<uintptr_t>(address);
    const uintptr_t last = first + (size - 1);
    if (address == nullptr || last < first) return false;

    const int saved = errno;
    constexpr size_t kLarge = 256 * 1024;
    if ((access == Access::kWrite && EachPageAnswers(first, last, 1, StoreError, 0)) ||
        (size >= kLarge && PlainMemoryAllows(first, last, access))) {
        errno = saved;
        return true;
    }
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

bool ZvCanLoad(const void* address, size_t size) noexcept {
    constexpr uintptr_t kMostPages = 3;
    const auto first = reinterpret_cast<uintptr_t>(address);
    const uintptr_t last = first + (size - 1);
    if (size == 0) return true;
    const int saved = errno;
    const bool exists = address != nullptr && last >= first;
    const bool loads = exists && (EachPageAnswers(first, last, kMostPages, LoadError, EINVAL) ||
                                  Allowed(address, size, Access::kRead) ||
                                  // Without permission to read, pages may load all the same.
                                  EachPageAnswers(first, last, UINTPTR_MAX, LoadError, EINVAL));
    errno = saved;
    return loads;
}

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
