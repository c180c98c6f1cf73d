#!/bin/sh
# The output of the README's first example.
#   first_example_test.sh <program>
set -u

wanted='assets/models/hull.mesh, 23 characters
shared: yes
assets/models/hull.mesh.bak, shared: no
assets/models/hull.mesh loaded in 2.5 ms'

if ! got=$("$1"); then
    echo 'FAIL  the first example: exit code'
    exit 1
fi
if [ "$got" != "$wanted" ]; then
    printf 'FAIL  the first example: wanted\n%s\ngot\n%s\n' "$wanted" "$got"
    exit 1
fi
echo 'PASS  the first example'
