#!/usr/bin/env bash
# Usage: check_declared.sh HEADER LIST
# Every function that the header declares for export is on the list, and the other way round.
set -euo pipefail
export LC_ALL=C
header=$1 list=$2

declared=$(grep -oP '^ZVCLR_API\s+\w+\s+\**\K\w+(?=\()' "$header" | sort)
if ! difference=$(diff <(sort "$list") <(echo "$declared")); then
    printf 'functions of %s (< not declared, > not on the list):\n%s\n' "$header" "$difference"
    exit 1
fi
