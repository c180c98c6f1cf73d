#!/bin/sh
# ./run amalgamate [folder]: writes the library as one header and one source.
. "$(dirname "$0")/common.inc"
. "$root/scripts/needs.inc"

ensure python3
python3 scripts/amalgamate.py "$root" "${1:-build/amalgamated}" || exit 1
say "${1:-build/amalgamated}/quorvane.h and quorvane.cpp"
