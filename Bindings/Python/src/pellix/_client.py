"""The client."""
import asyncio
import itertools
import os
import weakref
from collections.abc import Callable
from concurrent.futures import Future
from ctypes import POINTER, byref, c_bool, c_char_p, c_int64, c_size_t, c_void_p
from types import TracebackType
from typing import Any

from . import _host, _library
from ._errors import failure
from ._library import CALLBACK, TEXT, Handle, function, integer, text
from ._records import DeflectionResponse, PellixDispatcherResponse, RejectionReason

TokenSupplier = Callable[[], str | None]


def _option(name: str, *arguments: Any, result: Any = c_bool) -> Callable[..., Any]:
    return function(f"QVLQuorvelConfiguration_{name}", result, c_void_p, *arguments)


def _limit(name: str, of: Any = c_int64) -> Callable[..., Any]:
    return _option(name, of, result=None)


_prepare = function("QVLQuorvel_prepare", c_bool, c_void_p)
_make_configuration = function("QVLQuorvelConfiguration_init", c_void_p)
_set_token = _option("setToken", *TEXT)
_set_supplier = _option("setTokenSupplier", *CALLBACK)
_hand_over = function("QVLTokenReceiver_setToken", c_bool, c_void_p, *TEXT)
_set_languages = function("QVLLocale_setPreferredLanguages", c_bool, POINTER(c_char_p), c_size_t)
_initialize_core = function("QVLQuorvel_initialize", c_void_p, *TEXT * 3, c_void_p,
                            POINTER(c_void_p))
_initialize_veltrane = function("QVLVeltrane_initialize", c_void_p, c_void_p)
_set_locale = function("QVLVeltrane_setLumenoLocaleOverride", c_bool, c_void_p, *TEXT)
_initialize_pellix = function("QVLPellix_initializeWithQuorvel_veltrane", None, c_void_p, c_void_p)
_instance = function("QVLPellix_instance", c_void_p)
_provider = function("QVLPellix_provider", c_void_p, c_void_p)

_OPERATION = "QVLPellixProvider_{}WithDeflectionId_articleId_interactionAccessToken_{}"
_ask = function("QVLPellixProvider_getDeflectionForQueryWithQuery_callback", None, c_void_p, *TEXT,
                *CALLBACK)
_resolve = function(_OPERATION.format("resolveWithArticle", "callback"), None, c_void_p, c_int64,
                    c_int64, *TEXT, *CALLBACK)
_reject = function(_OPERATION.format("rejectWithArticle", "reason_callback"), None, c_void_p,
                   c_int64, c_int64, *TEXT, c_int64, *CALLBACK)

# How each option's value is checked, and where it goes.
_OPTIONS: dict[str, tuple[Callable[[Any, str], Any], Callable[..., Any]]] = {
    "certificate_authorities": (_library.path, _option("setCertificateAuthorities", *TEXT)),
    "proxy": (text, _option("setProxy", *TEXT)),
    "ignore_proxy_environment": (_library.boolean, _limit("setIgnoreProxyEnvironment", c_bool)),
    "connect_timeout": (_library.milliseconds, _limit("setConnectTimeout")),
    "request_timeout": (_library.milliseconds, _limit("setRequestTimeout")),
    "max_response_bytes": (_library.size, _limit("setMaxResponseBytes", c_size_t)),
    "settings_timeout": (_library.milliseconds, _limit("setSettingsTimeout")),
    "settings_time_to_live": (_library.milliseconds, _limit("setSettingsTimeToLive")),
    "logs_tls_secrets": (_library.boolean, _limit("setLogsTlsSecrets", c_bool)),
}

_numbers = itertools.count(1)
# A supplier may know its client, which is not to stay for that.
_clients: "weakref.WeakValueDictionary[int, Client]" = weakref.WeakValueDictionary()


@_library.callback(c_void_p, c_void_p)
def _supply(receiver: int, number: int) -> None:
    supplier = getattr(_clients.get(number), "_supplier", None)
    token = None if supplier is None else supplier()
    if token is not None:
        _hand_over(receiver, *text(token, "The supplied token"))


class Client(_library.OfProcess):
    """Asks an account's answer service, and reports which article resolved a question.

    One class for both worlds: entered by `with`, its operations wait for their results; entered by
    `async with`, it gives an `AsyncClient`. One client can be open at a time in a process; a second
    one is a RuntimeError, whatever its account. Any thread may use it.

    A token is a text, or a callable that supplies one, or None, for each request; it is called on
    any thread, also on several at once, must be quick, and must not use the client. Times are in
    seconds. What is None is as the library has it.

    Raises PellixError if the address or an option can't be used.
    """

    def __init__(self, account_url: str, *, token: str | TokenSupplier | None = None,
                 lumeno_locale_override: str | None = None,
                 preferred_languages: list[str] | tuple[str, ...] | None = None,
                 certificate_authorities: str | os.PathLike[str] | None = None,
                 proxy: str | None = None, ignore_proxy_environment: bool | None = None,
                 connect_timeout: float | None = None, request_timeout: float | None = None,
                 settings_timeout: float | None = None, max_response_bytes: int | None = None,
                 settings_time_to_live: float | None = None,
                 logs_tls_secrets: bool | None = None) -> None:
        given = locals()
        chosen = [(put, check(given[name], name)) for name, (check, put) in _OPTIONS.items()
                  if given[name] is not None]
        if token is not None and not callable(token):
            chosen.append((_set_token, text(token, "token")))
        address = text(account_url, "account_url")
        languages = (None if preferred_languages is None
                     else _library.texts(preferred_languages, "preferred_languages"))
        override = ((None, 0) if lumeno_locale_override is None
                    else text(lumeno_locale_override, "lumeno_locale_override"))

        self._quorvel: Handle | None = None
        self._number = next(_numbers)
        try:
            _host.apart(self._open, chosen, token, address, languages, override)
        except BaseException:
            self.close(0)
            raise

    def _open(self, chosen: list[tuple[Callable[..., Any], Any]], token: str | TokenSupplier | None,
              address: tuple[bytes, int], languages: Any,
              override: tuple[bytes | None, int]) -> None:
        _host.occupy(self)
        with _host.calling(self, makes_requests=False):
            configuration = Handle._owning(_make_configuration())
            for put, value in chosen:
                values = value if isinstance(value, tuple) else (value,)
                if put(configuration, *values) is False:
                    raise MemoryError
            if callable(token):
                # The library would release it at any time and on any thread, which could be
                # while the interpreter goes.
                self._supplier = token
                _clients[self._number] = self
                _set_supplier(configuration, _supply, self._number, None)
            _set_languages(languages, len(languages or ()))
            self._set_up(address, configuration, override)

    def _set_up(self, address: tuple[bytes, int], configuration: Handle,
                override: tuple[bytes | None, int]) -> None:
        # The library keeps what it was set up with for one application: each client is another.
        application = text(f"python-{self._number}", "application")
        error = c_void_p()
        quorvel = _initialize_core(*address, *application, *text("pellix", "client"),
                                   configuration, byref(error))
        if error:
            raise failure(Handle._owning(error.value))
        self._quorvel = Handle._owning(quorvel)
        veltrane = Handle._owning(_initialize_veltrane(self._quorvel))
        _set_locale(veltrane, *override)
        _initialize_pellix(self._quorvel, veltrane)
        provider = _provider(_instance())
        _library.retain(provider)
        self._provider = Handle._owning(provider)

    def _ask(self, question: str) -> Future[DeflectionResponse]:
        sized = text(question, "question")
        return _host.start(self, DeflectionResponse, _ask, self._provider, *sized)

    def _resolve(self, deflection_id: int, article_id: int,
                 interaction_access_token: str) -> Future[PellixDispatcherResponse]:
        report = _report(deflection_id, article_id, interaction_access_token)
        return _host.start(self, PellixDispatcherResponse, _resolve, self._provider, *report)

    def _reject(self, deflection_id: int, article_id: int, interaction_access_token: str,
                reason: RejectionReason) -> Future[PellixDispatcherResponse]:
        if not isinstance(reason, RejectionReason):
            raise TypeError(f"reason has to be RejectionReason, not {type(reason).__name__}")
        report = _report(deflection_id, article_id, interaction_access_token)
        return _host.start(self, PellixDispatcherResponse, _reject, self._provider, *report,
                           reason)

    def prepare(self) -> None:
        """Gets ready, in the background, for what a person is about to ask, and returns at once.

        To be called when a help screen opens: the first question costs one round trip then. If it
        fails, there is one line in the log.
        """
        _host.apart(self._get_ready)

    def _get_ready(self) -> None:
        with _host.calling(self):
            if not _prepare(self._quorvel):
                raise MemoryError

    def ask(self, question: str) -> DeflectionResponse:
        """Asks for articles that may answer a person's question, which is sent as it is.

        This and the other operations raise PellixError, or SilentEndError, or ClosedError.
        """
        return self._ask(question).result()

    def resolve(self, deflection_id: int, article_id: int,
                interaction_access_token: str) -> PellixDispatcherResponse:
        """Reports that an article (its `article_id`) resolved the question, and votes for it."""
        return self._resolve(deflection_id, article_id, interaction_access_token).result()

    def reject(self, deflection_id: int, article_id: int, interaction_access_token: str,
               reason: RejectionReason) -> PellixDispatcherResponse:
        """Reports that an article did not resolve the question."""
        return self._reject(deflection_id, article_id, interaction_access_token, reason).result()

    def close(self, timeout: float = _host.LONGEST_END) -> None:
        """Waits so long for what is under way, votes included; what is left then ends silently.

        Closing again does nothing. Not for token suppliers and handlers of the log.
        """
        _host.vacate(self, self._quorvel, timeout)

    def __enter__(self) -> "Client":
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None,
                 trace: TracebackType | None) -> None:
        self.close(0 if error else _host.LONGEST_END)

    async def __aenter__(self) -> "AsyncClient":
        return AsyncClient(self)

    async def __aexit__(self, kind: type[BaseException] | None, error: BaseException | None,
                        trace: TracebackType | None) -> None:
        await AsyncClient(self).close(0 if error else _host.LONGEST_END)


class AsyncClient:
    """A client whose operations are awaited, in any event loop of asyncio.

    Cancelling the task that awaits does no harm: the operation goes on, and its result is dropped.
    """

    def __init__(self, client: Client) -> None:
        self._client = client

    def prepare(self) -> None:
        """See `Client.prepare`. There is nothing to await."""
        self._client.prepare()

    async def ask(self, question: str) -> DeflectionResponse:
        """See `Client.ask`."""
        return await asyncio.wrap_future(self._client._ask(question))

    async def resolve(self, deflection_id: int, article_id: int,
                      interaction_access_token: str) -> PellixDispatcherResponse:
        """See `Client.resolve`."""
        return await asyncio.wrap_future(
            self._client._resolve(deflection_id, article_id, interaction_access_token))

    async def reject(self, deflection_id: int, article_id: int, interaction_access_token: str,
                     reason: RejectionReason) -> PellixDispatcherResponse:
        """See `Client.reject`."""
        return await asyncio.wrap_future(
            self._client._reject(deflection_id, article_id, interaction_access_token, reason))

    async def close(self, timeout: float = _host.LONGEST_END) -> None:
        """See `Client.close`. Cancelled, it waits no longer."""
        try:
            await asyncio.to_thread(self._client.close, timeout)
        except asyncio.CancelledError:
            _host.hurry(self._client)  # or the loop's end would wait for the thread
            raise


def _report(deflection_id: int, article_id: int, token: str) -> tuple[Any, ...]:
    return (integer(deflection_id, "deflection_id"), integer(article_id, "article_id"),
            *text(token, "interaction_access_token"))
