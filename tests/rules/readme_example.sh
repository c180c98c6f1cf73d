#!/bin/sh
# Rule: the README's first C++ block is examples/first_example/main.cpp, and every other C++ block of README.md and
# docs/*.md stands, line for line, in a source of examples/.
# Reason: examples are compiled and run by the tests; what people copy from a page must be what was tested.
. "$(dirname "$0")/common.inc"

first=examples/first_example/main.cpp

# Writes each C++ block of a page to a file of its own: $scratch/block.<n>, where n is the line that opens it.
cut_blocks()
{
    rm -f "$scratch"/block.*
    LC_ALL=C awk -v prefix="$scratch/block." '
        /^```/ {
            inside = !inside
            file = inside && $0 == "```cpp" ? prefix NR : ""
            if (file != "")
                printf "" >file
            next
        }
        file != "" { print >file }' "$1"
}

# Does a file hold the lines of the block, in a row?
holds()
{
    LC_ALL=C awk '
        NR == FNR { block = block $0 "\n"; next }
        { text = text $0 "\n" }
        END { exit index("\n" text, "\n" block) == 0 }' "$1" "$2"
}

is_quoted()
{
    while IFS= read -r source; do
        ! holds "$1" "$root/$source" || return 0
    done <"$scratch/sources"
    return 1
}

(cd "$root" && find examples -name '*.cpp' -o -name '*.h') | sort >"$scratch/sources"
(cd "$root" && ls README.md docs/*.md 2>/dev/null) >"$scratch/pages"
while IFS= read -r page; do
    cut_blocks "$root/$page"
    for block in "$scratch"/block.*; do
        [ ! -f "$block" ] || [ -s "$block" ] || breach "$page:${block##*.}: is empty"
        [ ! -s "$block" ] || is_quoted "$block" || breach "$page:${block##*.}: stands in no source of examples/"
    done
done <"$scratch/pages"

if [ -f "$root/README.md" ]; then
    cut_blocks "$root/README.md"
    # The one that is opened first.
    shown=$(cd "$scratch" && find . -name 'block.*' | sort -t . -k 3 -n | head -n 1)
    if [ -z "$shown" ]; then
        breach 'README.md: shows no C++ example'
    elif ! diff "$scratch/$shown" "$root/$first" >"$scratch/difference"; then
        breach "README.md: its first example is not $first:"
        cat "$scratch/difference" >>"$breaches"
    fi
else
    breach 'README.md: is missing'
fi
verdict
