// The loader's notifications: attach when the library is loaded, detach when it is unloaded or the process ends.
#include "host/entry.h"

#include <pthread.h>

#include "host/platform.h"

// Early among the priorities that programs may use, so that constructors of a program that links the static library
// come later and its destructors earlier. The library itself is the null module: its blocks are compiled in.
__attribute__((constructor(102))) static void LibraryLoaded() {
    ClrProcessAttach(nullptr);
    pthread_atfork(ClrBeforeFork, ClrAfterFork, ClrAfterFork);
}

__attribute__((destructor(102))) static void LibraryUnloaded() { ClrProcessDetach(); }

void ZvEntryPresent() noexcept {}
