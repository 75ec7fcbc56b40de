"""Answers people's questions with articles of an account's knowledge base.

    with pellix.Client(account_url, token=...) as client:
        response = client.ask("I forgot my password")

    async with pellix.Client(account_url, token=...) as client:
        response = await client.ask("I forgot my password")
"""
from ._client import AsyncClient, Client, TokenSupplier
from ._errors import (CORE_DOMAIN, DECODING_DOMAIN, DISABLED_CODE, DISABLED_DOMAIN, SERVICE_DOMAIN,
                      ClosedError, CoreError, DecodingError, PellixError, SilentEndError)
from ._library import version
from ._records import (Deflection, DeflectionArticle, DeflectionResponse, HTTPURLResponse,
                       PellixDispatcherResponse, RejectionReason)

__all__ = [
    "AsyncClient", "Client", "TokenSupplier",
    "CORE_DOMAIN", "DECODING_DOMAIN", "DISABLED_CODE", "DISABLED_DOMAIN", "SERVICE_DOMAIN",
    "ClosedError", "CoreError", "DecodingError", "PellixError", "SilentEndError",
    "Deflection", "DeflectionArticle", "DeflectionResponse", "HTTPURLResponse",
    "PellixDispatcherResponse", "RejectionReason", "version",
]
