#!/usr/bin/python3
"""Puts faults into the sources, one at a time, and lists those that no test sees.

Run by ./test --mutants; what it means and what came of it stands in Docs/Testing.md. It takes
Debian's own Python, which the bindings of libclang are made for.
"""

import argparse
import concurrent.futures
import dataclasses
import functools
import hashlib
import json
import multiprocessing
import os
import pathlib
import random
import re
import signal
import subprocess
import sys
import threading
import time

import changes
from bench import Bench, Processes, Stopped

ROOT = pathlib.Path(__file__).resolve().parents[2]
PLACE = ROOT / "build" / "mutants"
FOLDERS = ["Source", "QuorvelCoreSDK/Source", "Platform/Source"]

# What the tests try.
TRIED = ("Include/", "Source/", "QuorvelCoreSDK/", "VeltraneProvidersSDK/", "Platform/")

# How much of what is not equivalent must be killed, and how much may be equivalent.
WANTED = {"Source": 0.95, "": 0.90}
EQUIVALENT = 0.05


def arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(prog="./test --mutants", description=__doc__)
    parser.add_argument("number", type=int, nargs="?", default=0, help="of faults")
    parser.add_argument("--seed", type=int, help="what chooses them; drawn and told if not given")
    parser.add_argument("--folder", action="append", help=f"instead of {', '.join(FOLDERS)}")
    parser.add_argument("--patch", action="append", default=[], help="a fault of your own")
    parser.add_argument("--tests", action="append", default=[], help="a folder of Tests/ alone")
    parser.add_argument("--copies", type=int, default=os.cpu_count(), help="that run side by side")
    parser.add_argument("--list", action="store_true", help="the faults without trying them")
    return parser.parse_args()


def source_files() -> list[str]:
    listed = subprocess.run(["git", "ls-files", "-coz", "--exclude-standard"], cwd=ROOT,
                            check=True, capture_output=True).stdout  # fmt: skip
    names = sorted(name for name in listed.decode().split("\0") if name)
    return [name for name in names if (ROOT / name).is_file()]


def digest(files: list[str]) -> str:
    total = hashlib.sha256()
    for file in files:
        total.update(file.encode() + b"\0" + (ROOT / file).read_bytes() + b"\0")
    return total.hexdigest()


def say(text: str) -> None:
    print(text, flush=True)


def duration(seconds: float) -> str:
    return f"{seconds / 60:.1f} min" if seconds >= 60 else f"{seconds:.1f} s"


@functools.cache
def source(file: str) -> bytes:
    """As it was when it was asked for first; it may be edited meanwhile."""
    return (ROOT / file).read_bytes()


@dataclasses.dataclass
class Fault:
    """One change with what shows it to people."""

    change: changes.Change
    line: int
    before: str
    after: str

    @classmethod
    def of(cls, change: changes.Change) -> "Fault":
        return cls(change, *change.lines(source(change.file)))

    def key(self) -> tuple[str, str, str]:
        return self.change.file, self.before, self.after

    def __str__(self) -> str:
        return f"{self.change.file}:{self.line} {self.change.kind}"

    def diff(self) -> str:
        return f"{self}\n  - {self.before}\n  + {self.after}"


def all_places(bench: Bench, folders: list[str]) -> list[list[changes.Change]]:
    """For each place the changes that can be made there, in the order of the sources. It takes a
    minute, so they are kept."""
    origins = tuple(f"{folder}/" for folder in [*folders, "Scripts/Mutants"])
    looked_at = [file for file in source_files() if file.startswith(origins)]
    kept = PLACE / f"places-{digest(looked_at)[:16]}.json"
    if kept.exists():
        listed = json.loads(kept.read_text())
        return [[changes.Change(**change) for change in place] for place in listed]
    entries = json.loads((bench.build / "compile_commands.json").read_text())
    copied = [bench.source / folder for folder in folders]
    inside = lambda e: any(pathlib.Path(e["file"]).is_relative_to(folder) for folder in copied)
    jobs = [(bench.source, folders, e["directory"], e["command"], e["file"])
            for e in entries if inside(e)]  # fmt: skip
    places: dict[tuple, set] = {}
    with multiprocessing.Pool() as pool:
        for found in pool.imap_unordered(changes.find, jobs):
            for place, there in found.items():
                places.setdefault(place, set()).update(there)
    by_text = lambda change: (change.start, change.end, change.kind, change.text)
    result = [sorted(places[place], key=by_text) for place in sorted(places)]
    kept.write_text(json.dumps(result, default=dataclasses.asdict))
    return result


def known_equivalents() -> set[tuple[str, str, str]]:
    """What Docs/Testing.md names: the file, and the line before and after, wherever it stands."""
    page = (ROOT / "Docs" / "Testing.md").read_text()
    form = re.compile(r"^```diff\n(\S+)\n-(.*)\n\+(.*)\n```$", re.MULTILINE)
    return {(file, " ".join(a.split()), " ".join(b.split())) for file, a, b in form.findall(page)}


class Journal:
    """What became of each fault, kept so that a run goes on where it was stopped. If only tests
    have changed since then, those that survived are tried again, and the others stay killed."""

    def __init__(self, path: pathlib.Path, sources: str, tests: str):
        self.path, self.entries = path, {}
        text = path.read_text() if path.exists() else ""
        lines = [json.loads(line) for line in text.splitlines()]
        if lines and lines[0]["sources"] == sources:
            same = lines[0]["tests"] == tests
            kept = [entry for entry in lines[1:] if same or entry["outcome"] != "survived"]
            if not same:
                say("The tests have changed: what survived is tried again.")
            self.entries = {entry["fault"]: entry for entry in kept}
        path.parent.mkdir(parents=True, exist_ok=True)
        with path.open("w") as file:
            for entry in [{"sources": sources, "tests": tests}, *self.entries.values()]:
                print(json.dumps(entry), file=file)

    def add(self, fault: str, outcome: str, killer: str) -> None:
        entry = {"fault": fault, "outcome": outcome, "killer": killer}
        self.entries[fault] = entry
        with self.path.open("a") as file:
            print(json.dumps(entry), file=file)


class Run:
    def __init__(self, benches: list[Bench], plan: dict, journal: Journal, number: int):
        self.benches, self.plan, self.journal, self.number = benches, plan, journal, number
        self.lock = threading.Condition()
        self.under_way = 0
        self.results: list[tuple[Fault, str]] = []
        self.started = time.monotonic()

    def try_all(self, places: list[list[Fault]]) -> None:
        """Tries one fault at each place until the number is reached; a place at which none compiles
        does not count, so another takes its turn."""
        waiting = iter(places)
        with concurrent.futures.ThreadPoolExecutor(len(self.benches)) as pool:
            for work in [pool.submit(self.work, bench, waiting) for bench in self.benches]:
                work.result()

    def work(self, bench: Bench, waiting) -> None:
        while True:
            with self.lock:
                while self.under_way and len(self.results) + self.under_way >= self.number:
                    self.lock.wait(1)
                place = next(waiting, None) if len(self.results) < self.number else None
                if place is None:
                    return
                self.under_way += 1
            try:
                self.try_place(bench, place)
            finally:
                with self.lock:
                    self.under_way -= 1
                    self.lock.notify_all()

    def try_place(self, bench: Bench, place: list[Fault]) -> None:
        for fault in place:
            started = time.monotonic()
            name = json.dumps(dataclasses.asdict(fault.change))
            entry = self.journal.entries.get(name)
            if entry:
                outcome, killer = entry["outcome"], entry["killer"]
            else:
                outcome, killer = self.judge(bench, fault.change)
            with self.lock:
                if not entry:
                    self.journal.add(name, outcome, killer)
                if outcome == "invalid":
                    continue
                self.results.append((fault, outcome))
                if not entry:
                    self.tell(fault, outcome, killer, time.monotonic() - started)
            return

    def judge(self, bench: Bench, change: changes.Change) -> tuple[str, str]:
        path = bench.source / change.file
        source = path.read_bytes()
        path.write_bytes(change.apply(source))
        try:
            return bench.judge(change.file, self.plan)
        finally:
            path.write_bytes(source)

    def tell(self, fault: Fault, outcome: str, killer: str, seconds: float) -> None:
        so_far = duration(time.monotonic() - self.started)
        by = f" by {killer}" if killer else ""
        progress = f"{len(self.results)}/{self.number} {so_far}"
        say(f"[{progress}] {fault}: {outcome}{by} ({seconds:.1f} s)")
        if outcome == "survived":
            say("\n".join(fault.diff().splitlines()[1:]))


def report(results: list[tuple[Fault, str]], folders: list[str]) -> bool:
    """Sums up, and says whether enough was killed."""
    equivalents = known_equivalents()
    good = True
    listed = []
    total_equivalent = 0
    for folder in folders:
        mine = [(f, o) for f, o in results if f.change.file.startswith(folder.rstrip("/") + "/")]
        named = [f for f, o in mine if f.key() in equivalents and o == "survived"]
        wrong = [f for f, o in mine if f.key() in equivalents and o != "survived"]
        survivors = [f for f, o in mine if o == "survived" and f.key() not in equivalents]
        killed = sum(o == "killed" for _, o in mine)
        total_equivalent += len(named)
        listed += survivors
        share = killed / max(1, killed + len(survivors))
        wanted = WANTED.get(folder.split("/")[0], WANTED[""])
        good = good and share >= wanted and not wrong
        say(f"{folder}: {killed} of {killed + len(survivors)} killed ({share:.0%}; "
            f"{wanted:.0%} wanted), {len(named)} equivalent")  # fmt: skip
        for fault in wrong:
            say(f"named as equivalent, but killed: {fault.diff()}")
    if total_equivalent > EQUIVALENT * len(results):
        say("More than one in twenty is equivalent.")
        good = False
    if listed:
        say("\nSurvivors:")
        for fault in sorted(listed, key=lambda f: (f.change.file, f.line)):
            say(fault.diff())
    return good


def try_patches(bench: Bench, plan: dict, patches: list[str]) -> bool:
    """Tries faults that somebody wrote."""
    all_killed = True
    for patch in patches:
        started = time.monotonic()
        text = pathlib.Path(patch).read_text()
        files = re.findall(r"^\+\+\+ b/(\S+)", text, re.MULTILINE)
        before = {file: (bench.source / file).read_bytes() for file in files}
        subprocess.run(["patch", "-p1", "-s", "--no-backup-if-mismatch"], cwd=bench.source,
                       input=text.encode(), check=True)  # fmt: skip
        try:
            outcome, killer = bench.judge(files[0], plan)
        finally:
            for file, content in before.items():
                (bench.source / file).write_bytes(content)
        by = f" by {killer}" if killer else ""
        say(f"{patch}: {outcome}{by} ({time.monotonic() - started:.1f} s)")
        all_killed = all_killed and outcome == "killed"
    return all_killed


def prepare(benches: list[Bench], files: list[str]) -> dict:
    """Builds the copies without any fault, and sees that all tests pass."""
    state = digest(files) + " ".join(benches[0].folders)
    kept = PLACE / "plan.json"
    known = json.loads(kept.read_text()) if kept.exists() else {}
    fresh = known.get("state") != state
    for number, bench in enumerate(benches, 1):
        say(f"Building copy {number}")
        bench.configure()
        if failure := bench.make_all(os.cpu_count()):
            sys.exit(failure)
        if not bench.folders:  # what is not made of our sources, such as Java's classes
            bench.must(["ninja"])
        bench.must(["ctest", "--show-only=json-v1"])
    if fresh:
        say("Running all tests without a fault")
        known = {"state": state, "plan": benches[0].learn()}
        kept.write_text(json.dumps(known))
    return known["plan"]


def main() -> int:
    options = arguments()
    folders = [folder.rstrip("/") for folder in options.folder or FOLDERS]
    seed = random.SystemRandom().randrange(10**6) if options.seed is None else options.seed
    files = source_files()
    processes = Processes()
    copies = range(1, max(1, options.copies) + 1)
    benches = [Bench(PLACE / str(copy), processes, options.tests) for copy in copies]
    again = f"./test --mutants {options.number} --seed {seed}" + "".join(
        f" --folder {folder}" for folder in options.folder or []) + "".join(
        f" --tests {folder}" for folder in options.tests)
    try:
        for bench in benches:
            bench.copy(ROOT, files)
        benches[0].configure()
        if not options.patch:
            places = all_places(benches[0], folders)
            places = [[Fault.of(change) for change in place] for place in places]
            choice = random.Random(seed)
            choice.shuffle(places)
            for place in places:
                choice.shuffle(place)
            say(f"{len(places)} places can be changed; the seed is {seed}")
            if options.list:
                for place in places[: options.number]:
                    say(place[0].diff())
                return 0
        for number in (signal.SIGINT, signal.SIGTERM):
            signal.signal(number, lambda *_: processes.stop())
        plan = prepare(benches, files)
        if options.patch:
            return 0 if try_patches(benches[0], plan, options.patch) else 1
        is_test = lambda file: file.startswith("Tests/")
        asked = hashlib.sha256(repr([folders, options.tests]).encode()).hexdigest()[:8]
        journal = Journal(
            PLACE / f"seed-{seed}-{asked}.jsonl",
            digest([f for f in files if f.startswith(TRIED)]),
            digest([f for f in files if is_test(f)]))
        run = Run(benches, plan, journal, options.number)
        run.try_all(places)
    except Stopped:
        say(f"Stopped. It goes on with {again}")
        return 130
    took = duration(time.monotonic() - run.started)
    say(f"\n{len(run.results)} faults in {took}; again with {again}")
    return 0 if report(run.results, folders) else 1


if __name__ == "__main__":
    sys.exit(main())
