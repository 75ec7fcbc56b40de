"""What there is once in a process: the thread that runs the library's main queue, the callbacks of
all operations, the log, and the end.

Callbacks come on that thread, on the core's worker, or on a thread that calls the library, but not
on the main one: Python runs handlers of signals there, within a callback too, and what a handler
raised in one would be lost, with what the callback had still to do.

None may come any more once the interpreter goes: a thread that then waits for its lock is ended
within the library's code, and the process with it. So the end waits until no thread is within a
call that may call back, and until the library has let go of all callbacks.
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
from queue import SimpleQueue
from typing import Any, TypeVar

from . import _library
from ._errors import ClosedError, SilentEndError, failure
from ._library import Handle, function
from ._records import Record

R = TypeVar("R", bound=Record)
T = TypeVar("T")
Tasks = SimpleQueue[tuple[Callable[[], None], threading.Lock]]

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
_closed: "weakref.WeakSet[object]" = weakref.WeakSet()
_has_ended = False
_queue_thread: threading.Thread | None = None
_requester: int | None = None  # the process that has made requests, whose children can make none

_idle: list[Tasks] = []  # of threads that call for the main one


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


def apart(call: Callable[..., T], *arguments: Any) -> T:
    """Calls what may call back, or what keeps the books of that, but not on the main thread.

    If a handler of signals raises while that waits, the call goes on without it.
    """
    tasks = _helper() if threading.current_thread() is threading.main_thread() else None
    if tasks is None:
        return call(*arguments)
    results: list[T] = []
    errors: list[BaseException] = []

    def run() -> None:
        try:
            results.append(call(*arguments))
        except BaseException as error:
            errors.append(error)

    ended = threading.Lock()
    ended.acquire()
    tasks.put((run, ended))
    ended.acquire()
    if errors:
        raise errors.pop()
    return results.pop()


def _helper() -> Tasks | None:
    with contextlib.suppress(IndexError):
        return _idle.pop()
    tasks = Tasks()
    with contextlib.suppress(RuntimeError):  # there is no thread to be had at the interpreter's end
        threading.Thread(target=_help, args=[tasks], name="pellix-calls", daemon=True).start()
        return tasks
    return None


def _help(tasks: Tasks) -> None:
    while True:
        run, ended = tasks.get()
        run()
        del run  # which may know a client, that is not to stay for this
        _idle.append(tasks)
        ended.release()


@contextlib.contextmanager
def calling(client: object, *, makes_requests: bool = True) -> Iterator[None]:
    """Within it, and apart, the client calls what may call back."""
    global _calls, _requester
    with _state:
        if _has_ended or _client is None or _client() is not client:
            raise ClosedError("The client is closed")
        if makes_requests and _requester is None:
            _requester = os.getpid()
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
    operation: Future[R] = Future()
    apart(_start, client, operation, kind, begin, *arguments)
    return operation


def _start(client: object, operation: Future[Any], kind: type[Record], begin: Callable[..., None],
           *arguments: Any) -> None:
    global _queue_thread
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


def occupy(client: object) -> None:
    """Makes it the process's client."""
    global _client
    with _state:
        if _has_ended:
            raise ClosedError("The interpreter is about to end")
        if client in _closed:
            raise ClosedError("The client is closed")
        if _client is not None and _client() is not None:
            raise RuntimeError("Another client is open: a process has one account at a time")
        _client = weakref.ref(client)
        _set_sink(_log, None, None)
        _set_level(bisect.bisect_left(LEVELS, LOGGER.getEffectiveLevel()))


def vacate(client: object, quorvel: Handle | None, timeout: float) -> None:
    """Makes way for another client. What is under way after the timeout ends without an answer."""
    _library.milliseconds(timeout, "timeout")
    try:
        apart(_vacate, client, quorvel, timeout)
    except BaseException:  # a handler of signals has raised; the client is closed even so
        apart(_vacate_at_once, client)
        raise


def _vacate(client: object, quorvel: Handle | None, timeout: float) -> None:
    global _client
    with _state:
        _closed.add(client)  # it may be about to open: where that is waited for, a signal came
        if _client is None or _client() is not client:
            return
        _client = weakref.ref(vacate)  # nobody's meanwhile
        if _hurried is not None and _hurried() is client:
            timeout = 0
        if _requester not in (None, os.getpid()):
            quorvel = None  # what is under way there is the parent's
    end = time.monotonic() + timeout
    try:
        with _state:
            _state.wait_for(lambda: _calls == 0, LONGEST_END)
        begun = [operation for operation, _ in list(_operations.values())]
        if quorvel and not wait(begun, timeout).not_done:
            # Votes have no callback of ours.
            _wait_until_idle(quorvel, max(0, round(1000 * (end - time.monotonic()))))
    finally:
        try:
            _shut_down(_LIMIT)
        finally:
            with _state:
                _client = None
                _state.notify_all()


def _vacate_at_once(client: object) -> None:
    hurry(client)
    _vacate(client, None, 0)  # which may not have begun
    with _state:
        _state.wait_for(lambda: _client is None or _client() is not vacate, LONGEST_END)


def hurry(client: object) -> None:
    """Has its `vacate`, which is under way or about to begin, wait for nothing more."""
    apart(_hurry, client)


def _hurry(client: object) -> None:
    global _hurried
    with _state:
        _hurried = weakref.ref(client)
        is_under_way = _client is not None and _client() is vacate
    if is_under_way:
        _shut_down(0)


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
    _idle.clear()
    _state.release()


os.register_at_fork(before=_state.acquire, after_in_parent=_state.release,
                    after_in_child=_begin_child)
