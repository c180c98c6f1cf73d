#!/usr/bin/env python3
"""Puts what the benchmark programs measured into one table.

    table.py [--markdown] [--goals FILE] RESULT.json...

Benchmarks are named <row>/<size>/<who>. Of the repetitions of each the smallest counts. `ours` is compared with the
fastest peer; `limit:<what>` is what the machine allows, `ours:<what>` another operation of ours. benchmarks/README.md
explains the columns.
"""
import argparse
import json
import os
import sys

OURS = "ours"
LIMIT = "limit:"
OTHERWISE = "ours:"
BASELINE = "baseline"
UNITS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}
# Sizes this far apart (and a little) make a pair of the growth table.
GROWTH_STEPS = (10, 100)
MISSING = "-"


class Figures:
    """The smallest figure of each (row, size, who), in nanoseconds or bytes."""

    def __init__(self):
        self.smallest = {}
        self.first_seen = {}
        self.in_bytes = set()

    def add(self, entry, file_index=0):
        if entry.get("run_type", "iteration") != "iteration" or entry.get("error_occurred"):
            return
        # Names may go on with what Google Benchmark adds: "/iterations:1", "/real_time", "/threads:2".
        row, size, who = entry["name"].split("/")[:3]
        key = (row, int(size))
        if who != BASELINE:
            # Repetitions are shuffled; the family is the place in the source.
            place = (file_index, entry.get("family_index", 0))
            self.first_seen[row] = min(place, self.first_seen.get(row, place))
        value = self._value(entry)
        if "bytes" in entry:
            self.in_bytes.add(key)
        known = self.smallest.setdefault((row, int(size)), {})
        known[who] = min(value, known.get(who, value))

    @property
    def rows(self):
        """(row, size) in the order of the sources, sizes rising."""
        keys = [key for key in self.smallest if key[0] in self.first_seen]
        return sorted(keys, key=lambda key: (self.first_seen[key[0]], key[1]))

    @property
    def baseline(self):
        return min((known[BASELINE] for known in self.smallest.values() if BASELINE in known), default=None)

    @staticmethod
    def _value(entry):
        if "bytes" in entry:
            return entry["bytes"]
        clock = "real_time" if "/real_time" in entry["name"] else "cpu_time"
        return entry[clock] * UNITS[entry.get("time_unit", "ns")]

    def of(self, key):
        return self.smallest.get(key, {})

    def kept(self):
        """All figures as lists of [row, size, in bytes, {who: figure}], in the order of the rows, to be written to a file."""
        return [[*key, key in self.in_bytes, {who: float("%.4g" % value) for who, value in sorted(self.of(key).items())}]
                for key in self.rows]

    @classmethod
    def of_kept(cls, lines):
        figures = cls()
        for place, (row, size, in_bytes, known) in enumerate(lines):
            figures.smallest[(row, size)] = known
            figures.first_seen.setdefault(row, place)
            if in_bytes:
                figures.in_bytes.add((row, size))
        return figures

    def peers(self, key, names=()):
        """The peers, or those named; limits and other operations of ours only when named."""
        return {
            who: value
            for who, value in self.of(key).items()
            if who not in (OURS, BASELINE) and (who in names if names else not who.startswith((LIMIT, OTHERWISE)))
        }

    def best_peer(self, key, names=()):
        """(name, value), or None where no peer was there."""
        peers = self.peers(key, names)
        return min(peers.items(), key=lambda item: item[1]) if peers else None

    def limit(self, key):
        return next(((who, value) for who, value in self.of(key).items() if who.startswith(LIMIT)), None)

    def ours(self, key):
        return self.of(key).get(OURS)


class Goals:
    """What benchmarks/goals.txt asks for."""

    def __init__(self, lines=()):
        self.ratios = []
        self.growths = []
        groups = {}
        for line in lines:
            words = line.split("#")[0].split()
            if not words:
                continue
            if words[0] == "group":
                groups[words[1]] = words[2].split(",")
            elif words[0] == "growth":
                self.growths.append((words[1], words[2], float(words[3])))
            else:
                named = words[3].split(",") if len(words) > 3 else []
                peers = tuple(peer for name in named for peer in groups.get(name, [name]))
                self.ratios.append((words[0], words[1], float(words[2]), peers, " or ".join(named)))

    def of(self, key):
        """[(goal, peers that it is about, what they are called)]; no peers: all of them."""
        return [goal for row, size, *goal in self.ratios if row == key[0] and size in ("*", str(key[1]))]

    def of_growth(self, key):
        return next((goal for row, size, goal in self.growths if row == key[0] and size in ("*", str(key[1]))), None)


def load(paths):
    figures = Figures()
    for index, path in enumerate(paths):
        with open(path, encoding="utf-8") as stream:
            for entry in json.load(stream)["benchmarks"]:
                figures.add(entry, index)
    return figures


def show(value, in_bytes=False):
    """A figure with its unit, three digits."""
    if value is None:
        return MISSING
    if in_bytes:
        return "%.3g MB" % (value / 1e6)
    for unit in ("ns", "us", "ms"):
        if value < 999.5:
            return "%.3g %s" % (value, unit)
        value /= 1000
    return "%.3g s" % value


def show_ratio(ratio):
    return MISSING if ratio is None else "%.2f" % ratio


def show_growth(pair):
    """Of two (who, value), the smaller size first."""
    return "%.1f" % (pair[1][1] / pair[0][1]) if all(pair) else MISSING


def divide(value, other):
    return None if value is None or not other else value / other


def verdict(figures, key, goals):
    """("<= 0.6, ...", "yes") of all goals of a row that can be judged: `no` when one is missed."""
    wanted = []
    held = []
    for goal, names, called in goals.of(key):
        wanted.append("<= %g%s" % (goal, " of " + called if called else ""))
        ratio = goal_ratio(figures, key, names)
        if ratio is not None:
            held.append(ratio <= goal + 0.005)
    answer = "" if not wanted else "?" if not held else "yes" if all(held) else "no"
    return ", ".join(wanted), answer


def main_table(figures, goals):
    lines = [["row", "size", "ours", "best peer", "its name", "ratio", "limit", "what limits", "share", "goal", "met"]]
    for key in figures.rows:
        in_bytes = key in figures.in_bytes
        ours = figures.ours(key)
        best = figures.best_peer(key)
        limit = figures.limit(key)
        share = divide(limit[1] if limit else None, ours)
        goal, met = verdict(figures, key, goals)
        lines.append([
            key[0], str(key[1]), show(ours, in_bytes),
            show(best[1], in_bytes) if best else MISSING, best[0] if best else MISSING,
            show_ratio(divide(ours, best[1] if best else None)),
            show(limit[1], in_bytes) if limit else MISSING, limit[0][len(LIMIT):] if limit else MISSING,
            MISSING if share is None else "%.0f %%" % (100 * share), goal, met])
    return lines


def growth_pairs(figures):
    """(row, size, step, the key of the larger size) wherever ours was measured at both."""
    for row, size in figures.rows:
        for step in GROWTH_STEPS:
            for other in figures.rows:
                if other[0] == row and figures.ours((row, size)) and figures.ours(other) and \
                        0.95 <= other[1] / (size * step or 1) <= 1.05:
                    yield row, size, step, other


def growth_table(figures, goals):
    lines = [["row", "from", "to", "ours grows", "best peer grows", "limit grows", "goal", "met"]]
    for row, size, step, larger in growth_pairs(figures):
        grows = divide(figures.ours(larger), figures.ours((row, size)))
        peers = figures.best_peer((row, size)), figures.best_peer(larger)
        limits = figures.limit((row, size)), figures.limit(larger)
        goal = goals.of_growth((row, size)) if step == 10 else None
        lines.append([
            row, str(size), str(larger[1]), "%.1f" % grows, show_growth(peers), show_growth(limits),
            "" if goal is None else "<= %g" % goal, "" if goal is None else "yes" if grows <= goal + 0.05 else "no"])
    return lines


def goal_ratio(figures, key, names):
    """Ours divided by the best of the peers named; None where either was not measured."""
    best = figures.best_peer(key, names)
    return divide(figures.ours(key), best[1] if best else None)


def growth_ratio(figures, key):
    """What ten times the size cost; None where one of them was not measured."""
    return next((divide(figures.ours(larger), figures.ours(key)) for row, size, step, larger in growth_pairs(figures)
                 if (row, size) == key and step == GROWTH_STEPS[0]), None)


def verdicts(values, goal, slack, layout):
    """A cell for each of the values, one of a kind, in bold where it misses the goal."""
    return [MISSING if value is None else layout % value if value <= goal + slack else "**%s**" % (layout % value)
            for value in values]


def is_met(cell):
    return cell != MISSING and not cell.startswith("**")


def goals_table(kept, goals):
    """A line for each goal and size, in the order of goals.txt: what each kind of processor measured, and which of them meet
    it. `kept` is a list of (title, figures)."""
    titles = [title for title, _ in kept]
    every = sorted({key for _, figures in kept for key in figures.rows})
    lines = [["row", "size", "goal"] + titles + ["met on"]]

    def add(row, key, goal, cells):
        judged = [cell for cell in cells if cell != MISSING]
        if not judged:
            return
        met = [title for title, cell in zip(titles, cells) if is_met(cell)]
        lines.append([row, str(key[1]), goal] + cells +
                     ["all" if len(met) == len(judged) else "none" if not met else "; ".join(met)])

    for row, size, goal, names, called in goals.ratios:
        for key in every:
            if row == key[0] and size in ("*", str(key[1])):
                values = [goal_ratio(figures, key, names) for _, figures in kept]
                add(row, key, "<= %g%s" % (goal, " of " + called if called else ""), verdicts(values, goal, 0.005, "%.2f"))
    for row, size, goal in goals.growths:
        for key in every:
            if row == key[0] and size in ("*", str(key[1])):
                values = [growth_ratio(figures, key) for _, figures in kept]
                add("growth " + row, key, "<= %g" % goal, verdicts(values, goal, 0.05, "%.1f"))
    return lines


def as_text(lines):
    widths = [max(len(line[i]) for line in lines) for i in range(len(lines[0]))]
    return "\n".join("  ".join(cell.ljust(width) for cell, width in zip(line, widths)).rstrip() for line in lines)


def as_markdown(lines):
    rows = ["| " + " | ".join(line) + " |" for line in lines]
    rows.insert(1, "|" + "---|" * len(lines[0]))
    return "\n".join(rows)


def tally(lines):
    met = sum(line[-1] == "yes" for line in lines[1:])
    missed = sum(line[-1] == "no" for line in lines[1:])
    return met, missed


def main(arguments):
    parser = argparse.ArgumentParser(description="Puts what the benchmark programs measured into one table.")
    parser.add_argument("--markdown", action="store_true", help="as Markdown")
    parser.add_argument("--goals", default=os.path.join(os.path.dirname(os.path.abspath(__file__)), "goals.txt"))
    parser.add_argument("results", nargs="+", help="JSON that the programs wrote")
    options = parser.parse_args(arguments)

    figures = load(options.results)
    with open(options.goals, encoding="utf-8") as stream:
        goals = Goals(stream)
    layout = as_markdown if options.markdown else as_text
    table = main_table(figures, goals)
    growth = growth_table(figures, goals)
    print(layout(table))
    if len(growth) > 1:
        print("\nCost at 10 and 100 times the size:\n")
        print(layout(growth))
    met, missed = (sum(pair) for pair in zip(tally(table), tally(growth)))
    print("\n%d goals met, %d missed; an empty loop takes %s a turn" % (met, missed, show(figures.baseline)))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
