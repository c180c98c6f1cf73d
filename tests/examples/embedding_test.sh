#!/bin/sh
# The output of the embedding example, which docs/embedding.md shows.
#   embedding_test.sh <program>
set -u

wanted='2 blocks behind "assets/models" and its copy
4 blocks after a write to one of them
report: newContainer != null
path: "assets", text empty: yes
report: !Empty()
last character: 0
2 reports, 0 blocks left'

if ! got=$("$1"); then
    echo 'FAIL  embedding: exit code'
    exit 1
fi
case $got in
    *'0 reports, 0 blocks left')
        echo 'SKIP  embedding: built without assertions'
        exit 77
        ;;
esac
if [ "$got" != "$wanted" ]; then
    printf 'FAIL  embedding: wanted\n%s\ngot\n%s\n' "$wanted" "$got"
    exit 1
fi
echo 'PASS  embedding'
