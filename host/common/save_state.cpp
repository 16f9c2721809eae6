#include "host/common/save_state.h"

#include <atomic>

namespace zvhost {

namespace {

SRWLOCK lock = SRWLOCK_INIT;
SaveState state;
constexpr DWORD kNobody = 0;
std::atomic<DWORD> owner{kNobody};

/// Saves of other threads ended with these. They are not waited for before a fork, since they may take long.
void ForgetInChild() noexcept {
    lock = SRWLOCK_INIT;
    owner.store(kNobody, std::memory_order_relaxed);
    state = {};
}

}  // namespace

SaveState* TakeSaveState() noexcept {
    static const bool knownToForks = ZvAfterForkInChild(ForgetInChild);
    static_cast<void>(knownToForks);
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
