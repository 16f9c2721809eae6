// Tables that are built at first need.
#pragma once

#include <atomic>

#include "Common/process_lock.h"

namespace zv {

/// A table of the process. Unlike a static local variable it allocates nothing for its guard, which a library that is
/// loaded and unloaded many times would leave behind. All of it is zero at first and takes no room in the library.
template <class Table, void (*kFill)(Table& table) noexcept>
class LazyTable {
public:
    const Table& Get() noexcept {
        if (!ready_.load(std::memory_order_acquire)) Build();
        return table_;
    }

private:
    void Build() noexcept {
        const ProcessGuard guard;
        if (!ready_.load(std::memory_order_relaxed)) {
            kFill(table_);
            ready_.store(true, std::memory_order_release);
        }
    }

    std::atomic<bool> ready_{false};
    Table table_{};
};

}  // namespace zv
