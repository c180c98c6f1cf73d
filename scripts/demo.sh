#!/bin/sh
# ./run demo: builds the example asset_finder and runs it.
. "$(dirname "$0")/common.inc"
. "$root/scripts/needs.inc"
. "$root/scripts/build.inc"

ensure g++ cmake ninja-build libcli11-dev
build demo example_asset_finder || exit 1
[ $# -ne 0 ] ||
    set -- /usr --query unorderd_mpa.h --query srting_view --query libcrpyto.so --top 3 --time
# Relative paths are meant from where the user stands.
cd "$here" || exit 2
exec "$root/build/demo/examples/example_asset_finder" "$@"
