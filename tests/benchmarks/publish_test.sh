#!/bin/sh
# The page of published figures: each kind of processor has a part of its own, which a run of another kind leaves alone;
# the table of goals says on which kinds a goal is met; figures that were kept are read back as they were.
#   publish_test.sh <project>
set -u
project=${1:-$(dirname "$0")/../..}
command -v python3 >/dev/null 2>&1 || {
    echo 'skipped: python3 is missing'
    exit 77
}
scratch=$(mktemp -d) || exit 2
trap 'rm -rf "$scratch"' EXIT
cd "$project/benchmarks" || exit 2
PYTHONDONTWRITEBYTECODE=1 python3 - "$scratch" <<'PYTHON'
import json
import os
import sys

import kinds
import publish
import table

scratch = sys.argv[1]
failed = []


def wants(name, got, wanted):
    if got != wanted:
        failed.append("%s: %r, not %r" % (name, got, wanted))


# ---- What a processor is called

XEON = """processor\t: 0
vendor_id\t: GenuineIntel
cpu family\t: 6
model\t\t: 85
model name\t: Intel(R) Xeon(R) Gold 6148 CPU @ 2.40GHz
stepping\t: 4

processor\t: 1
vendor_id\t: GenuineIntel
cpu family\t: 7
"""
EPYC = "vendor_id\t: AuthenticAMD\ncpu family\t: 25\nmodel\t\t: 17\nmodel name\t: AMD EPYC 9354 32-Core Processor\n"
ARM = "processor\t: 0\nBogoMIPS\t: 243.75\nCPU implementer\t: 0x41\nCPU part\t: 0xd0c\n"
publish.kinds.platform.machine = lambda: "aarch64"
wants("xeon", kinds.of_cpuinfo(XEON), ("intel_6_85", "Intel Xeon Gold 6148, family 6 model 85"))
wants("no name", kinds.of_cpuinfo(XEON.replace("Gold 6148 CPU @ 2.40GHz", "Processor")),
      ("intel_6_85", "Intel Xeon, family 6 model 85"))
wants("epyc", kinds.of_cpuinfo(EPYC), ("amd_25_17", "AMD EPYC 9354, family 25 model 17"))
wants("arm", kinds.of_cpuinfo(ARM), ("aarch64_0x41_0xd0c", "aarch64, implementer 0x41 part 0xd0c"))
wants("nothing known", kinds.of_cpuinfo(""), ("aarch64", "aarch64"))

# ---- Parts of a page

PAGE = "above\n<!-- measured: begin -->\n<!-- measured: end -->\nbelow <!-- other: begin -->mine<!-- other: end -->\n"
one = kinds.with_part(PAGE, "measured", "amd_1", "of one\n")
both = kinds.with_part(one, "measured", "intel_2", "of two")
wants("a part", kinds.split_at(one, "measured amd_1")[1].strip(), "of one")
wants("a second kind leaves the first", kinds.split_at(both, "measured amd_1")[1].strip(), "of one")
wants("a second kind", kinds.split_at(both, "measured intel_2")[1].strip(), "of two")
wants("in their order", both.index("amd_1") < both.index("intel_2"), True)
anew = kinds.with_part(both, "measured", "amd_1", "anew")
wants("replaced", anew, both.replace("of one", "anew"))
wants("the same again", kinds.with_part(anew, "measured", "amd_1", "anew"), anew)
before, _, after = kinds.split_at(anew, "measured")
wants("what is around", (before, after), ("above\n", "\nbelow <!-- other: begin -->mine<!-- other: end -->\n"))
wants("parts are within the subject", kinds.markers("measured intel_2")[1] in kinds.split_at(anew, "measured")[1], True)
for broken in ("no markers", PAGE + "<!-- measured: end -->", "<!-- measured: end --><!-- measured: begin -->"):
    try:
        kinds.with_part(broken, "measured", "amd_1", "text")
        failed.append("broken page: taken: " + broken)
    except RuntimeError:
        pass

# ---- The page itself has a part for each kind whose figures are kept, and one for the goals

with open(publish.PAGE, encoding="utf-8") as stream:
    page = stream.read()
within = kinds.split_at(page, publish.SUBJECT)[1]
kept = [name for name in os.listdir(publish.KEPT) if os.path.exists(os.path.join(publish.KEPT, name, publish.FIGURES))]
for name in [publish.GOALS] + kept:
    wants("part " + name, kinds.markers("%s %s" % (publish.SUBJECT, name))[0] in within, True)
    kinds.split_at(page, "%s %s" % (publish.SUBJECT, name))
wants("there are figures", [title for title, figures in publish.all_kept() if not figures.rows], [])

# ---- The table of goals

def figures(*rows):
    made = table.Figures()
    for place, (row, size, known) in enumerate(rows):
        made.smallest[(row, size)] = known
        made.first_seen.setdefault(row, place)
    return made


GOALS = table.Goals([
    "group plain counted,std", "copy * 1.0", "copy 8 0.5 plain", "join * 0.8 absl", "growth join 10 11", "unknown * 1"])
first = figures(("copy", 8, {"ours": 10, "boost": 5, "std": 30}), ("join", 10, {"ours": 1, "absl": 2}),
                ("join", 100, {"ours": 12, "absl": 10}))
second = figures(("copy", 8, {"ours": 10, "boost": 10, "std": 15}), ("join", 10, {"ours": 2, "absl": 1, "limit:read": 1}))
lines = table.goals_table([("A", first), ("B", second)], GOALS)
wants("head", lines[0], ["row", "size", "goal", "A", "B", "met on"])
wants("all peers", lines[1], ["copy", "8", "<= 1", "**2.00**", "1.00", "B"])
wants("named peers", lines[2], ["copy", "8", "<= 0.5 of plain", "0.33", "**0.67**", "A"])
wants("met on one", lines[3], ["join", "10", "<= 0.8 of absl", "0.50", "**2.00**", "A"])
wants("not measured by the other", lines[4], ["join", "100", "<= 0.8 of absl", "**1.20**", "-", "none"])
wants("growth", lines[5], ["growth join", "10", "<= 11", "**12.0**", "-", "none"])
wants("no further lines", len(lines), 6)
part = publish.goals_part([("A", first), ("B", second)], GOALS)
wants("summary", "Goals met: A: 2 of 5; B: 1 of 3; on every kind that measured the row: 0 of 5." in part, True)

# ---- Figures that are kept, and a run that is published

kept = figures(("z", 1, {"ours": 1.5, "std": 2.0}), ("a", 24, {"ours": 7200000.0}))
kept.in_bytes.add(("a", 24))
publish.KEPT = scratch
publish.keep(os.path.join(scratch, "amd_1"), "AMD One", [["date", "today"]], kept)
(title, back), = publish.all_kept()
wants("kind", title, "AMD One")
wants("rows in their order", back.rows, [("z", 1), ("a", 24)])
wants("figures", back.smallest, kept.smallest)
wants("in bytes", back.in_bytes, kept.in_bytes)

build = os.path.join(scratch, "build")
plain = os.path.join(scratch, "plain")
names = ("copy/8/ours", "copy/8/std", "nothing/0/baseline")


def put_results(folder, topic, context, repetitions, nanoseconds):
    entry = {"run_type": "iteration", "time_unit": "ns", "repetitions": repetitions}
    result = {"context": context, "benchmarks": [
        dict(entry, name=name, cpu_time=nanoseconds + i, family_index=i) for i, name in enumerate(names)]}
    os.makedirs(os.path.join(folder, "results"), exist_ok=True)
    with open(os.path.join(folder, "results", topic + ".json"), "w", encoding="utf-8") as stream:
        json.dump(result, stream)


put_results(build, "copying", {"num_cpus": 2, "processes": 2, "load_avg": [0.5]}, 7, 4)
put_results(plain, "copying", {"num_cpus": 2, "processes": 2, "seconds": "0.015"}, 3, 7)
publish.PAGE = os.path.join(scratch, "page.md")
publish.results_of = lambda folder: [os.path.join(folder, "results", "copying.json")]
publish.wanted_goals = lambda: GOALS
publish.pictures = lambda results, folder: "pictures of " + os.path.basename(folder)
kinds.of_machine = lambda: ("intel_2", "Intel Two")
with open(publish.PAGE, "w", encoding="utf-8") as stream:
    stream.write(kinds.with_part(one, "measured", "goals", "old goals"))
wants("published", publish.main([build, plain]), 0)
with open(publish.PAGE, encoding="utf-8") as stream:
    page = stream.read()
wants("the other kind's part stays", kinds.split_at(page, "measured amd_1")[1].strip(), "of one")
own = kinds.split_at(page, "measured intel_2")[1]
for words in ("## Intel Two", "| processor | Intel Two, 2 processors seen", "| load before | 0.5 |",
              "The smallest of 7 repetitions in each of 2 processes. 0 goals met, 1 missed.",
              "| copy | 8 | 4 ns | 5 ns | std | 0.80 |",
              "pictures of intel_2", "### The table with plain flags",
              "The smallest of 3 repetitions of 15 ms at least in each of 2 processes. 0 goals met, 1 missed.",
              "| copy | 8 | 7 ns | 8 ns | std | 0.88 |"):
    wants(words, words in own, True)
wants("goals anew", "| copy | 8 | <= 1 | - | 0.80 | all |" in kinds.split_at(page, "measured goals")[1], True)
wants("kept beside", sorted(os.listdir(scratch)), ["amd_1", "build", "intel_2", "page.md", "plain"])

# ---- How thorough a run was: what holds for all of its topics

put_results(build, "other", {"processes": 1, "seconds": "0.01"}, 1, 4)
publish.results_of = lambda folder: [os.path.join(folder, "results", topic + ".json") for topic in ("copying", "other")]
wants("the least of all topics", publish.effort(build), "The smallest of 1 repetition in one process.")
put_results(build, "copying", {"processes": 2, "seconds": "0.03"}, 7, 4)
wants("the shortest of all topics", publish.effort(build), "The smallest of 1 repetition of 10 ms at least in one process.")

print("\n".join(failed))
raise SystemExit(1 if failed else 0)
PYTHON
