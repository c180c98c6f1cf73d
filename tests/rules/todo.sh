#!/bin/sh
# Rule: a note of work left over carries its reason, in parentheses right behind the word.
# Reason: a bare one says neither what is missing nor when it may go.
. "$(dirname "$0")/common.inc"

word=$(printf 'TO%s' DO)
project_files | grep -v -E '^tests/fuzz/corpus/' >"$scratch/list"
while IFS= read -r file; do
    LC_ALL=C awk -v name="$file" -v word="$word" '
        {
            rest = $0
            while ((at = index(rest, word)) > 0) {
                before = at > 1 ? substr(rest, at - 1, 1) : " "
                after = substr(rest, at + length(word))
                if (before !~ /[A-Za-z0-9_]/ && after !~ /^[A-Za-z0-9_]/ && after !~ /^\([^)]+\)/) {
                    printf "%s:%d: %s\n", name, NR, $0
                    break
                }
                rest = after
            }
        }' "$root/$file" || breach "$file: cannot be read"
done <"$scratch/list" >"$scratch/found"
cat "$scratch/found" >>"$breaches"
verdict
