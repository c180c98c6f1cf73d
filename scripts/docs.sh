#!/bin/sh
# ./run docs: builds the reference of the public headers.
. "$(dirname "$0")/common.inc"
. "$root/scripts/needs.inc"

ensure doxygen graphviz
mkdir -p build/docs
doxygen docs/Doxyfile || exit 1
say "The reference is in build/docs/html/index.html"
