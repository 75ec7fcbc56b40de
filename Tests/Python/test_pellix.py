"""The package against the embedded service."""
import asyncio
import copy
import gc
import json
import logging
import os
import pathlib
import pickle
import random
import re
import signal
import threading
import unittest
import urllib.request
import warnings
from unittest import mock

import pellix
from pellix import CoreError, DecodingError, RejectionReason, _client, _host, _library
from service import TOKEN, answering

NOBODY = "http://127.0.0.1:1"
ROUNDS = 10 * int(os.environ.get("PELLIX_STRESS", 1))
live_references = _library.function("QVLLiveReferences", _library.c_size_t)


def reported(response, index):
    return (response.deflection.deflection_id, response.deflection_articles[index].article_id,
            response.interaction_access_token)


def recorded(url):
    with urllib.request.urlopen(f"{url}/demo/record") as record:
        return json.load(record)


class Endings(unittest.TestCase):
    """What operations end with, waited for and awaited."""

    def test_records(self):
        async def ask(url):
            options = {"token": lambda: TOKEN, "lumeno_locale_override": "de"}
            async with pellix.Client(url, **options) as client:
                response = await client.ask("Passwort")
                await client.resolve(*reported(response, 0))
                await client.reject(*reported(response, 1), RejectionReason.REASON_1)
                return response
        with answering("knowledge-settings=none", "vote=delay:200") as url:
            with pellix.Client(url, token=TOKEN, preferred_languages=["de"]) as client:
                response = client.ask("Passwort")
                resolved = client.resolve(*reported(response, 0))
                rejected = client.reject(*reported(response, 1), RejectionReason.REASON_2)
            again = asyncio.run(ask(url))
            record = recorded(url)
        first, second, *_ = articles = response.deflection_articles
        self.assertEqual([each["article_id"] for each in record["votes"]],  # close waited for them
                         [first.article_id] * 2)
        self.assertEqual([each["reason_id"] for each in record["rejections"]], [2, 1])
        self.assertEqual((resolved.response.status_code, rejected.response.status_code), (200, 204))
        self.assertIn("Content-Type", resolved.response.all_header_fields)
        self.assertIn(str(first.article_id).encode(), resolved.data)
        self.assertIsNone(rejected.data)
        self.assertRaises(TypeError, copy.deepcopy, client)

        self.assertEqual(again.deflection_articles, articles)
        self.assertEqual({*again.deflection_articles}, {*articles})
        self.assertNotEqual(again, response)  # another deflection
        self.assertNotEqual(first, second)
        self.assertIs(copy.deepcopy(first), first)
        self.assertIn(f"title={first.title!r}", repr(response))
        self.assertNotIn(response.interaction_access_token, repr(response))
        for forbidden in (lambda: setattr(first, "title", ""), lambda: pickle.dumps(first),
                          pellix.Deflection):
            self.assertRaises((AttributeError, TypeError), forbidden)

    def test_errors(self):
        for misbehaviour, token, domain, code in (
                ("settings=disabled", TOKEN, pellix.DISABLED_DOMAIN, pellix.DISABLED_CODE),
                ("vote=none", "wrong", pellix.SERVICE_DOMAIN, 401),
                ("vote=none", lambda: None, pellix.CORE_DOMAIN, CoreError.MISSING_TOKEN),
                ("interaction=malformed", TOKEN, pellix.DECODING_DOMAIN,
                 DecodingError.DATA_CORRUPTED),
                ("interaction=none", TOKEN, "", 0)):  # silent
            async def ask():
                async with pellix.Client(url, token=token) as client:
                    await client.ask("?")
            with self.subTest(domain), answering(misbehaviour) as url:
                with pellix.Client(url, token=token) as client:
                    self.assertEnds(domain, code, lambda: client.ask("?"))
                self.assertEnds(domain, code, lambda: asyncio.run(ask()))

    def test_offline(self):
        with answering() as url:
            client = pellix.Client(url, token=TOKEN)
            client.prepare()
            client.close()
            self.assertEqual(recorded(url)["requests"]["settings"], 1)
            client = pellix.Client(url, token=TOKEN)
            client.ask("?")
        with client:
            self.assertEnds(pellix.CORE_DOMAIN, CoreError.CANNOT_CONNECT, lambda: client.ask("?"))
        with (pellix.Client(NOBODY, token=TOKEN) as client,
              self.assertRaisesRegex(pellix.PellixError, pellix.DISABLED_DOMAIN) as raised):
            client.ask("?")  # not even the settings
        self.assertEqual(raised.exception.__cause__.code, CoreError.CANNOT_CONNECT)

    def assertEnds(self, domain, code, call):
        with self.assertRaises(pellix.PellixError if domain else pellix.SilentEndError) as raised:
            call()
        self.assertIsNone(raised.exception.__cause__)
        error = pickle.loads(pickle.dumps(raised.exception))
        self.assertEqual((error.domain, error.code), (domain, code))
        self.assertIn(error.message, str(error))

    def test_cancelled_and_closed_under_way(self):
        async def ask():
            async with pellix.Client(url, token=TOKEN) as client:
                with self.assertRaises(asyncio.TimeoutError):
                    await asyncio.wait_for(client.ask("?"), 0)
                left, cancelled = (asyncio.create_task(client.ask("?")) for _ in range(2))
                await asyncio.sleep(0)
                cancelled.cancel()
                closing = asyncio.create_task(client.close(3600))
                await asyncio.sleep(0)
                closing.cancel()  # ends that wait
                self.assertIsInstance(*await asyncio.gather(left, return_exceptions=True),
                                      pellix.SilentEndError)
                self.assertTrue(cancelled.cancelled())
                with self.assertRaises(pellix.ClosedError):
                    await client.ask("?")
        with answering("interaction=delay:3600000") as url:
            asyncio.run(ask())

    def test_signals(self):
        interrupt = (None, signal.SIGINT, _library.ctypes.CDLL(None)["raise"])  # as a release
        with answering("interaction=delay:3600000") as url:
            client = pellix.Client(url, token=TOKEN)
            asked = [client._ask("?")]
            _client._ask(client._provider, *_library.text("?", "question"), *interrupt)
            asked += [client._ask("?") for _ in range(3)]
            client._resolve(1, 1, "").exception()  # all of them have gone out before
            with self.assertRaises(KeyboardInterrupt):
                client.close(0)
            for each in asked:
                self.assertIsInstance(each.exception(60), pellix.SilentEndError)
        end = lambda: signal.raise_signal(signal.SIGINT) or pellix.SilentEndError()
        with (pellix.Client(NOBODY) as client, mock.patch.object(_host, "SilentEndError", end),
              self.assertRaises(KeyboardInterrupt)):
            _host._shut_down(0)  # from now on, operations end before their call returns
            client._ask("?").exception(60)

    def test_closing_in_a_child(self):
        with answering("interaction=delay:3600000") as url:
            client = pellix.Client(url, token=TOKEN)
            client._ask("?")
            with warnings.catch_warnings(action="ignore"):
                child = os.fork()
            if not child:
                with (mock.patch.object(_host, "_wait_until_idle", return_value=False) as wait,
                      mock.patch.object(_host, "_shut_down", return_value=False) as shut_down):
                    client.close()
                os._exit(wait.call_count or shut_down.call_count != 1)
            self.assertEqual(os.waitpid(child, 0)[1], 0)
            client.close(0)


class Misuse(unittest.TestCase):
    def test_bad_input(self):
        with pellix.Client(NOBODY, token=TOKEN) as client:
            for kind, call, *arguments in (
                    (TypeError, client.ask, b"bytes"), (UnicodeError, client.ask, "\udc00"),
                    (TypeError, client.resolve, "1", 1, ""),
                    (TypeError, client.resolve, 1, True, ""),
                    (OverflowError, client.resolve, 1, 2**63, ""),
                    (TypeError, client.reject, 1, 1, "", 0), (ValueError, client.close, -1),
                    (RuntimeError, pellix.Client, NOBODY)):
                self.assertRaises(kind, call, *arguments)
        self.assertRaises(pellix.ClosedError, client.ask, "?")
        self.assertRaises(pellix.ClosedError, client.prepare)
        client.close()
        for kind, options in (
                (TypeError, {"token": 1}), (UnicodeError, {"token": "\ud800"}),
                (TypeError, {"connect_timeout": "1"}), (TypeError, {"preferred_languages": "de"}),
                (ValueError, {"request_timeout": -1}), (TypeError, {"proxy": b""}),
                (ValueError, {"certificate_authorities": "a\0b"}),
                (pellix.PellixError, {"proxy": "ftp://"})):
            with self.subTest(options):
                self.assertRaises(kind, pellix.Client, NOBODY, **options)

    def test_what_throws_is_reported(self):
        def fail(record):
            raise ZeroDivisionError
        logger, kinds = logging.getLogger("pellix"), set()
        with (answering() as url, mock.patch.object(logger, "level", logging.DEBUG),
              mock.patch.object(logger, "filters", [fail]),
              mock.patch("sys.unraisablehook", lambda each: kinds.add(each.exc_type)),
              pellix.Client(url, token=lambda: "\udc00") as client):
            with self.assertRaises(pellix.PellixError) as raised:
                client.ask("?")
        self.assertEqual(raised.exception.code, CoreError.MISSING_TOKEN)
        self.assertEqual(kinds, {ZeroDivisionError, UnicodeEncodeError})

    def test_codes_are_those_of_the_headers(self):
        root = pathlib.Path(__file__).parents[2]
        headers = "".join(path.read_text() for path in root.glob("*/Include/*/QVL*.h"))
        for codes in (CoreError, DecodingError):
            found = re.findall(rf"QVL{codes.__name__}(\w+) = (\d+)", headers)
            self.assertEqual({name.upper(): int(code) for name, code in found},
                             {each.name.replace("_", ""): each for each in codes})


class Stress(unittest.TestCase):
    def test_threads_closing_and_collection(self):
        kept = []

        def ask(client):
            with self.assertRaises(pellix.ClosedError):
                while True:
                    try:
                        response = client.ask("password")
                        kept.extend((response, response.deflection, *response.deflection_articles))
                    except pellix.SilentEndError:
                        pass
        with answering() as url:
            for _ in range(ROUNDS):
                client = pellix.Client(url, token=lambda: TOKEN)
                threads = [threading.Thread(target=ask, args=[client]) for _ in range(8)]
                for thread in threads:
                    thread.start()
                while len(kept) < 200:
                    client.ask("password")
                client.close(0)
                for thread in threads:
                    thread.join()
                random.shuffle(kept)
                while kept:
                    kept.pop()
        class Owner:
            def __init__(self):
                self.client = pellix.Client(NOBODY, token=self.token)

            def token(self):
                return TOKEN

        Owner()
        del client
        gc.collect()
        self.assertEqual(live_references(), 0)
        client = pellix.Client(NOBODY)  # nobody refers to the one before
        with (mock.patch.object(_host, "_shut_down", side_effect=KeyboardInterrupt),
              self.assertRaises(KeyboardInterrupt)):
            client.close()
        pellix.Client(NOBODY).close()


if __name__ == "__main__":
    unittest.main()
