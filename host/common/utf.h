// UTF-16 of the interface and UTF-8 of POSIX systems.
#pragma once

#include <cstddef>

#include "zvclr.h"

/// Writes `source` (zero-ended UTF-16) as zero-ended UTF-8. Returns false if it does not fit or is not well-formed.
bool ZvUtf8FromUtf16(const ZvChar* source, char* destination, size_t count) noexcept;

/// Writes `source` (zero-ended UTF-8) as zero-ended UTF-16. Returns false if it does not fit or is not well-formed.
bool ZvUtf16FromUtf8(const char* source, ZvChar* destination, size_t count) noexcept;
