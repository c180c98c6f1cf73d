#!/bin/sh
# The tables of the log analyser, its answers to mistakes in the text and in the arguments, and its exit codes.
#   log_analyser_test.sh <program> <scratch folder>
set -u
program=$1
scratch=$2
failed=0
rm -rf "$scratch"
mkdir -p "$scratch" || exit 2

# check <what> <wanted> <got>
check()
{
    if [ "$2" = "$3" ]; then
        printf 'PASS  %s\n' "$1"
    else
        printf 'FAIL  %s: wanted\n%s\ngot\n%s\n' "$1" "$2" "$3"
        failed=1
    fi
}

# Runs the program; leaves its output, complaints and exit code behind.
analyse()
{
    "$program" "$@" >"$scratch/out" 2>"$scratch/err" </dev/null
    code=$?
    out=$(cat "$scratch/out")
    complaints=$(cat "$scratch/err")
}

# ---- A text without mistakes -----------------------------------------------------------------------------------------

# Keys in any case and with blanks, a value of several lines, more than one blank line, one with blanks in it, no number
# in one stanza, no end of the last line.
log=$scratch/ships
{
    printf 'Package: hull\nSection: libs\nInstalled-Size: 1200\nMaintainer: Shipyard <yard@example.org>\n'
    printf 'Description: the lowest part\n of a ship,\n .\n\tand of a boat\n\n'
    printf 'package: keel\nsection : libs\ninstalled-size:   34567\nMaintainer: Shipyard <yard@example.org>\n \t\n'
    printf 'Package: mast\r\nSection: spars  \r\nInstalled-Size: 1000000\r\n\r\n\n'
    printf 'Package: flag\nSection: signals\nMaintainer: Signalman'
} >"$log"

keys='     lines      characters  key
         3              63  Maintainer
         4              20  Section
         4              16  Package
         3              16  Installed-Size
         1              15  Description'

analyse "$log"
check 'a text: exit code' 0 "$code"
check 'a text: no complaints' '' "$complaints"
check 'a text: the tables' "22 lines, 4 stanzas, 5 keys

$keys

   stanzas  Installed-Size  Section
         1       1,000,000  spars
         2          35,767  libs
         1               0  signals

   stanzas  Installed-Size  Maintainer
         2          35,767  Shipyard <yard@example.org>
         1               0  Signalman" "$out"

got=$("$program" - --key Section <"$log")
check 'standard input: exit code' 0 "$?"
check 'standard input, and a key' "22 lines, 4 stanzas, 5 keys

$keys

   stanzas  Installed-Size  Section
         1       1,000,000  spars
         2          35,767  libs
         1               0  signals" "$got"

analyse --top 1 "$log"
check 'the largest' '22 lines, 4 stanzas, 5 keys

     lines      characters  key
         3              63  Maintainer
                            and 4 more

   stanzas  Installed-Size  Section
         1       1,000,000  spars
                            and 2 more

   stanzas  Installed-Size  Maintainer
         2          35,767  Shipyard <yard@example.org>
                            and 1 more' "$out"

analyse "$log" --key DESCRIPTION --key package --sum Section --top 2
check 'a value of several lines, and no numbers' '22 lines, 4 stanzas, 5 keys

     lines      characters  key
         3              63  Maintainer
         4              20  Section
                            and 3 more

   stanzas         Section  DESCRIPTION
         1               0  the lowest part of a ship, . and of a boat

   stanzas         Section  package
         1               0  flag
         1               0  hull
                            and 2 more' "$out"
check 'what is no number is named' 'log_analyser: line 2: no number in "Section: libs"
log_analyser: line 11: no number in "section : libs"
log_analyser: line 16: no number in "Section: spars"
log_analyser: line 21: no number in "Section: signals"' "$complaints"
check 'what is no number: exit code' 0 "$code"

# ---- A text with mistakes --------------------------------------------------------------------------------------------

{
    printf ' continues nothing\nno key here\n: nor here\nSize: 12x\nName: a\n\nName: a\n'
    printf 'Size: 18446744073709551616\n\nName: a\nSize: -1\n\nName: a\nSize:\n\nName: a\nSize: 18446744073709551\nName:\n b\n'
} >"$scratch/mistakes"
analyse "$scratch/mistakes" --key name --sum size
check 'mistakes: exit code' 0 "$code"
check 'mistakes: are named' 'log_analyser: line 2: no key in "no key here"
log_analyser: line 3: no key in ": nor here"
log_analyser: line 4: no number in "Size: 12x"
log_analyser: line 8: no number in "Size: 18446744073709551616"
log_analyser: line 11: no number in "Size: -1"
log_analyser: line 14: no number in "Size:"' "$complaints"
check 'mistakes: count for nothing' '19 lines, 5 stanzas, 2 keys

     lines      characters  key
         5              42  Size
         6               5  Name

   stanzas            size  name
         118,446,744,073,709,551  b
         4               0  a' "$out"

# ---- Nothing ---------------------------------------------------------------------------------------------------------

: >"$scratch/empty"
analyse "$scratch/empty"
check 'an empty file: exit code' 0 "$code"
check 'an empty file' '0 lines, 0 stanzas, 0 keys' "$out"
analyse "$scratch/empty" --key Section
check 'a key of an empty file: exit code' 2 "$code"
check 'a key of an empty file: no suggestion' 'log_analyser: no key "Section"' "$complaints"
printf '\n\n \n' >"$scratch/blank"
analyse "$scratch/blank"
check 'blank lines' '3 lines, 0 stanzas, 0 keys' "$out"

# ---- Arguments -------------------------------------------------------------------------------------------------------

for typo in sectoin Setcion secton; do
    analyse "$log" --key $typo
    check "$typo: exit code" 2 "$code"
    check "$typo: a suggestion" "log_analyser: no key \"$typo\"; did you mean \"Section\"?" "$complaints"
    check "$typo: no tables" '' "$out"
done
analyse "$log" --key Package --key maintaner
check 'one key of two' 'log_analyser: no key "maintaner"; did you mean "Maintainer"?' "$complaints"
analyse "$log" --key xyz
check 'a key like no other' 'log_analyser: no key "xyz"' "$complaints"

analyse "$scratch/missing"
check 'a missing file: exit code' 2 "$code"
check 'a missing file: message' "log_analyser: \"$scratch/missing\" cannot be read" "$complaints"
analyse "$scratch"
check 'a folder: exit code' 2 "$code"
check 'a folder: message' "log_analyser: \"$scratch\" cannot be read" "$complaints"

# wrong <arguments...>
wrong()
{
    analyse "$@"
    check "$*: exit code" 2 "$code"
    check "$*: usage" 'usage: log_analyser' "$(printf '%.19s' "$complaints")"
}
wrong --key
wrong --top
wrong --top x
wrong --top -1
wrong --top 1x
wrong --unknown 1
wrong "$log" "$log"

if [ -w /dev/full ]; then
    "$program" "$log" >/dev/full 2>"$scratch/err"
    check 'a full disk: exit code' 1 "$?"
fi
exit $failed
