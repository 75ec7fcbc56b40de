#include "Client.h"

#include <atomic>
#include <tuple>

namespace QuorvelCoreSDK {
namespace {

using Support::httpReply;

/// Counts requests, sends each once more that the server could not answer, and keeps the figures.
class OwnTransport final : public Transport {
 public:
  explicit OwnTransport(std::shared_ptr<Transport> inner) : inner_(std::move(inner)) {}

  void send(TransportRequest request, Completion completion) override {
    const bool isRetry = requests++ % 2 == 1;
    auto done = [this, isRetry, request, completion = std::move(completion)](TransportReply reply) {
      figures.push_back(reply.figures.value());
      const auto& response = dynamic_cast<const PellixPlatform::HTTPURLResponse&>(*reply.response);
      if (response.statusCode() == 503 && !isRetry) return send(request, completion);
      completion(std::move(reply));
      static_cast<void>(Completion(completion));  // as a host may
    };
    inner_->send(std::move(request), std::move(done));
    handedOn = std::chrono::steady_clock::now();
  }
  void post(std::function<void()> task) override { inner_->post(std::move(task)); }

  std::atomic<int> requests = 0;
  std::vector<TransportFigures> figures;  // of the worker thread
  std::chrono::steady_clock::time_point handedOn;

 private:
  const std::shared_ptr<Transport> inner_;
};

TEST(TransportTest, AHostsOwnMayHandOnToTheDefaultOne) {
  EXPECT_EQ(makeTransport({.proxy = "ftp://proxy"}).error().code(),
            static_cast<std::int64_t>(CoreErrorCode::invalidProxy));
  std::atomic<std::chrono::steady_clock::time_point> answered;
  const Support::LoopbackServer server([&, arrived = 0](const auto& request) mutable {
    answered = std::chrono::steady_clock::now();
    if (++arrived == 2) return Support::LoopbackReply{"", Support::LoopbackReply::Then::reset};
    return Support::LoopbackReply{request.head.starts_with("GET")
                                      ? httpReply("503 Service Unavailable")
                                      : httpReply("200 OK", "12345")};
  });
  const auto own =
      std::make_shared<OwnTransport>(makeTransport({.ignoreProxyEnvironment = true}).value());
  const Client client(server.origin(), {.transport = own});
  using Headers = decltype(TransportRequest::headers);
  const std::tuple<std::string, Headers, CoreErrorCode> refusals[] = {
      {"http://account.invalid", {}, CoreErrorCode::insecureUrl},
      {server.origin(), {{"X-A", "1"}, {"X-B", "1\r\nX-C: 1"}}, CoreErrorCode::invalidHeader},
      {server.origin(), {{"X-A: 1\nX-B", "1"}}, CoreErrorCode::invalidHeader},
  };
  for (const auto& [address, headers, code] : refusals) {
    std::promise<TransportReply> refused;
    makeTransport().value()->send(
        {.url = PellixPlatform::URL::parse(address).value(), .headers = headers},
        [&](TransportReply reply) { refused.set_value(std::move(reply)); });
    EXPECT_EQ(valueOf(refused.get_future()).error->code(), static_cast<std::int64_t>(code));
  }
  EXPECT_EQ(client.perform().status(), 503);
  EXPECT_EQ(server.requests().size(), 3U) << "libcurl repeats one of itself";

  auto parameters = client.parameters();
  parameters.httpMethod = HttpMethod::post;
  parameters.body = std::string(100'000, ' ');  // does not go out together with the head
  EXPECT_EQ(valueOf(Client::begin(parameters)).data, "12345");
  ASSERT_EQ(own->figures.size(), 3U);
  const auto& first = own->figures[0];
  EXPECT_TRUE(!first.isConnectionReused && first.connected > first.queued);
  EXPECT_GE(first.queued.count(), 0);
  const auto& repeated = own->figures[1];
  EXPECT_FALSE(repeated.isConnectionReused);
  EXPECT_EQ((repeated.nameLookup + repeated.connected + repeated.tlsHandshake).count(), 0);
  EXPECT_EQ(repeated.sentBytes, first.sentBytes);
  const auto& last = own->figures[2];
  EXPECT_TRUE(last.isConnectionReused);
  EXPECT_EQ((last.nameLookup + last.connected + last.tlsHandshake).count(), 0);
  EXPECT_TRUE(last.queued <= last.firstByte && last.firstByte <= last.total);
  EXPECT_GE(own->handedOn + last.firstByte + std::chrono::microseconds(1), answered.load());
  EXPECT_EQ(last.protocol, "HTTP/1.1");
  EXPECT_EQ(last.sentBytes, server.requests().back().head.size() + 2 + 100'000);
  EXPECT_EQ(last.receivedBytes, httpReply("200 OK", "12345").size());
  for (std::size_t size : {100U, 0U}) {
    if (size == 0) size = server.requests().back().head.size() + 2;  // as long as its own head
    parameters.body = std::string(size, ' ');
    EXPECT_EQ(valueOf(Client::begin(parameters)).data, "12345");
  }
  EXPECT_EQ(own->figures.back().sentBytes, 2 * parameters.body->size());
}

}  // namespace
}  // namespace QuorvelCoreSDK
