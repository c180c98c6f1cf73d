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

for tool in nm c++filt; do
    command -v $tool >/dev/null 2>&1 || {
        printf 'skipped: %s is missing\n' "$tool"
        exit 77
    }
done

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
if nm -D -C --defined-only "$library" | grep ' u '; then
    printf 'FAILED: the library has unique symbols\n'
    exit 1
fi

# Without addresses and kinds; a list of arguments has a name of each machine's own, constructors two of the same. Left out
# are functions of the standard library's headers, which clang++ shows where they are not inlined: they are marked there.
nm -D --defined-only "$library" | grep -v -E ' _ZN?K?St' | c++filt |
    LC_ALL=C sed 's/^[0-9a-f]* [A-Za-z] //; s/__va_list_tag\*/va_list/; s/std::__va_list/va_list/' |
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
