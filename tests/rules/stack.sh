#!/bin/sh
# Rule: no operation takes more than 4 KiB of its caller's stack; `Format` may take 256 bytes more, fuzzy lists 8 KiB, pairs of
# long texts 12. None recurses.
# Reason: fibers and job systems give a thread 16 to 64 KiB, the platform's formatting alone takes 3 to 4 of them, and who
# runs out of it is told nothing.
#
# g++ says what the frame of each function takes and whom it calls; this adds up the deepest way from every function that
# others can call. The platform's functions count nothing, a hook or handler as much as the default one. The report of a
# failed check is no part of the ways that may come to it, but has a bound of its own. Prints the ways of more than 1 KiB;
# with STACK_WAYS=1 also what they are made of. clang++ knows the frames alone, so there it is those that are looked at.
. "$(dirname "$0")/common.inc"

# Not CXX, which may well be another compiler: only this one writes the graph.
compiler=
for candidate in g++ g++-12 g++-13 g++-14; do
    if printf 'int f();\nint g() { return f(); }\n' >"$scratch/probe.cpp" && command -v "$candidate" >/dev/null 2>&1 &&
        (cd "$scratch" && "$candidate" -O2 -fcallgraph-info=su -c probe.cpp -o probe.o 2>/dev/null) &&
        grep -q ' bytes (' "$scratch/probe.ci" 2>/dev/null; then
        compiler=$candidate
        break
    fi
done
[ -n "$compiler" ] || skip 'no g++ that writes call graphs'
rm -f "$scratch/probe.ci"

# What is a template in the headers, as a user would have it.
if [ -f "$root/Runtime/qv_kernel/include/kr_containers_array.h" ]; then
    cat >"$scratch/probe" <<'PROBE'
#include "kr_string.h"

namespace Quorvane
{

bool SplitByPredicate(const CString &text, TArray<CString> &pieces)
{
    return text.Split([](char character) { return character == ','; }, pieces);
}

bool SplitByPredicate(const CStringView &text, TArray<CStringView> &pieces)
{
    return text.Split([](char character) { return character == ','; }, pieces);
}

void Sort(TArray<u64> &numbers)
{
    QuickSort(numbers.Begin(), numbers.End());
}

CString Join(const CString &a, const CStringView &b, const char *c)
{
    return JoinPath(a, b, c, a, b, c);
}

} // namespace Quorvane
PROBE
else
    : >"$scratch/probe"
fi

(cd "$root" && find Runtime/qv_kernel/layer_0 -name '*.cpp' -print | sort) >"$scratch/sources"

# Notes those that do not compile.
expect_objects()
{
    while IFS= read -r source; do
        [ -f "$objects/$source.o" ] || breach "$source: does not compile: $(grep -m 1 error "$objects/$source.o.said")"
    done <"$1"
}

# Frames have the bounds of the operations they belong to.
for candidate in clang++ clang++-14 clang++-15 clang++-16 clang++-17 clang++-18 clang++-19; do
    printf 'int f();\n' >"$scratch/probe_clang.cpp"
    command -v "$candidate" >/dev/null 2>&1 || continue
    (cd "$scratch" && "$candidate" -fstack-usage -c probe_clang.cpp -o probe_clang.o) 2>/dev/null || continue
    keep_objects clang
    join_services >"$scratch/joined_sources"
    compile_objects "$scratch/joined_sources" "$candidate" -std=c++17 -O2 -DNDEBUG -fno-exceptions -fstack-usage \
        -IRuntime/include -IRuntime/qv_kernel/include
    expect_objects "$scratch/joined_sources"
    sed "s,^,$objects/,; s,\$,.su," "$scratch/joined_sources" | tr '\n' '\0' | xargs -0 cat 2>/dev/null | awk -F '\t' '
        $2 > ($1 ~ /Weigh|AdvanceStrips/ ? 8192 : 4096) && $1 !~ /ReportFromStack/ {
            print "clang++: a frame of " $2 " bytes: " $1 }' >>"$breaches"
    break
done

# The graph goes beside the object. An optimised build that writes them has those of the library already.
keep_objects g++
cmp -s "$scratch/probe" "$objects/probe.cpp" || cp "$scratch/probe" "$objects/probe.cpp"
echo probe.cpp >"$scratch/to_compile"
graphs=$objects
if [ -n "$build" ] && grep -q '^QV_CALL_GRAPHS:BOOL=ON$' "$build/CMakeCache.txt" 2>/dev/null &&
    grep -q '^CMAKE_BUILD_TYPE:STRING=Release$' "$build/CMakeCache.txt"; then
    graphs=$build/Runtime/qv_kernel/CMakeFiles/qv_kernel.dir
    while IFS= read -r source; do
        [ -f "$graphs/${source#Runtime/qv_kernel/}.ci" ] || breach "$source: the build wrote no call graph"
    done <"$scratch/sources"
else
    cat "$scratch/sources" >>"$scratch/to_compile"
fi
compile_objects "$scratch/to_compile" "$compiler" -std=c++17 -O2 -DNDEBUG -fno-exceptions -fcallgraph-info=su \
    -IRuntime/include -IRuntime/qv_kernel/include
expect_objects "$scratch/to_compile"
if [ "$graphs" = "$objects" ]; then
    sed "s,^,$objects/,; s,\$,.ci," "$scratch/to_compile"
else
    echo "$objects/probe.cpp.ci"
    sed "s,^Runtime/qv_kernel,$graphs,; s,\$,.ci," "$scratch/sources"
fi | tr '\n' '\0' | xargs -0 cat 2>/dev/null |
    awk -v ways="${STACK_WAYS:-0}" -v root="$root" -f "$rules/stack.awk" >"$scratch/table"
grep -v '^breach: ' "$scratch/table"
sed -n 's/^breach: //p' "$scratch/table" >>"$breaches"
verdict
