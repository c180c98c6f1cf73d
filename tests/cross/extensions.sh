#!/bin/sh
# Runs the tests of the block kernels on machines that lack an extension, in an emulator of programs: a hypervisor may deny
# any of them, and no code may use one that the machine was not asked for. Skipped (77) where the
# emulator is missing; on Debian it is
#     apt-get install qemu-user
# By hand:
#     sh tests/cross/extensions.sh build/quick/tests/qv_kernel_tests
# First argument: the unit tests' program, for x86-64. Then, if any: arguments for it in place of the choice below.
set -u
program=$1
shift

. "$(dirname "$0")/cross.inc"

[ "$(uname -m)" = x86_64 ] || skip 'this machine is not an x86-64 one'
emulator=$(find_emulator x86_64)
[ -n "$emulator" ] || skip 'qemu-x86_64 is missing'

# What is compiled for wide instructions, and what is told apart by single bytes or bits in it.
[ $# -ne 0 ] || set -- '--gtest_filter=Simd*:BufferWide.*:BufferWiderForms*:BufferWalkWider*:BufferBitmap*:'\
'BufferFind.FindLast*:BufferFind.ANeedle*:StringSearch.*:StringCasing.*:StringViewOperations.Find*'\
'-*HardNeedles*:*.LastNeedlesAreFoundInEveryPlace*'

scratch=$(mktemp -d) || exit 2
trap 'rm -rf "$scratch"' EXIT
trap 'exit 130' HUP INT TERM
failed=0

# check <machine> <wide|narrow> <arguments>: runs the tests on an emulated machine, and sees whether it has taken the
# wide forms.
check()
{
    machine=$1
    form=$2
    shift 2
    # It names each extension of the machine that it does not know itself.
    if ! "$emulator" -cpu "$machine" "$program" --gtest_color=no "$@" >"$scratch/output" 2>"$scratch/errors"; then
        printf 'extensions: -cpu %s: the tests failed\n' "$machine"
        grep -v '^\[ *\(RUN\|OK\|-*\|=*\) *\]' "$scratch/output" | tail -n 60
        grep -v "TCG doesn't support requested feature" "$scratch/errors"
        failed=1
        return
    fi
    took=wide
    grep -q '^\[  SKIPPED \] SimdMachine\.RegionCompiles' "$scratch/output" && took=narrow
    printf 'extensions: -cpu %s: %s, the %s forms\n' "$machine" "$(sed -n 's/^\[  PASSED  \] \(.*\)\./\1/p' "$scratch/output")" \
        "$took"
    [ "$took" = "$form" ] || {
        printf 'extensions: expected the %s forms\n' "$form"
        failed=1
    }
}

# What wide code does not ask for, and so must not use, is missing all at once: code that uses any of it fails. A compiler
# might use the first four by itself.
check Haswell,-abm,-movbe,-fma,-f16c,-aes,-pclmulqdq,-rdrand,-erms,-fsgsbase wide "$@"
# What it asks for. Without BMI1, which it asks for, too, the platform's library does not start.
for extension in avx2 bmi2 popcnt; do
    check "Haswell,-$extension" narrow "$@"
done
exit $failed
