#!/usr/bin/env python3
"""Copies the pages and the public sources, readable for Doxygen 1.9.

doxygen-sources.py DESTINATION

Pages: headings get anchors, which Doxygen does not make by itself; links to them say so, those to headers
name them, and pictures are found by their names. Headers: comments of those in C become documentation;
what is private, or a friend, is left out, for Doxygen would link to it and not show it. So are links to
Java's own classes, and a base that is not public. Python: all of the package is one module.
"""
import pathlib
import re
import shutil
import sys


def anchor(page: str, heading: str) -> str:
    """As the pages' other readers make it out of a heading, after the page's name."""
    return f"{pathlib.Path(page).stem}-{heading}".lower()


def slug(heading: str) -> str:
    return re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")


def markdown(page: str, text: str) -> str:
    in_code = False
    lines = []
    for line in text.splitlines():
        in_code ^= line.startswith("```")
        if not in_code:
            if match := re.match(r"##+ (.*)$", line):
                line += f" {{#{anchor(page, slug(match[1]))}}}"
            line = re.sub(r"\]\((?:[\w./]*?(\w+)\.md)?#([^)]*)\)",
                          lambda link: f"](#{anchor(link[1] or page, link[2])})", line)
            line = re.sub(r"\]\([\w./]+/(\w+\.h)\)", r"](@ref \1)", line)
            line = re.sub(r"(!\[[^]]*\]\()[\w./]+/", r"\1", line)
        lines.append(line)
    return "\n".join(lines) + "\n"


def c_header(text: str) -> str:
    text = text.replace("\n/*\n", "\n/** @file\n", 1)
    text = re.sub(r"^/\* (?!----|NOLINT)", "/** ", text, flags=re.M)
    return re.sub(r"([;,]|\d) /\* (.*\*/)$", r"\1 /**< \2", text, flags=re.M)


def header(text: str) -> str:
    text = re.sub(r"^.*friend bool operator==.*\n", "", text, flags=re.M)
    return re.sub(r"^ private:\n.*?(?=^ (?:public|protected):|^};)", "", text, flags=re.M | re.S)


def java(text: str) -> str:
    text = re.sub(r"\{@link\s+([^}\s]+)[^}]*\}", r"\1", text)
    return text.replace(" extends NativeObject", "")


def readable(file: pathlib.Path, text: str) -> str:
    if file.suffix == ".md":
        return markdown(file.name, text)
    if file.suffix == ".h":
        return c_header(text) if file.name.startswith("QVL") and "extern \"C\"" in text else header(text)
    return java(text) if file.suffix == ".java" else text


destination = pathlib.Path(sys.argv[1])
libraries = (".", "Platform", "QuorvelCoreSDK", "QuorvelCoreSDK/Testing", "VeltraneProvidersSDK", "Testing")
folders = ["Docs", "Bindings/Java/com", *(f"{name}/Include" for name in libraries)]
files = [path for folder in folders for path in pathlib.Path(folder).rglob("*") if path.is_file()]
for file in [*files, *pathlib.Path().glob("*.md")]:
    copy = destination / file
    copy.parent.mkdir(parents=True, exist_ok=True)
    if file.suffix in (".md", ".h", ".java"):
        copy.write_text(readable(file, file.read_text()))
    else:
        shutil.copy(file, copy)
# The Python package offers under its own name what its modules hold.
modules = pathlib.Path("Bindings/Python/src/pellix")
names = ("__init__", "_client", "_records", "_errors")
(destination / "Bindings/pellix.py").write_text(
    "".join((modules / f"{name}.py").read_text() for name in names))
