#include "Fleet/Service.h"

#include "Support/Replies.h"

#include <PellixPlatform/URLResponse.h>
#include <QuorvelCoreSDK/internal/ServicePaths.h>
#include <VeltraneProvidersSDK/internal/ServicePaths.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace Benchmarks::Fleet {

using PellixPlatform::HTTPURLResponse;
using QuorvelCoreSDK::TransportRequest;

namespace {

std::size_t bytesOf(const HTTPURLResponse::HeaderFields& fields) {
  std::size_t bytes = 0;
  for (const auto& [name, value] : fields) bytes += name.size() + value.size() + 4;
  return bytes + 2;
}

std::size_t bytesOf(const TransportRequest& request) {
  constexpr std::string_view around = "POST  HTTP/1.1\r\nHost: \r\n";
  const auto scheme = std::string_view("https://").size();
  const auto& body = request.body;
  return around.size() + request.url.string().size() - scheme + bytesOf(request.headers) +
         (body ? std::string_view("Content-Length: 123\r\n").size() + body->size() : 0);
}

/// The settings' document is one that other products of the account have their members in, too.
std::string padded(const std::string& members, std::size_t bytes) {
  return "{" + members + R"(,"others":")" + std::string(bytes, '.') + "\"}";
}

}  // namespace

void Load::sawVersion(std::int64_t version, Time now) {
  for (std::size_t i = 0; i < changes.size(); ++i) {
    const bool isBefore = version <= static_cast<std::int64_t>(i) && changes[i] <= now;
    if (isBefore) untilSeen[i] = std::max(untilSeen[i], now - changes[i]);
  }
}

Load& Load::operator+=(const Load& other) {
  for (std::size_t i = 0; i < bins.size(); ++i) {
    bins[i].settings += other.bins[i].settings;
    bins[i].confirmed += other.bins[i].confirmed;
    bins[i].questions += other.bins[i].questions;
    bins[i].bytes += other.bins[i].bytes;
    bins[i].settingsBytes += other.bins[i].settingsBytes;
  }
  for (std::size_t i = 0; i < changes.size(); ++i) {
    untilSeen[i] = std::max(untilSeen[i], other.untilSeen[i]);
  }
  return *this;
}

class Service::Entrance final : public QuorvelCoreSDK::Transport {
 public:
  Entrance(Service& service, Load& load, double each)
      : service_(service), load_(load), each_(each) {}

  void send(TransportRequest request, Completion completion) override {
    const auto& reply = service_.replyTo(request);
    count(request, reply);
    service_.time_.after(100ms, [&reply, completion = std::move(completion)] {
      completion({.data = reply.body, .response = reply.response});
    });
  }

  void post(std::function<void()> task) override { service_.time_.after({}, std::move(task)); }

 private:
  void count(const TransportRequest& request, const Reply& reply) {
    const auto at = static_cast<std::size_t>(service_.time_.now() / Load::binWidth);
    if (at >= load_.bins.size()) return;
    auto& bin = load_.bins[at];
    const auto statusLine = std::string_view("HTTP/1.1 200 OK\r\n").size();
    const auto bytes =
        each_ * static_cast<double>(bytesOf(request) + statusLine +
                                    bytesOf(reply.response->allHeaderFields()) + reply.body.size());
    bin.bytes += bytes;
    if (request.body) {
      bin.questions += each_;
      return;
    }
    bin.settings += each_;
    bin.settingsBytes += bytes;
    if (reply.response->statusCode() == 304) bin.confirmed += each_;
  }

  Service& service_;
  Load& load_;
  const double each_;
};

Service::Service(VirtualTime& time, bool givesTags) : time_(time) {
  const auto tag = [&](const std::string& text) { return givesTags ? '"' + text + '"' : ""; };
  for (std::size_t i = 0; i <= changes.size(); ++i) {
    const auto version = std::to_string(i);
    settings_.push_back(
        makeDocument(tag("settings-" + version),
                     padded(R"("pellix":{"enabled":true},"version":)" + version, 4000)));
  }
  knowledgeSettings_ = makeDocument(tag("knowledge"), padded(R"("locale":"en-us")", 1000));
  articles_ = makeDocument({}, Benchmarks::makeReply({}));
}

std::shared_ptr<QuorvelCoreSDK::Transport> Service::entrance(Load& load, double each) {
  return std::make_shared<Entrance>(*this, load, each);
}

Service::Reply Service::makeReply(int status, const std::string& tag, std::string body) {
  HTTPURLResponse::HeaderFields fields{{"Date", "Mon, 01 Jan 2024 12:00:00 GMT"},
                                       {"Content-Length", std::to_string(body.size())},
                                       {"Content-Type", "application/json"}};
  if (!tag.empty()) fields.emplace_back("ETag", tag);
  auto response =
      std::make_shared<const HTTPURLResponse>("https://acme.example/", status, std::move(fields));
  return {std::move(body), std::move(response)};
}

Service::Document Service::makeDocument(std::string tag, std::string body) {
  auto whole = makeReply(200, tag, std::move(body));
  auto unchanged = makeReply(304, tag, {});
  return {std::move(tag), std::move(whole), std::move(unchanged)};
}

const Service::Reply& Service::replyTo(const TransportRequest& request) const {
  using QuorvelCoreSDK::ServicePaths::accountSettings;
  const auto now = time_.now();
  if (outageBegins <= now && now < outageEnds) return unavailable_;
  if (request.body) return articles_.whole;
  const auto version = static_cast<std::size_t>(
      std::ranges::count_if(changes, [&](Time change) { return change <= now; }));
  const bool isAccounts = request.url.string().ends_with(accountSettings);
  const auto& document = isAccounts ? settings_[version] : knowledgeSettings_;
  const auto isConfirmed = [&](const auto& header) {
    return header.first == "If-None-Match" && header.second == document.tag;
  };
  return std::ranges::any_of(request.headers, isConfirmed) ? document.unchanged : document.whole;
}

}  // namespace Benchmarks::Fleet
