#!/bin/sh
# Tests of what the reference is made with.
#
#   tools.sh <project folder>
set -eu

command -v python3 >/dev/null 2>&1 || {
    printf '%s\n' 'skipped: python3 is missing'
    exit 77
}
exec python3 "$1/tests/docs/tools_test.py" "$1"
