"""What operations end with instead of a record."""
from collections.abc import Mapping
from ctypes import byref, c_bool, c_int64, c_size_t, c_void_p
from enum import IntEnum

from . import _library
from ._library import Handle

CORE_DOMAIN = _library.constant("QVLCoreErrorDomain")
DECODING_DOMAIN = _library.constant("QVLDecodingErrorDomain")
DISABLED_DOMAIN = _library.constant("QVLPellixDisabledErrorDomain")
DISABLED_CODE = 1006
SERVICE_DOMAIN = _library.constant("QVLPellixErrorDomain")


CoreError = IntEnum("CoreError", """
    INVALID_ACCOUNT_URL INSECURE_URL MISSING_TOKEN INVALID_HEADER NOT_INITIALIZED
    CANNOT_RESOLVE_HOST CANNOT_RESOLVE_PROXY CANNOT_CONNECT TIMED_OUT UNTRUSTED_CERTIFICATE
    SECURE_CONNECTION_FAILED UNREADABLE_CERTIFICATE_STORE CONNECTION_LOST MALFORMED_REPLY
    REPLY_TOO_LARGE PROXY_FAILED TRANSPORT_FAILED FOREIGN_ORIGIN INVALID_PROXY""")
CoreError.__doc__ = "The codes of `CORE_DOMAIN`: no answer came."
DecodingError = IntEnum("DecodingError", """
    KEY_NOT_FOUND VALUE_IS_NULL TYPE_MISMATCH NUMBER_DOES_NOT_FIT DATA_CORRUPTED""")
DecodingError.__doc__ = "The codes of `DECODING_DOMAIN`: the answer is not what it should be."


class PellixError(Exception):
    """An operation, or the set-up of a client, has failed: domain and code tell how.

    In `SERVICE_DOMAIN`, the code is the status that the service answered with.
    """

    def __init__(self, domain: str, code: int, message: str,
                 user_info: Mapping[str, str | int] = {}) -> None:
        super().__init__(domain, code, message, user_info)
        self.domain, self.code, self.message, self.user_info = domain, code, message, user_info

    def __str__(self) -> str:
        return f"{self.domain} ({self.code}): {self.message}" if self.domain else self.message


class SilentEndError(PellixError):
    """An operation has ended with neither a record nor an error: the client was closed meanwhile,
    or it is one of the endings that are silent by design. It has no domain."""

    def __init__(self, *_: object) -> None:
        super().__init__("", 0, "The operation has ended without an answer.")


class ClosedError(RuntimeError):
    """The client is closed, or the interpreter is about to end."""


_domain = _library.text_function("QVLError_domain")
_code = _library.function("QVLError_code", c_int64, c_void_p)
_message = _library.text_function("QVLError_localizedDescription")
_key_count = _library.function("QVLError_userInfo_count", c_size_t, c_void_p)
_key_at = _library.text_function("QVLError_userInfo_keyAt", c_void_p, c_size_t)
_text_for = _library.text_function("QVLError_userInfo_textForKey", c_void_p, *_library.TEXT)
_integer_for = _library.function("QVLError_userInfo_integerForKey", c_bool, c_void_p,
                                 *_library.TEXT, c_void_p)
_core = _library.function("QVLQuorvel_instance", c_void_p)
_settings_failure = _library.function("QVLQuorvel_lastSettingsFailure", c_void_p, c_void_p,
                                      c_void_p)


def failure(error: Handle | int) -> PellixError:
    """The library's error as an exception. If the feature is disabled because no settings could be
    had, the cause says why."""
    user_info: dict[str, str | int] = {}
    for index in range(_key_count(error)):
        key, number = _key_at(error, index), c_int64()
        sized = _library.text(key, "key")
        is_integer = _integer_for(error, *sized, byref(number))
        user_info[key] = number.value if is_integer else _text_for(error, *sized)
    made = PellixError(_domain(error), _code(error), _message(error), user_info)
    if made.domain == DISABLED_DOMAIN:
        reason = _settings_failure(Handle._owning(_core()), None)
        made.__cause__ = failure(Handle._owning(reason)) if reason else None
    return made
