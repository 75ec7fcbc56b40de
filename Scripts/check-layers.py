#!/usr/bin/env python3
"""Checks that layers point only downward: no include runs up, and no library names one above it.

  check-layers.py ROOT

What counts as a name of an upper library is read from its own files: its folder's, those of its
public headers' classes and operations, and the paths that it asks of the service. The prefix that
the family shares is no name.
"""
import pathlib
import re
import sys

# From the lowest up. What stands in one list is equally high.
LIBRARIES = ["Platform", "QuorvelCoreSDK", "VeltraneProvidersSDK", "."]
UPPERMOST = LIBRARIES[2:]
FOLDERS = [["Settings", "Resources", "Models"], ["Providers"], ["Pellix"], ["Bridge"]]
PREFIX = r"PellixPlatform|PELLIX_|Pellix::(Platform|QuorvelCoreSDK)|pellix_(add_library|warnings)"


def sources(root, library):
    folders = [root / "Include", root / "Source"] if library == "." else [root / library]
    for folder in folders:
        for path in sorted(folder.rglob("*")):
            if path.suffix in {".h", ".cpp", ".in", ".plist"} or path.name == "CMakeLists.txt":
                yield path


def classes(root, library):
    found = set()
    for path in sources(root, library):
        if "Include" in path.parts:
            found |= set(re.findall(r"^(?:class|struct|enum class|typedef struct) (?:PELLIX_EXPORT )?"
                                    r"(\w+)\b(?!;|::)|^using ([A-Z][a-z]+[A-Z]\w+)",
                                    path.read_text(), re.MULTILINE))
    return {name for each in found for name in each if name}


def operations(root, library):
    """Names of functions. One word alone, like `instance`, is nobody's own."""
    return {name for path in sources(root, library) if "Include" in path.parts
            for name in re.findall(r"\b([a-z]+[A-Z]\w*)\(", path.read_text())}


def paths(root, library):
    """What is asked of the service."""
    return {name for path in sources(root, library)
            for name in re.findall(r"(?:\"|%@)(/\w+/[\w/]+)", path.read_text())}


def named(root):
    for height, library in enumerate(LIBRARIES[:-1]):
        uppers = LIBRARIES[height + 1:]
        words = set().union(*(classes(root, upper) for upper in uppers))
        if library != "VeltraneProvidersSDK":
            # An operation of the same name may be a lower library's too.
            own = set().union(*(operations(root, lower) for lower in LIBRARIES[:height + 1]))
            words |= set().union(*(operations(root, upper) - own for upper in UPPERMOST))
            words |= set().union(*(paths(root, upper) for upper in UPPERMOST))
        folders = [re.sub("(Providers)?SDK$", "", upper) for upper in uppers[:-1]]
        folders.append("Pellix")
        if library in LIBRARIES[:2]:
            folders.append("knowledge.?base")  # what one library above is about
        pattern = re.compile(rf"(?<!\w)(?:{'|'.join(map(re.escape, words))})\b"
                             rf"|(?i:{'|'.join(folders)})")
        for path in sources(root, library):
            where = str(path.relative_to(root))
            for number, line in enumerate(path.read_text().splitlines(), 1):
                if found := pattern.search(re.sub(PREFIX, "", line)):
                    yield f"{where}:{number} names what is above: {found[0]}"


class Heights:
    """How high each file stands: by its folder, or else by what it includes."""

    def __init__(self, root):
        self.root, self.known = root, {}
        self.files = {path: library for library in LIBRARIES for path in sources(root, library)}
        # By the name that others include it by; private headers of the siblings are their own affair.
        self.included = {re.sub(r".*(Include|Source)/", "", str(path)): path
                         for path, library in self.files.items()
                         if library == "." or "Include" in path.parts}

    def includes(self, path):
        for name in re.findall(r'^#include [<"]([^>"]+)', path.read_text(), re.MULTILINE):
            if target := self.included.get(name):
                yield name, target

    def of(self, path):
        if path not in self.known:
            self.known[path] = 0  # for headers that include each other
            self.known[path] = self.found(path)
        return self.known[path]

    def found(self, path):
        if self.files[path] != ".":
            return LIBRARIES.index(self.files[path])
        homes = {path.parent.name, path.stem}
        homes |= {code.parent.name for code in (self.root / "Source").rglob(path.stem + ".cpp")}
        for height, folders in enumerate(FOLDERS, len(LIBRARIES)):
            if homes & set(folders):
                return height
        return max((self.of(target) for _, target in self.includes(path)), default=0)


def upward(root):
    heights = Heights(root)
    for path in heights.files:
        for name, target in heights.includes(path):
            where = str(path.relative_to(root))
            if heights.of(target) > heights.of(path):
                yield f"{where} includes upward: {name}"


def main(root):
    root = pathlib.Path(root)
    faults = [*named(root), *upward(root)]
    print("\n".join(faults))
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
