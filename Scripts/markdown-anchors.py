#!/usr/bin/env python3
"""Names the headings of a page for Doxygen 1.9, which makes no anchors for them by itself, and has the
links to them say so: those within the page, and those of other pages.

  markdown-anchors.py PAGE
"""
import pathlib
import re
import sys


def anchor(page: str, heading: str) -> str:
    """As the pages' other readers make it out of a heading, after the page's name."""
    return f"{pathlib.Path(page).stem}-{heading}".lower()


def slug(heading: str) -> str:
    return re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")


page = sys.argv[1]
in_code = False
for line in pathlib.Path(page).read_text().splitlines():
    in_code ^= line.startswith("```")
    if not in_code:
        if match := re.match(r"##+ (.*)$", line):
            line += f" {{#{anchor(page, slug(match[1]))}}}"
        line = re.sub(r"\]\((?:[\w./]*?(\w+)\.md)?#([^)]*)\)",
                      lambda link: f"](#{anchor(link[1] or page, link[2])})", line)
    print(line)
