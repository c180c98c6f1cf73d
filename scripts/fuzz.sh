#!/bin/sh
# ./run fuzz: runs each fuzz target, or the one named, for some time or on so many inputs.
. "$(dirname "$0")/common.inc"
. "$root/scripts/needs.inc"
. "$root/scripts/build.inc"

# check_number <number> <what it should be>
check_number()
{
    case $1 in
        '' | *[!0-9]* | 0*)
            complain "fuzz: not a number of $2: $1"
            exit 2
            ;;
    esac
}

# New inputs are kept with the build; the seeds stay as they are.
#   search <name of a target>
search()
{
    mkdir -p "build/fuzz/corpus/$1"
    say "== $1"
    "build/fuzz/tests/fuzz/$1" -max_total_time="$seconds" -max_len=1024 -timeout=10 -print_final_stats=1 \
        -dict="tests/fuzz/dictionaries/$1.dict" -artifact_prefix="build/fuzz/$1-" "build/fuzz/corpus/$1" "tests/fuzz/corpus/$1" || failed=1
}

# Shares the inputs among as many processes as there are processors.
#   run_blind <name of a target>
run_blind()
{
    share=0
    while [ $share -lt "$jobs" ]; do
        first=$(((from * jobs + millions * share) * 1000000 / jobs))
        behind=$(((from * jobs + millions * (share + 1)) * 1000000 / jobs))
        (
            "build/fuzz-blind/tests/fuzz/$1" --from=$first --inputs=$((behind - first)) --kept="build/fuzz-blind/$1-" \
                "tests/fuzz/corpus/$1" >"build/fuzz-blind/$1.$share" 2>&1
            echo $? >"build/fuzz-blind/$1.$share.code"
        ) &
        share=$((share + 1))
    done
    wait
    share=0
    while [ $share -lt "$jobs" ]; do
        if [ "$(cat "build/fuzz-blind/$1.$share.code")" -eq 0 ]; then
            say "$1: $(tail -n 1 "build/fuzz-blind/$1.$share")"
        else
            failed=1
            say "$1:"
            cat "build/fuzz-blind/$1.$share"
        fi
        share=$((share + 1))
    done
}

blind=
if [ "${1:-}" = --blind ]; then
    blind=1
    shift
fi
# A name, with or without its ending; then numbers, each of which may be left out.
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
failed=0
if [ -n "$blind" ]; then
    millions=${1:-10}
    from=${2:-0}
    check_number "$millions" millions
    [ "$from" = 0 ] || check_number "$from" millions
    numbers=2
    preset=fuzz-blind
    needed='g++ cmake ninja-build'
else
    seconds=${1:-60}
    check_number "$seconds" seconds
    numbers=1
    preset=fuzz
    needed='g++ cmake ninja-build clang libclang-rt-dev -- llvm'
fi
if [ $# -gt $numbers ]; then
    shift $numbers
    complain "fuzz: unknown argument $1"
    exit 2
fi
# shellcheck disable=SC2086
ensure $needed
# shellcheck disable=SC2086
build $preset $target || exit 1
for program in build/$preset/tests/fuzz/${target:-*_fuzz}; do
    is_program "$program" || continue
    if [ -n "$blind" ]; then
        run_blind "${program##*/}"
    else
        search "${program##*/}"
    fi
done
exit $failed
