#!/bin/sh
# What runs fuzz targets where the compiler brings no fuzzer (replay_main.cpp), on a target with a fault.
#   replay_test.sh <program>
program=$1
folder=$(mktemp -d) || exit 2
trap 'rm -rf "$folder"' EXIT
trap 'exit 130' HUP INT TERM
cd "$folder" || exit 2
failed=0

# expect <what is promised> <command...>
expect()
{
    promise=$1
    shift
    "$@" || deny
}

# What the program says is in the file "said".
#   succeeds <what is promised> <arguments of the program...>
succeeds()
{
    promise=$1
    shift
    "$program" "$@" >said 2>&1 || deny
}

#   fails <what is promised> <arguments of the program...>
fails()
{
    promise=$1
    shift
    ! "$program" "$@" >said 2>&1 || deny
}

deny()
{
    printf '%s: not so\n' "$promise" >&2
    failed=1
}

mkdir seeds
printf '!xyz' >seeds/one
printf 'abc' >seeds/two
succeeds 'files are run' seeds/one seeds/two
expect 'and counted' grep -q -x '2 files' said
fails 'a file that is not there is a failure' seeds/one nowhere
fails 'and so is a run of nothing'

fails 'an input that ends the program is found' --inputs=100000 --kept=found- seeds
input=$(ls found-*)
number=${input#found-input-}
expect 'named' grep -q "signal .* while this ran: $input\$" said
expect 'and kept' test "$(head -c 2 "$input")" = '!?'
fails 'it ends the program again' "$input"
cp "$input" kept
fails 'its number stands for it' "--from=$number" --inputs=1 --kept=found- seeds
expect 'with the same bytes' cmp -s kept "$input"
succeeds 'those before it were run' "--inputs=$number" seeds
expect 'and counted' grep -q "^from 0 on $number inputs of [0-9.]* bytes in [0-9.]* seconds\$" said
exit $failed
