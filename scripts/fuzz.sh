#!/bin/sh
# ./run fuzz: runs each fuzz target, or the one named, for some time.
. "$(dirname "$0")/common.inc"
. "$root/scripts/needs.inc"
. "$root/scripts/build.inc"

# A name, with or without its ending, then a number; each may be left out.
target=
case ${1:-} in
    *[!0-9]*)
        target=${1%_fuzz}_fuzz
        shift
        ;;
esac
if [ -n "$target" ] && [ ! -f "tests/fuzz/$target.cpp" ]; then
    complain "fuzz: unknown target ${target%_fuzz}; there are:"
    for source in tests/fuzz/*_fuzz.cpp; do
        name=${source##*/}
        printf '  %s\n' "${name%_fuzz.cpp}" >&2
    done
    exit 2
fi
seconds=${1:-60}
case $seconds in
    *[!0-9]* | 0*)
        complain "fuzz: not a number of seconds: $seconds"
        exit 2
        ;;
esac
if [ $# -gt 1 ]; then
    complain "fuzz: unknown argument $2"
    exit 2
fi
ensure g++ cmake ninja-build clang libclang-rt-dev -- llvm
# shellcheck disable=SC2086
build fuzz $target || exit 1
failed=0
for program in build/fuzz/tests/fuzz/${target:-*_fuzz}; do
    is_program "$program" || continue
    name=${program##*/}
    # New inputs are kept with the build; the seeds stay as they are.
    mkdir -p "build/fuzz/corpus/$name" "tests/fuzz/corpus/$name"
    say "== $name"
    "$program" -max_total_time="$seconds" -max_len=1024 -timeout=10 -print_final_stats=1 \
        -dict="tests/fuzz/dictionaries/$name.dict" -artifact_prefix="build/fuzz/$name-" "build/fuzz/corpus/$name" "tests/fuzz/corpus/$name" || failed=1
done
exit $failed
