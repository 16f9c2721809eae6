#!/usr/bin/env bash
# Usage: check_declared.sh LIST HEADER...
# Every function that the headers declare for export is on the list, and the other way round.
set -euo pipefail
export LC_ALL=C
list=$1
shift

declared=$(grep -oP '^ZVCLR_API\s+\w+\s+\**\K\w+(?=\()' -h "$@" | sort)
if ! difference=$(diff <(sort "$list") <(echo "$declared")); then
    printf 'functions of %s (< not declared, > not on the list):\n%s\n' "$*" "$difference"
    exit 1
fi
