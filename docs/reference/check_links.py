#!/usr/bin/env python3
"""Follows every link of the reference that stays in it.

    check_links.py <html folder>

Looks at all pages: links and their anchors, pictures, scripts, style sheets, what the navigation and the search refer to.
Looks for marks in the text that Doxygen has not understood, too. Prints what is dead, and then how much there was. Answers
1 when something is dead.
"""

import html.parser
import pathlib
import re
import sys
import urllib.parse

OUTSIDE = re.compile(r"^(?:[a-z][a-z0-9+.-]*:|//)")
# Marks of Doxygen that nobody should see, and those that nobody should see but in code.
BROKEN = re.compile(r"\\ilinebr")
UNREAD = re.compile(r"`|\{#|[@\\](?:ref|par|code|endcode|cond|endcond)\b")
LITERAL = ("code", "pre", "script", "style")
SCRIPTED = re.compile(r"""["']((?:\.\./)?[\w./-]+\.html(?:#[\w.:-]+)?)["']""")


class Page(html.parser.HTMLParser):
    """What a page refers to, and the anchors that it has."""

    def __init__(self, text):
        super().__init__()
        self.links = []
        self.pictures = []
        self.anchors = set()
        self.stray = []
        self.literal = 0
        self.fragment_depth = 0
        self.feed(text)

    def handle_starttag(self, tag, attributes):
        self.literal += tag in LITERAL
        for name, value in attributes:
            if value is None:
                continue
            if name == "id" or (name == "name" and tag == "a"):
                self.anchors.add(value)
            elif name == "href":
                self.links.append(value)
            elif name in ("src", "data"):
                (self.pictures if tag in ("img", "object") else self.links).append(value)
        if tag == "div" and ("class", "fragment") in attributes:
            self.fragment_depth = 1
        elif tag == "div" and self.fragment_depth:
            self.fragment_depth += 1

    def handle_endtag(self, tag):
        self.literal -= tag in LITERAL
        if tag == "div" and self.fragment_depth:
            self.fragment_depth -= 1

    def handle_data(self, text):
        if BROKEN.search(text) or UNREAD.search(text) and not self.literal and not self.fragment_depth:
            self.stray.append(text.strip()[:60])


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    folder = pathlib.Path(sys.argv[1]).resolve()
    pages = {}
    for file in sorted(folder.rglob("*.html")):
        pages[file] = Page(file.read_text(encoding="utf-8", errors="replace"))
    if not pages:
        sys.exit("check_links: no pages in %s" % folder)
    dead = []
    counts = {"links": 0, "anchors": 0, "pictures": 0}

    def follow(file, link, kind):
        if OUTSIDE.match(link) or link.startswith("javascript:"):
            return
        path, _, fragment = link.partition("#")
        counts[kind] += 1
        goal = (file.parent / urllib.parse.unquote(path)).resolve() if path else file
        name = file.relative_to(folder)
        if not goal.is_file() or goal.stat().st_size == 0:
            dead.append("%s: no such file: %s" % (name, link))
        elif fragment and goal in pages:
            counts["anchors"] += 1
            if urllib.parse.unquote(fragment) not in pages[goal].anchors:
                dead.append("%s: no such anchor: %s" % (name, link))

    for file, page in pages.items():
        for link in page.links:
            follow(file, link, "links")
        for picture in page.pictures:
            follow(file, picture, "pictures")
        for text in page.stray:
            dead.append("%s: a mark that is not understood: %s" % (file.relative_to(folder), text))
    # The navigation and the search results are scripts' data; what they find pages by are no links.
    for file in sorted(folder.rglob("*.js")):
        if not file.name.startswith(("navtreeindex", "doxygen-", "jquery", "resize")):
            text = file.read_text(encoding="utf-8", errors="replace")
            for link in SCRIPTED.findall(text.partition("var NAVTREEINDEX")[0]):
                follow(file, link, "links")
    for line in sorted(set(dead)):
        print("check_links: " + line)
    print(
        "check_links: %d pages, %d links, of which %d name a place in a page, and %d pictures; dead: %d"
        % (len(pages), counts["links"], counts["anchors"], counts["pictures"], len(set(dead)))
    )
    return 1 if dead else 0


if __name__ == "__main__":
    sys.exit(main())
