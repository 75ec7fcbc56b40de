"""A copy of the sources with a build of its own, in which faults are tried."""

import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import threading
import time

# Which folders below Tests/ are most likely to see a fault in a file, the first match counts. All
# others follow, the quickest first.
NEAREST = [
    (r"/(Bridge/|QVL)", ["Bridge"]),
    (r"^Source/", ["PellixProvidersSDK", "Bridge"]),
    (r"^QuorvelCoreSDK/", ["QuorvelCoreSDK", "PellixProvidersSDK", "Faults"]),
    (r"^VeltraneProvidersSDK/", ["VeltraneProvidersSDK", "PellixProvidersSDK"]),
    (r"^Platform/", ["Platform", "QuorvelCoreSDK", "PellixProvidersSDK"]),
]

# A test that takes longer, in seconds, waits until the quick ones have all passed.
QUICK = 1.0

# Building other projects against what is installed takes too long, and sees little of the code. The
# load test's work is a matter of chance.
NOT_RUN = re.compile(r"^(Install\.|LoadTest\.|Python\.(Wheel|Types)$)")


class Stopped(Exception):
    """The run was interrupted."""


class Processes:
    """Those that run, so that an interrupted run ends them all."""

    def __init__(self):
        self.lock = threading.Lock()
        self.running: set[subprocess.Popen] = set()
        self.stopped = False

    def run(self, command, limit: float, **options) -> tuple[int | None, str]:
        """The exit status, or none if it took too long, and what was written."""
        with self.lock:
            if self.stopped:
                raise Stopped
            process = subprocess.Popen(
                [str(word) for word in command], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                stderr=subprocess.STDOUT, start_new_session=True, **options)  # fmt: skip
            self.running.add(process)
        try:
            output, _ = process.communicate(timeout=limit)
            status = process.returncode
        except subprocess.TimeoutExpired:
            kill(process)
            output, _ = process.communicate()
            status = None
        with self.lock:
            self.running.discard(process)
            if self.stopped:
                raise Stopped
        return status, output.decode(errors="replace")

    def stop(self) -> None:
        with self.lock:
            self.stopped = True
            for process in self.running:
                kill(process)


def kill(process: subprocess.Popen) -> None:
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass


def seconds(case: dict) -> float:
    """How long a test took, as GoogleTest reports it."""
    return float(case.get("time", "0s").removesuffix("s"))


class Bench:
    def __init__(self, place: pathlib.Path, processes: Processes, folders: list[str]):
        """`folders` are those below Tests/ that are to be used; none: all."""
        self.place, self.processes, self.folders = place, processes, folders
        self.source, self.build = place / "source", place / "build"
        keep = {k: v for k, v in os.environ.items() if not k.startswith("PELLIX_")}
        self.environment = keep | {"CCACHE_BASEDIR": str(place), "CCACHE_NOHASHDIR": "1"}

    def copy(self, root: pathlib.Path, files: list[str]) -> None:
        """Makes the copy like the sources; what is the same keeps its time."""
        for file in files:
            there, here = root / file, self.source / file
            if here.is_file() and here.read_bytes() == there.read_bytes():
                continue
            here.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(there, here)
            shutil.copymode(there, here)
        for path in list(self.source.rglob("*")):
            if path.is_file() and str(path.relative_to(self.source)) not in files:
                path.unlink()

    def configure(self) -> None:
        self.build.mkdir(parents=True, exist_ok=True)
        linker = "-fuse-ld=lld" if shutil.which("ld.lld") else ""
        options = {
            "CMAKE_BUILD_TYPE": "None",
            # What is changed may well leave something unused: that is not what is looked for.
            "CMAKE_C_FLAGS": "-O0 -w",
            "CMAKE_CXX_FLAGS": "-O0 -w -D_GLIBCXX_ASSERTIONS",
            "CMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE": "PRE_TEST",
        }
        options |= {f"CMAKE_{kind}_LINKER_FLAGS": linker for kind in ("EXE", "SHARED", "MODULE")}
        if shutil.which("ccache"):
            options |= {f"CMAKE_{name}_COMPILER_LAUNCHER": "ccache" for name in ("C", "CXX")}
            options["CMAKE_DISABLE_PRECOMPILE_HEADERS"] = "ON"
        command = ["cmake", "-S", self.source, "-B", self.build, "-G", "Ninja"]
        self.must(command + [f"-D{name}={value}" for name, value in options.items()])

    def must(self, command) -> str:
        status, output = self.run(command, 7200)
        if status != 0:
            raise RuntimeError(f"{' '.join(map(str, command))}\n{output[-5000:]}")
        return output

    def run(self, command, limit: float) -> tuple[int | None, str]:
        return self.processes.run(command, limit, cwd=self.build, env=self.environment)

    def make(self, target: str) -> bool:
        return self.run(["ninja", "-j", 1, target], 1800)[0] == 0

    def make_all(self, jobs: int = 1) -> str | None:
        """Builds whatever is linked, or what the chosen folders hold, and says what went wrong.
        What is only compiled, such as each header alone, tests none of what is changed."""
        if self.folders:
            compiled = (self.build / "compile_commands.json").read_text()
            form = rf" -o Tests/(?:{'|'.join(self.folders)})/CMakeFiles/(\w+)\.dir/"
            targets = sorted(set(re.findall(form, compiled)))
        else:
            form = r"^(\S+): (?:C|CXX)_(?:EXECUTABLE|SHARED_LIBRARY|MODULE_LIBRARY)_LINKER"
            targets = re.findall(form, self.must(["ninja", "-t", "targets", "all"]), re.MULTILINE)
        status, output = self.run(["ninja", "-j", jobs, *targets], 7200)
        return None if status == 0 else output[-5000:]

    def learn(self) -> dict:
        """Runs all tests and says how faults are to be looked for: the programs whose tests can run
        in one process, without those that can't and those that are slow; and the tests left."""
        tests = json.loads(self.must(["ctest", "--show-only=json-v1"]))["tests"]
        programs, alone = {}, []
        for number, test in enumerate(tests, 1):
            command = test.get("command", [""])
            properties = {p["name"]: p["value"] for p in test["properties"]}
            folder = pathlib.Path(properties["WORKING_DIRECTORY"]).name
            if NOT_RUN.match(test["name"]) or (self.folders and folder not in self.folders):
                continue
            match = re.search(r" --gtest_filter=(\S+)", " ".join(command))
            if not match:
                alone.append(number)
                continue
            path = str(pathlib.Path(command[0]).relative_to(self.build))
            program = programs.setdefault(path, {"folder": folder, "left": [], "numbers": {}})
            program["numbers"][match[1]] = number
        for path, program in programs.items():
            self.learn_program(path, program)
            alone += [program["numbers"][name] for name in program["left"]]
            del program["numbers"]
        plan = {"programs": programs, "alone": sorted(alone)}
        started = time.monotonic()
        if failed := self.run_alone(plan, 7200):
            raise RuntimeError(f"The tests fail without any fault: {failed}")
        return plan | {"seconds": time.monotonic() - started}

    def learn_program(self, path: str, program: dict) -> None:
        report = self.build / "mutants.json"
        names = list(program["numbers"])
        while len(program["left"]) < len(names):
            report.unlink(missing_ok=True)
            started = time.monotonic()
            status, output = self.run_program(path, program, 900, f"--gtest_output=json:{report}")
            program["seconds"] = time.monotonic() - started
            if report.exists():
                suites = json.loads(report.read_text())["testsuites"]
                cases = {f"{s['name']}.{c['name']}": c for s in suites for c in s["testsuite"]}
                slow = [name for name, case in cases.items() if seconds(case) > QUICK]
                bad = [name for name, case in cases.items() if "failures" in case] + slow
            else:
                bad = re.findall(r"\[ RUN      \] (\S+)", output)[-1:]
            if status == 0 and not bad:
                return
            if not bad:
                raise RuntimeError(f"{path} fails without any fault:\n{output[-2000:]}")
            program["left"] += bad
        program["seconds"] = 0

    def run_program(self, path: str, program: dict, limit: float, *options: str):
        """Runs the tests of a program that can share a process."""
        skipped = ":".join(program["left"])
        return self.run([self.build / path, f"--gtest_filter=-{skipped}", *options], limit)

    def run_alone(self, plan: dict, limit: float) -> str | None:
        """Runs the tests that take a process of their own, and names one that fails twice."""
        if not plan["alone"]:
            return None
        numbers = self.build / "mutants-tests"
        numbers.write_text("0,0,0," + ",".join(map(str, plan["alone"])))
        # They wait more than they work.
        ctest = ["ctest", "--timeout", str(int(limit / 10))]  # of each that has none of its own
        status, output = self.run([*ctest, "-j4", "--stop-on-failure", "-I", numbers], limit)
        if status is None:
            return "time"
        if status == 0:
            return None
        failed = re.findall(r"^\t *\d+ - (\S+) \(", output, re.MULTILINE)
        if not failed:
            return "the listing of the tests"
        status, output = self.run([*ctest, "-R", "^" + re.escape(failed[0]) + "$"], limit)
        if status != 0:
            return failed[0]
        # It was a matter of chance: once more, without stopping there.
        status, output = self.run([*ctest, "-j4", "-I", numbers], limit)
        failed = re.findall(r"^\t *\d+ - (\S+) \(", output, re.MULTILINE)
        for name in failed:
            if self.run([*ctest, "-R", "^" + re.escape(name) + "$"], limit)[0] != 0:
                return name
        return "time" if status is None else None

    def judge(self, file: str, plan: dict) -> tuple[str, str]:
        """Builds and tests what now stands in the copy: "killed" and by what, "survived", or
        "invalid" if it does not compile."""
        nearest = next((folders for form, folders in NEAREST if re.search(form, file)), [])

        def order(item):
            folder = item[1]["folder"]
            rank = nearest.index(folder) if folder in nearest else len(nearest)
            return rank, item[1]["seconds"]

        for path, program in sorted(plan["programs"].items(), key=order):
            if not program["seconds"]:
                continue
            if not self.make(path):
                return "invalid", ""
            if killer := self.try_program(path, program):
                return "killed", killer
        if self.make_all():
            return "invalid", ""
        if killer := self.run_alone(plan, 10 * plan["seconds"] + 60):
            return "killed", killer
        return "survived", ""

    def try_program(self, path: str, program: dict) -> str | None:
        """The test that sees the fault, if one does also when it runs again and alone."""
        limit = 10 * program["seconds"] + 20
        program = {"left": list(program["left"])}
        while True:
            status, output = self.run_program(path, program, limit, "--gtest_fail_fast")
            if status == 0:
                return None
            failed = re.findall(r"\[  FAILED  \] ([^\s,]+\.[^\s,]+)", output)[:1]
            failed = failed or re.findall(r"\[ RUN      \] (\S+)", output)[-1:]
            if not failed:
                return f"the start of {pathlib.Path(path).name}"
            alone = [self.build / path, f"--gtest_filter={failed[0]}"]
            if status is None or self.run(alone, limit)[0] != 0:
                return failed[0] + (" (time)" if status is None else "")
            program["left"].append(failed[0])
