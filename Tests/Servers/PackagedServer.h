#pragma once

#include "Support/Process.h"
#include "Support/TemporaryDirectory.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <set>
#include <string>

namespace Servers {

enum class Program : std::uint8_t { nginx, apache };

struct ServerOptions {
  Program program = Program::nginx;
  bool speaksHttp2 = false;
  bool speaksTls13 = true;  // else TLS 1.2 alone
  std::chrono::milliseconds keepAlive{300};
  unsigned requestsPerConnection = 1'000'000;
  std::string address = "127.0.0.1";
};

/// One of Debian's web servers, on this machine alone and over TLS, with files of its own in a
/// temporary directory. It gives every request of ours a proper answer.
class PackagedServer {
 public:
  explicit PackagedServer(const ServerOptions& options);

  [[nodiscard]] std::string origin() const {
    return "https://" + address_ + ":" + std::to_string(port_);
  }
  [[nodiscard]] std::filesystem::path certificate() const {
    return directory_.path() / "certificate.pem";
  }

  /// Has it read its configuration again: new processes take over, and the old ones end when they
  /// have answered what they received.
  void reload();

  /// The lengths of the bodies that it received at a path, by its log: a question can be told by
  /// its length.
  [[nodiscard]] std::multiset<std::size_t> bodiesReceivedAt(const std::string& path) const;

  /// Waits until it has closed every connection to it.
  void waitUntilAllAreClosed() const;
  /// Waits until the clients have closed those too.
  void waitUntilNoneIsHalfClosed() const;

  /// Ends it, so that its log is whole.
  void stop() { process_.reset(); }

 private:
  [[nodiscard]] std::vector<std::string> command(const ServerOptions& options) const;
  [[nodiscard]] bool hasSocket(const std::string& end, const std::string& state) const;

  const Program program_;
  const std::string address_;
  const Support::TemporaryDirectory directory_;
  std::uint16_t port_ = 0;
  std::optional<Support::BackgroundProcess> process_;
};

}  // namespace Servers
