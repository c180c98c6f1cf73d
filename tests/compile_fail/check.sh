#!/bin/sh
# Checks one source of misuse: it must not compile, and for the right reason.
#
#   check.sh <source> <compiler> <project folder> [folder of what precompile.sh made]
#
# The source must compile when QV_COMPILE_FAIL_CONTROL is defined and fail to compile when it is not. Comments in it say
# more:
#   // EXPECT: <regex>    the compiler's output must match; several such lines are alternatives
#   // FLAGS: <flags>     further flags for both compilations
#   // ERRORS: <count>   so many errors and no more, the first of which is what was expected
#   // ONLY: <word>       only for compilers whose --version output has that word; skipped elsewhere
set -u
source=$1
compiler=$2
root=$3
precompiled=${4:-}
. "$(dirname "$0")/compiler.inc"

# The text after "// <word>: ", one line for each such comment.
comments()
{
    sed -n "s,^// $1: *,,p" "$source"
}

fail()
{
    printf '%s: %s\n' "$source" "$1"
    [ $# -lt 2 ] || printf '%s\n' "$2"
    exit 1
}

only=$(comments ONLY)
if [ -n "$only" ] && ! "$compiler" --version | grep -q -e "$only"; then
    printf 'skipped: only for %s\n' "$only"
    exit 77
fi

# Read before the source, of which it changes nothing: only where the source reads it, too, and in the same standard.
include=
if [ -n "$precompiled" ] && grep -q '^#include "kr_string\.h"' "$source" && ! comments FLAGS | grep -q -e '-std='; then
    include=$precompiled/precompiled.h
fi

# Compiles with the given further flags; prints what the compiler says.
compile()
{
    # The flags of the source are words.
    # shellcheck disable=SC2046
    call_compiler "$compiler" "$root" ${include:+-include "$include"} $(comments FLAGS) "$@" -c -o /dev/null \
        "$source" 2>&1
}

patterns=$(comments EXPECT)
[ -n "$patterns" ] || fail 'has no "// EXPECT: <regex>" line'

if ! output=$(compile -DQV_COMPILE_FAIL_CONTROL); then
    fail 'the control does not compile:' "$output"
fi
if output=$(compile); then
    fail 'compiles, but must not'
fi
errors=$(comments ERRORS)
if [ -n "$errors" ]; then
    [ "$(printf '%s\n' "$output" | grep -c 'error:')" -eq "$errors" ] || fail "not $errors errors:" "$output"
    output=$(printf '%s\n' "$output" | grep -m 1 'error:')
fi
# grep takes each line of its pattern argument as an alternative.
if ! printf '%s\n' "$output" | grep -q -E -e "$patterns"; then
    fail 'fails to compile for another reason than expected:' "$output"
fi
