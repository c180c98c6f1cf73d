#!/usr/bin/env python3
"""Merges what several builds have covered, prints it by file, and fails below 100 percent.

    coverage_report.py <root> <list of exclusions> <places> <export>...

An export is what `llvm-cov export` says of one program, <build>/x.json, with what `llvm-cov show` says of it beside, x.txt:
only the latter tells which sides of a branch the compiler has decided. Every open place is written to <places>.

Places are those of the source: file, line and column; within a macro, its use and the place in the macro. Functions that
are instantiated, compiled in several forms or in several builds have their places in common:
- a line or a side of a branch is covered if any of them covers it;
- a condition is covered (MC/DC: it alone changes the outcome of its decision) if two executions of one and the same
  function show it, in whatever builds and programs that function was run. Executions of two instantiations are no pair.
A side that the compiler decides in all of them is none, and neither is a condition that it decides in each.
tests/coverage/exclusions.txt says how places are excluded; one that excludes nothing is an error.
"""
import json
import os
import re
import sys
from collections import defaultdict

LINES, BRANCHES, CONDITIONS = 'lines', 'branches', 'conditions'
KINDS = (LINES, BRANCHES, CONDITIONS)
EXPANSION_REGION, CONDITION_BRANCH = 1, 6


class Places:
    """Covered or not, by kind and place."""

    def __init__(self):
        self.covered = {kind: defaultdict(bool) for kind in KINDS}
        self.vectors = defaultdict(set)  # (place of a decision, function) -> executed vectors and their outcomes
        self.conditions = {}  # place of a decision -> places of its conditions, which are those of branches
        # Decided by the compiler wherever they are shown: sides of branches, and whole conditions.
        self.decided = defaultdict(lambda: True)
        self.lines = defaultdict(lambda: defaultdict(bool))  # by build
        self.without_code = defaultdict(set)
        self.bodies = defaultdict(set)  # (file, name of a function) -> first and last lines

    def note(self, kind, place, is_covered):
        self.covered[kind][place] |= is_covered


def lines_of(segments):
    """Yields line and count of each line that has code, as llvm-cov counts them; None for what lies between statements."""
    wrapped = None
    at = 0
    last = segments[-1][0] if segments else 0
    for line in range(segments[0][0] if segments else 1, last + 1):
        here = []
        while at < len(segments) and segments[at][0] == line:
            here.append(segments[at])
            at += 1
        starts = [s for s in here if s[3] and s[4] and not s[5]]
        skipped = here and not here[0][3] and here[0][4]
        counts = [s[2] for s in starts]
        if wrapped and wrapped[3] and not wrapped[5]:
            counts.append(wrapped[2])
        if counts and not skipped:
            yield line, max(counts)
        elif skipped or wrapped:
            yield line, None
        if here:
            wrapped = here[-1]


def parents_of(function):
    """Maps the number of each file of a function that is a macro's to where that is used: number of a file, line, column."""
    return {region[6]: (region[5], region[0], region[1])
            for region in function['regions'] if region[7] == EXPANSION_REGION}


def is_within(file, span, decision, parents):
    """Does a place lie in a decision, also by way of macros?"""
    line, column = span[:2]
    while file != decision[6]:
        if file not in parents:
            return False
        file, line, column = parents[file]
    return tuple(decision[:2]) <= (line, column) < tuple(decision[2:4])


def uses_of(function, parent):
    """Maps the number of each file of a function to (name of the file of its outermost use, line and column of the uses)."""
    names = function['filenames']
    uses = {}
    for file in range(len(names)):
        chain = []
        outer = file
        while outer in parent:
            outer, line, column = parent[outer]
            chain.append((line, column))
        uses[file] = (names[outer], tuple(reversed(chain)))
    return uses


IDENTIFIER = re.compile(r'(\d+)(\D.*)')


def note_body(function, root, places):
    """Under each identifier of its mangled name."""
    file = function['filenames'][0]
    if not file.startswith(root):
        return
    rest = function['name']
    while True:
        found = IDENTIFIER.search(rest)
        if not found:
            return
        digits, rest = found.groups()
        length = int(digits)
        if length <= len(rest):
            body = function['regions'][0]
            places.bodies[file, rest[:length]].add((body[0], body[2], function['count'] > 0))
            rest = rest[length:]


def read_export(path, root, places):
    build = os.path.dirname(path)
    data = json.load(open(path, encoding='utf-8'))['data'][0]
    for file in data['files']:
        if file['filename'].startswith(root):
            for line, count in lines_of(file['segments']):
                # Of a function that a program never runs, all lines count, those without code as well; another one knows.
                if count is None:
                    places.without_code[build].add((file['filename'], line))
                else:
                    places.lines[build][file['filename'], line] |= count > 0
    for function in data['functions']:
        note_body(function, root, places)
        parents = parents_of(function)
        uses = uses_of(function, parents)

        def place_of(record, file):
            name, chain = uses[file]
            return (name, chain, function['filenames'][file], tuple(record[:4]))

        branches = []
        for branch in function['branches']:
            place = place_of(branch, branch[6])
            if not place[0].startswith(root):
                continue
            if branch[8] == CONDITION_BRANCH:
                branches.append((branch[6], place))
            for side, count in ((True, branch[4]), (False, branch[5])):
                places.note(BRANCHES, place + (side,), count > 0)
        for record in function['mcdc_records']:
            place = place_of(record, record[6])
            if not place[0].startswith(root):
                continue
            places.conditions[place] = [at for file, at in branches if is_within(file, at[3], record, parents)]
            if len(places.conditions[place]) != len(record[9]):
                sys.exit('%s: the conditions of the decision at %s are not found' % (path, place))
            found = places.vectors[place, function['name']]
            for vector in record[10] if len(record) > 10 else []:
                if vector['executed']:
                    found.add((tuple(vector['conditions']), vector['result']))


BRANCH = re.compile(r'Branch \((\d+):(\d+)\): \[(.*)\]')
NUMBERED = re.compile(r'((?:  \|)*) +(\d+)\|')
INSTANCE = re.compile(r'^  \| \S.*:$')


def read_shown(path, root, places):
    """Notes what the compiler has decided: sides of branches."""
    file = None
    within_instance = False
    line_of_use = 0
    for text in open(path, encoding='utf-8', errors='replace'):
        text = text.rstrip('\n')
        if text.startswith('/') and text.endswith(':'):
            file = text[:-1]
            within_instance = False
            continue
        if file is None or not file.startswith(root):
            continue
        if INSTANCE.match(text):
            within_instance = True
            continue
        numbered = NUMBERED.match(text)
        if numbered:
            depth = len(numbered.group(1)) // 3
            if depth == 0:
                within_instance = False
            if depth == int(within_instance):
                line_of_use = int(numbered.group(2))
            continue
        branch = BRANCH.search(text)
        if branch:
            sides = branch.group(3).split(', ') if ', ' in branch.group(3) else ['Folded', 'Folded']
            for side, said in zip((True, False), sides):
                key = (file, line_of_use, int(branch.group(1)), int(branch.group(2)), side)
                places.decided[key] &= said.startswith('Folded')
            places.decided[key[:4]] &= any(said.startswith('Folded') for said in sides)


def is_shown(vectors, condition):
    """Do two executions differ in this condition and in the outcome, and in no other condition that both evaluated?"""
    for first, outcome in vectors:
        for second, other in vectors:
            if outcome == other or len(first) <= condition or len(second) <= condition:
                continue
            if None in (first[condition], second[condition]) or first[condition] == second[condition]:
                continue
            if all(a == b or a is None or b is None
                   for at, (a, b) in enumerate(zip(first, second)) if at != condition):
                return True
    return False


def is_decided(places, place, *side):
    name, chain, _, span = place
    line = chain[0][0] if chain else span[0]
    return places.decided.get((name, line) + span[:2] + side, False)


def resolve(places):
    """Lines of all builds, and conditions from their vectors; what the compiler has decided goes."""
    for build, lines in places.lines.items():
        for line, is_covered in lines.items():
            if is_covered or line not in places.without_code[build]:
                places.note(LINES, line, is_covered)
    by_decision = defaultdict(list)
    for (place, _), vectors in places.vectors.items():
        by_decision[place].append(vectors)
    for place, conditions in places.conditions.items():
        for at, condition in enumerate(conditions):
            if not is_decided(places, condition):
                places.note(CONDITIONS, condition, any(is_shown(vectors, at) for vectors in by_decision[place]))
    for place in list(places.covered[BRANCHES]):
        if not places.covered[BRANCHES][place] and is_decided(places, place[:4], place[4]):
            del places.covered[BRANCHES][place]


class Exclusions:
    """The list: file | kind | text | reason."""

    KINDS = ('constant', 'line', 'true', 'false', 'alone')

    def __init__(self, path, root, places):
        self.entries = {}
        self.root = root
        self.places = places
        for line in open(path, encoding='utf-8'):
            if line.strip() and not line.startswith('#'):
                file, kind, text = line.rstrip('\n').rsplit(' | ', 1)[0].split(' | ', 2)
                self.entries[file, kind, text] = 0
        self.sources = {}

    def source(self, file, line):
        if file not in self.sources:
            self.sources[file] = open(self.root + file, encoding='utf-8').read().split('\n')
        return self.sources[file][line - 1]

    def _is_meant(self, entry, file, line, column, kind):
        wanted_file, wanted, text = entry
        if file != wanted_file:
            return False
        if wanted == 'constant':
            return any(first <= line <= last and not runs
                       for first, last, runs in self.places.bodies.get((self.root + file, text), ()))
        source = self.source(file, line)
        return wanted == kind and (source[column - 1:] if column else source.strip()).startswith(text)

    def excludes(self, file, line, column, kind):
        for entry in self.entries:
            if self._is_meant(entry, file, line, column, kind):
                self.entries[entry] += 1
                return True
        return False


def describe(kind, place):
    """File, line, column of its outermost use, the list's word for what is open, and words of its own."""
    if kind == LINES:
        return place[0], place[1], 0, 'line', 'line'
    name, chain, inner, span = place[:4]
    line, column = chain[0] if chain else span[:2]
    what = str(column)
    if chain:
        what += ' in %s:%d:%d' % (inner.rsplit('/', 1)[1], span[0], span[1])
    if kind == BRANCHES:
        side = 'true' if place[4] else 'false'
        return name, line, column, side, 'never %s at %s' % (side, what)
    return name, line, column, 'alone', 'condition at ' + what


def main():
    root, exclusions, report, *exports = sys.argv[1:]
    root = root.rstrip('/') + '/'
    places = Places()
    for path in exports:
        read_export(path, root + 'Runtime/', places)
        read_shown(path[:-len('.json')] + '.txt', root + 'Runtime/', places)
    resolve(places)
    listed = Exclusions(exclusions, root, places)
    totals = defaultdict(lambda: {kind: [0, 0] for kind in KINDS})
    still_open = []
    excluded = 0
    for kind in KINDS:
        for place, is_covered in places.covered[kind].items():
            file, line, column, side, what = describe(kind, place)
            file = file[len(root):]
            # Of a function that a build never runs, all lines are said to be code.
            if kind == LINES and not is_covered and listed.source(file, line).lstrip().startswith(('//', '#')):
                continue
            if not is_covered and listed.excludes(file, line, column, side):
                excluded += 1
                continue
            for name in (file, 'all'):
                totals[name][kind][0] += is_covered
                totals[name][kind][1] += 1
            if not is_covered:
                still_open.append((file, line, kind, what))
    with open(report, 'w', encoding='utf-8') as out:
        for file, line, kind, what in sorted(still_open):
            out.write('%s:%d: %s: %s | %s\n' % (file, line, kind, what, listed.source(file, line).strip()))
    print('%-75s %14s %14s %14s' % (('file',) + KINDS))
    for name in sorted(totals, key=lambda n: (n == 'all', n)):
        figures = [totals[name][kind] for kind in KINDS]
        if name == 'all' or any(a != b for a, b in figures):
            print('%-75s %14s %14s %14s' % ((name,) + tuple('%d of %d' % tuple(f) for f in figures)))
    idle = [entry for entry, count in listed.entries.items() if count == 0]
    for entry in idle:
        print('%s: excludes nothing that is open: %s' % (exclusions, ' | '.join(entry)))
    print('%d places open: %s; %d excluded by %d entries' % (len(still_open), report, excluded, len(listed.entries)))
    return 1 if still_open or idle else 0


if __name__ == '__main__':
    sys.exit(main())
