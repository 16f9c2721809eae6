#!/usr/bin/env bash
# Usage: check_no_fma.sh OBJDUMP LIBRARY
# No fused multiply-add stands in the code: its single rounding changes bytes.
set -euo pipefail
export LC_ALL=C
code=$("$1" -d --no-show-raw-insn "$2")
[ "$(wc -l <<<"$code")" -gt 100 ] || { echo "no code found in $2"; exit 1; }
if grep -m 5 -E '\svfn?m(add|sub|addsub|subadd)[0-9]' <<<"$code"; then
    echo "$2 holds fused multiply-adds"
    exit 1
fi
