#!/usr/bin/env python3
"""Makes files readable for Doxygen 1.9, which prints it in their place.

  doxygen-filter.py FILE

Pages: headings get anchors, which Doxygen does not make by itself; links to them say so, those to headers
name them, and pictures are found by their names. Headers: comments of those in C become documentation;
what is private, or a friend, is left out, for Doxygen would link to it and not show it. So are the names
of Java's own classes as links, and a base that is not public.
"""
import pathlib
import re
import sys


def anchor(page: str, heading: str) -> str:
    """As the pages' other readers make it out of a heading, after the page's name."""
    return f"{pathlib.Path(page).stem}-{heading}".lower()


def slug(heading: str) -> str:
    return re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")


def markdown(page: str, text: str) -> None:
    in_code = False
    for line in text.splitlines():
        in_code ^= line.startswith("```")
        if not in_code:
            if match := re.match(r"##+ (.*)$", line):
                line += f" {{#{anchor(page, slug(match[1]))}}}"
            line = re.sub(r"\]\((?:[\w./]*?(\w+)\.md)?#([^)]*)\)",
                          lambda link: f"](#{anchor(link[1] or page, link[2])})", line)
            line = re.sub(r"\]\([\w./]+/(\w+\.h)\)", r"](@ref \1)", line)
            line = re.sub(r"(!\[[^]]*\]\()[\w./]+/", r"\1", line)
        print(line)


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


file = pathlib.Path(sys.argv[1])
content = file.read_text()
if file.suffix == ".md":
    markdown(file.name, content)
elif file.suffix == ".java":
    print(java(content))
else:
    print(c_header(content) if file.name.startswith("QVL") else header(content))
