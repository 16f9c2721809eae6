// The fault guard: faults of the machine end what is guarded, and nothing else notices.
#include "host/fault_guard.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "host/platform.h"
#include "tests/support/guarded_buffer.h"

#ifndef _WIN32
#    include <sys/mman.h>
#    include <sys/wait.h>
#    include <unistd.h>

#    include <csetjmp>
#    include <csignal>
#    include <cstdio>
#endif

namespace zv::test {
namespace {

/// True if nothing has cut the work short.
template <class Work>
bool Guarded(Work work) {
    return ZvRunGuarded([](void* context) { (*static_cast<Work*>(context))(); }, &work);
}

volatile int sink = 0;

// Sanitizers would find these faults before the machine does.
#define ZV_FAULTS __attribute__((no_sanitize("undefined")))

ZV_FAULTS void Read(const volatile uint8_t* address) { sink = *address; }
ZV_FAULTS void Write(volatile uint8_t* address) { *address = 1; }
ZV_FAULTS void DivideByZero() {
    volatile int zero = 0;
    sink = 5 / zero;
}

/// Pages that cannot be touched, and that can only be read.
struct Pages {
    GuardedBuffer none{16};
    GuardedBuffer readOnly{16};
    Pages() {
        none.MakeUnreadable();
        readOnly.MakeReadOnly();
    }
};

TEST(FaultGuard, WorkWithoutAFaultRunsToItsEnd) {
    int steps = 0;
    EXPECT_TRUE(Guarded([&] { ++steps; }));
    EXPECT_EQ(1, steps);
}

TEST(FaultGuard, ReadingAnUnreadablePage) {
    const Pages pages;
    volatile int steps = 0;
    for (int i = 0; i < 100; ++i) {
        EXPECT_FALSE(Guarded([&] {
            steps = steps + 1;
            Read(pages.none.Data());
            steps = steps + 1000;
        }));
    }
    EXPECT_EQ(100, steps) << "nothing behind the fault runs";
}

TEST(FaultGuard, WritingAReadOnlyPage) {
    const Pages pages;
    EXPECT_TRUE(Guarded([&] { Read(pages.readOnly.Data()); }));
    EXPECT_FALSE(Guarded([&] { Write(pages.readOnly.Data()); }));
    EXPECT_FALSE(Guarded([] { Write(nullptr); }));
    EXPECT_FALSE(Guarded([] { Read(reinterpret_cast<const uint8_t*>(uintptr_t{0x8000000000000000U})); }))
        << "an address that no page can have";
}

TEST(FaultGuard, DivisionByZero) {
    EXPECT_FALSE(Guarded(DivideByZero));
    EXPECT_TRUE(Guarded([] { sink = 1; }));
}

TEST(FaultGuard, UndefinedInstruction) {
    EXPECT_FALSE(Guarded([] { __builtin_trap(); }));
}

#ifndef _WIN32
TEST(FaultGuard, MappedFileThatHasShrunk) {
    std::FILE* file = std::tmpfile();
    ASSERT_NE(nullptr, file);
    ASSERT_EQ(0, ftruncate(fileno(file), 4096));
    void* map = mmap(nullptr, 4096, PROT_READ, MAP_SHARED, fileno(file), 0);
    ASSERT_NE(MAP_FAILED, map);
    ASSERT_EQ(0, ftruncate(fileno(file), 0));
    EXPECT_FALSE(Guarded([&] { Read(static_cast<const uint8_t*>(map)); }));
    munmap(map, 4096);
    std::fclose(file);
}
#endif

TEST(FaultGuard, NestedGuardsEndTheInnermost) {
    const Pages pages;
    std::string steps;
    EXPECT_TRUE(Guarded([&] {
        EXPECT_FALSE(Guarded([&] { Read(pages.none.Data()); }));
        steps += 'a';
        EXPECT_TRUE(Guarded([&] { steps += 'b'; }));
    }));
    EXPECT_FALSE(Guarded([&] {
        EXPECT_FALSE(Guarded([&] { Write(pages.readOnly.Data()); }));
        EXPECT_TRUE(Guarded([] {}));
        steps += 'c';
        Read(pages.none.Data());
        steps += 'x';
    }));
    EXPECT_FALSE(Guarded([&] {
        EXPECT_FALSE(Guarded([&] {
            EXPECT_FALSE(Guarded([&] { Read(pages.none.Data()); }));
            steps += 'd';
            Read(pages.none.Data());
            steps += 'x';
        }));
        steps += 'e';
        DivideByZero();
        steps += 'x';
    }));
    EXPECT_EQ("abcde", steps);
}

TEST(FaultGuard, ExceptionsInsideStillWork) {
    const Pages pages;
    for (int i = 0; i < 10; ++i) {
        std::string caught;
        EXPECT_TRUE(Guarded([&] {
            try {
                if (i >= 0) throw std::runtime_error("thrown");
            } catch (const std::exception& error) {
                caught = error.what();
            }
        }));
        EXPECT_EQ("thrown", caught);
        EXPECT_FALSE(Guarded([&] { Read(pages.none.Data()); }));
    }
    EXPECT_THROW(throw std::runtime_error("outside"), std::runtime_error);
}

// More values than there are registers that a call need not keep: some live in those that it has to.
[[gnu::noinline]] double KeptAcross(const GuardedBuffer& page, double seed, bool* whole) {
    double a = seed * 1.25, b = seed * 2.5, c = seed + 3, d = seed - 4, e = seed / 7, f = seed * seed, g = seed + 11,
           h = seed * 0.5, i = seed - 0.125, j = seed * 9, k = seed / 3, l = seed + 100;
    uint64_t m = static_cast<uint64_t>(seed) * 3, n = m + 7, o = m ^ 0x5555, p = m * 11, q = m - 1, r = m << 9;
    *whole = Guarded([&page] {
        // Registers get other contents before the fault.
        volatile double values[24];
        double sum = 0;
        for (int round = 0; round < 24; ++round) values[round] = round * 1.5;
        for (int round = 0; round < 24; ++round) sum += values[round] * values[23 - round] - sum / 3;
        values[0] = sum;
        Read(page.Data());
    });
    return a + b * 2 + c * 3 + d * 4 + e * 5 + f * 6 + g * 7 + h * 8 + i * 9 + j * 10 + k * 11 + l * 12 +
           static_cast<double>(m + n * 2 + o * 3 + p * 4 + q * 5 + r * 6);
}

TEST(FaultGuard, RegistersAreKeptAcrossTheJump) {
    const GuardedBuffer readable(16);
    const Pages pages;
    for (int i = 0; i < 20; ++i) {
        bool whole = false;
        const double seed = 1.0 + i * 17;
        const double expected = KeptAcross(readable, seed, &whole);
        EXPECT_TRUE(whole);
        EXPECT_EQ(expected, KeptAcross(pages.none, seed, &whole)) << i;
        EXPECT_FALSE(whole);
    }
}

TEST(FaultGuard, ThreadsFaultApart) {
    const Pages pages;
    std::atomic<int> whole = 0;
    std::atomic<int> cut = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&, i] {
            for (int round = 0; round < 200; ++round) {
                const bool faults = i == 0 || (round + i) % 7 == 0;
                const bool result = Guarded([&] {
                    if (faults) Read(pages.none.Data());
                });
                if (result != faults) ++(result ? whole : cut);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(8 * 200, whole + cut);
    EXPECT_EQ(200 + 200, cut) << "the first thread, and one of seven rounds of the seven others";
}

TEST(FaultGuard, OneThreadFaultsWhileOthersAreGuarded) {
    const Pages pages;
    std::atomic<int> inside = 0;
    std::atomic<bool> go = false;
    std::atomic<int> whole = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 7; ++i) {
        threads.emplace_back([&] {
            whole += Guarded([&] {
                ++inside;
                while (!go) std::this_thread::yield();
            });
        });
    }
    while (inside < 7) std::this_thread::yield();
    for (int i = 0; i < 50; ++i) EXPECT_FALSE(Guarded([&] { Read(pages.none.Data()); }));
    go = true;
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(7, whole) << "faults of another thread are not theirs";
    EXPECT_FALSE(Guarded([&] { Read(pages.none.Data()); }));
}

#ifdef _WIN32

// --- Handlers of the program, Windows ------------------------------------------------------------------------------

uint8_t* repairable = nullptr;
std::atomic<int> repairs = 0;

/// The program's own: makes the page readable and goes on.
LONG CALLBACK Repair(EXCEPTION_POINTERS* exception) {
    if (exception->ExceptionRecord->ExceptionCode != EXCEPTION_ACCESS_VIOLATION) return EXCEPTION_CONTINUE_SEARCH;
    if (exception->ExceptionRecord->ExceptionInformation[1] != reinterpret_cast<uintptr_t>(repairable)) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    ++repairs;
    DWORD old = 0;
    VirtualProtect(repairable, 16, PAGE_READWRITE, &old);
    return EXCEPTION_CONTINUE_EXECUTION;
}

TEST(FaultGuard, HandlersOfTheProgramSeeFaultsOutside) {
    GuardedBuffer page(16);
    repairable = page.Data();
    repairs = 0;
    PVOID handler = AddVectoredExceptionHandler(0, Repair);
    ASSERT_NE(nullptr, handler);
    page.MakeUnreadable();
    Read(page.Data());
    EXPECT_EQ(1, repairs) << "without a guard";
    page.MakeUnreadable();
    EXPECT_FALSE(Guarded([&] { Read(page.Data()); }));
    EXPECT_EQ(1, repairs) << "the guard's own fault";
    Read(page.Data());
    EXPECT_EQ(2, repairs) << "the guard is gone";
    page.MakeUnreadable();
    EXPECT_TRUE(Guarded([&] { std::thread([&] { Read(page.Data()); }).join(); }));
    EXPECT_EQ(3, repairs) << "a thread without a guard, while another has one";
    RemoveVectoredExceptionHandler(handler);
}

#else

// --- Handlers of the program, POSIX --------------------------------------------------------------------------------

/// The exit code of `work` in a child process; 1000 and the signal's number if one has ended it.
int InChild(const std::function<int()>& work) {
    const pid_t child = fork();
    if (child == 0) _exit(work());
    int status = 0;
    EXPECT_EQ(child, waitpid(child, &status, 0));
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
}

constexpr int kSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL};

uint8_t* volatile repairable = nullptr;
volatile sig_atomic_t calls = 0;
volatile sig_atomic_t lastSignal = 0;
volatile sig_atomic_t lastCode = 0;

void Repair(int signal, siginfo_t* info, void*) {
    calls = calls + 1;
    lastSignal = signal;
    lastCode = info->si_code;
    if (repairable != nullptr) {
        const auto page = reinterpret_cast<uintptr_t>(repairable) & ~uintptr_t{4095};
        mprotect(reinterpret_cast<void*>(page), 4096, PROT_READ | PROT_WRITE);
    }
}

void Count(int signal) {
    calls = calls + 1;
    lastSignal = signal;
}

struct sigaction ActionOf(int signal) {
    struct sigaction action = {};
    sigaction(signal, nullptr, &action);
    return action;
}

void InstallInformed(int signal, void (*handler)(int, siginfo_t*, void*), int flags = 0) {
    struct sigaction action = {};
    action.sa_sigaction = handler;
    action.sa_flags = SA_SIGINFO | flags;
    sigemptyset(&action.sa_mask);
    sigaddset(&action.sa_mask, SIGUSR2);
    sigaction(signal, &action, nullptr);
}

void InstallPlain(int signal, void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    sigaction(signal, &action, nullptr);
}

TEST(FaultGuard, HandlersAreTheSameAfterwards) {
    EXPECT_EQ(0, InChild([] {
                  const Pages pages;
                  for (const int signal : kSignals) InstallInformed(signal, Repair, SA_RESTART | SA_NODEFER);
                  InstallPlain(SIGFPE, SIG_IGN);
                  InstallPlain(SIGILL, SIG_DFL);
                  struct sigaction before[4];
                  for (int i = 0; i < 4; ++i) before[i] = ActionOf(kSignals[i]);
                  bool differs = false;
                  Guarded([&] {
                      Guarded([&] { Read(pages.none.Data()); });
                      for (int i = 0; i < 4; ++i)
                          differs |= ActionOf(kSignals[i]).sa_sigaction == before[i].sa_sigaction;
                      Read(pages.none.Data());
                  });
                  if (differs) return 1;
                  for (int i = 0; i < 4; ++i) {
                      const struct sigaction after = ActionOf(kSignals[i]);
                      if (after.sa_sigaction != before[i].sa_sigaction || after.sa_flags != before[i].sa_flags)
                          return 2;
                      if (sigismember(&after.sa_mask, SIGUSR2) != sigismember(&before[i].sa_mask, SIGUSR2)) return 3;
                  }
                  return calls == 0 ? 0 : 4;
              }));
}

TEST(FaultGuard, SignalMaskIsTheSameAfterwards) {
    EXPECT_EQ(0, InChild([] {
                  const Pages pages;
                  sigset_t blocked;
                  sigemptyset(&blocked);
                  sigaddset(&blocked, SIGUSR1);
                  sigprocmask(SIG_BLOCK, &blocked, nullptr);
                  Guarded([&] { Read(pages.none.Data()); });
                  sigset_t after;
                  sigprocmask(SIG_BLOCK, nullptr, &after);
                  if (sigismember(&after, SIGUSR1) != 1) return 1;
                  for (const int signal : kSignals) {
                      if (sigismember(&after, signal) != 0) return 2;
                  }
                  return 0;
              }));
}

/// While another thread is guarded, so that the guard's handlers are there.
template <class Work>
void WhileAnotherIsGuarded(Work work) {
    std::atomic<bool> inside = false;
    std::atomic<bool> done = false;
    std::thread other([&] {
        Guarded([&] {
            inside = true;
            while (!done) std::this_thread::yield();
        });
    });
    while (!inside) std::this_thread::yield();
    work();
    done = true;
    other.join();
}

TEST(FaultGuard, HandlersOfTheProgramSeeFaultsOutside) {
    EXPECT_EQ(0, InChild([] {
                  GuardedBuffer page(16);
                  InstallInformed(SIGSEGV, Repair);
                  repairable = page.Data();
                  int failures = 0;
                  WhileAnotherIsGuarded([&] {
                      for (int i = 1; i <= 3; ++i) {
                          page.MakeUnreadable();
                          Read(page.Data());
                          failures += calls != i || lastSignal != SIGSEGV || lastCode != SEGV_ACCERR;
                      }
                  });
                  page.MakeUnreadable();
                  Read(page.Data());
                  return failures != 0 ? 1 : calls == 4 ? 0 : 2;
              }));
}

TEST(FaultGuard, FaultsOutsideEndAProgramWithoutHandlers) {
    const auto fault = [] {
        InstallPlain(SIGSEGV, SIG_DFL);
        WhileAnotherIsGuarded([] { Read(nullptr); });
        return 0;
    };
    EXPECT_EQ(1000 + SIGSEGV, InChild(fault));
    EXPECT_EQ(1000 + SIGSEGV, InChild([] {
                  InstallPlain(SIGSEGV, SIG_IGN);
                  WhileAnotherIsGuarded([] { Read(nullptr); });
                  return 0;
              }))
        << "faults cannot be ignored";
    EXPECT_EQ(1000 + SIGFPE, InChild([] {
                  InstallPlain(SIGFPE, SIG_DFL);
                  WhileAnotherIsGuarded(DivideByZero);
                  return 0;
              }));
}

TEST(FaultGuard, SentSignalsGoToTheProgramsHandler) {
    EXPECT_EQ(0, InChild([] {
                  InstallInformed(SIGSEGV, Repair);
                  InstallPlain(SIGFPE, Count);
                  InstallPlain(SIGBUS, SIG_IGN);
                  repairable = nullptr;
                  volatile int steps = 0;
                  const bool whole = Guarded([&] {
                      raise(SIGSEGV);
                      if (calls == 1 && lastSignal == SIGSEGV && lastCode <= 0) steps = steps + 1;
                      kill(getpid(), SIGSEGV);
                      if (calls == 2) steps = steps + 1;
                      raise(SIGFPE);
                      if (calls == 3 && lastSignal == SIGFPE) steps = steps + 1;
                      raise(SIGBUS);
                      steps = steps + 1;
                      DivideByZero();
                      steps = steps + 100;
                  });
                  return whole ? 1 : steps != 4 ? 2 : 0;
              }));
    EXPECT_EQ(1000 + SIGBUS, InChild([] {
                  InstallPlain(SIGBUS, SIG_DFL);
                  Guarded([] {
                      raise(SIGBUS);
                      _exit(5);
                  });
                  return 6;
              }));
}

TEST(FaultGuard, HandlerThatCameInBetweenStays) {
    EXPECT_EQ(0, InChild([] {
                  const Pages pages;
                  repairable = nullptr;
                  if (!Guarded([] { InstallInformed(SIGSEGV, Repair); })) return 1;
                  if (ActionOf(SIGSEGV).sa_sigaction != Repair) return 2;
                  if (ActionOf(SIGBUS).sa_sigaction == Repair) return 3;
                  // Guards work with it, and leave it there.
                  if (Guarded([&] { Read(pages.none.Data()); })) return 4;
                  if (ActionOf(SIGSEGV).sa_sigaction != Repair) return 5;
                  return calls == 0 ? 0 : 6;
              }));
}

TEST(FaultGuard, ChildrenHaveTheirOwnGuardsAlone) {
    EXPECT_EQ(0, InChild([] {
                  const Pages pages;
                  repairable = nullptr;
                  InstallInformed(SIGSEGV, Repair);
                  const auto check = [&](bool stillGuarded) {
                      if ((ActionOf(SIGSEGV).sa_sigaction == Repair) == stillGuarded) return 1;
                      if (Guarded([&] { Read(pages.none.Data()); })) return 2;
                      return (ActionOf(SIGSEGV).sa_sigaction == Repair) == stillGuarded ? 3 : 0;
                  };
                  // The other thread's guard is not there any more.
                  int result = 9;
                  WhileAnotherIsGuarded([&] { result = InChild([&] { return check(false); }); });
                  if (result != 0) return result;
                  // Its own is.
                  Guarded([&] {
                      result = InChild([&] {
                          int inner = 0;
                          if (Guarded([&] {
                                  inner = check(true);
                                  Read(pages.none.Data());
                              })) {
                              return 4;
                          }
                          return inner;
                      });
                  });
                  if (result != 0) return 10 + result;
                  Guarded([&] { result = InChild([&] { return check(true); }); });
                  return ActionOf(SIGSEGV).sa_sigaction == Repair ? result : 20;
              }));
}

struct sigaction before;

/// Calls its predecessor, as a good handler does.
void Chain(int signal, siginfo_t* info, void* context) {
    calls = calls + 1;
    before.sa_sigaction(signal, info, context);
}

TEST(FaultGuard, HandlerInBetweenThatCallsTheGuards) {
    const auto prepare = [] {
        calls = 0;
        Guarded([] {
            before = ActionOf(SIGSEGV);
            InstallInformed(SIGSEGV, Chain);
        });
    };
    // A fault in a guard ends it, whichever handler comes first.
    EXPECT_EQ(0, InChild([&] {
                  const Pages pages;
                  prepare();
                  for (int i = 0; i < 3; ++i) {
                      if (Guarded([&] { Read(pages.none.Data()); })) return 1;
                  }
                  return 0;
              }));
    // Outside, both would call each other for ever.
    EXPECT_EQ(1000 + SIGSEGV, InChild([&] {
                  prepare();
                  WhileAnotherIsGuarded([] { Read(nullptr); });
                  return 1;
              }));
    EXPECT_EQ(1000 + SIGSEGV, InChild([&] {
                  InstallPlain(SIGSEGV, SIG_DFL);
                  prepare();
                  Read(nullptr);
                  return 1;
              }));
}

sigjmp_buf recovery;

void JumpOut(int, siginfo_t*, void*) {
    calls = calls + 1;
    siglongjmp(recovery, 1);
}

/// A fault that the handler before leaves by a jump, from `depth` frames further down.
[[gnu::noinline]] void FaultAndRecover(int depth) {
    volatile char frame[256];
    frame[0] = static_cast<char>(depth);
    if (depth > 0) {
        FaultAndRecover(depth - 1);
    } else if (sigsetjmp(recovery, 1) == 0) {
        Read(nullptr);
    }
    sink = frame[0];
}

TEST(FaultGuard, HandlerOfTheProgramMayJumpOutEachTime) {
    EXPECT_EQ(0, InChild([] {
                  InstallInformed(SIGSEGV, JumpOut);
                  WhileAnotherIsGuarded([] {
                      for (const int depth : {0, 0, 3, 10, 3, 0, 0, 30}) FaultAndRecover(depth);
                  });
                  return calls == 8 ? 0 : 1;
              }));
}

TEST(FaultGuard, OnAStackOfItsOwn) {
    EXPECT_EQ(0, InChild([] {
                  static char room[1 << 16];
                  stack_t stack = {};
                  stack.ss_sp = room;
                  stack.ss_size = sizeof room;
                  if (sigaltstack(&stack, nullptr) != 0) return 1;
                  InstallInformed(SIGSEGV, JumpOut, SA_ONSTACK);
                  const Pages pages;
                  for (int i = 0; i < 5; ++i) {
                      if (Guarded([&] { Read(pages.none.Data()); })) return 2;
                  }
                  WhileAnotherIsGuarded([] {
                      for (const int depth : {0, 0, 3, 10, 0}) FaultAndRecover(depth);
                  });
                  return calls == 5 ? 0 : 3;
              }));
}

#endif

}  // namespace
}  // namespace zv::test
