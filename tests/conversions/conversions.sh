#!/bin/sh
# Checks the table in conversions.inc: what compiles and what does not, with both compilers and in every standard; and
# which overload is taken, by the functions that a program calls that is compiled without optimisation.
#
#   conversions.sh <source folder>
#
# Skipped (77) where neither compiler is installed. Overloads are read where there is an objdump.
set -u
source=$1
folder=$source/tests/conversions
# shellcheck source=tests/support/compile.inc
. "$source/tests/support/compile.inc"
make_scratch

# compile <compiler> <standard> <further arguments>: prints what the compiler says when it fails.
compile()
{
    compiler=$1
    standard=$2
    shift 2
    output=$scratch/$compiler.$standard
    "$compiler" "-std=c++$standard" -O0 -DQV_INTERNAL_ALWAYS_INLINE= "-I$source/Runtime/include" \
        "-I$source/Runtime/qv_kernel/include" "$@" "$folder/conversions.cpp" >"$output" 2>&1 && return
    printf '%s, C++%s:\n' "$compiler" "$standard"
    grep -e 'error' "$output" || cat "$output"
    return 1
}

object=
for compiler in g++ clang++; do
    command -v "$compiler" >/dev/null 2>&1 || continue
    in_background compile "$compiler" 17 -c -o "$scratch/$compiler.o"
    in_background compile "$compiler" 20 -fsyntax-only
    wait_for_all
    in_background compile "$compiler" 2b -fsyntax-only
    object="$object $scratch/$compiler.o"
done
[ -n "$object" ] || exit 77
wait_for_all

if ! command -v objdump >/dev/null 2>&1; then
    echo 'conversions: no objdump to read overloads with'
    exit 0
fi

# The table, and then what objdump says of one object.
# shellcheck disable=SC2016
check_overloads='
    # A name without the arguments of templates.
    function plain(name)
    {
        gsub(/operator<=/, "operator_le", name)
        gsub(/operator>=/, "operator_ge", name)
        gsub(/operator</, "operator_lt", name)
        gsub(/operator>/, "operator_gt", name)
        while (gsub(/<[^<>]*>/, "", name)) continue
        gsub(/ *\(/, "(", name)
        gsub(/std::__[a-z0-9]+::/, "std::", name)
        return name
    }
    # The argument at a place in a list that begins behind the parenthesis.
    function argument(list, place, parts)
    {
        sub(/\).*/, "", list)
        split(list, parts, ", ")
        return parts[place]
    }
    BEGIN {
        letters["char const*"] = "t"
        letters["Quorvane::CString const&"] = letters["Quorvane::CString&&"] = "s"
        letters["Quorvane::CStringView const&"] = "v"
        letters["std::basic_string_view const&"] = "d"
        letters["char"] = "c"
    }
    FNR == NR {
        if (split($0, parts, "\"") >= 5 && parts[1] == "ROW(" && parts[2] != "") {
            shown[FNR] = parts[2]
            operation[FNR] = plain(parts[2])
            sub(/[^0-9]*/, "", parts[3])
            place[FNR] = parts[3] + 0
            cells[FNR] = parts[4]
        }
        next
    }
    match($0, /TUse<[0-9]+, [0-9]+,.*::Call\(\)>:/) {
        split(substr($0, RSTART + 5), parts, ", ")
        line = parts[1]
        column = parts[2] + 0
        next
    }
    /^[0-9a-f]+ </ { line = 0 }
    line in operation && /R_[A-Z0-9_]+/ {
        name = $0
        sub(/.*R_[A-Z0-9_]+[ \t]*/, "", name)
        name = plain(name)
        at = index(name, "Quorvane::" operation[line] "(")
        is_member = 0
        if (at == 0 && operation[line] ~ /^operator/ && match(name, "Quorvane::CString(View)?::operator")) {
            at = index(name, "::" operation[line] "(")
            is_member = 1
        }
        if (at == 0) next
        sub(/^[^(]*\(/, "", name)
        type = argument(name, is_member ? 1 : place[line])
        taken[line, column] = taken[line, column] (type in letters ? letters[type] : "[" type "]")
    }
    END {
        for (line in operation)
            for (column = 1; column <= 9; ++column) {
                cell = substr(cells[line], column, 1)
                if (cell == "-" || cell == "+") continue
                ++count
                if (taken[line, column] == cell) continue
                printf "line %d, %s, argument %d: takes %s instead of %s\n", line, shown[line], column,
                    taken[line, column] == "" ? "nothing that is called so" : taken[line, column], cell
                failed = 1
            }
        if (count == 0) {
            print "no cell was checked"
            failed = 1
        }
        exit failed
    }'
for file in $object; do
    objdump -dr --no-show-raw-insn --demangle "$file" >"$scratch/calls" || exit 1
    LC_ALL=C awk "$check_overloads" "$folder/conversions.inc" "$scratch/calls" || exit 1
done
echo 'conversions: every cell holds'
