#!/usr/bin/python3
"""Counts what became of mutants, and says which of them should not have lived.

    report.py <list of mutants> <list of survivors> <results...> [--all | --draw | --alive]

The list of survivors names those that no test kills, each with its reason: "equivalent because ..." where none can, and
"open ..." where nobody has judged it, or a test that takes long may kill it. Fails where too few are killed, where one
survived that is not listed, where one that is listed was killed, and with --all where an entry names no mutant. With
--draw, the mutants are some by chance: those that survived and are not listed are named, and fail when they are too many.
With --alive, prints the lines of the list that nothing has killed and that are not listed as equivalent, and nothing else.
"""

import collections
import pathlib
import sys

# What must not have a survivor without a reason.
STRICT = {
    "blocks": ("string_container.cpp", "string_block.h", "kr_string_container.h", "kr_containers_array_block.h"),
    "counts": ("kr_refptr.h", "refcounted_object.cpp", "kr_atomic.h"),
    "sizes": ("string_growth.h", "kr_string_fast_growth.h"),
    "escapes": ("escaping.inc", "escape_tables.h", "buffer_escape.cpp", "string_escaping.cpp"),
    "wildcards": ("buffer_wildcard.cpp", "buffer_wildcard.h", "string_matching.cpp"),
    "allocator": ("mem.cpp", "kr_mem.h", "kr_mem_utils.h"),
}
Mutant = collections.namedtuple("Mutant", "line may_be_constant name")
KILLED = {"failed", "died", "late"}
# Of all others, so many in a hundred at least must be killed.
LEAST_KILLED = 98.0
# The list follows when a source changes: one survivor of sixty is for whoever keeps it, four are for whoever made the change.
LEAST_KILLED_OF_DRAWN = 95.0


def group_of(name):
    path = pathlib.PurePosixPath(name.split(" | ")[0])
    if "/layer_0/kr_mem/" in str(path):
        return "allocator"
    for group, files in STRICT.items():
        if path.name in files:
            return group
    return path.parent.name if "/layer_0/" in str(path) else "public headers"


def read_mutants(path):
    mutants = {}
    for line in pathlib.Path(path).read_text().splitlines():
        number, at, kind, name = line.split("\t", 3)
        mutants[int(number)] = Mutant(int(at), kind == "constexpr", name)
    return mutants


def is_constant(mutant, outcome):
    """Whether a mutant is in a private function that the compiler evaluates, and no test runs: what it makes of the
    function is proven where it is used, and never mutated."""
    return outcome == "unreached" and mutant.may_be_constant and "/layer_0/" in mutant.name.split(" | ")[0]


def read_survivors(path):
    """Names and reasons: a reason stands, indented, behind all the names that it is for."""
    survivors = {}
    waiting = []
    for line in pathlib.Path(path).read_text().splitlines():
        if not line.strip() or line.startswith("#"):
            continue
        if not line.startswith("    "):
            waiting.append(line)
            continue
        if not line.strip().startswith(("equivalent because ", "open")):
            raise ValueError(f"{path}: no reason of either kind: {line.strip()}")
        for name in waiting:
            survivors[name] = line.strip()
        waiting = []
    if waiting:
        raise ValueError(f"{path}: no reason for {waiting[0]}")
    return survivors


# From the least that is known of a mutant to the most: not reached, reached without a difference, not asked of all.
DEGREES = ["unreached", "alike", "survived", "budget"]


def degree(outcome):
    return DEGREES.index(outcome) if outcome in DEGREES else len(DEGREES)


def read_results(paths):
    """Of each mutant the most that became of it in any run."""
    results = {}
    for path in paths:
        for line in pathlib.Path(path).read_text().splitlines():
            number, outcome, _, _ = line.split(" ", 3)
            number = int(number)
            if number not in results or degree(outcome) > degree(results[number]):
                results[number] = outcome
    return results


def print_alive(path, mutants, survivors, results):
    for line in pathlib.Path(path).read_text().splitlines():
        number = int(line.split("\t", 1)[0])
        is_equivalent = survivors.get(mutants[number].name, "open").startswith("equivalent")
        if results.get(number) not in KILLED and not is_equivalent:
            print(line)


def print_figures(mutants, survivors, results, least):
    """The table, and whether so many in a hundred were killed."""
    counts = collections.defaultdict(collections.Counter)
    for number, outcome in results.items():
        if is_constant(mutants[number], outcome):
            counts["the compiler's"]["compiled"] += 1
            continue
        name = mutants[number].name
        is_equivalent = survivors.get(name, "open").startswith("equivalent")
        what = "killed" if outcome in KILLED else "equivalent" if is_equivalent else "survived"
        counts[group_of(name)][what] += 1
        counts["all"][what] += 1
    print(f"{'group':16}{'mutants':>9}{'killed':>9}{'equivalent':>12}{'survived':>10}{'killed of the others':>22}")
    compiled = counts.pop("the compiler's", collections.Counter())["compiled"]
    for group in sorted(counts, key=lambda group: (group == "all", group)):
        count = counts[group]
        others = count["killed"] + count["survived"]
        share = 100.0 * count["killed"] / others if others else 100.0
        line = f"{group:16}{sum(count.values()):9}{count['killed']:9}{count['equivalent']:12}{count['survived']:10}"
        print(f"{line}{share:20.1f} %")
    print(f"{compiled} more are in functions that only the compiler evaluates")
    others = counts["all"]["killed"] + counts["all"]["survived"]
    return not others or 100.0 * counts["all"]["killed"] / others >= least


def main():
    arguments = [argument for argument in sys.argv[1:] if argument not in ("--all", "--draw", "--alive")]
    is_draw = "--draw" in sys.argv
    mutants = read_mutants(arguments[0])
    survivors = read_survivors(arguments[1])
    results = read_results(arguments[2:])
    if "--alive" in sys.argv:
        print_alive(arguments[0], mutants, survivors, results)
        return 0
    failed = not print_figures(mutants, survivors, results, LEAST_KILLED_OF_DRAWN if is_draw else LEAST_KILLED)
    for number, outcome in sorted(results.items()):
        at, name = mutants[number].line, mutants[number].name
        if is_constant(mutants[number], outcome):
            continue
        if outcome not in KILLED and name not in survivors:
            print(f"{outcome}: mutant {number}, line {at}: {name}")
            failed = failed or not is_draw
        elif outcome in KILLED and name in survivors:
            print(f"killed, but listed among the survivors: {name}")
            failed = failed or survivors[name].startswith("equivalent")
    if "--all" in sys.argv:
        for name in survivors.keys() - {mutant.name for mutant in mutants.values()}:
            print(f"listed among the survivors, but no mutant: {name}")
            failed = True
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
