#!/usr/bin/env python3
"""Mends links of the navigation beside the pages.

    mend_navigation.py <html folder>

Doxygen lists a namespace's functions below the header that declares them, too, and there links to places that the header's
page does not have: they are in the namespace's. What the navigation finds pages by is in an order that must stay.
"""

import pathlib
import re
import sys

LINK = re.compile(r'"(\w+_8h\.html)#(\w+)"')


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    folder = pathlib.Path(sys.argv[1])
    places = {}
    for page in sorted(folder.glob("*.html")):
        if not page.name.endswith(("_source.html", "-example.html")):
            for anchor in re.findall(r' id="(a[0-9a-f]{32}(?:a[0-9a-f]{32})?)"', page.read_text(encoding="utf-8")):
                places.setdefault(anchor, []).append(page.name)

    def mended(link):
        pages = places.get(link.group(2), [])
        return link.group(0) if link.group(1) in pages or not pages else '"%s#%s"' % (pages[0], link.group(2))

    for script in sorted(folder.glob("*_8h.js")):
        text = script.read_text(encoding="utf-8")
        better = LINK.sub(mended, text)
        if better != text:
            script.write_text(better, encoding="utf-8")


if __name__ == "__main__":
    main()
