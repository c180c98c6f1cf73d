#!/usr/bin/env python3
"""Compares how long one operation on a text takes at the worst, over each allocator that the machine has.

    latency.py [--once] [--quick] [--publish] [--pattern PATTERN]... [--processes N] [--pause SECONDS] FOLDER

FOLDER holds the program allocator_latency, whose head describes the patterns. Each allocator, pattern and number of
threads runs in processes of its own, five if nothing else is said, by turns and with a pause behind each, so that other
programs get on; of each figure the median of the processes counts. With --once every pattern runs shortly over every
allocator, and nothing is compared. The tables go to FOLDER/latency.txt and FOLDER/latency.json; with --publish also to
docs/performance.md and docs/performance/latency.md, with pictures.
"""
import argparse
import json
import os
import shutil
import sys

import runner

PATTERNS = ("nothing", "create_drop", "replace", "copy_drop", "append", "hand_over")
# What a pattern measures, where it is not one thing of the same name.
MEASURES = {"hand_over": ("make", "drop")}
THREADS = (1, 2, 4, 8)
SHARES = (("p50", 0.5), ("p99", 0.99), ("p99.9", 0.999), ("p99.99", 0.9999))
FIGURES = [name for name, _ in SHARES] + ["max", "memory"]
# What is asked of ours, as a part of the best peer's figure; of one of those that are shown, nothing.
GOALS = {"p99.99": 1.0, "max": 1.0, "memory": 1.2}
COMPARED = ["p99.9"] + list(GOALS)
COLOURS = {"ours": "#2a7f62", "prewarmed": "#7fd1ae", "glibc": "#33658a", "mimalloc": "#b5483a", "jemalloc": "#6a4c93", "tcmalloc": "#c17817",
           "nothing": "#aaaaaa"}
PROJECT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
PAGE = os.path.join(PROJECT, "docs", "performance.md")
PICTURES = os.path.join(PROJECT, "docs", "performance")


# Ours, with memory got in advance: shown beside the others, and no peer of ours.
PREWARMED = "prewarmed"


def cases_of(patterns, allocators, numbers):
    """(allocator, text, pattern, threads) of all that is measured."""
    for pattern in patterns:
        for threads in numbers:
            if pattern == "hand_over" and threads == 1:
                continue
            if pattern == "nothing":
                yield "ours", "string", pattern, threads
                continue
            for allocator in allocators:
                yield allocator, "string", pattern, threads
                # The other texts lie in malloc, whatever the hook says.
                if allocator not in (runner.OURS, PREWARMED):
                    yield allocator, "std", pattern, threads


def is_realtime(threads):
    """More threads than processors would wait for one another to end."""
    return threads <= runner.processors()


def figures_of(measure, results):
    """The median of each figure over the processes."""
    rows = []
    for result in results:
        histogram = result["histograms"][measure]
        largest = result["max_ns"][measure]
        # The largest of a bucket is not reached by every value in it.
        row = {name: min(largest, runner.percentile(histogram, share)) for name, share in SHARES}
        row.update({"max": largest, "memory": result["end"]["anonymous"]})
        rows.append(row)
    return {name: runner.median([row[name] for row in rows]) for name in FIGURES}


def run_case(program, case, operations, ahead):
    """One process; every operation must have been counted."""
    allocator, text, pattern, threads = case
    result = runner.run(program, allocator, [pattern, text, threads, operations], is_realtime(threads), ahead)
    measures = MEASURES.get(pattern, (pattern,))
    shared_out = operations // threads * threads
    for measure in measures:
        if sum(count for _, count in result["histograms"][measure]) != shared_out:
            raise RuntimeError("%s: not all operations were counted" % (case,))
    return result


def measure_all(program, patterns, allocators, numbers, operations, repetitions, pause=0.02, ahead=True):
    """{(measure, threads): {(allocator, text): (figures, all its processes' distribution)}}"""
    cases = list(cases_of(patterns, allocators, numbers))

    def runs(case):
        return lambda: run_case(program, case, operations, ahead)

    results = runner.interleaved([runs(case) for case in cases], repetitions, pause)
    found = {}
    for (allocator, text, pattern, threads), of_case in zip(cases, results):
        for measure in MEASURES.get(pattern, (pattern,)):
            distribution = runner.merged([result["histograms"][measure] for result in of_case])
            found.setdefault((measure, threads), {})[allocator, text] = figures_of(measure, of_case), distribution
    return found


def show(name, value):
    return runner.table.show(value, name == "memory")


def full_table(found):
    lines = [["operation", "threads", "allocator", "text"] + FIGURES]
    for (measure, threads), contestants in found.items():
        for (allocator, text), (figures, _) in contestants.items():
            who = ["", ""] if measure == "nothing" else [allocator, "ours" if text == "string" else "std::string"]
            lines.append([measure, str(threads)] + who + [show(name, figures[name]) for name in FIGURES])
    return lines


def goal_cells(name, contestants):
    """Ours, the best peer, its name, the ratio, the goal, and whether it is met; of one figure."""
    of_texts = {allocator: figures[name] for (allocator, text), (figures, _) in contestants.items()
                if text == "string" and allocator != PREWARMED}
    best = runner.best_of(of_texts)
    ours = of_texts[runner.OURS]
    ratio = ours / best[1]
    goal = GOALS.get(name)
    verdict = ["", ""] if goal is None else ["<= %g" % goal, "yes" if ratio <= goal + 0.005 else "no"]
    return [show(name, ours), show(name, best[1]), best[0], "%.2f" % ratio] + verdict


def goal_table(found):
    """The figures at the end of the distribution: ours beside the smallest of all peers, for each figure on its own."""
    lines = [["operation", "threads", "figure", "ours", "best peer", "its name", "ratio", "noise", "goal", "met"]]
    for (measure, threads), contestants in found.items():
        noise = found.get(("nothing", threads), {}).get((runner.OURS, "string"))
        if measure == "nothing" or len(contestants) == 1:
            continue
        for name in COMPARED:
            cells = goal_cells(name, contestants)
            machine = show(name, noise[0][name]) if noise and name != "memory" else ""
            lines.append([measure, str(threads), name] + cells[:4] + [machine] + cells[4:])
    return lines


def tail(distribution):
    """(value, share of the operations that take longer), at most one for each 6th of a doubling."""
    total = sum(count for _, count in distribution)
    seen = 0
    last = 0
    points = []
    for value, count in distribution:
        seen += count
        if value >= last * 2 ** (1 / 6) or seen == total:
            # What nothing exceeds is drawn where one operation more would be.
            points.append((value, max(total - seen, 0.5) / total))
            last = value
    return points


def picture_script(measure, panels, path):
    """One panel for each number of threads: the share of the operations that take longer than a time, both logarithmic."""
    parts = ["""
set terminal svg size 1100,%d noenhanced font "sans,11" background "white"
set output "%s"
set multiplot layout %d, 2 title "%s: share of the operations that take longer than a time"
set logscale xy
set format y "%%.0e"
set xrange [10:1e8]
set yrange [1e-7:1]
set grid
set xtics ("10 ns" 10, "100 ns" 100, "1 us" 1e3, "10 us" 1e4, "100 us" 1e5, "1 ms" 1e6, "10 ms" 1e7, "100 ms" 1e8)
set key bottom left
""" % (60 + 380 * ((len(panels) + 1) // 2), path, (len(panels) + 1) // 2, measure)]
    for threads, lines in panels:
        plots = []
        for i, (name, points) in enumerate(lines):
            data = "\n".join("%.5g %.5g" % point for point in points)
            parts.append("$line%d << END\n%s\nEND\n" % (i, data))
            plots.append('$line%d with steps lw %d lc rgb "%s" title "%s"' % (
                i, 3 if name == runner.OURS else 1, COLOURS[name], name))
        parts.append('set title "%d thread%s"\nplot %s\n' % (threads, "" if threads == 1 else "s", ", ".join(plots)))
    return "".join(parts) + "unset multiplot\n"


def draw(found, folder):
    """A picture for each operation; gives the lines that show them."""
    if shutil.which("gnuplot") is None:
        print("without gnuplot: no pictures", file=sys.stderr)
        return ""
    shown = []
    for measure in dict.fromkeys(measure for measure, _ in found if measure != "nothing"):
        panels = []
        for threads in THREADS:
            contestants = found.get((measure, threads), {})
            lines = [(allocator, tail(points)) for (allocator, text), (_, points) in contestants.items()
                     if text == "string"]
            noise = found.get(("nothing", threads), {}).get((runner.OURS, "string"))
            lines += [("nothing", tail(noise[1]))] if noise else []
            panels += [(threads, lines)] if contestants else []
        runner.plots.gnuplot(picture_script(measure, panels, os.path.join(folder, "latency_%s.svg" % measure)))
        shown.append("![%s](performance/latency_%s.svg)" % (measure, measure))
    return "\n\n".join(shown)


def said(lines, operations, repetitions, isolated):
    met, missed = runner.table.tally(lines)
    scheduling = "all as the system schedules them"
    if isolated:
        scheduling = "those with no more threads than processors under SCHED_FIFO, the others with the highest priority"
    return "%d operations in each of %d processes, medians of the processes, %s. %d goals met, %d missed." % (
        operations, repetitions, scheduling, met, missed)


def publish(found, summary, facts):
    pictures = draw(found, PICTURES)
    parts = [facts, summary, runner.table.as_markdown(goal_table(found)),
             "[All figures](performance/latency.md), also those of `std::string` over the same allocators.", pictures]
    runner.publish_between(PAGE, "latency", "\n\n".join(part for part in parts if part))
    with open(os.path.join(PICTURES, "latency.md"), "w", encoding="utf-8") as stream:
        stream.write("# Latency of operations on texts\n\nWhat the operations are, and how they were measured, says "
                     "[the page about real time](../real-time.md#latency).\n\n%s\n\n%s\n\n%s\n" % (
                         facts, summary, runner.table.as_markdown(full_table(found))))


def write_results(folder, found, text):
    with open(os.path.join(folder, "latency.txt"), "w", encoding="utf-8") as stream:
        stream.write(text + "\n")
    rows = [{"operation": measure, "threads": threads, "allocator": allocator, "text": kind, **figures}
            for (measure, threads), contestants in found.items()
            for (allocator, kind), (figures, _) in contestants.items()]
    with open(os.path.join(folder, "latency.json"), "w", encoding="utf-8") as stream:
        json.dump(rows, stream, indent=1)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", 1)[0])
    parser.add_argument("folder")
    parser.add_argument("--once", action="store_true")
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--publish", action="store_true")
    parser.add_argument("--pattern", action="append", choices=PATTERNS)
    parser.add_argument("--processes", type=int)
    parser.add_argument("--pause", type=float, default=0.02)
    arguments = parser.parse_args()
    program = os.path.join(arguments.folder, "allocator_latency")
    patterns = arguments.pattern or PATTERNS
    allocators = runner.allocators() + [PREWARMED]
    operations, repetitions = (2000, 1) if arguments.once else (200000, 3) if arguments.quick else (1000000, 5)
    repetitions = arguments.processes or repetitions
    numbers = THREADS[:2] if arguments.once else THREADS
    facts = runner.facts(" ".join(["latency.py"] + sys.argv[1:-1]))
    found = measure_all(program, patterns, allocators, numbers, operations, repetitions, arguments.pause,
                        not arguments.once)
    if arguments.once:
        return 0
    lines = goal_table(found)
    summary = said(lines, operations, repetitions, runner.may_become_realtime())
    text = "\n\n".join([facts, runner.table.as_text(full_table(found)), runner.table.as_text(lines), summary])
    print(text)
    write_results(arguments.folder, found, text)
    if arguments.publish:
        publish(found, summary, facts)
    return 0


if __name__ == "__main__":
    sys.exit(main())
