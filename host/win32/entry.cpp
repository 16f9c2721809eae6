#include "host/entry.h"

#include "host/platform.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID reserved) {
    if (reason == DLL_PROCESS_ATTACH) ClrProcessAttach(module);
    // At process exit (reserved not null) other threads are gone, perhaps with the heap's lock in hand: the system
    // takes the memory back.
    if (reason == DLL_PROCESS_DETACH && reserved == nullptr) ClrProcessDetach();
    return TRUE;
}

void ZvEntryPresent() noexcept {}
