#!/usr/bin/env python3
"""Writes the library as one header and one source, for projects that copy two files.

    amalgamate.py <project folder> <output folder>

quorvane.h holds all public headers but kr_string_fmt.h, which is another library's users'; quorvane.cpp holds the
sources. Each header is written out where it is included first, lists of kernels (.inc) each time.
"""

import pathlib
import re
import sys

INCLUDE = re.compile(r'^#\s*include\s+"([^"]+)"')
KERNELS = re.compile(r'^#define QV_SIMD_KERNELS "([^"]+)"')
LEFT_OUT = {"kr_string_fmt.h"}


class Amalgamation:
    def __init__(self, root):
        self.root = root
        self.folders = [root / "Runtime/include", root / "Runtime/qv_kernel/include"]
        # Headers that stand in the output already where every build reads them.
        self.written = set()
        self.kernels = None

    def find(self, name, including):
        for folder in [including.parent] + self.folders:
            if (folder / name).is_file():
                return (folder / name).resolve()
        sys.exit("amalgamate: %s includes %s, which is nowhere" % (including, name))

    def expand(self, file, is_conditional=False):
        """The lines of a file with those of what it includes. `is_conditional`: whether some builds leave it out."""
        text = file.read_text()
        is_header = "#pragma once" in text
        if is_header and file in self.written:
            return []
        name = file.relative_to(self.root).as_posix()
        guard = "QUORVANE_AMALGAMATED_" + re.sub(r"\W", "_", file.name).upper()
        if is_header and not is_conditional:
            self.written.add(file)
        lines = ["// ---- %s" % name]
        if is_header:
            lines += ["#if !defined(%s)" % guard, "#define " + guard]
        depth = 0
        for line in text.split("\n"):
            if re.match(r"#\s*if", line):
                depth += 1
            elif re.match(r"#\s*endif", line):
                depth -= 1
            kernels = KERNELS.match(line)
            if kernels:
                self.kernels = kernels.group(1)
            include = INCLUDE.match(line)
            if line == "#include QV_SIMD_KERNELS":
                lines += self.expand(self.find(self.kernels, file), True)
            elif include:
                lines += self.expand(self.find(include.group(1), file), is_conditional or depth > 0)
            elif line != "#pragma once":
                lines.append(line)
        while lines and lines[-1] == "":
            lines.pop()
        return lines + (["#endif"] if is_header else []) + [""]


def main():
    root = pathlib.Path(sys.argv[1]).resolve()
    output = pathlib.Path(sys.argv[2])
    output.mkdir(parents=True, exist_ok=True)
    amalgamation = Amalgamation(root)
    version = re.search(r"project\(Quorvane VERSION (\S+)", (root / "CMakeLists.txt").read_text()).group(1)
    licence = ["// " + line if line else "//" for line in (root / "LICENSE").read_text().rstrip("\n").split("\n")]
    title = ["// Quorvane %s, text for real-time kernels, as one header and one source." % version,
             "// Written by scripts/amalgamate.py: change the sources instead.", "//"] + licence

    header = title + ["#pragma once", ""]
    for folder in amalgamation.folders:
        for file in sorted(folder.glob("*.h")):
            if file.name not in LEFT_OUT:
                header += amalgamation.expand(file.resolve())
    (output / "quorvane.h").write_text("\n".join(header))

    source = title + ['#include "quorvane.h"', ""]
    for file in sorted((root / "Runtime/qv_kernel/layer_0").glob("*/*.cpp")):
        source += amalgamation.expand(file.resolve())
    (output / "quorvane.cpp").write_text("\n".join(source))


main()
