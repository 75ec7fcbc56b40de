"""Ends in the way that its second argument names, while the worker thread calls it. The first one is
the path of the example, which ends all calls before Python goes."""
import importlib.util
import os
import sys
import threading
from ctypes import CFUNCTYPE, c_int, c_void_p

sys.dont_write_bytecode = True
example, way, url, certificates = sys.argv[1:]
spec = importlib.util.spec_from_file_location("example", example)
host = importlib.util.module_from_spec(spec)
spec.loader.exec_module(host)
replies = threading.Semaphore(0)
releases = 0


@CFUNCTYPE(None, c_void_p, c_void_p, c_void_p)
def finished(record, error, context):
    replies.release()
    ask()


@CFUNCTYPE(None, c_void_p)
def released(context):
    global releases
    releases += 1


def ask():
    host.ask(provider, *host.sized(b"How?"), finished, None, released)


host.function("QVLCoreLogger_setLevel", None, c_int)(4)
quorvel, provider = host.set_up(os.fsencode(url), b"secret", os.fsencode(certificates))
for _ in range(100):
    ask()
for _ in range(1000):
    replies.acquire()
if way == "fork":
    child = os.fork()
    if child == 0:
        before = releases
        ask()
        sys.exit(7 if releases == before + 1 else 3)
    if os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) != 7:
        sys.exit(4)
sys.exit(7)
