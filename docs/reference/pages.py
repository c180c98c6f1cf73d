#!/usr/bin/env python3
"""Prepares a page of Markdown for Doxygen, and prints it.

    pages.py <page>, from the project's folder

The pages are written for people who read them in the sources: links name files, and headings are linked to by their words.
Here each page and each heading gets a name that Doxygen keeps, and links go to what has come of the files: pages to pages,
public headers to their documentation, sources of examples to theirs, and all else to copies below files/, which
scripts/docs.sh makes, pictures among them.
"""

import os
import re
import sys

from comments import code_span

FENCE = re.compile(r"^\s*(```|~~~)")
HEADING = re.compile(r"^(#{1,6}) (.*?)\s*$")
LINK = re.compile(r"(!?)\[((?:[^\[\]]|\[[^\]]*\])*)\]\(([^()\s]+)\)")
CODE = re.compile(r"(`+)(?:.|\n)*?\1")
# Folders whose README.md is a page, besides those of the library's services.
FOLDERS = ("benchmarks", "debug", "examples", "packaging")
SERVICES = "Runtime/qv_kernel/layer_0/"


def page_of(path):
    """The name of the page that comes of a file; None where none does."""
    folder, file = os.path.split(path)
    stem, ending = os.path.splitext(file)
    if ending != ".md":
        return None
    if path == "README.md":
        return "index"
    if file == "README.md" and (folder in FOLDERS or folder.startswith(SERVICES)):
        return "page_" + os.path.basename(folder)
    if folder in ("", "docs"):
        return "page_" + stem.lower()
    if folder.startswith("docs/"):
        return "page_%s_%s" % (os.path.basename(folder), stem)
    return None


def file_name(name):
    """A name as Doxygen spells it in the names of its pages."""
    name = name.replace("_", "__").replace("/", "_2").replace(".", "_8")
    return re.sub("[A-Z]", lambda letter: "_" + letter.group(0).lower(), name)


def slug(title):
    """A heading's words as links name them."""
    return re.sub(r"[^\w\- ]", "", title.lower()).replace(" ", "-")


def anchor(page, fragment):
    return "%s-%s" % (page, fragment)


def target(path, page, link):
    """Where a link of a file leads to in the reference."""
    if re.match(r"[a-z]+:", link):
        return link
    link, _, fragment = link.partition("#")
    if not link:
        return "%s.html#%s" % (page, anchor(page, fragment))
    other = os.path.normpath(os.path.join(os.path.dirname(path), link))
    if page_of(other):
        return page_of(other) + ".html" + ("#" + anchor(page_of(other), fragment) if fragment else "")
    header = re.match(r"Runtime/(?:qv_kernel/)?include/(\w+\.h)$", other)
    if header:
        return file_name(header.group(1)) + ".html"
    if re.match(r"examples/.*\.(h|cpp)$", other):
        return other[len("examples/") :].replace("/", "_2").replace(".", "_8") + "-example.html"
    # As text, so that it is shown and not saved.
    return "files/" + other + ("" if other.endswith((".svg", ".png", ".txt")) else ".txt")


def with_links(path, page, text):
    def replaced(match):
        href = target(path, page, match.group(3))
        if match.group(1):
            return '<img src="%s" alt="%s">' % (href, match.group(2).replace("\n", " "))
        return '<a href="%s">%s</a>' % (href, match.group(2))

    result = ""
    end = 0
    for code in CODE.finditer(text):
        # Code may stand in a link's text; a link may not stand in code.
        result += text[end : code.start()] + "\0%d\0" % code.start()
        end = code.end()
    result += text[end:]
    # The library's name is no link to its namespace.
    result = re.sub(r"(?<![\w/.:])Quorvane(?![\w/:])", "%Quorvane", LINK.sub(replaced, result))
    spans = {code.start(): code_span(code.group(0)) for code in CODE.finditer(text)}
    return re.sub("\0(\\d+)\0", lambda mark: spans[int(mark.group(1))], result)


def convert(path, lines):
    page = page_of(path) or "page"
    result = []
    plain = []
    slugs = {}
    is_fenced = False

    def end_plain():
        if plain:
            result.extend(with_links(path, page, "\n".join(plain)).split("\n"))
            plain.clear()

    for number, line in enumerate(lines):
        heading = HEADING.match(line)
        if FENCE.match(line):
            end_plain()
            is_fenced = not is_fenced
            result.append(line)
        elif is_fenced:
            result.append(line)
        elif heading:
            end_plain()
            level, title = heading.groups()
            line = line.replace("# Quorvane", "# %Quorvane")
            name = slug(title)
            slugs[name] = slugs.get(name, -1) + 1
            if slugs[name]:
                name += "-%d" % slugs[name]
            if len(level) > 1:
                line += " {#%s}" % anchor(page, name)
            else:
                line += " {#%s}" % ("mainpage" if page == "index" else page)
            result.append(line)
        else:
            plain.append(line)
    end_plain()
    # A list of contents where there is much.
    if sum(slugs.values()) + len(slugs) > 5 and page != "index":
        result.insert(1, "\n[TOC]")
    return result


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    path = os.path.relpath(sys.argv[1])
    with open(path, encoding="utf-8") as file:
        lines = file.read().split("\n")
    sys.stdout.write("\n".join(convert(path, lines)))


if __name__ == "__main__":
    main()
