#!/usr/bin/python3
"""Writes a copy of the project whose library has all mutants in it, and the list of them.

    mutate.py <project> <folder of the copy> <list> [<another list> <definition...>]

Each line of the list is a mutant: its number, the line where it stands, "constexpr" where the compiler may evaluate the
function or else "-", and its name. The name is what the file and the function are called, the kind, what stands there and
what takes its place, and which of several such in the function it is: it stays while other lines change.

With definitions, such as QV_MEM_TRACKING=1, the sources are read as a build that has them reads them. What the other list
names keeps its number there.
"""

import pathlib
import sys

from clang import cindex

from places import Finder
from report import read_mutants
from rewriting import rewritten

COPIED = ["CMakeLists.txt", "cmake", "Runtime", "tests"]
TEST_MAIN = "tests/support/test_main.cpp"
# Of the library's services the lowest.
SWITCH = "Runtime/qv_kernel/layer_0/kr_assert/mutant_switch.cpp"


def compiler_folder():
    return sorted(pathlib.Path("/usr/lib").glob("llvm-22/lib/clang/*"))[-1]


def use_libclang():
    cindex.Config.set_library_file("/usr/lib/llvm-22/lib/libclang-22.so.1")


def header_folders(root):
    return [root / "Runtime/include", root / "Runtime/qv_kernel/include"]


def arguments_for(root, definitions=()):
    arguments = ["-std=c++17", "-xc++", "-resource-dir", str(compiler_folder())]
    arguments += [f"-D{definition}" for definition in definitions]
    return arguments + [f"-I{folder}" for folder in header_folders(root)]


def find(root, scratch, definitions):
    """The places of all sources: those of a service are read as one, then the headers that no source includes."""
    use_libclang()
    kernel = root / "Runtime/qv_kernel"
    include = header_folders(root)
    finder = Finder(root, arguments_for(root, definitions))
    units = {folder.name: sorted(folder.glob("*.cpp")) for folder in sorted(kernel.glob("layer_0/*"))}
    headers = [header for folder in include for header in sorted(folder.glob("*.h"))]
    # One of another library's users, which need not be there.
    units["headers"] = [header for header in headers if header.name != "kr_string_fmt.h"]
    scratch.mkdir(parents=True, exist_ok=True)
    for name, sources in units.items():
        unit = scratch / f"{name}.cpp"
        unit.write_text("".join(f'#include "{source}"\n' for source in sources))
        finder.read(unit)
    return finder


def named(places):
    """Numbers and names: (number, place, name), by file and place."""
    counts = {}
    mutants = []
    for place in sorted(places, key=lambda place: (place.file, place.begin, -place.end, place.kind, place.after)):
        stem = f"{place.file} | {place.function} | {place.kind} | {place.before} | {place.after}"
        counts[stem] = counts.get(stem, 0) + 1
        mutants.append((len(mutants) + 1, place, f"{stem} | {counts[stem]}"))
    return mutants


def renumbered(mutants, listed):
    """The same with the numbers that a list has for them, and with numbers of their own behind those."""
    numbers = {mutant.name: number for number, mutant in read_mutants(listed).items()}
    for _, _, name in mutants:
        numbers.setdefault(name, len(numbers) + 1)
    return [(numbers[name], place, name) for _, place, name in mutants]


def files_of(root):
    """What the copy needs of the project, by name."""
    for name in COPIED:
        path = root / name
        for file in sorted(path.rglob("*")) if path.is_dir() else [path]:
            if file.is_file() and "__pycache__" not in file.parts:
                yield str(file.relative_to(root)), file


def write_copy(root, folder, finder, mutants):
    """Writes what is new or has changed, so that a build compiles no more than that."""
    by_file = {}
    for number, place, _ in mutants:
        by_file.setdefault(place.file, []).append((number, place))
    contents = {name: file.read_bytes() for name, file in files_of(root)}
    for name, numbered in by_file.items():
        contents[name] = rewritten(finder.source(name), numbered).encode()
    contents[SWITCH] = (pathlib.Path(__file__).parent / "switch.cpp").read_bytes()
    # The tests' main function becomes the one that chooses mutants.
    if TEST_MAIN in contents:
        contents[TEST_MAIN] = b'#include "../mutation/fork_server.cpp"\n'
    for file in sorted(folder.rglob("*")):
        if file.is_file() and str(file.relative_to(folder)) not in contents:
            file.unlink()
    for name, content in contents.items():
        file = folder / name
        file.parent.mkdir(parents=True, exist_ok=True)
        if not file.is_file() or file.read_bytes() != content:
            file.write_bytes(content)


def main():
    root, folder, listed = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])
    finder = find(root, folder.parent / "units", sys.argv[5:])
    mutants = named(finder.places.values())
    if len(sys.argv) > 4:
        mutants = renumbered(mutants, sys.argv[4])
    write_copy(root, folder, finder, mutants)
    with open(listed, "w", encoding="ascii") as output:
        for number, place, name in mutants:
            line = finder.source(place.file).line(place.begin)
            kind = "constexpr" if (place.file, place.function) in finder.constant_functions else "-"
            output.write(f"{number}\t{line}\t{kind}\t{name}\n")
    print(f"{len(mutants)} mutants in {len({place.file for _, place, _ in mutants})} files")


if __name__ == "__main__":
    main()
