#!/bin/sh
# The standard library's ranges need C++20: compiles what strings and views are to them with each compiler that is
# installed and knows ranges, as C++20 and as C++23. Skipped (77) where none does.
#   ranges.sh <source folder> <scratch folder>
set -u
source=$1
scratch=$2
mkdir -p "$scratch" || exit 1
compiled=0

# Views that are put together: the oldest compilers that claim ranges fail on these.
cat >"$scratch/probe.cpp" <<'END'
#include <ranges>
#include <string_view>
static_assert(std::ranges::distance(std::string_view("abc") | std::views::reverse | std::views::take(2)) == 2);
END

# Compiles as one standard, with further options.
compile()
{
    standard=$1
    shift
    command -v "$1" >/dev/null 2>&1 || return 0
    "$@" "-std=c++$standard" -fsyntax-only "$scratch/probe.cpp" >/dev/null 2>&1 || return 0
    "$@" "-std=c++$standard" -fsyntax-only -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror \
        -I"$source/Runtime/include" -I"$source/Runtime/qv_kernel/include" "$source/tests/newer/ranges.cpp" || exit 1
    echo "ranges: compiled as C++$standard with $*"
    compiled=1
}

for standard in 20 2b; do
    for compiler in g++ clang++ clang++-22 clang++-21 clang++-20 clang++-19; do
        compile "$standard" "$compiler"
        compile "$standard" "$compiler" -stdlib=libc++
    done
done

if [ "$compiled" = 0 ]; then
    echo 'ranges: no compiler that knows ranges is installed'
    exit 77
fi
