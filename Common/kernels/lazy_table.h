// Tables that are built at first need.
#pragma once

#include <atomic>

#include "Common/process_lock.h"

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
        const ProcessGuard guard;
        if (!ready_.load(std::memory_order_relaxed)) {
            fill_(table_);
            ready_.store(true, std::memory_order_release);
        }
    }

    Fill fill_;
    std::atomic<bool> ready_{false};
    Table table_{};
};

}  // namespace zv
