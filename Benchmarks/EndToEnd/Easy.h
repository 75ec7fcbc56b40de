#pragma once

#include "EndToEnd/Clients.h"

#include <curl/curl.h>

#include <chrono>
#include <string>

namespace Benchmarks {

using Clock = std::chrono::steady_clock;

/// One of libcurl's easy handles, set up to post the question as the library does, and what it has
/// received.
class Easy {
 public:
  explicit Easy(const Server& server);
  Easy(const Easy&) = delete;
  Easy& operator=(const Easy&) = delete;
  ~Easy();

  /// Readies it for the next post. `body` is borrowed until that ends.
  void start(const std::string& body);

  /// How long it has been since, in microseconds. Ends the program if the server refused.
  [[nodiscard]] double finish(CURLcode result) const;

  [[nodiscard]] CURL* handle() const { return handle_; }
  [[nodiscard]] const std::string& received() const { return received_; }

 private:
  CURL* const handle_ = curl_easy_init();
  curl_slist* headers_ = nullptr;
  std::string received_;
  Clock::time_point begin_;
};

/// The question's body, made as a program would that has nlohmann's library at hand.
[[nodiscard]] std::string makeQuestionBody();

}  // namespace Benchmarks
