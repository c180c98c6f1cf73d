#!/bin/sh
# Rule: tests/ mirrors Runtime/. Every public header and every source of the library has its test file, and every test
# file is built.
# Reason: what has no test file has no place where its first test would go; what is not built proves nothing.
#
#   Runtime/include/x.h                      tests/include/x_test.cpp
#   Runtime/qv_kernel/include/x.h            tests/qv_kernel/include/x_test.cpp
#   Runtime/qv_kernel/layer_0/service/x.cpp  tests/qv_kernel/layer_0/service/x_test.cpp
#
# The private headers in qv_internal/ and kr_internal/ are tested with the public ones that include them.
. "$(dirname "$0")/common.inc"

(
    cd "$root" || exit 2
    find Runtime/include Runtime/qv_kernel/include -name '*_internal' -prune -o -name '*.h' -print
    find Runtime/qv_kernel/layer_0 -name '*.cpp' -print
) 2>/dev/null | sort >"$scratch/sources"
while IFS= read -r source; do
    mirrored=${source#Runtime/}
    mirrored=tests/${mirrored%.*}_test.cpp
    [ -f "$root/$mirrored" ] || breach "$source: has no $mirrored"
done <"$scratch/sources"

if [ -n "$build" ]; then
    commands=$build/compile_commands.json
    if [ -f "$commands" ]; then
        (cd "$root" && find tests -name '*_test.cpp' -print | sort) >"$scratch/tests"
        # Sources that are compiled as one are included by one that CMake writes.
        sed -n 's/^ *"file": "\(.*\)".*/\1/p' "$commands" >"$scratch/compiled"
        grep '/Unity/[^/]*$' "$scratch/compiled" | while IFS= read -r joined; do
            sed -n 's/^#include "\(.*\)"/\1/p' "$joined"
        done >"$scratch/joined"
        cat "$scratch/joined" >>"$scratch/compiled"
        while IFS= read -r test; do
            grep -F -x -q "$root/$test" "$scratch/compiled" || breach "$test: is not built"
        done <"$scratch/tests"
    else
        breach "$build: has no compile_commands.json to tell what is built"
    fi
fi
verdict
