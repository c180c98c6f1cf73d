#!/bin/sh
# Rule: every text file is plain ASCII.
# Reason: sources mean the same to every compiler, code page, terminal and diff; a look-alike letter or an invisible
# character cannot hide. Text beyond ASCII is written as escapes in tests.
. "$(dirname "$0")/common.inc"

# Seed corpora of the fuzz targets and pictures are data.
project_files | grep -v -E '^tests/fuzz/corpus/|\.(png|gif|ico)$' >"$scratch/list"
while IFS= read -r file; do
    # Tab, line feed, and blank to tilde.
    LC_ALL=C grep -n '[^	 -~]' "$root/$file" /dev/null 2>/dev/null | LC_ALL=C tr -c '\11\12\40-\176' '?' |
        sed "s,^$root/,,"
done <"$scratch/list" >"$scratch/found"
cat "$scratch/found" >>"$breaches"
verdict
