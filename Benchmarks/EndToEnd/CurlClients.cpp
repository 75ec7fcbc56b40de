#include "Decode/Rivals.h"
#include "EndToEnd/Clients.h"
#include "EndToEnd/Query.h"
#include "Support/Rounds.h"

#include <curl/curl.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <deque>

namespace Benchmarks {
namespace {

using Clock = std::chrono::steady_clock;

/// One of libcurl's easy handles, set up to post questions as the library does.
struct Easy {
  explicit Easy(const Server& server) {
    const auto add = [&](const std::string& name, const char* value) {
      headers = curl_slist_append(headers, (name + ": " + value).c_str());
    };
    for (const auto& [name, value] : Query::headers) add(name, value);
    add("Content-Type", Query::contentType);
    headers = curl_slist_append(headers, "Expect:");
    set(CURLOPT_URL, (server.address + Query::path).c_str());
    set(CURLOPT_HTTPHEADER, headers);
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_TIMEOUT_MS, 30'000L);
    set(CURLOPT_CAINFO, server.certificate.c_str());
    set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_2TLS));
    set(CURLOPT_PIPEWAIT, server.address.starts_with("https:") ? 1L : 0L);
    set(CURLOPT_PROXY, "");
    set(CURLOPT_WRITEFUNCTION, receive);
    set(CURLOPT_WRITEDATA, &received);
    set(CURLOPT_PRIVATE, this);
  }
  Easy(const Easy&) = delete;
  Easy& operator=(const Easy&) = delete;
  ~Easy() {
    curl_easy_cleanup(handle);
    curl_slist_free_all(headers);
  }

  /// Readies it for the next post. `body` is borrowed until that ends.
  void start(const std::string& body) {
    received.clear();
    set(CURLOPT_POSTFIELDS, body.data());
    set(CURLOPT_POSTFIELDSIZE, static_cast<long>(body.size()));
  }

  void finish(CURLcode result) const {
    long status = 0;
    curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &status);
    if (result == CURLE_OK && status == 200) return;
    giveUp(curl_easy_strerror(result) + (", " + std::to_string(status)));
  }

  CURL* const handle = curl_easy_init();
  std::string received;
  Clock::time_point begin;
  curl_slist* headers = nullptr;

  template <class Value>
  void set(CURLoption option, Value value) {
    curl_easy_setopt(handle, option, value);
  }
  static std::size_t receive(char* data, std::size_t size, std::size_t count, void* to) {
    static_cast<std::string*>(to)->append(data, size * count);
    return size * count;
  }
};

double since(Clock::time_point begin) {
  return std::chrono::duration<double, std::micro>(Clock::now() - begin).count();
}

class EasyClient final : public Client {
 public:
  explicit EasyClient(const Server& server) : easy_(server) {}

  std::vector<double> ask(std::size_t count, std::size_t) override {
    std::vector<double> microseconds(count);
    for (auto& time : microseconds) {
      const auto begin = Clock::now();
      const auto body = Query::makeBodyWithNlohmann();
      easy_.start(body);
      easy_.finish(curl_easy_perform(easy_.handle));
      keep(decodeWithNlohmann(easy_.received).value());
      time = since(begin);
    }
    return microseconds;
  }

 private:
  Easy easy_;
};

class MultiClient final : public Client {
 public:
  explicit MultiClient(Server server) : server_(std::move(server)) {
    curl_multi_setopt(multi_, CURLMOPT_MAX_HOST_CONNECTIONS, static_cast<long>(mostConnections));
    curl_multi_setopt(multi_, CURLMOPT_MAXCONNECTS, static_cast<long>(mostConnections));
    curl_multi_setopt(multi_, CURLMOPT_PIPELINING, static_cast<long>(CURLPIPE_MULTIPLEX));
  }
  MultiClient(const MultiClient&) = delete;
  MultiClient& operator=(const MultiClient&) = delete;
  ~MultiClient() override {
    handles_.clear();
    curl_multi_cleanup(multi_);
  }

  std::vector<double> ask(std::size_t count, std::size_t inFlight) override {
    std::vector<double> microseconds;
    while (handles_.size() < inFlight) handles_.emplace_back(server_);
    std::size_t started = 0;
    while (started < std::min(count, inFlight)) start(handles_[started++]);
    while (microseconds.size() < count) {
      int running = 0;
      curl_multi_perform(multi_, &running);
      int left = 0;
      const auto before = started;
      while (const auto* message = curl_multi_info_read(multi_, &left)) {
        Easy* easy = nullptr;
        curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &easy);
        easy->finish(message->data.result);
        microseconds.push_back(since(easy->begin));
        curl_multi_remove_handle(multi_, easy->handle);
        if (started == count) continue;
        start(*easy);
        ++started;
      }
      if (started == before && microseconds.size() < count) {
        curl_multi_poll(multi_, nullptr, 0, 1000, nullptr);
      }
    }
    return microseconds;
  }

 private:
  void start(Easy& easy) {
    easy.begin = Clock::now();
    easy.start(body_);
    curl_multi_add_handle(multi_, easy.handle);
  }

  const Server server_;
  const std::string body_ = Query::makeBodyWithNlohmann();
  CURLM* const multi_ = curl_multi_init();
  std::deque<Easy> handles_;
};

}  // namespace

std::string Query::makeBodyWithNlohmann() {
  using Json = nlohmann::ordered_json;
  return Json{{"via_id", viaId},
              {"deflection_channel_id", channelId},
              {"interaction_reference", reference},
              {"interaction_reference_type", referenceType},
              {"enquiry", enquiry},
              {"locale", locale},
              {"labels", Json::array()}}
      .dump();
}

std::unique_ptr<Client> makeMultiClient(const Server& server) {
  return std::make_unique<MultiClient>(server);
}

std::unique_ptr<Client> makeEasyClient(const Server& server) {
  return std::make_unique<EasyClient>(server);
}

}  // namespace Benchmarks
