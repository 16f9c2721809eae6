#include "Common/lookup.h"

namespace zv {

int32_t ClrFileExists(const ZvChar* path) noexcept {
    WIN32_FIND_DATAW data;
    const HANDLE search = FindFirstFileW(path, &data);
    if (search == INVALID_HANDLE_VALUE) return 0;
    FindClose(search);
    return 1;
}

ClrResource FindClrResource(const ZvChar* type, uint16_t id) noexcept {
    const auto module = static_cast<HMODULE>(ClrResourceModule());
    const HRSRC found = FindResourceW(module, MAKEINTRESOURCEW(id), type);
    if (found == nullptr) return {nullptr, 0};
    const HGLOBAL loaded = LoadResource(module, found);
    const void* data = loaded == nullptr ? nullptr : LockResource(loaded);
    if (data == nullptr) return {nullptr, 0};
    return {static_cast<const uint8_t*>(data), SizeofResource(module, found)};
}

}  // namespace zv
