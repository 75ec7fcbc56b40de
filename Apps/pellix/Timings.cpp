#include "Timings.h"

#include <fmt/core.h>

#include <algorithm>
#include <array>

namespace PellixApp {
namespace {

using QuorvelCoreSDK::TransportFigures;
using std::chrono::microseconds;

constexpr const char* none = "-";

struct Step {
  const char* name;
  microseconds TransportFigures::* end;
};

/// In the order in which they are taken; together they make the total.
constexpr auto steps = std::to_array<Step>({
    {"queue", &TransportFigures::queued},
    {"name lookup", &TransportFigures::nameLookup},
    {"connect", &TransportFigures::connected},
    {"TLS", &TransportFigures::tlsHandshake},
    {"first byte", &TransportFigures::firstByte},
    {"rest", &TransportFigures::total},
});

std::string milliseconds(microseconds time) {
  return fmt::format("{:.1f}", static_cast<double>(time.count()) / 1000);
}

/// How long a step took by itself.
std::string timeOf(const Step& step, const TransportFigures& figures) {
  const auto end = figures.*step.end;
  if (end == microseconds::zero()) return none;
  microseconds begin{};
  for (const auto* before = steps.data(); before != &step; ++before) {
    begin = std::max(begin, figures.*before->end);
  }
  return milliseconds(end - begin);
}

std::string connectionOf(const TransportFigures& figures) {
  if (figures.isConnectionReused) return "kept";
  return figures.connected > microseconds::zero() ? "new" : none;
}

std::string tableOf(const std::vector<TimedRequest>& requests) {
  std::string paths;
  for (const auto& request : requests) {
    paths += fmt::format("{}: {}\n", &request - requests.data() + 1, request.path);
  }
  std::string table;
  const auto addRow = [&](const char* name, auto cellOf) {
    table += fmt::format("{:12}", name);
    for (const auto& request : requests) table += fmt::format("{:>10}", cellOf(request));
    table += '\n';
  };
  const auto addFigures = [&](const char* name, auto cellOf) {
    addRow(name, [cellOf](const TimedRequest& request) -> std::string {
      return request.figures ? cellOf(*request.figures) : none;
    });
  };
  addRow("ms", [&](const auto& request) { return &request - requests.data() + 1; });
  addRow("begun at", [&](const auto& request) {
    return milliseconds(
        std::chrono::duration_cast<microseconds>(request.began - requests.front().began));
  });
  for (const auto& step : steps) {
    addFigures(step.name, [&step](const auto& figures) { return timeOf(step, figures); });
  }
  addFigures("total", [](const auto& figures) { return milliseconds(figures.total); });
  addFigures("connection", connectionOf);
  addFigures("protocol", [](const auto& figures) {
    return std::string(figures.protocol.empty() ? none : figures.protocol);
  });
  addFigures("bytes sent", [](const auto& figures) { return std::to_string(figures.sentBytes); });
  addFigures("received", [](const auto& figures) { return std::to_string(figures.receivedBytes); });
  return paths + table;
}

std::string pathOf(const std::string& url) {
  const auto host = url.find("//") + 2;
  return url.substr(std::min(url.find('/', host), url.size()));
}

}  // namespace

void TimingTransport::send(QuorvelCoreSDK::TransportRequest request, Completion completion) {
  std::size_t place = 0;
  {
    const std::lock_guard lock(requests_->mutex);
    place = requests_->all.size();
    requests_->all.push_back(
        {.path = pathOf(request.url.string()), .began = std::chrono::steady_clock::now()});
  }
  inner_->send(std::move(request),
               [place, requests = requests_,
                completion = std::move(completion)](QuorvelCoreSDK::TransportReply reply) {
                 {
                   const std::lock_guard lock(requests->mutex);
                   requests->all[place].figures = reply.figures;
                 }
                 completion(std::move(reply));
               });
}

std::string TimingTransport::table() const {
  const std::lock_guard lock(requests_->mutex);
  return requests_->all.empty() ? "" : tableOf(requests_->all);
}

std::optional<TransportFigures> TimingTransport::latest() const {
  const std::lock_guard lock(requests_->mutex);
  std::optional<TransportFigures> figures;
  for (const auto& request : requests_->all) {
    if (request.figures) figures = request.figures;
  }
  return figures;
}

}  // namespace PellixApp
