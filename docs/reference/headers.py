#!/usr/bin/env python3
"""Makes documentation of the plain comments of a public header, for Doxygen, and prints the header with it.

    headers.py <header>

What people read in a header and what Doxygen needs are different: here the former is made into the latter, so that the
headers stay plain text.

- The comment in front of #pragma once is the file's.
- A comment above a declaration is its own, and that of the declarations which follow it without a blank line and without a
  comment.
- "Requires:", "Returns:", "Fails:", "Allocates:", "Invalidates:", "Cost:" and "Stack:" are fields of their own.
- What a function promises to threads with deadlines behind noexcept is a field, too.
- A ruler begins a group of members. The comment behind it, which a blank line divides from what follows, is said of each of
  them; so is one in the midst of a group of those that follow, and that of a namespace. Where what follows has no comment,
  it is that one's.
- A group that has nothing but text is a section of the class that follows.
- A comment that begins with "The same" or with a field, or goes on "as above", goes on from the one before it.
- What is private, protected or in a namespace Internal is left out, and so are friends and bodies outside of their classes.
"""

import re
import sys

from comments import FIELD, documentation, escape_words, quotation, section

RULER = re.compile(r"^\s*// ---- (.*?) -+$")
COMMENT = re.compile(r"^\s*//(?: (.*)|)$")
ACCESS = re.compile(r"^\s*(public|protected|private):")
TEMPLATE = re.compile(r"^\s*template\s*<")
SCOPE = re.compile(r"^(?:inline\s+)?(namespace|class|struct|union|enum)\b")
BEHIND = re.compile(r"[;,]\s*//\s(.*)$")
CONTINUES = re.compile(r"^The same\b|\b[Aa]s above\b")
# The body of a function, or the value of a variable, that a class declares.
OUTSIDE = re.compile(r"\w(<[^<>]*>)?::(~?\w+|operator\W+) ?(\(|= |;)")
# What needs no comment.
SILENT = re.compile(r"(static_assert|using namespace|class|struct|enum)\b|using [\w:]+;")
# The class templates of which a specialisation is what people use; all others are details.
KEPT_SPECIALISATIONS = ("TBaseRefPtr",)
# What a declaration promises to threads with deadlines, and the field that says so.
PROMISE = re.compile(r"\bQV_(NONBLOCKING|NONALLOCATING)\b")
DEADLINES = '%s (<a href="page_real-time.html#page_real-time-three-classes">what that means</a>).'
SAID_OF = "As said of %s"
SAID_OF_ALL = 'All under "%s"'


# ---- Reading declarations


def without_template(code):
    """A declaration without its template parameters and attributes."""
    while TEMPLATE.match(code):
        depth = 0
        for end in range(code.index("<"), len(code)):
            if code[end] == "<":
                depth += 1
            elif code[end] == ">" and code[end - 1] != "-":
                depth -= 1
                if depth == 0:
                    break
        code = code[end + 1 :].lstrip()
    return re.sub(r"\[\[.*?\]\]\s*", "", code)


def plain_code(line):
    """A line without its comment, and without what is in quotes; nothing of one for the preprocessor."""
    if line.lstrip().startswith("#"):
        return ""
    line = re.sub(r'"(?:\\.|[^"\\])*"|\'(?:\\.|[^\'\\])*\'', '""', line)
    return re.sub(r"//.*", "", line).rstrip()


def name_of(code):
    """What a declaration declares: the name of a function, a variable or a type."""
    code = without_template(re.sub(r"\s+", " ", code).strip())
    for pattern in (
        r"\(\*(\w+)\)\(",
        r"^using (\w+) =",
        r"(operator\s*(?:\(\)|[^\s\w(]+|[^(]+)|~?\w+)\s*\(",
        r"(\w+)\s*(?:\[[^\]]*\]\s*)?(?:[=;{,]|$)",
    ):
        found = re.search(pattern, code)
        if found:
            return found.group(1).strip()
    return code


def scope_of(code):
    """The kind and the name of the scope that a declaration begins, with a < behind that of a specialisation; or None."""
    head = without_template(code.strip()).split("{")[0]
    scope = SCOPE.match(head)
    if not scope or (scope.group(1) != "namespace" and "(" in head.split(":")[0]):
        return None
    head = re.sub(r"\b(QV_\w+|final|alignas\([^)]*\))\b", "", head)
    name = re.match(r"(?:inline\s+)?(?:namespace|enum class|class|struct|union|enum)\s+([\w:]*<?)", head)
    return scope.group(1), name.group(1) if name else ""


def is_left_out(name):
    return name.split("::")[0] == "Internal" or "<" in name and not name.startswith(KEPT_SPECIALISATIONS)


# ---- Scopes and groups


class Scope:
    def __init__(self, kind, is_shown=True):
        self.kind = kind
        self.is_shown = is_shown
        self.access_is_shown = kind != "class"
        self.said = []  # of each member: titles and comments
        self.begin_group(None)

    def begin_group(self, title):
        self.group = title
        self.group_said = []  # of each member of the group: titles and comments
        self.has_group_comment = False
        self.group_has_members = False
        self.group_is_open = False  # in the output
        self.free = None  # the comment that a blank line divides from what follows
        self.last = None  # the name of the last declaration with a comment, and the comment with all that it goes on from
        self.end_run()

    def end_run(self):
        self.run = None  # the comment of declarations without one, and what it goes on from
        self.run_is_deleted = False
        self.reason = ""  # why they are deleted

    def add_free(self, title, comment):
        # The first is said of the whole group, and each other one of what follows up to the next.
        self.group_said = self.group_said[:1] if self.has_group_comment else []
        self.group_said.append((title, comment))
        self.has_group_comment = self.has_group_comment or bool(self.group) and not self.group_has_members
        self.free = comment


class Header:
    def __init__(self, name, lines):
        self.name = name
        self.lines = lines
        self.out = []
        self.scopes = [Scope("file")]
        self.pending = []  # the comment that was read last
        self.sections = []  # groups of text alone, for the next class
        self.warnings = []

    def put(self, lines):
        self.out += ["///" + (" " + line if line else "") for line in lines]

    def is_shown_outside(self):
        """Whether what encloses the innermost scope is shown."""
        return all(scope.is_shown and scope.access_is_shown for scope in self.scopes[:-1])

    def is_shown(self):
        return self.is_shown_outside() and self.scopes[-1].is_shown and self.scopes[-1].access_is_shown

    def open_group(self):
        scope = self.scopes[-1]
        if scope.group and not scope.group_is_open:
            self.put(["@name " + scope.group, "@{"])
            self.out.append("")
            scope.group_is_open = True
        scope.group_has_members = True

    def close_group(self):
        """A class cannot be a member of a group, which is opened again behind it."""
        scope = self.scopes[-1]
        if scope.group_is_open:
            self.put(["@}"])
            self.out.append("")
            scope.group_is_open = False

    def begin_group(self, title):
        """At a ruler, or with None at the end: text without members is for the next class."""
        scope = self.scopes[-1]
        self.close_group()
        if scope.group and not scope.group_has_members:
            self.sections += scope.group_said
        scope.begin_group(title)

    def begin_access(self, is_shown):
        scope = self.scopes[-1]
        if scope.access_is_shown != is_shown:
            if not is_shown:
                self.close_group()
                scope.group = None
            self.put(["@endcond" if is_shown else "@cond"])
            scope.access_is_shown = is_shown

    # ---- Comments

    def end_comment(self):
        """At a blank line, which divides a comment from what follows."""
        scope = self.scopes[-1]
        if self.pending and self.is_shown():
            scope.add_free(scope.group or self.name, self.pending)
        self.pending = []
        scope.end_run()

    def take_comment(self, name, is_deleted):
        """Takes the comment above a declaration: it and what it goes on from are those of the run that begins."""
        scope = self.scopes[-1]
        text, origin = self.pending, None
        if CONTINUES.search(" ".join(text)):
            origin = scope.last
            if not origin:
                self.warnings.append("%s: nothing stands above: %s" % (name, text[0]))
        elif FIELD.match(text[0]):
            if scope.last:
                text = scope.last[1] + [""] + text
            elif scope.free:
                text = scope.free + [""] + text
                scope.group_said.pop()
            else:
                self.warnings.append("%s: the comment begins with a field: %s" % (name, text[0]))
        scope.run = (text, origin)
        scope.run_is_deleted = is_deleted
        if not is_deleted:
            scope.last = (name, (origin[1] + [""] if origin else []) + text)
        self.pending = []

    def contract(self, name):
        """The documentation of a declaration, by its own comment or by that of its run."""
        scope = self.scopes[-1]
        scope.reason = ""
        if not self.pending and not scope.run and scope.free:
            self.pending = scope.free
            scope.group_said.pop()
        if self.pending:
            self.take_comment(name, False)
        scope.free = None
        if not scope.run:
            self.warnings.append("%s: no comment" % name)
            return []
        text, origin = scope.run
        result = documentation(text)
        if origin:
            result += quotation(SAID_OF % origin[0], origin[1])
        return result + self.said_of_all()

    def said_of_all(self):
        """What is said of all members of the scopes and of the group."""
        titled = {}
        for scope in self.scopes:
            for title, comment in scope.said + scope.group_said:
                titled[title] = titled[title] + [""] + comment if title in titled else comment
        result = []
        for title, lines in titled.items():
            result += quotation(SAID_OF_ALL % title, lines)
        return result

    def contract_of_deleted(self, name, reason):
        """A deleted function has no contract but its own comment, and one reason stands for all that follow."""
        scope = self.scopes[-1]
        if self.pending:
            self.take_comment(name, True)
        scope.free = None
        scope.reason = ": " + escape_words(reason) if reason else scope.reason
        text = documentation(scope.run[0]) + [""] if scope.run and scope.run_is_deleted else []
        return text + ["Deleted: a call does not compile%s." % scope.reason]

    # ---- Declarations

    def put_class(self, name, lines):
        """The head of a class or an enumeration, and the text that is for it."""
        text = self.contract(name.rstrip("<"))
        for title, comment in self.sections:
            text += section(name, title, comment)
        self.sections = []
        self.put(text)
        self.out += lines

    def begin_scope(self, kind, name, lines):
        outer = self.scopes[-1]
        self.close_group()
        scope = Scope(kind, not is_left_out(name))
        if not self.is_shown():
            self.out += lines
        elif is_left_out(name):
            self.put(["@cond"])
            self.out += lines
        elif kind == "namespace":
            if self.pending:
                scope.said = [(name, self.pending)]
                self.put(documentation(self.pending))
            self.out += lines
        else:
            self.put_class(name, lines)
            outer.group_has_members = True
        self.pending = []
        outer.end_run()
        self.scopes.append(scope)
        # What a class begins with is private.
        if kind == "class" and self.is_shown_outside():
            self.put(["@cond"])

    def end_scope(self, line):
        self.end_comment()
        if self.is_shown_outside():
            self.begin_group(None)
        scope = self.scopes.pop()
        if self.is_shown() and not scope.access_is_shown and scope.is_shown:
            self.put(["@endcond"])
        self.out.append(line)
        if self.is_shown() and not scope.is_shown:
            self.put(["@endcond"])

    def leave_out(self, lines):
        self.put(["@cond"])
        self.out += lines
        self.put(["@endcond"])
        self.scopes[-1].end_run()

    def declare(self, lines, code):
        """A whole declaration, not one that others stand in."""
        flat = re.sub(r"\s+", " ", code).strip()
        bare = without_template(flat)
        kind = scope_of(flat)
        is_outside = (
            self.scopes[-1].kind in ("file", "namespace")
            and not bare.startswith(("using", "extern"))
            and OUTSIDE.search(bare.split("{")[0])
        )
        if not self.is_shown():
            self.out += lines
        elif re.match(r"friend (class|struct)\b", bare):
            self.out += [""] * len(lines)
        elif flat.startswith("template <>") or is_outside:
            self.leave_out(lines)
        elif kind and "{" in code and not kind[1].endswith("<"):
            # A class without members.
            self.close_group()
            self.put_class(kind[1], lines)
            self.scopes[-1].end_run()
        elif kind and self.pending:
            self.close_group()
            self.put(self.contract(kind[1]))
            self.out += lines
            self.scopes[-1].end_run()
        elif kind or SILENT.match(bare):
            self.out += lines
        else:
            self.declare_member(lines, bare)
        self.pending = []

    def declare_member(self, lines, bare):
        behind = BEHIND.search(lines[-1])
        if re.search(r"=\s*delete\s*;", bare):
            text = self.contract_of_deleted(name_of(bare), behind.group(1) if behind else "")
        elif behind and not self.pending:
            text = documentation([behind.group(1)])
        else:
            text = self.contract(name_of(bare))
            promise = PROMISE.search(bare.split("{")[0])
            if promise and text:
                # In front of what is said elsewhere, and of the blank line there.
                elsewhere = ("@par " + SAID_OF % "", "@par " + SAID_OF_ALL.split("%")[0])
                at = next((i - 1 for i, line in enumerate(text) if line.startswith(elsewhere)), len(text))
                text[at:at] = ["@par Deadlines", DEADLINES % promise.group(1).lower()]
        self.open_group()
        self.put(text)
        self.out += [re.sub(r"\s*//\s.*$", "", line) if behind else line for line in lines]

    def define(self, lines):
        name = re.match(r"\s*#\s*define\s+(\w+)", lines[0]).group(1)
        if self.is_shown() and not name.startswith("QV_INTERNAL_"):
            self.close_group()
            self.put(self.contract(name))
            self.out += lines
        else:
            self.out += [""] * len(lines)
            self.scopes[-1].end_run()
        self.pending = []

    # ---- The walk

    def convert(self):
        """Returns: the header's lines with the documentation."""
        at = 0
        while COMMENT.match(self.lines[at]):
            self.pending.append(COMMENT.match(self.lines[at]).group(1) or "")
            at += 1
        text, self.pending = documentation(self.pending), []
        while at < len(self.lines):
            at = self.take(at)
        self.end_comment()
        self.begin_group(None)
        for title, comment in self.sections:
            text += section(self.name, title, comment)
        body, self.out = self.out, []
        self.put(["@file"] + text)
        return self.out + [""] + body

    def take(self, at):
        """Takes what begins at a line. Returns: where the next begins."""
        line = self.lines[at]
        if not line.strip():
            self.end_comment()
            self.out.append("")
        elif RULER.match(line):
            self.end_comment()
            if self.is_shown():
                self.begin_group(RULER.match(line).group(1))
        elif COMMENT.match(line):
            self.scopes[-1].end_run()
            self.pending.append(COMMENT.match(line).group(1) or "")
        elif ACCESS.match(line):
            self.end_comment()
            if self.is_shown_outside():
                self.begin_access(ACCESS.match(line).group(1) == "public")
            self.out.append(line)
        elif line.lstrip().startswith("#"):
            return self.take_directive(at)
        elif re.match(r"^\s*\}", line):
            self.end_scope(line)
        else:
            return self.take_declaration(at)
        return at + 1

    def take_directive(self, at):
        end = at + 1
        while self.lines[end - 1].endswith("\\"):
            end += 1
        if re.match(r"\s*#\s*define\b", self.lines[at]):
            self.define(self.lines[at:end])
        else:
            self.out += self.lines[at:end]
        return end

    def take_declaration(self, first):
        code = ""
        depth = parentheses = 0
        for at in range(first, len(self.lines)):
            line = plain_code(self.lines[at])
            for position, character in enumerate(line):
                parentheses += (character in "([") - (character in ")]")
                depth += (character == "{") - (character == "}")
                scope = scope_of(code) if character == "{" and depth == 1 and parentheses == 0 else None
                if scope and "}" not in line[position:]:
                    self.begin_scope(scope[0], scope[1], self.lines[first : at + 1])
                    return at + 1
                code += character
            code += "\n"
            following = self.lines[at + 1].lstrip() if at + 1 < len(self.lines) else ""
            if depth == 0 and parentheses == 0 and self.ends_declaration(line, following):
                self.declare(self.lines[first : at + 1], code)
                return at + 1
        sys.exit("headers.py: %s: a declaration does not end: line %d" % (self.name, first + 1))

    def ends_declaration(self, line, following):
        """Whether a declaration ends with a line, outside of all braces."""
        if self.scopes[-1].kind == "enum":
            return line.endswith(",") or following.startswith("}")
        if line.endswith("}"):
            return not following.startswith(("{", ",", ":"))
        return line.endswith(";") or re.fullmatch(r"\s*QV_INTERNAL_\w+(BEGIN|END)", line) is not None


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
