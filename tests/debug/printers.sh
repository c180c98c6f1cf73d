#!/bin/sh
# Stops in a program with a debugger, prints an object of each type that the printers know, and compares with expected.txt.
#
#   printers.sh <project folder> <gdb|lldb> <program> [<prefix>]
#
# With the prefix of an installed shared library, gdb has to load the printers by itself.
set -eu
root=$1
debugger=$2
program=$3
prefix=${4:-}

skip()
{
    printf 'skipped: %s\n' "$*"
    exit 77
}

command -v "$debugger" >/dev/null 2>&1 || skip "$debugger is missing"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
sed '/^#/d' "$root/tests/debug/expected.txt" >"$scratch/expected"
# Bytes beyond ASCII are shown as escapes in this locale.
LC_ALL=C
export LC_ALL

# The expressions, a line each: `shown.m_Text`, `*shown.m_Freed`.
expressions()
{
    sed 's/ = .*//; s/^\**/&shown./' "$scratch/expected"
}

# Prints what gdb says, a line for each object.
ask_gdb()
{
    gdb -batch -ex 'python print("works")' 2>/dev/null | grep -q works || skip 'gdb has no Python'
    {
        [ -n "$prefix" ] || printf 'source %s\n' "$root/debug/quorvane_gdb.py"
        printf '%s\n' 'set width 0' 'set print array-indexes on' 'set print object off' 'break StopHere' run
        expressions | sed 's/^/output /; a\
echo \\n'
    } >"$scratch/commands"
    trust='set auto-load python-scripts off'
    [ -z "$prefix" ] || trust="add-auto-load-safe-path $prefix"
    gdb -nx -batch -iex "$trust" -iex "add-auto-load-scripts-directory $prefix/share/gdb/auto-load" \
        -x "$scratch/commands" "$program" >"$scratch/log" 2>&1 || true
    # The elements of an array in the words of both.
    tail -n "$(wc -l <"$scratch/expected")" "$scratch/log" | sed 's/ = {\(\[0\].*\)}$/ { \1 }/; /\[0\]/s/, \[/ [/g'
}

# Debian's lldb does not find its own Python module everywhere.
find_lldb_python()
{
    works='script print("works")'
    lldb -b -o "$works" 2>/dev/null | grep -q '^works' && return
    for folder in /usr/lib/llvm-*/lib/python3*/*-packages; do
        PYTHONPATH=$folder
        export PYTHONPATH
        lldb -b -o "$works" 2>/dev/null | grep -q '^works' && return
    done
    skip 'lldb has no Python'
}

ask_lldb()
{
    find_lldb_python
    {
        printf 'command script import %s\n' "$root/debug/quorvane_lldb.py"
        printf '%s\n' 'settings set target.disable-aslr false' 'breakpoint set --name StopHere' run
        expressions | sed 's/^/frame variable /'
    } >"$scratch/commands"
    lldb -x -b -s "$scratch/commands" "$program" >"$scratch/log" 2>&1 || true
    # Each answer begins with its command; elements come in lines of their own.
    sed -n '/^(lldb) frame variable/,$p' "$scratch/log" | awk '
        /^\(lldb\) quit/ { exit }
        /^\(lldb\)/ { if (NR > 1) print answer; answer = ""; next }
        { sub(/^ +/, ""); answer = answer (answer == "" ? "" : " ") $0 }
        END { print answer }' | sed 's/^([^=]*) [^=]* = //; s/\] = (/] = /'
}

"ask_$debugger" >"$scratch/answers"
# Containers may forbid programs to trace others; then neither debugger can start one.
if ! grep -q -e 'StopHere (' -e 'stop reason = breakpoint' "$scratch/log" &&
    grep -q -i -e 'operation not permitted' -e 'could not trace' -e 'ptrace' -e "'A' packet returned an error" "$scratch/log"; then
    skip "$debugger may not trace a program here"
fi
sed 's/ = .*//' "$scratch/expected" | paste -d= - "$scratch/answers" | sed 's/=/ = /; s/0x[0-9a-f]*/ADDRESS/g' >"$scratch/shown"
if ! diff "$scratch/expected" "$scratch/shown"; then
    cat "$scratch/log"
    printf 'FAILED: %s shows something else\n' "$debugger"
    exit 1
fi
printf '%s shows the %d objects\n' "$debugger" "$(wc -l <"$scratch/shown")"
