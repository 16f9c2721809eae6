// The narrow encoding of the system.
#pragma once

#include <cstddef>

#include "zvclr.h"

/// Zero-ended in, zero-ended out. False if it does not fit into `count` units or cannot be converted.
bool ZvWideFromAnsi(const char* source, ZvChar* destination, size_t count) noexcept;
bool ZvAnsiFromWide(const ZvChar* source, char* destination, size_t count) noexcept;
