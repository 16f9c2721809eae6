// Blocks of the host's memory for the library's own use.
#pragma once

#include <cstdint>
#include <type_traits>

#include "host/host.h"

namespace zv {

/// Owner of a temporary block; releases it on every way out.
template <class T>
class HostBlock {
public:
    static_assert(std::is_trivial_v<T>);
    HostBlock(int64_t count, int32_t line, const ZvChar* file) noexcept
        : block_(static_cast<T*>(HostAlloc(sizeof(T), count, line, file))), line_(line), file_(file) {}
    ~HostBlock() {
        if (block_ != nullptr) HostFree(block_, line_, file_);
    }
    HostBlock(const HostBlock&) = delete;
    HostBlock& operator=(const HostBlock&) = delete;

    explicit operator bool() const noexcept { return block_ != nullptr; }
    T* Data() const noexcept { return block_; }

private:
    T* block_;
    int32_t line_;
    const ZvChar* file_;
};

}  // namespace zv
