#!/bin/sh
# Runs a Windows program: cmake and ctest call this in front of each.
# Output goes through a file, since wine's helper processes would hold a pipe open long after the program ended.
root=$(cd "$(dirname "$0")/.." && pwd) || exit 99
# shellcheck source=scripts/wine-env.sh
. "$root/scripts/wine-env.sh"
zvclr_wine_prepare || exit 99
output=$(mktemp) || exit 99
trap 'rm -f "$output"' EXIT
"$ZVCLR_WINE" "$@" >"$output" 2>&1 </dev/null
status=$?
tr -d '\r' <"$output"
exit $status
