#!/bin/sh
# Rule: docs/architecture.md has a row for every folder of the library and for every public header. The parts of public
# headers in kr_internal/ go by the row of their folder.
# Reason: a map that leaves out what came later is worse than none.
. "$(dirname "$0")/common.inc"

page=$root/docs/architecture.md

# Does a row of a table begin with this name?
has_row()
{
    grep -q -F "| \`$1\` |" "$page" 2>/dev/null
}

# One file of each folder.
project_files | awk '/^Runtime\// { folder = $0; sub("[^/]*$", "", folder); if (!seen[folder]++) print }' >"$scratch/sample"
while IFS= read -r file; do
    has_row "${file%/*}/" || breach "docs/architecture.md: no row for the folder of $file"
done <"$scratch/sample"

public_headers | grep -v '/kr_internal/' >"$scratch/headers"
while IFS= read -r header; do
    name=${header#Runtime/include/}
    name=${name#Runtime/qv_kernel/include/}
    has_row "$name" || breach "docs/architecture.md: no row for the header $header"
done <"$scratch/headers"
verdict
