#!/usr/bin/env bash
# Usage: check_exports.sh elf|pe LIBRARY LIST
# The library exports the functions of the list and nothing else; on ELF all of them under version ZVCLR_1.
set -euo pipefail
export LC_ALL=C
format=$1 library=$2 list=$3

case $format in
elf)
    expected=$(sed 's/.*/T &@@ZVCLR_1/' "$list" | sort)
    actual=$(nm -D --defined-only --with-symbol-versions "$library" | awk '$2 != "A" {print $2, $3}' | sort)
    ;;
pe)
    expected=$(sort "$list")
    actual=$(x86_64-w64-mingw32-objdump -p "$library" |
        awk '/^\[Ordinal\/Name Pointer\] Table/ {inside = 1; next} NF == 0 {inside = 0} inside {print $NF}' | sort)
    ;;
*)
    echo "unknown format $format" >&2
    exit 2
    ;;
esac

if ! difference=$(diff <(echo "$expected") <(echo "$actual")); then
    printf 'exports of %s (< missing, > not in the contract):\n%s\n' "$library" "$difference"
    exit 1
fi
echo "$(wc -l <"$list") exported functions, no others"
