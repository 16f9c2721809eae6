#include "Common/zvclr/frame.h"

namespace zv {

int32_t ClrFileExists(const ZvChar* path) noexcept {
    WIN32_FIND_DATAW data;
    const HANDLE search = FindFirstFileW(path, &data);
    if (search == INVALID_HANDLE_VALUE) return 0;
    FindClose(search);
    return 1;
}

}  // namespace zv
