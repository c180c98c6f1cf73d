"""The text of comments as Doxygen shows it."""

import re

FIELDS = ("Requires", "Returns", "Fails", "Allocates", "Invalidates", "Cost", "Stack")
FIELD = re.compile(
    r"(?:(?<=^)|(?<=[.;:!?)] )|(?<=[.;:!?)]\n)|(?<=\n))"
    r"(?P<names>(?:%s|Return|Fail|Allocate)(?:, (?:%s))*)(?: \((?P<of>[^)]*)\))?:(?=\s)"
    % ("|".join(FIELDS), "|".join(field.lower() for field in FIELDS))
)
QUOTED = re.compile(r'"([^"`]*)"')
SPAN = re.compile(r"(`[^`]*`)")
CODE = re.compile(r"[_<>=!&|*()\\]|::")


def code_span(code):
    """Code between backticks as Doxygen shows it as it is."""
    # A percent sign that is not in quotes keeps the word behind it from becoming a link, and is not shown.
    code = re.sub(r'"[^"]*"|%(?=\w)', lambda found: found.group(0) if found.group(0) != "%" else "%%", code)
    # A single apostrophe would end the code.
    return "`" + code + "`" if "'" in code and not code.startswith("``") else code


def shown_quote(quote):
    """What is in quotes and looks like code is shown as such."""
    return "`%s`" % quote.group(1) if CODE.search(quote.group(1)) else quote.group(0)


def escape_words(text):
    """Text as Doxygen shows it: nothing in it is a command, a tag, a link or emphasis by accident."""
    pieces = SPAN.split(text)
    pieces[::2] = [QUOTED.sub(shown_quote, piece) for piece in pieces[::2]]
    pieces = SPAN.split("".join(pieces))
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
    """Lines that stand as they are."""
    is_code = any(re.search(r"[;{}]\s*(//.*)?$|^\s*#include", line) for line in lines)
    return ["@code{.cpp}" if is_code else "@code{.unparsed}"] + [line[4:] for line in lines] + ["@endcode"]


def heading(field):
    """The beginning of a field of its own."""
    names = [name.capitalize() for name in field.group("names").split(", ")]
    names = [name if name in FIELDS else name + "s" for name in names]
    return "@par " + ", ".join(names) + (" (%s)" % field.group("of") if field.group("of") else "")


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
        begin = 0
        for field in FIELD.finditer(text):
            if text[begin : field.start()].strip():
                result += escape_words(text[begin : field.start()].strip()).split("\n")
            result.append(heading(field))
            begin = field.end()
        result += escape_words(text[begin:].strip()).split("\n")
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


def section(owner, title, lines):
    """A section in the documentation of a class or a file."""
    name = re.sub(r"\W+", "_", (owner + " " + title).lower())
    return ["", "@section %s %s" % (name, title), ""] + documentation(lines)
