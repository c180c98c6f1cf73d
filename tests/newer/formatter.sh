#!/bin/sh
# std::formatter needs a newer standard library than the one that the other tests are built with: takes the newest
# clang++ with its own library that is installed. Skipped (77) where there is none.
#   formatter.sh <source folder> <scratch folder>
set -u
source=$1
scratch=$2

for version in 22 21 20 19; do
    compiler=clang++-$version
    command -v "$compiler" >/dev/null 2>&1 || continue
    mkdir -p "$scratch" || exit 1
    if ! printf '#include <format>\n' | "$compiler" -std=c++20 -stdlib=libc++ -x c++ -E - >/dev/null 2>&1; then
        continue
    fi
    for standard in 20 23; do
        "$compiler" -std=c++$standard -stdlib=libc++ -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror \
            -I"$source/Runtime/include" -I"$source/Runtime/qv_kernel/include" \
            "$source/tests/newer/formatter.cpp" "$source"/Runtime/qv_kernel/layer_0/*/*.cpp \
            -o "$scratch/formatter" || exit 1
        echo "formatter: built as C++$standard with $compiler and its library"
        "$scratch/formatter" || exit
    done
    exit 0
done

echo 'formatter: no clang++ from 19 on with its own standard library is installed'
exit 77
