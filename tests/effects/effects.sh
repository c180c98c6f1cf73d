#!/bin/sh
# Programs with deadlines compile cleanly with -Wfunction-effects where they do what they may (accepted.cpp), and each thing
# that they may not do is found (refused.cpp).
#
#   effects.sh <project folder>
set -u
root=$1
here=$root/tests/effects

compiler=
for candidate in "${CXX:-}" clang++ clang++-20 clang++-21 clang++-22 clang++-23; do
    if [ -n "$candidate" ] && command -v "$candidate" >/dev/null 2>&1 &&
        echo 'int n;' | "$candidate" -Wfunction-effects -Werror -fsyntax-only -x c++ - >/dev/null 2>&1; then
        compiler=$candidate
    fi
done
if [ -z "$compiler" ]; then
    echo 'skipped: no clang++ that knows -Wfunction-effects'
    exit 77
fi

# check <source> <flags...>
check()
{
    source=$1
    shift
    "$compiler" "$@" -Wall -Wextra -Wfunction-effects -Wperf-constraint-implies-noexcept -fsyntax-only \
        "-I$root/Runtime/include" "-I$root/Runtime/qv_kernel/include" "$here/$source" 2>&1
}

for standard in 17 20 23; do
    if ! output=$(check accepted.cpp "-std=c++$standard" -Werror); then
        printf 'accepted.cpp, C++%s: %s\n' "$standard" "$output"
        exit 1
    fi
done

# Each line that begins with REFUSED, or ends with it, and no other.
wanted=$(grep -n -e '^REFUSED' -e '// REFUSED$' "$here/refused.cpp" | cut -d : -f 1)
output=$(check refused.cpp -std=c++17)
found=$(printf '%s\n' "$output" | sed -n 's/.*refused\.cpp:\([0-9]*\):[0-9]*: warning: .*-Wfunction-effects.*/\1/p' | sort -n -u)
if printf '%s\n' "$output" | grep -q 'error:' || [ "$wanted" != "$found" ]; then
    printf 'refused.cpp: refused in these lines, but wanted in those:\n'
    printf '%s\n' "$found" | tr '\n' ' '
    printf '\n'
    printf '%s\n' "$wanted" | tr '\n' ' '
    printf '\n%s\n' "$(printf '%s\n' "$output" | grep error: | head -5)"
    exit 1
fi
printf '%s: %s operations are refused\n' "$compiler" "$(printf '%s\n' "$wanted" | grep -c .)"
