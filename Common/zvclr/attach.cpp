// What happens when the library is loaded and unloaded.
#include "Common/lookup.h"
#include "Common/zvclr/frame.h"
#include "host/entry.h"
#include "host/platform.h"

namespace zv {

namespace {

// Constant-initialised: the library works before its own constructors have run.
constinit int32_t attachCount = 0;
constinit bool guardReady = false;
CRITICAL_SECTION guard;

}  // namespace

}  // namespace zv

using namespace zv;

// ClrGlobalYcckTables and ClrGcrSquares are constants of the program: there is nothing to fill at attach.
void ClrProcessAttach(void* module) noexcept {
    // The first attach of the library as its own module finds it in force, or what a constructor before it has chosen.
    if (module != nullptr || attachCount > 0) SetClrResourceModule(module);
    // The loader serialises attach and detach; only a second attach finds the guard in use.
    if (!guardReady) {
        InitializeCriticalSection(&guard);
        guardReady = true;
    }
    EnterCriticalSection(&guard);
    ++attachCount;
    LeaveCriticalSection(&guard);
}

void ClrProcessDetach() noexcept {
    if (!guardReady) return;
    EnterCriticalSection(&guard);
    --attachCount;
    const bool last = attachCount < 1;
    if (last) ReleaseAllConverters();
    LeaveCriticalSection(&guard);
    if (last) {
        DeleteCriticalSection(&guard);
        guardReady = false;
    }
}
