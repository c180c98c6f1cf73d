#!/bin/sh
# ./run test: builds and runs the tests.
. "$(dirname "$0")/common.inc"
. "$root/scripts/needs.inc"
. "$root/scripts/build.inc"
. "$root/scripts/steps.inc"

quick=
case ${1:-} in
    '') ;;
    --quick) quick=yes ;;
    *)
        complain "test: unknown argument $1"
        exit 2
        ;;
esac
ensure g++ cmake ninja-build libgtest-dev libcli11-dev clang libclang-rt-dev -- \
    llvm clang-format pkg-config shellcheck locales libbenchmark-dev python3
ensure_locales

if [ -n "$quick" ]; then
    step 'release (g++): units and rules' quick 'unit|rule|canary|header17' qv_kernel_tests qv_canary
    summary
    exit
fi

# Other machines, emulated.
ensure -- qemu-user g++-aarch64-linux-gnu g++-arm-linux-gnueabihf
step 'release (g++): everything' release '.*'
# Nothing may depend on the locale; these have another upper case of i, and a decimal comma.
for name in tr_TR de_DE; do
    export LC_ALL=$name.UTF-8
    step "release, locale $name" release 'unit' qv_kernel_tests
    unset LC_ALL
done
# The same results whatever vector code there is.
export QV_TEST_NO_WIDE=1
step 'release, no wide vectors' release 'unit' qv_kernel_tests
unset QV_TEST_NO_WIDE
step 'address + undefined (clang++)' asan-ubsan 'unit|threads|driver|compile_fail|header|canary'
step_in_fixed_placement 'thread sanitizer (clang++)' tsan 'threads' qv_kernel_thread_tests
step_in_fixed_placement 'memory sanitizer (clang++)' msan 'driver'
step 'tracking, unsigned char (g++)' mem-tracking 'unit' qv_kernel_tests
step 'without assertions (g++)' no-asserts 'unit' qv_kernel_tests
step 'no vectors (g++)' portable 'unit' qv_kernel_tests
# Each target searches for some seconds.
step 'fuzz targets (clang++)' fuzz 'fuzz'
summary
exit
