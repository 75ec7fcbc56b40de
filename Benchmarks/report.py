#!/usr/bin/env python3
"""Turns measured figures into a table, a JSON file and, if asked, documentation and plots."""

import argparse
import datetime
import json
import os
import re
import statistics
import subprocess

import plots
import scale_page

FRAMEWORKS = "vs_(libsoup|qt|beast|httplib)"

# What figures should be at most or at least, by their names.
AIMS = [
    (r"decode\..*\.vs_simdjson", "<=", 1.1),
    (r"decode\..*\.vs_nlohmann", "<=", 0.08),
    (r"decode\..*\.allocations_beyond", "<=", 0),
    (r"pipeline\.us_per_query", "<=", 2),
    (r"pipeline\.allocations", "<=", 30),
    (r"e2e\.latency\..*\.vs_(expert|multi|easy)", "<=", 1.05),
    (r"e2e\.latency\.(h2\.)?p50\.vs_qt", "<=", 1),  # the one that changes threads, too
    (r"e2e\.throughput\..*\.vs_(expert|multi|easy)", ">=", 0.95),
    (rf"e2e\.throughput\.(h2\.)?(16|64|256)\.{FRAMEWORKS}", ">=", 1),
    (r"e2e\.cpu\.(h2\.)?1\.vs_multi", "<=", 1.8),
    (r"e2e\.cpu\.(h2\.)?16\.vs_multi", "<=", 2),
    (rf"e2e\.cpu\..*\.{FRAMEWORKS}", "<=", 1),
    (r"e2e\.threads", "<=", 2),
    (r"network\..*h2\.tls13\.cold\..*", "<=", 4.2),
    (r"network\..*\.(prepared|next)\..*", "<=", 1.1),
    (r"network\..*\.after_idle_close\..*", "<=", 3.2),
    (r"scale\.decode_over_.*", "<=", 1.25),
    (r"scale\.rss_kb_growth.*", "<=", 256),
]

# Titles of tables and the figures in them: a row for each first group, a column for each second one.
TABLES = [
    ("Decoding a reply", r"decode\.(.*)\.(\w+)"),
    ("Latency on loopback, one question at a time", r"e2e\.latency\.(.*)\.(\w+)"),
    ("Throughput on loopback, by questions in flight", r"e2e\.throughput\.(.*)\.(\w+)"),
    ("Processor time for a question, by questions in flight", r"e2e\.cpu\.(.*)\.(\w+)"),
    ("Round trips until an answer, of 50 ms unless it says otherwise", r"network\.(.*)\.(\w+)\.round_trips"),
    ("The rest", r"((?:machine|pipeline|start|size|scale|fleet|e2e)\.\w+)()"),
]

BEGIN, END = "<!-- figures: begin -->\n", "<!-- figures: end -->\n"


def read(path):
    """Figures by name (medians, if measured more than once), points of plots, and bars of charts by their groups."""
    measured, points, bars = {}, {}, {}
    for line in open(path, encoding="utf-8"):
        name, *words = line.split()
        if name.startswith("plot."):
            points.setdefault(name.removeprefix("plot."), []).append(tuple(map(float, words)))
        elif name.startswith("bar."):
            group, bar, value = words
            groups = bars.setdefault(name.removeprefix("bar."), {})
            groups.setdefault(group, []).append((bar, float(value)))
        else:
            measured.setdefault(name, []).append(float(words[0]))
    figures = {name: statistics.median(values) for name, values in measured.items()}
    return figures, points, bars


def aim_of(name):
    return next(((sign, limit) for pattern, sign, limit in AIMS if re.fullmatch(pattern, name)), None)


def text_of(name, value):
    sign, limit = aim_of(name) or (None, 0)
    is_missed = value > limit if sign == "<=" else value < limit if sign == ">=" else False
    # What just misses must not look as if it did not.
    digits = f"{value:,.0f}" if value >= 1000 else f"{value:.{4 if is_missed else 3}g}"
    return f"**{digits}**" if is_missed else digits


def text_of_aims(aims):
    return f" ({aims[0][0]} {', '.join(str(limit) for _, limit in aims)})" if aims else ""


def table(figures, pattern):
    cells, columns = {}, {}
    for name, value in figures.items():
        if match := re.fullmatch(pattern, name):
            row, column = match.groups()
            cells.setdefault(row, {})[column] = text_of(name, value)
            columns.setdefault(column, {})[aim_of(name)] = None  # in order, and each once
    if "" in columns:  # of single figures, each has its own aim
        lines = [[row, values[""], " ".join(map(str, aim_of(row) or ""))] for row, values in cells.items()]
        header = ["", "figure", "aim"]
    else:
        lines = [[row, *(values.get(c, "") for c in columns)] for row, values in cells.items()]
        header = ["", *(c + text_of_aims([aim for aim in aims if aim]) for c, aims in columns.items())]
    widths = [max(map(len, column)) for column in zip(header, *lines)]
    rows = [header, ["-" * width for width in widths], *lines]
    join = lambda row: " | ".join(cell.ljust(width) for cell, width in zip(row, widths))
    return lines and "".join(f"| {join(row)} |\n" for row in rows)


def render(figures):
    cpu = re.search(r"model name\s*: (.*)", open("/proc/cpuinfo", encoding="utf-8").read())
    gcc = subprocess.run(["g++", "-dumpfullversion"], capture_output=True, text=True, check=True)
    text = (f"`./bench`, {datetime.date.today()}, {cpu[1] if cpu else 'unknown processor'}, {os.cpu_count()} "
            f"cores, gcc {gcc.stdout.strip()} -O2. What is bold misses its aim.\n")
    for title, pattern in TABLES:
        if rows := table(figures, pattern):
            text += f"\n## {title}\n\n{rows}"
    return text


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("figures")
    parser.add_argument("json")
    parser.add_argument("--docs", metavar="FILE")
    parser.add_argument("--scale", metavar="FILE")
    parser.add_argument("--plots", metavar="DIRECTORY")
    options = parser.parse_args()
    figures, points, bars = read(options.figures)
    with open(options.json, "w", encoding="utf-8") as file:
        json.dump(figures, file, indent=1)
    print(render(figures))
    if options.docs:
        before, rest = open(options.docs, encoding="utf-8").read().split(BEGIN)
        with open(options.docs, "w", encoding="utf-8") as file:
            file.write(before + BEGIN + "\n" + render(figures) + "\n" + END + rest.split(END)[1])
    if options.scale:
        scale_page.write(figures, options.scale)
    if options.plots:
        plots.draw_all(points, bars, options.plots)


if __name__ == "__main__":
    main()
