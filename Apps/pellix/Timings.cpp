#include "Timings.h"

#include <fmt/core.h>

namespace PellixApp {
namespace {

using QuorvelCoreSDK::TransportFigures;

double milliseconds(std::chrono::microseconds time) {
  return static_cast<double>(time.count()) / 1000;
}

std::string describe(const std::string& url, const TransportFigures& figures) {
  const auto host = url.find("//") + 2;
  auto line = fmt::format("{}: {:.1f} ms", url.substr(std::min(url.find('/', host), url.size())),
                          milliseconds(figures.total));
  const auto add = [&](std::string_view step, std::chrono::microseconds time) {
    if (time > time.zero()) line += fmt::format(", {} {:.1f}", step, milliseconds(time));
  };
  if (figures.queued >= std::chrono::milliseconds(1)) add("queued until", figures.queued);
  if (figures.isConnectionReused) {
    line += ", connection kept";
  } else {
    add("name known at", figures.nameLookup);
    add("connected at", figures.connected);
    add("TLS at", figures.tlsHandshake);
  }
  add("first byte at", figures.firstByte);
  return line + fmt::format("; {}{}{} bytes sent, {} received\n", figures.protocol,
                            figures.protocol.empty() ? "" : ", ", figures.sentBytes,
                            figures.receivedBytes);
}

}  // namespace

void TimingTransport::send(QuorvelCoreSDK::TransportRequest request, Completion completion) {
  const auto url = request.url.string();
  inner_->send(std::move(request), [url, lines = lines_, completion = std::move(completion)](
                                       QuorvelCoreSDK::TransportReply reply) {
    if (reply.figures) {
      const auto line = describe(url, *reply.figures);
      const std::lock_guard lock(lines->mutex);
      lines->text += line;
    }
    completion(std::move(reply));
  });
}

void TimingTransport::print() const {
  const std::lock_guard lock(lines_->mutex);
  fmt::print(stderr, "{}", lines_->text);
}

}  // namespace PellixApp
