// Records of the caller, read, and copies of them that the converter owns.
#pragma once

#include "host/host.h"

namespace zv {

/// The name that the frame's allocations carry.
inline constexpr ZvChar kFrameSource[] = ZV_WIDE("Common\\zvclr");

/// Not cleared.
template <class T>
T* AllocRecord(int32_t line = __builtin_LINE()) noexcept {
    return static_cast<T*>(HostAlloc(sizeof(T), 1, line, kFrameSource));
}

/// Null does nothing. The pointer becomes null: nothing is read or freed twice.
template <class T>
void FreeRecord(T*& record, int32_t line = __builtin_LINE()) noexcept {
    if (record == nullptr) return;
    HostFree(record, line, kFrameSource);
    record = nullptr;
}

/// A copy of a caller's record, which may lie at any address; false if it cannot be read.
template <class T>
bool ReadRecord(const T* record, T* copy) noexcept {
    if (IsBadReadPtr(record, sizeof(T))) return false;
    HostCopy(copy, record, sizeof(T));
    return true;
}

}  // namespace zv
