#!/usr/bin/env python3
"""Checks that the page on the public interface and the headers say the same.

  check-interface.py ROOT [INSTALLED]

ROOT is the project's, INSTALLED the include directory of an installation. Each header is listed once,
in the section of its library, with all that it exports (but for C); what else a row names stands in
the header. The codes of errors are the same in C and in C++.
Headers in folders called internal are the family's own: not listed, nor included by those that are.
What the headers and the symbols have to do with each other, check-exports.py checks.
"""
import importlib.util
import pathlib
import re
import sys

scripts = pathlib.Path(__file__).parent
spec = importlib.util.spec_from_file_location("exports", scripts / "check-exports.py")
exports = importlib.util.module_from_spec(spec)
spec.loader.exec_module(exports)


def headers(root):
    for library, include in {"PellixProvidersSDK": "Include", "PellixPlatform": "Platform/Include",
                             **{name: f"{name}/Include" for name in
                                ("QuorvelCoreSDK", "VeltraneProvidersSDK")}}.items():
        for header in (root / include / library).glob("*.h"):
            yield f"{library}/{header.name}", header


def rows(page):
    section = ""
    for line in page.read_text().splitlines():
        if line.startswith("### "):
            section = line[4:]
        elif row := re.match(r"\| `(\w+\.h)` \|(.*)\|$", line):
            yield f"{section}/{row[1]}", set(re.findall(r"`([\w:]+)`", row[2]))


def exported(header):
    found = exports.Declarations.__new__(exports.Declarations)
    found.functions, found.classes = set(), set()
    found.read(exports.bare(header.read_text()))
    names = {name.split("::", 1)[-1] for name in found.functions | found.classes}
    classes = {name.split("::", 1)[1] for name in found.classes}
    return {name for name in names if name in classes or name.rpartition("::")[0] not in classes}


def differing_codes(root):
    """Codes of errors that C and C++ do not have alike, with their numbers and sentences."""
    for cpp, c in (("Platform/Include/PellixPlatform/DecodingError.h", "QVLPlatform.h"),
                   ("Platform/Include/PellixPlatform/EncodingError.h", "QVLPlatform.h"),
                   ("QuorvelCoreSDK/Include/QuorvelCoreSDK/CoreError.h", "QVLQuorvelCore.h"),
                   ("VeltraneProvidersSDK/Include/VeltraneProvidersSDK/VeltraneError.h",
                    "QVLVeltrane.h")):
        header = (root / cpp).read_text()
        name, body = re.search(r"enum class (\w+)Code .*?\{(.*?)\};", header, re.DOTALL).groups()
        bodies = re.findall(r"(\w+) = (\d+), *///< (.*)", body)
        declared = (root / cpp).with_name(c).read_text()
        there = re.findall(rf"/\* (.*) \*/\n *QVL{name}(\w+) = (\d+)", declared)
        there = {(code[0].lower() + code[1:], number, says) for says, code, number in there}
        yield from (f"{c} and {cpp} differ: {each}" for each in sorted(there ^ set(bodies)))
        if name == "CoreError":
            java = (root / "Bindings/Java/com/pellix/CoreError.java").read_text()
            there = {(re.sub("_(.)", lambda m: m[1].upper(), code.lower()), number, says)
                     for says, code, number in re.findall(
                         r"/\*\* (.*) \*/\n.* int (\w+) = (\d+);", java)}
            yield from (f"CoreError.java differs: {each}" for each in sorted(there ^ set(bodies)))


def main(root, installed=None):
    root = pathlib.Path(root)
    declared = dict(headers(root))
    listed = list(rows(root / "Docs/PublicInterface.md"))
    names = [name for name, _ in listed]
    faults = list(differing_codes(root))
    faults += [f"not listed: {name}" for name in declared if name not in names]
    faults += [f"listed, but not there or twice: {name}" for name in names
               if name not in declared or names.count(name) > 1]
    for name, mentioned in listed:
        if header := declared.get(name):
            faults += [f"{name}: does not mention {each}" for each in exported(header) - mentioned
                       if not each.startswith("QVL") or each in name]
            faults += [f"{name}: mentions {each}" for each in mentioned
                       if not re.search(rf"\b{each.split('::')[-1]}\b", header.read_text())]
    faults += [f"{name}: includes what is not public: {each}" for name, header in declared.items()
               for each in re.findall(r"#include <(.*/internal/.*)>", header.read_text())]
    if installed:
        there = {str(path.relative_to(installed)) for path in pathlib.Path(installed).rglob("*.h")}
        kit = {name for name in there if "Testing/" in name}
        faults += [f"not installed: {name}" for name in declared.keys() - there]
        faults += [f"installed, but not public: {name}" for name in there - declared.keys() - kit]
    print("\n".join(sorted(faults)))
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
