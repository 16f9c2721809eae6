#include "host/entry.h"

#include "host/platform.h"

// The C++ library's reserve for exceptions, which nobody else gives back when a DLL that carries its own copy goes.
namespace __gnu_cxx {
void __freeres();
}

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID reserved) {
    if (reason == DLL_PROCESS_ATTACH) ClrProcessAttach(module);
    // At process exit (reserved not null) other threads are gone, perhaps with the heap's lock in hand: the system
    // takes the memory back.
    if (reason == DLL_PROCESS_DETACH && reserved == nullptr) {
        ClrProcessDetach();
        __gnu_cxx::__freeres();
    }
    return TRUE;
}

void ZvEntryPresent() noexcept {}
