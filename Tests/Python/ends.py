"""Ends in the way and the state that its arguments name; without arguments, has others do so, each
PELLIX_EXITS times, and looks at their ends."""
import asyncio
import concurrent.futures
import itertools
import logging
import os
import signal
import subprocess
import sys
import threading
import time

import pellix
from service import TOKEN, answering

WAYS = {"return": 0, "exit": 7, "raise": 1, "signal": -signal.SIGTERM, "handler": 8, "fork": 0}


def make_busy(client):
    """Questions of many threads and of an event loop are under way from now on."""
    async def ask():
        while True:
            await asyncio.gather(*(pellix.AsyncClient(client).ask("password") for _ in range(9)))
    threading.excepthook = lambda _: None  # of threads that come too late
    loops = [lambda: [*map(client.ask, itertools.repeat("password"))]] * 3
    for loop in (*loops, lambda: asyncio.run(ask())):
        threading.Thread(target=loop, daemon=True).start()
    for _ in range(os.getpid() % 20):
        client.ask("password")


def end(way, state, url):
    # Lines of the log, on all threads, during which others go on.
    logging.basicConfig(level=logging.DEBUG, handlers=[logging.NullHandler()])
    logging.getLogger("pellix").addFilter(lambda _: time.sleep(0) is None)
    client = pellix.Client(url, token=lambda: TOKEN)
    if state == "busy":
        make_busy(client)
    elif way != "fork":
        client.ask("password")
    signal.signal(signal.SIGUSR1, lambda *_: sys.exit(WAYS["handler"]))
    if way == "exit":
        sys.exit(WAYS["exit"])
    if way == "raise":
        raise KeyError(way)
    if way in ("signal", "handler"):
        os.kill(os.getpid(), signal.SIGTERM if way == "signal" else signal.SIGUSR1)
    if way == "fork" and (child := os.fork()):
        sys.exit(os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]))
    if way == "fork":  # the child can ask if nothing was asked before
        try:
            sys.exit(0 if client.ask("password") and state == "idle" else 1)
        except pellix.SilentEndError:
            sys.exit(0 if state == "busy" else 1)


def is_good(way, state, url):
    ended = subprocess.run([sys.executable, "-W", "ignore", __file__, way, state, url],
                           capture_output=True, text=True, timeout=120)
    said = ended.stderr.splitlines()[-1:] if way == "raise" else ended.stderr.splitlines()
    good = ended.returncode == WAYS[way] and said == ["KeyError: 'raise'"] * (way == "raise")
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
