#!/usr/bin/env bash
# Usage: check_portable_rows.sh COMPILER SOURCE-DIR
# The rows compile without the instructions of any processor, as they must for others than x86.
set -euo pipefail
compiler=$1 source=$2
count=0
for file in "$source"/Common/kernels/rows/*.cpp "$source"/Common/Zvtrans/rows/*.cpp; do
    "$compiler" -std=c++20 -I"$source" -I"$source/include" -DZVCLR_STATIC -DZV_ISA=portable -DZV_ISA_LEVEL=0 -DZV_X86=0 \
        -O0 -ffp-contract=off -Wall -Wextra -Wshadow -Wconversion -Wsign-conversion -Werror -c "$file" -o /dev/null
    count=$((count + 1))
done
[ $count -ge 10 ] || { echo "only $count row sources in $source"; exit 1; }
