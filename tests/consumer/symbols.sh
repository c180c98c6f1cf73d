#!/bin/sh
# Compares the names that a shared library shows with Runtime/qv_kernel/symbols.txt, and prints what came and what went.
#
#   symbols.sh <project folder> <shared library>           0: the same
#   symbols.sh <project folder> <shared library> --write   writes the list
#
# The names are those of 64-bit Linux. What is unique in a process is refused: who has it loaded can never unload it.
set -eu
root=$1
library=$2
list=$root/Runtime/qv_kernel/symbols.txt

command -v nm >/dev/null 2>&1 || {
    printf 'skipped: nm is missing\n'
    exit 77
}

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
nm -D -C --defined-only "$library" >"$scratch/nm"
if grep ' u ' "$scratch/nm"; then
    printf 'FAILED: the library has unique symbols\n'
    exit 1
fi

# Without addresses and kinds; a list of arguments has a name of each machine's own, constructors two of the same.
LC_ALL=C sed 's/^[0-9a-f]* [A-Za-z] //; s/__va_list_tag\*/va_list/; s/std::__va_list/va_list/' "$scratch/nm" |
    LC_ALL=C sort -u >"$scratch/shown"

if [ "${3:-}" = --write ]; then
    {
        printf '# What the shared library shows, by its names on 64-bit Linux: the public interface, and in Internal what bodies\n'
        printf '# in the headers call. Written by tests/consumer/symbols.sh; a test compares.\n'
        cat "$scratch/shown"
    } >"$list"
    exit 0
fi

sed '/^#/d' "$list" >"$scratch/listed"
if ! cmp -s "$scratch/listed" "$scratch/shown"; then
    printf 'FAILED: the shared library shows other names than symbols.txt lists\n'
    LC_ALL=C comm -13 "$scratch/listed" "$scratch/shown" | sed 's/^/  came: /'
    LC_ALL=C comm -23 "$scratch/listed" "$scratch/shown" | sed 's/^/  went: /'
    exit 1
fi
printf 'the shared library shows the %d names of the list\n' "$(wc -l <"$scratch/shown")"
