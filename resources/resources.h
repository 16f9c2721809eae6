// The data blocks that the library carries: built-in profiles ("ICM") and emulation tables ("ET").
#pragma once

#include "zvclr.h"

#ifndef _WIN32
/// Ends with an entry whose type is null.
extern const ZvModuleResource zvclrOwnResources[];
#endif
