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
# Wine now and then loses a program before it starts. One that has said nothing and failed is started once more.
if [ "$status" -ne 0 ] && [ ! -s "$output" ]; then
    echo "wine gave status $status and no output; starting once more" >&2
    "$ZVCLR_WINE" "$@" >"$output" 2>&1 </dev/null
    status=$?
fi
tr -d '\r' <"$output"
exit $status
