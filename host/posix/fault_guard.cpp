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
[[gnu::tls_model("initial-exec")]] thread_local bool passingOn = false;

SRWLOCK lock = SRWLOCK_INIT;
int guards = 0;
struct sigaction earlier[kSignalCount] = {};

void OnFault(int signal, siginfo_t* info, void* context);

bool IsOurs(const struct sigaction& action) {
    return (action.sa_flags & SA_SIGINFO) != 0 && action.sa_sigaction == OnFault;
}

/// What would have happened without a guard.
void PassOn(int signal, siginfo_t* info, void* context) {
    size_t i = 0;
    while (kSignals[i] != signal) ++i;
    const struct sigaction action = earlier[i];
    const bool informed = (action.sa_flags & SA_SIGINFO) != 0;
    if (!passingOn && (informed || (action.sa_handler != SIG_DFL && action.sa_handler != SIG_IGN))) {
        passingOn = true;
        if (informed) {
            action.sa_sigaction(signal, info, context);
        } else {
            action.sa_handler(signal);
        }
        passingOn = false;
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
    PassOn(signal, info, context);
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

void Remove() noexcept {
    AcquireSRWLockExclusive(&lock);
    if (--guards == 0) {
        for (size_t i = 0; i < kSignalCount; ++i) {
            struct sigaction current = {};
            // A handler that came in between stays, and may still call this one.
            if (sigaction(kSignals[i], nullptr, &current) == 0 && IsOurs(current)) {
                sigaction(kSignals[i], &earlier[i], nullptr);
            }
        }
    }
    ReleaseSRWLockExclusive(&lock);
}

}  // namespace

bool ZvRunGuarded(void (*work)(void*), void* context) noexcept {
    Guard guard;
    guard.outer = innermost;
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
