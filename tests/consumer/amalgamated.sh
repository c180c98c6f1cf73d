#!/bin/sh
# The library as one header and one source (scripts/amalgamate.py): compiled without a word of warning as C++17, 20 and
# 23, linked with the first example, which must print what it does elsewhere, and with the drivers.
#
#   amalgamated.sh <project folder> <scratch folder> <compiler>
set -eu
root=$1
scratch=$2
compiler=$3

for tool in python3 "$compiler"; do
    command -v "$tool" >/dev/null 2>&1 || {
        printf 'skipped: %s is missing\n' "$tool"
        exit 77
    }
done

fail()
{
    printf 'FAILED: %s\n' "$*"
    exit 1
}

rm -rf "$scratch"
mkdir -p "$scratch/headers"
python3 "$root/scripts/amalgamate.py" "$root" "$scratch" || fail 'amalgamate.py'
if grep -n '^ *# *include "' "$scratch/quorvane.h" "$scratch/quorvane.cpp" | grep -v '"quorvane.h"$'; then
    fail 'something is still included'
fi
# Sources that were written for the headers find all of them in the one.
for header in "$root"/Runtime/include/*.h "$root"/Runtime/qv_kernel/include/*.h; do
    printf '#include "quorvane.h"\n' >"$scratch/headers/$(basename "$header")"
done

build()
{
    "$compiler" "-I$scratch" "-I$scratch/headers" -Wall -Wextra -Werror "$@" || fail "$compiler $*"
}

# The example prints what the README says that it does.
awk '/^It prints:/ { prints = 1 } prints && /^```$/ { exit } prints && inside { print } prints && /^```text/ { inside = 1 }' \
    "$root/README.md" >"$scratch/expected"
[ -s "$scratch/expected" ] || fail 'README.md does not say what the example prints'

object=$scratch/quorvane.o
build -std=c++17 -O0 -c "$scratch/quorvane.cpp" -o "$object"
# clang++ 14 knows C++23 by its working name.
for standard in 17 20 2b; do
    [ $standard = 17 ] || build -std=c++$standard -fsyntax-only "$scratch/quorvane.cpp"
    build -std=c++$standard -O0 "$root/examples/first_example/main.cpp" "$object" -pthread -o "$scratch/example"
    "$scratch/example" | diff "$scratch/expected" - || fail "the first example as C++$standard"
done

count=0
for driver in "$root"/tests/drivers/*.cpp; do
    # Those that look behind the headers, or whose fixtures do, are for the library as it is.
    fixtures=$(sed -n 's/^#include "\([a-z_]*\.h\)"$/\1/p' "$driver")
    looks_behind=
    for file in "$driver" $fixtures; do
        [ -f "$file" ] || file=$root/tests/support/$file
        if [ -f "$file" ] && grep -q '^#include "kr_[a-z]*/' "$file"; then
            looks_behind=yes
        fi
    done
    [ -z "$looks_behind" ] || continue
    build -std=c++17 -O0 "-I$root/tests/support" "$driver" "$object" -pthread -o "$scratch/driver"
    "$scratch/driver" >"$scratch/log" 2>&1 || {
        cat "$scratch/log"
        fail "$(basename "$driver")"
    }
    count=$((count + 1))
done
[ $count -ge 6 ] || fail "only $count drivers were run"
printf 'one header and one source: the first example in three standards, %d drivers\n' $count
