#!/bin/sh
# ./run sanitize: the tests under all that watches what a program does.
. "$(dirname "$0")/common.inc"
. "$root/scripts/needs.inc"
. "$root/scripts/build.inc"
. "$root/scripts/steps.inc"
. "$root/scripts/sanitizers.inc"

[ $# -ne 0 ] || set -- address thread thread-gcc memory realtime tail valgrind
needs=
for name in "$@"; do
    case $name in
        address | thread | memory) needs="$needs clang libclang-rt-dev llvm" ;;
        thread-gcc | tail) ;;
        realtime) needs="$needs clang-22 libclang-rt-22-dev" ;;
        valgrind) needs="$needs valgrind libc6-dbg" ;;
        *)
            complain "sanitize: unknown name $name"
            exit 2
            ;;
    esac
done
# shellcheck disable=SC2086
ensure g++ cmake ninja-build libgtest-dev locales $needs
ensure_locales
for name in "$@"; do
    "sanitize_$(printf '%s' "$name" | tr - _)"
done
summary
