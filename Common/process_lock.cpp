#include "Common/process_lock.h"

#include "host/entry.h"

namespace zv {

constinit SRWLOCK processLock = SRWLOCK_INIT;

}  // namespace zv

void ClrBeforeFork() noexcept { AcquireSRWLockExclusive(&zv::processLock); }

void ClrAfterFork() noexcept { ReleaseSRWLockExclusive(&zv::processLock); }
