"""Writes sources with all mutants in them, each switched by its number (mutants.h)."""

import re

CALLS = {
    "<": "Less",
    "<=": "LessOrEqual",
    ">": "Greater",
    ">=": "GreaterOrEqual",
    "==": "Equal",
    "!=": "NotEqual",
    "+": "Plus",
    "-": "Minus",
    "*": "Times",
    "/": "Over",
    "%": "Modulo",
    "<<": "ShiftedLeft",
    ">>": "ShiftedRight",
    "&": "And",
    "|": "Or",
    "^": "Xor",
}
SPACE = "::qv_mutants::"


class Node:
    """A place with its number, and the places in it."""

    def __init__(self, number, place):
        self.number = number
        self.place = place
        self.children = []


def end_of(place):
    """Where a place ends: a statement's semicolon belongs to it."""
    return place.parts[0][1] if place.rule == "left out" else place.end


# Of places with one extent: what is computed, then what becomes of it as a condition.
ORDER = {"return": 0, "statement": 0, "condition": 1, "assertion": 2}


def nested(numbered):
    """The outermost of a file's places, by their order in it."""
    ordered = sorted(
        numbered, key=lambda entry: (entry[1].begin, -end_of(entry[1]), ORDER.get(entry[1].kind, 3), entry[0])
    )
    root = Node(0, None)
    open_nodes = [(root, 0, 1 << 60)]
    for number, place in ordered:
        node = Node(number, place)
        while open_nodes[-1][2] <= place.begin:
            open_nodes.pop()
        if end_of(place) > open_nodes[-1][2]:
            raise ValueError(f"{place.file}: {place.before} lies across another place")
        open_nodes[-1][0].children.append(node)
        open_nodes.append((node, place.begin, end_of(place)))
    return root


class Rewriter:
    def __init__(self, source):
        self.source = source

    def text(self, begin, end, nodes):
        """[begin, end) with the mutants in it."""
        parts = []
        at = begin
        for node in nodes:
            if begin <= node.place.begin and end_of(node.place) <= end:
                parts.append(self.source.text[at : node.place.begin].decode())
                parts.append(self.mutated(node))
                at = end_of(node.place)
        parts.append(self.source.text[at:end].decode())
        return "".join(parts)

    def copy(self, begin, end, nodes):
        """The same without comments on one line, for what is written twice."""
        parts = []
        at = begin
        for node in nodes:
            if begin <= node.place.begin and end_of(node.place) <= end:
                parts.append(self.source.without_comments[at : node.place.begin].decode())
                parts.append(self.mutated(node))
                at = end_of(node.place)
        parts.append(self.source.without_comments[at:end].decode())
        return " ".join("".join(parts).split("\n"))

    def mutated(self, node):
        place = node.place
        on = f"{SPACE}On({node.number})"
        if place.rule in ("call", "any call", "choice", "logical"):
            return self.mutated_operator(node, on)
        if place.rule == "negated":
            return f"({on} != static_cast<bool>({self.text(place.begin, place.end, node.children)}))"
        if place.rule == "plus":
            return f"{SPACE}OneMore({node.number}, {self.text(place.begin, place.end, node.children)})"
        if place.rule == "boolean":
            return f"({on} != {place.before})"
        if place.rule in ("prefix", "postfix"):
            return self.mutated_step(node, on)
        if place.rule == "left out":
            return f"{{ if (!{on}) {self.text(place.begin, end_of(place), node.children)} }}"
        return self.mutated_check(node, on)

    def mutated_operator(self, node, on):
        place = node.place
        (begin, left_end), (right, end) = place.parts
        operator = self.source.code[left_end:right].decode().strip()
        between = "\n" * self.source.text.count(b"\n", left_end, right)
        a = self.text(begin, left_end, node.children)
        b = self.text(right, end, node.children)
        if place.rule in ("call", "any call"):
            any_type = "Any" if place.rule == "any call" else ""
            return f"{SPACE}{any_type}{CALLS[operator]}({node.number}, {a},{between} {b})"
        if place.rule == "logical":
            # By De Morgan: both operators in one, without writing an operand twice.
            turned = f"({on} != static_cast<bool>"
            same = "&&" if operator == "&&" else "||"
            return f"({on} != ({turned}({a})) {same}{between} {turned}({b}))))"
        other_a = self.copy(begin, left_end, node.children)
        other_b = self.copy(right, end, node.children)
        return f"({on} ? ({other_a} {place.after} {other_b}) : ({a} {operator}{between} {b}))"

    def mutated_step(self, node, on):
        place = node.place
        begin, end = (place.begin + 2, place.end) if place.rule == "prefix" else (place.begin, place.end - 2)
        other = self.copy(begin, end, node.children)
        same = self.text(begin, end, node.children)
        if place.rule == "prefix":
            old = self.source.text[place.begin : begin].decode()
            return f"({on} ? {place.after}{other} : {old}{same})"
        old = self.source.text[end : place.end].decode()
        return f"({on} ? {other}{place.after} : {same}{old})"

    def mutated_check(self, node, on):
        """A check of kr_assert.h that holds whatever its condition says. Its report keeps the condition's text."""
        place = node.place
        name = place.rule
        condition = place.parts[0] if name == "QV_ASSERT_MESSAGE" else (place.parts[0][0], place.parts[-1][1])
        if name.endswith("_TEXT"):
            condition = (place.parts[1][0], place.parts[-1][1])
            head = self.source.text[place.begin : condition[0]].decode()
            tail = self.source.text[condition[1] : place.end].decode()
            return f"{head}({on} || ({self.text(*condition, node.children)})){tail}"
        original = self.source.one_line(*condition).decode()
        inside = f"({on} || ({self.text(*condition, node.children)}))"
        text = f"QV_MUTATED_TEXT({original}), QV_MUTATED_EXPANDED_TEXT({original})"
        head = "\n" * self.source.text.count(b"\n", place.begin, condition[0])
        if name != "QV_ASSERT_MESSAGE":
            tail = "\n" * self.source.text.count(b"\n", condition[1], place.end)
            return f"{name.replace('QV_', 'QV_MUTATED_', 1)}({head}{text}, {inside}{tail})"
        message = self.text(place.parts[1][0], place.parts[-1][1], node.children)
        between = "\n" * self.source.text.count(b"\n", condition[1], place.parts[1][0])
        tail = "\n" * self.source.text.count(b"\n", place.parts[-1][1], place.end)
        return f"QV_INTERNAL_ASSERT_SITE({head}{text}, QV_INTERNAL_REPORT_FORMAT({between}{message}), {inside}{tail})"


def rewritten(source, numbered):
    """A file's text with its mutants: pairs of a number and a place."""
    root = nested(numbered)
    text = Rewriter(source).text(0, len(source.text), root.children)
    for number, place in numbered:
        if not re.search(rf"\({number}\b", text):
            raise ValueError(f"{place.file}: the mutant of {place.before} is lost")
    return text
