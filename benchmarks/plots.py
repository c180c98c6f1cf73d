#!/usr/bin/env python3
"""Draws what the benchmark programs measured, with gnuplot, as SVG.

    plots.py FOLDER RESULT.json...

One picture for each topic, named after its result: the ratio of our time to the best peer's, a bar for each row. And
growth.svg: the time for a character by size, for the rows of the growth table.
"""
import os
import subprocess
import sys

import table

FASTER = "#2a7f62"
SLOWER = "#b5483a"
LINE_COLOURS = ("#2a7f62", "#b5483a", "#33658a", "#8a6d33", "#6a4c93", "#5c5c5c", "#c17817", "#1b998b")


def gnuplot(script):
    subprocess.run(["gnuplot"], input=script, text=True, check=True)


def quoted(text):
    return '"%s"' % text.replace("\\", "\\\\").replace('"', '\\"')


def ratios(figures):
    """(label, ratio) of every row that has a peer."""
    for key in figures.rows:
        best = figures.best_peer(key)
        ratio = table.divide(figures.ours(key), best[1] if best else None)
        if ratio is not None:
            yield "%s %d: %s" % (key[0], key[1], best[0]), ratio


def ratio_script(title, bars, path):
    """A bar from 1 to the ratio for each row, the first row on top; the axis is logarithmic."""
    count = len(bars)
    low = min([0.25] + [0.8 * ratio for _, ratio in bars])
    high = max([4.0] + [1.25 * ratio for _, ratio in bars])
    tics = ", ".join("%s %d" % (quoted(label), count - i) for i, (label, _) in enumerate(bars))
    # x, y, and the box's left, right, lower and upper edge, with its colour.
    data = "\n".join(
        "1 %d %g %g %g %g %d" % (count - i, min(1.0, ratio), max(1.0, ratio), count - i - 0.35, count - i + 0.35,
                                 int((FASTER if ratio <= 1 else SLOWER)[1:], 16))
        for i, (_, ratio) in enumerate(bars))
    numbers = "\n".join("%g %d %.2f" % (max(1.0, ratio), count - i, ratio) for i, (_, ratio) in enumerate(bars))
    return """
set terminal svg size 900,%d noenhanced font "sans,12" background "white"
set output "%s"
set title %s
set logscale x
set xrange [%g:%g]
set yrange [0.4:%g]
set xlabel "our time / best peer's time (left of 1: ours is faster)"
set xtics (0.05, 0.1, 0.2, 0.5, 1, 2, 5, 10, 20, 50)
set ytics (%s) scale 0
set grid xtics
set arrow from 1, graph 0 to 1, graph 1 nohead lw 2
set style fill solid 0.85 noborder
unset key
$bars << END
%s
END
$numbers << END
%s
END
plot $bars using 1:2:3:4:5:6:7 with boxxyerror lc rgb variable, \\
    $numbers using 1:2:3 with labels left offset 0.6, 0
""" % (110 + 24 * count, path, quoted(title), low, high, count + 0.6, tics, data, numbers)


def growing_rows(figures):
    """The rows that the growth table has, with their sizes; looking for what is not there adds nothing to see."""
    wanted = {row for row, _, _, _ in table.growth_pairs(figures) if not row.endswith("_missing")}
    sizes = {}
    for row, size in figures.rows:
        if row in wanted and figures.ours((row, size)):
            sizes.setdefault(row, []).append(size)
    return sizes


def growth_script(figures, rows, path):
    """Time for each character, by size: lines for ours, dashes for the best peer. What is linear runs level."""
    blocks = []
    plots = []
    for i, (row, sizes) in enumerate(rows.items()):
        lines = ["%d %g %g" % (size, figures.ours((row, size)) / size,
                               (figures.best_peer((row, size)) or ("", 0))[1] / size) for size in sizes]
        blocks.append("$rows%d << END\n%s\nEND" % (i, "\n".join(lines)))
        colour = LINE_COLOURS[i % len(LINE_COLOURS)]
        plots.append('$rows%d using 1:2 with linespoints lw 2 pt 7 ps 0.5 lc rgb "%s" title %s' % (
            i, colour, quoted(row)))
        plots.append('$rows%d using 1:3 with lines lw 1 dt 2 lc rgb "%s" notitle' % (i, colour))
    return """
set terminal svg size 900,600 noenhanced font "sans,12" background "white"
set output "%s"
set title "Time for a character by size: ours, and dashed the best peer; what is linear runs level"
set logscale xy
set xlabel "characters"
set ylabel "nanoseconds for a character"
set grid
set key outside right
%s
plot %s
""" % (path, "\n".join(blocks), ", \\\n    ".join(plots))


def main(arguments):
    if len(arguments) < 2:
        print(__doc__, file=sys.stderr)
        return 2
    folder, results = arguments[0], arguments[1:]
    os.makedirs(folder, exist_ok=True)
    for result in results:
        topic = os.path.splitext(os.path.basename(result))[0]
        bars = list(ratios(table.load([result])))
        if bars:
            gnuplot(ratio_script(topic, bars, os.path.join(folder, topic + ".svg")))
    figures = table.load(results)
    rows = growing_rows(figures)
    if rows:
        gnuplot(growth_script(figures, rows, os.path.join(folder, "growth.svg")))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
