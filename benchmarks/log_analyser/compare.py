#!/usr/bin/env python3
"""Compares the example log_analyser with the same program in other strings: output, lines of code, time and memory.

    compare.py [--once] [--input FILE] [--megabytes N] [--repetitions N] FOLDER

FOLDER holds the programs log_analyser_ours, log_analyser_std and, where it could be built, log_analyser_absl. They must
agree about a text with all kinds of mistakes and about the input, to the last byte; with --once that is all. Then each
is run on the input as it is and on as many copies of it as make N megabytes, by turns. Of the repetitions the smallest
counts: of processor time (the program's and the system's for it), of time by the clock, and of memory.
"""
import argparse
import os
import subprocess
import sys
import tempfile
import time

SOURCES = {
    "ours": "examples/log_analyser/main.cpp",
    "std": "benchmarks/log_analyser/with_std.cpp",
    "absl": "benchmarks/log_analyser/with_absl.cpp",
}
SAMPLE = b"""Package: hull
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
ARGUMENTS = (
    [],
    ["--top", "1"],
    ["--key", "section"],
    ["--key", "Description", "--key", "package", "--sum", "Nothing"],
    ["--key", "sectoin"],
    ["--key", "Instaled-Size"],
    ["--key", "x"],
    ["--top"],
    ["--top", "x"],
    ["--no-such-option", "1"],
    ["another file"],
)


def lines_of_code(path):
    """Lines that hold more than a comment."""
    with open(path, encoding="utf-8") as stream:
        lines = [line.strip() for line in stream]
    return sum(1 for line in lines if line and not line.startswith("//"))


def answers(programs, arguments):
    """What each program says to the arguments, and its exit code."""
    results = {}
    for who, program in programs.items():
        run = subprocess.run([program] + arguments, stdin=subprocess.DEVNULL, capture_output=True, check=False)
        results[who] = (run.stdout, run.stderr, run.returncode)
    return results


def agree(programs, arguments):
    results = answers(programs, arguments)
    first = next(iter(results.values()))
    for who, result in results.items():
        if result != first:
            print(f"log_analyser_{who} {' '.join(arguments)}: says {result}, not {first}", file=sys.stderr)
            return False
    return True


def agree_about_all(programs, sample, files):
    """Whether they say the same of the sample with all arguments, and of the files."""
    calls = [[sample] + arguments for arguments in ARGUMENTS]
    calls += [[path] for path in files + [os.path.dirname(sample), sample + ".missing", "-"]]
    return all([agree(programs, call) for call in calls])


def measure(program, path):
    """Seconds of processor and clock, and the largest size in memory, of one run."""
    begin = time.perf_counter()
    child = subprocess.Popen([program, path], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    _, status, usage = os.wait4(child.pid, 0)
    clock = time.perf_counter() - begin
    child.returncode = os.waitstatus_to_exitcode(status)
    if child.returncode != 0:
        raise RuntimeError(f"{program} {path}: exit code {child.returncode}")
    return usage.ru_utime + usage.ru_stime, clock, usage.ru_maxrss


def smallest(programs, path, repetitions):
    """The smallest of the repetitions of each figure of each program; they take turns."""
    figures = {}
    for _ in range(repetitions):
        for who, program in programs.items():
            figures.setdefault(who, []).append(measure(program, path))
    return {who: tuple(min(column) for column in zip(*runs)) for who, runs in figures.items()}


def print_table(programs, root, files, repetitions):
    print(f"{'':6}{'lines':>7}", end="")
    for path in files:
        print(f"   {os.path.getsize(path) / 1e6:10.1f} MB:     cpu    clock    memory", end="")
    print()
    figures = [smallest(programs, path, repetitions) for path in files]
    for who in programs:
        print(f"{who:6}{lines_of_code(os.path.join(root, SOURCES[who])):7}", end="")
        for each in figures:
            cpu, clock, memory = each[who]
            print(f"{'':16} {cpu * 1e3:6.1f} ms{clock * 1e3:6.1f} ms{memory / 1024:7.1f} MB", end="")
        print()


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", 1)[0])
    parser.add_argument("folder")
    parser.add_argument("--once", action="store_true")
    parser.add_argument("--input", default="/var/lib/dpkg/status")
    parser.add_argument("--megabytes", type=int, default=100)
    parser.add_argument("--repetitions", type=int, default=7)
    arguments = parser.parse_args()
    root = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
    programs = {who: os.path.join(arguments.folder, "log_analyser_" + who) for who in SOURCES}
    programs = {who: program for who, program in programs.items() if os.path.exists(program)}
    if "ours" not in programs or len(programs) == 1:
        print(f"{arguments.folder}: has not the programs to compare", file=sys.stderr)
        return 2
    with tempfile.TemporaryDirectory() as scratch:
        sample = os.path.join(scratch, "sample")
        with open(sample, "wb") as stream:
            stream.write(SAMPLE)
        files = [arguments.input] if os.path.exists(arguments.input) else []
        if not agree_about_all(programs, sample, files):
            return 1
        if arguments.once:
            return 0
        source = files[0] if files else sample
        large = os.path.join(scratch, "large")
        with open(source, "rb") as stream:
            text = stream.read() + b"\n\n"
        with open(large, "wb") as stream:
            for _ in range(max(1, arguments.megabytes * 1000000 // len(text))):
                stream.write(text)
        if not agree_about_all(programs, sample, [large]):
            return 1
        print_table(programs, root, [source, large], arguments.repetitions)
    return 0


if __name__ == "__main__":
    sys.exit(main())
