#pragma once

#include <QuorvelCoreSDK/CoreError.h>

#include <curl/curl.h>

#include <string_view>

namespace QuorvelCoreSDK {

/// The error for how libcurl ended a transfer. `detail` is what it says of it, empty if nothing: it
/// may quote what a server or a proxy sent, or a password, and is shown only where its form is
/// known to hold nothing of that. `proxyStatus` is what a proxy answered that was asked for a
/// tunnel, else 0. If the server may have heard the request and must not hear it twice, what kept
/// libcurl from connecting anew does not tell whether it did: then the connection is lost.
[[nodiscard]] PellixPlatform::Error curlFailure(CURLcode result, std::string_view detail,
                                                long proxyStatus, bool mayHaveBeenHeard);

}  // namespace QuorvelCoreSDK
