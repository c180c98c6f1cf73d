#!/bin/sh
# Rule: every public operation of every public header is used in a fuzz target.
# Reason: what no target calls is tried only with the values that somebody thought of.
#
# Operators are left out: signs are everywhere, and the models of the targets compare with them.
. "$(dirname "$0")/common.inc"
. "$(dirname "$0")/operations.inc"

# Not asked for, with the reason.
#   <class> <operation>: <reason>
exemptions='
- EvalAssert: every report that a target expects goes through it
- EvalAssertFormat: the same, for reports with values
- VerifyAssertFalse_Breaks: it ends the program, as the handler of the targets never asks for
- FromStdSpan: from C++20 on, and the targets are built with C++17; two constructors of views in one line
- ToStdSpan: the same
CStringContainer AddReference: every copy of a handle in the targets calls it
CStringContainer RemoveReference: every handle of the targets calls it
'

(
    cd "$root" || exit 2
    find Runtime/include Runtime/qv_kernel/include -maxdepth 1 -name '*.h' -print 2>/dev/null | sort >"$scratch/headers"
    find tests/fuzz -name '*.h' -exec cat {} + -o -name '*_fuzz.cpp' -exec cat {} + 2>/dev/null | sed 's,//.*,,' |
        tr -c 'A-Za-z0-9_' '\n' | sort -u >"$scratch/fuzzed"
)

while IFS= read -r header; do
    list_operations "$header" | grep -v ' operator' >"$scratch/operations"
    while read -r class name; do
        grep -q -x -F "$name" "$scratch/fuzzed" || printf '%s\n' "$exemptions" | grep -q -F -e "$class $name:" ||
            breach "$header: no fuzz target uses ${class}::$name"
    done <"$scratch/operations"
done <"$scratch/headers"
verdict
