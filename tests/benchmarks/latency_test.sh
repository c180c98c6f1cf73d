#!/bin/sh
# The table of latencies: percentiles of distributions, the median of the processes, the best peer of each figure on its
# own, goals met and missed, and the tail that is drawn.
#   latency_test.sh <project>
set -u
project=${1:-$(dirname "$0")/../..}
command -v python3 >/dev/null 2>&1 || {
    echo 'skipped: python3 is missing'
    exit 77
}
cd "$project/benchmarks/allocators" || exit 2
PYTHONDONTWRITEBYTECODE=1 python3 - <<'END'
import latency
import runner

failed = []


def wants(name, got, wanted):
    if got != wanted:
        failed.append("%s: %r, not %r" % (name, got, wanted))


# 990 of 1000 take 10, nine 20, one 1000.
histogram = [[10, 990], [20, 9], [1000, 1]]
wants("p50", runner.percentile(histogram, 0.5), 10)
wants("p99", runner.percentile(histogram, 0.99), 10)
wants("above p99", runner.percentile(histogram, 0.9901), 20)
wants("p99.9", runner.percentile(histogram, 0.999), 20)
wants("p99.99", runner.percentile(histogram, 0.9999), 1000)
wants("none", runner.percentile([], 0.5), None)
wants("merged", runner.merged([[[1, 2], [5, 1]], [[3, 4]]]), [[1, 2], [3, 4], [5, 1]])
wants("best peer", runner.best_of({"ours": 1, "glibc": 7, "mimalloc": 3}), ("mimalloc", 3))
wants("no peer", runner.best_of({"ours": 1}), None)


def process(histogram, largest, memory):
    return {"histograms": {"replace": histogram}, "max_ns": {"replace": largest}, "end": {"anonymous": memory}}


# A bucket's bound lies above what was measured: the largest value bounds it.
processes = [process([[10, 990], [20, 9], [1023, 1]], 1000, 5), process([[12, 1000]], 11, 7), process(histogram, 900, 6)]
figures = latency.figures_of("replace", processes)
wants("median p50", figures["p50"], 10)
wants("median p99.99", figures["p99.99"], 900)
wants("median max", figures["max"], 900)
wants("median memory", figures["memory"], 6)


def contestant(tail, largest, memory):
    return {"p50": 1, "p99": 1, "p99.9": 1, "p99.99": tail, "max": largest, "memory": memory}, [[1, 1]]


found = {
    ("nothing", 2): {("ours", "string"): contestant(1, 2, 3)},
    ("replace", 2): {
        ("ours", "string"): contestant(100, 300, 1210000),
        ("glibc", "string"): contestant(200, 150, 1000000),
        # Other texts are no measure of ours.
        ("glibc", "std"): contestant(1, 1, 1),
        ("prewarmed", "string"): contestant(1, 1, 1),
        ("jemalloc", "string"): contestant(100, 400, 2000000),
    },
}
lines = latency.goal_table(found)
# Of equals the first one by name.
wants("no goal", lines[1], ["replace", "2", "p99.9", "1 ns", "1 ns", "glibc", "1.00", "1 ns", "", ""])
wants("tail", lines[2], ["replace", "2", "p99.99", "100 ns", "100 ns", "jemalloc", "1.00", "1 ns", "<= 1", "yes"])
wants("largest", lines[3], ["replace", "2", "max", "300 ns", "150 ns", "glibc", "2.00", "2 ns", "<= 1", "no"])
wants("memory", lines[4], ["replace", "2", "memory", "1.21 MB", "1 MB", "glibc", "1.21", "", "<= 1.2", "no"])
wants("number of goals", len(lines), 5)
wants("rows of the full table", len(latency.full_table(found)), 7)
wants("drawn", latency.tail(histogram), [(10, 0.01), (20, 0.001), (1000, 0.0005)])

print("\n".join(failed))
raise SystemExit(1 if failed else 0)
END
