#!/bin/sh
# Opens the main pages of the reference in a browser without a window, and leaves pictures of them.
#
#   pages.sh <project folder> <folder of the reference that reference.sh has built>
set -eu
root=$1
reference=$2

browser=
for candidate in chromium chromium-browser google-chrome; do
    if command -v $candidate >/dev/null 2>&1; then
        browser=$candidate
        break
    fi
done
[ -n "$browser" ] || {
    printf '%s\n' 'skipped: chromium is missing'
    exit 77
}
[ -f "$reference/html/index.html" ] || {
    printf '%s\n' 'skipped: the reference could not be built here'
    exit 77
}
python3 "$root/tests/docs/browser_test.py" "$root" "$browser"
python3 "$root/docs/reference/open_pages.py" "$reference/html" "$reference/screenshots" "$browser"
