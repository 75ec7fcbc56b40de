#pragma once

#include <curl/curl.h>

namespace QuorvelCoreSDK {

/// Whether libcurl's TLS library is the one that the functions below know.
[[nodiscard]] bool canWatchTls();

/// Whether the two sides of `tls` (of that library's; may be null) have agreed on HTTP/2.
[[nodiscard]] bool speaksHttp2(const void* tls);

/// Whether `tls` (of that library's; may be null) has taken in what nobody has read.
[[nodiscard]] bool holdsUnread(const void* tls);

/// Takes the farewells of both sides for said on `tls` (of that library's; may be null), whose
/// connection is gone: it would not resume the session of one that goes without.
void endInPeace(void* tls);

/// For libcurl to call with each TLS context that it makes: the `Sockets` that `sockets` points to
/// learn when TLS ends on a connection and of each record that comes over one, sessions are resumed
/// by tickets too (RFC 5077), and the folder of certificates that the handle's `CURLOPT_PRIVATE`
/// names (null: none) is trusted.
CURLcode watchTls(CURL* easy, void* context, void* sockets);

/// The same, and the context tells nobody the secrets of its connections. libcurl would write them
/// to the file that the environment variable SSLKEYLOGFILE names.
CURLcode watchTlsInSecret(CURL* easy, void* context, void* sockets);

}  // namespace QuorvelCoreSDK
