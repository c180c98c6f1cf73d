#!/bin/sh
# std::formatter needs a newer standard library than the one that the other tests are built with: takes the newest
# clang++ with its own library that is installed. Skipped (77) where there is none.
#   formatter.sh <source folder> <scratch folder>
set -u
root=$1
scratch=$2

. "$root/tests/support/compile.inc"

# compile_all calls it.
# shellcheck disable=SC2317
compile()
{
    "$compiler" -std=c++17 -stdlib=libc++ -O0 "-I$root/Runtime/include" \
        "-I$root/Runtime/qv_kernel/include" -c "$2" -o "$1"
}

for version in 22 21 20 19; do
    compiler=clang++-$version
    command -v "$compiler" >/dev/null 2>&1 || continue
    mkdir -p "$scratch" || exit 1
    if ! printf '#include <format>\n' | "$compiler" -std=c++20 -stdlib=libc++ -x c++ -E - >/dev/null 2>&1; then
        continue
    fi
    # The library is the same one for programs of any standard.
    join_services "$root"
    # shellcheck disable=SC2086
    compile_all $joined
    for standard in 20 23; do
        "$compiler" -std=c++$standard -stdlib=libc++ -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror \
            -I"$root/Runtime/include" -I"$root/Runtime/qv_kernel/include" \
            "$root/tests/newer/formatter.cpp" "$scratch"/*.o -o "$scratch/formatter" || exit 1
        echo "formatter: built as C++$standard with $compiler and its library"
        "$scratch/formatter" || exit
    done
    exit 0
done

echo 'formatter: no clang++ from 19 on with its own standard library is installed'
exit 77
