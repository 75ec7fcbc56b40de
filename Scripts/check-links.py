#!/usr/bin/env python3
"""Looks for links within a site that lead nowhere: to a file or a heading that is not there.

check-links.py DIRECTORY
"""
import html.parser
import pathlib
import re
import sys
import urllib.parse


class Page(html.parser.HTMLParser):
    def __init__(self, path: pathlib.Path) -> None:
        super().__init__()
        self.anchors: set[str] = set()
        self.links: set[str] = set()
        self.feed(path.read_text())

    def handle_starttag(self, tag: str, attrs: list[tuple[str, str | None]]) -> None:
        for name, value in attrs:
            if name == "id" or (tag == "a" and name == "name"):
                self.anchors.add(value or "")
            elif name in ("href", "src", "data"):
                self.links.add(value or "")


root = pathlib.Path(sys.argv[1]).resolve()
pages = {path: Page(path) for path in root.rglob("*.html")}
# The menu is made by a script.
menu = re.findall(r"url:[\"']([^\"']+)", (root / "menudata.js").read_text())
pages[root / "index.html"].links.update(menu)
dead = []
for path, page in pages.items():
    for link in page.links:
        url = urllib.parse.urlsplit(link)
        if url.scheme or link.startswith("//"):
            continue
        target = (path.parent / urllib.parse.unquote(url.path)).resolve() if url.path else path
        anchor = urllib.parse.unquote(url.fragment)
        if not target.is_file():
            dead.append(f"{path.name}: {link}: no such file")
        elif anchor and target in pages and anchor not in pages[target].anchors:
            dead.append(f"{path.name}: {link}: no such heading")
sys.exit("\n".join(sorted(dead)) or (0 if pages else f"{root} holds no page"))
