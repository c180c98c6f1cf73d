#!/bin/sh
# Builds the block kernels and their tests for 64-bit Arm and runs them in an emulator of programs, which proves the
# NEON form on any machine. Skipped (77) where a tool is missing; on Debian these are
#     apt-get install g++-aarch64-linux-gnu qemu-user googletest
# By hand:
#     sh tests/cross/neon.sh
# First argument: the project's folder, by default the one above. Then, if any: arguments for the test program.
set -u
root=${1:-$(dirname "$0")/../..}
root=$(cd "$root" && pwd) || exit 2
[ $# -eq 0 ] || shift

skip()
{
    printf 'neon: skipped: %s\n' "$*"
    exit 77
}

# Prints the compiler's name: packages of one version name it with the version behind, and only the one that depends on
# them has the plain name.
find_compiler()
{
    name=aarch64-linux-gnu-g++
    if command -v "${QV_NEON_CXX:-$name}" 2>/dev/null || [ -n "${QV_NEON_CXX:-}" ]; then
        return
    fi
    for folder in $(printf '%s' "$PATH" | tr ':' ' '); do
        for candidate in "$folder/$name"-[0-9]*; do
            [ ! -x "$candidate" ] || printf '%s\n' "$candidate"
        done
    done | tail -n 1
}

compiler=$(find_compiler)
[ -n "$compiler" ] || skip "${QV_NEON_CXX:-aarch64-linux-gnu-g++} is missing"
emulator=
for candidate in qemu-aarch64-static qemu-aarch64; do
    if command -v "$candidate" >/dev/null 2>&1; then
        emulator=$candidate
        break
    fi
done
[ -n "$emulator" ] || skip 'qemu-aarch64 is missing'
# The framework is built from its sources: a package of this machine's architecture is of no use.
gtest=/usr/src/googletest/googletest
[ -f "$gtest/src/gtest-all.cc" ] || skip "$gtest is missing"

scratch=$(mktemp -d) || exit 2
trap 'rm -rf "$scratch"' EXIT
trap 'exit 130' HUP INT TERM

# compile <object> <arguments>: in the background. `compiled` waits for all of them.
running=
compile()
{
    object=$scratch/$1
    shift
    # Without optimisation the tests take ten times as long.
    "$compiler" -std=c++17 -O1 "$@" -c -o "$object" &
    running="$running $!"
}

compiled()
{
    for process in $running; do
        wait "$process" || exit 1
    done
    running=
}

# The framework takes as long as a dozen others.
compile gtest.o -isystem "$gtest/include" "-I$gtest" "$gtest/src/gtest-all.cc"
framework=$running
running=

jobs=$(getconf _NPROCESSORS_ONLN 2>/dev/null || echo 1)
number=0
for source in \
    "$root"/Runtime/qv_kernel/layer_0/kr_assert/*.cpp \
    "$root"/Runtime/qv_kernel/layer_0/kr_buffer/buffer_table.cpp \
    "$root"/Runtime/qv_kernel/layer_0/kr_buffer/buffer_compare.cpp \
    "$root"/Runtime/qv_kernel/layer_0/kr_buffer/buffer_edit.cpp \
    "$root"/Runtime/qv_kernel/layer_0/kr_buffer/buffer_find.cpp \
    "$root"/Runtime/qv_kernel/layer_0/kr_buffer/buffer_marks.cpp \
    "$root"/Runtime/qv_kernel/layer_0/kr_simd/simd_wide.cpp \
    "$root"/tests/qv_kernel/layer_0/kr_buffer/buffer_table_test.cpp \
    "$root"/tests/qv_kernel/layer_0/kr_buffer/buffer_blocks_test.cpp \
    "$root"/tests/qv_kernel/layer_0/kr_buffer/buffer_kernels_test.cpp \
    "$root"/tests/qv_kernel/layer_0/kr_buffer/buffer_compare_test.cpp \
    "$root"/tests/qv_kernel/layer_0/kr_buffer/buffer_edit_test.cpp \
    "$root"/tests/qv_kernel/layer_0/kr_buffer/buffer_find_test.cpp \
    "$root"/tests/qv_kernel/layer_0/kr_buffer/buffer_marks_test.cpp \
    "$root"/tests/support/guarded_page.cpp \
    "$root"/tests/support/guarded_page_test.cpp \
    "$root"/tests/support/test_main.cpp; do
    number=$((number + 1))
    compile "$number.o" -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror -isystem "$gtest/include" \
        "-I$root/Runtime/include" "-I$root/Runtime/qv_kernel/include" "-I$root/Runtime/qv_kernel/layer_0" \
        "-I$root/tests" "-I$root/tests/support" "$source"
    [ $((number % jobs)) -ne 0 ] || compiled
done
running="$running $framework"
compiled
"$compiler" -static -o "$scratch/tests" "$scratch"/*.o || exit 1

# Without the NEON form in it, the run would prove nothing.
"$emulator" "$scratch/tests" --gtest_list_tests | grep -q '^BufferEdit/Neon\.' || {
    printf 'neon: no test of the NEON form was built\n'
    exit 1
}
"$emulator" "$scratch/tests" --gtest_brief=1 "$@"
