#!/usr/bin/env python3
"""Says what shared libraries hold, by part, as rows of a table: of their code, which sources it comes
from, by the linker's maps; of the rest, what it is for.

  size-by-part.py LIBRARY=MAP...

LIBRARY is a stripped library's file, MAP what the linker wrote when it made it.
"""
import pathlib
import re
import subprocess
import sys
from collections import Counter

# The first pattern that a source's path matches names its part.
SOURCES = {
    r"/Bridge/": "code: the C interface",
    r"/Models/|/(JSON|Decod|Encod|Numbers|Tree|Double)": "code: records, and what reads and writes them",
    r"/(Curl|Sockets|Network|TlsContext|Inheritance)": "code: the transport",
    r"^/QuorvelCoreSDK/": "code: the rest of the core",
    r"^/VeltraneProvidersSDK/": "code: the knowledge base",
    r"^/Platform/": "code: the rest of the platform",
    r"": "code: the provider, its settings and resources",
}
SECTIONS = {
    r"\.text|\.init$|\.fini$": None,  # code, which goes by its sources
    r"\.eh_frame|\.gcc_except_table": "tables for exceptions and debuggers",
    r"\.dynsym|\.dynstr|\.gnu\.(hash|version)": "names of what is exported and imported",
    r"\.rel|\.plt|\.got|\.dynamic": "relocations and jumps to other libraries",
    r"\.rodata|\.data|\.init_array|\.fini_array": "constants, names of types, tables of functions",
}


def part_of(name, parts):
    return next((part for pattern, part in parts.items() if re.search(pattern, name)), None)


def sections(library):
    """The name and the size of each section that has bytes in the file."""
    listing = subprocess.run(["readelf", "--wide", "--sections", library],
                             capture_output=True, text=True, check=True).stdout
    for name, kind, size in re.findall(r"\] (\.\S+)\s+(\S+)\s+\w+ \w+ (\w+)", listing):
        if kind != "NOBITS":
            yield name, int(size, 16)


def code(map_file):
    """The source and the size of each piece of code."""
    text = pathlib.Path(map_file).read_text().split("Linker script and memory map", 1)[1]
    for size, source in re.findall(r"^ \.text\S*\s+0x\w+\s+0x(\w+) (\S+\.o)\S*$", text, re.MULTILINE):
        yield source, int(size, 16)


def main(*pairs):
    parts = Counter()
    whole = 0
    for library, map_file in (pair.split("=") for pair in pairs):
        whole += pathlib.Path(library).stat().st_size
        for name, size in sections(library):
            if part := part_of(name, SECTIONS):
                parts[part] += size
        for source, size in code(map_file):
            parts[part_of("/" + source, SOURCES)] += size
    for part, size in sorted(parts.items()):
        print(f"| {part} | {size} |")
    print(f"| headers, and what is left empty up to the next page | {whole - parts.total()} |")


if __name__ == "__main__":
    main(*sys.argv[1:])
