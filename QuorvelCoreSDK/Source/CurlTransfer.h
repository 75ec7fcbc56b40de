#pragma once

#include "Deadline.h"

#include <QuorvelCoreSDK/Configuration.h>

#include <curl/curl.h>

namespace QuorvelCoreSDK {

/// One request on its way through libcurl. Used on the worker thread only, once made.
class CurlTransfer {
 public:
  CurlTransfer(TransportRequest request, Transport::Completion completion,
               std::shared_ptr<const NetworkConfiguration> configuration);
  CurlTransfer(const CurlTransfer&) = delete;
  CurlTransfer& operator=(const CurlTransfer&) = delete;

  [[nodiscard]] Clock::time_point deadline() const { return deadline_; }

  /// Sets every option of `easy`, which is fresh or reset. It refers to this transfer then.
  void prepare(CURL* easy);

  /// Calls the completion with how the transfer ended, and lets go of it. `proxyStatus` is what a
  /// proxy answered that was asked for a tunnel, else 0.
  void finish(CURLcode result, long proxyStatus);

 private:
  struct FreeList {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
  };

  /// When a kept connection breaks before any of the reply has come, libcurl sends the request once
  /// more on a fresh one. The server may have acted on it by then, so what is not idempotent is
  /// sent once: RFC 9110, section 9.2.2.
  static int mayBeSent(void* self, char*, char*, int, int);
  static std::size_t takeHeader(char* data, std::size_t size, std::size_t count, void* self);
  static std::size_t takeBody(char* data, std::size_t size, std::size_t count, void* self);

  [[nodiscard]] PellixPlatform::Error errorFor(CURLcode result, long proxyStatus) const;
  [[nodiscard]] std::string_view detailOf(CURLcode result) const;

  TransportRequest request_;
  Transport::Completion completion_;
  const std::shared_ptr<const NetworkConfiguration> configuration_;
  const Clock::time_point deadline_;

  std::unique_ptr<curl_slist, FreeList> headers_;
  char detail_[CURL_ERROR_SIZE] = "";
  bool isSent_ = false;
  int status_ = 0;
  PellixPlatform::HTTPURLResponse::HeaderFields responseHeaders_;
  std::size_t headerBytes_ = 0;
  bool hasAllHeaders_ = false;  // of the final response
  PellixPlatform::Data body_;
  bool isTooLarge_ = false;
};

}  // namespace QuorvelCoreSDK
