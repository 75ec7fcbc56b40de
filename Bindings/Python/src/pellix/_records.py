"""What was found and what was answered: immutable objects of the library."""
from collections.abc import Callable, Mapping
from ctypes import c_bool, c_double, c_int64, c_size_t, c_void_p
from enum import IntEnum
from types import MappingProxyType
from typing import Any, ClassVar, Generic, Never, NoReturn, Self, TypeVar, overload

from . import _library
from ._library import Handle, bytes_function, function, text_function

T = TypeVar("T")
R = TypeVar("R", bound="Record")


class RejectionReason(IntEnum):
    """Why an article was rejected. What each means is between the account and its service."""

    REASON_0 = 0
    REASON_1 = 1
    REASON_2 = 2


class Record(Handle):
    """An immutable object of the library. Equality is that of the content, by the library: texts
    are equal if they are canonically equivalent. Any thread may use it, as long as it likes."""

    __slots__ = ()
    _fields: ClassVar[tuple[str, ...]] = ()
    _secret: ClassVar[str | None] = None
    _key: ClassVar[str]  # the field that the hash is made of
    _is_equal: ClassVar[Callable[..., bool]]

    def __init__(self) -> None:
        raise TypeError(f"{type(self).__name__} is made by the library alone")

    def __init_subclass__(cls) -> None:
        cls._is_equal = function(f"QVL{cls.__name__}_isEqual", c_bool, c_void_p, c_void_p)

    @classmethod
    def _retaining(cls, pointer: int) -> Self:
        _library.retain(pointer)
        record = cls._owning(pointer)
        assert isinstance(record, cls)
        return record

    def __eq__(self, other: object) -> bool:
        if type(other) is not type(self):
            return NotImplemented
        return type(self)._is_equal(self, other)

    def __hash__(self) -> int:
        return hash((type(self), getattr(self, self._key)))

    def __repr__(self) -> str:
        shown = (f"{name}={getattr(self, name)!r}" for name in self._fields if name != self._secret)
        return f"{type(self).__name__}({', '.join(shown)})"

    def __copy__(self) -> Self:
        return self

    def __deepcopy__(self, memo: object) -> Self:
        return self


class Field(Generic[T]):
    """A property, read from the library's object by the function of that name."""

    _read: Callable[[Record], T]

    def __init__(self, name: str, reader: Callable[[str], Callable[..., T]], doc: str) -> None:
        self._name, self._reader, self.__doc__ = name, reader, doc

    def __set_name__(self, owner: type[Record], name: str) -> None:
        self._read = self._reader(f"QVL{owner.__name__}_{self._name}")
        owner._fields += (name,)

    @overload
    def __get__(self, record: None, owner: type[Record]) -> Self: ...
    @overload
    def __get__(self, record: Record, owner: type[Record]) -> T: ...
    def __get__(self, record: Record | None, owner: type[Record]) -> Self | T:
        return self if record is None else self._read(record)

    def __set__(self, record: Record, value: Never) -> NoReturn:
        raise AttributeError(f"{type(record).__name__} is immutable")


def _integer(name: str) -> Callable[..., int]:
    return function(name, c_int64, c_void_p)


def _double(name: str) -> Callable[..., float]:
    return function(name, c_double, c_void_p)


def _list(name: str, at: Callable[..., T]) -> Callable[..., tuple[T, ...]]:
    count = function(f"{name}_count", c_size_t, c_void_p)
    return lambda record: tuple(at(record, index) for index in range(count(record)))


def _texts(name: str, at: str = "at") -> Callable[..., tuple[str, ...]]:
    return _list(name, text_function(f"{name}_{at}", c_void_p, c_size_t))


def _headers(name: str) -> Callable[..., Mapping[str, str]]:
    names, values = _texts(name, "nameAt"), _texts(name, "valueAt")
    return lambda record: MappingProxyType(dict(zip(names(record), values(record))))


def _record(kind: type[R]) -> Callable[..., Callable[..., R]]:
    def reader(name: str, *arguments: Any) -> Callable[..., R]:
        lend = function(name, c_void_p, c_void_p, *arguments)
        return lambda *values: kind._retaining(lend(*values))

    return reader


def _records(kind: type[R]) -> Callable[[str], Callable[..., tuple[R, ...]]]:
    return lambda name: _list(name, _record(kind)(f"{name}_at", c_size_t))


class Deflection(Record):
    """What an answer belongs to."""

    __slots__ = ()
    _key = "deflection_id"
    deflection_id = Field("deflectionID", _integer, "What to resolve or reject.")


class DeflectionArticle(Record):
    """An article that may answer the question."""

    __slots__ = ()
    _key = "article_id"
    id = Field("id", _integer, "The proposal's identifier; another one than the article's.")
    title = Field("title", text_function, "The title.")
    html_url = Field("htmlURL", text_function, "The page for people, as received.")
    url = Field("url", text_function, "The address for programs, as received.")
    label_names = Field("labelNames", _texts, "The labels.")
    body = Field("body", text_function, "HTML, as received.")
    article_id = Field("articleId", _integer, "The identifier to resolve or reject with.")
    locale = Field("locale", text_function, "The language.")
    brand_id = Field("brandId", _integer, "The brand's identifier.")
    score = Field("score", _double, "How well the article answers; more is better.")
    snippet = Field("snippet", text_function, "HTML, as received.")


class DeflectionResponse(Record):
    """The answer to a question."""

    __slots__ = ()
    _key = "deflection"
    _secret = "interaction_access_token"
    deflection = Field("deflection", _record(Deflection), "What to resolve or reject.")
    deflection_articles = Field("deflectionArticles", _records(DeflectionArticle),
                                "The articles in the order received; there may be none.")
    interaction_access_token = Field("interactionAccessToken", text_function,
                                     "The token to resolve or reject with: a secret.")


class HTTPURLResponse(Record):
    """What a server answered, but for the body."""

    __slots__ = ()
    _key = "status_code"
    status_code = Field("statusCode", _integer, "The status.")
    url = Field("url", text_function, "The address that answered.")
    all_header_fields = Field("allHeaderFields", _headers, "All, ordered by name.")


class PellixDispatcherResponse(Record):
    """The answer to a resolution or a rejection."""

    __slots__ = ()
    _key = "response"
    response = Field("response", _record(HTTPURLResponse), "What the service answered.")
    data = Field("data", bytes_function, "The body; None if there was none.")
