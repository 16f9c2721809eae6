// Tables that are built at first need.
#pragma once

#include <atomic>

#include "host/platform.h"

namespace zv {

/// A table of the process. Unlike a static local variable it allocates nothing for its guard, which a library that is
/// loaded and unloaded many times would leave behind.
template <class Table>
class LazyTable {
public:
    using Fill = void (*)(Table& table) noexcept;

    explicit constexpr LazyTable(Fill fill) noexcept : fill_(fill) {}

    const Table& Get() noexcept {
        if (!ready_.load(std::memory_order_acquire)) Build();
        return table_;
    }

private:
    void Build() noexcept {
        AcquireSRWLockExclusive(&lock_);
        if (!ready_.load(std::memory_order_relaxed)) {
            fill_(table_);
            ready_.store(true, std::memory_order_release);
        }
        ReleaseSRWLockExclusive(&lock_);
    }

    Fill fill_;
    SRWLOCK lock_ = SRWLOCK_INIT;
    std::atomic<bool> ready_{false};
    Table table_{};
};

}  // namespace zv
