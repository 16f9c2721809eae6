// The platform's dialog calls, under their own names on every system. Windows has them; elsewhere a program that shows
// windows brings them, and the library itself never calls one.
#pragma once

#include "host/platform.h"

#ifdef _WIN32
#    include <commctrl.h>
#    include <commdlg.h>
#else
#    include "host/posix/dialogs_posix.h"
#endif
