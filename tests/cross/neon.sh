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

# Without optimisation the tests take ten times as long. The warning is about unnamed types in headers, which joined sources
# look like.
compile()
{
    "$compiler" -std=c++17 -O1 -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror -Wno-subobject-linkage -isystem "$gtest/include" \
        "-I$root/Runtime/include" "-I$root/Runtime/qv_kernel/include" "-I$root/Runtime/qv_kernel/layer_0" \
        "-I$root/tests" "-I$root/tests/support" -c "$2" -o "$1"
}

# The framework takes as long as a dozen others.
in_background "$compiler" -std=c++17 -O0 -isystem "$gtest/include" "-I$gtest" -c "$gtest/src/gtest-all.cc" \
    -o "$scratch/gtest.o"
framework=$running
running=
# Joined, they take half the time to compile; in two halves, there is one for each of two processors.
kernels=$root/Runtime/qv_kernel/layer_0
tests=$root/tests/qv_kernel/layer_0
include_all "$scratch/library.cpp" "$kernels"/kr_assert/*.cpp "$kernels"/kr_simd/simd_machine.cpp \
    "$kernels"/kr_buffer/buffer_table.cpp "$kernels"/kr_buffer/buffer_compare.cpp "$kernels"/kr_buffer/buffer_edit.cpp \
    "$kernels"/kr_buffer/buffer_find.cpp "$kernels"/kr_buffer/buffer_find_last.cpp "$kernels"/kr_buffer/buffer_hash.cpp \
    "$kernels"/kr_buffer/buffer_bitmap.cpp
include_all "$scratch/first_tests.cpp" "$tests"/kr_buffer/buffer_table_test.cpp \
    "$tests"/kr_buffer/buffer_kernels_test.cpp "$tests"/kr_buffer/buffer_edit_test.cpp \
    "$tests"/kr_buffer/buffer_hash_test.cpp
include_all "$scratch/second_tests.cpp" "$tests"/kr_buffer/buffer_compare_test.cpp \
    "$tests"/kr_buffer/buffer_find_test.cpp "$tests"/kr_buffer/buffer_bitmap_test.cpp
exhaustive=$root/tests/exhaustive
compile_all "$scratch/first_tests.cpp" "$scratch/second_tests.cpp" "$scratch/library.cpp" \
    "$exhaustive/edit_kernels_test.cpp" "$exhaustive/search_kernels_test.cpp" "$exhaustive/bitmap_kernels_test.cpp" \
    "$tests/kr_simd/simd_block_test.cpp" "$root/tests/support/guarded_page.cpp" \
    "$root/tests/support/guarded_page_test.cpp" "$root/tests/support/test_main.cpp"
running=$framework
wait_for_all
"$compiler" -static -o "$scratch/tests" "$scratch"/*.o || exit 1

# Without the NEON form in it, the run would prove nothing.
"$emulator" "$scratch/tests" --gtest_list_tests | grep -q '^BufferEdit/Neon\.' || {
    printf 'neon: no test of the NEON form was built\n'
    exit 1
}
QV_TEST_EMULATOR=$emulator "$emulator" "$scratch/tests" --gtest_brief=1 "$@"
