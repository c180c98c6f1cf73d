#!/bin/sh
# Projects that bring the library along as a subproject, with settings that reach into it: two shared libraries that each
# hold the static one, in a build that joins sources; and a shared library among hidden symbols. Both export what they make.
#
#   parents.sh <project folder> <scratch folder> <compiler>
set -eu
root=$1
scratch=$2
compiler=$3

rm -rf "$scratch"
mkdir -p "$scratch"

# build <name> <options...>
build()
{
    name=$1
    shift
    {
        cmake -G Ninja -S "$root/tests/consumer/parents" -B "$scratch/$name" "-DQUORVANE_SOURCE_DIR=$root" \
            "-DCMAKE_CXX_COMPILER=$compiler" -DCMAKE_BUILD_TYPE=Debug -DCMAKE_UNITY_BUILD=ON -DQV_SIMD_LEVEL=0 \
            "-DCMAKE_INSTALL_PREFIX=$scratch/$name-installed" "$@" &&
            cmake --build "$scratch/$name" && cmake --install "$scratch/$name" && "$scratch/$name/talk"
    } >"$scratch/log" 2>&1 || {
        cat "$scratch/log"
        printf 'FAILED: %s\n' "$name"
        exit 1
    }
    grep -q 'Parent::shout' "$scratch/$name-installed"/lib/cmake/Parent/ParentTargets.cmake || {
        printf 'FAILED: %s: exports nothing\n' "$name"
        exit 1
    }
}

build static
build hidden -DBUILD_SHARED_LIBS=ON -DCMAKE_CXX_VISIBILITY_PRESET=hidden -DCMAKE_VISIBILITY_INLINES_HIDDEN=ON
# The library's symbols are in one place, and its archive in two.
libraries=$(find "$scratch/hidden" -name 'libqv_kernel*.so' | wc -l)
[ "$libraries" -eq 1 ] || {
    printf 'FAILED: hidden: the library is not a shared one\n'
    exit 1
}
printf 'parents: static and joined, shared and hidden: both build, export and run\n'
