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

. "$root/tests/cross/cross.inc"
. "$root/tests/support/compile.inc"

name=${QV_NEON_CXX:-aarch64-linux-gnu-g++}
compiler=$(find_compiler "$name")
[ -n "$compiler" ] || skip "$name is missing"
emulator=$(find_emulator aarch64)
[ -n "$emulator" ] || skip 'qemu-aarch64 is missing'
# The framework is built from its sources: a package of this machine's architecture is of no use.
gtest=/usr/src/googletest/googletest
[ -f "$gtest/src/gtest-all.cc" ] || skip "$gtest is missing"

make_scratch

# Without optimisation the tests take ten times as long.
compile()
{
    "$compiler" -std=c++17 -O1 -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror -isystem "$gtest/include" \
        "-I$root/Runtime/include" "-I$root/Runtime/qv_kernel/include" "-I$root/Runtime/qv_kernel/layer_0" \
        "-I$root/tests" "-I$root/tests/support" -c "$2" -o "$1"
}

# The framework takes as long as a dozen others.
in_background "$compiler" -std=c++17 -O1 -isystem "$gtest/include" "-I$gtest" -c "$gtest/src/gtest-all.cc" \
    -o "$scratch/gtest.o"
framework=$running
running=
compile_all \
    "$root"/Runtime/qv_kernel/layer_0/kr_assert/*.cpp \
    "$root"/Runtime/qv_kernel/layer_0/kr_buffer/buffer_table.cpp \
    "$root"/Runtime/qv_kernel/layer_0/kr_buffer/buffer_compare.cpp \
    "$root"/Runtime/qv_kernel/layer_0/kr_buffer/buffer_edit.cpp \
    "$root"/Runtime/qv_kernel/layer_0/kr_buffer/buffer_find.cpp \
    "$root"/Runtime/qv_kernel/layer_0/kr_buffer/buffer_hash.cpp \
    "$root"/Runtime/qv_kernel/layer_0/kr_buffer/buffer_bitmap.cpp \
    "$root"/Runtime/qv_kernel/layer_0/kr_simd/simd_machine.cpp \
    "$root"/tests/qv_kernel/layer_0/kr_buffer/buffer_table_test.cpp \
    "$root"/tests/qv_kernel/layer_0/kr_simd/simd_block_test.cpp \
    "$root"/tests/qv_kernel/layer_0/kr_buffer/buffer_kernels_test.cpp \
    "$root"/tests/qv_kernel/layer_0/kr_buffer/buffer_compare_test.cpp \
    "$root"/tests/qv_kernel/layer_0/kr_buffer/buffer_edit_test.cpp \
    "$root"/tests/qv_kernel/layer_0/kr_buffer/buffer_find_test.cpp \
    "$root"/tests/qv_kernel/layer_0/kr_buffer/buffer_hash_test.cpp \
    "$root"/tests/qv_kernel/layer_0/kr_buffer/buffer_bitmap_test.cpp \
    "$root"/tests/support/guarded_page.cpp \
    "$root"/tests/support/guarded_page_test.cpp \
    "$root"/tests/support/test_main.cpp
running=$framework
wait_for_all
"$compiler" -static -o "$scratch/tests" "$scratch"/*.o || exit 1

# Without the NEON form in it, the run would prove nothing.
"$emulator" "$scratch/tests" --gtest_list_tests | grep -q '^BufferEdit/Neon\.' || {
    printf 'neon: no test of the NEON form was built\n'
    exit 1
}
"$emulator" "$scratch/tests" --gtest_brief=1 "$@"
