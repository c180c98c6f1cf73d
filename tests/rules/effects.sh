#!/bin/sh
# Rule: the library is what its declarations say, nonblocking or nonallocating, as far as the compiler can tell; and what it
# cannot tell, each region that begins with QV_INTERNAL_UNCHECKED_BEGIN, is in the table of docs/real-time.md, with a reason.
# Reason: a program with a deadline relies on it, and nobody sees an allocation three calls further down.
#
# The table's rows are "| `<file>` | <how many> | <why> |".
. "$(dirname "$0")/common.inc"

page=docs/real-time.md

# ---- What is not checked ---------------------------------------------------------------------------------------------

(cd "$root" && find Runtime -type f \( -name '*.h' -o -name '*.inc' -o -name '*.cpp' \) -print | sort) >"$scratch/all"
while IFS= read -r file; do
    count=$(grep -v '#define' "$root/$file" | grep -c QV_INTERNAL_UNCHECKED_BEGIN)
    [ "$count" -eq 0 ] || printf '%s %s\n' "$file" "$count"
done <"$scratch/all" >"$scratch/used"
if [ -f "$root/$page" ]; then
    # A backquote begins no command here.
    # shellcheck disable=SC2016
    sed -n 's,^| `\(Runtime/[^`]*\)` | \([0-9]*\) | [^ ].* |$,\1 \2,p' "$root/$page"
fi | sort >"$scratch/listed"
comm -23 "$scratch/used" "$scratch/listed" | while read -r file count; do
    printf '%s: %s places that the compiler does not check, for which %s has no row\n' "$file" "$count" "$page"
done >>"$breaches"
comm -13 "$scratch/used" "$scratch/listed" | while read -r file count; do
    printf '%s: %s has no %s places that the compiler does not check\n' "$page" "$file" "$count"
done >>"$breaches"

# ---- What is ---------------------------------------------------------------------------------------------------------

# The newest that knows the warning.
compiler=
for candidate in clang++ clang++-20 clang++-21 clang++-22 clang++-23; do
    if command -v "$candidate" >/dev/null 2>&1 && echo 'int n;' |
        "$candidate" -Wfunction-effects -Werror -fsyntax-only -x c++ - >/dev/null 2>&1; then
        compiler=$candidate
    fi
done
if [ -z "$compiler" ]; then
    [ ! -s "$breaches" ] || verdict
    skip 'no clang++ that knows -Wfunction-effects'
fi
keep_objects
join_services >"$scratch/sources"
compile_objects "$scratch/sources" "$compiler" -std=c++17 -O0 -Wfunction-effects -Wperf-constraint-implies-noexcept \
    -IRuntime/include -IRuntime/qv_kernel/include
while IFS= read -r source; do
    [ -f "$objects/$source.o" ] || breach "$source: does not compile: $(grep -m 1 error "$objects/$source.o.said")"
    grep -e 'warning: .*-Wfunction-effects' -e 'warning: .*-Wperf-constraint' "$objects/$source.o.said" >>"$breaches"
done <"$scratch/sources"
verdict
