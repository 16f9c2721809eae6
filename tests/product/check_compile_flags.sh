#!/usr/bin/env bash
# Usage: check_compile_flags.sh COMPILE_COMMANDS SOURCE_DIR
# Every source of the library is compiled without contraction and without relaxed arithmetic, and none is left out.
set -euo pipefail
export LC_ALL=C
commands=$1 source_dir=$2

find "$source_dir/Common" -name '*.cpp' | sort | awk -v commands="$commands" -v source_dir="$source_dir" '
    BEGIN {
        while ((getline line < commands) > 0) {
            if (line ~ /^ *"command":/) command = line
            if (line ~ /^ *"file":/) {
                file = line
                sub(/^ *"file": "/, "", file)
                sub(/",?$/, "", file)
                if (of_library(file)) check(file, command)
            }
        }
    }
    function of_library(file) {
        return file ~ /\.(c|cpp)$/ && (index(file, source_dir "/Common/") == 1 ||
               index(file, source_dir "/host/") == 1 || index(file, source_dir "/resources/") == 1)
    }
    function check(file, command,    words, n, i, contract) {
        contract = ""
        n = split(command, words, /[ "]+/)
        for (i = 1; i <= n; i++) {
            if (words[i] ~ /^-ffp-contract=/) contract = words[i]
            if (words[i] ~ /^-(ffast-math|Ofast|funsafe-math-optimizations|fassociative-math|freciprocal-math|ffinite-math-only|mrecip.*)$/)
                { print file ": " words[i]; failed = 1 }
        }
        if (contract != "-ffp-contract=off") { print file ": -ffp-contract=off is missing or overruled"; failed = 1 }
        seen[file] = 1
    }
    {
        count++
        if (!($0 in seen)) { print $0 ": not compiled"; failed = 1 }
    }
    END {
        if (count == 0) { print "no sources found"; failed = 1 }
        exit failed
    }'
