#!/bin/sh
# A host and a plugin that each hold the library, in all the ways they can: they exchange strings, and the plugin comes
# and goes.
#
#   plugins.sh <project folder> <scratch folder> <compiler>
set -eu
root=$1
scratch=$2
compiler=$3

command -v "$compiler" >/dev/null 2>&1 || {
    printf 'skipped: %s is missing\n' "$compiler"
    exit 77
}

. "$root/tests/support/compile.inc"

plugin=$root/tests/consumer/plugin
rm -rf "$scratch"
mkdir -p "$scratch"

fail()
{
    printf 'FAILED: %s\n' "$*"
    exit 1
}

build()
{
    # Without vector code, all of it takes 20 processor seconds instead of 35.
    "$compiler" -std=c++17 -O1 -DQV_SIMD_LEVEL=0 -Wall -Wextra "-I$root/Runtime/include" "-I$root/Runtime/qv_kernel/include" "$@" ||
        fail "$compiler $*"
}

# The library's objects, fit for either kind of library.
compile()
{
    build -fPIC -fno-exceptions -c "$2" -o "$1"
}

join_services "$root"
# shellcheck disable=SC2086
compile_all $joined
ar rcs "$scratch/libqv_kernel.a" "$scratch"/[0-9]*.o
build -shared "$scratch"/[0-9]*.o -o "$scratch/libqv_kernel.so"

# What is unique in a process keeps whoever has it loaded.
if command -v nm >/dev/null 2>&1 && nm -D -C "$scratch/libqv_kernel.so" | grep ' u '; then
    fail 'the library has unique symbols'
fi

# Objects of either side.
build -fPIC -c "$plugin/plugin.cpp" -o "$scratch/plugin.o"
build -fPIC -fvisibility=hidden -fvisibility-inlines-hidden '-DEXPORTED=__attribute__((visibility("default")))' \
    -c "$plugin/plugin.cpp" -o "$scratch/plugin_hidden.o"
build -c "$plugin/host.cpp" -o "$scratch/host.o"
build "$plugin/loader.cpp" -o "$scratch/loader" -ldl -pthread

archive=$scratch/libqv_kernel.a
shared=$scratch/libqv_kernel.so

build -shared "$scratch/plugin.o" "$archive" -pthread -o "$scratch/plugin_static.so"
build -shared "$scratch/plugin_hidden.o" "$archive" -Wl,--exclude-libs,ALL -pthread -o "$scratch/plugin_hidden.so"
build -shared "$scratch/plugin.o" "$shared" -pthread -o "$scratch/plugin_shared.so"

build "$scratch/host.o" "$archive" -ldl -pthread -o "$scratch/host_static"
build "$scratch/host.o" "$archive" -rdynamic -ldl -pthread -o "$scratch/host_exporting"
build "$scratch/host.o" "$shared" -ldl -pthread -o "$scratch/host_shared"

count=0
for host in static exporting shared; do
    for kind in static hidden shared; do
        output=$("$scratch/host_$host" "$scratch/plugin_$kind.so" 2>&1) ||
            fail "a $host host and a $kind plugin: answer $?, $output"
        count=$((count + 1))
    done
done
for kind in static hidden shared; do
    output=$("$scratch/loader" "$scratch/plugin_$kind.so" 200 2>&1) || fail "loading a $kind plugin: answer $?, $output"
    count=$((count + 1))
done
printf '%d pairs of hosts and plugins work\n' $count
