#!/usr/bin/env bash
# Usage: check_installed_files.sh PREFIX LIBDIR LIST BUILD_TYPE STAGE PART...
# The files of the installed package are those of the list: the lines of each PART that was built.
set -euo pipefail
export LC_ALL=C
prefix=$1 libdir=$2 list=$3 build_type=${4,,} stage=$5
parts=" ${*:6} "

expected=$(awk -v parts="$parts" 'index(parts, " " $1 " ") {print $2}' "$list" | sed "s,@BUILD_TYPE@,$build_type," | sort)
actual=$(cd "$prefix" && find . ! -type d | sed "s,^\./,,; s,^$libdir/,lib/," | sort)
if ! difference=$(diff <(echo "$expected") <(echo "$actual")); then
    printf 'files of the package (< missing, > unexpected):\n%s\n' "$difference"
    exit 1
fi
if grep -rlF "$stage" "$prefix"; then
    echo 'these files name the place where they were installed'
    exit 1
fi
