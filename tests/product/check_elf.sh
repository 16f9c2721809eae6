#!/usr/bin/env bash
# Usage: check_elf.sh LIBRARY [EXTRA-NEEDED-REGEX]
# Dynamic section of the shared library: name, needed libraries, and nothing that would pin it in a process.
set -euo pipefail
export LC_ALL=C
library=$1
allowed="libstdc\+\+\.so\.6|libm\.so\.6|libgcc_s\.so\.1|libc\.so\.6|ld-linux-x86-64\.so\.2${2:+|$2}"
failed=0
fail() {
    echo "$library: $*"
    failed=1
}

dynamic=$(readelf --dynamic --wide "$library")
symbols=$(readelf --symbols --wide "$library")
versions=$(readelf --version-info --wide "$library")
segments=$(readelf --program-headers --wide "$library")

grep -q 'SONAME.*\[libzvclr\.so\.1\]' <<<"$dynamic" || fail 'SONAME is not libzvclr.so.1'
grep -q 'Name: ZVCLR_1$' <<<"$versions" || fail 'version ZVCLR_1 is not defined'

needed=$(sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' <<<"$dynamic")
[ -n "$needed" ] || fail 'no needed library found: the output of readelf was not understood'
while read -r name; do
    grep -qxE "$allowed" <<<"$name" || fail "needs $name"
done <<<"$needed"

# Unique symbols and NODELETE keep a library mapped after dlclose.
if grep -w UNIQUE <<<"$symbols"; then fail 'has unique symbols'; fi
if grep -w NODELETE <<<"$dynamic"; then fail 'is marked NODELETE'; fi
if grep -w TEXTREL <<<"$dynamic"; then fail 'has text relocations'; fi
grep -qE 'GNU_STACK.* RW  ' <<<"$segments" || fail 'asks for an executable stack'
exit $failed
