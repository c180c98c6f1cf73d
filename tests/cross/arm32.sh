#!/bin/sh
# Builds the library for 32-bit Arm and runs drivers on it in an emulator of programs: addresses are short there, and the
# platform's blocks are aligned to 8 bytes only. Skipped (77) where a tool is missing; on Debian these are
#     apt-get install g++-arm-linux-gnueabihf qemu-user
# By hand:
#     sh tests/cross/arm32.sh
# First argument: the project's folder, by default the one above.
set -u
root=${1:-$(dirname "$0")/../..}
root=$(cd "$root" && pwd) || exit 2

. "$root/tests/cross/cross.inc"
. "$root/tests/support/compile.inc"

compiler=$(find_compiler arm-linux-gnueabihf-g++)
[ -n "$compiler" ] || skip 'arm-linux-gnueabihf-g++ is missing'
emulator=$(find_emulator arm)
[ -n "$emulator" ] || skip 'qemu-arm is missing'
make_scratch

# compile_for_arm <arguments>
compile_for_arm()
{
    "$compiler" -std=c++17 -O1 -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror "-I$root/Runtime/include" \
        "-I$root/Runtime/qv_kernel/include" "-I$root/Runtime/qv_kernel/layer_0" "-I$root/tests/support" "$@"
}

compile()
{
    compile_for_arm -fno-exceptions -c "$2" -o "$1"
}

join_services "$root"
# shellcheck disable=SC2086
compile_all $joined
for driver in array buffer edit search string; do
    compile_for_arm -static "$root/tests/drivers/${driver}_driver.cpp" "$scratch"/*.o -pthread -o "$scratch/$driver" ||
        exit 1
    "$emulator" "$scratch/$driver" || {
        printf 'arm32: the %s driver failed\n' "$driver"
        exit 1
    }
done
