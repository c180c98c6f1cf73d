#!/usr/bin/env python3
"""Measures the standard library's strings once more over other allocators, as further peers of the rows that allocate.

    allocator_peers.py PROGRAM RESULT.json OPTION...

RESULT is what the program has just measured over the platform's malloc. For each allocator that is installed (see
allocators/runner.py) the program runs once more with it put in front of that malloc, for the quickest contestant of the
standard library in each row whose limit takes memory. What comes of it lies beside RESULT, named after the allocator; the
output says <allocator>=<file> for each, as merge.py takes it.
"""
import os
import re
import subprocess
import sys

import table

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "allocators"))
import runner  # noqa: E402  pylint: disable=wrong-import-position

# The limit of rows that take memory.
TAKES_MEMORY = "limit:malloc+copy"
STANDARD = "std::"


def contestants(figures):
    """The names of the benchmarks to run again."""
    chosen = []
    for key in figures.rows:
        known = figures.of(key)
        standard = {who: value for who, value in known.items() if who.startswith(STANDARD)}
        if standard and TAKES_MEMORY in known:
            chosen.append("%s/%d/%s" % (*key, min(standard, key=standard.get)))
    return chosen


def filter_of(names):
    """A regular expression of Google Benchmark; it goes on with what that library adds to names."""
    return "^(%s)(/|$)" % "|".join(re.sub(r"([.+*?()\[\]{}|^$\\])", r"\\\1", name) for name in names)


def is_in_front(environment, library):
    """Does a process with this environment have the library?"""
    done = subprocess.run(["cat", "/proc/self/maps"], env=environment, stdout=subprocess.PIPE, text=True, check=False)
    return os.path.realpath(library) in done.stdout


def main(arguments):
    if len(arguments) < 2:
        print(__doc__, file=sys.stderr)
        return 2
    program, result, options = arguments[0], arguments[1], arguments[2:]
    names = contestants(table.load([result]))
    for allocator in runner.LIBRARIES if names else ():
        library = runner.library_of(allocator)
        if library is None:
            continue
        environment = dict(os.environ, LD_PRELOAD=library)
        if not is_in_front(environment, library):
            print("%s cannot be put in front of malloc" % library, file=sys.stderr)
            return 1
        out = "%s.%s.json" % (os.path.splitext(result)[0], allocator)
        done = subprocess.run([program, "--benchmark_filter=" + filter_of(names), "--benchmark_out=" + out,
                               "--benchmark_out_format=json"] + options, env=environment, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, check=False)
        if done.returncode != 0:
            print(done.stdout, file=sys.stderr)
            return 1
        print("%s=%s" % (allocator, out))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
