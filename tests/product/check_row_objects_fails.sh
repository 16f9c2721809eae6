#!/usr/bin/env bash
# Usage: check_row_objects_fails.sh CHECK NM OBJDUMP COMPILER FOLDER
# The check of row objects passes a clean object and finds each thing that must not be.
set -euo pipefail
export LC_ALL=C
check=$1 nm=$2 objdump=$3 compiler=$4 folder=$5
mkdir -p "$folder"
failed=0

object_of() { # NAME SOURCE [FLAG...]
    printf '%s\n' "$2" >"$folder/$1.cpp"
    "$compiler" -std=c++20 -O2 "${@:3}" -c "$folder/$1.cpp" -o "$folder/$1.o"
}
passes() { # NAME ISA
    "$BASH" "$check" "$nm" "$objdump" "$2" "$folder/$1.o" || { echo "$1 is refused for $2"; failed=1; }
}
refuses() { # NAME ISA MESSAGE
    local said
    if said=$("$BASH" "$check" "$nm" "$objdump" "$2" "$folder/$1.o"); then
        echo "$1 passes for $2"
        failed=1
    elif [[ $said != *"$3"* ]]; then
        printf '%s is refused for another reason:\n%s\n' "$1" "$said"
        failed=1
    fi
}

clean='namespace zv::inline baseline { int Twice(int a) { return 2 * a; } extern const int kTwo = 2; }'
wide='typedef int Wide __attribute__((vector_size(32)));
      namespace zv::avx2 { void Add(Wide* a, const Wide* b) { *a += *b; } }'
object_of clean "$clean"
object_of stranger "$clean int Stranger(int a) { return 3 * a; }"
object_of weak "$clean namespace std {
    template <class T> __attribute__((noinline)) T Least(T a, T b) { return a < b ? a : b; }
    template int Least(int, int); }"
object_of other_set "$clean namespace zv::avx2 { int Thrice(int a) { return 3 * a; } }"
object_of constructor "int Value(); $clean namespace { int value = Value(); }
    namespace zv::inline baseline { int Get() { return value; } }"
object_of wide "$wide" -mavx2
object_of scalar "namespace zv::avx2 { double Half(double a) { return a / 2; } }" -mavx
object_of shifts "namespace zv::avx2 { long Shift(long a, int b) { return a << b; } }" -mbmi2
object_of clean512 "namespace zv::avx512 { void Add(int* a) { *a += 1; } }" -mavx512f

passes clean baseline
passes clean core
passes stranger core
passes clean512 avx512
refuses clean avx2 'outside zv::avx2'
refuses stranger baseline 'outside zv::baseline'
refuses weak baseline 'outside zv::baseline'
refuses other_set baseline 'outside zv::baseline'
refuses constructor baseline 'when it is loaded'
refuses clean512 avx2 'outside zv::avx2'
for name in wide scalar shifts; do
    refuses "$name" core 'beyond the baseline'
    refuses "$name" baseline 'beyond the baseline'
done
if "$objdump" -f "$folder/wide.o" | grep -q pe-x86-64; then
    object_of aligned 'namespace zv::avx2 {
        void Clear(void* a) { __asm__("vmovaps %%ymm0, (%0)" : : "r"(a) : "memory"); } }' -mavx2
    refuses aligned avx2 'aligned memory'
else
    passes wide avx2
fi
exit $failed
