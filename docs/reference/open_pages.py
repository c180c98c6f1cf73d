#!/usr/bin/env python3
"""Opens the main pages of the reference in a browser without a window, and takes pictures of them.

    open_pages.py <html folder> <folder for the pictures> <browser>

Fails on what a reader would see: a page that does not load, a script that fails, a file that is missing, a broken picture,
a page without text, a search that finds nothing, a dark page that is not dark. The browser is told what to do over two
pipes, in its protocol for developers: a JSON object each, and a zero byte behind it.
"""

import base64
import json
import os
import pathlib
import select
import subprocess
import sys
import tempfile
import time

# A page, what its text must hold, and which schemes to look at it in.
PAGES = [
    ("index.html", "A first example", ("light", "dark")),
    ("classQuorvane_1_1CString.html", "What nothing means", ("light", "dark")),
    ("classQuorvane_1_1CStringView.html", "FindText", ("light",)),
    ("classQuorvane_1_1TArray.html", "PushBack", ("light",)),
    ("namespaceQuorvane.html", "AppendNumber", ("light",)),
    ("kr__string_8h.html", "What users meet sooner or later", ("light",)),
    ("page_coming_from_std_string.html", "What surprises", ("light", "dark")),
    ("page_examples.html", "parallel_scoring", ("light",)),
    ("embedding_2main_8cpp-example.html", "CountingAlloc", ("light",)),
    ("page_architecture.html", "A string in memory", ("light",)),
    ("page_performance.html", "Where we lose, and why", ("light", "dark")),
]
SECONDS = 30
STATE = """(() => ({
    text: document.body.innerText,
    broken: [...document.images].filter(image => !image.complete || image.naturalWidth === 0).map(image => image.src),
    pictures: document.images.length,
    background: getComputedStyle(document.documentElement).backgroundColor,
    height: Math.max(...[...document.querySelectorAll('.contents')].map(part => part.scrollHeight)),
    isThemed: typeof DoxygenAwesomeDarkModeToggle !== 'undefined'
}))()"""
WAIT = "new Promise(done => setTimeout(done, 150))"
SEARCH = """(async () => {
    const field = document.getElementById('MSearchField');
    field.focus();
    field.value = 'FuzzyMatch';
    searchBox.OnSearchFieldChange({ keyCode: 72, stopPropagation() {}, preventDefault() {} });
    for (let i = 0; i < 100; ++i) {
        await new Promise(done => setTimeout(done, 50));
        const results = document.getElementById('MSearchResults');
        const page = results && (results.contentDocument || results.contentWindow.document);
        const found = page ? [...page.querySelectorAll('.SRResult')].filter(result => result.offsetHeight > 0) : [];
        if (found.length > 0)
            return found.map(result => result.innerText).join(' ');
    }
    return '';
})()"""


class Browser:
    def __init__(self, program, profile):
        here, self.to_browser = os.pipe()
        self.from_browser, there = os.pipe()

        def hand_over():
            # The ends may have these numbers already, so they are moved out of the way first.
            ends = os.dup(here), os.dup(there)
            os.dup2(ends[0], 3)
            os.dup2(ends[1], 4)

        self.process = subprocess.Popen(
            [program, "--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--no-first-run",
             "--disable-extensions", "--disable-background-networking", "--disable-component-update",
             "--allow-file-access-from-files", "--hide-scrollbars", "--remote-debugging-pipe",
             "--user-data-dir=" + profile, "about:blank"],
            preexec_fn=hand_over, close_fds=False, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL)
        os.close(here)
        os.close(there)
        self.number = 0
        self.received = b""
        self.events = []
        self.session = None

    def receive(self, deadline):
        while b"\0" not in self.received:
            left = deadline - time.monotonic()
            if left <= 0 or not select.select([self.from_browser], [], [], left)[0]:
                raise TimeoutError("the browser does not answer")
            piece = os.read(self.from_browser, 1 << 20)
            if not piece:
                raise EOFError("the browser has ended")
            self.received += piece
        message, _, self.received = self.received.partition(b"\0")
        return json.loads(message)

    def ask(self, method, **parameters):
        self.number += 1
        message = {"id": self.number, "method": method, "params": parameters}
        if self.session:
            message["sessionId"] = self.session
        os.write(self.to_browser, json.dumps(message).encode() + b"\0")
        deadline = time.monotonic() + SECONDS
        while True:
            answer = self.receive(deadline)
            if answer.get("id") == self.number:
                if "error" in answer:
                    raise RuntimeError("%s: %s" % (method, answer["error"]["message"]))
                return answer["result"]
            self.events.append(answer)

    def attach(self):
        target = self.ask("Target.createTarget", url="about:blank")["targetId"]
        self.session = self.ask("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Network", "Log"):
            self.ask(domain + ".enable")

    def open(self, url):
        self.events.clear()
        self.ask("Page.navigate", url=url)
        deadline = time.monotonic() + SECONDS
        while not any(event.get("method") == "Page.loadEventFired" for event in self.events):
            self.events.append(self.receive(deadline))

    def evaluate(self, expression):
        answer = self.ask("Runtime.evaluate", expression=expression, awaitPromise=True, returnByValue=True)
        if "exceptionDetails" in answer:
            raise RuntimeError(answer["exceptionDetails"]["text"])
        return answer["result"].get("value")

    def complaints(self):
        """What has failed since the page was opened."""
        found = []
        for event in self.events:
            parameters = event.get("params", {})
            if event.get("method") == "Runtime.exceptionThrown":
                details = parameters["exceptionDetails"]
                found.append("a script fails: " + details.get("exception", {}).get("description", details["text"]))
            elif event.get("method") == "Log.entryAdded" and parameters["entry"]["level"] == "error":
                found.append("%s %s" % (parameters["entry"]["text"], parameters["entry"].get("url", "")))
            elif event.get("method") == "Network.loadingFailed" and not parameters.get("canceled"):
                found.append("a file does not load: " + parameters["errorText"])
        return found

    def end(self):
        try:
            self.session = None
            self.ask("Browser.close")
            self.process.wait(timeout=10)
        except (OSError, EOFError, TimeoutError, RuntimeError, subprocess.TimeoutExpired):
            self.process.kill()
            self.process.wait()


def look_at(browser, folder, pictures, page, expected, scheme):
    browser.ask("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": scheme}])
    browser.open((folder / page).as_uri())
    # Scripts that wait for the page to be ready have their turn.
    browser.evaluate(WAIT)
    state = browser.evaluate(STATE)
    failures = browser.complaints()
    failures += ["a broken picture: " + picture for picture in state["broken"]]
    if expected not in state["text"]:
        failures.append("the text lacks: " + expected)
    if scheme == "dark" and state["isThemed"]:
        shades = [int(shade) for shade in state["background"].strip("rgba()").split(",")[:3]]
        if sum(shades) > 3 * 100:
            failures.append("the dark page is light: " + state["background"])
    shot = browser.ask("Page.captureScreenshot", format="png")
    name = "%s_%s.png" % (page[: -len(".html")], scheme)
    (pictures / name).write_bytes(base64.b64decode(shot["data"]))
    return failures, state


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    folder = pathlib.Path(sys.argv[1]).resolve()
    pictures = pathlib.Path(sys.argv[2]).resolve()
    pictures.mkdir(parents=True, exist_ok=True)
    count = shown = 0
    failed = False
    with tempfile.TemporaryDirectory() as profile:
        browser = Browser(sys.argv[3], profile)
        try:
            browser.attach()
            browser.ask("Emulation.setDeviceMetricsOverride", width=1280, height=1000, deviceScaleFactor=1, mobile=False)
            for page, expected, schemes in PAGES:
                for scheme in schemes:
                    failures, state = look_at(browser, folder, pictures, page, expected, scheme)
                    count += 1
                    shown += state["pictures"]
                    for failure in failures:
                        failed = True
                        print("open_pages: %s, %s: %s" % (page, scheme, failure))
            browser.open((folder / PAGES[0][0]).as_uri())
            browser.evaluate(WAIT)
            if "FuzzyMatch" not in browser.evaluate(SEARCH):
                failed = True
                print("open_pages: the search for FuzzyMatch finds nothing")
        finally:
            browser.end()
    print("open_pages: %d pages opened, with %d pictures; screenshots in %s" % (count, shown, pictures))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
