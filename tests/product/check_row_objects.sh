#!/usr/bin/env bash
# Usage: check_row_objects.sh NM OBJDUMP ISA OBJECT...
# Objects of one instruction set share no name with those of another, so that no linker puts the code of a newer set
# where an older processor runs it; and the baseline's hold no newer instruction. ISA is the namespace of rows, or `core` for
# the library's other objects, which name what they like.
set -euo pipefail
export LC_ALL=C
nm=$1 objdump=$2 isa=$3
shift 3
[ $# -gt 0 ] || { echo 'no objects'; exit 1; }
failed=0
fail() {
    echo "$object: $1"
    head -n 5 <<<"$2"
    failed=1
}

code_seen=
for object; do
    code=$("$objdump" -d --no-show-raw-insn "$object")
    [[ $code != *$'\tret'* ]] || code_seen=1
    if [ "$isa" = baseline ] || [ "$isa" = core ]; then
        # AVX, AVX-512 and BMI: wide registers, and mnemonics that SSE2 has not.
        masks='k(and|andn|mov|not|or|ortest|shift[lr]|test|unpck|xnor|xor)[bwdq]+'
        bits='(andn|bextr|blsi|blsmsk|blsr|bzhi|mulx|pdep|pext|rorx|sarx|shlx|shrx)[lq]?'
        newer=$(grep -E "%[yz]mm|\s(v[a-z]+[0-9a-z]*|$masks|$bits)(\s|\$)" <<<"$code") || true
        [ -z "$newer" ] || fail 'holds instructions beyond the baseline' "$newer"
    fi
    if [[ $code == *'pe-x86-64'* ]]; then
        # The stack of Windows is aligned to 16 bytes, not to 32 or 64.
        aligned=$(grep -E '\svmov(ap[sd]|dqa|dqa32|dqa64)\s.*(\(.*%[yz]mm|%[yz]mm.*\()' <<<"$code") || true
        [ -z "$aligned" ] || fail 'moves wide registers to aligned memory only' "$aligned"
    fi
    [ "$isa" != core ] || continue

    symbols=$("$nm" --defined-only --extern-only --format=posix "$object" | awk '{ print $1, $2 }')
    [ -n "$symbols" ] || fail 'names nothing: the output of nm was not understood' ''
    # What is mangled within the namespace, or for a type of it. The compiler's own pointers are no code.
    others=$(grep -vE "^_Z[A-Za-z0-9_]*NK?2zv${#isa}$isa|^(\.refptr|DW\.ref)\." <<<"$symbols") || true
    [ -z "$others" ] || fail "defines names outside zv::$isa" "$others"

    sections=$("$objdump" -h -w "$object")
    [[ $sections == *.text* ]] || fail 'has no code: the output of objdump was not understood' ''
    early=$(grep -E '\.(init_array|preinit_array|ctors|fini_array|dtors)' <<<"$sections") || true
    [ -z "$early" ] || fail 'runs code when it is loaded, whatever the processor' "$early"
done
[ -n "$code_seen" ] || { echo 'no code found: the output of objdump was not understood'; exit 1; }
exit $failed
