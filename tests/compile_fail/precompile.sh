#!/bin/sh
# Precompiles the header that most sources of misuse read, which takes most of the time that each of them needs.
#
#   precompile.sh <compiler> <project folder> <folder for the result>
set -u
. "$(dirname "$0")/compiler.inc"

mkdir -p "$3" || exit 2
printf '#include "kr_string.h"\n' >"$3/precompiled.h" || exit 2
call_compiler "$1" "$2" -x c++-header "$3/precompiled.h" -o "$3/precompiled.h.gch"
