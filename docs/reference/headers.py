#!/usr/bin/env python3
"""Makes documentation of the plain comments of a public header, for Doxygen, and prints the header with it.

    headers.py <header>

What people read in a header and what Doxygen needs are different: here the former is made into the latter, so that the
headers stay plain text.

- The comment in front of #pragma once is the file's.
- A comment above a declaration is its own, and that of the declarations which follow it without a blank line and without a
  comment.
- "Requires:", "Returns:", "Fails:", "Allocates:", "Invalidates:", "Cost:" and "Stack:" are fields of their own.
- A ruler begins a group of members. The comment behind it, which a blank line divides from what follows, is said of each of
  them; so is one in the midst of a group of those that follow, and that of a namespace.
- A group that has nothing but text is a section of the class that follows.
- A comment that begins with "The same" or refers to what is "above" is followed by the one before it.
- What a function promises to threads with deadlines behind noexcept is a field, too.
- What is private, protected or in a namespace Internal is left out, and so are bodies outside of their classes.
"""

import re
import sys

FIELDS = ("Requires", "Returns", "Fails", "Allocates", "Invalidates", "Cost", "Stack")
FIELD = re.compile(
    r"(?:(?<=^)|(?<=[.;:!?)] )|(?<=[.;:!?)]\n)|(?<=\n))"
    r"(?P<names>(?:%s|Return|Fail|Allocate)(?:, (?:%s))*)(?: \((?P<of>[^)]*)\))?:(?=\s)"
    % ("|".join(FIELDS), "|".join(field.lower() for field in FIELDS))
)
RULER = re.compile(r"^\s*// ---- (.*?) -+$")
COMMENT = re.compile(r"^\s*//(?: (.*)|)$")
ACCESS = re.compile(r"^\s*(public|protected|private):")
TEMPLATE = re.compile(r"^\s*template\s*<")
SCOPE = re.compile(r"^(?:inline\s+)?(namespace|class|struct|union|enum)\b")
CONTINUES = re.compile(r"^(The same|With the same)\b|\b[Aa]s above\b|^The three\b")
QUOTED = re.compile(r'"([^"`]*)"')
CODE = re.compile(r"[_<>=!&|*()\\]|::")
# The class templates of which a specialisation is what people use; all others are details.
KEPT_SPECIALISATIONS = ("TBaseRefPtr",)


def without_template(code):
    """A declaration without its template parameters and attributes."""
    while TEMPLATE.match(code):
        at = code.index("<")
        depth = 0
        for end in range(at, len(code)):
            if code[end] == "<":
                depth += 1
            elif code[end] == ">" and code[end - 1] != "-":
                depth -= 1
                if depth == 0:
                    break
        code = code[end + 1 :].lstrip()
    return re.sub(r"\[\[.*?\]\]\s*", "", code)


def plain_code(line):
    """A line without its comment, and without what is in quotes."""
    line = re.sub(r'"(?:\\.|[^"\\])*"|\'(?:\\.|[^\'\\])*\'', '""', line)
    return re.sub(r"//.*", "", line).rstrip()


def name_of(code):
    """What a declaration declares: the name of a function, a variable or a type."""
    code = without_template(re.sub(r"\s+", " ", code).strip())
    pointer = re.search(r"\(\*(\w+)\)\(", code)
    if pointer:
        return pointer.group(1)
    alias = re.match(r"using (\w+) =", code)
    if alias:
        return alias.group(1)
    function = re.search(r"(operator\s*(?:\(\)|[^\s\w(]+|[^(]+)|~?\w+)\s*\(", code)
    if function:
        return function.group(1).strip()
    variable = re.search(r"(\w+)\s*(?:\[[^\]]*\]\s*)?(?:[=;{,]|$)", code)
    return variable.group(1) if variable else code


def code_span(code):
    """Code between backticks as Doxygen shows it as it is."""
    # A percent sign that is not in quotes keeps the word behind it from becoming a link, and is not shown.
    code = re.sub(r'"[^"]*"|%(?=\w)', lambda found: found.group(0) if found.group(0) != "%" else "%%", code)
    # A single apostrophe would end the code.
    return "`" + code + "`" if "'" in code and not code.startswith("``") else code


def escape_words(text):
    """Text as Doxygen shows it: nothing in it is a command, a tag or emphasis by accident."""
    # What is in quotes and looks like code is shown as such.
    pieces = re.split(r"(`[^`]*`)", text)
    for i in range(0, len(pieces), 2):
        pieces[i] = QUOTED.sub(lambda quoted: quoted.group(0) if not CODE.search(quoted.group(1)) else
                               '`%s`' % quoted.group(1), pieces[i])
    pieces = re.split(r"(`[^`]*`)", "".join(pieces))
    for i, piece in enumerate(pieces):
        if i % 2:
            pieces[i] = re.sub(r"!(?=\w+::)", "!%", code_span(piece))
        else:
            piece = re.sub(r"([\\@%#<>&])", r"\\\1", piece)
            piece = re.sub(r"(?<!\w)::", r"\\::", piece)
            pieces[i] = re.sub(r"(?<!\w)\*(?!\w)|(?<=\w)\*(?=\s)", r"\\*", piece)
    return "".join(pieces)


def split_blocks(lines):
    """The paragraphs of a comment as pairs: whether it stands as it is, being indented, and its lines."""
    blocks = []
    for line in lines:
        is_code = line.startswith("    ")
        if not line.strip():
            if blocks and blocks[-1][0] and blocks[-1][1]:
                blocks[-1][1].append("")
            else:
                blocks.append((False, []))
        elif blocks and blocks[-1][0] == is_code:
            blocks[-1][1].append(line)
        else:
            blocks.append((is_code, [line]))
    for block in blocks:
        while block[1] and not block[1][-1]:
            block[1].pop()
    return [block for block in blocks if block[1]]


def literal(lines):
    is_code = any(re.search(r"[;{}]\s*(//.*)?$|^\s*#include", line) for line in lines)
    begin, end = ("@code{.cpp}", "@endcode") if is_code else ("@code{.unparsed}", "@endcode")
    return [begin] + [line[4:] for line in lines] + [end]


def documentation(lines):
    """The lines of a comment as Doxygen's."""
    result = []
    for is_code, block in split_blocks(lines):
        if result:
            result.append("")
        if is_code:
            result += literal(block)
            continue
        text = "\n".join(block)
        end = 0
        for field in FIELD.finditer(text):
            before = text[end : field.start()].strip()
            if before:
                result += escape_words(before).split("\n")
            names = [name.capitalize() for name in field.group("names").split(", ")]
            names = [name if name in FIELDS else name + "s" for name in names]
            result.append("@par " + ", ".join(names) + (" (%s)" % field.group("of") if field.group("of") else ""))
            end = field.end()
        rest = text[end:].strip()
        if rest:
            result += escape_words(rest).split("\n")
    return result


def quotation(title, lines):
    """What is said elsewhere, and holds here: its paragraphs as quoted ones, with the fields' names in bold type."""
    result = ["", "@par " + title]
    for is_code, block in split_blocks(lines):
        if is_code:
            result += literal(block)
        else:
            text = FIELD.sub(lambda field: "\0" + field.group(0) + "\0", "\n".join(block))
            text = re.sub("\0([^\0]*)\0", r"<b>\1</b>", escape_words(text))
            result += text.split("\n")
        result.append("<br>")
    if result[-1] == "<br>":
        result.pop()
    return result


# What a declaration promises to threads with deadlines, and the field that says so.
PROMISE = re.compile(r"\bQV_(NONBLOCKING|NONALLOCATING)\b")
DEADLINES = '%s (<a href="page_real-time.html#page_real-time-three-classes">what that means</a>).'
QUOTATIONS = ("@par As said of ", "@par All under ")


class Scope:
    def __init__(self, kind, name="", is_shown=True):
        self.kind = kind
        self.name = name
        self.is_shown = is_shown
        self.access_shown = kind != "class"
        self.group = None
        self.group_text = []  # said of each member of the group
        self.has_group_text = False
        self.group_has_members = False
        self.free = None  # a comment that a blank line divides from what follows, which may have none of its own
        self.is_open = False  # the group, in the output
        self.said = []  # of each member of the scope
        self.run = None  # the comment that declarations without one of their own have
        self.run_is_deleted = False
        self.deleted_reason = ""
        self.last = None  # the name of the last one with a comment, and the comment


class Header:
    def __init__(self, name, lines):
        self.name = name
        self.lines = lines
        self.out = []
        self.scopes = [Scope("file")]
        self.pending = []
        self.sections = []  # groups of text alone, for the next class
        self.warnings = []
        self.is_verbose = False

    # ---- Output

    def put(self, lines, indent=""):
        self.out += [indent + "///" + (" " + line if line else "") for line in lines]

    def shown(self):
        return all(scope.is_shown and scope.access_shown for scope in self.scopes)

    def close_group(self):
        scope = self.scopes[-1]
        if scope.is_open:
            self.put(["@}"])
            self.out.append("")
            scope.is_open = False

    def open_group(self):
        scope = self.scopes[-1]
        if scope.group and not scope.is_open:
            self.put(["@name " + scope.group, "@{"])
            self.out.append("")
            scope.is_open = True
        scope.group_has_members = True

    def end_group(self):
        """At the next ruler or the scope's end: text without members is for the next class."""
        scope = self.scopes[-1]
        self.close_group()
        if scope.group and scope.group_text and not scope.group_has_members:
            for title, text in scope.group_text:
                self.sections.append((title, text))
        scope.group = None
        scope.group_text = []
        scope.has_group_text = False
        scope.free = None

    def set_access(self, is_shown):
        scope = self.scopes[-1]
        if scope.access_shown != is_shown:
            if not is_shown:
                self.close_group()
                scope.group = None
            self.put(["@endcond" if is_shown else "@cond"])
            scope.access_shown = is_shown

    # ---- Comments

    def flush(self):
        """A comment that a blank line divides from what follows."""
        scope = self.scopes[-1]
        if self.pending and self.shown():
            # The first is said of the whole group, and each other of what follows up to the next.
            scope.group_text = scope.group_text[:1] if scope.has_group_text else []
            scope.group_text.append((scope.group or self.name, self.pending))
            scope.free = self.pending
            if scope.group and not scope.group_has_members:
                scope.has_group_text = True
        self.pending = []
        scope.run = None
        scope.deleted_reason = ""

    def contract(self, name, is_deleted, reason):
        """The documentation of a declaration, of its own comment or of that of the run it belongs to."""
        scope = self.scopes[-1]
        if not self.pending and not scope.run and not is_deleted and scope.free:
            self.pending = scope.free
            scope.group_text.pop()
        free, scope.free = scope.free, None
        if not is_deleted:
            scope.deleted_reason = ""
        if self.pending:
            text, quoted = self.pending, None
            if scope.last and CONTINUES.search(" ".join(text)):
                quoted = scope.last
            elif CONTINUES.search(" ".join(text)):
                self.warnings.append("%s: nothing stands above: %s" % (name, text[0]))
            elif scope.last and FIELD.match(text[0]):
                text = scope.last[1] + [""] + text
            elif free and FIELD.match(text[0]):
                text = free + [""] + text
                scope.group_text.pop()
            scope.run = (text, quoted)
            scope.run_is_deleted = is_deleted
            if not is_deleted:
                scope.last = (name, (quoted[1] + [""] if quoted else []) + text)
            self.pending = []
        elif is_deleted and not (scope.run and scope.run_is_deleted):
            text, quoted = [], None
        elif not scope.run:
            self.warnings.append("%s: no comment" % name)
            return []
        else:
            text, quoted = scope.run
        result = documentation(text)
        if is_deleted:
            # One reason stands for all that follow.
            reason = scope.deleted_reason = ": " + escape_words(reason) if reason else scope.deleted_reason
            return result + [""] * bool(result) + ["Deleted: a call does not compile%s." % reason]
        if result[0].startswith("@par"):
            self.warnings.append("%s: the comment begins with a field: %s" % (name, text[0]))
        if quoted:
            if self.is_verbose:
                print("QUOTES", self.name, name, "|", text[0], "<-", quoted[0], file=sys.stderr)
            result += quotation("As said of " + quoted[0], quoted[1])
        titled = {}
        for outer in self.scopes:
            for title, said in outer.said + outer.group_text:
                titled.setdefault(title, []).append(said)
        for title, saids in titled.items():
            lines = []
            for said in saids:
                lines += [""] + said
            result += quotation('All under "%s"' % title, lines[1:])
        return result

    # ---- Declarations

    def scope_of(self, code):
        code = without_template(code.strip())
        match = SCOPE.match(code)
        if not match or (match.group(1) != "namespace" and "(" in code.split("{")[0].split(":")[0]):
            return None
        head = re.sub(r"\b(QV_\w+|final|alignas\([^)]*\))\b", "", code.split("{")[0])
        name = re.match(r"(?:inline\s+)?(?:namespace|enum class|class|struct|union|enum)\s+([\w:]*<?)", head)
        return match.group(1), name.group(1) if name else ""

    def declare_scope(self, kind, name, lines):
        is_internal = name.split("::")[0] == "Internal" or "<" in name and not name.startswith(KEPT_SPECIALISATIONS)
        outer = self.scopes[-1]
        self.close_group()
        scope = Scope(kind, name, not is_internal)
        if self.shown() and not is_internal:
            if kind == "namespace":
                if self.pending and name != "Quorvane":
                    scope.said = [(name, self.pending)]
                    self.put(documentation(self.pending))
            else:
                text = self.contract(name.rstrip("<"), False, "")
                outer.run = None
                for title, section in self.sections:
                    text += ["", "@section %s %s" % (re.sub(r"\W+", "_", (name + " " + title).lower()), title), ""]
                    text += documentation(section)
                self.sections = []
                self.put(text)
                if outer.group and kind != "enum":
                    outer.group_has_members = True
        elif is_internal and self.shown():
            self.put(["@cond"])
        self.pending = []
        outer.run = None
        self.out += lines
        self.scopes.append(scope)
        if kind == "class" and self.shown_outside():
            self.put(["@cond"])

    def shown_outside(self):
        """Whether what encloses the innermost scope is shown."""
        return all(scope.is_shown and scope.access_shown for scope in self.scopes[:-1])

    def end_scope(self, line):
        self.flush()
        if self.shown_outside():
            self.end_group()
        scope = self.scopes.pop()
        if self.shown() and (not scope.is_shown or not scope.access_shown):
            if not scope.is_shown:
                self.out.append(line)
                self.put(["@endcond"])
                return
            self.put(["@endcond"])
        self.out.append(line)

    def declare(self, lines, code):
        """A whole declaration, not one that others stand in."""
        scope = self.scopes[-1]
        if not self.shown():
            self.pending = []
            self.out += lines
            return
        flat = re.sub(r"\s+", " ", code)
        bare = without_template(flat.strip())
        outside = scope.kind in ("file", "namespace") and re.search(r"\w(<[^<>]*>)?::(~?\w+|operator\W+) ?(\(|= |;)", bare.split("{")[0])
        outside = outside or re.match(r"\s*template <>", flat)
        if outside and not bare.startswith(("using", "extern")):
            self.pending = []
            scope.run = None
            self.put(["@cond"])
            self.out += lines
            self.put(["@endcond"])
            return
        kind = self.scope_of(flat)
        if re.match(r"friend (class|struct)\b", bare):
            self.pending = []
            self.out += [""] * len(lines)
            return
        if not kind and re.match(r"(static_assert|using namespace|class|struct|enum)\b|using [\w:]+;", bare):
            self.pending = []
            self.out += lines
            return
        trailing = re.search(r"[;,]\s*//\s(.*)$", lines[-1])
        if kind:
            # A class without members, or the declaration of one.
            self.close_group()
            is_definition = "{" in code
            if kind[1].endswith("<") or not is_definition and not self.pending:
                self.out += lines
                self.pending = []
                return
            text = self.contract(kind[1].rstrip("<"), False, "") if is_definition or self.pending else []
            scope.run = None
            self.put(text)
            self.out += lines
            return
        is_deleted = re.search(r"=\s*delete\s*;", flat) is not None
        if trailing and not self.pending and not is_deleted:
            text = ["" + line for line in documentation([trailing.group(1)])]
        else:
            text = self.contract(name_of(flat), is_deleted, trailing.group(1) if trailing else "")
            promise = PROMISE.search(bare.split("{")[0])
            if promise and text and not is_deleted:
                # In front of what is said elsewhere, and of the blank line there.
                at = next((i - 1 for i, line in enumerate(text) if line.startswith(QUOTATIONS)), len(text))
                text[at:at] = ["@par Deadlines", DEADLINES % promise.group(1).lower()]
        self.open_group()
        self.put(text)
        self.out += [re.sub(r"\s*//\s.*$", "", line) if trailing else line for line in lines]

    def define(self, lines):
        name = re.match(r"#\s*define\s+(\w+)", lines[0]).group(1)
        if self.shown() and not name.startswith("QV_INTERNAL_"):
            self.close_group()
            self.put(self.contract(name, False, ""))
            self.out += lines
        else:
            self.out += [""] * len(lines)
            self.scopes[-1].run = None
        self.pending = []

    # ---- The walk

    def file_comment(self):
        """The lines in front of #pragma once; the number of them."""
        for at, line in enumerate(self.lines):
            match = COMMENT.match(line)
            if not match:
                break
            self.pending.append(match.group(1) or "")
        return at

    def put_file(self):
        text = documentation(self.file_text)
        for title, section in self.sections:
            text += ["", "@section %s %s" % (re.sub(r"\W+", "_", (self.name + " " + title).lower()), title), ""]
            text += documentation(section)
        self.out = ["/// @file"] + ["///" + (" " + line if line else "") for line in text] + [""] + self.out

    def convert(self):
        at = self.file_comment()
        self.file_text, self.pending = self.pending, []
        while at < len(self.lines):
            at = self.take(at)
        self.flush()
        self.end_group()
        self.put_file()
        return self.out

    def take(self, at):
        """Takes what begins at a line. Returns: where the next begins."""
        line = self.lines[at]
        scope = self.scopes[-1]
        ruler = RULER.match(line)
        comment = COMMENT.match(line)
        access = ACCESS.match(line)
        if not line.strip():
            self.flush()
            self.out.append("")
        elif ruler:
            self.flush()
            if self.shown():
                self.end_group()
                scope.group = ruler.group(1)
                scope.last = None
                scope.group_has_members = False
        elif comment:
            scope.run = None
            self.pending.append(comment.group(1) or "")
        elif access:
            self.flush()
            if self.shown_outside():
                self.set_access(access.group(1) == "public")
            self.out.append(line)
        elif line.lstrip().startswith("#"):
            end = at
            while self.lines[end].endswith("\\"):
                end += 1
            if re.match(r"#\s*define\b", line.lstrip()):
                self.define(self.lines[at : end + 1])
            else:
                self.out += self.lines[at : end + 1]
            return end + 1
        elif re.match(r"^\s*\}", line):
            self.end_scope(line)
        else:
            return self.take_declaration(at)
        return at + 1

    def take_declaration(self, at):
        first = at
        code = ""
        depth = parens = 0
        is_enumerator = self.scopes[-1].kind == "enum"
        while at < len(self.lines):
            line = plain_code(self.lines[at])
            if self.lines[at].lstrip().startswith("#"):
                line = ""
            for position, character in enumerate(line):
                if character in "([":
                    parens += 1
                elif character in ")]":
                    parens -= 1
                elif character == "{":
                    depth += 1
                    kind = self.scope_of(code) if depth == 1 and parens == 0 else None
                    if kind and "}" not in line[position:]:
                        self.declare_scope(kind[0], kind[1], self.lines[first : at + 1])
                        return at + 1
                elif character == "}":
                    depth -= 1
                code += character
            code += "\n"
            following = self.lines[at + 1].lstrip() if at + 1 < len(self.lines) else ""
            is_whole = depth == 0 and parens == 0 and (
                line.endswith(";")
                or (line.endswith("}") and not following.startswith(("{", ",", ":")))
                or (is_enumerator and (line.endswith(",") or following.startswith("}")))
                or re.fullmatch(r"\s*QV_INTERNAL_\w+(BEGIN|END)", line))
            if is_whole:
                self.declare(self.lines[first : at + 1], code)
                return at + 1
            at += 1
        sys.exit("headers.py: %s: a declaration does not end: line %d" % (self.name, first + 1))


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    with open(sys.argv[1], encoding="utf-8") as file:
        header = Header(re.sub(r".*/", "", sys.argv[1]), file.read().split("\n"))
    lines = header.convert()
    for warning in header.warnings:
        print("%s: warning: %s" % (sys.argv[1], warning), file=sys.stderr)
    sys.stdout.write("\n".join(lines))


if __name__ == "__main__":
    main()
