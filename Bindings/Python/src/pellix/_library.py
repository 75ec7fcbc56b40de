"""The C interface, loaded and declared, and what is checked before anything goes down to it."""
import ctypes
import os
from collections.abc import Callable
from ctypes import CFUNCTYPE, POINTER, c_char_p, c_int, c_int64, c_size_t, c_void_p
from typing import Any, NoReturn

ABI_VERSION = 1

_name = os.environ.get("PELLIX_LIBRARY") or f"libPellixProvidersSDK.so.{ABI_VERSION}"
try:
    _library = ctypes.CDLL(_name)
except OSError as error:
    raise ImportError(f"The library can't be loaded ({error}). Install it where the system finds "
                      "it, or have PELLIX_LIBRARY name its file.", path=_name) from error


def function(name: str, result: Any, *arguments: Any) -> Callable[..., Any]:
    """A function of the library, which may be called without the interpreter's lock."""
    try:
        found = getattr(_library, name)
    except AttributeError as error:
        raise ImportError(f"The library is another one, or an older one ({error}).",
                          path=_name) from error
    found.restype, found.argtypes = result, arguments
    return found  # type: ignore[no-any-return]


if (_abi := function("QVLABIVersion", c_int64)()) != ABI_VERSION:
    raise ImportError(f"The library's interface is {_abi}, not {ABI_VERSION}.", path=_name)

TEXT = (c_char_p, c_size_t)  # the bytes and their number
CALLBACK = (c_void_p, c_void_p, c_void_p)  # function, context, release of the context


def callback(*arguments: Any) -> Callable[[Callable[..., None]], Any]:
    """Makes a function one that the library can call. What it raises goes to sys.unraisablehook."""
    return CFUNCTYPE(None, *arguments)


retain = function("QVLRetain", None, c_void_p)
release = function("QVLRelease", None, c_void_p)


_version = function("QVLPellix_version", c_size_t, c_char_p, c_size_t)


def version() -> str:
    """The version that the library's requests carry."""
    characters = ctypes.create_string_buffer(_version(None, 0) + 1)
    _version(characters, len(characters))
    return characters.value.decode()


class OfProcess:
    """What is neither copied nor taken to another process."""

    __slots__ = ()

    def __reduce__(self) -> NoReturn:
        raise TypeError(f"{type(self).__name__} belongs to its process and can't be pickled")


class Handle(OfProcess):
    """One reference to an object of the library, given back when Python lets go of this."""

    __slots__ = ("_as_parameter_", "__weakref__")
    _as_parameter_: int

    @classmethod
    def _owning(cls, pointer: int | None) -> "Handle":
        if pointer is None:
            raise MemoryError
        handle = cls.__new__(cls)
        handle._as_parameter_ = pointer
        return handle

    # The default is still there when the interpreter has taken its modules down.
    def __del__(self, release: Callable[[int], None] = release) -> None:
        if hasattr(self, "_as_parameter_"):
            release(self._as_parameter_)


def bytes_function(name: str, *arguments: Any) -> Callable[..., bytes | None]:
    """A function that lends bytes."""
    lend = function(name, c_void_p, *arguments or (c_void_p,), POINTER(c_size_t))

    def read(*values: Any) -> bytes | None:
        length = c_size_t()
        pointer = lend(*values, length)
        return None if pointer is None else ctypes.string_at(pointer, length.value)

    return read


def text_function(name: str, *arguments: Any) -> Callable[..., str]:
    """A function that lends a text. What a server sent need not be UTF-8."""
    lend = bytes_function(name, *arguments)
    return lambda *values: (lend(*values) or b"").decode(errors="replace")


def constant(name: str) -> str:
    """A text that the library exports."""
    return ctypes.string_at(ctypes.addressof(ctypes.c_char.in_dll(_library, name))).decode()


def _of_type(value: Any, name: str, *types: type) -> Any:
    """Bad types end here. A truth value is no number."""
    if not isinstance(value, types) or (isinstance(value, bool) and bool not in types):
        wanted = " or ".join(each.__name__ for each in types)
        raise TypeError(f"{name} has to be {wanted}, not {type(value).__name__}")
    return value


def boolean(value: bool, name: str) -> bool:
    return bool(_of_type(value, name, bool))


def integer(value: int, name: str) -> int:
    if not -2**63 <= _of_type(value, name, int) < 2**63:
        raise OverflowError(f"{name} does not fit into 64 bits")
    return value


def text(value: str, name: str) -> tuple[bytes, int]:
    """The two arguments that a text is. Surrogates are refused, by an error that says so."""
    encoded = _of_type(value, name, str).encode()
    return encoded, len(encoded)


def without_nul(encoded: bytes, name: str) -> bytes:
    if b"\0" in encoded:
        raise ValueError(f"{name} holds a NUL")
    return encoded


def path(value: str | os.PathLike[str], name: str) -> tuple[bytes, int]:
    encoded = without_nul(os.fsencode(_of_type(value, name, str, os.PathLike)), name)
    return encoded, len(encoded)


def texts(values: list[str] | tuple[str, ...], name: str) -> ctypes.Array[c_char_p]:
    """Texts that end at a NUL. One text is no list of its letters."""
    checked = _of_type(values, name, list, tuple)
    encoded = [without_nul(text(each, name)[0], name) for each in checked]
    return (c_char_p * len(encoded))(*encoded)


def size(value: int, name: str) -> int:
    if integer(value, name) < 0:
        raise ValueError(f"{name} has to be positive")
    return value


def milliseconds(seconds: float, name: str) -> int:
    if not 0 <= _of_type(seconds, name, int, float) <= 365 * 86400:
        raise ValueError(f"{name} has to be from 0 to a year, in seconds")
    return round(seconds * 1000)
