#!/bin/sh
# Fails if machine code holds a fused multiply-add: it rounds once where the library promises to
# round twice. Also fails when the check itself cannot be trusted: no disassembler, or no code.
#
# usage: no_fused_multiply_add.sh <objdump> <object, library or program>...
set -u

objdump=$1
shift
command -v "$objdump" >/dev/null 2>&1 || { echo "no disassembler: '$objdump'"; exit 1; }
[ $# -gt 0 ] || { echo "nothing to look at"; exit 1; }

listing=$(mktemp) || exit 1
trap 'rm -f "$listing"' EXIT
for file in "$@"; do
    "$objdump" -d --no-show-raw-insn "$file" >>"$listing" || exit 1
done

# x86: vfmadd, vfmsub, vfnmadd, vfnmsub and the alternating forms. ARM: fmadd, fmsub, fnmadd,
# fnmsub, fmla, fmls. Or a call of the C library's function.
if grep -E '[[:space:]](v?fn?m(add|sub)[a-z0-9]*|fml[as])[[:space:]]|<fmaf?l?(@|>)' "$listing"; then
    echo "fused multiply-add found"
    exit 1
fi

# Whatever was looked at multiplies; a listing without a multiplication was not disassembled.
grep -qE '[[:space:]]v?(mul[sp][sd]|fmul)[[:space:]]' "$listing" ||
    { echo "no multiplication found in: $*"; exit 1; }
