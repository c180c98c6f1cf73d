#!/usr/bin/env python3
"""Measures two builds of the benchmarks by turns, and tells the rows that changed by more than the noise.

    revisions.py [--processes N] [--repetitions N] [--seconds S] OLD NEW TOPIC...

OLD and NEW are folders with programs bench_<topic>; of each row, what is `ours` is compared. Each program runs in so many
processes, since where memory lies is drawn anew in each: old, new, new, old and so on, so that a machine that gets slower
does so for both. Of a process the smallest repetition counts.

A row has changed where all processes of one build were faster than all of the other, and the medians are 2 % apart or
more. With 7 processes each, two equal builds are told apart by chance in 1 of 1716 rows: the extreme of the rank sum test
(H. B. Mann and D. R. Whitney, "On a test of whether one of two random variables is stochastically larger than the other",
1947). Memory in bytes is the same each time: any difference is a change.

Ends with 1 where a row became slower or larger, with 2 where nothing could be measured.
"""
import argparse
import json
import os
import statistics
import subprocess
import sys

UNITS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}
FILTER = "/ours(:[^/]*)?(/|$)"
LEAST_CHANGE = 0.02


def figures_of(program, arguments):
    """{row: (smallest figure, in bytes)} of one process; empty where nothing of it is ours."""
    command = [program, "--benchmark_filter=" + FILTER, "--benchmark_enable_random_interleaving=true",
               "--benchmark_repetitions=%d" % arguments.repetitions, "--benchmark_min_time=%g" % arguments.seconds,
               "--benchmark_format=json"]
    output = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, check=True).stdout
    smallest = {}
    for entry in json.loads(output)["benchmarks"] if output.strip() else []:
        if entry.get("run_type", "iteration") != "iteration" or entry.get("error_occurred"):
            continue
        row = "/".join(entry["name"].split("/")[:3])
        in_bytes = "bytes" in entry
        clock = "real_time" if "/real_time" in entry["name"] else "cpu_time"
        value = entry["bytes"] if in_bytes else entry[clock] * UNITS[entry.get("time_unit", "ns")]
        smallest[row] = (min(value, smallest.get(row, (value,))[0]), in_bytes)
    return smallest


def measure(topic, arguments, rows):
    """Adds to rows: {row: ([old figures], [new figures], in bytes)}."""
    programs = [os.path.join(folder, "bench_" + topic) for folder in (arguments.old, arguments.new)]
    for process in range(arguments.processes):
        for build in (0, 1) if process % 2 == 0 else (1, 0):
            for row, (value, in_bytes) in figures_of(programs[build], arguments).items():
                rows.setdefault(row, ([], [], in_bytes))[build].append(value)


def has_changed(old, new, in_bytes):
    if in_bytes:
        return min(old) != min(new)
    apart = max(old) < min(new) or max(new) < min(old)
    return apart and abs(statistics.median(new) / statistics.median(old) - 1) >= LEAST_CHANGE


def noise_of(figures):
    """How much slower the slowest process was than the fastest."""
    return max(figures) / min(figures) - 1


def report(rows):
    """Prints the rows that changed and what the noise was; how many became slower or larger."""
    both = {row: figures for row, figures in rows.items() if figures[0] and figures[1]}
    changed = [(row, old, new) for row, (old, new, in_bytes) in both.items() if has_changed(old, new, in_bytes)]
    worse = sum(1 for _, old, new in changed if statistics.median(new) > statistics.median(old))
    if changed:
        print("%-44s %12s %12s %8s" % ("row", "old", "new", "change"))
    for row, old, new in sorted(changed, key=lambda line: -statistics.median(line[2]) / statistics.median(line[1])):
        before, after = statistics.median(old), statistics.median(new)
        print("%-44s %12.5g %12.5g %+7.1f%%" % (row, before, after, 100 * (after / before - 1)))
    for build, name in ((0, "old"), (1, "new")):
        for row, figures in rows.items():
            if figures[build] and not figures[1 - build]:
                print("%-44s only in the %s build" % (row, name))
    noise = [noise_of(figures) for old, new, in_bytes in both.values() if not in_bytes for figures in (old, new)]
    print("%d rows in both: %d slower or larger, %d faster or smaller" % (len(both), worse, len(changed) - worse))
    if noise:
        print("noise, a row's slowest process beside its fastest: half of them below %.1f %%, the worst %.1f %%"
              % (100 * statistics.median(noise), 100 * max(noise)))
    return worse


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--processes", type=int, default=7)
    parser.add_argument("--repetitions", type=int, default=3)
    parser.add_argument("--seconds", type=float, default=0.02)
    parser.add_argument("old")
    parser.add_argument("new")
    parser.add_argument("topics", nargs="+")
    arguments = parser.parse_args()
    rows = {}
    for topic in arguments.topics:
        print("measuring %s by turns" % topic, file=sys.stderr, flush=True)
        try:
            measure(topic, arguments, rows)
        except (OSError, subprocess.CalledProcessError) as error:
            print("revisions: %s" % error, file=sys.stderr)
            return 2
    if not rows:
        print("revisions: nothing was measured", file=sys.stderr)
        return 2
    return 1 if report(rows) else 0


if __name__ == "__main__":
    sys.exit(main())
