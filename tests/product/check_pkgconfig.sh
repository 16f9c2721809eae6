#!/usr/bin/env bash
# Usage: check_pkgconfig.sh shared|static PREFIX LIBDIR WORK CONSUMER COMPILER SYSTEM [EMULATOR]
# Builds and runs a consumer by what pkg-config says of the installed package. FLAGS may hold sanitizer flags.
set -euo pipefail
kind=$1 prefix=$2 libdir=$3 work=$4 consumer=$5 compiler=$6 system=$7 emulator=${8:-}
rm -rf "$work"
mkdir -p "$work"

cp -a "$prefix" "$work/prefix"
options=()
if [ "$kind" = static ]; then
    # The linker prefers the shared library where both are.
    rm -f "$work/prefix/$libdir/"libzvclr.so* "$work/prefix/$libdir/libzvclr.dll.a"
    options=(--static)
fi
export PKG_CONFIG_LIBDIR=$work/prefix/$libdir/pkgconfig PKG_CONFIG_PATH=
[ "$(pkg-config --modversion zvclr)" = "$EXPECTED_VERSION" ]
read -ra flags <<<"$(pkg-config "${options[@]}" --cflags --libs zvclr) ${FLAGS:-}"
if [ "$system" = windows ]; then
    flags+=(-static-libgcc)
    if [ "$kind" = static ]; then flags+=(-static); fi
fi

"$compiler" -std=c99 -Wall -Wextra -Werror "-DEXPECTED_VERSION=\"$EXPECTED_VERSION\"" "$consumer" -o "$work/consumer.exe" \
    "${flags[@]}"
if [ "$system" = windows ]; then
    if [ "$kind" = shared ]; then cp "$work/prefix/bin/zvclr.dll" "$work"; fi
    "$emulator" "$work/consumer.exe"
else
    LD_LIBRARY_PATH=$work/prefix/$libdir "$work/consumer.exe"
    linked=$(ldd "$work/consumer.exe")
    found=static
    if grep -q 'libzvclr\.so\.1' <<<"$linked"; then found=shared; fi
    [ "$found" = "$kind" ] || { echo "the program is linked $found"; exit 1; }
fi
