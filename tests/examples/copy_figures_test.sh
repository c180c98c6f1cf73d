#!/bin/sh
# What the example prints of shared and of private copies, in a library that counts them and in one that does not.
#   copy_figures_test.sh <program>
set -u

shared='100 names share a text
0 names share a text'
uncounted='the library was built without QV_MEM_TRACKING, and has counted nothing'
counted='100 handles were copied, which copies no text
99 copies were made for writing, of 1287 characters
  99 of them by ToUppercase, called from 0x...'

if ! got=$("$1"); then
    echo 'FAIL  copy figures: exit code'
    exit 1
fi
# Addresses differ from run to run.
got=$(printf '%s\n' "$got" | sed 's/0x[1-9a-f][0-9a-f]*$/0x.../')
case $got in
    "$shared
$uncounted") echo 'PASS  copy figures, without tracking' ;;
    "$shared
$counted") echo 'PASS  copy figures, with tracking' ;;
    *)
        printf 'FAIL  copy figures: got\n%s\n' "$got"
        exit 1
        ;;
esac
