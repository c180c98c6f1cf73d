#!/bin/sh
# The table of whole programs: the least of the runs, the fastest peer, goals met and missed; inputs that stay the same.
#   programs_test.sh <project>
set -u
project=${1:-$(dirname "$0")/../..}
command -v python3 >/dev/null 2>&1 || {
    echo 'skipped: python3 is missing'
    exit 77
}
cd "$project/benchmarks/programs" || exit 2
PYTHONDONTWRITEBYTECODE=1 python3 - <<'END'
import os
import sys
import tempfile

sys.path.insert(0, "")
import compare
import inputs

failed = []


def wants(name, got, wanted):
    if got != wanted:
        failed.append("%s: %r, not %r" % (name, got, wanted))


def row(clock, memory):
    return {"clock": clock, "processor": clock, "memory": memory, "lines": 7}


runs = iter([row(3, 10), row(5, 40), row(2, 20), row(6, 30)])
compare.measure = lambda program, arguments: next(runs)
least = compare.smallest({"ours": "a", "std": "b"}, [], 2)
wants("least of ours", (least["ours"]["clock"], least["ours"]["memory"]), (2, 10))
wants("least of std", (least["std"]["clock"], least["std"]["memory"]), (5, 30))

figures = {"ours": row(0.07, 9e6), "std": row(0.1, 10e6), "absl": row(0.2, 1e6)}
lines = compare.table_of({"report": {"input": 1e6, "output": 2e6, "figures": figures}})
wants("fastest peer", compare.fastest_peer(figures), "std")
wants("ours", lines[1], ["report", "1.0 MB, 2.0 MB", "ours", "7", "70.0 ms", "70.0 ms", "9.0 MB", ""])
wants("said beside the fastest", lines[2][7], "clock 0.70 (met: 0.7), memory 0.90 (missed: 0.8)")
wants("nothing beside others", lines[3][7], "")

with tempfile.TemporaryDirectory() as scratch:
    path = os.path.join(scratch, "input")
    for make, begin in ((inputs.stanza, "Package: "), (inputs.path, ""), (inputs.order, "0\t")):
        written = []
        for _ in range(2):
            inputs.write(path, make, 50)
            with open(path, encoding="ascii") as stream:
                written.append(stream.read())
        wants("the same every time", written[0], written[1])
        wants("how it begins", written[0][:len(begin)], begin)

print("\n".join(failed))
raise SystemExit(1 if failed else 0)
END
