#!/usr/bin/env python3
"""Compares what the workloads that allocators are known by cost over each allocator that the machine has.

    workloads.py [--once] [--quick] [--publish] [--workload WORKLOAD]... FOLDER

FOLDER holds the program allocator_workloads, whose source describes them. Each allocator, workload, form and number of
threads runs in processes of its own, by turns, once for the throughput and once more with each operation timed. All
allocators must have done the same, to the last checksum. With --once each runs shortly, and nothing is compared. The
tables go to FOLDER/allocators.txt and FOLDER/allocators.json; with --publish also to docs/performance.md and
docs/performance/allocators.md.
"""
import argparse
import json
import os
import sys

import runner

# Rounds of all threads together: a tenth of a second or two.
WORKLOADS = {
    "server": 1600000,
    "producer": 1000000,
    "shared_line": 300000,
    "own_line": 300000,
    "any_order": 300000,
    "table": 1000000,
    "hand_over": 600000,
    "growing": 2000000,
}
FORMS = ("texts", "blocks")
THREADS = (1, 2, 4)
# What is asked of ours, as a part of the best peer's figure.
GOALS = {"time": 1.0, "p99.9": 1.0, "held": 1.2, "left": 1.2}
FIGURES = ("time", "processor", "p99.9", "held", "left")
OF_MEMORY = ("held", "left")
# Memory is taken in pages: nobody is better by less than this.
PAGE_BYTES = 4096
PROJECT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
PAGE = os.path.join(PROJECT, "docs", "performance.md")
DETAILS = os.path.join(PROJECT, "docs", "performance", "allocators.md")


def run_case(program, case, rounds):
    """Two processes, one of them with each operation timed."""
    allocator, workload, form, threads = case
    # One processor stays for the rest of the machine.
    realtime = threads < runner.processors()
    arguments = [workload, form, threads, rounds]
    plain = runner.run(program, allocator, arguments, realtime)
    timed = runner.run(program, allocator, arguments + ["timed"], realtime)
    return plain, timed


def growth_over_time(plain):
    """The memory of the workload at ten moments of the run, above what the process had before."""
    return [int(word) - plain["start"]["anonymous"] for word in plain["anonymous_over_time"].split()]


def figures_of(results):
    """The best of the processes where time counts, since others only add to it, else the median."""
    plain = [each for each, _ in results]
    held = [max(growth_over_time(each) + [each["held"]["anonymous"] - each["start"]["anonymous"]]) for each in plain]
    left = [each["end"]["anonymous"] - each["start"]["anonymous"] for each in plain]
    return {
        "time": min(each["seconds"] / each["operations"] for each in plain) * 1e9,
        "processor": min(each["processor_seconds"] / each["operations"] for each in plain) * 1e9,
        "p99.9": runner.median([runner.percentile(timed["histograms"]["operation"], 0.999) for _, timed in results]),
        "held": max(PAGE_BYTES, runner.median(held)),
        "left": max(PAGE_BYTES, runner.median(left)),
    }


def check_agreement(case, results, checksums):
    """All allocators must have done the same, in all processes."""
    allocator, workload, form, threads = case
    for result in results:
        for each in result:
            first = checksums.setdefault((workload, form, threads), each["checksum"])
            if each["checksum"] != first:
                raise RuntimeError("%s %s %d: another checksum over %s" % (workload, form, threads, allocator))


def measure_all(program, workloads, numbers, scale, repetitions):
    """{(workload, form, threads): {allocator: figures}}, and the same with the memory over time."""
    cases = [(allocator, workload, form, threads) for workload in workloads for form in FORMS for threads in numbers
             for allocator in runner.allocators()]

    def runs(case):
        return lambda: run_case(program, case, max(1000, int(WORKLOADS[case[1]] * scale)))

    found, over_time, checksums = {}, {}, {}
    for case, results in zip(cases, runner.interleaved([runs(case) for case in cases], repetitions, pause=0.01)):
        check_agreement(case, results, checksums)
        found.setdefault(case[1:], {})[case[0]] = figures_of(results)
        over_time.setdefault(case[1:], {})[case[0]] = growth_over_time(results[-1][0])
    return found, over_time


def show(name, value):
    return runner.table.show(value, name in OF_MEMORY)


def full_table(found):
    lines = [["workload", "form", "threads", "allocator"] + list(FIGURES)]
    for (workload, form, threads), contestants in found.items():
        for allocator, figures in contestants.items():
            lines.append([workload, form, str(threads), allocator] + [show(name, figures[name]) for name in FIGURES])
    return lines


def goal_table(found):
    """Ours beside the best of all peers, for each figure on its own. Where threads share a processor, the processor's
    time counts instead of the clock's, which says more about what else the machine had to do."""
    lines = [["workload", "form", "threads", "figure", "ours", "best peer", "its name", "ratio", "goal", "met"]]
    for (workload, form, threads), contestants in found.items():
        crowded = int(threads) > runner.processors()
        for name, goal in GOALS.items():
            name = "processor" if crowded and name == "time" else name
            figures = {allocator: figures[name] for allocator, figures in contestants.items()}
            best = runner.best_of(figures)
            if best is None:
                continue
            ours = figures[runner.OURS]
            ratio = ours / best[1]
            lines.append([workload, form, str(threads), name, show(name, ours), show(name, best[1]), best[0], "%.2f" % ratio,
                           "<= %g" % goal, "yes" if ratio <= goal + 0.005 else "no"])
    return lines


def short_table(lines):
    """The table of goals with one row for each run; figures whose goal is missed are bold."""
    rows = {}
    for workload, form, threads, name, ours, best, who, ratio, _, met in lines[1:]:
        cell = "%s; %s %s: %s" % (ours, who, best, ratio)
        rows.setdefault((workload, form, threads), []).append(cell if met == "yes" else "**%s**" % cell)
    head = ["workload", "form", "threads", "time (ours; best peer: ratio)", "p99.9", "held", "left"]
    return [head] + [list(key) + cells for key, cells in rows.items()]


def time_table(over_time):
    """Memory that blocks wandering in one direction take at ten moments, which must not grow for ever."""
    lines = [["workload", "form", "threads", "allocator", "memory at each tenth of the run"]]
    for (workload, form, threads), contestants in over_time.items():
        if workload == "producer":
            for allocator, samples in contestants.items():
                shown = ", ".join("%.2f" % (sample / 1e6) for sample in samples)
                lines.append([workload, form, str(threads), allocator, shown + " MB"])
    return lines


def said(lines, repetitions):
    counts = ["%s: %d of %d" % (name, sum(line[3] == name and line[-1] == "yes" for line in lines),
                                sum(line[3] == name for line in lines))
              for name in dict.fromkeys(line[3] for line in lines[1:])]
    return "%d processes for each figure%s; goals met: %s." % (
        repetitions, ", those with fewer threads than processors under SCHED_FIFO"
        if runner.may_become_realtime() else "", ", ".join(counts))


def publish(found, over_time, summary, facts):
    goals = goal_table(found)
    runner.publish_between(PAGE, "allocators", "\n\n".join([
        facts, summary, runner.table.as_markdown(short_table(goals)),
        "[All figures](performance/allocators.md), and the memory of the producer over time."]))
    with open(DETAILS, "w", encoding="utf-8") as stream:
        stream.write("# Workloads over allocators\n\nWhat they are, and how they were measured, says "
                     "[the page about performance](../performance.md#workloads-over-allocators).\n\n%s\n\n%s\n\n" % (
                         facts, summary))
        tables = (full_table(found), goals, time_table(over_time))
        stream.write("\n\n".join(runner.table.as_markdown(lines) for lines in tables) + "\n")


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", 1)[0])
    parser.add_argument("folder")
    parser.add_argument("--once", action="store_true")
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--publish", action="store_true")
    parser.add_argument("--workload", action="append", choices=WORKLOADS)
    arguments = parser.parse_args()
    program = os.path.join(arguments.folder, "allocator_workloads")
    workloads = arguments.workload or list(WORKLOADS)
    scale, repetitions = (0.002, 1) if arguments.once else (0.5, 3) if arguments.quick else (1.0, 5)
    found, over_time = measure_all(program, workloads, THREADS, scale, repetitions)
    if arguments.once:
        return 0
    lines = goal_table(found)
    summary = said(lines, repetitions)
    facts = runner.facts("./run bench allocators" + (" --quick" if arguments.quick else ""))
    tables = [full_table(found), time_table(over_time), lines]
    text = "\n\n".join([facts] + [runner.table.as_text(lines) for lines in tables] + [summary])
    print(text)
    with open(os.path.join(arguments.folder, "allocators.txt"), "w", encoding="utf-8") as stream:
        stream.write(text + "\n")
    rows = [{"workload": key[0], "form": key[1], "threads": key[2], "allocator": allocator, **figures}
            for key, contestants in found.items() for allocator, figures in contestants.items()]
    with open(os.path.join(arguments.folder, "allocators.json"), "w", encoding="utf-8") as stream:
        json.dump(rows, stream, indent=1)
    if arguments.publish:
        publish(found, over_time, summary, facts)
    return 0


if __name__ == "__main__":
    sys.exit(main())
