#!/bin/sh
# Rule: what a comment of the library names is there: files by their names, and functions, classes and constants whose
# names cannot be taken for plain words (SomeName, _SomeName, kSomeName).
# Reason: names change and comments stay behind, and then they send their readers astray.
. "$(dirname "$0")/common.inc"

project_files >"$scratch/all"
grep -E '^(Runtime|tests|examples|benchmarks)/.*\.(h|cpp|inc)$' "$scratch/all" >"$scratch/sources"
sed 's,.*/,,' "$scratch/all" | sort -u >"$scratch/names"

# The words that occur outside of comments, anywhere.
while IFS= read -r file; do
    sed 's,//.*,,' "$root/$file"
done <"$scratch/sources" | LC_ALL=C tr -c 'A-Za-z0-9_' '\n' | sort -u >"$scratch/words"

# An example inside a comment, indented by four blanks, may name what is not there.
grep '^Runtime/' "$scratch/sources" >"$scratch/library"
while IFS= read -r file; do
    LC_ALL=C awk -v name="$file" -v words="$scratch/words" -v names="$scratch/names" '
        BEGIN {
            while ((getline word < words) > 0) known[word] = 1
            while ((getline word < names) > 0) there[word] = 1
            known["KiB"] = known["MiB"] = known["GiB"] = 1
        }
        match($0, /\/\/.*/) && substr($0, RSTART) !~ /^\/\/     / {
            comment = substr($0, RSTART + 2)
            rest = comment
            while (match(rest, /[A-Za-z0-9_]+\.(h|cpp|inc|sh|md|cmake)/)) {
                word = substr(rest, RSTART, RLENGTH)
                after = substr(rest, RSTART + RLENGTH, 1)
                rest = substr(rest, RSTART + RLENGTH)
                if (after !~ /[A-Za-z0-9_]/ && !(word in there))
                    printf "%s:%d: no file %s\n", name, NR, word
            }
            rest = comment
            while (match(rest, /[A-Za-z0-9_]+/)) {
                word = substr(rest, RSTART, RLENGTH)
                rest = substr(rest, RSTART + RLENGTH)
                if (word ~ /^[_k]?[A-Z][a-z0-9]+[A-Z][A-Za-z0-9]*$|^_[A-Z][a-z]|^k[A-Z][a-z]/ && !(word in known))
                    printf "%s:%d: nothing is called %s\n", name, NR, word
            }
        }' "$root/$file" || breach "$file: cannot be read"
done <"$scratch/library" >"$scratch/found"
cat "$scratch/found" >>"$breaches"
verdict
