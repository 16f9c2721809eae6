#include "host/fault_guard.h"

#include <cstdint>

#include "host/platform.h"

namespace {

struct Guard {
    void* jump[5];
    PVOID handler;
    DWORD thread;
    Guard* outer;
};

// A list and thread numbers, since thread-local storage may want memory, which a handler must not ask for.
SRWLOCK lock = SRWLOCK_INIT;
Guard* newest = nullptr;

bool IsFault(DWORD code) {
    switch (code) {
        case EXCEPTION_ACCESS_VIOLATION:
        case EXCEPTION_ARRAY_BOUNDS_EXCEEDED:
        case EXCEPTION_DATATYPE_MISALIGNMENT:
        case EXCEPTION_FLT_DENORMAL_OPERAND:
        case EXCEPTION_FLT_DIVIDE_BY_ZERO:
        case EXCEPTION_FLT_INEXACT_RESULT:
        case EXCEPTION_FLT_INVALID_OPERATION:
        case EXCEPTION_FLT_OVERFLOW:
        case EXCEPTION_FLT_STACK_CHECK:
        case EXCEPTION_FLT_UNDERFLOW:
        case EXCEPTION_ILLEGAL_INSTRUCTION:
        case EXCEPTION_IN_PAGE_ERROR:
        case EXCEPTION_INT_DIVIDE_BY_ZERO:
        case EXCEPTION_INT_OVERFLOW:
        case EXCEPTION_PRIV_INSTRUCTION:
            return true;
        default:
            return false;
    }
}

Guard* GuardOfThisThread() noexcept {
    const DWORD thread = GetCurrentThreadId();
    AcquireSRWLockExclusive(&lock);
    Guard* guard = newest;
    while (guard != nullptr && guard->thread != thread) guard = guard->outer;
    ReleaseSRWLockExclusive(&lock);
    return guard;
}

[[noreturn]] void Leave(Guard* guard) { __builtin_longjmp(guard->jump, 1); }

/// The thread goes on in Leave(): the system's own way out of a handler stays the normal one.
LONG CALLBACK OnException(EXCEPTION_POINTERS* exception) {
    if (!IsFault(exception->ExceptionRecord->ExceptionCode)) return EXCEPTION_CONTINUE_SEARCH;
    Guard* guard = GuardOfThisThread();
    if (guard == nullptr) return EXCEPTION_CONTINUE_SEARCH;
    constexpr uint64_t kStackAlignment = 16;
    constexpr uint64_t kShadowSpace = 32;
    constexpr DWORD kDirectionFlag = 0x400;
    CONTEXT* context = exception->ContextRecord;
    // As a call leaves it: room for the callee's arguments, and a return address that nobody uses.
    context->Rsp = (context->Rsp & ~(kStackAlignment - 1)) - kShadowSpace - sizeof(void*);
    context->Rcx = reinterpret_cast<uint64_t>(guard);
    context->EFlags &= ~kDirectionFlag;
    context->Rip = reinterpret_cast<uint64_t>(&Leave);
    return EXCEPTION_CONTINUE_EXECUTION;
}

void Enter(Guard* guard) noexcept {
    guard->handler = AddVectoredExceptionHandler(1, OnException);
    guard->thread = GetCurrentThreadId();
    AcquireSRWLockExclusive(&lock);
    guard->outer = newest;
    newest = guard;
    ReleaseSRWLockExclusive(&lock);
}

void Exit(const Guard* guard) noexcept {
    AcquireSRWLockExclusive(&lock);
    Guard** link = &newest;
    while (*link != guard) link = &(*link)->outer;
    *link = guard->outer;
    ReleaseSRWLockExclusive(&lock);
    if (guard->handler != nullptr) RemoveVectoredExceptionHandler(guard->handler);
}

}  // namespace

[[gnu::noinline]] bool ZvRunGuarded(void (*work)(void*), void* context) noexcept {
    Guard guard;
    Enter(&guard);
    volatile bool whole = false;
    if (__builtin_setjmp(guard.jump) == 0) {
        work(context);
        whole = true;
    }
    Exit(&guard);
    return whole;
}
