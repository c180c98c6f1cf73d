#!/usr/bin/env python3
"""The look through the browser must see what is broken.

    browser_test.py <project folder> <browser>
"""

import pathlib
import sys
import tempfile

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(sys.argv[1]).resolve() / "docs/reference"))

import open_pages

PICTURE = '<svg xmlns="http://www.w3.org/2000/svg" width="9" height="9"></svg>'
# A page, and the beginning of what is to be said about it; of the first one nothing is.
CASES = [
    ('<p>words</p><img src="there.svg">', None),
    ('<p>words</p><img src="gone.svg">', "a broken picture: "),
    ("<p>others</p>", "the text lacks: words"),
    ("<p>words</p><script>missing()</script>", "a script fails: "),
    ('<p>words</p><script src="gone.js"></script>', "a file does not load: "),
    ("<p>words</p><script>var DoxygenAwesomeDarkModeToggle = 1;</script>", "the dark page is light: "),
]


def main():
    failed = False
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        (folder / "there.svg").write_text(PICTURE)
        (folder / "profile").mkdir()
        browser = open_pages.Browser(sys.argv[2], str(folder / "profile"))
        try:
            browser.attach()
            for number, (body, expected) in enumerate(CASES):
                page = "page%d.html" % number
                (folder / page).write_text("<html style='background: rgb(255, 255, 255)'><body>%s</body></html>" % body)
                failures, _ = open_pages.look_at(browser, folder, folder, page, "words", "dark")
                if expected is None and failures or expected and not any(text.startswith(expected) for text in failures):
                    failed = True
                    print("browser_test: %s: %s" % (body, failures))
        finally:
            browser.end()
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
