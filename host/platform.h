// Platform calls, under their own names on every system. Windows has them; elsewhere this layer
// implements those that the library needs, with the same meaning.
#pragma once

#ifdef _WIN32
#    ifndef WIN32_LEAN_AND_MEAN
#        define WIN32_LEAN_AND_MEAN
#    endif
#    ifndef NOMINMAX
#        define NOMINMAX
#    endif
#    include <windows.h>
#    define ZV_WIDE(text) L##text
// The system's own probes read and write back a byte of every page, which loses what another thread writes there, and
// use up guard pages. These ask the memory manager and touch nothing.
BOOL ZvIsBadReadPtr(const void* address, size_t size) noexcept;
BOOL ZvIsBadWritePtr(void* address, size_t size) noexcept;
#    define IsBadReadPtr ZvIsBadReadPtr
#    define IsBadWritePtr ZvIsBadWritePtr
#else
#    include "host/posix/platform_posix.h"
#    define ZV_WIDE(text) u##text
#endif

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "zvclr.h"

static_assert(std::endian::native == std::endian::little, "records and tables are laid out for little-endian machines");

/// Whether loads from a region succeed. It costs less than IsBadReadPtr for a few pages, and it does not care whether a
/// mapping permits reading where the processor cannot forbid it: in pages that may be written, but not read.
bool ZvCanLoad(const void* address, size_t size) noexcept;

/// Copies `count` bytes of this process from `source` to `destination` without faulting or being seen by memory
/// checkers: for a look at memory that may not be what the caller says. Returns false if not all could be read.
bool ZvPeekMemory(void* destination, const void* source, size_t count) noexcept;

/// Has a function called in each child that this process forks; on systems without forks it does nothing. Returns true.
bool ZvAfterForkInChild(void (*function)()) noexcept;

/// fopen for wide names.
std::FILE* ZvOpenStream(const ZvChar* name, const char* mode) noexcept;

/// The name of the file that a name leads to, past symbolic links, and how many of its characters are the folder's, the
/// separator included: a file there can replace it. False if the name does not fit or there is no such file.
bool ZvFinalName(const ZvChar* name, ZvChar* buffer, size_t count, size_t* folderLength) noexcept;
