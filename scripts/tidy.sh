#!/bin/sh
# ./run tidy: runs clang-tidy over the library.
. "$(dirname "$0")/common.inc"
. "$root/scripts/needs.inc"
. "$root/scripts/build.inc"

ensure g++ cmake ninja-build libgtest-dev clang clang-tidy libclang-rt-dev
mkdir -p build
configure asan-ubsan || exit 1
find Runtime -name '*.cpp' -print0 | xargs -0 -n 1 -P "$jobs" clang-tidy --quiet -p build/asan-ubsan
