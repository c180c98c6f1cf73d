#!/usr/bin/env python3
"""Writes a run of the benchmarks into docs/performance.md, as the part of the machine's kind of processor.

    publish.py BUILD [PLAIN]
    publish.py --goals

BUILD is the folder of the build that was measured, with its results in results/; PLAIN one with plain compiler flags, of
which only the table is shown. What other kinds of processors have there stays, and what people wrote around the markers.
The figures are kept in docs/performance/<kind>/figures.json, with the pictures beside them; from the figures of all kinds
the table of goals is made. --goals makes that table anew and nothing else, for goals that have changed.
"""
import datetime
import glob
import json
import os
import platform
import re
import shutil
import subprocess
import sys

import kinds
import plots
import table

SUBJECT = "measured"
GOALS = "goals"
FIGURES = "figures.json"
PEERS = ("libabsl-dev", "libboost-dev", "libfmt-dev", "libre2-dev", "qtbase5-dev", "libmimalloc2.0", "libjemalloc2",
         "libtcmalloc-minimal4", "libbenchmark-dev")
PROJECT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
PAGE = os.path.join(PROJECT, "docs", "performance.md")
KEPT = os.path.join(PROJECT, "docs", "performance")


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
    _, model = kinds.of_machine()
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
    """[(what, value)] of a run."""
    compiler = output_of(cached(build, "CMAKE_CXX_COMPILER") or "c++", "--version").split("\n")[0]
    revision = output_of("git", "rev-parse", "--short=12", "HEAD")
    date = datetime.datetime.now(datetime.timezone.utc).strftime("%Y-%m-%d")
    known = [("date", date)] + machine(context)
    known += [("compiler", compiler), ("flags", build_flags(build)), ("peers", versions())]
    if revision:
        known.append(("revision", revision))
    return known


def results_of(build):
    """The JSON of all topics that there are, in the order of their names."""
    folder = os.path.join(PROJECT, "benchmarks")
    topics = sorted(name[:-len(".cpp")] for name in os.listdir(folder) if name.endswith(".cpp"))
    return [os.path.join(build, "results", topic + ".json") for topic in topics]


def read(path):
    with open(path, encoding="utf-8") as stream:
        return json.load(stream)


def wanted_goals():
    with open(os.path.join(PROJECT, "benchmarks", "goals.txt"), encoding="utf-8") as stream:
        return table.Goals(stream)


def effort(build):
    """What the figures of a run are made of, in words; the least of all topics where they were not measured alike."""
    results = [read(path) for path in results_of(build)]
    repetitions = min(max(entry.get("repetitions", 1) for entry in result["benchmarks"]) for result in results)
    processes = min(result["context"].get("processes", 1) for result in results)
    seconds = min(float(result["context"].get("seconds", 0)) for result in results)
    return "The smallest of %d repetition%s%s in %s." % (
        repetitions, "" if repetitions == 1 else "s", " of %g ms at least" % (1000 * seconds) if seconds else "",
        "one process" if processes == 1 else "each of %d processes" % processes)


def pictures(results, folder):
    """Draws into the folder of the kind, and gives the lines that show what was drawn."""
    if shutil.which("gnuplot") is None:
        print("without gnuplot: no pictures", file=sys.stderr)
        return ""
    plots.main([folder] + results)
    names = [os.path.splitext(os.path.basename(result))[0] for result in results] + ["growth"]
    drawn = [name for name in names if os.path.exists(os.path.join(folder, name + ".svg"))]
    return "\n\n".join("![%s](performance/%s/%s.svg)" % (name, os.path.basename(folder), name) for name in drawn)


def tables(figures):
    """The lines of a run: (verdict, ratios, growth)."""
    goals = wanted_goals()
    ratios = table.main_table(figures, goals)
    growth = table.growth_table(figures, goals)
    met, missed = (sum(pair) for pair in zip(table.tally(ratios), table.tally(growth)))
    said = "%d goals met, %d missed. An empty loop takes %s a turn." % (met, missed, table.show(figures.baseline))
    return said, table.as_markdown(ratios), table.as_markdown(growth)


def measured(builds, title, known, figures, folder):
    """The part of a kind."""
    said, ratios, growth = tables(figures)
    parts = [
        "## " + title,
        table.as_markdown([["what", "value"]] + [list(fact) for fact in known]),
        "### The table", "%s %s" % (effort(builds[0]), said), ratios,
        "### Growth", "What 10 and 100 times the size cost.", growth,
        "### Pictures", pictures(results_of(builds[0]), folder),
    ]
    for plain in builds[1:]:
        said, ratios, _ = tables(table.load(results_of(plain)))
        parts += ["### The table with plain flags", "Flags: %s. %s %s" % (
            build_flags(plain), effort(plain), said), ratios]
    return "\n\n".join(part for part in parts if part)


def keep(folder, title, known, figures):
    """Writes the figures of a kind, a row to a line."""
    lines = ",\n".join("  " + json.dumps(line) for line in figures.kept())
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, FIGURES), "w", encoding="utf-8") as stream:
        stream.write('{\n "kind": %s,\n "facts": %s,\n "figures": [\n%s\n ]\n}\n' % (
            json.dumps(title), json.dumps(known), lines))


def all_kept():
    """[(title, figures)] of all kinds, in the order of their words."""
    kept = [read(path) for path in sorted(glob.glob(os.path.join(KEPT, "*", FIGURES)))]
    return [(kind["kind"], table.Figures.of_kept(kind["figures"])) for kind in kept]


def goals_part(kept, goals):
    """The table of goals and its summary. `kept` as all_kept() gives it."""
    lines = table.goals_table(kept, goals)
    said = []
    for column, (title, _) in enumerate(kept, 3):
        cells = [line[column] for line in lines[1:] if line[column] != table.MISSING]
        said.append("%s: %d of %d" % (title, sum(map(table.is_met, cells)), len(cells)))
    said.append("on every kind that measured the row: %d of %d" % (sum(line[-1] == "all" for line in lines), len(lines) - 1))
    return "\n\n".join([
        "## The goals, by kind of processor",
        "Our time divided by that of the best peer, or of the peers that the goal is about; in bold where the goal is missed, "
        "and %s where the row or its peers were not measured. Rows of `growth` say what 10 times the size cost. Goals met: %s."
        % (table.MISSING, "; ".join(said)), table.as_markdown(lines)])


def main(arguments):
    if not arguments:
        print(__doc__, file=sys.stderr)
        return 2
    with open(PAGE, encoding="utf-8") as stream:
        page = stream.read()
    if arguments != ["--goals"]:
        kind, title = kinds.of_machine()
        folder = os.path.join(KEPT, kind)
        results = results_of(arguments[0])
        known = facts(arguments[0], read(results[0])["context"])
        figures = table.load(results)
        keep(folder, title, known, figures)
        page = kinds.with_part(page, SUBJECT, kind, measured(arguments, title, known, figures, folder))
    page = kinds.with_part(page, SUBJECT, GOALS, goals_part(all_kept(), wanted_goals()))
    with open(PAGE, "w", encoding="utf-8") as stream:
        stream.write(page)
    print("written: docs/performance.md, docs/performance/")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
