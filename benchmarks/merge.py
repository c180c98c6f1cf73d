#!/usr/bin/env python3
"""Puts what several processes of one benchmark program measured into one file.

    merge.py OUT.json [ALLOCATOR=]IN.json...

The context is that of the first, with the number of processes; the repetitions are those of all. Contestants that were
measured over another allocator than the platform's get its name, too: "std::string+mimalloc".
"""
import json
import sys


def renamed(entry, allocator):
    """A contestant over an allocator; behind its name may stand what Google Benchmark adds."""
    row, size, who, *rest = entry["name"].split("/")
    return dict(entry, name="/".join([row, size, "%s+%s" % (who, allocator)] + rest))


def main(arguments):
    if len(arguments) < 2:
        print(__doc__, file=sys.stderr)
        return 2
    merged = None
    processes = 0
    for argument in arguments[1:]:
        allocator, _, path = argument.rpartition("=")
        with open(path, encoding="utf-8") as stream:
            result = json.load(stream)
        entries = result["benchmarks"]
        if allocator:
            entries = [renamed(entry, allocator) for entry in entries]
        else:
            processes += 1
        if merged is None:
            merged = dict(result, benchmarks=[])
        merged["benchmarks"] += entries
    merged["context"]["processes"] = processes
    with open(arguments[0], "w", encoding="utf-8") as stream:
        json.dump(merged, stream, indent=1)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
