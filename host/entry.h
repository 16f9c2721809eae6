// What the module's entry point tells the library. The library's own state needs no constructor: every function works
// before the first notification too.
#pragma once

/// Process attach. `module` is where resources are looked up; null means the library itself.
void ClrProcessAttach(void* module) noexcept;

/// Process detach: the last one releases the converters that are still alive.
void ClrProcessDetach() noexcept;

/// Around a fork, so that the child does not inherit the process-wide lock in the hands of a thread that it lacks.
void ClrBeforeFork() noexcept;
void ClrAfterFork() noexcept;

/// Pulls the entry point's object file out of the static library.
void ZvEntryPresent() noexcept;
