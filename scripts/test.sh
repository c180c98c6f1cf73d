#!/bin/sh
# ./run test: builds and runs all tests, the quick part of them, or those with matching names.
. "$(dirname "$0")/common.inc"
. "$root/scripts/needs.inc"
. "$root/scripts/build.inc"
. "$root/scripts/steps.inc"
. "$root/scripts/sanitizers.inc"
. "$root/scripts/platforms.inc"

# Names of the tests of the quick build that match and are registered without their program: all but those of
# GoogleTest's programs.
match_scripts_and_drivers()
{
    ctest --test-dir build/quick -N -LE '^(unit|threads)$' -R "$1" 2>/dev/null |
        sed -n '/_NOT_BUILT$/d; s/^ *Test *#[0-9]*: \([^ ]*\).*/\1/p'
}

# What is to be built for the tests that match: the programs of the build that their commands name. CTest itself does not
# say those that are not built.
list_programs()
{
    ctest --test-dir build/quick -N -R "$1" 2>/dev/null | sed -n 's/^ *Test *#[0-9]*: \([^ ]*\).*/add_test([=[\1]=] /p' |
        grep -h -F -f - build/quick/tests/CTestTestfile.cmake | tr '" ' '\n' |
        sed -n "s,^$root/build/quick/.*/\\([a-z0-9_]*\\)\$,\\1,p" | grep -v '_scratch$' | sort -u
}

# What is to be built before the tests with matching names are known. Names of GoogleTest's tests have capitals and are
# known when their programs are built; all others are in small letters, and so a pattern without capitals asks for those
# first. Sets the pattern of CTest's and the programs.
select_tests()
{
    pattern=
    programs=
    for name in "$@"; do
        found=$(match_scripts_and_drivers "$name" | tr '\n' '|')
        [ -z "$found" ] || pattern="$pattern|^(${found%|})\$"
        case $name in
            *[A-Z]*) ;;
            *) [ -z "$found" ] || continue ;;
        esac
        pattern="$pattern|$name"
        programs='qv_kernel_tests qv_kernel_thread_tests'
    done
    pattern=${pattern#|}
}

# Builds and runs the tests with matching names, in the quick build.
test_by_name()
{
    ensure g++ cmake ninja-build libgtest-dev
    # Sources that are new since the last build register tests.
    build quick build.ninja || exit 1
    select_tests "$@"
    start=$(date +%s)
    # The programs are words. Without any, everything would be built.
    # shellcheck disable=SC2046,SC2086
    build quick build.ninja $programs $(list_programs "$pattern") || exit 1
    for name in "$@"; do
        if ctest --test-dir build/quick -N -R "$name" | grep -q -x 'Total Tests: 0'; then
            complain "test: no test of the quick build has a name like: $name"
            exit 1
        fi
    done
    run_tests 'release (g++): by name' quick "$start" -R "$pattern"
    summary
    exit
}

quick=
case ${1:-} in
    '') ;;
    --quick)
        quick=yes
        shift
        ;;
    -*)
        complain "test: unknown argument $1"
        exit 2
        ;;
    *) test_by_name "$@" ;;
esac
if [ -n "$quick" ] && [ $# -ne 0 ]; then
    complain 'test: --quick is for all tests'
    exit 2
fi
if [ -n "$quick" ]; then
    # The rules ask for the tools, the header for fmt for that.
    ensure g++ cmake ninja-build libgtest-dev -- clang clang-format shellcheck libfmt-dev
    step 'release (g++): units and rules' quick 'unit|rule|canary|header17' qv_kernel_tests qv_canary
    summary
    exit
fi
# Behind the tools: debuggers, which show the types; who looks through packages; who makes the reference; other machines,
# emulated; the compiler with the real-time sanitizer.
# shellcheck disable=SC2046
ensure g++ cmake ninja-build libgtest-dev libcli11-dev clang libclang-rt-dev -- \
    llvm clang-format pkg-config shellcheck locales libbenchmark-dev libfmt-dev python3 gdb lldb lintian doxygen \
    qemu-user g++-aarch64-linux-gnu g++-arm-linux-gnueabihf $(needs_of_all short-i386 short-s390x short-windows) \
    clang-22 libclang-rt-22-dev python3-clang-22 libclang-22-dev
ensure_locales
expect_steps 11
step_units 'release (g++): units' release
step_but_units 'the same: everything else' release
sanitize_address
sanitize_thread
sanitize_memory
# Three that have nothing to do with each other share a build, and a locale with letters beyond ASCII comes with it.
export LC_ALL=de_DE.UTF-8
narrow=platform-short-i386
[ -z "$(reason_against short-i386)" ] || narrow=tracking-portable
step_units '32 bits, tracking, wiped, portable' $narrow
unset LC_ALL
step 'the same: fuzz targets, an example' $narrow 'fuzz|example_copy_figures' fuzzers example_copy_figures
# The build without assertions, with an unsigned char, with guards between slabs, with what is freed overwritten and
# without zeros behind texts, and under the sanitizer that sees what blocks and must not where the compiler has it. In it,
# the same results without wide vectors, and in the Turkish locale, which has another upper case of i, and a decimal comma.
export QV_TEST_NO_WIDE=1 LC_ALL=tr_TR.UTF-8
if met clang-22 && met libclang-rt-22-dev; then
    sanitize_realtime
else
    step_units 'no assertions, no wide vectors, Turkish' no-asserts
fi
unset QV_TEST_NO_WIDE LC_ALL
# Other machines and systems: those of their tests that depend on it.
step_platform 'big endian (s390x, emulated)' short-s390x
step_platform 'Windows (Wine)' short-windows
summary
exit
