#!/usr/bin/python3
"""Draws some mutants by chance, and writes a copy of the library in which they are.

    draw.py <project> <folder of the copy> <list> <seed> <count> <sources>

Draws so many sources first, then mutants of them and of the headers that they alone include, so that little is to be
compiled: the copies of those sources are printed. Mutants that are listed as survivors are not drawn.
"""

import pathlib
import random
import re
import shutil
import sys

from mutate import arguments_for, named, use_libclang
from places import Finder
from report import read_survivors
from rewriting import rewritten

INCLUDE = re.compile(rb'^\s*#\s*(?:include|define QV_SIMD_KERNELS) "(?:[^"]*/)?([^"/]+)"', re.MULTILINE)

# The number of what is written as a mutant and is none.
NEVER_ACTIVE = 65535


def own_headers(root, sources):
    """Of each source the private headers that no other file includes, nor do the tests."""
    users = {}
    for folder in (root / "Runtime", root / "tests"):
        for file in folder.rglob("*"):
            if file.suffix in (".h", ".cpp", ".inc"):
                for name in INCLUDE.findall(file.read_bytes()):
                    users.setdefault(name.decode(), set()).add(file)
    headers = {source: set() for source in sources}
    for name, files in users.items():
        if len(files) == 1 and next(iter(files)) in headers:
            source = next(iter(files))
            headers[source].add(name)
    return headers


def draw(root, seed, count, source_count):
    chance = random.Random(seed)
    sources = sorted((root / "Runtime/qv_kernel/layer_0").glob("*/*.cpp"))
    headers = own_headers(root, sources)
    survivors = read_survivors(root / "tests/mutation/survivors.txt")
    finder = Finder(root, arguments_for(root))
    drawn = []
    used = []
    for source in chance.sample(sources, len(sources)):
        if len(used) == source_count:
            break
        finder.read(source)
        names = {source.name} | headers[source]
        mutants = [
            (place, name)
            for _, place, name in named(finder.places.values())
            if pathlib.PurePosixPath(place.file).name in names and name not in survivors
            and (place.file, place.function) not in finder.constant_functions
        ]
        if len(mutants) >= count // source_count:
            used.append(source)
            drawn += chance.sample(mutants, count // source_count)
    return finder, used, [(number + 1, place, name) for number, (place, name) in enumerate(drawn)]


def main():
    root, folder, listed = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])
    use_libclang()
    finder, used, mutants = draw(root, sys.argv[4], int(sys.argv[5]), int(sys.argv[6]))
    if folder.exists():
        shutil.rmtree(folder)
    shutil.copytree(root / "Runtime", folder / "Runtime")
    for name in {place.file for _, place, _ in mutants}:
        numbered = [(number, place) for number, place, _ in mutants if place.file == name]
        # A check whose condition holds a mutant must report the condition as it was, which is done where it is one.
        drawn = {place for _, place in numbered}
        checks = [place for place in finder.places.values() if place.file == name and place.kind == "assertion"]
        numbered += [(NEVER_ACTIVE, place) for place in checks if place not in drawn]
        (folder / name).write_text(rewritten(finder.source(name), numbered))
    with open(listed, "w", encoding="ascii") as output:
        for number, place, name in mutants:
            output.write(f"{number}\t{finder.source(place.file).line(place.begin)}\t-\t{name}\n")
    for source in used:
        print(folder / source.relative_to(root))


if __name__ == "__main__":
    main()
