#!/usr/bin/env bash
# Usage: check_installed_tool.sh PREFIX LIBDIR VERSION
# The tool runs from where the package was moved to, with the library that lies beside it.
set -euo pipefail
tool=$1/bin/zvclr library=$1/$2/libzvclr.so.1 version=$3
unset LD_LIBRARY_PATH

said=$("$tool" --version)
grep -qwF "$version" <<<"$said" || { echo "--version says: $said"; exit 1; }
loaded=$(ldd "$tool" | awk '$1 == "libzvclr.so.1" {print $3}')
if [ "$(realpath "${loaded:-none}")" != "$(realpath "$library")" ]; then
    echo "loads ${loaded:-no library}"
    exit 1
fi
"$tool" spaces >/dev/null
