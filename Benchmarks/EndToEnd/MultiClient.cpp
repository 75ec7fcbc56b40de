#include "EndToEnd/Easy.h"

#include <deque>

namespace Benchmarks {
namespace {

class MultiClient final : public Client {
 public:
  explicit MultiClient(const Server& server) : server_(server) {
    curl_multi_setopt(multi_, CURLMOPT_MAX_HOST_CONNECTIONS, 16L);
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
    std::size_t unasked = count;
    for (std::size_t i = 0; i < inFlight && unasked > 0; ++i, --unasked) start(handles_[i]);
    while (microseconds.size() < count) {
      int running = 0;
      curl_multi_perform(multi_, &running);
      int left = 0;
      bool isNew = false;
      while (const auto* message = curl_multi_info_read(multi_, &left)) {
        Easy* easy = nullptr;
        curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &easy);
        microseconds.push_back(easy->finish(message->data.result));
        curl_multi_remove_handle(multi_, easy->handle());
        if (unasked == 0) continue;
        --unasked;
        start(*easy);
        isNew = true;
      }
      if (!isNew && microseconds.size() < count) {
        curl_multi_poll(multi_, nullptr, 0, 1000, nullptr);
      }
    }
    return microseconds;
  }

 private:
  void start(Easy& easy) {
    easy.start(body_);
    curl_multi_add_handle(multi_, easy.handle());
  }

  const Server server_;
  const std::string body_ = makeQuestionBody();
  CURLM* const multi_ = curl_multi_init();
  std::deque<Easy> handles_;
};

}  // namespace

std::unique_ptr<Client> makeMultiClient(const Server& server) {
  return std::make_unique<MultiClient>(server);
}

}  // namespace Benchmarks
