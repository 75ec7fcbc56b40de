#!/usr/bin/env python3
"""A host in Python, by the standard library alone. Asks a question, then reports that the first
article resolved it and that the second one did not.

  PELLIX_ACCOUNT_URL=https://... PELLIX_TOKEN=... ask.py QUESTION

PELLIX_LIBRARY may name the library's file, PELLIX_CERTIFICATES a file of certificates to trust.
"""
import asyncio
import atexit
import ctypes
import itertools
import os
import sys
import weakref
from ctypes import CFUNCTYPE, c_bool, c_char_p, c_int64, c_size_t, c_void_p

library = ctypes.CDLL(os.environ.get("PELLIX_LIBRARY", "libPellixProvidersSDK.so.1"))


def function(name, result, *arguments):
    found = getattr(library, name)
    found.restype, found.argtypes = result, arguments
    return found


TEXT = (c_char_p, c_size_t)  # the bytes and their number
LENGTH = ctypes.POINTER(c_size_t)
CALLBACK = (c_void_p, c_void_p, c_void_p)  # function, context, release of the context

retain = function("QVLRetain", None, c_void_p)
release = function("QVLRelease", None, c_void_p)


class Object:
    """A reference to one of the library's objects, given back when Python lets go of it."""

    def __init__(self, pointer):
        self._as_parameter_ = pointer
        weakref.finalize(self, release, pointer)

    @classmethod
    def retain(cls, pointer):
        retain(pointer)
        return cls(pointer)

    def text(self, name):
        length = c_size_t()
        read = function(name, c_void_p, c_void_p, LENGTH)
        return ctypes.string_at(read(self, length), length.value)

    def integer(self, name):
        return function(name, c_int64, c_void_p)(self)


class Failure(Exception):
    pass


def failure(error):
    domain = error.text("QVLError_domain").decode()
    text = error.text("QVLError_localizedDescription").decode()
    return Failure(f"{domain} ({error.integer('QVLError_code')}): {text}")


# Callbacks come on threads of the library's choosing. They find what they belong to by the number
# that is their context, and pass it on to the event loop.
pending = {}
numbers = itertools.count(1)


def settle(future, result):
    if future.done():
        return
    if isinstance(result, Exception):
        future.set_exception(result)
    else:
        future.set_result(result)


@CFUNCTYPE(None, c_void_p, c_void_p, c_void_p)
def finished(record, error, number):
    future = pending[number]
    result = failure(Object.retain(error)) if error else Object.retain(record)
    future.get_loop().call_soon_threadsafe(settle, future, result)


@CFUNCTYPE(None, c_void_p)
def released(number):
    future = pending.pop(number)
    silence = Failure("The operation ended without an answer.")
    if not future.get_loop().is_closed():
        future.get_loop().call_soon_threadsafe(settle, future, silence)


async def operation(start, *arguments):
    number = next(numbers)
    pending[number] = future = asyncio.get_running_loop().create_future()
    start(*arguments, finished, number, released)
    return await future


PROVIDER = "QVLPellixProvider_"
ARTICLE = "WithDeflectionId_articleId_interactionAccessToken_"
ask = function(f"{PROVIDER}getDeflectionForQueryWithQuery_callback", None,
               c_void_p, *TEXT, *CALLBACK)
resolve = function(f"{PROVIDER}resolveWithArticle{ARTICLE}callback", None,
                   c_void_p, c_int64, c_int64, *TEXT, *CALLBACK)
reject = function(f"{PROVIDER}rejectWithArticle{ARTICLE}reason_callback", None,
                  c_void_p, c_int64, c_int64, *TEXT, c_int64, *CALLBACK)


def sized(text):
    return text, len(text)


# Before Python goes, which the callbacks above need.
atexit.register(function("QVLQuorvel_shutDown", c_bool, c_int64), 10000)


def set_up(url, token, certificates):
    configuration = Object(function("QVLQuorvelConfiguration_init", c_void_p)())
    function("QVLQuorvelConfiguration_setToken", c_bool, c_void_p, *TEXT)(
        configuration, *sized(token))
    if certificates:
        function("QVLQuorvelConfiguration_setCertificateAuthorities", c_bool, c_void_p, *TEXT)(
            configuration, *sized(certificates))
    error = c_void_p()
    quorvel = function("QVLQuorvel_initialize", c_void_p, *TEXT * 3, c_void_p, c_void_p)(
        *sized(url), *sized(b"ask"), *sized(b"example"), configuration, ctypes.addressof(error))
    if not quorvel:
        raise failure(Object(error.value)) if error else MemoryError()
    quorvel = Object(quorvel)
    veltrane = Object(function("QVLVeltrane_initialize", c_void_p, c_void_p)(quorvel))
    function("QVLPellix_initializeWithQuorvel_veltrane", None, c_void_p, c_void_p)(
        quorvel, veltrane)
    pellix = function("QVLPellix_instance", c_void_p)()
    return quorvel, Object.retain(function("QVLPellix_provider", c_void_p, c_void_p)(pellix))


async def journey(provider, question):
    answer = await operation(ask, provider, *sized(question))
    count = answer.integer("QVLDeflectionResponse_deflectionArticles_count")
    at = function("QVLDeflectionResponse_deflectionArticles_at", c_void_p, c_void_p, c_size_t)
    articles = [Object.retain(at(answer, index)) for index in range(count)]
    for rank, article in enumerate(articles, 1):
        print(f"{rank}. {article.text('QVLDeflectionArticle_title').decode()!r}")
    if count < 2:
        return

    deflection = Object.retain(
        function("QVLDeflectionResponse_deflection", c_void_p, c_void_p)(answer))
    identifier = deflection.integer("QVLDeflection_deflectionID")
    token = answer.text("QVLDeflectionResponse_interactionAccessToken")
    first, second = (each.integer("QVLDeflectionArticle_articleId") for each in articles[:2])
    await operation(resolve, provider, identifier, first, *sized(token))
    print(f"Resolved by article {first}.")
    await operation(reject, provider, identifier, second, *sized(token), 2)
    print(f"Rejected article {second}.")


async def main(url, token, certificates, question):
    loop = asyncio.get_running_loop()
    run_pending = function("QVLMainQueue_runPending", None)
    set_hook = function("QVLMainQueue_setWakeHook", c_bool, *CALLBACK)
    global wake  # a call of it may be on its way for as long as the process lives
    wake = CFUNCTYPE(None, c_void_p)(lambda _: loop.call_soon_threadsafe(run_pending))
    set_hook(wake, None, None)
    quorvel, provider = set_up(url, token, certificates)
    try:
        await journey(provider, question)
    finally:
        # The vote for the article may still be on its way.
        function("QVLQuorvel_waitUntilIdle", c_bool, c_void_p, c_int64)(quorvel, 10000)
        set_hook(None, None, None)


if __name__ == "__main__":
    environment = os.environb
    if len(sys.argv) != 2 or not {b"PELLIX_ACCOUNT_URL", b"PELLIX_TOKEN"} <= environment.keys():
        sys.exit(f"Usage: PELLIX_ACCOUNT_URL=... PELLIX_TOKEN=... {sys.argv[0]} QUESTION")
    try:
        asyncio.run(main(environment[b"PELLIX_ACCOUNT_URL"], environment[b"PELLIX_TOKEN"],
                         environment.get(b"PELLIX_CERTIFICATES"), os.fsencode(sys.argv[1])))
    except Failure as reason:
        sys.exit(str(reason))
