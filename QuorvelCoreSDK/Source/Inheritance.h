#pragma once

#include <curl/curl.h>

namespace QuorvelCoreSDK {

/// Keeps the host's child processes from inheriting the pair of sockets by which a new multi handle
/// is woken. Not every libcurl does; it does not say which they are, so they are known by what a
/// wake-up leaves in them.
void keepFromChildren(CURLM* multi);

}  // namespace QuorvelCoreSDK
