#!/bin/sh
# Threads find what one thread finds, however many there are.
#   parallel_scoring_test.sh <program>
set -u

failed=0

# check <what> <wanted> <got>
check()
{
    if [ "$2" = "$3" ]; then
        printf 'PASS  %s\n' "$1"
    else
        printf 'FAIL  %s: wanted "%s", got "%s"\n' "$1" "$2" "$3"
        failed=1
    fi
}

# check_scores <wanted first line> <arguments...>
check_scores()
{
    wanted=$1
    shift
    got=$("$program" "$@")
    check "$*: exit code" 0 "$?"
    check "$*: the best" "$wanted" "$(printf '%s\n' "$got" | head -n 1)"
    check "$*: the same results" 'same weights: yes' "$(printf '%s\n' "$got" | tail -n 1)"
}

program=$1
best='100000 names, best stone_wall_512.mesh (0.919)'
check_scores "$best"
# 7 and 64 do not divide the list.
for threads in 1 2 7 64; do
    check_scores "$best" stoen_wal_512.mesh $threads
done
check_scores '100000 names, best water_engine_29.mesh (1.000)' water_engine_29.mesh 3
long=$(printf '%0300d' 0)
check_scores "$("$program" "$long" 1 | head -n 1)" "$long" 5

for count in 0 65 -1 x 1x ''; do
    "$program" hull "$count" >/dev/null 2>&1
    check "$count threads: exit code" 2 "$?"
done
"$program" '' >/dev/null 2>&1
check 'an empty query: exit code' 2 "$?"
"$program" hull 2 more >/dev/null 2>&1
check 'an argument too many: exit code' 2 "$?"
exit $failed
