#!/bin/sh
# Rule: in the headers and in kr_string/ the length of a text is assigned in one function, CStringContainer::
# _ChangeLengthBy; everything else that has an `m_Length` gets it in its constructor. Elsewhere nobody can reach it.
# Reason: with the length go the terminator and the zeros behind it. Whoever looks for the place where they went apart
# has one function to watch.
. "$(dirname "$0")/common.inc"

assignment='m_Length[[:space:]]*([-+*/%|&^]|<<|>>)?=[^=]|m_Length[[:space:]]*(\+\+|--)|(\+\+|--)[[:space:]]*([A-Za-z_]+(\.|->))*m_Length'
(cd "$root" && find Runtime/qv_kernel/include Runtime/qv_kernel/layer_0/kr_string -type f \
    \( -name '*.h' -o -name '*.inc' -o -name '*.cpp' \) -exec grep -n -E -e "$assignment" /dev/null {} + 2>/dev/null |
    sort) >"$scratch/found"
door='^Runtime/qv_kernel/include/kr_string_container\.h:[0-9]+:[[:space:]]*m_Length = Internal::WrappingSum\(m_Length, difference\);$'
grep -v -E -e "$door" "$scratch/found" >>"$breaches"
verdict
