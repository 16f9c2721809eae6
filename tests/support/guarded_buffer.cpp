#include "tests/support/guarded_buffer.h"

#include <cstring>
#include <stdexcept>

#include "host/platform.h"

#ifndef _WIN32
#    include <sys/mman.h>
#    include <unistd.h>
#endif

namespace zv::test {

namespace {

enum class Protection { kNone, kReadOnly, kWritable };

#ifdef _WIN32
uint8_t* Map(size_t size) {
    auto* base = static_cast<uint8_t*>(VirtualAlloc(nullptr, size, MEM_RESERVE | MEM_COMMIT, PAGE_NOACCESS));
    if (base == nullptr) throw std::runtime_error("VirtualAlloc failed");
    return base;
}
void Unmap(uint8_t* base, size_t) { VirtualFree(base, 0, MEM_RELEASE); }
void Protect(uint8_t* from, size_t size, Protection protection) {
    DWORD old = 0;
    const DWORD wanted = protection == Protection::kNone       ? DWORD{PAGE_NOACCESS}
                         : protection == Protection::kReadOnly ? DWORD{PAGE_READONLY}
                                                               : DWORD{PAGE_READWRITE};
    if (VirtualProtect(from, size, wanted, &old) == FALSE) throw std::runtime_error("VirtualProtect failed");
}
#else
uint8_t* Map(size_t size) {
    void* base = mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (base == MAP_FAILED) throw std::runtime_error("mmap failed");
    return static_cast<uint8_t*>(base);
}
void Unmap(uint8_t* base, size_t size) { munmap(base, size); }
void Protect(uint8_t* from, size_t size, Protection protection) {
    const int wanted = protection == Protection::kNone       ? PROT_NONE
                       : protection == Protection::kReadOnly ? PROT_READ
                                                             : PROT_READ | PROT_WRITE;
    if (mprotect(from, size, wanted) != 0) throw std::runtime_error("mprotect failed");
}
#endif

}  // namespace

size_t GuardedBuffer::PageSize() noexcept {
#ifdef _WIN32
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    return info.dwPageSize;
#else
    return static_cast<size_t>(sysconf(_SC_PAGESIZE));
#endif
}

GuardedBuffer::GuardedBuffer(size_t size, Side side, uint8_t fill)
    : base_(nullptr), mapped_((size + PageSize() - 1) / PageSize() * PageSize()), data_(nullptr), size_(size) {
    if (mapped_ == 0) mapped_ = PageSize();
    base_ = Map(mapped_ + 2 * PageSize());
    uint8_t* first = base_ + PageSize();
    Protect(first, mapped_, Protection::kWritable);
    data_ = side == Side::kFront ? first : first + mapped_ - size;
    std::memset(first, fill, mapped_);
}

GuardedBuffer::~GuardedBuffer() { Unmap(base_, mapped_ + 2 * PageSize()); }

void GuardedBuffer::Fill(uint8_t value) noexcept { std::memset(data_, value, size_); }

void GuardedBuffer::MakeReadOnly() { Protect(base_ + PageSize(), mapped_, Protection::kReadOnly); }
void GuardedBuffer::MakeUnreadable() { Protect(base_ + PageSize(), mapped_, Protection::kNone); }
void GuardedBuffer::MakeWritable() { Protect(base_ + PageSize(), mapped_, Protection::kWritable); }

void GuardedBuffer::MakePageUnreadable(size_t offset) {
    const size_t at = static_cast<size_t>(data_ - base_) + offset;
    Protect(base_ + at / PageSize() * PageSize(), PageSize(), Protection::kNone);
}

void GuardedBuffer::MakePageReadOnly(size_t offset) {
    const size_t at = static_cast<size_t>(data_ - base_) + offset;
    Protect(base_ + at / PageSize() * PageSize(), PageSize(), Protection::kReadOnly);
}

}  // namespace zv::test
