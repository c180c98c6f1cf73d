#!/usr/bin/env python3
"""Compares whole programs in our strings with the same ones in others: output, lines of code, time and memory.

    compare.py [--once] [--quick] [--program NAME]... [--share PART] [--publish] FOLDER

FOLDER holds the programs <name>_ours, <name>_std and, where they could be built, <name>_absl and <name>_qt. All of a name
must agree about texts with all kinds of mistakes and about a short input, to the last byte; with --once that is all. Then
they must agree about the long input, or a PART of it, and each is run on that by turns, 7 times, 3 times with --quick. The
smallest counts: of time by the clock, of processor time (the program's and the system's for it), and of memory. The figures go to
FOLDER/programs.json; with --publish also to docs/performance.md, where they replace those of the same kind of processor.
"""
import argparse
import filecmp
import json
import os
import subprocess
import sys
import tempfile
import time

import inputs

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
import kinds  # noqa: E402  pylint: disable=wrong-import-position
import publish  # noqa: E402  pylint: disable=wrong-import-position
import table  # noqa: E402  pylint: disable=wrong-import-position

PROJECT = publish.PROJECT
SUBJECT = "programs"
WHO = ("ours", "std", "absl", "qt")
GOALS = {"clock": 0.7, "memory": 0.8}
STATUS = b"""Package: hull
Section: libs
Installed-Size: 1200
Maintainer: Shipyard <yard@example.org>
Description: the lowest part
 of a ship,
 .
\tcontinued
\t

package:keel\r
SECTION :  devel \r
installed-size: 12x\r
\r

no key here
: nor here
 nothing that this continues
Section:
 libs
Installed-Size: 18446744073709551616

Section: libs
Installed-Size: 34"""
PATHS = b"""/usr/include/Hull.h
C:\\Ships\\HULL.H\r

keel
/usr/
/usr/include/keel.h~
~
.h
/a/.h/b
//double//slash.h
/usr/include/hull.h
last.H"""
ORDERS = b"""12\tyard\tparts/hull\tplank.item\t3\t1.50\toak,pine\tfine
13\tyard/\t/parts/hull/\t/nail.item\t1000\t0.01\tiron\t"many" of 'them'\\
14\tyard\tparts\tmast.item\t1\t1234567.12\t,,tall,,\ttab\tbehind\r

15\ttoo\tfew
x\tyard\tparts\tx.item\t1\t1.00\tno\tnumber
16\tyard\tparts\tx.item\t-1\t1.00\tno\tcount
17\tyard\tparts\tx.item\t1\t1.0.0\tno\tprice
4294967295\tyard\tparts\tlast.item\t0\t0.00\t\t"""
FILTERS = ["--include", "*.h", "--include", "*.c", "--include", "*.cpp", "--include", "*/doc/*", "--include", "*/src/*",
           "--include", "*mast*.p?", "--exclude", "*/.git/*", "--exclude", "*/build-*/*", "--exclude", "*~",
           "--replace", "third_party", "vendor", "--replace", "/home/", "~/"]


class CProgram:
    """A program in several kinds of strings: a sample with mistakes in it, what to call it with besides a file, with which
    arguments it must agree about the sample, and what its inputs consist of."""

    def __init__(self, name, sample, arguments, calls, piece, count):
        self.name = name
        self.sample = sample
        self.arguments = arguments
        self.calls = calls
        self.piece = piece
        self.count = count

    def source(self, who):
        if self.name == "log_analyser" and who == "ours":
            return os.path.join(PROJECT, "examples", self.name, "main.cpp")
        return os.path.join(PROJECT, "benchmarks", "programs", self.name, "with_%s.cpp" % who)


PROGRAMS = (
    CProgram("log_analyser", STATUS, [],
             [[], ["--top", "1"], ["--key", "section"], ["--key", "Description", "--key", "package", "--sum", "Nothing"],
              ["--key", "sectoin"], ["--key", "Instaled-Size"], ["--key", "x"], ["--top"], ["--top", "x"],
              ["--no-such-option", "1"], ["another file"]], inputs.stanza, 61000),
    CProgram("catalogue", PATHS, FILTERS,
             [[], FILTERS, ["--include", "*.H"], ["--include", "*/*"], ["--exclude", "*"], ["--include", "?*?eel*"],
              ["--replace", "h", ""], ["--replace", "//", "/", "--replace", "l", "ll"], ["--replace", "", "x"], ["--include"],
              ["--no-such-option", "1"], ["another file"]], inputs.path, 1000000),
    CProgram("report", ORDERS, [], [[], ["another file"]], inputs.order, 460000),
)


def lines_of_code(path):
    """Lines that hold more than a comment."""
    with open(path, encoding="utf-8") as stream:
        lines = [line.strip() for line in stream]
    return sum(1 for line in lines if line and not line.startswith("//"))


def executables(folder, name):
    """{who: file} of those that were built."""
    found = {who: os.path.join(folder, "%s_%s" % (name, who)) for who in WHO}
    return {who: path for who, path in found.items() if os.path.exists(path)}


def answers(programs, arguments):
    """What each program says to the arguments, and its exit code."""
    results = {}
    for who, program in programs.items():
        run = subprocess.run([program] + arguments, stdin=subprocess.DEVNULL, capture_output=True, check=False)
        results[who] = (run.stdout, run.stderr, run.returncode)
    return results


def agree(name, programs, arguments):
    results = answers(programs, arguments)
    first = next(iter(results.values()))
    for who, result in results.items():
        if result != first:
            print("%s_%s %s: says %r, not %r" % (name, who, " ".join(arguments), result, first), file=sys.stderr)
            return False
    return True


def agree_about_small(program, programs, scratch):
    """Whether they say the same of the sample with all arguments, of a short input, and of what cannot be read."""
    sample, short = os.path.join(scratch, "sample"), os.path.join(scratch, "short")
    with open(sample, "wb") as stream:
        stream.write(program.sample)
    inputs.write(short, program.piece, 300)
    calls = [[sample] + arguments for arguments in program.calls]
    calls += [[path] + program.arguments for path in (short, scratch, sample + ".missing", "-")]
    return all([agree(program.name, programs, call) for call in calls])


def agree_about_large(name, programs, path, arguments):
    """The same of a long input, of which a program may say much: it goes to a file."""
    outputs = []
    for who, program in programs.items():
        outputs.append(path + "." + who)
        with open(outputs[-1], "wb") as stream:
            subprocess.run([program, path] + arguments, stdout=stream, stderr=subprocess.DEVNULL, check=True)
    same = [filecmp.cmp(outputs[0], output, shallow=False) for output in outputs]
    size = os.path.getsize(outputs[0])
    for output in outputs:
        os.remove(output)
    if not all(same):
        print("%s: they say different things of the long input" % name, file=sys.stderr)
    return size if all(same) else None


def measure(program, arguments):
    """Seconds of clock and processor, and the largest size in memory, of one run."""
    begin = time.perf_counter()
    child = subprocess.Popen([program] + arguments, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    _, status, usage = os.wait4(child.pid, 0)
    clock = time.perf_counter() - begin
    child.returncode = os.waitstatus_to_exitcode(status)
    if child.returncode != 0:
        raise RuntimeError("%s: exit code %d" % (program, child.returncode))
    return {"clock": clock, "processor": usage.ru_utime + usage.ru_stime, "memory": usage.ru_maxrss * 1024}


def smallest(programs, arguments, repetitions):
    """The smallest of the repetitions of each figure of each program; they take turns."""
    figures = {}
    for _ in range(repetitions):
        for who, program in programs.items():
            run = measure(program, arguments)
            before = figures.get(who, run)
            figures[who] = {name: min(before[name], value) for name, value in run.items()}
    return figures


def measure_program(program, programs, scratch, share, repetitions):
    """What is published of one program; None when they do not agree."""
    path = os.path.join(scratch, program.name + ".input")
    inputs.write(path, program.piece, max(1000, int(program.count * share)))
    output = agree_about_large(program.name, programs, path, program.arguments)
    if output is None:
        return None
    figures = smallest(programs, [path] + program.arguments, repetitions)
    for who, row in figures.items():
        row["lines"] = lines_of_code(program.source(who))
    sizes = {"input": os.path.getsize(path), "output": output}
    os.remove(path)
    return {**sizes, "figures": figures}


def fastest_peer(figures):
    peers = [who for who in figures if who != "ours"]
    return min(peers, key=lambda who: figures[who]["clock"])


def table_of(found):
    """One line for each program and kind of strings; what is asked of ours is told beside the fastest peer."""
    lines = [["program", "input, output", "strings", "lines", "clock", "processor", "memory", "ours / fastest peer"]]
    for name, result in found.items():
        figures = result["figures"]
        peer = fastest_peer(figures)
        for who, row in figures.items():
            said = ""
            if who == peer:
                ratios = {key: figures["ours"][key] / row[key] for key in GOALS}
                said = ", ".join("%s %.2f (%s %g)" % (key, ratio, "met:" if ratio <= GOALS[key] + 0.005 else "missed:",
                                                      GOALS[key]) for key, ratio in ratios.items())
            sizes = "%.1f MB, %.1f MB" % (result["input"] / 1e6, result["output"] / 1e6)
            lines.append([name, sizes, who, str(row["lines"]), "%.1f ms" % (row["clock"] * 1e3),
                          "%.1f ms" % (row["processor"] * 1e3), "%.1f MB" % (row["memory"] / 1e6), said])
    return lines


def published(found, title, known):
    """The part of a kind of processor."""
    return "\n\n".join(["### " + title, table.as_markdown([["what", "value"]] + [list(fact) for fact in known]),
                        table.as_markdown(table_of(found))])


def publish_run(found, folder):
    kind, title = kinds.of_machine()
    context = {"num_cpus": len(os.sched_getaffinity(0)), "load_avg": os.getloadavg()}
    known = publish.facts(os.path.join(folder, "..", ".."), context)
    known = [(what, value.rstrip(", ")) for what, value in known if what != "flags"]
    with open(publish.PAGE, encoding="utf-8") as stream:
        page = stream.read()
    with open(publish.PAGE, "w", encoding="utf-8") as stream:
        stream.write(kinds.with_part(page, SUBJECT, kind, published(found, title, known)))


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", 1)[0])
    parser.add_argument("folder")
    parser.add_argument("--once", action="store_true")
    parser.add_argument("--program", action="append", choices=[program.name for program in PROGRAMS])
    parser.add_argument("--share", type=float, default=1.0)
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--publish", action="store_true")
    arguments = parser.parse_args()
    found = {}
    with tempfile.TemporaryDirectory() as scratch:
        for program in PROGRAMS:
            if arguments.program and program.name not in arguments.program:
                continue
            programs = executables(arguments.folder, program.name)
            if "ours" not in programs or len(programs) == 1:
                print("%s: has not the programs %s to compare" % (arguments.folder, program.name), file=sys.stderr)
                return 2
            if not agree_about_small(program, programs, scratch):
                return 1
            if arguments.once:
                continue
            found[program.name] = measure_program(program, programs, scratch, arguments.share, 3 if arguments.quick else 7)
            if found[program.name] is None:
                return 1
    if found:
        with open(os.path.join(arguments.folder, "programs.json"), "w", encoding="utf-8") as stream:
            json.dump(found, stream, indent=1)
        print(table.as_text(table_of(found)))
        if arguments.publish:
            publish_run(found, arguments.folder)
    return 0


if __name__ == "__main__":
    sys.exit(main())
