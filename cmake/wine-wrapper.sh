#!/bin/sh
# Runs a Windows program: cmake and ctest call this in front of each. `--prepare` only makes wine's prefix.
# Output goes through a file, since wine's helper processes would hold a pipe open long after the program ended.
root=$(cd "$(dirname "$0")/.." && pwd) || exit 99
# shellcheck source=scripts/wine-env.sh
. "$root/scripts/wine-env.sh"
zvclr_wine_prepare || exit 99
[ "$1" = --prepare ] && exit 0
output=$(mktemp) || exit 99
trap 'rm -f "$output"' EXIT
"$ZVCLR_WINE" "$@" >"$output" 2>&1 </dev/null
status=$?
# One start in some thousands wine loses within 10 ms, before the program's own code. Our test programs announce
# themselves with their first act, so silence tells that none of their tests ran; only then, and once, start again.
case ${1##*/} in
    *_tests.exe)
        if [ "$status" -ne 0 ] && [ ! -s "$output" ]; then
            echo "wine lost the program before its first line (status $status); starting it again" >&2
            "$ZVCLR_WINE" "$@" >"$output" 2>&1 </dev/null
            status=$?
        fi
        ;;
esac
tr -d '\r' <"$output"
exit $status
