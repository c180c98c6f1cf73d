#!/bin/sh
# ./run concurrency: every execution of small programs of threads, many copies of strings, and the thread sanitizers.
. "$(dirname "$0")/common.inc"
. "$root/scripts/needs.inc"
. "$root/scripts/build.inc"
. "$root/scripts/steps.inc"
. "$root/scripts/sanitizers.inc"

# Of the programs, each so many are run.
every=1
copies=100000000
case ${1:-} in
    '') ;;
    --quick)
        every=100
        copies=10000000
        shift
        ;;
esac
if [ $# -ne 0 ]; then
    complain "concurrency: unknown argument $1"
    exit 2
fi

# Shares the programs of a kind among as many processes as there are processors, and prints their figures together.
#   explore <kind>
explore()
{
    share=0
    while [ "$share" -lt "$jobs" ]; do
        (
            $runs "$1" $every $share "$jobs" >"build/concurrency_$share"
            echo $? >"build/concurrency_$share.code"
        ) &
        share=$((share + 1))
    done
    wait
    share=0
    while [ "$share" -lt "$jobs" ]; do
        [ "$(cat "build/concurrency_$share.code")" -eq 0 ] || failed=1
        cat "build/concurrency_$share"
        share=$((share + 1))
    done | awk '
        {
            programs += $2
            executions += $3
            blocked += $4
            most = $5 > most ? $5 : most
            seconds = $6 > seconds ? $6 : seconds
            name = $1
            $1 = $2 = $3 = $4 = $5 = $6 = ""
            text = $0
        }
        END {
            sub(/^ */, "", text)
            printf "%-12s %9d %12d %10d %9d %8.1f  %s\n", name, programs, executions, blocked, most, seconds, text
        }'
}

ensure g++ cmake ninja-build libgtest-dev clang libclang-rt-dev -- llvm
runs=build/quick/tests/qv_concurrency_runs
build quick qv_concurrency_runs qv_driver_copies_driver || exit 1
failed=0
say '== Executions'
printf '%-12s %9s %12s %10s %9s %8s\n' kind programs executions blocked 'most of 1' seconds
for kind in $($runs kinds); do
    explore "$kind"
done
say '== Copies and releases'
build/quick/tests/qv_driver_copies_driver $copies || failed=1
sanitize_thread
sanitize_thread_gcc
summary || failed=1
[ $failed -eq 0 ] || complain 'concurrency: something is wrong: see above'
exit $failed
