#!/bin/sh
# ./run format: lays out all sources as the settings of the project say.
. "$(dirname "$0")/common.inc"
. "$root/scripts/needs.inc"

sources()
{
    for folder in Runtime tests examples benchmarks; do
        [ ! -d $folder ] || find $folder -name '*.h' -o -name '*.cpp'
    done
    find Runtime -name '*.inc'
}

ensure clang-format
sources | xargs clang-format -i --style=file
