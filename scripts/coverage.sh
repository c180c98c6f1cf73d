#!/bin/sh
# ./run coverage: lines and branches of Runtime/ that the tests reach.
. "$(dirname "$0")/common.inc"
. "$root/scripts/needs.inc"
. "$root/scripts/build.inc"

ensure g++ cmake ninja-build libgtest-dev clang libclang-rt-dev llvm -- locales
ensure_locales
profiles=build/coverage/profiles
rm -rf "$profiles"
failed=0
objects=
# Both default allocators: the plain one and the tracking one.
for preset in coverage coverage-tracking; do
    build $preset || exit 1
    mkdir -p "$profiles"
    for program in "build/$preset/tests/qv_kernel_tests" "build/$preset/tests/qv_kernel_thread_tests" \
        "build/$preset/tests"/qv_driver_*; do
        is_program "$program" || continue
        LLVM_PROFILE_FILE="$profiles/$preset-${program##*/}-%4m.profraw" "$program" >"$profiles/log" 2>&1 || {
            failed=1
            cat "$profiles/log"
        }
        objects="$objects -object $program"
    done
done
llvm-profdata merge -sparse "$profiles"/*.profraw -o "$profiles/all.profdata" || exit 1
# shellcheck disable=SC2086
set -- ${objects# -object} -instr-profile="$profiles/all.profdata" \
    -ignore-filename-regex='/(tests|examples|benchmarks)/|^/usr/'
# Line by line, for reading.
llvm-cov show "$@" -show-branches=count >build/coverage/coverage.txt
llvm-cov report "$@" -show-region-summary=false
say ''
say 'Line by line: build/coverage/coverage.txt'
[ $failed -eq 0 ] || complain 'some tests failed'
exit $failed
