#!/bin/sh
# Rule: a function that a public header declares and a source of the library defines is marked with QV_API or
# QV_INTERNAL_API, itself or with its class.
# Reason: a shared library shows nothing else, and here nothing is shared by default: it would be missed by users only.
#
# Of classes, this looks at those whose members a source defines. What kr_internal/ declares may be marked by itself.
. "$(dirname "$0")/common.inc"

public_headers >"$scratch/headers"

# Declared to be looked up, and never defined; and one that the library alone calls.
exemptions='KindOfView|Break'

# Prints "<line> <name>" of each free function without a mark. A declaration goes on up to its semicolon or brace.
list_unmarked()
{
    LC_ALL=C awk '
        { sub(/\/\/.*/, "") }
        /^ *$/ { next }
        continued { continued = /\\$/; next }
        /^#/ { continued = /\\$/; next }
        head == "" && !/^[A-Za-z_[]/ { next }
        head == "" { start = FNR }
        { head = head " " $0 }
        /[;{]$/ || /^[^ ].*[^,(]$/ && !/^template/ && head ~ /\) *$/ {
            if (head ~ /;$/ && head ~ /^ [^(]*[A-Za-z0-9_=<>+\/]\(/ && head !~ /^[^(]* = / &&
                head !~ /^ *(template|using|typedef|friend|static_assert|return|class|struct)/ &&
                head !~ /(^|[ \]])(inline|constexpr|QV_API|QV_INTERNAL_API) / && head !~ / = (delete|default);/) {
                name = substr(head, 1, index(head, "(") - 1)
                sub(/.*[ *&]/, "", name)
                print start, name
            }
            head = ""
            next
        }
        /[}:]$/ { head = "" }' "$root/$1"
}

while IFS= read -r header; do
    list_unmarked "$header" | grep -v -E " ($exemptions)\$" | while read -r line name; do
        breach "$header:$line: $name has no QV_API"
    done
done <"$scratch/headers"

# Classes with members that a source defines: "<type> <class>::<member>(" at the beginning of a line there.
(cd "$root" && find Runtime/qv_kernel/layer_0 -name '*.cpp' -exec \
    sed -n 's/^[A-Za-z][^(=]*[ *&]\(\([A-Z][A-Za-z0-9]*\)::\)[~_A-Za-z][^ (]*(.*/\2/p; s/^\([A-Z][A-Za-z0-9]*\)::~*\1(.*/\1/p' {} + 2>/dev/null) |
    sort -u >"$scratch/classes"
while IFS= read -r class; do
    (cd "$root" && grep -n -E "^(class|struct) $class( |\$)" Runtime/include/*.h Runtime/qv_kernel/include/*.h 2>/dev/null |
        grep -v ';$' | sed 's/:\(class\|struct\) /: /') | while IFS= read -r place; do
        breach "$place has no QV_API"
    done
done <"$scratch/classes"
verdict
