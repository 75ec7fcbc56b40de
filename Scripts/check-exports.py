#!/usr/bin/env python3
"""Checks that shared libraries export what their public headers declare: all of it, nothing else.

  check-exports.py NM LIBRARY=HEADERS...

LIBRARY is a shared library's file, HEADERS the directory of its headers: public ones and, in a folder
called internal, those for the other libraries of the family. In C++, the members of classes marked
PELLIX_EXPORT are exported, unless they are inline, and so are functions and constants that are so
marked; besides, the compiler's tables for such classes. In C it is every function of a header, and
constants so marked. Overloads are one.
"""
import pathlib
import re
import subprocess
import sys


def bare(text):
    """A header without comments, preprocessor lines and attributes."""
    text = re.sub(r"//[^\n]*|/\*.*?\*/", "", text, flags=re.DOTALL)
    return re.sub(r"^#[^\n]*|\[\[.*?\]\]", "", text, flags=re.MULTILINE)


def repeatedly(pattern, replacement, text):
    while (replaced := re.sub(pattern, replacement, text)) != text:
        text = replaced
    return text


def body_from(text, begin):
    """What stands within the braces that open at a place."""
    depth = 0
    for end in range(begin, len(text)):
        depth += {"{": 1, "}": -1}.get(text[end], 0)
        if depth == 0:
            return text[begin + 1:end]
    raise ValueError("unbalanced braces")


def members(body):
    """The functions that a class declares and does not define."""
    body = body.replace("= {}", "")
    body = repeatedly(r"\{[^{}]*\}", "\0", body).replace("\0", "{}")
    body = repeatedly(r"<[^<>]*>", "", body)
    body = re.sub(r"\b(public|protected|private):", "", body)
    for statement in re.findall(r"([^;{}]*)(?:;|\{\};?)(?<!\})", body):
        if re.search(r"\b(using|friend|typedef)\b|= (0|default|delete)\s*$", statement):
            continue
        if found := re.search(r"(~?\w+|operator\W+)\(", statement):
            yield found[1]


class Declarations:
    def __init__(self, directory):
        self.functions = set()  # and constants
        self.classes = set()
        for header in sorted(pathlib.Path(directory).rglob("*.h")):
            text = header.read_text()
            if "#pragma GCC visibility push(default)" in text:
                self.functions.update(re.findall(r"^(?!typedef)[\w *]+?\b(QVL(?!_)\w+)\(", bare(text),
                                                 re.MULTILINE))
            self.read(bare(text))

    def read(self, text):
        for found in re.finditer(r"\bPELLIX_EXPORT\b", text):
            spaces = re.findall(r"^namespace ([\w:]+) \{", text[:found.start()], re.MULTILINE)
            space = f"{spaces[-1]}::" if spaces else ""
            declaration = re.match(r"[^;{]*", text[found.end():])[0]
            if text[:found.start()].endswith("class "):
                name = space + re.match(r"\s*(\w+)", declaration)[1]
                self.classes.add(name)
                body = body_from(text, text.index("{", found.end()))
                self.functions.update(f"{name}::{member}" for member in members(body))
            else:
                declaration = repeatedly(r"<[^<>]*>", "", declaration)
                self.functions.add(space + re.search(r"(\w+)\s*(?:\(|\[|$)", declaration)[1])


def exports(nm, library):
    """What a library exports: functions and constants, and the classes that have tables."""
    listing = subprocess.run([nm, "-D", "--defined-only", "--demangle", library],
                             check=True, capture_output=True, text=True).stdout
    functions, tables = set(), set()
    for line in listing.splitlines():
        symbol = line.split(" ", 2)[2]
        if table := re.fullmatch(r"(?:vtable|typeinfo|typeinfo name) for (.*)", symbol):
            tables.add(table[1])
        else:
            functions.add(re.sub(r"\[abi:\w+\]", "", symbol).split("(")[0])
    return functions, tables


def main(nm, *pairs):
    faults = []
    for library, directory in (pair.split("=") for pair in pairs):
        declared = Declarations(directory)
        functions, tables = exports(nm, library)
        extra = (functions - declared.functions) | (tables - declared.classes)
        faults += [f"{library} exports what is not public: {name}" for name in sorted(extra)]
        faults += [f"{library} does not export: {name}"
                   for name in sorted(declared.functions - functions)]
        print(f"{library}: {len(functions)} functions and constants, {len(tables)} classes")
    print("\n".join(faults))
    return 1 if faults or not pairs else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
