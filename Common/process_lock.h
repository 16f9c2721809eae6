// The one lock of the process-wide state: the list of converters and the tables that are built at first need.
#pragma once

#include "host/platform.h"

namespace zv {

extern SRWLOCK processLock;

class ProcessGuard {
public:
    ProcessGuard() noexcept { AcquireSRWLockExclusive(&processLock); }
    ~ProcessGuard() { ReleaseSRWLockExclusive(&processLock); }
    ProcessGuard(const ProcessGuard&) = delete;
    ProcessGuard& operator=(const ProcessGuard&) = delete;
};

}  // namespace zv
