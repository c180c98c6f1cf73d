#!/bin/sh
# Rule: public headers define no macro but QV_..., in capitals, and undefine none but their own.
# Reason: macros know no namespace. A name without our prefix would rewrite the code of whoever includes us.
. "$(dirname "$0")/common.inc"

# Complains of one directive: "define" or "undef" of a name, found at a place.
# The variables in it are awk's.
# shellcheck disable=SC2016
judge='
    function judge(place, directive, name)
    {
        if (name !~ /^QV_[A-Z0-9_]+$/)
            print place ": #" directive " " name
    }
'

public_headers >"$scratch/headers"

# As written: every branch, those for other platforms too.
while IFS= read -r header; do
    LC_ALL=C awk -v name="$header" "$judge"'
        # A directive may be continued anywhere.
        {
            line = rest $0
            rest = ""
            if (sub(/\\$/, "", line)) {
                rest = line
                next
            }
        }
        line ~ /^[ \t]*#[ \t]*(define|undef)[ \t]/ {
            sub(/^[ \t]*#[ \t]*/, "", line)
            split(line, words, /[ \t(]+/)
            judge(name ":" NR, words[1], words[2])
        }' "$root/$header" || breach "$header: cannot be read"
done <"$scratch/headers" >"$scratch/found"
cat "$scratch/found" >>"$breaches"

# As compiled: what the preprocessor attributes to our files, whichever way they came to define it.
if compiler=$(find_compiler g++ clang++ c++); then
    while IFS= read -r header; do
        # For users of another library, without which it says so and ends.
        case $header in
            */kr_string_fmt.h) echo '#include <fmt/format.h>' | "$compiler" -x c++ -E - >/dev/null 2>&1 || continue ;;
        esac
        if ! "$compiler" -std=c++17 "-I$root/Runtime/include" "-I$root/Runtime/qv_kernel/include" \
            -x c++ -E -dD "$root/$header" >"$scratch/preprocessed" 2>"$scratch/errors"; then
            breach "$header: does not preprocess: $(head -n 1 "$scratch/errors")"
            continue
        fi
        LC_ALL=C awk -v ours="$root/Runtime/" "$judge"'
            # A line marker names the file that the following lines come from.
            /^# [0-9]+ "/ {
                file = $0
                sub(/^# [0-9]+ "/, "", file)
                sub(/".*/, "", file)
                next
            }
            /^#(define|undef) / && index(file, ours) == 1 {
                name = $2
                sub(/\(.*/, "", name)
                judge("Runtime/" substr(file, length(ours) + 1) " (preprocessed)", substr($1, 2), name)
            }' "$scratch/preprocessed" || breach "$header: cannot be read"
    done <"$scratch/headers" >"$scratch/found"
    sort -u "$scratch/found" >>"$breaches"
fi
verdict
