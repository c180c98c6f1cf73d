#!/bin/sh
# Rule: the table of tests/wounds/README.md names a test for each class of defects, each of them is there, and each test
# of that folder is named.
# Reason: the table says that the library does not have these defects; a test that was renamed or taken out would leave
# the sentence standing.
#
# A test is named by its suite and its name, and a file by its path from the root, both within backquotes in the last cell.
. "$(dirname "$0")/common.inc"

page=tests/wounds/README.md
[ -f "$root/$page" ] || verdict

# Prints "<suite>.<name>" of each test.
list_tests()
{
    (cd "$root" && find "$@" -name '*_test.cpp' -print 2>/dev/null) | while IFS= read -r file; do
        sed -n 's/^\(TYPED_\)\{0,1\}TEST\(_F\|_P\)\{0,1\}(\([A-Za-z0-9]*\), \([A-Za-z0-9_]*\)).*/\3.\4/p' "$root/$file"
    done | sort -u
}
list_tests tests >"$scratch/tests"
list_tests tests/wounds >"$scratch/own"

# Prints "<line>|<what the last cell names>" for each row; a row that names nothing is printed with nothing behind the line.
awk '
    /^\| --- / { inside = 1; next }
    !/^\|/ { inside = 0 }
    inside {
        sub(/ \|[ ]*$/, "")
        sub(/.* \| /, "")
        count = split($0, parts, "`")
        if (count < 3)
            print FNR "|"
        for (i = 2; i <= count; i += 2)
            print FNR "|" parts[i]
    }' "$root/$page" >"$scratch/named"
[ -s "$scratch/named" ] || breach "$page: has no table"
while IFS='|' read -r line name; do
    case $name in
        '') breach "$page:$line: names no test" ;;
        */*) [ -f "$root/$name" ] || breach "$page:$line: $name is not there" ;;
        *) grep -q -x -F "$name" "$scratch/tests" || breach "$page:$line: no test is called $name" ;;
    esac
done <"$scratch/named"
while IFS= read -r test; do
    grep -q "|$test\$" "$scratch/named" || breach "$page: does not name $test"
done <"$scratch/own"
verdict
