#!/bin/sh
# Builds the block kernels and their tests for 64-bit Arm and runs them in an emulator of programs, which proves the
# NEON form on any machine. Skipped (77) where a tool is missing; on Debian these are
#     apt-get install g++-aarch64-linux-gnu qemu-user-static googletest
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

compiler=${QV_NEON_CXX:-aarch64-linux-gnu-g++}
command -v "$compiler" >/dev/null 2>&1 || skip "$compiler is missing"
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

# compile <object> <arguments>
compile()
{
    object=$scratch/$1
    shift
    "$compiler" -std=c++17 -O1 "$@" -c -o "$object" || exit 1
}

compile gtest.o -isystem "$gtest/include" "-I$gtest" "$gtest/src/gtest-all.cc"

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
done
"$compiler" -static -o "$scratch/tests" "$scratch"/*.o || exit 1

# Without the NEON form in it, the run would prove nothing.
"$emulator" "$scratch/tests" --gtest_list_tests | grep -q '^BufferEdit/Neon\.' || {
    printf 'neon: no test of the NEON form was built\n'
    exit 1
}
"$emulator" "$scratch/tests" --gtest_brief=1 "$@"
