#!/usr/bin/env python3
"""Tests of what the reference is made with.

    tools_test.py <project folder> [arguments of unittest]
"""

import contextlib
import io
import pathlib
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
ROOT = pathlib.Path(sys.argv.pop(1)).resolve()
sys.path.insert(0, str(ROOT / "docs/reference"))

import check_links
import headers
import mend_navigation
import pages


def convert(text):
    """What comes of a header, and what is complained about."""
    header = headers.Header("some.h", ["// A file.", "#pragma once"] + text.strip("\n").split("\n"))
    return header.convert(), header.warnings


def comment_above(lines, declaration):
    """The documentation in front of the first line that contains a declaration."""
    at = next(i for i, line in enumerate(lines) if declaration in line)
    begin = at
    while begin > 0 and lines[begin - 1].startswith("///") and lines[begin - 1] not in ("/// @{", "/// @endcond"):
        begin -= 1
    return [line[4:] for line in lines[begin:at]]


class Comments(unittest.TestCase):
    def test_comment_reaches_all_declarations_of_its_run(self):
        lines, warnings = convert("""
// Adds.
int Add(int a);
int Add(long a)
{
    return 0; // not a comment of a declaration
}

// Another one.
int Other();
""")
        self.assertEqual(comment_above(lines, "Add(int"), ["Adds."])
        self.assertEqual(comment_above(lines, "Add(long"), ["Adds."])
        self.assertEqual(comment_above(lines, "Other"), ["Another one."])
        self.assertIn("    return 0; // not a comment of a declaration", lines)
        self.assertEqual(warnings, [])

    def test_declaration_without_comment_is_complained_about(self):
        for text in ("// Adds.\nint Add();\n\nint Other();", "int Other();",
                     "// A class.\nclass C\n{\npublic:\n    int Other();\n};",
                     "// Some.\nenum E\n{\n    Other,\n    One, // 1\n};"):
            lines, warnings = convert(text)
            self.assertEqual(warnings, ["Other: no comment"], text)
            self.assertEqual(comment_above(lines, "Other"), [], text)

    def test_comment_that_begins_with_a_field_is_complained_about(self):
        self.assertEqual(len(convert("// Returns: what is there.\nint Get();")[1]), 1)

    def test_fields(self):
        lines, _ = convert("""
// Makes room. More of it
// here. Requires: a place, else reports "a < b". Fails: false,
// with nothing changed.
// Allocates: once. Stack:
// 4 KiB.
bool Reserve();
""")
        self.assertEqual(comment_above(lines, "Reserve"), [
            "Makes room. More of it", "here.", "@par Requires", "a place, else reports `a < b`.", "@par Fails", "false,",
            "with nothing changed.", "@par Allocates", "once.", "@par Stack", "4 KiB."])

    def test_promise_to_threads_with_deadlines_is_a_field(self):
        lines, _ = convert("// Looks. Returns: it.\nint Look() noexcept QV_NONBLOCKING;\n"
                           "// The same anew.\nint Again() noexcept QV_NONALLOCATING { return 0; }\n"
                           "// Makes.\nint Make() { /* QV_NONBLOCKING */ return 0; }")
        self.assertEqual(comment_above(lines, "int Look")[:4], ["Looks.", "@par Returns", "it.", "@par Deadlines"])
        self.assertTrue(comment_above(lines, "int Look")[4].startswith("nonblocking "))
        self.assertEqual(comment_above(lines, "int Again")[1], "@par Deadlines")
        self.assertTrue(comment_above(lines, "int Again")[2].startswith("nonallocating "))
        self.assertEqual(comment_above(lines, "int Make"), ["Makes."])

    def test_several_fields_at_once(self):
        lines, _ = convert("// Puts it in.\n// Fails, returns: as said (Insert).\n// Fails (Other): never.\nint Insert();")
        self.assertEqual(comment_above(lines, "int Insert"), [
            "Puts it in.", "@par Fails, Returns", "as said (Insert).", "@par Fails (Other)", "never."])

    def test_the_same_is_followed_by_what_it_is_the_same_as(self):
        lines, warnings = convert("// Finds it. Cost: linear.\nint Find();\n// The same backwards.\nint FindLast();")
        self.assertEqual(comment_above(lines, "FindLast"), [
            "The same backwards.", "", "@par As said of Find", "Finds it. <b>Cost:</b> linear."])
        self.assertEqual(warnings, [])
        self.assertEqual(len(convert("// The same backwards.\nint FindLast();")[1]), 1)

    def test_words_that_doxygen_would_take_for_its_own(self):
        lines, _ = convert(r"""
// Needs <charconv>, 100 % of #it, @home \n & p * n; `a\n'` and `%s` and "text".
int Get();
""")
        self.assertEqual(comment_above(lines, "Get"), [
            r"""Needs \<charconv\>, 100 \% of \#it, \@home \\n \& p \* n; ``a\n'`` and `%%s` and "text"."""])

    def test_indented_text_is_code_or_a_table(self):
        lines, _ = convert("// Gives one of\n//     0  no\n//     1  yes\n// and is used so:\n//     Get();\nint Get();")
        self.assertEqual(comment_above(lines, "int Get"), [
            "Gives one of", "", "@code{.unparsed}", "0  no", "1  yes", "@endcode", "", "and is used so:", "",
            "@code{.cpp}", "Get();", "@endcode"])

    def test_comment_behind_a_declaration(self):
        lines, warnings = convert("// Some.\nstruct S\n{\n    int m_A; // the first\n    int m_B;  // the second\n};")
        self.assertEqual(comment_above(lines, "m_A"), ["the first"])
        self.assertEqual(comment_above(lines, "m_B"), ["the second"])
        self.assertEqual(warnings, [])

    def test_deleted_ones_have_no_contract(self):
        lines, warnings = convert("""
// Finds it.
int Find(int a);
int Find(long a) = delete; // it is too long
int Find(char a);
""")
        self.assertEqual(comment_above(lines, "Find(long"), ["Deleted: a call does not compile: it is too long."])
        self.assertEqual(comment_above(lines, "Find(char"), ["Finds it."])
        self.assertEqual(warnings, [])
        lines, _ = convert("int A(int) = delete; // for a reason\nint A(long) = delete;\n\nint B(long) = delete;")
        self.assertEqual(comment_above(lines, "A(long"), ["Deleted: a call does not compile: for a reason."])
        self.assertEqual(comment_above(lines, "B(long"), ["Deleted: a call does not compile."])


class Groups(unittest.TestCase):
    TEXT = """
// A class.
class C
{
public:
    // ---- Reading -----

    // Nothing here allocates.

    // The length.
    int Length() const;

    // ---- Writing -----

    // Changes it.
    void Write();

private:
    // A secret.
    int m_Secret;
};
"""

    def test_rulers_begin_groups(self):
        lines, warnings = convert(self.TEXT)
        self.assertEqual([line for line in lines if "@name" in line], ["/// @name Reading", "/// @name Writing"])
        self.assertEqual(lines.count("/// @{"), lines.count("/// @}"))
        self.assertEqual(comment_above(lines, "Length()"), [
            "The length.", "", '@par All under "Reading"', "Nothing here allocates."])
        self.assertEqual(comment_above(lines, "Write()"), ["Changes it."])
        self.assertEqual(warnings, [])

    def test_what_is_private_is_left_out(self):
        lines, _ = convert(self.TEXT)
        self.assertEqual(lines.count("/// @cond"), lines.count("/// @endcond"))
        secret = next(i for i, line in enumerate(lines) if "m_Secret" in line)
        self.assertGreater([i for i, line in enumerate(lines) if "@endcond" in line][-1], secret)
        self.assertLess([i for i, line in enumerate(lines) if line == "/// @cond"][-1], secret)

    def test_what_is_internal_is_left_out(self):
        for text in ("namespace Internal\n{\nint Hidden();\n}", "namespace Internal::Text\n{\nint Hidden();\n}",
                     "inline int C::Hidden()\n{\n    return 0;\n}",
                     "template <>\nstruct TTraits<C>\n{\n    int Hidden;\n};"):
            lines, warnings = convert(text)
            self.assertEqual(lines.count("/// @cond"), 1, text)
            self.assertEqual(lines.count("/// @endcond"), 1, text)
            self.assertEqual(warnings, [], text)

    def test_text_alone_is_a_section_of_the_next_class(self):
        lines, _ = convert("// ---- What nothing means -----\n\n// A table.\n\n// ---- The class -----\n\n"
                           "// A class.\nclass C\n{\n};")
        self.assertEqual(comment_above(lines, "class C"), [
            "A class.", "", "@section c_what_nothing_means What nothing means", "", "A table."])

    def test_comment_that_is_apart_is_that_of_what_has_none(self):
        lines, warnings = convert("// ---- Tests -----\n\n// Tests of texts. Cost: linear.\n\nbool Starts();\nbool Ends();")
        for name in ("Starts", "Ends"):
            self.assertEqual(comment_above(lines, name), ["Tests of texts.", "@par Cost", "linear."])
        self.assertEqual(warnings, [])
        # It is that of the next one only.
        self.assertEqual(convert("// Apart.\n\n// One.\nint One();\n\nint Other();")[1], ["Other: no comment"])


class Pages(unittest.TestCase):
    def test_headings_have_names(self):
        self.assertEqual(pages.convert("docs/some.md", ["# Some page", "## What `a` is, and why", "## Again", "## Again"]), [
            "# Some page {#page_some}", "## What `a` is, and why {#page_some-what-a-is-and-why}",
            "## Again {#page_some-again}", "## Again {#page_some-again-1}"])

    def test_links(self):
        def link(path, text):
            return pages.convert(path, [text])[0]

        self.assertEqual(link("README.md", "[x](docs/real-time.md#steps)"), '<a href="page_real-time.html#page_real-time-steps">x</a>')
        self.assertEqual(link("docs/a.md", "[x](#there)"), '<a href="page_a.html#page_a-there">x</a>')
        self.assertEqual(link("docs/a.md", "[x](../README.md)"), '<a href="index.html">x</a>')
        self.assertEqual(link("docs/a.md", "[x](../debug/README.md)"), '<a href="page_debug.html">x</a>')
        self.assertEqual(link("docs/a.md", "[`x`](../Runtime/include/qv_defs.h)"), '<a href="qv__defs_8h.html">`x`</a>')
        self.assertEqual(link("docs/a.md", "[x](../LICENSE)"), '<a href="files/LICENSE.txt">x</a>')
        self.assertEqual(link("docs/a.md", "[x](https://a.b/c.md#d)"), '<a href="https://a.b/c.md#d">x</a>')
        self.assertEqual(link("docs/p/a.md", "![x](b/c.svg)"), '<img src="files/docs/p/b/c.svg" alt="x">')
        self.assertEqual(link("examples/README.md", "[x](a/main.cpp)"), '<a href="a_2main_8cpp-example.html">x</a>')

    def test_code_stays_as_it_is(self):
        fenced = ["```cpp", "# [a](b.md)", "```"]
        self.assertEqual(pages.convert("docs/a.md", fenced), fenced)
        self.assertEqual(pages.convert("docs/a.md", ["`[](char c)`"]), ["`[](char c)`"])

    def test_code_that_doxygen_would_end_early(self):
        self.assertEqual(pages.convert("docs/a.md", ["`Find('a')` and `b`, `%s`, `\"%s\"`"]),
                         ["``Find('a')`` and `b`, `%%s`, `\"%s\"`"])


    def test_long_pages_have_contents(self):
        long = ["# Page"] + ["## Part %d" % i for i in range(6)]
        self.assertEqual(pages.convert("docs/a.md", long)[1], "\n[TOC]")
        self.assertNotIn("\n[TOC]", pages.convert("docs/a.md", long[:4]))


class Links(unittest.TestCase):
    def check(self, files):
        with tempfile.TemporaryDirectory() as folder:
            for name, text in files.items():
                path = pathlib.Path(folder) / name
                path.parent.mkdir(parents=True, exist_ok=True)
                path.write_text(text)
            arguments, sys.argv = sys.argv, ["check_links.py", folder]
            try:
                with contextlib.redirect_stdout(io.StringIO()) as said:
                    return check_links.main(), said.getvalue()
            finally:
                sys.argv = arguments

    def test_living_links(self):
        code, said = self.check({
            "a.html": '<h1 id="top"></h1><a href="sub/b.html#here">b</a><a href="#top">t</a><img src="p%20q.svg">'
                      '<a href="https://else.where/x.html">x</a>',
            "sub/b.html": '<a id="here"></a><a href="../a.html">a</a>', "p q.svg": "<svg/>", "n.js": 'x("a.html#top")'})
        self.assertEqual(code, 0, said)
        self.assertIn("dead: 0", said)

    def test_dead_ones(self):
        for page, expected in (('<a href="b.html">b</a>', "no such file: b.html"),
                               ('<a href="#no">t</a>', "no such anchor: #no"),
                               ('<img src="p.svg">', "no such file: p.svg"),
                               ('<script src="s.js"></script>', "no such file: s.js")):
            code, said = self.check({"a.html": page})
            self.assertEqual(code, 1, page)
            self.assertIn(expected, said)
        self.assertEqual(self.check({"a.html": "", "navtreedata.js": '"a.html#no"'})[0], 1)
        self.assertEqual(self.check({"a.html": "", "empty.svg": "", "b.html": '<img src="empty.svg">'})[0], 1)

    def test_marks_that_were_not_understood(self):
        for page in ("<p>some `code</p>", "<p>title {#name}</p>", "<p>see \\ref Name</p>", "<p>@endcode</p>",
                     "<code>\\ilinebr</code>"):
            self.assertEqual(self.check({"a.html": page})[0], 1, page)
        for page in ("<code>a`b</code>", '<div class="fragment"><div>`start`</div>{#</div>', "<script>`x`</script>"):
            self.assertEqual(self.check({"a.html": page})[0], 0, page)
        self.assertEqual(self.check({"a.html": '<div class="fragment"><div>x</div></div><p>`</p>'})[0], 1)

    def test_navigation_is_mended(self):
        anchor = "a" + 32 * "0"
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name)
            (folder / "some_8h.html").write_text('<a id="a%s"></a>' % (32 * "1"))
            (folder / "namespace.html").write_text('<a id="%s"></a>' % anchor)
            script = '[ "f", "some_8h.html#%s", null ], [ "g", "some_8h.html#a%s", null ]'
            (folder / "some_8h.js").write_text(script % (anchor, 32 * "1"))
            arguments, sys.argv = sys.argv, ["mend_navigation.py", name]
            try:
                mend_navigation.main()
            finally:
                sys.argv = arguments
            self.assertEqual((folder / "some_8h.js").read_text(),
                             '[ "f", "namespace.html#%s", null ], [ "g", "some_8h.html#a%s", null ]' % (anchor, 32 * "1"))


class Sources(unittest.TestCase):
    def test_public_headers_have_a_comment_at_each_declaration(self):
        files = sorted(ROOT.glob("Runtime/include/*.h")) + sorted(ROOT.glob("Runtime/qv_kernel/include/*.h"))
        self.assertGreater(len(files), 10)
        for file in files:
            header = headers.Header(file.name, file.read_text().split("\n"))
            header.convert()
            self.assertEqual(header.warnings, [], file)

    def test_examples_page_names_every_example(self):
        text = (ROOT / "examples/README.md").read_text()
        shown = (ROOT / "docs/reference/reference.dox").read_text()
        for main in sorted(ROOT.glob("examples/*/main.cpp")):
            name = main.relative_to(ROOT / "examples").as_posix()
            self.assertIn("](%s)" % name, text)
            self.assertIn("@example %s\n" % name, shown)


if __name__ == "__main__":
    unittest.main()
