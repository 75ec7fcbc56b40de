#!/usr/bin/env python3
"""Looks at programs and libraries.

check-binaries.py DIRECTORY             none below looks for libraries in the working directory
check-binaries.py DIRECTORY PATH...     what is installed below is hardened too, and holds none of the
                                        paths of this machine
"""

import os
import pathlib
import re
import subprocess
import sys

ENDBR64 = b"\xf3\x0f\x1e\xfa"


def readelf(*arguments):
    return subprocess.run(
        ["readelf", "--wide", *arguments],
        capture_output=True,
        text=True,
        check=True,
        env={**os.environ, "LC_ALL": "C"},  # what it says is read
    ).stdout


def kind_of(file):
    with file.open("rb") as opened:
        start = opened.read(20)
    if start.startswith(b"!<arch>\n"):
        return "archive"
    if start.startswith(b"\x7fELF") and start[16] in (2, 3):
        return "program or library"
    return None


def search_path_faults(file):
    for path in re.findall(r"\((?:RUNPATH|RPATH)\)\s+Library \w+: \[(.*)\]", readelf("-d", file)):
        if not all(entry.startswith(("/", "$ORIGIN")) for entry in path.split(":")):
            yield f"looks for libraries in [{path}]"


def hardening_faults(file, kind):
    symbols = readelf("--symbols", file)
    if "__stack_chk_fail" not in symbols:
        yield "has no stack protector"
    header = readelf("-h", file)
    if "X86-64" in header and file.read_bytes().count(ENDBR64) < 10:
        yield "has no protected control flow"
    if kind == "archive":
        return
    if "GNU_RELRO" not in readelf("-l", file):
        yield "can have its relocations written to"
    dynamic = readelf("-d", file)
    if "BIND_NOW" not in dynamic and not re.search(r"FLAGS_1.*NOW", dynamic):
        yield "binds late"
    if "DYN (" not in header:
        yield "is not independent of its position"


def is_fortified(file):
    """Whether it uses a function that checks sizes. What has no use for any shows nothing."""
    return re.search(r"UND __(?!stack)\w+_chk\b", readelf("--symbols", file))


def path_faults(file, paths):
    content = file.read_bytes()
    for path in paths:
        if path.encode() in content:
            yield f"holds the path {path}"


def main(directory, *paths):
    files = {file.resolve() for file in pathlib.Path(directory).rglob("*") if file.is_file()}
    kinds = {file: kind for file in sorted(files) if (kind := kind_of(file))}
    faults = []
    for file, kind in kinds.items():
        if kind != "archive":
            faults += [f"{file} {fault}" for fault in search_path_faults(file)]
        if paths:
            faults += [f"{file} {fault}" for fault in hardening_faults(file, kind)]
            faults += [f"{file} {fault}" for fault in path_faults(file, paths)]
    if paths and not any(map(is_fortified, kinds)):
        faults.append(f"nothing in {directory} is fortified")
    if not kinds:
        faults.append(f"{directory} holds no program and no library")
    sys.exit("\n".join(faults) or 0)


if __name__ == "__main__":
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    main(*sys.argv[1:])
