#!/usr/bin/env python3
"""Puts what several processes of one benchmark program measured into one file.

    merge.py OUT.json IN.json...

The context is that of the first, with the number of processes; the repetitions are those of all.
"""
import json
import sys


def main(arguments):
    if len(arguments) < 2:
        print(__doc__, file=sys.stderr)
        return 2
    merged = None
    for path in arguments[1:]:
        with open(path, encoding="utf-8") as stream:
            result = json.load(stream)
        if merged is None:
            merged = result
        else:
            merged["benchmarks"] += result["benchmarks"]
    merged["context"]["processes"] = len(arguments) - 1
    with open(arguments[0], "w", encoding="utf-8") as stream:
        json.dump(merged, stream, indent=1)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
