#include <dlfcn.h>

#include "host/platform.h"
#include "resources/resources.h"

namespace {

const ZvModuleResource* ResourcesOf(HMODULE module) noexcept {
    if (module == nullptr) return zvclrOwnResources;
    return static_cast<const ZvModuleResource*>(dlsym(module, "zvclr_module_resources"));
}

/// Type names compare without regard to case, as on Windows.
bool SameType(LPCWSTR a, LPCWSTR b) noexcept {
    const auto upper = [](ZvChar c) { return c >= u'a' && c <= u'z' ? static_cast<ZvChar>(c - u'a' + u'A') : c; };
    for (; upper(*a) == upper(*b); ++a, ++b) {
        if (*a == 0) return true;
    }
    return false;
}

}  // namespace

HRSRC FindResourceW(HMODULE module, LPCWSTR name, LPCWSTR type) noexcept {
    const ZvModuleResource* entry = ResourcesOf(module);
    if (entry == nullptr) {
        SetLastError(ERROR_RESOURCE_DATA_NOT_FOUND);
        return nullptr;
    }
    bool typeFound = false;
    for (; entry->type != nullptr; ++entry) {
        if (IS_INTRESOURCE(type) || !SameType(entry->type, type)) continue;
        typeFound = true;
        if (IS_INTRESOURCE(name) && entry->id == reinterpret_cast<uintptr_t>(name)) return entry;
    }
    SetLastError(typeFound ? ERROR_RESOURCE_NAME_NOT_FOUND : ERROR_RESOURCE_TYPE_NOT_FOUND);
    return nullptr;
}

HGLOBAL LoadResource(HMODULE, HRSRC resource) noexcept {
    return resource == nullptr ? nullptr : const_cast<void*>(resource->data);
}

DWORD SizeofResource(HMODULE, HRSRC resource) noexcept { return resource == nullptr ? 0 : resource->size; }

void* LockResource(HGLOBAL block) noexcept { return block; }
