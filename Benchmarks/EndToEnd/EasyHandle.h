#pragma once

#include "EndToEnd/Clients.h"
#include "EndToEnd/Query.h"

#include <curl/curl.h>

#include <string>

namespace Benchmarks {

/// A handle of libcurl, set up to post questions as the library does. The address comes last.
struct EasyHandle {
  explicit EasyHandle(const Server& server) {
    const auto add = [this](const std::string& line) {
      headers = curl_slist_append(headers, line.c_str());
    };
    for (const auto& [name, value] : Query::headers) add(name + (": " + std::string(value)));
    add(std::string("Content-Type: ") + Query::contentType);
    add("Expect:");
    set(CURLOPT_HTTPHEADER, headers);
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_TIMEOUT_MS, 30'000L);
    set(CURLOPT_CAINFO, server.certificate.c_str());
    set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_2TLS));
    set(CURLOPT_PIPEWAIT, server.address.starts_with("https:") ? 1L : 0L);
    set(CURLOPT_PROXY, "");
    set(CURLOPT_WRITEFUNCTION, receive);
  }
  EasyHandle(const EasyHandle&) = delete;
  EasyHandle& operator=(const EasyHandle&) = delete;
  ~EasyHandle() {
    curl_easy_cleanup(handle);
    curl_slist_free_all(headers);
  }

  /// Readies it for the next post. Both are borrowed until that ends.
  void start(const std::string& body, std::string& reply) {
    reply.clear();
    set(CURLOPT_POSTFIELDS, body.data());
    set(CURLOPT_POSTFIELDSIZE, static_cast<long>(body.size()));
    set(CURLOPT_WRITEDATA, &reply);
  }

  void finish(CURLcode result) const {
    long status = 0;
    curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &status);
    if (result == CURLE_OK && status == 200) return;
    giveUp(curl_easy_strerror(result) + (", " + std::to_string(status)));
  }

  template <class Value>
  void set(CURLoption option, Value value) {
    curl_easy_setopt(handle, option, value);
  }

  CURL* const handle = curl_easy_init();
  curl_slist* headers = nullptr;

 private:
  static std::size_t receive(char* data, std::size_t size, std::size_t count, void* to) {
    static_cast<std::string*>(to)->append(data, size * count);
    return size * count;
  }
};

}  // namespace Benchmarks
