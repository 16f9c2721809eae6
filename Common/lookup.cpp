#include "Common/lookup.h"

namespace zv {

namespace {

// Constant-initialised: the library works before its own constructors have run.
constinit HMODULE resourceModule = nullptr;

}  // namespace

int32_t ClrFileExists(const ZvChar* path) noexcept {
    WIN32_FIND_DATAW data;
    const HANDLE search = FindFirstFileW(path, &data);
    if (search == INVALID_HANDLE_VALUE) return 0;
    FindClose(search);
    return 1;
}

ClrResource FindClrResource(const ZvChar* type, uint16_t id) noexcept {
    const HRSRC found = FindResourceW(resourceModule, MAKEINTRESOURCEW(id), type);
    if (found == nullptr) return {nullptr, 0};
    const HGLOBAL loaded = LoadResource(resourceModule, found);
    const void* data = loaded == nullptr ? nullptr : LockResource(loaded);
    if (data == nullptr) return {nullptr, 0};
    return {static_cast<const uint8_t*>(data), SizeofResource(resourceModule, found)};
}

void* ClrResourceModule() noexcept { return resourceModule; }

void SetClrResourceModule(void* module) noexcept { resourceModule = static_cast<HMODULE>(module); }

}  // namespace zv

void SetResModule(void* module) { zv::SetClrResourceModule(module); }
