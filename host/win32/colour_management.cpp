// The system's mscms.dll, loaded when it is first asked for: only conversions by the caller's profiles need it.
#include "host/colour_management.h"

namespace {

constinit const ZvColourManagement* replacement = nullptr;
constinit ZvColourManagement systemCalls = {};
constinit INIT_ONCE loaded = INIT_ONCE_STATIC_INIT;

template <class Function>
bool Find(HMODULE module, const char* name, Function*& function) noexcept {
    function = reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(module, name)));
    return function != nullptr;
}

// The module stays loaded: it cannot be released safely when this library goes.
BOOL CALLBACK Load(INIT_ONCE*, void*, void**) noexcept {
    const HMODULE module = LoadLibraryExW(L"mscms.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    if (module == nullptr) return TRUE;
    ZvColourManagement found = {};
    if (Find(module, "OpenColorProfileW", found.OpenColorProfileW) &&
        Find(module, "CloseColorProfile", found.CloseColorProfile) &&
        Find(module, "CreateMultiProfileTransform", found.CreateMultiProfileTransform) &&
        Find(module, "TranslateBitmapBits", found.TranslateBitmapBits) &&
        Find(module, "DeleteColorTransform", found.DeleteColorTransform)) {
        systemCalls = found;
    }
    return TRUE;
}

}  // namespace

const ZvColourManagement& ZvPlatformColours() noexcept {
    if (replacement != nullptr) return *replacement;
    InitOnceExecuteOnce(&loaded, Load, nullptr, nullptr);
    return systemCalls;
}

void ZvReplacePlatformColours(const ZvColourManagement* calls) noexcept { replacement = calls; }
