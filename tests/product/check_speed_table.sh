#!/usr/bin/env bash
# Usage: check_speed_table.sh SOURCE-DIR
# The speed table comes out of recorded results as it should, and the one in the documents has a row for every kernel.
set -euo pipefail
export LC_ALL=C
source=$1
here=$source/tests/product/speed

# Its first lines tell the machine that it runs on.
table=$(python3 "$source/bench/speed_report.py" unused --json "$here/results.json" | tail -n +4)
if ! difference=$(diff "$here/table.md" <(echo "$table")); then
    printf 'the table of %s (< wanted, > written):\n%s\n' "$here/results.json" "$difference"
    exit 1
fi

# The one kernel without rows of an instruction set is not measured.
kernels=$(grep -oP '\bClr\w*?(FromHub|ToHub|HubSwap|ToYcck|ToCmyk|HubToLab)(?=[()])' \
    "$source/Common/kernels/kernels.h" | grep -vx ClrYuvParamsToHub | sort -u)
[ "$(echo "$kernels" | wc -l)" -gt 30 ] || { echo 'hardly any kernel is declared'; exit 1; }
missing=0
for kernel in $kernels; do
    if ! grep -qE "^\| \`$kernel(Common)?\` \|" "$source/docs/speed.md"; then
        echo "docs/speed.md has no row for $kernel"
        missing=1
    fi
done
exit $missing
