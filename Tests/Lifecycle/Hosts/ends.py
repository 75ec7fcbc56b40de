"""Ends in the way that its second argument names. The first one is the path of the example, which ends
all calls before Python goes."""
import _ctypes
import importlib.util
import os
import sys
import threading
from ctypes import CFUNCTYPE, c_int, c_void_p

sys.dont_write_bytecode = True
example, way, url, certificates = sys.argv[1:]
calls = threading.Semaphore(0)
endings = []


class Host:
    """The example, with a library of its own."""

    def __init__(self, library):
        os.environ["PELLIX_LIBRARY"] = library
        spec = importlib.util.spec_from_file_location("example", example)
        self.example = importlib.util.module_from_spec(spec)
        spec.loader.exec_module(self.example)
        self.run_queue = self.example.function("QVLMainQueue_run", None)
        self.stop_queue = self.example.function("QVLMainQueue_stop", None)
        self.example.function("QVLCoreLogger_setLevel", None, c_int)(4)
        self.quorvel, self.provider = self.example.set_up(
            os.fsencode(url), b"secret", os.fsencode(certificates))

    def ask(self, number):
        self.example.ask(self.provider, *self.example.sized(b"How?"), finished, number, released)


@CFUNCTYPE(None, c_void_p, c_void_p, c_void_p)
def finished(record, error, number):
    calls.release()
    if way == "return":
        hosts[0].ask(number)


@CFUNCTYPE(None, c_void_p)
def released(number):
    endings.append(number)
    if way == "unload":
        hosts[number - 1].stop_queue()


hosts = [Host(path) for path in os.environ["PELLIX_LIBRARY"].split(":")]
if way == "return":  # while the worker thread calls
    for _ in range(100):
        hosts[0].ask(None)
    for _ in range(1000):
        calls.acquire()
    sys.exit(7)
for number, host in enumerate(hosts, 1):  # with questions under way; each library answers its own
    host.ask(number)
    _ctypes.dlclose(host.example.library._handle)
for host in hosts:
    host.run_queue()
providers = {host.provider._as_parameter_ for host in hosts}
are_right = endings == list(range(1, len(hosts) + 1)) and len(providers) == len(hosts)
sys.exit(7 if are_right else 3)
