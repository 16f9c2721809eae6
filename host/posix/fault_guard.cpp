#include "host/fault_guard.h"

#include <csetjmp>
#include <csignal>
#include <cstddef>

#include "host/platform.h"

namespace {

constexpr int kSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL};
constexpr size_t kSignalCount = sizeof kSignals / sizeof kSignals[0];

struct Guard {
    sigjmp_buf jump;
    Guard* outer;
};

// In static storage of the thread, which a handler may touch at any time.
[[gnu::tls_model("initial-exec")]] thread_local Guard* innermost = nullptr;
/// The call of an earlier handler that this thread is in.
struct Passing {
    const void* context;
    const void* frame;
};
[[gnu::tls_model("initial-exec")]] thread_local Passing passing = {};

SRWLOCK lock = SRWLOCK_INIT;
int guards = 0;
struct sigaction earlier[kSignalCount] = {};

void OnFault(int signal, siginfo_t* info, void* context);

bool IsOurs(const struct sigaction& action) {
    return (action.sa_flags & SA_SIGINFO) != 0 && action.sa_sigaction == OnFault;
}

/// What would have happened without a guard.
void PassOn(int signal, siginfo_t* info, void* context, const void* frame) {
    size_t i = 0;
    while (kSignals[i] != signal) ++i;
    const struct sigaction action = earlier[i];
    const bool informed = (action.sa_flags & SA_SIGINFO) != 0;
    // A handler that calls its predecessor comes back here with the same context, from further down. One that has
    // jumped out has left its mark, but the next fault with that context is at the same depth.
    const bool again = passing.context == context && passing.frame != frame;
    if (!again && (informed || (action.sa_handler != SIG_DFL && action.sa_handler != SIG_IGN))) {
        passing = {context, frame};
        if (informed) {
            action.sa_sigaction(signal, info, context);
        } else {
            action.sa_handler(signal);
        }
        passing = {};
        return;
    }
    if (action.sa_handler == SIG_IGN && info->si_code <= 0) return;
    // Faults happen once more on return; what another sent has to be sent again.
    struct sigaction standard = {};
    standard.sa_handler = SIG_DFL;
    sigaction(signal, &standard, nullptr);
    if (info->si_code <= 0) raise(signal);
}

void OnFault(int signal, siginfo_t* info, void* context) {
    // A signal that somebody sent is no fault.
    if (innermost != nullptr && info->si_code > 0) siglongjmp(innermost->jump, 1);
    PassOn(signal, info, context, __builtin_frame_address(0));
}

void Install() noexcept {
    AcquireSRWLockExclusive(&lock);
    if (guards++ == 0) {
        for (size_t i = 0; i < kSignalCount; ++i) {
            struct sigaction current = {};
            // Known before the handler can need it.
            if (sigaction(kSignals[i], nullptr, &current) != 0 || IsOurs(current)) continue;
            earlier[i] = current;
            struct sigaction action = {};
            action.sa_sigaction = OnFault;
            action.sa_flags = SA_SIGINFO | SA_ONSTACK;
            sigemptyset(&action.sa_mask);
            sigaction(kSignals[i], &action, nullptr);
        }
    }
    ReleaseSRWLockExclusive(&lock);
}

void RestoreHandlers() noexcept {
    for (size_t i = 0; i < kSignalCount; ++i) {
        struct sigaction current = {};
        // A handler that came in between stays, and may still call this one.
        if (sigaction(kSignals[i], nullptr, &current) == 0 && IsOurs(current)) {
            sigaction(kSignals[i], &earlier[i], nullptr);
        }
    }
}

void BeforeFork() noexcept { AcquireSRWLockExclusive(&lock); }

void AfterForkInParent() noexcept { ReleaseSRWLockExclusive(&lock); }

/// Guards of other threads ended with these.
void AfterForkInChild() noexcept {
    const bool guarded = guards > 0;
    guards = 0;
    for (const Guard* guard = innermost; guard != nullptr; guard = guard->outer) ++guards;
    if (guarded && guards == 0) RestoreHandlers();
    ReleaseSRWLockExclusive(&lock);
}

void Remove() noexcept {
    AcquireSRWLockExclusive(&lock);
    if (--guards == 0) RestoreHandlers();
    ReleaseSRWLockExclusive(&lock);
}

}  // namespace

bool ZvRunGuarded(void (*work)(void*), void* context) noexcept {
    Guard guard;
    guard.outer = innermost;
    static const bool knownToForks = pthread_atfork(BeforeFork, AfterForkInParent, AfterForkInChild) == 0;
    static_cast<void>(knownToForks);
    Install();
    const bool whole = sigsetjmp(guard.jump, 1) == 0;
    if (whole) {
        innermost = &guard;
        work(context);
    }
    innermost = guard.outer;
    Remove();
    return whole;
}
