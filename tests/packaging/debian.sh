#!/bin/sh
# The packages that cpack makes for Debian, with debug symbols: lintian finds no error in them, and a program is built with
# what they hold and runs. Also the archive for others.
#
#   debian.sh <project folder> <scratch folder> <compiler>
set -eu
root=$1
scratch=$2
compiler=$3

for tool in dpkg-deb dpkg-shlibdeps cpack pkg-config; do
    command -v $tool >/dev/null 2>&1 || {
        printf 'skipped: %s is missing\n' $tool
        exit 77
    }
done

fail()
{
    printf 'FAILED: %s\n' "$*"
    exit 1
}

log=$scratch/log
quietly()
{
    "$@" >"$log" 2>&1 || {
        cat "$log"
        fail "$*"
    }
}

rm -rf "$scratch"
mkdir -p "$scratch/root"
build=$scratch/build
# Not optimised and without vector code, which takes less time.
quietly cmake -G Ninja -S "$root" -B "$build" -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_INSTALL_PREFIX=/usr \
    -DBUILD_SHARED_LIBS=ON -DCMAKE_UNITY_BUILD=ON -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCMAKE_CXX_FLAGS_RELWITHDEBINFO='-O0 -g1' -DQV_SIMD_LEVEL=0 -DQV_BUILD_TESTS=OFF -DQV_BUILD_EXAMPLES=OFF -DQV_BUILD_BENCHMARKS=OFF
quietly cmake --build "$build"
(cd "$build" && quietly cpack)

for name in Quorvane-[0-9]*.tar.gz libqv-kernel0.1_*.deb libqv-kernel-dev_*.deb libqv-kernel0.1-dbgsym_*.ddeb; do
    # The pattern is the package's.
    # shellcheck disable=SC2086
    file=$(ls "$build"/$name) || fail "cpack makes no $name"
    case $file in
        *.tar.gz) tar -tzf "$file" | grep -q '/include/quorvane/kr_string.h$' || fail 'the archive has no headers' ;;
        *) quietly dpkg-deb -x "$file" "$scratch/root" ;;
    esac
    case $file in
        *.deb)
            if command -v lintian >/dev/null 2>&1; then
                lintian --allow-root --fail-on error "$file" >"$log" 2>&1 || {
                    cat "$log"
                    fail "lintian: $file"
                }
            else
                printf 'skipped: lintian is missing\n'
            fi
            ;;
    esac
done

library=$(dirname "$(find "$scratch/root/usr/lib" -name libqv_kernel.so)")
flags=$(PKG_CONFIG_PATH=$library/pkgconfig pkg-config --cflags --libs quorvane)
# shellcheck disable=SC2086
quietly "$compiler" -std=c++17 -g -O0 "$root/tests/debug/shown.cpp" $flags -Wl,-rpath,"$library" -o "$scratch/shown"
quietly "$scratch/shown"
printf 'the packages for Debian: made, looked through, unpacked and used\n'
