#!/usr/bin/python3
"""Asks whole programs about mutants: each is run with one mutant after the other, of those that it reaches.

    programs.py <list of mutants> <results> <program...>

A program that answers other than without a mutant, crashes, or takes far longer has killed it; one that says that it
cannot run has not. The quickest are asked first, and what takes longer than LONGEST without a mutant, or cannot run then,
is not asked at all. Programs are linked with the library that has all mutants in it, which obeys the environment
(switch.cpp).
"""

import os
import pathlib
import subprocess
import sys
import tempfile
import time

MOST_MUTANTS = 1 << 16
# In seconds.
LONGEST = 20
# What a program answers that cannot run: it has noticed nothing.
SKIPPED = 77


class Program:
    """A program, how long it takes, and which mutants it reaches where they make a difference, or make none."""

    def __init__(self, path, scratch):
        self.path = str(pathlib.Path(path).resolve())
        self.name = pathlib.Path(path).name
        reached = scratch / "reached"
        reached.write_bytes(bytes(2 * MOST_MUTANTS))
        start = time.monotonic()
        self.answer = self.run({"QV_MUTANT_REACHED": str(reached)}, scratch, LONGEST)
        self.seconds = time.monotonic() - start
        if self.answer is not None and self.answer < 0:
            raise ValueError(f"{self.name}: ends by itself without a mutant")
        content = reached.read_bytes()
        self.reached = {number for number in range(MOST_MUTANTS) if content[number]}
        self.alike = {number for number in range(MOST_MUTANTS) if content[MOST_MUTANTS + number]}

    def run(self, environment, scratch, seconds):
        """What it answers, negative for a signal; None when it takes too long."""
        process = subprocess.Popen(
            [self.path],
            cwd=scratch,
            env={**os.environ, **environment},
            stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL,
            start_new_session=True,
        )
        try:
            return process.wait(seconds)
        except subprocess.TimeoutExpired:
            return None
        finally:
            end_all_of(process)

    def outcome(self, number, scratch):
        """What becomes of a mutant; None when the program does not notice it."""
        answer = self.run({"QV_MUTANT": str(number)}, scratch, 10 * self.seconds + 1)
        if answer in (self.answer, SKIPPED):
            return None
        return "late" if answer is None else "died" if answer < 0 else "failed"


def end_all_of(process):
    """Ends what a program has started as well."""
    try:
        os.killpg(process.pid, 9)
    except ProcessLookupError:
        pass
    process.wait()


def ask(number, programs, scratch):
    reached = False
    alike = False
    for program in programs:
        alike = alike or number in program.alike
        if number not in program.reached:
            continue
        reached = True
        outcome = program.outcome(number, scratch)
        if outcome:
            return f"{outcome} {program.name}"
    return "survived -" if reached else "alike -" if alike else "unreached -"


def main():
    listed, results, *paths = sys.argv[1:]
    numbers = [int(line.split("\t")[0]) for line in pathlib.Path(listed).read_text().splitlines()]
    with tempfile.TemporaryDirectory() as folder, open(results, "w", encoding="ascii") as output:
        scratch = pathlib.Path(folder)
        programs = [Program(path, scratch) for path in paths]
        programs = [program for program in programs if program.answer not in (None, SKIPPED)]
        programs.sort(key=lambda program: program.seconds)
        for number in numbers:
            start = time.monotonic()
            print(number, ask(number, programs, scratch), f"{time.monotonic() - start:.3f}", file=output, flush=True)


if __name__ == "__main__":
    main()
