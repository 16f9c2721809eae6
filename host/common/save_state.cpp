#include "host/common/save_state.h"

#include <atomic>

namespace zvhost {

namespace {

SRWLOCK lock = SRWLOCK_INIT;
SaveState state;
constexpr DWORD kNobody = 0;
std::atomic<DWORD> owner{kNobody};

}  // namespace

SaveState* TakeSaveState() noexcept {
    if (OwnSaveState() == nullptr) {
        AcquireSRWLockExclusive(&lock);
        owner.store(GetCurrentThreadId(), std::memory_order_relaxed);
    }
    return &state;
}

SaveState* OwnSaveState() noexcept {
    return owner.load(std::memory_order_relaxed) == GetCurrentThreadId() ? &state : nullptr;
}

void YieldSaveState() noexcept {
    if (OwnSaveState() == nullptr || !state.IsEmpty()) return;
    owner.store(kNobody, std::memory_order_relaxed);
    ReleaseSRWLockExclusive(&lock);
}

}  // namespace zvhost
