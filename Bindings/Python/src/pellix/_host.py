"""What there is once in a process: the thread that runs the library's main queue, the callbacks of
all operations, the log, and the end.

Callbacks come on that thread, on the core's worker, or on a thread that calls the library. None may
come any more once the interpreter goes: a thread that then waits for its lock is ended within the
library's code, and the process with it. So the end waits until no thread is within a call that may
call back, and until the library has let go of all callbacks.
"""
import atexit
import bisect
import contextlib
import ctypes
import itertools
import logging
import os
import threading
import time
import weakref
from collections.abc import Callable, Iterator
from concurrent.futures import Future, wait
from ctypes import c_bool, c_int, c_int64, c_size_t, c_void_p
from typing import Any, TypeVar

from . import _library
from ._errors import ClosedError, SilentEndError, failure
from ._library import Handle, function
from ._records import Record

R = TypeVar("R", bound=Record)

_run_queue = function("QVLMainQueue_run", None)
_stop_queue = function("QVLMainQueue_stop", None)
_shut_down = function("QVLQuorvel_shutDown", c_bool, c_int64)
_wait_until_idle = function("QVLQuorvel_waitUntilIdle", c_bool, c_void_p, c_int64)
_set_sink = function("QVLCoreLogger_setSink", c_bool, *_library.CALLBACK)
_set_level = function("QVLCoreLogger_setLevel", None, c_int)

LONGEST_END = 10.0  # seconds
_LIMIT = _library.milliseconds(LONGEST_END, "LONGEST_END")
LOGGER = logging.getLogger("pellix")
LEVELS = (logging.DEBUG, logging.INFO, logging.WARNING, logging.ERROR)

_numbers = itertools.count(1)
_operations: dict[int, tuple[Future[Any], type[Record]]] = {}  # by their callbacks' context
_state = threading.Condition()  # guards what follows
_calls = 0  # threads within a call that may call back
_client: "weakref.ref[object] | None" = None  # the one that is open
_hurried: "weakref.ref[object] | None" = None
_has_ended = False
_queue_thread: threading.Thread | None = None


@_library.callback(c_void_p, c_void_p, c_void_p)
def _finished(record: int, error: int, number: int) -> None:
    operation, kind = _operations.pop(number)
    if not operation.set_running_or_notify_cancel():
        return
    if error:
        operation.set_exception(failure(error))
    else:
        operation.set_result(kind._retaining(record))


@_library.callback(c_void_p)
def _released(number: int) -> None:
    """The operation is still there only if its end was a silent one."""
    operation, _ = _operations.pop(number, (None, None))
    if operation and operation.set_running_or_notify_cancel():
        operation.set_exception(SilentEndError())


@_library.callback(c_int, c_void_p, c_size_t, c_void_p)
def _log(level: int, line: int, length: int, _: int) -> None:
    LOGGER.log(LEVELS[level], "%s", ctypes.string_at(line, length).decode(errors="replace"))


@contextlib.contextmanager
def calling(client: object) -> Iterator[None]:
    """Within it, the client calls what may call back."""
    global _calls
    with _state:
        if _has_ended or _client is None or _client() is not client:
            raise ClosedError("The client is closed")
        _calls += 1
    try:
        yield
    finally:
        with _state:
            _calls -= 1
            _state.notify_all()


def start(client: object, kind: type[R], begin: Callable[..., None],
          *arguments: Any) -> "Future[R]":
    """Begins an operation that gives a record."""
    global _queue_thread
    operation: Future[R] = Future()
    with calling(client):
        with _state:
            # Not before it is needed: a child that is forked earlier makes its own.
            if _queue_thread is None:
                made = threading.Thread(target=_run_queue, name="pellix", daemon=True)
                made.start()
                _queue_thread = made
            elif not _queue_thread.is_alive():
                raise SilentEndError()  # the parent's, which nobody can take over
        number = next(_numbers)
        _operations[number] = operation, kind
        begin(*arguments, _finished, number, _released)
    return operation


def occupy(client: object) -> None:
    """Makes it the process's client."""
    global _client
    with _state:
        if _has_ended:
            raise ClosedError("The interpreter is about to end")
        if _client is not None and _client() is not None:
            raise RuntimeError("Another client is open: a process has one account at a time")
        _client = weakref.ref(client)
        _set_sink(_log, None, None)
        _set_level(bisect.bisect_left(LEVELS, LOGGER.getEffectiveLevel()))


def vacate(client: object, quorvel: Handle | None, timeout: float) -> None:
    """Makes way for another client. What is under way after the timeout ends without an answer."""
    global _client
    _library.milliseconds(timeout, "timeout")
    with _state:
        if _client is None or _client() is not client:
            return
        _client = weakref.ref(vacate)  # nobody's meanwhile
        if _hurried is not None and _hurried() is client:
            timeout = 0
    end = time.monotonic() + timeout
    # A handler of signals may raise, here and there; the client is closed even so.
    try:
        with _state:
            _state.wait_for(lambda: _calls == 0, LONGEST_END)
        begun = [operation for operation, _ in list(_operations.values())]
        if quorvel and not wait(begun, timeout).not_done:
            _wait_in_turns(end, _wait_until_idle, quorvel)  # votes have no callback of ours
    finally:
        try:
            _wait_in_turns(time.monotonic() + LONGEST_END, _shut_down)
        finally:
            with _state:
                _client = None


def hurry(client: object) -> None:
    """Has its `vacate`, which is under way or about to begin, wait for nothing more."""
    global _hurried
    with _state:
        _hurried = weakref.ref(client)
        is_under_way = _client is not None and _client() is vacate
    if is_under_way:
        _shut_down(0)


def _wait_in_turns(end: float, call: Callable[..., bool], *arguments: Any) -> None:
    """Has the library wait, but leaves it again and again, for the handlers of signals."""
    while not call(*arguments, max(0, min(100, round(1000 * (end - time.monotonic()))))):
        if time.monotonic() >= end:
            break


@atexit.register
def _end() -> None:
    global _has_ended
    with _state:
        _has_ended = True
        _state.wait_for(lambda: _calls == 0, LONGEST_END)
    _shut_down(_LIMIT)
    _set_level(len(LEVELS))
    _set_sink(None, None, None)
    if _queue_thread and _queue_thread.is_alive():  # a forked child does not have it
        _stop_queue()
        _queue_thread.join(LONGEST_END)


def _begin_child() -> None:
    global _calls
    _calls = 0
    _operations.clear()
    _state.release()


os.register_at_fork(before=_state.acquire, after_in_parent=_state.release,
                    after_in_child=_begin_child)
