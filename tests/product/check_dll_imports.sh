#!/usr/bin/env bash
# Usage: check_dll_imports.sh DLL
# The DLL asks for DLLs of the system only: no compiler runtime has to travel with it. The system's colour management
# (mscms.dll) is none of them: it is loaded when a conversion wants it.
set -euo pipefail
export LC_ALL=C
imports=$(x86_64-w64-mingw32-objdump -p "$1" | sed -n 's/.*DLL Name: //p')
[ -n "$imports" ] || { echo "$1: no imports found: the output of objdump was not understood"; exit 1; }
foreign=$(grep -viE '^(kernel32|msvcrt|ucrtbase|api-ms-win-.*|user32|gdi32|advapi32|comdlg32|comctl32|shell32)\.dll$' \
    <<<"$imports" || true)
[ -z "$foreign" ] || { echo "$1 imports from $foreign"; exit 1; }
