#!/usr/bin/env python3
"""Turns measured figures into a table, a JSON file and, if asked, documentation and plots.

report.py FIGURES JSON [--docs FILE] [--plots DIRECTORY]
"""

import argparse
import datetime
import json
import os
import re
import subprocess
import sys

import plots

# What a figure should be at most or at least, by its name.
AIMS = [
    (r"decode\..*\.vs_simdjson", "<=", 1.1),
    (r"decode\..*\.vs_nlohmann", "<=", 0.08),
    (r"pipeline\.us_per_query", "<=", 2),
    (r"pipeline\.allocations", "<=", 30),
    (r"e2e\.latency\..*\.vs_.*", "<=", 1.05),
    (r"e2e\.throughput\..*\.vs_.*", ">=", 0.95),
    (r"e2e\.threads", "<=", 2),
    (r"scale\.decode_over_.*", "<=", 1.25),
    (r"scale\.rss_kb_growth.*", "<=", 256),
]

# Titles, and names of figures that make one table: a row for each first part, a column for each last.
TABLES = [
    ("Decoding a reply", r"(decode\..*)\.(\w+)"),
    ("Latency on loopback, one question at a time", r"(e2e\.latency\..*)\.(\w+)"),
    ("Throughput on loopback, by questions in flight", r"(e2e\.throughput\..*)\.(\w+)"),
]
LIST = ("Single figures", r"(pipeline|start|scale|e2e)\.\w+")

BEGIN, END = "<!-- figures: begin -->\n", "<!-- figures: end -->\n"


def read(path):
    figures, points = {}, {}
    for line in open(path, encoding="utf-8"):
        name, *numbers = line.split()
        if name.startswith("plot."):
            points.setdefault(name.removeprefix("plot."), []).append(tuple(map(float, numbers)))
        else:
            figures[name] = float(numbers[0])
    return figures, points


def aim_of(name):
    return next(((sign, limit) for pattern, sign, limit in AIMS if re.fullmatch(pattern, name)), None)


def is_missed(name, value):
    aim = aim_of(name)
    return aim is not None and (value > aim[1] if aim[0] == "<=" else value < aim[1])


def text_of(name, value):
    digits = f"{value:.0f}" if value >= 1000 else f"{value:.3g}"
    return f"**{digits}**" if is_missed(name, value) else digits


def markdown(header, rows):
    widths = [max(len(row[i]) for row in [header, *rows]) for i in range(len(header))]
    line = lambda cells: "| " + " | ".join(c.ljust(w) for c, w in zip(cells, widths)) + " |"
    return "\n".join([line(header), line(["-" * w for w in widths]), *map(line, rows)]) + "\n"


def matrix(figures, pattern):
    cells = {m.groups(): v for name, v in figures.items() if (m := re.fullmatch(pattern, name))}
    rows = list(dict.fromkeys(row for row, _ in cells))
    columns = list(dict.fromkeys(column for _, column in cells))
    value = lambda r, c: text_of(f"{r}.{c}", cells[r, c]) if (r, c) in cells else ""
    aims = [aim_of(f"{rows[0]}.{column}") if rows else None for column in columns]
    titles = [c + (f" ({aim[0]} {aim[1]})" if aim else "") for c, aim in zip(columns, aims)]
    return rows and markdown(["", *titles], [[r, *(value(r, c) for c in columns)] for r in rows])


def single(figures, pattern):
    rows = []
    for name, value in figures.items():
        if re.fullmatch(pattern, name):
            aim = aim_of(name)
            rows.append([name, text_of(name, value), f"{aim[0]} {aim[1]}" if aim else ""])
    return rows and markdown(["", "figure", "aim"], rows)


def machine():
    cpu = re.search(r"model name\s*: (.*)", open("/proc/cpuinfo", encoding="utf-8").read())
    gcc = subprocess.run(["g++", "-dumpfullversion"], capture_output=True, text=True, check=True)
    return (f"{datetime.date.today()}, {cpu[1] if cpu else 'unknown processor'}, "
            f"{os.cpu_count()} cores, gcc {gcc.stdout.strip()} -O2. Bold: misses its aim.\n")


def render(figures):
    tables = [(title, matrix(figures, pattern)) for title, pattern in TABLES]
    tables.append((LIST[0], single(figures, LIST[1])))
    return "\n".join([machine(), *(f"### {title}\n\n{table}" for title, table in tables if table)])


def replace_between_markers(path, text):
    old = open(path, encoding="utf-8").read()
    before, rest = old.split(BEGIN)
    with open(path, "w", encoding="utf-8") as file:
        file.write(before + BEGIN + "\n" + text + "\n" + END + rest.split(END)[1])


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("figures")
    parser.add_argument("json")
    parser.add_argument("--docs")
    parser.add_argument("--plots")
    options = parser.parse_args()
    figures, points = read(options.figures)
    with open(options.json, "w", encoding="utf-8") as file:
        json.dump(figures, file, indent=1)
    sys.stdout.write(render(figures))
    if options.docs:
        replace_between_markers(options.docs, render(figures))
    if options.plots:
        plots.draw_all(points, options.plots)


if __name__ == "__main__":
    main()
