#!/bin/sh
# The table of workloads: the least time, median percentiles and memory, the best peer of each figure on its own, goals
# met and missed, and results that differ.
#   workloads_test.sh <project>
set -u
project=${1:-$(dirname "$0")/../..}
command -v python3 >/dev/null 2>&1 || {
    echo 'skipped: python3 is missing'
    exit 77
}
cd "$project/benchmarks/allocators" || exit 2
PYTHONDONTWRITEBYTECODE=1 python3 - <<'END'
import runner
import workloads

failed = []


def wants(name, got, wanted):
    if got != wanted:
        failed.append("%s: %r, not %r" % (name, got, wanted))


def result(seconds, samples, held, left, slowest, checksum="1"):
    plain = {"seconds": seconds, "processor_seconds": 2 * seconds, "operations": 1000, "checksum": checksum,
             "start": {"anonymous": 100000}, "held": {"anonymous": 100000 + held}, "end": {"anonymous": 100000 + left},
             "anonymous_over_time": " ".join(str(100000 + sample) for sample in samples)}
    return plain, {"histograms": {"operation": [[10, 998], [slowest, 2]]}, "checksum": checksum}


# The most memory was held once at a moment in between, and once at the end.
results = [result(3e-5, [10000, 90000], 20000, 0, 50), result(2e-5, [10000, 30000], 70000, 5000, 90),
           result(4e-5, [10000, 60000], 20000, 6000, 70)]
figures = workloads.figures_of(results)
wants("time", round(figures["time"], 6), 20)
wants("processor", round(figures["processor"], 6), 40)
wants("p99.9", figures["p99.9"], 70)
wants("held", figures["held"], 70000)
wants("left", figures["left"], 5000)
wants("nothing left", workloads.figures_of([result(1, [0], 0, -9, 1)])["left"], workloads.PAGE_BYTES)


def contestant(time, processor, tail, held, left):
    return {"time": time, "processor": processor, "p99.9": tail, "held": held, "left": left}


runner.processors = lambda: 2
found = {
    ("table", "texts", 2): {
        "ours": contestant(10, 30, 100, 1200000, 1300000),
        "glibc": contestant(20, 20, 90, 2000000, 1000000),
        "jemalloc": contestant(10, 40, 80, 1000000, 2000000),
    },
    ("table", "texts", 4): {
        "ours": contestant(10, 30, 100, 1000000, 1000000),
        "glibc": contestant(20, 20, 90, 2000000, 1000000),
    },
}
lines = workloads.goal_table(found)
begin = ["table", "texts", "2"]
wants("time's goal", lines[1], begin + ["time", "10 ns", "10 ns", "jemalloc", "1.00", "<= 1", "yes"])
wants("tail's goal", lines[2], begin + ["p99.9", "100 ns", "80 ns", "jemalloc", "1.25", "<= 1", "no"])
wants("held's goal", lines[3], begin + ["held", "1.2 MB", "1 MB", "jemalloc", "1.20", "<= 1.2", "yes"])
wants("left's goal", lines[4], begin + ["left", "1.3 MB", "1 MB", "glibc", "1.30", "<= 1.2", "no"])
wants("crowded", lines[5], ["table", "texts", "4", "processor", "30 ns", "20 ns", "glibc", "1.50", "<= 1", "no"])
short = workloads.short_table(lines)
wants("one row for each run", [len(line) for line in short], [7, 7, 7])
wants("met", short[1][3], "10 ns; jemalloc 10 ns: 1.00")
wants("missed", short[1][4], "**100 ns; jemalloc 80 ns: 1.25**")
wants("rows of the full table", len(workloads.full_table(found)), 6)

checksums = {}
workloads.check_agreement(("ours", "table", "texts", 2), results, checksums)
workloads.check_agreement(("glibc", "table", "blocks", 2), [result(1, [], 0, 0, 1, "2")], checksums)
try:
    workloads.check_agreement(("glibc", "table", "texts", 2), [result(1, [], 0, 0, 1, "2")], checksums)
    failed.append("another checksum: taken")
except RuntimeError:
    pass

print("\n".join(failed))
raise SystemExit(1 if failed else 0)
END
