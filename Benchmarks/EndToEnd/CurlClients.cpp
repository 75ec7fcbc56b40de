#include "Decode/Rivals.h"
#include "EndToEnd/Clients.h"
#include "EndToEnd/EasyHandle.h"
#include "Support/Rounds.h"

#include <curl/curl.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <deque>

namespace Benchmarks {
namespace {

using Clock = std::chrono::steady_clock;

/// An easy handle, and the question that it is busy with.
struct Easy : EasyHandle {
  explicit Easy(const Server& server) : EasyHandle(server) {
    set(CURLOPT_URL, (server.address + Query::path).c_str());
    set(CURLOPT_PRIVATE, this);
  }

  std::string received;
  Clock::time_point begin;
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
      easy_.start(body, easy_.received);
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
    easy.start(body_, easy.received);
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
