"""The text of a C++ source, by offsets in bytes: what is code in it, and which parentheses belong together."""

import re

NO_CODE = re.compile(
    rb'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])+\'',
    re.DOTALL,
)
# A quote that separates digits begins no character.
DIGITS = re.compile(rb"(?<=[0-9a-fA-F])'(?=[0-9a-fA-F])")


def blanked(text, keep_literals=False):
    """The text with spaces for comments, and for what literals hold unless they are kept; no offset changes."""

    def blank(match):
        found = match.group(0)
        if found[:1] in b"\"'":
            return found if keep_literals else found[:1] + b"_" * (len(found) - 2) + found[-1:]
        return re.sub(rb"[^\n]", b" ", found)

    return NO_CODE.sub(blank, DIGITS.sub(b"0", text))


class SourceText:
    """A file's bytes and what of them is code."""

    def __init__(self, path):
        self.text = path.read_bytes()
        self.code = blanked(self.text)
        self.without_comments = blanked(self.text, keep_literals=True)

    def line(self, offset):
        return self.text.count(b"\n", 0, offset) + 1

    def closing(self, opening):
        """The offset of the parenthesis that closes the one at `opening`."""
        depth = 0
        for at in range(opening, len(self.code)):
            if self.code[at] in b"([{":
                depth += 1
            elif self.code[at] in b")]}":
                depth -= 1
                if depth == 0:
                    return at
        raise ValueError(f"no parenthesis closes the one at {opening}")

    def arguments(self, opening):
        """The extents of what stands between commas in the parentheses that open at `opening`."""
        end = self.closing(opening)
        extents = []
        begin = opening + 1
        depth = 0
        for at in range(opening + 1, end):
            if self.code[at] in b"([{":
                depth += 1
            elif self.code[at] in b")]}":
                depth -= 1
            elif self.code[at : at + 1] == b"," and depth == 0:
                extents.append((begin, at))
                begin = at + 1
        extents.append((begin, end))
        return [self.trimmed(*extent) for extent in extents]

    def trimmed(self, begin, end):
        while begin < end and self.without_comments[begin : begin + 1].isspace():
            begin += 1
        while end > begin and self.without_comments[end - 1 : end].isspace():
            end -= 1
        return begin, end

    def before(self, offset):
        """The offset of the last character of code in front of `offset`, or -1."""
        at = offset - 1
        while at >= 0 and self.code[at : at + 1].isspace():
            at -= 1
        return at

    def behind(self, offset):
        """The offset of the first character of code from `offset` on."""
        while offset < len(self.code) and self.code[offset : offset + 1].isspace():
            offset += 1
        return offset

    def one_line(self, begin, end):
        """What stands there, without comments and line ends."""
        return b" ".join(self.without_comments[begin:end].split())
