"""Ends in the way and the state that its arguments name, with questions of many threads under way
or with none; without arguments, has others do so, each PELLIX_EXITS times, and looks at their ends."""
import asyncio
import concurrent.futures
import itertools
import logging
import os
import signal
import subprocess
import sys
import threading

from service import TOKEN, answering

WAYS = {"return": 0, "exit": 7, "raise": 1, "signal": -signal.SIGTERM, "handler": 8, "fork": 0}


def end(way, state, url):
    import pellix
    logging.basicConfig(level=logging.DEBUG, handlers=[logging.NullHandler()])
    client = pellix.Client(url, token=lambda: TOKEN)

    def storm():
        while True:
            client.ask("password")

    async def many():
        while True:
            await asyncio.gather(*(pellix.AsyncClient(client).ask("password") for _ in range(9)))

    if state == "busy":
        client.ask("password")
        threading.excepthook = lambda _: None  # of threads that come too late
        for target in (storm, storm, storm, lambda: asyncio.run(many())):
            threading.Thread(target=target, daemon=True).start()
        for _ in range(os.getpid() % 20):
            client.ask("password")
    signal.signal(signal.SIGUSR1, lambda *_: sys.exit(WAYS["handler"]))
    if way == "exit":
        sys.exit(WAYS["exit"])
    if way == "raise":
        raise KeyError("unhandled")
    if way == "fork":  # the child has no thread of the library, and one of its own if there was none
        child = os.fork()
        if child == 0:
            try:
                sys.exit(0 if client.ask("password") and state == "idle" else 1)
            except pellix.SilentEndError:
                sys.exit(0 if state == "busy" else 1)
        sys.exit(os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]))
    client.ask("password")
    if way in ("signal", "handler"):
        os.kill(os.getpid(), signal.SIGTERM if way == "signal" else signal.SIGUSR1)


def is_good(way, state, url):
    command = [sys.executable, __file__, way, state, url]
    ended = subprocess.run(command, capture_output=True, text=True, timeout=120)
    said = "KeyError: 'unhandled'\n" if way == "raise" else ""
    good = ended.returncode == WAYS[way] and ended.stderr[-len(said):] == said
    if not good:
        print(way, state, ended.returncode, ended.stderr)
    return good


if sys.argv[1:]:
    end(*sys.argv[1:])
else:
    times = int(os.environ.get("PELLIX_EXITS", 5))
    with answering() as address, concurrent.futures.ThreadPoolExecutor(4) as pool:
        cases = itertools.product(WAYS, ["idle", "busy"], [address] * times)
        good = list(pool.map(lambda case: is_good(*case), cases))
    print(f"{good.count(False)} of {len(good)} failed")
    sys.exit(0 if good and all(good) else 1)
