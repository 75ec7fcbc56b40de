#pragma once

#include "Options.h"

#include <curl/curl.h>

#include <ctime>
#include <string>
#include <vector>

namespace PellixApp {

/// What a certificate has to be good for.
enum class Trust : std::uint8_t { none, authorityAndHost };

/// The versions of IP that it may go over.
enum class Family : std::uint8_t { any, ipv4, ipv6 };

struct Certificate {
  std::string subject;
  std::string issuer;
  std::string names;
  std::time_t from = 0;
  std::time_t until = 0;
};

/// How a try to connect ended.
struct Attempt {
  CURLcode result = CURLE_OK;
  std::string reason;  // in libcurl's words
  bool isResolved = false;
  long proxyError = 0;   // a CURLproxycode
  long proxyStatus = 0;  // what a proxy answered that was asked for a tunnel
  long systemError = 0;
  long verification = 0;  // an X509_V_ERR code
  std::string peer;       // empty: no connection
  std::string tls;        // the version, if libcurl tells
  std::vector<Certificate> chain;
};

/// Connects to the account's host as the library would, and carries nothing.
[[nodiscard]] Attempt attempt(const std::string& address, const Options& options, Trust trust,
                              Family family);

}  // namespace PellixApp
