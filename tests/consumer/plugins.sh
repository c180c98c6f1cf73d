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

plugin=$root/tests/consumer/plugin
rm -rf "$scratch"
mkdir -p "$scratch/objects"

fail()
{
    printf 'FAILED: %s\n' "$*"
    exit 1
}

compile()
{
    "$compiler" -std=c++17 -O1 -Wall -Wextra -I"$root/Runtime/include" -I"$root/Runtime/qv_kernel/include" "$@" ||
        fail "$compiler $*"
}

# The library's objects, fit for either kind of library; as many at a time as there are processors.
find "$root/Runtime/qv_kernel/layer_0" -name '*.cpp' |
    xargs -P "$(getconf _NPROCESSORS_ONLN)" -I '{}' sh -c '
        "$1" -std=c++17 -O1 -fPIC -fno-exceptions -I"$2/Runtime/include" -I"$2/Runtime/qv_kernel/include" \
            -c "$3" -o "$4/$(basename "$3" .cpp).o"' sh "$compiler" "$root" '{}' "$scratch/objects" ||
    fail 'the library does not compile'
ar rcs "$scratch/libqv_kernel.a" "$scratch"/objects/*.o
compile -shared "$scratch"/objects/*.o -o "$scratch/libqv_kernel.so"

# Objects of either side.
compile -fPIC -c "$plugin/plugin.cpp" -o "$scratch/plugin.o"
compile -fPIC -fvisibility=hidden -fvisibility-inlines-hidden '-DEXPORTED=__attribute__((visibility("default")))' \
    -c "$plugin/plugin.cpp" -o "$scratch/plugin_hidden.o"
compile -c "$plugin/host.cpp" -o "$scratch/host.o"
compile "$plugin/loader.cpp" -o "$scratch/loader" -ldl -pthread

archive=$scratch/libqv_kernel.a
shared="-L$scratch -lqv_kernel -Wl,-rpath,$scratch"

# Words are wanted where several options stand in one variable.
# shellcheck disable=SC2086
{
    compile -shared "$scratch/plugin.o" "$archive" -pthread -o "$scratch/plugin_static.so"
    compile -shared "$scratch/plugin_hidden.o" "$archive" -Wl,--exclude-libs,ALL -pthread \
        -o "$scratch/plugin_hidden.so"
    compile -shared "$scratch/plugin.o" $shared -pthread -o "$scratch/plugin_shared.so"

    compile "$scratch/host.o" "$archive" -ldl -pthread -o "$scratch/host_static"
    compile "$scratch/host.o" "$archive" -rdynamic -ldl -pthread -o "$scratch/host_exporting"
    compile "$scratch/host.o" $shared -ldl -pthread -o "$scratch/host_shared"
}

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
