#!/bin/sh
# Rule: the library's objects hold no code that runs before main or registers anything for after it.
# Reason: strings are used in constructors and destructors of static objects of other files, whose order is nobody's to
# choose; what the compiler has initialised is ready for all of them.
#
# Checked on clang++'s objects: g++ knows no way to leave out the empty string's exit handler. They are not optimised: what
# only the optimiser turns into a constant does not count.
#
# One function runs at the end, behind the destructors of all static objects: the default allocator must take back what
# it gave to a plugin that is unloaded. Strings work after it, too.
. "$(dirname "$0")/common.inc"

service_with_the_end=kr_mem.cpp

# Not CXX, which may well be g++.
compiler=
for candidate in clang++ clang++-14 clang++-15 clang++-16 clang++-17 clang++-18 clang++-19; do
    if command -v "$candidate" >/dev/null 2>&1; then
        compiler=$candidate
        break
    fi
done
[ -n "$compiler" ] || skip 'clang++ is missing'
command -v readelf >/dev/null 2>&1 || skip 'readelf is missing'

keep_objects
join_services >"$scratch/sources"
compile_objects "$scratch/sources" "$compiler" -std=c++17 -O0 -fno-exceptions \
    -Wglobal-constructors -Wexit-time-destructors -IRuntime/include -IRuntime/qv_kernel/include

while IFS= read -r source; do
    if [ ! -f "$objects/$source.o" ]; then
        breach "$source: does not compile: $(grep -m 1 error "$objects/$source.o.said")"
        continue
    fi
    allowed=
    [ "$source" != "$service_with_the_end" ] || allowed=.fini_array.101
    sections=$(readelf -S -W "$objects/$source.o" | grep -E -o '\.(init_array|fini_array|ctors|dtors|preinit_array)(\.[0-9]+)?\b' | sort -u | tr '\n' ' ')
    [ "${sections% }" != "$allowed" ] || sections=
    [ -z "$sections" ] || breach "$source: has sections $sections"
    grep -e -Wglobal-constructors -e -Wexit-time-destructors "$objects/$source.o.said" >>"$breaches"
done <"$scratch/sources"
verdict
