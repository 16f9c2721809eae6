// The loader's notifications: attach when the library is loaded, detach when it is unloaded or the process ends.
#include "host/entry.h"

#include "host/platform.h"

// The library itself is the null module: its blocks are compiled in.
__attribute__((constructor)) static void LibraryLoaded() { ClrProcessAttach(nullptr); }

__attribute__((destructor)) static void LibraryUnloaded() { ClrProcessDetach(); }

void ZvEntryPresent() noexcept {}
