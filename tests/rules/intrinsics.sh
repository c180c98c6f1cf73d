#!/bin/sh
# Rule: intrinsics, their headers, vector register types and the machine's extensions are kr_simd's alone. Everything
# else of the library is written over its block types and compiled for a form by kr_simd/simd_each_form.inc: no other
# file opens a region or the namespace of a form, and each kernel file is in one list only.
# Reason: a further form, or another kind of machine, is then a matter of one folder; and a kernel that stands in two
# lists is compiled twice for each form, or is forgotten in one of them.
. "$(dirname "$0")/common.inc"

(cd "$root" && find Runtime -type f \( -name '*.h' -o -name '*.inc' -o -name '*.cpp' \) -print 2>/dev/null | sort) |
    grep -v '/layer_0/kr_simd/' >"$scratch/sources"

# Prints "<file>:<line>: <what was found>" for each line, without its comment, that matches an extended expression.
find_in_code()
{
    while IFS= read -r file; do
        LC_ALL=C awk -v name="$file" -v wanted="$1" '
            { sub(/\/\/.*/, "") }
            match($0, wanted) { print name ":" FNR ": " substr($0, RSTART, RLENGTH) }' "$root/$file" ||
            breach "$file: cannot be read"
    done <"$scratch/sources"
}

{
    find_in_code '(^|[^A-Za-z0-9_])_mm(256|512)?_[a-z0-9_]+|__m(64|128|256|512)[id]?([^A-Za-z0-9_]|$)'
    find_in_code '(^|[^A-Za-z0-9_])_(tzcnt|blsr|pext|pdep|bzhi|popcnt)[a-z0-9]*_u(32|64)'
    find_in_code '(^|[^A-Za-z0-9_])v[a-z0-9]+q?_(n_)?[usf](8|16|32|64)[^A-Za-z0-9_]|(u?int|float)(8|16|32|64)x[0-9]+_t'
    find_in_code '#[ \t]*include[ \t]*[<"]([a-z0-9]+intrin|arm_neon|arm_sve|arm_acle)[.]h'
    find_in_code '__builtin_(cpu_supports|cpu_init|ia32_|neon_|aarch64_)[a-z0-9_]*'
    # Regions and forms.
    find_in_code '(QV_SIMD_(WIDE_|WIDEST_)?BEGIN|QV_SIMD_END)([^A-Za-z0-9_]|$)'
    find_in_code 'namespace[ \t]+([A-Za-z0-9_]+::)*(Narrow|Wide|Widest)[ \t]*([{]|$)'
} >"$scratch/found"

# What the lists of kernels include, and the lists themselves.
while IFS= read -r file; do
    LC_ALL=C awk -v name="$file" '
        { sub(/\/\/.*/, "") }
        /^[ \t]*#[ \t]*(include|define[ \t]+QV_SIMD_KERNELS)[ \t]*"[^"]*[.]inc"/ && !/simd_each_form[.]inc/ {
            sub(/^[^"]*"/, "")
            sub(/".*/, "")
            sub(/.*\//, "")
            print $0, name ":" FNR
        }' "$root/$file"
done <"$scratch/sources" >"$scratch/lists"
awk 'seen[$1]++ { print $2 ": includes " $1 ", which another list includes, too" }' "$scratch/lists" >>"$scratch/found"
sort -u "$scratch/found" >>"$breaches"
verdict
