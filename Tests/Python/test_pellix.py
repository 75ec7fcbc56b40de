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
import sys
import threading
import unittest
import urllib.request
from unittest import mock

import pellix
from pellix import _library
from service import TOKEN, answering

QUESTION = "How do I change my password?"
NEVER = "interaction=delay:3600000"
STRESS = int(os.environ.get("PELLIX_STRESS", 1))
live_references = _library.function("QVLLiveReferences", _library.c_size_t)
CORE = pellix.CoreError


def as_report(response, article):
    return response.deflection.deflection_id, article.article_id, response.interaction_access_token


class Endings(unittest.TestCase):
    """What each operation ends with, waited for and awaited."""

    FAILURES = (
        ("disabled", ["settings=disabled"], TOKEN, pellix.DISABLED_DOMAIN, 1006),
        ("wrong token", [], "wrong", pellix.SERVICE_DOMAIN, 401),
        ("no token", [], lambda: None, pellix.CORE_DOMAIN, CORE.MISSING_TOKEN),
        ("malformed", ["interaction=malformed"], TOKEN, pellix.DECODING_DOMAIN,
         pellix.DecodingError.DATA_CORRUPTED),
        ("silent", ["interaction=none"], TOKEN, "", 0),
    )

    def test_records(self):
        with answering("knowledge-settings=none", "vote=delay:200") as url:
            with pellix.Client(url, token=TOKEN, preferred_languages=["de"]) as client:
                response = client.ask("Passwort")
                first, second, *_ = response.deflection_articles
                resolved = client.resolve(*as_report(response, first))
                rejected = client.reject(*as_report(response, second), pellix.RejectionReason(2))
            self.assertEqual((resolved.response.status_code, rejected.response.status_code),
                             (200, 204))
            self.assertIn(str(first.article_id).encode(), resolved.data)
            self.assertIsNone(rejected.data)
            self.assertIn("Content-Type", resolved.response.all_header_fields)

            async def ask():
                async with pellix.Client(url, token=lambda: TOKEN, lumeno_locale_override="de") as client:
                    again = await client.ask("Passwort")
                    await client.resolve(*as_report(again, first))
                    await client.reject(*as_report(again, second), pellix.RejectionReason(2))
                    return again
            again = asyncio.run(ask())
            with urllib.request.urlopen(f"{url}/demo/record") as record:
                recorded = json.load(record)
        self.assertEqual([each["article_id"] for each in recorded["votes"]],  # awaited by close
                         [first.article_id] * 2)
        self.assertEqual([each["reason_id"] for each in recorded["rejections"]], [2, 2])
        self.assertEqual(again.deflection_articles, response.deflection_articles)
        self.assertEqual(len({*again.deflection_articles, *response.deflection_articles}),
                         len(response.deflection_articles))
        self.assertNotEqual(again, response)  # another deflection
        self.assertNotEqual(first, second)
        self.assertIs(copy.deepcopy(first), first)
        self.assertIn(f"title={first.title!r}", repr(response))
        self.assertNotIn(response.interaction_access_token, repr(response))
        for forbidden in (lambda: setattr(first, "title", ""), lambda: pickle.dumps(first),
                          pellix.Deflection):
            self.assertRaises((AttributeError, TypeError), forbidden)

    def test_failures(self):
        for name, misbehaviours, token, domain, code in self.FAILURES:
            async def ask():
                async with pellix.Client(url, token=token) as client:
                    await client.ask(QUESTION)
            with self.subTest(name), answering(*misbehaviours) as url:
                with pellix.Client(url, token=token) as client:
                    self.assertRaisesError(domain, code, lambda: client.ask(QUESTION))
                self.assertRaisesError(domain, code, lambda: asyncio.run(ask()))

    def test_offline(self):
        with answering() as url:
            client = pellix.Client(url, token=TOKEN)
            client.ask(QUESTION)
        with client:
            self.assertRaisesError(pellix.CORE_DOMAIN, CORE.CANNOT_CONNECT,
                                   lambda: client.ask(QUESTION))

    def assertRaisesError(self, domain, code, call):
        with self.assertRaises(pellix.PellixError if domain else pellix.SilentEndError) as raised:
            call()
        error = pickle.loads(pickle.dumps(raised.exception))
        self.assertEqual((error.domain, error.code), (domain, code))
        self.assertIn(error.message, str(error))

    def test_cancelled_and_closed_under_way(self):
        async def ask():
            async with pellix.Client(url, token=TOKEN) as client:
                with self.assertRaises(asyncio.TimeoutError):
                    await asyncio.wait_for(client.ask(QUESTION), 0)
                left, cancelled = (asyncio.create_task(client.ask(QUESTION)) for _ in range(2))
                await asyncio.sleep(0)
                cancelled.cancel()
                await client.close(0)
                with self.assertRaises(pellix.SilentEndError):
                    await left
                self.assertTrue(cancelled.cancelled())
                with self.assertRaises(pellix.ClosedError):
                    await client.ask(QUESTION)
        with answering(NEVER) as url:
            asyncio.run(ask())


class Misuse(unittest.TestCase):
    def test_bad_input(self):
        url = "http://127.0.0.1:1"
        with pellix.Client(url, token=TOKEN) as client:
            for kind, call in (
                    (TypeError, lambda: client.ask(b"bytes")),
                    (TypeError, lambda: client.ask(None)),
                    (UnicodeError, lambda: client.ask("\udc00")),
                    (TypeError, lambda: client.resolve("1", 1, "")),
                    (TypeError, lambda: client.resolve(1, True, "")),
                    (OverflowError, lambda: client.resolve(1, 2**63, "")),
                    (TypeError, lambda: client.reject(1, 1, "", 0)),
                    (ValueError, lambda: client.close(-1)),
                    (RuntimeError, lambda: pellix.Client(url))):
                self.assertRaises(kind, call)
        self.assertRaises(pellix.ClosedError, client.ask, QUESTION)
        client.close()
        for kind, options in ((TypeError, {"token": 1}), (UnicodeError, {"token": "\ud800"}),
                              (TypeError, {"connect_timeout": "1"}), (TypeError, {"languages": "de"}),
                              (ValueError, {"request_timeout": -1}), (TypeError, {"proxy": b""}),
                              (ValueError, {"certificate_authorities": "a\0b"}),
                              (pellix.PellixError, {"proxy": "ftp://"})):
            with self.subTest(options):
                self.assertRaises(kind, pellix.Client, url, **options)
        with self.assertRaises(pellix.PellixError) as raised:
            pellix.Client("http://example.com")
        self.assertEqual(raised.exception.code, CORE.INSECURE_URL)

    def test_what_throws_is_reported(self):
        class Handler(logging.Handler):
            def handle(self, record):
                raise ZeroDivisionError(record.name)
        handler, logger = Handler(), logging.getLogger("pellix")
        logger.setLevel(logging.DEBUG)
        logger.addHandler(handler)
        self.addCleanup(logger.removeHandler, handler)
        self.addCleanup(logger.setLevel, logging.NOTSET)
        reported = set()
        with (answering() as url,
              mock.patch("sys.unraisablehook", lambda each: reported.add(each.exc_type))):
            with pellix.Client(url, token=lambda: "\udc00") as client:
                with self.assertRaises(pellix.PellixError) as raised:
                    client.ask(QUESTION)
        self.assertEqual(raised.exception.code, CORE.MISSING_TOKEN)
        self.assertEqual(reported, {ZeroDivisionError, UnicodeEncodeError})

    def test_codes_are_those_of_the_headers(self):
        root = pathlib.Path(__file__).parents[2]
        for header, codes in (("QuorvelCoreSDK/Include/QuorvelCoreSDK/QVLQuorvelCore.h", CORE),
                              ("Platform/Include/PellixPlatform/QVLPlatform.h",
                               pellix.DecodingError)):
            found = re.findall(rf"QVL{codes.__name__}(\w+) = (\d+)", (root / header).read_text())
            self.assertEqual({name.lower(): int(code) for name, code in found},
                             {each.name.replace("_", "").lower(): each for each in codes})


class Stress(unittest.TestCase):
    def test_threads_closing_and_collection(self):
        ends = {pellix.SilentEndError: 0, pellix.ClosedError: 0}
        kept = []

        def ask(client):
            while True:
                try:
                    response = client.ask(QUESTION)
                    kept.extend((response, *response.deflection_articles, response.deflection))
                except (pellix.SilentEndError, pellix.ClosedError) as end:
                    ends[type(end)] += 1
                    if type(end) is pellix.ClosedError:
                        return
        with answering() as url:
            for _ in range(10 * STRESS):
                client = pellix.Client(url, token=lambda: TOKEN)
                threads = [threading.Thread(target=ask, args=[client]) for _ in range(8)]
                for thread in threads:
                    thread.start()
                while len(kept) < 200:
                    client.ask(QUESTION)
                client.close(0)
                for thread in threads:
                    thread.join()
                random.shuffle(kept)
                self.assertEqual({article for article in kept if article in kept[:1]}, {kept[0]})
                kept.clear()
        self.assertGreater(ends[pellix.ClosedError], 0)
        del client
        gc.collect()
        self.assertEqual(live_references(), 0)


if __name__ == "__main__":
    sys.dont_write_bytecode = True
    unittest.main()
