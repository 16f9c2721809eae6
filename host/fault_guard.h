// A guard against faults of the machine: bad addresses, files that vanish below a mapping, undefined instructions.
#pragma once

/// Runs `work` on this thread. False if a fault cut it short: it stops where it is, and destructors of what it was
/// doing do not run. Faults of threads without a guard go to the handlers that were there before. Guards may be
/// nested. On Windows a guard comes before handlers of frames inside `work`.
bool ZvRunGuarded(void (*work)(void* context), void* context) noexcept;
