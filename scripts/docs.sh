#!/bin/sh
# ./run docs: builds the reference of the public headers, follows its links, and looks at its main pages in a browser.
. "$(dirname "$0")/common.inc"
. "$root/scripts/needs.inc"

ensure doxygen python3 -- doxygen-awesome-css chromium

say '1 of 3: building the reference, some 15 seconds'
sh docs/reference/build.sh "$root" build/docs || exit 1
say '2 of 3: following its links'
python3 docs/reference/check_links.py build/docs/html || exit 1
say '3 of 3: opening its main pages'
sh tests/docs/pages.sh "$root" "$root/build/docs"
code=$?
[ $code -eq 0 ] || [ $code -eq 77 ] || exit 1
say 'The reference is in build/docs/html/index.html'
