#!/bin/sh
# Rule: kr_string.h brings no more lines than the standard's <string>, and kr_string_fwd.h next to none, in each standard
# and with each compiler that is there. Counted without comments and empty lines.
# Reason: whoever mentions text pays for it in every source. One include is enough to double that: <memory> or <iterator>.
. "$(dirname "$0")/common.inc"

# Prints the number of lines that the compiler reads for an include.
#   lines_of <compiler> <standard> <include>
lines_of()
{
    printf '#include %s\n' "$3" >"$scratch/include.cpp"
    "$1" "-std=$2" -E -P "-I$root/Runtime/include" "-I$root/Runtime/qv_kernel/include" "$scratch/include.cpp" \
        2>"$scratch/said" >"$scratch/lines" || return 1
    wc -l <"$scratch/lines"
}

# check <header> <compiler> <standard> <lines at most>
check()
{
    header=Runtime/qv_kernel/include/$1
    [ -f "$root/$header" ] || return
    if ! lines=$(lines_of "$2" "$3" "\"$1\""); then
        breach "$header: $2 cannot read it as $3: $(head -n 1 "$scratch/said")"
    elif [ "$lines" -gt "$4" ]; then
        breach "$header: $lines lines with $2 as $3, of $4"
    fi
}

compilers=''
for compiler in g++ clang++; do
    ! command -v "$compiler" >/dev/null 2>&1 || compilers="$compilers $compiler"
done
[ -n "$compilers" ] || skip 'neither g++ nor clang++ is there'

for compiler in $compilers; do
    # What came to be C++23 goes by its working name, which all of them know.
    for standard in c++17 c++20 c++2b; do
        string_lines=$(lines_of "$compiler" $standard '<string>') || continue
        check kr_string.h "$compiler" $standard "$string_lines"
        check kr_string_fwd.h "$compiler" $standard 40
    done
done
verdict
