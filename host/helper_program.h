// Programs that are installed with the library and do for it what it must not do in its callers' processes.
#pragma once

#include <cstddef>

/// Runs a program to its end and takes its reply: true if it gave exactly `size` bytes.
///
/// The program stands where the installation put it, as seen from the library's own file, or below the prefix of the
/// build. It gets the arguments, which end with a null, and then "--reply-to" and the number of the descriptor that it
/// writes to; the descriptor reads as ended when this process is gone. It gets no other descriptor but 0, 1 and 2,
/// which are /dev/null where this process has closed them.
bool ZvRunHelper(const char* program, const char* const* arguments, void* reply, size_t size) noexcept;
