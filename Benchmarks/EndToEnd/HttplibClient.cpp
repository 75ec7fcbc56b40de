#include "Decode/Rivals.h"
#include "EndToEnd/Clients.h"
#include "EndToEnd/Query.h"
#include "Support/Rounds.h"

#include <httplib.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <deque>
#include <thread>

namespace Benchmarks {
namespace {

class Asker {
 public:
  explicit Asker(const Server& server) : client_(server.address) {
    client_.set_keep_alive(true);
    client_.set_tcp_nodelay(true);
    client_.set_read_timeout(std::chrono::seconds(30));
  }

  /// Returns how long it took, in microseconds.
  double ask() {
    using Clock = std::chrono::steady_clock;
    const auto begin = Clock::now();
    const auto body = Query::makeBodyWithNlohmann();
    const auto reply = client_.Post(Query::path, headers_, body, Query::contentType);
    if (!reply) giveUp(httplib::to_string(reply.error()));
    if (reply->status != 200) giveUp(std::to_string(reply->status));
    keep(decodeWithNlohmann(reply->body).value());
    return std::chrono::duration<double, std::micro>(Clock::now() - begin).count();
  }

 private:
  httplib::Client client_;
  const httplib::Headers headers_{std::begin(Query::headers), std::end(Query::headers)};
};

class HttplibClient final : public Client {
 public:
  explicit HttplibClient(Server server) : server_(std::move(server)) {}

  std::vector<double> ask(std::size_t count, std::size_t inFlight) override {
    const auto atOnce = std::min(inFlight, mostConnections);
    while (askers_.size() < atOnce) askers_.emplace_back(server_);
    std::vector<double> microseconds(count);
    std::atomic<std::size_t> asked = 0;
    const auto askFor = [&](Asker& asker) {
      for (std::size_t i = asked++; i < count; i = asked++) microseconds[i] = asker.ask();
    };
    {
      std::vector<std::jthread> others;
      for (std::size_t i = 1; i < atOnce; ++i) others.emplace_back(askFor, std::ref(askers_[i]));
      askFor(askers_.front());
    }
    return microseconds;
  }

 private:
  const Server server_;
  std::deque<Asker> askers_;
};

}  // namespace

std::unique_ptr<Client> makeHttplibClient(const Server& server) {
  return std::make_unique<HttplibClient>(server);
}

}  // namespace Benchmarks
