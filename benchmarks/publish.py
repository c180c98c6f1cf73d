#!/usr/bin/env python3
"""Writes a run of the benchmarks into docs/performance.md, between its markers, with pictures in docs/performance/.

    publish.py BUILD [PLAIN]

BUILD is the folder of the build that was measured, with its results in results/; PLAIN one with plain compiler flags, of
which only the table is shown. What people wrote around the markers stays.
"""
import datetime
import json
import os
import platform
import re
import shutil
import subprocess
import sys

import plots
import table

BEGIN = "<!-- measured: begin -->"
END = "<!-- measured: end -->"
PEERS = ("libabsl-dev", "libboost-dev", "libfmt-dev", "libre2-dev", "qtbase5-dev", "libbenchmark-dev")
PROJECT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
PAGE = os.path.join(PROJECT, "docs", "performance.md")
PICTURES = os.path.join(PROJECT, "docs", "performance")


def output_of(*command):
    """What a command prints, stripped; empty where it is missing or fails."""
    try:
        return subprocess.run(command, capture_output=True, text=True, check=True, cwd=PROJECT).stdout.strip()
    except (OSError, subprocess.CalledProcessError):
        return ""


def first_match(path, pattern):
    try:
        with open(path, encoding="utf-8", errors="replace") as stream:
            found = re.search(pattern, stream.read(), re.MULTILINE)
    except OSError:
        return ""
    return found.group(1).strip() if found else ""


def cached(build, name):
    return first_match(os.path.join(build, "CMakeCache.txt"), r"^%s:[A-Z]+=(.*)$" % re.escape(name))


def machine(context):
    model = first_match("/proc/cpuinfo", r"^model name\s*:\s*(.*)$") or platform.machine()
    system = first_match("/etc/os-release", r'^PRETTY_NAME="?([^"\n]*)') or platform.system()
    load = ", ".join("%.1f" % value for value in context.get("load_avg", []))
    caches = ", ".join("L%d%s %d KiB" % (cache["level"], cache["type"][0].lower() if cache["level"] == 1 else "",
                                         cache["size"] // 1024) for cache in context.get("caches", []))
    return [
        ("processor", "%s, %d processors seen, %s" % (model, context.get("num_cpus", 0), caches)),
        ("system", "%s, Linux %s" % (system, ".".join(platform.release().split(".")[:2])) if platform.system() == "Linux" else system),
        ("load before", load or table.MISSING),
    ]


def build_flags(build):
    flags = cached(build, "CMAKE_CXX_FLAGS_RELEASE")
    wide = cached(build, "QV_BENCH_WIDE") == "ON" and cached(build, "QV_BENCH_WIDE_RUNS") == "1"
    return "library %s; programs %s" % (flags, "-O3 -march=x86-64-v3" if wide else "the same")


def versions():
    listed = output_of("dpkg-query", "-W", "-f", "${Package} ${Version}, ", *PEERS)
    return listed.rstrip(", ") or "not known"


def facts(build, context):
    compiler = output_of(cached(build, "CMAKE_CXX_COMPILER") or "c++", "--version").split("\n")[0]
    revision = output_of("git", "rev-parse", "--short=12", "HEAD")
    date = datetime.datetime.now(datetime.timezone.utc).strftime("%Y-%m-%d")
    known = [("date", date)] + machine(context)
    known += [("compiler", compiler), ("flags", build_flags(build)), ("peers", versions())]
    if revision:
        known.append(("revision", revision))
    return table.as_markdown([["what", "value"]] + [list(fact) for fact in known])


def results_of(build):
    """The JSON of all topics that there are, in the order of their names."""
    folder = os.path.join(PROJECT, "benchmarks")
    topics = sorted(name[:-len(".cpp")] for name in os.listdir(folder) if name.endswith(".cpp"))
    return [os.path.join(build, "results", topic + ".json") for topic in topics]


def read(path):
    with open(path, encoding="utf-8") as stream:
        return json.load(stream)


def pictures(results):
    """Draws, and gives the lines that show what was drawn."""
    if shutil.which("gnuplot") is None:
        print("without gnuplot: no pictures", file=sys.stderr)
        return ""
    plots.main([PICTURES] + results)
    names = [os.path.splitext(os.path.basename(result))[0] for result in results] + ["growth"]
    drawn = [name for name in names if os.path.exists(os.path.join(PICTURES, name + ".svg"))]
    return "\n\n".join("![%s](performance/%s.svg)" % (name, name) for name in drawn)


def tables(results):
    """The lines of a run: (verdict, ratios, growth)."""
    figures = table.load(results)
    with open(os.path.join(PROJECT, "benchmarks", "goals.txt"), encoding="utf-8") as stream:
        goals = table.Goals(stream)
    ratios = table.main_table(figures, goals)
    growth = table.growth_table(figures, goals)
    met, missed = (sum(pair) for pair in zip(table.tally(ratios), table.tally(growth)))
    said = "%d goals met, %d missed. An empty loop takes %s a turn." % (met, missed, table.show(figures.baseline))
    return said, table.as_markdown(ratios), table.as_markdown(growth)


def measured(builds):
    results = results_of(builds[0])
    first = read(results[0])
    repetitions = max(entry.get("repetitions", 1) for entry in first["benchmarks"])
    processes = first["context"].get("processes", 1)
    said, ratios, growth = tables(results)
    parts = [
        "## The machine", facts(builds[0], first["context"]),
        "## The table", "The smallest of %d repetitions in each of %d processes. %s" % (repetitions, processes, said),
        ratios,
        "## Growth", "What 10 and 100 times the size cost.", growth,
        "## Pictures", pictures(results),
    ]
    for plain in builds[1:]:
        said, ratios, _ = tables(results_of(plain))
        parts += ["## The table with plain flags", "Flags: %s. %s" % (build_flags(plain), said), ratios]
    return "\n\n".join(part for part in parts if part)


def main(arguments):
    if not arguments:
        print(__doc__, file=sys.stderr)
        return 2
    with open(PAGE, encoding="utf-8") as stream:
        page = stream.read()
    if page.count(BEGIN) != 1 or page.count(END) != 1 or page.index(BEGIN) > page.index(END):
        print("%s: has not one %s before one %s" % (PAGE, BEGIN, END), file=sys.stderr)
        return 1
    before, rest = page.split(BEGIN)
    after = rest.split(END)[1]
    written = "%s%s\n\n%s\n\n%s%s" % (before, BEGIN, measured(arguments), END, after)
    with open(PAGE, "w", encoding="utf-8") as stream:
        stream.write(written)
    print("written: docs/performance.md, docs/performance/")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
