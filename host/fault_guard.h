// A guard against faults of the machine: bad addresses, files that vanish below a mapping, undefined instructions.
#pragma once

/// Runs `work` on this thread. False if a fault cut it short: it stops where it is, and destructors of what it was
/// doing do not run. Faults of other threads, and earlier handlers of this one's, are let alone. Guards may be nested.
bool ZvRunGuarded(void (*work)(void* context), void* context) noexcept;
