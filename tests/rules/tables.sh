#!/bin/sh
# Rule: a table in a document is one piece: a head, a line of dashes, and rows of as many cells, all of them indented alike.
# Reason: a row that is indented otherwise, or stands behind an empty line, ends the table; what follows it is shown as
# text with bars in it.
. "$(dirname "$0")/common.inc"

cat >"$scratch/tables.awk" <<'AWK'
function indentation(line)
{
    match(line, /^ */)
    return RLENGTH
}

# Bars that a backslash stands before are part of a cell.
function cells(line)
{
    gsub(/\\\|/, "", line)
    return gsub(/\|/, "|", line)
}

function breach(what)
{
    printf "%s:%d: %s: %s\n", name, FNR, what, $0
}

# Between tables; a row by itself is none.
function leave()
{
    if (rows == 1)
        printf "%s:%d: a row without a table: %s\n", name, head, first
    rows = 0
}

{ sub(/\r$/, "") }

/^ *```/ { code = !code; leave(); next }

code || !/^ *\|/ { leave(); next }

{ ++rows }

rows == 1 {
    column = indentation($0)
    width = cells($0)
    head = FNR
    first = $0
    next
}

indentation($0) != column { breach("not indented like the row above"); column = indentation($0) }

rows == 2 && !/^ *\|[-:| ]*-[-:| ]*$/ { breach("no line of dashes below the head of a table") }

cells($0) != width { breach("not as many cells as the head of the table") }

END { leave() }
AWK

project_files | grep '\.md$' >"$scratch/list"
while IFS= read -r file; do
    awk -v name="$file" -f "$scratch/tables.awk" "$root/$file"
done <"$scratch/list" >>"$breaches"
verdict
