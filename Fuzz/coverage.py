#!/usr/bin/env python3
"""Prints, as tables, which of the lines that targets are meant to reach (reach.toml) are reached.

  coverage.py TARGET=LCOV_FILE...
"""
import collections
import fnmatch
import os
import pathlib
import re
import subprocess
import sys
import tomllib

here = pathlib.Path(__file__).resolve().parent


def short(names):
    """Demangled names by their mangled ones: without namespaces, arguments, and lambdas within them."""
    plain = [name.split(":")[-1] for name in names]  # a static one has its file's name before it
    shown = subprocess.run(["llvm-cxxfilt-19", "--no-params"], input="\n".join(plain), text=True,
                           capture_output=True, check=True).stdout.splitlines()
    for name, text in zip(names, shown):
        text = text.replace("(anonymous namespace)::", "")
        while (cut := re.sub(r"<[^<>]*>", "", text)) != text:
            text = cut
        text = re.sub(r"::(\$_\d|'lambda|\{lambda).*|\[abi:\w+\]|\(.*", "", text).split(" ")[-1]
        yield name, re.sub(r"^(PellixPlatform|QuorvelCoreSDK|VeltraneProvidersSDK|PellixProvidersSDK|PellixApp)::", "", text)


def read(file):
    """The functions, by their first line, and the counts, by line, of each source file."""
    sources = {}
    for line in pathlib.Path(file).read_text().splitlines():
        kind, _, rest = line.partition(":")
        if kind == "SF":
            functions, counts = sources[os.path.normpath(rest)] = {}, {}
        elif kind == "FN":
            functions[int(rest.split(",")[0])] = rest.split(",", 1)[1]
        elif kind == "DA":
            number, count = rest.split(",")
            counts[int(number)] = int(count)
    return sources


def look(reach, sources):
    """How many lines there are, and how many of them are reached; those of functions with missed ones."""
    lines, reached = 0, 0
    functions = collections.defaultdict(lambda: [0, 0])  # lines, reached
    for pattern in reach["sources"]:
        files = sorted(here.parent.glob(pattern))
        if not files:
            sys.exit(f"There is no {pattern}.")
        for path in files:
            starts, counts = sources.get(str(path), ({}, {}))
            names = dict(short(sorted(set(starts.values())))) if starts else {}
            for number, count in sorted(counts.items()):
                start = max((at for at in starts if at <= number), default=None)
                row = functions[path.name, names[starts[start]] if start else "?"]
                row[0] += 1
                row[1] += count > 0
                lines += 1
                reached += count > 0
    return lines, reached, {place: row for place, row in functions.items() if row[0] > row[1]}


table = tomllib.loads((here / "reach.toml").read_text())
missed = []
print("| target | lines meant | reached | share |\n|---|---:|---:|---:|")
for target, file in (argument.split("=") for argument in sys.argv[1:]):
    lines, reached, functions = look(table[target], read(file))
    print(f"| `{target}` | {lines} | {reached} | {100 * reached / lines:.1f} % |")
    missed += [(target, *place, *row) for place, row in functions.items()]

# Functions that are missed for the same reason stand together; those without one come first.
rows = collections.defaultdict(list)
for target, file, function, lines, reached in missed:
    reasons = table[target].get("missed", {})
    reason = next((why for names, why in reasons.items()
                   if any(fnmatch.fnmatchcase(function, name) for name in names.split())), "")
    count = "" if reached == 0 else f" ({lines - reached} of {lines})"
    rows[target, reason].append(f"`{function}`{count}")
print("\n| target | functions, and how many of their lines if not all | missed, since |\n|---|---|---|")
for (target, reason), functions in sorted(rows.items()):
    print(f"| `{target}` | {', '.join(functions)} | {reason} |")
