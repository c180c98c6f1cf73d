#!/bin/sh
# Rule: nothing is left out of what ./run coverage counts but by an entry of tests/coverage/exclusions.txt, which gives its
# reason and whose place is there.
# Reason: figures of coverage mean what their exclusions leave of them.
#
# An entry is "file | kind | text | reason", as the head of the list says. Whether the place is open in truth, and whether
# all others are covered, is for ./run coverage to find out.
. "$(dirname "$0")/common.inc"

list=tests/coverage/exclusions.txt
[ -d "$root/tests/coverage" ] || verdict

# Functions of the library are counted wherever they are compiled: all but these lines would count others, or less.
counted=scripts/coverage_sources.txt
grep -v '^#' "$root/$counted" 2>/dev/null >"$scratch/counted"
printf '[clang]\ndefault:skip\nsource:*/Runtime/*=allow\n' | cmp -s - "$scratch/counted" ||
    breach "$counted: counts something else than all functions in Runtime/"

# What keeps tools from counting, in the sources themselves.
project_files | grep '^Runtime/' >"$scratch/sources"
while IFS= read -r file; do
    LC_ALL=C grep -n -E 'no_profile_instrument_function|no_instrument_function|NO_PROFILE|(LCOV|GCOVR?)_EXCL|__llvm_profile' \
        "$root/$file" | sed "s,^,$file:,"
done <"$scratch/sources" >>"$breaches"

[ -f "$root/$list" ] || breach "$list: is not there"
grep -n -v -E '^(#|$)' "$root/$list" 2>/dev/null >"$scratch/entries"
while IFS= read -r entry; do
    line=$list:${entry%%:*}
    entry=${entry#*:}
    file=${entry%% | *}
    rest=${entry#* | }
    kind=${rest%% | *}
    rest=${rest#* | }
    text=${rest% | *}
    reason=${rest##* | }
    case $entry in
        *' | '*' | '*' | '*) ;;
        *)
            breach "$line: is not: file | kind | text | reason"
            continue
            ;;
    esac
    [ -n "$(printf '%s' "$reason" | tr -d ' ')" ] || breach "$line: has no reason"
    [ -f "$root/$file" ] || {
        breach "$line: $file is not there"
        continue
    }
    case $kind in
        constant)
            grep -q -E "constexpr (.*[ *&])?$text\\(" "$root/$file" || breach "$line: $file has no constexpr function $text"
            ;;
        line | true | false | alone)
            grep -q -F -e "$text" "$root/$file" || breach "$line: $file has no such text: $text"
            ;;
        *) breach "$line: the kind is none: $kind" ;;
    esac
done <"$scratch/entries"
sed 's/^[0-9]*://; s/ | [^|]*$//' "$scratch/entries" | sort | uniq -d | sed "s,^,$list: stands there twice: ," >>"$breaches"
verdict
