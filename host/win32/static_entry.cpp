// The static library has no entry point: a DLL that links it has one of its own, and a program's end takes all back.
#include "host/entry.h"

void ZvEntryPresent() noexcept {}
