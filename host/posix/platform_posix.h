// The platform's calls for POSIX systems: same names, arguments and meaning as on Windows, as far as the library uses
// them. File names are UTF-16 on the interface and UTF-8 for the system.
#pragma once

#include <pthread.h>

#include <cstddef>
#include <cstdint>

#include "zvclr.h"

using BOOL = int;
using DWORD = uint32_t;
using LONG = int32_t;
using HANDLE = void*;
using HMODULE = void*;
using HGLOBAL = void*;
using LPCWSTR = const ZvChar*;

#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(static_cast<intptr_t>(-1)))
#define MAKEINTRESOURCEW(id) (reinterpret_cast<LPCWSTR>(static_cast<uintptr_t>(static_cast<uint16_t>(id))))
#define IS_INTRESOURCE(name) ((reinterpret_cast<uintptr_t>(name) >> 16) == 0)

inline constexpr BOOL TRUE = 1;
inline constexpr BOOL FALSE = 0;

inline constexpr DWORD GENERIC_READ = 0x80000000U;
inline constexpr DWORD GENERIC_WRITE = 0x40000000U;
inline constexpr DWORD FILE_SHARE_READ = 1;
inline constexpr DWORD FILE_SHARE_WRITE = 2;
inline constexpr DWORD FILE_SHARE_DELETE = 4;
inline constexpr DWORD CREATE_NEW = 1;
inline constexpr DWORD CREATE_ALWAYS = 2;
inline constexpr DWORD OPEN_EXISTING = 3;
inline constexpr DWORD OPEN_ALWAYS = 4;
inline constexpr DWORD TRUNCATE_EXISTING = 5;
inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;
inline constexpr DWORD FILE_BEGIN = 0;
inline constexpr DWORD FILE_CURRENT = 1;
inline constexpr DWORD FILE_END = 2;
inline constexpr DWORD INVALID_SET_FILE_POINTER = 0xFFFFFFFFU;

inline constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
inline constexpr DWORD ERROR_PATH_NOT_FOUND = 3;
inline constexpr DWORD ERROR_ACCESS_DENIED = 5;
inline constexpr DWORD ERROR_INVALID_HANDLE = 6;
inline constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;
inline constexpr DWORD ERROR_GEN_FAILURE = 31;
inline constexpr DWORD ERROR_HANDLE_EOF = 38;
inline constexpr DWORD ERROR_FILE_EXISTS = 80;
inline constexpr DWORD ERROR_INVALID_PARAMETER = 87;
inline constexpr DWORD ERROR_DISK_FULL = 112;
inline constexpr DWORD ERROR_NEGATIVE_SEEK = 131;
inline constexpr DWORD ERROR_UNABLE_TO_MOVE_REPLACEMENT = 1176;
inline constexpr DWORD ERROR_UNABLE_TO_MOVE_REPLACEMENT_2 = 1177;
inline constexpr DWORD ERROR_RESOURCE_DATA_NOT_FOUND = 1812;
inline constexpr DWORD ERROR_RESOURCE_TYPE_NOT_FOUND = 1813;
inline constexpr DWORD ERROR_RESOURCE_NAME_NOT_FOUND = 1814;
inline constexpr DWORD ERROR_COLORSPACE_MISMATCH = 2021;

// Memory probes: nonzero if any byte of the region cannot be read (written). They never fault and raise no signal.
BOOL IsBadReadPtr(const void* address, size_t size) noexcept;
BOOL IsBadWritePtr(void* address, size_t size) noexcept;

DWORD GetCurrentThreadId() noexcept;
DWORD GetLastError() noexcept;
void SetLastError(DWORD error) noexcept;

// Resources of a module. A null module means the library itself.
using HRSRC = const ZvModuleResource*;
HRSRC FindResourceW(HMODULE module, LPCWSTR name, LPCWSTR type) noexcept;
HGLOBAL LoadResource(HMODULE module, HRSRC resource) noexcept;
DWORD SizeofResource(HMODULE module, HRSRC resource) noexcept;
void* LockResource(HGLOBAL block) noexcept;

// Files.
struct WIN32_FIND_DATAW {
    DWORD dwFileAttributes;
};
struct SECURITY_ATTRIBUTES;
struct OVERLAPPED;
HANDLE CreateFileW(LPCWSTR name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security, DWORD disposition,
                   DWORD flags, HANDLE templateFile) noexcept;
BOOL CloseHandle(HANDLE handle) noexcept;
BOOL ReadFile(HANDLE handle, void* buffer, DWORD count, DWORD* done, OVERLAPPED* overlapped) noexcept;
BOOL WriteFile(HANDLE handle, const void* buffer, DWORD count, DWORD* done, OVERLAPPED* overlapped) noexcept;
DWORD SetFilePointer(HANDLE handle, LONG low, LONG* high, DWORD origin) noexcept;
BOOL FlushFileBuffers(HANDLE handle) noexcept;
BOOL DeleteFileW(LPCWSTR name) noexcept;
/// In one step: whoever opens `replaced` finds the old file or the new one. The new one gets the old one's rights; the
/// old one stays under `backup` unless that is null. Both must lie in one file system.
BOOL ReplaceFileW(LPCWSTR replaced, LPCWSTR replacement, LPCWSTR backup, DWORD flags, void* exclude,
                  void* reserved) noexcept;
inline constexpr DWORD FILE_TYPE_UNKNOWN = 0;
inline constexpr DWORD FILE_TYPE_DISK = 1;
inline constexpr DWORD FILE_TYPE_CHAR = 2;
inline constexpr DWORD FILE_TYPE_PIPE = 3;
DWORD GetFileType(HANDLE handle) noexcept;
HANDLE FindFirstFileW(LPCWSTR name, WIN32_FIND_DATAW* data) noexcept;
BOOL FindClose(HANDLE search) noexcept;

// Critical sections: recursive, for the threads of this process.
struct CRITICAL_SECTION {
    alignas(void*) unsigned char storage[64];
};
void InitializeCriticalSection(CRITICAL_SECTION* section) noexcept;
void EnterCriticalSection(CRITICAL_SECTION* section) noexcept;
void LeaveCriticalSection(CRITICAL_SECTION* section) noexcept;
void DeleteCriticalSection(CRITICAL_SECTION* section) noexcept;

// Locks that stand without a constructor.
using SRWLOCK = pthread_mutex_t;
#define SRWLOCK_INIT PTHREAD_MUTEX_INITIALIZER
inline void AcquireSRWLockExclusive(SRWLOCK* lock) noexcept { pthread_mutex_lock(lock); }
inline void ReleaseSRWLockExclusive(SRWLOCK* lock) noexcept { pthread_mutex_unlock(lock); }
